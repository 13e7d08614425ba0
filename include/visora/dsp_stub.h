/**
 * @file
 * What the remote stub library, libvisoradsp_stub.so, provides: the functions through which Visora reaches a DSP. The
 * one that comes with Visora knows no DSP, and every function of it fails. To use a DSP, put another library of that
 * name before it on the dynamic linker's search path, or define the functions in the program itself.
 *
 * Every function returns 0 on success, VISORADSP_RESTARTED when the DSP restarted while the call was in flight, or
 * another error code of the remote-call runtime. `handle` is a channel that visoradsp_open opened, or 0 when that
 * failed. The functions may be called from any thread.
 */
#ifndef VISORA_DSP_STUB_H
#define VISORA_DSP_STUB_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

enum
{
    VISORADSP_RESTARTED = 104, /**< the DSP restarted during the call, which may be tried again */
    VISORADSP_NO_DSP = -1      /**< what the library that comes with Visora answers */
};

/* ---- Channels and sessions ---- */

/** Opens a channel to the domain that the URI names ("...&_dom=adsp", cdsp or mdsp). @param handle  receives it */
VSR_API int32_t visoradsp_open(const char* uri, uint64_t* handle);
VSR_API int32_t visoradsp_close(uint64_t handle);
/** Starts the session on the DSP. @param attributes  `count` of them; null when there are none */
VSR_API int32_t visoradsp_initK6_with_attributes(uint64_t handle, const vsrK6Attribute* attributes, uint32_t count);
VSR_API int32_t visoradsp_deinitK6(uint64_t handle);
/** Gives the version text of the DSP's side. @param capacity  bytes of `version`, with the end of the text */
VSR_API int32_t visoradsp_vsrGetVersionK(uint64_t handle, char* version, int32_t capacity);

/* ---- Probes and flags ---- */

/** Gives the DSP's clock. Also the question whether the DSP answers at all. */
VSR_API int32_t visoradsp_vsrK6GetClk(uint64_t handle, uint64_t* clock);
VSR_API int32_t visoradsp_probeK6Time(uint64_t handle, uint32_t a, uint32_t b, uint64_t* time);
/** Switches messages of the DSP's side. @param answer  receives its answer */
VSR_API int32_t visoradsp_vsrUpdateDSPMsgFlagK(uint64_t handle, uint32_t flag, uint32_t* answer);

/* ---- Buffers; lengths are in bytes ---- */

/** Takes note that `buffer` is mapped from the descriptor `fd`. */
VSR_API int32_t visoradsp_registerbuf(void* buffer, uint32_t size, int32_t fd);
/** Gets the same buffer twice, as input, which writes its cache lines back, and as output, which drops them. */
VSR_API int32_t visoradsp_cache_flush_invalidateK(uint64_t handle, const void* input, uint32_t inputLength,
                                                  void* output, uint32_t outputLength);
/** Drop the cache lines of one to six buffers. */
VSR_API int32_t visoradsp_vsrInvalidateOutputBufferK(uint64_t handle, void* buffer, uint32_t length);
VSR_API int32_t visoradsp_vsrInvalidateOutputBuffer2K(uint64_t handle, void* buffer1, uint32_t length1, void* buffer2,
                                                      uint32_t length2);
VSR_API int32_t visoradsp_vsrInvalidateOutputBuffer3K(uint64_t handle, void* buffer1, uint32_t length1, void* buffer2,
                                                      uint32_t length2, void* buffer3, uint32_t length3);
VSR_API int32_t visoradsp_vsrInvalidateOutputBuffer4K(uint64_t handle, void* buffer1, uint32_t length1, void* buffer2,
                                                      uint32_t length2, void* buffer3, uint32_t length3, void* buffer4,
                                                      uint32_t length4);
VSR_API int32_t visoradsp_vsrInvalidateOutputBuffer5K(uint64_t handle, void* buffer1, uint32_t length1, void* buffer2,
                                                      uint32_t length2, void* buffer3, uint32_t length3, void* buffer4,
                                                      uint32_t length4, void* buffer5, uint32_t length5);
VSR_API int32_t visoradsp_vsrInvalidateOutputBuffer6K(uint64_t handle, void* buffer1, uint32_t length1, void* buffer2,
                                                      uint32_t length2, void* buffer3, uint32_t length3, void* buffer4,
                                                      uint32_t length4, void* buffer5, uint32_t length5, void* buffer6,
                                                      uint32_t length6);

VSR_END_DECLARATIONS

#endif
