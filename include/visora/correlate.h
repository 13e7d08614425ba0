/**
 * @file
 * Correlations and convolutions with kernels of the caller.
 *
 * Common to all of them:
 * - `src` and `dst` point at the top-left pixel of two distinct images of the same size, unless a function says
 *   otherwise; sizes are in pixels, strides in bytes, 0 means packed rows. No pointer or stride has to be aligned; a
 * byte stride that is no multiple of the element size is cut to whole elements. Entry points without a version suffix
 * and without stride arguments take packed rows.
 * - Kernels are packed, row by row from the top left. A correlation lays the kernel on the image as it is, a
 * convolution turned by 180 degrees.
 * - Sums of integers have 32 bits and wrap. A rounded shift is (sum + half) >> shift with half = 2^(shift - 1), 0 for a
 *   shift of 0; its addition wraps too. Shifts are from 0 to 31. Sums of floats begin with their first product and go
 * on in the order given; a NaN comes out as the quiet NaN 0x7FC00000.
 * - Where the border is untouched, pixels whose window leaves the image stay as they are.
 * - @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, an argument out of its range or
 * a destination that is a source; VISORA_ENOMEM without scratch memory. Nothing is written then.
 */
#ifndef VISORA_CORRELATE_H
#define VISORA_CORRELATE_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** 3x3 correlation of a u8 image: the sum shifted right (rounding down), limited to u8. Border untouched. */
VSR_API vsrStatus vsrFilterCorr3x3s8(const uint8_t* src, uint32_t width, uint32_t height, const int8_t* kernel,
                                     uint32_t shift, uint8_t* dst);

/** As vsrFilterCorr3x3s8 with strides. */
VSR_API vsrStatus vsrFilterCorr3x3s8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        const int8_t* kernel, uint32_t shift, uint8_t* dst, uint32_t dstStride);

/**
 * N x N convolution of a u8 image, N odd up to 255: the sum by a rounded shift, limited to s16. Border untouched.
 */
VSR_API vsrStatus vsrFilterConvNxNu8s16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        const int16_t* kernel, uint32_t N, uint32_t shift, int16_t* dst,
                                        uint32_t dstStride);

/**
 * N x N correlation of an f32 image, N odd up to 255, summed row by row, each from left to right. Outside the image is
 * +0, whose products are formed like the others.
 */
VSR_API vsrStatus vsrFilterCorrNxNf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      const float* kernel, uint32_t N, float* dst, uint32_t dstStride);

/**
 * Correlation of an f32 image with N taps down each column, then M along the row; both from 1 to 255, even ones too.
 * The window begins M / 2 columns left of and N / 2 rows above the pixel. Outside the image is `borderValue` with
 * VISORA_BORDER_CONSTANT, else the nearest pixel; columns outside are summed like those inside.
 */
VSR_API vsrStatus vsrFilterCorrSepMxNf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         const float* rowKernel, uint32_t M, const float* columnKernel, uint32_t N,
                                         float* dst, uint32_t dstStride, vsrBorderType borderType, float borderValue);

/* ---- One kernel in Q15 for both directions ---- */

/*
 * First each row: h = the sum by a rounded shift of 15, limited to s16; then the same down the columns of h. Border
 * untouched. Sums are exact while the taps' absolute values add up to less than 65536. These functions log and refuse:
 * they write "Assertion failed @<function>: <condition>" to the log when an argument is bad, touch nothing, and return
 * what the log call returned (not 0). They return VISORA_ENOMEM without scratch memory.
 */

/** 9 taps. */
VSR_API vsrStatus vsrFilterCorrSep9x9s16(const int16_t* src, uint32_t width, uint32_t height, const int16_t* kernel,
                                         int16_t* dst);

/** As vsrFilterCorrSep9x9s16 with strides. */
VSR_API vsrStatus vsrFilterCorrSep9x9s16_v2(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, const int16_t* kernel, int16_t* dst,
                                            uint32_t dstStride);

/** 11 taps. */
VSR_API vsrStatus vsrFilterCorrSep11x11s16(const int16_t* src, uint32_t width, uint32_t height, const int16_t* kernel,
                                           int16_t* dst);

/** As vsrFilterCorrSep11x11s16 with strides. */
VSR_API vsrStatus vsrFilterCorrSep11x11s16_v2(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, const int16_t* kernel, int16_t* dst,
                                              uint32_t dstStride);

/** 13 taps. */
VSR_API vsrStatus vsrFilterCorrSep13x13s16(const int16_t* src, uint32_t width, uint32_t height, const int16_t* kernel,
                                           int16_t* dst);

/** As vsrFilterCorrSep13x13s16 with strides. */
VSR_API vsrStatus vsrFilterCorrSep13x13s16_v2(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, const int16_t* kernel, int16_t* dst,
                                              uint32_t dstStride);

/** 15 taps. */
VSR_API vsrStatus vsrFilterCorrSep15x15s16(const int16_t* src, uint32_t width, uint32_t height, const int16_t* kernel,
                                           int16_t* dst);

/** As vsrFilterCorrSep15x15s16 with strides. */
VSR_API vsrStatus vsrFilterCorrSep15x15s16_v2(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, const int16_t* kernel, int16_t* dst,
                                              uint32_t dstStride);

/** 17 taps. */
VSR_API vsrStatus vsrFilterCorrSep17x17s16(const int16_t* src, uint32_t width, uint32_t height, const int16_t* kernel,
                                           int16_t* dst);

/** As vsrFilterCorrSep17x17s16 with strides. */
VSR_API vsrStatus vsrFilterCorrSep17x17s16_v2(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, const int16_t* kernel, int16_t* dst,
                                              uint32_t dstStride);

/**
 * Not an entry point: the reference of a convolution with two kernels, which the library itself calls. First each row:
 * h = the convolution with the M taps of `rowKernel` by a rounded shift of rowShift, limited to s16; then the columns
 * of h with the N taps of `columnKernel` and columnShift. M and N are odd; strides are never 0. Border untouched.
 * @return 0; VISORA_ENOMEM without scratch memory, with nothing written
 */
VSR_API vsrStatus vsrFilterConvSepMxNs16C(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          const int16_t* rowKernel, uint32_t M, uint32_t rowShift,
                                          const int16_t* columnKernel, uint32_t N, uint32_t columnShift, int16_t* dst,
                                          uint32_t dstStride);

/* ---- Whole convolutions ---- */

/** How much of a convolution is written. */
typedef uint32_t vsrConvolutionSize;

enum
{
    VISORA_CONVOLUTION_FULL = 0, /**< all pixels that depend on the image: (width + kw - 1) x (height + kh - 1) */
    VISORA_CONVOLUTION_SAME = 1, /**< the middle of it, of the image's size */
    VISORA_CONVOLUTION_VALID = 2 /**< what depends on the image alone: (width - kw + 1) x (height - kh + 1) */
};

/**
 * Convolution of an s16 image with a kernel of kw = kernelWidth times kh = kernelHeight taps, each from 1 to 255, by a
 * rounded shift, limited to s16; outside the image is 0. `size` says how much is written, and so how large `dst` is;
 * VISORA_CONVOLUTION_SAME begins (kw - 1) / 2 columns and (kh - 1) / 2 rows into the full one. A kernel wider or higher
 * than the image is refused with VISORA_CONVOLUTION_VALID.
 */
VSR_API vsrStatus vsrConvolves16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const int16_t* kernel, uint32_t kernelWidth, uint32_t kernelHeight, uint32_t shift,
                                 vsrConvolutionSize size, int16_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
