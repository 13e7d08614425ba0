// Corners by the matrix of gradients, vector variants: lanes are columns, windows' sums run down the rows. Responses
// are screened as floats first, with room for their errors; few pixels are worth the 64 bits of the exact ones.
#include "cpu/corner/visoraCornerFast.h"
#include "cpu/corner/visoraCornerTensor.h"
#include "cpu/visoraScratch.h"
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/corner/visoraCornerTensorV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/corner/visoraCornerTensor-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Harris ----

/** Finds the pixels of rows whose response is above a threshold. */
class HarrisRows
{
    static constexpr size_t kRadius = 3;

  public:
    static size_t bytes(size_t columns) { return TensorColumns<kRadius>::bytes(columns); }
    static bool takes(size_t columns) { return TensorColumns<kRadius>::takes(columns); }

    HWY_INLINE HarrisRows(uint8_t* memory, const uint8_t* src, size_t stride, const LookedAt& pixels, int32_t threshold)
        : columns_(memory, src, stride, pixels), count_(pixels.columns), threshold_(threshold)
    {
    }

    /** Calls put(column, response) for those of row y, in order. */
    template <class Put>
    HWY_INLINE void find(size_t y, Put put)
    {
        columns_.next(y);
        const Products d;
        const hn::RebindToFloat<Products> df;
        // Rounding to floats changes each term by a few parts in 2^24.
        const auto margin = hn::Set(df, 0x1p-20f);
        const float scaled = static_cast<float>(threshold_) * 0x1p24f;
        const auto limit = hn::Set(df, scaled - std::fabs(scaled) * 0x1p-20f);
        for (size_t x = 0; x < count_; x += kProductLanes)
        {
            const auto xx = sumAcross<kRadius>(columns_.xx() + x);
            const auto yy = sumAcross<kRadius>(columns_.yy() + x);
            const auto xy = sumAcross<kRadius>(columns_.xy() + x);
            const auto a = hn::ConvertTo(df, xx);
            const auto b = hn::ConvertTo(df, yy);
            const auto c = hn::ConvertTo(df, xy);
            const auto sixteen = hn::Set(df, 16.0f);
            const auto first = hn::Mul(sixteen, hn::Mul(a, b));
            const auto second = hn::Mul(sixteen, hn::Mul(c, c));
            const auto trace = hn::Add(a, b);
            const auto third = hn::Mul(trace, trace);
            const auto about = hn::Sub(hn::Sub(first, second), third);
            const auto error = hn::Mul(margin, hn::Add(hn::Add(first, second), third));
            const auto isLikely = hn::Ge(hn::Add(about, error), limit);
            if (hn::AllFalse(df, isLikely)) [[likely]]
            {
                continue;
            }
            uint8_t bytes[8] = {};
            hn::StoreMaskBits(df, isLikely, bytes);
            uint32_t bits = static_cast<uint32_t>(bytes[0] | bytes[1] << 8);
            alignas(64) int32_t sums[3][kProductLanes];
            hn::Store(xx, d, sums[0]);
            hn::Store(yy, d, sums[1]);
            hn::Store(xy, d, sums[2]);
            for (size_t i = 0; bits != 0 && x + i < count_; ++i, bits >>= 1)
            {
                if ((bits & 1) == 0)
                {
                    continue;
                }
                const int32_t response = harrisResponse({sums[0][i], sums[1][i], sums[2][i]});
                if (response > threshold_)
                {
                    put(x + i, response);
                }
            }
        }
    }

  private:
    TensorColumns<kRadius> columns_;
    size_t count_;
    int32_t threshold_;
};

template <class Keep>
HWY_INLINE vsrStatus listHarris(const uint8_t* src, size_t stride, const LookedAt& pixels, int32_t threshold,
                                uint32_t* xy, int32_t* scores, uint32_t capacity, uint32_t* count, Keep keep)
{
    if (capacity == 0 || pixels.isEmpty())
    {
        *count = 0;
        return VISORA_SUCCESS;
    }
    const Scratch scratch(HarrisRows::bytes(pixels.columns));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    HarrisRows rows(scratch.data(), src, stride, pixels, threshold);
    uint32_t found = 0;
    for (size_t y = 0; y < pixels.rows && found < capacity; ++y)
    {
        rows.find(y,
                  [&](size_t x, int32_t response) HWY_ATTR
                  {
                      const size_t column = x + pixels.border;
                      const size_t row = y + pixels.border;
                      if (found < capacity && keep(column, row))
                      {
                          xy[2 * size_t{found}] = static_cast<uint32_t>(column);
                          xy[2 * size_t{found} + 1] = static_cast<uint32_t>(row);
                          if (scores)
                          {
                              scores[found] = response;
                          }
                          ++found;
                      }
                  });
    }
    *count = found;
    return VISORA_SUCCESS;
}

// Rows of responses about the one that is looked through, INT32_MIN where there is no corner, and where there are.
struct CornerRow
{
    int32_t* responses;
    uint32_t* places;
    size_t count;

    HWY_INLINE void clear()
    {
        for (size_t i = 0; i < count; ++i)
        {
            responses[places[i]] = INT32_MIN;
        }
        count = 0;
    }
};

HWY_INLINE vsrStatus listHarrisPeaks(const uint8_t* src, size_t stride, const LookedAt& pixels, int32_t threshold,
                                     uint32_t* xy, int32_t* scores, uint32_t capacity, uint32_t* count)
{
    if (capacity == 0 || pixels.isEmpty())
    {
        *count = 0;
        return VISORA_SUCCESS;
    }
    const size_t columns = pixels.columns;
    const size_t bytes = HarrisRows::bytes(columns);
    const Scratch scratch(bytes + columns * 6 * sizeof(uint32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    HarrisRows rows(scratch.data(), src, stride, pixels, threshold);
    auto* memory = reinterpret_cast<int32_t*>(scratch.data() + bytes);
    std::fill_n(memory, 3 * columns, INT32_MIN);
    CornerRow all[3];
    for (size_t i = 0; i < 3; ++i)
    {
        all[i] = {memory + i * columns, reinterpret_cast<uint32_t*>(memory + (3 + i) * columns), 0};
    }
    uint32_t found = 0;
    for (size_t y = 0; y <= pixels.rows && found < capacity; ++y)
    {
        CornerRow& above = all[(y + 1) % 3];
        CornerRow& here = all[(y + 2) % 3];
        CornerRow& below = all[y % 3];
        below.clear();
        if (y < pixels.rows)
        {
            rows.find(y,
                      [&](size_t x, int32_t response) HWY_ATTR
                      {
                          below.responses[x] = response;
                          below.places[below.count++] = static_cast<uint32_t>(x);
                      });
        }
        for (size_t i = 0; i < here.count && found < capacity; ++i)
        {
            const size_t x = here.places[i];
            if (isPeak<int32_t>(above.responses, here.responses, below.responses, x, columns))
            {
                xy[2 * size_t{found}] = static_cast<uint32_t>(x + pixels.border);
                xy[2 * size_t{found} + 1] = static_cast<uint32_t>(y - 1 + pixels.border);
                scores[found++] = here.responses[x];
            }
        }
    }
    *count = found;
    return VISORA_SUCCESS;
}

HWY_INLINE bool takesHarris(const LookedAt& pixels)
{
    return pixels.isEmpty() || HarrisRows::takes(pixels.columns);
}

vsrStatus cornerHarris(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int32_t threshold,
                       uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners)
{
    const LookedAt pixels(srcWidth, srcHeight, border, kHarrisReach);
    if (!takesHarris(pixels))
    {
        return vsrCornerHarrisu8C(src, srcWidth, srcHeight, srcStride, threshold, border, xy, nCornersMax, nCorners);
    }
    return listHarris(src, srcStride, pixels, threshold, xy, nullptr, nCornersMax, nCorners,
                      [](size_t, size_t) { return true; });
}

vsrStatus cornerHarrisScore(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            int32_t threshold, uint32_t border, uint32_t* xy, int32_t* scores, uint32_t nCornersMax,
                            uint32_t* nCorners, uint32_t nmsEnabled)
{
    const LookedAt pixels(srcWidth, srcHeight, border, kHarrisReach);
    if (!takesHarris(pixels))
    {
        return vsrCornerHarrisScoreu8C(src, srcWidth, srcHeight, srcStride, threshold, border, xy, scores, nCornersMax,
                                       nCorners, nmsEnabled);
    }
    return nmsEnabled ? listHarrisPeaks(src, srcStride, pixels, threshold, xy, scores, nCornersMax, nCorners)
                      : listHarris(src, srcStride, pixels, threshold, xy, scores, nCornersMax, nCorners,
                                   [](size_t, size_t) { return true; });
}

vsrStatus cornerHarrisInMask(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             int32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners,
                             const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight)
{
    const LookedAt pixels(srcWidth, srcHeight, border, kHarrisReach);
    if (!takesHarris(pixels))
    {
        return vsrCornerHarrisInMasku8C(src, srcWidth, srcHeight, srcStride, threshold, border, xy, nCornersMax,
                                        nCorners, mask, maskWidth, maskHeight);
    }
    const ExclusionMask exclusion(mask, maskWidth, maskHeight, {src, srcWidth, srcHeight, srcStride, 0, border});
    return listHarris(src, srcStride, pixels, threshold, xy, nullptr, exclusion.fits() ? nCornersMax : 0, nCorners,
                      [&](size_t x, size_t y) { return !exclusion.excludes(x, y); });
}

// ---- Minimum eigenvalue ----

/** A row of smaller eigenvalues; returns the greatest. */
HWY_INLINE float eigenvalues(const TensorColumns<1>& columns, size_t count, float* out)
{
    const hn::RebindToFloat<Products> df;
    auto greatest = hn::Zero(df);
    for (size_t x = 0; x < count; x += kProductLanes)
    {
        const auto xx = sumAcross<1>(columns.xx() + x);
        const auto yy = sumAcross<1>(columns.yy() + x);
        const auto xy = sumAcross<1>(columns.xy() + x);
        const auto difference = hn::ConvertTo(df, hn::Sub(xx, yy));
        const auto twice = hn::ConvertTo(df, hn::Add(xy, xy));
        const auto root = hn::Sqrt(hn::Add(hn::Mul(difference, difference), hn::Mul(twice, twice)));
        const auto e = hn::Mul(hn::Set(df, 0.5f), hn::Sub(hn::ConvertTo(df, hn::Add(xx, yy)), root));
        // Behind the last pixel there is none.
        const auto positive = hn::IfThenElseZero(hn::Gt(e, hn::Zero(df)), e);
        const auto value =
            x + kProductLanes <= count ? positive : hn::IfThenElseZero(hn::FirstN(df, count - x), positive);
        hn::StoreU(value, df, out + x);
        greatest = hn::Max(greatest, value);
    }
    return hn::GetLane(hn::MaxOfLanes(df, greatest));
}

/** Appends the peaks of a row that are above a limit. Rows have a column of zeros before the first and behind the last.
 */
HWY_INLINE Candidate* appendPeaks(const float* above, const float* here, const float* below, size_t count, float limit,
                                  const LookedAt& pixels, size_t y, Candidate* end)
{
    const hn::ScalableTag<float> d;
    const auto least = hn::Set(d, limit);
    for (size_t x = 0; x < count; x += hn::Lanes(d))
    {
        const auto value = hn::LoadU(d, here + x);
        const auto isAbove = hn::Gt(value, least);
        if (hn::AllFalse(d, isAbove))
        {
            continue;
        }
        const auto at = [&](const float* row, ptrdiff_t dx) HWY_ATTR
        { return hn::LoadU(d, row + static_cast<ptrdiff_t>(x) + dx); };
        // Greater than those before it, not less than those behind it.
        const auto before = hn::Max(hn::Max(at(above, -1), at(above, 0)), hn::Max(at(above, 1), at(here, -1)));
        const auto behind = hn::Max(hn::Max(at(below, -1), at(below, 0)), hn::Max(at(below, 1), at(here, 1)));
        const auto isPeak = hn::And(isAbove, hn::And(hn::Gt(value, before), hn::Ge(value, behind)));
        if (hn::AllFalse(d, isPeak))
        {
            continue;
        }
        uint8_t bytes[8] = {};
        hn::StoreMaskBits(d, isPeak, bytes);
        uint32_t bits = static_cast<uint32_t>(bytes[0] | bytes[1] << 8);
        for (size_t i = 0; bits != 0 && x + i < count; ++i, bits >>= 1)
        {
            if ((bits & 1) != 0)
            {
                *end++ = {here[x + i], static_cast<uint32_t>(x + i + pixels.border),
                          static_cast<uint32_t>(y + pixels.border)};
            }
        }
    }
    return end;
}

/** Corners taken so far, in square cells of the least distance. */
class TakenCorners
{
  public:
    static size_t words(const LookedAt& pixels, uint32_t distance, size_t most)
    {
        return cells(pixels.columns, distance) * cells(pixels.rows, distance) + most;
    }

    HWY_INLINE TakenCorners(uint32_t* memory, const LookedAt& pixels, uint32_t distance, const uint32_t* xy)
        : pixels_(pixels),
          distance_(distance),
          across_(cells(pixels.columns, distance)),
          down_(cells(pixels.rows, distance)),
          heads_(memory),
          next_(memory + across_ * down_),
          xy_(xy)
    {
        std::fill_n(heads_, across_ * down_, kNone);
    }

    HWY_INLINE bool isFree(uint32_t x, uint32_t y) const
    {
        const size_t column = (x - pixels_.border) / distance_;
        const size_t row = (y - pixels_.border) / distance_;
        for (size_t r = row - (row > 0 ? 1 : 0); r <= std::min(row + 1, down_ - 1); ++r)
        {
            for (size_t c = column - (column > 0 ? 1 : 0); c <= std::min(column + 1, across_ - 1); ++c)
            {
                for (uint32_t i = heads_[r * across_ + c]; i != kNone; i = next_[i])
                {
                    if (areNear(x, y, xy_[2 * size_t{i}], xy_[2 * size_t{i} + 1], distance_))
                    {
                        return false;
                    }
                }
            }
        }
        return true;
    }

    HWY_INLINE void add(uint32_t index, uint32_t x, uint32_t y)
    {
        uint32_t& head = heads_[(y - pixels_.border) / distance_ * across_ + (x - pixels_.border) / distance_];
        next_[index] = head;
        head = index;
    }

  private:
    static constexpr uint32_t kNone = UINT32_MAX;
    static size_t cells(size_t pixels, uint32_t distance) { return (pixels + distance - 1) / distance; }

    const LookedAt& pixels_;
    uint32_t distance_;
    size_t across_;
    size_t down_;
    uint32_t* heads_;
    uint32_t* next_;
    const uint32_t* xy_;
};

vsrStatus cornerMinEigen(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float quality,
                         uint32_t minDistance, uint32_t border, uint32_t* xy, float* scores, uint32_t nCornersMax,
                         uint32_t* nCorners)
{
    const LookedAt pixels(srcWidth, srcHeight, border, kEigenReach);
    if (pixels.isEmpty())
    {
        *nCorners = 0;
        return VISORA_SUCCESS;
    }
    if (!TensorColumns<1>::takes(pixels.columns))
    {
        return vsrCornerMinEigenu8C(src, srcWidth, srcHeight, srcStride, quality, minDistance, border, xy, scores,
                                    nCornersMax, nCorners);
    }
    // No two peaks are neighbours.
    const size_t mostPeaks = ((pixels.columns + 1) / 2) * ((pixels.rows + 1) / 2);
    const size_t most = std::min<size_t>(mostPeaks, nCornersMax);
    const size_t tensorBytes = TensorColumns<1>::bytes(pixels.columns);
    const size_t rowFloats = (pixels.columns + 2 * kProductLanes + 15) / 16 * 16;
    const bool keepsApart = minDistance > 1;
    const size_t cellWords = keepsApart ? TakenCorners::words(pixels, minDistance, most) : 0;
    const Scratch scratch(tensorBytes + 3 * rowFloats * sizeof(float) + mostPeaks * sizeof(Candidate) + cellWords * 4);
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* rows = reinterpret_cast<float*>(scratch.data() + tensorBytes);
    auto* candidates = reinterpret_cast<Candidate*>(rows + 3 * rowFloats);
    auto* cells = reinterpret_cast<uint32_t*>(candidates + mostPeaks);
    std::fill_n(rows, 3 * rowFloats, 0.0f);
    TensorColumns<1> columns(scratch.data(), src, srcStride, pixels);
    // A column of zeros goes before each row: no eigenvalue is below 0, and none of 0 is a candidate.
    const auto rowOf = [&](size_t y) { return rows + y % 3 * rowFloats + kProductLanes; };
    float greatest = 0;
    Candidate* end = candidates;
    for (size_t y = 0; y <= pixels.rows; ++y)
    {
        if (y < pixels.rows)
        {
            columns.next(y);
            greatest = std::max(greatest, eigenvalues(columns, pixels.columns, rowOf(y)));
        }
        else
        {
            std::fill_n(rowOf(y), pixels.columns, 0.0f);
        }
        if (y > 0)
        {
            // What is not above the greatest so far is not above the greatest of all.
            end = appendPeaks(rowOf(y + 1), rowOf(y + 2), rowOf(y), pixels.columns, quality * greatest, pixels, y - 1,
                              end);
        }
    }
    end = std::remove_if(candidates, end, [&](const Candidate& c) { return !(c.score > quality * greatest); });
    std::sort(candidates, end, comesBefore);
    uint32_t taken = 0;
    const auto take = [&](const Candidate& c)
    {
        xy[2 * size_t{taken}] = c.x;
        xy[2 * size_t{taken} + 1] = c.y;
        scores[taken++] = c.score;
    };
    if (keepsApart)
    {
        TakenCorners all(cells, pixels, minDistance, xy);
        for (const Candidate* c = candidates; c != end && taken < nCornersMax; ++c)
        {
            if (all.isFree(c->x, c->y))
            {
                all.add(taken, c->x, c->y);
                take(*c);
            }
        }
    }
    else
    {
        for (const Candidate* c = candidates; c != end && taken < nCornersMax; ++c)
        {
            take(*c);
        }
    }
    *nCorners = taken;
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrCornerHarrisu8, cornerHarris);
VSR_VECTOR(vsrCornerHarrisScoreu8, cornerHarrisScore);
VSR_VECTOR(vsrCornerHarrisInMasku8, cornerHarrisInMask);
VSR_VECTOR(vsrCornerMinEigenu8, cornerMinEigen);
#endif
