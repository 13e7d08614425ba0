/**
 * @file
 * Models of two views (homography, affine map, similarity, rigid motion, fundamental matrix) fitted to point
 * correspondences; with visora/camera.h, visora/depth.h and visora/matrix.h all geometry.
 *
 * Common to all:
 * - A homography is 9 floats h0..h8, row by row. It maps (x, y) to ((h0 x + h1 y + h2) / w, (h3 x + h4 y + h5) / w)
 *   with w = h6 x + h7 y + h8. Fitted ones have h8 = 1. An affine map is the same with the last row (0, 0, 1).
 * - Coordinates have any unit. The single-precision fits multiply up to four of them and do not rescale: coordinates of
 *   about 1 in size, as normalise2dpts makes them, suit them best. With larger ones they lose digits, and in the pixels
 *   of a whole image vsrGeomHomographyFitf32 nearly always ends in its double-precision fallback.
 * - Points are used in the order of the indices, and every sum is added up in that order, so that results are the same
 *   bits in every variant and on every processor. Coordinates must be finite.
 * - A failed check of the arguments leaves the outputs untouched. Unless it says otherwise, a function then logs
 *   "Assertion failed @<function>: <condition>" and returns what the log call returned (1 with the library's own log).
 */
#ifndef VISORA_GEOM_H
#define VISORA_GEOM_H

#include "visora/camera.h"
#include "visora/depth.h"
#include "visora/matrix.h"
#include "visora/points.h"
#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** Points of one image and where they are in another, and which of them to use. */
typedef struct vsrCorrespondences
{
    const float* from;       /**< point i is (from[i * fromStride], from[i * fromStride + 1]) */
    const float* to;         /**< its partner, addressed in the same way with toStride */
    uint32_t fromStride;     /**< floats from one point to the next, at least 2 */
    uint32_t toStride;       /**< the same for `to` */
    const uint16_t* indices; /**< numbers of the points to use; they may repeat */
    uint32_t numIndices;     /**< how many */
} vsrCorrespondences;

/* ---- Least squares ---- */

/**
 * Least-squares homography: the h0..h7 that minimise the sum of (h0 x + h1 y + h2 - u (h6 x + h7 y + 1))^2 and of the
 * same for v over the correspondences (x, y) to (u, v) (the direct linear transform; R. Hartley and A. Zisserman,
 * "Multiple View Geometry in Computer Vision", 2nd ed., section 4.1). The normal equations are summed and solved by
 * Cholesky decomposition in single precision; where that fails, the whole fit is redone by vsrGeomHomographyFitDPf32.
 * @param homography  9 floats; all zero with fewer than 4 correspondences or when they determine no homography
 * @return 0
 */
VSR_API vsrStatus vsrGeomHomographyFitf32(const vsrCorrespondences* corrs, float* homography);

/**
 * As vsrGeomHomographyFitf32 with sums and solution (elimination with row pivoting) in double precision.
 * @return 0
 */
VSR_API vsrStatus vsrGeomHomographyFitDPf32(const vsrCorrespondences* corrs, float* homography);

/**
 * Least-squares affine map by the normal equations in single precision. Only `corrs` and `affine` themselves are
 * checked; the record's pointers must be good when it has 3 indices or more.
 * @param affine  9 floats, the last row (0, 0, 1); all zero with fewer than 3 correspondences or when there is no
 * solution
 * @return 0; (vsrStatus)-1, the result of vsrSolveCholeskyf32, when there is no solution
 */
VSR_API vsrStatus vsrGeomAffineFitf32(const vsrCorrespondences* corrs, float* affine);

/* ---- Inliers of a given model ---- */

/**
 * Lists the correspondences that a homography fulfils: those whose point, mapped, is nearer to its partner than
 * sqrt(maxsqerr). With w as above and (ex, ey) = w (mapped point - partner) the test is ex^2 + ey^2 < w^2 maxsqerr, so
 * a point that is mapped to infinity is never one.
 * @param homography  9 floats
 * @param maxsqerr    square of a distance in the plane of `to`
 * @param inliers     room for numIndices entries; the point numbers of the inliers, in order
 * @param numInliers  how many
 * @return 0 when all are inliers (or there are none at all), else -1
 */
VSR_API int vsrGeomHomographyEvaluatef32(const vsrCorrespondences* corrs, const float* homography, float maxsqerr,
                                         uint16_t* inliers, uint32_t* numInliers);

/**
 * As vsrGeomHomographyEvaluatef32.
 * @param errinliers  room for numIndices entries; ex^2 + ey^2 of each inlier, not divided by w^2
 */
VSR_API int vsrGeomHomographyEvaluatef32_v2(const vsrCorrespondences* corrs, const float* homography, float maxsqerr,
                                            uint16_t* inliers, uint32_t* numInliers, float* errinliers);

/**
 * As vsrGeomHomographyEvaluatef32 for an affine map.
 * @param affine  6 floats or more, the first two rows
 */
VSR_API int vsrGeomAffineEvaluatef32(const vsrCorrespondences* corrs, const float* affine, float maxsqerr,
                                     uint16_t* inliers, uint32_t* numInliers);

/* ---- Robust fit ---- */

/**
 * Homography of correspondences among which some are wrong, by random sample consensus (M. Fischler and R. Bolles,
 * Communications of the ACM 24(6), 1981): up to 1500 samples of 4, each fitted and evaluated on all; the one with most
 * inliers (4 at least) wins, and the homography is fitted again to all of its inliers. Fewer samples do as soon as the
 * best one's share of inliers says that a better one is found with probability 0.995. Equal calls give equal results:
 * the pseudo-random numbers are those of randValue after randValue(200).
 * @param maxsqerr        as for vsrGeomHomographyEvaluatef32
 * @param homography      9 floats, the final fit
 * @param inliers         room for numIndices entries; the point numbers of the best sample's inliers, in order
 * @param numInliers      how many
 * @param scratchInliers  room for numIndices entries, whose contents are then undefined
 * @return 0; VISORA_EFAIL when no homography was found (all zero then, and no inliers); VISORA_EBADPARAM, without a log
 *         line, for a null pointer or a stride below 2
 */
VSR_API vsrStatus vsrGeomHomographyRobustFitf32(const vsrCorrespondences* corrs, float* homography, float maxsqerr,
                                                uint16_t* inliers, uint32_t* numInliers, uint16_t* scratchInliers);

/**
 * As vsrGeomHomographyRobustFitf32.
 * @param errinliers  room for numIndices entries; the inliers' errors under the best sample's homography, as
 *                    vsrGeomHomographyEvaluatef32_v2 gives them
 */
VSR_API vsrStatus vsrGeomHomographyRobustFitf32_v2(const vsrCorrespondences* corrs, float* homography, float maxsqerr,
                                                   uint16_t* inliers, uint32_t* numInliers, uint16_t* scratchInliers,
                                                   float* errinliers);

/* ---- Models that refuse silently ----
 *
 * They return VISORA_EBADPARAM, without a log line and with nothing written, for a null pointer (also in the record,
 * and also with numIndices 0), a stride below 2, a used coordinate, a model or a maxsqerr that is not finite, or a
 * result that begins where another list of the call does; VISORA_ENOMEM, with nothing written, without scratch memory.
 * Fits work in double precision and round once; pixels need no scaling.
 */

/**
 * As vsrGeomAffineEvaluatef32.
 * @param errinliers  room for numIndices entries; the squared error of each inlier
 */
VSR_API int vsrGeomAffineEvaluatef32_v2(const vsrCorrespondences* corrs, const float* affine, float maxsqerr,
                                        uint16_t* inliers, uint32_t* numInliers, float* errinliers);

/**
 * Affine map of correspondences among which some are wrong, as vsrGeomHomographyRobustFitf32 by samples of 3. The state
 * of randValue is not touched. At most 1500 samples, each in linear time; 48 bytes of scratch memory a correspondence.
 * @param affine    9 floats, the last row (0, 0, 1): the least-squares fit to all inliers, or the best sample's model
 *                  where that fit fails
 * @param maxsqerr  as for vsrGeomAffineEvaluatef32, at least 0
 * @param inliers   room for numIndices entries; the point numbers of the best sample's inliers, in order
 * @return 0; VISORA_EFAIL when no map was found (all zero then, and no inliers)
 */
VSR_API vsrStatus vsrGeomAffineRobustFitf32(const vsrCorrespondences* corrs, float* affine, float maxsqerr,
                                            uint16_t* inliers, uint32_t* numInliers);

/**
 * Least-squares similarity (turn, scale and shift) in closed form.
 * @param similarity  9 floats a, -b, tx, b, a, ty, 0, 0, 1
 * @return 0; VISORA_EFAIL, with zeros, for fewer than 2 correspondences or when all points are the same
 */
VSR_API vsrStatus vsrGeomSimilarityFitf32(const vsrCorrespondences* corrs, float* similarity);

/**
 * Rigid motion between two sets of points in space, to = scale R from + t, in the least-squares sense (S. Umeyama,
 * 1991).
 * @param from       3 numPoints floats, finite; at least one point
 * @param to         their partners
 * @param withScale  0: the scale is 1
 * @param rotation   9 floats, row by row
 * @return 0; VISORA_EFAIL, with zeros, for fewer than 3 points, or when a scale is asked for and all are the same
 */
VSR_API vsrStatus vsrGeomRigidFit3xNf32(const float* from, const float* to, uint32_t numPoints, uint32_t withScale,
                                        float* rotation, float* translation, float* scale);

/**
 * Fundamental matrix F with (u, v, 1) F (x, y, 1)' = 0 by the normalised eight-point method (R. Hartley, 1997). Linear
 * time, whatever the points; 80 bytes of scratch memory a correspondence.
 * @param fundamental  9 floats, row by row, of rank 2 and length 1, the element of greatest magnitude positive
 * @return 0; VISORA_EFAIL, with zeros, for fewer than 8 correspondences
 */
VSR_API vsrStatus vsrGeomFundamentalFitf32(const vsrCorrespondences* corrs, float* fundamental);

/**
 * Fundamental matrix of correspondences among which some are wrong, as vsrGeomAffineRobustFitf32 by samples of 8, with
 * 96 bytes of scratch memory a correspondence.
 * @param maxsqerr  square of the Sampson distance below which a correspondence is an inlier, at least 0
 */
VSR_API vsrStatus vsrGeomFundamentalRobustFitf32(const vsrCorrespondences* corrs, float* fundamental, float maxsqerr,
                                                 uint16_t* inliers, uint32_t* numInliers);

/* ---- Samples ---- */

/**
 * How many random samples are enough: with the given share of inliers, that many samples of `modelPoints` hold one
 * without outliers with probability `p`.
 * @param maxIters     the bound so far; the result is not above it
 * @param p            confidence, clamped to 0..1
 * @param inlierRatio  clamped to 0..1
 */
VSR_API uint32_t updateNumIters(int modelPoints, int maxIters, float p, float inlierRatio);

/**
 * The "minimal standard" pseudo-random generator (S. Park and K. Miller, Communications of the ACM 31(10), 1988), one
 * sequence for the whole process.
 * @param seed  above 0: the new state; else the generator moves on
 * @return 0 when seeded, else the next number, 1 to 2^31 - 1
 */
VSR_API uint32_t randValue(int seed);

/**
 * Moves points' centroid to the origin and scales them to the mean distance sqrt(2) from it (scale 1 when all are the
 * same point), in place. Does nothing with n below 1.
 * @param transform  3 floats: scale s, and the shift (-s cx, -s cy) by which a point p became s p + shift
 */
VSR_API void normalise2dpts(float* x, float* y, float* transform, int n);

/* ---- Linear equations ---- */

/**
 * Solves A x = b for a symmetric positive-definite A by Cholesky decomposition, A = L L'.
 * @param A     n x n floats, row by row; only the lower triangle is read, and replaced by L
 * @param b     n floats; may be x
 * @param diag  n floats; the reciprocals of L's diagonal
 * @param x     n floats, not written when there is no solution
 * @return 0; -1 when a pivot is not positive
 */
VSR_API int vsrSolveCholeskyf32(float* A, const float* b, float* diag, uint32_t n, float* x);

VSR_END_DECLARATIONS

#endif
