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
 *   bad, touch nothing, and return what that call returned (1 with ours). The others return VISORA_EBADPARAM silently.
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

/**
 * M x N median of an s16 image (M columns, N rows): each pixel becomes the element of rank (M * N - 1) / 2, from 0, of
 * its window in ascending order, which for an even count is the lower median. The window begins M / 2 columns left of
 * and N / 2 rows above the pixel. Rows closer than N / 2 and columns closer than M / 2 to an edge are left as they are.
 * @return 0; VISORA_ENOMEM without scratch memory; VISORA_EBADPARAM for a null pointer, a zero size, M or N, an N of
 *         256 or more, or a stride below a row
 */
VSR_API vsrStatus vsrFilterMedianMxNs16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t M, uint32_t N, int16_t* dst, uint32_t dstStride);

/**
 * The element of rank (count - 1) / 2, from 0, that the values would have in ascending order (Hoare's selection with
 * a median-of-three pivot). Puts the values into another order. `count` is at least 1.
 */
VSR_API int16_t fast_median_sort(int16_t* values, int32_t count);

/* ---- Box mean ---- */

/**
 * 3x3 mean of a u8 image, border included: (sum * 7282 + 32768) >> 16. Pixels outside the image count as 0, and the
 * divisor stays 9, so that borders darken. Logs and refuses null pointers, sizes below 3 and a source stride below a
 * row.
 * @return 0
 */
VSR_API vsrStatus vsrBoxFilter3x3u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride);

/**
 * As vsrBoxFilter3x3u8 for any size and with a border rule: constant (outside pixels are `borderValue`), replicate, or
 * undefined (outside pixels are 0).
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row or an unknown border type
 */
VSR_API vsrStatus vsrBoxFilter3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue);

/** As vsrBoxFilter3x3u8 over 5x5 pixels: (sum * 2621 + 32768) >> 16. Refuses sizes below 5. */
VSR_API vsrStatus vsrBoxFilter5x5u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride);

/** As vsrBoxFilter3x3u8 over 11x11 pixels: (sum * 542 + 32768) >> 16. Refuses sizes below 11. */
VSR_API vsrStatus vsrBoxFilter11x11u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint8_t* dst, uint32_t dstStride);

/**
 * N x N mean of an f32 image, border included: the window's sum times 1.0f / (N * N). Pixels outside the image count
 * as 0; the window begins N / 2 columns left of and N / 2 rows above the pixel. Each output is summed on its own, so an
 * infinity or a NaN stays within its windows: from 0, each column's rows from top to bottom, then those column sums
 * from left to right. A NaN comes out as the quiet NaN 0x7FC00000. `dst` may be `src`, with equal strides.
 * @return 0; VISORA_ENOMEM without scratch memory; VISORA_EBADPARAM, without a log line, for a null pointer, a width or
 *         height below 5, an N below 2, a stride below a row, or in-place work with unequal strides
 */
VSR_API vsrStatus vsrBoxFilterNxNf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     float* dst, uint32_t dstStride, uint32_t N);

/* ---- Binomial Gaussian ---- */

/*
 * Window weights are the products of (1, 2, 1), (1, 4, 6, 4, 1) or (1, 10, 45, 120, 210, 252, 210, 120, 45, 10, 1) in
 * both directions; a pixel is the weighted sum shifted right by 4, 8 or 20 bits, so it is truncated (signed ones toward
 * minus infinity), not rounded. The border pixels, those nearer to an edge than half the window, are left as they are
 * unless `blurBorder` is 1. It makes each of them the weighted sum over those pixels of its window that are inside the
 * image, divided by their weights' sum, truncated (signed ones toward zero).
 */

/** Weights of the 5x5 window, row by row; their sum is 256. */
extern VSR_VAR const uint32_t knl5x5[25];
/** Weights of the 11x11 window, row by row; their sum is 2^20. */
extern VSR_VAR const uint32_t knl11x11[121];

/**
 * 3x3 Gaussian of a u8 image. Refuses widths from 2 to 6, whatever else is wrong, after logging "Error at <function>".
 * Logs and refuses null pointers and zero sizes. A width of 1 ends the process with exit status 1.
 * @return 0
 */
VSR_API vsrStatus vsrFilterGaussian3x3u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst,
                                         int32_t blurBorder);

/** As vsrFilterGaussian3x3u8 with strides; logs and refuses sizes below 2 and strides below a row too. */
VSR_API vsrStatus vsrFilterGaussian3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, uint8_t* dst, uint32_t dstStride, int32_t blurBorder);

/**
 * 3x3 Gaussian of a u8 image with a border rule: constant (outside pixels are `borderValue`), replicate, or undefined
 * (border pixels as with `blurBorder` 1). A width of 1 ends the process with exit status 1.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row or an unknown border type
 */
VSR_API vsrStatus vsrFilterGaussian3x3u8_v3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, uint8_t* dst, uint32_t dstStride,
                                            vsrBorderType borderType, uint8_t borderValue);

/** 5x5 Gaussian of a u8 image. Logs and refuses null pointers and sizes below 5. @return 0 */
VSR_API vsrStatus vsrFilterGaussian5x5u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst,
                                         int32_t blurBorder);

/** As vsrFilterGaussian5x5u8 with strides; logs and refuses a source stride below a row too. */
VSR_API vsrStatus vsrFilterGaussian5x5u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, uint8_t* dst, uint32_t dstStride, int32_t blurBorder);

/** 5x5 Gaussian of an s16 image. Logs and refuses null pointers, a width of 0 and heights below 2. @return 0 */
VSR_API vsrStatus vsrFilterGaussian5x5s16(const int16_t* src, uint32_t width, uint32_t height, int16_t* dst,
                                          int32_t blurBorder);

/** As vsrFilterGaussian5x5s16 with strides; logs and refuses strides below a row too. */
VSR_API vsrStatus vsrFilterGaussian5x5s16_v2(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, int16_t* dst, uint32_t dstStride, int32_t blurBorder);

/**
 * 5x5 Gaussian of an s32 image. Sums wrap at 32 bits, so pixels beyond 23 bits give meaningless results. Logs and
 * refuses null pointers and sizes below 5.
 * @return 0
 */
VSR_API vsrStatus vsrFilterGaussian5x5s32(const int32_t* src, uint32_t width, uint32_t height, int32_t* dst,
                                          int32_t blurBorder);

/** As vsrFilterGaussian5x5s32 with strides; logs and refuses strides below a row too. */
VSR_API vsrStatus vsrFilterGaussian5x5s32_v2(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, int32_t* dst, uint32_t dstStride, int32_t blurBorder);

/** 11x11 Gaussian of a u8 image. Logs and refuses null pointers and sizes below 11. @return 0 */
VSR_API vsrStatus vsrFilterGaussian11x11u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst,
                                           int32_t blurBorder);

/** As vsrFilterGaussian11x11u8 with strides; logs and refuses a source stride below a row too. */
VSR_API vsrStatus vsrFilterGaussian11x11u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, uint8_t* dst, uint32_t dstStride, int32_t blurBorder);

/* ---- Any odd window ---- */

/*
 * Outside the image is `borderValue` with VISORA_BORDER_CONSTANT, else the nearest pixel; vsrFilterUnsharp5x5u8 takes
 * the nearest pixel. These functions return 0, VISORA_ENOMEM without scratch memory, and VISORA_EBADPARAM, without a
 * log line, for a null pointer, a zero size, a stride below a row, an unknown border type, an argument out of its
 * range, or a destination that is the source; nothing is written then.
 */

/** 5x5 median of a u8 image: the 13th smallest of the 25 pixels. */
VSR_API vsrStatus vsrFilterMedian5x5u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue);

/**
 * N x N Gaussian of a u8 image, N odd up to 255, with taps in 1/256 whose sum is 256: (sum + 32768) >> 16 over the
 * products of the taps of both directions. `sigma`, finite and not negative, is the standard deviation in pixels; 0
 * stands for one that suits N.
 */
VSR_API vsrStatus vsrFilterGaussianNxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint32_t N, float sigma, uint8_t* dst, uint32_t dstStride,
                                         vsrBorderType borderType, uint8_t borderValue);

/**
 * N x N Gaussian of an f32 image, N and `sigma` as above: first down each column, the centre's product, then the pairs
 * of pixels further and further from it, each pair added first; then along the row in the same way. A NaN comes out as
 * the quiet NaN 0x7FC00000.
 */
VSR_API vsrStatus vsrFilterGaussianNxNf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          uint32_t N, float sigma, float* dst, uint32_t dstStride,
                                          vsrBorderType borderType, float borderValue);

/**
 * Unsharp masking of a u8 image. With g the 5x5 binomial Gaussian, rounded, and d = pixel - g: pixels with |d| below
 * `threshold` stay as they are, the others become pixel + ((amount * d + 128) >> 8), limited to u8. `amount` is in
 * 1/256, up to 32767.
 */
VSR_API vsrStatus vsrFilterUnsharp5x5u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t amount, uint8_t threshold, uint8_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
