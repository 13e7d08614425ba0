/**
 * @file
 * The function manager: for every dispatched operation one row of seven implementations, one per kind, and one number
 * that says which of them serves the next call. Applications seldom need it; it is there for those who install an
 * implementation of their own or ask which one runs.
 *
 * No locks: tables are written while a mode is applied and read by every call.
 */
#ifndef VISORA_DISPATCH_H
#define VISORA_DISPATCH_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** Implementation kind. */
typedef uint32_t VSR_IMPL;

enum
{
    VSR_IMPL_CPU = 0,   /**< scalar reference */
    VSR_IMPL_VECTA = 1, /**< vector unit */
    VSR_IMPL_KDSP = 2,  /**< DSP, domain chosen per call */
    VSR_IMPL_GPU = 3,   /**< GPU */
    VSR_IMPL_ADSP = 4,  /**< application DSP */
    VSR_IMPL_CDSP = 5,  /**< compute DSP */
    VSR_IMPL_MDSP = 6,  /**< modem DSP */
    VSR_KIND_COUNT = 7,
    VSR_ROW_COUNT = 506,
    VSR_INTERNAL_ROW_COUNT = 16
};

/** An implementation of any operation; cast it to the operation's own type to call it. */
typedef void (*VSR_FUNC)(void);

/** Entry row * 7 + kind holds that row's implementation of that kind, null where there is none. */
typedef VSR_FUNC VSR_FUNC_TABLE[VSR_ROW_COUNT * VSR_KIND_COUNT];
typedef VSR_FUNC VSR_INTERNAL_FUNC_TABLE[VSR_INTERNAL_ROW_COUNT * VSR_KIND_COUNT];

/** What slot fillers and index setters work on. The counts are limits: nothing at or above them is written. */
typedef struct VSR_FUNC_MANAGER
{
    VSR_IMPL* implTable;                        /**< kind numbers of the main rows */
    uint32_t rowCount;                          /**< number of main rows */
    VSR_FUNC_TABLE* funcTable;                  /**< implementations of the main rows */
    VSR_IMPL* internalImplTable;                /**< kind numbers of the internal rows */
    uint32_t internalRowCount;                  /**< number of internal rows */
    VSR_INTERNAL_FUNC_TABLE* internalFuncTable; /**< implementations of the internal rows */
    uint32_t kindCount;                         /**< number of kinds */
} VSR_FUNC_MANAGER;

/** Implementations of the public operations. At load, kinds 0 to 3 hold the reference and 4 to 6 nothing. */
extern VSR_VAR VSR_FUNC_TABLE vsrFuncTable;
/** Implementations of operations that are no public rows of their own. */
extern VSR_VAR VSR_INTERNAL_FUNC_TABLE vsrInternalFuncTable;
/** Kind that serves each main row. */
extern VSR_VAR VSR_IMPL vsrImplTable[VSR_ROW_COUNT];
/** Kind that serves each internal row. */
extern VSR_VAR VSR_IMPL vsrInternalImplTable[VSR_INTERNAL_ROW_COUNT];
/** Names of the kinds. */
extern VSR_VAR const char* const vsrImplChar[VSR_KIND_COUNT];

/** Makes the record the master manager. @return 0, or 1 (the previous one stays) when it or a table is missing */
VSR_API vsrStatus vsrInitializeMasterFuncManager(VSR_FUNC_MANAGER* manager);

/** Writes the rows' reference variants into column `kind` of both tables; rows without an operation are left alone. */
VSR_API void uCTable(VSR_IMPL kind);
/** As uCTable with the vector variants. */
VSR_API void uVTable(VSR_IMPL kind);

/**
 * Write the DSP routines (per-call domain, application, compute, modem DSP) into column `kind` of the rows that have
 * them. @return 0; 1 manager missing, 2 main table missing, 3 internal table missing, 4 no such kind
 */
VSR_API vsrStatus uKTable(VSR_FUNC_MANAGER* manager, VSR_IMPL kind);
VSR_API vsrStatus uKaTable(VSR_FUNC_MANAGER* manager, VSR_IMPL kind);
VSR_API vsrStatus uKcTable(VSR_FUNC_MANAGER* manager, VSR_IMPL kind);
VSR_API vsrStatus uKmTable(VSR_FUNC_MANAGER* manager, VSR_IMPL kind);
/** Has no GPU routines to write. @return 0; 1 manager missing, 2 main table missing, 4 no such kind */
VSR_API vsrStatus uGTable(VSR_FUNC_MANAGER* manager, VSR_IMPL kind);

/** Gives every DSP-capable row kind 2. @return as uKTable */
VSR_API vsrStatus uKIndex(VSR_FUNC_MANAGER* manager);
/** Gives every DSP-capable row `kind` (4, 5 or 6). @return as uKTable */
VSR_API vsrStatus uKacmIndex(VSR_FUNC_MANAGER* manager, VSR_IMPL kind);
/** Sets no row. @return 0, or 1 when the manager is missing */
VSR_API vsrStatus uGIndex(VSR_FUNC_MANAGER* manager);

/** Point the library's own implementation pointers (`vsrXxx_` and helpers) at the reference variants ... */
VSR_API void uCHelper(void);
/** ... or at the vector variants. */
VSR_API void uVHelper(void);
/** Empties the remote pointers `vsrXxxR_`. */
VSR_API void uRNull(void);

/**
 * Fills the column of the default DSP domain when a DSP is there and logs what is available.
 * @return the sum of the fillers' codes; 1 when a table is missing
 */
VSR_API vsrStatus vsrTableHWInit(VSR_FUNC_TABLE* funcTable, VSR_INTERNAL_FUNC_TABLE* internalFuncTable, bool dspPresent,
                                 bool gpuPresent);

/** Chooses the kind that mode tables give DSP rows: domain 0 gives 4, 1 and 3 give 5, 2 gives 6; others nothing. */
VSR_API void setVSR_IMPL_defaultDSP(int32_t domain);

/**
 * The mode tables: give the rows of the low-power, performance or CPU-offload list to the DSP (and some rows of the
 * performance list to the GPU) where the machine has one. @return 0; the performance table 1 without a manager
 */
VSR_API vsrStatus uHWLowPowerModeTable(VSR_FUNC_MANAGER* manager);
VSR_API vsrStatus uHWPerformanceModeTable(VSR_FUNC_MANAGER* manager);
VSR_API vsrStatus uKCpuOffloadModeTable(VSR_FUNC_MANAGER* manager);

/** Name of the operation that a main or internal row serves; null when the row holds none. */
VSR_API const char* ivsrOperationName(uint32_t row);
VSR_API const char* ivsrInternalOperationName(uint32_t row);

/** DSP domain in use: 0 application, 1 compute (initially), 2 modem DSP. */
extern VSR_VAR int32_t defaultDSP;

VSR_END_DECLARATIONS

#endif
