/**
 * @file
 * Hamming distances of bit strings: how many bits differ. Strings are vectors of bytes; see visora/set.h for sets,
 * lists and results. A `length` above 0x1FFFFFFF bytes is refused. Of equal distances that of the lower index counts as
 * the nearer one.
 */
#ifndef VISORA_HAMMING_H
#define VISORA_HAMMING_H

#include "visora/set.h"

VSR_BEGIN_DECLARATIONS

/** Distance of two strings of 256 bits (32 bytes). */
VSR_API vsrStatus vsrHammingBits256u8(const uint8_t* src1, const uint8_t* src2, uint32_t* distance);

/** Distance of two strings of 512 bits (64 bytes). */
VSR_API vsrStatus vsrHammingBits512u8(const uint8_t* src1, const uint8_t* src2, uint32_t* distance);

/** Distance of two strings of `length` bytes. */
VSR_API vsrStatus vsrHammingBytesu8(const uint8_t* src1, const uint8_t* src2, uint32_t length, uint32_t* distance);

/**
 * Distances of one vector to those of a set, or to the listed ones.
 * @param indices    numIndices indices into the set; null: all vectors, and numIndices must be 0
 * @param distances  one for each vector, or for each index
 */
VSR_API vsrStatus vsrHammingOneToManyu8(const uint8_t* query, uint32_t length, const uint8_t* set, uint32_t numVectors,
                                        uint32_t setStride, const uint32_t* indices, uint32_t numIndices,
                                        uint32_t* distances);

/** Distances of every vector of one set to every one of another: row i, column j that of i in src1 to j in src2. */
VSR_API vsrStatus vsrHammingMatrixu8(const uint8_t* src1, uint32_t length, uint32_t numVectors1, uint32_t src1Stride,
                                     const uint8_t* src2, uint32_t numVectors2, uint32_t src2Stride, uint32_t* dst,
                                     uint32_t dstStride);

/**
 * The nearest vector of a set to each query. Without one the index is VISORA_NO_MATCH, the distance 0xFFFFFFFF.
 * @param mutual     not 0: a match counts only when the query is in turn the nearest of the queries to that vector (the
 *                   lowest of equally near ones)
 * @param indices,distances  numQueries elements
 */
VSR_API vsrStatus vsrHammingNearestu8(const uint8_t* queries, uint32_t length, uint32_t numQueries,
                                      uint32_t queryStride, const uint8_t* set, uint32_t numVectors, uint32_t setStride,
                                      uint32_t mutual, uint32_t* indices, uint32_t* distances);

/**
 * The nearest vector and the next one to each query q, elements 2 q and 2 q + 1 of both results, for the ratio test.
 * What the set does not have is VISORA_NO_MATCH at distance 0xFFFFFFFF.
 */
VSR_API vsrStatus vsrHammingNearest2u8(const uint8_t* queries, uint32_t length, uint32_t numQueries,
                                       uint32_t queryStride, const uint8_t* set, uint32_t numVectors,
                                       uint32_t setStride, uint32_t* indices, uint32_t* distances);

/**
 * The vectors at most maxDistance away from each query, in rising order of index.
 * @param indices   those of query q from indices[q * capacity] on, the first `capacity`; what lies behind stays
 * @param capacity  not 0
 * @param counts    how many are stored for each query
 */
VSR_API vsrStatus vsrHammingWithinu8(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                                     const uint8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t maxDistance,
                                     uint32_t* indices, uint32_t capacity, uint32_t* counts);

VSR_END_DECLARATIONS

#endif
