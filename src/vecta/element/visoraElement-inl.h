// Formulas, steps and shapes that several kernels of the operations on elements share.
#if defined(VISORA_VECTA_ELEMENT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_ELEMENT_INL_H
#undef VISORA_VECTA_ELEMENT_INL_H
#else
#define VISORA_VECTA_ELEMENT_INL_H
#endif

#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraVariant-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Formulas ----

/** a < b ? a : b: b when a is a NaN or equal. */
template <class V>
HWY_INLINE V smallerOr(V a, V b)
{
    if constexpr (HWY_ARCH_X86 || !hwy::IsFloat<hn::TFromD<hn::DFromV<V>>>())
    {
        return hn::Min(a, b);  // just that
    }
    return hn::IfThenElse(hn::Lt(a, b), a, b);
}

/** a > b ? a : b: b when a is a NaN or equal. */
template <class V>
HWY_INLINE V largerOr(V a, V b)
{
    if constexpr (HWY_ARCH_X86 || !hwy::IsFloat<hn::TFromD<hn::DFromV<V>>>())
    {
        return hn::Max(a, b);
    }
    return hn::IfThenElse(hn::Gt(a, b), a, b);
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
    else if constexpr (sizeof(T) == 4)
    {
        // The difference modulo 2^32 is exact as an unsigned number.
        const hn::RebindToUnsigned<D> du;
#if HWY_ARCH_ARM_A64
        const auto exact = hn::BitCast(du, V(vabdq_s32(a.raw, b.raw)));
#else
        const auto exact = hn::BitCast(du, hn::Sub(hn::Max(a, b), hn::Min(a, b)));
#endif
        return hn::BitCast(d, hn::Min(exact, hn::Set(du, uint32_t{INT32_MAX})));
    }
#if HWY_ARCH_ARM_A64
    else if constexpr (std::is_signed_v<T>)
    {
        return V(vqabsq_s16(vqsubq_s16(a.raw, b.raw)));
    }
    else if constexpr (sizeof(a.raw) == 16 && sizeof(T) == 1)
    {
        return V(vabdq_u8(a.raw, b.raw));
    }
    else if constexpr (sizeof(a.raw) == 16)
    {
        return V(vabdq_u16(a.raw, b.raw));
    }
#endif
    else if constexpr (std::is_signed_v<T>)
    {
        return hn::SaturatedSub(hn::Max(a, b), hn::Min(a, b));
    }
    else
    {
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

// ---- Bytes to floats and back ----

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
    using V = hn::Vec<decltype(d)>;
    const uint8x16_t v = vld1q_u8(p);
    const float16x8_t low = vreinterpretq_f16_u16(vmovl_u8(vget_low_u8(v)));
    const float16x8_t high = vreinterpretq_f16_u16(vmovl_high_u8(v));
    body(0, V(vcvt_f32_f16(vget_low_f16(low))));
    body(1, V(vcvt_high_f32_f16(low)));
    body(2, V(vcvt_f32_f16(vget_low_f16(high))));
    body(3, V(vcvt_high_f32_f16(high)));
#else
    const hn::Rebind<uint8_t, decltype(d)> bytes;
    const hn::Rebind<int32_t, decltype(d)> d32;
    for (size_t k = 0; k < 4; ++k)
    {
        body(k, hn::ConvertTo(d, hn::PromoteTo(d32, hn::LoadU(bytes, p + k * hn::MaxLanes(d)))));
    }
#endif
}

/** Four vectors of s32 as bytes, of numbers up to 255; those below 0 become 0. */
template <class V>
HWY_INLINE hn::Vec<hn::ScalableTag<uint8_t>> narrowToBytes(V v0, V v1, V v2, V v3)
{
    const hn::ScalableTag<uint8_t> d8;
#if HWY_TARGET <= HWY_AVX3
    // Both steps narrow within blocks of 128 bits: one permutation orders all.
    const __m512i packed = _mm512_packus_epi16(_mm512_packs_epi32(v0.raw, v1.raw), _mm512_packs_epi32(v2.raw, v3.raw));
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return hn::Vec<decltype(d8)>{_mm512_permutexvar_epi32(order, packed)};
#else
    const hn::ScalableTag<uint16_t> d16;
    return narrowInOrder(d8, narrowInOrder(d16, v0, v1), narrowInOrder(d16, v2, v3));
#endif
}

#if HWY_ARCH_X86
/** Rounded to nearest, ties to even; the smallest integer for what is no number or out of range. */
HWY_INLINE auto roundedOrLowest(hn::Vec<hn::ScalableTag<float>> v)
{
    using V = hn::Vec<hn::ScalableTag<int32_t>>;
#if HWY_TARGET <= HWY_AVX3
    return V{_mm512_cvtps_epi32(v.raw)};
#elif HWY_TARGET <= HWY_AVX2
    return V{_mm256_cvtps_epi32(v.raw)};
#else
    return V{_mm_cvtps_epi32(v.raw)};
#endif
}
#endif

/** Four vectors of floats as bytes: limited to 0 .. 255 and rounded to nearest, ties to even; 0 for a NaN. */
template <class V>
HWY_INLINE hn::Vec<hn::ScalableTag<uint8_t>> bytesOf(const V (&v)[4])
{
#if HWY_ARCH_ARM_A64
    // The conversion and the narrowing ones limit.
    const int16x8_t low = vqmovn_high_s32(vqmovn_s32(vcvtnq_s32_f32(v[0].raw)), vcvtnq_s32_f32(v[1].raw));
    const int16x8_t high = vqmovn_high_s32(vqmovn_s32(vcvtnq_s32_f32(v[2].raw)), vcvtnq_s32_f32(v[3].raw));
    return hn::Vec<hn::ScalableTag<uint8_t>>(vqmovun_high_s16(vqmovun_s16(low), high));
#else
    // The minimum of 255 and a NaN is the NaN.
    const V most = hn::Set(hn::ScalableTag<float>(), 255.0F);
    return narrowToBytes(roundedOrLowest(hn::Min(most, v[0])), roundedOrLowest(hn::Min(most, v[1])),
                         roundedOrLowest(hn::Min(most, v[2])), roundedOrLowest(hn::Min(most, v[3])));
#endif
}

// ---- Steps and shapes ----

/** A step of as many columns as a vector has bytes: body(pointers ...). */
template <class Body>
struct ByteStep
{
    static constexpr size_t kLanes = hn::MaxLanes(hn::ScalableTag<uint8_t>());
    static constexpr size_t kUnroll = HWY_ARCH_ARM ? 2 : 1;

    Body body;

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, auto*... at) const
    {
        (step(i * kLanes, at...), ...);
    }

  private:
    HWY_INLINE void step(size_t x, auto*... at) const { body((at + x)...); }
};

/** v where the mask is not 0, else `old`. */
template <class D, class V>
HWY_INLINE V whereMasked(D d, const uint8_t* mask, V v, V old)
{
    const hn::RebindToSigned<D> lanes;
    const auto bytes = hn::LoadU(hn::Rebind<int8_t, D>(), reinterpret_cast<const int8_t*>(mask));
    if constexpr (sizeof(hn::TFromD<D>) == 1)
    {
        return hn::IfThenElse(hn::RebindMask(d, hn::Eq(bytes, hn::Zero(lanes))), old, v);
    }
    else
    {
        return hn::IfThenElse(hn::RebindMask(d, hn::Eq(hn::PromoteTo(lanes, bytes), hn::Zero(lanes))), old, v);
    }
}

/** dst = formula(d, src ...) where the mask is not 0; all elements have the same type, or the mask's. */
template <class T, class Formula>
struct MaskedStep
{
    using D = hn::ScalableTag<T>;
    static constexpr size_t kLanes = hn::MaxLanes(D());
    static constexpr size_t kUnroll = 4;

    Formula formula;

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, T* dst, const uint8_t* mask,
                               const auto*... src) const
    {
        const auto at = [&](size_t x) HWY_ATTR __attribute__((always_inline))
        {
            return whereMasked(D(), mask + x, formula(D(), hn::LoadU(D(), src + x)...), hn::LoadU(D(), dst + x));
        };
        const hn::Vec<D> results[] = {at(i * kLanes)...};
        (hn::StoreU(results[i], D(), dst + i * kLanes), ...);
    }
};

template <class T, class Formula, class... Planes>
HWY_INLINE vsrStatus mapMasked(Formula formula, size_t width, size_t height, T* dst, uint32_t dstStride,
                               const uint8_t* mask, uint32_t maskStride, Planes... sources)
{
    return mapPlanes(width, height, MaskedStep<T, Formula>{formula}, updated(dst, dstStride), source(mask, maskStride),
                     sources...);
}

/** The step of a body. */
template <class Body>
HWY_INLINE ByteStep<Body> byteStep(Body body)
{
    return {body};
}

/** dst = formula(d, src ..., values[channel]). Three vectors hold whole pixels of 1, 2, 3 and 4 channels. */
template <class T, class Formula>
struct ChannelStep
{
    using D = hn::ScalableTag<T>;
    static constexpr size_t kVector = hn::MaxLanes(D());
    static constexpr size_t kLanes = 3 * kVector;
    static constexpr size_t kUnroll = 2;

    Formula formula;
    const T* pattern;

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, T* dst, const auto*... src) const
    {
        const auto at = [&](size_t k) HWY_ATTR __attribute__((always_inline))
        {
            return formula(D(), hn::LoadU(D(), src + k * kVector)..., hn::Load(D(), pattern + k % 3 * kVector));
        };
        [&]<size_t... k>(std::index_sequence<k...>) HWY_ATTR __attribute__((always_inline))
        {
            const hn::Vec<D> results[] = {at(k)...};
            (hn::StoreU(results[k], D(), dst + k * kVector), ...);
        }
        (std::make_index_sequence<3 * sizeof...(i)>());
    }
};

template <class T, class Formula, class... Planes>
HWY_INLINE vsrStatus mapChannels(Formula formula, size_t width, size_t height, size_t channels, const T* values, T* dst,
                                 uint32_t dstStride, Planes... sources)
{
    using Step = ChannelStep<T, Formula>;
    alignas(64) T pattern[Step::kLanes];
    for (size_t i = 0; i < Step::kLanes; ++i)
    {
        pattern[i] = values[i % channels];
    }
    return mapPlanes(width * channels, height, Step{formula, pattern}, destination(dst, dstStride), sources...);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
