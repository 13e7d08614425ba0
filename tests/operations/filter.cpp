#include "visora/variants/filter.h"

#include "support/operations.h"

namespace visora::test
{

namespace
{

const auto anyBorder = [](Arguments& a)
{
    return std::tuple(a.choose(VISORA_BORDER_UNDEFINED, VISORA_BORDER_REPLICATE, VISORA_BORDER_REPLICATE),
                      static_cast<uint8_t>(a.choose(0, 255, 0)));
};
const auto defaultBorder = [](Arguments& a)
{ return std::tuple(vsrBorderType{VISORA_BORDER_UNDEFINED}, static_cast<uint8_t>(a.choose(0, 255, 0))); };
// The flag of a border: only 1 sets it.
const auto anyFlag = [](Arguments& a)
{
    constexpr int32_t kFlags[] = {0, 1, 1, 2, -1};
    return std::tuple(kFlags[a.choose(0, 4, 0)]);
};
const auto flagSet = [](Arguments&) { return std::tuple(int32_t{1}); };

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

#define FILTER(operation, T) VISORA_OPERATION(operation), imageToImage<operation##C, T>

// The 3x3 Gaussian ends the process at a width of 1.
const Register filters({
    {FILTER(vsrBoxFilter3x3u8, uint8_t)()},
    {FILTER(vsrBoxFilter3x3u8_v2, uint8_t)(anyBorder)},
    {FILTER(vsrBoxFilter5x5u8, uint8_t)()},
    {FILTER(vsrBoxFilter11x11u8, uint8_t)()},
    {VISORA_OPERATION(vsrBoxFilterNxNf32), boxFloatOf(7, 5)},
    {VISORA_OPERATION(vsrBoxFilterNxNf32), boxFloatOf(60, 11), "large"},
    {FILTER(vsrFilterMedian3x3u8, uint8_t)()},
    {FILTER(vsrFilterMedian3x3u8_v3, uint8_t)(anyBorder)},
    {VISORA_OPERATION(vsrFilterMedianMxNs16), medianOf(5, 3)},
    {VISORA_OPERATION(vsrFilterMedianMxNs16), medianOf(5, 5), "5x5"},
    {VISORA_OPERATION(vsrFilterMedianMxNs16), medianOf(30, 9), "large"},
    {FILTER(vsrFilterGaussian3x3u8, uint8_t)(anyFlag, 2)},
    {FILTER(vsrFilterGaussian3x3u8, uint8_t)(flagSet, 2), "border"},
    {FILTER(vsrFilterGaussian3x3u8_v3, uint8_t)(anyBorder, 2)},
    {FILTER(vsrFilterGaussian3x3u8_v3, uint8_t)(defaultBorder, 2), "undefined"},
    {FILTER(vsrFilterGaussian5x5u8, uint8_t)(anyFlag)},
    {FILTER(vsrFilterGaussian5x5u8, uint8_t)(flagSet), "border"},
    {FILTER(vsrFilterGaussian5x5s16, int16_t)(anyFlag)},
    {FILTER(vsrFilterGaussian5x5s16, int16_t)(flagSet), "border"},
    {FILTER(vsrFilterGaussian5x5s32, int32_t)(anyFlag)},
    {FILTER(vsrFilterGaussian5x5s32, int32_t)(flagSet), "border"},
    {FILTER(vsrFilterGaussian11x11u8, uint8_t)(anyFlag)},
    {FILTER(vsrFilterGaussian11x11u8, uint8_t)(flagSet), "border"},
});

}  // namespace

}  // namespace visora::test
