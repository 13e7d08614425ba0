// Entry points of the thresholds.
#include "common/entries/visoraFilterEntries.h"
#include "visora/threshold.h"
#include "visora/variants/filter.h"

namespace
{

using namespace visora;

constexpr bool isKnownThreshold(vsrThresholdType type)
{
    return type <= VISORA_THRESHOLD_BINARY_INVERSE;
}

constexpr auto fixed = filterEntry<2, 0, kInPlace>([](uint8_t /*threshold*/, vsrThresholdType type, auto...)
                                                   { return isKnownThreshold(type); });
constexpr auto band = filterEntry<3, 0, kInPlace>([](uint8_t /*low*/, uint8_t /*high*/, vsrThresholdType type, auto...)
                                                  { return isKnownThreshold(type); });

template <uint32_t leastDspHeight>
constexpr auto adaptive = filterEntry<3, leastDspHeight>([](uint8_t /*maxValue*/, vsrThresholdType type, auto...)
                                                         { return isKnownThreshold(type); });

constexpr auto adaptiveNxN =
    filterEntry<5>([](uint32_t N, uint8_t /*maxValue*/, vsrThresholdType type, int32_t /*constant*/, uint32_t factor,
                      auto...) { return isOddWindow(N, 4095) && N >= 3 && factor <= 65535 && isKnownThreshold(type); });

}  // namespace

VSR_ENTRY(vsrFilterThresholdFixedu8_v2, vsrFilterThresholdFixedu8, fixed);
VSR_ENTRY(vsrFilterThresholdFixedu8, vsrFilterThresholdFixedu8, packedEntry<2>(fixed));
VSR_ENTRY(vsrFilterThresholdBandu8_v2, vsrFilterThresholdBandu8, band);
VSR_ENTRY(vsrFilterThresholdBandu8, vsrFilterThresholdBandu8, packedEntry<3>(band));
VSR_ENTRY(vsrAdaptiveThresholdBox3x3u8, vsrAdaptiveThresholdBox3x3u8, adaptive<4>);
VSR_ENTRY(vsrAdaptiveThresholdBox11x11u8, vsrAdaptiveThresholdBox11x11u8, adaptive<0>);
VSR_ENTRY(vsrAdaptiveThresholdBoxNxNu8, vsrAdaptiveThresholdBoxNxNu8, adaptiveNxN);
VSR_ENTRY(vsrAdaptiveThresholdGaussian3x3u8, vsrAdaptiveThresholdGaussian3x3u8, adaptive<4>);
VSR_ENTRY(vsrAdaptiveThresholdGaussian5x5u8, vsrAdaptiveThresholdGaussian5x5u8, adaptive<5>);
VSR_ENTRY(vsrAdaptiveThresholdGaussian11x11u8, vsrAdaptiveThresholdGaussian11x11u8, adaptive<0>);

vsrStatus vsrFilterThresholdOtsuu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   vsrThresholdType type, uint8_t* dst, uint32_t dstStride, uint8_t* level)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
    const Result found(level);
    return VSR_CALL(vsrFilterThresholdOtsuu8, in, out, found)
        .require(isKnownThreshold(type))
        .run(src, srcWidth, srcHeight, in.stride(), type, dst, out.stride(), level);
}
