/**
 * @file
 * Drawing lines, polygons and ellipses into u8 images.
 *
 * Common to all of them:
 * - The image has sides of 1 to 65535 pixels of 1 to 4 interleaved channels, a stride in bytes, 0 means packed rows;
 *   `color` is a byte for each channel. The centre of pixel (x, y) has the coordinates x and y, y points down.
 * - Coordinates are -32768 to 32767, a thickness is 1 to 255 pixels. What lies outside the image is cut off; pixels
 *   inside do not depend on it.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a side above 65535, a
 *   stride below a row, an argument outside its range, or an image that begins where another argument does;
 *   VISORA_ENOMEM, with nothing written, where scratch memory could not be had.
 */
#ifndef VISORA_DRAW_H
#define VISORA_DRAW_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Draws a line. One of thickness 1 has a pixel for each step along its longer direction; a thicker one all pixels whose
 * distance from the segment is at most half the thickness, so that its ends are round. Takes the time of its pixels
 * inside the image and of the rows that it crosses there; no scratch memory.
 * @param antialias  not 0: the share of the color falls off over a pixel about that distance
 */
VSR_API vsrStatus vsrDrawLineu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                uint32_t channels, int32_t x0, int32_t y0, int32_t x1, int32_t y1, const uint8_t* color,
                                uint32_t thickness, uint32_t antialias);

/**
 * Draws chains of points as lines from point to point. A chain of one point is a line to itself.
 * @param xy        coordinates of the points, one chain after the other; not null even without any
 * @param lengths   points of each of numChains chains; both may be 0
 * @param closed    not 0: chains of more than two points have a line from the last to the first, too
 */
VSR_API vsrStatus vsrDrawPolylineu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                    uint32_t channels, const int32_t* xy, const uint32_t* lengths, uint32_t numChains,
                                    uint32_t closed, const uint8_t* color, uint32_t thickness, uint32_t antialias);

/**
 * Fills the pixels inside a polygon, by the even-odd rule over all chains together, and those that its edges and
 * vertices go through. A contour, or one with its holes, filled so is its region again. Takes time in proportion to the
 * rows that the edges cross, times the logarithm of the edges in a row; 24 bytes of scratch memory a point.
 */
VSR_API vsrStatus vsrFillPolygonu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                   uint32_t channels, const int32_t* xy, const uint32_t* lengths, uint32_t numChains,
                                   const uint8_t* color);

/**
 * Draws an ellipse, or an arc of it, as lines between points at most about a pixel apart. There are eight for each
 * pixel of the larger radius, whether they are inside the image or not, and 8 bytes of scratch memory for each unless
 * the thickness is 1.
 * @param ellipse     finite numbers, its centre within +-16383, radii 0 to 16383
 * @param startAngle  degrees from axis A, not above endAngle; both finite. 360 or more is the whole ellipse
 * @param thickness   0 fills it, or the sector of the arc
 */
VSR_API vsrStatus vsrDrawEllipseu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                   uint32_t channels, const vsrEllipse* ellipse, float startAngle, float endAngle,
                                   const uint8_t* color, uint32_t thickness);

VSR_END_DECLARATIONS

#endif
