// Luma and chroma of RGB pixels in vectors. Included once per instruction set.
#if defined(VISORA_VECTA_COLOR_WEIGHTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_WEIGHTS_INL_H
#undef VISORA_VECTA_COLOR_WEIGHTS_INL_H
#else
#define VISORA_VECTA_COLOR_WEIGHTS_INL_H
#endif

#include "vecta/color/visoraColorLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** (77 R + 150 G + 29 B + 128) >> 8 of bytes, in their order. */
template <class D, class V>
HWY_INLINE V lumaOf([[maybe_unused]] D d, const Rgb<V>& pixels)
{
#if HWY_ARCH_ARM
    const uint8x16_t inRed = vdupq_n_u8(77), inGreen = vdupq_n_u8(150), inBlue = vdupq_n_u8(29);
    uint16x8_t lower = vmull_u8(vget_low_u8(pixels.r.raw), vget_low_u8(inRed));
    uint16x8_t upper = vmull_high_u8(pixels.r.raw, inRed);
    lower = vmlal_u8(lower, vget_low_u8(pixels.g.raw), vget_low_u8(inGreen));
    upper = vmlal_high_u8(upper, pixels.g.raw, inGreen);
    lower = vmlal_u8(lower, vget_low_u8(pixels.b.raw), vget_low_u8(inBlue));
    upper = vmlal_high_u8(upper, pixels.b.raw, inBlue);
    return V(vrshrn_high_n_u16(vrshrn_n_u16(lower, 8), upper, 8));
#else
    const Signed16<D> s16;
    const Unsigned16<D> u16;
    const auto r = widen(d, pixels.r), g = widen(d, pixels.g), b = widen(d, pixels.b);
    const auto weighted = [=](auto red, auto green, auto blue) HWY_ATTR
    {
        const auto sum =
            hn::Add(hn::Add(hn::Mul(red, hn::Set(s16, int16_t{77})), hn::Set(s16, int16_t{128})),
                    hn::Add(hn::Mul(green, hn::Set(s16, int16_t{150})), hn::Mul(blue, hn::Set(s16, int16_t{29}))));
        return hn::BitCast(s16, hn::ShiftRight<8>(hn::BitCast(u16, sum)));
    };
    return narrow(d, weighted(r.lower, g.lower, b.lower), weighted(r.upper, g.upper, b.upper));
#endif
}

#if HWY_ARCH_ARM

/**
 * Cb and Cr of the pixels of two vectors of 16-bit channels, as bytes. With the weights as those of differences, whose
 * sum is 128, nothing leaves 16 bits: 256 * (C - 128) is 43 (B - R) + 85 (B - G) and 107 (R - G) - 21 (B - R). Only the
 * clamp to 255 saturates.
 */
template <class D, class V16>
HWY_INLINE Chroma<hn::Vec<D>> chromaOfWords(D /*d*/, const Rgb<V16>& lower, const Rgb<V16>& upper)
{
    using V = hn::Vec<D>;
    const auto difference = [](V16 a, V16 b) HWY_ATTR { return vreinterpretq_s16_u16(vsubq_u16(a.raw, b.raw)); };
    const auto sums = [=](const Rgb<V16>& p) HWY_ATTR
    {
        const int16x8_t blueRed = difference(p.b, p.r), redGreen = difference(p.r, p.g);
        return Chroma<int16x8_t>{vmlaq_n_s16(vmulq_n_s16(blueRed, 43), difference(p.b, p.g), 85),
                                 vmlsq_n_s16(vmulq_n_s16(redGreen, 107), blueRed, 21)};
    };
    const auto samples = [](int16x8_t low, int16x8_t high) HWY_ATTR
    { return V(veorq_u8(vreinterpretq_u8_s8(vqrshrn_high_n_s16(vqrshrn_n_s16(low, 8), high, 8)), vdupq_n_u8(128))); };
    const Chroma<int16x8_t> low = sums(lower), high = sums(upper);
    return {samples(low.cb, high.cb), samples(low.cr, high.cr)};
}

#endif

/** 256 times a chroma sample and a fraction, from 16-bit channels: 32896 - (the others' shares) + 128 times the
 * channel, which saturates where only the clamp to 255 is left. */
template <int firstWeight, int secondWeight, class D16, class V>
HWY_INLINE V chromaWord(D16 u16, V first, V second, V channel)
{
    const V others = hn::Add(hn::Mul(first, hn::Set(u16, uint16_t{firstWeight})),
                             hn::Mul(second, hn::Set(u16, uint16_t{secondWeight})));
    return hn::SaturatedAdd(hn::Sub(hn::Set(u16, uint16_t{32896}), others), hn::ShiftLeft<7>(channel));
}

/** Cb and Cr, each in the high byte of its lane. */
template <class D16, class V>
HWY_INLINE Chroma<V> weightedChroma(D16 u16, const Rgb<V>& mean)
{
    return {chromaWord<43, 85>(u16, mean.r, mean.g, mean.b), chromaWord<107, 21>(u16, mean.g, mean.b, mean.r)};
}

/** Cb and Cr of every pixel, as bytes in the pixels' order. */
template <class D, class V>
HWY_INLINE Chroma<V> chromaOf([[maybe_unused]] D d, const Rgb<V>& pixels)
{
#if HWY_ARCH_ARM
    const auto bytes =
        [](uint8x16_t first, uint8_t firstWeight, uint8x16_t second, uint8_t secondWeight, uint8x16_t channel) HWY_ATTR
    {
        const uint8x16_t w1 = vdupq_n_u8(firstWeight), w2 = vdupq_n_u8(secondWeight);
        uint16x8_t lower = vmlsl_u8(vdupq_n_u16(32896), vget_low_u8(first), vget_low_u8(w1));
        uint16x8_t upper = vmlsl_high_u8(vdupq_n_u16(32896), first, w1);
        lower = vmlsl_u8(lower, vget_low_u8(second), vget_low_u8(w2));
        upper = vmlsl_high_u8(upper, second, w2);
        lower = vqaddq_u16(lower, vshll_n_u8(vget_low_u8(channel), 7));
        upper = vqaddq_u16(upper, vshll_high_n_u8(channel, 7));
        return V(vuzp2q_u8(vreinterpretq_u8_u16(lower), vreinterpretq_u8_u16(upper)));
    };
    return {bytes(pixels.r.raw, 43, pixels.g.raw, 85, pixels.b.raw),
            bytes(pixels.g.raw, 107, pixels.b.raw, 21, pixels.r.raw)};
#else
    const Signed16<D> s16;
    const Unsigned16<D> u16;
    const auto r = widen(d, pixels.r), g = widen(d, pixels.g), b = widen(d, pixels.b);
    const auto unsignedOf = [=](auto v) HWY_ATTR { return hn::BitCast(u16, v); };
    using V16 = hn::Vec<Unsigned16<D>>;
    const Chroma<V16> lower =
        weightedChroma(u16, Rgb<V16>{unsignedOf(r.lower), unsignedOf(g.lower), unsignedOf(b.lower)});
    const Chroma<V16> upper =
        weightedChroma(u16, Rgb<V16>{unsignedOf(r.upper), unsignedOf(g.upper), unsignedOf(b.upper)});
    const auto bytes = [=](V16 a, V16 c) HWY_ATTR
    { return narrow(d, hn::BitCast(s16, hn::ShiftRight<8>(a)), hn::BitCast(s16, hn::ShiftRight<8>(c))); };
    return {bytes(lower.cb, upper.cb), bytes(lower.cr, upper.cr)};
#endif
}

/** Sums of neighbouring pixels in 16-bit lanes. */
template <class D, class V>
HWY_INLINE hn::Vec<Unsigned16<D>> pairSum([[maybe_unused]] D d, V bytes)
{
    using V16 = hn::Vec<Unsigned16<D>>;
#if HWY_ARCH_ARM
    return V16(vpaddlq_u8(bytes.raw));
#else
    const auto ones = hn::Set(hn::RebindToSigned<D>(), int8_t{1});
    if constexpr (kBlocks<D> == 1)
    {
        return V16{_mm_maddubs_epi16(bytes.raw, ones.raw)};
    }
#if HWY_TARGET <= HWY_AVX2
    else if constexpr (kBlocks<D> == 2)
    {
        return V16{_mm256_maddubs_epi16(bytes.raw, ones.raw)};
    }
#endif
#if HWY_TARGET <= HWY_AVX3
    else
    {
        return V16{_mm512_maddubs_epi16(bytes.raw, ones.raw)};
    }
#endif
#endif
}

/** Rounded means of two neighbours. */
template <class D, class V>
HWY_INLINE hn::Vec<Unsigned16<D>> pairMean(D d, V bytes)
{
#if HWY_ARCH_ARM
    return hn::Vec<Unsigned16<D>>(vrshrq_n_u16(pairSum(d, bytes).raw, 1));
#else
    const Unsigned16<D> u16;
    return hn::ShiftRight<1>(hn::Add(pairSum(d, bytes), hn::Set(u16, uint16_t{1})));
#endif
}

/** Rounded means of two neighbours in each of two rows. */
template <class D, class V>
HWY_INLINE hn::Vec<Unsigned16<D>> blockMean([[maybe_unused]] D d, V top, V bottom)
{
#if HWY_ARCH_ARM
    return hn::Vec<Unsigned16<D>>(vrshrq_n_u16(vpadalq_u8(vpaddlq_u8(top.raw), bottom.raw), 2));
#else
    const Unsigned16<D> u16;
    return hn::ShiftRight<2>(hn::Add(hn::Add(pairSum(d, top), pairSum(d, bottom)), hn::Set(u16, uint16_t{2})));
#endif
}

/** Pairs of bytes from the high bytes of two vectors. */
template <class D16, class V>
HWY_INLINE V highBytesAsPairs([[maybe_unused]] D16 u16, V first, V second)
{
#if HWY_ARCH_ARM
    return V(vsriq_n_u16(second.raw, first.raw, 8));
#else
    return hn::Or(hn::ShiftRight<8>(first), hn::And(second, hn::Set(u16, uint16_t{0xFF00})));
#endif
}

/** Where the 8 bytes of a vector come from when the first halves of all blocks go before the second ones. */
template <size_t blocks>
struct HalvesOfBlocks
{
    constexpr HalvesOfBlocks()
    {
        for (size_t i = 0; i < blocks; ++i)
        {
            source[i] = static_cast<int64_t>(2 * i);
            source[blocks + i] = static_cast<int64_t>(2 * i + 1);
        }
    }
    int64_t source[2 * blocks] = {};
};

/** Stores pairs of bytes, in the order of memory, as two rows. */
template <class D, class V>
HWY_INLINE void storeSplit(D d, V pairs, uint8_t* first, uint8_t* second)
{
#if HWY_ARCH_ARM
    vst1_u8(first, vmovn_u16(vreinterpretq_u16_u8(pairs.raw)));
    vst1_u8(second, vshrn_n_u16(vreinterpretq_u16_u8(pairs.raw), 8));
    (void)d;
#else
    alignas(16) static constexpr uint8_t kEvenThenOdd[16] = {0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15};
    const hn::Half<D> half;
    V sorted = hn::TableLookupBytes(pairs, hn::LoadDup128(d, kEvenThenOdd));
    if constexpr (kBlocks < D >> 1)
    {
        const hn::Repartition<int64_t, D> s64;
        alignas(64) static constexpr HalvesOfBlocks<kBlocks<D>> kMoves;
        sorted =
            hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(s64, sorted), hn::SetTableIndices(s64, kMoves.source)));
    }
    hn::StoreU(hn::LowerHalf(half, sorted), half, first);
    hn::StoreU(hn::UpperHalf(half, sorted), half, second);
#endif
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
