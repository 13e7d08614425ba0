// FAST-10 corner detection, reference variants. Members that score call detector and score function through the
// pointers to the implementations in use.
#include "common/visoraRelaxed.h"
#include "cpu/corner/visoraCornerFast.h"

using visora::CornerList;
using visora::detectCorners;
using visora::ExclusionMask;
using visora::FastSearch;
using visora::kFast10InMaskScoreLine;
using visora::kFast10ScoreLine;
using visora::listScored;

uint32_t fast10_corner_scoreC(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold)
{
    return visora::bisectScore<10>(pixel, offsets, threshold);
}

vsrStatus vsrCornerFast10u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                             uint32_t* nCorners)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    *nCorners = detectCorners<10>(search, nullptr, {xy, nullptr, nCornersMax});
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast10Scoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                  uint32_t nCornersMax, uint32_t* nCorners, uint32_t nmsEnabled, uint32_t* tempBuf)
{
    listScored({xy, scores, nCornersMax}, nCorners, nmsEnabled, tempBuf, kFast10ScoreLine,
               [&](const CornerList& list)
               {
                   uint32_t count = 0;
                   VSR_LOAD(vsrCornerFast10u8_)
                   (src, srcWidth, srcHeight, srcStride, threshold, border, list.xy, list.capacity, &count);
                   visora::scoreCorners(VSR_LOAD(fast10_corner_score_), src, srcStride, list.xy, count, threshold,
                                        list.scores);
                   return count;
               });
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast10InMasku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                   uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    const ExclusionMask exclusion(mask, maskWidth, maskHeight, search);
    *nCorners = detectCorners<10>(search, &exclusion, {xy, nullptr, nCornersMax});
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast10InMaskScoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                        uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* mask,
                                        uint32_t maskWidth, uint32_t maskHeight, uint32_t nmsEnabled, uint32_t* tempBuf)
{
    listScored({xy, scores, nCornersMax}, nCorners, nmsEnabled, tempBuf, kFast10InMaskScoreLine,
               [&](const CornerList& list)
               {
                   uint32_t count = 0;
                   VSR_LOAD(vsrCornerFast10InMasku8_)
                   (src, srcWidth, srcHeight, srcStride, threshold, border, list.xy, list.capacity, &count, mask,
                    maskWidth, maskHeight);
                   visora::scoreCorners(VSR_LOAD(fast10_corner_score_), src, srcStride, list.xy, count, threshold,
                                        list.scores);
                   return count;
               });
    return VISORA_SUCCESS;
}
