// Median filters, reference variants.
#include <algorithm>

#include "cpu/visoraBorder.h"
#include "visora/filter.h"

namespace
{

using std::max;
using std::min;

// A column of three pixels in descending order.
struct SortedColumn
{
    uint8_t high;
    uint8_t middle;
    uint8_t low;
};

uint8_t medianOf3(uint8_t a, uint8_t b, uint8_t c)
{
    return max(min(a, b), min(max(a, b), c));
}

void orderDescending(uint8_t& first, uint8_t& second)
{
    const uint8_t larger = max(first, second);
    second = min(first, second);
    first = larger;
}

SortedColumn sortColumn(uint8_t top, uint8_t middle, uint8_t bottom)
{
    orderDescending(top, middle);
    orderDescending(top, bottom);
    orderDescending(middle, bottom);
    return {top, middle, bottom};
}

// The median of nine is the median of the smallest high, the median middle and the largest low of the three columns.
uint8_t medianOfColumns(SortedColumn a, SortedColumn b, SortedColumn c)
{
    return medianOf3(min({a.high, b.high, c.high}), medianOf3(a.middle, b.middle, c.middle),
                     max({a.low, b.low, c.low}));
}

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
        window[x] = column.high;
        window[3 + x] = column.middle;
        window[6 + x] = column.low;
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
