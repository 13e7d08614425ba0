// Blends and differences of images, vector variants.
#include "visora/variants/background.h"
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/difference/visoraDifferenceV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraVariant-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

VSR_VARIANT(vsrImageDiffu8, binary, [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::SaturatedSub(a, b); });
VSR_VARIANT(vsrImageDiffs16, binary, [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::SaturatedSub(a, b); });
VSR_VARIANT(vsrImageDifff32, binary,
            [](auto d, auto a, auto b) HWY_ATTR { return resultWithOneNan(d, hn::Sub(a, b)); });
VSR_VARIANT(vsrImageDiffu8s16, binary,
            [](auto d, auto a, auto b) HWY_ATTR { return hn::Sub(hn::PromoteTo(d, a), hn::PromoteTo(d, b)); });

// Bytes in even and in odd places, each in 16 bits.
template <class D, class V>
HWY_INLINE hn::Vec<D> evenBytes(D d16, V bytes)
{
    return hn::And(hn::BitCast(d16, bytes), hn::Set(d16, uint16_t{0xff}));
}

template <class D, class V>
HWY_INLINE hn::Vec<D> oddBytes(D d16, V bytes)
{
    return hn::ShiftRight<8>(hn::BitCast(d16, bytes));
}

// What is to be shifted down by 8.
template <class D, class V>
HWY_INLINE V blended(D d16, V a, V b, V w)
{
    const auto rest = hn::Sub(hn::Set(d16, uint16_t{256}), w);
    return hn::Add(hn::Add(hn::Mul(a, w), hn::Mul(b, rest)), hn::Set(d16, uint16_t{128}));
}

template <class D, class V, class V16>
HWY_INLINE V blendedBytes(D d, V a, V b, V16 evenWeight, V16 oddWeight)
{
    const hn::Repartition<uint16_t, D> d16;
    const auto even = blended(d16, evenBytes(d16, a), evenBytes(d16, b), evenWeight);
    const auto odd = blended(d16, oddBytes(d16, a), oddBytes(d16, b), oddWeight);
    return hn::BitCast(d, hn::Or(hn::ShiftRight<8>(even), hn::And(odd, hn::Set(d16, uint16_t{0xff00}))));
}

vsrStatus blend(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint8_t* src2,
                uint32_t src2Stride, uint32_t alpha, const uint8_t* alphas, uint32_t alphasStride, uint8_t* dst,
                uint32_t dstStride)
{
    const auto withOne = [=](auto d, auto a, auto b) HWY_ATTR
    {
        const auto weight = hn::Set(hn::Repartition<uint16_t, decltype(d)>(), static_cast<uint16_t>(alpha));
        return blendedBytes(d, a, b, weight, weight);
    };
    const auto withMap = [](auto d, auto a, auto b, auto map) HWY_ATTR
    {
        const hn::Repartition<uint16_t, decltype(d)> d16;
        const auto weight = [](auto v) HWY_ATTR { return hn::Add(v, hn::ShiftRight<7>(v)); };
        return blendedBytes(d, a, b, weight(evenBytes(d16, map)), weight(oddBytes(d16, map)));
    };
    const auto in1 = source(src1, src1Stride);
    const auto in2 = source(src2, src2Stride);
    const auto out = destination(dst, dstStride);
    if (alphas == nullptr)
    {
        return mapPlanes(width, height, elementStep<uint8_t, uint8_t, uint8_t>(withOne), out, in1, in2);
    }
    return mapPlanes(width, height, elementStep<uint8_t, uint8_t, uint8_t, uint8_t>(withMap), out, in1, in2,
                     source(alphas, alphasStride));
}

vsrStatus frameDifference(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                          const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3, uint32_t src3Stride,
                          uint8_t threshold, uint8_t* dst, uint32_t dstStride)
{
    const auto moved = [=](auto d, auto a, auto b, auto c) HWY_ATTR
    {
        const auto distance = [](auto u, auto v) HWY_ATTR
        { return hn::Or(hn::SaturatedSub(u, v), hn::SaturatedSub(v, u)); };
        const auto beyond = hn::SaturatedSub(hn::Min(distance(a, b), distance(b, c)), hn::Set(d, threshold));
        return hn::Not(hn::VecFromMask(d, hn::Eq(beyond, hn::Zero(d))));
    };
    const auto step = elementStep<uint8_t, uint8_t, uint8_t, uint8_t>(moved);
    return mapPlanes(width, height, step, destination(dst, dstStride), source(src1, src1Stride),
                     source(src2, src2Stride), source(src3, src3Stride));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrImageBlendu8, blend);
VSR_VECTOR(vsrFrameDifferenceu8, frameDifference);

#endif
