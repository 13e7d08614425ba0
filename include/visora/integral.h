/**
 * @file
 * Integral images, which turn the sum over any rectangle into four look-ups, and sums of listed rectangles.
 *
 * Common to all of them:
 * - `src` points at the top-left pixel; sizes are in pixels, strides in bytes, 0 means packed rows. No pointer or
 * stride has to be aligned; a stride that is no multiple of the element size is cut to whole elements.
 * - An integral image has one column and one row more than its image; element (X, Y) is the sum over the pixels with
 *   x < X and y < Y, so its row 0 and column 0 are zero. Sums of 32 bits wrap at 2^32.
 * - Source and destination are apart.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row, a
 *   row of 2^32 bytes or more, or a destination that begins where another buffer does.
 */
#ifndef VISORA_INTEGRAL_H
#define VISORA_INTEGRAL_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** Integral image of a u8 image, packed. */
VSR_API vsrStatus vsrIntegrateImageu8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst);

/** As vsrIntegrateImageu8 with strides. */
VSR_API vsrStatus vsrIntegrateImageu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint32_t* dst, uint32_t dstStride);

/** Integral image of a u16 image in 64 bits. */
VSR_API vsrStatus vsrIntegrateImageu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint64_t* dst, uint32_t dstStride);

/** Integral image of an s16 image, modulo 2^32. */
VSR_API vsrStatus vsrIntegrateImages16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       int32_t* dst, uint32_t dstStride);

/**
 * Integral image of an f32 image. The sum of a row grows by one pixel at a time from left to right; an element is the
 * one above it plus that sum. All sums are f32. A NaN is 0x7FC00000.
 */
VSR_API vsrStatus vsrIntegrateImagef32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       float* dst, uint32_t dstStride);

/** Integral image of the squares of a u8 image. */
VSR_API vsrStatus vsrIntegrateImageSquaredu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint64_t* dst, uint32_t dstStride);

/**
 * Integral images of the pixels whose mask is not 0 (`sums`) and of their number (`counts`); the mean over the masked
 * pixels of a rectangle is the quotient of the two. `mask` may be `src`.
 */
VSR_API vsrStatus vsrIntegrateImageMaskedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, const uint8_t* mask, uint32_t maskStride,
                                            uint32_t* sums, uint32_t sumsStride, uint32_t* counts,
                                            uint32_t countsStride);

/** Running sums of every row: srcHeight rows of srcWidth + 1 elements, the first one 0. */
VSR_API vsrStatus vsrIntegrateRowsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint32_t* dst, uint32_t dstStride);

/**
 * Integral image over areas turned by 45 degrees, of srcWidth + 1 columns and srcHeight + 1 rows: element (X, Y) is the
 * sum over the pixels with y < Y and |x - X + 1| <= Y - y - 1, a triangle that widens upward. Row 0 is zero, column 0
 * is not. R. Lienhart and J. Maydt, "An extended set of Haar-like features for rapid object detection", ICIP 2002.
 */
VSR_API vsrStatus vsrIntegrateTiltedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t* dst, uint32_t dstStride);

/**
 * Sums and sums of squares of listed patches of a packed u8 image, worked out directly.
 * @param xy       `count` pairs (x, y), top-left pixels of patches of patchWidth x patchHeight pixels
 * @param sums     `count` sums, modulo 2^32
 * @param squares  `count` sums of squares
 * @return 0, with nothing written for count 0; VISORA_EBADPARAM as above, or when a patch is not inside the image
 */
VSR_API vsrStatus vsrIntegratePatchu8(const uint8_t* src, uint32_t width, uint32_t height, const uint32_t* xy,
                                      uint32_t count, uint32_t patchWidth, uint32_t patchHeight, uint32_t* sums,
                                      uint64_t* squares);

/** As vsrIntegratePatchu8 with the stride of the image. */
VSR_API vsrStatus vsrIntegratePatchu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         const uint32_t* xy, uint32_t count, uint32_t patchWidth, uint32_t patchHeight,
                                         uint32_t* sums, uint64_t* squares);

/** A rectangle and how much its sum weighs. */
typedef struct vsrWeightedRectangle
{
    uint32_t x; /**< left column */
    uint32_t y; /**< top row */
    uint32_t width;
    uint32_t height;
    int32_t weight;
} vsrWeightedRectangle;

/**
 * Weighted sums of rectangles by four look-ups each: Haar-like features (P. Viola and M. Jones, CVPR 2001).
 * @param integral    integral image of an image of width x height pixels
 * @param originX,originY  what the rectangles' places are relative to, the corner of a detection window
 * @param rectangles  count * rectanglesPerSum rectangles; empty ones count 0
 * @param sums        sums[i]: of the rectangles from i * rectanglesPerSum on, modulo 2^32
 * @return 0, with nothing written for count 0; VISORA_EBADPARAM as above, or when rectanglesPerSum is 0 or a rectangle,
 *         even an empty one, reaches outside the image
 */
VSR_API vsrStatus vsrIntegrateRectSumsu32(const uint32_t* integral, uint32_t width, uint32_t height,
                                          uint32_t integralStride, uint32_t originX, uint32_t originY,
                                          const vsrWeightedRectangle* rectangles, uint32_t rectanglesPerSum,
                                          uint32_t count, int32_t* sums);

/**
 * Means and standard deviations over rectangles.
 * @param integral  integral image of an image of width x height pixels
 * @param squares   integral image of its squares
 * @return 0, with nothing written for count 0; VISORA_EBADPARAM as above, or when a rectangle is empty or reaches
 * outside the image
 */
VSR_API vsrStatus vsrIntegrateRectMeansu32(const uint32_t* integral, uint32_t width, uint32_t height,
                                           uint32_t integralStride, const uint64_t* squares, uint32_t squaresStride,
                                           const vsrRectangle* rectangles, uint32_t count, float* means,
                                           float* deviations);

VSR_END_DECLARATIONS

#endif
