// Thresholds for whole images, vector variants.
#include <algorithm>
#include <array>
#include <functional>

#include "visora/threshold.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterThresholdV.cpp"
#include "cpu/filter/visoraFilterOtsu.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/histogram/visoraHistogramPairs.h"
#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// 255 where `inside` holds (binary) or where it does not (inverse), 0 elsewhere.
template <class D, class M>
HWY_INLINE hn::Vec<D> chosen(D d, M inside, uint8_t flip)
{
    return hn::Xor(hn::VecFromMask(d, inside), hn::Set(d, flip));
}

vsrStatus thresholdFixed(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         uint8_t threshold, vsrThresholdType type, uint8_t* dst, uint32_t dstStride)
{
    // Asks for pixels up to the threshold.
    const uint8_t flip = type == VISORA_THRESHOLD_BINARY ? 255 : 0;
    return unary([=](auto d, auto v) HWY_ATTR { return chosen(d, hn::Eq(hn::Min(v, hn::Set(d, threshold)), v), flip); },
                 src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus thresholdBand(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t low,
                        uint8_t high, vsrThresholdType type, uint8_t* dst, uint32_t dstStride)
{
    if (low > high)
    {
        // An empty band: as the pixels above 255.
        return thresholdFixed(src, srcWidth, srcHeight, srcStride, 255, type, dst, dstStride);
    }
    const uint8_t flip = type == VISORA_THRESHOLD_BINARY ? 0 : 255;
    const auto span = static_cast<uint8_t>(high - low);
    return unary(
        [=](auto d, auto v) HWY_ATTR
        {
            const auto above = hn::Sub(v, hn::Set(d, low));
            return chosen(d, hn::Eq(hn::Min(above, hn::Set(d, span)), above), flip);
        },
        src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus thresholdOtsu(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        vsrThresholdType type, uint8_t* dst, uint32_t dstStride, uint8_t* level)
{
    // Counters take fewer than 2^32 pixels.
    std::array<uint64_t, 256> histogram = {};
    const auto rowsAtOnce = std::min<uint32_t>(srcHeight, UINT32_MAX / srcWidth);
    for (uint32_t y = 0, count = 0; y < srcHeight; y += count)
    {
        count = std::min(rowsAtOnce, srcHeight - y);
        const Histogram counts = histogramByPairs(src + size_t{y} * srcStride, srcWidth, count, srcStride);
        std::transform(counts.begin(), counts.end(), histogram.begin(), histogram.begin(), std::plus<>());
    }
    *level = otsuLevel(histogram);
    return thresholdFixed(src, srcWidth, srcHeight, srcStride, *level, type, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFilterThresholdFixedu8, thresholdFixed);
VSR_VECTOR(vsrFilterThresholdBandu8, thresholdBand);
VSR_VECTOR(vsrFilterThresholdOtsuu8, thresholdOtsu);

#endif
