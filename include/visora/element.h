/**
 * @file
 * Operations on single elements: each output pixel depends on the input pixel at the same place.
 */
#ifndef VISORA_ELEMENT_H
#define VISORA_ELEMENT_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Absolute difference |src1 - src2| of two packed u8 images. The destination may be a source.
 * @return 0; VISORA_EBADPARAM for a null pointer or a zero size
 */
VSR_API vsrStatus vsrAbsDiffu8(const uint8_t* src1, uint32_t width, uint32_t height, const uint8_t* src2, uint8_t* dst);

/**
 * As vsrAbsDiffu8 with strides in bytes, 0 = packed; a destination that is a source needs the same stride.
 * @return 0; VISORA_EBADPARAM as above, for a stride below a row, or in place with unequal strides
 */
VSR_API vsrStatus vsrAbsDiffu8_v2(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                  const uint8_t* src2, uint32_t src2Stride, uint8_t* dst, uint32_t dstStride);

/**
 * Bitwise complement of every pixel of a u8 image. Strides in bytes, 0 = packed. Source and destination may be the
 * same buffer when their strides are equal.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, or in place with unequal strides
 */
VSR_API vsrStatus vsrBitwiseNotu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride);

/**
 * Replaces every pixel of a u8 image by its entry of a table of 256 bytes. Strides in bytes, 0 = packed. Source and
 * destination may be the same buffer when their strides are equal; the table is apart from the destination.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, or in place with unequal strides
 */
VSR_API vsrStatus vsrTableLookupu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   const uint8_t* table, uint8_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
