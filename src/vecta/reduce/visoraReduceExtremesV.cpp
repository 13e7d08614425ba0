// Extremes of an image and projections, vector variants.
#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/reduce/visoraReduceExtremesV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/reduce/visoraReduce-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{
namespace
{

template <class T>
HWY_INLINE vsrStatus storeExtremes(const LaneExtremes<T>& lanes, T* minValue, T* maxValue)
{
    Extremes<T> found;
    found.minValue = lanes.smallest();
    found.maxValue = lanes.largest();
    return found.store(minValue, maxValue);
}

constexpr auto extremes = [](const auto* src, uint32_t width, uint32_t height, uint32_t stride, auto* minValue,
                             auto* maxValue) HWY_ATTR -> vsrStatus
{
    using T = std::remove_pointer_t<decltype(minValue)>;
    const bool isPacked = source(src, stride).isPacked(width);
    const size_t rowWidth = isPacked ? size_t{width} * height : width;
    LaneExtremes<T> lanes;
    for (uint32_t y = 0; y < (isPacked ? 1 : height); ++y)
    {
        extremesOfRow(rowWidth, lanes, imageRow(src, stride, y));
    }
    return storeExtremes(lanes, minValue, maxValue);
};

// The first place from row y on that holds the value; none leaves `place` as it is.
template <class T>
HWY_INLINE void findFirst(const T* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t y, T value,
                          uint32_t (&place)[2])
{
    const hn::ScalableTag<T> d;
    for (; y < height; ++y)
    {
        const T* const row = imageRow(src, stride, y);
        uint32_t x = 0;
        for (; x + hn::Lanes(d) <= width; x += static_cast<uint32_t>(hn::Lanes(d)))
        {
            const intptr_t lane = hn::FindFirstTrue(d, hn::Eq(hn::LoadU(d, row + x), hn::Set(d, value)));
            if (lane >= 0)
            {
                place[0] = x + static_cast<uint32_t>(lane);
                place[1] = y;
                return;
            }
        }
        for (; x < width; ++x)
        {
            if (row[x] == value)
            {
                place[0] = x;
                place[1] = y;
                return;
            }
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
        extremesOfRow(width, lanes, imageRow(src, stride, y));
        if (!hn::AllFalse(d, hn::Lt(lanes.low, hn::Set(d, found.minValue))))
        {
            found.minValue = lanes.smallest();
            minRow = y;
        }
        if (!hn::AllFalse(d, hn::Gt(lanes.high, hn::Set(d, found.maxValue))))
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

// kVectors vectors of columns from x on. Sums of 16 bits hold 257 rows.
template <size_t kVectors, class D>
HWY_INLINE void sumColumns(D d, const uint8_t* src, uint32_t height, uint32_t stride, uint32_t* dst)
{
    const hn::Repartition<uint16_t, D> d16;
    const hn::Rebind<uint8_t, decltype(d16)> half;
    constexpr size_t lanes = hn::MaxLanes(d16);
    constexpr size_t kColumns = kVectors * hn::MaxLanes(d);
    uint32_t totals[kColumns] = {};
    for (uint32_t y = 0; y < height;)
    {
        hn::VFromD<decltype(d16)> sums[2 * kVectors];
        for (auto& sum : sums)
        {
            sum = hn::Zero(d16);
        }
        for (const uint32_t end = height - y > 257 ? y + 257 : height; y < end; ++y, src += stride)
        {
            for (size_t k = 0; k < 2 * kVectors; ++k)
            {
                sums[k] = hn::Add(sums[k], hn::PromoteTo(d16, hn::LoadU(half, src + k * lanes)));
            }
        }
        uint16_t parts[kColumns];
        for (size_t k = 0; k < 2 * kVectors; ++k)
        {
            hn::StoreU(sums[k], d16, parts + k * lanes);
        }
        for (size_t x = 0; x < kColumns; ++x)
        {
            totals[x] += parts[x];
        }
    }
    std::copy_n(totals, kColumns, dst);
}

template <size_t kVectors, class D, class Combine>
HWY_INLINE void combineColumns(D d, const uint8_t* src, uint32_t height, uint32_t stride, uint32_t* dst,
                               Combine combine)
{
    constexpr size_t lanes = hn::MaxLanes(d);
    hn::VFromD<D> found[kVectors];
    for (size_t k = 0; k < kVectors; ++k)
    {
        found[k] = hn::LoadU(d, src + k * lanes);
    }
    for (uint32_t y = 1; y < height; ++y)
    {
        src += stride;
        for (size_t k = 0; k < kVectors; ++k)
        {
            found[k] = combine(found[k], hn::LoadU(d, src + k * lanes));
        }
    }
    uint8_t bytes[kVectors * lanes];
    for (size_t k = 0; k < kVectors; ++k)
    {
        hn::StoreU(found[k], d, bytes + k * lanes);
    }
    std::copy_n(bytes, kVectors * lanes, dst);
}

template <size_t kVectors, class D>
HWY_INLINE void reduceStrip(D d, const uint8_t* src, uint32_t height, uint32_t stride, vsrReduction reduction,
                            uint32_t* dst)
{
    if (reduction == VISORA_REDUCE_SUM)
    {
        sumColumns<kVectors>(d, src, height, stride, dst);
    }
    else if (reduction == VISORA_REDUCE_MIN)
    {
        combineColumns<kVectors>(d, src, height, stride, dst, [](auto a, auto b) HWY_ATTR { return hn::Min(a, b); });
    }
    else
    {
        combineColumns<kVectors>(d, src, height, stride, dst, [](auto a, auto b) HWY_ATTR { return hn::Max(a, b); });
    }
}

}  // namespace

VSR_KERNEL(vsrMinMaxs16, minMaxS16, extremes);
VSR_KERNEL(vsrMinMaxs32, minMaxS32, extremes);
VSR_KERNEL(vsrMinMaxf32, minMaxF32, extremes);
VSR_KERNEL(vsrMinMaxLocu8, minMaxLocU8, extremesAndPlaces);
VSR_KERNEL(vsrMinMaxLocs16, minMaxLocS16, extremesAndPlaces);
VSR_KERNEL(vsrMinMaxLocf32, minMaxLocF32, extremesAndPlaces);

vsrStatus minMaxU8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const uint8_t* mask,
                   uint32_t maskStride, uint8_t* minValue, uint8_t* maxValue)
{
    if (mask == nullptr)
    {
        return extremes(src, srcWidth, srcHeight, srcStride, minValue, maxValue);
    }
    LaneExtremes<uint8_t> lanes;
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        extremesOfRow(srcWidth, lanes, imageRow(src, srcStride, y), imageRow(mask, maskStride, y));
    }
    return storeExtremes(lanes, minValue, maxValue);
}

bool reduceColumns(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                   vsrReduction reduction, uint32_t* dst)
{
    return withFittingVector<uint8_t>(
        srcWidth,
        [&](auto d) HWY_ATTR
        {
            constexpr size_t kStrip = 4 * hn::MaxLanes(d);
            if (srcWidth >= kStrip)
            {
                coverRange(0, srcWidth, kStrip,
                           [&](size_t x) HWY_ATTR
                           { reduceStrip<4>(d, src + x, srcHeight, srcStride, reduction, dst + x); });
            }
            else
            {
                coverRange(0, srcWidth, kStrip / 4,
                           [&](size_t x) HWY_ATTR
                           { reduceStrip<1>(d, src + x, srcHeight, srcStride, reduction, dst + x); });
            }
        });
}

vsrStatus reduceRows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                     vsrReduction reduction, uint32_t* dst)
{
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* const row = imageRow(src, srcStride, y);
        if (reduction == VISORA_REDUCE_SUM)
        {
            PixelSum sum;
            sumRows(srcWidth, 1, sum, source(row, 0));
            dst[y] = static_cast<uint32_t>(sum.total());
        }
        else
        {
            LaneExtremes<uint8_t> lanes;
            extremesOfRow(srcWidth, lanes, row);
            dst[y] = reduction == VISORA_REDUCE_MIN ? lanes.smallest() : lanes.largest();
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrMinMaxu8, minMaxU8);
VSR_VECTOR(vsrMinMaxs16, minMaxS16);
VSR_VECTOR(vsrMinMaxs32, minMaxS32);
VSR_VECTOR(vsrMinMaxf32, minMaxF32);
VSR_VECTOR(vsrMinMaxLocu8, minMaxLocU8);
VSR_VECTOR(vsrMinMaxLocs16, minMaxLocS16);
VSR_VECTOR(vsrMinMaxLocf32, minMaxLocF32);
VSR_VECTOR(vsrReduceColumnsu8, reduceColumns);
VSR_VECTOR(vsrReduceRowsu8, reduceRows);

#endif
