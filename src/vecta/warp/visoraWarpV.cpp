// Operations that move pixels, vector variants.
#include <cstddef>

#include "visora/variants/warp.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/warp/visoraWarpV.cpp"
#include "hwy/cache_control.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

// Loops over arrays of vectors must be unrolled for these to live in registers.
#ifndef VISORA_UNROLL
#define VISORA_UNROLL _Pragma("GCC unroll 16")
#endif

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// A square block as large as a vector has elements: source row i becomes column i of the destination. A negative
// destination step walks the rows upward, a reversed source order turns the other way round.
template <class T>
HWY_INLINE void transposeBlock(const uint8_t* src, ptrdiff_t srcStep, uint8_t* dst, ptrdiff_t dstStep)
{
    constexpr size_t kRows = 16 / sizeof(T);
    const hn::FixedTag<T, kRows> d;
    hn::Vec<decltype(d)> rows[kRows];
    hn::Vec<decltype(d)> mixed[kRows];
    VISORA_UNROLL for (size_t i = 0; i < kRows; ++i)
    {
        rows[i] = hn::LoadU(d, reinterpret_cast<const T*>(src + static_cast<ptrdiff_t>(i) * srcStep));
    }
    // Rows of the upper half interleaved with those of the lower one, log2(kRows) times.
    VISORA_UNROLL for (size_t step = 1; step < kRows; step *= 2)
    {
        VISORA_UNROLL for (size_t i = 0; i < kRows / 2; ++i)
        {
            mixed[2 * i] = hn::InterleaveLower(d, rows[i], rows[i + kRows / 2]);
            mixed[2 * i + 1] = hn::InterleaveUpper(d, rows[i], rows[i + kRows / 2]);
        }
        VISORA_UNROLL for (size_t i = 0; i < kRows; ++i)
        {
            rows[i] = mixed[i];
        }
    }
    VISORA_UNROLL for (size_t i = 0; i < kRows; ++i)
    {
        hn::StoreU(rows[i], d, reinterpret_cast<T*>(dst + static_cast<ptrdiff_t>(i) * dstStep));
    }
}

enum class Turn
{
    None,  // transposed
    Clockwise,
    Anticlockwise
};

// Clockwise: destination column of source row y is height - 1 - y, so blocks read their rows bottom up.
// Anticlockwise: destination row of source column x is width - 1 - x, so blocks write their rows bottom up.
// Blocks at the far edges overlap their neighbours. Needs a block each way.
template <class T>
HWY_INLINE void exchangeAxes(const uint8_t* src, size_t width, size_t height, size_t srcStride, uint8_t* dst,
                             size_t dstStride, Turn turn)
{
    constexpr size_t kBlock = 16 / sizeof(T);
    constexpr size_t kBlocksAhead = 4;
    constexpr size_t kLineBytes = 64;
    const auto srcStep = static_cast<ptrdiff_t>(srcStride);
    const auto dstStep = static_cast<ptrdiff_t>(dstStride);
    const auto moveBlock = [&](size_t x, size_t y) HWY_ATTR
    {
        const uint8_t* from = src + y * srcStride + x * sizeof(T);
        // The processor does not foresee where a band goes on, one cache line a row.
        if (const size_t ahead = y + kBlocksAhead * kBlock; x * sizeof(T) % kLineBytes == 0 && ahead + kBlock <= height)
        {
            for (size_t row = ahead; row < ahead + kBlock; ++row)
            {
                hwy::Prefetch(src + row * srcStride + x * sizeof(T));
            }
        }
        switch (turn)
        {
            case Turn::Clockwise:
                transposeBlock<T>(from + (kBlock - 1) * srcStride, -srcStep,
                                  dst + x * dstStride + (height - kBlock - y) * sizeof(T), dstStep);
                break;
            case Turn::Anticlockwise:
                transposeBlock<T>(from, srcStep, dst + (width - 1 - x) * dstStride + y * sizeof(T), -dstStep);
                break;
            default:
                transposeBlock<T>(from, srcStep, dst + x * dstStride + y * sizeof(T), dstStep);
                break;
        }
    };
    // A band of source columns as wide as a cache line, walked down the image, keeps both sides' lines in the
    // first-level cache.
    constexpr size_t kBand = kLineBytes / sizeof(T);
    for (size_t band = 0; band < width; band += kBand)
    {
        const size_t bandEnd = HWY_MIN(band + kBand, width);
        const size_t bandBegin = bandEnd - band >= kBlock ? band : bandEnd - kBlock;
        coverRange(0, height, kBlock,
                   [&](size_t y) HWY_ATTR
                   { coverRange(bandBegin, bandEnd, kBlock, [&](size_t x) HWY_ATTR { moveBlock(x, y); }); });
    }
}

template <class T>
HWY_INLINE bool turned(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride, Turn turn)
{
    if (width < 16 / sizeof(T) || height < 16 / sizeof(T))
    {
        return false;
    }
    exchangeAxes<T>(src, width, height, srcStride, dst, dstStride, turn);
    return true;
}

constexpr Turn quarterTurn(uint32_t rotation)
{
    return rotation == 1 ? Turn::Clockwise : Turn::Anticlockwise;
}

bool rotateInterleaved(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride, uint32_t rotation)
{
    // In place the order of the moves decides what is left: that of the reference.
    if (src == dst)
    {
        return false;
    }
    if (rotation == 2)
    {
        return vsrFlipu8V(src, srcWidth, srcHeight, srcStride, 2, VISORA_FLIP_BOTH, dst, dstStride) == VISORA_SUCCESS;
    }
    return turned<uint16_t>(src, srcWidth, srcHeight, srcStride, dst, dstStride, quarterTurn(rotation));
}

bool rotatePlane(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                 uint32_t dstStride, uint32_t rotation)
{
    if (rotation == 2)
    {
        return vsrFlipu8V(src, srcWidth, srcHeight, srcStride, 1, VISORA_FLIP_BOTH, dst, dstStride) == VISORA_SUCCESS;
    }
    return turned<uint8_t>(src, srcWidth, srcHeight, srcStride, dst, dstStride, quarterTurn(rotation));
}

bool transposeBytes(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    return turned<uint8_t>(src, srcWidth, srcHeight, srcStride, dst, dstStride, Turn::None);
}

// Bits are moved, whatever they mean.
bool transposeFloats(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                     uint32_t dstStride)
{
    return turned<uint32_t>(reinterpret_cast<const uint8_t*>(src), srcWidth, srcHeight, srcStride / 4 * 4,
                            reinterpret_cast<uint8_t*>(dst), dstStride / 4 * 4, Turn::None);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrRotateImageInterleavedu8, rotateInterleaved);
VSR_VECTOR(vsrRotatePlaneu8, rotatePlane);
VSR_VECTOR(vsrTransposeu8, transposeBytes);
VSR_VECTOR(vsrTransposef32, transposeFloats);

#endif
