// Operations on the elements of one image, source and destination of one type, vector variants.
#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementUnaryV.cpp"
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
        const D d;
        const auto result = [&](size_t k) HWY_ATTR
        { return formula(d, hn::LoadU(d, src + k * kVector), hn::Load(d, pattern + k * kVector)); };
        const auto first = result(0);
        const auto second = result(1);
        const auto third = result(2);
        hn::StoreU(first, d, dst);
        hn::StoreU(second, d, dst + kVector);
        hn::StoreU(third, d, dst + 2 * kVector);
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

constexpr auto difference = [](auto d, auto a, auto value) HWY_ATTR { return absDiff(d, a, value); };
constexpr auto minus = [](auto /*d*/, auto a, auto value) HWY_ATTR { return hn::SaturatedSub(a, value); };

constexpr auto magnitude = [](auto d, auto a) HWY_ATTR
{
#if HWY_ARCH_ARM_A64
    (void)d;
    return decltype(a)(vqabsq_s16(a.raw));
#else
    return hn::Max(a, hn::SaturatedSub(hn::Zero(d), a));
#endif
};

}  // namespace

VSR_KERNEL(vsrAbsDiffScalaru8, absDiffScalarU8, perChannel, difference);
VSR_KERNEL(vsrAbsDiffScalarf32, absDiffScalarF32, perChannel, difference);
VSR_KERNEL(vsrSubtractu8, subtractU8, perChannel, minus);
VSR_KERNEL(vsrSubtracts16, subtractS16, perChannel, minus);
VSR_KERNEL(vsrAbss16, absS16, unary, magnitude);
VSR_KERNEL(vsrAbsf32, absF32, unary, [](auto /*d*/, auto a) HWY_ATTR { return hn::Abs(a); });
VSR_KERNEL(vsrClamps16, clampS16, unary,
           [](auto d, auto a, int16_t low, int16_t high) HWY_ATTR
           { return hn::Min(hn::Max(a, hn::Set(d, low)), hn::Set(d, high)); });
VSR_KERNEL(vsrClampf32, clampF32, unary,
           [](auto d, auto a, float low, float high) HWY_ATTR
           { return smallerOr(largerOr(a, hn::Set(d, low)), hn::Set(d, high)); });
VSR_KERNEL(vsrBitShifts16, bitShift, unary,
           [](auto d, auto a, int32_t shift) HWY_ATTR { return shifted(d, a, shift); });

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrAbsDiffScalaru8, absDiffScalarU8);
VSR_VECTOR(vsrAbsDiffScalarf32, absDiffScalarF32);
VSR_VECTOR(vsrSubtractu8, subtractU8);
VSR_VECTOR(vsrSubtracts16, subtractS16);
VSR_VECTOR(vsrAbss16, absS16);
VSR_VECTOR(vsrAbsf32, absF32);
VSR_VECTOR(vsrClamps16, clampS16);
VSR_VECTOR(vsrClampf32, clampF32);
VSR_VECTOR(vsrBitShifts16, bitShift);

#endif
