// The lanes that conversions from luma and chroma to RGB work in: their order, bytes and 16-bit halves, and the chroma
// of both layouts. Included once per instruction set.
//
// Chroma work is done in 16-bit lanes that hold 256 * (C - 128). The high half of such a lane's product with a factor f
// is f * C' / 256, rounded down, which is exact to the bit where a rule needs no more fraction.
#if defined(VISORA_VECTA_COLOR_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_LANES_INL_H
#undef VISORA_VECTA_COLOR_LANES_INL_H
#else
#define VISORA_VECTA_COLOR_LANES_INL_H
#endif

#include "vecta/color/visoraColor.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class D>
using Signed16 = hn::Repartition<int16_t, D>;
template <class D>
using Unsigned16 = hn::Repartition<uint16_t, D>;

// ---- Order of pixels ----
//
// Vectors longer than 128 bits interleave only within blocks of 128 bits. A packer that interleaves n vectors of bytes
// leaves block k of its i-th result with pixels of block k only. So that the results come out in the order of memory,
// groups of pixels are exchanged beforehand, when luma and chroma are loaded.

template <class D>
constexpr size_t kBlocks = hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) / 16;

enum class Order
{
    Natural,      // as in memory
    ForTwoWords,  // for packers that double the bytes of a pixel: block k has groups of 8 pixels k and k + blocks
    ForFourWords  // that quadruple them: groups of 4 pixels k, k + blocks, k + 2 * blocks and k + 3 * blocks
};

/** Which group of 4 pixels is at a place. */
constexpr size_t groupAt(Order order, size_t blocks, size_t place)
{
    const size_t block = place / 4;
    const size_t inBlock = place % 4;
    switch (order)
    {
        case Order::ForTwoWords:
            return (block + inBlock / 2 * blocks) * 2 + inBlock % 2;
        case Order::ForFourWords:
            return block + inBlock * blocks;
        default:
            return place;
    }
}

template <Order from, Order to, size_t blocks>
struct GroupMoves
{
    constexpr GroupMoves()
    {
        for (size_t place = 0; place < 4 * blocks; ++place)
        {
            while (groupAt(from, blocks, static_cast<size_t>(source[place])) != groupAt(to, blocks, place))
            {
                ++source[place];
            }
        }
    }
    int32_t source[4 * blocks] = {};
};

/** Brings the bytes of pixels, or the 16-bit lanes of pairs of pixels, from one order into another. */
template <Order from, Order to, class D, class V>
HWY_INLINE V rearrange(D d, V v)
{
    if constexpr (kBlocks<D> == 1 || from == to)
    {
        return v;
    }
    else
    {
        alignas(64) static constexpr GroupMoves<from, to, kBlocks<D>> kMoves;
        const hn::Repartition<int32_t, D> s32;
        return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(s32, v), hn::SetTableIndices(s32, kMoves.source)));
    }
}

/** From the order of memory. */
template <Order order, class D, class V>
HWY_INLINE V arrange(D d, V v)
{
    return rearrange<Order::Natural, order>(d, v);
}

// ---- Bytes and 16-bit lanes ----

/** What belongs to the lower and to the upper eight pixels of each block. */
template <class T>
struct Halves
{
    T lower;
    T upper;
};

template <class D, class V>
HWY_INLINE Halves<hn::Vec<Signed16<D>>> widen(D d, V bytes)
{
    const Signed16<D> s16;
    return {hn::BitCast(s16, hn::InterleaveLower(d, bytes, hn::Zero(d))),
            hn::BitCast(s16, hn::InterleaveUpper(d, bytes, hn::Zero(d)))};
}

/** The reverse, clamping to 0 .. 255. */
template <class D, class V16>
HWY_INLINE hn::Vec<D> narrow([[maybe_unused]] D d, V16 lower, V16 upper)
{
#if HWY_ARCH_X86
    // The instruction works within blocks, which is what is wanted here and what portable narrowing would undo.
    if constexpr (kBlocks<D> == 1)
    {
        return hn::Vec<D>{_mm_packus_epi16(lower.raw, upper.raw)};
    }
#if HWY_TARGET <= HWY_AVX2
    else if constexpr (kBlocks<D> == 2)
    {
        return hn::Vec<D>{_mm256_packus_epi16(lower.raw, upper.raw)};
    }
#endif
#if HWY_TARGET <= HWY_AVX3
    else
    {
        return hn::Vec<D>{_mm512_packus_epi16(lower.raw, upper.raw)};
    }
#endif
#else
    return hn::Vec<D>(vqmovun_high_s16(vqmovun_s16(lower.raw), upper.raw));
#endif
}

/** What belongs to each four pixels of each block. */
template <class V>
struct Quarters
{
    V v0;
    V v1;
    V v2;
    V v3;
};

template <class D, class V>
HWY_INLINE Quarters<hn::Vec<hn::Repartition<int32_t, D>>> widenHalves(D /*d*/, const Halves<V>& halves)
{
    const Signed16<D> s16;
    const hn::Repartition<int32_t, D> s32;
    // The sign comes with the shift.
    const auto low = [=](V v) HWY_ATTR { return hn::ShiftRight<16>(hn::BitCast(s32, hn::InterleaveLower(s16, v, v))); };
    const auto high = [=](V v) HWY_ATTR
    { return hn::ShiftRight<16>(hn::BitCast(s32, hn::InterleaveUpper(s16, v, v))); };
    return {low(halves.lower), high(halves.lower), low(halves.upper), high(halves.upper)};
}

/** Each quarter by `convert`. */
template <class V, class Convert, class... More>
HWY_INLINE auto mapQuarters(Convert convert, const Quarters<V>& first, const More&... more)
{
    return Quarters<decltype(convert(first.v0, more.v0...))>{
        convert(first.v0, more.v0...), convert(first.v1, more.v1...), convert(first.v2, more.v2...),
        convert(first.v3, more.v3...)};
}

/** The reverse of widening, clamping to 0 .. 255. */
template <class D, class V32>
HWY_INLINE hn::Vec<D> narrowQuarters(D d, const Quarters<V32>& quarters)
{
    const Signed16<D> s16;
    return narrow(d, hn::ReorderDemote2To(s16, quarters.v0, quarters.v1),
                  hn::ReorderDemote2To(s16, quarters.v2, quarters.v3));
}

// ---- Chroma ----

/** Chroma samples as 256 * (C - 128). */
template <class V>
struct Chroma
{
    V cb;
    V cr;
};
template <class D>
using ChromaOf = Chroma<hn::Vec<Signed16<D>>>;

template <class V>
struct Rgb
{
    V r;
    V g;
    V b;
};

/** Samples in the high bytes of 16-bit lanes whose low bytes are 0. */
template <class D16, class V>
HWY_INLINE V centred(D16 s16, V samples)
{
    return hn::Xor(samples, hn::Set(s16, int16_t{-32768}));
}

/** Cb and Cr in planes of their own. */
struct Planes
{
    const uint8_t* cb;
    const uint8_t* cr;
    size_t cbStride;
    size_t crStride;

    Planes row(size_t y) const { return {cb + y * cbStride, cr + y * crStride, cbStride, crStride}; }

    /** The samples from `first` on, one for every pixel of a vector. */
    template <Order order, class D>
    HWY_INLINE Halves<ChromaOf<D>> forPixels(D d, size_t first) const
    {
        const Halves<hn::Vec<Signed16<D>>> b = halves<order>(d, cb + first);
        const Halves<hn::Vec<Signed16<D>>> r = halves<order>(d, cr + first);
        return {{b.lower, r.lower}, {b.upper, r.upper}};
    }

    /** The samples from `first` on, one for every two pixels of a vector. */
    template <Order order, class D>
    HWY_INLINE ChromaOf<D> forPairs(D /*d*/, size_t first) const
    {
        return {widened<order, D>(cb + first), widened<order, D>(cr + first)};
    }

#if HWY_ARCH_ARM
    HWY_INLINE Chroma<int8x16_t> signedBytes(size_t first) const
    {
        const uint8x16_t centre = vdupq_n_u8(128);
        return {vreinterpretq_s8_u8(veorq_u8(vld1q_u8(cb + first), centre)),
                vreinterpretq_s8_u8(veorq_u8(vld1q_u8(cr + first), centre))};
    }

    HWY_INLINE Chroma<int8x8_t> halfSignedBytes(size_t first) const
    {
        const uint8x8_t centre = vdup_n_u8(128);
        return {vreinterpret_s8_u8(veor_u8(vld1_u8(cb + first), centre)),
                vreinterpret_s8_u8(veor_u8(vld1_u8(cr + first), centre))};
    }

    HWY_INLINE Chroma<int8x8_t> allSignedBytes(size_t sample) const
    {
        return {vdup_n_s8(static_cast<int8_t>(cb[sample] - 128)), vdup_n_s8(static_cast<int8_t>(cr[sample] - 128))};
    }
#endif

    /** One sample for all pixels. */
    template <class D>
    HWY_INLINE ChromaOf<D> forAll(D /*d*/, size_t sample) const
    {
        const Signed16<D> s16;
        return {hn::Set(s16, static_cast<int16_t>((cb[sample] - 128) * 256)),
                hn::Set(s16, static_cast<int16_t>((cr[sample] - 128) * 256))};
    }

  private:
    template <Order order, class D>
    static HWY_INLINE Halves<hn::Vec<Signed16<D>>> halves(D d, const uint8_t* samples)
    {
        const Signed16<D> s16;
        const auto bytes = hn::Xor(arrange<order>(d, hn::LoadU(d, samples)), hn::Set(d, uint8_t{128}));
        return {hn::BitCast(s16, hn::InterleaveLower(d, hn::Zero(d), bytes)),
                hn::BitCast(s16, hn::InterleaveUpper(d, hn::Zero(d), bytes))};
    }

    template <Order order, class D>
    static HWY_INLINE hn::Vec<Signed16<D>> widened(const uint8_t* samples)
    {
        const Signed16<D> s16;
#if HWY_ARCH_ARM
        return centred(s16, hn::Vec<Signed16<D>>(vreinterpretq_s16_u16(vshll_n_u8(vld1_u8(samples), 8))));
#endif
        const hn::Rebind<uint8_t, Signed16<D>> bytes;
        const auto wide = hn::PromoteTo(s16, hn::LoadU(bytes, samples));
        return arrange<order>(s16, centred(s16, hn::ShiftLeft<8>(wide)));
    }
};

/** Cb and Cr side by side. */
template <bool kCbFirst>
struct Pairs
{
    const uint8_t* pairs;
    size_t stride;

    Pairs row(size_t y) const { return {pairs + y * stride, stride}; }

    template <Order order, class D>
    HWY_INLINE Halves<ChromaOf<D>> forPixels(D d, size_t first) const
    {
        const auto v0 = hn::LoadU(d, pairs + 2 * first);
        const auto v1 = hn::LoadU(d, pairs + 2 * first + hn::Lanes(d));
        if constexpr (kBlocks<D> == 1 || order == Order::ForTwoWords)
        {
            return {split(d, v0), split(d, v1)};
        }
        else if constexpr (order == Order::ForFourWords)
        {
            // A group of 4 pixels has 8 bytes here.
            return {split(d, arrange<Order::ForTwoWords>(d, v0)), split(d, arrange<Order::ForTwoWords>(d, v1))};
        }
        else
        {
            return {split(d, evenBlocks(d, v0, v1)), split(d, oddBlocks(d, v0, v1))};
        }
    }

    template <Order order, class D>
    HWY_INLINE ChromaOf<D> forPairs(D d, size_t first) const
    {
        return split(d, arrange<order>(d, hn::LoadU(d, pairs + 2 * first)));
    }

#if HWY_ARCH_ARM
    HWY_INLINE Chroma<int8x16_t> signedBytes(size_t first) const
    {
        const uint8x16_t centre = vdupq_n_u8(128);
        const uint8x16x2_t both = vld2q_u8(pairs + 2 * first);
        return {vreinterpretq_s8_u8(veorq_u8(both.val[kCbFirst ? 0 : 1], centre)),
                vreinterpretq_s8_u8(veorq_u8(both.val[kCbFirst ? 1 : 0], centre))};
    }

    HWY_INLINE Chroma<int8x8_t> halfSignedBytes(size_t first) const
    {
        const uint8x8_t centre = vdup_n_u8(128);
        const uint8x8x2_t both = vld2_u8(pairs + 2 * first);
        return {vreinterpret_s8_u8(veor_u8(both.val[kCbFirst ? 0 : 1], centre)),
                vreinterpret_s8_u8(veor_u8(both.val[kCbFirst ? 1 : 0], centre))};
    }

    HWY_INLINE Chroma<int8x8_t> allSignedBytes(size_t sample) const
    {
        return {vdup_n_s8(static_cast<int8_t>(pairs[2 * sample + (kCbFirst ? 0 : 1)] - 128)),
                vdup_n_s8(static_cast<int8_t>(pairs[2 * sample + (kCbFirst ? 1 : 0)] - 128))};
    }
#endif

    template <class D>
    HWY_INLINE ChromaOf<D> forAll(D d, size_t sample) const
    {
        const Unsigned16<D> u16;
        const auto pair = static_cast<uint16_t>(pairs[2 * sample] | pairs[2 * sample + 1] << 8);
        return split(d, hn::BitCast(d, hn::Set(u16, pair)));
    }

  private:
    // Every second block of two vectors.
    template <class D, class V>
    static HWY_INLINE V evenBlocks(D d, V v0, V v1)
    {
#if HWY_TARGET <= HWY_AVX3 && HWY_ARCH_X86
        if constexpr (kBlocks<D> == 4)
        {
            return V{_mm512_shuffle_i64x2(v0.raw, v1.raw, _MM_SHUFFLE(2, 0, 2, 0))};
        }
#endif
        return hn::ConcatLowerLower(d, v1, v0);
    }

    template <class D, class V>
    static HWY_INLINE V oddBlocks(D d, V v0, V v1)
    {
#if HWY_TARGET <= HWY_AVX3 && HWY_ARCH_X86
        if constexpr (kBlocks<D> == 4)
        {
            return V{_mm512_shuffle_i64x2(v0.raw, v1.raw, _MM_SHUFFLE(3, 1, 3, 1))};
        }
#endif
        return hn::ConcatUpperUpper(d, v1, v0);
    }

    template <class D, class V>
    static HWY_INLINE ChromaOf<D> split(D /*d*/, V bytes)
    {
        const Signed16<D> s16;
        const auto both = hn::Xor(hn::BitCast(s16, bytes), hn::Set(s16, static_cast<int16_t>(0x8080)));
        const auto first = hn::ShiftLeft<8>(both);
        const auto second = hn::And(both, hn::Set(s16, static_cast<int16_t>(0xFF00)));
        if constexpr (kCbFirst)
        {
            return {first, second};
        }
        else
        {
            return {second, first};
        }
    }
};

/** numerator * C' / 256, rounded down. */
template <int numerator, class D16, class V>
HWY_INLINE V times(D16 s16, V chroma)
{
    static_assert(-32768 <= numerator && numerator <= 32767);
#if HWY_ARCH_ARM
    // The doubling product's high half, one instruction where the plain one takes three.
    static_assert(numerator % 2 == 0);
    (void)s16;
    return V(vqdmulhq_n_s16(chroma.raw, static_cast<int16_t>(numerator / 2)));
#else
    return hn::MulHigh(chroma, hn::Set(s16, static_cast<int16_t>(numerator)));
#endif
}

/** (sum + 64) >> 7, by a product: multipliers have time where shifts wait for the units that shuffle. */
template <class D16, class V>
HWY_INLINE V roundedShift7(D16 s16, V sum)
{
    return hn::MulFixedPoint15(sum, hn::Set(s16, int16_t{256}));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
