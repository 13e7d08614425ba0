// Operations on single elements, vector variants: the formula of each.
#include <cmath>

#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementFormulaV.cpp"
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

// ---- Formulas ----

constexpr auto difference = [](auto d, auto a, auto b) HWY_ATTR { return absDiff(d, a, b); };
constexpr auto smaller = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Min(a, b); };
constexpr auto larger = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Max(a, b); };
constexpr auto saturatedSum = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::SaturatedAdd(a, b); };
constexpr auto wrappedSum = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Add(a, b); };
constexpr auto floatSum = [](auto d, auto a, auto b) HWY_ATTR { return resultWithOneNan(d, hn::Add(a, b)); };
constexpr auto minus = [](auto /*d*/, auto a, auto value) HWY_ATTR { return hn::SaturatedSub(a, value); };
constexpr auto bitAnd = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::And(a, b); };
constexpr auto bitOr = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Or(a, b); };
constexpr auto bitXor = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Xor(a, b); };

constexpr auto product = [](auto d, auto a, auto b) HWY_ATTR { return resultWithOneNan(d, hn::Mul(a, b)); };
constexpr auto quotient = [](auto d, auto a, auto b) HWY_ATTR
{
    const auto zero = hn::Zero(d);
    return hn::IfThenElse(hn::Eq(b, zero), zero, resultWithOneNan(d, hn::Div(a, b)));
};
constexpr auto shiftedProduct16 = [](auto d, auto a, auto b, uint32_t shift) HWY_ATTR
{ return shiftedProduct(d, a, b, static_cast<int>(shift)); };

constexpr auto withoutSign = [](auto /*d*/, auto a) HWY_ATTR { return hn::Abs(a); };
constexpr auto magnitude16 = [](auto d, auto a) HWY_ATTR
{
#if HWY_ARCH_ARM_A64
    (void)d;
    return decltype(a)(vqabsq_s16(a.raw));
#else
    return hn::Max(a, hn::SaturatedSub(hn::Zero(d), a));
#endif
};
constexpr auto clamped = [](auto d, auto a, auto low, auto high) HWY_ATTR
{ return smallerOr(largerOr(a, hn::Set(d, low)), hn::Set(d, high)); };
constexpr auto shiftedBits = [](auto d, auto a, int32_t shift) HWY_ATTR { return shifted(d, a, shift); };

// ---- Shapes ----

template <class T, class Formula>
HWY_INLINE vsrStatus perChannel(Formula formula, const T* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                uint32_t channels, const T* values, T* dst, uint32_t dstStride)
{
    return mapChannels(formula, width, height, channels, values, dst, dstStride, source(src, srcStride));
}

// dst = formula(scale * src1, src2). A scale of 1 changes nothing.
template <class Formula>
HWY_INLINE vsrStatus scaledBinary(Formula formula, const float* src1, uint32_t width, uint32_t height,
                                  uint32_t src1Stride, const float* src2, uint32_t src2Stride, float scale, float* dst,
                                  uint32_t dstStride)
{
    if (scale == 1)
    {
        return binary(formula, src1, width, height, src1Stride, src2, src2Stride, dst, dstStride);
    }
    const auto scaled = [=](auto d, auto a, auto b) HWY_ATTR { return formula(d, hn::Mul(hn::Set(d, scale), a), b); };
    return binary(scaled, src1, width, height, src1Stride, src2, src2Stride, dst, dstStride);
}

template <class Formula>
HWY_INLINE vsrStatus binaryMasked(Formula formula, const uint8_t* src1, uint32_t width, uint32_t height,
                                  uint32_t src1Stride, const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask,
                                  uint32_t maskStride, uint8_t* dst, uint32_t dstStride)
{
    return mask == nullptr ? binary(formula, src1, width, height, src1Stride, src2, src2Stride, dst, dstStride)
                           : mapMasked(formula, width, height, dst, dstStride, mask, maskStride,
                                       source(src1, src1Stride), source(src2, src2Stride));
}

HWY_INLINE vsrStatus sum16(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                           const int16_t* src2, uint32_t src2Stride, vsrOverflowPolicy policy, int16_t* dst,
                           uint32_t dstStride)
{
    return policy == VISORA_OVERFLOW_SATURATE
               ? binary(saturatedSum, src1, width, height, src1Stride, src2, src2Stride, dst, dstStride)
               : binary(wrappedSum, src1, width, height, src1Stride, src2, src2Stride, dst, dstStride);
}

HWY_INLINE vsrStatus select(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                            const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                            uint8_t* dst, uint32_t dstStride)
{
    const auto step = elementStep<uint8_t, uint8_t, uint8_t, uint8_t>(
        [](auto /*d*/, auto bits, auto yes, auto no) HWY_ATTR { return bitSelect(bits, yes, no); });
    return mapPlanes(width, height, step, destination(dst, dstStride), source(mask, maskStride),
                     source(src1, src1Stride), source(src2, src2Stride));
}

// ---- Elements of different sizes; where floats take part, a step takes a vector of bytes ----

using D8 = hn::ScalableTag<uint8_t>;
using DF = hn::ScalableTag<float>;
constexpr size_t kFloats = hn::MaxLanes(DF());

template <bool mayBeNan>
HWY_INLINE void bytesToLinear(float scale, float offset, float* dst, const uint8_t* src)
{
    hn::Vec<DF> results[4];
    bytesToFloats(src,
                  [&](size_t k, auto v) HWY_ATTR
                  {
                      const auto sum = hn::Add(hn::Mul(hn::Set(DF(), scale), v), hn::Set(DF(), offset));
                      results[k] = mayBeNan ? resultWithOneNan(DF(), sum) : sum;
                  });
    for (size_t k = 0; k < 4; ++k)
    {
        hn::StoreU(results[k], DF(), dst + k * kFloats);
    }
}

HWY_INLINE vsrStatus toFloats(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, float scale,
                              float offset, float* dst, uint32_t dstStride)
{
    const float perUnit = scale / kByteUnit;
    const auto numbers = byteStep([=](auto*... at) HWY_ATTR { bytesToLinear<false>(perUnit, offset, at...); });
    const auto any = byteStep([=](auto*... at) HWY_ATTR { bytesToLinear<true>(perUnit, offset, at...); });
    if (std::isfinite(scale) && std::isinf(perUnit))
    {
        return vsrConvertu8f32C(src, width, height, srcStride, scale, offset, dst, dstStride);
    }
    return std::isfinite(perUnit) && std::isfinite(offset)
               ? mapPlanes(width, height, numbers, destination(dst, dstStride), source(src, srcStride))
               : mapPlanes(width, height, any, destination(dst, dstStride), source(src, srcStride));
}

HWY_INLINE vsrStatus toBytes(const float* src, uint32_t width, uint32_t height, uint32_t srcStride, float scale,
                             float offset, uint8_t* dst, uint32_t dstStride)
{
    const auto step = byteStep(
        [=](uint8_t* to, const float* from) HWY_ATTR
        {
            hn::Vec<DF> results[4];
            for (size_t k = 0; k < 4; ++k)
            {
                const auto scaled = hn::Mul(hn::Set(DF(), scale), hn::LoadU(DF(), from + k * kFloats));
                results[k] = hn::Add(scaled, hn::Set(DF(), offset));
            }
            hn::StoreU(bytesOf(results), D8(), to);
        });
    return mapPlanes(width, height, step, destination(dst, dstStride), source(src, srcStride));
}

HWY_INLINE vsrStatus divide(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                            const uint8_t* src2, uint32_t src2Stride, float scale, uint8_t* dst, uint32_t dstStride)
{
    const auto step = byteStep(
        [=](uint8_t* to, const uint8_t* a, const uint8_t* b) HWY_ATTR
        {
            hn::Vec<DF> quotients[4];
            // Of two numbers in one unit: products below the floats' range are far below a half, those above it above
            // 255.
            bytesToFloats(a, [&](size_t k, auto v) HWY_ATTR { quotients[k] = hn::Mul(hn::Set(DF(), scale), v); });
            bytesToFloats(b, [&](size_t k, auto v) HWY_ATTR { quotients[k] = hn::Div(quotients[k], v); });
            const auto isZero = hn::Eq(hn::LoadU(D8(), b), hn::Zero(D8()));
            hn::StoreU(hn::IfThenZeroElse(isZero, bytesOf(quotients)), D8(), to);
        });
    return mapPlanes(width, height, step, destination(dst, dstStride), source(src1, src1Stride),
                     source(src2, src2Stride));
}

// alpha is that of bytes in their unit.
HWY_INLINE void blend(float alpha, float beta, float* dst, const uint8_t* src, const auto*... mask)
{
    hn::Vec<DF> results[4];
    bytesToFloats(src,
                  [&](size_t k, auto v) HWY_ATTR
                  {
                      const auto old = hn::LoadU(DF(), dst + k * kFloats);
                      const auto sum = hn::Add(hn::Mul(hn::Set(DF(), beta), old), hn::Mul(hn::Set(DF(), alpha), v));
                      results[k] = resultWithOneNan(DF(), sum);
                      ((results[k] = whereMasked(DF(), mask + k * kFloats, results[k], old)), ...);
                  });
    for (size_t k = 0; k < 4; ++k)
    {
        hn::StoreU(results[k], DF(), dst + k * kFloats);
    }
}

HWY_INLINE vsrStatus accumulate(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                const uint8_t* mask, uint32_t maskStride, float alpha, float* dst, uint32_t dstStride)
{
    const float perUnit = alpha / kByteUnit;
    const auto step = byteStep([=](auto*... at) HWY_ATTR { blend(perUnit, 1 - alpha, at...); });
    const auto old = updated(dst, dstStride);
    return mask == nullptr ? mapPlanes(width, height, step, old, source(src, srcStride))
                           : mapPlanes(width, height, step, old, source(src, srcStride), source(mask, maskStride));
}

constexpr auto addWide = [](auto d, auto bytes, auto v) HWY_ATTR
{ return hn::SaturatedAdd(hn::PromoteTo(d, bytes), v); };

constexpr auto multiplyWide = [](auto d, auto a, auto b) HWY_ATTR
{
#if HWY_ARCH_ARM_A64
    return hn::VFromD<decltype(d)>(vmull_u8(a.raw, b.raw));
#else
    return hn::Mul(hn::PromoteTo(d, a), hn::PromoteTo(d, b));
#endif
};

constexpr auto saturated = [](auto d, auto v) HWY_ATTR { return hn::DemoteTo(d, v); };
constexpr auto saturatedShifted = [](auto d, auto v, int shift) HWY_ATTR
{ return hn::DemoteTo(d, shifted(hn::Rebind<int16_t, decltype(d)>(), v, shift)); };
constexpr auto wrappedShifted = [](auto d, auto v, int shift) HWY_ATTR
{
    const hn::Rebind<int16_t, decltype(d)> d16;
    return hn::DemoteTo(d, hn::And(shifted(d16, v, shift), hn::Set(d16, int16_t{255})));
};

HWY_INLINE vsrStatus narrow(const int16_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t shift,
                            vsrOverflowPolicy policy, uint8_t* dst, uint32_t dstStride)
{
    const int left = -static_cast<int>(shift);
    return policy == VISORA_OVERFLOW_WRAP ? unary(wrappedShifted, src, width, height, srcStride, left, dst, dstStride)
           : shift != 0                   ? unary(saturatedShifted, src, width, height, srcStride, left, dst, dstStride)
                                          : unary(saturated, src, width, height, srcStride, dst, dstStride);
}

}  // namespace

VSR_VARIANT(vsrAbsDiffu8, binary, difference);
VSR_VARIANT(vsrAbsDiffs16, binary, difference);
VSR_VARIANT(vsrAbsDiffu16, binary, difference);
VSR_VARIANT(vsrAbsDiffs32, binary, difference);
VSR_VARIANT(vsrAbsDifff32, binary, difference);
VSR_VARIANT(vsrAbsDiffScalaru8, perChannel, difference);
VSR_VARIANT(vsrAbsDiffScalarf32, perChannel, difference);
VSR_VARIANT(vsrSubtractu8, perChannel, minus);
VSR_VARIANT(vsrSubtracts16, perChannel, minus);
VSR_VARIANT(vsrAbss16, unary, magnitude16);
VSR_VARIANT(vsrAbsf32, unary, withoutSign);
VSR_VARIANT(vsrAddu8, binary, saturatedSum);
VSR_VARIANT(vsrAdds16, sum16);
VSR_VARIANT(vsrAddf32, binary, floatSum);
VSR_VARIANT(vsrElementMulf32, scaledBinary, product);
VSR_VARIANT(vsrElementDivf32, scaledBinary, quotient);
VSR_VARIANT(vsrElementMuls16, binary, shiftedProduct16);
VSR_VARIANT(vsrMinu8, binary, smaller);
VSR_VARIANT(vsrMins16, binary, smaller);
VSR_VARIANT(vsrMaxu8, binary, larger);
VSR_VARIANT(vsrMaxs16, binary, larger);
VSR_VARIANT(vsrClamps16, unary, clamped);
VSR_VARIANT(vsrClampf32, unary, clamped);
VSR_VARIANT(vsrBitShifts16, unary, shiftedBits);
VSR_VARIANT(vsrBitwiseAndu8, binaryMasked, bitAnd);
VSR_VARIANT(vsrBitwiseOru8, binaryMasked, bitOr);
VSR_VARIANT(vsrBitwiseXoru8, binaryMasked, bitXor);
VSR_VARIANT(vsrBitwiseSelectu8, select);
VSR_VARIANT(vsrConvertu8f32, toFloats);
VSR_VARIANT(vsrConvertf32u8, toBytes);
VSR_VARIANT(vsrConverts16u8, narrow);
VSR_VARIANT(vsrAccumulateWeightedu8f32, accumulate);
VSR_VARIANT(vsrAddu8u16, binary, addWide);
VSR_VARIANT(vsrElementMulu8u16, binary, multiplyWide);
VSR_VARIANT(vsrElementDivu8, divide);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();
