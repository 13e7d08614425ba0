// The least that Visora takes for a DSP: sessions start on it. The functions that look at none of their arguments are
// defined without any.
#include <cstring>

#include "visora/types.h"

extern "C"
{
    VSR_API int32_t visoradsp_open(const char* /*uri*/, uint64_t* handle)
    {
        *handle = 1;
        return 0;
    }

    VSR_API int32_t visoradsp_vsrGetVersionK(uint64_t /*handle*/, char* version, int32_t capacity)
    {
        std::strncpy(version, "1.7.1", static_cast<size_t>(capacity));
        return 0;
    }

#define SUCCEEDS(function)                 \
    VSR_API int32_t visoradsp_##function() \
    {                                      \
        return 0;                          \
    }
    SUCCEEDS(close)
    SUCCEEDS(initK6_with_attributes)
    SUCCEEDS(deinitK6)
    SUCCEEDS(vsrK6GetClk)
    SUCCEEDS(probeK6Time)
    SUCCEEDS(vsrUpdateDSPMsgFlagK)
    SUCCEEDS(registerbuf)
    SUCCEEDS(cache_flush_invalidateK)
    SUCCEEDS(vsrInvalidateOutputBufferK)
    SUCCEEDS(vsrInvalidateOutputBuffer2K)
    SUCCEEDS(vsrInvalidateOutputBuffer3K)
    SUCCEEDS(vsrInvalidateOutputBuffer4K)
    SUCCEEDS(vsrInvalidateOutputBuffer5K)
    SUCCEEDS(vsrInvalidateOutputBuffer6K)
}
