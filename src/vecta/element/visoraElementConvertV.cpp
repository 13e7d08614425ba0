// Operations between elements of different sizes, vector variants. Where floats take part, a step takes a vector of
// bytes.
#include <cmath>

#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementConvertV.cpp"
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

using D8 = hn::ScalableTag<uint8_t>;
using DF = hn::ScalableTag<float>;
constexpr size_t kFloats = hn::MaxLanes(DF());

// ---- Bytes and floats ----

template <bool mayBeNan>
constexpr auto bytesToLinear = [](float* dst, const uint8_t* src, float scale, float offset) HWY_ATTR {
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
};

HWY_INLINE vsrStatus toFloats(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, float scale,
                              float offset, float* dst, uint32_t dstStride)
{
    const float perUnit = scale / kByteUnit;
    if (std::isfinite(perUnit) && std::isfinite(offset))
    {
        return unaryByBytes(bytesToLinear<false>, src, width, height, srcStride, perUnit, offset, dst, dstStride);
    }
    return std::isfinite(scale) && std::isinf(perUnit)
               ? vsrConvertu8f32C(src, width, height, srcStride, scale, offset, dst, dstStride)
               : unaryByBytes(bytesToLinear<true>, src, width, height, srcStride, perUnit, offset, dst, dstStride);
}

constexpr auto linearToBytes = [](uint8_t* dst, const float* src, float scale, float offset) HWY_ATTR
{
    hn::Vec<DF> results[4];
    for (size_t k = 0; k < 4; ++k)
    {
        const auto scaled = hn::Mul(hn::Set(DF(), scale), hn::LoadU(DF(), src + k * kFloats));
        results[k] = hn::Add(scaled, hn::Set(DF(), offset));
    }
    hn::StoreU(bytesOf(results), D8(), dst);
};

constexpr auto divide = [](uint8_t* dst, const uint8_t* src1, const uint8_t* src2, float scale) HWY_ATTR
{
    hn::Vec<DF> quotients[4];
    // Of two numbers in one unit: products below the floats' range are far below a half, those above it above 255.
    bytesToFloats(src1, [&](size_t k, auto v) HWY_ATTR { quotients[k] = hn::Mul(hn::Set(DF(), scale), v); });
    bytesToFloats(src2, [&](size_t k, auto v) HWY_ATTR { quotients[k] = hn::Div(quotients[k], v); });
    const auto isZero = hn::Eq(hn::LoadU(D8(), src2), hn::Zero(D8()));
    hn::StoreU(hn::IfThenZeroElse(isZero, bytesOf(quotients)), D8(), dst);
};

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
    const auto all = [=, perUnit = alpha / kByteUnit](auto*... at) HWY_ATTR { blend(perUnit, 1 - alpha, at...); };
    const ByteStep<decltype(all)> step{all};
    const auto old = updated(dst, dstStride);
    return mask == nullptr ? mapPlanes(width, height, step, old, source(src, srcStride))
                           : mapPlanes(width, height, step, old, source(src, srcStride), source(mask, maskStride));
}

// ---- Bytes and 16 bits ----

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

VSR_VARIANT(vsrConvertu8f32, toFloats);
VSR_VARIANT(vsrConvertf32u8, unaryByBytes, linearToBytes);
VSR_VARIANT(vsrConverts16u8, narrow);
VSR_VARIANT(vsrAccumulateWeightedu8f32, accumulate);
VSR_VARIANT(vsrAddu8u16, binary, addWide);
VSR_VARIANT(vsrElementMulu8u16, binary, multiplyWide);
VSR_VARIANT(vsrElementDivu8, binaryByBytes, divide);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();
