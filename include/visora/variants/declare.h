/**
 * @file
 * The macros by which the headers beside this one declare what their operations consist of; visora/variants.h tells
 * what that is. See list.h.
 */
#ifndef VISORA_VARIANTS_DECLARE_H
#define VISORA_VARIANTS_DECLARE_H

#include "visora/types.h"

#ifdef __cplusplus
/** The type of a function with a channel's handle before its arguments. */
template <class Function>
struct vsrBehindHandle;
template <class Result, class... Arguments>
struct vsrBehindHandle<Result(Arguments...)>
{
    typedef Result type(uint64_t, Arguments...);
};
#define VSR_DECLARE_ABSTRACTION_LAYER(operation, like) \
    VSR_API vsrBehindHandle<__typeof__(like)>::type operation##K_abstractionLayer;
#else
#define VSR_DECLARE_ABSTRACTION_LAYER(operation, like)
#endif

#define VSR_DECLARE_VECTOR_C(operation, like)
#define VSR_DECLARE_VECTOR_V(operation, like) VSR_API __typeof__(like) operation##V;
#define VSR_DECLARE_ROUTINES_NO_DSP(operation, like)
#define VSR_DECLARE_ROUTINES_DSP(operation, like) \
    VSR_API __typeof__(like) operation##K;        \
    VSR_API __typeof__(like) operation##Ka;       \
    VSR_API __typeof__(like) operation##Kc;       \
    VSR_API __typeof__(like) operation##Km;       \
    VSR_DECLARE_ABSTRACTION_LAYER(operation, like)

#define VSR_DECLARE_OPERATION(operation, entry, variant, dsp, like)                                \
    VSR_API __typeof__(like) operation##C;                                                         \
    VSR_DECLARE_VECTOR_##variant(operation, like)                                                  \
        VSR_DECLARE_ROUTINES_##dsp(operation, like) extern VSR_VAR __typeof__(like)* operation##_; \
    extern VSR_VAR __typeof__(like)* entry##R_;                                                    \
    extern VSR_VAR __typeof__(like)** pp##operation;

#endif
