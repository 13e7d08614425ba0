/**
 * @file
 * Descriptors of the surroundings of points in u8 images. See visora/set.h for sets, lists and results: descriptors are
 * the vectors of a set, one for each point, with rows `dstStride` bytes apart, 0 = packed.
 */
#ifndef VISORA_DESCRIPTOR_H
#define VISORA_DESCRIPTOR_H

#include "visora/set.h"

VSR_BEGIN_DECLARATIONS

/* ---- Binary descriptors ---- */

/**
 * Descriptors of 256 bits, for Hamming distances (M. Calonder, V. Lepetit, C. Strecha, P. Fua, "BRIEF: Binary robust
 * independent elementary features", ECCV 2010). Each bit compares the sums of two windows of 5 x 5 pixels near the
 * point; the places of the windows are fixed, drawn at random once. Bit k is that of weight 2^(k mod 8) in byte k / 8.
 * @param xy   nPoints pairs (x, y); a point less than 15 pixels from an edge gets a descriptor of zeros
 * @param dst  32 bytes for each point
 */
VSR_API vsrStatus vsrBriefDescribeu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const uint32_t* xy, uint32_t nPoints, uint8_t* dst, uint32_t dstStride);

/**
 * As vsrBriefDescribeu8 with the places of the windows turned about the point.
 * @param angles  degrees from the x axis towards the y axis, one for each point; null: the direction from the point to
 *                the centroid of the intensities around it, within 15 pixels
 */
VSR_API vsrStatus vsrBriefDescribeRotatedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, const uint32_t* xy, uint32_t nPoints,
                                            const float* angles, uint8_t* dst, uint32_t dstStride);

/* ---- Descriptors of gradients and patches ---- */

/**
 * A place with size and direction. One whose x, y or scale is not finite, or whose scale is not above 0 or is above
 * 65536, gets a descriptor of zeros.
 */
typedef struct vsrKeypoint
{
    float x, y;  /**< pixels, (0, 0) the centre of the top left one */
    float scale; /**< standard deviation of the blob, pixels: half of an OpenCV keypoint's size */
    float angle; /**< degrees from the x axis towards the y axis */
} vsrKeypoint;

/**
 * Histograms of gradient directions, 8 in each of 4 x 4 places of a square of 12 * scale pixels that is turned by the
 * keypoint's angle, after D. Lowe, "Distinctive image features from scale-invariant keypoints", IJCV 60(2), 2004: 128
 * bytes for each keypoint. The square is sampled on a grid of 0.75 * scale pixels without smoothing: take the level of
 * a pyramid on which that is about a pixel. Pixels outside the image repeat its edge. Image sides above 2^24 are
 * refused.
 */
VSR_API vsrStatus vsrDescriptorGradient128u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, const vsrKeypoint* keypoints, uint32_t nKeypoints,
                                             uint8_t* dst, uint32_t dstStride);

/**
 * 8 x 8 samples of the same square, on a grid of 1.5 * scale pixels, less their mean and scaled to length 127, after
 * M. Brown, R. Szeliski, S. Winder, "Multi-image matching using multi-scale oriented patches", CVPR 2005: 64 bytes for
 * each keypoint, row by row. The dot product of two over 16129 is their correlation.
 */
VSR_API vsrStatus vsrDescriptorPatch64u8s8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, const vsrKeypoint* keypoints, uint32_t nKeypoints,
                                           int8_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
