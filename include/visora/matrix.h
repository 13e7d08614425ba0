/**
 * @file
 * Small dense matrices of floats: products, inverses, linear equations, singular values.
 *
 * Common to all: matrices are stored row by row; sizes are rows, then columns, at least 1. Strides are in bytes, 0 for
 * packed rows, and cut to whole floats. Nothing is contracted and every sum has a fixed order, so results are the same
 * bits on every processor. NaN and infinity pass through unless it says otherwise; a NaN is stored as 0x7FC00000.
 * Results: 0; VISORA_EBADPARAM, with nothing written, for a null pointer, a size of 0, a stride below a row, or a
 * matrix that is to be written where another one of the call begins (unless it says otherwise); VISORA_EFAIL where
 * there is no solution and VISORA_ENOMEM without scratch memory, both with the destination untouched.
 */
#ifndef VISORA_MATRIX_H
#define VISORA_MATRIX_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Cross product of two vectors of 3 floats: (a1 b2 - a2 b1, a2 b0 - a0 b2, a0 b1 - a1 b0).
 * @param dst  3 floats; may be a source
 */
VSR_API vsrStatus vsrCrossProduct3x1f32(const float* src1, const float* src2, float* dst);

/**
 * Product of a matrix of rows1 x columns1 and one of columns1 x columns2. Product k of an element goes to sum k mod 4
 * of four; the element is (s0 + s1) + (s2 + s3). Scratch memory: up to 128 bytes for each of columns1.
 * @param dst  rows1 x columns2
 */
VSR_API vsrStatus vsrMatrixMultiplyf32(const float* src1, uint32_t rows1, uint32_t columns1, uint32_t src1Stride,
                                       const float* src2, uint32_t columns2, uint32_t src2Stride, float* dst,
                                       uint32_t dstStride);

/**
 * Inverse of a matrix of n x n by Gauss-Jordan elimination with row pivoting. n steps, which a pivot of 0 ends; scratch
 * memory is 8 n (n + 16) bytes at most.
 * @param dst  n x n; may be src with an equal stride
 * @return VISORA_EFAIL when a pivot is 0
 */
VSR_API vsrStatus vsrInvertMatrixf32(const float* src, uint32_t n, uint32_t srcStride, float* dst, uint32_t dstStride);

/**
 * Solves A x = b for a matrix of n x n by LU decomposition with row pivoting. n steps, which a pivot of 0 ends; scratch
 * memory is 4 n (n + 16) bytes at most.
 * @param b  n floats
 * @param x  n floats; may be b
 * @return VISORA_EFAIL when a pivot is 0
 */
VSR_API vsrStatus vsrSolveLUf32(const float* A, uint32_t n, uint32_t stride, const float* b, float* x);

/**
 * The x for which |A x - b| is least, by Householder reflections, one for each column. Scratch memory is about
 * 8 rows (columns + 8) bytes.
 * @param rows  at least `columns`, else VISORA_EBADPARAM
 * @param b     `rows` floats
 * @param x     `columns` floats; may be b
 * @return VISORA_EFAIL when a column is nothing but a combination of those before it, as far as floats can tell
 */
VSR_API vsrStatus vsrSolveQRf32(const float* A, uint32_t rows, uint32_t columns, uint32_t stride, const float* b,
                                float* x);

/**
 * Singular value decomposition A = U diag(w) Vt by one-sided Jacobi turns (M. Hestenes, 1958) of A, or of its transpose
 * where that has fewer columns. With r the lesser of rows and columns, U has orthonormal columns and Vt orthonormal
 * rows, to about 1e-5, also for singular values of 0; U diag(w) Vt is A to about 1e-5 of w[0]. Where cancellation
 * leaves a value that is not 0 but below 2^-50 of w[0], whose square is too small for floats, the columns of U (rows of
 * Vt, where rows < columns) of that value and of those behind it may be neither orthogonal nor of length 1. At most 30
 * sweeps over the r (r - 1) / 2 pairs of columns are made, which bounds the time; scratch memory is about
 * 4 r (rows + columns) bytes. Elements that are not finite are refused.
 * @param w   r floats, in descending order
 * @param U   rows x r
 * @param Vt  r x columns
 */
VSR_API vsrStatus vsrSVDf32(const float* src, uint32_t rows, uint32_t columns, uint32_t srcStride, float* w, float* U,
                            uint32_t uStride, float* Vt, uint32_t vtStride);

VSR_END_DECLARATIONS

#endif
