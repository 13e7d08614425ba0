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

/* ---- Oriented-gradient blocks ---- */

/**
 * Prepares blocks of histograms of oriented gradients (N. Dalal and B. Triggs, "Histograms of oriented gradients for
 * human detection", CVPR 2005), without interpolation between cells.
 * @param cellSize    sides of the square cells in pixels, 2 to 32
 * @param blockCells  cells along a side of a block, 1 to 4
 * @param blockStep   cells from block to block, 1 to 16
 * @param bins        directions, 2 to 32, over half a turn, or over the whole one when isSigned is not 0
 * @param handle      written on success, never 0; to be released by vsrHOGDeInit
 * @return 0; VISORA_EBADPARAM for a null pointer or an argument outside its range; VISORA_ENOMEM
 */
VSR_API vsrStatus vsrHOGInit(uint32_t cellSize, uint32_t blockCells, uint32_t blockStep, uint32_t bins,
                             uint32_t isSigned, uint64_t* handle);

/**
 * The blocks of an image: (srcWidth / cellSize - blockCells) / blockStep + 1 columns of blocks, rows alike, each of
 * blockCells^2 * bins features, its cells row by row, scaled to length 1 with no feature above 0.2 before the last
 * scaling; 32768 is 1. Pixels beyond the last whole cell do not count. An image without a block is refused.
 * @param dst  a row of features for each row of blocks, dstStride bytes apart, 0 = packed
 */
VSR_API vsrStatus vsrExtractHOGu16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint64_t handle, uint16_t* dst, uint32_t dstStride);

/** Releases what vsrHOGInit prepared. A handle of 0 is refused. */
VSR_API vsrStatus vsrHOGDeInit(uint64_t handle);

/**
 * Scores of a linear classifier for windows of a grid of blocks: the sum of feature times weight in sixteen parts, in
 * which the columns of a window go by turns, plus the bias. Refused: sizes and steps of 0, a window larger than the
 * grid.
 * @param features    gridHeight rows of gridWidth blocks of blockLength features, gridStride bytes apart, 0 = packed
 * @param weights     windowHeight rows of windowWidth * blockLength; those trained on features up to 1 are to be
 *                    divided by 32768
 * @param stepX,stepY blocks from window to window
 * @param dst         (gridWidth - windowWidth) / stepX + 1 by (gridHeight - windowHeight) / stepY + 1 scores
 */
VSR_API vsrStatus vsrHOGWindowScoreu16f32(const uint16_t* features, uint32_t gridWidth, uint32_t gridHeight,
                                          uint32_t gridStride, uint32_t blockLength, const float* weights,
                                          uint32_t windowWidth, uint32_t windowHeight, uint32_t stepX, uint32_t stepY,
                                          float bias, float* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
