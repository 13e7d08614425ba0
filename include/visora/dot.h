/**
 * @file
 * Dot products of vectors. See visora/set.h for sets, lists, results and the order in which floats are summed.
 *
 * Results by type of the elements: u8 exact modulo 2^32 (no wrap up to 66051 elements), u32; s8 exact modulo 2^32 (no
 * wrap up to 131071 elements), s32; s16 exact, s64; u16 exact, u64; f32 summed in sixteen parts, f32.
 */
#ifndef VISORA_DOT_H
#define VISORA_DOT_H

#include "visora/set.h"

VSR_BEGIN_DECLARATIONS

/* ---- Two vectors ---- */

/** Dot product of two u8 vectors. */
VSR_API vsrStatus vsrDotProductu8(const uint8_t* src1, const uint8_t* src2, uint32_t length, uint32_t* result);

/** Dot product of two s8 vectors. */
VSR_API vsrStatus vsrDotProducts8(const int8_t* src1, const int8_t* src2, uint32_t length, int32_t* result);

/** Dot product of two u16 vectors. */
VSR_API vsrStatus vsrDotProductu16(const uint16_t* src1, const uint16_t* src2, uint32_t length, uint64_t* result);

/** Dot product of two s16 vectors. */
VSR_API vsrStatus vsrDotProducts16(const int16_t* src1, const int16_t* src2, uint32_t length, int64_t* result);

/** Dot product of two f32 vectors. */
VSR_API vsrStatus vsrDotProductf32(const float* src1, const float* src2, uint32_t length, float* result);

/* ---- One vector with a set ---- */

/** dst[i] = product of a u8 vector with vector i of a set. */
VSR_API vsrStatus vsrDotOneToManyu8(const uint8_t* query, uint32_t length, const uint8_t* set, uint32_t numVectors,
                                    uint32_t setStride, uint32_t* dst);

/** dst[i] = product of a s8 vector with vector i of a set. */
VSR_API vsrStatus vsrDotOneToManys8(const int8_t* query, uint32_t length, const int8_t* set, uint32_t numVectors,
                                    uint32_t setStride, int32_t* dst);

/** dst[i] = product of a s16 vector with vector i of a set. */
VSR_API vsrStatus vsrDotOneToManys16(const int16_t* query, uint32_t length, const int16_t* set, uint32_t numVectors,
                                     uint32_t setStride, int64_t* dst);

/** dst[i] = product of a f32 vector with vector i of a set. */
VSR_API vsrStatus vsrDotOneToManyf32(const float* query, uint32_t length, const float* set, uint32_t numVectors,
                                     uint32_t setStride, float* dst);

/* ---- One vector with listed ones of a set ---- */

/** dst[i] = product of a u8 vector with vector indices[i] of a set. */
VSR_API vsrStatus vsrDotIndexedu8(const uint8_t* query, uint32_t length, const uint8_t* set, uint32_t numVectors,
                                  uint32_t setStride, const uint32_t* indices, uint32_t numIndices, uint32_t* dst);

/** dst[i] = product of a s8 vector with vector indices[i] of a set. */
VSR_API vsrStatus vsrDotIndexeds8(const int8_t* query, uint32_t length, const int8_t* set, uint32_t numVectors,
                                  uint32_t setStride, const uint32_t* indices, uint32_t numIndices, int32_t* dst);

/** dst[i] = product of a f32 vector with vector indices[i] of a set. */
VSR_API vsrStatus vsrDotIndexedf32(const float* query, uint32_t length, const float* set, uint32_t numVectors,
                                   uint32_t setStride, const uint32_t* indices, uint32_t numIndices, float* dst);

/* ---- Set with set ---- */

/** Row i, column j of dst = product of u8 vector i of src1 with vector j of src2. */
VSR_API vsrStatus vsrDotMatrixu8(const uint8_t* src1, uint32_t length, uint32_t numVectors1, uint32_t src1Stride,
                                 const uint8_t* src2, uint32_t numVectors2, uint32_t src2Stride, uint32_t* dst,
                                 uint32_t dstStride);

/** Row i, column j of dst = product of s8 vector i of src1 with vector j of src2. */
VSR_API vsrStatus vsrDotMatrixs8(const int8_t* src1, uint32_t length, uint32_t numVectors1, uint32_t src1Stride,
                                 const int8_t* src2, uint32_t numVectors2, uint32_t src2Stride, int32_t* dst,
                                 uint32_t dstStride);

/** Row i, column j of dst = product of f32 vector i of src1 with vector j of src2. */
VSR_API vsrStatus vsrDotMatrixf32(const float* src1, uint32_t length, uint32_t numVectors1, uint32_t src1Stride,
                                  const float* src2, uint32_t numVectors2, uint32_t src2Stride, float* dst,
                                  uint32_t dstStride);

/* ---- The greatest product ---- */

/**
 * For each u8 query the vector of a set with the greatest product, of equal ones that of the lowest index, and the
 * product. Without a vector: VISORA_NO_MATCH and 0.
 */
VSR_API vsrStatus vsrDotNearestu8(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                                  const uint8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t* indices,
                                  uint32_t* values);

/**
 * For each s8 query the vector of a set with the greatest product, of equal ones that of the lowest index, and the
 * product. Without a vector: VISORA_NO_MATCH and 0.
 */
VSR_API vsrStatus vsrDotNearests8(const int8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                                  const int8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t* indices,
                                  int32_t* values);

/**
 * For each f32 query the vector of a set with the greatest product, of equal ones that of the lowest index, and the
 * product. A NaN never counts. Without a vector: VISORA_NO_MATCH and 0.
 */
VSR_API vsrStatus vsrDotNearestf32(const float* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                                   const float* set, uint32_t numVectors, uint32_t setStride, uint32_t* indices,
                                   float* values);

/* ---- Cosines ---- */

/** dst[i] = cosine of the angle between a f32 vector and vector i of a set, 0 when one of them has no length. */
VSR_API vsrStatus vsrDotNormedf32(const float* query, uint32_t length, const float* set, uint32_t numVectors,
                                  uint32_t setStride, float* dst);

/**
 * Cosines as vsrDotNormedf32 for u8 vectors: product * (1 / length of the query) * inverseLengths[i].
 * @param inverseLengths  one over the length of each vector of the set, 0 for those without
 */
VSR_API vsrStatus vsrDotNormedu8(const uint8_t* query, uint32_t length, const uint8_t* set, uint32_t numVectors,
                                 uint32_t setStride, const float* inverseLengths, float* dst);

/**
 * Cosines as vsrDotNormedf32 for s8 vectors: product * (1 / length of the query) * inverseLengths[i].
 * @param inverseLengths  one over the length of each vector of the set, 0 for those without
 */
VSR_API vsrStatus vsrDotNormeds8(const int8_t* query, uint32_t length, const int8_t* set, uint32_t numVectors,
                                 uint32_t setStride, const float* inverseLengths, float* dst);

/* ---- Patches of an image ---- */

/**
 * dst[k] = sum of the products of a packed patch of 8 x 8 pixels with the window whose top left pixel is
 * (4, 4) left of and above (xy[2 k], xy[2 k + 1]); 0 where the window is not all inside the image.
 */
VSR_API vsrStatus vsrDotPatch8x8u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   const uint8_t* patch, const uint32_t* xy, uint32_t nPoints, uint32_t* dst);

/**
 * dst[k] = sum of the products of a packed patch of 16 x 16 pixels with the window whose top left pixel is
 * (8, 8) left of and above (xy[2 k], xy[2 k + 1]); 0 where the window is not all inside the image.
 */
VSR_API vsrStatus vsrDotPatch16x16u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const uint8_t* patch, const uint32_t* xy, uint32_t nPoints, uint32_t* dst);

VSR_END_DECLARATIONS

#endif
