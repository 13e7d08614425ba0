// Gradients of whole images, for vectors. Included once per instruction set.
#if defined(VISORA_VECTA_GRADIENT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_GRADIENT_INL_H
#undef VISORA_VECTA_GRADIENT_INL_H
#else
#define VISORA_VECTA_GRADIENT_INL_H
#endif

#include "cpu/gradient/visoraGradient.h"
#include "hwy/highway.h"
#if HWY_ARCH_ARM
#include "vecta/gradient/visoraGradientSixteen-inl.h"
#endif
#include "vecta/gradient/visoraGradientRows-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// The two halves of a vector of gradients as floats.
template <GradientKind kind, class D, class V>
HWY_INLINE auto lowFloats(D /*d*/, V gradient)
{
    const hn::RepartitionToWide<D> d32;
    const hn::RebindToFloat<decltype(d32)> dFloat;
    const hn::Half<D> half;
    const auto whole = hn::ConvertTo(dFloat, hn::PromoteTo(d32, hn::LowerHalf(half, gradient)));
    return kind == GradientKind::Sobel ? whole : hn::Mul(whole, hn::Set(dFloat, kFloatScale<kind>));
}

template <GradientKind kind, class D, class V>
HWY_INLINE auto highFloats(D /*d*/, V gradient)
{
    const hn::RepartitionToWide<D> d32;
    const hn::RebindToFloat<decltype(d32)> dFloat;
    const hn::Half<D> half;
    const auto whole = hn::ConvertTo(dFloat, hn::PromoteTo(d32, hn::UpperHalf(half, gradient)));
    return kind == GradientKind::Sobel ? whole : hn::Mul(whole, hn::Set(dFloat, kFloatScale<kind>));
}

template <GradientKind kind, class D, class V>
HWY_INLINE void storePlane(D d, V gradient, int16_t* out)
{
    hn::StoreU(gradient, d, out);
}

template <GradientKind kind, class D, class V>
HWY_INLINE void storePlane(D /*d*/, V gradient, int8_t* out)
{
    const hn::Rebind<int8_t, D> d8;
    hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<kByteShift<kind>>(gradient)), d8, out);
}

template <GradientKind kind, class D, class V>
HWY_INLINE void storePlane(D d, V gradient, float* out)
{
    const hn::RebindToFloat<hn::RepartitionToWide<D>> dFloat;
    hn::StoreU(lowFloats<kind>(d, gradient), dFloat, out);
    hn::StoreU(highFloats<kind>(d, gradient), dFloat, out + hn::Lanes(dFloat));
}

template <GradientKind kind, class D, class V, class T>
HWY_INLINE void storeGradients(D d, V across, V down, size_t x, const GradientPlanes<T>& out)
{
    storePlane<kind>(d, across, out.dx + x);
    storePlane<kind>(d, down, out.dy + x);
}

template <GradientKind kind, class D, class V>
HWY_INLINE void storeGradients(D d, V across, V down, size_t x, const GradientPairs<int16_t>& out)
{
    hn::StoreInterleaved2(across, down, d, out.pairs + 2 * x);
}

template <GradientKind kind, class D, class V>
HWY_INLINE void storeGradients(D d, V across, V down, size_t x, const GradientPairs<int8_t>& out)
{
    // A pair is an element of two bytes, dx in the lower one.
    const auto low = hn::And(hn::ShiftRight<kByteShift<kind>>(across), hn::Set(d, int16_t{0xff}));
    const auto high = hn::ShiftLeft<8>(hn::ShiftRight<kByteShift<kind>>(down));
    const hn::Repartition<int8_t, D> d8;
    hn::StoreU(hn::BitCast(d8, hn::Or(low, high)), d8, out.pairs + 2 * x);
}

template <GradientKind kind, class D, class V>
HWY_INLINE void storeGradients(D d, V across, V down, size_t x, const GradientPairs<float>& out)
{
    const hn::RebindToFloat<hn::RepartitionToWide<D>> dFloat;
    float* pairs = out.pairs + 2 * x;
    hn::StoreInterleaved2(lowFloats<kind>(d, across), lowFloats<kind>(d, down), dFloat, pairs);
    hn::StoreInterleaved2(highFloats<kind>(d, across), highFloats<kind>(d, down), dFloat, pairs + hn::Lanes(d));
}

template <GradientKind kind, class D, class Out>
HWY_INLINE void gradientStep(D d, const GradientRows& rows, size_t x, const Out& out)
{
    if constexpr (kind == GradientKind::Central)
    {
        storeGradients<kind>(d, minus(d, rows.centre + x + 1, rows.centre + x - 1),
                             minus(d, rows.below + x, rows.above + x), x, out);
    }
    else
    {
        hn::Vec<D> across, down;
        gradientAt<kSideWeight<kind>, kCentreWeight<kind>>(d, rows.above, rows.centre, rows.below, x, across, down);
        storeGradients<kind>(d, across, down, x, out);
    }
}

template <class T>
HWY_INLINE const T* firstElement(const GradientPlanes<T>& row)
{
    return row.dx;
}

template <class T>
HWY_INLINE auto firstElement(const GradientPairs<T>& row)
{
    struct Pair
    {
        T dx, dy;
    };
    return reinterpret_cast<const Pair*>(row.pairs);
}

// The pixels of a row but its first and last.
template <GradientKind kind, class D, class Out>
HWY_INLINE void gradientRow(D d, const GradientRows& rows, const Out& out)
{
#if HWY_ARCH_ARM
    constexpr size_t kTogether = 16;
    if (rows.width >= kTogether + 2)
    {
        return coverRange(1, rows.width - 1, kTogether,
                          [=](size_t x) HWY_ATTR { gradientsOfSixteen<kind>(rows, x, out); });
    }
#endif
    coverAligned(1, rows.width - 1, hn::Lanes(d), firstElement(out),
                 [&](size_t x) HWY_ATTR { gradientStep<kind>(d, rows, x, out); });
}

template <GradientKind kind, class Out>
HWY_INLINE vsrStatus vectorGradients(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                     const Out& out, uint32_t gradStride)
{
    const bool done = withFittingVector<int16_t>(width < 2 ? 0 : width - 2,
                                                 [&](auto d) HWY_ATTR
                                                 {
                                                     for (uint32_t y = 0; y < height; ++y)
                                                     {
                                                         const GradientRows rows(src, width, height, srcStride, y);
                                                         const Out outRow = out.row(y, gradStride);
                                                         gradientRow<kind>(d, rows, outRow);
                                                         putGradient<kind>(rows, 0, outRow);
                                                         putGradient<kind>(rows, width - 1, outRow);
                                                     }
                                                 });
    if (!done)
    {
        gradients<kind>(src, width, height, srcStride, out, gradStride);
    }
    return VISORA_SUCCESS;
}

template <GradientKind kind, class T>
HWY_INLINE vsrStatus planarGradients(KindTag<kind> /*kind*/, const uint8_t* src, uint32_t width, uint32_t height,
                                     uint32_t srcStride, T* dx, T* dy, uint32_t gradStride)
{
    return vectorGradients<kind>(src, width, height, srcStride, GradientPlanes<T>{dx, dy}, gradStride);
}

template <GradientKind kind, class T>
HWY_INLINE vsrStatus pairedGradients(KindTag<kind> /*kind*/, const uint8_t* src, uint32_t width, uint32_t height,
                                     uint32_t srcStride, T* pairs, uint32_t gradStride)
{
    return vectorGradients<kind>(src, width, height, srcStride, GradientPairs<T>{pairs}, gradStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
