// Operations that move pixels, vector variants.
#include "visora/variants/warp.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/warp/visoraWarpV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Pixels = hn::FixedTag<uint16_t, 8>;
constexpr size_t kBlock = 8;
constexpr size_t kPixelBytes = 2;

// An 8x8 block of two-byte pixels: source row i becomes column i of the destination. A negative destination step
// walks the rows upward, a reversed source order turns the other way round.
HWY_INLINE void transposeBlock(const uint8_t* src, ptrdiff_t srcStep, uint8_t* dst, ptrdiff_t dstStep)
{
    const Pixels d;
    const hn::Repartition<uint32_t, Pixels> d32;
    const hn::Repartition<uint64_t, Pixels> d64;
    const auto row = [&](ptrdiff_t i) HWY_ATTR
    { return hn::LoadU(d, reinterpret_cast<const uint16_t*>(src + i * srcStep)); };
    const auto store = [&](ptrdiff_t i, auto v) HWY_ATTR
    { hn::StoreU(hn::BitCast(d, v), d, reinterpret_cast<uint16_t*>(dst + i * dstStep)); };

    // Rows i and i + 4 interleaved, then again at every power of two: log2(8) rounds.
    const auto r0 = row(0), r1 = row(1), r2 = row(2), r3 = row(3);
    const auto r4 = row(4), r5 = row(5), r6 = row(6), r7 = row(7);
    const auto a0 = hn::BitCast(d32, hn::InterleaveLower(d, r0, r1)),
               a1 = hn::BitCast(d32, hn::InterleaveUpper(d, r0, r1));
    const auto a2 = hn::BitCast(d32, hn::InterleaveLower(d, r2, r3)),
               a3 = hn::BitCast(d32, hn::InterleaveUpper(d, r2, r3));
    const auto a4 = hn::BitCast(d32, hn::InterleaveLower(d, r4, r5)),
               a5 = hn::BitCast(d32, hn::InterleaveUpper(d, r4, r5));
    const auto a6 = hn::BitCast(d32, hn::InterleaveLower(d, r6, r7)),
               a7 = hn::BitCast(d32, hn::InterleaveUpper(d, r6, r7));
    const auto b0 = hn::BitCast(d64, hn::InterleaveLower(d32, a0, a2)),
               b1 = hn::BitCast(d64, hn::InterleaveUpper(d32, a0, a2));
    const auto b2 = hn::BitCast(d64, hn::InterleaveLower(d32, a1, a3)),
               b3 = hn::BitCast(d64, hn::InterleaveUpper(d32, a1, a3));
    const auto b4 = hn::BitCast(d64, hn::InterleaveLower(d32, a4, a6)),
               b5 = hn::BitCast(d64, hn::InterleaveUpper(d32, a4, a6));
    const auto b6 = hn::BitCast(d64, hn::InterleaveLower(d32, a5, a7)),
               b7 = hn::BitCast(d64, hn::InterleaveUpper(d32, a5, a7));
    store(0, hn::InterleaveLower(d64, b0, b4));
    store(1, hn::InterleaveUpper(d64, b0, b4));
    store(2, hn::InterleaveLower(d64, b1, b5));
    store(3, hn::InterleaveUpper(d64, b1, b5));
    store(4, hn::InterleaveLower(d64, b2, b6));
    store(5, hn::InterleaveUpper(d64, b2, b6));
    store(6, hn::InterleaveLower(d64, b3, b7));
    store(7, hn::InterleaveUpper(d64, b3, b7));
}

// Clockwise: destination column of source row y is height - 1 - y, so blocks read their rows bottom up.
// Anticlockwise: destination row of source column x is width - 1 - x, so blocks write their rows bottom up.
// Blocks at the far edges overlap their neighbours.
HWY_INLINE void quarterTurn(const uint8_t* src, size_t width, size_t height, size_t srcStride, uint8_t* dst,
                            size_t dstStride, bool clockwise)
{
    const auto srcStep = static_cast<ptrdiff_t>(srcStride);
    const auto dstStep = static_cast<ptrdiff_t>(dstStride);
    // A band of source columns wide enough to fill whole cache lines of the source, walked down the image, keeps both
    // sides' lines in the first-level cache.
    constexpr size_t kBand = 64;
    for (size_t band = 0; band < width; band += kBand)
    {
        const size_t bandEnd = HWY_MIN(band + kBand, width);
        coverRange(0, height, kBlock,
                   [&](size_t y) HWY_ATTR
                   {
                       coverRange(bandEnd - band >= kBlock ? band : bandEnd - kBlock, bandEnd, kBlock,
                                  [&](size_t x) HWY_ATTR
                                  {
                                      if (clockwise)
                                      {
                                          transposeBlock(src + (y + kBlock - 1) * srcStride + x * kPixelBytes, -srcStep,
                                                         dst + x * dstStride + (height - kBlock - y) * kPixelBytes,
                                                         dstStep);
                                      }
                                      else
                                      {
                                          transposeBlock(src + y * srcStride + x * kPixelBytes, srcStep,
                                                         dst + (width - 1 - x) * dstStride + y * kPixelBytes, -dstStep);
                                      }
                                  });
                   });
    }
}

HWY_INLINE void halfTurn(const uint8_t* src, size_t width, size_t height, size_t srcStride, uint8_t* dst,
                         size_t dstStride)
{
    const hn::ScalableTag<uint16_t> wide;
    const Pixels narrow;
    for (size_t y = 0; y < height; ++y)
    {
        const auto* from = reinterpret_cast<const uint16_t*>(src + y * srcStride);
        auto* to = reinterpret_cast<uint16_t*>(dst + (height - 1 - y) * dstStride);
        const auto reverse = [&](auto d, size_t x) HWY_ATTR
        { hn::StoreU(hn::Reverse(d, hn::LoadU(d, from + x)), d, to + (width - hn::Lanes(d) - x)); };
        if (width >= hn::Lanes(wide))
        {
            coverRange(0, width, hn::Lanes(wide), [&](size_t x) HWY_ATTR { reverse(wide, x); });
        }
        else
        {
            coverRange(0, width, hn::Lanes(narrow), [&](size_t x) HWY_ATTR { reverse(narrow, x); });
        }
    }
}

vsrStatus rotateInterleaved(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride, uint32_t rotation)
{
    // In place the order of the moves decides what is left: that of the reference.
    if (srcWidth < kBlock || (rotation != 2 && srcHeight < kBlock) || src == dst)
    {
        return vsrRotateImageInterleavedu8C(src, srcWidth, srcHeight, srcStride, dst, dstStride, rotation);
    }
    if (rotation == 2)
    {
        halfTurn(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    }
    else
    {
        quarterTurn(src, srcWidth, srcHeight, srcStride, dst, dstStride, rotation == 1);
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(rotateInterleaved);
}

vsrStatus vsrRotateImageInterleavedu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint8_t* dst, uint32_t dstStride, uint32_t rotation)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(rotateInterleaved)(src, srcWidth, srcHeight, srcStride, dst, dstStride, rotation);
}

#endif
