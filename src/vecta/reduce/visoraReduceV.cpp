// Sums, means, counts, extremes and projections of an image, vector variants.
#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/reduce/visoraReduceV.cpp"
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

using DS16 = hn::ScalableTag<int16_t>;
using DS32 = hn::ScalableTag<int32_t>;
using DS64 = hn::ScalableTag<int64_t>;
using DU64 = hn::ScalableTag<uint64_t>;
constexpr size_t kBytes = hn::MaxLanes(D8());

// ---- What is added, vector by vector ----

constexpr auto addSet = [](auto part, const uint8_t* src) HWY_ATTR
{ return hn::Add(part, hn::Min(hn::LoadU(D8(), src), hn::Set(D8(), uint8_t{1}))); };

constexpr auto addBits = [](auto part, const uint8_t* src) HWY_ATTR
{ return hn::Add(part, hn::PopulationCount(hn::LoadU(D8(), src))); };

constexpr auto addPairs = [](auto part, const int16_t* src) HWY_ATTR
{
    const auto v = hn::LoadU(DS16(), src);
#if HWY_ARCH_ARM_A64
    return decltype(part)(vpadalq_s16(part.raw, v.raw));
#else
    auto none = hn::Zero(DS32());
    return hn::ReorderWidenMulAccumulate(DS32(), v, hn::Set(DS16(), int16_t{1}), part, none);
#endif
};

constexpr auto addSquaresOf16 = [](auto part, const int16_t* src) HWY_ATTR
{
    const auto v = hn::LoadU(DS16(), src);
#if HWY_ARCH_ARM_A64
    const uint32x4_t low = vreinterpretq_u32_s32(vmull_s16(vget_low_s16(v.raw), vget_low_s16(v.raw)));
    const uint32x4_t high = vreinterpretq_u32_s32(vmull_high_s16(v.raw, v.raw));
    return decltype(part)(vpadalq_u32(vpadalq_u32(part.raw, low), high));
#else
    // Two squares of -32768 make 2^31: a number without a sign.
    auto none = hn::Zero(DS32());
    const auto pairs = hn::BitCast(DU64(), hn::ReorderWidenMulAccumulate(DS32(), v, v, hn::Zero(DS32()), none));
    return hn::Add(hn::Add(part, hn::And(pairs, hn::Set(DU64(), 0xFFFFFFFFU))), hn::ShiftRight<32>(pairs));
#endif
};

constexpr auto addLongs = [](auto part, const int32_t* src) HWY_ATTR
{
#if HWY_ARCH_ARM_A64
    return decltype(part)(vpadalq_s32(part.raw, vld1q_s32(src)));
#else
    const hn::Rebind<int32_t, DS64> half;
    part = hn::Add(part, hn::PromoteTo(DS64(), hn::LoadU(half, src)));
    return hn::Add(part, hn::PromoteTo(DS64(), hn::LoadU(half, src + hn::MaxLanes(half))));
#endif
};

using NonZeroCount = Sum<uint8_t, kBytes, 255, decltype(addSet)>;
using BitCount = Sum<uint8_t, kBytes, 31, decltype(addBits)>;
using SumS16 = Sum<int32_t, kBytes / 2, 32768, decltype(addPairs)>;  // twice 2^15 each
using SquaresS16 = Sum<uint64_t, kBytes / 2, SIZE_MAX, decltype(addSquaresOf16)>;
using SumS32 = Sum<int64_t, kBytes / 4, SIZE_MAX, decltype(addLongs)>;

// The 16 partial sums, in double precision.
struct SumF32
{
    using D = hn::ScalableTag<double>;
    static constexpr size_t kVector = hn::MaxLanes(D());
    static constexpr size_t kVectors = 16 / kVector;
    static constexpr size_t kLanes = 16;
    static constexpr size_t kSteps = SIZE_MAX;
    static constexpr bool kMayRepeat = false;

    HWY_INLINE SumF32() { std::fill_n(parts, kVectors, hn::Zero(D())); }

    HWY_INLINE void add(size_t /*chain*/, const float* src)
    {
        const hn::Rebind<float, D> half;
        for (size_t k = 0; k < kVectors; ++k)
        {
            parts[k] = hn::Add(parts[k], hn::PromoteTo(D(), hn::LoadU(half, src + k * kVector)));
        }
    }

    HWY_INLINE void flush() {}

    HWY_INLINE double total() const
    {
        PartialSums<double> sums;
        for (size_t k = 0; k < kVectors; ++k)
        {
            hn::StoreU(parts[k], D(), sums.partial.data() + k * kVector);
        }
        return sums.total();
    }

    hn::Vec<D> parts[kVectors];
};

// ---- Images ----

template <class Sum, class T>
HWY_INLINE uint64_t sumImage(const T* src, uint32_t width, uint32_t height, uint32_t stride)
{
    Sum sum;
    foldRows(width, height, sum, source(src, stride));
    return sum.total();
}

HWY_INLINE vsrStatus sumOfPixels(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                 const uint8_t* mask, uint32_t maskStride, uint64_t* sum)
{
    PixelSum pixels;
    mask == nullptr ? foldRows(width, height, pixels, source(src, stride))
                    : foldRows(width, height, pixels, source(src, stride), source(mask, maskStride));
    *sum = pixels.total();
    return VISORA_SUCCESS;
}

// *result = the sum.
template <class Sum>
constexpr auto sumInto =
    [](const auto* src, uint32_t width, uint32_t height, uint32_t stride, auto* result) HWY_ATTR -> vsrStatus {
    *result = static_cast<std::remove_pointer_t<decltype(result)>>(sumImage<Sum>(src, width, height, stride));
    return VISORA_SUCCESS;
};

HWY_INLINE vsrStatus countBits(const uint32_t* src, uint32_t length, uint32_t* bitCount)
{
    BitCount bits;
    foldRows(size_t{length} * sizeof(*src), 1, bits, source(reinterpret_cast<const uint8_t*>(src), 0));
    *bitCount = static_cast<uint32_t>(bits.total());
    return VISORA_SUCCESS;
}

HWY_INLINE vsrStatus sumFloats(const float* src, uint32_t width, uint32_t height, uint32_t stride, float* sum)
{
    SumF32 parts;
    // Each row begins with the first partial sum.
    for (uint32_t y = 0; y < height; ++y)
    {
        foldRows(width, 1, parts, source(imageRow(src, stride, y), 0));
    }
    *sum = visora::oneNan(static_cast<float>(parts.total()));
    return VISORA_SUCCESS;
}

HWY_INLINE vsrStatus averagePixels(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                   const uint8_t* mask, uint32_t maskStride, float* average)
{
    const uint64_t count =
        mask == nullptr ? uint64_t{width} * height : sumImage<NonZeroCount>(mask, width, height, maskStride);
    uint64_t sum;
    sumOfPixels(src, width, height, stride, mask, maskStride, &sum);
    *average = mean(static_cast<double>(sum), count);
    return VISORA_SUCCESS;
}

HWY_INLINE vsrStatus averageLongs(const int32_t* src, uint32_t width, uint32_t height, uint32_t stride, float* average)
{
    const auto sum = static_cast<int64_t>(sumImage<SumS32>(src, width, height, stride));
    *average = mean(static_cast<double>(sum), uint64_t{width} * height);
    return VISORA_SUCCESS;
}

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

VSR_VARIANT(vsrSumu8, sumOfPixels);
VSR_VARIANT(vsrSums16, sumInto<SumS16>);
VSR_VARIANT(vsrSumf32, sumFloats);
VSR_VARIANT(vsrSumOfSquaresu8, sumInto<SquaresU8>);
VSR_VARIANT(vsrSumOfSquaress16, sumInto<SquaresS16>);
VSR_VARIANT(vsrCountNonZerou8, sumInto<NonZeroCount>);
VSR_VARIANT(vsrBitCountu8, sumInto<BitCount>);
VSR_VARIANT(vsrBitCountu32, countBits);
VSR_VARIANT(vsrAverageu8, averagePixels);
VSR_VARIANT(vsrAverages32, averageLongs);
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
