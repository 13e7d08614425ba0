// How a vector kernel becomes the vector variant of an operation.
#ifndef VISORA_VECTA_EXPORT_H
#define VISORA_VECTA_EXPORT_H

#include <type_traits>

#include "common/visoraDefine.h"

/**
 * Below HWY_ONCE: makes `kernel`, which every instruction set has in its namespace, the vector variant of `operation`.
 * It takes the operation's arguments and returns its result, or a bool: false leaves the call to the reference (the
 * image is narrower than a vector, say).
 */
#define VSR_VECTOR(operation, kernel)                                                                  \
    namespace visora                                                                                   \
    {                                                                                                  \
    HWY_EXPORT(kernel);                                                                                \
    }                                                                                                  \
    VSR_DEFINE(operation##V, decltype(operation##C), {                                                 \
        using namespace visora;                                                                        \
        if constexpr (std::is_same_v<decltype(HWY_STATIC_DISPATCH(kernel)(arguments...)), bool>)       \
        {                                                                                              \
            return HWY_DYNAMIC_DISPATCH(kernel)(arguments...) ? Result{} : operation##C(arguments...); \
        }                                                                                              \
        else                                                                                           \
        {                                                                                              \
            return HWY_DYNAMIC_DISPATCH(kernel)(arguments...);                                         \
        }                                                                                              \
    })

/**
 * In the namespace of an instruction set: defines `kernel`, with the operation's arguments, by a driver and its
 * formula: the driver gets the formula, then the operation's arguments.
 */
#define VSR_KERNEL(operation, kernel, driver, ...)       \
    std::type_identity_t<decltype(operation##C)> kernel; \
    VSR_DEFINE_BODY(kernel, decltype(operation##C), { return driver(__VA_ARGS__ __VA_OPT__(, ) arguments...); })

#endif
