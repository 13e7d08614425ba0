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
        overTurned(a, b, cosine, sine, count, [](size_t, size_t, auto, auto) HWY_ATTR {});
    }

    // All in one pass.
    TurnedSums<float> turnAndSum(float* a, float* b, const float* third, float cosine, float sine, size_t count) const
    {
        return third ? turnAndSum<true>(a, b, third, cosine, sine, count)
                     : turnAndSum<false>(a, b, third, cosine, sine, count);
    }

  private:
    static constexpr size_t kLanes = hn::MaxLanes(PartialLanes<float>());
    static constexpr size_t kVectors = kPartials / kLanes;
    using Vector = hn::Vec<PartialLanes<float>>;

    // Calls body(i, k, a, b) for vectors of turned elements, i being their place and k the one among partial sums.
    template <class Body>
    static HWY_INLINE void overTurned(float* a, float* b, float cosine, float sine, size_t count, Body body)
    {
        const PartialLanes<float> d;
        const auto c = hn::Set(d, cosine);
        const auto s = hn::Set(d, sine);
        for (size_t i = 0; i < count; i += kPartials)
        {
            for (size_t k = 0; k < kVectors; ++k)
            {
                const size_t at = i + k * kLanes;
                const auto x = hn::LoadU(d, a + at);
                const auto y = hn::LoadU(d, b + at);
                const auto newX = hn::Sub(hn::Mul(c, x), hn::Mul(s, y));
                const auto newY = hn::Add(hn::Mul(s, x), hn::Mul(c, y));
                hn::StoreU(newX, d, a + at);
                hn::StoreU(newY, d, b + at);
                body(at, k, newX, newY);
            }
        }
    }

    template <bool hasThird>
    static HWY_INLINE TurnedSums<float> turnAndSum(float* a, float* b, const float* third, float cosine, float sine,
                                                   size_t count)
    {
        const PartialLanes<float> d;
        Vector aa[kVectors];
        Vector bb[kVectors];
        Vector ac[kVectors];
        for (size_t k = 0; k < kVectors; ++k)
        {
            aa[k] = bb[k] = ac[k] = hn::Zero(d);
        }
        overTurned(a, b, cosine, sine, count,
                   [&](size_t at, size_t k, auto newX, auto newY) HWY_ATTR
                   {
                       aa[k] = hn::Add(aa[k], hn::Mul(newX, newX));
                       bb[k] = hn::Add(bb[k], hn::Mul(newY, newY));
                       if constexpr (hasThird)
                       {
                           ac[k] = hn::Add(ac[k], hn::Mul(newX, hn::LoadU(d, third + at)));
                       }
                   });
        return {sumOfPartialVectors(aa), sumOfPartialVectors(bb), hasThird ? sumOfPartialVectors(ac) : 0};
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
