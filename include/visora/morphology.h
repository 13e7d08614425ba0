/**
 * @file
 * Grey-level morphology of u8 images with square windows.
 *
 * Common to all of them:
 * - `src` and `dst` point at the top-left pixel of two distinct images of the same size; sizes are in pixels, strides
 * in bytes, 0 means packed rows. No pointer or stride has to be aligned. Entry points without a version suffix and
 *   without stride arguments take packed rows.
 * - A window has N x N pixels about its pixel; N is odd, of any size, also larger than the image. Only the pixels of a
 *   window that lie inside the image count. Time hardly grows with N.
 * - @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, an even N, an unknown mode, or a
 *   destination that is the source; VISORA_ENOMEM without scratch memory. Nothing is written then.
 */
#ifndef VISORA_MORPHOLOGY_H
#define VISORA_MORPHOLOGY_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** Dilation: the largest pixel of each 3x3 window. */
VSR_API vsrStatus vsrFilterDilate3x3u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst);

/** As vsrFilterDilate3x3u8 with strides. */
VSR_API vsrStatus vsrFilterDilate3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          uint8_t* dst, uint32_t dstStride);

/** Dilation: the largest pixel of each N x N window. */
VSR_API vsrStatus vsrFilterDilateNxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t N, uint8_t* dst, uint32_t dstStride);

/** Erosion: the smallest pixel of each 3x3 window. */
VSR_API vsrStatus vsrFilterErode3x3u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst);

/** As vsrFilterErode3x3u8 with strides. */
VSR_API vsrStatus vsrFilterErode3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint8_t* dst, uint32_t dstStride);

/** Erosion: the smallest pixel of each N x N window. */
VSR_API vsrStatus vsrFilterErodeNxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint32_t N, uint8_t* dst, uint32_t dstStride);

/** Opening: the dilation of the erosion, both N x N. Removes bright spots that no window fits in. */
VSR_API vsrStatus vsrFilterOpenNxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint32_t N, uint8_t* dst, uint32_t dstStride);

/** Closing: the erosion of the dilation, both N x N. Removes dark spots that no window fits in. */
VSR_API vsrStatus vsrFilterCloseNxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint32_t N, uint8_t* dst, uint32_t dstStride);

/** What a top hat leaves. */
typedef uint32_t vsrTopHatMode;

enum
{
    VISORA_TOP_HAT_WHITE = 0, /**< the image minus its opening: small bright spots */
    VISORA_TOP_HAT_BLACK = 1  /**< the closing minus the image: small dark spots */
};

/** Top hat: what an N x N opening or closing takes away. */
VSR_API vsrStatus vsrFilterTopHatNxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t N, vsrTopHatMode mode, uint8_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
