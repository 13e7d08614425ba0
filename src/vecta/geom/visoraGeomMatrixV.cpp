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
class VectorColumns
{
  public:
    float dot(const float* a, const float* b, size_t count) const
    {
        return dotOfWhole(a, b, (count + kPartials - 1) / kPartials * kPartials);
    }

    /**
     * As PlainColumns, in another order: pairs (p, q) with one sum of p and q have no column in common, and each needs
     * what those of lower sums made, so that none waits for its neighbour.
     */
    void orthogonalise(Columns<float> a, size_t m, Columns<float> v, size_t n, float* w) const
    {
        for (size_t k = 0; k < n; ++k)
        {
            w[k] = dot(a[k], a[k], m);
        }
        float* const next = w + n;  // products of column p with the one whose turn is next
        bool hasTurned = n > 1;
        for (int sweep = 0; sweep < Turn<float>::kMaxSweeps && hasTurned; ++sweep)
        {
            hasTurned = false;
            for (size_t sum = 1; sum <= 2 * n - 3; ++sum)
            {
                for (size_t p = sum < n ? 0 : sum - (n - 1); 2 * p < sum; ++p)
                {
                    const size_t q = sum - p;
                    const float G = q > p + 1 ? next[p] : dot(a[p], a[q], m);
                    // The pair (p - 1, q + 1) was turned before this one.
                    const float* const third = q + 1 < n ? a[q + 1] : a[p];
                    if (!Turn<float>::isNeeded(w[p], w[q], G))
                    {
                        next[p] = dot(a[p], third, m);
                        continue;
                    }
                    const Turn<float> by(w[p], w[q], G);
                    turnAndSum(a[p], a[q], third, by, m, w[p], w[q], next[p]);
                    turned(v[p], v[q], by, n, [](size_t, size_t, auto, auto) HWY_ATTR {});
                    hasTurned = true;
                }
            }
        }
    }

  private:
    static constexpr size_t kLanes = hn::MaxLanes(PartialLanes<float>());
    static constexpr size_t kVectors = kPartials / kLanes;
    using Vector = hn::Vec<PartialLanes<float>>;

    // Calls body(i, k, a, b) for vectors of turned elements, i being their place and k the one among partial sums.
    template <class Body>
    static HWY_INLINE void turned(float* a, float* b, Turn<float> by, size_t count, Body body)
    {
        const PartialLanes<float> d;
        const auto c = hn::Set(d, by.c);
        const auto s = hn::Set(d, by.s);
        for (size_t i = 0; i < count; i += kPartials)
        {
            for (size_t k = 0; k < kVectors; ++k)
            {
                const size_t at = i + k * kLanes;
                const auto x = hn::LoadU(d, a + at);
                const auto y = hn::LoadU(d, b + at);
                const auto newA = hn::Sub(hn::Mul(c, x), hn::Mul(s, y));
                const auto newB = hn::Add(hn::Mul(s, x), hn::Mul(c, y));
                hn::StoreU(newA, d, a + at);
                hn::StoreU(newB, d, b + at);
                body(at, k, newA, newB);
            }
        }
    }

    // The sums are those of a's and b's squares and of a's products with a third column, after the turn.
    static HWY_INLINE void turnAndSum(float* a, float* b, const float* third, Turn<float> by, size_t count, float& aa,
                                      float& bb, float& ac)
    {
        const PartialLanes<float> d;
        Vector aSums[kVectors];
        Vector bSums[kVectors];
        Vector products[kVectors];
        for (size_t k = 0; k < kVectors; ++k)
        {
            aSums[k] = bSums[k] = products[k] = hn::Zero(d);
        }
        turned(a, b, by, count,
               [&](size_t at, size_t k, auto newA, auto newB) HWY_ATTR
               {
                   aSums[k] = hn::Add(aSums[k], hn::Mul(newA, newA));
                   bSums[k] = hn::Add(bSums[k], hn::Mul(newB, newB));
                   products[k] = hn::Add(products[k], hn::Mul(newA, hn::LoadU(d, third + at)));
               });
        aa = sumOfPartialVectors(aSums);
        bb = sumOfPartialVectors(bSums);
        ac = sumOfPartialVectors(products);
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
