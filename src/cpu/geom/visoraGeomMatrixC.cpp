// Products, inverses, linear equations and singular values, reference variants.
#include "cpu/geom/visoraGeomElimination.h"
#include "cpu/geom/visoraGeomSvd.h"
#include "visora/variants/geom.h"

using visora::imageRow;
using visora::standardNaN;

namespace
{

struct PlainRows
{
    void scale(float* row, float factor, size_t count) const
    {
        std::transform(row, row + count, row, [=](float v) { return v * factor; });
    }
    void addScaled(float* to, const float* from, float factor, size_t count) const
    {
        std::transform(to, to + count, from, to, [=](float a, float b) { return a + factor * b; });
    }
    void subtractScaled(float* to, const float* from, float factor, size_t count) const
    {
        std::transform(to, to + count, from, to, [=](float a, float b) { return a - factor * b; });
    }
};

}  // namespace

vsrStatus vsrCrossProduct3x1f32C(const float* src1, const float* src2, float* dst)
{
    const float product[] = {src1[1] * src2[2] - src1[2] * src2[1], src1[2] * src2[0] - src1[0] * src2[2],
                             src1[0] * src2[1] - src1[1] * src2[0]};
    std::transform(product, product + 3, dst, [](float v) { return standardNaN(v); });
    return VISORA_SUCCESS;
}

vsrStatus vsrMatrixMultiplyf32C(const float* src1, uint32_t rows1, uint32_t columns1, uint32_t src1Stride,
                                const float* src2, uint32_t columns2, uint32_t src2Stride, float* dst,
                                uint32_t dstStride)
{
    for (uint32_t i = 0; i < rows1; ++i)
    {
        const float* row = imageRow(src1, src1Stride, i);
        for (uint32_t j = 0; j < columns2; ++j)
        {
            float sums[4] = {};
            for (uint32_t k = 0; k < columns1; ++k)
            {
                sums[k % 4] += row[k] * imageRow(src2, src2Stride, k)[j];
            }
            imageRow(dst, dstStride, i)[j] = standardNaN((sums[0] + sums[1]) + (sums[2] + sums[3]));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrInvertMatrixf32C(const float* src, uint32_t n, uint32_t srcStride, float* dst, uint32_t dstStride)
{
    return visora::invertMatrix(PlainRows(), src, n, srcStride, dst, dstStride);
}

vsrStatus vsrSolveLUf32C(const float* A, uint32_t n, uint32_t stride, const float* b, float* x)
{
    return visora::solveLU(PlainRows(), A, n, stride, b, x);
}

vsrStatus vsrSolveQRf32C(const float* A, uint32_t rows, uint32_t columns, uint32_t stride, const float* b, float* x)
{
    return visora::solveQR(PlainRows(), A, rows, columns, stride, b, x);
}

vsrStatus vsrSVDf32C(const float* src, uint32_t rows, uint32_t columns, uint32_t srcStride, float* w, float* U,
                     uint32_t uStride, float* Vt, uint32_t vtStride)
{
    return visora::decompose(visora::PlainColumns<float>(), src, rows, columns, srcStride, w, U, uStride, Vt, vtStride);
}
