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

#include "hwy/cache_control.h"
#include "vecta/visoraUnroll.h"
#include "vecta/visoraVector-inl.h"

#if HWY_TARGET <= HWY_AVX3

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Strips of so many vectors of results, for which one vector more is read, or two: windows reach no further.
constexpr size_t kStripVectors = 5;
constexpr size_t kMostStripRadius = 63;

// So many rows of results are made at once: what shifts vectors is slow to give its result, but soon takes the next.
constexpr size_t kRowsTogether = 2;

// A strip is too narrow for the processor to see which rows come next, so they are asked for so many rows before.
constexpr size_t kRowsAhead = 6;

// Each pixel of rows of a strip becomes the extreme of the `span` pixels from it on, all in registers: windows of
// single pixels grow to four, by one or three pixels and by whole words, which are shifted in from the vector behind.
// span is odd and at least 5; the vectors behind the strip's hold what its windows reach there, and have no results.
template <class Extreme, size_t kVectors, class D>
HWY_INLINE void extremeAlongStrip(D d, hn::Vec<D> (&v)[kRowsTogether][kVectors], size_t span)
{
    using V = hn::Vec<D>;
    const Extreme extreme;
    // What stands behind the last vector is in no window of the strip's.
    const auto grow = [&](auto further) HWY_ATTR __attribute__((always_inline))
    {
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            VISORA_UNROLL for (auto& row : v)
            {
                row[i] = extreme(row[i], further(row[i], row[HWY_MIN(i + 1, kVectors - 1)]));
            }
        }
    };
    const auto growByBytes = [&](auto bytes) HWY_ATTR __attribute__((always_inline))
    {
        grow(
            [=](V a, V behind) HWY_ATTR {
                return hn::CombineShiftRightBytes<decltype(bytes)::value>(
                    d, V{_mm512_alignr_epi32(behind.raw, a.raw, 4)}, a);
            });
    };
    growByBytes(std::integral_constant<int, 1>());
    growByBytes(std::integral_constant<int, 2>());
    if (span % 4 == 1)
    {
        growByBytes(std::integral_constant<int, 1>());
    }
    else
    {
        growByBytes(std::integral_constant<int, 3>());
    }
    size_t words = (span - 5) / 4;
    const auto growByWords = [&](auto step) HWY_ATTR __attribute__((always_inline))
    {
        constexpr int kStep = decltype(step)::value;
        if (words >= kStep)
        {
            words -= kStep;
            grow([](V a, V behind) HWY_ATTR { return V{_mm512_alignr_epi32(behind.raw, a.raw, kStep)}; });
        }
    };
    growByWords(std::integral_constant<int, 1>());
    growByWords(std::integral_constant<int, 2>());
    growByWords(std::integral_constant<int, 4>());
    if constexpr (kVectors == kStripVectors + 2)
    {
        growByWords(std::integral_constant<int, 8>());
    }
    if (words != 0)
    {
        const auto places = hn::Iota(hn::Repartition<uint32_t, D>(), static_cast<uint32_t>(words));
        grow([=](V a, V behind) HWY_ATTR { return V{_mm512_permutex2var_epi32(a.raw, places.raw, behind.raw)}; });
    }
}

// The rows begin .. end - 1 of a strip of columns from x on, kGroup at a time: so few columns that all the rows of a
// window stay in the first cache, and that those of one row are in registers. from[0] is the first row of the first
// window. What all windows of a group have is taken once, and that of whole groups of rows is kept.
template <class Extreme, size_t kGroup, size_t kBeyond, class D, class Finish>
HWY_NOINLINE void extremeStrip(D d, size_t x, size_t width, size_t radius, size_t rows, size_t begin, size_t end,
                               const uint8_t* const* from, uint8_t* scratch, Finish finish)
{
    using V = hn::Vec<D>;
    constexpr size_t kVectors = kStripVectors + kBeyond;
    constexpr size_t kPitch = kVectors * 64;
    constexpr size_t kMostBlocks = 2 * kMostStripRadius / kGroup + 1;
    const Extreme extreme;
    const auto neutral = hn::Set(d, Extreme::kNeutral);
    // Which lanes lie inside the image; what stands on both sides of it changes nothing.
    __mmask64 inside[kVectors];
    for (size_t j = 0; j < kVectors; ++j)
    {
        const size_t at = x + 64 * j;  // `radius` more than the column of lane 0
        const size_t outside = radius - std::min(radius, at);
        const size_t until = width + radius - std::min(width + radius, at);
        const auto lanesBelow = [](size_t count) { return count < 64 ? (uint64_t{1} << count) - 1 : ~uint64_t{0}; };
        inside[j] = lanesBelow(until) & ~lanesBelow(outside);
    }
    const auto load = [&](size_t row, size_t j) HWY_ATTR
    { return V{_mm512_mask_loadu_epi8(neutral.raw, inside[j], from[row] + x + 64 * j - radius)}; };
    const auto takeIn = [&](V(&v)[kVectors], size_t row) HWY_ATTR __attribute__((always_inline))
    {
        VISORA_UNROLL for (size_t j = 0; j < kVectors; ++j)
        {
            v[j] = extreme(v[j], load(row, j));
        }
    };
    const auto takeInBlock = [&](V(&v)[kVectors], const uint8_t* block) HWY_ATTR __attribute__((always_inline))
    {
        VISORA_UNROLL for (size_t j = 0; j < kVectors; ++j)
        {
            v[j] = extreme(v[j], hn::Load(d, block + 64 * j));
        }
    };
    const auto store = [&](const V(&v)[kVectors], uint8_t* to) HWY_ATTR __attribute__((always_inline))
    {
        VISORA_UNROLL for (size_t j = 0; j < kVectors; ++j)
        {
            hn::Store(v[j], d, to + 64 * j);
        }
    };
    const auto clear = [&](V(&v)[kVectors]) HWY_ATTR __attribute__((always_inline))
    {
        VISORA_UNROLL for (size_t j = 0; j < kVectors; ++j)
        {
            v[j] = neutral;
        }
    };
    V v[kVectors];
    // Whole groups behind the first one that lie in its windows, and the next, which is made on the way.
    const size_t whole = rows / kGroup - 1;
    uint8_t* block[kMostBlocks];
    for (size_t i = 0; i <= whole; ++i)
    {
        block[i] = scratch + (kGroup + i) * kPitch;
        clear(v);
        for (size_t row = (i + 1) * kGroup; i < whole && row < (i + 2) * kGroup; ++row)
        {
            takeIn(v, row);
        }
        store(v, block[i]);
    }
    for (size_t y = begin; y < end; y += kGroup, from += kGroup)
    {
        // The upper parts of the windows: of single rows down to the last one that the first window has.
        const size_t begun = kGroup * (whole + 1);
        clear(v);
        for (size_t row = begun; row < rows; ++row)
        {
            takeIn(v, row);
        }
        store(v, block[whole]);
        for (size_t i = 0; i < whole; ++i)
        {
            takeInBlock(v, block[i]);
        }
        for (size_t row = kGroup; row-- > 0;)
        {
            takeIn(v, row);
            store(v, scratch + row * kPitch);
        }
        // The lower parts come from registers.
        V lower[kVectors];
        clear(lower);
        const size_t made = std::min(kGroup, end - y);
        for (size_t i = 0; i < made; i += kRowsTogether)
        {
            V results[kRowsTogether][kVectors];
            VISORA_UNROLL for (size_t k = 0; k < kRowsTogether; ++k)
            {
                if (y + i + k + kRowsAhead < end)
                {
                    const uint8_t* const ahead = from[rows - 1 + i + k + kRowsAhead] + x;
                    VISORA_UNROLL for (size_t j = 0; j < kStripVectors; ++j)
                    {
                        hwy::Prefetch(ahead + 64 * j);
                    }
                }
                if (i + k > 0)
                {
                    takeIn(lower, rows - 1 + i + k);
                }
                VISORA_UNROLL for (size_t j = 0; j < kVectors; ++j)
                {
                    results[k][j] = extreme(lower[j], hn::Load(d, scratch + (i + k) * kPitch + 64 * j));
                }
                // A group's last row: that of an odd number of rows is not.
                if (rows + i + k == begun + kGroup)
                {
                    VISORA_UNROLL for (size_t j = 0; j < kVectors; ++j)
                    {
                        v[j] = lower[j];
                    }
                    takeInBlock(v, block[whole]);
                    store(v, block[whole]);
                }
            }
            extremeAlongStrip<Extreme>(d, results, 2 * radius + 1);
            VISORA_UNROLL for (size_t k = 0; k < kRowsTogether; ++k)
            {
                VISORA_UNROLL for (size_t j = 0; j < kStripVectors && i + k < made; ++j)
                {
                    finish(y + i + k, x + 64 * j, results[k][j]);
                }
            }
        }
        std::rotate(block, block + 1, block + whole + 1);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif

#endif
