// RGB to HSV and back, vector variants.
#include "vecta/visoraExport.h"
#include "visora/variants/color.h"

// AVX-512 permutes the bytes of pixels.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorHsvV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColorTriples-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Reciprocals and products are whole numbers below 2^24, which floats hold exactly. A number of this size added to one
// leaves the whole part, rounded, in the low bits.
constexpr float kWhole = 12582912.0f;  // 1.5 * 2^23

/** (factor * round(numerator / divisor) + 2048) >> 12, cut to a byte. Divisors are 1 or more. */
template <class D32, class V32>
HWY_INLINE V32 scaled(D32 s32, V32 factor, float numerator, V32 divisor)
{
    const hn::Repartition<float, D32> f32;
    const auto whole = hn::Set(f32, kWhole);
    const auto quotient = hn::Div(hn::Set(f32, numerator), hn::ConvertTo(f32, divisor));
    const auto reciprocal = hn::Sub(hn::Add(quotient, whole), whole);
    const auto product = hn::Mul(hn::ConvertTo(f32, factor), reciprocal);
    const auto bits = hn::BitCast(s32, hn::Add(product, hn::Set(f32, kWhole + 2048)));
    return hn::And(hn::ShiftRight<12>(bits), hn::Set(s32, 255));
}

struct ToHsv
{
    template <class D, class V>
    HWY_INLINE Rgb<V> operator()(D d, const Rgb<V>& rgb) const
    {
        const Signed16<D> s16;
        const hn::Repartition<int32_t, D> s32;
        const V value = hn::Max(rgb.r, hn::Max(rgb.g, rgb.b));
        const V delta = hn::Sub(value, hn::Min(rgb.r, hn::Min(rgb.g, rgb.b)));
        const auto isRed = hn::Eq(value, rgb.r);
        const auto isGreen = hn::Eq(value, rgb.g);
        // Hue is the difference of the two other channels, and none, two or four deltas.
        const V plus = hn::IfThenElse(isRed, rgb.g, hn::IfThenElse(isGreen, rgb.b, rgb.r));
        const V minus = hn::IfThenElse(isRed, rgb.b, hn::IfThenElse(isGreen, rgb.r, rgb.g));
        const V pairs = hn::IfThenZeroElse(isRed, delta);
        const V morePairs = hn::IfThenZeroElse(isGreen, pairs);
        const auto p = widen(d, plus), m = widen(d, minus), k = widen(d, pairs), l = widen(d, morePairs);
        const auto numerator = [=](auto add, auto subtract, auto two, auto twoMore) HWY_ATTR
        { return hn::Add(hn::Sub(add, subtract), hn::ShiftLeft<1>(hn::Add(two, twoMore))); };
        using V16 = hn::Vec<decltype(s16)>;
        const Halves<V16> hues = {numerator(p.lower, m.lower, k.lower, l.lower),
                                  numerator(p.upper, m.upper, k.upper, l.upper)};
        // Where value or delta is 0, what it divides is 0 too.
        const V one = hn::Set(d, uint8_t{1});
        const auto values = widenHalves(d, widen(d, hn::Max(value, one)));
        const auto deltas = widenHalves(d, widen(d, delta));
        const auto divisors = widenHalves(d, widen(d, hn::Max(delta, one)));
        const auto hue = [=](auto numerators, auto divisor) HWY_ATTR
        { return scaled(s32, numerators, 524288.0f / 3.0f, divisor); };
        const auto saturation = [=](auto deltaOf, auto valueOf) HWY_ATTR
        { return scaled(s32, deltaOf, 1044480.0f, valueOf); };
        return {narrowQuarters(d, mapQuarters(hue, widenHalves(d, hues), divisors)),
                narrowQuarters(d, mapQuarters(saturation, deltas, values)), value};
    }
};

struct FromHsv
{
    template <class D, class V>
    HWY_INLINE Rgb<V> operator()(D d, const Rgb<V>& hsv) const
    {
        const Signed16<D> s16;
        const Unsigned16<D> u16;
        const auto byte = hn::Set(u16, uint16_t{255});
        // V (1 - S m / 65280), rounded: the division by 255 * 256 as one by 65536 and its remainder.
        const auto fade = [=](auto value, auto weight) HWY_ATTR
        {
            const auto half = hn::And(hn::ShiftRight<7>(hn::Mul(value, weight)), hn::Set(u16, uint16_t{1}));
            const auto sum =
                hn::Add(hn::Add(hn::MulHigh(hn::ShiftLeft<8>(value), weight), half), hn::Set(u16, uint16_t{127}));
            return hn::ShiftRight<8>(hn::Add(hn::Add(sum, hn::Set(u16, uint16_t{1})), hn::ShiftRight<8>(sum)));
        };
        using V16 = hn::Vec<decltype(u16)>;
        struct Parts
        {
            V16 sector, low, between;
        };
        const auto parts = [=](auto h, auto s, auto v) HWY_ATTR
        {
            const V16 saturation = hn::BitCast(u16, s), value = hn::BitCast(u16, v);
            const V16 turn = hn::Mul(hn::BitCast(u16, h), hn::Set(u16, uint16_t{6}));
            const V16 sector = hn::ShiftRight<8>(turn);
            const V16 fraction = hn::And(turn, byte);
            // Only one of q and t occurs in a sector: q in the odd ones.
            const V16 one = hn::Set(u16, uint16_t{1});
            const auto isOdd = hn::Eq(hn::And(sector, one), one);
            const V16 weight = hn::IfThenElse(isOdd, fraction, hn::Sub(hn::Set(u16, uint16_t{256}), fraction));
            const V16 all = hn::Set(u16, uint16_t{65280});
            return Parts{sector, fade(value, hn::Sub(all, hn::ShiftLeft<8>(saturation))),
                         fade(value, hn::Sub(all, hn::Mul(saturation, weight)))};
        };
        const auto h = widen(d, hsv.r), s = widen(d, hsv.g), v = widen(d, hsv.b);
        const Parts lower = parts(h.lower, s.lower, v.lower), upper = parts(h.upper, s.upper, v.upper);
        const auto bytes = [=](V16 a, V16 b) HWY_ATTR { return narrow(d, hn::BitCast(s16, a), hn::BitCast(s16, b)); };
        const V sector = bytes(lower.sector, upper.sector);
        const V low = bytes(lower.low, upper.low), between = bytes(lower.between, upper.between);
        // In which sectors a channel is the value, and in which it is between.
        alignas(16) static constexpr uint8_t kRedFull[16] = {255, 0, 0, 0, 0, 255};
        alignas(16) static constexpr uint8_t kRedBetween[16] = {0, 255, 0, 0, 255, 0};
        alignas(16) static constexpr uint8_t kGreenFull[16] = {0, 255, 255, 0, 0, 0};
        alignas(16) static constexpr uint8_t kGreenBetween[16] = {255, 0, 0, 255, 0, 0};
        alignas(16) static constexpr uint8_t kBlueFull[16] = {0, 0, 0, 255, 255, 0};
        alignas(16) static constexpr uint8_t kBlueBetween[16] = {0, 0, 255, 0, 0, 255};
        const auto choose = [=](const uint8_t* full, const uint8_t* inBetween) HWY_ATTR
        {
            const auto is = [=](const uint8_t* table) HWY_ATTR
            { return hn::MaskFromVec(hn::TableLookupBytes(hn::LoadDup128(d, table), sector)); };
            return hn::IfThenElse(is(full), hsv.b, hn::IfThenElse(is(inBetween), between, low));
        };
        return {choose(kRedFull, kRedBetween), choose(kGreenFull, kGreenBetween), choose(kBlueFull, kBlueBetween)};
    }
};

bool toHsv(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
           uint32_t dstStride)
{
    return convertTriples(ToHsv(), src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

bool fromHsv(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
             uint32_t dstStride)
{
    return convertTriples(FromHsv(), src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrColorRGB888ToHSV888u8, toHsv);
VSR_VECTOR(vsrColorHSV888ToRGB888u8, fromHsv);

#endif
