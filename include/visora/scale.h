/**
 * @file
 * Scaling of images, u8 of one channel unless a name says f32 or Interleaved2: box averages by 2, by 4 and by whole
 * factors, the weighted 3:2 reduction, the 5x5 Gaussian half, the area average between any two sizes, nearest
 * neighbour, resizing to any size, doubling, and resampling of chroma planes.
 *
 * Common to all of them:
 * - `src` and `dst` point at the top-left pixel; sizes are in pixels, strides in bytes. Source and destination are
 *   distinct buffers. No pointer or stride has to be aligned.
 * - A stride of 0 means packed rows. Entry points without stride arguments take packed rows.
 * - The averages of the functions named "ScaleDown" truncate, the Gaussian half apart. There is no rounding term, so a
 *   scaled image is darker by half a grey level on average.
 * - Source pixels that no output covers are never read.
 * - Functions that return `int` give -1 for bad arguments and log nothing; those that "log and refuse" write
 *   "Assertion failed @<function>: <condition>" to the log and return what that returned (1 with our log). Either way
 *   nothing is written to `dst`.
 */
#ifndef VISORA_SCALE_H
#define VISORA_SCALE_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Fixed ratios ---- */

/**
 * Halves an image: `dst`, width / 2 by height / 2 pixels, gets the sum of each 2x2 block >> 2.
 * @return 0; -1 for a null pointer or for a side that is odd or zero
 */
VSR_API int vsrScaleDownBy2u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst);

/** As vsrScaleDownBy2u8 with strides; -1 for a stride below a row too. */
VSR_API int vsrScaleDownBy2u8_v2(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                                 uint32_t dstStride);

/**
 * Quarters an image: `dst`, width / 4 by height / 4 pixels, gets the sum of each 4x4 block >> 4.
 * @return 0; -1 for a null pointer or for a side that is zero or no multiple of 4
 */
VSR_API int vsrScaleDownBy4u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst);

/** As vsrScaleDownBy4u8 with strides; -1 for a stride below a row too. */
VSR_API int vsrScaleDownBy4u8_v2(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                                 uint32_t dstStride);

/**
 * Reduces an image 3:2. Each 3x3 block p makes a 2x2 block; its top left pixel is
 * (9 * p[0][0] + 3 * p[0][1] + 3 * p[1][0] + p[1][1]) >> 4, the other three are its mirror images. `dst` has
 * srcWidth / 3 * 2 by srcHeight / 3 * 2 pixels, which is its packed stride too; columns and rows left over are ignored.
 * @return 0; 1 for a side below 3 (nothing is written); -1 for a null pointer, a zero side or a stride below a row
 */
VSR_API int vsrScaleDown3To2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride);

/* ---- Gaussian halves, the steps of a pyramid ---- */

/**
 * Halves an image: `dst`, width / 2 by height / 2 pixels rounded down, gets at (x, y) the 5x5 binomial mean (weights 1,
 * 4, 6, 4, 1 in each direction) about pixel (2x, 2y), rounded half up. Where the window leaves the image, the weights
 * inside are normalised. Logs and refuses null pointers and zero sizes.
 * @return 0
 */
VSR_API vsrStatus vsrScaleDownBy2Gaussian5x5u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst);

/** As vsrScaleDownBy2Gaussian5x5u8 with strides; logs and refuses a stride below a row too. */
VSR_API vsrStatus vsrScaleDownBy2Gaussian5x5u8_v2(const uint8_t* src, uint32_t width, uint32_t height,
                                                  uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/**
 * As vsrScaleDownBy2Gaussian5x5u8 for f32, not rounded: the sums of the window's columns first, rows from top to
 * bottom, then their sum from left to right, divided by the sum of the weights inside the image. All NaNs become one.
 */
VSR_API vsrStatus vsrScaleDownBy2Gaussian5x5f32(const float* src, uint32_t width, uint32_t height, float* dst);

/**
 * As vsrScaleDownBy2Gaussian5x5f32 with strides, cut to whole elements; logs and refuses a stride below a row too.
 */
VSR_API vsrStatus vsrScaleDownBy2Gaussian5x5f32_v2(const float* src, uint32_t width, uint32_t height,
                                                   uint32_t srcStride, float* dst, uint32_t dstStride);

/* ---- Any ratio ---- */

/**
 * Box average by the whole factors fx = srcWidth / dstWidth and fy = srcHeight / dstHeight, rounded down: each output
 * is the sum of its fx by fy block divided by fx * fy. Columns and rows from dstWidth * fx and dstHeight * fy on are
 * ignored. Logs and refuses null pointers, zero sizes and a destination larger than the source.
 * @return 0
 */
VSR_API vsrStatus vsrScaleDownu8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst, uint32_t dstWidth,
                                 uint32_t dstHeight);

/** As vsrScaleDownu8 with strides; logs and refuses a stride below a row too. */
VSR_API vsrStatus vsrScaleDownu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride);

/**
 * Area average from M to N pixels per axis, by runs of whole pixels. Each axis is cut into as many runs as `dst` has
 * pixels, their lengths srcSize / dstSize rounded down or up as error accumulation demands: starting with 0, dstSize is
 * added for each source pixel, and the pixel with which the sum reaches srcSize ends a run and takes srcSize off.
 * An output is the sum over its run of columns in its run of rows, divided by the count of pixels with mn_div_table.
 * That division makes v - 1 of a pixel v > 0 that is averaged with no other.
 *
 * Logs and refuses null pointers, zero sizes, strides below a row, and a ratio of 20 or more on either axis.
 * @return 0; VISORA_EBADPARAM for a destination larger than the source; VISORA_ENOMEM without scratch memory
 */
VSR_API vsrStatus vsrScaleDownMNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride);

/**
 * Reciprocals of the area average: entry n is 2^32 / n rounded up, so that s * entry >> 32 is s / n rounded down for
 * every sum s of n pixels. Entries 0 and 1 hold 2^32 - 1.
 */
extern VSR_VAR const uint32_t mn_div_table[401];

/**
 * Nearest neighbour in fixed point: `dst` (x, y) is `src` at column jx(x), row jy(y). The step between source indices
 * has as many fraction bits as 32-bit arithmetic allows; it is rounded, so an exact ratio may land one pixel early:
 * 640 to 320 reads columns 0, 1, 3, 5, ... Equal sizes are copied.
 * @return 0; 1 for a null pointer, a zero size, a side above 65535, a stride below a row, or a pair of sizes whose
 *         step has no such representation (nothing is written)
 */
VSR_API vsrStatus vsrScaleDownNNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride);

/**
 * Resizes an image to any size. Both images cover the same area, so that the centre of output pixel i of an axis lies
 * at (i + 0.5) * srcSize / dstSize.
 * - Nearest: the pixel at that place, rounded down, in exact arithmetic.
 * - Bilinear: between the pixels whose centres lie around it, the edge pixel continuing outwards; each axis has 11-bit
 *   weights, rounded half up, and the weighted sum is rounded half up once.
 * - Area: exact mean of what the output pixel covers, parts of source pixels by their share, rounded half up.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row or another interpolation
 */
VSR_API vsrStatus vsrScaleu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                             vsrInterpolation interpolation);

/**
 * As vsrScaleu8 with a border. VISORA_BORDER_UNDEFINED and _REPLICATE give its bits; with VISORA_BORDER_CONSTANT
 * `borderValue` stands for the pixels outside the image that a bilinear output lies between. Nearest and area take none
 * from there. Also refuses other border types, and sides of 2^31 or more.
 */
VSR_API vsrStatus vsrScaleu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                vsrInterpolation interpolation, vsrBorderType borderType, uint8_t borderValue);

/**
 * Resizes an image of 1 to 4 interleaved channels to any size, bilinearly, each channel as vsrScaleu8 does it.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, a side of 2^31 or more, another
 *         number of channels, or `src` equal to `dst`
 */
VSR_API vsrStatus vsrScaleBilinearu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint32_t channels, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                     uint32_t dstStride);

/**
 * Resizes an f32 image to any size, bilinearly: first along the rows, then between them, p + t * (q - p) from pixel p
 * to q. Where t is 0, and beyond the outermost centres, the result is p itself, so an infinity or NaN reaches only
 * where it has weight. Strides are cut to whole elements; a NaN result is stored as 0x7fc00000.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, a side of 2^31 or more, or `src`
 *         equal to `dst`
 */
VSR_API vsrStatus vsrScaleBilinearf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      float* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride);

/**
 * Resizes an image to any size with a separable cubic filter (Catmull-Rom) of four taps in 32 phases, whose weights are
 * whole numbers in 1/128: sharper than bilinear, for enlarging and for reductions to about a half. Beyond that it
 * skips pixels. Taps outside the image repeat its edge. The sum over both axes is exact, rounded half up and saturated.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, a side above 65535, or `src` equal
 *         to `dst`
 */
VSR_API vsrStatus vsrScalePolyphaseu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride);

/** As vsrScalePolyphaseu8 for pairs of bytes (chroma); widths are in pairs. */
VSR_API vsrStatus vsrScalePolyphaseInterleaved2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                  uint32_t srcStride, uint8_t* dst, uint32_t dstWidth,
                                                  uint32_t dstHeight, uint32_t dstStride);

/* ---- Twice the size ---- */

/**
 * Doubles an image bilinearly: `dst`, 2 srcWidth x 2 srcHeight pixels, gets the pixel that an output lies in and its
 * neighbours on the output's side (the edge repeated) weighted 9, 3, 3, 1, (sum + 8) >> 4. The same bits as
 * vsrScaleBilinearu8.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, or `src` equal to `dst`
 */
VSR_API vsrStatus vsrScaleUpBy2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride);

/**
 * Doubles an image with the 5x5 binomial kernel: zeros between the pixels, then 1-4-6-4-1 along both axes, rounded half
 * up. Taps outside the image are left out, and the sum is divided by the weights that remain.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, or `src` equal to `dst`
 */
VSR_API vsrStatus vsrScaleUpBy2Gaussian5x5u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint8_t* dst);

/** As vsrScaleUpBy2Gaussian5x5u8 with strides; refuses one below a row too. */
VSR_API vsrStatus vsrScaleUpBy2Gaussian5x5u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/* ---- Chroma planes ----
 * "Interleaved2" functions take pairs of bytes, which stay together; their widths are in pairs. All return 0, or
 * VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, or `src` equal to `dst`. */

/**
 * Halves both sides, rounded up: each output is the mean of its 2x2 pairs, per byte, (sum + 2) >> 2. On an odd side the
 * last column or row counts twice.
 */
VSR_API vsrStatus vsrDownsampleBy2Interleaved2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                 uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/** Halves the width, rounded up (4:4:4 to 4:2:2): (p + q + 1) >> 1; on an odd width the last column counts twice. */
VSR_API vsrStatus vsrDownsampleXBy2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint8_t* dst, uint32_t dstStride);

/** Repeats each pixel in both directions (4:2:0 to 4:4:4): `dst` has 2 srcWidth x 2 srcHeight pixels. */
VSR_API vsrStatus vsrUpsampleBy2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstStride);

/** As vsrUpsampleBy2u8 for pairs. */
VSR_API vsrStatus vsrUpsampleBy2Interleaved2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/** Repeats each column (4:2:2 to 4:4:4): `dst` has 2 srcWidth x srcHeight pixels. */
VSR_API vsrStatus vsrUpsampleXBy2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride);

/** As vsrUpsampleXBy2u8 for pairs. */
VSR_API vsrStatus vsrUpsampleXBy2Interleaved2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/** Repeats each row (4:2:0 to 4:2:2): `dst` has srcWidth x 2 srcHeight pixels. */
VSR_API vsrStatus vsrUpsampleYBy2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride);

/** As vsrUpsampleYBy2u8 for pairs. */
VSR_API vsrStatus vsrUpsampleYBy2Interleaved2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/* ---- Steps of vsrScaleDownNNu8 ---- */

/** Bit length of the low 16 bits of a value: 0 for 0, 1 for 1, 2 for 2 and 3, and so on. */
VSR_API uint32_t vsrGetNumBits(uint32_t value);

/** Number of trailing zeros among the low 15 bits of a value, 15 when they are all zero. */
VSR_API uint32_t vsrGetMaxNumTrail0s(uint32_t value);

/* ---- Variants ---- */

VSR_END_DECLARATIONS

#endif
