/**
 * @file
 * Finding things in images: edges, lines, circles, checkerboards, blobs, peaks, boxes.
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

/* ---- Lines ---- */

/**
 * Lines through many set pixels, by voting (Hough transform): a pixel votes for the lines through it of all angles from
 * 0 to below 180 degrees. Lines have more votes than `threshold` and than their neighbours; those of more votes come
 * first. Takes time in proportion to the set pixels times the angles; 8 bytes of scratch memory for each set pixel and
 * 4 for each cell, of which there are about 360 (srcWidth + srcHeight) / (thetaStep * rhoStep).
 * @param rhoStep    pixels from one distance to the next, 0.1 to 1000
 * @param thetaStep  degrees from one angle to the next, 0.05 to 90
 * @param rhoTheta   2 * capacity numbers: points of a line fulfil x cos(theta) + y sin(theta) = rho
 */
VSR_API vsrStatus vsrHoughLinesu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  float rhoStep, float thetaStep, uint32_t threshold, float* rhoTheta, uint32_t* votes,
                                  uint32_t capacity, uint32_t* count);

/**
 * Straight edges, by regions of 2x2 blocks whose gradients point the same way (after R. Grompone von Gioi, J.
 * Jakubowicz, J.-M. Morel, G. Randall, "LSD: a line segment detector", 2012, with a test of density alone). The
 * strongest free block begins a region, to which neighbours within the tolerance of its direction join. Linear time; 17
 * bytes of scratch memory a pixel.
 * @param gradientThreshold  blocks with a gradient above it take part; a step of n levels has 2 n
 * @param tolerance          0 to 90 degrees, 22.5 is usual
 * @param minLength          of a segment, 0 or more pixels
 * @param minDensity         share of its box that a region fills, 0 to 1; 0.6 is usual
 * @param segments           5 * capacity numbers: x0, y0, x1, y1, width; the brighter side is on the right hand, as
 * seen on the screen
 */
VSR_API vsrStatus vsrFindLineSegmentsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t gradientThreshold, float tolerance, float minLength, float minDensity,
                                        float* segments, uint32_t capacity, uint32_t* count);

/* ---- Circles, checkerboards, blobs ---- */

/**
 * Circles, by the votes of thinned Sobel edges for centres along their gradients, both ways. Centres have more votes
 * than `threshold` and than their neighbours; those of more votes come first. The radius is that of which the largest
 * part of the circle is seen. Takes time in proportion to the edge pixels times the radii, and for each centre to those
 * near it; 14 bytes of scratch memory a pixel and 4 for each cell.
 * @param cellShift      0 to 4: cells for centres have sides of 2^cellShift pixels
 * @param edgeThreshold  edges have magnitudes (vsrEdgeThins16) above it
 * @param threshold      least votes less 1, and least pixels less 1 of the circle itself
 * @param minRadius,maxRadius  1 <= minRadius <= maxRadius <= 32767
 * @param minDistance    of a centre from those listed before, 0 or more
 * @param circles        3 * capacity numbers: x, y, radius
 */
VSR_API vsrStatus vsrHoughCirclesu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint32_t cellShift, uint32_t edgeThreshold, uint32_t threshold, uint32_t minRadius,
                                    uint32_t maxRadius, float minDistance, float* circles, uint32_t* votes,
                                    uint32_t capacity, uint32_t* count);

/**
 * Inner corners of a checkerboard with squares from about 10 pixels, to a fraction of a pixel, row by row. Candidates
 * are peaks of a response to crossing edges (S. Bennett, J. Lasenby, "ChESS - Quick and robust detection of chess-board
 * features", 2014); from one of the best 16 the grid grows from corner to corner. No more than 4 * columns * rows
 * candidates are kept, so that time is linear but for sorting the candidates and for the 16 grids, each at most in
 * proportion to the square of those kept; 2 bytes of scratch memory a pixel, 8 a candidate.
 * @param columns,rows  of inner corners, 2 to 255 each
 * @param xy            2 * columns * rows coordinates
 * @param count         columns * rows, or 0
 * @return as above; VISORA_EFAIL, with a count of 0 and nothing else written, when there is no such board
 */
VSR_API vsrStatus vsrCheckerboardCornersu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint32_t columns, uint32_t rows, float* xy,
                                           uint32_t* count);

/** What blobs are. */
typedef struct vsrBlobParameters
{
    uint32_t minThreshold; /**< thresholds: min, min + step, ... <= max; min <= max <= 255, step >= 1 */
    uint32_t maxThreshold;
    uint32_t thresholdStep;
    uint32_t bright;  /**< 0 for dark blobs */
    uint32_t minArea; /**< pixels, holes included; min <= max */
    uint32_t maxArea;
    float minRoundness;  /**< 0 to 1; of the outline: 1 for a circle */
    float minConvexity;  /**< 0 to 1; share of the convex hull */
    float minDistance;   /**< 0 or more; blobs of successive thresholds that are nearer are one */
    uint32_t minRepeats; /**< thresholds at which a blob is to be seen */
} vsrBlobParameters;

/** A blob: means over the thresholds. */
typedef struct vsrBlob
{
    float x;
    float y;
    float radius; /**< of a disc of its area */
    uint32_t repeats;
} vsrBlob;

/**
 * Blobs: regions that stay where they are over several thresholds. Each threshold takes the time of vsrFindContoursu8;
 * each of its outlines within the limits is compared with the groups that have none at this threshold yet. A byte of
 * scratch memory a pixel, 16 a row, and 48 to 144 for each group.
 */
VSR_API vsrStatus vsrFindBlobsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const vsrBlobParameters* parameters, vsrBlob* blobs, uint32_t capacity,
                                 uint32_t* count);

/* ---- Peaks and boxes ---- */

/**
 * Pixels above a threshold that are the greatest of their window of (2 radius + 1)^2 pixels, cut at the image: above
 * all that come before them in row-major order, not below any that comes after. Listed in row-major order. Takes time
 * in proportion to the pixels times at most the logarithm of the radius, and scratch memory for 2 radius + 3 rows.
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
