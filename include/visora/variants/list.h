/* Declares the variants of the operations in the list VISORA_LIST. Not guarded: it is included once for each list. */
#include "visora/variants/declare.h"
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) \
    VSR_DECLARE_OPERATION(operation, entry, variant, dsp, entry)
#define VSR_OPERATION_AS(row, operation, entry, variant, dsp, modes, like) \
    VSR_DECLARE_OPERATION(operation, entry, variant, dsp, like)
#define VSR_INTERNAL(row, operation, entry, variant, dsp) VSR_DECLARE_OPERATION(operation, entry, variant, dsp, entry)
#define VSR_INTERNAL_AS(row, operation, entry, variant, dsp, like) \
    VSR_DECLARE_OPERATION(operation, entry, variant, dsp, like)
#include "visora/operations/begin.def"
VSR_BEGIN_DECLARATIONS

#include VISORA_LIST

VSR_END_DECLARATIONS
#include "visora/operations/end.def"
#undef VISORA_LIST
