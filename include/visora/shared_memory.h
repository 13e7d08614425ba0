/**
 * @file
 * Memory that the program shares with the DSP: its allocator, the registration of the program's own buffers, and cache
 * maintenance. Applications call vsrMemAlloc (memory.h), which takes such memory once a mode has brought a DSP up.
 *
 * All of it may be called from any thread, but for setting the allocator up and ending it.
 */
#ifndef VISORA_SHARED_MEMORY_H
#define VISORA_SHARED_MEMORY_H

#include <pthread.h>

#include "visora/offload.h"
#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Allocator ---- */

/** What is known of one live allocation. */
typedef struct SharedMemRecord
{
    void* address;       /**< start of the mapping, null in a record that is free */
    int32_t ionFd;       /**< the ION device, opened for this allocation */
    void* mappedAddress; /**< what to unmap */
    uint64_t size;       /**< bytes asked for; the mapping is a whole number of pages */
    int32_t bufferFd;    /**< the buffer's descriptor */
} SharedMemRecord;

enum
{
    VSR_SHARED_MEM_RECORDS = 128 /**< allocations that can be live at a time */
};

/** The allocations, under sharedMemMutex. */
extern VSR_VAR SharedMemRecord sharedMemTable[VSR_SHARED_MEM_RECORDS];
/** Exists between vsrInitSharedMem_Kdsp and vsrDeInitSharedMem_Kdsp. */
extern VSR_VAR pthread_mutex_t sharedMemMutex;

/**
 * Installs the DSP's allocator in the shared-memory pointers of memory.h when a DSP and no GPU is in the report
 * (vsrAvailableHardware).
 */
VSR_API void vsrInitSharedMem(uint32_t hardware);
/** Removes whatever allocator the pointers hold, and ends the DSP's when it is that one. */
VSR_API void vsrDeInitSharedMem(void);

/** Sets the DSP's allocator up, with an empty table. @return 0, also when it is up already; -1 on failure */
VSR_API int32_t vsrInitSharedMem_Kdsp(void);
/**
 * Ends it. Live allocations stay mapped; vsrMemFree still frees those that came from vsrMemAlloc.
 * @return 0, or the error number of destroying sharedMemMutex
 */
VSR_API int32_t vsrDeInitSharedMem_Kdsp(void);

/**
 * Allocates memory that the DSP maps too.
 * @param size           bytes, not 0
 * @param byteAlignment  at most 4096; every block starts on a page
 * @return the block, to be freed with vsrSharedMemFreeK; null when there is none (logged) or 128 are live
 */
VSR_API void* vsrSharedMemAllocK(uint32_t size, uint32_t byteAlignment);
/** @return 0, or -1 when the block is none of this allocator's */
VSR_API int32_t vsrSharedMemFreeK(void* block);

/* ---- Buffers of the program's own ---- */

/**
 * Tells the DSP's side that a buffer of `size` bytes is mapped from the descriptor `fd`: calls on it then need not
 * copy it. Does nothing while no DSP is in use.
 * @return 0, the DSP side's error, or 6 when no domain is in use
 */
VSR_API vsrStatus vsrRegisterBuf(void* buffer, uint32_t size, int32_t fd);

/* ---- Cache maintenance. Lengths are in bytes; the result is the DSP side's, 6 when no domain is in use. ---- */

/** Writes a buffer's cache lines back and drops them. */
VSR_DSP_ROUTINES(vsrStatus, vsr_cache_flush_invalidate, void* buffer, uint32_t size);

/** Drop the cache lines of one to six buffers that the DSP wrote. */
VSR_DSP_ROUTINES(vsrStatus, vsrInvalidateOutputBuffer, void* buffer, uint32_t length);
VSR_DSP_ROUTINES(vsrStatus, vsrInvalidateOutputBuffer2, void* buffer1, uint32_t length1, void* buffer2,
                 uint32_t length2);
VSR_DSP_ROUTINES(vsrStatus, vsrInvalidateOutputBuffer3, void* buffer1, uint32_t length1, void* buffer2,
                 uint32_t length2, void* buffer3, uint32_t length3);
VSR_DSP_ROUTINES(vsrStatus, vsrInvalidateOutputBuffer4, void* buffer1, uint32_t length1, void* buffer2,
                 uint32_t length2, void* buffer3, uint32_t length3, void* buffer4, uint32_t length4);
VSR_DSP_ROUTINES(vsrStatus, vsrInvalidateOutputBuffer5, void* buffer1, uint32_t length1, void* buffer2,
                 uint32_t length2, void* buffer3, uint32_t length3, void* buffer4, uint32_t length4, void* buffer5,
                 uint32_t length5);
VSR_DSP_ROUTINES(vsrStatus, vsrInvalidateOutputBuffer6, void* buffer1, uint32_t length1, void* buffer2,
                 uint32_t length2, void* buffer3, uint32_t length3, void* buffer4, uint32_t length4, void* buffer5,
                 uint32_t length5, void* buffer6, uint32_t length6);

VSR_END_DECLARATIONS

#endif
