// Vector variants that are made of others, or of moving memory: range stretching, frames.
#include <algorithm>
#include <cstring>
#include <functional>

#include "cpu/element/visoraElement.h"
#include "cpu/histogram/visoraHistogram.h"
#include "visora/variants/arithmetic.h"

namespace visora
{
namespace
{

// As many rows at once as counts of 32 bits can hold.
void countValues(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, uint64_t (&counts)[256])
{
    for (uint32_t rows; height != 0; height -= rows)
    {
        rows = std::min(height, UINT32_MAX / width);
        const Histogram some = histogramOf(src, width, rows, stride);
        std::transform(some.begin(), some.end(), counts, counts, std::plus<uint64_t>());
        src += size_t{rows} * stride;
    }
}

}  // namespace
}  // namespace visora

vsrStatus vsrNormalizeRangeu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t lowPermille, uint32_t highPermille, uint8_t low, uint8_t high, uint8_t* dst,
                               uint32_t dstStride)
{
    uint8_t table[256];
    if (lowPermille == 0 && highPermille == 1000)
    {
        uint8_t lo;
        uint8_t hi;
        vsrMinMaxu8V(src, srcWidth, srcHeight, srcStride, nullptr, 0, &lo, &hi);
        visora::normalizingTable(lo, hi, low, high, table);
    }
    else
    {
        uint64_t counts[256] = {};
        visora::countValues(src, srcWidth, srcHeight, srcStride, counts);
        visora::normalizingTable(counts, lowPermille, highPermille, low, high, table);
    }
    return vsrTableLookupu8V(src, srcWidth, srcHeight, srcStride, table, dst, dstStride);
}

vsrStatus vsrSetBorderu8V(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t border,
                          vsrBorderType borderType, uint8_t borderValue)
{
    const size_t width = dstWidth - 2 * size_t{border};
    const size_t height = dstHeight - 2 * size_t{border};
    const bool isConstant = borderType == VISORA_BORDER_CONSTANT;
    uint8_t* const picture = dst + size_t{border} * dstStride + border;
    for (size_t y = 0; y < height; ++y)
    {
        uint8_t* const row = picture + y * dstStride;
        if (borderType == VISORA_BORDER_MIRROR && width > 1)
        {
            // Beyond the picture's width it is the frame itself that is mirrored, where it was filled before.
            uint8_t* const last = row + width - 1;
            for (ptrdiff_t x = 1; x <= static_cast<ptrdiff_t>(border); ++x)
            {
                row[-x] = row[x];
                last[x] = last[-x];
            }
        }
        else
        {
            std::memset(row - border, isConstant ? borderValue : row[0], border);
            std::memset(row + width, isConstant ? borderValue : row[width - 1], border);
        }
    }
    const auto fillRow = [&](size_t y)
    {
        if (isConstant)
        {
            std::memset(dst + y * dstStride, borderValue, dstWidth);
        }
        else
        {
            const size_t from = visora::insideOf(borderType, static_cast<int64_t>(y) - border, height) + border;
            std::memcpy(dst + y * dstStride, dst + from * dstStride, dstWidth);
        }
    };
    for (size_t y = 0; y < border; ++y)
    {
        fillRow(y);
        fillRow(border + height + y);
    }
    return VISORA_SUCCESS;
}
