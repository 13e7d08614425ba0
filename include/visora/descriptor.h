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

VSR_END_DECLARATIONS

#endif
