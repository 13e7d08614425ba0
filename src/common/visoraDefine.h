// Defines C functions whose type is known elsewhere, from their arguments as a pack.
#ifndef VISORA_COMMON_DEFINE_H
#define VISORA_COMMON_DEFINE_H

#include <type_traits>

#include "visora/types.h"

/** Declares a C function of the given type that this library exports or another one provides. */
#define VSR_DECLARE(name, ...) extern "C" VSR_API std::type_identity_t<__VA_ARGS__> name

/**
 * Defines the C function `name` of the given type. The body, `...`, in braces, finds the arguments in the pack
 * `arguments` and the result's type in `Result`. Only at global scope.
 */
#define VSR_DEFINE(name, type, ...) \
    VSR_DECLARE(name, type);        \
    VSR_DEFINE_BODY(name, type, __VA_ARGS__)

/**
 * The same for a function that is declared already, or for one of a namespace.
 *
 * The preprocessor knows neither the number nor the types of an operation's arguments, and a function template has no
 * C name. A friend that is defined inside a class template has both: its parameters may be a pack, yet it is an
 * ordinary function. It comes to life when it is used, hence the pointer to it.
 */
#define VSR_DEFINE_BODY(name, type, ...)                                                                          \
    template <class>                                                                                              \
    struct name##_definition;                                                                                     \
    template <class Result, class... Arguments>                                                                   \
    struct name##_definition<Result(Arguments...)>                                                                \
    {                                                                                                             \
        [[gnu::used]] friend Result name(Arguments... arguments) __VA_ARGS__ static constexpr auto* kUse = &name; \
    };                                                                                                            \
    template struct name##_definition<type>

#endif
