/**
 * @file
 * Corners of u8 images: by the FAST segment test (E. Rosten and T. Drummond, "Machine learning for high-speed corner
 * detection", ECCV 2006), by the matrix of gradients, and their refinement between pixels, which are further down.
 *
 * FAST: a pixel p is a corner when enough contiguous pixels of the 16 on a circle of radius 3 around it are all
 * brighter than p + threshold or all darker than p - threshold: nine for FAST-9, ten for FAST-10. Equality is neither.
 *
 * Common to all FAST detectors:
 * - `src` points at the top-left pixel; sizes are in pixels, the stride in bytes, 0 = packed. Nothing has to be
 * aligned.
 * - `threshold` is a difference in grey levels; above 254 nothing is a corner.
 * - Pixels less than `border` away from an edge are not looked at. The circle needs three: a smaller border counts
 * as 3.
 * - Corners are listed in `xy` as pairs (x, y), row by row from the top and from left to right, the first `nCornersMax`
 *   of them. The count is their number; what lies behind in the arrays stays as it is.
 * - Members that score give each listed corner the largest threshold with which it would still be one.
 * - The InMask members leave out pixels whose bit in a mask is set: a mask says where NOT to look. It has 1 bit per
 *   mask pixel, the most significant bit of a byte first, and rows of ceil(maskWidth / 8) bytes. Its sides are the
 *   image's or both 2, 4 or 8 times smaller (one bit then rules a square of pixels) or larger (the first bit of a
 *   square rules a pixel); with any other mask the count is 0.
 * - Members with `nmsEnabled`: when it is not 0, a corner is dropped if any of its eight neighbours is a corner with at
 *   least its score, so equal neighbours drop each other. `nCornersMax` then limits the corners found, not those left.
 *   `tempBuf` needs 3 * nCornersMax + srcHeight words, whose contents are then undefined; without it the process ends
 *   with exit status 1.
 * - A null pointer, a stride below a row or a border that leaves no pixel: "Assertion failed @<function>: <condition>"
 *   is logged, nothing is written, and the result is what the log call returned (1 with our log). Otherwise it is 0.
 */
#ifndef VISORA_CORNER_H
#define VISORA_CORNER_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- FAST-9 ---- */

/** FAST-9 corners of an image. */
VSR_API vsrStatus vsrCornerFast9u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                   uint32_t* numcorners);

/** FAST-9 corners with scores. */
VSR_API vsrStatus vsrCornerFast9Scoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                        uint32_t nCornersMax, uint32_t* numcorners);

/** FAST-9 corners with scores, optionally only those that no neighbour outdoes. */
VSR_API vsrStatus vsrCornerFast9Scoreu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint32_t threshold, uint32_t border, uint32_t* xy,
                                           uint32_t* scores, uint32_t nCornersMax, uint32_t* numcorners,
                                           uint32_t nmsEnabled, uint32_t* tempBuf);

/** FAST-9 corners where the bits of a mask are clear. */
VSR_API vsrStatus vsrCornerFast9InMasku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                         uint32_t* numcorners, const uint8_t* bitMask, uint32_t maskWidth,
                                         uint32_t maskHeight);

/** FAST-9 corners where the bits of a mask are clear, with scores. */
VSR_API vsrStatus vsrCornerFast9InMaskScoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, uint32_t threshold, uint32_t border, uint32_t* xy,
                                              uint32_t* scores, uint32_t nCornersMax, uint32_t* numcorners,
                                              const uint8_t* bitMask, uint32_t maskWidth, uint32_t maskHeight);

/** FAST-9 corners where the bits of a mask are clear, with scores, optionally only those that no neighbour outdoes. */
VSR_API vsrStatus vsrCornerFast9InMaskScoreu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                 uint32_t srcStride, uint32_t threshold, uint32_t border, uint32_t* xy,
                                                 uint32_t* scores, uint32_t nCornersMax, uint32_t* numcorners,
                                                 const uint8_t* bitMask, uint32_t maskWidth, uint32_t maskHeight,
                                                 uint32_t nmsEnabled, uint32_t* tempBuf);

/* ---- FAST-10 ---- */

/** FAST-10 corners of an image. */
VSR_API vsrStatus vsrCornerFast10u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                    uint32_t* nCorners);

/** FAST-10 corners with scores, optionally only those that no neighbour outdoes. */
VSR_API vsrStatus vsrCornerFast10Scoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                         uint32_t nCornersMax, uint32_t* nCorners, uint32_t nmsEnabled,
                                         uint32_t* tempBuf);

/** FAST-10 corners where the bits of a mask are clear. */
VSR_API vsrStatus vsrCornerFast10InMasku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                          uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth,
                                          uint32_t maskHeight);

/** FAST-10 corners where the bits of a mask are clear, with scores, optionally only those that no neighbour outdoes. */
VSR_API vsrStatus vsrCornerFast10InMaskScoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, uint32_t threshold, uint32_t border, uint32_t* xy,
                                               uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                                               const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight,
                                               uint32_t nmsEnabled, uint32_t* tempBuf);

/* ---- Parts of the detectors ---- */

/**
 * Byte offsets from a pixel to the 16 of its circle in an image with this stride: from the one straight below
 * counter-clockwise on the screen, (0, 3), (1, 3), (2, 2) ... (-1, 3). For strides up to 2^31 / 3 - 1.
 */
VSR_API void make_offsets(int32_t offsets[16], uint32_t stride);

/**
 * Score of a pixel: the largest difference from `threshold` to 254 for which it passes the segment test, `threshold`
 * when there is none.
 */
VSR_API uint32_t fast9_corner_scoreC(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold);
VSR_API uint32_t fast9_corner_scoreV(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold);
VSR_API uint32_t fast10_corner_scoreC(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold);
VSR_API uint32_t fast10_corner_scoreV(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold);

/** The score functions in use; a program may put its own in their place. */
extern VSR_VAR uint32_t (*fast9_corner_score_)(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold);
extern VSR_VAR uint32_t (*fast10_corner_score_)(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold);

/** Scores of listed corners by the FAST-9 score function in use. */
VSR_API void score_9(const uint8_t* src, uint32_t srcStride, const uint32_t* xy, uint32_t numcorners,
                     uint32_t threshold, uint32_t* scores);

/**
 * Keeps the corners of a list in row-major order that no neighbour outdoes.
 * @param rawXy, rawScores, rawCount  the list
 * @param rowStarts  room for a word for each row down to the last corner's; receives the index of the row's first
 *                   corner, 0xFFFFFFFF in a row without corners
 * @param xy, scores, numcorners      receive the corners that are left, in list order
 */
VSR_API void nms_processing(const uint32_t* rawXy, const uint32_t* rawScores, uint32_t* rowStarts, uint32_t rawCount,
                            uint32_t* xy, uint32_t* scores, uint32_t* numcorners);

/* ---- Corners by the matrix of gradients ----
 *
 * Lists are as those of the FAST detectors: row by row, the first `nCornersMax`, with pixels less than `border` away
 * from an edge not looked at. A border below a detector's reach counts as that; where it leaves no pixel the count is
 * 0. With A, B and C the sums of gx^2, gy^2 and gx * gy over a window about a pixel, gx and gy its 3x3 Sobel gradients:
 * they return 0; VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row, a
 * buffer that is written and begins where another one does, or what a function names; VISORA_ENOMEM, with nothing
 * written, for want of scratch memory. */

/**
 * Corners by the response of C. Harris and M. Stephens ("A combined corner and edge detector", Alvey Vision Conference,
 * 1988): (16 * (A * B - C * C) - (A + B)^2) >> 24 over a window of 7x7 pixels, exact and rounded down, which is
 * det - trace^2 / 16 in units of 2^20. A pixel is a corner when that is above the threshold. The reach is 4.
 */
VSR_API vsrStatus vsrCornerHarrisu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    int32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                    uint32_t* nCorners);

/**
 * Harris corners with their responses.
 * @param nmsEnabled  not 0: a corner is dropped when one of its eight neighbours that are looked at has a greater
 *                    response, or an equal one and an earlier place in row-major order; nCornersMax limits what is left
 */
VSR_API vsrStatus vsrCornerHarrisScoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         int32_t threshold, uint32_t border, uint32_t* xy, int32_t* scores,
                                         uint32_t nCornersMax, uint32_t* nCorners, uint32_t nmsEnabled);

/** Harris corners where the bits of a mask are clear; masks are those of the FAST detectors, their sides not 0. */
VSR_API vsrStatus vsrCornerHarrisInMasku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          int32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                          uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth,
                                          uint32_t maskHeight);

/**
 * Good features to track (J. Shi and C. Tomasi, CVPR 1994): by the smaller eigenvalue
 * E = (A + B - sqrt((A - B)^2 + (2 C)^2)) / 2 over a window of 3x3 pixels. The reach is 2. Candidates are the pixels
 * with E above quality times the greatest E that are maxima among their neighbours, as those of Harris. They are taken
 * in falling order of E, equal ones row by row, unless nearer than minDistance to one taken before.
 * @param quality      0 to 1; another is refused
 * @param minDistance  up to 65535; another is refused
 * @param xy,scores    pairs (x, y) in the order of taking, and their E
 */
VSR_API vsrStatus vsrCornerMinEigenu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      float quality, uint32_t minDistance, uint32_t border, uint32_t* xy, float* scores,
                                      uint32_t nCornersMax, uint32_t* nCorners);

/**
 * Places of corners between pixels (W. Foerstner and E. Guelch, 1987): the point q to which the gradients g of a window
 * about it are perpendicular from where they are, g . (p - q) = 0 in the least squares, weighted towards the middle of
 * the window, found in steps. A start outside the image stays where it is, and so does one that leads further away than
 * half the window or out of the image.
 * @param xy             nCorners starts; image sides above 2^24 are refused
 * @param windowWidth    odd, 3 to 255; windowHeight as well
 * @param maxIterations  steps at most; not 0, above 100 counts as 100
 * @param epsilon        a step no longer than this is the last one; finite and not negative
 * @param refinedXY      nCorners places, may be xy
 */
VSR_API vsrStatus vsrCornerRefineSubPixu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          const float* xy, uint32_t nCorners, uint32_t windowWidth,
                                          uint32_t windowHeight, uint32_t maxIterations, float epsilon,
                                          float* refinedXY);

VSR_END_DECLARATIONS

#endif
