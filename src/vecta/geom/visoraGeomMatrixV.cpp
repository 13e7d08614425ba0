// Products and singular values, vector variants. Lanes are elements of a row.
#include <algorithm>

#include "cpu/geom/visoraGeomSvd.h"
#include "visora/variants/geom.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/geom/visoraGeomMatrixV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/geom/visoraGeomSums-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Product ----

constexpr size_t kRows = 4;     // of the product at a time
constexpr size_t kVectors = 2;  // of its columns at a time

// Columns of the second factor, as many as there are in kVectors vectors: rows 0, 4, 8, ... first, then 1, 5, 9, ...;
// what is missing on the right is 0.
HWY_INLINE void packColumns(const float* src2, size_t rows, size_t columns, uint32_t stride, size_t width, float* panel)
{
    for (size_t residue = 0; residue < 4; ++residue)
    {
        for (size_t k = residue; k < rows; k += 4, panel += width)
        {
            const float* from = imageRow(src2, stride, static_cast<uint32_t>(k));
            std::copy_n(from, columns, panel);
            std::fill(panel + columns, panel + width, 0.0F);
        }
    }
}

// Rows of the product in the columns of a panel. One of the four sums of all elements after the other.
template <size_t rowCount, class D>
HWY_INLINE void multiplyRows(D d, const float* const (&rows)[kRows], size_t length, const float* panel,
                             float (&results)[kRows][kVectors * hn::MaxLanes(D())])
{
    using V = hn::Vec<D>;
    const size_t lanes = hn::Lanes(d);
    V pairs[rowCount][kVectors];  // of sums
    std::fill_n(&pairs[0][0], rowCount * kVectors, hn::Zero(d));
    for (size_t residue = 0; residue < 4; ++residue)
    {
        V sums[rowCount][kVectors];
        for (size_t r = 0; r < rowCount; ++r)
        {
            for (size_t v = 0; v < kVectors; ++v)
            {
                sums[r][v] = hn::Zero(d);
            }
        }
        for (size_t k = residue; k < length; k += 4, panel += kVectors * lanes)
        {
            const V first = hn::LoadU(d, panel);
            const V second = hn::LoadU(d, panel + lanes);
            for (size_t r = 0; r < rowCount; ++r)
            {
                const V factor = hn::Set(d, rows[r][k]);
                sums[r][0] = hn::Add(sums[r][0], hn::Mul(factor, first));
                sums[r][1] = hn::Add(sums[r][1], hn::Mul(factor, second));
            }
        }
        for (size_t r = 0; r < rowCount; ++r)
        {
            for (size_t v = 0; v < kVectors; ++v)
            {
                float* const result = results[r] + v * lanes;
                const V sum = sums[r][v];
                switch (residue)
                {
                    case 1:
                        hn::StoreU(hn::Add(pairs[r][v], sum), d, result);
                        break;
                    case 3:
                        hn::StoreU(withOneNan(d, hn::Add(hn::LoadU(d, result), hn::Add(pairs[r][v], sum))), d, result);
                        break;
                    default:
                        pairs[r][v] = sum;
                }
            }
        }
    }
}

bool multiply(const float* src1, uint32_t rows1, uint32_t columns1, uint32_t src1Stride, const float* src2,
              uint32_t columns2, uint32_t src2Stride, float* dst, uint32_t dstStride)
{
    const hn::CappedTag<float, 16> d;
    const size_t width = kVectors * hn::Lanes(d);
    constexpr size_t kSmall = 1024;
    HWY_ALIGN float small[kSmall];
    const size_t panelSize = width * columns1;
    const Scratch scratch(panelSize <= kSmall ? 1 : panelSize * sizeof(float));
    float* const panel = panelSize <= kSmall ? small : scratch.as<float>();
    if (!panel)
    {
        return false;
    }
    HWY_ALIGN float results[kRows][kVectors * hn::MaxLanes(d)];
    for (size_t x = 0; x < columns2; x += width)
    {
        const size_t columns = std::min(width, columns2 - x);
        packColumns(src2 + x, columns1, columns, src2Stride, width, panel);
        for (uint32_t y = 0; y < rows1; y += kRows)
        {
            const uint32_t rowCount = std::min<uint32_t>(kRows, rows1 - y);
            const float* rows[kRows];
            for (uint32_t r = 0; r < kRows; ++r)
            {
                rows[r] = imageRow(src1, src1Stride, std::min(y + r, rows1 - 1));
            }
            if (rowCount == 1)
            {
                multiplyRows<1>(d, rows, columns1, panel, results);
            }
            else
            {
                multiplyRows<kRows>(d, rows, columns1, panel, results);
            }
            for (uint32_t r = 0; r < rowCount; ++r)
            {
                std::copy_n(results[r], columns, imageRow(dst, dstStride, y + r) + x);
            }
        }
    }
    return true;
}

// ---- Singular values ----

// Columns have zeros behind their elements up to a multiple of 16, which stay zeros.
struct VectorColumns
{
    float dot(const float* a, const float* b, size_t count) const
    {
        return dotOfWhole(a, b, (count + kPartials - 1) / kPartials * kPartials);
    }

    void turn(float* a, float* b, float cosine, float sine, size_t count) const
    {
        const PartialLanes<float> d;
        const auto c = hn::Set(d, cosine);
        const auto s = hn::Set(d, sine);
        for (size_t i = 0; i < count; i += hn::Lanes(d))
        {
            const auto x = hn::LoadU(d, a + i);
            const auto y = hn::LoadU(d, b + i);
            hn::StoreU(hn::Sub(hn::Mul(c, x), hn::Mul(s, y)), d, a + i);
            hn::StoreU(hn::Add(hn::Mul(s, x), hn::Mul(c, y)), d, b + i);
        }
    }
};

vsrStatus decomposeMatrix(const float* src, uint32_t rows, uint32_t columns, uint32_t srcStride, float* w, float* U,
                          uint32_t uStride, float* Vt, uint32_t vtStride)
{
    return decompose(VectorColumns(), src, rows, columns, srcStride, w, U, uStride, Vt, vtStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrMatrixMultiplyf32, multiply);
VSR_VECTOR(vsrSVDf32, decomposeMatrix);

#endif
