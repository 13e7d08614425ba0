// Thresholds, reference variants.
#include "cpu/filter/visoraFilterBorder.h"
#include "cpu/filter/visoraFilterGaussian.h"
#include "cpu/filter/visoraFilterOtsu.h"
#include "cpu/visoraDrivers.h"
#include "visora/threshold.h"
#include "visora/variants/filter.h"

namespace
{

uint8_t chosen(bool holds, vsrThresholdType type, uint8_t set)
{
    return holds == (type == VISORA_THRESHOLD_BINARY) ? set : uint8_t{0};
}

// test(pixel, sum) of each pixel and the sum over its window, weighted weights[i] * weights[j].
template <class Weight, class Test>
vsrStatus adaptive(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t N, Weight weight,
                   uint8_t maxValue, vsrThresholdType type, uint8_t* dst, uint32_t dstStride, Test test)
{
    const visora::BorderedImage image(src, width, height, srcStride, VISORA_BORDER_REPLICATE, 0);
    const int64_t radius = N / 2;
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            int64_t sum = 0;
            for (int64_t j = -radius; j <= radius; ++j)
            {
                for (int64_t i = -radius; i <= radius; ++i)
                {
                    sum += weight(i + radius) * weight(j + radius) * image.at(x + i, y + j);
                }
            }
            dst[size_t{y} * dstStride + x] = chosen(test(image.at(x, y), sum), type, maxValue);
        }
    }
    return VISORA_SUCCESS;
}

constexpr auto kEqual = [](int64_t /*i*/) { return int64_t{1}; };

// Windows of an odd number of pixels: no mean lies half way between two whole numbers.
int64_t roundedMean(int64_t sum, int64_t count)
{
    return (sum + (count - 1) / 2) / count;
}

template <uint32_t radius>
vsrStatus adaptiveGaussian(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t maxValue,
                           vsrThresholdType type, int32_t constant, uint8_t* dst, uint32_t dstStride)
{
    static constexpr auto kWeights = visora::binomialWeights<radius>();
    return adaptive(
        src, width, height, srcStride, 2 * radius + 1,
        [](int64_t i) { return int64_t{kWeights[static_cast<size_t>(i)]}; }, maxValue, type, dst, dstStride,
        [=](int64_t pixel, int64_t sum)
        {
            // Half way between two whole numbers it is the even one.
            constexpr int kShift = 4 * radius;
            const int64_t mean = (sum + (int64_t{1} << (kShift - 1)) - 1 + ((sum >> kShift) & 1)) >> kShift;
            return pixel > mean - constant;
        });
}

}  // namespace

vsrStatus vsrFilterThresholdFixedu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint8_t threshold, vsrThresholdType type, uint8_t* dst, uint32_t dstStride)
{
    return visora::unary([=](uint8_t pixel) { return chosen(pixel > threshold, type, 255); }, src, srcWidth, srcHeight,
                         srcStride, dst, dstStride);
}

vsrStatus vsrFilterThresholdBandu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t low, uint8_t high, vsrThresholdType type, uint8_t* dst, uint32_t dstStride)
{
    return visora::unary([=](uint8_t pixel) { return chosen(low <= pixel && pixel <= high, type, 255); }, src, srcWidth,
                         srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrFilterThresholdOtsuu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    vsrThresholdType type, uint8_t* dst, uint32_t dstStride, uint8_t* level)
{
    std::array<uint64_t, 256> histogram = {};
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            ++histogram[src[size_t{y} * srcStride + x]];
        }
    }
    *level = visora::otsuLevel(histogram);
    return vsrFilterThresholdFixedu8C(src, srcWidth, srcHeight, srcStride, *level, type, dst, dstStride);
}

vsrStatus vsrAdaptiveThresholdBoxNxNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t N, uint8_t maxValue, vsrThresholdType type, int32_t constant,
                                        uint32_t factor, uint8_t* dst, uint32_t dstStride)
{
    return adaptive(src, srcWidth, srcHeight, srcStride, N, kEqual, maxValue, type, dst, dstStride,
                    [=](int64_t pixel, int64_t sum)
                    {
                        const int64_t mean = roundedMean(sum, int64_t{N} * N);
                        return 256 * pixel > mean * factor - 256 * int64_t{constant};
                    });
}

vsrStatus vsrAdaptiveThresholdBox3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint8_t maxValue, vsrThresholdType type, int32_t constant, uint8_t* dst,
                                        uint32_t dstStride)
{
    return vsrAdaptiveThresholdBoxNxNu8C(src, srcWidth, srcHeight, srcStride, 3, maxValue, type, constant, 256, dst,
                                         dstStride);
}

vsrStatus vsrAdaptiveThresholdBox11x11u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          uint8_t maxValue, vsrThresholdType type, int32_t constant, uint8_t* dst,
                                          uint32_t dstStride)
{
    return vsrAdaptiveThresholdBoxNxNu8C(src, srcWidth, srcHeight, srcStride, 11, maxValue, type, constant, 256, dst,
                                         dstStride);
}

vsrStatus vsrAdaptiveThresholdGaussian3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t maxValue, vsrThresholdType type,
                                             int32_t constant, uint8_t* dst, uint32_t dstStride)
{
    return adaptiveGaussian<1>(src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst, dstStride);
}

vsrStatus vsrAdaptiveThresholdGaussian5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t maxValue, vsrThresholdType type,
                                             int32_t constant, uint8_t* dst, uint32_t dstStride)
{
    return adaptiveGaussian<2>(src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst, dstStride);
}

vsrStatus vsrAdaptiveThresholdGaussian11x11u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, uint8_t maxValue, vsrThresholdType type,
                                               int32_t constant, uint8_t* dst, uint32_t dstStride)
{
    return adaptiveGaussian<5>(src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst, dstStride);
}
