// Entry points of the smoothing filters that keep edges.
#include <cmath>

#include "common/entries/visoraFilterEntries.h"
#include "visora/variants/filter.h"

namespace
{

using namespace visora;

bool areSigmas(float sigmaSpace, float sigmaRange)
{
    return std::isfinite(sigmaSpace) && sigmaSpace > 0 && std::isfinite(sigmaRange) && sigmaRange > 0;
}

template <uint32_t leastDspHeight>
constexpr auto bilateral = filterEntry<2, leastDspHeight>([](float sigmaSpace, float sigmaRange, auto...)
                                                          { return areSigmas(sigmaSpace, sigmaRange); });
constexpr auto borderedBilateral =
    filterEntry<2>([](float sigmaSpace, float sigmaRange, auto*, uint32_t, vsrBorderType borderType, uint8_t)
                   { return areSigmas(sigmaSpace, sigmaRange) && isKnownBorder(borderType); });
constexpr auto bilateralNxN = filterEntry<3>([](uint32_t N, float sigmaSpace, float sigmaRange, auto...)
                                             { return isOddWindow(N) && areSigmas(sigmaSpace, sigmaRange); });
constexpr auto denoise = filterEntry<2>([](uint32_t N, float strength, auto...)
                                        { return isOddWindow(N) && strength > 0 && strength <= 255; });

}  // namespace

VSR_ENTRY(vsrDenoiseNonLocalu8, vsrDenoiseNonLocalu8, denoise);
VSR_ENTRY(vsrBilateralFilter5x5u8_v2, vsrBilateralFilter5x5u8, bilateral<5>);
VSR_ENTRY(vsrBilateralFilter5x5u8, vsrBilateralFilter5x5u8, packedEntry<2>(bilateral<5>));
VSR_ENTRY(vsrBilateralFilter7x7u8_v2, vsrBilateralFilter7x7u8, bilateral<0>);
VSR_ENTRY(vsrBilateralFilter7x7u8, vsrBilateralFilter7x7u8, packedEntry<2>(bilateral<0>));
VSR_ENTRY(vsrBilateralFilter9x9u8, vsrBilateralFilter9x9u8, borderedBilateral);
VSR_ENTRY(vsrBilateralFilterNxNf32, vsrBilateralFilterNxNf32, bilateralNxN);

vsrStatus vsrBilateralFilterJointu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    const uint8_t* guide, uint32_t guideStride, uint32_t N, float sigmaSpace,
                                    float sigmaRange, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const In differences(guide, srcWidth, srcHeight, guideStride);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrBilateralFilterJointu8, in, differences, out)
        .keepDspIf(worthOffload(in.stride(), srcHeight, kMinDspPixels))
        .require(isOddWindow(N) && areSigmas(sigmaSpace, sigmaRange))
        .run(src, srcWidth, srcHeight, in.stride(), guide, differences.stride(), N, sigmaSpace, sigmaRange, dst,
             out.stride());
}

vsrStatus vsrGuidedFilteru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            const uint8_t* guide, uint32_t guideStride, uint32_t radius, float eps, uint8_t* dst,
                            uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const In lines(guide, srcWidth, srcHeight, guideStride);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrGuidedFilteru8, in, lines, out)
        .keepDspIf(worthOffload(in.stride(), srcHeight, kMinDspPixels))
        .require(radius >= 1 && radius <= 127 && eps >= 0.01f && eps <= 1e6f)
        .run(src, srcWidth, srcHeight, in.stride(), guide, lines.stride(), radius, eps, dst, out.stride());
}
