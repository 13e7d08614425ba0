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

/**
 * Covers [0, width) with vectors: put(x, value(x)). On ARM four values at a time, all of which are there before any is
 * put: so the loads of neighbours go in pairs, which a store among them would keep apart. The last step overlaps.
 */
template <class D, class Value, class Put>
HWY_INLINE void coverByFour(D d, size_t width, Value value, Put put)
{
    const size_t lanes = hn::Lanes(d);
    if (!HWY_ARCH_ARM || width < 4 * lanes)
    {
        return coverRange(0, width, lanes, [&](size_t x) HWY_ATTR { put(x, value(x)); });
    }
    coverRange(0, width, 4 * lanes,
               [&](size_t x) HWY_ATTR
               {
                   const auto v0 = value(x);
                   const auto v1 = value(x + lanes);
                   const auto v2 = value(x + 2 * lanes);
                   const auto v3 = value(x + 3 * lanes);
                   put(x, v0);
                   put(x + lanes, v1);
                   put(x + 2 * lanes, v2);
                   put(x + 3 * lanes, v3);
               });
}

// ---- Columns ----

// out[i * pitch + x] = extreme of from[i][x] .. from[i + rows - 1][x] for i < made <= rows, kVectors vectors from x on.
// The extremes to the end of the first window go upward into `out`; those from there on come from registers.
template <class Extreme, size_t kVectors, class D>
HWY_INLINE void extremeOfRows(D d, const uint8_t* const* from, size_t rows, size_t made, size_t x, uint8_t* out,
                              size_t pitch)
{
    const Extreme extreme;
    const size_t lanes = hn::Lanes(d);
    hn::Vec<D> v[kVectors];
    const auto takeIn = [&](const uint8_t* row) HWY_ATTR
    {
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            v[i] = extreme(v[i], hn::LoadU(d, row + x + i * lanes));
        }
    };
    const auto begin = [&](const uint8_t* row) HWY_ATTR
    {
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            v[i] = hn::LoadU(d, row + x + i * lanes);
        }
    };
    begin(from[rows - 1]);
    for (size_t row = rows - 1; row-- > made;)
    {
        takeIn(from[row]);
    }
    uint8_t* to = out + x + made * pitch;
    for (size_t row = made; row-- > 0;)
    {
        takeIn(from[row]);
        to -= pitch;
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            hn::StoreU(v[i], d, to + i * lanes);
        }
    }
    begin(from[rows - 1]);
    for (size_t row = 1; row < made; ++row)
    {
        takeIn(from[rows - 1 + row]);
        to += pitch;
        hn::Vec<D> all[kVectors];
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            all[i] = extreme(v[i], hn::LoadU(d, to + i * lanes));
        }
        VISORA_UNROLL for (size_t i = 0; i < kVectors; ++i)
        {
            hn::StoreU(all[i], d, to + i * lanes);
        }
    }
}

// ---- Rows ----

// out[x] = extreme of in[x .. x + span - 1] for x < width, by windows of `have` pixels that `in` holds already.
// `finish` takes each vector of results; all but the last stage go to `stage`, which continues as far as `in` does.
template <class Extreme, class D, class Finish>
HWY_INLINE void extremeAlong(D d, uint8_t* in, uint8_t* stage, size_t span, size_t width, Finish finish)
{
    const Extreme extreme;
    const auto ofFour = [=](const uint8_t* at, size_t b, size_t c, size_t e) HWY_ATTR
    {
        return extreme(extreme(hn::LoadU(d, at), hn::LoadU(d, at + b)),
                       extreme(hn::LoadU(d, at + c), hn::LoadU(d, at + e)));
    };
    size_t have = 1;
#if HWY_TARGET <= HWY_AVX3
    if constexpr (hn::MaxLanes(D()) == 64)
    {
        if (span > 16)
        {
            // Windows of sixteen at once: vectors of those of four are shifted by whole words. Loads from anywhere
            // cross a cache line each.
            const size_t needed = width + span - 16;
            auto fours = ofFour(in, 1, 2, 3);
            for (size_t x = 0; x < needed; x += 64)
            {
                const auto next = ofFour(in + x + 64, 1, 2, 3);
                const auto further = [&](auto words) HWY_ATTR
                { return hn::Vec<D>{_mm512_alignr_epi32(next.raw, fours.raw, decltype(words)::value)}; };
                const auto upper =
                    extreme(further(std::integral_constant<int, 2>()), further(std::integral_constant<int, 3>()));
                hn::StoreU(extreme(extreme(fours, further(std::integral_constant<int, 1>())), upper), d, stage + x);
                fours = next;
            }
            std::swap(in, stage);
            have = 16;
        }
    }
#endif
    for (; have * 4 < span; have *= 4)
    {
        // Windows of four times as many pixels, as far as the next stages need them.
        coverByFour(
            d, width + span - have * 4, [=](size_t x) HWY_ATTR { return ofFour(in + x, have, 2 * have, 3 * have); },
            [=](size_t x, hn::Vec<D> v) HWY_ATTR { hn::StoreU(v, d, stage + x); });
        std::swap(in, stage);
    }
    const size_t last = span - have;
    if (last <= have)
    {
        coverByFour(
            d, width, [=](size_t x) HWY_ATTR { return extreme(hn::LoadU(d, in + x), hn::LoadU(d, in + x + last)); },
            finish);
    }
    else if (last <= 2 * have)
    {
        coverByFour(
            d, width,
            [=](size_t x) HWY_ATTR
            {
                const auto two = extreme(hn::LoadU(d, in + x), hn::LoadU(d, in + x + have));
                return extreme(two, hn::LoadU(d, in + x + last));
            },
            finish);
    }
    else
    {
        coverByFour(
            d, width, [=](size_t x) HWY_ATTR { return ofFour(in + x, have, 2 * have, last); }, finish);
    }
}

// ---- Images ----

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
