/**
 * @file
 * Finding things in images: edges, peaks, boxes.
 *
 * Common to all of them:
 * - Images have sides of 1 to 65535 pixels, strides in bytes, 0 means packed rows; no pointer or stride has to be
 *   aligned. The centre of pixel (x, y) has the coordinates x and y, y points down.
 * - A list of results is cut where its capacity ends; its count tells how many are stored, and nothing behind them is
 *   written. A capacity may be 0, its list's pointer must not be null.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a side above 65535, a
 *   stride below a row, an argument outside its range, a float argument that is not finite, a written buffer that
 *   begins where another one does, or what a function names; VISORA_ENOMEM, with nothing written, where scratch memory
 *   could not be had.
 */
#ifndef VISORA_DETECT_H
#define VISORA_DETECT_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Edges ---- */

/**
 * Thins the edges of a gradient: the magnitude min(|dx| + |dy|, 65535) where it is the greatest across the edge, in one
 * of four directions that the gradient is nearest to, else 0. Outside the image magnitudes are 0.
 */
VSR_API vsrStatus vsrEdgeThins16(const int16_t* dx, uint32_t width, uint32_t height, uint32_t dxStride,
                                 const int16_t* dy, uint32_t dyStride, uint16_t* dst, uint32_t dstStride);

/* ---- Peaks and boxes ---- */

/**
 * Pixels above a threshold that are the greatest of their window of (2 radius + 1)^2 pixels, cut at the image: above
 * all that come before them in row-major order, not below any that comes after. Listed in row-major order. Takes time
 * in proportion to the pixels times at most the logarithm of the radius.
 * @param radius  0 to 255
 * @param xy      2 * capacity coordinates
 * @param values  capacity pixels
 */
VSR_API vsrStatus vsrFindPeaksu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t radius, uint8_t threshold, uint32_t* xy, uint8_t* values, uint32_t capacity,
                                 uint32_t* count);

/**
 * As vsrFindPeaksu8 on floats. A NaN ends all peaks whose windows hold it; infinity is a number like others.
 * @param refine  not 0: positions are those of the tops of parabolas through the peak and its neighbours, in x and in
 *                y, within half a pixel
 */
VSR_API vsrStatus vsrFindPeaksf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t radius, float threshold, uint32_t refine, float* xy, float* values,
                                  uint32_t capacity, uint32_t* count);

/**
 * Non-maximum suppression: boxes in descending order of score, equal ones by index, each kept unless one kept before
 * covers more than `maxOverlap` of their union. Takes time in proportion to the boxes times those kept; up to 24 bytes
 * of scratch memory a box.
 * @param boxes           numBoxes times x0, y0, x1, y1; a box with a NaN has no area. numBoxes may be 0
 * @param scores          finite
 * @param scoreThreshold  boxes with scores above it take part
 * @param maxOverlap      0 or more
 * @param indices         of the boxes kept, in order; it ends when `capacity` are
 */
VSR_API vsrStatus vsrNonMaxSuppressf32(const float* boxes, const float* scores, uint32_t numBoxes, float scoreThreshold,
                                       float maxOverlap, uint32_t* indices, uint32_t capacity, uint32_t* count);

VSR_END_DECLARATIONS

#endif
