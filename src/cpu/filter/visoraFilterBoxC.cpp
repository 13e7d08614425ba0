// Box filters, reference variants.
#include <algorithm>
#include <limits>

#include "cpu/filter/visoraFilterBorder.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/filter.h"

namespace
{

// The mean of a window in 16-bit fixed point: kScale stands for 65536 / window size.
template <uint32_t kScale>
uint8_t scaled(uint32_t sum)
{
    return static_cast<uint8_t>((sum * kScale + 32768) >> 16);
}

// A square window with kRadius pixels on each side of its centre. `image` says what stands outside.
template <uint32_t kRadius, uint32_t kScale>
void boxMean(const uint8_t* src, uint32_t width, uint32_t height, size_t srcStride, uint8_t* dst, size_t dstStride,
             const visora::BorderedImage& image)
{
    constexpr uint32_t kSize = 2 * kRadius + 1;
    for (uint32_t y = kRadius; y + kRadius < height && width >= kSize; ++y)
    {
        const uint8_t* top = src + (y - kRadius) * srcStride;
        const auto columnSum = [=](uint32_t x)
        {
            uint32_t sum = 0;
            for (uint32_t row = 0; row < kSize; ++row)
            {
                sum += top[row * srcStride + x];
            }
            return sum;
        };
        // The column sums under the window, column x at x % kSize, and their total: each output brings one new column.
        uint32_t columns[kSize] = {};
        uint32_t total = 0;
        uint32_t oldest = 0;
        for (uint32_t x = 0; x < width; ++x)
        {
            const uint32_t entering = columnSum(x);
            total += entering - columns[oldest];
            columns[oldest] = entering;
            oldest = oldest + 1 == kSize ? 0 : oldest + 1;
            if (x >= kSize - 1)
            {
                dst[y * dstStride + x - kRadius] = scaled<kScale>(total);
            }
        }
    }
    visora::forEachBorderPixel(width, height, kRadius,
                               [&](uint32_t x, uint32_t y)
                               {
                                   uint32_t sum = 0;
                                   for (int64_t row = int64_t{y} - kRadius; row <= int64_t{y} + kRadius; ++row)
                                   {
                                       for (int64_t column = int64_t{x} - kRadius; column <= int64_t{x} + kRadius;
                                            ++column)
                                       {
                                           sum += image.at(column, row);
                                       }
                                   }
                                   dst[y * dstStride + x] = scaled<kScale>(sum);
                               });
}

template <uint32_t kRadius, uint32_t kScale>
vsrStatus zeroPaddedBoxMean(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride)
{
    boxMean<kRadius, kScale>(src, width, height, srcStride, dst, dstStride,
                             {src, width, height, srcStride, VISORA_BORDER_CONSTANT, 0});
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrBoxFilter3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    return vsrBoxFilter3x3u8_v2C(src, srcWidth, srcHeight, srcStride, dst, dstStride, VISORA_BORDER_UNDEFINED, 0);
}

vsrStatus vsrBoxFilter3x3u8_v2C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    const vsrBorderType outside =
        borderType == VISORA_BORDER_REPLICATE ? VISORA_BORDER_REPLICATE : VISORA_BORDER_CONSTANT;
    const auto outsideValue = static_cast<uint8_t>(borderType == VISORA_BORDER_CONSTANT ? borderValue : 0);
    boxMean<1, 7282>(src, srcWidth, srcHeight, srcStride, dst, dstStride,
                     {src, srcWidth, srcHeight, srcStride, outside, outsideValue});
    return VISORA_SUCCESS;
}

vsrStatus vsrBoxFilter5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    return zeroPaddedBoxMean<2, 2621>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrBoxFilter11x11u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride)
{
    return zeroPaddedBoxMean<5, 542>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrBoxFilterNxNf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                              uint32_t dstStride, uint32_t N)
{
    const size_t width = srcWidth;
    const size_t srcStep = srcStride / sizeof(float);
    const size_t dstStep = dstStride / sizeof(float);
    // All column sums are made before the first output is written, because the destination may be the source.
    const visora::Scratch scratch(width * srcHeight * sizeof(float), 16);
    auto* const columnSums = scratch.as<float>();
    if (!columnSums)
    {
        return VISORA_ENOMEM;
    }

    // The part of a window around `centre` that lies inside. Sums begin with +0 and never become -0, so that leaving
    // the pixels outside out is the same as adding zeros.
    const auto begin = [N](size_t centre) { return centre - std::min<size_t>(centre, N / 2); };
    const auto end = [N](size_t centre, size_t size) { return std::min<size_t>(centre + N - N / 2, size); };
    for (size_t y = 0; y < srcHeight; ++y)
    {
        float* sums = columnSums + y * width;
        std::fill_n(sums, width, 0.0f);
        for (size_t row = begin(y); row < end(y, srcHeight); ++row)
        {
            for (size_t x = 0; x < width; ++x)
            {
                sums[x] += src[row * srcStep + x];
            }
        }
    }

    const float reciprocal = 1.0f / static_cast<float>(uint64_t{N} * N);
    for (size_t y = 0; y < srcHeight; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            float sum = 0;
            for (size_t column = begin(x); column < end(x, width); ++column)
            {
                sum += columnSums[y * width + column];
            }
            const float mean = sum * reciprocal;
            // Processors differ in which of several NaNs a sum carries on, so all NaNs become one.
            dst[y * dstStep + x] = mean == mean ? mean : std::numeric_limits<float>::quiet_NaN();
        }
    }
    return VISORA_SUCCESS;
}
