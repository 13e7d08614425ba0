/**
 * @file
 * The library as a whole: operation modes, what the machine offers, the version, logging, clean-up.
 *
 * A program calls vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE), or another mode, once before its first call; without
 * it every call runs the scalar reference. Modes may not change while other threads are in the library.
 */
#ifndef VISORA_RUNTIME_H
#define VISORA_RUNTIME_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * 1 when every entry point logs which implementation kind serves the call ("<entry>_<kind>" on the tag
 * "visora_runtime_log"), else 0. Set from the system property "runtime.visora.log" each time a mode is applied.
 */
extern VSR_VAR uint8_t libLogPrint;

/** Non-zero (the initial state) when entry points test the DSP's constraints before they leave a call to it. */
extern VSR_VAR int32_t HW_constraint_checks_enable;

/**
 * Writes one formatted line to the log.
 * @param file      path; the part behind its last '/' (at most 127 characters) is the tag
 * @param line      when not 0, the text begins with it, right-aligned in four places, and "| "
 * @param priority  platform log priority (3 debug, 6 error)
 * @param format    as for printf; the whole text is cut at 511 characters
 * @return the number of characters that the formatted message has, uncut and without the line number
 */
VSR_API int32_t vsrLogAssert(const char* file, int32_t line, int32_t priority, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

/** What a status says, in a few English words ("bad argument"); "unknown status" for others than VISORA_ has names for.
 */
VSR_API const char* vsrStatusText(vsrStatus status);

/* ---- Operation modes ---- */

/** What serves the calls of the library from now on. Extended modes have bit 31 set. */
typedef uint32_t vsrOperationMode;

#define VISORA_OP_LOW_POWER 0u               /**< as much as possible on the DSP, to save power */
#define VISORA_OP_PERFORMANCE 1u             /**< the DSP where it is faster than the vector unit */
#define VISORA_OP_CPU_OFFLOAD 2u             /**< the DSP wherever it frees the CPU */
#define VISORA_OP_CPU_PERFORMANCE 3u         /**< the CPU alone: the vector unit */
#define VISORA_OP_EXT_ADSP 0x80000001u       /**< the vector unit */
#define VISORA_OP_EXT_CDSP 0x80000002u       /**< the reference, with vector variants ready in their column */
#define VISORA_OP_EXT_MDSP 0x80000004u       /**< the vector unit */
#define VISORA_OP_EXT_DSP_PINNED 0x80000008u /**< as VISORA_OP_EXT_KDSP */
#define VISORA_OP_EXT_GPU 0x80000020u        /**< the GPU where it has a variant, else the vector unit */
#define VISORA_OP_EXT_KDSP 0x80000400u       /**< every DSP-capable call to the default DSP domain, unchecked */

/**
 * Applies a mode: looks at the machine, fills the dispatch tables with what it offers and decides what serves each
 * operation. On a machine known to have neither DSP nor GPU every mode means VISORA_OP_CPU_PERFORMANCE.
 * @param mode  one of the VISORA_OP_ values. Another extended value stops the process; another normal one leaves every
 *              call to the reference
 * @return 0, or VISORA_MODE_REFUSED, with nothing changed, on a machine with neither a vector nor a floating-point unit
 */
VSR_API vsrStatus vsrSetOperationMode(vsrOperationMode mode);
/** As vsrSetOperationMode, but leaves mode_globalVar alone and takes the mode as it is on every machine. */
VSR_API vsrStatus vsrSetOperationMode_internal(vsrOperationMode mode);
/** Applies VISORA_OP_EXT_KDSP (0) or VISORA_OP_EXT_GPU (1). @return 0, or 1 when that failed or for another choice */
VSR_API int32_t vsrSetOperationModeExt(int32_t choice);
/**
 * Applies a mode for clients that run the library remotely: sets up the DSP's column, the remote pointers (vsrXxxR_)
 * and the kind numbers, and leaves the other columns alone.
 * @return as vsrSetOperationMode
 */
VSR_API vsrStatus vsrSetOperationModeRemoteLib(vsrOperationMode mode);

/** The mode last asked for, with vsrSetOperationMode or vsrSetOperationModeRemoteLib. */
extern VSR_VAR vsrOperationMode mode_globalVar;

/* ---- What the machine offers ---- */

/**
 * Reports what the machine offers to a mode, and brings the DSP up when the mode wants it.
 * @return bits: 0x2 always; 0x4 vector unit; 0x8 DSP session ready; 0x20 GPU; 0x80 floating-point unit; 0x100 processor
 *         architecture 7 or later; 0x800 mobile platform; 0x1000 always
 */
VSR_API uint32_t vsrAvailableHardware(vsrOperationMode mode);
/** Brings the DSP up for a mode. @return 8 when a session is ready, else 0 */
VSR_API uint32_t vsrAvailableHWComponent(vsrOperationMode mode);
/** Number of online processors, 1 when the system cannot tell. */
VSR_API int32_t vsrAvailableProcessors(void);
/** Non-zero on machines that are known to have neither a DSP nor a GPU. */
VSR_API int32_t vsr_check_only_cpu(void);

/** Processor features: 0x1 architecture 7 or later, 0x2 floating-point unit, 0x4 vector unit. */
VSR_API uint32_t ivsrProcessorFeatures(void);
/** Maker's number of the processor, from its description; 0x51 on known mobile chips of other makers. */
VSR_API int64_t ivsrProcessorImplementer(void);
/** Instruction set that the vector variants use on this machine, for instance "AVX2" or "NEON". */
VSR_API const char* ivsrVectorInstructionSet(void);

/**
 * File to read instead of the system's processor description ("/proc/cpuinfo" on ARM). Null means the system's. It is
 * looked at once per process, when the machine is first looked at.
 */
extern VSR_VAR const char* ivsrProcessorDescriptionPath;

/** Bits that the hardware report has whatever was found: what only the platform's maker knows of. Initially none. */
extern VSR_VAR uint32_t ivsrFurtherHardware;

/** Processors found online when the mode was applied. */
extern VSR_VAR int32_t nVsrAvailableProc;
/** 1 while a DSP session, a GPU, is up. */
extern VSR_VAR uint8_t KDSP_initflag;
extern VSR_VAR uint8_t GPU_initflag;

/* ---- DSP domain ---- */

/**
 * Chooses the DSP domain: 0 application, 1 compute, 2 modem DSP; 3 reads it from the system property
 * "vendor.runtime.visora.defaultDSP", and the domain stays what it was when that names none.
 * @return 0
 */
VSR_API int32_t vsrSetDefaultDspEXT(int32_t domain);
/** Stores the domain and does nothing else. */
VSR_API void setDefaultDSPValue(int32_t domain);
/** Opens a DSP session in a session mode (0, 1 or 2). @return 0, or -1 when none could be opened */
VSR_API int32_t vsrSelectKDSP6Mode(int32_t mode);

/* ---- Version and clean-up ---- */

/**
 * Gives the version text.
 * @param dest  receives "1.7.1" when `size` is 6 or more, else `size` zeros; may be null
 * @param size  bytes
 */
VSR_API void vsrGetVersion(char* dest, uint32_t size);

/**
 * Ends the DSP session and the memory shared with it. Calls keep working: the dispatch tables stay.
 * @return 0, or the error of what was ended last
 */
VSR_API int32_t vsrCleanUp(void);
/** As vsrCleanUp, but leaves KDSP_initflag and GPU_initflag as they are. */
VSR_API int32_t vsrCleanUpHW(void);

/* ---- Platform-optimisation library: routines tuned for one platform, in "/data/local/libvsropt.so" ---- */

/** Opens the library, once. @return 0, or -1 when it cannot be opened */
VSR_API int32_t vsrPlatformOptLoad(void);
/** Address of one of its functions; null when there is none or the library is not open. */
VSR_API void* vsrPlatformOptGetFunc(const char* name);
/** Closes the library. @return 0 */
VSR_API int32_t vsrPlatformOptClose(void);

VSR_END_DECLARATIONS

#endif
