// Morphology with square windows, vector variants.
//
// Extremes of columns come first, then the extremes of these along the row. Small windows are taken whole, two output
// rows at once. The columns of others come by running extremes of blocks as long as the window (M. van Herk, Pattern
// Recognition Letters 13, 1992): a window is the end of one block and the beginning of the next. Along the row a window
// is built from windows of 4, 16, ... pixels that overlap. So the work hardly depends on the window's size.
#include "visora/morphology.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterMorphologyV.cpp"
#include <algorithm>
#include <type_traits>

#include "cpu/visoraScratch.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

#ifndef VISORA_VECTA_MORPHOLOGY_ONCE
#define VISORA_VECTA_MORPHOLOGY_ONCE

namespace visora
{

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

template <class Extreme, class D>
HWY_INLINE void extremeOfPair(D d, const uint8_t* a, const uint8_t* b, size_t width, uint8_t* out)
{
    const Extreme extreme;
    coverByFour(
        d, width, [=](size_t x) HWY_ATTR { return extreme(hn::LoadU(d, a + x), hn::LoadU(d, b + x)); },
        [=](size_t x, hn::Vec<D> v) HWY_ATTR { hn::StoreU(v, d, out + x); });
}

// running[x] takes in entering[x]; out[x] = extreme of both and of block[x].
template <class Extreme, class D>
HWY_INLINE void extremeOfBlocks(D d, const uint8_t* entering, const uint8_t* block, size_t width, uint8_t* running,
                                uint8_t* out)
{
    struct Extremes
    {
        hn::Vec<D> begun, all;
    };
    const Extreme extreme;
    coverByFour(
        d, width,
        [=](size_t x) HWY_ATTR
        {
            const auto begun = extreme(hn::LoadU(d, running + x), hn::LoadU(d, entering + x));
            return Extremes{begun, extreme(begun, hn::LoadU(d, block + x))};
        },
        [=](size_t x, const Extremes& e) HWY_ATTR
        {
            hn::StoreU(e.begun, d, running + x);
            hn::StoreU(e.all, d, out + x);
        });
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

// ---- Small windows ----

constexpr size_t kMostSmallLanes = 32;

// Windows of the last rows but one (upper) and of the last rows (lower) among rows[0 .. 2 * radius + 1], for all
// columns. Their columns stay in registers: what stands further right is shifted in from the next vector. finish(x,
// upper, lower) takes the results. `width` must be at least two vectors.
template <class Extreme, size_t radius, class D, class Finish>
HWY_INLINE void smallWindows(D d, const uint8_t* const* rows, size_t width, Finish finish)
{
    using V = hn::Vec<D>;
    const Extreme extreme;
    const size_t lanes = hn::Lanes(d);
    const auto columns = [&](size_t x, V& upper, V& lower) HWY_ATTR
    {
        V shared = hn::LoadU(d, rows[1] + x);
        for (size_t i = 2; i <= 2 * radius; ++i)
        {
            shared = extreme(shared, hn::LoadU(d, rows[i] + x));
        }
        upper = extreme(shared, hn::LoadU(d, rows[0] + x));
        lower = extreme(shared, hn::LoadU(d, rows[2 * radius + 1] + x));
    };
    const auto along = [&](V v, V next) HWY_ATTR
    {
        V result = extreme(v, shiftedIn<1>(d, v, next));
        result = extreme(result, shiftedIn<2>(d, v, next));
        if constexpr (radius >= 2)
        {
            result = extreme(result, extreme(shiftedIn<3>(d, v, next), shiftedIn<4>(d, v, next)));
        }
        if constexpr (radius >= 3)
        {
            result = extreme(result, extreme(shiftedIn<5>(d, v, next), shiftedIn<6>(d, v, next)));
        }
        return result;
    };
    // Columns at an edge, up to three vectors of them with nothing on the other side.
    uint8_t edge[2][4 * hn::MaxLanes(D())];
    const auto toEdge = [&](size_t begin, size_t end, size_t at) HWY_ATTR
    {
        std::fill_n(edge[0], 2 * sizeof(edge[0]), Extreme::kNeutral);
        coverRange(begin, end, lanes,
                   [&](size_t x) HWY_ATTR
                   {
                       V upper, lower;
                       columns(x, upper, lower);
                       hn::StoreU(upper, d, edge[0] + at + x - begin);
                       hn::StoreU(lower, d, edge[1] + at + x - begin);
                   });
    };
    const auto fromEdge = [&](size_t at, size_t x) HWY_ATTR
    {
        const auto row = [&](const uint8_t* of) HWY_ATTR
        { return along(hn::LoadU(d, of + at), hn::LoadU(d, of + at + lanes)); };
        finish(x, row(edge[0]), row(edge[1]));
    };

    toEdge(0, 2 * lanes, radius);
    fromEdge(0, 0);
    size_t x = lanes;
    V upper, lower, nextUpper, nextLower;
    columns(x - radius, upper, lower);
    for (; x - radius + 2 * lanes <= width; x += lanes)
    {
        columns(x - radius + lanes, nextUpper, nextLower);
        finish(x, along(upper, nextUpper), along(lower, nextLower));
        upper = nextUpper;
        lower = nextLower;
    }
    // Fewer than two vectors are left.
    const size_t begin = width - 2 * lanes;
    toEdge(begin, width, 0);
    coverRange(std::min(x, width - lanes), width, lanes,
               [&](size_t at) HWY_ATTR { fromEdge(at - radius - begin, at); });
}

// ---- Images ----

// Extremes over the windows of the rows begin .. end - 1, in order. rowAt(y) gives the source rows, of which those
// outside the image are asked for too, up to one beyond the last window; finish(y, x, v) takes the results. Scratch
// holds extremeScratch(...) bytes.
HWY_INLINE size_t extremeRowBytes(size_t width, size_t radiusX)
{
    // Two vectors more are read and written over the end.
    return (width + 63) / 64 * 64 + 2 * ((radiusX + 63) / 64 * 64) + 192;
}

HWY_INLINE size_t extremeScratch(size_t width, size_t radiusX, size_t radiusY)
{
    const size_t rows = 2 * radiusY + 1;
    return 2 * extremeRowBytes(width, radiusX) + (rows + 1) * ((width + 63) / 64 * 64);
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
    uint8_t* const columns = scratch + margin;
    uint8_t* const stage = scratch + rowBytes;
    const auto along = [&](size_t y, uint8_t* row) HWY_ATTR
    {
        std::fill_n(row - radiusX, radiusX, Extreme::kNeutral);
        std::fill_n(row + width, radiusX, Extreme::kNeutral);
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
    const size_t step = (width + 63) / 64 * 64;
    uint8_t* const block = scratch + 2 * rowBytes;  // extremes from a row of the block to the block's end
    uint8_t* const running = block + rows * step;   // extremes from the next block's beginning on
    for (size_t y = begin; y < end; y += rows)
    {
        std::copy_n(sourceRow(y, rows - 1), width, block + (rows - 1) * step);
        for (size_t i = rows - 1; i-- > 0;)
        {
            extremeOfPair<Extreme>(d, sourceRow(y, i), block + (i + 1) * step, width, block + i * step);
        }
        std::fill_n(running, width, Extreme::kNeutral);
        for (size_t i = 0; i < std::min(rows, end - y); ++i)
        {
            // The block's last row belongs to its end already and does no harm twice.
            extremeOfBlocks<Extreme>(d, sourceRow(y, rows - 1 + i), block + i * step, width, running, columns);
            along(y + i, columns);
        }
    }
}

// Small windows take vectors that shiftedIn takes; below 17 columns longer ones cross a cache line with every load.
template <class Body>
HWY_INLINE void withVectorFor(const MorphologyCall& call, Body body)
{
    constexpr uint32_t kMostShortRadius = 7;
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
    const Scratch scratch(extremeScratch(call.width, call.radiusX, call.radiusY));
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
                      extremeRows<Extreme>(d, call.width, call.radiusX, call.radiusY, 0, call.height, scratch.data(),
                                           rowAt,
                                           [&](size_t y, size_t x, hn::Vec<decltype(d)> v) HWY_ATTR
                                           { hn::StoreU(v, d, call.dst + y * call.dstStride + x); });
                  });
    return VISORA_SUCCESS;
}

// Two extremes in turn, in strips of rows. Those of the first one's rows that the next strip's windows reach too are
// kept. combine(source, result) makes a pixel from those of the source and of the second extreme.
template <class First, class Second, class Combine>
HWY_INLINE vsrStatus twoExtremes(const MorphologyCall& call, Combine combine)
{
    const size_t reach = call.radiusY;
    const size_t stripRows = std::max<size_t>(2 * reach, 16);
    const size_t step = (call.width + 63) / 64 * 64;
    const size_t firstBytes = extremeScratch(call.width, call.radiusX, call.radiusY);
    const Scratch scratch(firstBytes + (stripRows + 2 * reach + 1) * step);
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    uint8_t* const strip = scratch.data() + firstBytes;
    const auto nearest = [&](ptrdiff_t y)
    { return static_cast<size_t>(std::clamp<ptrdiff_t>(y, 0, static_cast<ptrdiff_t>(call.height) - 1)); };
    withVectorFor(call,
                  [&](auto d) HWY_ATTR
                  {
                      using V = hn::Vec<decltype(d)>;
                      size_t made = 0;   // rows of the first extreme
                      size_t first = 0;  // the one that the strip begins with
                      for (size_t y = 0; y < call.height; y += stripRows)
                      {
                          const size_t end = std::min(y + stripRows, call.height);
                          const size_t needed = std::min(end + reach, call.height);
                          const size_t keepFrom = y - std::min(y, reach);
                          std::copy(strip + (keepFrom - first) * step, strip + (made - first) * step, strip);
                          first = keepFrom;
                          extremeRows<First>(
                              d, call.width, call.radiusX, call.radiusY, made, needed, scratch.data(),
                              [&](ptrdiff_t row) { return call.src + nearest(row) * call.srcStride; },
                              [&](size_t row, size_t x, V v) HWY_ATTR
                              { hn::StoreU(v, d, strip + (row - first) * step + x); });
                          made = needed;
                          extremeRows<Second>(
                              d, call.width, call.radiusX, call.radiusY, y, end, scratch.data(),
                              [&](ptrdiff_t row) { return strip + (nearest(row) - first) * step; },
                              [&](size_t row, size_t x, V v) HWY_ATTR
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
