// What the table of operations says of every row.
#ifndef VISORA_COMMON_ROWS_H
#define VISORA_COMMON_ROWS_H

#include <stdbool.h>
#include <stdint.h>

#include "visora/dispatch.h"

#ifdef __cplusplus
extern "C"
{
#endif

    // Mode tables that give a row to another unit.
    enum
    {
        VSR_MODE_NONE = 0,
        VSR_MODE_LOW = 1,      // low power, to the DSP
        VSR_MODE_PERF = 2,     // performance, to the DSP
        VSR_MODE_OFFLOAD = 4,  // CPU offload, to the DSP
        VSR_MODE_GPU = 8,      // performance, to the GPU
        VSR_MODE_PINNED = 16   // no list: every row that a DSP can serve
    };

    // The DSP routines of a row.
    enum
    {
        VSR_ON_DEFAULT_DOMAIN,  // vsrXxxK
        VSR_ON_ADSP,            // vsrXxxKa
        VSR_ON_CDSP,            // vsrXxxKc
        VSR_ON_MDSP,            // vsrXxxKm
        VSR_ROUTINE_COUNT
    };

    typedef struct VisoraRow
    {
        const char* name;    // null for the placeholders, which have no operation
        VSR_FUNC reference;  // null while the operation is not built
        VSR_FUNC vector;
        bool dspCapable;
        uint8_t modes;
        VSR_FUNC routines[VSR_ROUTINE_COUNT];  // all null where there are none
    } VisoraRow;

    extern const VisoraRow visoraRows[VSR_ROW_COUNT];
    extern const VisoraRow visoraInternalRows[VSR_INTERNAL_ROW_COUNT];

    // Points the remote pointers of the rows that a mode table gives to the DSP at their DSP routines, and empties
    // those of the others.
    void visoraSetRemotePointers(uint8_t list);

#ifdef __cplusplus
}

namespace visora
{

/** Rows of the main table, by operation. */
enum class Row : uint32_t
{
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) operation = (row),
#include "visora/operations/all.def"
};

/** Rows of the internal table that the library itself names. */
enum class InternalRow : uint32_t
{
#define VSR_INTERNAL(row, operation, entry, variant, dsp) operation = (row),
#define VSR_INTERNAL_RESERVED(row, operation, entry, dsp) operation = (row),
#include "visora/operations/all.def"
};

}  // namespace visora
#endif

#endif
