// Filling, and foreground by running means, vector variants.
#include "cpu/shape/visoraShapeFill.h"
#include "cpu/shape/visoraShapeForeground.h"
#include "visora/variants/shape.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/shape/visoraShapeFillV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Members that begin or end, sixteen pixels at once.
HWY_INLINE size_t findMember(const Members& members, const uint8_t* row, const uint8_t* reached, size_t x, size_t end,
                             bool isMember)
{
    const hn::FixedTag<uint8_t, 16> d;
    const size_t lanes = hn::Lanes(d);
    const auto low = hn::Set(d, members.low);
    const auto high = hn::Set(d, members.high);
    for (; x + lanes <= end; x += lanes)
    {
        const auto v = hn::LoadU(d, row + x);
        const auto isIn =
            hn::And(hn::Eq(hn::Min(hn::Max(v, low), high), v), hn::Eq(hn::LoadU(d, reached + x), hn::Zero(d)));
        const auto found = isMember ? isIn : hn::Not(isIn);
        if (!hn::AllFalse(d, found))
        {
            return x + static_cast<size_t>(hn::FindFirstTrue(d, found));
        }
    }
    while (x < end && members.has(row, reached, x) != isMember)
    {
        ++x;
    }
    return x;
}

vsrStatus fill(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t seedX, uint32_t seedY,
               uint8_t value, uint32_t lower, uint32_t upper, uint32_t connectivity, uint32_t floating, uint32_t* area,
               uint32_t* box)
{
    return floodFill(dst, dstWidth, dstHeight, dstStride, seedX, seedY, value, lower, upper, connectivity, floating,
                     area, box, findMember);
}

// ---- Foreground ----

struct ForegroundStep
{
    using Lanes = hn::ScalableTag<int32_t>;
    static constexpr size_t kLanes = hn::MaxLanes(Lanes());
    static constexpr size_t kUnroll = 1;

    HWY_INLINE void operator()(std::index_sequence<0> /*steps*/, const uint8_t* src, uint16_t* mean,
                               uint16_t* deviation, uint8_t* dst) const
    {
        const Lanes d;
        const hn::RebindToUnsigned<Lanes> dU;
        const hn::Rebind<uint16_t, Lanes> d16;
        const hn::Rebind<uint8_t, Lanes> d8;
        const auto promoted = [&](const uint16_t* from) HWY_ATTR
        { return hn::BitCast(d, hn::PromoteTo(dU, hn::LoadU(d16, from))); };
        const auto half = hn::Set(d, 1 << (rateShift - 1));
        const auto shift = static_cast<int>(rateShift);
        const auto m = promoted(mean);
        const auto s = promoted(deviation);
        const auto difference = hn::Sub(hn::ShiftLeft<8>(hn::PromoteTo(d, hn::LoadU(d8, src))), m);
        const auto distance = hn::Abs(difference);
        const auto limit = hn::Mul(hn::Set(dU, factor), hn::Max(hn::BitCast(dU, s), hn::Set(dU, minDeviation)));
        const auto isBack =
            hn::RebindMask(d, hn::Eq(hn::Max(hn::BitCast(dU, hn::ShiftLeft<4>(distance)), limit), limit));
        const auto learn = [&](auto old, auto toward) HWY_ATTR
        {
            const auto step = hn::ShiftRightSame(hn::Add(toward, half), shift);
            return hn::DemoteTo(d16, hn::Add(old, hn::IfThenElseZero(isBack, step)));
        };
        hn::StoreU(learn(m, difference), d16, mean);
        hn::StoreU(learn(s, hn::Sub(distance, s)), d16, deviation);
        hn::StoreU(hn::DemoteTo(d8, hn::IfThenZeroElse(isBack, hn::Set(d, 255))), d8, dst);
    }

    uint32_t factor;
    uint32_t rateShift;
    uint32_t minDeviation;
};

vsrStatus foreground(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t factor,
                     uint32_t rateShift, uint32_t minDeviation, uint16_t* mean, uint32_t meanStride,
                     uint16_t* deviation, uint32_t deviationStride, uint8_t* dst, uint32_t dstStride)
{
    return mapPlanes(srcWidth, srcHeight, ForegroundStep{factor, rateShift, minDeviation}, source(src, srcStride),
                     updated(mean, meanStride), updated(deviation, deviationStride), destination(dst, dstStride));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFloodFillu8, fill);
VSR_VECTOR(vsrFindForegroundu8, foreground);

#endif
