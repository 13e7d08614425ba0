// Histograms, vector variants.
#include "visora/variants/arithmetic.h"
#include "visora/variants/statistics.h"
#include "visora/variants/track.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/histogram/visoraHistogramV.cpp"
#include <algorithm>
#include <array>
#include <tuple>

#include "cpu/histogram/visoraHistogramDistance.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/histogram/visoraHistogramPairs.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Doubles = hn::CappedTag<double, 8>;

// The terms of a method for vectors of bins, in the order of its sums. Each sum takes as many registers as there are
// vectors at once.
struct CorrelationTerms
{
    template <class V>
    static HWY_INLINE std::array<V, 5> of(V u, V v)
    {
        return {u, v, hn::Mul(u, u), hn::Mul(v, v), hn::Mul(u, v)};
    }
};

struct ChiSquareTerms
{
    template <class V>
    static HWY_INLINE std::array<V, 1> of(V u, V v)
    {
        const auto difference = hn::Sub(u, v);
        const auto counts = hn::Gt(hn::Abs(u), hn::Set(Doubles(), kTinyBin));
        return {hn::IfThenElseZero(counts, hn::Div(hn::Mul(difference, difference), u))};
    }
};

struct IntersectionTerms
{
    template <class V>
    static HWY_INLINE std::array<V, 1> of(V u, V v)
    {
        return {hn::IfThenElse(hn::Lt(v, u), v, u)};
    }
};

struct BhattacharyyaTerms
{
    template <class V>
    static HWY_INLINE std::array<V, 3> of(V u, V v)
    {
        return {u, v, hn::Sqrt(hn::Mul(u, v))};
    }
};

// Adds whole sixteens of bins to the sums: a few of the sixteen partial sums at a time, which stay in registers.
template <class Terms>
HWY_INLINE void addBins(const float* a, const float* b, size_t sixteens, DistanceSums& sums)
{
    using V = hn::Vec<Doubles>;
    const Doubles d;
    const hn::Rebind<float, Doubles> dFloat;
    constexpr size_t kLanes = hn::MaxLanes(Doubles());
    constexpr size_t kAtOnce = std::min<size_t>(16 / kLanes, HWY_TARGET == HWY_AVX2 ? 2 : 4);
    constexpr size_t kSums = std::tuple_size_v<decltype(Terms::of(V(), V()))>;
    for (size_t first = 0; first < 16; first += kAtOnce * kLanes)
    {
        V partial[kSums][kAtOnce];
        for (size_t k = 0; k < kSums; ++k)
        {
            for (size_t i = 0; i < kAtOnce; ++i)
            {
                partial[k][i] = hn::Load(d, sums[k].partial.data() + first + i * kLanes);
            }
        }
        for (size_t at = first; at < 16 * sixteens; at += 16)
        {
            for (size_t i = 0; i < kAtOnce; ++i)
            {
                const auto terms = Terms::of(hn::PromoteTo(d, hn::LoadU(dFloat, a + at + i * kLanes)),
                                             hn::PromoteTo(d, hn::LoadU(dFloat, b + at + i * kLanes)));
                for (size_t k = 0; k < kSums; ++k)
                {
                    partial[k][i] = hn::Add(partial[k][i], terms[k]);
                }
            }
        }
        for (size_t k = 0; k < kSums; ++k)
        {
            for (size_t i = 0; i < kAtOnce; ++i)
            {
                hn::Store(partial[k][i], d, sums[k].partial.data() + first + i * kLanes);
            }
        }
    }
}

template <class Terms>
HWY_INLINE float distanceByTerms(uint32_t method, const float* histogram1, const float* histogram2, uint32_t count)
{
    DistanceSums sums;
    const size_t rest = count % 16;
    const size_t whole = count - rest;
    addBins<Terms>(histogram1, histogram2, whole / 16, sums);
    if (rest != 0)
    {
        // Empty bins add +0 to whatever is summed.
        float a[16] = {};
        float b[16] = {};
        std::copy_n(histogram1 + whole, rest, a);
        std::copy_n(histogram2 + whole, rest, b);
        addBins<Terms>(a, b, 1, sums);
    }
    return distanceOf(method, count, sums);
}

vsrStatus histogramDistance(const float* histogram1, const float* histogram2, uint32_t count, uint32_t method,
                            float* distance)
{
    switch (method)
    {
        case VISORA_HISTOGRAM_CORRELATION:
            *distance = distanceByTerms<CorrelationTerms>(method, histogram1, histogram2, count);
            break;
        case VISORA_HISTOGRAM_CHI_SQUARE:
            *distance = distanceByTerms<ChiSquareTerms>(method, histogram1, histogram2, count);
            break;
        case VISORA_HISTOGRAM_INTERSECTION:
            *distance = distanceByTerms<IntersectionTerms>(method, histogram1, histogram2, count);
            break;
        default:
            *distance = distanceByTerms<BhattacharyyaTerms>(method, histogram1, histogram2, count);
    }
    return VISORA_SUCCESS;
}

vsrStatus intensityHistogram(const uint8_t* src, uint32_t /*srcWidth*/, uint32_t /*srcHeight*/, uint32_t srcStride,
                             uint32_t left, uint32_t top, uint32_t width, uint32_t height, uint32_t* histogram)
{
    const uint8_t* const rectangle = src + size_t{top} * srcStride + left;
    std::ranges::copy(histogramByPairs(rectangle, width, height, srcStride), histogram);
    return VISORA_SUCCESS;
}

vsrStatus equalizeHistogram(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride)
{
    const Histogram histogram = histogramByPairs(src, srcWidth, srcHeight, srcStride);
    const ByteTable table = equalizingTable(histogram, srcWidth * srcHeight);
    return vsrTableLookupu8V(src, srcWidth, srcHeight, srcStride, table.data(), dst, dstStride);
}

vsrStatus backProject(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      const uint8_t* weights, uint32_t bins, uint8_t* dst, uint32_t dstStride)
{
    const ByteTable table = weightTable(weights, bins);
    return vsrTableLookupu8V(src, srcWidth, srcHeight, srcStride, table.data(), dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrHistogramDistancef32, histogramDistance);
VSR_VECTOR(vsrImageIntensityHistogram, intensityHistogram);
VSR_VECTOR(vsrEqualizeHistogramu8, equalizeHistogram);
VSR_VECTOR(vsrBackProjectu8, backProject);

#endif
