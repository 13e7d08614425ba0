// Registration of the program's buffers, and cache maintenance, by the DSP's side.
#include "common/visoraCall.h"
#include "kdsp_rpc/multi_domains/visoraDomain.h"
#include "visora/dsp_stub.h"
#include "visora/variants/runtime.h"

vsrStatus vsrRegisterBuf(void* buffer, uint32_t size, int32_t fd)
{
    const visora::Call call(visora::InternalRow::vsrRegisterBuf, "vsrRegisterBuf");
    call.trace();
    return call.run<vsrRegisterBufC>(buffer, size, fd);
}

vsrStatus vsrRegisterBufC(void* /*buffer*/, uint32_t /*size*/, int32_t /*fd*/)
{
    return VISORA_SUCCESS;
}

VSR_DEFINE_DSP_ROUTINES(vsrStatus, vsrRegisterBuf, (void* buffer, uint32_t size, int32_t fd), buffer, size, fd)

vsrStatus vsrRegisterBufK_abstractionLayer(uint64_t /*handle*/, void* buffer, uint32_t size, int32_t fd)
{
    // Registered with the runtime, for whichever channel.
    return static_cast<vsrStatus>(visoradsp_registerbuf(buffer, size, fd));
}

VSR_DEFINE_DSP_ROUTINES(vsrStatus, vsr_cache_flush_invalidate, (void* buffer, uint32_t size), buffer, size)

vsrStatus vsr_cache_flush_invalidateK_abstractionLayer(uint64_t handle, void* buffer, uint32_t size)
{
    // As an input it is flushed, as an output invalidated.
    return static_cast<vsrStatus>(visoradsp_cache_flush_invalidateK(handle, buffer, size, buffer, size));
}

// The routines that take `...`, given with and without their types.
#define FORWARDING_ROUTINES(operation, parameters, ...)                               \
    VSR_DEFINE_DSP_ROUTINES(vsrStatus, operation, (EXPAND parameters), __VA_ARGS__)   \
    vsrStatus operation##K_abstractionLayer(uint64_t handle, EXPAND parameters)       \
    {                                                                                 \
        return static_cast<vsrStatus>(visoradsp_##operation##K(handle, __VA_ARGS__)); \
    }
#define EXPAND(...) __VA_ARGS__

FORWARDING_ROUTINES(vsrInvalidateOutputBuffer, (void* buffer, uint32_t length), buffer, length)
FORWARDING_ROUTINES(vsrInvalidateOutputBuffer2, (void* buffer1, uint32_t length1, void* buffer2, uint32_t length2),
                    buffer1, length1, buffer2, length2)
FORWARDING_ROUTINES(vsrInvalidateOutputBuffer3,
                    (void* buffer1, uint32_t length1, void* buffer2, uint32_t length2, void* buffer3, uint32_t length3),
                    buffer1, length1, buffer2, length2, buffer3, length3)
FORWARDING_ROUTINES(vsrInvalidateOutputBuffer4,
                    (void* buffer1, uint32_t length1, void* buffer2, uint32_t length2, void* buffer3, uint32_t length3,
                     void* buffer4, uint32_t length4),
                    buffer1, length1, buffer2, length2, buffer3, length3, buffer4, length4)
FORWARDING_ROUTINES(vsrInvalidateOutputBuffer5,
                    (void* buffer1, uint32_t length1, void* buffer2, uint32_t length2, void* buffer3, uint32_t length3,
                     void* buffer4, uint32_t length4, void* buffer5, uint32_t length5),
                    buffer1, length1, buffer2, length2, buffer3, length3, buffer4, length4, buffer5, length5)
FORWARDING_ROUTINES(vsrInvalidateOutputBuffer6,
                    (void* buffer1, uint32_t length1, void* buffer2, uint32_t length2, void* buffer3, uint32_t length3,
                     void* buffer4, uint32_t length4, void* buffer5, uint32_t length5, void* buffer6, uint32_t length6),
                    buffer1, length1, buffer2, length2, buffer3, length3, buffer4, length4, buffer5, length5, buffer6,
                    length6)
