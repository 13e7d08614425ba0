// Cartesian to polar coordinates, vector variants.
#include "cpu/element/visoraElement.h"
#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementPolarV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/element/visoraElement-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{
namespace
{

using DF = hn::ScalableTag<float>;
using VF = hn::Vec<DF>;
using DS32 = hn::ScalableTag<int32_t>;
using VS32 = hn::Vec<DS32>;

// As the function of the same name of the reference, of magnitudes.
HWY_INLINE VF octantAngle(VF x, VF y)
{
    const DF d;
#if HWY_ARCH_ARM_A64
    // These keep a NaN to the end. Nothing is between 0 and the smallest number, which 0 is divided by instead of
    // itself.
    const VF small(vminq_f32(x.raw, y.raw));
    const VF big(vmaxq_f32(vmaxq_f32(x.raw, y.raw), vreinterpretq_f32_u32(vdupq_n_u32(1))));
    const VF q = hn::IfThenElse(hn::Eq(small, hn::Inf(d)), hn::Set(d, 1), hn::Div(small, big));
#else
    const VF zero = hn::Zero(d);
    const VF big = hn::Max(x, y);
    const VF small = hn::Min(x, y);
    const VF ratio = hn::IfThenElse(hn::Eq(small, hn::Inf(d)), hn::Set(d, 1), hn::Div(small, big));
    const VF q = hn::IfThenElse(hn::Eq(big, zero), zero, ratio);
#endif
    const VF s = hn::Mul(q, q);
    VF p = hn::Set(d, polar::kCoefficients[6]);
    for (int i = 5; i >= 0; --i)
    {
        p = hn::Add(hn::Mul(p, s), hn::Set(d, polar::kCoefficients[i]));
    }
    return hn::Add(q, hn::Mul(hn::Mul(q, s), p));
}

// turn - v where the mask says so, else v; v is from 0 to turn.
template <class D, class M, class V>
HWY_INLINE V mirroredIf(D d, M mask, hn::TFromD<D> turn, V v)
{
#if HWY_ARCH_ARM
    if constexpr (hwy::IsFloat<hn::TFromD<D>>())
    {
        // One instruction, which overwrites none of its operands.
        return hn::AbsDiff(hn::IfThenElseZero(mask, hn::Set(d, turn)), v);
    }
#endif
    return hn::IfThenElse(mask, hn::Sub(hn::Set(d, turn), v), v);
}

struct FloatStep
{
    static constexpr size_t kLanes = hn::MaxLanes(DF());
    static constexpr size_t kUnroll = HWY_ARCH_ARM ? 2 : 1;

    // All vectors are loaded before the first is stored.
    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, float* magnitude, float* angle, const float* src1,
                               const float* src2) const
    {
        const DF d;
        const Polar results[] = {at(hn::LoadU(d, src1 + i * kLanes), hn::LoadU(d, src2 + i * kLanes))...};
        (hn::StoreU(results[i].magnitude, d, magnitude + i * kLanes), ...);
        (hn::StoreU(results[i].angle, d, angle + i * kLanes), ...);
    }

  private:
    struct Polar
    {
        VF magnitude, angle;
    };

    static HWY_INLINE Polar at(VF x, VF y)
    {
        const DF d;
        const VF zero = hn::Zero(d);
        const VF absX = hn::Abs(x);
        const VF absY = hn::Abs(y);
        VF turn = mirroredIf(d, hn::Gt(absY, absX), polar::kQuarter, octantAngle(absX, absY));
        turn = mirroredIf(d, hn::Lt(x, zero), polar::kHalf, turn);
        turn = mirroredIf(d, hn::Lt(y, zero), polar::kWhole, turn);
        turn = hn::IfThenZeroElse(hn::Ge(turn, hn::Set(d, polar::kWhole)), turn);
        const VF length = hn::Sqrt(hn::Add(hn::Mul(x, x), hn::Mul(y, y)));
#if HWY_ARCH_ARM_A64
        return {resultWithOneNan(d, length), resultWithOneNan(d, turn)};
#else
        // Only a NaN among x and y makes the length one: squares are not negative.
        return {resultWithOneNan(d, length), hn::IfThenElse(isNumber(length), turn, hn::Set(d, kNan))};
#endif
    }
};

struct IntegerStep
{
    static constexpr size_t kLanes = hn::MaxLanes(hn::ScalableTag<uint8_t>());
    static constexpr size_t kUnroll = 1;

    HWY_INLINE void operator()(std::index_sequence<0> /*step*/, uint16_t* magnitude, uint8_t* angle,
                               const int16_t* src1, const int16_t* src2) const
    {
        const DS32 d;
        const hn::Rebind<int16_t, DS32> d16;
        VS32 roots[4];
        VS32 steps[4];
        for (size_t k = 0; k < 4; ++k)
        {
            const VS32 x = hn::PromoteTo(d, hn::LoadU(d16, src1 + k * hn::MaxLanes(d)));
            const VS32 y = hn::PromoteTo(d, hn::LoadU(d16, src2 + k * hn::MaxLanes(d)));
            roots[k] = rootOf(hn::Add(hn::Mul(x, x), hn::Mul(y, y)));
            steps[k] = stepsOf(x, y);
        }
        const hn::ScalableTag<uint16_t> wide;
        hn::StoreU(narrowInOrder(wide, roots[0], roots[1]), wide, magnitude);
        hn::StoreU(narrowInOrder(wide, roots[2], roots[3]), wide, magnitude + hn::MaxLanes(wide));
        hn::StoreU(narrowToBytes(steps[0], steps[1], steps[2], steps[3]), hn::ScalableTag<uint8_t>(), angle);
    }

  private:
    // The integer nearest to the root of a sum of squares, up to 2^31 and so without a sign.
    static HWY_INLINE VS32 rootOf(VS32 squares)
    {
        const DF d;
        const DS32 d32;
        const hn::RebindToUnsigned<DS32> du;
        const auto half = hn::BitCast(d32, hn::ShiftRight<1>(hn::BitCast(du, squares)));
        const VF estimate = hn::Sqrt(hn::Mul(hn::Set(d, 2), hn::ConvertTo(d, half)));
        const VS32 root = hn::ConvertTo(d32, hn::Add(estimate, hn::Set(d, 0.5F)));
        // The estimate is off by one at most. It is right when -root < above <= root.
        const VS32 above = hn::Sub(squares, hn::Mul(root, root));
        const auto isSmall = hn::VecFromMask(d32, hn::Gt(above, root));
        const auto isLarge = hn::VecFromMask(d32, hn::Gt(hn::Sub(hn::Set(d32, 1), above), root));
        return hn::Max(hn::Add(hn::Sub(root, isSmall), isLarge), hn::Zero(d32));
    }

    // The angle in 256 steps per turn.
    static HWY_INLINE VS32 stepsOf(VS32 x, VS32 y)
    {
        const DF d;
        const DS32 d32;
        const VS32 zero = hn::Zero(d32);
        const VS32 absX = hn::Abs(x);
        const VS32 absY = hn::Abs(y);
        const VF scaled =
            hn::Mul(octantAngle(hn::ConvertTo(d, absX), hn::ConvertTo(d, absY)), hn::Set(d, polar::kStepsPerRadian));
        VS32 steps = hn::ConvertTo(d32, hn::Add(scaled, hn::Set(d, 0.5F)));
        steps = mirroredIf(d32, hn::Gt(absY, absX), 64, steps);
        steps = mirroredIf(d32, hn::Lt(x, zero), 128, steps);
        steps = mirroredIf(d32, hn::Lt(y, zero), 256, steps);
        return hn::And(steps, hn::Set(d32, 255));
    }
};

constexpr auto toPolar = [](auto step, const auto* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                            const auto* src2, uint32_t src2Stride, auto* magnitude, uint32_t magnitudeStride,
                            auto* angle, uint32_t angleStride) HWY_ATTR
{
    return mapPlanes(width, height, step, destination(magnitude, magnitudeStride), destination(angle, angleStride),
                     source(src1, src1Stride), source(src2, src2Stride));
};

}  // namespace

VSR_VARIANT(vsrCartToPolarf32, toPolar, FloatStep());
VSR_VARIANT(vsrCartToPolars16, toPolar, IntegerStep());

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();
