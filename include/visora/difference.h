/**
 * @file
 * Blends and differences of images: each output pixel depends on the pixels at the same place.
 *
 * Common to all of them:
 * - Images have one size; strides are in bytes, 0 means packed rows. No pointer or stride has to be aligned; a stride
 * that is no multiple of the element size is cut to whole elements.
 * - Sources may be the same buffer. The destination may be any of the images read that has elements of its size, with
 *   equal strides.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row, a
 *   row of 2^32 bytes or more, in place with unequal strides, or what a function names.
 */
#ifndef VISORA_DIFFERENCE_H
#define VISORA_DIFFERENCE_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Blend of two u8 images, (p1 * w + p2 * (256 - w) + 128) >> 8.
 * @param alpha   the weight w of src1 where there is no map, 0 to 256, else VISORA_EBADPARAM
 * @param alphas  null, or a map of u8 weights v, which stand for w = v + (v >> 7): 0 gives src2 and 255 gives src1
 */
VSR_API vsrStatus vsrImageBlendu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                  const uint8_t* src2, uint32_t src2Stride, uint32_t alpha, const uint8_t* alphas,
                                  uint32_t alphasStride, uint8_t* dst, uint32_t dstStride);

/** src1 - src2 of packed u8 images, 0 where that is negative. */
VSR_API vsrStatus vsrImageDiffu8(const uint8_t* src1, uint32_t width, uint32_t height, const uint8_t* src2,
                                 uint8_t* dst);

/** As vsrImageDiffu8 with strides. */
VSR_API vsrStatus vsrImageDiffu8_v2(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                    const uint8_t* src2, uint32_t src2Stride, uint8_t* dst, uint32_t dstStride);

/** src1 - src2 of packed s16 images, clamped to s16. */
VSR_API vsrStatus vsrImageDiffs16(const int16_t* src1, uint32_t width, uint32_t height, const int16_t* src2,
                                  int16_t* dst);

/** As vsrImageDiffs16 with strides. */
VSR_API vsrStatus vsrImageDiffs16_v2(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                     const int16_t* src2, uint32_t src2Stride, int16_t* dst, uint32_t dstStride);

/** src1 - src2 of packed f32 images; a NaN is 0x7FC00000. */
VSR_API vsrStatus vsrImageDifff32(const float* src1, uint32_t width, uint32_t height, const float* src2, float* dst);

/** As vsrImageDifff32 with strides. */
VSR_API vsrStatus vsrImageDifff32_v2(const float* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                     const float* src2, uint32_t src2Stride, float* dst, uint32_t dstStride);

/** src1 - src2 of u8 images as s16, exact. Not in place. */
VSR_API vsrStatus vsrImageDiffu8s16(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                    const uint8_t* src2, uint32_t src2Stride, int16_t* dst, uint32_t dstStride);

/**
 * Motion mask of three successive packed u8 frames: 255 where |src2 - src1| and |src3 - src2| both exceed the
 * threshold, else 0.
 */
VSR_API vsrStatus vsrFrameDifferenceu8(const uint8_t* src1, uint32_t width, uint32_t height, const uint8_t* src2,
                                       const uint8_t* src3, uint8_t threshold, uint8_t* dst);

/** As vsrFrameDifferenceu8 with strides. */
VSR_API vsrStatus vsrFrameDifferenceu8_v2(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                          const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3,
                                          uint32_t src3Stride, uint8_t threshold, uint8_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
