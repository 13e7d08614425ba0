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
 * Declares the DSP routines of a service: on the domain in use (K), on the application, compute and modem DSP (Ka, Kc,
 * Km), and over an open channel (K_abstractionLayer).
 */
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

/** An ellipse; the centre of pixel (x, y) has the coordinates x and y. */
typedef struct vsrEllipse
{
    float cx; /**< centre */
    float cy;
    float radiusA; /**< half axes, A the longer one in results */
    float radiusB;
    float angle; /**< of axis A, degrees from +x toward +y; in results 0 to below 180 */
} vsrEllipse;

/** How a pixel of a resized or warped image is made. */
typedef uint32_t vsrInterpolation;

enum
{
    VISORA_INTERPOLATION_NEAREST = 0,  /**< the nearest source pixel */
    VISORA_INTERPOLATION_BILINEAR = 1, /**< between the four nearest source pixels */
    VISORA_INTERPOLATION_AREA = 2      /**< mean of the source area that the pixel covers */
};

/** What stands outside the image for functions that take a border type. */
typedef uint32_t vsrBorderType;

enum
{
    VISORA_BORDER_UNDEFINED = 0, /**< the function's own default rule */
    VISORA_BORDER_CONSTANT = 1,  /**< the border value */
    VISORA_BORDER_REPLICATE = 2, /**< the nearest image pixel */
    /** the image mirrored about its edge pixel, which is not repeated: c b | a b c; for functions that name it */
    VISORA_BORDER_MIRROR = 3
};

/** The format of an image for functions that take any. */
typedef uint32_t vsrPixelFormat;

enum
{
    VISORA_FORMAT_C2 = 0, /**< two, three, four interleaved channels of any meaning (HSV888, Lab888: C3) */
    VISORA_FORMAT_C3 = 1,
    VISORA_FORMAT_C4 = 2,
    VISORA_FORMAT_RGB888 = 3,
    VISORA_FORMAT_BGR888 = 4,
    VISORA_FORMAT_RGBA8888 = 5,
    VISORA_FORMAT_BGRA8888 = 6,
    VISORA_FORMAT_RGB565 = 7,
    VISORA_FORMAT_BGR565 = 8,
    VISORA_FORMAT_YCBCR444_PLANAR = 9,
    VISORA_FORMAT_YCBCR422_PLANAR = 10,
    VISORA_FORMAT_YCBCR420_PLANAR = 11,
    VISORA_FORMAT_YCBCR444_PSEUDO_PLANAR = 12,
    VISORA_FORMAT_YCBCR422_PSEUDO_PLANAR = 13,
    VISORA_FORMAT_YCBCR420_PSEUDO_PLANAR = 14,
    VISORA_FORMAT_YCRCB444_PSEUDO_PLANAR = 15, /**< pairs with Cr first */
    VISORA_FORMAT_YCRCB422_PSEUDO_PLANAR = 16,
    VISORA_FORMAT_YCRCB420_PSEUDO_PLANAR = 17
};

/** A rectangle of pixels. */
typedef struct vsrRectangle
{
    uint32_t x; /**< left column */
    uint32_t y; /**< top row */
    uint32_t width;
    uint32_t height;
} vsrRectangle;

/** A rectangle, or the box about an ellipse, in any direction. */
typedef struct vsrRotatedBox
{
    float cx; /**< centre, in pixels; (0, 0) is the centre of the top-left pixel */
    float cy;
    float width; /**< sides */
    float height;
    float angle; /**< of the width, degrees from +x toward +y */
} vsrRotatedBox;

/* ---- Variables ---- */

/**
 * Marks the variables that the library exports. It works with its own, also when a program has others of these names,
 * so a program has to reach them through the global offset table. Position-independent code does, but for that of gcc
 * on x86-64, which does so for weak names. (Its attribute nodirect_extern_access would forbid every copied variable of
 * the program, stdout among them.)
 */
#ifdef VISORA_BUILDING
#define VSR_VAR __attribute__((visibility("protected")))
#elif defined(__x86_64__) && !defined(__clang__)
#define VSR_VAR __attribute__((weak)) VSR_API
#endif
#ifndef VSR_VAR
#define VSR_VAR VSR_API
#endif

#endif
