/**
 * @file
 * Operations that move pixels.
 */
#ifndef VISORA_WARP_H
#define VISORA_WARP_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Turns an image of two bytes per pixel (chroma pairs, for instance) clockwise.
 * @param src        top-left pixel, srcWidth x srcHeight pixels; a stride of 0 means 2 * srcWidth
 * @param dst        srcHeight x srcWidth pixels for 90 and 270 degrees; a stride of 0 means packed. It may be `src`
 *                   with the same stride, but pixels that were written already are then read as they are now: rows are
 *                   moved from the top down, each from the left
 * @param rotation   1 turns by 90, 2 by 180, 3 by 270 degrees
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row (of the turned image for `dst`),
 *         another rotation, or `src` equal to `dst` with another stride
 */
VSR_API vsrStatus vsrRotateImageInterleavedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, uint8_t* dst, uint32_t dstStride, uint32_t rotation);

VSR_END_DECLARATIONS

#endif
