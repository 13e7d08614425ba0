// Vector variants that are made of others, or of moving memory: range stretching, frames.
#include <algorithm>
#include <cstring>

#include "cpu/element/visoraElement.h"
#include "visora/variants/arithmetic.h"

namespace visora
{
namespace
{

// Four tables take turns, so that equal neighbours do not wait for each other.
void countValues(const uint8_t* src, size_t width, size_t height, size_t stride, uint64_t (&counts)[256])
{
    uint64_t tables[4][256] = {};
    for (size_t y = 0; y < height; ++y, src += stride)
    {
        for (size_t x = 0; x < width - width % 4; x += 4)
        {
            for (size_t k = 0; k < 4; ++k)
            {
                ++tables[k][src[x + k]];
            }
        }
        std::for_each(src + (width - width % 4), src + width, [&](uint8_t value) { ++tables[0][value]; });
    }
    for (size_t value = 0; value < 256; ++value)
    {
        counts[value] = tables[0][value] + tables[1][value] + tables[2][value] + tables[3][value];
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
        uint64_t counts[256];
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
