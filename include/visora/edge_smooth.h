/**
 * @file
 * Smoothing that keeps edges, of u8 images and of f32 depth maps.
 *
 * Sigmas, `strength` and `eps` are finite; sigmas are above 0. Weights are made with an exponential of the library's
 * own, W(a) = floor(255 e^-a + 0.5) where they are whole numbers, so that results are the same everywhere.
 *
 * Strides are in bytes, 0 for packed rows. All functions return 0; VISORA_ENOMEM without scratch memory; and
 * VISORA_EBADPARAM, without a log line, for a null pointer, a zero size, a stride below a row, an unknown border type,
 * an argument out of its range, or a destination that begins where a source does. Nothing is written then.
 */
#ifndef VISORA_EDGE_SMOOTH_H
#define VISORA_EDGE_SMOOTH_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Bilateral filters ---- */

/**
 * 5x5 bilateral filter of a packed u8 image. A pixel q of the square window, i columns and j rows away from the pixel
 * p, weighs W((i^2 + j^2) / (2 sigmaSpace^2)) * W((q - p)^2 / (2 sigmaRange^2)); the result is the weighted mean,
 * rounded half up. Outside the image is the nearest pixel. After C. Tomasi and R. Manduchi, ICCV 1998.
 */
VSR_API vsrStatus vsrBilateralFilter5x5u8(const uint8_t* src, uint32_t width, uint32_t height, float sigmaSpace,
                                          float sigmaRange, uint8_t* dst);

/** As vsrBilateralFilter5x5u8 with strides. */
VSR_API vsrStatus vsrBilateralFilter5x5u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, float sigmaSpace, float sigmaRange, uint8_t* dst,
                                             uint32_t dstStride);

/** As vsrBilateralFilter5x5u8 with a 7x7 window. */
VSR_API vsrStatus vsrBilateralFilter7x7u8(const uint8_t* src, uint32_t width, uint32_t height, float sigmaSpace,
                                          float sigmaRange, uint8_t* dst);

/** As vsrBilateralFilter7x7u8 with strides. */
VSR_API vsrStatus vsrBilateralFilter7x7u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, float sigmaSpace, float sigmaRange, uint8_t* dst,
                                             uint32_t dstStride);

/**
 * As vsrBilateralFilter5x5u8_v2 with a 9x9 window. Outside the image is `borderValue` with VISORA_BORDER_CONSTANT,
 * which weighs like any pixel, else the nearest pixel.
 */
VSR_API vsrStatus vsrBilateralFilter9x9u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          float sigmaSpace, float sigmaRange, uint8_t* dst, uint32_t dstStride,
                                          vsrBorderType borderType, uint8_t borderValue);

/**
 * Joint bilateral filter: as vsrBilateralFilter5x5u8_v2 with a window of N x N, N odd up to 255, and q - p taken from a
 * second image of the same size, `guide`, which may be the source itself.
 */
VSR_API vsrStatus vsrBilateralFilterJointu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, const uint8_t* guide, uint32_t guideStride, uint32_t N,
                                            float sigmaSpace, float sigmaRange, uint8_t* dst, uint32_t dstStride);

/**
 * N x N bilateral filter of an f32 image, N odd up to 255, for depth maps: pixels that are 0, infinite or NaN are
 * missing, and so is what lies outside the image. A missing pixel comes out as +0; the others are the mean of the
 * window's pixels that are not missing, summed row by row from left to right in single precision, with the weights
 * e^(-(i^2 + j^2) / (2 sigmaSpace^2)) * e^(-(q - p)^2 / (2 sigmaRange^2)). The second factor is a polynomial within
 * 2^-22 of it, and 0 below 2^-64.
 */
VSR_API vsrStatus vsrBilateralFilterNxNf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                           uint32_t N, float sigmaSpace, float sigmaRange, float* dst,
                                           uint32_t dstStride);

/* ---- Guided filter, non-local means ---- */

/**
 * Guided filter of a u8 image by the guide I of the same size, which may be the source itself (K. He, J. Sun and X.
 * Tang, IEEE PAMI 35(6), 2013). Windows have 2 * radius + 1 pixels a side, cut off at the image's edges; `radius` is
 * from 1 to 127, `eps` from 0.01f to 1e6f in squared grey levels. Over a window of n pixels, with the exact integers
 * num = n sum(I p) - sum(I) sum(p) and var = n sum(I I) - sum(I)^2,
 * A = floor(4096 (num / (var + n n eps)) + 0.5) in double precision and B = floor((2 (4096 sum(p) - A sum(I)) + n) /
 * 2n); then over the m pixels of a window dst = floor((sum(A) I + sum(B) + 2048 m) / 4096 m), limited to u8. The cost
 * does not depend on the radius.
 */
VSR_API vsrStatus vsrGuidedFilteru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    const uint8_t* guide, uint32_t guideStride, uint32_t radius, float eps,
                                    uint8_t* dst, uint32_t dstStride);

/**
 * Non-local means of a u8 image: the mean, rounded half up, of the N x N pixels around each one, N odd up to 255, with
 * weights T(d) from the sum d of the 25 squared differences between the 5x5 patches around both pixels. Outside the
 * image is the nearest pixel. `strength` h, above 0 and at most 255, says how different patches may be: with z the
 * smallest integer from 0 on for which 2^(z + 8) >= 156 h^2, T(d) is W((d >> z) 2^z / (25 h^2)), and 0 where d >> z is
 * above 255. After A. Buades, B. Coll and J.-M. Morel, CVPR 2005.
 */
VSR_API vsrStatus vsrDenoiseNonLocalu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t N, float strength, uint8_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
