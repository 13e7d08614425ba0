/**
 * @file
 * Motion: windows that follow a likelihood image, block matching, motion history.
 *
 * Common to all of them:
 * - Sizes are in pixels, strides in bytes, 0 means packed rows. No pointer or stride has to be aligned; a stride that
 * is no multiple of the element size is cut to whole elements.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row, a
 *   row of 2^32 bytes or more, a buffer that is written and begins where another one does, or what a function names.
 */
#ifndef VISORA_MOTION_H
#define VISORA_MOTION_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Mean shift: the source is a likelihood image, such as a back projection ---- */

/**
 * Moves a window to the centroid of what it holds, again and again (D. Comaniciu, V. Ramesh, P. Meer, "Real-time
 * tracking of non-rigid objects using mean shift", CVPR 2000). The search ends when the squares of the moves in x and y
 * add up to less than max(1, epsilon * epsilon rounded), when the window holds no weight, or after maxIterations moves.
 * @param maxIterations  1 or more
 * @param epsilon        finite and not negative
 * @param window         inside the image and not empty; receives the new place, its size stays
 * @param iterations     how many times the search went on after a move
 * @return as above; VISORA_EBADPARAM for a side above 65535 too
 */
VSR_API vsrStatus vsrMeanShiftu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t maxIterations, float epsilon, vsrRectangle* window, uint32_t* iterations);

/** As vsrMeanShiftu8 of u16 weights. */
VSR_API vsrStatus vsrMeanShiftu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t maxIterations, float epsilon, vsrRectangle* window, uint32_t* iterations);

/** As vsrMeanShiftu8 of f32 weights; a NaN among them is no weight. */
VSR_API vsrStatus vsrMeanShiftf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t maxIterations, float epsilon, vsrRectangle* window, uint32_t* iterations);

/**
 * Continuously adaptive mean shift (G. Bradski, "Computer vision face tracking for use in a perceptual user interface",
 * Intel Technology Journal Q2, 1998): mean shift, then place, size and direction of what is in the window and 10 pixels
 * around it from its second moments, and a window for the next frame made of them.
 * @param window  as above; receives the window for the next frame
 * @param box     the ellipse with the same second moments: centroid, full axes, direction of the long one from 0 to
 * below 180 degrees; all zero when there is no weight, and the window is that of the mean shift then
 */
VSR_API vsrStatus vsrConAdaTracku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t maxIterations, float epsilon, vsrRectangle* window, vsrRotatedBox* box);

/** As vsrConAdaTracku8 of u16 weights. */
VSR_API vsrStatus vsrConAdaTracku16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint32_t maxIterations, float epsilon, vsrRectangle* window, vsrRotatedBox* box);

/** As vsrConAdaTracku8 of f32 weights. */
VSR_API vsrStatus vsrConAdaTrackf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint32_t maxIterations, float epsilon, vsrRectangle* window, vsrRotatedBox* box);

/* ---- Block matching ---- */

/**
 * Motion of square blocks between two u8 images: of all offsets in the range that keep the block inside src2 the one
 * with the least sum of absolute differences; of equal ones (0, 0), else the smallest dy, then the smallest dx.
 * @param blockSize      side of a block, 1 to 256; a smaller image is refused
 * @param step           blocks stand at (i * step, j * step), as many as fit: nx = (width - blockSize) / step + 1, ny
 *                       likewise
 * @param rangeX,rangeY  largest offsets, up to 32767
 * @param flow           nx x ny pairs (dx, dy), rows flowStride bytes apart
 * @param sads           null, or the nx x ny least sums
 */
VSR_API vsrStatus vsrTrackBlockMatchu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                       const uint8_t* src2, uint32_t src2Stride, uint32_t blockSize, uint32_t step,
                                       uint32_t rangeX, uint32_t rangeY, int16_t* flow, uint32_t flowStride,
                                       uint32_t* sads, uint32_t sadsStride);

/* ---- Motion history (J. Davis, A. Bobick, "The representation and recognition of action using temporal templates",
 * CVPR 1997) ---- */

/**
 * Keeps a motion history image: a pixel becomes `timestamp` where the mask is not 0, else 0 where it is below
 * timestamp - duration, else it stays.
 * @param history  read and written
 * @return as above; VISORA_EBADPARAM unless timestamp and duration are finite and duration is not negative
 */
VSR_API vsrStatus vsrMotionHistoryu8f32(const uint8_t* mask, uint32_t width, uint32_t height, uint32_t maskStride,
                                        float timestamp, float duration, float* history, uint32_t historyStride);

/**
 * Direction of motion in a motion history image, in degrees, 0 along +x and 90 along +y, from its 3x3 Sobel gradient.
 * It is valid where the gradient is not close to 0, everything is finite, and the largest and smallest of the nine
 * pixels differ by minDelta to maxDelta. The nearest pixel stands for one outside the image.
 * @param orientation  0 to below 360; 0 where it is not valid
 * @param mask         255 where it is valid, else 0
 * @return as above; VISORA_EBADPARAM unless 0 <= minDelta <= maxDelta, which may be infinite
 */
VSR_API vsrStatus vsrMotionGradientf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       float minDelta, float maxDelta, float* orientation, uint32_t orientationStride,
                                       uint8_t* mask, uint32_t maskStride);

VSR_END_DECLARATIONS

#endif
