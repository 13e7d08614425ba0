/* Every function of a stub library. */
#include "visora/dsp_stub.h"
#define VSR_OFFLOADED(operation, ...) VSR_API int32_t visoradsp_##operation##K();
#include "kdsp_rpc/multi_domains/operations/all.def"
