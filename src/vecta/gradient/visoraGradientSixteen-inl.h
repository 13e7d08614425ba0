// Gradients of sixteen pixels at once on ARM, each pixel loaded as it is: products are widened where they are added,
// which takes two instructions where difference, product and sum take three. Included once per instruction set.
#if defined(VISORA_VECTA_GRADIENT_SIXTEEN_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_GRADIENT_SIXTEEN_INL_H
#undef VISORA_VECTA_GRADIENT_SIXTEEN_INL_H
#else
#define VISORA_VECTA_GRADIENT_SIXTEEN_INL_H
#endif

#include "cpu/gradient/visoraGradient.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// One direction's gradients of sixteen pixels. Differences are taken modulo 2^16, which gives the signed ones.
struct Sixteen
{
    int16x8_t low;
    int16x8_t high;
};

// Four gradients as floats; the scale is a power of two, which the conversion divides by.
template <GradientKind kind>
HWY_INLINE float32x4_t asFloats(int32x4_t gradients)
{
    if constexpr (kind == GradientKind::Sobel)
    {
        return vcvtq_f32_s32(gradients);
    }
    else
    {
        constexpr int kBits = kind == GradientKind::Central ? 1 : 5;
        static_assert(kFloatScale<kind> * (1 << kBits) == 1.0f);
        return vcvtq_n_f32_s32(gradients, kBits);
    }
}

template <GradientKind kind>
HWY_INLINE int8x16_t asBytes(const Sixteen& g)
{
    return vshrn_high_n_s16(vshrn_n_s16(g.low, kByteShift<kind>), g.high, kByteShift<kind>);
}

template <GradientKind kind>
HWY_INLINE void storeSixteen(const Sixteen& g, int16_t* out)
{
    vst1q_s16(out, g.low);
    vst1q_s16(out + 8, g.high);
}

template <GradientKind kind>
HWY_INLINE void storeSixteen(const Sixteen& g, int8_t* out)
{
    vst1q_s8(out, asBytes<kind>(g));
}

template <GradientKind kind>
HWY_INLINE void storeSixteen(const Sixteen& g, float* out)
{
    vst1q_f32(out, asFloats<kind>(vmovl_s16(vget_low_s16(g.low))));
    vst1q_f32(out + 4, asFloats<kind>(vmovl_high_s16(g.low)));
    vst1q_f32(out + 8, asFloats<kind>(vmovl_s16(vget_low_s16(g.high))));
    vst1q_f32(out + 12, asFloats<kind>(vmovl_high_s16(g.high)));
}

template <GradientKind kind, class T>
HWY_INLINE void storeSixteen(const Sixteen& across, const Sixteen& down, size_t x, const GradientPlanes<T>& out)
{
    storeSixteen<kind>(across, out.dx + x);
    storeSixteen<kind>(down, out.dy + x);
}

template <GradientKind kind>
HWY_INLINE void storeSixteen(const Sixteen& across, const Sixteen& down, size_t x, const GradientPairs<int16_t>& out)
{
    const int16x8x2_t low = {{across.low, down.low}};
    const int16x8x2_t high = {{across.high, down.high}};
    vst2q_s16(out.pairs + 2 * x, low);
    vst2q_s16(out.pairs + 2 * x + 16, high);
}

template <GradientKind kind>
HWY_INLINE void storeSixteen(const Sixteen& across, const Sixteen& down, size_t x, const GradientPairs<int8_t>& out)
{
    const int8x16x2_t pairs = {{asBytes<kind>(across), asBytes<kind>(down)}};
    vst2q_s8(out.pairs + 2 * x, pairs);
}

template <GradientKind kind>
HWY_INLINE void storeSixteen(const Sixteen& across, const Sixteen& down, size_t x, const GradientPairs<float>& out)
{
    float* pairs = out.pairs + 2 * x;
    const auto store = [](float* to, int32x4_t dx, int32x4_t dy) HWY_ATTR
    {
        const float32x4x2_t both = {{asFloats<kind>(dx), asFloats<kind>(dy)}};
        vst2q_f32(to, both);
    };
    store(pairs, vmovl_s16(vget_low_s16(across.low)), vmovl_s16(vget_low_s16(down.low)));
    store(pairs + 8, vmovl_high_s16(across.low), vmovl_high_s16(down.low));
    store(pairs + 16, vmovl_s16(vget_low_s16(across.high)), vmovl_s16(vget_low_s16(down.high)));
    store(pairs + 24, vmovl_high_s16(across.high), vmovl_high_s16(down.high));
}

HWY_INLINE Sixteen differences(uint8x16_t a, uint8x16_t b)
{
    return {vreinterpretq_s16_u16(vsubl_u8(vget_low_u8(a), vget_low_u8(b))),
            vreinterpretq_s16_u16(vsubl_high_u8(a, b))};
}

// Weighted sums of diagonal differences and the difference of a and b between them.
template <GradientKind kind>
HWY_INLINE Sixteen weighted(int16x8_t sideLow, int16x8_t sideHigh, uint8x16_t a, uint8x16_t b)
{
    const uint8x16_t weight = vdupq_n_u8(kCentreWeight<kind>);
    const auto side = [](int16x8_t v) HWY_ATTR
    { return vreinterpretq_u16_s16(kSideWeight<kind> == 1 ? v : vmulq_n_s16(v, kSideWeight<kind>)); };
    const uint16x8_t low = vmlal_u8(side(sideLow), vget_low_u8(a), vget_low_u8(weight));
    const uint16x8_t high = vmlal_high_u8(side(sideHigh), a, weight);
    return {vreinterpretq_s16_u16(vmlsl_u8(low, vget_low_u8(b), vget_low_u8(weight))),
            vreinterpretq_s16_u16(vmlsl_high_u8(high, b, weight))};
}

/** The gradients of the pixels x to x + 15 of a row. */
template <GradientKind kind, class Out>
HWY_INLINE void gradientsOfSixteen(const GradientRows& rows, size_t x, const Out& out)
{
    const uint8_t* above = rows.above + x;
    const uint8_t* centre = rows.centre + x;
    const uint8_t* below = rows.below + x;
    if constexpr (kind == GradientKind::Central)
    {
        storeSixteen<kind>(differences(vld1q_u8(centre + 1), vld1q_u8(centre - 1)),
                           differences(vld1q_u8(below), vld1q_u8(above)), x, out);
    }
    else
    {
        // The diagonals serve both directions.
        const Sixteen falling = differences(vld1q_u8(below + 1), vld1q_u8(above - 1));
        const Sixteen rising = differences(vld1q_u8(above + 1), vld1q_u8(below - 1));
        storeSixteen<kind>(weighted<kind>(vaddq_s16(falling.low, rising.low), vaddq_s16(falling.high, rising.high),
                                          vld1q_u8(centre + 1), vld1q_u8(centre - 1)),
                           weighted<kind>(vsubq_s16(falling.low, rising.low), vsubq_s16(falling.high, rising.high),
                                          vld1q_u8(below), vld1q_u8(above)),
                           x, out);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
