/**
 * @file
 * Local patterns of u8 images: census transform and local binary patterns.
 *
 * Common to all of them:
 * - `src` and `dst` point at the top-left pixel of two distinct images of the same size; sizes are in pixels, strides
 * in bytes, 0 means packed rows. No pointer or stride has to be aligned; a byte stride that is no multiple of the
 * element size is cut to whole elements.
 * - @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, an unknown mode, or a
 * destination that is the source. Nothing is written then.
 */
#ifndef VISORA_PATTERN_H
#define VISORA_PATTERN_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Census transform (R. Zabih and J. Woodfill, ECCV 1994) over 3x3 pixels: one bit per neighbour, 1 where it is darker
 * than the centre, row by row from the top left, which is bit 7. Pixels whose window leaves the image become 0.
 */
VSR_API vsrStatus vsrCensus3x3u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint8_t* dst, uint32_t dstStride);

/** As vsrCensus3x3u8 over 9 columns and 7 rows; the top left neighbour is bit 61, bits 62 and 63 are 0. */
VSR_API vsrStatus vsrCensus9x7u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint64_t* dst, uint32_t dstStride);

/** What a local binary pattern is told by. */
typedef uint32_t vsrLbpMode;

enum
{
    VISORA_LBP_PLAIN = 0,  /**< its code */
    VISORA_LBP_UNIFORM = 1 /**< a label: the codes whose circle of bits changes at most twice have 0 .. 57, in ascending
                                order, all others 58 */
};

/**
 * Local binary pattern (T. Ojala, M. Pietikainen and T. Maenpaa, IEEE PAMI 24(7), 2002) of the 8 neighbours: a bit is 1
 * where the neighbour is at least as bright as the centre, clockwise from the top left, which is bit 7. Outside the
 * image the nearest pixel counts.
 */
VSR_API vsrStatus vsrLBPu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           vsrLbpMode mode, uint8_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
