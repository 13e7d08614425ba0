// Sums and extremes of rows. An accumulator takes vectors, add(std::index_sequence<0 .. n - 1>, pointers ...), n *
// kLanes columns from each pointer on. A sum has to be flushed after kSteps vectors.
#if defined(VISORA_VECTA_REDUCE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_REDUCE_INL_H
#undef VISORA_VECTA_REDUCE_INL_H
#else
#define VISORA_VECTA_REDUCE_INL_H
#endif

#include "cpu/reduce/visoraReduce.h"
#include "vecta/element/visoraElement-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Drivers ----

/** Feeds rows to a sum. What is left of a row goes in with zeros behind it, which no sum counts. */
template <class Sum, class... T>
HWY_INLINE void sumRows(size_t width, size_t height, Sum& sum, Plane<const T>... planes)
{
    constexpr size_t lanes = Sum::kLanes;
    constexpr size_t kUnroll = 4;
    if ((planes.isPacked(width) && ...))
    {
        width *= height;
        height = 1;
    }
    size_t stepsLeft = Sum::kSteps;
    const auto count = [&](size_t steps) HWY_ATTR
    {
        stepsLeft -= steps;
        if (stepsLeft < kUnroll)
        {
            sum.flush();
            stepsLeft = Sum::kSteps;
        }
    };
    for (; height != 0; --height)
    {
        size_t x = 0;
        while (width - x >= kUnroll * lanes)
        {
            const size_t groups = std::min((width - x) / (kUnroll * lanes), stepsLeft / kUnroll);
            for (const size_t end = x + groups * kUnroll * lanes; x < end; x += kUnroll * lanes)
            {
                sum.add(std::make_index_sequence<kUnroll>(), planes.data + x...);
            }
            count(groups * kUnroll);
        }
        for (; x + lanes <= width; x += lanes)
        {
            sum.add(std::index_sequence<0>(), planes.data + x...);
            count(1);
        }
        if (x < width)
        {
            [&](auto... ends) HWY_ATTR
            {
                (ends.take(planes, x, width - x), ...);
                sum.add(std::index_sequence<0>(), ends.elements...);
                count(1);
            }(RowEnd<Plane<const T>, lanes>{}...);
        }
        ((planes.data += planes.stride), ...);
    }
    sum.flush();
}

/** Feeds a row to extremes, for which elements may come twice: the last vector overlaps the one before. */
template <class Extremes, class... T>
HWY_INLINE void extremesOfRow(size_t width, Extremes& extremes, const T*... rows)
{
    constexpr size_t lanes = Extremes::kLanes;
    if (width < lanes)
    {
        [&](auto... ends) HWY_ATTR
        {
            (std::fill_n(ends.elements, lanes, rows[0]), ...);
            (ends.take({rows, 0}, 0, width), ...);
            extremes.add(std::index_sequence<0>(), ends.elements...);
        }(RowEnd<Plane<const T>, lanes>{}...);
        return;
    }
    size_t x = 0;
    for (; x + 4 * lanes <= width; x += 4 * lanes)
    {
        extremes.add(std::make_index_sequence<4>(), rows + x...);
    }
    for (; x + lanes <= width; x += lanes)
    {
        extremes.add(std::index_sequence<0>(), rows + x...);
    }
    if (x < width)
    {
        extremes.add(std::index_sequence<0>(), rows + (width - lanes)...);
    }
}

// ---- Sums ----

template <class D, class V>
HWY_INLINE uint64_t sumOf64(D d, V v)
{
    return static_cast<uint64_t>(hn::GetLane(hn::SumOfLanes(d, v)));
}

/** All lanes of a vector of 32 bits, added up in 64. */
template <class D, class V>
HWY_INLINE int64_t sumOf32(D d, V v)
{
    alignas(64) hn::TFromD<D> lanes[hn::MaxLanes(D())];
    hn::Store(v, d, lanes);
    int64_t sum = 0;
    for (const auto lane : lanes)
    {
        sum += lane;
    }
    return sum;
}

/** A sum of vectors of bytes. */
struct ByteSum
{
    using D = hn::ScalableTag<uint8_t>;
    using D16 = hn::ScalableTag<uint16_t>;
    using D64 = hn::ScalableTag<uint64_t>;
    static constexpr size_t kLanes = hn::MaxLanes(D());
    // On ARM pairs are added up in 16 bits, which hold 128 times 2 * 255.
    static constexpr size_t kSteps = HWY_ARCH_ARM_A64 ? 128 : SIZE_MAX;

    HWY_INLINE ByteSum() : pairs(hn::Zero(D16())), sums(hn::Zero(D64())) {}

    HWY_INLINE void addBytes(hn::Vec<D> v)
    {
#if HWY_ARCH_ARM_A64
        pairs = hn::Vec<D16>(vpadalq_u8(pairs.raw, v.raw));
#else
        sums = hn::Add(sums, hn::SumsOf8(v));
#endif
    }

    HWY_INLINE void flush()
    {
#if HWY_ARCH_ARM_A64
        sums = hn::Vec<D64>(vpadalq_u32(sums.raw, vpaddlq_u16(pairs.raw)));
        pairs = hn::Zero(D16());
#endif
    }

    HWY_INLINE uint64_t total() const
    {
        return sumOf64(D64(), sums);
    }

    hn::Vec<D16> pairs;
    hn::Vec<D64> sums;
};

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

/** The sum of the pixels of an image. */
struct PixelSum : ByteSum
{
    HWY_INLINE PixelSum() {}

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const uint8_t* src)
    {
        (addBytes(hn::LoadU(D(), src + i * kLanes)), ...);
    }

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const uint8_t* src, const uint8_t* mask)
    {
        const D d;
        (addBytes(
             hn::IfThenZeroElse(hn::Eq(hn::LoadU(d, mask + i * kLanes), hn::Zero(d)), hn::LoadU(d, src + i * kLanes))),
         ...);
    }
};

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

    HWY_INLINE LaneExtremes() : low(hn::Set(D(), Extremes<T>().minValue)), high(hn::Set(D(), Extremes<T>().maxValue)) {}

    static HWY_INLINE V smaller(V a, V b)
    {
        if constexpr (std::is_same_v<T, float>)
        {
            return smallerOr(a, b);
        }
        else
        {
            return hn::Min(a, b);
        }
    }

    static HWY_INLINE V larger(V a, V b)
    {
        if constexpr (std::is_same_v<T, float>)
        {
            return largerOr(a, b);
        }
        else
        {
            return hn::Max(a, b);
        }
    }

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const T* src)
    {
        const V v[] = {hn::LoadU(D(), src + i * kLanes)...};
        ((low = smaller(v[i], low), high = larger(v[i], high)), ...);
    }

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const T* src, const uint8_t* mask)
    {
        const D d;
        const V isOut[] = {hn::VecFromMask(d, hn::Eq(hn::LoadU(d, mask + i * kLanes), hn::Zero(d)))...};
        ((low = smaller(hn::Or(hn::LoadU(d, src + i * kLanes), isOut[i]), low),
          high = larger(hn::AndNot(isOut[i], hn::LoadU(d, src + i * kLanes)), high)),
         ...);
    }

    HWY_INLINE T smallest() const
    {
        return foldLanes(D(), low, [](auto a, auto b) HWY_ATTR { return folded<true>(a, b); });
    }

    HWY_INLINE T largest() const
    {
        return foldLanes(D(), high, [](auto a, auto b) HWY_ATTR { return folded<false>(a, b); });
    }

    V low;
    V high;

  private:
    template <bool isMin, class AnyV>
    static HWY_INLINE AnyV folded(AnyV a, AnyV b)
    {
        return isMin ? hn::Min(a, b) : hn::Max(a, b);
    }
};

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
