/**
 * @file
 * Cameras: lens distortion, projection, triangulation and poses.
 *
 * Common to all:
 * - A camera matrix is 3x3, row by row, of which elements 0, 2, 4 and 5 count: fx, cx, fy, cy; fx or fy of 0 is
 * refused. A lens model is k1, k2, p1, p2, k3 (D. Brown, 1966): with pp = p^2, qq = q^2, rr = pp + qq and d = 1 + rr
 * (k1 + rr (k2 + rr k3)) a direction (p, q) appears at (p d + 2 p1 p q + p2 (rr + 2 pp), q d + p1 (rr + 2 qq) + 2 p2 p
 * q). `rotation`, 9 floats row by row, and `translation`, 3 floats, lead from the object to the camera: R X + t.
 * - Points are pairs x, y or triples x, y, z one after another, at least one. What is computed in double precision is
 *   rounded to floats once; every sum has a fixed order, so results are the same bits on every processor. A NaN is
 *   stored as 0x7FC00000.
 * - Results: 0; VISORA_EBADPARAM, with nothing written, for a null pointer (unless it may be null), no point, an
 *   argument outside its range, a list or matrix that is not finite (unless it says otherwise), or a result that begins
 *   where another list does (unless it says otherwise); VISORA_ENOMEM, with nothing written, without scratch memory.
 */
#ifndef VISORA_CAMERA_H
#define VISORA_CAMERA_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** How the weight of a residual r falls with its size. */
typedef uint32_t vsrLossType;

enum
{
    VISORA_LOSS_SQUARE = 0, /**< weight 1: least squares; the scale s is not looked at */
    VISORA_LOSS_HUBER = 1,  /**< 1 up to s, then s / r (P. Huber, 1964) */
    VISORA_LOSS_TUKEY = 2   /**< (1 - r^2 / s^2)^2 up to s, then 0 (A. Beaton and J. Tukey, 1974) */
};

/**
 * Where ideal image points appear through a lens.
 * @param src         2 numPoints floats; NaN and infinity pass through, in the matrix and the lens model too
 * @param distortion  5 floats
 * @param dst         2 numPoints floats; may be src
 */
VSR_API vsrStatus vsrGeomDistortPoint2xNf32(const float* src, uint32_t numPoints, const float* cameraMatrix,
                                            const float* distortion, float* dst);

/**
 * The ideal image points of those seen through a lens, by fixed-point iteration of the lens model.
 * @param src         as for vsrGeomDistortPoint2xNf32
 * @param iterations  1 to 100; 5 are usual
 * @param dst         2 numPoints floats; may be src
 */
VSR_API vsrStatus vsrGeomUndistortPoint2xNf32(const float* src, uint32_t numPoints, const float* cameraMatrix,
                                              const float* distortion, uint32_t iterations, float* dst);

/**
 * Image points of points in space. Points behind the camera are not singled out.
 * @param src         3 numPoints floats; NaN and infinity pass through, in all matrices too
 * @param distortion  5 floats, or null for no distortion
 * @param dst         2 numPoints floats
 */
VSR_API vsrStatus vsrGeomProjectPoint3xNf32(const float* src, uint32_t numPoints, const float* rotation,
                                            const float* translation, const float* cameraMatrix,
                                            const float* distortion, float* dst);

/**
 * Points in space from their images in two views, by the linear method (R. Hartley and A. Zisserman, "Multiple View
 * Geometry in Computer Vision", 2nd ed., section 12.2) in double precision.
 * @param src1         2 numPoints floats
 * @param src2         their partners
 * @param projection1  3x4 floats, row by row
 * @param dst          3 numPoints floats; zeros for points at infinity
 */
VSR_API vsrStatus vsrGeomTriangulatePoint2xNf32(const float* src1, const float* src2, uint32_t numPoints,
                                                const float* projection1, const float* projection2, float* dst);

/**
 * Pose of a planar target (z = 0) from the homography that leads from it to the image, the rotation made orthonormal,
 * in double precision.
 * @return VISORA_EFAIL, with zeros, when one of the homography's first columns is zero
 */
VSR_API vsrStatus vsrGeomPoseFitPlanarf32(const float* homography, const float* cameraMatrix, float* rotation,
                                          float* translation);

/**
 * Refines a pose on points in space and their undistorted images by Gauss-Newton iteration in double precision. Points
 * behind the camera do not count. Time is in proportion to the points and rounds; scratch memory is 160 bytes a point.
 * @param objectPoints      3 numPoints floats
 * @param imagePoints       2 numPoints floats
 * @param maxIterations     0 to 1000; it ends earlier when a round brings nothing
 * @param scale             of the loss, in pixels, above 0
 * @param rotation          read and written
 * @param translation       read and written
 * @param meanSquaredError  of the points that count, under the final pose
 * @return VISORA_EFAIL, with nothing written, when fewer than 3 points count
 */
VSR_API vsrStatus vsrGeomPoseRefinef32(const float* objectPoints, const float* imagePoints, uint32_t numPoints,
                                       const float* cameraMatrix, uint32_t maxIterations, vsrLossType loss, float scale,
                                       float* rotation, float* translation, float* meanSquaredError);

VSR_END_DECLARATIONS

#endif
