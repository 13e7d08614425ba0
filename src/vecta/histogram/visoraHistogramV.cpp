// Histograms, vector variants.
#include "visora/variants/arithmetic.h"
#include "visora/variants/statistics.h"
#include "visora/variants/track.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/histogram/visoraHistogramV.cpp"
#include <algorithm>

#include "cpu/histogram/visoraHistogram.h"
#include "cpu/histogram/visoraHistogramDistance.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Doubles = hn::CappedTag<double, 8>;

// Adds sixteen terms to their partial sums.
template <class Term>
HWY_INLINE void addTerms(PartialSums<double>& sums, const float* a, const float* b, Term term)
{
    const Doubles d;
    const hn::Rebind<float, Doubles> dFloat;
    for (size_t i = 0; i < 16; i += hn::Lanes(d))
    {
        const auto v = term(hn::PromoteTo(d, hn::LoadU(dFloat, a + i)), hn::PromoteTo(d, hn::LoadU(dFloat, b + i)));
        double* partial = sums.partial.data() + i;
        hn::Store(hn::Add(hn::Load(d, partial), v), d, partial);
    }
}

HWY_INLINE void addSixteen(uint32_t method, DistanceSums& sums, const float* a, const float* b)
{
    const Doubles d;
    const auto add = [&](size_t k, auto term) HWY_ATTR { addTerms(sums[k], a, b, term); };
    const auto addFirst = [](auto u, auto) HWY_ATTR { return u; };
    const auto addSecond = [](auto, auto v) HWY_ATTR { return v; };
    switch (method)
    {
        case VISORA_HISTOGRAM_CORRELATION:
            add(0, addFirst);
            add(1, addSecond);
            add(2, [](auto u, auto) HWY_ATTR { return hn::Mul(u, u); });
            add(3, [](auto, auto v) HWY_ATTR { return hn::Mul(v, v); });
            add(4, [](auto u, auto v) HWY_ATTR { return hn::Mul(u, v); });
            break;
        case VISORA_HISTOGRAM_CHI_SQUARE:
            add(0,
                [d](auto u, auto v) HWY_ATTR
                {
                    const auto difference = hn::Sub(u, v);
                    const auto counts = hn::Gt(hn::Abs(u), hn::Set(d, kTinyBin));
                    return hn::IfThenElseZero(counts, hn::Div(hn::Mul(difference, difference), u));
                });
            break;
        case VISORA_HISTOGRAM_INTERSECTION:
            add(0, [](auto u, auto v) HWY_ATTR { return hn::IfThenElse(hn::Lt(v, u), v, u); });
            break;
        default:
            add(0, addFirst);
            add(1, addSecond);
            add(2, [](auto u, auto v) HWY_ATTR { return hn::Sqrt(hn::Mul(u, v)); });
            break;
    }
}

vsrStatus histogramDistance(const float* histogram1, const float* histogram2, uint32_t count, uint32_t method,
                            float* distance)
{
    DistanceSums sums;
    size_t i = 0;
    for (; i + 16 <= count; i += 16)
    {
        addSixteen(method, sums, histogram1 + i, histogram2 + i);
    }
    if (i < count)
    {
        // Empty bins add +0 to whatever is summed.
        float a[16] = {};
        float b[16] = {};
        std::copy(histogram1 + i, histogram1 + count, a);
        std::copy(histogram2 + i, histogram2 + count, b);
        addSixteen(method, sums, a, b);
    }
    *distance = distanceOf(method, count, sums);
    return VISORA_SUCCESS;
}

vsrStatus equalizeHistogram(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride)
{
    const Histogram histogram = histogramOf(src, srcWidth, srcHeight, srcStride);
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
VSR_VECTOR(vsrEqualizeHistogramu8, equalizeHistogram);
VSR_VECTOR(vsrBackProjectu8, backProject);

#endif
