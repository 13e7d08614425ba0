/**
 * @file
 * Thresholds of u8 images: fixed, a band, chosen by Otsu's method, and adapted to each pixel's surroundings.
 *
 * Common to all of them:
 * - `src` and `dst` point at the top-left pixel of two images of the same size; sizes are in pixels, strides in bytes,
 * 0 means packed rows. No pointer or stride has to be aligned. Entry points without a version suffix and without stride
 *   arguments take packed rows.
 * - Fixed, band and Otsu thresholds work in place too, with equal strides; the adaptive ones do not.
 * - VISORA_THRESHOLD_BINARY writes the set value where the test holds and 0 elsewhere; VISORA_THRESHOLD_BINARY_INVERSE
 *   writes 0 where it holds and the set value elsewhere. The set value is 255, or `maxValue` of the adaptive ones.
 * - @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, an unknown type, or an argument
 *   out of its range; VISORA_ENOMEM without scratch memory. Nothing is written then.
 */
#ifndef VISORA_THRESHOLD_H
#define VISORA_THRESHOLD_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** Which side of a threshold becomes the set value. */
typedef uint32_t vsrThresholdType;

enum
{
    VISORA_THRESHOLD_BINARY = 0,        /**< where the test holds */
    VISORA_THRESHOLD_BINARY_INVERSE = 1 /**< where it does not */
};

/** Fixed threshold: pixel > threshold. */
VSR_API vsrStatus vsrFilterThresholdFixedu8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t threshold,
                                            vsrThresholdType type, uint8_t* dst);

/** As vsrFilterThresholdFixedu8 with strides. */
VSR_API vsrStatus vsrFilterThresholdFixedu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, uint8_t threshold, vsrThresholdType type,
                                               uint8_t* dst, uint32_t dstStride);

/** Band: low <= pixel <= high. With low above high the band is empty. */
VSR_API vsrStatus vsrFilterThresholdBandu8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t low,
                                           uint8_t high, vsrThresholdType type, uint8_t* dst);

/** As vsrFilterThresholdBandu8 with strides. */
VSR_API vsrStatus vsrFilterThresholdBandu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, uint8_t low, uint8_t high, vsrThresholdType type,
                                              uint8_t* dst, uint32_t dstStride);

/**
 * Fixed threshold at the level that parts the histogram best (N. Otsu, IEEE SMC 9(1), 1979), written to `level`. For
 * t = 0 .. 254 let n1 be the count and s1 the sum of the pixels <= t, n2 and s2 those of the rest, d = s1 / n1 - s2 /
 * n2 and v = (n1 * n2) * (d * d) in double precision. The level is the first t with the largest v, 0 for a uniform
 * image.
 */
VSR_API vsrStatus vsrFilterThresholdOtsuu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, vsrThresholdType type, uint8_t* dst, uint32_t dstStride,
                                           uint8_t* level);

/* ---- Adaptive thresholds ---- */

/*
 * The test is pixel > m - constant with any `constant`, in exact integers; m is the mean of the window about the pixel,
 * rounded to the nearest whole number, ties to the even one. Outside the image the nearest pixel counts.
 */

/** Mean of 3x3 pixels. */
VSR_API vsrStatus vsrAdaptiveThresholdBox3x3u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, uint8_t maxValue, vsrThresholdType type,
                                               int32_t constant, uint8_t* dst, uint32_t dstStride);

/** Mean of 11x11 pixels. */
VSR_API vsrStatus vsrAdaptiveThresholdBox11x11u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                 uint32_t srcStride, uint8_t maxValue, vsrThresholdType type,
                                                 int32_t constant, uint8_t* dst, uint32_t dstStride);

/**
 * Mean of N x N pixels, N odd from 3 to 4095, of which `factor`, from 0 to 65535, is the share in 1/256: the test is
 * 256 * pixel > m * factor - 256 * constant. A factor of 256 gives the test of the other functions; a constant of 0 and
 * a factor below 256 mark what is darker than its surroundings by a part of their brightness, as text is.
 */
VSR_API vsrStatus vsrAdaptiveThresholdBoxNxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, uint32_t N, uint8_t maxValue, vsrThresholdType type,
                                               int32_t constant, uint32_t factor, uint8_t* dst, uint32_t dstStride);

/** Mean with the weights 1 2 1 in both directions. */
VSR_API vsrStatus vsrAdaptiveThresholdGaussian3x3u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                    uint32_t srcStride, uint8_t maxValue, vsrThresholdType type,
                                                    int32_t constant, uint8_t* dst, uint32_t dstStride);

/** Mean with the weights 1 4 6 4 1 in both directions. */
VSR_API vsrStatus vsrAdaptiveThresholdGaussian5x5u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                    uint32_t srcStride, uint8_t maxValue, vsrThresholdType type,
                                                    int32_t constant, uint8_t* dst, uint32_t dstStride);

/** Mean with the weights 1 10 45 120 210 252 210 120 45 10 1 in both directions. */
VSR_API vsrStatus vsrAdaptiveThresholdGaussian11x11u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                      uint32_t srcStride, uint8_t maxValue, vsrThresholdType type,
                                                      int32_t constant, uint8_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
