// The dispatch tables and what else has one line per operation, laid out by the table of operations. This is C, not
// C++, because only C takes the addresses of functions of many types as constants: everything here is part of the
// library's image and nothing runs at load.
#include <stddef.h>

#include "common/visoraRelaxed.h"
#include "common/visoraRows.h"
#include "visora.h"

// Reference in the columns of kinds 0 to 3, nothing in those of the DSP domains.
#define COLUMNS_AT_LOAD(row, operation)                                                       \
    [(row)*VSR_KIND_COUNT + VSR_IMPL_CPU] = (VSR_FUNC)operation##C,                           \
                            [(row)*VSR_KIND_COUNT + VSR_IMPL_VECTA] = (VSR_FUNC)operation##C, \
                            [(row)*VSR_KIND_COUNT + VSR_IMPL_KDSP] = (VSR_FUNC)operation##C,  \
                            [(row)*VSR_KIND_COUNT + VSR_IMPL_GPU] = (VSR_FUNC)operation##C,

VSR_FUNC_TABLE vsrFuncTable = {
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) COLUMNS_AT_LOAD(row, operation)
#include "visora/operations/all.def"
};

VSR_INTERNAL_FUNC_TABLE vsrInternalFuncTable = {
#define VSR_INTERNAL(row, operation, entry, variant, dsp) COLUMNS_AT_LOAD(row, operation)
#define VSR_INTERNAL_RESERVED(row, operation, entry, dsp) [(row)*VSR_KIND_COUNT] = NULL,
#include "visora/operations/all.def"
};

VSR_IMPL vsrImplTable[VSR_ROW_COUNT];
VSR_IMPL vsrInternalImplTable[VSR_INTERNAL_ROW_COUNT];

const char* const vsrImplChar[VSR_KIND_COUNT] = {"CPU", "VECTA", "KDSP", "GPU", "ADSP", "CDSP", "MDSP"};

enum
{
    NO_DSP = 0,
    DSP = 1,
    NONE = VSR_MODE_NONE,
    LOW = VSR_MODE_LOW,
    PERF = VSR_MODE_PERF,
    OFFLOAD = VSR_MODE_OFFLOAD,
    GPU = VSR_MODE_GPU
};

// The DSP routines of an operation.
#define ROUTINES_NO_DSP(operation) \
    {                              \
        NULL                       \
    }
#define ROUTINES_DSP(operation)                                                                            \
    {                                                                                                      \
        (VSR_FUNC) operation##K, (VSR_FUNC)operation##Ka, (VSR_FUNC)operation##Kc, (VSR_FUNC)operation##Km \
    }
#define BUILT(operation, variant, dsp, modes)                                                                   \
    {                                                                                                           \
#operation, (VSR_FUNC)operation##C, (VSR_FUNC)operation##variant, dsp, modes, ROUTINES_##dsp(operation) \
    }
#define NOT_BUILT(operation, dsp, modes)    \
    {                                       \
#operation, NULL, NULL, dsp, modes, \
        {                                   \
            NULL                            \
        }                                   \
    }

const VisoraRow visoraRows[VSR_ROW_COUNT] = {
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) [row] = BUILT(operation, variant, dsp, modes),
#define VSR_RESERVED(row, operation, entry, dsp, modes) [row] = NOT_BUILT(operation, dsp, modes),
#include "visora/operations/all.def"
};

const VisoraRow visoraInternalRows[VSR_INTERNAL_ROW_COUNT] = {
#define VSR_INTERNAL(row, operation, entry, variant, dsp) [row] = BUILT(operation, variant, dsp, NONE),
#define VSR_INTERNAL_RESERVED(row, operation, entry, dsp) [row] = NOT_BUILT(operation, dsp, NONE),
#include "visora/operations/all.def"
};

// The pointers of every operation.
#define POINTERS(operation, entry)                         \
    __typeof__(&operation##C) operation##_ = operation##C; \
    __typeof__(&operation##C) entry##R_ = NULL;            \
    __typeof__(&operation##_) pp##operation = &operation##_;
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) POINTERS(operation, entry)
#define VSR_INTERNAL(row, operation, entry, variant, dsp) POINTERS(operation, entry)
#include "visora/operations/all.def"

void* (*vsrGetScratchBufferAligned_)(size_t size, uint32_t alignment) = vsrGetScratchBufferAlignedC;
void* (*vsrGetScratchBufferUnaligned_)(size_t size) = vsrGetScratchBufferUnalignedC;
void (*vsrReleaseScratchBuffer_)(void* buffer) = vsrReleaseScratchBufferC;

uint32_t (*fast9_corner_score_)(const uint8_t* pixel, const int32_t offsets[16],
                                uint32_t threshold) = fast9_corner_scoreC;
uint32_t (*fast10_corner_score_)(const uint8_t* pixel, const int32_t offsets[16],
                                 uint32_t threshold) = fast10_corner_scoreC;

void (*calcIxIy_32f_)(const float* patch, float* Ix, float* Iy, uint32_t patchWidth,
                      uint32_t patchHeight) = calcIxIy_32fC;

#define COLOR_ROW_HELPERS(X) \
    X(rgb5652yuvp)           \
    X(rgb8882yuvp)           \
    X(rgba88882yuvp)         \
    X(rgb5652y)              \
    X(rgb8882y)              \
    X(rgba88882y)            \
    X(rgb565_to_rgb888)
#define HELPER_AT_LOAD(helper) __typeof__(&helper##C) helper##_ = helper##C;
COLOR_ROW_HELPERS(HELPER_AT_LOAD)
void (*vsrMomentsInTileu8_)(const uint8_t* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                            double moments[10]) = vsrMomentsInTileu8C;
void (*vsrMomentsInTiles32_)(const int32_t* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                             double moments[10]) = vsrMomentsInTiles32C;
void (*vsrMomentsInTilef32_)(const float* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                             double moments[10]) = vsrMomentsInTilef32C;

void uCHelper(void)
{
#define HELPER_TO_C(helper) VSR_STORE(helper##_, helper##C);
    COLOR_ROW_HELPERS(HELPER_TO_C)
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) VSR_STORE(operation##_, operation##C);
#define VSR_INTERNAL(row, operation, entry, variant, dsp) VSR_STORE(operation##_, operation##C);
#include "visora/operations/all.def"
    VSR_STORE(vsrGetScratchBufferAligned_, vsrGetScratchBufferAlignedC);
    VSR_STORE(vsrGetScratchBufferUnaligned_, vsrGetScratchBufferUnalignedC);
    VSR_STORE(vsrReleaseScratchBuffer_, vsrReleaseScratchBufferC);
    VSR_STORE(fast9_corner_score_, fast9_corner_scoreC);
    VSR_STORE(fast10_corner_score_, fast10_corner_scoreC);
    VSR_STORE(calcIxIy_32f_, calcIxIy_32fC);
    VSR_STORE(vsrMomentsInTileu8_, vsrMomentsInTileu8C);
    VSR_STORE(vsrMomentsInTiles32_, vsrMomentsInTiles32C);
    VSR_STORE(vsrMomentsInTilef32_, vsrMomentsInTilef32C);
}

void uVHelper(void)
{
#define HELPER_TO_V(helper) VSR_STORE(helper##_, helper##V);
    COLOR_ROW_HELPERS(HELPER_TO_V)
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) VSR_STORE(operation##_, operation##variant);
#define VSR_INTERNAL(row, operation, entry, variant, dsp) VSR_STORE(operation##_, operation##variant);
#include "visora/operations/all.def"
    VSR_STORE(fast9_corner_score_, fast9_corner_scoreV);
    VSR_STORE(fast10_corner_score_, fast10_corner_scoreV);
    VSR_STORE(calcIxIy_32f_, calcIxIy_32fV);
    VSR_STORE(vsrMomentsInTileu8_, vsrMomentsInTileu8V);
    VSR_STORE(vsrMomentsInTiles32_, vsrMomentsInTiles32V);
    VSR_STORE(vsrMomentsInTilef32_, vsrMomentsInTilef32V);
}

void uRNull(void)
{
    visoraSetRemotePointers(VSR_MODE_NONE);
}

#define ROUTINE_NO_DSP(operation) (__typeof__(&operation##C))NULL
#define ROUTINE_DSP(operation) operation##K

// Of the internal rows every mode table has these two.
enum
{
    LISTED_PROBE = 10,
    LISTED_REGISTRATION = 11
};

void visoraSetRemotePointers(uint8_t list)
{
    const bool all = list == VSR_MODE_PINNED;
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) \
    VSR_STORE(entry##R_, all || (list & (modes)) ? ROUTINE_##dsp(operation) : NULL);
#define VSR_INTERNAL(row, operation, entry, variant, dsp)                                         \
    VSR_STORE(entry##R_, all || (list && ((row) == LISTED_PROBE || (row) == LISTED_REGISTRATION)) \
                             ? ROUTINE_##dsp(operation)                                           \
                             : NULL);
#include "visora/operations/all.def"
}

static const char* nameOfBuilt(const VisoraRow* rows, uint32_t count, uint32_t row)
{
    return row < count && rows[row].reference ? rows[row].name : NULL;
}

const char* ivsrOperationName(uint32_t row)
{
    return nameOfBuilt(visoraRows, VSR_ROW_COUNT, row);
}

const char* ivsrInternalOperationName(uint32_t row)
{
    return nameOfBuilt(visoraInternalRows, VSR_INTERNAL_ROW_COUNT, row);
}
