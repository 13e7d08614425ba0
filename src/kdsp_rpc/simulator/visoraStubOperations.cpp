// The stub library of a machine without a DSP: one function per operation that the DSP can serve, all of which fail.
// They look at none of their arguments, so they are defined without any.
#include "visora/dsp_stub.h"

extern "C"
{
#define STUB_FOR_DSP(operation)                \
    VSR_API int32_t visoradsp_##operation##K() \
    {                                          \
        return VISORADSP_NO_DSP;               \
    }
#define STUB_FOR_NO_DSP(operation)
// Internal rows 10 and 11, the timing probe and the registration of buffers, are session functions.
#define VSR_OPERATION(row, operation, variant, dsp, modes) STUB_FOR_##dsp(operation)
#include "common/operations/all.def"
}
