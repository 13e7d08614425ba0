// Extremes of an image and projections, vector variants.
#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/reduce/visoraReduceExtremesV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/reduce/visoraReduce-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{
namespace
{

// ---- Extremes ----

template <class T, class... Planes>
HWY_INLINE vsrStatus findExtremes(uint32_t width, uint32_t height, T* minValue, T* maxValue, Planes... planes)
{
    LaneExtremes<T> lanes;
    foldRows(width, height, lanes, planes...);
    Extremes<T> found;
    found.minValue = lanes.smallest();
    found.maxValue = lanes.largest();
    return found.store(minValue, maxValue);
}

constexpr auto extremes =
    [](const auto* src, uint32_t width, uint32_t height, uint32_t stride, auto* minValue, auto* maxValue) HWY_ATTR
{ return findExtremes(width, height, minValue, maxValue, source(src, stride)); };

HWY_INLINE vsrStatus extremesOfPixels(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                      const uint8_t* mask, uint32_t maskStride, uint8_t* minValue, uint8_t* maxValue)
{
    return mask == nullptr
               ? extremes(src, width, height, stride, minValue, maxValue)
               : findExtremes(width, height, minValue, maxValue, source(src, stride), source(mask, maskStride));
}

// The first place from row y on that holds the value; none leaves `place` as it is.
template <class T>
HWY_INLINE void findFirst(const T* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t y, T value,
                          uint32_t (&place)[2])
{
    const hn::ScalableTag<T> d;
    const auto lanes = static_cast<uint32_t>(hn::Lanes(d));
    for (; y < height; ++y)
    {
        const T* const row = imageRow(src, stride, y);
        uint32_t x = 0;
        while (x + lanes <= width && hn::AllFalse(d, hn::Eq(hn::LoadU(d, row + x), hn::Set(d, value))))
        {
            x += lanes;
        }
        x = static_cast<uint32_t>(std::find(row + x, row + width, value) - row);
        if (x < width)
        {
            place[0] = x;
            place[1] = y;
            return;
        }
    }
}

constexpr auto extremesAndPlaces = [](const auto* src, uint32_t width, uint32_t height, uint32_t stride, auto* minValue,
                                      auto* maxValue, uint32_t* minXY, uint32_t* maxXY) HWY_ATTR -> vsrStatus
{
    using T = std::remove_pointer_t<decltype(minValue)>;
    const hn::ScalableTag<T> d;
    Extremes<T> found;
    // The first row with an element that is better than all before it; no element is better than what the search begins
    // with when all are equal to that.
    uint32_t minRow = 0;
    uint32_t maxRow = 0;
    for (uint32_t y = 0; y < height; ++y)
    {
        LaneExtremes<T> lanes;
        foldRows(width, 1, lanes, source(imageRow(src, stride, y), 0));
        if (!hn::AllFalse(d, hn::Lt(lanes.lows[0], hn::Set(d, found.minValue))))
        {
            found.minValue = lanes.smallest();
            minRow = y;
        }
        if (!hn::AllFalse(d, hn::Gt(lanes.highs[0], hn::Set(d, found.maxValue))))
        {
            found.maxValue = lanes.largest();
            maxRow = y;
        }
    }
    findFirst(src, width, height, stride, minRow, found.minValue, found.minXY);
    findFirst(src, width, height, stride, maxRow, found.maxValue, found.maxXY);
    return found.store(minValue, maxValue, minXY, maxXY);
};

// ---- Projections ----

// Adds to totals what step(part, pixels) makes of kParts vectors of columns, as many as a vector of d has, over some
// rows from `first` on.
template <size_t kParts, class D, class Step>
HWY_INLINE void foldColumns(D d, const uint8_t* src, uint32_t height, uint32_t stride, hn::VFromD<D> first, Step step,
                            uint32_t* totals)
{
    constexpr size_t lanes = hn::MaxLanes(D());
    hn::VFromD<D> parts[kParts];
    std::fill_n(parts, kParts, first);
    for (uint32_t y = 0; y < height; ++y, src += stride)
    {
        for (size_t k = 0; k < kParts; ++k)
        {
            parts[k] = step(parts[k], hn::LoadU(hn::Rebind<uint8_t, D>(), src + k * lanes));
        }
    }
    hn::TFromD<D> results[kParts * lanes];
    for (size_t k = 0; k < kParts; ++k)
    {
        hn::StoreU(parts[k], d, results + k * lanes);
    }
    for (size_t x = 0; x < kParts * lanes; ++x)
    {
        totals[x] += results[x];
    }
}

template <size_t kVectors, class D>
HWY_INLINE void reduceStrip(D d, const uint8_t* src, uint32_t height, uint32_t stride, vsrReduction reduction,
                            uint32_t* dst)
{
    uint32_t totals[kVectors * hn::MaxLanes(D())] = {};
    if (reduction == VISORA_REDUCE_MIN)
    {
        foldColumns<kVectors>(
            d, src, height, stride, hn::Set(d, uint8_t{255}), [](auto a, auto b) HWY_ATTR { return hn::Min(a, b); },
            totals);
    }
    else if (reduction == VISORA_REDUCE_MAX)
    {
        foldColumns<kVectors>(
            d, src, height, stride, hn::Zero(d), [](auto a, auto b) HWY_ATTR { return hn::Max(a, b); }, totals);
    }
    else
    {
        const hn::Repartition<uint16_t, D> d16;
        // Sums of 16 bits hold 257 rows.
        for (uint32_t y = 0; y < height; y += 257)
        {
            foldColumns<2 * kVectors>(
                d16, src + size_t{y} * stride, std::min(height - y, 257U), stride, hn::Zero(d16),
                [=](auto a, auto b) HWY_ATTR { return hn::Add(a, hn::PromoteTo(d16, b)); }, totals);
        }
    }
    std::copy_n(totals, std::size(totals), dst);
}

HWY_INLINE vsrStatus reduceColumns(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                   vsrReduction reduction, uint32_t* dst)
{
    const bool isWide = withFittingVector<uint8_t>(
        width,
        [&](auto d) HWY_ATTR
        {
            const size_t strip = (width >= 4 * hn::MaxLanes(d) ? 4 : 1) * hn::MaxLanes(d);
            coverRange(0, width, strip,
                       [&](size_t x) HWY_ATTR
                       {
                           strip == hn::MaxLanes(d) ? reduceStrip<1>(d, src + x, height, stride, reduction, dst + x)
                                                    : reduceStrip<4>(d, src + x, height, stride, reduction, dst + x);
                       });
        });
    return isWide ? vsrStatus{VISORA_SUCCESS} : vsrReduceColumnsu8C(src, width, height, stride, reduction, dst);
}

HWY_INLINE vsrStatus reduceRows(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                vsrReduction reduction, uint32_t* dst)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const auto row = source(imageRow(src, stride, y), 0);
        if (reduction == VISORA_REDUCE_SUM)
        {
            PixelSum sum;
            foldRows(width, 1, sum, row);
            dst[y] = static_cast<uint32_t>(sum.total());
        }
        else
        {
            LaneExtremes<uint8_t> lanes;
            foldRows(width, 1, lanes, row);
            dst[y] = reduction == VISORA_REDUCE_MIN ? lanes.smallest() : lanes.largest();
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

VSR_VARIANT(vsrMinMaxu8, extremesOfPixels);
VSR_VARIANT(vsrMinMaxs16, extremes);
VSR_VARIANT(vsrMinMaxs32, extremes);
VSR_VARIANT(vsrMinMaxf32, extremes);
VSR_VARIANT(vsrMinMaxLocu8, extremesAndPlaces);
VSR_VARIANT(vsrMinMaxLocs16, extremesAndPlaces);
VSR_VARIANT(vsrMinMaxLocf32, extremesAndPlaces);
VSR_VARIANT(vsrReduceColumnsu8, reduceColumns);
VSR_VARIANT(vsrReduceRowsu8, reduceRows);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();
