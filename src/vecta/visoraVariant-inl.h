// The vector variant of an operation in one line, where its kernel is a driver and a formula.
#if defined(VISORA_VECTA_VARIANT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_VARIANT_INL_H
#undef VISORA_VECTA_VARIANT_INL_H
#else
#define VISORA_VECTA_VARIANT_INL_H
#endif

#include <type_traits>

#include "hwy/highway.h"
#include "vecta/visoraExport.h"

#undef VSR_KERNEL
#define VSR_KERNEL(operation, driver, ...)                          \
    std::type_identity_t<decltype(operation##C)> operation##Kernel; \
    VSR_DEFINE_BODY(operation##Kernel, decltype(operation##C),      \
                    { return driver(__VA_ARGS__ __VA_OPT__(, ) arguments...); })

// In the namespace of an instruction set: the driver gets the formula, then the operation's arguments. A C function is
// the same one in whichever namespace it is declared.
#undef VSR_VARIANT
#if HWY_ONCE
#define VSR_VARIANT(operation, ...)     \
    VSR_KERNEL(operation, __VA_ARGS__); \
    HWY_EXPORT(operation##Kernel);      \
    VSR_DEFINE(operation##V, decltype(operation##C), { return HWY_DYNAMIC_DISPATCH(operation##Kernel)(arguments...); })
#else
#define VSR_VARIANT(operation, ...) VSR_KERNEL(operation, __VA_ARGS__)
#endif

#endif
