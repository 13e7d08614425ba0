// The stub library of a machine without a DSP: its session and buffer functions.
#include "visora/dsp_stub.h"

int32_t visoradsp_open(const char* /*uri*/, uint64_t* /*handle*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_close(uint64_t /*handle*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_initK6_with_attributes(uint64_t /*handle*/, const vsrK6Attribute* /*attributes*/, uint32_t /*count*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_deinitK6(uint64_t /*handle*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_vsrGetVersionK(uint64_t /*handle*/, char* /*version*/, int32_t /*capacity*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_vsrK6GetClk(uint64_t /*handle*/, uint64_t* /*clock*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_probeK6Time(uint64_t /*handle*/, uint32_t /*a*/, uint32_t /*b*/, uint64_t* /*time*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_vsrUpdateDSPMsgFlagK(uint64_t /*handle*/, uint32_t /*flag*/, uint32_t* /*answer*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_registerbuf(void* /*buffer*/, uint32_t /*size*/, int32_t /*fd*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_cache_flush_invalidateK(uint64_t /*handle*/, const void* /*input*/, uint32_t /*inputLength*/,
                                          void* /*output*/, uint32_t /*outputLength*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_vsrInvalidateOutputBufferK(uint64_t /*handle*/, void* /*buffer*/, uint32_t /*length*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_vsrInvalidateOutputBuffer2K(uint64_t /*handle*/, void* /*buffer1*/, uint32_t /*length1*/,
                                              void* /*buffer2*/, uint32_t /*length2*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_vsrInvalidateOutputBuffer3K(uint64_t /*handle*/, void* /*buffer1*/, uint32_t /*length1*/,
                                              void* /*buffer2*/, uint32_t /*length2*/, void* /*buffer3*/,
                                              uint32_t /*length3*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_vsrInvalidateOutputBuffer4K(uint64_t /*handle*/, void* /*buffer1*/, uint32_t /*length1*/,
                                              void* /*buffer2*/, uint32_t /*length2*/, void* /*buffer3*/,
                                              uint32_t /*length3*/, void* /*buffer4*/, uint32_t /*length4*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_vsrInvalidateOutputBuffer5K(uint64_t /*handle*/, void* /*buffer1*/, uint32_t /*length1*/,
                                              void* /*buffer2*/, uint32_t /*length2*/, void* /*buffer3*/,
                                              uint32_t /*length3*/, void* /*buffer4*/, uint32_t /*length4*/,
                                              void* /*buffer5*/, uint32_t /*length5*/)
{
    return VISORADSP_NO_DSP;
}

int32_t visoradsp_vsrInvalidateOutputBuffer6K(uint64_t /*handle*/, void* /*buffer1*/, uint32_t /*length1*/,
                                              void* /*buffer2*/, uint32_t /*length2*/, void* /*buffer3*/,
                                              uint32_t /*length3*/, void* /*buffer4*/, uint32_t /*length4*/,
                                              void* /*buffer5*/, uint32_t /*length5*/, void* /*buffer6*/,
                                              uint32_t /*length6*/)
{
    return VISORADSP_NO_DSP;
}
