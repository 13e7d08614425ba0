// Median filters, vector variants.
#include "visora/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/visoraMedianV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Three pixels of each of N columns, in ascending order.
template <class V>
struct SortedColumns
{
    V low;
    V middle;
    V high;
};

// Puts a further pixel into a sorted pair of each column.
template <class V>
HWY_INLINE SortedColumns<V> insert(V pairLow, V pairHigh, V pixel)
{
    const V rest = hn::Max(pixel, pairLow);
    return {hn::Min(pixel, pairLow), hn::Min(rest, pairHigh), hn::Max(rest, pairHigh)};
}

template <class V>
HWY_INLINE V medianOf3(V a, V b, V c)
{
    return hn::Max(hn::Min(a, b), hn::Min(hn::Max(a, b), c));
}

// The median of nine is the median of the largest low, the median middle and the smallest high.
template <class V>
HWY_INLINE V medianOfColumns(const SortedColumns<V>& a, const SortedColumns<V>& b, const SortedColumns<V>& c)
{
    return medianOf3(hn::Max(hn::Max(a.low, b.low), c.low), medianOf3(a.middle, b.middle, c.middle),
                     hn::Min(hn::Min(a.high, b.high), c.high));
}

// Columns 1 .. width - 2 of two rows at once; the two share the sorted pair of the rows between them.
// rows[0..3] are the rows above, of, of and below the two output rows.
template <class D>
HWY_INLINE void medianTwoRows(D d, const uint8_t* const rows[4], size_t width, uint8_t* first, uint8_t* second)
{
    using V = hn::Vec<D>;
    const auto columnsAt = [&](size_t x, SortedColumns<V>& upper, SortedColumns<V>& lower) HWY_ATTR
    {
        const V b = hn::LoadU(d, rows[1] + x);
        const V c = hn::LoadU(d, rows[2] + x);
        const V pairLow = hn::Min(b, c);
        const V pairHigh = hn::Max(b, c);
        upper = insert(pairLow, pairHigh, hn::LoadU(d, rows[0] + x));
        lower = insert(pairLow, pairHigh, hn::LoadU(d, rows[3] + x));
    };
    coverRange(1, width - 1, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   SortedColumns<V> upper[3];
                   SortedColumns<V> lower[3];
                   columnsAt(x - 1, upper[0], lower[0]);
                   columnsAt(x, upper[1], lower[1]);
                   columnsAt(x + 1, upper[2], lower[2]);
                   hn::StoreU(medianOfColumns(upper[0], upper[1], upper[2]), d, first + x);
                   hn::StoreU(medianOfColumns(lower[0], lower[1], lower[2]), d, second + x);
               });
}

template <class D>
HWY_INLINE void medianOneRow(D d, const uint8_t* above, const uint8_t* centre, const uint8_t* below, size_t width,
                             uint8_t* out)
{
    using V = hn::Vec<D>;
    const auto columnsAt = [&](size_t x) HWY_ATTR
    {
        const V a = hn::LoadU(d, above + x);
        const V b = hn::LoadU(d, centre + x);
        return insert(hn::Min(a, b), hn::Max(a, b), hn::LoadU(d, below + x));
    };
    coverRange(1, width - 1, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               { hn::StoreU(medianOfColumns(columnsAt(x - 1), columnsAt(x), columnsAt(x + 1)), d, out + x); });
}

vsrStatus median3x3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    const size_t inner = srcWidth < 3 ? 0 : srcWidth - 2;
    const bool done = srcHeight >= 3 &&
                      withFittingVector<uint8_t>(inner,
                                                 [&](auto d) HWY_ATTR
                                                 {
                                                     uint32_t y = 1;
                                                     for (; y + 2 < srcHeight; y += 2)
                                                     {
                                                         const uint8_t* above = src + size_t{y - 1} * srcStride;
                                                         const uint8_t* rows[4] = {above, above + srcStride,
                                                                                   above + size_t{srcStride} * 2,
                                                                                   above + size_t{srcStride} * 3};
                                                         uint8_t* out = dst + size_t{y} * dstStride;
                                                         medianTwoRows(d, rows, srcWidth, out, out + dstStride);
                                                     }
                                                     if (y + 1 < srcHeight)
                                                     {
                                                         const uint8_t* centre = src + size_t{y} * srcStride;
                                                         medianOneRow(d, centre - srcStride, centre, centre + srcStride,
                                                                      srcWidth, dst + size_t{y} * dstStride);
                                                     }
                                                 });
    return done ? vsrStatus{VISORA_SUCCESS}
                : vsrFilterMedian3x3u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include "cpu/visoraBorder.h"

namespace visora
{
HWY_EXPORT(median3x3);
}

vsrStatus vsrFilterMedian3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint8_t* dst, uint32_t dstStride)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(median3x3)(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrFilterMedian3x3u8_v3V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    return vsrFilterMedian3x3u8_v3C(src, srcWidth, srcHeight, srcStride, dst, dstStride, borderType, borderValue);
}

#endif
