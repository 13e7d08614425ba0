#include "support/operations.h"
#include "visora/filter.h"

namespace visora::test
{

namespace
{

const auto anyBorder = [](Arguments& a)
{
    return std::tuple(a.choose(VISORA_BORDER_UNDEFINED, VISORA_BORDER_REPLICATE, VISORA_BORDER_REPLICATE),
                      static_cast<uint8_t>(a.choose(0, 255, 0)));
};

// A window of up to `largest` a side, `typical` in benchmarks; sometimes of one row or column, sometimes wider or
// higher than the image.
std::function<void(Arguments&)> medianOf(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a)
    {
        const uint32_t width = a.shape().width;
        const uint32_t height = a.shape().height;
        const uint32_t srcStride = a.srcStride(width * 2, 2);
        const uint32_t dstStride = a.dstStride(width * 2, 2);
        const auto* src = a.input<int16_t>(width, height, srcStride);
        auto* dst = a.output<int16_t>(width, height, dstStride);
        const uint32_t M = a.choose(1, largest, typical);
        const uint32_t N = a.random().oneIn(2) ? M : a.choose(1, largest, typical);
        a.call(vsrFilterMedianMxNs16C, src, width, height, srcStride, M, N, dst, dstStride);
    };
}

std::function<void(Arguments&)> boxFloatOf(uint32_t largest, uint32_t typical)
{
    return imageToImage<vsrBoxFilterNxNf32C, float>([=](Arguments& a)
                                                    { return std::tuple(a.choose(1, largest, typical)); });
}

const Register boxes({
    {VISORA_OPERATION(vsrBoxFilter3x3u8), imageToImage<vsrBoxFilter3x3u8C, uint8_t>()},
    {VISORA_OPERATION(vsrBoxFilter3x3u8_v2), imageToImage<vsrBoxFilter3x3u8_v2C, uint8_t>(anyBorder)},
    {VISORA_OPERATION(vsrBoxFilter5x5u8), imageToImage<vsrBoxFilter5x5u8C, uint8_t>()},
    {VISORA_OPERATION(vsrBoxFilter11x11u8), imageToImage<vsrBoxFilter11x11u8C, uint8_t>()},
    {VISORA_OPERATION(vsrBoxFilterNxNf32), boxFloatOf(7, 5)},
    {VISORA_OPERATION(vsrBoxFilterNxNf32), boxFloatOf(60, 11), "large"},
    {VISORA_OPERATION(vsrFilterMedianMxNs16), medianOf(5, 3)},
    {VISORA_OPERATION(vsrFilterMedianMxNs16), medianOf(5, 5), "5x5"},
    {VISORA_OPERATION(vsrFilterMedianMxNs16), medianOf(30, 9), "large"},
});

}  // namespace

}  // namespace visora::test
