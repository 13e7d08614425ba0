// Binomial Gaussian filters, reference variants.
#include <algorithm>

#include "common/visoraLog.h"
#include "cpu/filter/visoraFilterBorder.h"
#include "cpu/filter/visoraFilterGaussian.h"
#include "visora/variants/filter.h"

const uint32_t knl5x5[25] = {
    // clang-format off
    1, 4, 6, 4, 1,
    4, 16, 24, 16, 4,
    6, 24, 36, 24, 6,
    4, 16, 24, 16, 4,
    1, 4, 6, 4, 1
    // clang-format on
};

const uint32_t knl11x11[121] = {
    // clang-format off
    1, 10, 45, 120, 210, 252, 210, 120, 45, 10, 1,
    10, 100, 450, 1200, 2100, 2520, 2100, 1200, 450, 100, 10,
    45, 450, 2025, 5400, 9450, 11340, 9450, 5400, 2025, 450, 45,
    120, 1200, 5400, 14400, 25200, 30240, 25200, 14400, 5400, 1200, 120,
    210, 2100, 9450, 25200, 44100, 52920, 44100, 25200, 9450, 2100, 210,
    252, 2520, 11340, 30240, 52920, 63504, 52920, 30240, 11340, 2520, 252,
    210, 2100, 9450, 25200, 44100, 52920, 44100, 25200, 9450, 2100, 210,
    120, 1200, 5400, 14400, 25200, 30240, 25200, 14400, 5400, 1200, 120,
    45, 450, 2025, 5400, 9450, 11340, 9450, 5400, 2025, 450, 45,
    10, 100, 450, 1200, 2100, 2520, 2100, 1200, 450, 100, 10,
    1, 10, 45, 120, 210, 252, 210, 120, 45, 10, 1
    // clang-format on
};

namespace
{

using visora::GaussianBorder;
using visora::GaussianImage;
using visora::SumOf;
using visora::WeightedSum;

// The pixels whose window lies inside the image. The sums of the window's columns roll along the row, so that each
// pixel costs one new column.
template <uint32_t radius, class T>
void filterInterior(const GaussianImage<T>& image)
{
    constexpr auto kWeights = visora::binomialWeights<radius>();
    constexpr uint32_t kTaps = 2 * radius + 1;
    if (image.width < kTaps || image.height < kTaps)
    {
        return;
    }
    for (uint32_t y = radius; y < image.height - radius; ++y)
    {
        const auto columnSum = [&](uint32_t x)
        {
            uint32_t sum = 0;
            for (uint32_t tap = 0; tap < kTaps; ++tap)
            {
                sum += kWeights[tap] * static_cast<uint32_t>(image.src[(y + tap - radius) * image.srcStep + x]);
            }
            return sum;
        };
        std::array<uint32_t, kTaps> columns = {};
        for (uint32_t x = 0; x < kTaps - 1; ++x)
        {
            columns[x + 1] = columnSum(x);
        }
        for (uint32_t x = radius; x < image.width - radius; ++x)
        {
            std::copy(columns.begin() + 1, columns.end(), columns.begin());
            columns.back() = columnSum(x + radius);
            uint32_t sum = 0;
            for (uint32_t tap = 0; tap < kTaps; ++tap)
            {
                sum += kWeights[tap] * columns[tap];
            }
            image.dst[y * image.dstStep + x] = static_cast<T>(static_cast<SumOf<T>>(sum) >> (4 * radius));
        }
    }
}

template <uint32_t radius, class T>
void filterBorder(const GaussianImage<T>& image, const GaussianBorder& border)
{
    if (!border.written)
    {
        return;
    }
    const uint32_t outsideColumn = border.constant * visora::kBinomialTotal<radius>;
    visora::forEachBorderPixel(
        image.width, image.height, radius,
        [&](uint32_t x, uint32_t y)
        {
            const uint32_t rowWeight = visora::binomialWeightAt<radius>(border.outside, y, image.height);
            const auto columnSum = [&](uint32_t column)
            {
                const auto pixel = [&](uint32_t row)
                { return static_cast<uint32_t>(image.src[row * image.srcStep + column]); };
                return visora::binomialSum<radius>(border.outside, border.constant, y, image.height, pixel).sum;
            };
            const WeightedSum row =
                visora::binomialSum<radius>(border.outside, outsideColumn, x, image.width, columnSum);
            image.dst[y * image.dstStep + x] = visora::normalised<T>(row.sum, row.weight * rowWeight);
        });
}

template <uint32_t radius, class T>
vsrStatus filter(const GaussianImage<T>& image, int32_t blurBorder)
{
    filterInterior<radius>(image);
    filterBorder<radius>(image, visora::normalisedBorder(blurBorder));
    return VISORA_SUCCESS;
}

// The interior of a 3x3 filter in steps of six pixels, each of which carries the last two columns on to the next;
// the remaining columns follow one by one.
void filterInterior3x3(const GaussianImage<uint8_t>& image)
{
    const auto stepColumns = static_cast<uint32_t>(visora::gaussian3x3StepColumns(image.width));
    for (size_t y = 1; y + 1 < image.height; ++y)
    {
        const uint8_t* above = image.src + (y - 1) * image.srcStep;
        const uint8_t* centre = above + image.srcStep;
        const uint8_t* below = centre + image.srcStep;
        uint8_t* out = image.dst + y * image.dstStep;
        const auto columnSum = [&](uint32_t x) { return above[x] + 2 * centre[x] + below[x]; };
        const auto combine = [](int left, int middle, int right)
        { return static_cast<uint8_t>((left + 2 * middle + right) >> 4); };

        int columns[8] = {0, 0, 0, 0, 0, 0, columnSum(0), columnSum(1)};
        uint32_t x = 1;
        for (; x <= stepColumns; x += 6)
        {
            columns[0] = columns[6];
            columns[1] = columns[7];
            for (uint32_t i = 0; i < 6; ++i)
            {
                columns[i + 2] = columnSum(x + 1 + i);
                out[x + i] = combine(columns[i], columns[i + 1], columns[i + 2]);
            }
        }
        int left = columns[6];
        int middle = columns[7];
        for (; x < image.width - 1; ++x)
        {
            const int right = columnSum(x + 1);
            out[x] = combine(left, middle, right);
            left = middle;
            middle = right;
        }
    }
}

}  // namespace

int32_t visora::gaussian3x3StepColumns(uint32_t width)
{
    const auto w_2 = static_cast<int32_t>(width - 2);
    const int32_t w6 = w_2 / 6 * 6;
    if (!(w6 <= w_2 && int64_t{w6} >= int64_t{w_2} - 5))
    {
        stopProcess("src/cpu/visoraBlurC", 79, "w6<=w_2 && w6>=w_2-5");
    }
    return w6;
}

vsrStatus vsrFilterGaussian3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    const GaussianImage<uint8_t> image(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    filterInterior3x3(image);
    filterBorder<1>(image, visora::normalisedBorder(blurBorder));
    return VISORA_SUCCESS;
}

vsrStatus vsrFilterGaussian3x3u8_v3C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    const GaussianImage<uint8_t> image(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    filterInterior3x3(image);
    filterBorder<1>(image, visora::typedBorder(borderType, borderValue));
    return VISORA_SUCCESS;
}

vsrStatus vsrFilterGaussian5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    return filter<2>(GaussianImage(src, srcWidth, srcHeight, srcStride, dst, dstStride), blurBorder);
}

vsrStatus vsrFilterGaussian5x5s16C(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   int16_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    return filter<2>(GaussianImage(src, srcWidth, srcHeight, srcStride, dst, dstStride), blurBorder);
}

vsrStatus vsrFilterGaussian5x5s32C(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   int32_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    return filter<2>(GaussianImage(src, srcWidth, srcHeight, srcStride, dst, dstStride), blurBorder);
}

vsrStatus vsrFilterGaussian11x11u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    return filter<5>(GaussianImage(src, srcWidth, srcHeight, srcStride, dst, dstStride), blurBorder);
}
