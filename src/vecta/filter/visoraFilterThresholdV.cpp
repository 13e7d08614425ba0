// Thresholds for whole images, vector variants.
#include <array>

#include "visora/threshold.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterThresholdV.cpp"
#include "cpu/filter/visoraFilterOtsu.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
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
    // Pixels go to two tables in turn, so that equal ones in a row wait less for one another; more tables cost more
    // than they save. A table's counts of one row fit 32 bits.
    constexpr size_t kTables = 2;
    constexpr size_t kStep = 8;
    std::array<uint64_t, 256> histogram = {};
    uint32_t tables[kTables][256] = {};
    uint64_t counted = 0;
    const auto collect = [&]
    {
        for (auto& table : tables)
        {
            for (size_t value = 0; value < 256; ++value)
            {
                histogram[value] += table[value];
                table[value] = 0;
            }
        }
        counted = 0;
    };
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* row = src + size_t{y} * srcStride;
        counted += srcWidth;
        if (counted > UINT32_MAX)
        {
            collect();
            counted = srcWidth;
        }
        uint32_t x = 0;
        for (; x + kStep <= srcWidth; x += kStep)
        {
            for (size_t i = 0; i < kStep; ++i)
            {
                ++tables[i % kTables][row[x + i]];
            }
        }
        for (; x < srcWidth; ++x)
        {
            ++tables[0][row[x]];
        }
    }
    collect();
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
