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

/** As vsrRotateImageInterleavedu8 for pixels of one byte; refused alike. */
VSR_API vsrStatus vsrRotatePlaneu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstStride, uint32_t rotation);

/** How an image is mirrored. */
typedef uint32_t vsrFlipDirection;

enum
{
    VISORA_FLIP_HORIZONTAL = 1, /**< left and right change places */
    VISORA_FLIP_VERTICAL = 2,   /**< top and bottom change places */
    VISORA_FLIP_BOTH = 3        /**< both, which turns by 180 degrees */
};

/**
 * Mirrors an image of 1 to 4 interleaved channels. `dst` may be `src` if the strides are equal.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, another number of channels or
 *         direction, or `src` equal to `dst` with another stride
 */
VSR_API vsrStatus vsrFlipu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint32_t channels, vsrFlipDirection direction, uint8_t* dst, uint32_t dstStride);

/** As vsrFlipu8 for pixels of one u16; strides are in bytes. */
VSR_API vsrStatus vsrFlipu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             vsrFlipDirection direction, uint16_t* dst, uint32_t dstStride);

/**
 * Exchanges rows and columns: `dst`, another buffer of srcHeight x srcWidth pixels, gets at (x, y) the pixel (y, x).
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, or `src` equal to `dst`
 */
VSR_API vsrStatus vsrTransposeu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint8_t* dst, uint32_t dstStride);

/** As vsrTransposeu8 for floats, whose bits stay as they are; strides are in bytes. */
VSR_API vsrStatus vsrTransposef32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  float* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
