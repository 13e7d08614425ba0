// 5x5 median, Gaussians of any odd size and unsharp masking, reference variants.
#include <algorithm>
#include <array>
#include <cstdlib>

#include "cpu/filter/visoraFilterBorder.h"
#include "cpu/filter/visoraFilterFloat.h"
#include "cpu/filter/visoraFilterGaussian.h"
#include "cpu/filter/visoraFilterTaps.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/filter.h"

vsrStatus vsrFilterMedian5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    const visora::BorderedImage image(src, srcWidth, srcHeight, srcStride, borderType, borderValue);
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            std::array<uint8_t, 25> window;
            for (int i = 0; i < 25; ++i)
            {
                window[static_cast<size_t>(i)] = image.at(int64_t{x} - 2 + i % 5, int64_t{y} - 2 + i / 5);
            }
            std::nth_element(window.begin(), window.begin() + 12, window.end());
            dst[size_t{y} * dstStride + x] = window[12];
        }
    }
    return VISORA_SUCCESS;
}

namespace
{

// One row of results between the passes: columns(x, y) for every column that the windows of a row reach, then
// row(y, sums) with sums[0] at the first pixel.
template <class Sum, class Columns, class Row>
vsrStatus columnsThenRows(uint32_t width, uint32_t height, int64_t left, int64_t right, Columns columns, Row row)
{
    const visora::Scratch scratch((static_cast<size_t>(left + right) + width) * sizeof(Sum));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Sum* sums = reinterpret_cast<Sum*>(scratch.data()) + left;
    for (uint32_t y = 0; y < height; ++y)
    {
        for (int64_t x = -left; x < int64_t{width} + right; ++x)
        {
            sums[x] = columns(x, y);
        }
        row(y, static_cast<const Sum*>(sums));
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrFilterGaussianNxNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t N, float sigma, uint8_t* dst, uint32_t dstStride, vsrBorderType borderType,
                                  uint8_t borderValue)
{
    const visora::BorderedImage image(src, srcWidth, srcHeight, srcStride, borderType, borderValue);
    const auto taps = visora::integerGaussianTaps(N, sigma);
    const int64_t radius = N / 2;
    return columnsThenRows<uint32_t>(
        srcWidth, srcHeight, radius, radius,
        [&](int64_t x, int64_t y)
        {
            uint32_t sum = 0;
            for (uint32_t j = 0; j < N; ++j)
            {
                sum += uint32_t{taps[j]} * image.at(x, y - radius + j);
            }
            return sum;
        },
        [&](uint32_t y, const uint32_t* sums)
        {
            for (uint32_t x = 0; x < srcWidth; ++x)
            {
                uint32_t sum = 32768;
                for (uint32_t i = 0; i < N; ++i)
                {
                    sum += taps[i] * sums[int64_t{x} - radius + i];
                }
                dst[size_t{y} * dstStride + x] = static_cast<uint8_t>(sum >> 16);
            }
        });
}

vsrStatus vsrFilterGaussianNxNf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t N, float sigma, float* dst, uint32_t dstStride, vsrBorderType borderType,
                                   float borderValue)
{
    const visora::BorderedImageOf<float> image(src, srcWidth, srcHeight, srcStride, borderType, borderValue);
    const auto taps = visora::floatGaussianTaps(N, sigma);
    const int64_t radius = N / 2;
    // The centre, then pairs further and further from it.
    const auto weighted = [&](auto at)
    {
        float sum = taps[N / 2] * at(0);
        for (int64_t i = 1; i <= radius; ++i)
        {
            sum = sum + taps[static_cast<size_t>(radius - i)] * (at(-i) + at(i));
        }
        return sum;
    };
    return columnsThenRows<float>(
        srcWidth, srcHeight, radius, radius,
        [&](int64_t x, int64_t y) { return weighted([&](int64_t j) { return image.at(x, y + j); }); },
        [&](uint32_t y, const float* sums)
        {
            for (uint32_t x = 0; x < srcWidth; ++x)
            {
                dst[y * (dstStride / sizeof(float)) + x] =
                    visora::withOneNan(weighted([&](int64_t i) { return sums[x + i]; }));
            }
        });
}

vsrStatus vsrFilterUnsharp5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t amount, uint8_t threshold, uint8_t* dst, uint32_t dstStride)
{
    const visora::BorderedImage image(src, srcWidth, srcHeight, srcStride, VISORA_BORDER_REPLICATE, 0);
    constexpr auto kWeights = visora::binomialWeights<2>();
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            uint32_t sum = 128;
            for (size_t i = 0; i < 25; ++i)
            {
                sum += kWeights[i % 5] * kWeights[i / 5] *
                       image.at(x + static_cast<int64_t>(i % 5) - 2, y + static_cast<int64_t>(i / 5) - 2);
            }
            const int pixel = image.at(x, y);
            const int detail = pixel - static_cast<int>(sum >> 8);
            const int sharpened = pixel + ((static_cast<int>(amount) * detail + 128) >> 8);
            dst[size_t{y} * dstStride + x] =
                static_cast<uint8_t>(std::abs(detail) < threshold ? pixel : std::clamp(sharpened, 0, 255));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrFilterCorrSepMxNf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  const float* rowKernel, uint32_t M, const float* columnKernel, uint32_t N, float* dst,
                                  uint32_t dstStride, vsrBorderType borderType, float borderValue)
{
    const visora::BorderedImageOf<float> image(src, srcWidth, srcHeight, srcStride, borderType, borderValue);
    const auto weighted = [](const float* kernel, uint32_t count, auto at)
    {
        float sum = kernel[0] * at(0);
        for (uint32_t i = 1; i < count; ++i)
        {
            sum = sum + kernel[i] * at(i);
        }
        return sum;
    };
    return columnsThenRows<float>(
        srcWidth, srcHeight, M / 2, (M - 1) / 2,
        [&](int64_t x, int64_t y)
        { return weighted(columnKernel, N, [&](int64_t j) { return image.at(x, y - N / 2 + j); }); },
        [&](uint32_t y, const float* sums)
        {
            for (uint32_t x = 0; x < srcWidth; ++x)
            {
                const float* window = sums + x - M / 2;
                dst[y * (dstStride / sizeof(float)) + x] =
                    visora::withOneNan(weighted(rowKernel, M, [&](int64_t i) { return window[i]; }));
            }
        });
}
