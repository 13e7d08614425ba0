// Detection of FAST corners by vectors. Included once per instruction set.
#if defined(VISORA_VECTA_FAST_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_FAST_INL_H
#undef VISORA_VECTA_FAST_INL_H
#else
#define VISORA_VECTA_FAST_INL_H
#endif

#include <algorithm>
#include <bit>

#include "hwy/highway.h"
#include "vecta/corner/visoraCornerFastScratch.h"
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

template <class D, class V = hn::Vec<D>>
HWY_INLINE bool allZero(D d, V v)
{
    return hn::AllTrue(d, hn::Eq(v, hn::Zero(d)));
}

template <class D, class M>
HWY_INLINE uint64_t bitsOf(D d, M mask)
{
    uint64_t bits = 0;
    hn::StoreMaskBits(d, mask, reinterpret_cast<uint8_t*>(&bits));
    return bits;
}

// Finds the corners of rows, one row after the other.
template <int kArc, class D>
class RowDetector
{
    using V = hn::Vec<D>;

  public:
    HWY_INLINE RowDetector(D d, const FastSearch& search, const ExclusionMask* mask, uint32_t* candidates)
        : d_(d), search_(search), mask_(mask), candidates_(candidates)
    {
    }

    // Finds the corners of row y. Columns of `result.excess` that cannot hold a corner stay as they are.
    HWY_INLINE void find(size_t y, FastRow& result) const
    {
        const D d = d_;
        const size_t lanes = hn::Lanes(d);
        const uint8_t* HWY_RESTRICT row = search_.src + y * search_.stride;
        const auto stride = static_cast<ptrdiff_t>(search_.stride);
        const size_t end = search_.endColumn();
        const size_t last = end - lanes;
        const V threshold = hn::Set(d, static_cast<uint8_t>(search_.threshold));
        uint32_t* HWY_RESTRICT candidates = candidates_;
        uint8_t* HWY_RESTRICT excess = result.excess;
        Corners* HWY_RESTRICT found = result.found;
        // Pixel i of the circles around the pixels of the vector that begins in column `start`.
        const auto circle = [=](size_t start, int i) HWY_ATTR
        { return hn::LoadU(d, row + start + kCircle[i].dy * stride + kCircle[i].dx); };

        // Whether the brightest pixels or the darkest ones are beyond the threshold anywhere.
        const auto exceeds = [=](V centre, V brightest, V darkest) HWY_ATTR
        {
            const V brighter = hn::SaturatedSub(brightest, hn::SaturatedAdd(centre, threshold));
            const V darker = hn::SaturatedSub(hn::SaturatedSub(centre, threshold), darkest);
            return !allZero(d, hn::Or(brighter, darker));
        };

        // Corners are rare, in an order that no processor could predict: every vector is noted down, and those that
        // pass are counted.
        size_t candidateCount = 0;
        for (size_t x = search_.border; x < end; x += lanes)
        {
            // The last vector ends with the row and overlaps the one before it.
            const size_t start = std::min(x, last);
            const V centre = hn::LoadU(d, row + start);
            const V below = circle(start, 0);
            const V right = circle(start, 4);
            const V above = circle(start, 8);
            const V left = circle(start, 12);
            // An arc of more than half the circle holds an end of every diameter.
            const V brightest = hn::Min(hn::Max(above, below), hn::Max(left, right));
            const V darkest = hn::Max(hn::Min(above, below), hn::Min(left, right));
            candidates[candidateCount] = static_cast<uint32_t>(x);
            candidateCount += exceeds(centre, brightest, darkest) ? 1 : 0;
        }

        // The other diameters between these leave fewer of them.
        size_t likelyCount = 0;
        for (size_t i = 0; i < candidateCount; ++i)
        {
            const size_t x = candidates[i];
            const size_t start = std::min(x, last);
            const V centre = hn::LoadU(d, row + start);
            V brightest = hn::Set(d, uint8_t{255});
            V darkest = hn::Zero(d);
            for (const int end : {0, 2, 4, 6})
            {
                const V one = circle(start, end);
                const V other = circle(start, end + 8);
                brightest = hn::Min(brightest, hn::Max(one, other));
                darkest = hn::Max(darkest, hn::Min(one, other));
            }
            candidates[likelyCount] = static_cast<uint32_t>(x);
            likelyCount += exceeds(centre, brightest, darkest) ? 1 : 0;
        }

        size_t foundCount = 0;
        for (size_t i = 0; i < likelyCount; ++i)
        {
            const size_t x = candidates[i];
            const size_t start = std::min(x, last);
            const V centre = hn::LoadU(d, row + start);
            const auto at = [=](int k) HWY_ATTR { return circle(start, k); };
            // The bounds saturate: no pixel is beyond one that lies outside the range of pixels.
            const V brighter = hn::SaturatedSub(bestArc<kArc, Brighter>(at), hn::SaturatedAdd(centre, threshold));
            const V darker = hn::SaturatedSub(hn::SaturatedSub(centre, threshold), bestArc<kArc, Darker>(at));
            const V beyond = hn::Max(brighter, darker);
            hn::StoreU(beyond, d, excess + start);
            const Corners corners = {bitsOf(d, hn::Ne(beyond, hn::Zero(d))) & ~uint64_t{0} << (x - start), start};
            found[foundCount] = corners;
            foundCount += corners.bits != 0 ? 1 : 0;
        }
        result.foundCount = foundCount;
        if (mask_)
        {
            removeExcluded(y, result);
        }
    }

  private:
    HWY_INLINE void removeExcluded(size_t y, FastRow& row) const
    {
        const D d = d_;
        size_t kept = 0;
        for (size_t i = 0; i < row.foundCount; ++i)
        {
            Corners corners = row.found[i];
            uint64_t excluded = mask_->excludedFrom(corners.start, y);
            if (hn::MaxLanes(D()) > 32)
            {
                excluded |= uint64_t{mask_->excludedFrom(corners.start + 32, y)} << 32;
            }
            const auto drop = hn::LoadMaskBits(d, reinterpret_cast<const uint8_t*>(&excluded));
            uint8_t* excess = row.excess + corners.start;
            hn::StoreU(hn::IfThenZeroElse(drop, hn::LoadU(d, excess)), d, excess);
            corners.bits &= ~excluded;
            row.found[kept] = corners;
            kept += corners.bits != 0 ? 1 : 0;
        }
        row.foundCount = kept;
    }

    D d_;
    const FastSearch& search_;
    const ExclusionMask* mask_;
    uint32_t* candidates_;
};

// Writes a corner down. The arc of a corner still passes with a threshold of one less than its difference.
HWY_INLINE void put(const CornerList& list, uint32_t index, size_t x, size_t y, uint32_t score)
{
    list.xy[size_t{index} * 2] = static_cast<uint32_t>(x);
    list.xy[size_t{index} * 2 + 1] = static_cast<uint32_t>(y);
    if (list.scores)
    {
        list.scores[index] = score;
    }
}

template <int kArc, class D>
uint32_t detectAll(D d, const FastSearch& search, const ExclusionMask* mask, const CornerList& list,
                   const FastScratch& scratch)
{
    const RowDetector<kArc, D> detector(d, search, mask, scratch.candidates());
    FastRow row = scratch.row(0);
    uint32_t count = 0;
    for (size_t y = search.border; y < search.endRow(); ++y)
    {
        detector.find(y, row);
        for (size_t i = 0; i < row.foundCount; ++i)
        {
            const Corners corners = row.found[i];
            for (uint64_t rest = corners.bits; rest != 0; rest &= rest - 1)
            {
                const size_t x = corners.start + static_cast<size_t>(std::countr_zero(rest));
                put(list, count, x, y, search.threshold + row.excess[x] - 1);
                if (++count == list.capacity)
                {
                    return count;
                }
            }
        }
    }
    return count;
}

// Lists the corners of row y, `here`, that exceed all their neighbours. Returns the new length of the list.
template <class D>
HWY_INLINE uint32_t putBest(D d, const FastRow& above, const FastRow& here, const FastRow& below, size_t y,
                            uint32_t threshold, const CornerList& list, uint32_t count)
{
    using V = hn::Vec<D>;
    for (size_t i = 0; i < here.foundCount; ++i)
    {
        const Corners corners = here.found[i];
        const auto line = [start = corners.start](const FastRow& row, ptrdiff_t dx) HWY_ATTR
        { return hn::LoadU(D(), row.excess + start + dx); };
        V best = hn::Max(line(here, -1), line(here, 1));
        for (const FastRow* row : {&above, &below})
        {
            best = hn::Max(best, hn::Max(hn::Max(line(*row, -1), line(*row, 0)), line(*row, 1)));
        }
        const V lead = hn::SaturatedSub(line(here, 0), best);
        const uint64_t kept = corners.bits & bitsOf(d, hn::Ne(lead, hn::Zero(d)));
        for (uint64_t rest = kept; rest != 0; rest &= rest - 1)
        {
            const size_t x = corners.start + static_cast<size_t>(std::countr_zero(rest));
            put(list, count++, x, y, threshold + here.excess[x] - 1);
        }
    }
    return count;
}

// As detectAll, for the corners that no neighbour equals or outdoes: a row's when the one below it is known.
template <int kArc, class D>
uint32_t detectBest(D d, const FastSearch& search, const ExclusionMask* mask, const CornerList& list,
                    const FastScratch& scratch)
{
    const RowDetector<kArc, D> detector(d, search, mask, scratch.candidates());
    FastRow above = scratch.row(0);
    FastRow here = scratch.row(1);
    FastRow below = scratch.row(2);
    uint64_t room = list.capacity;
    uint32_t count = 0;
    for (size_t y = search.border; y <= search.endRow(); ++y)
    {
        for (size_t i = 0; i < below.foundCount; ++i)
        {
            hn::StoreU(hn::Zero(d), d, below.excess + below.found[i].start);
        }
        below.foundCount = 0;
        if (y < search.endRow() && room > 0)
        {
            detector.find(y, below);
            room -= keepFirst(below, room);
        }
        count = putBest(d, above, here, below, y - 1, search.threshold, list, count);
        std::swap(above, here);
        std::swap(here, below);
    }
    return count;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
