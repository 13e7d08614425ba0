// Operations on the elements of two images of one type, vector variants: the formula of each.
#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementBinaryV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/element/visoraElement-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{
namespace
{

constexpr auto difference = [](auto d, auto a, auto b) HWY_ATTR { return absDiff(d, a, b); };
constexpr auto smaller = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Min(a, b); };
constexpr auto larger = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Max(a, b); };
constexpr auto saturatedSum = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::SaturatedAdd(a, b); };
constexpr auto sum = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Add(a, b); };

constexpr auto product = [](auto d, auto a, auto b) HWY_ATTR { return resultWithOneNan(d, hn::Mul(a, b)); };

constexpr auto quotient = [](auto d, auto a, auto b) HWY_ATTR
{
    const auto zero = hn::Zero(d);
    return hn::IfThenElse(hn::Eq(b, zero), zero, resultWithOneNan(d, hn::Div(a, b)));
};

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

// dst = (src1 & mask) | (src2 & ~mask).
struct SelectStep
{
    using D = hn::ScalableTag<uint8_t>;
    static constexpr size_t kLanes = hn::MaxLanes(D());
    static constexpr size_t kUnroll = 4;

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, uint8_t* dst, const uint8_t* src1,
                               const uint8_t* src2, const uint8_t* mask) const
    {
        const D d;
        const hn::Vec<D> results[] = {bitSelect(hn::LoadU(d, mask + i * kLanes), hn::LoadU(d, src1 + i * kLanes),
                                                hn::LoadU(d, src2 + i * kLanes))...};
        (hn::StoreU(results[i], d, dst + i * kLanes), ...);
    }
};

// dst = formula(src1, src2) where the mask is not 0.
template <class Formula>
struct MaskedStep
{
    using D = hn::ScalableTag<uint8_t>;
    static constexpr size_t kLanes = hn::MaxLanes(D());
    static constexpr size_t kUnroll = 2;

    Formula formula;

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, uint8_t* dst, const uint8_t* src1,
                               const uint8_t* src2, const uint8_t* mask) const
    {
        const D d;
        const hn::Vec<D> results[] = {
            hn::IfThenElse(hn::Eq(hn::LoadU(d, mask + i * kLanes), hn::Zero(d)), hn::LoadU(d, dst + i * kLanes),
                           formula(d, hn::LoadU(d, src1 + i * kLanes), hn::LoadU(d, src2 + i * kLanes)))...};
        (hn::StoreU(results[i], d, dst + i * kLanes), ...);
    }
};

template <class Formula>
HWY_INLINE vsrStatus binaryMasked(Formula formula, const uint8_t* src1, uint32_t width, uint32_t height,
                                  uint32_t src1Stride, const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask,
                                  uint32_t maskStride, uint8_t* dst, uint32_t dstStride)
{
    return mask == nullptr ? binary(formula, src1, width, height, src1Stride, src2, src2Stride, dst, dstStride)
                           : mapPlanes(width, height, MaskedStep<Formula>{formula}, updated(dst, dstStride),
                                       source(src1, src1Stride), source(src2, src2Stride), source(mask, maskStride));
}

constexpr auto bitAnd = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::And(a, b); };
constexpr auto bitOr = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Or(a, b); };
constexpr auto bitXor = [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Xor(a, b); };

}  // namespace

VSR_KERNEL(vsrAbsDiffu8, absDiffU8, binary, difference);
VSR_KERNEL(vsrAbsDiffs16, absDiffS16, binary, difference);
VSR_KERNEL(vsrAbsDiffu16, absDiffU16, binary, difference);
VSR_KERNEL(vsrAbsDiffs32, absDiffS32, binary, difference);
VSR_KERNEL(vsrAbsDifff32, absDiffF32, binary, difference);
VSR_KERNEL(vsrAddu8, addU8, binary, saturatedSum);
VSR_KERNEL(vsrAddf32, addF32, binary,
           [](auto d, auto a, auto b) HWY_ATTR { return resultWithOneNan(d, hn::Add(a, b)); });
VSR_KERNEL(vsrElementMulf32, mulF32, scaledBinary, product);
VSR_KERNEL(vsrElementDivf32, divF32, scaledBinary, quotient);
VSR_KERNEL(vsrElementMuls16, mulS16, binary,
           [](auto d, auto a, auto b, uint32_t shift) HWY_ATTR
           { return shiftedProduct(d, a, b, static_cast<int>(shift)); });
VSR_KERNEL(vsrMinu8, minU8, binary, smaller);
VSR_KERNEL(vsrMins16, minS16, binary, smaller);
VSR_KERNEL(vsrMaxu8, maxU8, binary, larger);
VSR_KERNEL(vsrMaxs16, maxS16, binary, larger);
VSR_KERNEL(vsrBitwiseAndu8, bitwiseAnd, binaryMasked, bitAnd);
VSR_KERNEL(vsrBitwiseOru8, bitwiseOr, binaryMasked, bitOr);
VSR_KERNEL(vsrBitwiseXoru8, bitwiseXor, binaryMasked, bitXor);

vsrStatus addS16(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const int16_t* src2,
                 uint32_t src2Stride, vsrOverflowPolicy policy, int16_t* dst, uint32_t dstStride)
{
    return policy == VISORA_OVERFLOW_SATURATE
               ? binary(saturatedSum, src1, width, height, src1Stride, src2, src2Stride, dst, dstStride)
               : binary(sum, src1, width, height, src1Stride, src2, src2Stride, dst, dstStride);
}

vsrStatus bitwiseSelect(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint8_t* src2,
                        uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride, uint8_t* dst, uint32_t dstStride)
{
    return mapPlanes(width, height, SelectStep(), destination(dst, dstStride), source(src1, src1Stride),
                     source(src2, src2Stride), source(mask, maskStride));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrAbsDiffu8, absDiffU8);
VSR_VECTOR(vsrAbsDiffs16, absDiffS16);
VSR_VECTOR(vsrAbsDiffu16, absDiffU16);
VSR_VECTOR(vsrAbsDiffs32, absDiffS32);
VSR_VECTOR(vsrAbsDifff32, absDiffF32);
VSR_VECTOR(vsrAddu8, addU8);
VSR_VECTOR(vsrAdds16, addS16);
VSR_VECTOR(vsrAddf32, addF32);
VSR_VECTOR(vsrElementMulf32, mulF32);
VSR_VECTOR(vsrElementDivf32, divF32);
VSR_VECTOR(vsrElementMuls16, mulS16);
VSR_VECTOR(vsrMinu8, minU8);
VSR_VECTOR(vsrMins16, minS16);
VSR_VECTOR(vsrMaxu8, maxU8);
VSR_VECTOR(vsrMaxs16, maxS16);
VSR_VECTOR(vsrBitwiseAndu8, bitwiseAnd);
VSR_VECTOR(vsrBitwiseOru8, bitwiseOr);
VSR_VECTOR(vsrBitwiseXoru8, bitwiseXor);
VSR_VECTOR(vsrBitwiseSelectu8, bitwiseSelect);

#endif
