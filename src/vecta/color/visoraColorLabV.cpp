// sRGB to CIE L*a*b* and back, vector variants.
#include <type_traits>

#include "cpu/color/visoraColorLabTables.h"
#include "vecta/visoraExport.h"
#include "visora/variants/color.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorLabV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColorTriples-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** Entries of a table, which has 32 bits to read at each. */
template <class D32, class V32, class T>
HWY_INLINE V32 lookUp([[maybe_unused]] D32 s32, const T* table, V32 index)
{
#if HWY_TARGET <= HWY_AVX2
    constexpr int kMask = std::is_same_v<T, uint8_t> ? 0xFF : 0xFFFF;
    const int* words = reinterpret_cast<const int*>(table);
    const V32 mask = hn::Set(s32, kMask);
    if constexpr (hn::MaxLanes(D32()) == 4)
    {
        return hn::And(V32{_mm_i32gather_epi32(words, index.raw, sizeof(T))}, mask);
    }
    else
    {
        return hn::And(V32{_mm256_i32gather_epi32(words, index.raw, sizeof(T))}, mask);
    }
#else
    HWY_ALIGN int32_t lanes[4];
    hn::Store(index, s32, lanes);
    for (int32_t& lane : lanes)
    {
        lane = table[lane];
    }
    return hn::Load(s32, lanes);
#endif
}

/** The weighted sum of three vectors and a constant. */
template <class D32, class V32>
HWY_INLINE V32 weighted(D32 s32, V32 a, int32_t inA, V32 b, int32_t inB, V32 c, int32_t inC, int32_t more)
{
    return hn::Add(hn::Add(hn::Mul(a, hn::Set(s32, inA)), hn::Mul(b, hn::Set(s32, inB))),
                   hn::Add(hn::Mul(c, hn::Set(s32, inC)), hn::Set(s32, more)));
}

template <class D, class V>
HWY_INLINE auto quartersOf(D d, V bytes)
{
    return widenHalves(d, widen(d, bytes));
}

struct ToLab
{
    template <class D, class V>
    HWY_INLINE Rgb<V> operator()(D d, const Rgb<V>& rgb) const
    {
        const hn::Repartition<int32_t, D> s32;
        const auto r = quartersOf(d, rgb.r), g = quartersOf(d, rgb.g), b = quartersOf(d, rgb.b);
        const auto light = [=](auto index) HWY_ATTR { return lookUp(s32, kLabTables.linear.data(), index); };
        const auto lightR = mapQuarters(light, r), lightG = mapQuarters(light, g), lightB = mapQuarters(light, b);
        const auto rootOf = [=](int32_t inR, int32_t inG, int32_t inB) HWY_ATTR
        {
            return mapQuarters(
                [=](auto red, auto green, auto blue) HWY_ATTR
                {
                    const auto sum = weighted(s32, red, inR, green, inG, blue, inB, 2048);
                    return lookUp(s32, kLabTables.root.data(), hn::ShiftRight<12>(sum));
                },
                lightR, lightG, lightB);
        };
        const auto fx = rootOf(1777, 1541, 778), fy = rootOf(871, 2929, 296), fz = rootOf(73, 448, 3575);
        const auto lightness = [=](auto root) HWY_ATTR
        { return hn::ShiftRight<15>(hn::Sub(hn::Mul(root, hn::Set(s32, 296)), hn::Set(s32, 1320550))); };
        const auto difference = [=](int32_t scale) HWY_ATTR
        {
            return [=](auto plus, auto minus) HWY_ATTR {
                return hn::ShiftRight<15>(
                    hn::Add(hn::Mul(hn::Sub(plus, minus), hn::Set(s32, scale)), hn::Set(s32, 4210688)));
            };
        };
        return {narrowQuarters(d, mapQuarters(lightness, fy)), narrowQuarters(d, mapQuarters(difference(500), fx, fy)),
                narrowQuarters(d, mapQuarters(difference(200), fy, fz))};
    }
};

struct FromLab
{
    template <class D, class V>
    HWY_INLINE Rgb<V> operator()(D d, const Rgb<V>& lab) const
    {
        const hn::Repartition<int32_t, D> s32;
        const hn::Repartition<float, D> f32;
        const auto l = quartersOf(d, lab.r), a = quartersOf(d, lab.g), b = quartersOf(d, lab.b);
        const auto f = mapQuarters([=](auto v) HWY_ATTR { return lookUp(s32, kLabTables.fy.data(), v); }, l);
        const auto y = mapQuarters([=](auto v) HWY_ATTR { return lookUp(s32, kLabTables.luma.data(), v); }, l);
        // The cube, or its straight start; the quotient is cut towards 0 as the division of whole numbers is: it is far
        // enough from the next whole number.
        const auto lightOf = [=](auto t) HWY_ATTR
        {
            const auto cube = hn::ShiftRight<14>(hn::Mul(hn::ShiftRight<14>(hn::Mul(t, t)), t));
            const auto quotient = hn::Div(hn::ConvertTo(f32, hn::Mul(t, hn::Set(s32, 108))), hn::Set(f32, 841.0f));
            const auto line = hn::Sub(hn::ConvertTo(s32, quotient), hn::Set(s32, 290));
            return hn::IfThenElse(hn::Gt(t, hn::Set(s32, 3390)), cube, line);
        };
        const auto x = mapQuarters(
            [=](auto root, auto redGreen) HWY_ATTR
            {
                const auto more = hn::Add(hn::Mul(redGreen, hn::Set(s32, 268435)), hn::Set(s32, 128));
                return lightOf(hn::Add(root, hn::Sub(hn::ShiftRight<13>(more), hn::Set(s32, 4194))));
            },
            f, a);
        const auto z = mapQuarters(
            [=](auto root, auto blueYellow) HWY_ATTR
            {
                const auto less = hn::Add(hn::Mul(blueYellow, hn::Set(s32, 41943)), hn::Set(s32, 16));
                return lightOf(hn::Sub(hn::Add(root, hn::Set(s32, 10484)), hn::ShiftRight<9>(less)));
            },
            f, b);
        const auto channel = [=](int32_t inX, int32_t inY, int32_t inZ) HWY_ATTR
        {
            return narrowQuarters(d, mapQuarters(
                                         [=](auto vx, auto vy, auto vz) HWY_ATTR
                                         {
                                             const auto sum = weighted(s32, vx, inX, vy, inY, vz, inZ, 8192);
                                             const auto index = hn::Min(hn::Max(hn::ShiftRight<14>(sum), hn::Zero(s32)),
                                                                        hn::Set(s32, 4095));
                                             return lookUp(s32, kLabTables.gamma.data(), index);
                                         },
                                         x, y, z));
        };
        return {channel(12615, -6296, -2223), channel(-3773, 7684, 185), channel(217, -836, 4715)};
    }
};

bool toLab(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
           uint32_t dstStride)
{
    return convertTriples(ToLab(), src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

bool fromLab(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
             uint32_t dstStride)
{
    return convertTriples(FromLab(), src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrColorRGB888ToLab888u8, toLab);
VSR_VECTOR(vsrColorLab888ToRGB888u8, fromLab);

#endif
