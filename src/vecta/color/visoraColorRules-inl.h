// The pixel rules of the conversions from luma and chroma to RGB. Included once per instruction set.
#if defined(VISORA_VECTA_COLOR_RULES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_RULES_INL_H
#undef VISORA_VECTA_COLOR_RULES_INL_H
#else
#define VISORA_VECTA_COLOR_RULES_INL_H
#endif

#include "vecta/color/visoraColorLanes-inl.h"

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
    static constexpr bool kBytes = false;
    static constexpr bool kBytesForPixels = false;
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
    static HWY_INLINE Parts<hn::Vec<D>> parts([[maybe_unused]] D d, V16 offset)
    {
        const Signed16<D> s16;
        const V16 toBothBytes = hn::Set(s16, int16_t{0x0101});
        const V16 plus = hn::Max(offset, hn::Zero(s16));
        const V16 minus = hn::Sub(plus, offset);
#if HWY_ARCH_ARM
        (void)toBothBytes;
        const auto both = [=](V16 v) HWY_ATTR
        {
            const uint8x16_t bytes = vreinterpretq_u8_s16(v.raw);
            return hn::Vec<D>(vtrn1q_u8(bytes, bytes));
        };
        return {both(plus), both(minus)};
#else
        return {hn::BitCast(d, hn::Mul(plus, toBothBytes)), hn::BitCast(d, hn::Mul(minus, toBothBytes))};
#endif
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
    static constexpr bool kBytes = false;
    static constexpr bool kBytesForPixels = false;
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
#if HWY_ARCH_ARM
        const auto black = Precision::fromBlack(d, luma);
        const V16 bias = hn::Set(s16, int16_t{128 * kLumaBias});
        const V16 lowerY = hn::Sub(V16(vreinterpretq_s16_u16(vmull_u8(vget_low_u8(black.raw), vdup_n_u8(149)))), bias);
        const V16 upperY = hn::Sub(V16(vreinterpretq_s16_u16(vmull_high_u8(black.raw, vdupq_n_u8(149)))), bias);
        const auto shifted = [](V16 a, V16 b) HWY_ATTR
        { return V(vqrshrun_high_n_s16(vqrshrun_n_s16(a.raw, 7), b.raw, 7)); };
        const auto blue = [&](V16 whole, V16 sum) HWY_ATTR { return V16(vrsraq_n_s16(whole.raw, sum.raw, 7)); };
        return {shifted(hn::SaturatedAdd(lowerY, terms.lower.red), hn::SaturatedAdd(upperY, terms.upper.red)),
                shifted(hn::SaturatedAdd(lowerY, terms.lower.green), hn::SaturatedAdd(upperY, terms.upper.green)),
                narrow(d, blue(terms.lower.blueWhole, hn::Add(lowerY, terms.lower.blue)),
                       blue(terms.upper.blueWhole, hn::Add(upperY, terms.upper.blue)))};
#endif
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

#if HWY_ARCH_ARM
// Y plus an offset in two parts of one sign, each a signed byte: adding them with saturation one after the other clamps
// as the sum would be.
struct FullRange : OffsetRule<FullRangeOffsets>
{
    using Pairs = OffsetRule<FullRangeOffsets>;
    using Pairs::terms;
    static constexpr bool kBytes = false;
    static constexpr bool kBytesForPixels = true;
    template <class D, class T, class V>
    static HWY_INLINE Rgb<V> pixels(D d, const Rgb<T>& terms, V luma)
    {
        return Pairs::pixels(d, terms, luma);
    }
    struct Terms
    {
        int8x16_t r0, r1, g0, g1, b0, b1;
    };

    static HWY_INLINE Terms terms(Chroma<int8x16_t> c)
    {
        const int8x8_t crLow = vget_low_s8(c.cr);
        const int8x8_t cbLow = vget_low_s8(c.cb);
        const auto rounded8 = [](int16x8_t a, int16x8_t b) HWY_ATTR
        { return vrshrn_high_n_s16(vrshrn_n_s16(a, 8), b, 8); };
        const int8x16_t k103 = vdupq_n_s8(103);
        const int8x16_t k99 = vdupq_n_s8(99);
        const int8x16_t k73 = vdupq_n_s8(73);
        const int8x16_t k88 = vdupq_n_s8(88);
        // 359 = 256 + 103, 454 = 256 + 2 * 99, -183 = -256 + 73
        const int8x16_t r1 = rounded8(vmull_s8(crLow, vget_low_s8(k103)), vmull_high_s8(c.cr, k103));
        const int8x16_t b1 =
            vrshrn_high_n_s16(vrshrn_n_s16(vmull_s8(cbLow, vget_low_s8(k99)), 7), vmull_high_s8(c.cb, k99), 7);
        const int8x16_t t = rounded8(vmlsl_s8(vmull_s8(crLow, vget_low_s8(k73)), cbLow, vget_low_s8(k88)),
                                     vmlsl_high_s8(vmull_high_s8(c.cr, k73), c.cb, k88));
        const int8x16_t g0 = vhsubq_s8(t, c.cr);
        const int8x16_t g1 = vsubq_s8(vsubq_s8(t, c.cr), g0);
        return {c.cr, r1, g0, g1, c.cb, b1};
    }

    static HWY_INLINE Terms terms(Chroma<int8x8_t> c)
    {
        const int8x8_t r1 = vrshrn_n_s16(vmull_s8(c.cr, vdup_n_s8(103)), 8);
        const int8x8_t b1 = vrshrn_n_s16(vmull_s8(c.cb, vdup_n_s8(99)), 7);
        const int8x8_t t = vrshrn_n_s16(vmlsl_s8(vmull_s8(c.cr, vdup_n_s8(73)), c.cb, vdup_n_s8(88)), 8);
        const int8x8_t g0 = vhsub_s8(t, c.cr);
        const int8x8_t g1 = vsub_s8(vsub_s8(t, c.cr), g0);
        return {twice(c.cr), twice(r1), twice(g0), twice(g1), twice(c.cb), twice(b1)};
    }

    template <class D, class V>
    static HWY_INLINE Rgb<V> pixels(D /*d*/, const Terms& t, V luma)
    {
        return {V(vsqaddq_u8(vsqaddq_u8(luma.raw, t.r0), t.r1)), V(vsqaddq_u8(vsqaddq_u8(luma.raw, t.g0), t.g1)),
                V(vsqaddq_u8(vsqaddq_u8(luma.raw, t.b0), t.b1))};
    }

  private:
    static HWY_INLINE int8x16_t twice(int8x8_t v)
    {
#ifdef __clang__
        const int8x16_t q = __builtin_shufflevector(v, v, 0, 1, 2, 3, 4, 5, 6, 7, -1, -1, -1, -1, -1, -1, -1, -1);
#else
        int8x16_t q;
        asm("" : "=w"(q) : "0"(v));
#endif
        return vzip1q_s8(q, q);
    }
};
#else
using FullRange = OffsetRule<FullRangeOffsets>;
#endif
#if HWY_ARCH_ARM
struct CodingUnit : OffsetRule<CodingUnitOffsets>
{
    using Pairs = OffsetRule<CodingUnitOffsets>;
    using Pairs::terms;
    static constexpr bool kBytesForPixels = true;

    struct Offsets
    {
        int16x8_t r0, r1, g0, g1, b0, b1;
    };

    static HWY_INLINE Offsets terms(Chroma<int8x16_t> c)
    {
        // 2 C' + 1 is C' less its complement.
        const int8x16_t notCb = vmvnq_s8(c.cb);
        const int8x16_t notCr = vmvnq_s8(c.cr);
        const int16x8_t cb0 = vsubl_s8(vget_low_s8(c.cb), vget_low_s8(notCb));
        const int16x8_t cb1 = vsubl_high_s8(c.cb, notCb);
        const int16x8_t cr0 = vsubl_s8(vget_low_s8(c.cr), vget_low_s8(notCr));
        const int16x8_t cr1 = vsubl_high_s8(c.cr, notCr);
        const int16x8_t inGreenB = vdupq_n_s16(-5638);
        const int16x8_t inGreenR = vdupq_n_s16(-11700);
        const auto green = [=](int16x8_t b, int16x8_t r) HWY_ATTR
        {
            const int32x4_t low =
                vmlal_s16(vmull_s16(vget_low_s16(b), vget_low_s16(inGreenB)), vget_low_s16(r), vget_low_s16(inGreenR));
            const int32x4_t high = vmlal_high_s16(vmull_high_s16(b, inGreenB), r, inGreenR);
            return vrshrn_high_n_s32(vrshrn_n_s32(low, 15), high, 15);
        };
        return {vqrdmulhq_n_s16(cr0, 22970), vqrdmulhq_n_s16(cr1, 22970), green(cb0, cr0), green(cb1, cr1),
                vqrdmulhq_n_s16(cb0, 29032), vqrdmulhq_n_s16(cb1, 29032)};
    }

    template <class D, class V>
    static HWY_INLINE Rgb<V> pixels(D /*d*/, const Offsets& o, V luma)
    {
        const auto add = [&](int16x8_t low, int16x8_t high) HWY_ATTR
        {
            const uint16x8_t a = vaddw_u8(vreinterpretq_u16_s16(low), vget_low_u8(luma.raw));
            const uint16x8_t b = vaddw_high_u8(vreinterpretq_u16_s16(high), luma.raw);
            return V(vqmovun_high_s16(vqmovun_s16(vreinterpretq_s16_u16(a)), vreinterpretq_s16_u16(b)));
        };
        return {add(o.r0, o.r1), add(o.g0, o.g1), add(o.b0, o.b1)};
    }

    template <class D, class T, class V>
    static HWY_INLINE Rgb<V> pixels(D d, const Rgb<T>& terms, V luma)
    {
        return Pairs::pixels(d, terms, luma);
    }
};
#else
using CodingUnit = OffsetRule<CodingUnitOffsets>;
#endif
using Video8Bit = VideoRule<EightBits>;
using Video10Bit = VideoRule<TenBits>;

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
