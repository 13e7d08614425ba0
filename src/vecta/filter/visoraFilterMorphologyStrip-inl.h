// Extremes over windows of nine pixels and more, in strips of columns of which a window's rows stay in the first cache:
// almost the same work for all of these windows. Included once per instruction set.
#if defined(VISORA_VECTA_FILTER_MORPHOLOGY_STRIP_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_FILTER_MORPHOLOGY_STRIP_INL_H
#undef VISORA_VECTA_FILTER_MORPHOLOGY_STRIP_INL_H
#else
#define VISORA_VECTA_FILTER_MORPHOLOGY_STRIP_INL_H
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "vecta/visoraUnroll.h"
#include "vecta/visoraVector-inl.h"

#if HWY_TARGET <= HWY_AVX3

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** Where a strip keeps extremes of groups of rows, by the number of the group. */
struct GroupBlocks
{
    uint8_t* of(size_t group) const { return first + group % count * pitch; }

    uint8_t* first;
    size_t count;
    size_t pitch;
};

// out[i * pitch + x] = extreme of from[i][x] .. from[i + rows - 1][x] for i < kMade <= rows, a vector from x on, in
// registers. What all of these windows have is taken once, that of the next blocks.count - 1 groups from `blocks`,
// where that of the group behind them is left. Loads cost less than stores, which those of the next columns would have
// to wait for.
template <class Extreme, size_t kMade, class D>
HWY_INLINE void extremeOfGroup(D d, const uint8_t* const* from, size_t rows, size_t group, size_t x, GroupBlocks blocks,
                               uint8_t* out, size_t pitch)
{
    const Extreme extreme;
    const auto load = [=](size_t row) HWY_ATTR { return hn::LoadU(d, from[row] + x); };
    const size_t begun = kMade * blocks.count;
    auto block = load(begun);
    for (size_t row = begun + 1; row < rows; ++row)
    {
        block = extreme(block, load(row));
    }
    auto common = extreme(load(kMade - 1), block);
    for (size_t i = 1; i < blocks.count; ++i)
    {
        common = extreme(common, hn::LoadU(d, blocks.of(group + i) + x));
    }
    hn::Vec<D> upper[kMade];
    upper[kMade - 1] = common;
    VISORA_UNROLL for (size_t i = kMade - 1; i-- > 0;)
    {
        upper[i] = extreme(upper[i + 1], load(i));
    }
    hn::StoreU(upper[0], d, out + x);
    auto lower = load(rows);
    VISORA_UNROLL for (size_t i = 1; i < kMade; ++i)
    {
        lower = i == 1 ? lower : extreme(lower, load(rows - 1 + i));
        hn::StoreU(extreme(upper[i], lower), d, out + i * pitch + x);
        // A group's last row: that of an odd number of rows is not.
        if (rows + i == begun + kMade)
        {
            block = extreme(block, lower);
        }
    }
    hn::StoreU(block, d, blocks.of(group + blocks.count) + x);
}

// Strips of so many vectors of results, for which one vector more is read, or two: windows reach no further.
constexpr size_t kStripVectors = 5;
constexpr size_t kMostStripRadius = 63;

// put(i, extreme of in[64 i + k .. 64 i + k + span - 1] in lane k) for the vectors i of a strip, all in registers:
// windows of single pixels grow to four, by `bytes` pixels and by whole words, which are shifted in from the
// vector behind. span = 4 + bytes, and a multiple of four more, less than 64 kBeyond.
template <class Extreme, int bytes, size_t kBeyond, class D, class Put>
HWY_INLINE void extremeAlongStrip(D d, const uint8_t* in, size_t span, Put put)
{
    using V = hn::Vec<D>;
    const Extreme extreme;
    constexpr size_t kLast = kStripVectors + kBeyond - 1;
    V v[kLast + 1];
    VISORA_UNROLL for (size_t i = 0; i <= kLast; ++i)
    {
        v[i] = hn::LoadU(d, in + 64 * i);
    }
    // What stands behind the last vector is in no window of the strip's.
    const auto grow = [&](auto further) HWY_ATTR __attribute__((always_inline))
    {
        VISORA_UNROLL for (size_t i = 0; i <= kLast; ++i)
        {
            v[i] = extreme(v[i], further(v[i], v[HWY_MIN(i + 1, kLast)]));
        }
    };
    grow([=](V a, V behind) HWY_ATTR
         { return hn::CombineShiftRightBytes<1>(d, V{_mm512_alignr_epi32(behind.raw, a.raw, 4)}, a); });
    grow([=](V a, V behind) HWY_ATTR
         { return hn::CombineShiftRightBytes<2>(d, V{_mm512_alignr_epi32(behind.raw, a.raw, 4)}, a); });
    grow([=](V a, V behind) HWY_ATTR
         { return hn::CombineShiftRightBytes<bytes>(d, V{_mm512_alignr_epi32(behind.raw, a.raw, 4)}, a); });
    size_t words = (span - 4 - bytes) / 4;
    const auto growBy = [&](auto step) HWY_ATTR __attribute__((always_inline))
    {
        constexpr int kStep = decltype(step)::value;
        if (words >= kStep)
        {
            words -= kStep;
            grow([](V a, V behind) HWY_ATTR { return V{_mm512_alignr_epi32(behind.raw, a.raw, kStep)}; });
        }
    };
    growBy(std::integral_constant<int, 1>());
    growBy(std::integral_constant<int, 2>());
    growBy(std::integral_constant<int, 4>());
    if constexpr (kBeyond == 2)
    {
        growBy(std::integral_constant<int, 8>());
    }
    if (words != 0)
    {
        const auto places = hn::Iota(hn::Repartition<uint32_t, D>(), static_cast<uint32_t>(words));
        grow([=](V a, V behind) HWY_ATTR { return V{_mm512_permutex2var_epi32(a.raw, places.raw, behind.raw)}; });
    }
    VISORA_UNROLL for (size_t i = 0; i < kStripVectors; ++i)
    {
        put(i, v[i]);
    }
}

// The rows begin .. end - 1 of a strip of columns from x on, kGroup at a time: so few columns that all the rows of a
// window stay in the first cache. from[0] is the first row of the first window.
template <class Extreme, size_t kGroup, class D, class Finish>
HWY_NOINLINE void extremeStrip(D d, size_t x, size_t width, size_t radius, size_t rows, size_t begin, size_t end,
                               const uint8_t* const* from, uint8_t* columns, Finish finish)
{
    constexpr size_t kStrip = kStripVectors * 64;
    constexpr size_t kPitch = kStrip + 3 * 64;
    // Columns that there are, and where in a row of the strip's they begin and end.
    const size_t first = x - std::min(x, radius);
    const size_t last = std::min(x + kStrip + radius, width);
    const size_t before = first + radius - x;
    if (before != 0 || last != x + kStrip + radius)
    {
        // What stands on both sides of the image changes nothing.
        std::fill_n(columns, kGroup * kPitch, Extreme::kNeutral);
    }
    uint8_t* const out = columns + before - first;
    const GroupBlocks blocks{out + kGroup * kPitch, rows / kGroup, kPitch};
    for (size_t i = 1; i < blocks.count; ++i)
    {
        coverRange(first, last, 64,
                   [=](size_t at) HWY_ATTR
                   {
                       const Extreme extreme;
                       auto all = hn::LoadU(d, from[i * kGroup] + at);
                       for (size_t row = i * kGroup + 1; row < (i + 1) * kGroup; ++row)
                       {
                           all = extreme(all, hn::LoadU(d, from[row] + at));
                       }
                       hn::StoreU(all, d, blocks.of(i) + at);
                   });
    }
    for (size_t y = begin; y < end; y += kGroup)
    {
        const size_t group = (y - begin) / kGroup;
        coverRange(first, last, 64,
                   [=](size_t at) HWY_ATTR
                   { extremeOfGroup<Extreme, kGroup>(d, from + (y - begin), rows, group, at, blocks, out, kPitch); });
        for (size_t i = 0; i < std::min(kGroup, end - y); ++i)
        {
            const auto put = [&](size_t j, hn::Vec<D> v) HWY_ATTR { finish(y + i, x + 64 * j, v); };
            const uint8_t* const in = columns + i * kPitch;
            switch (radius % 2 + (radius <= 31 ? 0 : 2))
            {
                case 0:
                    extremeAlongStrip<Extreme, 1, 1>(d, in, 2 * radius + 1, put);
                    break;
                case 1:
                    extremeAlongStrip<Extreme, 3, 1>(d, in, 2 * radius + 1, put);
                    break;
                case 2:
                    extremeAlongStrip<Extreme, 1, 2>(d, in, 2 * radius + 1, put);
                    break;
                default:
                    extremeAlongStrip<Extreme, 3, 2>(d, in, 2 * radius + 1, put);
            }
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif

#endif
