// The stub library of a machine without a DSP: one function per operation that the DSP can do, all of which fail. They
// look at none of their arguments, so they are defined without any.
#include "visora/dsp_stub.h"

extern "C"
{
#define VSR_OFFLOADED(operation, ...)          \
    VSR_API int32_t visoradsp_##operation##K() \
    {                                          \
        return VISORADSP_NO_DSP;               \
    }
#include "kdsp_rpc/multi_domains/operations/all.def"
}
