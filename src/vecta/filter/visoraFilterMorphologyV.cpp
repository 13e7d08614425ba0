// Morphology with square windows, vector variants.
//
// Extremes of columns come first, then the extremes of these along the row. Small windows are taken whole, two output
// rows at once; others in strips of columns, where there are vectors for that. The columns of the rest come by running
// extremes of blocks as long as the window (M. van Herk, Pattern Recognition Letters 13, 1992): a window is the end of
// one block and the beginning of the next. Along the row a window is built from windows of 4, 16, ... pixels that
// overlap. So the work hardly depends on the window's size.
#include "visora/morphology.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterMorphologyV.cpp"
#include <algorithm>
#include <bit>

#include "cpu/visoraScratch.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterMorphologyBlocks-inl.h"
#include "vecta/filter/visoraFilterMorphologySmall-inl.h"
#include "vecta/filter/visoraFilterMorphologyStrip-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

#ifndef VISORA_VECTA_MORPHOLOGY_ONCE
#define VISORA_VECTA_MORPHOLOGY_ONCE

namespace visora
{

/** So many rows of windows are made at once in a strip of columns, at most. */
constexpr size_t kGroupRows = 16;

/** Windows of up to this radius are taken directly. */
constexpr size_t kSmallRadius = 3;

/** What a morphological operation is asked for. Rows outside the image are the nearest ones. */
struct MorphologyCall
{
    MorphologyCall(const uint8_t* from, uint32_t columns, uint32_t rows, uint32_t fromStride, uint32_t N, uint8_t* to,
                   uint32_t toStride)
        : src(from),
          width(columns),
          height(rows),
          srcStride(fromStride),
          // A larger window holds no other pixels of the image.
          radiusX(std::min<size_t>(N / 2, columns - 1)),
          radiusY(std::min<size_t>(N / 2, rows - 1)),
          dst(to),
          dstStride(toStride)
    {
    }

    const uint8_t* src;
    size_t width;
    size_t height;
    size_t srcStride;
    size_t radiusX;
    size_t radiusY;
    uint8_t* dst;
    size_t dstStride;
};

}  // namespace visora

#endif

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

struct Largest
{
    static constexpr uint8_t kNeutral = 0;
    template <class V>
    HWY_INLINE V operator()(V a, V b) const
    {
        return hn::Max(a, b);
    }
};

struct Smallest
{
    static constexpr uint8_t kNeutral = 255;
    template <class V>
    HWY_INLINE V operator()(V a, V b) const
    {
        return hn::Min(a, b);
    }
};

// Extremes over the windows of the rows begin .. end - 1, in order. rowAt(y) gives the source rows, of which those
// outside the image are asked for too, up to one beyond the last window; finish(y, x, v) takes the results. Scratch
// holds extremeScratch(...) bytes.
HWY_INLINE size_t extremeRowBytes(size_t width, size_t radiusX)
{
    // Two vectors more are read and written over the end. An odd number of cache lines: rows that lie below one another
    // do not meet in the same places of the first cache.
    return ((width + 63) / 64 + 2 * ((radiusX + 63) / 64) + 3) / 2 * 128 + 64;
}

HWY_INLINE size_t extremeScratch(const MorphologyCall& call)
{
    const size_t rows = 2 * call.radiusY + 1;
    return (HWY_MAX(rows, kGroupRows) + 1) * extremeRowBytes(call.width, call.radiusX) +
           (call.height + rows + kGroupRows) * sizeof(const uint8_t*);
}

template <class Extreme, class D, class RowAt, class Finish>
HWY_INLINE void extremeRows(D d, size_t width, size_t radiusX, size_t radiusY, size_t begin, size_t end,
                            uint8_t* scratch, RowAt rowAt, Finish finish)
{
    const size_t rowBytes = extremeRowBytes(width, radiusX);
    const size_t rows = 2 * radiusY + 1;
    const auto sourceRow = [&](size_t y, size_t i)
    { return rowAt(static_cast<ptrdiff_t>(y + i) - static_cast<ptrdiff_t>(radiusY)); };
    // What stands on both sides of a row of column extremes changes nothing; stages may overwrite it.
    // The columns begin at a cache line: vectors that cross one are slow to load and slower to store.
    const size_t margin = (radiusX + 63) / 64 * 64;
    uint8_t* const stage = scratch;
    uint8_t* const columns = scratch + rowBytes + margin;
    const auto along = [&](size_t y, uint8_t* row) HWY_ATTR
    {
        const auto neutral = hn::Set(d, Extreme::kNeutral);
        for (size_t i = 0; i < radiusX; i += hn::Lanes(d))
        {
            hn::StoreU(neutral, d, row - i - hn::Lanes(d));
            hn::StoreU(neutral, d, row + width + i);
        }
        extremeAlong<Extreme>(d, row - radiusX, stage, 2 * radiusX + 1, width,
                              [&](size_t x, hn::Vec<D> v) HWY_ATTR { finish(y, x, v); });
    };
    if (rows == 1)
    {
        for (size_t y = begin; y < end; ++y)
        {
            std::copy_n(sourceRow(y, 0), width, columns);
            along(y, columns);
        }
        return;
    }
    if constexpr (hn::MaxLanes(D()) <= kMostSmallLanes)
    {
        if (radiusX == radiusY && radiusX <= kSmallRadius && width >= 2 * hn::Lanes(d))
        {
            const uint8_t* around[2 * kSmallRadius + 2];
            for (size_t y = begin; y < end; y += 2)
            {
                for (size_t i = 0; i <= rows; ++i)
                {
                    around[i] = sourceRow(y, i);
                }
                const auto finishTwo = [&](size_t x, hn::Vec<D> upper, hn::Vec<D> lower) HWY_ATTR
                {
                    finish(y, x, upper);
                    if (y + 1 < end)
                    {
                        finish(y + 1, x, lower);
                    }
                };
                switch (radiusX)
                {
                    case 1:
                        smallWindows<Extreme, 1>(d, around, width, finishTwo);
                        break;
                    case 2:
                        smallWindows<Extreme, 2>(d, around, width, finishTwo);
                        break;
                    default:
                        smallWindows<Extreme, 3>(d, around, width, finishTwo);
                }
            }
            return;
        }
    }
    const auto from = reinterpret_cast<const uint8_t**>(scratch + (HWY_MAX(rows, kGroupRows) + 1) * rowBytes);
    for (size_t i = 0; i + 1 < end - begin + rows + kGroupRows; ++i)
    {
        from[i] = sourceRow(begin, HWY_MIN(i, end - begin + rows - 2));
    }
#if HWY_TARGET <= HWY_AVX3
    if constexpr (hn::MaxLanes(D()) == 64)
    {
        const bool isWide = radiusX > 31;
        const bool isFlat = rows < kGroupRows;
        if (radiusX <= kMostStripRadius && width >= kStripVectors * 64 && rows >= kGroupRows / (isWide ? 1 : 2))
        {
            coverRange(0, width, kStripVectors * 64,
                       [&](size_t x) HWY_ATTR
                       {
                           const auto strip = [&](auto group, auto beyond) HWY_ATTR
                           {
                               extremeStrip<Extreme, decltype(group)::value, decltype(beyond)::value>(
                                   d, x, width, radiusX, rows, begin, end, from, columns, finish);
                           };
                           if (isWide)
                           {
                               strip(std::integral_constant<size_t, kGroupRows>(), std::integral_constant<size_t, 2>());
                           }
                           else if (isFlat)
                           {
                               strip(std::integral_constant<size_t, kGroupRows / 2>(),
                                     std::integral_constant<size_t, 1>());
                           }
                           else
                           {
                               strip(std::integral_constant<size_t, kGroupRows>(), std::integral_constant<size_t, 1>());
                           }
                       });
            return;
        }
    }
#endif
    constexpr size_t kVectors = 4;
    const size_t step = kVectors * hn::Lanes(d);
    for (size_t y = begin; y < end; y += rows)
    {
        const size_t made = std::min(rows, end - y);
        const uint8_t* const* first = from + (y - begin);
        if (width < step)
        {
            coverRange(0, width, hn::Lanes(d),
                       [=](size_t x) HWY_ATTR
                       { extremeOfRows<Extreme, 1>(d, first, rows, made, x, columns, rowBytes); });
        }
        else
        {
            coverRange(0, width, step,
                       [=](size_t x) HWY_ATTR
                       { extremeOfRows<Extreme, kVectors>(d, first, rows, made, x, columns, rowBytes); });
        }
        for (size_t i = 0; i < made; ++i)
        {
            along(y + i, columns + i * rowBytes);
        }
    }
}

// Small windows take vectors that shiftedIn takes; below 17 columns longer ones cross a cache line with every load.
template <class Body>
HWY_INLINE void withVectorFor(const MorphologyCall& call, Body body)
{
    constexpr uint32_t kMostShortRadius = HWY_TARGET <= HWY_AVX3 ? kSmallRadius : 7;
    if (std::max(call.radiusX, call.radiusY) <= kMostShortRadius)
    {
        withFittingVector<uint8_t, kMostSmallLanes>(call.width, body);
    }
    else
    {
        withFittingVector<uint8_t>(call.width, body);
    }
}

template <class Extreme>
HWY_INLINE vsrStatus extremes(const MorphologyCall& call)
{
    const Scratch scratch(extremeScratch(call));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    const auto rowAt = [&](ptrdiff_t y)
    {
        return call.src + static_cast<size_t>(std::clamp<ptrdiff_t>(y, 0, static_cast<ptrdiff_t>(call.height) - 1)) *
                              call.srcStride;
    };
    withVectorFor(call,
                  [&](auto d) HWY_ATTR
                  {
                      extremeRows<Extreme>(
                          d, call.width, call.radiusX, call.radiusY, 0, call.height, scratch.data(), rowAt,
                          [dst = call.dst, step = call.dstStride, d](size_t y, size_t x, hn::Vec<decltype(d)> v)
                              HWY_ATTR { hn::StoreU(v, d, dst + y * step + x); });
                  });
    return VISORA_SUCCESS;
}

// Two extremes in turn, in strips of rows. Those of the first one's rows that the next strip's windows reach too are
// kept. combine(source, result) makes a pixel from those of the source and of the second extreme.
template <class First, class Second, class Combine>
HWY_INLINE vsrStatus twoExtremes(const MorphologyCall& call, Combine combine)
{
    const size_t reach = call.radiusY;
    // Rows of the first extreme are kept in a ring: so many that its windows are seldom begun anew, but not more than
    // the second cache holds beside the source's where fewer will do.
    constexpr size_t kCacheBytes = 512 * 1024;
    const size_t step = (call.width + 63) / 64 * 64;
    const size_t least = std::bit_ceil(2 * reach + 2 * kGroupRows);
    size_t ring = std::bit_ceil(4 * reach + 2 * kGroupRows);
    if (ring * step > kCacheBytes)
    {
        ring = least;
    }
    // Whole groups of rows.
    const size_t stripRows = (ring - 2 * reach) / kGroupRows * kGroupRows;
    const size_t firstBytes = extremeScratch(call);
    const Scratch scratch(firstBytes + ring * step);
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    uint8_t* const first = scratch.data() + firstBytes;
    const auto firstRow = [=](size_t y) { return first + (y & (ring - 1)) * step; };
    const auto nearest = [&](ptrdiff_t y)
    { return static_cast<size_t>(std::clamp<ptrdiff_t>(y, 0, static_cast<ptrdiff_t>(call.height) - 1)); };
    withVectorFor(call,
                  [&](auto d) HWY_ATTR
                  {
                      using V = hn::Vec<decltype(d)>;
                      size_t made = 0;  // rows of the first extreme
                      for (size_t y = 0; y < call.height; y += stripRows)
                      {
                          const size_t end = std::min(y + stripRows, call.height);
                          const size_t needed = std::min(end + reach, call.height);
                          extremeRows<First>(
                              d, call.width, call.radiusX, call.radiusY, made, needed, scratch.data(),
                              [&](ptrdiff_t row) { return call.src + nearest(row) * call.srcStride; },
                              [=](size_t row, size_t x, V v) HWY_ATTR { hn::StoreU(v, d, firstRow(row) + x); });
                          made = needed;
                          extremeRows<Second>(
                              d, call.width, call.radiusX, call.radiusY, y, end, scratch.data(),
                              [&](ptrdiff_t row) { return firstRow(nearest(row)); },
                              [=](size_t row, size_t x, V v) HWY_ATTR
                              {
                                  const V source = hn::LoadU(d, call.src + row * call.srcStride + x);
                                  hn::StoreU(combine(source, v), d, call.dst + row * call.dstStride + x);
                              });
                      }
                  });
    return VISORA_SUCCESS;
}

// The widths that no vector fits are the reference's affair.
constexpr uint32_t kLeastWidth = 16;

vsrStatus dilate(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                 uint8_t* dst, uint32_t dstStride)
{
    return srcWidth < kLeastWidth
               ? vsrFilterDilateNxNu8C(src, srcWidth, srcHeight, srcStride, N, dst, dstStride)
               : extremes<Largest>(MorphologyCall(src, srcWidth, srcHeight, srcStride, N, dst, dstStride));
}

vsrStatus erode(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N, uint8_t* dst,
                uint32_t dstStride)
{
    return srcWidth < kLeastWidth
               ? vsrFilterErodeNxNu8C(src, srcWidth, srcHeight, srcStride, N, dst, dstStride)
               : extremes<Smallest>(MorphologyCall(src, srcWidth, srcHeight, srcStride, N, dst, dstStride));
}

vsrStatus dilate3x3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    return dilate(src, srcWidth, srcHeight, srcStride, 3, dst, dstStride);
}

vsrStatus erode3x3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                   uint32_t dstStride)
{
    return erode(src, srcWidth, srcHeight, srcStride, 3, dst, dstStride);
}

struct ResultItself
{
    template <class V>
    HWY_INLINE V operator()(V /*source*/, V result) const
    {
        return result;
    }
};

vsrStatus opening(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                  uint8_t* dst, uint32_t dstStride)
{
    return srcWidth < kLeastWidth
               ? vsrFilterOpenNxNu8C(src, srcWidth, srcHeight, srcStride, N, dst, dstStride)
               : twoExtremes<Smallest, Largest>(MorphologyCall(src, srcWidth, srcHeight, srcStride, N, dst, dstStride),
                                                ResultItself());
}

vsrStatus closing(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                  uint8_t* dst, uint32_t dstStride)
{
    return srcWidth < kLeastWidth
               ? vsrFilterCloseNxNu8C(src, srcWidth, srcHeight, srcStride, N, dst, dstStride)
               : twoExtremes<Largest, Smallest>(MorphologyCall(src, srcWidth, srcHeight, srcStride, N, dst, dstStride),
                                                ResultItself());
}

vsrStatus topHat(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                 vsrTopHatMode mode, uint8_t* dst, uint32_t dstStride)
{
    if (srcWidth < kLeastWidth)
    {
        return vsrFilterTopHatNxNu8C(src, srcWidth, srcHeight, srcStride, N, mode, dst, dstStride);
    }
    const MorphologyCall call(src, srcWidth, srcHeight, srcStride, N, dst, dstStride);
    return mode == VISORA_TOP_HAT_WHITE ? twoExtremes<Smallest, Largest>(call, [](auto source, auto opened) HWY_ATTR
                                                                         { return hn::Sub(source, opened); })
                                        : twoExtremes<Largest, Smallest>(call, [](auto source, auto closed) HWY_ATTR
                                                                         { return hn::Sub(closed, source); });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFilterDilate3x3u8, dilate3x3);
VSR_VECTOR(vsrFilterErode3x3u8, erode3x3);
VSR_VECTOR(vsrFilterDilateNxNu8, dilate);
VSR_VECTOR(vsrFilterErodeNxNu8, erode);
VSR_VECTOR(vsrFilterOpenNxNu8, opening);
VSR_VECTOR(vsrFilterCloseNxNu8, closing);
VSR_VECTOR(vsrFilterTopHatNxNu8, topHat);

#endif
