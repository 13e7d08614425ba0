/**
 * @file
 * Scratch memory that kernels borrow for the length of one call.
 */
#ifndef VISORA_MEMORY_H
#define VISORA_MEMORY_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Borrows a scratch buffer, to be given back by the same thread with vsrReleaseScratchBufferC.
 * @param size       bytes
 * @param alignment  a power of two; any other value counts as 1
 * @return the buffer, or null when none can be had
 */
VSR_API void* vsrGetScratchBufferAlignedC(size_t size, uint32_t alignment);

/** As vsrGetScratchBufferAlignedC without an alignment of its own (16 bytes behind the allocation's start). */
VSR_API void* vsrGetScratchBufferUnalignedC(size_t size);

/** Gives a scratch buffer back. Null, or a pointer that is no scratch buffer, is ignored. */
VSR_API void vsrReleaseScratchBufferC(void* buffer);

/** The scratch services that kernels call; a program may put its own in their place. */
extern VSR_API void* (*vsrGetScratchBufferAligned_)(size_t size, uint32_t alignment);
extern VSR_API void* (*vsrGetScratchBufferUnaligned_)(size_t size);
extern VSR_API void (*vsrReleaseScratchBuffer_)(void* buffer);

VSR_END_DECLARATIONS

#endif
