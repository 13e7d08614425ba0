// Products, inverses, linear equations and singular values, reference variants.
#include "cpu/geom/visoraGeomElimination.h"
#include "cpu/geom/visoraGeomSvd.h"
#include "visora/variants/geom.h"

using visora::Equations;
using visora::imageRow;
using visora::standardNaN;

namespace
{

// to[j] -= factor * from[j] in `count` columns from `first` on.
void subtractScaled(float* to, const float* from, float factor, size_t first, size_t count)
{
    for (size_t j = first; j < first + count; ++j)
    {
        to[j] -= factor * from[j];
    }
}

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

// Elements of A left of the pivot's column are never looked at again, so they are left as they are.
vsrStatus vsrInvertMatrixf32C(const float* src, uint32_t n, uint32_t srcStride, float* dst, uint32_t dstStride)
{
    const Equations rows(src, n, n, srcStride, n);
    if (!rows)
    {
        return VISORA_ENOMEM;
    }
    for (size_t i = 0; i < n; ++i)
    {
        rows[i][n + i] = 1;
    }
    for (size_t k = 0; k < n; ++k)
    {
        if (!rows.usePivot(k, rows.findPivot(k, n)))
        {
            return VISORA_EFAIL;
        }
        const float inverse = 1 / rows[k][k];
        std::transform(rows[k] + k + 1, rows[k] + rows.width(), rows[k] + k + 1, [=](float v) { return v * inverse; });
        for (size_t i = 0; i < n; ++i)
        {
            if (i != k)
            {
                subtractScaled(rows[i], rows[k], rows[i][k], k + 1, rows.width() - (k + 1));
            }
        }
    }
    for (uint32_t i = 0; i < n; ++i)
    {
        std::transform(rows[i] + n, rows[i] + size_t{2} * n, imageRow(dst, dstStride, i),
                       [](float v) { return standardNaN(v); });
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrSolveLUf32C(const float* A, uint32_t n, uint32_t stride, const float* b, float* x)
{
    const Equations rows(A, n, n, stride, 1);
    if (!rows)
    {
        return VISORA_ENOMEM;
    }
    rows.setRight(n, n, b);
    for (size_t k = 0; k < n; ++k)
    {
        if (!rows.usePivot(k, rows.findPivot(k, n)))
        {
            return VISORA_EFAIL;
        }
        const float inverse = 1 / rows[k][k];
        for (size_t i = k + 1; i < n; ++i)
        {
            subtractScaled(rows[i], rows[k], rows[i][k] * inverse, k + 1, n - k);
        }
        rows[k][k] = inverse;
    }
    visora::substituteBack(rows, n, x, [&](float sum, size_t i) { return sum * rows[i][i]; });
    return VISORA_SUCCESS;
}

vsrStatus vsrSolveQRf32C(const float* A, uint32_t rowCount, uint32_t n, uint32_t stride, const float* b, float* x)
{
    const Equations rows(A, rowCount, n, stride, 1);
    const visora::Scratch scratch((size_t{n} + 1) * sizeof(float));
    auto* const sums = scratch.as<float>();
    if (!rows || !sums)
    {
        return VISORA_ENOMEM;
    }
    rows.setRight(rowCount, n, b);
    for (size_t k = 0; k < n; ++k)
    {
        float square = 0;
        for (size_t i = k; i < rowCount; ++i)
        {
            square += rows[i][k] * rows[i][k];
        }
        const float length = std::sqrt(square);
        if (!(length > 0))
        {
            return VISORA_EFAIL;
        }
        const float p = rows[k][k];
        const float beta = 1 / (length * (length + std::fabs(p)));
        const float diagonal = p > 0 ? -length : length;
        rows[k][k] = p - diagonal;
        // The later columns and the right side together.
        std::fill_n(sums, size_t{n} + 1, 0.0F);
        for (size_t i = k; i < rowCount; ++i)
        {
            for (size_t j = k + 1; j <= n; ++j)
            {
                sums[j] += rows[i][k] * rows[i][j];
            }
        }
        std::transform(sums + k + 1, sums + n + 1, sums + k + 1, [=](float sum) { return sum * beta; });
        for (size_t i = k; i < rowCount; ++i)
        {
            subtractScaled(rows[i], sums, rows[i][k], k + 1, n - k);
        }
        rows[k][k] = diagonal;
    }
    visora::substituteBack(rows, n, x, [&](float sum, size_t i) { return sum / rows[i][i]; });
    return VISORA_SUCCESS;
}

vsrStatus vsrSVDf32C(const float* src, uint32_t rows, uint32_t columns, uint32_t srcStride, float* w, float* U,
                     uint32_t uStride, float* Vt, uint32_t vtStride)
{
    return visora::decompose(visora::PlainColumns<float>(), src, rows, columns, srcStride, w, U, uStride, Vt, vtStride);
}
