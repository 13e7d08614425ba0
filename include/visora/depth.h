/**
 * @file
 * Depth images, the point clouds they show, and disparity of two rectified views.
 *
 * Common to all: a depth image has u16 pixels, 0 where nothing is known. A cloud is an image of 3 floats (x, y, z) a
 * pixel. The centre of pixel (u, v) has the coordinates u and v. A camera matrix is 3x3, row by row, of which elements
 * 0, 2, 4 and 5 count: fx, cx, fy, cy; fx or fy of 0 is refused. Strides are in bytes, 0 for packed rows, and cut to
 * whole elements. Results: 0; VISORA_EBADPARAM, with nothing written, for a null pointer, a side of 0 or above 65535, a
 * stride below a row, an argument outside its range, a matrix or parameter that is not finite (unless it says
 * otherwise), or a destination that begins where another buffer of the call does; VISORA_ENOMEM, with nothing written,
 * without scratch memory. A NaN is stored as 0x7FC00000.
 */
#ifndef VISORA_DEPTH_H
#define VISORA_DEPTH_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Point clouds ---- */

/**
 * The points that a depth image shows: z = scale * depth, x = (u - cx) / fx * z, y = (v - cy) / fy * z; zeros for a
 * depth of 0. NaN and infinity in the matrix pass through.
 */
VSR_API vsrStatus vsrCloudFromDepthu16f32(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, const float* cameraMatrix, float scale, float* dst,
                                          uint32_t dstStride);

/**
 * Unit normals of a cloud, towards the camera: the cross product of the differences of the horizontal and of the
 * vertical neighbours (at the image's edge the pixel itself in place of what is missing). Zeros where the point or one
 * of its neighbours has a z of 0, or where the product has no direction. NaN and infinity may occur.
 */
VSR_API vsrStatus vsrCloudNormalsf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     float* dst, uint32_t dstStride);

/**
 * Sums of the point-to-plane iterative closest point method (projective data association; Y. Chen and G. Medioni, 1992)
 * over a cloud `src` that is moved by `rotation` and `translation` and seen in the cloud `reference` with its
 * `normals`. A point P (z not 0), moved, with P.z > 0, is paired with the reference point v and normal n of the pixel
 * nearest to its projection, unless that is outside, has a z of 0 or no normal, or is farther away than maxDistance.
 * With e = n . (P - v) and J = (P x n, n): solving JTJ x = -JTe gives the small turn (x0, x1, x2) and shift (x3, x4,
 * x5) that bring the clouds together. NaN may occur in the clouds.
 * @param rotation      9 floats, row by row
 * @param translation   3 floats
 * @param maxDistance   at least 0
 * @param JTJ           36 floats, the sum of J J', symmetric
 * @param JTe           6 floats, the sum of J e
 * @param squaredError  the sum of e^2
 * @param numPairs      how many pairs there are
 */
VSR_API vsrStatus vsrICPJacobianErrorSE3f32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                            const float* reference, uint32_t refWidth, uint32_t refHeight,
                                            uint32_t refStride, const float* normals, uint32_t normalsStride,
                                            const float* cameraMatrix, const float* rotation, const float* translation,
                                            float maxDistance, float* JTJ, float* JTe, float* squaredError,
                                            uint32_t* numPairs);

/* ---- Depth images ---- */

/**
 * Fills pixels of 0 with the median (the lower one of an even number) of the known pixels in the smallest window around
 * them, of (2 r + 1)^2 pixels cut at the image, that has any. Pixels that have none within `radius` stay 0. The time is
 * at most that of looking at (2 radius + 1)^2 pixels for each hole.
 * @param radius  1 to 15
 */
VSR_API vsrStatus vsrDepthFillHolesu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t radius, uint16_t* dst, uint32_t dstStride);

/**
 * A depth image as another camera sees it: each known pixel becomes a point, is moved by `rotation` and `translation`
 * (9 and 3 floats, the shift in units of the depth), and goes to the nearest pixel of `dst` with its depth rounded; of
 * several the nearest point stays. Pixels that no point reaches are 0.
 */
VSR_API vsrStatus vsrDepthRegisteru16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      const float* srcCameraMatrix, const float* dstCameraMatrix, const float* rotation,
                                      const float* translation, uint16_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                      uint32_t dstStride);

/* ---- Disparity ---- */

enum
{
    VISORA_DISPARITY_NONE = -32768 /**< no disparity was found for a pixel */
};

/**
 * Disparity of two rectified views by block matching. `src1` is the left and `src2` the right view: what is at (x, y)
 * on the left is at (x - d, y) on the right. The cost of d is the sum of absolute differences of the windows, indices
 * clamped to the image. Of those d in minDisparity .. minDisparity + numDisparities - 1 for which x - d is in the
 * image, the least with the least cost wins; pixels get 16 times it, refined by a parabola through the neighbours'
 * costs, or VISORA_DISPARITY_NONE: where no d is possible, where another d more than 1 away has a cost below 100 / (100
 * - uniqueness) times the least, and where there is too little texture. Scratch memory: 2 (width + blockSize)
 * numDisparities bytes and 32 rows. Time: in proportion to width * height * numDisparities, whatever the block.
 * @param minDisparity      -1024 to 1023
 * @param numDisparities    1 to 256
 * @param blockSize         side of the window, odd, 1 to 15
 * @param textureThreshold  least sum over the window of the absolute differences of the left view's horizontal
 *                          neighbours
 * @param uniqueness        0 to 99 percent
 */
VSR_API vsrStatus vsrDisparityBlockMatchu8s16(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                              const uint8_t* src2, uint32_t src2Stride, int32_t minDisparity,
                                              uint32_t numDisparities, uint32_t blockSize, uint32_t textureThreshold,
                                              uint32_t uniqueness, int16_t* dst, uint32_t dstStride);

/**
 * As vsrDisparityBlockMatchu8s16 by semi-global matching (H. Hirschmueller, "Stereo processing by semiglobal matching
 * and mutual information", 2008). The cost of a pixel is the number of bits in which the census transforms of its 5x5
 * windows differ (24 where x - d is outside the image); along each path it is L(d) = cost + min(L'(d), L'(d - 1) +
 * penalty1, L'(d + 1) + penalty1, least L' + penalty2) - least L'; the sum of L over all paths decides. A disparity
 * that the right view does not confirm within leftRightLimit is dropped too. Scratch memory: 2 width * height *
 * numDisparities bytes, but for large images no more than about 10 width * sqrt(height) * numDisparities and 64 MiB.
 * Time: in proportion to width * height * numDisparities * paths.
 * @param penalty1        for a step of 1, at most penalty2
 * @param penalty2        for larger steps, at most 4000
 * @param paths           4 (along rows and columns) or 8 (diagonals too)
 * @param leftRightLimit  numDisparities or more: never drops
 */
VSR_API vsrStatus vsrDisparitySemiGlobalu8s16(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                              const uint8_t* src2, uint32_t src2Stride, int32_t minDisparity,
                                              uint32_t numDisparities, uint32_t penalty1, uint32_t penalty2,
                                              uint32_t paths, uint32_t uniqueness, uint32_t leftRightLimit,
                                              int16_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
