// Lines and circles by voting, vector variants: the cells of several pixels at once, each of which is then counted by
// itself; gradients and edges of circles.
#include <cstddef>

#include "cpu/shape/visoraShapeCircle.h"
#include "cpu/shape/visoraShapeHough.h"
#include "visora/variants/shape.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/shape/visoraShapeHoughV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

HWY_INLINE void vote(const VotingPixels& pixels, float c, float s, uint32_t* row)
{
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> dWhole;
    constexpr size_t kLanes = hn::MaxLanes(hn::ScalableTag<float>());
    constexpr size_t kAtOnce = 4 * kLanes;
    const auto cosine = hn::Set(d, c);
    const auto sine = hn::Set(d, s);
    HWY_ALIGN int32_t cells[kAtOnce];
    size_t i = 0;
    for (; i + kAtOnce <= pixels.count; i += kAtOnce)
    {
        for (size_t part = 0; part < kAtOnce; part += kLanes)
        {
            const auto x = hn::Mul(hn::LoadU(d, pixels.x + i + part), cosine);
            const auto y = hn::Mul(hn::LoadU(d, pixels.y + i + part), sine);
            hn::Store(hn::NearestInt(hn::Add(x, y)), dWhole, cells + part);
        }
        for (const int32_t cell : cells)
        {
            ++row[cell];
        }
    }
    for (; i < pixels.count; ++i)
    {
        ++row[votedDistance(pixels.x[i], pixels.y[i], c, s)];
    }
}

vsrStatus lines(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float rhoStep,
                float thetaStep, uint32_t threshold, float* rhoTheta, uint32_t* votes, uint32_t capacity,
                uint32_t* count)
{
    return houghLines(src, srcWidth, srcHeight, srcStride, rhoStep, thetaStep, threshold, rhoTheta, votes, capacity,
                      count, vote);
}

// As distancesFrom.
void distances(const CircleEdge* edges, size_t count, float cx, float cy, uint32_t* list)
{
    const hn::ScalableTag<float> d;
    const hn::RebindToUnsigned<decltype(d)> dWord;
    const hn::RebindToSigned<decltype(d)> dWhole;
    const auto centreX = hn::Set(d, cx);
    const auto centreY = hn::Set(d, cy);
    const auto asFloats = [=](auto words) HWY_ATTR { return hn::ConvertTo(d, hn::BitCast(dWhole, words)); };
    size_t i = 0;
    for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d))
    {
        // An edge is two words, x and y are the halves of the first.
        static_assert(sizeof(CircleEdge) == 2 * sizeof(uint32_t) && offsetof(CircleEdge, y) == 2);
        hn::Vec<decltype(dWord)> place;
        hn::Vec<decltype(dWord)> gradient;
        hn::LoadInterleaved2(dWord, reinterpret_cast<const uint32_t*>(edges + i), place, gradient);
        const auto ex = hn::Sub(asFloats(hn::And(place, hn::Set(dWord, 0xffff))), centreX);
        const auto ey = hn::Sub(asFloats(hn::ShiftRight<16>(place)), centreY);
        const auto length = hn::Sqrt(hn::Add(hn::Mul(ex, ex), hn::Mul(ey, ey)));
        hn::StoreU(hn::BitCast(dWord, hn::NearestInt(length)), dWord, list + i);
    }
    distancesFrom(edges + i, count - i, cx, cy, list + i);
}

vsrStatus circles(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t cellShift,
                  uint32_t edgeThreshold, uint32_t threshold, uint32_t minRadius, uint32_t maxRadius, float minDistance,
                  float* circleList, uint32_t* votes, uint32_t capacity, uint32_t* count)
{
    return houghCircles(src, srcWidth, srcHeight, srcStride, edgeThreshold,
                        {cellShift, threshold, minRadius, maxRadius, minDistance}, circleList, votes, capacity, count,
                        vsrImageGradientSobelPlanars16V, vsrEdgeThins16V, distances);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrHoughLinesu8, lines);
VSR_VECTOR(vsrHoughCirclesu8, circles);

#endif
