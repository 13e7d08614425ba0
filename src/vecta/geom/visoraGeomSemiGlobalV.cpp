// Disparity by semi-global matching, vector variant. Lanes are disparities. A pass upwards adds up the paths that come
// from below and from the left, a pass downwards the others; then a pixel's sums are complete. The pass upwards is made
// twice for large images: first for the paths' state at the end of each strip of rows, then strip by strip.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "cpu/visoraDrivers.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/geom.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/geom/visoraGeomSemiGlobalV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/geom/visoraGeomDisparity-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Bytes = hn::CappedTag<uint8_t, 64>;
constexpr size_t kPlanes = 3;  // of census bits
constexpr uint8_t kFarCost = 24;

// ---- Pixel costs ----

// A row of the census transform: byte i of pixel x is at planes[i * width + x].
HWY_INLINE void censusRow(const uint8_t* const (&rows)[5], size_t width, uint8_t* planes)
{
    const Bytes d;
    size_t bit = 0;
    for (size_t plane = 0; plane < kPlanes; ++plane, planes += width)
    {
        const size_t first = bit;
        for (size_t x = 0; x < width; x += hn::Lanes(d))
        {
            const auto centre = hn::LoadU(d, rows[2] + x + 2);
            auto bits = hn::Zero(d);
            bit = first;
            for (int i = 0; i < 8; ++i, ++bit)
            {
                const size_t at = bit < 12 ? bit : bit + 1;  // without the centre
                // Not darker than the centre: their lesser one is the centre. The complement of a bit in both views
                // differs as the bit does.
                const auto isOther = hn::Eq(hn::Min(centre, hn::LoadU(d, rows[at / 5] + x + at % 5)), centre);
                bits = hn::Or(bits, hn::And(hn::VecFromMask(d, isOther), hn::Set(d, static_cast<uint8_t>(1 << i))));
            }
            hn::StoreU(bits, d, planes + x);
        }
    }
}

HWY_INLINE hn::Vec<Bytes> bitCount(hn::Vec<Bytes> v)
{
#if HWY_ARCH_ARM
    return hn::Vec<Bytes>(vcntq_u8(v.raw));
#else
    const Bytes d;
    alignas(16) static constexpr uint8_t kCounts[16] = {0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4};
    const auto counts = hn::LoadDup128(d, kCounts);
    const auto mask = hn::Set(d, 15);
    const auto high = hn::And(hn::BitCast(d, hn::ShiftRight<4>(hn::BitCast(hn::RepartitionToWide<Bytes>(), v))), mask);
    return hn::Add(hn::TableLookupBytes(counts, hn::And(v, mask)), hn::TableLookupBytes(counts, high));
#endif
}

// ---- States of paths ----

// A pixel's path costs are between guards, so that what is beyond the range of disparities is there and dear.
constexpr size_t kGuard = 8;

struct Shape
{
    size_t width, height;
    size_t size;  // of a pixel's disparities, in whole vectors

    size_t pixel() const { return size + 2 * kGuard; }
    size_t pathSize() const { return (pixel() + 1) * width; }
};

// The costs of one direction's paths where they stand now, one path for each column: upright ones by column, slanting
// ones by what stays the same along them, x - y or x + y modulo the width.
struct Paths
{
    uint16_t* costs;
    uint16_t* leasts;
};

HWY_INLINE Paths pathsIn(const Shape& shape, uint16_t* states, size_t direction)
{
    uint16_t* const own = states + direction * shape.pathSize();
    return {own, own + shape.pixel() * shape.width};
}

// What a step along a path reads and writes; both may be the same.
struct Step
{
    const uint16_t* from;
    uint16_t* to;
    uint16_t* least;
    uint16_t leastBefore;
};

struct Penalties
{
    uint16_t small, large;
};

// One step of kPaths paths at a pixel; `total` gets the sums of their costs and of `before`, if there is one.
template <size_t kPaths, bool kHasBefore>
HWY_INLINE void stepAll(const Shape& shape, const Step (&steps)[kPaths], Penalties penalties, CostVector beyond,
                        const uint8_t* pixelCosts, const uint16_t* before, uint16_t* total)
{
    const Costs d;
    const hn::Rebind<uint8_t, Costs> d8;
    const size_t lanes = hn::Lanes(d);
    const auto small = hn::Set(d, penalties.small);
    CostVector least[kPaths], jump[kPaths], base[kPaths], lower[kPaths];
    for (size_t p = 0; p < kPaths; ++p)
    {
        least[p] = hn::Set(d, kNoCost);
        base[p] = hn::Set(d, steps[p].leastBefore);
        jump[p] = hn::Set(d, static_cast<uint16_t>(steps[p].leastBefore + penalties.large));
        lower[p] = hn::LoadU(d, steps[p].from - 1);
    }
    const auto step = [&](size_t k, auto isLast) HWY_ATTR
    {
        const auto cost = hn::PromoteTo(d, hn::LoadU(d8, pixelCosts + k));
        auto sum = cost;
        if constexpr (kHasBefore)
        {
            sum = hn::LoadU(d, before + k);
        }
        for (size_t p = 0; p < kPaths; ++p)
        {
            const uint16_t* const from = steps[p].from + k;
            const auto beside = hn::SaturatedAdd(hn::Min(lower[p], hn::LoadU(d, from + 1)), small);
            const auto cheapest = hn::Min(hn::Min(hn::LoadU(d, from), jump[p]), beside);
            auto result = hn::Add(hn::Sub(cheapest, base[p]), cost);
            // Before the result takes the place of what it came from.
            if constexpr (decltype(isLast)::value)
            {
                result = hn::Or(result, beyond);
            }
            else
            {
                lower[p] = hn::LoadU(d, from + lanes - 1);
            }
            hn::StoreU(result, d, steps[p].to + k);
            least[p] = hn::Min(least[p], result);
            sum = kHasBefore || p > 0 ? hn::Add(sum, result) : result;
        }
        if constexpr (decltype(isLast)::value)
        {
            sum = hn::Or(sum, beyond);
        }
        hn::StoreU(sum, d, total + k);
    };
    const size_t last = shape.size - lanes;
    for (size_t k = 0; k < last; k += lanes)
    {
        step(k, std::false_type());
    }
    step(last, std::true_type());
    for (size_t p = 0; p < kPaths; ++p)
    {
        *steps[p].least = leastOfLanes(d, least[p]);
    }
}

// ---- The matcher ----

class SemiGlobal
{
  public:
    HWY_INLINE SemiGlobal(uint32_t width, uint32_t height, const Disparities& disparities, Penalties penalties)
        : disparities_(disparities),
          penalties_(penalties),
          shape_{width, height, wholeVectors(disparities.count, hn::Lanes(Costs()))},
          reverseSize_(width + 2 * kMargin),
          censusScratch_(2 * kPlanes * size_t{width} * height + kMargin),
          costScratch_(shape_.size * width + kMargin + kPlanes * reverseSize_ + 5 * (width + 4 + kMargin)),
          stateScratch_((2 * kDirections * shape_.pathSize() + 3 * (shape_.pixel() + 1) + 2 * shape_.size +
                         2 * reverseSize_ + width) *
                        sizeof(uint16_t)),
          stripRows_(rowsOfStrip()),
          strips_((height + stripRows_ - 1) / stripRows_),
          sumScratch_(stripRows_ * width * shape_.size * sizeof(uint16_t)),
          savedScratch_(strips_ > 1 ? (strips_ - 1) * kDirections * shape_.pathSize() * sizeof(uint16_t) : 1)
    {
    }

    HWY_INLINE bool hasMemory() const
    {
        return censusScratch_.data() && costScratch_.data() && stateScratch_.data() && sumScratch_.data() &&
               savedScratch_.data();
    }

    HWY_INLINE void look(const uint8_t* src1, uint32_t src1Stride, const uint8_t* src2, uint32_t src2Stride)
    {
        left_ = censusScratch_.data();
        right_ = left_ + kPlanes * shape_.width * shape_.height;
        transform(src1, src1Stride, left_);
        transform(src2, src2Stride, right_);
        layOut();
    }

    template <size_t kPaths>
    HWY_INLINE void match(uint32_t uniqueness, uint32_t leftRightLimit, int16_t* dst, uint32_t dstStride)
    {
        const size_t stateSize = kDirections * shape_.pathSize();
        for (size_t strip = strips_; strip-- > 1;)
        {
            pathsUp<kPaths>(strip);
            std::memcpy(saved_ + (strip - 1) * stateSize, up_, stateSize * sizeof(uint16_t));
        }
        for (size_t strip = 0; strip < strips_; ++strip)
        {
            if (strip + 1 < strips_)
            {
                std::memcpy(up_, saved_ + strip * stateSize, stateSize * sizeof(uint16_t));
            }
            pathsUp<kPaths>(strip);
            for (size_t y = strip * stripRows_; y < endOf(strip); ++y)
            {
                matchRow<kPaths>(y, uniqueness, leftRightLimit, imageRow(dst, dstStride, static_cast<uint32_t>(y)));
            }
        }
    }

  private:
    static constexpr size_t kDirections = 3;  // besides the one along the row
    static constexpr size_t kMargin = 64;     // so far vectors reach beyond what is there
    static constexpr size_t kLargeVolume = size_t{64} << 20;

    HWY_INLINE size_t rowsOfStrip() const
    {
        // Strips of this height need least memory: a row's sums are a third of the paths' states.
        const size_t volume = shape_.width * shape_.size * shape_.height * sizeof(uint16_t);
        return volume <= kLargeVolume ? shape_.height
                                      : static_cast<size_t>(std::sqrt(3.0 * static_cast<double>(shape_.height))) + 1;
    }

    HWY_INLINE size_t endOf(size_t strip) const { return std::min((strip + 1) * stripRows_, shape_.height); }

    HWY_INLINE void transform(const uint8_t* src, uint32_t stride, uint8_t* planes)
    {
        const size_t width = shape_.width;
        const size_t paddedSize = width + 4 + kMargin;
        uint8_t* const padded = costScratch_.data();
        const auto fill = [&](size_t row)  // counts from two above the image
        {
            const auto y = static_cast<uint32_t>(std::clamp<size_t>(row, 2, shape_.height + 1) - 2);
            uint8_t* to = padded + row % 5 * paddedSize;
            const uint8_t* from = imageRow(src, stride, y);
            std::fill_n(to, 2, from[0]);
            std::copy_n(from, width, to + 2);
            std::fill_n(to + 2 + width, 2 + kMargin, from[width - 1]);
        };
        for (size_t row = 0; row < 4; ++row)
        {
            fill(row);
        }
        for (size_t y = 0; y < shape_.height; ++y)
        {
            fill(y + 4);
            const uint8_t* rows[5];
            for (size_t j = 0; j < 5; ++j)
            {
                rows[j] = padded + (y + j) % 5 * paddedSize;
            }
            censusRow(rows, width, planes + y * kPlanes * width);
        }
    }

    HWY_INLINE void layOut()
    {
        reversed_ = costScratch_.data();
        pixelCosts_ = reversed_ + kPlanes * reverseSize_;
        const size_t stateSize = kDirections * shape_.pathSize();
        up_ = stateScratch_.as<uint16_t>();
        down_ = up_ + stateSize;
        along_ = down_ + stateSize;
        outside_ = along_ + 2 * (shape_.pixel() + 1);
        totals_ = outside_ + shape_.pixel() + 1;
        rightCosts_ = totals_ + 2 * shape_.size;
        rightBests_ = rightCosts_ + reverseSize_;
        bests_ = rightBests_ + reverseSize_;
        sums_ = sumScratch_.as<uint16_t>();
        saved_ = savedScratch_.as<uint16_t>();
        std::fill(up_, outside_, kNoCost);
        std::fill(outside_, totals_, uint16_t{0});
    }

    // The costs of a row's pixels, `size` bytes each.
    HWY_INLINE void costRow(size_t y)
    {
        const Bytes d;
        const size_t width = shape_.width;
        const uint8_t* const left = left_ + y * kPlanes * width;
        for (size_t plane = 0; plane < kPlanes; ++plane)
        {
            reverseRow(right_ + (y * kPlanes + plane) * width, width, kMargin, reversed_ + plane * reverseSize_);
        }
        for (size_t x = 0; x < width; ++x)
        {
            uint8_t* const costs = pixelCosts_ + x * shape_.size;
            const auto range = disparities_.possibleAt(static_cast<uint32_t>(x), static_cast<uint32_t>(width));
            if (!range.isEmpty())
            {
                const uint8_t* const right = reversed_ + reversedPlace(x);
                const auto bits0 = hn::Set(d, left[x]);
                const auto bits1 = hn::Set(d, left[width + x]);
                const auto bits2 = hn::Set(d, left[2 * width + x]);
                for (size_t k = range.first / hn::Lanes(d) * hn::Lanes(d); k < range.end; k += hn::Lanes(d))
                {
                    const auto count0 = bitCount(hn::Xor(bits0, hn::LoadU(d, right + k)));
                    const auto count1 = bitCount(hn::Xor(bits1, hn::LoadU(d, right + reverseSize_ + k)));
                    const auto count2 = bitCount(hn::Xor(bits2, hn::LoadU(d, right + 2 * reverseSize_ + k)));
                    hn::StoreU(hn::Add(hn::Add(count0, count1), count2), d, costs + k);
                }
            }
            std::fill(costs, costs + std::min<size_t>(range.first, shape_.size), kFarCost);
            std::fill(costs + std::max(range.first, range.end), costs + shape_.size, kFarCost);
        }
    }

    // Where disparity 0 of column x begins in rows that run backwards; may lie before them when it is not possible.
    HWY_INLINE int64_t reversedPlace(size_t x) const
    {
        return static_cast<int64_t>(kMargin + shape_.width - 1) - static_cast<int64_t>(x) + disparities_.least;
    }

    // Steps all paths of a pass at (x, y), given y modulo the width. isFirst: no pixel of the row was visited before.
    template <size_t kPaths, bool kDown>
    HWY_INLINE void visit(size_t x, size_t yModulo, bool isFirst, bool isFirstRow, uint16_t* states, CostVector beyond,
                          const uint16_t* before, uint16_t* total)
    {
        const size_t width = shape_.width;
        const size_t pixel = shape_.pixel();
        const bool isLeft = x == 0;
        const bool isRight = x + 1 == width;
        const size_t sum = x + yModulo;
        const size_t slots[3] = {x, x >= yModulo ? x - yModulo : x + width - yModulo, sum >= width ? sum - width : sum};
        // The diagonal of x - y comes from the upper left going down, from the lower right going up.
        const bool isOutside[3] = {isFirstRow, isFirstRow || (kDown ? isLeft : isRight),
                                   isFirstRow || (kDown ? isRight : isLeft)};
        Step steps[kPaths];
        uint16_t* const here = along_ + (x % 2) * pixel;
        uint16_t* const leasts = along_ + 2 * pixel;
        steps[0] = {isFirst ? outside_ + kGuard : along_ + (x % 2 == 0 ? pixel : 0) + kGuard, here + kGuard,
                    leasts + x % 2, isFirst ? uint16_t{0} : leasts[1 - x % 2]};
        for (size_t p = 1; p < kPaths; ++p)
        {
            const Paths paths = pathsIn(shape_, states, p - 1);
            const size_t slot = slots[p - 1];
            uint16_t* const to = paths.costs + slot * pixel + kGuard;
            steps[p] = {isOutside[p - 1] ? outside_ + kGuard : to, to, paths.leasts + slot,
                        isOutside[p - 1] ? uint16_t{0} : paths.leasts[slot]};
        }
        stepAll<kPaths, kDown>(shape_, steps, penalties_, beyond, pixelCosts_ + x * shape_.size, before, total);
    }

    template <size_t kPaths>
    HWY_INLINE void pathsUp(size_t strip)
    {
        const auto beyond = beyondLast(disparities_.count);
        for (size_t y = endOf(strip); y-- > strip * stripRows_;)
        {
            costRow(y);
            const size_t yModulo = y % shape_.width;
            uint16_t* const sums = sums_ + (y - strip * stripRows_) * shape_.width * shape_.size;
            for (size_t x = 0; x < shape_.width; ++x)
            {
                visit<kPaths, false>(x, yModulo, x == 0, y + 1 == shape_.height, up_, beyond, nullptr,
                                     sums + x * shape_.size);
            }
        }
    }

    template <size_t kPaths>
    HWY_INLINE void matchRow(size_t y, uint32_t uniqueness, uint32_t leftRightLimit, int16_t* to)
    {
        const auto beyond = beyondLast(disparities_.count);
        const size_t width = shape_.width;
        const size_t yModulo = y % width;
        const bool looksBack = leftRightLimit < disparities_.count;
        const uint16_t* const sums = sums_ + y % stripRows_ * width * shape_.size;
        std::fill_n(rightCosts_, reverseSize_, kNoCost);
        costRow(y);
        for (size_t x = width; x-- > 0;)
        {
            visit<kPaths, true>(x, yModulo, x + 1 == width, y == 0, down_, beyond, sums + x * shape_.size, totals_);
            const auto range = disparities_.possibleAt(static_cast<uint32_t>(x), static_cast<uint32_t>(width));
            const Choice choice = choose(disparities_, totals_, range, uniqueness);
            to[x] = choice.disparity;
            bests_[x] = static_cast<uint16_t>(choice.best);
            if (looksBack)
            {
                noteRight(x, range);
            }
        }
        for (size_t x = 0; looksBack && x < width; ++x)
        {
            if (to[x] != VISORA_DISPARITY_NONE)
            {
                const int32_t best = bests_[x];
                const int32_t back = rightBests_[reversedPlace(x) + best];
                to[x] = static_cast<uint32_t>(std::abs(back - best)) > leftRightLimit ? int16_t{VISORA_DISPARITY_NONE}
                                                                                      : to[x];
            }
        }
    }

    // The right view's pixels take what is cheaper for them. Disparities come to each of them in descending order.
    HWY_INLINE void noteRight(size_t x, Disparities::Range range)
    {
        const Costs d;
        const int64_t place = reversedPlace(x);
        for (size_t k = range.first / hn::Lanes(d) * hn::Lanes(d); k < range.end; k += hn::Lanes(d))
        {
            uint16_t* const costs = rightCosts_ + place + k;
            uint16_t* const bests = rightBests_ + place + k;
            const auto cost = hn::LoadU(d, totals_ + k);
            const auto lesser = hn::Min(cost, hn::LoadU(d, costs));
            const auto index = hn::Iota(d, static_cast<uint16_t>(k));
            hn::StoreU(hn::IfThenElse(hn::Eq(lesser, cost), index, hn::LoadU(d, bests)), d, bests);
            hn::StoreU(lesser, d, costs);
        }
    }

    Disparities disparities_;
    Penalties penalties_;
    Shape shape_;
    size_t reverseSize_;
    Scratch censusScratch_, costScratch_, stateScratch_;
    size_t stripRows_, strips_;
    Scratch sumScratch_, savedScratch_;
    uint8_t *left_ = nullptr, *right_ = nullptr;                                        // the views' census, row by row
    uint8_t *reversed_ = nullptr, *pixelCosts_ = nullptr;                               // of a row
    uint16_t *up_ = nullptr, *down_ = nullptr, *along_ = nullptr, *outside_ = nullptr;  // states of paths
    uint16_t *totals_ = nullptr, *rightCosts_ = nullptr, *rightBests_ = nullptr, *bests_ = nullptr;
    uint16_t *sums_ = nullptr, *saved_ = nullptr;
};

vsrStatus matchSemiGlobally(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                            const uint8_t* src2, uint32_t src2Stride, int32_t minDisparity, uint32_t numDisparities,
                            uint32_t penalty1, uint32_t penalty2, uint32_t paths, uint32_t uniqueness,
                            uint32_t leftRightLimit, int16_t* dst, uint32_t dstStride)
{
    SemiGlobal matcher(width, height, {minDisparity, numDisparities},
                       {static_cast<uint16_t>(penalty1), static_cast<uint16_t>(penalty2)});
    if (!matcher.hasMemory())
    {
        return VISORA_ENOMEM;
    }
    matcher.look(src1, src1Stride, src2, src2Stride);
    if (paths == 4)
    {
        matcher.match<2>(uniqueness, leftRightLimit, dst, dstStride);
    }
    else
    {
        matcher.match<4>(uniqueness, leftRightLimit, dst, dstStride);
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrDisparitySemiGlobalu8s16, matchSemiGlobally);

#endif
