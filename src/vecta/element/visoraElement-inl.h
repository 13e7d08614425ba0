// Formulas and steps that several kernels of the operations on elements share.
#if defined(VISORA_VECTA_ELEMENT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_ELEMENT_INL_H
#undef VISORA_VECTA_ELEMENT_INL_H
#else
#define VISORA_VECTA_ELEMENT_INL_H
#endif

#include "vecta/visoraDrivers-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Formulas ----

/** a < b ? a : b of floats: b when a is a NaN or equal. */
template <class V>
HWY_INLINE V smallerOr(V a, V b)
{
#if HWY_ARCH_X86
    return hn::Min(a, b);  // just that
#else
    return hn::IfThenElse(hn::Lt(a, b), a, b);
#endif
}

/** a > b ? a : b of floats: b when a is a NaN or equal. */
template <class V>
HWY_INLINE V largerOr(V a, V b)
{
#if HWY_ARCH_X86
    return hn::Max(a, b);
#else
    return hn::IfThenElse(hn::Gt(a, b), a, b);
#endif
}

/** |a - b|, limited to the type's range; of floats the difference without its sign. */
template <class D, class V>
HWY_INLINE V absDiff(D d, V a, V b)
{
    using T = hn::TFromD<D>;
    if constexpr (std::is_same_v<T, float>)
    {
        return resultWithOneNan(d, hn::Abs(hn::Sub(a, b)));
    }
    else if constexpr (std::is_signed_v<T>)
    {
#if HWY_ARCH_ARM_A64
        if constexpr (sizeof(T) == 2)
        {
            return V(vqabsq_s16(vqsubq_s16(a.raw, b.raw)));
        }
        else
        {
            return V(vreinterpretq_s32_u32(
                vminq_u32(vreinterpretq_u32_s32(vabdq_s32(a.raw, b.raw)), vdupq_n_u32(INT32_MAX))));
        }
#else
        if constexpr (sizeof(T) == 2)
        {
            return hn::SaturatedSub(hn::Max(a, b), hn::Min(a, b));
        }
        else
        {
            // The difference modulo 2^32 is exact as an unsigned number.
            const hn::RebindToUnsigned<D> du;
            const auto exact = hn::BitCast(du, hn::Sub(hn::Max(a, b), hn::Min(a, b)));
            return hn::BitCast(d, hn::Min(exact, hn::Set(du, uint32_t{INT32_MAX})));
        }
#endif
    }
    else
    {
#if HWY_ARCH_ARM_A64
        if constexpr (sizeof(a.raw) == 16)
        {
            if constexpr (sizeof(T) == 1)
            {
                return V(vabdq_u8(a.raw, b.raw));
            }
            else
            {
                return V(vabdq_u16(a.raw, b.raw));
            }
        }
#endif
        return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
    }
}

/** The bits of `yes` where `mask` has ones, else those of `no`. */
template <class V>
HWY_INLINE V bitSelect(V mask, V yes, V no)
{
#if HWY_ARCH_ARM_A64
    return hn::IfVecThenElse(mask, yes, no);
#else
    // On x86 that function looks at sign bits only.
    return hn::OrAnd(hn::AndNot(mask, no), mask, yes);
#endif
}

/** v * 2^shift of s16, -15 <= shift <= 15: limited to the left, rounded half up to the right. */
template <class D, class V>
HWY_INLINE V shifted(D d, V v, int shift)
{
#if HWY_ARCH_ARM_A64
    (void)d;
    return V(vqrshlq_s16(v.raw, vdupq_n_s16(static_cast<int16_t>(shift))));
#else
    if (shift < 0)
    {
        const V lastOut = hn::And(hn::ShiftRightSame(v, -shift - 1), hn::Set(d, int16_t{1}));
        return hn::Add(hn::ShiftRightSame(v, -shift), lastOut);
    }
    const V low = hn::Set(d, static_cast<int16_t>(INT16_MIN >> shift));
    const V high = hn::Set(d, static_cast<int16_t>(INT16_MAX >> shift));
    return hn::IfThenElse(hn::Gt(v, high), hn::Set(d, int16_t{INT16_MAX}), hn::ShiftLeftSame(hn::Max(v, low), shift));
#endif
}

/** a * b / 2^shift of s16, 0 <= shift <= 30, rounded half up and limited. */
template <class D, class V>
HWY_INLINE V shiftedProduct(D d, V a, V b, int shift)
{
#if HWY_ARCH_ARM_A64
    (void)d;
    const int32x4_t right = vdupq_n_s32(-shift);
    const int32x4_t low = vrshlq_s32(vmull_s16(vget_low_s16(a.raw), vget_low_s16(b.raw)), right);
    const int32x4_t high = vrshlq_s32(vmull_high_s16(a.raw, b.raw), right);
    return V(vqmovn_high_s32(vqmovn_s32(low), high));
#else
    const hn::RepartitionToWide<D> d32;
    const auto half = hn::Set(d32, 1 << shift >> 1);
    const V lowBits = hn::Mul(a, b);
    const V highBits = hn::MulHigh(a, b);
    // Both interleaving and narrowing work within blocks of 128 bits: the order stays.
    const auto low = hn::BitCast(d32, hn::InterleaveLower(d, lowBits, highBits));
    const auto high = hn::BitCast(d32, hn::InterleaveUpper(d, lowBits, highBits));
    return hn::ReorderDemote2To(d, hn::ShiftRightSame(hn::Add(low, half), shift),
                                hn::ShiftRightSame(hn::Add(high, half), shift));
#endif
}

// ---- Bytes to wider elements and back ----

/** Calls body(k, vector) for the k-th vector of D of the bytes from p on, as many as a full vector of u8 has. */
template <class D, class Body>
HWY_INLINE void widenBytes(D d, const uint8_t* p, Body body)
{
    constexpr size_t lanes = hn::MaxLanes(D());
#if HWY_ARCH_ARM_A64
    const uint8x16_t v = vld1q_u8(p);
    const uint16x8_t low = vmovl_u8(vget_low_u8(v));
    const uint16x8_t high = vmovl_high_u8(v);
    if constexpr (lanes == 8)
    {
        body(std::integral_constant<size_t, 0>(), hn::BitCast(d, hn::Vec128<uint16_t>(low)));
        body(std::integral_constant<size_t, 1>(), hn::BitCast(d, hn::Vec128<uint16_t>(high)));
    }
    else
    {
        body(std::integral_constant<size_t, 0>(), hn::BitCast(d, hn::Vec128<uint32_t>(vmovl_u16(vget_low_u16(low)))));
        body(std::integral_constant<size_t, 1>(), hn::BitCast(d, hn::Vec128<uint32_t>(vmovl_high_u16(low))));
        body(std::integral_constant<size_t, 2>(), hn::BitCast(d, hn::Vec128<uint32_t>(vmovl_u16(vget_low_u16(high)))));
        body(std::integral_constant<size_t, 3>(), hn::BitCast(d, hn::Vec128<uint32_t>(vmovl_high_u16(high))));
    }
#else
    const hn::Rebind<uint8_t, D> bytes;
    [&]<size_t... k>(std::index_sequence<k...>) HWY_ATTR
    {
        (body(std::integral_constant<size_t, k>(), hn::PromoteTo(d, hn::LoadU(bytes, p + k * lanes))), ...);
    }
    (std::make_index_sequence<sizeof(hn::TFromD<D>)>());
#endif
}

/**
 * What a byte of 1 is in floats that bytesToFloats gives. On ARM a byte is a float of 16 bits without an exponent,
 * 2^-24 times its number, which converts in half the instructions.
 */
constexpr float kByteUnit = HWY_ARCH_ARM_A64 ? 0x1p-24F : 1.0F;

/** Calls body(k, vector) for the k-th vector of floats of the bytes from p on, as many as a full vector of u8 has. */
template <class Body>
HWY_INLINE void bytesToFloats(const uint8_t* p, Body body)
{
    const hn::ScalableTag<float> d;
#if HWY_ARCH_ARM_A64
    widenBytes(hn::ScalableTag<uint16_t>(), p,
               [&](auto k, auto v) HWY_ATTR
               {
                   const float16x8_t halves = vreinterpretq_f16_u16(v.raw);
                   body(std::integral_constant<size_t, 2 * k>(),
                        hn::Vec<decltype(d)>(vcvt_f32_f16(vget_low_f16(halves))));
                   body(std::integral_constant<size_t, 2 * k + 1>(), hn::Vec<decltype(d)>(vcvt_high_f32_f16(halves)));
               });
#else
    widenBytes(hn::ScalableTag<int32_t>(), p, [&](auto k, auto v) HWY_ATTR { body(k, hn::ConvertTo(d, v)); });
#endif
}

/** Floats limited to 0 .. 255 and rounded to nearest, ties to even; 0 for a NaN. */
template <class D, class V>
HWY_INLINE hn::Vec<hn::RebindToSigned<D>> byteOf(D d, V v)
{
    // A NaN becomes 0 here on x86, in the conversion on ARM.
    return hn::NearestInt(hn::Min(hn::Max(v, hn::Zero(d)), hn::Set(d, 255.0F)));
}

/** Four vectors of s32 of 0 .. 255 as bytes. */
template <class V>
HWY_INLINE hn::Vec<hn::ScalableTag<uint8_t>> narrowToBytes(V v0, V v1, V v2, V v3)
{
    const hn::ScalableTag<uint8_t> d8;
    const hn::ScalableTag<uint16_t> d16;
    return narrowInOrder(d8, narrowInOrder(d16, v0, v1), narrowInOrder(d16, v2, v3));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
