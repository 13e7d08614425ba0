#include "kdsp_rpc/multi_domains/visoraDomain.h"

void visora::logNoDomain(const char* function)
{
    logLibrary(kLogError, "defaultDSP flag not set for the following function %s.", function);
}
