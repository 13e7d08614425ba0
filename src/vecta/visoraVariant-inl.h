// The vector variant of an operation in one line, where its kernel is a driver and a formula: the driver gets the
// formula, then the operation's arguments. In the namespace of an instruction set, in place of VSR_KERNEL and
// VSR_VECTOR.
#if defined(VISORA_VECTA_VARIANT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_VARIANT_INL_H
#undef VISORA_VECTA_VARIANT_INL_H
#else
#define VISORA_VECTA_VARIANT_INL_H
#endif

#include "hwy/highway.h"
#include "vecta/visoraExport.h"

#undef VSR_VARIANT
#if HWY_ONCE
// A C function is the same one in whichever namespace it is declared.
#define VSR_VARIANT(operation, ...)                        \
    VSR_KERNEL(operation, operation##Kernel, __VA_ARGS__); \
    HWY_EXPORT(operation##Kernel);                         \
    VSR_DEFINE(operation##V, decltype(operation##C), { return HWY_DYNAMIC_DISPATCH(operation##Kernel)(arguments...); })
#else
#define VSR_VARIANT(operation, ...) VSR_KERNEL(operation, operation##Kernel, __VA_ARGS__)
#endif

#endif
