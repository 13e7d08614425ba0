// Block matching and motion history, vector variants.
#include "cpu/track/visoraTrackMotion.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/track.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/track/visoraTrackMotionV.cpp"
#include <algorithm>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/statistics/visoraStatisticsSums-inl.h"
#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// The sum of absolute differences of two blocks of at least a vector's width; given up at the limit.
template <class D>
HWY_INLINE uint32_t sumOfDifferences(D d, uint32_t blockSize, const uint8_t* a, size_t aStride, const uint8_t* b,
                                     size_t bStride, uint32_t limit)
{
    const hn::Repartition<uint64_t, D> d64;
    uint32_t sum = 0;
    for (uint32_t y = 0; y < blockSize;)
    {
        // A few rows between looks at the limit.
        auto part = hn::Zero(d64);
        for (const uint32_t end = std::min(y + 4, blockSize); y < end; ++y, a += aStride, b += bStride)
        {
            coverOnce(d, blockSize,
                      [&](size_t x, auto mask) HWY_ATTR
                      {
                          const auto u = hn::LoadU(d, a + x);
                          const auto v = hn::LoadU(d, b + x);
                          const auto distance = hn::Or(hn::SaturatedSub(u, v), hn::SaturatedSub(v, u));
                          part = hn::Add(part, hn::SumsOf8(hn::And(mask, distance)));
                      });
        }
        sum += static_cast<uint32_t>(hn::GetLane(hn::SumOfLanes(d64, part)));
        if (sum >= limit)
        {
            return sum;
        }
    }
    return sum;
}

template <class D>
HWY_INLINE void matchBlocksBy(D d, const BlockImages& images, uint32_t step, uint32_t rangeX, uint32_t rangeY,
                              int16_t* flow, uint32_t flowStride, uint32_t* sads, uint32_t sadsStride)
{
    matchBlocks(images, step, rangeX, rangeY, flow, flowStride, sads, sadsStride,
                [&](const uint8_t* a, size_t aStride, const uint8_t* b, size_t bStride, uint32_t limit) HWY_ATTR
                { return sumOfDifferences(d, images.blockSize, a, aStride, b, bStride, limit); });
}

vsrStatus blockMatch(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint8_t* src2,
                     uint32_t src2Stride, uint32_t blockSize, uint32_t step, uint32_t rangeX, uint32_t rangeY,
                     int16_t* flow, uint32_t flowStride, uint32_t* sads, uint32_t sadsStride)
{
    const BlockImages images{src1, width, height, src1Stride, src2, src2Stride, blockSize};
    if (blockSize >= 16)
    {
        matchBlocksBy(hn::FixedTag<uint8_t, 16>(), images, step, rangeX, rangeY, flow, flowStride, sads, sadsStride);
        return VISORA_SUCCESS;
    }
    if (blockSize >= 8)
    {
        matchBlocksBy(hn::FixedTag<uint8_t, 8>(), images, step, rangeX, rangeY, flow, flowStride, sads, sadsStride);
        return VISORA_SUCCESS;
    }
    return vsrTrackBlockMatchu8C(src1, width, height, src1Stride, src2, src2Stride, blockSize, step, rangeX, rangeY,
                                 flow, flowStride, sads, sadsStride);
}

vsrStatus motionHistory(const uint8_t* mask, uint32_t width, uint32_t height, uint32_t maskStride, float timestamp,
                        float duration, float* history, uint32_t historyStride)
{
    const float bound = timestamp - duration;
    const auto update = [=](auto d, auto moved, auto before) HWY_ATTR
    {
        const hn::RebindToSigned<decltype(d)> d32;
        const auto still = hn::RebindMask(d, hn::Eq(hn::PromoteTo(d32, moved), hn::Zero(d32)));
        const auto kept = hn::IfThenZeroElse(hn::Lt(before, hn::Set(d, bound)), before);
        return hn::IfThenElse(still, kept, hn::Set(d, timestamp));
    };
    const auto step = elementStep<float, uint8_t, float>(update);
    return mapPlanes(width, height, step, destination(history, historyStride), source(mask, maskStride),
                     source(static_cast<const float*>(history), historyStride));
}

// As the scalar angleInDegrees.
template <class D, class V>
HWY_INLINE V angles(D d, V y, V x)
{
    const auto zero = hn::Zero(d);
    const auto ax = hn::Abs(x);
    const auto ay = hn::Abs(y);
    const auto isFlat = hn::Lt(ay, ax);
    const auto n = hn::IfThenElse(isFlat, ay, ax);
    const auto m = hn::IfThenElse(isFlat, ax, ay);
    const auto q = hn::IfThenZeroElse(hn::Eq(m, zero), hn::Div(n, m));
    const auto z = hn::Mul(q, q);
    auto t = hn::Set(d, kAngleTerms[7]);
    for (int i = 6; i >= 0; --i)
    {
        t = hn::Add(hn::Mul(t, z), hn::Set(d, kAngleTerms[i]));
    }
    t = hn::Mul(t, q);
    t = hn::IfThenElse(hn::Gt(ay, ax), hn::Sub(hn::Set(d, 90.0f), t), t);
    t = hn::IfThenElse(hn::Lt(x, zero), hn::Sub(hn::Set(d, 180.0f), t), t);
    t = hn::IfThenElse(hn::Lt(y, zero), hn::Sub(hn::Set(d, 360.0f), t), t);
    return hn::IfThenZeroElse(hn::Ge(t, hn::Set(d, 360.0f)), t);
}

template <class D>
HWY_INLINE void motionStep(D d, const float* above, const float* row, const float* below, float minDelta,
                           float maxDelta, float* orientation, uint8_t* mask)
{
    const hn::RebindToSigned<D> d32;
    const hn::Rebind<uint8_t, D> d8;
    const auto load = [&](const float* p) HWY_ATTR { return hn::LoadU(d, p); };
    const auto a0 = load(above - 1), a1 = load(above), a2 = load(above + 1);
    const auto r0 = load(row - 1), r1 = load(row), r2 = load(row + 1);
    const auto b0 = load(below - 1), b1 = load(below), b2 = load(below + 1);
    const auto across = hn::Sub(r2, r0);
    const auto middle = hn::Sub(b1, a1);
    const auto dx = hn::Add(hn::Add(hn::Sub(a2, a0), hn::Sub(b2, b0)), hn::Add(across, across));
    const auto dy = hn::Add(hn::Add(hn::Sub(b0, a0), hn::Sub(b2, a2)), hn::Add(middle, middle));
    const auto least =
        hn::Min(hn::Min(hn::Min(hn::Min(a0, a1), hn::Min(a2, r0)), hn::Min(hn::Min(r1, r2), hn::Min(b0, b1))), b2);
    const auto most =
        hn::Max(hn::Max(hn::Max(hn::Max(a0, a1), hn::Max(a2, r0)), hn::Max(hn::Max(r1, r2), hn::Max(b0, b1))), b2);
    const auto delta = hn::Sub(most, least);
    // 0 when a value is finite, else NaN; so is a sum of them.
    const auto nothing = [](auto v) HWY_ATTR { return hn::Sub(v, v); };
    const auto corners = hn::Add(hn::Add(nothing(a0), nothing(a2)), hn::Add(nothing(b0), nothing(b2)));
    const auto sides = hn::Add(hn::Add(nothing(a1), nothing(b1)), hn::Add(nothing(r0), nothing(r2)));
    const auto rest = hn::Add(hn::Add(nothing(r1), nothing(dx)), hn::Add(nothing(dy), nothing(delta)));
    const auto finite = hn::Eq(hn::Add(hn::Add(corners, sides), rest), hn::Zero(d));
    const auto steep = hn::Ge(hn::Max(hn::Abs(dx), hn::Abs(dy)), hn::Set(d, kLeastGradient));
    const auto inRange = hn::And(hn::Ge(delta, hn::Set(d, minDelta)), hn::Le(delta, hn::Set(d, maxDelta)));
    const auto valid = hn::And(hn::And(finite, steep), inRange);
    hn::StoreU(hn::IfThenElseZero(valid, angles(d, dy, dx)), d, orientation);
    const auto bytes = hn::And(hn::VecFromMask(d32, hn::RebindMask(d32, valid)), hn::Set(d32, 255));
    hn::StoreU(hn::DemoteTo(d8, bytes), d8, mask);
}

vsrStatus motionGradient(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float minDelta,
                         float maxDelta, float* orientation, uint32_t orientationStride, uint8_t* mask,
                         uint32_t maskStride)
{
    const bool done = withFittingVector<float>(
        srcWidth < 2 ? 0 : srcWidth - 2,
        [&](auto d) HWY_ATTR
        {
            for (uint32_t y = 0; y < srcHeight; ++y)
            {
                const float* above = planeRow(src, srcStride, y - std::min(y, 1u));
                const float* row = planeRow(src, srcStride, y);
                const float* below = planeRow(src, srcStride, std::min(y + 1, srcHeight - 1));
                float* angleRow = planeRow(orientation, orientationStride, y);
                uint8_t* maskRow = planeRow(mask, maskStride, y);
                coverRange(
                    1, srcWidth - 1, hn::Lanes(d),
                    [&](size_t x) HWY_ATTR
                    { motionStep(d, above + x, row + x, below + x, minDelta, maxDelta, angleRow + x, maskRow + x); });
                for (const uint32_t x : {0u, srcWidth - 1})
                {
                    const MotionDirection direction =
                        motionDirection(above, row, below, x == 0 ? 0 : x - 1, x, x == 0 ? 1 : x, minDelta, maxDelta);
                    angleRow[x] = direction.orientation;
                    maskRow[x] = direction.mask;
                }
            }
        });
    return done ? vsrStatus{VISORA_SUCCESS}
                : vsrMotionGradientf32C(src, srcWidth, srcHeight, srcStride, minDelta, maxDelta, orientation,
                                        orientationStride, mask, maskStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrTrackBlockMatchu8, blockMatch);
VSR_VECTOR(vsrMotionHistoryu8f32, motionHistory);
VSR_VECTOR(vsrMotionGradientf32, motionGradient);

#endif
