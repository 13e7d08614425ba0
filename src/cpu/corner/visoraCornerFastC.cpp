// FAST-9 corner detection, reference variants, and the parts that FAST-10 shares. Members that score call detector and
// score function through the pointers to the implementations in use.
#include <algorithm>

#include "common/visoraRelaxed.h"
#include "cpu/corner/visoraCornerFast.h"

using visora::CornerList;
using visora::detectCorners;
using visora::ExclusionMask;
using visora::FastSearch;
using visora::kFast9InMaskScoreLine;
using visora::kFast9ScoreLine;
using visora::listScored;

namespace
{

constexpr uint32_t kEmptyRow = 0xffffffff;

// A list in row-major order: reads the scores of a row's corners near a column that only moves right.
class RowCursor
{
  public:
    RowCursor(const uint32_t* xy, const uint32_t* scores, uint32_t count) : xy_(xy), scores_(scores), count_(count) {}

    void enterRow(uint32_t y, uint32_t firstIndex)
    {
        y_ = y;
        index_ = std::min(firstIndex, count_);
    }

    // Whether a corner at x - 1, x or x + 1 of the row has at least this score.
    bool outdoes(uint32_t x, uint32_t score)
    {
        while (inRow(index_) && column(index_) + 1 < x)
        {
            ++index_;
        }
        for (uint32_t i = index_; inRow(i) && column(i) <= x + 1; ++i)
        {
            if (scores_[i] >= score)
            {
                return true;
            }
        }
        return false;
    }

  private:
    uint32_t column(uint32_t i) const { return xy_[size_t{i} * 2]; }
    bool inRow(uint32_t i) const { return i < count_ && xy_[size_t{i} * 2 + 1] == y_; }

    const uint32_t* xy_;
    const uint32_t* scores_;
    uint32_t count_;
    uint32_t y_ = 0;
    uint32_t index_ = 0;
};

}  // namespace

void make_offsets(int32_t offsets[16], uint32_t stride)
{
    for (int i = 0; i < 16; ++i)
    {
        offsets[i] = static_cast<int32_t>(visora::kCircle[i].dx + int64_t{visora::kCircle[i].dy} * stride);
    }
}

uint32_t fast9_corner_scoreC(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold)
{
    return visora::bisectScore<9>(pixel, offsets, threshold);
}

void score_9(const uint8_t* src, uint32_t srcStride, const uint32_t* xy, uint32_t numcorners, uint32_t threshold,
             uint32_t* scores)
{
    visora::scoreCorners(VSR_LOAD(fast9_corner_score_), src, srcStride, xy, numcorners, threshold, scores);
}

void nms_processing(const uint32_t* rawXy, const uint32_t* rawScores, uint32_t* rowStarts, uint32_t rawCount,
                    uint32_t* xy, uint32_t* scores, uint32_t* numcorners)
{
    if (rawCount == 0)
    {
        *numcorners = 0;
        return;
    }
    const uint32_t lastRow = rawXy[size_t{rawCount} * 2 - 1];
    std::fill_n(rowStarts, size_t{lastRow} + 1, kEmptyRow);
    for (uint32_t i = rawCount; i-- > 0;)
    {
        rowStarts[rawXy[size_t{i} * 2 + 1]] = i;
    }

    RowCursor above(rawXy, rawScores, rawCount);
    RowCursor below(rawXy, rawScores, rawCount);
    uint32_t kept = 0;
    for (uint32_t i = 0; i < rawCount; ++i)
    {
        const uint32_t x = rawXy[size_t{i} * 2];
        const uint32_t y = rawXy[size_t{i} * 2 + 1];
        const uint32_t score = rawScores[i];
        if (rowStarts[y] == i)
        {
            above.enterRow(y - 1, y > 0 ? rowStarts[y - 1] : kEmptyRow);
            below.enterRow(y + 1, y < lastRow ? rowStarts[y + 1] : kEmptyRow);
        }
        const auto besideOutdoes = [&](uint32_t neighbour, uint32_t column)
        {
            return rawXy[size_t{neighbour} * 2] == column && rawXy[size_t{neighbour} * 2 + 1] == y &&
                   rawScores[neighbour] >= score;
        };
        if ((i > 0 && besideOutdoes(i - 1, x - 1)) || (i + 1 < rawCount && besideOutdoes(i + 1, x + 1)) ||
            above.outdoes(x, score) || below.outdoes(x, score))
        {
            continue;
        }
        xy[size_t{kept} * 2] = x;
        xy[size_t{kept} * 2 + 1] = y;
        scores[kept] = score;
        ++kept;
    }
    *numcorners = kept;
}

vsrStatus vsrCornerFast9u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                            uint32_t* numcorners)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    *numcorners = detectCorners<9>(search, nullptr, {xy, nullptr, nCornersMax});
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast9Scoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                 uint32_t nCornersMax, uint32_t* numcorners)
{
    VSR_LOAD(vsrCornerFast9u8_)(src, srcWidth, srcHeight, srcStride, threshold, border, xy, nCornersMax, numcorners);
    score_9(src, srcStride, xy, *numcorners, threshold, scores);
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast9Scoreu8_v2C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                    uint32_t nCornersMax, uint32_t* numcorners, uint32_t nmsEnabled, uint32_t* tempBuf)
{
    listScored({xy, scores, nCornersMax}, numcorners, nmsEnabled, tempBuf, kFast9ScoreLine,
               [&](const CornerList& list)
               {
                   uint32_t count = 0;
                   VSR_LOAD(vsrCornerFast9u8_)
                   (src, srcWidth, srcHeight, srcStride, threshold, border, list.xy, list.capacity, &count);
                   score_9(src, srcStride, list.xy, count, threshold, list.scores);
                   return count;
               });
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast9InMasku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                  uint32_t* numcorners, const uint8_t* bitMask, uint32_t maskWidth, uint32_t maskHeight)
{
    const FastSearch search = {src, srcWidth, srcHeight, srcStride, threshold, border};
    const ExclusionMask exclusion(bitMask, maskWidth, maskHeight, search);
    *numcorners = detectCorners<9>(search, &exclusion, {xy, nullptr, nCornersMax});
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast9InMaskScoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                       uint32_t nCornersMax, uint32_t* numcorners, const uint8_t* bitMask,
                                       uint32_t maskWidth, uint32_t maskHeight)
{
    VSR_LOAD(vsrCornerFast9InMasku8_)
    (src, srcWidth, srcHeight, srcStride, threshold, border, xy, nCornersMax, numcorners, bitMask, maskWidth,
     maskHeight);
    score_9(src, srcStride, xy, *numcorners, threshold, scores);
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerFast9InMaskScoreu8_v2C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                          uint32_t nCornersMax, uint32_t* numcorners, const uint8_t* bitMask,
                                          uint32_t maskWidth, uint32_t maskHeight, uint32_t nmsEnabled,
                                          uint32_t* tempBuf)
{
    listScored({xy, scores, nCornersMax}, numcorners, nmsEnabled, tempBuf, kFast9InMaskScoreLine,
               [&](const CornerList& list)
               {
                   uint32_t count = 0;
                   VSR_LOAD(vsrCornerFast9InMasku8_)
                   (src, srcWidth, srcHeight, srcStride, threshold, border, list.xy, list.capacity, &count, bitMask,
                    maskWidth, maskHeight);
                   score_9(src, srcStride, list.xy, count, threshold, list.scores);
                   return count;
               });
    return VISORA_SUCCESS;
}
