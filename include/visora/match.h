/**
 * @file
 * Patches and templates in u8 images: where they are found, by correlation. See visora/set.h for lists and results.
 *
 * The window of a position (x, y) for a patch of N x N pixels has its top left pixel N / 2, rounded down, left of and
 * above the position: an odd window is centred. A patch and a window of n pixels have the normalised correlation
 * c / sqrt(a * b) in -1 .. 1, from c = n * sum(I P) - sum(I) sum(P), a = n * sum(I I) - sum(I)^2 and b the same of P,
 * all exact; it is 0 when a or b is 0 and exactly 1 for equal pictures.
 */
#ifndef VISORA_MATCH_H
#define VISORA_MATCH_H

#include "visora/set.h"

VSR_BEGIN_DECLARATIONS

/* ---- Patches ---- */

/**
 * Normalised correlation of a packed patch of 8 x 8 pixels with the windows of nPoints positions, pairs (x, y); -1 for
 * a window that is not all inside the image.
 */
VSR_API vsrStatus vsrNCCPatchScore8x8u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        const uint8_t* patch, const uint32_t* xy, uint32_t nPoints, float* scores);

/** As vsrNCCPatchScore8x8u8 for a patch of 16 x 16 pixels. */
VSR_API vsrStatus vsrNCCPatchScore16x16u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          const uint8_t* patch, const uint32_t* xy, uint32_t nPoints, float* scores);

/** Where a patch is looked for, about a position. */
typedef uint32_t vsrSearchShape;
enum
{
    VISORA_SEARCH_RECTANGLE = 0, /**< |dx| <= radiusX and |dy| <= radiusY */
    VISORA_SEARCH_CIRCLE = 1     /**< dx^2 + dy^2 <= radiusX^2; radiusY is not used */
};

/**
 * The position about (x, y), which may be outside the image, at which a packed patch of 8 x 8 pixels correlates best:
 * of those with |dx| <= radiusX and |dy| <= radiusY whose windows are inside the image the one with the greatest
 * score, of equal ones the first in row-major order. Without one: VISORA_NO_MATCH twice and a score of -1.
 * @param radiusX,radiusY  up to 65535
 * @param bestXY  two elements
 * @param offset  two elements, or null: where along x and y between the pixels the scores have their maximum, -0.5 to
 *                0.5, by a parabola through the best score and its neighbours; 0 where the neighbours' windows are not
 *                inside the image
 */
VSR_API vsrStatus vsrNCCPatchSearch8x8u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         const uint8_t* patch, int32_t x, int32_t y, uint32_t radiusX, uint32_t radiusY,
                                         uint32_t* bestXY, float* score, float* offset);

/**
 * As vsrNCCPatchSearch8x8u8 for a patch of patchSize x patchSize pixels, 1 to 255, rows patchStride bytes apart, and an
 * area of either shape.
 */
VSR_API vsrStatus vsrNCCPatchSearchNxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         const uint8_t* patch, uint32_t patchSize, uint32_t patchStride,
                                         vsrSearchShape shape, int32_t x, int32_t y, uint32_t radiusX, uint32_t radiusY,
                                         uint32_t* bestXY, float* score);

/* ---- Templates ---- */

/** How a template T is compared with a window I. Sums are exact and rounded once. */
typedef uint32_t vsrMatchMethod;
enum
{
    VISORA_MATCH_SQUARED_DIFFERENCE = 0, /**< sum (I - T)^2 */
    VISORA_MATCH_CORRELATION = 1,        /**< sum I T */
    VISORA_MATCH_NORMED_CORRELATION = 2, /**< sum I T / sqrt(sum I I * sum T T), 0 when one of these is 0 */
    VISORA_MATCH_NORMED_COEFFICIENT = 3  /**< the normalised correlation of patches */
};

/**
 * Compares a template with all windows of an image: dst(x, y) is for the window whose top left pixel is (x, y), and has
 * srcWidth - templateWidth + 1 by srcHeight - templateHeight + 1 elements. Refused: a template larger than the image
 * along an axis or of more than 2^23 pixels, another method.
 */
VSR_API vsrStatus vsrMatchTemplateu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const uint8_t* templ, uint32_t templateWidth, uint32_t templateHeight,
                                     uint32_t templateStride, vsrMatchMethod method, float* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
