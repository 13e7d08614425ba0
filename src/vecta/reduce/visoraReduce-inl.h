// Sums and extremes of rows. An accumulator takes vectors, add(chain, pointers ...), of kLanes columns from each
// pointer on, and is flushed at the end and whenever one of its chains has taken kSteps of them.
#if defined(VISORA_VECTA_REDUCE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_REDUCE_INL_H
#undef VISORA_VECTA_REDUCE_INL_H
#else
#define VISORA_VECTA_REDUCE_INL_H
#endif

#include "cpu/reduce/visoraReduce.h"
#include "cpu/visoraPartialSums.h"
#include "vecta/element/visoraElement-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- The driver ----

/** Partial results that take vectors in turn, so that none waits for the one before. */
constexpr size_t kChains = 4;

/**
 * Feeds rows to an accumulator. What is left of a row goes in with columns before it where they may come twice, as for
 * extremes, else with zeros behind it, which no sum counts.
 */
template <class Accumulator, class... T>
HWY_INLINE void foldRows(size_t width, size_t height, Accumulator& all, Plane<const T>... planes)
{
    constexpr size_t lanes = Accumulator::kLanes;
    if ((planes.isPacked(width) && ...))
    {
        width *= height;
        height = 1;
    }
    size_t stepsLeft = Accumulator::kSteps;
    const auto count = [&](size_t steps) HWY_ATTR
    {
        stepsLeft -= steps;
        if (stepsLeft == 0)
        {
            all.flush();
            stepsLeft = Accumulator::kSteps;
        }
    };
    const auto addTo = [&](size_t chain, const T*... at) HWY_ATTR __attribute__((always_inline))
    {
        all.add(chain, (at + chain * lanes)...);
    };
    for (; height != 0; --height)
    {
        size_t x = 0;
        while (width - x >= kChains * lanes)
        {
            const size_t steps = std::min((width - x) / (kChains * lanes), stepsLeft);
            for (const size_t end = x + steps * kChains * lanes; x < end; x += kChains * lanes)
            {
                [&]<size_t... chain>(std::index_sequence<chain...>) HWY_ATTR __attribute__((always_inline))
                {
                    (addTo(chain, planes.data + x...), ...);
                }
                (std::make_index_sequence<kChains>());
            }
            count(steps);
        }
        for (; x + lanes <= width; x += lanes)
        {
            addTo(0, planes.data + x...);
            count(1);
        }
        if (x < width && Accumulator::kMayRepeat && x != 0)
        {
            addTo(0, planes.data + (width - lanes)...);
            count(1);
        }
        else if (x < width)
        {
            [&](auto... ends) HWY_ATTR
            {
                if constexpr (Accumulator::kMayRepeat)
                {
                    (std::fill_n(ends.elements, lanes, planes.data[0]), ...);
                }
                (ends.take(planes, x, width - x), ...);
                addTo(0, ends.elements...);
                count(1);
            }(RowEnd<Plane<const T>, lanes>{}...);
        }
        ((planes.data += planes.stride), ...);
    }
    all.flush();
}

// ---- Sums ----

/** Pairs of lanes of 8 to 32 bits, or more of them, added up in 64 bits. */
template <class D, class V>
HWY_INLINE hn::Vec<hn::ScalableTag<uint64_t>> widened(D /*d*/, V v)
{
    using T = hn::TFromD<D>;
    const hn::ScalableTag<uint64_t> d64;
    if constexpr (sizeof(T) == 8)
    {
        return hn::BitCast(d64, v);
    }
    else if constexpr (sizeof(T) == 1)
    {
        return hn::SumsOf8(v);
    }
    else
    {
        const hn::Repartition<hwy::MakeWide<T>, D> wide;
        const hn::Half<D> half;
        return widened(
            wide, hn::Add(hn::PromoteTo(wide, hn::LowerHalf(half, v)), hn::PromoteTo(wide, hn::UpperHalf(half, v))));
    }
}

/**
 * A sum of what Formula()(part, pointers ...) makes of parts, vectors of T, by adding the vector of kColumns columns
 * from the pointers on. kMostSteps such vectors fit into a part.
 */
template <class T, size_t kColumns, size_t kMostSteps, class Formula>
struct Sum
{
    using D = hn::ScalableTag<T>;
    using D64 = hn::ScalableTag<uint64_t>;
    static constexpr size_t kLanes = kColumns;
    static constexpr size_t kSteps = kMostSteps;
    static constexpr bool kMayRepeat = false;

    HWY_INLINE Sum() : all(hn::Zero(D64())) { std::fill_n(parts, kChains, hn::Zero(D())); }

    HWY_INLINE void add(size_t chain, const auto*... at) { parts[chain] = Formula()(parts[chain], at...); }

    HWY_INLINE void flush()
    {
        for (auto& part : parts)
        {
            all = hn::Add(all, widened(D(), part));
            part = hn::Zero(D());
        }
    }

    HWY_INLINE uint64_t total() const { return hn::GetLane(hn::SumOfLanes(D64(), all)); }

    hn::Vec<D> parts[kChains];
    hn::Vec<D64> all;
};

// Bytes go into pairs of 16 bits on ARM, which hold 128 times 2 * 255, elsewhere into groups of eight in 64 bits.
using D8 = hn::ScalableTag<uint8_t>;
using ByteGroup = std::conditional_t<HWY_ARCH_ARM_A64, uint16_t, uint64_t>;
template <class Formula>
using ByteSum = Sum<ByteGroup, hn::MaxLanes(D8()), HWY_ARCH_ARM_A64 ? 128 : SIZE_MAX, Formula>;

template <class V>
HWY_INLINE V addBytes(V part, hn::Vec<D8> v)
{
#if HWY_ARCH_ARM_A64
    return V(vpadalq_u8(part.raw, v.raw));
#else
    return hn::Add(part, hn::SumsOf8(v));
#endif
}

/** The sum of the pixels of an image. */
constexpr auto addPixels = [](auto part, const uint8_t* src, const auto*... mask) HWY_ATTR
{
    const auto v = hn::LoadU(D8(), src);
    if constexpr (sizeof...(mask) == 0)
    {
        return addBytes(part, v);
    }
    else
    {
        return addBytes(part, hn::IfThenZeroElse(hn::Eq(hn::LoadU(D8(), mask...), hn::Zero(D8())), v));
    }
};
using PixelSum = ByteSum<decltype(addPixels)>;

/** Sums of |a - b| over eight bytes each. */
template <class D, class V>
HWY_INLINE auto sumsOfAbsDiff(D d, V a, V b)
{
#if HWY_ARCH_X86
    (void)d;
    if constexpr (sizeof(a.raw) == 16)
    {
        return hn::VFromD<hn::Repartition<uint64_t, D>>{_mm_sad_epu8(a.raw, b.raw)};
    }
#if HWY_TARGET <= HWY_AVX2
    else if constexpr (sizeof(a.raw) == 32)
    {
        return hn::VFromD<hn::Repartition<uint64_t, D>>{_mm256_sad_epu8(a.raw, b.raw)};
    }
#endif
#if HWY_TARGET <= HWY_AVX3
    else
    {
        return hn::VFromD<hn::Repartition<uint64_t, D>>{_mm512_sad_epu8(a.raw, b.raw)};
    }
#endif
#else
    return hn::SumsOf8(absDiff(d, a, b));
#endif
}

/** Adds the squares of bytes to sums in 32 bits, kSquareSteps times at most. */
template <class V>
HWY_INLINE hn::Vec<hn::ScalableTag<uint32_t>> addSquares(V v, hn::Vec<hn::ScalableTag<uint32_t>> sums)
{
#if HWY_ARCH_ARM_A64
    const uint32x4_t first = vpadalq_u16(sums.raw, vmull_u8(vget_low_u8(v.raw), vget_low_u8(v.raw)));
    return hn::Vec<hn::ScalableTag<uint32_t>>(vpadalq_u16(first, vmull_high_u8(v.raw, v.raw)));
#else
    const hn::ScalableTag<int16_t> d16;
    const hn::ScalableTag<uint16_t> du16;
    const hn::ScalableTag<int32_t> d32;
    const auto pairs = hn::BitCast(du16, v);
    const auto even = hn::BitCast(d16, hn::And(pairs, hn::Set(du16, uint16_t{255})));
    const auto odd = hn::BitCast(d16, hn::ShiftRight<8>(pairs));
    auto none = hn::Zero(d32);  // on x86 all goes into the first sum
    const auto first = hn::ReorderWidenMulAccumulate(d32, even, even, hn::BitCast(d32, sums), none);
    return hn::BitCast(hn::ScalableTag<uint32_t>(), hn::ReorderWidenMulAccumulate(d32, odd, odd, first, none));
#endif
}
constexpr size_t kSquareSteps = 16512;  // four times 255^2 each

constexpr auto addByteSquares = [](auto part, const uint8_t* src) HWY_ATTR
{ return addSquares(hn::LoadU(D8(), src), part); };
using SquaresU8 = Sum<uint32_t, hn::MaxLanes(D8()), kSquareSteps, decltype(addByteSquares)>;

// ---- Extremes ----

/** The lanes of a vector, combined. */
template <class D, class V, class Combine>
HWY_INLINE hn::TFromD<D> foldLanes(D d, V v, Combine combine)
{
    if constexpr (sizeof(v.raw) > 16)
    {
        const hn::Half<D> half;
        return foldLanes(half, combine(hn::LowerHalf(half, v), hn::UpperHalf(half, v)), combine);
    }
    else
    {
        // What comes in from behind never gets to the first lane.
        const hn::Repartition<uint8_t, D> bytes;
        v = combine(v, hn::BitCast(d, hn::ShiftRightBytes<8>(bytes, hn::BitCast(bytes, v))));
        v = combine(v, hn::BitCast(d, hn::ShiftRightBytes<4>(bytes, hn::BitCast(bytes, v))));
        if constexpr (sizeof(hn::TFromD<D>) <= 2)
        {
            v = combine(v, hn::BitCast(d, hn::ShiftRightBytes<2>(bytes, hn::BitCast(bytes, v))));
        }
        if constexpr (sizeof(hn::TFromD<D>) == 1)
        {
            v = combine(v, hn::ShiftRightBytes<1>(bytes, v));
        }
        return hn::GetLane(v);
    }
}

/** The smallest and the largest elements, lane by lane; NaNs are passed over. */
template <class T>
struct LaneExtremes
{
    using D = hn::ScalableTag<T>;
    using V = hn::Vec<D>;
    static constexpr size_t kLanes = hn::MaxLanes(D());
    static constexpr size_t kSteps = SIZE_MAX;
    static constexpr bool kMayRepeat = true;

    HWY_INLINE LaneExtremes()
    {
        std::fill_n(lows, kChains, hn::Set(D(), Extremes<T>().minValue));
        std::fill_n(highs, kChains, hn::Set(D(), Extremes<T>().maxValue));
    }

    HWY_INLINE void add(size_t chain, const T* src)
    {
        const V v = hn::LoadU(D(), src);
        lows[chain] = smallerOr(v, lows[chain]);
        highs[chain] = largerOr(v, highs[chain]);
    }

    HWY_INLINE void add(size_t chain, const T* src, const uint8_t* mask)
    {
        const D d;
        const V v = hn::LoadU(d, src);
        const V isOut = hn::VecFromMask(d, hn::Eq(hn::LoadU(d, mask), hn::Zero(d)));
        lows[chain] = hn::Min(hn::Or(v, isOut), lows[chain]);
        highs[chain] = hn::Max(hn::AndNot(isOut, v), highs[chain]);
    }

    // There are no NaNs among the extremes.
    HWY_INLINE void flush()
    {
        for (size_t i = 1; i < kChains; ++i)
        {
            lows[0] = hn::Min(lows[0], lows[i]);
            highs[0] = hn::Max(highs[0], highs[i]);
        }
    }

    HWY_INLINE T smallest() const
    {
        return foldLanes(D(), lows[0], [](auto a, auto b) HWY_ATTR { return hn::Min(a, b); });
    }

    HWY_INLINE T largest() const
    {
        return foldLanes(D(), highs[0], [](auto a, auto b) HWY_ATTR { return hn::Max(a, b); });
    }

    V lows[kChains];
    V highs[kChains];
};

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
