// Operations that move pixels, vector variants.
#include <cstddef>
#include <optional>

#include "cpu/visoraScratch.h"
#include "visora/variants/warp.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/warp/visoraWarpV.cpp"
#include "hwy/cache_control.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraStream-inl.h"
#include "vecta/visoraTurn-inl.h"
#include "vecta/visoraUnroll.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Vectors of 64 bytes turn square blocks, whose rows are loaded whole: the 128 bits of one column's rows, which other
// blocks are put together from, lie in the same banks of the first cache and are loaded one at a time. Blocks of pairs
// are faster from these all the same: a square of theirs has a few vectors more than there are registers.
template <class D>
constexpr bool kTurnsSquares = (HWY_TARGET <= HWY_AVX3) && hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 64 &&
                               sizeof(hn::TFromD<D>) != 2;

template <class D>
constexpr size_t kBlockColumns = kTurnsSquares<D> ? hn::MaxLanes(D()) : 16 / sizeof(hn::TFromD<D>);

// Vectors of `count` rows to vectors of as many columns, each 128 bits of them by itself: rows of the upper half
// interleaved with those of the lower one, log2(count) times.
template <size_t count, class D>
HWY_INLINE void turnParts(D d, hn::Vec<D>* rows)
{
    hn::Vec<D> mixed[count];
    VISORA_UNROLL for (size_t step = 1; step < count; step *= 2)
    {
        VISORA_UNROLL for (size_t i = 0; i < count / 2; ++i)
        {
            mixed[2 * i] = hn::InterleaveLower(d, rows[i], rows[i + count / 2]);
            mixed[2 * i + 1] = hn::InterleaveUpper(d, rows[i], rows[i + count / 2]);
        }
        VISORA_UNROLL for (size_t i = 0; i < count; ++i)
        {
            rows[i] = mixed[i];
        }
    }
}

// Source row i becomes column i of the destination. A negative destination step walks the rows upward, a reversed
// source order turns the other way round. The rows of the block that begins `ahead` bytes further on are fetched
// meanwhile.
template <class D>
HWY_INLINE void transposeSquare(D d, const uint8_t* src, ptrdiff_t srcStep, uint8_t* dst, ptrdiff_t dstStep,
                                size_t ahead)
{
    using T = hn::TFromD<D>;
    constexpr size_t kParts = hn::MaxLanes(D()) / 4;  // as many rows as 128 bits have elements
    using Quads = hn::Repartition<float, D>;
    const Quads quads;
    hn::Vec<D> parts[4][kParts];
    const auto loadRows = [&](size_t i) HWY_ATTR
    {
        const auto load = [&](size_t part) HWY_ATTR
        {
            const uint8_t* from = src + static_cast<ptrdiff_t>(i + part * kParts) * srcStep;
            hwy::Prefetch(from + ahead);
            return hn::BitCast(quads, hn::LoadU(d, reinterpret_cast<const T*>(from)));
        };
        const Block<Quads> columns = turnedQuads(quads, Block<Quads>{load(0), load(1), load(2), load(3)});
        parts[0][i] = hn::BitCast(d, columns.v0);
        parts[1][i] = hn::BitCast(d, columns.v1);
        parts[2][i] = hn::BitCast(d, columns.v2);
        parts[3][i] = hn::BitCast(d, columns.v3);
    };
    const auto storePart = [&](size_t part) HWY_ATTR
    {
        hn::Vec<D> rows[kParts];
        VISORA_UNROLL for (size_t i = 0; i < kParts; ++i)
        {
            rows[i] = parts[part][i];
        }
        turnParts<kParts>(d, rows);
        VISORA_UNROLL for (size_t i = 0; i < kParts; ++i)
        {
            hn::StoreU(rows[i], d, reinterpret_cast<T*>(dst + static_cast<ptrdiff_t>(part * kParts + i) * dstStep));
        }
    };
    if constexpr (kParts < 16)
    {
        VISORA_UNROLL for (size_t i = 0; i < kParts; ++i)
        {
            loadRows(i);
        }
        VISORA_UNROLL for (size_t part = 0; part < 4; ++part)
        {
            storePart(part);
        }
    }
    else
    {
        // More vectors than there are registers.
#pragma GCC unroll 1
        for (size_t i = 0; i < kParts; ++i)
        {
            loadRows(i);
        }
#pragma GCC unroll 1
        for (size_t part = 0; part < 4; ++part)
        {
            storePart(part);
        }
    }
}

// As transposeSquare, of as many source columns as 128 bits have elements. Each 128 bits of the vectors are a square
// block of their own, so that the rows that are written are as long as vectors.
template <class D>
HWY_INLINE void transposeColumns(D d, const uint8_t* src, ptrdiff_t srcStep, uint8_t* dst, ptrdiff_t dstStep)
{
    using T = hn::TFromD<D>;
    constexpr size_t kColumns = 16 / sizeof(T);
    const hn::FixedTag<T, kColumns> part;
#if HWY_ARCH_X86
    // Else compilers keep the pointers of all rows between blocks, on the stack: loading them costs more than the rows.
    asm volatile("" : "+r"(src), "+r"(srcStep), "+r"(dst), "+r"(dstStep));
#endif
    const auto loadPart = [&](size_t row) HWY_ATTR
    { return hn::LoadU(part, reinterpret_cast<const T*>(src + static_cast<ptrdiff_t>(row) * srcStep)); };
    if constexpr (kColumns == 4)
    {
        // In halves of a vector: compilers make interleaved stores of single elements, which cost more.
        const Block<D> columns = loadColumns(d, loadPart);
        const hn::Vec<D> all[] = {columns.v0, columns.v1, columns.v2, columns.v3};
        VISORA_UNROLL for (size_t i = 0; i < kColumns; ++i)
        {
            hn::StoreU(all[i], d, reinterpret_cast<T*>(dst + static_cast<ptrdiff_t>(i) * dstStep));
        }
        return;
    }
    hn::Vec<D> rows[kColumns];
    VISORA_UNROLL for (size_t i = 0; i < kColumns; ++i)
    {
        rows[i] = sideBySide(d, i, loadPart);
    }
    turnParts<kColumns>(d, rows);
    VISORA_UNROLL for (size_t i = 0; i < kColumns; ++i)
    {
        hn::StoreU(rows[i], d, reinterpret_cast<T*>(dst + static_cast<ptrdiff_t>(i) * dstStep));
    }
}

constexpr size_t kLineBytes = 64;
constexpr size_t kBandBytes = (HWY_ARCH_X86 ? 4 : 1) * kLineBytes;
// Rows of tiles, which lie a line further apart than they are long, so that they do not meet in the same few places of
// the first cache.
constexpr size_t kTileRowBytes = 512;
constexpr size_t kTileStride = kTileRowBytes + kLineBytes;

enum class Turn
{
    None,  // transposed
    Clockwise,
    Anticlockwise
};

// Clockwise: destination column of source row y is height - 1 - y, so blocks read their rows bottom up.
// Anticlockwise: destination row of source column x is width - 1 - x, so blocks write their rows bottom up.
// Blocks at the far edges overlap their neighbours. Needs a block each way. `rowsFrom` rows of the source's are there
// from src on.
template <class D>
HWY_INLINE void exchangeAxes(D d, const uint8_t* src, size_t width, size_t height, size_t rowsFrom, size_t srcStride,
                             uint8_t* dst, size_t dstStride, Turn turn)
{
    using T = hn::TFromD<D>;
    constexpr size_t kRows = hn::MaxLanes(D());
    constexpr size_t kColumns = kBlockColumns<D>;
    const auto srcStep = static_cast<ptrdiff_t>(srcStride);
    const auto dstStep = static_cast<ptrdiff_t>(dstStride);
    // Inlined, all of it, so that what a band has in common stays in registers.
    const auto moveBlock = [=](size_t x, size_t y) HWY_ATTR __attribute__((always_inline))
    {
        const uint8_t* from = src + y * srcStride + x * sizeof(T);
        const auto transpose = [=](const uint8_t* first, ptrdiff_t step, uint8_t* to, ptrdiff_t toStep) HWY_ATTR
            __attribute__((always_inline))
        {
            if constexpr (kTurnsSquares<D>)
            {
                constexpr size_t kColumnsAhead = 3 * kColumns;
                transposeSquare(d, first, step, to, toStep,
                                (HWY_MIN(x + kColumnsAhead, width - kColumns) - x) * sizeof(T));
            }
            else
            {
                transposeColumns(d, first, step, to, toStep);
            }
        };
        switch (turn)
        {
            case Turn::Clockwise:
                transpose(from + (kRows - 1) * srcStride, -srcStep,
                          dst + x * dstStride + (height - kRows - y) * sizeof(T), dstStep);
                break;
            case Turn::Anticlockwise:
                transpose(from, srcStep, dst + (width - 1 - x) * dstStride + y * sizeof(T), -dstStep);
                break;
            default:
                transpose(from, srcStep, dst + x * dstStride + y * sizeof(T), dstStep);
                break;
        }
    };
    if constexpr (kTurnsSquares<D>)
    {
        // Along the rows, which the processor follows: that is faster than bands are.
        coverRange(
            0, height, kRows, [=](size_t y) HWY_ATTR __attribute__((always_inline)) {
                coverRange(
                    0, width, kColumns, [=](size_t x) HWY_ATTR __attribute__((always_inline)) { moveBlock(x, y); });
            });
        return;
    }
    // As many rows as make a line of the destination's; short vectors take more steps for as much.
    constexpr size_t kRowsAhead = HWY_ARCH_X86 ? kLineBytes / sizeof(T) : 64;
    // A band of few cache lines of source columns, walked down the image, keeps both sides' lines in the nearer caches.
    constexpr size_t kLine = kLineBytes / sizeof(T);
    constexpr size_t kBand = kBandBytes / sizeof(T);
    for (size_t band = 0; band < width; band += kBand)
    {
        const size_t bandEnd = HWY_MIN(band + kBand, width);
        const size_t bandBegin = bandEnd - band >= kColumns ? band : bandEnd - kColumns;
        // The processor does not foresee where a band goes on, a few lines a row.
        const auto fetchRows = [=](size_t y) HWY_ATTR
        {
            for (size_t row = y; row < y + kRows; ++row)
            {
                const uint8_t* from = src + row * srcStride;
                hwy::Prefetch(from + bandBegin * sizeof(T));
                for (size_t x = bandBegin + kLine; kBand > kLine && x < bandEnd; x += kLine)
                {
                    hwy::Prefetch(from + x * sizeof(T));
                }
            }
        };
        coverRange(
            0, height, kRows, [=](size_t y) HWY_ATTR __attribute__((always_inline)) {
                if (y + kRowsAhead + kRows <= rowsFrom)
                {
                    fetchRows(y + kRowsAhead);
                }
                coverRange(
                    bandBegin, bandEnd,
                    kColumns, [=](size_t x) HWY_ATTR __attribute__((always_inline)) { moveBlock(x, y); });
            });
    }
}

// Tiles of a band's columns, turned where they are near, whose rows then go past the caches to their places. Tiles at
// the far edges overlap their neighbours where they would be smaller than a block. Without a tile the image is turned
// as a whole, by the same call, as there is much to inline.
template <class D>
HWY_INLINE void exchangeAxesByTiles(D d, const uint8_t* src, size_t width, size_t height, size_t srcStride,
                                    uint8_t* dst, size_t dstStride, Turn turn, uint8_t* tile)
{
    using T = hn::TFromD<D>;
    const size_t bandColumns = tile != nullptr ? kBandBytes / sizeof(T) : width;
    const size_t tileRows = tile != nullptr ? kTileRowBytes / sizeof(T) : height;
    const auto placeOf = [=](size_t band) { return HWY_MIN(band, width - kBlockColumns<D>); };
    for (size_t band = 0; band < width; band += bandColumns)
    {
        const size_t x = placeOf(band);
        const size_t columns = HWY_MIN(bandColumns, width - x);
        const size_t firstRow = turn == Turn::Anticlockwise ? width - x - columns : x;
        for (size_t begin = 0; begin < height; begin += tileRows)
        {
            const size_t y = HWY_MIN(begin, height - hn::Lanes(d));
            const size_t rows = HWY_MIN(tileRows, height - y);
            const size_t firstColumn = turn == Turn::Clockwise ? height - y - rows : y;
            uint8_t* const to = dst + firstRow * dstStride + firstColumn * sizeof(T);
            exchangeAxes(d, src + y * srcStride + x * sizeof(T), columns, rows, tile != nullptr ? 0 : height, srcStride,
                         tile != nullptr ? tile : to, tile != nullptr ? kTileStride : dstStride, turn);
            if (tile == nullptr)
            {
                return;
            }
            // The next tile is fetched meanwhile, as many lines as are written.
            const bool isLast = begin + tileRows >= height;
            const size_t nextX = isLast ? placeOf(band + bandColumns) : x;
            size_t next = isLast ? 0 : begin + tileRows;
            for (size_t i = 0; i < columns; ++i)
            {
                streamBytes(to + i * dstStride, tile + i * kTileStride, rows * sizeof(T));
                for (const size_t end = HWY_MIN(next + kTileRowBytes / kBandBytes, height); next < end; ++next)
                {
                    for (size_t line = 0; line < kBandBytes; line += kLineBytes)
                    {
                        hwy::Prefetch(src + next * srcStride + nextX * sizeof(T) + line);
                    }
                }
            }
        }
    }
    hwy::FlushStream();
}

template <class T>
HWY_INLINE bool turnImage(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                          uint32_t dstStride, Turn turn)
{
    return width >= 16 / sizeof(T) &&
           withFittingVector<T>(HWY_TARGET <= HWY_AVX3 && sizeof(T) != 2 ? HWY_MIN(width, height) : height,
                                [=](auto d) HWY_ATTR
                                {
                                    // Squares are fast enough to wait for the last cache, as long as that has all.
                                    constexpr size_t kLeast =
                                        kTurnsSquares<decltype(d)> ? kStreamedInOrder : kStreamedTurned;
                                    const bool isLarge = isStreamed(size_t{width} * height * sizeof(T), kLeast);
                                    std::optional<Scratch> tile;
                                    if (isLarge)
                                    {
                                        tile.emplace(kBandBytes / sizeof(T) * kTileStride);
                                    }
                                    exchangeAxesByTiles(d, src, width, height, srcStride, dst, dstStride, turn,
                                                        tile ? tile->data() : nullptr);
                                });
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
    return turnImage<uint16_t>(src, srcWidth, srcHeight, srcStride, dst, dstStride, quarterTurn(rotation));
}

bool rotatePlane(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                 uint32_t dstStride, uint32_t rotation)
{
    if (rotation == 2)
    {
        return vsrFlipu8V(src, srcWidth, srcHeight, srcStride, 1, VISORA_FLIP_BOTH, dst, dstStride) == VISORA_SUCCESS;
    }
    return turnImage<uint8_t>(src, srcWidth, srcHeight, srcStride, dst, dstStride, quarterTurn(rotation));
}

bool transposeBytes(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    return turnImage<uint8_t>(src, srcWidth, srcHeight, srcStride, dst, dstStride, Turn::None);
}

// Bits are moved, whatever they mean.
bool transposeFloats(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                     uint32_t dstStride)
{
    return turnImage<float>(reinterpret_cast<const uint8_t*>(src), srcWidth, srcHeight, srcStride / 4 * 4,
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
