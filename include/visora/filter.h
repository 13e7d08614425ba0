/**
 * @file
 * Smoothing filters of single-channel images: median, binomial Gaussian, box mean.
 *
 * Common to all of them:
 * - `src` and `dst` point at the top-left pixel; sizes are in pixels, strides in bytes. Source and destination are
 *   distinct buffers of the same size unless a function says otherwise.
 * - Entry points without a version suffix and without stride arguments take packed rows. Where a function takes
 *   strides, 0 means packed.
 * - No pointer or stride has to be aligned; a byte stride that is no multiple of the element size is cut to whole
 *   elements.
 * - Functions that "log and refuse" write "Assertion failed @<function>: <condition>" to the log when an argument is
 *   bad, touch nothing, and return what the log call returned (not 0). The others return VISORA_EBADPARAM silently.
 */
#ifndef VISORA_FILTER_H
#define VISORA_FILTER_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Median ---- */

/**
 * 3x3 median of a u8 image. Border pixels (the first and last row and column) are left as they are; an image below
 * 3x3 is not touched at all. Logs and refuses null pointers and zero sizes.
 * @return 0
 */
VSR_API vsrStatus vsrFilterMedian3x3u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst);

/** As vsrFilterMedian3x3u8 with strides; logs and refuses a source stride below a row too. */
VSR_API vsrStatus vsrFilterMedian3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          uint8_t* dst, uint32_t dstStride);

/**
 * 3x3 median of a u8 image with a border rule: constant (outside pixels are `borderValue`), replicate, or undefined
 * (border pixels are left as they are).
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row or an unknown border type
 */
VSR_API vsrStatus vsrFilterMedian3x3u8_v3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          uint8_t* dst, uint32_t dstStride, vsrBorderType borderType,
                                          uint8_t borderValue);

/** Sorts each column of a 3x3 window (row-major) in place, the largest on top. */
VSR_API void sortColumeWiseInWindow3x3(uint8_t window[9]);

/** Median of a 3x3 window whose columns are sorted. */
VSR_API uint8_t findMedianInSortedWindow3x3(const uint8_t window[9]);

VSR_VARIANTS(vsrStatus, vsrFilterMedian3x3u8,
             (const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
              uint32_t dstStride));
VSR_VARIANTS(vsrStatus, vsrFilterMedian3x3u8_v3,
             (const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
              uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue));

VSR_END_DECLARATIONS

#endif
