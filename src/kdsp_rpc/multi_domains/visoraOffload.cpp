#include "kdsp_rpc/multi_domains/visoraOffload.h"

// No operation has an offload routine yet, so the DSP columns stay empty and calls run the vector variant.

VSR_FUNC visora::offloadRoutine(OffloadDomain /*domain*/, uint32_t /*row*/)
{
    return nullptr;
}

VSR_FUNC visora::internalOffloadRoutine(OffloadDomain /*domain*/, uint32_t /*row*/)
{
    return nullptr;
}
