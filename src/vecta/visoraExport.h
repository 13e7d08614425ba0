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

#endif
