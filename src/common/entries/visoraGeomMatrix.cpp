// Entry points of the matrices.
#include "common/entries/visoraGeomEntries.h"
#include "visora/variants/geom.h"

using visora::In;
using visora::kInPlace;
using visora::Numbers;
using visora::Out;
using visora::Result;

vsrStatus vsrCrossProduct3x1f32(const float* src1, const float* src2, float* dst)
{
    return VSR_CALL(vsrCrossProduct3x1f32, Numbers(src1), Numbers(src2), Numbers(dst)).run(src1, src2, dst);
}

vsrStatus vsrMatrixMultiplyf32(const float* src1, uint32_t rows1, uint32_t columns1, uint32_t src1Stride,
                               const float* src2, uint32_t columns2, uint32_t src2Stride, float* dst,
                               uint32_t dstStride)
{
    const In in1(src1, columns1, rows1, src1Stride);
    const In in2(src2, columns2, columns1, src2Stride);
    const Out out(dst, columns2, rows1, dstStride);
    return VSR_CALL(vsrMatrixMultiplyf32, in1, in2, out)
        .run(src1, rows1, columns1, in1.stride(), src2, columns2, in2.stride(), dst, out.stride());
}

vsrStatus vsrInvertMatrixf32(const float* src, uint32_t n, uint32_t srcStride, float* dst, uint32_t dstStride)
{
    const In in(src, n, n, srcStride);
    const Out out(dst, n, n, dstStride, kInPlace);
    return VSR_CALL(vsrInvertMatrixf32, in, out).run(src, n, in.stride(), dst, out.stride());
}

vsrStatus vsrSolveLUf32(const float* A, uint32_t n, uint32_t stride, const float* b, float* x)
{
    const In in(A, n, n, stride);
    return VSR_CALL(vsrSolveLUf32, in, Numbers(b), Numbers(x)).require(x != A).run(A, n, in.stride(), b, x);
}

vsrStatus vsrSolveQRf32(const float* A, uint32_t rows, uint32_t columns, uint32_t stride, const float* b, float* x)
{
    const In in(A, columns, rows, stride);
    return VSR_CALL(vsrSolveQRf32, in, Numbers(b), Numbers(x))
        .require(x != A && rows >= columns)
        .run(A, rows, columns, in.stride(), b, x);
}

vsrStatus vsrSVDf32(const float* src, uint32_t rows, uint32_t columns, uint32_t srcStride, float* w, float* U,
                    uint32_t uStride, float* Vt, uint32_t vtStride)
{
    const uint32_t r = rows < columns ? rows : columns;
    const In in(src, columns, rows, srcStride);
    const Result values(w, r);
    const Out left(U, r, rows, uStride);
    const Out right(Vt, columns, r, vtStride);
    const auto isFinite = [&]
    {
        for (size_t y = 0; y < rows; ++y)
        {
            if (!visora::areFinite(src + y * (in.stride() / sizeof(float)), columns))
            {
                return false;
            }
        }
        return true;
    };
    // A DSP gets matrices of any size.
    return VSR_CALL(vsrSVDf32, Numbers(src), Numbers(w), Numbers(U), Numbers(Vt))
        .require(visora::areSoundAnd(isFinite, in, values, left, right))
        .run(src, rows, columns, in.stride(), w, U, left.stride(), Vt, right.stride());
}
