// FAST corner detection, vector variants.
#include <algorithm>
#include <cstring>

#include "cpu/visoraFast.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/visoraFastV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

struct Brighter
{
    // The weakest pixel of an arc, and the better of two arcs.
    template <class V>
    static HWY_INLINE V weaker(V a, V b)
    {
        return hn::Min(a, b);
    }
    template <class V>
    static HWY_INLINE V stronger(V a, V b)
    {
        return hn::Max(a, b);
    }
};

struct Darker
{
    template <class V>
    static HWY_INLINE V weaker(V a, V b)
    {
        return hn::Max(a, b);
    }
    template <class V>
    static HWY_INLINE V stronger(V a, V b)
    {
        return hn::Min(a, b);
    }
};

// The weakest pixel of the best arc: a centre that is exceeded by this one is exceeded by kArc contiguous pixels.
// at(i) is circle pixel i. Runs of 2, 4 and 8 pixels are built by doubling; a run that begins at an even pixel serves
// the arc from that pixel and the arc from the one before it.
template <int kArc, class Side, class At>
HWY_INLINE auto bestArc(At at)
{
    using V = decltype(at(0));
    V pairs[8];
    V fours[8];
    for (int i = 0; i < 8; ++i)
    {
        pairs[i] = Side::weaker(at(2 * i), at(2 * i + 1));
    }
    for (int i = 0; i < 8; ++i)
    {
        fours[i] = Side::weaker(pairs[i], pairs[(i + 1) % 8]);
    }
    V best = pairs[0];
    for (int i = 0; i < 8; ++i)
    {
        V shared = Side::weaker(fours[i], fours[(i + 2) % 8]);
        if constexpr (kArc == 10)
        {
            shared = Side::weaker(shared, at((2 * i + 8) % 16));
        }
        const V arc = Side::weaker(shared, Side::stronger(at((2 * i + 15) % 16), at((2 * i + kArc - 1) % 16)));
        best = i == 0 ? arc : Side::stronger(best, arc);
    }
    return best;
}

// How far, in each lane, the best arc of brighter or darker pixels is beyond the bounds; above 0 it is a corner.
// hi and lo saturate, which makes a bound that no pixel can pass unpassable.
template <int kArc, class V, class At>
HWY_INLINE V arcExcess(V hi, V lo, At at)
{
    return hn::Max(hn::SaturatedSub(bestArc<kArc, Brighter>(at), hi), hn::SaturatedSub(lo, bestArc<kArc, Darker>(at)));
}

// The four diameters' ends that quickly tell most pixels to be no corner: an arc of more than half the circle holds an
// end of each. `first` and `second` are pixels of the circle a quarter apart.
template <class V, class At>
HWY_INLINE V diameterExcess(V hi, V lo, At at, int first, int second)
{
    const V a = at(first);
    const V b = at(first + 8);
    const V c = at(second);
    const V d = at(second + 8);
    const V brightest = hn::Min(hn::Max(a, b), hn::Max(c, d));
    const V darkest = hn::Max(hn::Min(a, b), hn::Min(c, d));
    return hn::Or(hn::SaturatedSub(brightest, hi), hn::SaturatedSub(lo, darkest));
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE bool allZero(D d, V v)
{
    return hn::AllTrue(d, hn::Eq(v, hn::Zero(d)));
}

template <int kArc, class D>
uint32_t detectRows(D d, const FastSearch& search, const ExclusionMask* mask, const CornerList& list)
{
    using V = hn::Vec<D>;
    const size_t lanes = hn::Lanes(d);
    const V threshold = hn::Set(d, static_cast<uint8_t>(search.threshold));
    const size_t end = search.endColumn();
    uint32_t count = 0;
    for (size_t y = search.border; y < search.endRow(); ++y)
    {
        const uint8_t* rows[2 * kCircleRadius + 1];
        for (int dy = -kCircleRadius; dy <= kCircleRadius; ++dy)
        {
            rows[dy + kCircleRadius] =
                search.src + (y + static_cast<size_t>(dy + kCircleRadius) - kCircleRadius) * search.stride;
        }
        for (size_t x = search.border; x < end; x += lanes)
        {
            // The last vector ends with the row and overlaps the one before it.
            const size_t start = std::min(x, end - lanes);
            const auto at = [&](int i) HWY_ATTR
            { return hn::LoadU(d, rows[kCircle[i].dy + kCircleRadius] + start + kCircle[i].dx); };
            const V centre = hn::LoadU(d, rows[kCircleRadius] + start);
            const V hi = hn::SaturatedAdd(centre, threshold);
            const V lo = hn::SaturatedSub(centre, threshold);
            if (allZero(d, diameterExcess(hi, lo, at, 0, 4)))
            {
                continue;
            }
            const V excess = arcExcess<kArc>(hi, lo, at);
            uint64_t corners = 0;
            hn::StoreMaskBits(d, hn::Ne(excess, hn::Zero(d)), reinterpret_cast<uint8_t*>(&corners));
            corners &= ~uint64_t{0} << (x - start);
            if (corners == 0)
            {
                continue;
            }
            HWY_ALIGN uint8_t excesses[HWY_MAX_BYTES];
            hn::Store(excess, d, excesses);
            for (; corners != 0; corners &= corners - 1)
            {
                const auto lane = static_cast<size_t>(hwy::Num0BitsBelowLS1Bit_Nonzero64(corners));
                if (mask && mask->excludes(start + lane, y))
                {
                    continue;
                }
                list.xy[size_t{count} * 2] = static_cast<uint32_t>(start + lane);
                list.xy[size_t{count} * 2 + 1] = static_cast<uint32_t>(y);
                if (list.scores)
                {
                    // The largest threshold that the arc still passes is one less than its difference.
                    list.scores[count] = search.threshold + excesses[lane] - 1;
                }
                if (++count == list.capacity)
                {
                    return count;
                }
            }
        }
    }
    return count;
}

template <int kArc>
uint32_t detect(const FastSearch& search, const ExclusionMask* mask, const CornerList& list)
{
    // No difference between pixels exceeds 255.
    if (list.capacity == 0 || search.threshold > 254 || (mask && !mask->fits()))
    {
        return 0;
    }
    uint32_t count = 0;
    if (!withFittingVector<uint8_t>(search.endColumn() - search.border,
                                    [&](auto d) HWY_ATTR { count = detectRows<kArc>(d, search, mask, list); }))
    {
        count = detectCorners<kArc>(search, mask, list);
    }
    return count;
}

uint32_t fast9(const FastSearch& search, const ExclusionMask* mask, const CornerList& list)
{
    return detect<9>(search, mask, list);
}

uint32_t fast10(const FastSearch& search, const ExclusionMask* mask, const CornerList& list)
{
    return detect<10>(search, mask, list);
}

// The circle of one pixel in one vector: rotating it brings each pixel's followers into its lane.
template <int kArc>
HWY_INLINE uint32_t scoreOf(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold)
{
    const hn::FixedTag<uint8_t, 16> d;
    using V = hn::Vec<decltype(d)>;
    HWY_ALIGN uint8_t circle[16];
    for (int i = 0; i < 16; ++i)
    {
        circle[i] = pixel[offsets[i]];
    }
    const V ring = hn::Load(d, circle);
    const V centre = hn::Set(d, *pixel);
    const auto arcs = [&](V differences) HWY_ATTR
    {
        const V two = hn::Min(differences, hn::CombineShiftRightBytes<1>(d, differences, differences));
        const V four = hn::Min(two, hn::CombineShiftRightBytes<2>(d, two, two));
        const V eight = hn::Min(four, hn::CombineShiftRightBytes<4>(d, four, four));
        return hn::Min(eight, hn::CombineShiftRightBytes<kArc - 8>(d, eight, eight));
    };
    V best = hn::Max(arcs(hn::SaturatedSub(ring, centre)), arcs(hn::SaturatedSub(centre, ring)));
    best = hn::Max(best, hn::CombineShiftRightBytes<8>(d, best, best));
    best = hn::Max(best, hn::CombineShiftRightBytes<4>(d, best, best));
    best = hn::Max(best, hn::CombineShiftRightBytes<2>(d, best, best));
    best = hn::Max(best, hn::CombineShiftRightBytes<1>(d, best, best));
    // The best arc still passes with a threshold of one less than its difference.
    const uint32_t difference = hn::GetLane(best);
    return difference > threshold ? difference - 1 : threshold;
}

uint32_t score9(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold)
{
    return scoreOf<9>(pixel, offsets, threshold);
}

uint32_t score10(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold)
{
    return scoreOf<10>(pixel, offsets, threshold);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(fast9);
HWY_EXPORT(fast10);
HWY_EXPORT(score9);
HWY_EXPORT(score10);

namespace
{

uint32_t detect9(const FastSearch& search, const ExclusionMask* mask, const CornerList& list)
{
    return HWY_DYNAMIC_DISPATCH(fast9)(search, mask, list);
}

uint32_t detect10(const FastSearch& search, const ExclusionMask* mask, const CornerList& list)
{
    return HWY_DYNAMIC_DISPATCH(fast10)(search, mask, list);
}

}  // namespace
}  // namespace visora

using visora::CornerList;
using visora::detect10;
using visora::detect9;
using visora::ExclusionMask;
using visora::FastSearch;
using visora::listScored;

uint32_t fast9_corner_scoreV(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(score9)(pixel, offsets, threshold);
}

uint32_t fast10_corner_scoreV(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(score10)(pixel, offsets, threshold);
}

vsrStatus vsrCornerFast9u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                            uint32_t* numcorners)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    *numcorners = detect9(search, nullptr, {xy, nullptr, nCornersMax});
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast9Scoreu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                 uint32_t nCornersMax, uint32_t* numcorners)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    *numcorners = detect9(search, nullptr, {xy, scores, nCornersMax});
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast9Scoreu8_v2V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                    uint32_t nCornersMax, uint32_t* numcorners, uint32_t nmsEnabled, uint32_t* tempBuf)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    listScored({xy, scores, nCornersMax}, numcorners, nmsEnabled, tempBuf, visora::kFast9ScoreLine,
               [&](const CornerList& list) { return detect9(search, nullptr, list); });
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast9InMasku8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                  uint32_t* numcorners, const uint8_t* bitMask, uint32_t maskWidth, uint32_t maskHeight)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    const ExclusionMask exclusion(bitMask, maskWidth, maskHeight, search);
    *numcorners = detect9(search, &exclusion, {xy, nullptr, nCornersMax});
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast9InMaskScoreu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                       uint32_t nCornersMax, uint32_t* numcorners, const uint8_t* bitMask,
                                       uint32_t maskWidth, uint32_t maskHeight)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    const ExclusionMask exclusion(bitMask, maskWidth, maskHeight, search);
    *numcorners = detect9(search, &exclusion, {xy, scores, nCornersMax});
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast9InMaskScoreu8_v2V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                          uint32_t nCornersMax, uint32_t* numcorners, const uint8_t* bitMask,
                                          uint32_t maskWidth, uint32_t maskHeight, uint32_t nmsEnabled,
                                          uint32_t* tempBuf)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    const ExclusionMask exclusion(bitMask, maskWidth, maskHeight, search);
    listScored({xy, scores, nCornersMax}, numcorners, nmsEnabled, tempBuf, visora::kFast9InMaskScoreLine,
               [&](const CornerList& list) { return detect9(search, &exclusion, list); });
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast10u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                             uint32_t* nCorners)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    *nCorners = detect10(search, nullptr, {xy, nullptr, nCornersMax});
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast10Scoreu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                  uint32_t nCornersMax, uint32_t* nCorners, uint32_t nmsEnabled, uint32_t* tempBuf)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    listScored({xy, scores, nCornersMax}, nCorners, nmsEnabled, tempBuf, visora::kFast10ScoreLine,
               [&](const CornerList& list) { return detect10(search, nullptr, list); });
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast10InMasku8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                   uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    const ExclusionMask exclusion(mask, maskWidth, maskHeight, search);
    *nCorners = detect10(search, &exclusion, {xy, nullptr, nCornersMax});
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast10InMaskScoreu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                        uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* mask,
                                        uint32_t maskWidth, uint32_t maskHeight, uint32_t nmsEnabled, uint32_t* tempBuf)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    const ExclusionMask exclusion(mask, maskWidth, maskHeight, search);
    listScored({xy, scores, nCornersMax}, nCorners, nmsEnabled, tempBuf, visora::kFast10InMaskScoreLine,
               [&](const CornerList& list) { return detect10(search, &exclusion, list); });
    return VISORA_SUCCESS;
}

#endif
