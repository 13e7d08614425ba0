// Extremes over windows of any size, of columns and along the row: the work hardly depends on the window. Included once
// per instruction set.
#if defined(VISORA_VECTA_FILTER_MORPHOLOGY_BLOCKS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_FILTER_MORPHOLOGY_BLOCKS_INL_H
#undef VISORA_VECTA_FILTER_MORPHOLOGY_BLOCKS_INL_H
#else
#define VISORA_VECTA_FILTER_MORPHOLOGY_BLOCKS_INL_H
#endif

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "vecta/visoraUnroll.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/**
 * Covers [0, width) with vectors: put(x, value(x)). On ARM four values at a time, all of which are there before any is
 * put: so the loads of neighbours go in pairs, which a store among them would keep apart. The last step overlaps.
 */
template <class D, class Value, class Put>
HWY_INLINE void coverByFour(D d, size_t width, Value value, Put put)
{
    const size_t lanes = hn::Lanes(d);
    if (!HWY_ARCH_ARM || width < 4 * lanes)
    {
        return coverRange(0, width, lanes, [&](size_t x) HWY_ATTR { put(x, value(x)); });
    }
    coverRange(0, width, 4 * lanes,
               [&](size_t x) HWY_ATTR
               {
                   const auto v0 = value(x);
                   const auto v1 = value(x + lanes);
                   const auto v2 = value(x + 2 * lanes);
                   const auto v3 = value(x + 3 * lanes);
                   put(x, v0);
                   put(x + lanes, v1);
                   put(x + 2 * lanes, v2);
                   put(x + 3 * lanes, v3);
               });
}

// ---- Columns ----

// out[i * pitch + x] = extreme of from[i][x] .. from[i + rows - 1][x] for i < made <= rows, kVectors vectors from x on.
// The extremes to the end of the first window go upward into `out`; those from there on come from registers.
template <class Extreme, size_t kVectors, class D>
HWY_INLINE void extremeOfRows(D d, const uint8_t* const* from, size_t rows, size_t made, size_t x, uint8_t* out,
                              size_t pitch)
{
    const Extreme extreme;
    const size_t lanes = hn::Lanes(d);
    hn::Vec<D> v[kVectors];
    const auto takeIn = [&](const uint8_t* row) HWY_ATTR
    {
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            v[i] = extreme(v[i], hn::LoadU(d, row + x + i * lanes));
        }
    };
    const auto begin = [&](const uint8_t* row) HWY_ATTR
    {
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            v[i] = hn::LoadU(d, row + x + i * lanes);
        }
    };
    begin(from[rows - 1]);
    for (size_t row = rows - 1; row-- > made;)
    {
        takeIn(from[row]);
    }
    uint8_t* to = out + x + made * pitch;
    for (size_t row = made; row-- > 0;)
    {
        takeIn(from[row]);
        to -= pitch;
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            hn::StoreU(v[i], d, to + i * lanes);
        }
    }
    begin(from[rows - 1]);
    for (size_t row = 1; row < made; ++row)
    {
        takeIn(from[rows - 1 + row]);
        to += pitch;
        hn::Vec<D> all[kVectors];
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            all[i] = extreme(v[i], hn::LoadU(d, to + i * lanes));
        }
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            hn::StoreU(all[i], d, to + i * lanes);
        }
    }
}

// ---- Rows ----

// out[x] = extreme of in[x .. x + span - 1] for x < width, by windows of `have` pixels that `in` holds already.
// `finish` takes each vector of results; all but the last stage go to `stage`, which continues as far as `in` does.
template <class Extreme, class D, class Finish>
HWY_INLINE void extremeAlong(D d, uint8_t* in, uint8_t* stage, size_t span, size_t width, Finish finish)
{
    const Extreme extreme;
    const auto ofFour = [=](const uint8_t* at, size_t b, size_t c, size_t e) HWY_ATTR
    {
        return extreme(extreme(hn::LoadU(d, at), hn::LoadU(d, at + b)),
                       extreme(hn::LoadU(d, at + c), hn::LoadU(d, at + e)));
    };
    size_t have = 1;
#if HWY_TARGET <= HWY_AVX3
    if constexpr (hn::MaxLanes(D()) == 64)
    {
        if (span > 16)
        {
            // Windows of sixteen at once: vectors of those of four are shifted by whole words. Loads from anywhere
            // cross a cache line each.
            const size_t needed = width + span - 16;
            auto fours = ofFour(in, 1, 2, 3);
            for (size_t x = 0; x < needed; x += 64)
            {
                const auto next = ofFour(in + x + 64, 1, 2, 3);
                const auto further = [&](auto words) HWY_ATTR
                { return hn::Vec<D>{_mm512_alignr_epi32(next.raw, fours.raw, decltype(words)::value)}; };
                const auto upper =
                    extreme(further(std::integral_constant<int, 2>()), further(std::integral_constant<int, 3>()));
                hn::StoreU(extreme(extreme(fours, further(std::integral_constant<int, 1>())), upper), d, stage + x);
                fours = next;
            }
            std::swap(in, stage);
            have = 16;
        }
    }
#endif
    for (; have * 4 < span; have *= 4)
    {
        // Windows of four times as many pixels, as far as the next stages need them.
        coverByFour(
            d, width + span - have * 4, [=](size_t x) HWY_ATTR { return ofFour(in + x, have, 2 * have, 3 * have); },
            [=](size_t x, hn::Vec<D> v) HWY_ATTR { hn::StoreU(v, d, stage + x); });
        std::swap(in, stage);
    }
    const size_t last = span - have;
    if (last <= have)
    {
        coverByFour(
            d, width, [=](size_t x) HWY_ATTR { return extreme(hn::LoadU(d, in + x), hn::LoadU(d, in + x + last)); },
            finish);
    }
    else if (last <= 2 * have)
    {
        coverByFour(
            d, width,
            [=](size_t x) HWY_ATTR
            {
                const auto two = extreme(hn::LoadU(d, in + x), hn::LoadU(d, in + x + have));
                return extreme(two, hn::LoadU(d, in + x + last));
            },
            finish);
    }
    else
    {
        coverByFour(
            d, width, [=](size_t x) HWY_ATTR { return ofFour(in + x, have, 2 * have, last); }, finish);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
