/**
 * @file
 * What sums an image up in a few numbers: reductions, extremes, projections, distances, block matching.
 *
 * What they share: sizes are in pixels, strides in bytes, 0 = packed; a function without a stride takes packed images.
 * An optional mask is a u8 image with one element per pixel, which takes part where the mask is not 0; a null mask lets
 * all take part. The result is 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride
 * below a row, a row of 2^32 bytes or more, or an argument outside its range.
 */
#ifndef VISORA_REDUCE_H
#define VISORA_REDUCE_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** What a projection makes of the pixels of a column or row. */
typedef uint32_t vsrReduction;
enum
{
    VISORA_REDUCE_SUM = 0,
    VISORA_REDUCE_MIN = 1,
    VISORA_REDUCE_MAX = 2
};

/* ---- Sums, means, counts ---- */

/** Exact sum of the pixels of a u8 image, with an optional mask. */
VSR_API vsrStatus vsrSumu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const uint8_t* mask, uint32_t maskStride, uint64_t* sum);

/** Exact sum of the elements of an s16 image. */
VSR_API vsrStatus vsrSums16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            int64_t* sum);

/**
 * Sum of the elements of an f32 image, in double precision: 16 partial sums, column x into partial x mod 16, then
 * p[i] += p[i + s] for s = 8, 4, 2, 1; rounded to f32 once. A NaN result is 0x7FC00000.
 */
VSR_API vsrStatus vsrSumf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* sum);

/** Exact sum of the squares of a u8 image. */
VSR_API vsrStatus vsrSumOfSquaresu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint64_t* sum);

/** Exact sum of the squares of an s16 image. */
VSR_API vsrStatus vsrSumOfSquaress16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint64_t* sum);

/**
 * Mean of the pixels of a u8 image, with an optional mask: their exact sum over their number, divided in double
 * precision and rounded to f32. 0 when no pixel takes part.
 */
VSR_API vsrStatus vsrAverageu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               const uint8_t* mask, uint32_t maskStride, float* average);

/**
 * Mean of the elements of an s32 image: their exact sum over their number, divided in double precision and rounded
 * to f32.
 */
VSR_API vsrStatus vsrAverages32(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                float* average);

/** Number of pixels of a u8 image that are not 0, modulo 2^32. */
VSR_API vsrStatus vsrCountNonZerou8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint32_t* count);

/** Number of set bits of a u8 image, modulo 2^32. Packed. */
VSR_API vsrStatus vsrBitCountu8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* bitCount);

/** vsrBitCountu8 with a stride. */
VSR_API vsrStatus vsrBitCountu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t* bitCount);

/** Number of set bits of an array of `length` words, modulo 2^32. */
VSR_API vsrStatus vsrBitCountu32(const uint32_t* src, uint32_t length, uint32_t* bitCount);

/* ---- Extremes ---- */

/** Smallest and largest pixel of a u8 image, with an optional mask. When no pixel takes part: 255 and 0. */
VSR_API vsrStatus vsrMinMaxu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              const uint8_t* mask, uint32_t maskStride, uint8_t* minValue, uint8_t* maxValue);

/** Smallest and largest element of an s16 image. */
VSR_API vsrStatus vsrMinMaxs16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               int16_t* minValue, int16_t* maxValue);

/** Smallest and largest element of an s32 image. */
VSR_API vsrStatus vsrMinMaxs32(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               int32_t* minValue, int32_t* maxValue);

/**
 * Smallest and largest element of an f32 image. NaNs do not take part; an extreme of zero is +0. When all are NaN:
 * +infinity and -infinity.
 */
VSR_API vsrStatus vsrMinMaxf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               float* minValue, float* maxValue);

/** vsrMinMaxu8 without a mask, and x and y of the first pixel in row-major order that equals each extreme. Packed. */
VSR_API vsrStatus vsrMinMaxLocu8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* minValue,
                                 uint8_t* maxValue, uint32_t* minXY, uint32_t* maxXY);

/** vsrMinMaxLocu8 with a stride. */
VSR_API vsrStatus vsrMinMaxLocu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* minValue, uint8_t* maxValue, uint32_t* minXY, uint32_t* maxXY);

/** vsrMinMaxs16, and x and y of the first element in row-major order that equals each extreme. */
VSR_API vsrStatus vsrMinMaxLocs16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  int16_t* minValue, int16_t* maxValue, uint32_t* minXY, uint32_t* maxXY);

/**
 * vsrMinMaxf32, and x and y of the first element in row-major order that equals each extreme: 0xFFFFFFFF when all
 * are NaN.
 */
VSR_API vsrStatus vsrMinMaxLocf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  float* minValue, float* maxValue, uint32_t* minXY, uint32_t* maxXY);

/* ---- Projections ---- */

/** The sum (modulo 2^32), smallest or largest pixel of each column of a u8 image: srcWidth results. */
VSR_API vsrStatus vsrReduceColumnsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     vsrReduction reduction, uint32_t* dst);

/** The sum (modulo 2^32), smallest or largest pixel of each row of a u8 image: srcHeight results. */
VSR_API vsrStatus vsrReduceRowsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  vsrReduction reduction, uint32_t* dst);

/* ---- Distances ---- */

/** Exact sum of |src1 - src2| of two u8 images. */
VSR_API vsrStatus vsrSumOfAbsoluteDiffu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                         const uint8_t* src2, uint32_t src2Stride, uint64_t* sum);

/**
 * Squared distances between `query` and the numVectors vectors of `set`, vector i beginning i * setStride bytes
 * behind the first: dst[i] = the sum of (query[k] - vector i[k])^2 over k < length. numVectors may be 0. Exact;
 * length is at most 66051.
 */
VSR_API vsrStatus vsrSumOfSquaredDiffu8(const uint8_t* query, uint32_t length, const uint8_t* set, uint32_t numVectors,
                                        uint32_t setStride, uint32_t* dst);

/** vsrSumOfSquaredDiffu8 on s8 vectors; length is at most 33025. */
VSR_API vsrStatus vsrSumOfSquaredDiffs8(const int8_t* query, uint32_t length, const int8_t* set, uint32_t numVectors,
                                        uint32_t setStride, int32_t* dst);

/**
 * vsrSumOfSquaredDiffu8 on f32 vectors of any length: 16 partial sums, element k into partial k mod 16, then p[i] +=
 * p[i + s] for s = 8, 4, 2, 1. A NaN result is 0x7FC00000.
 */
VSR_API vsrStatus vsrSumOfSquaredDifff32(const float* query, uint32_t length, const float* set, uint32_t numVectors,
                                         uint32_t setStride, float* dst);

/**
 * Block matching: dst, srcWidth - M + 1 by srcHeight - N + 1 elements, gets at (x, y) the sum of |patch - block|
 * over the M columns and N rows of `patch`, where the block's top-left pixel is (x, y) of `src`. bestXY gets x and y
 * of the smallest sum, the first in row-major order among equals. Refused: M above srcWidth, N above srcHeight, M *
 * N above 2^24.
 */
VSR_API vsrStatus vsrSumOfAbsoluteDiffMxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, const uint8_t* patch, uint32_t M, uint32_t N,
                                            uint32_t patchStride, uint32_t* dst, uint32_t dstStride, uint32_t* bestXY);

/**
 * The sum of |a - b| over two blocks of u8 pixels. Operations of this type, vsrSumOfAbsoluteDiff16x16u8 and
 * vsrSumOfAbsoluteDiff8x8u8, have no entry points: their variants check nothing, take strides as they are and return 0.
 */
typedef vsrStatus vsrBlockDistance(const uint8_t* src1, uint32_t src1Stride, const uint8_t* src2, uint32_t src2Stride,
                                   uint32_t* sum);

/**
 * As vsrBlockDistance for `count` blocks, the type of vsrSumOfAbsoluteDiffs16x16u8: sums[i] is between the block at
 * src1 and the one that begins offsets[i] bytes, of either sign, from src2. count may be 0.
 */
typedef vsrStatus vsrBlockDistances(const uint8_t* src1, uint32_t src1Stride, const uint8_t* src2, uint32_t src2Stride,
                                    const int32_t* offsets, uint32_t count, uint32_t* sums);

VSR_END_DECLARATIONS

#endif
