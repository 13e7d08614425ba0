// The pixel rules of the conversions from luma and chroma to RGB. Included once per instruction set.
#if defined(VISORA_VECTA_COLOR_RULES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_RULES_INL_H
#undef VISORA_VECTA_COLOR_RULES_INL_H
#else
#define VISORA_VECTA_COLOR_RULES_INL_H
#endif

#include "vecta/visoraColorLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Pixel rules ----

/** Rules in which luma has the weight 1: a channel is Y plus an offset within +-255 that depends on chroma only. */
template <class Offsets>
struct OffsetRule
{
    // With chroma shared by two pixels: the offset's positive part is added and its negative part taken away, byte by
    // byte with saturation, which clamps.
    template <class V>
    struct Parts
    {
        V plus;
        V minus;
    };

    template <class D>
    static HWY_INLINE Rgb<Parts<hn::Vec<D>>> terms(D d, const ChromaOf<D>& c)
    {
        const Rgb<hn::Vec<Signed16<D>>> offsets = Offsets::of(Signed16<D>(), c);
        return {parts(d, offsets.r), parts(d, offsets.g), parts(d, offsets.b)};
    }

    template <class D, class V>
    static HWY_INLINE Rgb<V> pixels(D /*d*/, const Rgb<Parts<V>>& terms, V luma)
    {
        return {apply(terms.r, luma), apply(terms.g, luma), apply(terms.b, luma)};
    }

    // With chroma of its own for every pixel.
    template <class D>
    static HWY_INLINE Halves<Rgb<hn::Vec<Signed16<D>>>> terms(D /*d*/, const Halves<ChromaOf<D>>& c)
    {
        const Signed16<D> s16;
        return {Offsets::of(s16, c.lower), Offsets::of(s16, c.upper)};
    }

    template <class D, class V, class V16>
    static HWY_INLINE Rgb<V> pixels(D d, const Halves<Rgb<V16>>& terms, V luma)
    {
        const Halves<V16> y = widen(d, luma);
        const Rgb<V16>& lower = terms.lower;
        const Rgb<V16>& upper = terms.upper;
        return {narrow(d, hn::Add(y.lower, lower.r), hn::Add(y.upper, upper.r)),
                narrow(d, hn::Add(y.lower, lower.g), hn::Add(y.upper, upper.g)),
                narrow(d, hn::Add(y.lower, lower.b), hn::Add(y.upper, upper.b))};
    }

  private:
    template <class D, class V16>
    static HWY_INLINE Parts<hn::Vec<D>> parts(D d, V16 offset)
    {
        const Signed16<D> s16;
        const V16 toBothBytes = hn::Set(s16, int16_t{0x0101});
        const V16 plus = hn::Max(offset, hn::Zero(s16));
        const V16 minus = hn::Sub(plus, offset);
        return {hn::BitCast(d, hn::Mul(plus, toBothBytes)), hn::BitCast(d, hn::Mul(minus, toBothBytes))};
    }

    template <class V>
    static HWY_INLINE V apply(const Parts<V>& parts, V luma)
    {
        return hn::SaturatedSub(hn::SaturatedAdd(luma, parts.plus), parts.minus);
    }
};

struct FullRangeOffsets
{
    template <class D16, class V>
    static HWY_INLINE Rgb<V> of(D16 s16, const Chroma<V>& c)
    {
        // (359 Cr' + 128) >> 8 and (454 Cb' + 128) >> 8 are rounding products; -88 Cb' - 183 Cr' is halved first to
        // fit.
        return {hn::MulFixedPoint15(hn::ShiftRight<1>(c.cr), hn::Set(s16, int16_t{359})),
                roundedShift7(s16, hn::Add(times<-88 * 128>(s16, c.cb), times<-183 * 128>(s16, c.cr))),
                hn::MulFixedPoint15(c.cb, hn::Set(s16, int16_t{454 / 2}))};
    }
};

struct CodingUnitOffsets
{
    template <class D16, class V>
    static HWY_INLINE Rgb<V> of(D16 s16, const Chroma<V>& c)
    {
        // 2 C - 255 = 2 C' + 1
        const V one = hn::Set(s16, int16_t{1});
        const V cb2 = hn::Add(hn::ShiftRight<7>(c.cb), one);
        const V cr2 = hn::Add(hn::ShiftRight<7>(c.cr), one);
        // -5638 Cb2 - 11700 Cr2 + 16384 as 256 * high + low: -5638 = -22 * 256 - 6, -11700 = -46 * 256 + 76.
        const V high = hn::Add(hn::Mul(cb2, hn::Set(s16, int16_t{-22})), hn::Mul(cr2, hn::Set(s16, int16_t{-46})));
        const V low = hn::Add(hn::Mul(cb2, hn::Set(s16, int16_t{-6})), hn::Mul(cr2, hn::Set(s16, int16_t{76})));
        return {hn::MulFixedPoint15(cr2, hn::Set(s16, int16_t{22970})),
                roundedShift7(s16, hn::Add(high, hn::ShiftRight<8>(low))),
                hn::MulFixedPoint15(cb2, hn::Set(s16, int16_t{29032}))};
    }
};

/**
 * Video range. Both precisions have the same weights to 1/128: with luma 149/128, Cr in red 204/128, in green 104/128,
 * Cb in green 50/128, in blue 2 + 2/128, and a rest that differs. So a channel is (149 Y + chroma) >> 7, where chroma
 * is in units of 1/128, rounded down. The 16-bit sum saturates only where the channel is clamped anyway.
 */
template <class Precision>
struct VideoRule
{
    template <class V>
    struct Terms
    {
        V red;
        V green;
        V blue;
        V blueWhole;  // what of blue is whole: with it the sum would leave 16 bits
    };

    template <class D>
    static HWY_INLINE Halves<Terms<hn::Vec<Signed16<D>>>> terms(D /*d*/, const ChromaOf<D>& c)
    {
        const Signed16<D> s16;
        // 204 Cr' and a rest are 256 Cr' less what is missing.
        const auto red = hn::Add(c.cr, times<Precision::kCrInRed - 65536>(s16, c.cr));
        const auto green = hn::Add(times<-50 * 256>(s16, c.cb), times<Precision::kCrInGreen>(s16, c.cr));
        const auto blue = times<Precision::kCbInBlue>(s16, c.cb);
        const auto bias = hn::Set(s16, int16_t{Precision::kConstant - kRounding + 128 * kLumaBias});
        const auto blueBias = hn::Set(s16, int16_t{Precision::kConstant - kRounding});
        const auto blueWhole = hn::Add(hn::ShiftRight<7>(c.cb), hn::Set(s16, int16_t{kLumaBias}));
        const Terms<hn::Vec<Signed16<D>>> one = {hn::Add(red, bias), hn::Add(green, bias), hn::Add(blue, blueBias),
                                                 blueWhole};
        return {twice(one, [=](auto v) HWY_ATTR { return hn::InterleaveLower(s16, v, v); }),
                twice(one, [=](auto v) HWY_ATTR { return hn::InterleaveUpper(s16, v, v); })};
    }

    template <class D, class V, class V16>
    static HWY_INLINE Rgb<V> pixels(D d, const Halves<Terms<V16>>& terms, V luma)
    {
        const Signed16<D> s16;
        const Halves<V16> y = widen(d, Precision::fromBlack(d, luma));
        const Rgb<V16> lower = channels(s16, terms.lower, y.lower);
        const Rgb<V16> upper = channels(s16, terms.upper, y.upper);
        return {narrow(d, lower.r, upper.r), narrow(d, lower.g, upper.g), narrow(d, lower.b, upper.b)};
    }

  private:
    // In whole units; taken from luma and added to chroma, so that both fit 16 bits with a sign.
    static constexpr int kLumaBias = 48;
    // What the shift adds.
    static constexpr int kRounding = 64;

    template <class V, class Function>
    static HWY_INLINE Terms<V> twice(const Terms<V>& terms, Function interleave)
    {
        return {interleave(terms.red), interleave(terms.green), interleave(terms.blue), interleave(terms.blueWhole)};
    }

    template <class D16, class V>
    static HWY_INLINE Rgb<V> channels(D16 s16, const Terms<V>& terms, V y)
    {
        const V luma = hn::Sub(hn::Mul(y, hn::Set(s16, int16_t{149})), hn::Set(s16, int16_t{128 * kLumaBias}));
        return {roundedShift7(s16, hn::SaturatedAdd(luma, terms.red)),
                roundedShift7(s16, hn::SaturatedAdd(luma, terms.green)),
                hn::Add(roundedShift7(s16, hn::Add(luma, terms.blue)), terms.blueWhole)};
    }
};

// 298 (Y - 16), 409, -208, 517 in 1/256.
struct EightBits
{
    static constexpr int kConstant = -149 * 16;
    static constexpr int kCrInRed = 409 * 128;
    static constexpr int kCrInGreen = -208 * 128;
    static constexpr int kCbInBlue = (517 - 512) * 128;

    template <class D, class V>
    static HWY_INLINE V fromBlack(D /*d*/, V luma)
    {
        return luma;
    }
};

// 1192 (max(Y, 16) - 16), 1634, -833, 2066 in 1/1024.
struct TenBits
{
    static constexpr int kConstant = 0;
    static constexpr int kCrInRed = 1634 * 32;
    static constexpr int kCrInGreen = -833 * 32;
    static constexpr int kCbInBlue = (2066 - 2048) * 32;

    template <class D, class V>
    static HWY_INLINE V fromBlack(D d, V luma)
    {
        return hn::SaturatedSub(luma, hn::Set(d, uint8_t{16}));
    }
};

using FullRange = OffsetRule<FullRangeOffsets>;
using CodingUnit = OffsetRule<CodingUnitOffsets>;
using Video8Bit = VideoRule<EightBits>;
using Video10Bit = VideoRule<TenBits>;

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
