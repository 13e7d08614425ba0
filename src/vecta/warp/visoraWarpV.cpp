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

// Vectors of 64 bytes turn square blocks.
template <class D>
constexpr bool kTurnsSquares = (HWY_TARGET <= HWY_AVX3) && hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 64;

template <class D>
constexpr size_t kBlockColumns = kTurnsSquares<D> ? hn::MaxLanes(D()) : 16 / sizeof(hn::TFromD<D>);

// Vectors of `count` rows to vectors of as many columns, each 128 bits of them by itself: rows of the upper half
// interleaved with those of the lower one, log2(count) times. The steps below `first` are done already.
template <size_t count, size_t first = 1, class D>
HWY_INLINE void turnParts(D d, hn::Vec<D>* rows)
{
    hn::Vec<D> mixed[count];
    VISORA_UNROLL for (size_t step = first; step < count; step *= 2)
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

template <class D>
struct Quads
{
    hn::Vec<D> first, second;
};

// The first 128 bits of four rows side by side, and the next ones. They are loaded by halves of vectors, which takes
// half as many shuffles as whole ones do, and half as many loads as quarters.
template <class D>
HWY_INLINE Quads<D> loadQuads(D d, const uint8_t* row0, const uint8_t* row1, const uint8_t* row2, const uint8_t* row3)
{
#if HWY_TARGET <= HWY_AVX3
    const auto pair = [](const uint8_t* first, const uint8_t* second) HWY_ATTR
    {
        return _mm512_inserti64x4(_mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(first))),
                                  _mm256_loadu_si256(reinterpret_cast<const __m256i*>(second)), 1);
    };
    const hn::Repartition<int32_t, D> quads;
    const __m512i rows01 = pair(row0, row1), rows23 = pair(row2, row3);
    using V = hn::Vec<decltype(quads)>;
    return {hn::BitCast(d, V{_mm512_shuffle_i32x4(rows01, rows23, _MM_SHUFFLE(2, 0, 2, 0))}),
            hn::BitCast(d, V{_mm512_shuffle_i32x4(rows01, rows23, _MM_SHUFFLE(3, 1, 3, 1))})};
#else
    static_cast<void>(row0), static_cast<void>(row1), static_cast<void>(row2), static_cast<void>(row3);
    return {hn::Zero(d), hn::Zero(d)};  // no other machine turns squares
#endif
}

// The last `count` floats of a vector and the first ones of the next. For vectors of sixteen.
template <class D>
HWY_INLINE hn::Vec<D> joined(D d, hn::Vec<D> v, hn::Vec<D> next, size_t count)
{
    static_assert(hn::MaxLanes(D()) == 16);
#if HWY_TARGET <= HWY_AVX3
    alignas(64) static constexpr int32_t kPlaces[32] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                                                        16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31};
    static_cast<void>(d);
    return hn::Vec<D>{_mm512_permutex2var_ps(v.raw, _mm512_loadu_si512(kPlaces + 16 - count), next.raw)};
#else
    static_cast<void>(d), static_cast<void>(next), static_cast<void>(count);
    return v;  // no other machine has such vectors
#endif
}

// Else compilers keep the pointers of all rows between blocks, on the stack: loading them costs more than the rows.
template <class... T>
HWY_INLINE void reckonAnew([[maybe_unused]] T&... values)
{
#if HWY_ARCH_X86
    (..., [](T& value) { asm volatile("" : "+r"(value)); }(values));
#endif
}

// A square of as many rows as vectors have elements, 32 bytes of columns at a time: source row i becomes lane i of the
// vectors that put(vector) takes, column by column. A reversed source order turns the other way round. The rows of the
// square that begins `ahead` bytes further on are fetched meanwhile.
template <class D, class Put>
HWY_INLINE void transposeSquare(D d, const uint8_t* src, ptrdiff_t srcStep, size_t ahead, Put put)
{
    using V = hn::Vec<D>;
    constexpr size_t kColumns = 16 / sizeof(hn::TFromD<D>);
    const uint8_t* fetched = src + ahead;
    ptrdiff_t quarter = static_cast<ptrdiff_t>(kColumns) * srcStep;
    ptrdiff_t threeQuarters = 3 * quarter;
    const auto nextRows = [&](const uint8_t*& rows) HWY_ATTR
    {
        reckonAnew(rows, quarter, threeQuarters);
        const Quads<D> quads = loadQuads(d, rows, rows + quarter, rows + 2 * quarter, rows + threeQuarters);
        rows += srcStep;
        return quads;
    };
    const auto putColumns = [&](V(&columns)[kColumns]) HWY_ATTR __attribute__((always_inline))
    {
        turnParts<kColumns, 2>(d, columns);
        VISORA_UNROLL for (const V& column : columns)
        {
            put(column);
        }
    };
    const auto turnHalf = [&](size_t half) HWY_ATTR __attribute__((always_inline))
    {
        const uint8_t* upper = src + half * 32;
        const uint8_t* lower = upper + static_cast<ptrdiff_t>(kColumns / 2) * srcStep;
        V left[kColumns], right[kColumns];
        // What is loaded is interleaved at once: all bytes are as many vectors as there are registers.
        VISORA_UNROLL for (size_t i = 0; i < kColumns; i += 2)
        {
            const Quads<D> above = nextRows(upper), below = nextRows(lower);
            left[i] = hn::InterleaveLower(d, above.first, below.first);
            left[i + 1] = hn::InterleaveUpper(d, above.first, below.first);
            right[i] = hn::InterleaveLower(d, above.second, below.second);
            right[i + 1] = hn::InterleaveUpper(d, above.second, below.second);
            VISORA_UNROLL for (size_t row = 0; row < 4; ++row)
            {
                hwy::Prefetch(fetched);
                fetched += srcStep;
                reckonAnew(fetched);
            }
        }
        putColumns(left);
        putColumns(right);
    };
    if constexpr (sizeof(hn::TFromD<D>) == 4)
    {
        turnHalf(0);
        turnHalf(1);
        return;
    }
    // Bytes are turned by much code, which is faster once than twice.
#pragma GCC unroll 1
    for (size_t half = 0; half < 2; ++half)
    {
        turnHalf(half);
    }
}

// Blocks of as many source columns as 128 bits have elements, source row i being column i of the destination. A
// negative destination step walks the rows upward. Each 128 bits of the vectors are a square block of their own, so
// that the rows that are written are as long as vectors.
template <class D>
HWY_INLINE void transposeColumns(D d, const uint8_t* src, ptrdiff_t srcStep, uint8_t* dst, ptrdiff_t dstStep)
{
    using T = hn::TFromD<D>;
    constexpr size_t kColumns = 16 / sizeof(T);
    const hn::FixedTag<T, kColumns> part;
    reckonAnew(src, srcStep, dst, dstStep);
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
    [[maybe_unused]] const bool isFar = sizeof(T) == 1 && width * height >= kStreamedTurned;
    [[maybe_unused]] const size_t squaresAhead = sizeof(T) != 1 ? 3 : isFar ? 2 : 1;
    // Inlined, all of it, so that what a band has in common stays in registers.
    const auto moveBlock = [=](size_t x, size_t y) HWY_ATTR __attribute__((always_inline))
    {
        const uint8_t* from = src + y * srcStride + x * sizeof(T);
        const auto transpose = [=](const uint8_t* first, ptrdiff_t step, uint8_t* to, ptrdiff_t toStep) HWY_ATTR
            __attribute__((always_inline))
        {
            const auto columnsTo = [=](size_t column) { return HWY_MIN(column, width - kColumns) - x; };
            if constexpr (kTurnsSquares<D>)
            {
                // The destination's lines for the next square of bytes are fetched too, those that the squares before
                // have not begun: they come late otherwise.
                const auto next = static_cast<ptrdiff_t>(columnsTo(x + kColumns)) * toStep +
                                  (turn == Turn::Clockwise ? 0 : static_cast<ptrdiff_t>(kRows - 1));
                transposeSquare(
                    d, first, step, columnsTo(x + squaresAhead * kColumns) * sizeof(T),
                    [&](hn::Vec<D> v) HWY_ATTR __attribute__((always_inline)) {
                        hn::StoreU(v, d, reinterpret_cast<T*>(to));
                        if constexpr (sizeof(T) == 1)
                        {
                            hwy::Prefetch(to + next);
                        }
                        to += toStep;
                        reckonAnew(to);
                    });
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
        // Along the rows, which the processor follows: that is faster than bands are. Two squares that meet in the
        // lines of the destination follow one another, unless what is fetched for them is far.
        const size_t rows = isFar ? kRows : 2 * kRows;
        for (size_t begin = 0; begin < height; begin += rows)
        {
            const size_t first = HWY_MIN(begin, height - kRows);
            const size_t end = HWY_MIN(begin + rows, height);
            coverRange(
                0, width, kColumns, [=](size_t x) HWY_ATTR __attribute__((always_inline)) {
                    coverRange(
                        first, end, kRows, [=](size_t y) HWY_ATTR __attribute__((always_inline)) { moveBlock(x, y); });
                });
        }
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

// Whether lines of the destination's are made in registers. Bytes take longer to turn than lines to be written.
template <class D>
constexpr bool kMakesLines = kTurnsSquares<D> && sizeof(hn::TFromD<D>) == 4;

// Floats, which are only transposed: squares whose columns are put together with what the square before left of them,
// so that whole lines go past the caches wherever the destination's rows begin. `kept` has a line for each source
// column.
template <class D>
HWY_INLINE void transposeByLines(D d, const uint8_t* src, size_t width, size_t height, size_t srcStride, uint8_t* dst,
                                 size_t dstStride, uint8_t* kept)
{
    using T = hn::TFromD<D>;
    constexpr size_t kLanes = hn::MaxLanes(D());
    constexpr size_t kColumnsAhead = 3 * kLanes;
    const size_t columns = width / kLanes * kLanes;
    const size_t lastRows = HWY_MIN(height, 2 * kLanes);
    const struct
    {
        size_t x, y, width, height;
    } edges[] = {{0, 0, width, kLanes}, {0, height - lastRows, width, lastRows}, {width - kLanes, 0, kLanes, height}};
    // Where lines are not whole.
    for (const auto& edge : edges)
    {
        exchangeAxes(d, src + edge.y * srcStride + edge.x * sizeof(T), edge.width, edge.height, edge.height, srcStride,
                     dst + edge.x * dstStride + edge.y * sizeof(T), dstStride, Turn::None);
    }
    for (size_t x = 0; x < columns; ++x)
    {
        hn::Store(hn::LoadU(d, reinterpret_cast<const T*>(dst + x * dstStride)), d,
                  reinterpret_cast<T*>(kept) + x * kLanes);
    }
    for (size_t y = kLanes; y + kLanes <= height; y += kLanes)
    {
        for (size_t x = 0; x < columns; x += kLanes)
        {
            uint8_t* to = dst + x * dstStride + y * sizeof(T);
            T* before = reinterpret_cast<T*>(kept) + x * kLanes;
            transposeSquare(
                d, src + y * srcStride + x * sizeof(T), static_cast<ptrdiff_t>(srcStride),
                (HWY_MIN(x + kColumnsAhead, width - kLanes) - x) * sizeof(T),
                [&](hn::Vec<D> v) HWY_ATTR __attribute__((always_inline)) {
                    const size_t beyond = reinterpret_cast<uintptr_t>(to) / sizeof(T) % kLanes;
                    hn::Stream(joined(d, hn::Load(d, before), v, beyond), d, reinterpret_cast<T*>(to) - beyond);
                    hn::Store(v, d, before);
                    before += kLanes;
                    to += dstStride;
                    reckonAnew(to);
                });
        }
    }
    hwy::FlushStream();
}

template <class T>
HWY_INLINE bool turnImage(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                          uint32_t dstStride, Turn turn)
{
    return width >= 16 / sizeof(T) &&
           withFittingVector<T>(
               HWY_TARGET <= HWY_AVX3 ? HWY_MIN(width, height) : height,
               [=](auto d) HWY_ATTR
               {
                   // Squares of bytes are fast enough to wait for the last cache, as long as that has all; lines
                   // that are made whole are not kept waiting by memory either.
                   constexpr bool kByLines = kMakesLines<decltype(d)>;
                   constexpr bool kWaits = kTurnsSquares<decltype(d)> && sizeof(T) == 1;
                   constexpr size_t kLeast = kByLines ? kStreamedWhole : kWaits ? kStreamedInOrder : kStreamedTurned;
                   // Elements may begin anywhere; those that lie across the ends of lines are in no whole one.
                   const bool fillsLines = !kByLines || reinterpret_cast<uintptr_t>(dst) % sizeof(T) == 0;
                   const bool isLarge = fillsLines && isStreamed(size_t{width} * height * sizeof(T), kLeast);
                   std::optional<Scratch> scratch;
                   if (isLarge)
                   {
                       scratch.emplace(kByLines ? width * kLineBytes : kBandBytes / sizeof(T) * kTileStride);
                   }
                   uint8_t* tile = scratch ? scratch->data() : nullptr;
                   if constexpr (kByLines)
                   {
                       if (tile != nullptr)
                       {
                           return transposeByLines(d, src, width, height, srcStride, dst, dstStride, tile);
                       }
                   }
                   exchangeAxesByTiles(d, src, width, height, srcStride, dst, dstStride, turn, tile);
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
