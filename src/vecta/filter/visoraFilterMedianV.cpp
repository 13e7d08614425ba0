// Median filters, vector variants.
#include <algorithm>

#include "cpu/filter/visoraFilterMedian.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterMedianV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterMedian-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

vsrStatus median3x3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    const size_t inner = srcWidth < 3 ? 0 : srcWidth - 2;
    const auto rowAt = [=](ptrdiff_t y) { return src + static_cast<size_t>(y) * srcStride; };
    const bool done = withFittingVector<uint8_t>(
        inner, [&](auto d) HWY_ATTR
        { medianRows(d, rowAt, srcWidth, 1, ptrdiff_t{srcHeight} - 1, dst, dstStride, [](ptrdiff_t) {}); });
    return done ? vsrStatus{VISORA_SUCCESS}
                : vsrFilterMedian3x3u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

// The first and the last pixel of a row from the columns under the window; outside(column) is the column beyond.
template <class Outside>
HWY_INLINE void medianRowEnds(const uint8_t* above, const uint8_t* centre, const uint8_t* below, size_t width,
                              uint8_t* out, Outside outside)
{
    const auto column = [=](size_t x) { return sortColumn(above[x], centre[x], below[x]); };
    const SortedColumn first = column(0);
    const SortedColumn last = column(width - 1);
    out[0] = medianOfColumns(outside(first), first, column(1));
    out[width - 1] = medianOfColumns(column(width - 2), last, outside(last));
}

vsrStatus median3x3Bordered(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    const bool replicate = borderType == VISORA_BORDER_REPLICATE;
    const size_t width = srcWidth;
    const Scratch scratch(width);
    uint8_t* const outsideRow = scratch.data();
    bool done = false;
    if (outsideRow && srcHeight > 0)
    {
        std::fill_n(outsideRow, width, borderValue);
        const ptrdiff_t lastRow = ptrdiff_t{srcHeight} - 1;
        const auto rowAt = [=](ptrdiff_t y) -> const uint8_t*
        {
            const ptrdiff_t nearest = std::clamp<ptrdiff_t>(y, 0, lastRow);
            return nearest == y || replicate ? src + static_cast<size_t>(nearest) * srcStride : outsideRow;
        };
        const SortedColumn outsideColumn = {borderValue, borderValue, borderValue};
        const auto outside = [=](SortedColumn edge) { return replicate ? edge : outsideColumn; };
        const auto writeEnds = [=](ptrdiff_t y) {
            medianRowEnds(rowAt(y - 1), rowAt(y), rowAt(y + 1), width, dst + static_cast<size_t>(y) * dstStride,
                          outside);
        };
        done = withFittingVector<uint8_t>(width < 3 ? 0 : width - 2, [&](auto d) HWY_ATTR
                                          { medianRows(d, rowAt, width, 0, lastRow + 1, dst, dstStride, writeEnds); });
    }
    return done
               ? vsrStatus{VISORA_SUCCESS}
               : vsrFilterMedian3x3u8_v3C(src, srcWidth, srcHeight, srcStride, dst, dstStride, borderType, borderValue);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(median3x3);
HWY_EXPORT(median3x3Bordered);
}  // namespace visora

vsrStatus vsrFilterMedian3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint8_t* dst, uint32_t dstStride)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(median3x3)(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrFilterMedian3x3u8_v3V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    using namespace visora;
    if (borderType != VISORA_BORDER_CONSTANT && borderType != VISORA_BORDER_REPLICATE)
    {
        return vsrFilterMedian3x3u8V(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    }
    return HWY_DYNAMIC_DISPATCH(median3x3Bordered)(src, srcWidth, srcHeight, srcStride, dst, dstStride, borderType,
                                                   borderValue);
}

#endif
