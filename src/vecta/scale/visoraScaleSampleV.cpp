// Chroma resampling, vector variants.
#include <cstring>

#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleSampleV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Down ----

bool downsampleX(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                 uint32_t dstStride)
{
    const size_t pairs = srcWidth / 2;
    const auto reduceRows = [&](auto d) HWY_ATTR
    {
        for (size_t y = 0; y < srcHeight; ++y)
        {
            const uint8_t* row = src + y * srcStride;
            uint8_t* out = dst + y * dstStride;
            coverRange(0, pairs, hn::Lanes(d),
                       [&](size_t x) HWY_ATTR
                       {
                           hn::Vec<decltype(d)> even, odd;
                           loadEvenOdd(d, row + 2 * x, even, odd);
                           hn::StoreU(hn::AverageRound(even, odd), d, out + x);
                       });
            if (srcWidth % 2 != 0)
            {
                out[pairs] = row[srcWidth - 1];
            }
        }
    };
    return withFittingVector<uint8_t>(pairs, reduceRows);
}

#if HWY_ARCH_ARM
// Means of 2x2 bytes of one channel, sixteen of them.
HWY_INLINE uint8x16_t meansOfChannel(uint8x16_t upper0, uint8x16_t upper1, uint8x16_t lower0, uint8x16_t lower1)
{
    const uint16x8_t first = vpadalq_u8(vpaddlq_u8(upper0), lower0);
    const uint16x8_t second = vpadalq_u8(vpaddlq_u8(upper1), lower1);
    return vrshrn_high_n_u16(vrshrn_n_u16(first, 2), second, 2);
}

// Sixteen pairs; neighbours of one channel are added in one step where the channels lie apart.
HWY_INLINE void reducePairs(const uint8_t* upper, const uint8_t* lower, uint8_t* out)
{
    const uint8x16x2_t u0 = vld2q_u8(upper), u1 = vld2q_u8(upper + 32);
    const uint8x16x2_t l0 = vld2q_u8(lower), l1 = vld2q_u8(lower + 32);
    const uint8x16x2_t means = {{meansOfChannel(u0.val[0], u1.val[0], l0.val[0], l1.val[0]),
                                 meansOfChannel(u0.val[1], u1.val[1], l0.val[1], l1.val[1])}};
    vst2q_u8(out, means);
}
#endif

// Means of 2x2 pairs of bytes, Lanes(d) of them.
template <class D>
HWY_INLINE hn::Vec<D> meansOfPairs(D d, const uint8_t* upper, const uint8_t* lower)
{
    hn::Vec<D> a, b, e, f;
    loadEvenOdd(d, reinterpret_cast<const uint16_t*>(upper), a, b);
    loadEvenOdd(d, reinterpret_cast<const uint16_t*>(lower), e, f);
    const auto mean = [d](auto p, auto q, auto r, auto s) HWY_ATTR
    { return hn::ShiftRight<2>(hn::Add(hn::Add(hn::Add(p, q), hn::Add(r, s)), hn::Set(d, 2))); };
    const auto byte = hn::Set(d, 0xff);
    const auto first = mean(hn::And(a, byte), hn::And(b, byte), hn::And(e, byte), hn::And(f, byte));
    const auto second = mean(hn::ShiftRight<8>(a), hn::ShiftRight<8>(b), hn::ShiftRight<8>(e), hn::ShiftRight<8>(f));
    return hn::Or(first, hn::ShiftLeft<8>(second));
}

bool downsamplePairs(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                     uint32_t dstStride)
{
    const size_t columns = srcWidth / 2;
    const auto reduceRows = [&](auto d) HWY_ATTR
    {
        for (size_t y = 0; y < srcHeight; y += 2)
        {
            const uint8_t* upper = src + y * srcStride;
            const uint8_t* lower = y + 1 < srcHeight ? upper + srcStride : upper;
            uint8_t* out = dst + y / 2 * dstStride;
            const auto reduce = [&](size_t x) HWY_ATTR
            { hn::StoreU(meansOfPairs(d, upper + 4 * x, lower + 4 * x), d, reinterpret_cast<uint16_t*>(out + 2 * x)); };
#if HWY_ARCH_ARM
            if (columns >= 16)
            {
                coverRange(0, columns, 16,
                           [&](size_t x) HWY_ATTR { reducePairs(upper + 4 * x, lower + 4 * x, out + 2 * x); });
            }
            else
#endif
            {
                coverRange(0, columns, hn::Lanes(d), reduce);
            }
            for (size_t c = 0; srcWidth % 2 != 0 && c < 2; ++c)
            {
                const size_t last = 2 * size_t{srcWidth} - 2 + c;
                out[2 * columns + c] = static_cast<uint8_t>((upper[last] + lower[last] + 1) >> 1);
            }
        }
    };
    return withFittingVector<uint16_t>(columns, reduceRows);
}

// ---- Up ----

template <class D>
HWY_INLINE void doubleRow(D d, const uint8_t* row, size_t width, uint8_t* out)
{
    using T = hn::TFromD<D>;
    coverRange(0, width, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   const auto v = hn::LoadU(d, reinterpret_cast<const T*>(row) + x);
                   hn::StoreInterleaved2(v, v, d, reinterpret_cast<T*>(out) + 2 * x);
               });
}

template <class D>
HWY_INLINE void doubleRowTwice(D d, const uint8_t* row, size_t width, uint8_t* upper, uint8_t* lower)
{
    using T = hn::TFromD<D>;
    coverRange(0, width, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   const auto v = hn::LoadU(d, reinterpret_cast<const T*>(row) + x);
                   hn::StoreInterleaved2(v, v, d, reinterpret_cast<T*>(upper) + 2 * x);
                   hn::StoreInterleaved2(v, v, d, reinterpret_cast<T*>(lower) + 2 * x);
               });
}

template <class T>
HWY_INLINE bool upsampleX(T /*pixel*/, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          uint8_t* dst, uint32_t dstStride)
{
    const auto doubleRows = [&](auto d) HWY_ATTR
    {
        for (size_t y = 0; y < srcHeight; ++y)
        {
            doubleRow(d, src + y * srcStride, srcWidth, dst + y * dstStride);
        }
    };
    return withFittingVector<T>(srcWidth, doubleRows);
}

template <class T>
HWY_INLINE bool upsampleBoth(T /*pixel*/, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    const auto doubleRows = [&](auto d) HWY_ATTR
    {
        for (size_t y = 0; y < srcHeight; ++y)
        {
            uint8_t* upper = dst + 2 * y * dstStride;
            doubleRowTwice(d, src + y * srcStride, srcWidth, upper, upper + dstStride);
        }
    };
    return withFittingVector<T>(srcWidth, doubleRows);
}

bool upsampleXBytes(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    return upsampleX(uint8_t{}, src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

bool upsampleXPairs(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    return upsampleX(uint16_t{}, src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

bool upsampleBothBytes(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride)
{
    return upsampleBoth(uint8_t{}, src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

bool upsampleBothPairs(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride)
{
    return upsampleBoth(uint16_t{}, src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrDownsampleXBy2u8, downsampleX);
VSR_VECTOR(vsrDownsampleBy2Interleaved2u8, downsamplePairs);
VSR_VECTOR(vsrUpsampleXBy2u8, upsampleXBytes);
VSR_VECTOR(vsrUpsampleXBy2Interleaved2u8, upsampleXPairs);
VSR_VECTOR(vsrUpsampleBy2u8, upsampleBothBytes);
VSR_VECTOR(vsrUpsampleBy2Interleaved2u8, upsampleBothPairs);

// Rows are copied whole, by the platform's own fastest way.
vsrStatus vsrUpsampleYBy2u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* row = src + y * srcStride;
        uint8_t* out = dst + 2 * y * dstStride;
        std::memcpy(out, row, srcWidth);
        std::memcpy(out + dstStride, row, srcWidth);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrUpsampleYBy2Interleaved2u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint8_t* dst, uint32_t dstStride)
{
    return vsrUpsampleYBy2u8V(src, srcWidth * 2, srcHeight, srcStride, dst, dstStride);
}

#endif
