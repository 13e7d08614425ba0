/**
 * @file
 * The DSP: its session and the memory that it shares with the program. Applications choose an operation mode
 * (runtime.h) and need none of this; it is there for those who start a session themselves.
 */
#ifndef VISORA_OFFLOAD_H
#define VISORA_OFFLOAD_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Starts a session on the DSP domain in use, unless one with this mode runs. A start that failed is not tried again
 * before KCVAK6_deinit.
 * @param mode     0 low power, 1 CPU offload, 2 performance
 * @param version  the library's version text, compared with the DSP side's
 * @return 0, or -1 when there is no DSP or it refused
 */
VSR_API int32_t KCVAK6_init(int32_t mode, const char* version);
/** Ends the session. @return 0, or the error of its clean-up */
VSR_API int32_t KCVAK6_deinit(void);
/** Whether a session runs. */
VSR_API bool KCVAK6_is_ready(void);
/** Mode of the running session, -1 when none runs. */
VSR_API int32_t KCVAK6_get_current_mode(void);

/** Non-zero (the initial state) while constraint checks are on; set by vsrUpdateK6ConstraintCheckFlag. */
extern VSR_API int32_t K6_constraint_checks_enable;
VSR_API void vsrUpdateK6ConstraintCheckFlag(int32_t enable);

/** Non-zero (the initial state) while offload routines test the DSP's constraints; set by the function below. */
extern VSR_API int32_t k6AbstractionConstraintFlag;
/** @return 0 */
VSR_API uint32_t vsrUpdateK6ConstraintCheckFlagK(uint32_t enable);

/** Installs the DSP's allocator in the shared-memory pointers of memory.h when a DSP and no GPU is in the report. */
VSR_API void vsrInitSharedMem(uint32_t hardware);
/** Removes whatever allocator the pointers hold, and ends the DSP's when it is that one. */
VSR_API void vsrDeInitSharedMem(void);

/** Set up and end the DSP's allocator. @return 0, or a negative number on failure */
VSR_API int32_t vsrInitSharedMem_Kdsp(void);
VSR_API int32_t vsrDeInitSharedMem_Kdsp(void);
/** Allocates memory that the DSP maps too. @return null when there is none */
VSR_API void* vsrSharedMemAllocK(uint32_t size, uint32_t byteAlignment);
/** @return 0, or -1 when the block is none of this allocator's */
VSR_API int32_t vsrSharedMemFreeK(void* block);

VSR_END_DECLARATIONS

#endif
