// Median filters, reference variants.
#include <algorithm>
#include <cstring>

#include "cpu/filter/visoraFilterBorder.h"
#include "cpu/filter/visoraFilterMedian.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/filter.h"

namespace
{

using visora::medianOf3;
using visora::medianOfColumns;
using visora::sortColumn;
using visora::SortedColumn;

uint8_t medianAt(const visora::BorderedImage& image, int64_t x, int64_t y)
{
    const auto column = [&](int64_t at)
    { return sortColumn(image.at(at, y - 1), image.at(at, y), image.at(at, y + 1)); };
    return medianOfColumns(column(x - 1), column(x), column(x + 1));
}

}  // namespace

void sortColumeWiseInWindow3x3(uint8_t window[9])
{
    for (int x = 0; x < 3; ++x)
    {
        const SortedColumn column = sortColumn(window[x], window[3 + x], window[6 + x]);
        window[x] = static_cast<uint8_t>(column.high);
        window[3 + x] = static_cast<uint8_t>(column.middle);
        window[6 + x] = static_cast<uint8_t>(column.low);
    }
}

uint8_t findMedianInSortedWindow3x3(const uint8_t window[9])
{
    const auto column = [&](int x) { return SortedColumn{window[x], window[3 + x], window[6 + x]}; };
    return medianOfColumns(column(0), column(1), column(2));
}

vsrStatus vsrFilterMedian3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint8_t* dst, uint32_t dstStride)
{
    if (srcWidth < 3 || srcHeight < 3)
    {
        return VISORA_SUCCESS;
    }
    for (uint32_t y = 1; y < srcHeight - 1; ++y)
    {
        const uint8_t* centre = src + size_t{y} * srcStride;
        const uint8_t* above = centre - srcStride;
        const uint8_t* below = centre + srcStride;
        uint8_t* out = dst + size_t{y} * dstStride;

        SortedColumn left = sortColumn(above[0], centre[0], below[0]);
        SortedColumn middle = sortColumn(above[1], centre[1], below[1]);
        for (uint32_t x = 1; x < srcWidth - 1; ++x)
        {
            const SortedColumn right = sortColumn(above[x + 1], centre[x + 1], below[x + 1]);
            out[x] = medianOfColumns(left, middle, right);
            left = middle;
            middle = right;
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrFilterMedian3x3u8_v3C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    vsrFilterMedian3x3u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    if (borderType == VISORA_BORDER_CONSTANT || borderType == VISORA_BORDER_REPLICATE)
    {
        const visora::BorderedImage image(src, srcWidth, srcHeight, srcStride, borderType, borderValue);
        visora::forEachBorderPixel(srcWidth, srcHeight, 1,
                                   [&](uint32_t x, uint32_t y)
                                   { dst[size_t{y} * dstStride + x] = medianAt(image, x, y); });
    }
    return VISORA_SUCCESS;
}

int16_t fast_median_sort(int16_t* values, int32_t count)
{
    const ptrdiff_t rank = (count - 1) / 2;
    ptrdiff_t low = 0;
    ptrdiff_t high = count - 1;
    while (low < high)
    {
        const int16_t first = values[low];
        const int16_t middle = values[low + (high - low) / 2];
        const int16_t last = values[high];
        const int pivot = medianOf3(first, middle, last);

        // Hoare's partition: afterwards no value up to j exceeds the pivot and none from i on is below it.
        ptrdiff_t i = low;
        ptrdiff_t j = high;
        while (i <= j)
        {
            while (values[i] < pivot)
            {
                ++i;
            }
            while (values[j] > pivot)
            {
                --j;
            }
            if (i <= j)
            {
                std::swap(values[i++], values[j--]);
            }
        }
        if (rank <= j)
        {
            high = j;
        }
        else if (rank >= i)
        {
            low = i;
        }
        else
        {
            break;
        }
    }
    return values[rank];
}

vsrStatus vsrFilterMedianMxNs16C(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t M, uint32_t N, int16_t* dst, uint32_t dstStride)
{
    const size_t srcStep = srcStride / sizeof(int16_t);
    const size_t dstStep = dstStride / sizeof(int16_t);
    const size_t halfWidth = M / 2;
    const size_t halfHeight = N / 2;
    const visora::Scratch scratch(size_t{M} * N * sizeof(int16_t), 16);
    auto* const window = scratch.as<int16_t>();
    if (!window)
    {
        return VISORA_ENOMEM;
    }
    for (size_t y = halfHeight; y + halfHeight < srcHeight; ++y)
    {
        for (size_t x = halfWidth; x + halfWidth < srcWidth; ++x)
        {
            const int16_t* corner = src + (y - halfHeight) * srcStep + (x - halfWidth);
            // The counter has 8 bits by contract: with N of 256 or more this does not end.
            // NOLINTNEXTLINE(bugprone-too-small-loop-variable)
            for (uint8_t row = 0; row < N; ++row)
            {
                std::memcpy(window + size_t{row} * M, corner + row * srcStep, M * sizeof(int16_t));
            }
            dst[y * dstStep + x] = fast_median_sort(window, static_cast<int32_t>(M * N));
        }
    }
    return VISORA_SUCCESS;
}
