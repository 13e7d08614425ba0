// DSP routines of the operations on regions, edges and peaks.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto chamfer = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                            const int32_t* /*points*/, uint32_t numPoints, const int32_t* /*offsets*/,
                            uint32_t numOffsets, float* /*scores*/, uint32_t* /*best*/) {
    return std::array{imageLength(src, srcStride, width, height), 2 * numPoints, 2 * numOffsets, numOffsets, 1u};
};

constexpr auto foreground = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               uint32_t /*factor*/, uint32_t /*rateShift*/, uint32_t /*minDeviation*/, uint16_t* mean,
                               uint32_t meanStride, uint16_t* deviation, uint32_t deviationStride, uint8_t* dst,
                               uint32_t dstStride)
{
    return std::array{imageLength(src, srcStride, width, height), imageLength(mean, meanStride, width, height),
                      imageLength(deviation, deviationStride, width, height),
                      imageLength(dst, dstStride, width, height)};
};

constexpr auto peaks = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t /*radius*/,
                          uint8_t /*threshold*/, uint32_t* /*xy*/, uint8_t* /*values*/, uint32_t capacity,
                          uint32_t* /*count*/) {
    return std::array{imageLength(src, srcStride, width, height), 2 * capacity, capacity, 1u};
};

constexpr auto grownRegion = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                const uint32_t* /*seeds*/, uint32_t numSeeds, uint32_t /*tolerance*/,
                                uint32_t /*connectivity*/, uint8_t /*label*/, uint8_t* mask, uint32_t maskStride,
                                uint32_t* /*count*/)
{
    return std::array{imageLength(src, srcStride, width, height), 2 * numSeeds,
                      imageLength(mask, maskStride, width, height), 1u};
};

constexpr auto houghLines = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               float /*rhoStep*/, float /*thetaStep*/, uint32_t /*threshold*/, float* /*rhoTheta*/,
                               uint32_t* /*votes*/, uint32_t capacity, uint32_t* /*count*/) {
    return std::array{imageLength(src, srcStride, width, height), 2 * capacity, capacity, 1u};
};

constexpr auto houghCircles = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                 uint32_t /*cellShift*/, uint32_t /*edgeThreshold*/, uint32_t /*threshold*/,
                                 uint32_t /*minRadius*/, uint32_t /*maxRadius*/, float /*minDistance*/,
                                 float* /*circles*/, uint32_t* /*votes*/, uint32_t capacity, uint32_t* /*count*/) {
    return std::array{imageLength(src, srcStride, width, height), 3 * capacity, capacity, 1u};
};

// ---- Stable regions: of the handle a DSP gets the parameters, it has work memory of its own ----

constexpr uint32_t kHandle = 1;

template <uint32_t channels>
constexpr auto mserListOf = [](vsrMser* /*mser*/, const uint8_t* src, uint32_t width, uint32_t height,
                               uint32_t srcStride, vsrMserRegion* /*regions*/, uint32_t maxRegions,
                               uint32_t* /*numRegions*/, uint32_t* /*pixels*/, uint32_t maxPixels,
                               uint32_t* /*numPixels*/)
{
    return std::array{kHandle, imageLength(src, srcStride, channels * width, height), maxRegions, 1u, 2 * maxPixels,
                      1u};
};
constexpr auto mserList = mserListOf<1>;
constexpr auto mserColourList = mserListOf<3>;

constexpr auto mserWholeList = [](vsrMser* /*mser*/, const uint8_t* src, uint32_t width, uint32_t height,
                                  uint32_t srcStride, vsrMserRegion* /*regions*/, uint8_t* /*bright*/,
                                  uint32_t maxRegions, uint32_t* /*numRegions*/, uint32_t* /*pixels*/,
                                  uint32_t maxPixels, uint32_t* /*numPixels*/)
{
    return std::array{kHandle, imageLength(src, srcStride, width, height), maxRegions, maxRegions, 1u, 2 * maxPixels,
                      1u};
};

constexpr auto mserLists = [](vsrMser* /*mser*/, const uint8_t* src, uint32_t width, uint32_t height,
                              uint32_t srcStride, vsrMserRegion* /*darkRegions*/, uint32_t maxDarkRegions,
                              uint32_t* /*numDarkRegions*/, uint32_t* /*darkPixels*/, uint32_t maxDarkPixels,
                              uint32_t* /*numDarkPixels*/, vsrMserRegion* /*brightRegions*/, uint32_t maxBrightRegions,
                              uint32_t* /*numBrightRegions*/, uint32_t* /*brightPixels*/, uint32_t maxBrightPixels,
                              uint32_t* /*numBrightPixels*/)
{
    return std::array{kHandle,
                      imageLength(src, srcStride, width, height),
                      maxDarkRegions,
                      1u,
                      2 * maxDarkPixels,
                      1u,
                      maxBrightRegions,
                      1u,
                      2 * maxBrightPixels,
                      1u};
};

/** A polarity may be left out. */
constexpr auto mserTraitLists =
    [](vsrMser* /*mser*/, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
       vsrMserRegion* darkRegions, vsrMserTrait* /*darkTraits*/, uint32_t maxDarkRegions, uint32_t* /*numDarkRegions*/,
       uint32_t* /*darkPixels*/, uint32_t maxDarkPixels, uint32_t* /*numDarkPixels*/, vsrMserRegion* brightRegions,
       vsrMserTrait* /*brightTraits*/, uint32_t maxBrightRegions, uint32_t* /*numBrightRegions*/,
       uint32_t* /*brightPixels*/, uint32_t maxBrightPixels, uint32_t* /*numBrightPixels*/)
{
    const uint32_t dark = darkRegions != nullptr ? 1 : 0;
    const uint32_t bright = brightRegions != nullptr ? 1 : 0;
    return std::array{kHandle,
                      imageLength(src, srcStride, width, height),
                      dark * maxDarkRegions,
                      dark * maxDarkRegions,
                      dark,
                      dark * 2 * maxDarkPixels,
                      dark,
                      bright * maxBrightRegions,
                      bright * maxBrightRegions,
                      bright,
                      bright * 2 * maxBrightPixels,
                      bright};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/shape.def"
