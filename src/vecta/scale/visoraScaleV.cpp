// Downscalers of fixed ratio, vector variants.
#include <algorithm>
#include <cstring>

#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/scale/visoraScaleBoxes.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Sums of neighbouring pixels: lane i is pixel 2i plus pixel 2i + 1. One instruction, where Highway would take three.
template <class D>
HWY_INLINE auto pairSums(D d, const uint8_t* pixels)
{
    using V16 = hn::Vec<hn::RepartitionToWide<D>>;
    const auto v = hn::LoadU(d, pixels);
#if HWY_ARCH_ARM
    return V16(vpaddlq_u8(v.raw));
#else
    const auto ones = hn::Set(hn::RebindToSigned<D>(), int8_t{1});
    if constexpr (hn::MaxLanes(D()) == 16)
    {
        return V16{_mm_maddubs_epi16(v.raw, ones.raw)};
    }
#if HWY_TARGET <= HWY_AVX2
    else if constexpr (hn::MaxLanes(D()) == 32)
    {
        return V16{_mm256_maddubs_epi16(v.raw, ones.raw)};
    }
#endif
#if HWY_TARGET <= HWY_AVX3
    else
    {
        return V16{_mm512_maddubs_epi16(v.raw, ones.raw)};
    }
#endif
#endif
}

// The same for lanes of 16 bits, whose values are below 2^15.
template <class D32, class V16>
HWY_INLINE hn::Vec<D32> sumsOfPairs([[maybe_unused]] D32 d32, V16 v)
{
#if HWY_ARCH_ARM
    return hn::Vec<D32>(vpaddlq_u16(v.raw));
#else
    const hn::Repartition<int16_t, D32> s16;
    auto none = hn::Zero(hn::RebindToSigned<D32>());
    return hn::BitCast(d32, hn::ReorderWidenMulAccumulate(hn::RebindToSigned<D32>(), hn::BitCast(s16, v),
                                                          hn::Set(s16, int16_t{1}), none, none));
#endif
}

#if HWY_ARCH_ARM
// Means of 2x2 boxes of two rows: pairs added up and accumulated, shifted and narrowed at once.
template <bool rounded>
HWY_INLINE uint8x16_t meansBy2(const uint8_t* upper, const uint8_t* lower)
{
    const uint8x16x2_t u = {{vld1q_u8(upper), vld1q_u8(upper + 16)}};
    const uint8x16x2_t l = {{vld1q_u8(lower), vld1q_u8(lower + 16)}};
    const uint16x8_t a = vpadalq_u8(vpaddlq_u8(u.val[0]), l.val[0]);
    const uint16x8_t b = vpadalq_u8(vpaddlq_u8(u.val[1]), l.val[1]);
    if constexpr (rounded)
    {
        return vrshrn_high_n_u16(vrshrn_n_u16(a, 2), b, 2);
    }
    else
    {
        return vshrn_high_n_u16(vshrn_n_u16(a, 2), b, 2);
    }
}
#endif

template <bool rounded, class D>
HWY_INLINE void averageRowBy2(D d, const uint8_t* upper, const uint8_t* lower, size_t dstWidth, uint8_t* out)
{
    const size_t lanes = hn::Lanes(d);
#if HWY_ARCH_ARM
    static_assert(hn::MaxLanes(D()) == 16);
    size_t left = dstWidth;
    for (; left >= 2 * lanes; left -= 2 * lanes, upper += 4 * lanes, lower += 4 * lanes, out += 2 * lanes)
    {
        const auto first = meansBy2<rounded>(upper, lower);
        const auto second = meansBy2<rounded>(upper + 32, lower + 32);
        vst1q_u8(out, first);
        vst1q_u8(out + 16, second);
    }
    coverRange(0, left, lanes,
               [&](size_t x) HWY_ATTR { vst1q_u8(out + x, meansBy2<rounded>(upper + 2 * x, lower + 2 * x)); });
#else
    const auto means = [&](size_t x) HWY_ATTR
    {
        auto sum = hn::Add(pairSums(d, upper + x), pairSums(d, lower + x));
        if constexpr (rounded)
        {
            sum = hn::Add(sum, hn::Set(hn::RepartitionToWide<D>(), 2));
        }
        return hn::ShiftRight<2>(sum);
    };
    coverRange(0, dstWidth, lanes,
               [&](size_t x) HWY_ATTR
               { hn::StoreU(narrowInOrder(d, means(2 * x), means(2 * x + lanes)), d, out + x); });
#endif
}

template <bool rounded>
HWY_INLINE bool averageBy2IfWide(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                                 uint32_t dstStride)
{
    const size_t stride = srcStride;
    return withFittingVector<uint8_t>(width / 2,
                                      [&](auto d) HWY_ATTR
                                      {
                                          for (size_t y = 0; y < height / 2; ++y)
                                          {
                                              const uint8_t* rows = src + y * 2 * stride;
                                              averageRowBy2<rounded>(d, rows, rows + stride, width / 2,
                                                                     dst + y * dstStride);
                                          }
                                      });
}

bool averageBy2(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                uint32_t dstStride)
{
    return averageBy2IfWide<false>(src, width, height, srcStride, dst, dstStride);
}

bool averageBy2Rounded(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride)
{
    return averageBy2IfWide<true>(src, width, height, srcStride, dst, dstStride);
}

#if HWY_ARCH_ARM
// Sums of four rows' pairs of pixels.
HWY_INLINE uint16x8_t pairSumsOf4(const uint8_t* rows, size_t stride)
{
    uint16x8_t sum = vpaddlq_u8(vld1q_u8(rows));
    sum = vpadalq_u8(sum, vld1q_u8(rows + stride));
    sum = vpadalq_u8(sum, vld1q_u8(rows + 2 * stride));
    return vpadalq_u8(sum, vld1q_u8(rows + 3 * stride));
}

template <bool rounded>
HWY_INLINE uint8x16_t meansBy4(const uint8_t* rows, size_t stride)
{
    const uint16x8_t a = vpaddq_u16(pairSumsOf4(rows, stride), pairSumsOf4(rows + 16, stride));
    const uint16x8_t b = vpaddq_u16(pairSumsOf4(rows + 32, stride), pairSumsOf4(rows + 48, stride));
    return rounded ? vrshrn_high_n_u16(vrshrn_n_u16(a, 4), b, 4) : vshrn_high_n_u16(vshrn_n_u16(a, 4), b, 4);
}
#endif

template <bool rounded, class D>
HWY_INLINE void averageRowBy4(D d, const uint8_t* rows, size_t stride, size_t dstWidth, uint8_t* out)
{
    const hn::RepartitionToWide<D> d16;
    const hn::RepartitionToWide<decltype(d16)> d32;
    const size_t lanes = hn::Lanes(d);
#if HWY_ARCH_ARM
    coverRange(0, dstWidth, lanes,
               [&](size_t x) HWY_ATTR { vst1q_u8(out + x, meansBy4<rounded>(rows + 4 * x, stride)); });
    (void)d16;
    (void)d32;
#else
    const auto means = [&](size_t x) HWY_ATTR
    {
        const auto pairs = hn::Add(hn::Add(pairSums(d, rows + x), pairSums(d, rows + stride + x)),
                                   hn::Add(pairSums(d, rows + 2 * stride + x), pairSums(d, rows + 3 * stride + x)));
        auto sum = sumsOfPairs(d32, pairs);
        if constexpr (rounded)
        {
            sum = hn::Add(sum, hn::Set(d32, 8));
        }
        return hn::ShiftRight<4>(sum);
    };
    coverRange(0, dstWidth, lanes,
               [&](size_t x) HWY_ATTR
               {
                   const auto low = narrowInOrder(d16, means(4 * x), means(4 * x + lanes));
                   const auto high = narrowInOrder(d16, means(4 * x + 2 * lanes), means(4 * x + 3 * lanes));
                   hn::StoreU(narrowInOrder(d, low, high), d, out + x);
               });
#endif
}

template <bool rounded>
HWY_INLINE bool averageBy4IfWide(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                                 uint32_t dstStride)
{
    const size_t stride = srcStride;
    return withFittingVector<uint8_t>(width / 4,
                                      [&](auto d) HWY_ATTR
                                      {
                                          for (size_t y = 0; y < height / 4; ++y)
                                          {
                                              averageRowBy4<rounded>(d, src + y * 4 * stride, stride, width / 4,
                                                                     dst + y * dstStride);
                                          }
                                      });
}

bool averageBy4(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                uint32_t dstStride)
{
    return averageBy4IfWide<false>(src, width, height, srcStride, dst, dstStride);
}

bool averageBy4Rounded(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride)
{
    return averageBy4IfWide<true>(src, width, height, srcStride, dst, dstStride);
}

// ---- 3:2 ----

using Bytes = hn::ScalableTag<uint8_t>;
using Words = hn::RepartitionToWide<Bytes>;
using WordVector = hn::Vec<Words>;

// A 128-bit block of pixels serves four 3x3 blocks, twelve columns, and makes eight output columns.
constexpr size_t kBlockColumns = 12;

struct ThreeRows
{
    const uint8_t* top;
    const uint8_t* middle;
    const uint8_t* bottom;
};

// Pixels such that each 128-bit block begins twelve pixels behind the one before it. Reads a whole vector.
HWY_INLINE hn::Vec<Bytes> loadBlocks(const uint8_t* pixels)
{
    const Bytes d;
    const auto v = hn::LoadU(d, pixels);
    const hn::Repartition<uint32_t, Bytes> d32;
    if constexpr (hn::MaxLanes(Bytes()) == 16)
    {
        return v;
    }
    else
    {
        alignas(64) static constexpr int32_t kQuads[16] = {0, 1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 9, 10, 11, 12};
        return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(d32, v), hn::SetTableIndices(d32, kQuads)));
    }
}

template <class V>
HWY_INLINE V timesThree(V v)
{
    return hn::Add(hn::Add(v, v), v);
}

// Three times the corner pixel plus the edge pixel beside it, for each output column of one source row.
HWY_INLINE WordVector weighRow(const uint8_t* pixels)
{
    const Bytes d;
    const Words d16;
    alignas(16) static constexpr uint8_t kCornerAndEdge[16] = {0, 1, 2, 1, 3, 4, 5, 4, 6, 7, 8, 7, 9, 10, 11, 10};
    const auto pairs = hn::BitCast(d16, hn::TableLookupBytes(loadBlocks(pixels), hn::LoadDup128(d, kCornerAndEdge)));
    return hn::Add(timesThree(hn::And(pairs, hn::Set(d16, 0xff))), hn::ShiftRight<8>(pairs));
}

// Two rows of Lanes(Bytes) outputs. Reads one vector beyond half the columns that it needs.
HWY_INLINE void reduceStep(const ThreeRows& rows, size_t x, uint8_t* upper, uint8_t* lower)
{
    const Bytes d;
    const size_t half = hn::Lanes(d) / 16 * kBlockColumns;
    const auto outer = [](WordVector edgeRow, WordVector middle) HWY_ATTR
    { return hn::ShiftRight<4>(hn::Add(timesThree(edgeRow), middle)); };
    const WordVector middle0 = weighRow(rows.middle + x);
    const WordVector middle1 = weighRow(rows.middle + x + half);
    hn::StoreU(narrowInOrder(d, outer(weighRow(rows.top + x), middle0), outer(weighRow(rows.top + x + half), middle1)),
               d, upper);
    hn::StoreU(
        narrowInOrder(d, outer(weighRow(rows.bottom + x), middle0), outer(weighRow(rows.bottom + x + half), middle1)),
        d, lower);
}

// `columns` is a multiple of three.
HWY_INLINE void reduceRows(const ThreeRows& rows, size_t columns, uint8_t* upper, uint8_t* lower)
{
    constexpr size_t kMaxLanes = hn::MaxLanes(Bytes());
    const size_t lanes = hn::Lanes(Bytes());
    const size_t step = lanes / 16 * kBlockColumns * 2;
    const size_t reach = step / 2 + lanes;
    size_t x = 0;
    for (; x + reach <= columns; x += step)
    {
        reduceStep(rows, x, upper + x / 3 * 2, lower + x / 3 * 2);
    }

    // The rest goes through copies that have room for the vectors' reach.
    const size_t rest = columns - x;
    if (rest == 0)
    {
        return;
    }
    uint8_t in[3][4 * kMaxLanes] = {};
    uint8_t out[2][3 * kMaxLanes];
    std::memcpy(in[0], rows.top + x, rest);
    std::memcpy(in[1], rows.middle + x, rest);
    std::memcpy(in[2], rows.bottom + x, rest);
    for (size_t i = 0; i < rest; i += step)
    {
        reduceStep({in[0], in[1], in[2]}, i, out[0] + i / 3 * 2, out[1] + i / 3 * 2);
    }
    std::memcpy(upper + x / 3 * 2, out[0], rest / 3 * 2);
    std::memcpy(lower + x / 3 * 2, out[1], rest / 3 * 2);
}

int reduce3To2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
               uint32_t dstStride)
{
    if (srcWidth < 3 || srcHeight < 3)
    {
        return 1;
    }
    const size_t stride = srcStride;
    for (size_t y = 0; y < srcHeight / 3; ++y)
    {
        const uint8_t* top = src + y * 3 * stride;
        uint8_t* upper = dst + y * 2 * dstStride;
        reduceRows({top, top + stride, top + 2 * stride}, srcWidth / 3 * size_t{3}, upper, upper + dstStride);
    }
    return 0;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(averageBy2);
HWY_EXPORT(averageBy2Rounded);
HWY_EXPORT(averageBy4);
HWY_EXPORT(averageBy4Rounded);
HWY_EXPORT(reduce3To2);
}  // namespace visora

bool visora::roundedAverageBy2(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                               uint32_t dstStride)
{
    return HWY_DYNAMIC_DISPATCH(averageBy2Rounded)(src, width, height, srcStride, dst, dstStride);
}

bool visora::roundedAverageBy4(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                               uint32_t dstStride)
{
    return HWY_DYNAMIC_DISPATCH(averageBy4Rounded)(src, width, height, srcStride, dst, dstStride);
}

int vsrScaleDownBy2u8V(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(averageBy2)(src, width, height, srcStride, dst, dstStride)
               ? 0
               : vsrScaleDownBy2u8C(src, width, height, srcStride, dst, dstStride);
}

int vsrScaleDownBy4u8V(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(averageBy4)(src, width, height, srcStride, dst, dstStride)
               ? 0
               : vsrScaleDownBy4u8C(src, width, height, srcStride, dst, dstStride);
}

int vsrScaleDown3To2u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                        uint32_t dstStride)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(reduce3To2)(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

#endif
