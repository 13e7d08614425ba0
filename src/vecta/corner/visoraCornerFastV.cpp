// FAST corner detection, vector variants.
#include "cpu/corner/visoraCornerFast.h"
#include "vecta/corner/visoraCornerFastScratch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/corner/visoraCornerFastV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/corner/visoraCornerFast-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <int kArc>
bool detect(const FastSearch& search, const ExclusionMask* mask, const CornerList& list, bool onlyBest,
            const FastScratch& scratch, uint32_t* count)
{
    return withFittingVector<uint8_t>(search.endColumn() - search.border,
                                      [&](auto d) HWY_ATTR
                                      {
                                          *count = onlyBest ? detectBest<kArc>(d, search, mask, list, scratch)
                                                            : detectAll<kArc>(d, search, mask, list, scratch);
                                      });
}

bool detect9(const FastSearch& search, const ExclusionMask* mask, const CornerList& list, bool onlyBest,
             const FastScratch& scratch, uint32_t* count)
{
    return detect<9>(search, mask, list, onlyBest, scratch, count);
}

bool detect10(const FastSearch& search, const ExclusionMask* mask, const CornerList& list, bool onlyBest,
              const FastScratch& scratch, uint32_t* count)
{
    return detect<10>(search, mask, list, onlyBest, scratch, count);
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
HWY_EXPORT(detect9);
HWY_EXPORT(detect10);
HWY_EXPORT(score9);
HWY_EXPORT(score10);

namespace
{

// Lists corners, only the best ones with `onlyBest`. Returns false when the reference has to do it: the rows are too
// short for vectors, or there is no working memory.
template <int kArc>
bool detectByVectors(const FastSearch& search, const ExclusionMask* mask, const CornerList& list, bool onlyBest,
                     uint32_t* count)
{
    // No difference between pixels exceeds 255.
    if (list.capacity == 0 || search.threshold > 254 || (mask && !mask->fits()))
    {
        *count = 0;
        return true;
    }
    const FastScratch scratch(search);
    if (!scratch)
    {
        return false;
    }
    return kArc == 9 ? HWY_DYNAMIC_DISPATCH(detect9)(search, mask, list, onlyBest, scratch, count)
                     : HWY_DYNAMIC_DISPATCH(detect10)(search, mask, list, onlyBest, scratch, count);
}

template <int kArc>
uint32_t detectAny(const FastSearch& search, const ExclusionMask* mask, const CornerList& list)
{
    uint32_t count = 0;
    return detectByVectors<kArc>(search, mask, list, false, &count) ? count : detectCorners<kArc>(search, mask, list);
}

// Suppression on the fly needs no work buffer; the reference's list of all corners does.
template <int kArc>
void detectScored(const FastSearch& search, const ExclusionMask* mask, const CornerList& list, uint32_t* count,
                  uint32_t suppress, uint32_t* workBuffer, SourceLine line)
{
    if (suppress && workBuffer && detectByVectors<kArc>(search, mask, list, true, count))
    {
        return;
    }
    listScored(list, count, suppress, workBuffer, line,
               [&](const CornerList& all) { return detectAny<kArc>(search, mask, all); });
}

// What each member asks for.

template <int kArc>
vsrStatus list(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t threshold,
               uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    *nCorners = detectAny<kArc>(search, nullptr, {xy, nullptr, nCornersMax});
    return VISORA_SUCCESS;
}

template <int kArc>
vsrStatus listScores(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t threshold,
                     uint32_t border, uint32_t* xy, uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    *nCorners = detectAny<kArc>(search, nullptr, {xy, scores, nCornersMax});
    return VISORA_SUCCESS;
}

template <int kArc>
vsrStatus listBest(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t threshold,
                   uint32_t border, uint32_t* xy, uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                   uint32_t nmsEnabled, uint32_t* tempBuf)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    detectScored<kArc>(search, nullptr, {xy, scores, nCornersMax}, nCorners, nmsEnabled, tempBuf,
                       kArc == 9 ? kFast9ScoreLine : kFast10ScoreLine);
    return VISORA_SUCCESS;
}

template <int kArc>
vsrStatus listInMask(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t threshold,
                     uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* mask,
                     uint32_t maskWidth, uint32_t maskHeight)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    const ExclusionMask exclusion(mask, maskWidth, maskHeight, search);
    *nCorners = detectAny<kArc>(search, &exclusion, {xy, nullptr, nCornersMax});
    return VISORA_SUCCESS;
}

template <int kArc>
vsrStatus listScoresInMask(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                           uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    const ExclusionMask exclusion(mask, maskWidth, maskHeight, search);
    *nCorners = detectAny<kArc>(search, &exclusion, {xy, scores, nCornersMax});
    return VISORA_SUCCESS;
}

template <int kArc>
vsrStatus listBestInMask(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                         uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight,
                         uint32_t nmsEnabled, uint32_t* tempBuf)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    const ExclusionMask exclusion(mask, maskWidth, maskHeight, search);
    detectScored<kArc>(search, &exclusion, {xy, scores, nCornersMax}, nCorners, nmsEnabled, tempBuf,
                       kArc == 9 ? kFast9InMaskScoreLine : kFast10InMaskScoreLine);
    return VISORA_SUCCESS;
}

}  // namespace
}  // namespace visora

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

#define VISORA_VECTOR_FAST(operation, member) \
    VSR_DEFINE(operation##V, decltype(operation##C), { return visora::member(arguments...); })

VISORA_VECTOR_FAST(vsrCornerFast9u8, list<9>);
VISORA_VECTOR_FAST(vsrCornerFast9Scoreu8, listScores<9>);
VISORA_VECTOR_FAST(vsrCornerFast9Scoreu8_v2, listBest<9>);
VISORA_VECTOR_FAST(vsrCornerFast9InMasku8, listInMask<9>);
VISORA_VECTOR_FAST(vsrCornerFast9InMaskScoreu8, listScoresInMask<9>);
VISORA_VECTOR_FAST(vsrCornerFast9InMaskScoreu8_v2, listBestInMask<9>);
VISORA_VECTOR_FAST(vsrCornerFast10u8, list<10>);
VISORA_VECTOR_FAST(vsrCornerFast10Scoreu8, listBest<10>);
VISORA_VECTOR_FAST(vsrCornerFast10InMasku8, listInMask<10>);
VISORA_VECTOR_FAST(vsrCornerFast10InMaskScoreu8, listBestInMask<10>);

#endif
