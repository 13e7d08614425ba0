// Fourier transforms, vector variants: as many lines at once as a vector has lanes. Two stages go through the registers
// in one pass; every value is computed as the reference does.
#include "cpu/transform/visoraTransformFft.h"
#include "cpu/visoraPlane.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/transform/visoraTransformFftV.cpp"
#include <algorithm>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraTurn-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Lines = hn::CappedTag<float, 16>;
using Line = hn::Vec<Lines>;
constexpr size_t kLanes = hn::MaxLanes(Lines());
// Rows are often a power of two apart, and sixteen of them would drive each other out of the cache before a line of it
// is used up: with vectors of a cache line whole ones are taken.
constexpr bool kByCacheLine = kLanes == 16;

// One complex value of every line.
struct Point
{
    Line re, im;
};

// The points of as many lines as there are lanes, and twiddle factors of all stages. Handed on by value: the addresses
// would be read again after every store otherwise.
struct Points
{
    HWY_INLINE Point get(size_t j) const
    {
        const Lines d;
        return {hn::LoadU(d, values + 2 * kLanes * j), hn::LoadU(d, values + 2 * kLanes * j + kLanes)};
    }

    HWY_INLINE void set(size_t j, const Point& p) const
    {
        const Lines d;
        hn::StoreU(p.re, d, values + 2 * kLanes * j);
        hn::StoreU(p.im, d, values + 2 * kLanes * j + kLanes);
    }

    // b times the twiddle factor k of stage h.
    HWY_INLINE Point twisted(const Point& b, size_t h, size_t k) const
    {
        const Lines d;
        const auto c = hn::Set(d, twiddles[2 * (h + k)]);
        const auto s = hn::Set(d, twiddles[2 * (h + k) + 1]);
        return {hn::Add(hn::Mul(c, b.re), hn::Mul(s, b.im)), hn::Sub(hn::Mul(c, b.im), hn::Mul(s, b.re))};
    }

    float* values = nullptr;
    float* twiddles = nullptr;
};

// Buffers of a transform of up to `longest` values: the points, the twiddle factors, and where a value goes at first.
class Work
{
  public:
    HWY_INLINE Work(uint32_t longest, size_t extraFloats)
        : scratch_((size_t{longest} * (2 * kLanes + 3) + extraFloats) * sizeof(float))
    {
        if (isThere())
        {
            points_.values = scratch_.as<float>();
            points_.twiddles = points_.values + 2 * kLanes * longest;
            places_ = reinterpret_cast<uint32_t*>(points_.twiddles + 2 * size_t{longest});
            extra_ = points_.twiddles + 3 * size_t{longest};
        }
    }

    HWY_INLINE bool isThere() const { return scratch_.data() != nullptr; }
    HWY_INLINE float* extra() const { return extra_; }

    // For lines of n values. A negative sine is what tells the inverse transform from the forward one.
    HWY_INLINE void setLength(uint32_t n, bool inverse)
    {
        n_ = n;
        const float* wave = quarterWave();
        for (uint32_t h = 1; h < n; h *= 2)
        {
            for (uint32_t k = 0; k < h; ++k)
            {
                const Twiddle w = twiddle(wave, k, h);
                points_.twiddles[2 * (h + k)] = w.c;
                points_.twiddles[2 * (h + k) + 1] = inverse ? -w.s : w.s;
            }
        }
        for (uint32_t j = 0; j < n; ++j)
        {
            places_[j] = reversedBits(j, bitsOf(n));
        }
    }

    HWY_INLINE uint32_t length() const { return n_; }
    HWY_INLINE Points points() const { return points_; }
    HWY_INLINE Point get(size_t j) const { return points_.get(j); }

    // Value i before the transform.
    HWY_INLINE void setSource(size_t i, const Point& p) const { points_.set(places_[i], p); }

  private:
    Scratch scratch_;
    Points points_;
    uint32_t* places_ = nullptr;
    float* extra_ = nullptr;
    uint32_t n_ = 0;
};

HWY_INLINE Point operator+(const Point& a, const Point& b)
{
    return {hn::Add(a.re, b.re), hn::Add(a.im, b.im)};
}

HWY_INLINE Point operator-(const Point& a, const Point& b)
{
    return {hn::Sub(a.re, b.re), hn::Sub(a.im, b.im)};
}

// A quarter of a turn.
template <bool inverse>
HWY_INLINE Point turnedQuarter(const Point& b)
{
    if constexpr (inverse)
    {
        return {hn::Neg(b.im), b.re};
    }
    else
    {
        return {b.im, hn::Neg(b.re)};
    }
}

// Stages h and 2h of the four points j, j + h, j + 2h, j + 3h, given what the first stage's and the second stage's two
// factors make of a point.
template <class First, class Second, class Third>
HWY_INLINE void fourPoints(Points points, size_t j, size_t h, First first, Second second, Third third)
{
    const Point p0 = points.get(j);
    const Point p2 = points.get(j + 2 * h);
    const Point t1 = first(points.get(j + h));
    const Point t3 = first(points.get(j + 3 * h));
    const Point a0 = p0 + t1;
    const Point a1 = p0 - t1;
    const Point a2 = second(p2 + t3);
    const Point a3 = third(p2 - t3);
    points.set(j, a0 + a2);
    points.set(j + h, a1 + a3);
    points.set(j + 2 * h, a0 - a2);
    points.set(j + 3 * h, a1 - a3);
}

// So many points of all lines are transformed while they are in the nearest cache.
constexpr size_t kNear = 2048 / kLanes;

// Stages h and 2h of the points from begin to end.
template <bool inverse>
HWY_INLINE void twoStages(Points points, size_t begin, size_t end, size_t h)
{
    const auto same = [](const Point& p) HWY_ATTR { return p; };
    const auto quarter = [](const Point& p) HWY_ATTR { return turnedQuarter<inverse>(p); };
    for (size_t g = begin; g < end; g += 4 * h)
    {
        fourPoints(points, g, h, same, same, quarter);
        for (size_t k = 1; k < h; ++k)
        {
            const auto second = [&](const Point& p) HWY_ATTR { return points.twisted(p, 2 * h, k); };
            const auto third = [&](const Point& p) HWY_ATTR { return points.twisted(p, 2 * h, k + h); };
            if (2 * k == h)
            {
                fourPoints(points, g + k, h, quarter, second, third);
            }
            else
            {
                fourPoints(
                    points, g + k, h, [&](const Point& p) HWY_ATTR { return points.twisted(p, h, k); }, second, third);
            }
        }
    }
}

// The stages below n of the n points from begin on. Quarters are independent until they are joined.
template <bool inverse>
void transformPart(Points points, size_t begin, size_t n)
{
    const size_t end = begin + n;
    if (n > kNear)
    {
        for (size_t part = begin; part < end; part += n / 4)
        {
            transformPart<inverse>(points, part, n / 4);
        }
        return twoStages<inverse>(points, begin, end, n / 4);
    }
    size_t h = 1;
    if (bitsOf(static_cast<uint32_t>(n)) % 2 != 0)
    {
        for (size_t j = begin; j < end; j += 2)
        {
            const Point a = points.get(j);
            const Point b = points.get(j + 1);
            points.set(j, a + b);
            points.set(j + 1, a - b);
        }
        h = 2;
    }
    for (; h < n; h *= 4)
    {
        twoStages<inverse>(points, begin, end, h);
    }
}

template <bool inverse>
HWY_INLINE void transform(const Work& work)
{
    transformPart<inverse>(work.points(), 0, work.length());
}

// No negative zero, one kind of NaN.
HWY_INLINE Line finishedLine(Line r)
{
    const Lines d;
    const auto sum = hn::Add(r, hn::Zero(d));
    const auto nan = hn::BitCast(d, hn::Set(hn::RebindToUnsigned<Lines>(), 0x7fc00000u));
    return hn::IfThenElse(hn::Eq(sum, sum), sum, nan);
}

HWY_INLINE Point finishedPoint(const Point& p)
{
    return {finishedLine(p.re), finishedLine(p.im)};
}

HWY_INLINE hn::Vec<Quad> fourFloats(const float* from)
{
    return hn::LoadU(Quad(), from);
}

HWY_INLINE hn::Vec<Quad> fourFloats(const uint8_t* from)
{
    return hn::ConvertTo(Quad(),
                         hn::PromoteTo(hn::FixedTag<int32_t, 4>(), hn::LoadU(hn::FixedTag<uint8_t, 4>(), from)));
}

// As many floats as there are lanes.
HWY_INLINE Line lineOfFloats(const float* from)
{
    return hn::LoadU(Lines(), from);
}

HWY_INLINE Line lineOfFloats(const uint8_t* from)
{
    const hn::Rebind<int32_t, Lines> d32;
    return hn::ConvertTo(Lines(), hn::PromoteTo(d32, hn::LoadU(hn::Rebind<uint8_t, Lines>(), from)));
}

// Calls put(x, four columns) for the columns of rows y, y + 1, ..., from x on; beyond the last row it is repeated.
template <class T, class Put>
HWY_INLINE void forColumns(const T* src, size_t stride, size_t y, uint32_t height, size_t floats, Put put)
{
    const Lines d;
    const auto rowAt = [&](size_t row) { return planeRow(src, stride, std::min<size_t>(y + row, height - 1)); };
    if constexpr (kByCacheLine)
    {
        if (floats >= kLanes)
        {
            for (size_t x = 0; x < floats; x += kLanes)
            {
                const auto every4th = [&](size_t row) HWY_ATTR
                {
                    return turnedQuads(
                        d, Block<Lines>{lineOfFloats(rowAt(row) + x), lineOfFloats(rowAt(row + 4) + x),
                                        lineOfFloats(rowAt(row + 8) + x), lineOfFloats(rowAt(row + 12) + x)});
                };
                const Block<Lines> r0 = every4th(0);
                const Block<Lines> r1 = every4th(1);
                const Block<Lines> r2 = every4th(2);
                const Block<Lines> r3 = every4th(3);
                put(x, turned(d, Block<Lines>{r0.v0, r1.v0, r2.v0, r3.v0}));
                put(x + 4, turned(d, Block<Lines>{r0.v1, r1.v1, r2.v1, r3.v1}));
                put(x + 8, turned(d, Block<Lines>{r0.v2, r1.v2, r2.v2, r3.v2}));
                put(x + 12, turned(d, Block<Lines>{r0.v3, r1.v3, r2.v3, r3.v3}));
            }
            return;
        }
    }
    for (size_t x = 0; x < floats; x += 4)
    {
        put(x, loadColumns(d, [&](size_t row) HWY_ATTR { return fourFloats(rowAt(row) + x); }));
    }
}

// Stores rows of which columns(x) gives four columns from x on.
template <class Columns>
HWY_INLINE void storeRows(float* dst, size_t pitch, size_t rows, size_t floats, Columns columns)
{
    const Lines d;
    if constexpr (kByCacheLine)
    {
        if (floats >= kLanes)
        {
            for (size_t x = 0; x < floats; x += kLanes)
            {
                const Block<Lines> c0 = turned(d, columns(x));
                const Block<Lines> c1 = turned(d, columns(x + 4));
                const Block<Lines> c2 = turned(d, columns(x + 8));
                const Block<Lines> c3 = turned(d, columns(x + 12));
                const auto store = [&](size_t row, Line line) HWY_ATTR
                {
                    if (row < rows)
                    {
                        hn::StoreU(line, d, dst + row * pitch + x);
                    }
                };
                const auto every4th = [&](size_t row, const Block<Lines>& quads) HWY_ATTR
                {
                    const Block<Lines> lines = turnedQuads(d, quads);
                    store(row, lines.v0);
                    store(row + 4, lines.v1);
                    store(row + 8, lines.v2);
                    store(row + 12, lines.v3);
                };
                every4th(0, {c0.v0, c1.v0, c2.v0, c3.v0});
                every4th(1, {c0.v1, c1.v1, c2.v1, c3.v1});
                every4th(2, {c0.v2, c1.v2, c2.v2, c3.v2});
                every4th(3, {c0.v3, c1.v3, c2.v3, c3.v3});
            }
            return;
        }
    }
    for (size_t x = 0; x < floats; x += 4)
    {
        storeColumns(d, columns(x),
                     [&](size_t row, auto four) HWY_ATTR
                     {
                         if (row < rows)
                         {
                             hn::StoreU(four, Quad(), dst + row * pitch + x);
                         }
                     });
    }
}

// Rows through the transform. load(y) sets the points of the rows from y on; the results go to `dst`.
template <bool inverse, class Load>
HWY_INLINE void transformRows(const Work& work, uint32_t height, float* dst, size_t dstPitch, bool finish, Load load)
{
    const Points points = work.points();
    const size_t floats = 2 * size_t{work.length()};
    const auto columns = [=](size_t x) HWY_ATTR
    {
        Point a = points.get(x / 2);
        Point b = points.get(x / 2 + 1);
        if (finish)
        {
            a = finishedPoint(a);
            b = finishedPoint(b);
        }
        return Block<Lines>{a.re, a.im, b.re, b.im};
    };
    for (size_t y = 0; y < height; y += kLanes)
    {
        const size_t rows = std::min<size_t>(kLanes, height - y);
        load(y);
        transform<inverse>(work);
        storeRows(dst + y * dstPitch, dstPitch, rows, floats, columns);
    }
}

// Points from rows y, y + 1, ...
template <bool isComplex, class T>
HWY_INLINE void loadRows(const Work& work, const T* src, size_t stride, size_t y, uint32_t height)
{
    const size_t floats = (isComplex ? 2 : 1) * size_t{work.length()};
    const auto put = [&](size_t x, const Block<Lines>& b) HWY_ATTR
    {
        if constexpr (isComplex)
        {
            work.setSource(x / 2, {b.v0, b.v1});
            work.setSource(x / 2 + 1, {b.v2, b.v3});
        }
        else
        {
            const auto zero = hn::Zero(Lines());
            work.setSource(x, {b.v0, zero});
            work.setSource(x + 1, {b.v1, zero});
            work.setSource(x + 2, {b.v2, zero});
            work.setSource(x + 3, {b.v3, zero});
        }
    };
    forColumns(src, stride, y, height, floats, put);
}

// Columns x .. x + count - 1 of complex rows into the points.
HWY_INLINE void loadColumnsOf(const Work& work, const float* src, size_t pitch, size_t x, size_t count)
{
    const Lines d;
    for (size_t y = 0; y < work.length(); ++y)
    {
        const float* row = src + y * pitch + 2 * x;
        float some[2 * kLanes] = {};
        if (count < kLanes)
        {
            std::copy_n(row, 2 * count, some);
            row = some;
        }
        Point p;
        hn::LoadInterleaved2(d, row, p.re, p.im);
        work.setSource(y, p);
    }
}

HWY_INLINE void storeComplex(const Point& p, size_t skip, size_t count, float* to)
{
    const Lines d;
    if (skip == 0 && count == kLanes)
    {
        return hn::StoreInterleaved2(p.re, p.im, d, to);
    }
    float all[2 * kLanes];
    hn::StoreInterleaved2(p.re, p.im, d, all);
    std::copy_n(all + 2 * skip, 2 * count, to);
}

// The columns of a complex image, in place.
HWY_INLINE void transformColumns(const Work& work, uint32_t width, float* dst, size_t pitch)
{
    for (size_t x = 0; x < width; x += kLanes)
    {
        const size_t count = std::min<size_t>(kLanes, width - x);
        loadColumnsOf(work, dst, pitch, x, count);
        transform<false>(work);
        for (size_t y = 0; y < work.length(); ++y)
        {
            storeComplex(finishedPoint(work.get(y)), 0, count, dst + y * pitch + 2 * x);
        }
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
        loadColumnsOf(work, dst, pitch, x, isMiddle ? 1 : kLanes);
        transform<false>(work);
        for (size_t y = 0; y < n; ++y)
        {
            const Point p = work.get(y);
            storeComplex(finishedPoint(p), 0, isMiddle ? 1 : kLanes, dst + y * pitch + 2 * x);
            if (!isMiddle)
            {
                // Column 0 is its own mirror image.
                const Point mirrored = finishedPoint({hn::Reverse(d, p.re), hn::Neg(hn::Reverse(d, p.im))});
                float* to = dst + (y == 0 ? 0 : n - y) * pitch + 2 * (width - x - (kLanes - 1));
                storeComplex(mirrored, 0, x == 0 ? kLanes - 1 : kLanes, to);
            }
        }
    }
}

template <class T>
HWY_INLINE vsrStatus forwardReal(const T* src, uint32_t width, uint32_t height, uint32_t srcStride, bool columns,
                                 float* dst, uint32_t dstStride)
{
    Work work(std::max(width, columns ? height : 1), 0);
    if (!work.isThere())
    {
        return VISORA_ENOMEM;
    }
    const size_t pitch = dstStride / sizeof(float);
    work.setLength(width, false);
    transformRows<false>(work, height, dst, pitch, !columns,
                         [&](size_t y) HWY_ATTR { loadRows<false>(work, src, srcStride, y, height); });
    if (columns)
    {
        work.setLength(height, false);
        if (width >= 2 * kLanes)
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

HWY_INLINE vsrStatus forwardComplex(const float* src, uint32_t width, uint32_t height, uint32_t srcStride, bool columns,
                                    float* dst, uint32_t dstStride)
{
    Work work(std::max(width, columns ? height : 1), 0);
    if (!work.isThere())
    {
        return VISORA_ENOMEM;
    }
    const size_t pitch = dstStride / sizeof(float);
    work.setLength(width, false);
    transformRows<false>(work, height, dst, pitch, !columns,
                         [&](size_t y) HWY_ATTR { loadRows<true>(work, src, srcStride, y, height); });
    if (columns)
    {
        work.setLength(height, false);
        transformColumns(work, width, dst, pitch);
    }
    return VISORA_SUCCESS;
}

constexpr uint32_t kNarrowest = 4;

vsrStatus fftu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                uint32_t dstStride)
{
    return srcWidth < kNarrowest ? vsrFFTu8C(src, srcWidth, srcHeight, srcStride, dst, dstStride)
                                 : forwardReal(src, srcWidth, srcHeight, srcStride, true, dst, dstStride);
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
               ? forwardComplex(src, srcWidth, srcHeight, srcStride, columns, dst, dstStride)
               : forwardReal(src, srcWidth, srcHeight, srcStride, columns, dst, dstStride);
}

vsrStatus ifftf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                  uint32_t dstStride)
{
    if (srcWidth < kNarrowest)
    {
        return vsrIFFTf32C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    }
    const Lines d;
    const size_t values = size_t{srcWidth} * srcHeight;
    Work work(std::max(srcWidth, srcHeight), 2 * values);
    if (!work.isThere())
    {
        return VISORA_ENOMEM;
    }
    float* rows = work.extra();
    const size_t pitch = 2 * size_t{srcWidth};
    work.setLength(srcWidth, true);
    transformRows<true>(work, srcHeight, rows, pitch, false,
                        [&](size_t y) HWY_ATTR { loadRows<true>(work, src, srcStride, y, srcHeight); });
    work.setLength(srcHeight, true);
    const auto scale = hn::Set(d, 1.0f / static_cast<float>(values));
    for (size_t x = 0; x < srcWidth; x += kLanes)
    {
        const size_t count = std::min<size_t>(kLanes, srcWidth - x);
        loadColumnsOf(work, rows, pitch, x, count);
        transform<true>(work);
        for (size_t y = 0; y < srcHeight; ++y)
        {
            float some[kLanes];
            float* to = planeRow(dst, dstStride, y) + x;
            hn::StoreU(finishedLine(hn::Mul(work.get(y).re, scale)), d, count == kLanes ? to : some);
            if (count < kLanes)
            {
                std::copy_n(some, count, to);
            }
        }
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
