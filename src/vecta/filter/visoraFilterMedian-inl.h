// The 3x3 median over whole rows, for any pixel type. Included once per instruction set.
#if defined(VISORA_VECTA_MEDIAN_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_MEDIAN_INL_H
#undef VISORA_VECTA_MEDIAN_INL_H
#else
#define VISORA_VECTA_MEDIAN_INL_H
#endif

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
HWY_INLINE void medianTwoRows(D d, const hn::TFromD<D>* const rows[4], size_t width, hn::TFromD<D>* first,
                              hn::TFromD<D>* second)
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
    size_t begin = 1;
#if HWY_ARCH_ARM
    // Columns are sorted once; their neighbours are cut out of two vectors.
    const size_t lanes = hn::Lanes(d);
    if (width >= 3 * lanes)
    {
        constexpr int kOne = sizeof(hn::TFromD<D>);
        const auto shifted = [d](const SortedColumns<V>& v, const SortedColumns<V>& w, auto bytes) HWY_ATTR
        {
            constexpr int kBytes = decltype(bytes)::value;
            return SortedColumns<V>{hn::CombineShiftRightBytes<kBytes>(d, w.low, v.low),
                                    hn::CombineShiftRightBytes<kBytes>(d, w.middle, v.middle),
                                    hn::CombineShiftRightBytes<kBytes>(d, w.high, v.high)};
        };
        const auto medians = [&](const SortedColumns<V>& v, const SortedColumns<V>& w) HWY_ATTR
        {
            return medianOfColumns(v, shifted(v, w, std::integral_constant<int, kOne>()),
                                   shifted(v, w, std::integral_constant<int, 2 * kOne>()));
        };
        SortedColumns<V> upper, lower, nextUpper, nextLower;
        columnsAt(0, upper, lower);
        for (; begin + 2 * lanes <= width; begin += lanes)
        {
            columnsAt(begin - 1 + lanes, nextUpper, nextLower);
            hn::StoreU(medians(upper, nextUpper), d, first + begin);
            hn::StoreU(medians(lower, nextLower), d, second + begin);
            upper = nextUpper;
            lower = nextLower;
        }
        begin = std::min(begin, width - 1 - lanes);
    }
#endif
    coverRange(begin, width - 1, hn::Lanes(d),
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
HWY_INLINE void medianOneRow(D d, const hn::TFromD<D>* above, const hn::TFromD<D>* centre, const hn::TFromD<D>* below,
                             size_t width, hn::TFromD<D>* out)
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

// Columns 1 .. width - 2 of the rows begin .. end - 1. rowAt(y) gives the source rows begin - 1 .. end; finishRow(y) is
// called once a row's other columns may be written.
template <class D, class RowAt, class FinishRow>
HWY_INLINE void medianRows(D d, RowAt rowAt, size_t width, ptrdiff_t begin, ptrdiff_t end, hn::TFromD<D>* dst,
                           size_t dstStep, FinishRow finishRow)
{
    const auto outAt = [=](ptrdiff_t y) { return dst + static_cast<size_t>(y) * dstStep; };
    ptrdiff_t y = begin;
    for (; y + 1 < end; y += 2)
    {
        const hn::TFromD<D>* const rows[4] = {rowAt(y - 1), rowAt(y), rowAt(y + 1), rowAt(y + 2)};
        medianTwoRows(d, rows, width, outAt(y), outAt(y + 1));
        finishRow(y);
        finishRow(y + 1);
    }
    if (y < end)
    {
        medianOneRow(d, rowAt(y - 1), rowAt(y), rowAt(y + 1), width, outAt(y));
        finishRow(y);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
