// Rows of conversions whose images are too large for the caches. Included once per instruction set.
#if defined(VISORA_VECTA_COLOR_STREAM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_STREAM_INL_H
#undef VISORA_VECTA_COLOR_STREAM_INL_H
#else
#define VISORA_VECTA_COLOR_STREAM_INL_H
#endif

#include <type_traits>

#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraStream-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

constexpr size_t kPieceColumns = 1024;

/** As coverRange from 0 on, body(x, whole). Where kStreams `whole` is true of the vectors from `begin` on, which is
 * less than a vector, and what is left at both ends is covered by ones that overlap. */
template <bool kStreams, class Body>
HWY_INLINE void coverFrom(size_t begin, size_t end, size_t lanes, Body body)
{
    constexpr std::false_type kOrdinary;
    if constexpr (kStreams)
    {
        if (begin != 0 || end == lanes)
        {
            body(0, kOrdinary);
        }
        size_t x = begin;
        for (; x + lanes <= end; x += lanes)
        {
            body(x, std::true_type());
        }
        if (x != end)
        {
            body(end - lanes, kOrdinary);
        }
    }
    else
    {
        coverRange(0, end, lanes, [&](size_t x) HWY_ATTR { body(x, kOrdinary); });
    }
}

/** Whether columns of so many bytes come to lie where vectors are aligned, in every row. */
template <size_t kBytes>
HWY_INLINE bool reachesAligned(const uint8_t* to, size_t stride, size_t rows)
{
    constexpr bool kIsPower = (kBytes & (kBytes - 1)) == 0;
    return !kIsPower || (reinterpret_cast<uintptr_t>(to) | (rows == 1 ? 0 : stride)) % kBytes == 0;
}

/** Columns of so many bytes before the first one where a vector of bytes is aligned. */
template <size_t kBytes>
HWY_INLINE size_t columnsToAligned(const uint8_t* to, size_t lanes)
{
    size_t columns = 0;
    while (reinterpret_cast<uintptr_t>(to + columns * kBytes) % lanes != 0)
    {
        ++columns;
    }
    return columns;
}

/** Whether rows of this width, of images of so many bytes in all, source and destination, go by streamColumns. Behind
 * the last of them hwy::FlushStream() is due. */
HWY_INLINE bool streamsColumns(size_t width, size_t bytes)
{
    return width >= kPieceColumns && isStreamed(bytes, kStreamedThrough);
}

/** Asks for what is read soon. */
HWY_INLINE void fetchLines(const uint8_t* from, size_t bytes)
{
    for (size_t i = 0; i < bytes; i += 64)
    {
        hwy::Prefetch(from + i);
    }
}

/** So far ahead a stream of reads is fetched that a smaller one of writes past the caches goes with: the processor by
 * itself does not look beyond a page. */
constexpr size_t kBytesAhead = size_t{16} << 10;

/** Where the columns of a row go: so many bytes of every two. */
struct Columns
{
    uint8_t* first;
    size_t bytesOfTwo;
};

/**
 * Does a row by pieces, which their destinations get past the caches: convert(x, columns, pieces ...) makes `columns`
 * columns from column x on, an even one, of each destination. A column has 4 bytes in all destinations at most.
 */
template <class Convert, class... Destinations>
HWY_NOINLINE void streamColumns(size_t width, const Convert& convert, Destinations... to)
{
    // The last piece is one that is longer.
    alignas(64) uint8_t bytes[kPieceColumns * 8];
    for (size_t x = 0; x < width;)
    {
        const size_t columns = width - x < 2 * kPieceColumns ? width - x : kPieceColumns;
        uint8_t* next = bytes;
        const auto piece = [&](size_t bytesOfTwo) HWY_ATTR
        {
            next += columns * bytesOfTwo / 2;
            return next - columns * bytesOfTwo / 2;
        };
        // In braces they are made in their order.
        uint8_t* const pieces[] = {piece(to.bytesOfTwo)...};
        [&]<size_t... i>(std::index_sequence<i...>) HWY_ATTR
        {
            convert(x, columns, pieces[i]...);
            (streamBytes(to.first + x * to.bytesOfTwo / 2, pieces[i], columns * to.bytesOfTwo / 2), ...);
        }
        (std::index_sequence_for<Destinations...>());
        x += columns;
    }
}

/** dst = formula(d, src), pixels of kBytes bytes to such pixels. */
template <size_t kBytes, class Formula>
HWY_INLINE vsrStatus mapPixels(Formula formula, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride)
{
    if constexpr (HWY_ARCH_X86)
    {
        const bool areOne = srcStride == kBytes * width && dstStride == srcStride;
        const size_t columns = areOne ? size_t{width} * height : width;
        const size_t rows = areOne ? 1 : height;
        if (src != dst && reachesAligned<kBytes>(dst, dstStride, rows) &&
            streamsColumns(columns, 2 * kBytes * columns * rows))
        {
            const hn::ScalableTag<uint8_t> d;
            const size_t n = hn::Lanes(d);
            for (size_t y = 0; y < rows; ++y)
            {
                const uint8_t* const from = src + y * srcStride;
                uint8_t* const to = dst + y * dstStride;
                const auto at = [=](size_t x, auto isWhole) HWY_ATTR
                { storeOrStream<isWhole>(formula(d, hn::LoadU(d, from + kBytes * x)), d, to + kBytes * x); };
                coverFrom<true>(columnsToAligned<kBytes>(to, n), columns, n / kBytes, at);
            }
            hwy::FlushStream();
            return VISORA_SUCCESS;
        }
    }
    return unary(formula, src, static_cast<uint32_t>(kBytes * width), height, srcStride, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
