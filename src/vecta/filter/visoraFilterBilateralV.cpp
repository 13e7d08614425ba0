// Bilateral filters of bytes, vector variants.
#include "visora/variants/filter.h"

// With its byte permutations AVX-512 looks weights up in one or two steps.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterBilateralV.cpp"
#include <algorithm>
#include <array>

#include "cpu/filter/visoraFilterBilateral.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterProducts-inl.h"
#include "vecta/filter/visoraFilterWeights-inl.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

#ifndef VISORA_VECTA_BILATERAL_ONCE
#define VISORA_VECTA_BILATERAL_ONCE

namespace visora
{

/** What comes out of a bilateral filter goes there. */
struct BytesOut
{
    uint8_t* dst;
    size_t stride;
};

/** Pixels outside a window of N x N count 4 to a distance, in pairs of distances. */
constexpr size_t distancePairs(size_t radius)
{
    return ((2 * radius + 1) * (2 * radius + 1) - 1) / 8;
}

/** Differences from which on the weights are 0. */
inline size_t weightCount(const std::array<uint8_t, 256>& weights)
{
    size_t count = weights.size();
    while (count > 0 && weights[count - 1] == 0)
    {
        --count;
    }
    return count;
}

}  // namespace visora

#endif

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Weights that are 0 for differences from 128 on ----

// Four pixels q at one distance from p: weights times q - p and weights, which fit s16.
template <class V16>
struct FourPixels
{
    Columns<V16> products;
    Columns<V16> weights;
};

#if HWY_ARCH_X86
// Unsigned bytes times signed ones, each pair of neighbours added.
template <class D16, class V8>
HWY_INLINE hn::Vec<D16> sumsOfBytePairs(D16 /*d*/, V8 a, V8 b)
{
    using V16 = hn::Vec<D16>;
    if constexpr (sizeof(V16) == 16)
    {
        return V16{_mm_maddubs_epi16(a.raw, b.raw)};
    }
#if HWY_TARGET <= HWY_AVX2
    else if constexpr (sizeof(V16) == 32)
    {
        return V16{_mm256_maddubs_epi16(a.raw, b.raw)};
    }
#endif
#if HWY_TARGET <= HWY_AVX3
    else
    {
        return V16{_mm512_maddubs_epi16(a.raw, b.raw)};
    }
#endif
}
#endif

template <class D8, class V8, class Table>
HWY_INLINE auto fourPixels(D8 d8, V8 p, const uint8_t* const* at, size_t x, const Table& weightOf)
{
    const hn::Repartition<int16_t, D8> d16;
    const auto zero = hn::Zero(d16);
    FourPixels<hn::Vec<decltype(d16)>> four = {{zero, zero}, {zero, zero}};
#if HWY_ARCH_X86
    // Differences that do not fit a signed byte have weight 0.
    const auto one = hn::Set(d8, uint8_t{1});
    for (size_t k = 0; k < 4; k += 2)
    {
        const auto q0 = hn::LoadU(d8, at[k] + x);
        const auto q1 = hn::LoadU(d8, at[k + 1] + x);
        const auto w0 = weightOf(d8, distanceOf(d8, p, q0));
        const auto w1 = weightOf(d8, distanceOf(d8, p, q1));
        const auto d0 = hn::Sub(q0, p);
        const auto d1 = hn::Sub(q1, p);
        const auto low = hn::InterleaveLower(d8, w0, w1);
        const auto high = hn::InterleaveUpper(d8, w0, w1);
        four.products.first = hn::Add(four.products.first, sumsOfBytePairs(d16, low, hn::InterleaveLower(d8, d0, d1)));
        four.products.second =
            hn::Add(four.products.second, sumsOfBytePairs(d16, high, hn::InterleaveUpper(d8, d0, d1)));
        four.weights.first = hn::Add(four.weights.first, sumsOfBytePairs(d16, low, one));
        four.weights.second = hn::Add(four.weights.second, sumsOfBytePairs(d16, high, one));
    }
#else
    const auto centre = columnsOf(d16, p);
    for (size_t k = 0; k < 4; ++k)
    {
        const auto q = hn::LoadU(d8, at[k] + x);
        const auto w = columnsOf(d16, weightOf(d8, distanceOf(d8, p, q)));
        const auto wide = columnsOf(d16, q);
        four.products.first = hn::Add(four.products.first, hn::Mul(w.first, hn::Sub(wide.first, centre.first)));
        four.products.second = hn::Add(four.products.second, hn::Mul(w.second, hn::Sub(wide.second, centre.second)));
        four.weights.first = hn::Add(four.weights.first, w.first);
        four.weights.second = hn::Add(four.weights.second, w.second);
    }
#endif
    return four;
}

// A row of results: pixels at[4 k] .. at[4 k + 3] are at one distance, whose weights stand in pairs.
template <size_t radius, class D8, class Table>
HWY_INLINE void narrowRow(D8 d8, const uint8_t* centre, const uint8_t* const* at, const int32_t* pairs,
                          const Table& weightOf, size_t width, uint8_t* out)
{
    const hn::Repartition<int16_t, D8> d16;
    const hn::Repartition<int32_t, D8> d32;
    coverRange(0, width, hn::Lanes(d8),
               [&](size_t x) HWY_ATTR
               {
                   const auto p = hn::LoadU(d8, centre + x);
                   MeanSums sums(d32, 255 * 255);
                   for (size_t k = 0; k < distancePairs(radius); ++k)
                   {
                       const auto a = fourPixels(d8, p, at + 8 * k, x, weightOf);
                       const auto b = fourPixels(d8, p, at + 8 * k + 4, x, weightOf);
                       addDown(d32, a.products.first, b.products.first, pairs[k], sums.num[0]);
                       addDown(d32, a.products.second, b.products.second, pairs[k], sums.num[1]);
                       addDown(d32, a.weights.first, b.weights.first, pairs[k], sums.den[0]);
                       addDown(d32, a.weights.second, b.weights.second, pairs[k], sums.den[1]);
                   }
                   auto means = meansOf(d16, d32, sums);
                   const auto wide = columnsOf(d16, p);
                   means.first = hn::Add(means.first, wide.first);
                   means.second = hn::Add(means.second, wide.second);
                   hn::StoreU(bytesOf(d16, means), d8, out + x);
               });
}

template <size_t radius, size_t entries>
HWY_INLINE vsrStatus narrowBilateral(const WindowSource<uint8_t>& source, const BilateralWeights& weights, BytesOut out)
{
    PaddedRows<uint8_t> padded(source, squareReach(radius));
    if (!padded.ready())
    {
        return VISORA_ENOMEM;
    }
    // A pixel, and it turned by a quarter around the centre three times.
    struct Place
    {
        size_t column;
        size_t row;
    };
    constexpr size_t kPairs = distancePairs(radius);
    std::array<Place, 8 * kPairs> places;
    std::array<int32_t, kPairs> pairs = {};
    size_t count = 0;
    for (size_t j = 0; j <= radius; ++j)
    {
        for (size_t i = 1; i <= radius; ++i)
        {
            const int16_t weight = weights.ofDistance[j][i];
            int32_t& pair = pairs[count / 8];
            pair = count % 8 == 0 ? weight : tapPair(static_cast<int16_t>(pair), weight);
            places[count++] = {radius + i, radius + j};
            places[count++] = {radius - j, radius + i};
            places[count++] = {radius - i, radius - j};
            places[count++] = {radius + j, radius - i};
        }
    }
    const WeightTable<entries> table(weights.ofDifference);
    withFittingVector<uint8_t>(source.width,
                               [&](auto d8) HWY_ATTR
                               {
                                   std::array<const uint8_t*, 8 * distancePairs(radius)> at;
                                   for (size_t y = 0; y < source.height; ++y)
                                   {
                                       const uint8_t* const* rows = padded.around(y);
                                       for (size_t k = 0; k < at.size(); ++k)
                                       {
                                           at[k] = rows[places[k].row] + places[k].column - radius;
                                       }
                                       narrowRow<radius>(d8, rows[radius], at.data(), pairs.data(), table, source.width,
                                                         out.dst + y * out.stride);
                                   }
                               });
    return VISORA_SUCCESS;
}

// ---- Any weights ----

// Adds a row of a window, `taps` pixels from `guide` and `pixels` on, to sums of weights times pixel - 128.
template <class D8, class V8, class Table, class D32>
HWY_INLINE void addWindowRow(D8 d8, D32 d32, V8 p, const uint8_t* guide, const uint8_t* pixels, const int32_t* pairs,
                             size_t pairCount, const Table& weightOf, MeanSums<D32>& sums)
{
    const hn::Repartition<int16_t, D8> d16;
    const auto middle = hn::Set(d16, int16_t{128});
    for (size_t k = 0; k < pairCount; ++k)
    {
        const auto w0 = columnsOf(d16, weightOf(d8, distanceOf(d8, p, hn::LoadU(d8, guide + 2 * k))));
        const auto w1 = columnsOf(d16, weightOf(d8, distanceOf(d8, p, hn::LoadU(d8, guide + 2 * k + 1))));
        const auto q0 = columnsOf(d16, hn::LoadU(d8, pixels + 2 * k));
        const auto q1 = columnsOf(d16, hn::LoadU(d8, pixels + 2 * k + 1));
        const auto product = [&](auto w, auto q) HWY_ATTR { return hn::Mul(w, hn::Sub(q, middle)); };
        addDown(d32, product(w0.first, q0.first), product(w1.first, q1.first), pairs[k], sums.num[0]);
        addDown(d32, product(w0.second, q0.second), product(w1.second, q1.second), pairs[k], sums.num[1]);
        addDown(d32, w0.first, w1.first, pairs[k], sums.den[0]);
        addDown(d32, w0.second, w1.second, pairs[k], sums.den[1]);
    }
}

// The means of sixteen pixels, from sums of rows that 32 bits hold, one after the other.
class LargeMeans
{
  public:
    template <class D32>
    HWY_INLINE void add(D32 d32, const MeanSums<D32>& row)
    {
        const auto addTo = [&](std::array<int64_t, 16>& all, const WideSums<hn::Vec<D32>>* sums) HWY_ATTR
        {
            std::array<int32_t, 16> narrow;
            for (size_t i = 0; i < 2; ++i)
            {
                hn::StoreU(sums[i].first, d32, &narrow[8 * i]);
                hn::StoreU(sums[i].second, d32, &narrow[8 * i + 4]);
            }
            for (size_t i = 0; i < 16; ++i)
            {
                all[i] += narrow[i];
            }
        };
        addTo(num_, row.num);
        addTo(den_, row.den);
    }

    void store(uint8_t* out) const
    {
        for (size_t i = 0; i < 16; ++i)
        {
            out[i] = static_cast<uint8_t>((2 * (num_[i] + 128 * den_[i]) + den_[i]) / (2 * den_[i]));
        }
    }

  private:
    std::array<int64_t, 16> num_ = {};
    std::array<int64_t, 16> den_ = {};
};

template <size_t entries>
HWY_INLINE vsrStatus anyBilateral(const WindowSource<uint8_t>& source, const WindowSource<uint8_t>& guide,
                                  const BilateralWeights& weights, BytesOut out)
{
    // Pixels that are too far away for any weight are left out.
    size_t radius = weights.radius;
    while (radius > 0 && weights.ofDistance[0][radius] == 0)
    {
        --radius;
    }
    const size_t pairCount = radius + 1;
    PaddedRows<uint8_t> padded(source, squareReach(radius));
    PaddedRows<uint8_t> paddedGuide(guide, squareReach(radius));
    const Scratch scratch((radius + 1) * pairCount * sizeof(int32_t));
    if (!padded.ready() || !paddedGuide.ready() || !scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* pairs = scratch.as<int32_t>();
    for (size_t j = 0; j <= radius; ++j)
    {
        const auto weightAt = [&](size_t column)
        {
            const size_t distance = column < radius ? radius - column : column - radius;
            return column > 2 * radius ? int16_t{0} : int16_t{weights.ofDistance[j][distance]};
        };
        for (size_t k = 0; k < pairCount; ++k)
        {
            pairs[j * pairCount + k] = tapPair(weightAt(2 * k), weightAt(2 * k + 1));
        }
    }
    const WeightTable<entries> table(weights.ofDifference);
    const auto pass = [&](auto d8, auto finish) HWY_ATTR
    {
        for (size_t y = 0; y < source.height; ++y)
        {
            const uint8_t* const* rows = padded.around(y);
            const uint8_t* const* guideRows = paddedGuide.around(y);
            coverRange(0, source.width, hn::Lanes(d8),
                       [&](size_t x) HWY_ATTR
                       {
                           const auto p = hn::LoadU(d8, guideRows[radius] + x);
                           const auto addRow = [&](size_t j, auto& sums) HWY_ATTR
                           {
                               const hn::Repartition<int32_t, decltype(d8)> d32;
                               const size_t distance = j < radius ? radius - j : j - radius;
                               addWindowRow(d8, d32, p, guideRows[j] + x - radius, rows[j] + x - radius,
                                            pairs + distance * pairCount, pairCount, table, sums);
                           };
                           finish(d8, addRow, out.dst + y * out.stride + x);
                       });
        }
    };
    if (radius <= 7)
    {
        withFittingVector<uint8_t>(source.width,
                                   [&](auto d8) HWY_ATTR
                                   {
                                       pass(d8,
                                            [&](auto, auto addRow, uint8_t* to) HWY_ATTR
                                            {
                                                const hn::Repartition<int16_t, decltype(d8)> d16;
                                                const hn::Repartition<int32_t, decltype(d8)> d32;
                                                MeanSums sums(d32, 0);
                                                for (size_t j = 0; j <= 2 * radius; ++j)
                                                {
                                                    addRow(j, sums);
                                                }
                                                auto means = meansOf(d16, d32, sums);
                                                const auto middle = hn::Set(d16, int16_t{128});
                                                means.first = hn::Add(means.first, middle);
                                                means.second = hn::Add(means.second, middle);
                                                hn::StoreU(bytesOf(d16, means), d8, to);
                                            });
                                   });
    }
    else
    {
        pass(hn::CappedTag<uint8_t, 16>(),
             [&](auto d8, auto addRow, uint8_t* to) HWY_ATTR
             {
                 const hn::Repartition<int32_t, decltype(d8)> d32;
                 LargeMeans means;
                 for (size_t j = 0; j <= 2 * radius; ++j)
                 {
                     MeanSums sums(d32, 0);
                     addRow(j, sums);
                     means.add(d32, sums);
                 }
                 means.store(to);
             });
    }
    return VISORA_SUCCESS;
}

HWY_INLINE vsrStatus anyBilateral(const WindowSource<uint8_t>& source, const WindowSource<uint8_t>& guide,
                                  const BilateralWeights& weights, BytesOut out)
{
    return weightCount(weights.ofDifference) <= 128 ? anyBilateral<128>(source, guide, weights, out)
                                                    : anyBilateral<256>(source, guide, weights, out);
}

// ---- The operations ----

template <size_t radius>
HWY_INLINE vsrStatus bilateral(const WindowSource<uint8_t>& source, float sigmaSpace, float sigmaRange, BytesOut out)
{
    const BilateralWeights weights(2 * radius + 1, sigmaSpace, sigmaRange);
    // Weights that end below 128 are those of a sigma below 37: four times weight and difference is below 22000.
    const size_t count = weightCount(weights.ofDifference);
    return count <= 64    ? narrowBilateral<radius, 64>(source, weights, out)
           : count <= 128 ? narrowBilateral<radius, 128>(source, weights, out)
                          : anyBilateral(source, source, weights, out);
}

vsrStatus bilateral5x5(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float sigmaSpace,
                       float sigmaRange, uint8_t* dst, uint32_t dstStride)
{
    return srcWidth < 16
               ? vsrBilateralFilter5x5u8C(src, srcWidth, srcHeight, srcStride, sigmaSpace, sigmaRange, dst, dstStride)
               : bilateral<2>({src, srcWidth, srcHeight, srcStride}, sigmaSpace, sigmaRange, {dst, dstStride});
}

vsrStatus bilateral7x7(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float sigmaSpace,
                       float sigmaRange, uint8_t* dst, uint32_t dstStride)
{
    return srcWidth < 16
               ? vsrBilateralFilter7x7u8C(src, srcWidth, srcHeight, srcStride, sigmaSpace, sigmaRange, dst, dstStride)
               : bilateral<3>({src, srcWidth, srcHeight, srcStride}, sigmaSpace, sigmaRange, {dst, dstStride});
}

vsrStatus bilateral9x9(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float sigmaSpace,
                       float sigmaRange, uint8_t* dst, uint32_t dstStride, vsrBorderType borderType,
                       uint8_t borderValue)
{
    return srcWidth < 16 ? vsrBilateralFilter9x9u8C(src, srcWidth, srcHeight, srcStride, sigmaSpace, sigmaRange, dst,
                                                    dstStride, borderType, borderValue)
                         : bilateral<4>({src, srcWidth, srcHeight, srcStride, Surround(borderType, borderValue)},
                                        sigmaSpace, sigmaRange, {dst, dstStride});
}

vsrStatus bilateralJoint(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         const uint8_t* guide, uint32_t guideStride, uint32_t N, float sigmaSpace, float sigmaRange,
                         uint8_t* dst, uint32_t dstStride)
{
    return srcWidth < 16
               ? vsrBilateralFilterJointu8C(src, srcWidth, srcHeight, srcStride, guide, guideStride, N, sigmaSpace,
                                            sigmaRange, dst, dstStride)
               : anyBilateral({src, srcWidth, srcHeight, srcStride}, {guide, srcWidth, srcHeight, guideStride},
                              BilateralWeights(N, sigmaSpace, sigmaRange), {dst, dstStride});
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrBilateralFilter5x5u8, bilateral5x5);
VSR_VECTOR(vsrBilateralFilter7x7u8, bilateral7x7);
VSR_VECTOR(vsrBilateralFilter9x9u8, bilateral9x9);
VSR_VECTOR(vsrBilateralFilterJointu8, bilateralJoint);

#endif
