/**
 * @file
 * Block cosine transform and Fourier transforms.
 *
 * Common to all of them:
 * - `src` points at the first element; sizes are in pixels or complex values, strides in bytes, 0 means packed rows. No
 *   pointer or stride has to be aligned; a stride that is no multiple of the element size is cut to whole elements.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a size that a function does not take,
 * a stride below a row, a row of 2^32 bytes or more, or a destination that begins where the source does, unless it is
 *   said to work in place.
 */
#ifndef VISORA_TRANSFORM_H
#define VISORA_TRANSFORM_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Orthonormal discrete cosine transform (type II) of every 8 x 8 block of a packed u8 image, without a level shift. The
 * coefficient of vertical frequency u and horizontal frequency v stands in row u and column v of the block's own place;
 * it is within 0.56 of the real one. Both sides are multiples of 8, else VISORA_EBADPARAM.
 */
VSR_API vsrStatus vsrDCTu8(const uint8_t* src, uint32_t width, uint32_t height, int16_t* dst);

/** As vsrDCTu8 with strides. */
VSR_API vsrStatus vsrDCTu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              int16_t* dst, uint32_t dstStride);

/**
 * Inverse of vsrDCTu8, clamped to u8. The inverse of the forward transform gives the image back within 1. Both sides
 * are multiples of 8, else VISORA_EBADPARAM.
 */
VSR_API vsrStatus vsrIDCTs16u8(const int16_t* src, uint32_t width, uint32_t height, uint8_t* dst);

/** As vsrIDCTs16u8 with strides. */
VSR_API vsrStatus vsrIDCTs16u8_v2(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride);

/** Flags of vsrFFTf32. */
enum
{
    VISORA_FFT_COMPLEX = 1, /**< the source is complex */
    VISORA_FFT_ROWS = 2     /**< each row is a signal of its own */
};

/**
 * Unscaled forward Fourier transform of a u8 image: radix 2, decimation in time, rows then columns. `dst` has
 * srcWidth x srcHeight complex values, pairs (real, imaginary), frequency 0 first. Sides are powers of two up to 65536,
 * else VISORA_EBADPARAM. Relative error (root mean square) below 3e-7; no zero is negative, a NaN is 0x7FC00000.
 * @return as above, or VISORA_ENOMEM
 */
VSR_API vsrStatus vsrFFTu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                           uint32_t dstStride);

/**
 * As vsrFFTu8 of f32 values, real or complex. With VISORA_FFT_ROWS only the rows are transformed and the height is
 * free. A complex source may be the destination when their strides are equal.
 * @param flags  of VISORA_FFT_COMPLEX and VISORA_FFT_ROWS; others are refused
 */
VSR_API vsrStatus vsrFFTf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t flags,
                            float* dst, uint32_t dstStride);

/**
 * Real part of the two-dimensional inverse Fourier transform, divided by the number of values. `src` has width x height
 * complex values, `dst` as many real ones, both packed.
 * @return as above, or VISORA_ENOMEM
 */
VSR_API vsrStatus vsrIFFTf32(const float* src, uint32_t width, uint32_t height, float* dst);

/** As vsrIFFTf32 with strides. */
VSR_API vsrStatus vsrIFFTf32_v2(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                                uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
