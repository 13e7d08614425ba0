// Fourier transforms, vector variants: rows, then columns, as many at once as a vector has lanes.
#include "cpu/visoraPlane.h"
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/transform/visoraTransformFftV.cpp"
#include <algorithm>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/transform/visoraTransformFft-inl.h"
#include "vecta/transform/visoraTransformFftRows-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraStream-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// No negative zero, one kind of NaN.
HWY_INLINE Line finishedLine(Line r)
{
    const Lines d;
#if HWY_TARGET <= HWY_AVX3
    // One instruction does both: of each kind of number it takes the second operand, but +0 for a zero and the first
    // operand for NaNs.
    constexpr int kKinds = 0x11111800;
    const auto nan = hn::BitCast(d, hn::Set(hn::RebindToUnsigned<Lines>(), 0x7FC00000u));
    return Line{_mm512_fixupimm_ps(nan.raw, r.raw, _mm512_set1_epi32(kKinds), 0)};
#else
    return resultWithOneNan(d, hn::Add(r, hn::Zero(d)));
#endif
}

HWY_INLINE Point finishedPoint(const Point& p)
{
    return {finishedLine(p.re), finishedLine(p.im)};
}

// Points from rows y, y + 1, ...; of real values without room for imaginary parts.
template <bool isComplex, class T>
HWY_INLINE void loadRows(const Work& work, const T* src, size_t stride, size_t y, uint32_t height)
{
    const Points points = work.points();
    forColumns(src, stride, y, height, (isComplex ? 2 : 1) * size_t{work.length()},
               [&](size_t x, const Block<Lines>& b) HWY_ATTR
               {
                   if constexpr (isComplex)
                   {
                       points.set(work.place(x / 2), {b.v0, b.v1});
                       points.set(work.place(x / 2 + 1), {b.v2, b.v3});
                   }
                   else
                   {
                       const Lines d;
                       hn::StoreU(b.v0, d, points.values + kLanes * work.place(x));
                       hn::StoreU(b.v1, d, points.values + kLanes * work.place(x + 1));
                       hn::StoreU(b.v2, d, points.values + kLanes * work.place(x + 2));
                       hn::StoreU(b.v3, d, points.values + kLanes * work.place(x + 3));
                   }
               });
}

// The complex rows of an image; store(y, rows, begin, end) takes values begin .. end - 1 of rows from y on.
template <bool inverse, size_t chunkSize = kChunk, class Store>
HWY_INLINE void transformRows(const Work& work, const float* src, size_t stride, uint32_t height, Store store)
{
    for (size_t y = 0; y < height; y += kLanes)
    {
        const size_t rows = std::min<size_t>(kLanes, height - y);
        // All places at once, in the order in which the rows lie in memory.
        loadRows<true>(work, src, stride, y, height);
        transform<inverse, chunkSize>(
            work, [](size_t /*begin*/, size_t /*end*/) {},
            [&](size_t begin, size_t end) HWY_ATTR { store(y, rows, begin, end); });
    }
}

// The real rows of an image; store(y, rows, begin, end) takes at least the first `wanted` values of the spectra.
template <class T, class Store>
HWY_INLINE void transformRealRows(const Work& work, const T* src, size_t stride, uint32_t height, size_t wanted,
                                  Store store)
{
    const size_t n = work.length();
    for (size_t y = 0; y < height; y += kLanes)
    {
        const size_t rows = std::min<size_t>(kLanes, height - y);
        loadRows<false>(work, src, stride, y, height);
        transformRealPart(work.points(), 0, n);
        for (size_t j = 0; j < wanted; j += kChunk)
        {
            store(y, rows, j, std::min(n, j + kChunk));
        }
    }
}

HWY_INLINE Point loadComplex(const float* from, size_t count)
{
    const Lines d;
    float some[2 * kLanes] = {};
    if (count < kLanes)
    {
        std::copy_n(from, 2 * count, some);
        from = some;
    }
    Point p;
    hn::LoadInterleaved2(d, from, p.re, p.im);
    return p;
}

// With kStreams, for which places begin cache lines and vectors are such, past the caches.
template <bool kStreams = false>
HWY_INLINE void storeComplex(const Point& p, size_t skip, size_t count, float* to)
{
    const Lines d;
    if (skip == 0 && count == kLanes)
    {
#if HWY_TARGET <= HWY_AVX3
        const __m512i lower = _mm512_set_epi32(23, 7, 22, 6, 21, 5, 20, 4, 19, 3, 18, 2, 17, 1, 16, 0);
        const __m512i upper = _mm512_add_epi32(lower, _mm512_set1_epi32(8));
        storeOrStream<kStreams>(Line{_mm512_permutex2var_ps(p.re.raw, lower, p.im.raw)}, d, to);
        return storeOrStream<kStreams>(Line{_mm512_permutex2var_ps(p.re.raw, upper, p.im.raw)}, d, to + kLanes);
#else
        return hn::StoreInterleaved2(p.re, p.im, d, to);
#endif
    }
    float all[2 * kLanes];
    hn::StoreInterleaved2(p.re, p.im, d, all);
    std::copy_n(all + 2 * skip, 2 * count, to);
}

// Whether a row of so many complex values is worth the lanes of its own.
HWY_INLINE bool fillsLanes(uint32_t width)
{
    return width >= kLanes * kLanes;
}

// Whether `dst`, of at least so many bytes, is stored past the caches: its lines come in an order that is waited for.
// What lies in place of the source is near.
HWY_INLINE bool goesPastCaches(const float* src, const float* dst, size_t bytes, size_t stride, size_t least)
{
    constexpr size_t kLine = 64;
    return kByCacheLine && src != dst && isStreamed(bytes, least) &&
           (reinterpret_cast<uintptr_t>(dst) | stride) % kLine == 0;
}

// The complex rows of an image, one by one; put(y, x, point) takes the values of row y from x on.
template <bool inverse, class Put>
HWY_INLINE void transformWideRows(const Work& work, const float* src, size_t stride, uint32_t height, Put put)
{
    for (size_t y = 0; y < height; ++y)
    {
        const float* row = planeRow(src, stride, y);
        transformRow<inverse>(
            work, [=](size_t j) HWY_ATTR { return loadComplex(row + 2 * kLanes * j, kLanes); },
            [=](size_t x, const Point& p) HWY_ATTR { put(y, x, p); });
    }
}

// Columns, transformed: row(y) gives their values in row y, put(y, point) takes the results once all have been asked
// for.
template <bool inverse, class Row, class Put>
HWY_INLINE void transformColumn(const Work& work, Row row, Put put)
{
    const Points points = work.points();
    transform<inverse>(
        work,
        [&](size_t begin, size_t end) HWY_ATTR
        {
            for (size_t place = begin; place < end; ++place)
            {
                points.set(place, row(work.place(place)));
            }
        },
        [&](size_t begin, size_t end) HWY_ATTR
        {
            for (size_t y = begin; y < end; ++y)
            {
                put(y, points.get(y));
            }
        });
}

// The columns of a complex image, in place.
HWY_INLINE void transformColumns(const Work& work, uint32_t width, float* dst, size_t pitch)
{
    for (size_t x = 0; x < width; x += kLanes)
    {
        const size_t count = std::min<size_t>(kLanes, width - x);
        transformColumn<false>(
            work, [&](size_t y) HWY_ATTR { return loadComplex(dst + y * pitch + 2 * x, count); },
            [&](size_t y, const Point& p) HWY_ATTR
            { storeComplex(finishedPoint(p), 0, count, dst + y * pitch + 2 * x); });
    }
}

// The same where the rows come from real values: the right half holds the conjugates of the left one, turned about the
// centre, so only columns up to the middle are transformed.
HWY_INLINE void transformHalfOfColumns(const Work& work, uint32_t width, float* dst, size_t pitch)
{
    const Lines d;
    const size_t n = work.length();
    for (size_t x = 0; x <= width / 2; x += kLanes)
    {
        const bool isMiddle = x == width / 2;
        const size_t count = isMiddle ? 1 : kLanes;
        transformColumn<false>(
            work, [&](size_t y) HWY_ATTR { return loadComplex(dst + y * pitch + 2 * x, count); },
            [&](size_t y, const Point& p) HWY_ATTR
            {
                storeComplex(finishedPoint(p), 0, count, dst + y * pitch + 2 * x);
                if (!isMiddle)
                {
                    // Column 0 is its own mirror image.
                    const Point mirrored = finishedPoint({hn::Reverse(d, p.re), hn::Neg(hn::Reverse(d, p.im))});
                    float* to = dst + (y == 0 ? 0 : n - y) * pitch + 2 * (width - x - (kLanes - 1));
                    storeComplex(mirrored, 0, x == 0 ? kLanes - 1 : kLanes, to);
                }
            });
    }
}

template <bool isComplex, class T>
HWY_INLINE vsrStatus forward(const T* src, uint32_t width, uint32_t height, uint32_t srcStride, bool columns,
                             float* dst, uint32_t dstStride)
{
    Work work(std::max(width, columns ? height : 1), 0);
    if (!work.isThere())
    {
        return VISORA_ENOMEM;
    }
    const size_t pitch = dstStride / sizeof(float);
    const bool onlyHalf = !isComplex && columns && width >= 2 * kLanes;
    const Points points = work.points();
    const auto storePairs = [&](auto valueAt) HWY_ATTR
    {
        const auto pairs = [=](size_t x) HWY_ATTR
        {
            Point a = valueAt(x / 2);
            Point b = valueAt(x / 2 + 1);
            if (!columns)
            {
                a = finishedPoint(a);
                b = finishedPoint(b);
            }
            return Block<Lines>{a.re, a.im, b.re, b.im};
        };
        return [=](size_t y, size_t rows, size_t begin, size_t end) HWY_ATTR
        { storeRows(dst + y * pitch, pitch, rows, 2 * begin, 2 * end, pairs); };
    };
    if constexpr (isComplex)
    {
        if (fillsLanes(width))
        {
            work.setRow(width, false);
            const auto store = [=](size_t y, size_t x, const Point& p) HWY_ATTR
            { storeComplex(columns ? p : finishedPoint(p), 0, kLanes, dst + y * pitch + 2 * x); };
            const auto stream = [=](size_t y, size_t x, const Point& p) HWY_ATTR
            { storeComplex<kByCacheLine>(columns ? p : finishedPoint(p), 0, kLanes, dst + y * pitch + 2 * x); };
            if (goesPastCaches(src, dst, size_t{dstStride} * height, dstStride,
                               columns ? kStreamedInOrder : kStreamedTurned))
            {
                transformWideRows<false>(work, src, srcStride, height, stream);
                hwy::FlushStream();
            }
            else
            {
                transformWideRows<false>(work, src, srcStride, height, store);
            }
        }
        else
        {
            work.setLength(width, false);
            transformRows<false>(work, src, srcStride, height,
                                 storePairs([=](size_t j) HWY_ATTR { return points.get(j); }));
        }
    }
    else
    {
        const size_t wanted = onlyHalf ? width / 2 + 1 : width;
        work.setLength(width, false);
        transformRealRows(work, src, srcStride, height, wanted,
                          storePairs([=](size_t j) HWY_ATTR { return spectrumAt(points, j, width); }));
    }
    if (columns)
    {
        work.setLength(height, false);
        if (onlyHalf)
        {
            transformHalfOfColumns(work, width, dst, pitch);
        }
        else
        {
            transformColumns(work, width, dst, pitch);
        }
    }
    return VISORA_SUCCESS;
}

constexpr uint32_t kNarrowest = 4;

vsrStatus fftu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                uint32_t dstStride)
{
    return srcWidth < kNarrowest ? vsrFFTu8C(src, srcWidth, srcHeight, srcStride, dst, dstStride)
                                 : forward<false>(src, srcWidth, srcHeight, srcStride, true, dst, dstStride);
}

vsrStatus fftf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t flags,
                 float* dst, uint32_t dstStride)
{
    if (srcWidth < kNarrowest)
    {
        return vsrFFTf32C(src, srcWidth, srcHeight, srcStride, flags, dst, dstStride);
    }
    const bool columns = (flags & VISORA_FFT_ROWS) == 0;
    return (flags & VISORA_FFT_COMPLEX) != 0
               ? forward<true>(src, srcWidth, srcHeight, srcStride, columns, dst, dstStride)
               : forward<false>(src, srcWidth, srcHeight, srcStride, columns, dst, dstStride);
}

vsrStatus ifftf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                  uint32_t dstStride)
{
    if (srcWidth < kNarrowest)
    {
        return vsrIFFTf32C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    }
    // Between the passes the values of as many columns as there are lanes lie one row behind the other, real parts
    // before imaginary ones: columns of the destination would be a page apart. Bands that are no power of two apart do
    // not drive each other out of the cache.
    const size_t bands = (srcWidth + kLanes - 1) / kLanes;
    const size_t band = 2 * kLanes * (size_t{srcHeight} + 1);
    Work work(std::max(srcWidth, srcHeight), band * bands);
    if (!work.isThere())
    {
        return VISORA_ENOMEM;
    }
    const Lines d;
    const Points points = work.points();
    float* const all = work.extra();
    const auto between = [=](size_t y, size_t x) HWY_ATTR { return all + x / kLanes * band + y * 2 * kLanes; };
    if (fillsLanes(srcWidth))
    {
        work.setRow(srcWidth, true);
        const auto run = [&](auto store) HWY_ATTR
        {
            transformWideRows<true>(work, src, srcStride, srcHeight,
                                    [=](size_t y, size_t x, const Point& p) HWY_ATTR
                                    {
                                        store(p.re, between(y, x));
                                        store(p.im, between(y, x) + kLanes);
                                    });
        };
        if (goesPastCaches(src, all, band * bands * sizeof(float), band * sizeof(float), kStreamedInOrder))
        {
            run([=](Line line, float* to) HWY_ATTR { hn::Stream(line, d, to); });
            hwy::FlushStream();
        }
        else
        {
            run([=](Line line, float* to) HWY_ATTR { hn::StoreU(line, d, to); });
        }
    }
    else
    {
        const auto realParts = [=](size_t x) HWY_ATTR {
            return Block<Lines>{points.get(x).re, points.get(x + 1).re, points.get(x + 2).re, points.get(x + 3).re};
        };
        const auto imaginaryParts = [=](size_t x) HWY_ATTR {
            return Block<Lines>{points.get(x).im, points.get(x + 1).im, points.get(x + 2).im, points.get(x + 3).im};
        };
        work.setLength(srcWidth, true);
        transformRows<true, kLanes>(work, src, srcStride, srcHeight,
                                    [&](size_t y, size_t rows, size_t begin, size_t end) HWY_ATTR
                                    {
                                        float* const to = between(y, begin) - begin;
                                        storeRows(to, 2 * kLanes, rows, begin, end, realParts);
                                        storeRows(to + kLanes, 2 * kLanes, rows, begin, end, imaginaryParts);
                                    });
    }
    work.setLength(srcHeight, true);
    const auto scale = hn::Set(d, 1.0f / static_cast<float>(size_t{srcWidth} * srcHeight));
    const size_t dstPitch = dstStride / sizeof(float);
    const auto transformBand = [&](size_t x, auto store) HWY_ATTR
    {
        transformColumn<true>(
            work,
            [&](size_t y) HWY_ATTR
            {
                const float* const from = between(y, x);
                if constexpr (kByCacheLine)
                {
                    // The columns to come are asked for.
                    hwy::Prefetch(from + band);
                    hwy::Prefetch(from + band + kLanes);
                }
                return Point{hn::LoadU(d, from), hn::LoadU(d, from + kLanes)};
            },
            [&](size_t y, const Point& p) HWY_ATTR
            { store(finishedLine(hn::Mul(p.re, scale)), dst + y * dstPitch + x); });
    };
    if (goesPastCaches(src, dst, size_t{dstStride} * srcHeight, dstStride, kStreamedTurned))
    {
        for (size_t x = 0; x < srcWidth; x += kLanes)
        {
            transformBand(x, [=](Line line, float* to) HWY_ATTR { hn::Stream(line, d, to); });
        }
        hwy::FlushStream();
        return VISORA_SUCCESS;
    }
    for (size_t x = 0; x < srcWidth; x += kLanes)
    {
        const size_t count = std::min<size_t>(kLanes, srcWidth - x);
        transformBand(x,
                      [=](Line line, float* to) HWY_ATTR
                      {
                          if (count == kLanes)
                          {
                              return hn::StoreU(line, d, to);
                          }
                          float some[kLanes];
                          hn::StoreU(line, d, some);
                          std::copy_n(some, count, to);
                      });
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFFTu8, fftu8);
VSR_VECTOR(vsrFFTf32, fftf32);
VSR_VECTOR(vsrIFFTf32, ifftf32);

#endif
