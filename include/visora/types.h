/**
 * @file
 * Results, constants and declaration macros that every header shares.
 */
#ifndef VISORA_TYPES_H
#define VISORA_TYPES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define VSR_BEGIN_DECLARATIONS \
    extern "C"                 \
    {
#define VSR_END_DECLARATIONS }
#else
#define VSR_BEGIN_DECLARATIONS
#define VSR_END_DECLARATIONS
#endif

/** Marks what the library exports. */
#define VSR_API __attribute__((visibility("default")))

/**
 * Declares what stands behind the entry points of one dispatched operation:
 * - `<operation>C`, the scalar reference, which defines the result;
 * - `<operation>V`, the vector variant, which gives the same bytes;
 * - `<operation>_`, the implementation that the library's own callers use (the reference until a mode is set);
 * - `pp<operation>`, the address of that pointer, to read or replace the implementation in use;
 * - `<operation>R_`, the DSP variant for remote use, null while there is none.
 * They all take the full argument list with explicit strides and check nothing.
 */
#define VSR_VARIANTS(result, operation, parameters) \
    VSR_API result operation##V parameters;         \
    VSR_REFERENCE(result, operation, parameters)

/** As VSR_VARIANTS for an operation without a vector variant: the reference serves in its place. */
#define VSR_REFERENCE(result, operation, parameters)  \
    VSR_API result operation##C parameters;           \
    extern VSR_API result(*operation##_) parameters;  \
    extern VSR_API result(*operation##R_) parameters; \
    extern VSR_API result(**pp##operation) parameters

/**
 * As VSR_VARIANTS for an operation that a DSP can do, with its DSP routines:
 * - `<operation>K`, on the domain that is in use when it is called; without one it logs, does nothing and returns
 *   VISORA_EHWFAIL;
 * - `<operation>Ka`, `Kc` and `Km`, on the application, the compute and the modem DSP;
 * - `<operation>K_abstractionLayer`, over the open channel `handle`. It makes the remote call, brings a DSP back that
 *   restarted meanwhile, and leaves the call to the vector variant when the DSP cannot do it.
 */
#define VSR_DSP_VARIANTS(result, operation, parameters) \
    VSR_VARIANTS(result, operation, parameters);        \
    VSR_DSP_ROUTINES(result, operation, VSR_BARE parameters)

/** As VSR_DSP_VARIANTS for an operation without a vector variant. */
#define VSR_DSP_REFERENCE(result, operation, parameters) \
    VSR_REFERENCE(result, operation, parameters);        \
    VSR_DSP_ROUTINES(result, operation, VSR_BARE parameters)

#define VSR_BARE(...) __VA_ARGS__
#define VSR_DSP_ROUTINES(result, operation, ...) \
    VSR_API result operation##K(__VA_ARGS__);    \
    VSR_API result operation##Ka(__VA_ARGS__);   \
    VSR_API result operation##Kc(__VA_ARGS__);   \
    VSR_API result operation##Km(__VA_ARGS__);   \
    VSR_API result operation##K_abstractionLayer(uint64_t handle, __VA_ARGS__)

/** Result of a call. 0 is success; an older-style entry point passes on the log call's result when it refuses. */
typedef uint32_t vsrStatus;

enum
{
    VISORA_SUCCESS = 0,        /**< done */
    VISORA_EFAIL = 1,          /**< general failure */
    VISORA_EBADPARAM = 3,      /**< an argument check failed; nothing was written */
    VISORA_ENOMEM = 5,         /**< scratch memory could not be had */
    VISORA_EHWFAIL = 6,        /**< no DSP domain is selected */
    VISORA_EFALLBACK = 0x8000, /**< internal: an accelerated variant declines the call */
    VISORA_MODE_REFUSED = 999  /**< the machine offers neither a vector nor a floating-point unit */
};

/** One attribute that a DSP session is started with. */
typedef struct vsrK6Attribute
{
    int32_t id;
    int32_t value;
} vsrK6Attribute;

/** What stands outside the image for functions that take a border type. */
typedef uint32_t vsrBorderType;

enum
{
    VISORA_BORDER_UNDEFINED = 0, /**< the function's own default rule */
    VISORA_BORDER_CONSTANT = 1,  /**< the border value */
    VISORA_BORDER_REPLICATE = 2  /**< the nearest image pixel */
};

#endif
