/**
 * @file
 * Tracking of points from one image to the next: the pyramidal Lucas-Kanade method (B. Lucas and T. Kanade, "An
 * iterative image registration technique", IJCAI 1981; J.-Y. Bouguet, "Pyramidal implementation of the Lucas Kanade
 * feature tracker", 2000).
 *
 * For every point, from the coarsest pyramid level to the full image, the displacement is refined that best aligns a
 * window around the point in the first image with the second image.
 *
 * Common to all members:
 * - `src1Pyr` and `src2Pyr` are the images' pyramids with at least `nPyramidLevels` levels; level 0 is `src1`, `src2`.
 *   Both need the same sizes, halved with every level, and but for f32 the same strides: those of `src1Pyr` count for
 *   both images, so that others in `src2Pyr` mean a second image read askew or, where it is smaller, beyond its end.
 * - `featureXY` holds the positions in the first image as nFeatures pairs (x, y) in pixels, x the column, (0, 0) the
 *   centre of the top-left pixel. `featureXY_out` receives the positions in the second image, `featureStatus` a status
 *   for each. The three arrays must not overlap.
 * - The window has windowWidth x windowHeight pixels, both odd and at least 5: with a smaller one only the positions
 *   are copied. Where a window crosses the edge of a level, the part inside counts.
 * - Refinement at a level ends after a step whose squared length is below epsilon, after the last iteration, or when
 *   two steps in a row cancel out to within 0.01 pixels in both directions; then half of the second one is taken back.
 *   Members without criteria of their own use epsilon 0.0009 and maxIterations, limited to 1 to 100.
 * - A point that cannot be tracked at a level is not tracked at finer ones: its position is the one reached so far, in
 *   the coordinates of the full image.
 * - With 0 levels the positions are copied and count as tracked. When scratch memory runs out, positions are copied
 *   and no status is written.
 * - A null pointer or an even window side: "Assertion failed @<function>: <condition>" is logged, nothing is written,
 *   and the result is what the log call returned (1 with the library's own log). Otherwise the result is 0.
 * - Several threads may track at once.
 */
#ifndef VISORA_TRACK_H
#define VISORA_TRACK_H

#include "visora/motion.h"
#include "visora/pyramid.h"
#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** What became of a point. */
enum
{
    VISORA_TRACK_FOUND = 1,   /**< tracked */
    VISORA_TRACK_FLAT = -2,   /**< nothing in the window fixes the displacement in both directions */
    VISORA_TRACK_OUTSIDE = -4 /**< the window fell outside the image or could not be sampled */
};

/** What ends the refinement at a level; any other value counts as VISORA_TRACK_UNTIL_BOTH. */
enum
{
    VISORA_TRACK_UNTIL_ITERATIONS = 0, /**< maxIterations, limited to 1 to 100, and an epsilon of 0.0009 */
    VISORA_TRACK_UNTIL_EPSILON = 1,    /**< epsilon, limited to 0 to 10, and 30 iterations */
    VISORA_TRACK_UNTIL_BOTH = 2        /**< epsilon and maxIterations, limited so */
};

/* ---- Trackers ---- */

/** Tracks points between u8 images with packed rows. */
VSR_API vsrStatus vsrTrackLKOpticalFlowu8(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                                          const vsrPyramidLevel* src1Pyr, const vsrPyramidLevel* src2Pyr,
                                          const float* featureXY, float* featureXY_out, int32_t* featureStatus,
                                          int32_t nFeatures, int32_t windowWidth, int32_t windowHeight,
                                          int32_t maxIterations, int32_t nPyramidLevels);

/** Tracks points between u8 images with strides. */
VSR_API vsrStatus vsrTrackLKOpticalFlowu8_v2(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                                             uint32_t stride, const vsrPyramidLevel_v2* src1Pyr,
                                             const vsrPyramidLevel_v2* src2Pyr, const float* featureXY,
                                             float* featureXY_out, int32_t* featureStatus, int32_t nFeatures,
                                             int32_t windowWidth, int32_t windowHeight, int32_t maxIterations,
                                             int32_t nPyramidLevels);

/**
 * Tracks points between u8 images, with criteria and a first guess of the caller's.
 * @param criteriaType        what ends the refinement, VISORA_TRACK_UNTIL_...
 * @param epsilon             the squared length of a step, in pixels, below which a point has arrived
 * @param useInitialEstimate  not 0: the search starts at the positions that `featureXY_out` holds, and these are what
 *                            remains when the tracker copies positions otherwise
 */
VSR_API vsrStatus vsrTrackLKOpticalFlowu8_v3(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                                             uint32_t stride, const vsrPyramidLevel_v2* src1Pyr,
                                             const vsrPyramidLevel_v2* src2Pyr, const float* featureXY,
                                             float* featureXY_out, int32_t* featureStatus, int32_t nFeatures,
                                             int32_t windowWidth, int32_t windowHeight, int32_t maxIterations,
                                             int32_t nPyramidLevels, int32_t criteriaType, float epsilon,
                                             int32_t useInitialEstimate);

/**
 * Tracks points between f32 images, each with the strides, in bytes, of its own records. Values of any range will do;
 * the gradients must be strong enough for the determinant of their matrix to reach 1e-7. A window whose values lead to
 * no finite step counts as one that could not be sampled.
 */
VSR_API vsrStatus vsrTrackLKOpticalFlowf32(const float* src1, const float* src2, uint32_t width, uint32_t height,
                                           uint32_t stride, const vsrPyramidLevel_v2* src1Pyr,
                                           const vsrPyramidLevel_v2* src2Pyr, const float* featureXY,
                                           float* featureXY_out, int32_t* featureStatus, int32_t nFeatures,
                                           int32_t windowWidth, int32_t windowHeight, int32_t maxIterations,
                                           int32_t nPyramidLevels);

/* ---- Parts of the trackers ---- */

/**
 * The reference tracker of u8 images. The search starts at the positions in `featureXY_out`.
 * Does nothing when scratch, a pyramid or an array is null, nFeatures < 1, hw < 2, hh < 2, nLevels < 0 or the scratch
 * buffer is too small.
 * @param hw, hh       the window has 2 * hw + 1 by 2 * hh + 1 pixels
 * @param scratch      working memory, aligned like a pointer
 * @param scratchSize  its bytes, at least nLevels * 20 + 4 * ((2 * hw + 3) * (2 * hh + 3) +
 *                     3 * (2 * hw + 1) * (2 * hh + 1))
 */
VSR_API void lkOpticalFlow_v3(const uint8_t* src1, const uint8_t* src2, const vsrPyramidLevel_v2* src1Pyr,
                              const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                              int32_t* featureStatus, int32_t nFeatures, int32_t hw, int32_t hh, int32_t maxIterations,
                              int32_t nLevels, void* scratch, size_t scratchSize, int32_t criteriaType, float epsilon);

/**
 * Samples a patch between the pixels of an image, bilinearly. The patch is centred on (centerX, centerY); its rows are
 * packed. The horizontal fraction of the positions is at least 0.0001. Outside the image the nearest pixel counts.
 * @return 0, or 0xFFFFFFFF for an empty patch or image
 */
VSR_API uint32_t getRectSubPix(const uint8_t* image, uint32_t width, uint32_t height, uint32_t stride, float* dst,
                               int32_t patchWidth, int32_t patchHeight, float centerX, float centerY);

/**
 * Derivatives of a patch by the 3x3 Scharr operator / 32, which smooths with 3/32, 10/32, 3/32 across the central
 * difference.
 * @param patch                    packed rows
 * @param Ix, Iy                   receive the horizontal and vertical derivative of all pixels but the outermost,
 * packed
 * @param patchWidth, patchHeight  size of the patch with its outermost pixels
 */
VSR_API void calcIxIy_32fC(const float* patch, float* Ix, float* Iy, uint32_t patchWidth, uint32_t patchHeight);
VSR_API void calcIxIy_32fV(const float* patch, float* Ix, float* Iy, uint32_t patchWidth, uint32_t patchHeight);
/** The implementation that the reference tracker uses; a program may put its own in its place. */
extern VSR_VAR void (*calcIxIy_32f_)(const float* patch, float* Ix, float* Iy, uint32_t patchWidth,
                                     uint32_t patchHeight);

VSR_END_DECLARATIONS

#endif
