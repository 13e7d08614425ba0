// Operations between elements of one type, vector variants: the formula of each.
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

// dst = formula(src, values[channel]). Three vectors hold whole pixels of 1, 2, 3 and 4 channels.
template <class T, class Formula>
struct ChannelStep
{
    using D = hn::ScalableTag<T>;
    static constexpr size_t kVector = hn::MaxLanes(D());
    static constexpr size_t kLanes = 3 * kVector;
    static constexpr size_t kUnroll = 1;

    Formula formula;
    const T* pattern;

    HWY_INLINE void operator()(std::index_sequence<0> /*step*/, T* dst, const T* src) const
    {
        [&]<size_t... k>(std::index_sequence<k...>) HWY_ATTR __attribute__((always_inline))
        {
            const D d;
            const hn::Vec<D> results[] = {
                formula(d, hn::LoadU(d, src + k * kVector), hn::Load(d, pattern + k * kVector))...};
            (hn::StoreU(results[k], d, dst + k * kVector), ...);
        }
        (std::make_index_sequence<3>());
    }
};

template <class T, class Formula>
HWY_INLINE vsrStatus perChannel(Formula formula, const T* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                uint32_t channels, const T* values, T* dst, uint32_t dstStride)
{
    using Step = ChannelStep<T, Formula>;
    alignas(64) T pattern[Step::kLanes];
    for (size_t i = 0; i < Step::kLanes; ++i)
    {
        pattern[i] = values[i % channels];
    }
    return mapPlanes(size_t{width} * channels, height, Step{formula, pattern}, destination(dst, dstStride),
                     source(src, srcStride));
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

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();
