// Integral images of integers, vector variants: running sums within a register, then the sum of what is to the left and
// the row above.
#include "cpu/visoraPlane.h"
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/integral/visoraIntegralV.cpp"
#include <algorithm>

#include "cpu/integral/visoraIntegral.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Pixels16 = hn::FixedTag<uint16_t, 8>;
using Words = hn::FixedTag<uint32_t, 4>;
using Sums32 = hn::CappedTag<uint32_t, 8>;
using Sums64 = hn::CappedTag<uint64_t, 4>;

// Running sums of eight values whose sum fits 16 bits.
template <class V>
HWY_INLINE V runningSums8(V v)
{
    const Pixels16 d;
    v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
    v = hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
    return hn::Add(v, hn::ShiftLeftLanes<4>(d, v));
}

// Running sums of four values.
template <class V>
HWY_INLINE V runningSums4(V v)
{
    const Words d;
    v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
    return hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
}

// The last of eight 16-bit sums in all lanes.
template <class V>
HWY_INLINE hn::Vec<Sums32> lastOf(V sums)
{
#if HWY_TARGET <= HWY_AVX2
    return hn::Vec<Sums32>{_mm256_broadcastd_epi32(_mm_srli_si128(sums.raw, 14))};
#else
    const Words words;
    return hn::Broadcast<3>(hn::ShiftRight<16>(hn::BitCast(words, sums)));
#endif
}

// The sums of the pixels left of a vector, in all lanes, and how they grow: elements left + within + above.
class Left32
{
  public:
    HWY_INLINE Left32() : left_(hn::Zero(Sums32())) {}

    // Eight elements from 16-bit values, over the ones above them when there are any.
    template <bool kAbove, class V>
    HWY_INLINE void put(V values, const uint32_t* above, uint32_t* out)
    {
        const Sums32 d;
        const auto sums = runningSums8(values);
        const auto store = [&](auto within, size_t at) HWY_ATTR
        {
            auto element = hn::Add(left_, within);
            if constexpr (kAbove)
            {
                element = hn::Add(element, hn::LoadU(d, above + at));
            }
            hn::StoreU(element, d, out + at);
        };
        if constexpr (hn::MaxLanes(Sums32()) == 8)
        {
            store(hn::PromoteTo(d, sums), 0);
        }
        else
        {
            const hn::Half<Pixels16> half;
            store(hn::PromoteTo(d, hn::LowerHalf(half, sums)), 0);
            store(hn::PromoteTo(d, hn::UpperHalf(half, sums)), 4);
        }
        left_ = hn::Add(left_, lastOf(sums));
    }

    HWY_INLINE uint32_t value() const { return hn::GetLane(left_); }

  private:
    hn::Vec<Sums32> left_;
};

HWY_INLINE hn::Vec<Pixels16> loadPixels(const uint8_t* pixels)
{
    return hn::PromoteTo(Pixels16(), hn::LoadU(hn::FixedTag<uint8_t, 8>(), pixels));
}

vsrStatus integrateu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* dst,
                      uint32_t dstStride)
{
    const size_t width = srcWidth;
    std::fill_n(dst, width + 1, 0u);
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* pixels = src + y * srcStride;
        const uint32_t* above = planeRow(dst, dstStride, y) + 1;
        uint32_t* row = planeRow(dst, dstStride, y + 1) + 1;
        row[-1] = 0;
        Left32 left;
        size_t x = 0;
        for (; x + 8 <= width; x += 8)
        {
            left.put<true>(loadPixels(pixels + x), above + x, row + x);
        }
        for (uint32_t sum = left.value(); x < width; ++x)
        {
            row[x] = above[x] + (sum += pixels[x]);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus integrateRows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* dst,
                        uint32_t dstStride)
{
    const size_t width = srcWidth;
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* pixels = src + y * srcStride;
        uint32_t* row = planeRow(dst, dstStride, y) + 1;
        row[-1] = 0;
        Left32 left;
        size_t x = 0;
        for (; x + 8 <= width; x += 8)
        {
            left.put<false>(loadPixels(pixels + x), nullptr, row + x);
        }
        for (uint32_t sum = left.value(); x < width; ++x)
        {
            row[x] = sum += pixels[x];
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus integrateMasked(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          const uint8_t* mask, uint32_t maskStride, uint32_t* sums, uint32_t sumsStride,
                          uint32_t* counts, uint32_t countsStride)
{
    const Pixels16 d;
    const size_t width = srcWidth;
    std::fill_n(sums, width + 1, 0u);
    std::fill_n(counts, width + 1, 0u);
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* pixels = src + y * srcStride;
        const uint8_t* counted = mask + y * maskStride;
        const uint32_t* sumsAbove = planeRow(sums, sumsStride, y) + 1;
        uint32_t* sumsRow = planeRow(sums, sumsStride, y + 1) + 1;
        const uint32_t* countsAbove = planeRow(counts, countsStride, y) + 1;
        uint32_t* countsRow = planeRow(counts, countsStride, y + 1) + 1;
        sumsRow[-1] = countsRow[-1] = 0;
        Left32 sumLeft;
        Left32 countLeft;
        size_t x = 0;
        for (; x + 8 <= width; x += 8)
        {
            const auto out = hn::VecFromMask(d, hn::Eq(loadPixels(counted + x), hn::Zero(d)));
            sumLeft.put<true>(hn::AndNot(out, loadPixels(pixels + x)), sumsAbove + x, sumsRow + x);
            countLeft.put<true>(hn::AndNot(out, hn::Set(d, uint16_t{1})), countsAbove + x, countsRow + x);
        }
        uint32_t sum = sumLeft.value();
        for (uint32_t count = countLeft.value(); x < width; ++x)
        {
            sum += counted[x] != 0 ? pixels[x] : 0;
            count += counted[x] != 0 ? 1 : 0;
            sumsRow[x] = sumsAbove[x] + sum;
            countsRow[x] = countsAbove[x] + count;
        }
    }
    return VISORA_SUCCESS;
}

// Four values of 32 bits, widened to 64 as they are summed.
class Left64
{
  public:
    HWY_INLINE Left64() : left_(hn::Zero(Sums64())) {}

    template <class V>
    HWY_INLINE void put(V values, const uint64_t* above, uint64_t* out)
    {
        const Sums64 d;
        const auto sums = runningSums4(values);
        const auto store = [&](auto within, size_t at) HWY_ATTR
        { hn::StoreU(hn::Add(hn::Add(left_, within), hn::LoadU(d, above + at)), d, out + at); };
        if constexpr (hn::MaxLanes(Sums64()) == 4)
        {
            store(hn::PromoteTo(d, sums), 0);
            left_ = hn::Add(left_, hn::PromoteTo(d, hn::Broadcast<3>(sums)));
        }
        else
        {
            const hn::Half<Words> half;
            store(hn::PromoteTo(d, hn::LowerHalf(half, sums)), 0);
            store(hn::PromoteTo(d, hn::UpperHalf(half, sums)), 2);
            left_ = hn::Add(left_, hn::PromoteTo(d, hn::LowerHalf(half, hn::Broadcast<3>(sums))));
        }
    }

    HWY_INLINE uint64_t value() const { return hn::GetLane(left_); }

  private:
    hn::Vec<Sums64> left_;
};

// values(x) gives four values of 32 bits, value(x) one.
template <class Row, class Values, class Value>
HWY_INLINE vsrStatus integrate64(uint32_t srcWidth, uint32_t srcHeight, uint64_t* dst, uint32_t dstStride, Row rowAt,
                                 Values values, Value value)
{
    const size_t width = srcWidth;
    std::fill_n(dst, width + 1, uint64_t{0});
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const auto* pixels = rowAt(y);
        const uint64_t* above = planeRow(dst, dstStride, y) + 1;
        uint64_t* row = planeRow(dst, dstStride, y + 1) + 1;
        row[-1] = 0;
        Left64 left;
        size_t x = 0;
        for (; x + 4 <= width; x += 4)
        {
            left.put(values(pixels + x), above + x, row + x);
        }
        for (uint64_t sum = left.value(); x < width; ++x)
        {
            sum += value(pixels[x]);
            row[x] = above[x] + sum;
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus integrateSquares(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint64_t* dst,
                           uint32_t dstStride)
{
    return integrate64(
        srcWidth, srcHeight, dst, dstStride, [=](size_t y) { return src + y * srcStride; },
        [](const uint8_t* p) HWY_ATTR
        {
            const auto v = hn::PromoteTo(Words(), hn::LoadU(hn::FixedTag<uint8_t, 4>(), p));
            return hn::Mul(v, v);
        },
        [](uint32_t p) { return p * p; });
}

vsrStatus integrateu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint64_t* dst,
                       uint32_t dstStride)
{
    return integrate64(
        srcWidth, srcHeight, dst, dstStride, [=](size_t y) { return planeRow(src, srcStride, y); },
        [](const uint16_t* p) HWY_ATTR { return hn::PromoteTo(Words(), hn::LoadU(hn::FixedTag<uint16_t, 4>(), p)); },
        [](uint16_t p) { return p; });
}

vsrStatus integrates16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int32_t* dst,
                       uint32_t dstStride)
{
    const hn::FixedTag<int32_t, 4> d;
    const size_t width = srcWidth;
    auto* sums = reinterpret_cast<uint32_t*>(dst);
    std::fill_n(sums, width + 1, 0u);
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const int16_t* pixels = planeRow(src, srcStride, y);
        const uint32_t* above = planeRow(sums, dstStride, y) + 1;
        uint32_t* row = planeRow(sums, dstStride, y + 1) + 1;
        row[-1] = 0;
        auto left = hn::Zero(Words());
        size_t x = 0;
        for (; x + 4 <= width; x += 4)
        {
            const auto within =
                runningSums4(hn::BitCast(Words(), hn::PromoteTo(d, hn::LoadU(hn::FixedTag<int16_t, 4>(), pixels + x))));
            hn::StoreU(hn::Add(hn::Add(left, within), hn::LoadU(Words(), above + x)), Words(), row + x);
            left = hn::Add(left, hn::Broadcast<3>(within));
        }
        for (uint32_t sum = hn::GetLane(left); x < width; ++x)
        {
            row[x] = above[x] + (sum += static_cast<uint32_t>(pixels[x]));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus integrateTilted(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* dst,
                          uint32_t dstStride)
{
    const size_t width = srcWidth;
    std::fill_n(dst, width + 1, 0u);
    for (size_t y = 1; y <= srcHeight; ++y)
    {
        const TiltedRows rows(src, srcStride, dst, dstStride, y, width);
        uint32_t* row = planeRow(dst, dstStride, y);
        size_t done = 0;
        if (y > 1)
        {
            withFittingVector<uint32_t>(
                width - 1,
                [&](auto d) HWY_ATTR
                {
                    const hn::Rebind<uint8_t, decltype(d)> d8;
                    coverRange(1, width, hn::Lanes(d),
                               [&](size_t x) HWY_ATTR
                               {
                                   const auto pixels = [&](const uint8_t* p) HWY_ATTR
                                   { return hn::PromoteTo(d, hn::LoadU(d8, p + x - 1)); };
                                   const auto own = hn::Add(pixels(rows.pixels), pixels(rows.pixelsAbove));
                                   const auto sides =
                                       hn::Add(hn::LoadU(d, rows.up + x - 1), hn::LoadU(d, rows.up + x + 1));
                                   const auto overlap = hn::LoadU(d, rows.up2 + x);
                                   hn::StoreU(hn::Add(hn::Sub(sides, overlap), own), d, row + x);
                               });
                    row[0] = rows.element(0);
                    row[width] = rows.element(width);
                    done = width + 1;
                });
        }
        for (; done <= width; ++done)
        {
            row[done] = rows.element(done);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrIntegrateImageu8, integrateu8);
VSR_VECTOR(vsrIntegrateRowsu8, integrateRows);
VSR_VECTOR(vsrIntegrateImageMaskedu8, integrateMasked);
VSR_VECTOR(vsrIntegrateImageSquaredu8, integrateSquares);
VSR_VECTOR(vsrIntegrateImageu16, integrateu16);
VSR_VECTOR(vsrIntegrateImages16, integrates16);
VSR_VECTOR(vsrIntegrateTiltedu8, integrateTilted);

#endif
