#include "common/visoraHardware.h"

uint32_t vsrAvailableHardware(uint32_t /*mode*/)
{
    return 0;
}
