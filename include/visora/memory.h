/**
 * @file
 * Memory services: aligned blocks for applications, and scratch memory that kernels borrow for the length of one call.
 */
#ifndef VISORA_MEMORY_H
#define VISORA_MEMORY_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Aligned blocks ---- */

/**
 * Allocates a block.
 * @param size           bytes
 * @param byteAlignment  a power of two below 255 (0 counts as 1); any other value stops the process
 * @return the block, to be freed with vsrMemAlignFree; null when there is no memory
 */
VSR_API void* vsrMemAlign(size_t size, uint32_t byteAlignment);
/** Frees a block of vsrMemAlign; null is ignored. */
VSR_API void vsrMemAlignFree(void* block);

/**
 * As vsrMemAlign, but the block is shared with the DSP where an allocator of such memory is installed and has some:
 * calls that the DSP serves then need not copy it.
 * @return the block, to be freed with vsrMemFree; null when there is no memory
 */
VSR_API void* vsrMemAlloc(uint32_t size, uint32_t byteAlignment);
/** Frees a block of vsrMemAlloc, also when its shared allocator was removed or replaced meanwhile; null is ignored. */
VSR_API void vsrMemFree(void* block);

/**
 * The allocator of memory shared with the DSP; null while none is installed. A mode that brings a DSP up installs the
 * library's own, vsrCleanUp removes it. Free returns 0 when the block was the allocator's. The R_ pointers are the same
 * for remote use.
 */
extern VSR_VAR void* (*vsrSharedMemAlloc_)(uint32_t size, uint32_t byteAlignment);
extern VSR_VAR void* (*vsrSharedMemAllocR_)(uint32_t size, uint32_t byteAlignment);
extern VSR_VAR int32_t (*vsrSharedMemFree_)(void* block);
extern VSR_VAR int32_t (*vsrSharedMemFreeR_)(void* block);
/** Addresses of vsrSharedMemAlloc_ and vsrSharedMemFree_, through which vsrMemAlloc and vsrMemFree reach them. */
extern VSR_VAR void* (**ppvsrSharedMemAlloc)(uint32_t size, uint32_t byteAlignment);
extern VSR_VAR int32_t (**ppvsrSharedMemFree)(void* block);

/* ---- Heap statistics: called when the pool is set up and on every allocation and free; they do nothing. A program
        that wants to count defines functions of these names itself. ---- */

VSR_API void vsrHeapStatsInit(void);
VSR_API void vsrHeapStatsMalloc(void* allocation, size_t size);
VSR_API void vsrHeapStatsFree(void* allocation);

/* ---- Scratch pool: 32 buffers that kernels borrow and that keep their memory from call to call. Without it every
        scratch buffer is an allocation of its own. ---- */

/** Sets the pool up with the first call and counts the calls. @return 0 */
VSR_API int32_t vsrMemInit(void);

/**
 * As vsrMemInit; then borrows a buffer of `size` bytes (33177600 at most; none for 0), 16-byte aligned, fills it with
 * zeros and gives it back, so that the pool has one of that size from now on.
 */
VSR_API void vsrMemInitPreAlloc(uint32_t size);

/**
 * Takes one call of vsrMemInit back; the last one frees the pool. Nobody waits: a buffer that is still lent stays with
 * its borrower and is freed when it is given back.
 * A call that is not the last also clears CPU_initflag, and while that is clear further calls do nothing: whoever
 * nests set-ups gets the pool freed only by a call that follows a new vsrMemInit.
 */
VSR_API void vsrMemDeInit(void);

/** 1 when vsrMemDeInit has something to take back. */
extern VSR_VAR uint8_t CPU_initflag;

/**
 * Borrows a scratch buffer, to be given back with vsrReleaseScratchBufferC.
 * @param size       bytes
 * @param alignment  a power of two; any other value counts as 1
 * @return the buffer; null when there is no memory or all 32 of the pool are lent
 */
VSR_API void* vsrGetScratchBufferAlignedC(size_t size, uint32_t alignment);

/** As vsrGetScratchBufferAlignedC without an alignment of its own (16 bytes behind the allocation's start). */
VSR_API void* vsrGetScratchBufferUnalignedC(size_t size);

/** Gives a scratch buffer back. Null, or a pointer whose 16 bytes before it are no scratch header, is ignored. */
VSR_API void vsrReleaseScratchBufferC(void* buffer);

/** The scratch services that kernels call; a program may put its own in their place. */
extern VSR_VAR void* (*vsrGetScratchBufferAligned_)(size_t size, uint32_t alignment);
extern VSR_VAR void* (*vsrGetScratchBufferUnaligned_)(size_t size);
extern VSR_VAR void (*vsrReleaseScratchBuffer_)(void* buffer);

VSR_END_DECLARATIONS

#endif
