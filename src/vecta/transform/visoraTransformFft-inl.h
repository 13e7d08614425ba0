// Fourier transforms of as many lines at once as a vector has lanes. Two or three stages go through the registers in
// one pass; every value is computed as the reference does. Included once per instruction set.
#if defined(VISORA_VECTA_TRANSFORM_FFT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_TRANSFORM_FFT_INL_H
#undef VISORA_VECTA_TRANSFORM_FFT_INL_H
#else
#define VISORA_VECTA_TRANSFORM_FFT_INL_H
#endif

#include <algorithm>

#include "cpu/transform/visoraTransformFft.h"
#include "cpu/visoraScratch.h"
#include "hwy/highway.h"
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

    // For single lines of n values, at least kLanes * kLanes: the lanes hold values that follow each other. The length
    // is the number of points; factors of the stages that join them are grouped by lanes, cosines first.
    HWY_INLINE void setRow(uint32_t n, bool inverse)
    {
        const auto count = static_cast<uint32_t>(n / kLanes);
        setLength(count, inverse);
        const float* wave = quarterWave();
        for (uint32_t h = count; h < n; h *= 2)
        {
            for (uint32_t k = 0; k < h; ++k)
            {
                const Twiddle w = twiddle(wave, k, h);
                float* to = points_.twiddles + 2 * (h + k / kLanes * kLanes) + k % kLanes;
                to[0] = w.c;
                to[kLanes] = inverse ? -w.s : w.s;
            }
        }
    }

    HWY_INLINE uint32_t length() const { return n_; }
    HWY_INLINE Points points() const { return points_; }
    // Where value i is before the transform, which is also the value that is at place i.
    HWY_INLINE size_t place(size_t i) const { return places_[i]; }
    HWY_INLINE const uint32_t* places() const { return places_; }

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

// Stages h and 2h of four points, h apart from j on, given what the first stage's and the second stage's two factors
// make of a point. get(j) and put(j, point) give and take points.
template <class Get, class Put, class First, class Second, class Third>
HWY_INLINE void fourPoints(size_t j, size_t h, Get get, Put put, First first, Second second, Third third)
{
    const Point p0 = get(j);
    const Point p2 = get(j + 2 * h);
    const Point t1 = first(get(j + h));
    const Point t3 = first(get(j + 3 * h));
    const Point a0 = p0 + t1;
    const Point a1 = p0 - t1;
    const Point a2 = second(p2 + t3);
    const Point a3 = third(p2 - t3);
    put(j, a0 + a2);
    put(j + h, a1 + a3);
    put(j + 2 * h, a0 - a2);
    put(j + 3 * h, a1 - a3);
}

// So many points of all lines are transformed while they are in the nearest cache.
constexpr size_t kNear = 2048 / kLanes;
// So many complex results are taken at once: a cache line of each row.
constexpr size_t kChunk = 8;

// Stages h and 2h of the four points with the twiddle factors k, h apart from `at` on.
template <bool inverse, class Get>
HWY_INLINE void twoStagesAt(Points points, size_t at, size_t h, size_t k, Get get)
{
    const auto put = [=](size_t j, const Point& p) HWY_ATTR { points.set(j, p); };
    const auto quarter = [](const Point& p) HWY_ATTR { return turnedQuarter<inverse>(p); };
    if (k == 0)
    {
        const auto same = [](const Point& p) HWY_ATTR { return p; };
        return fourPoints(at, h, get, put, same, same, quarter);
    }
    const auto second = [&](const Point& p) HWY_ATTR { return points.twisted(p, 2 * h, k); };
    const auto third = [&](const Point& p) HWY_ATTR { return points.twisted(p, 2 * h, k + h); };
    if (2 * k == h)
    {
        return fourPoints(at, h, get, put, quarter, second, third);
    }
    fourPoints(
        at, h, get, put, [&](const Point& p) HWY_ATTR { return points.twisted(p, h, k); }, second, third);
}

// The first three stages of the eight points from j on.
template <bool inverse, class Get>
HWY_INLINE void threeStagesAt(Points points, size_t j, Get get)
{
    const auto quarter = [](const Point& p) HWY_ATTR { return turnedQuarter<inverse>(p); };
    const Point p0 = get(j), p1 = get(j + 1), p2 = get(j + 2), p3 = get(j + 3);
    const Point p4 = get(j + 4), p5 = get(j + 5), p6 = get(j + 6), p7 = get(j + 7);
    const Point a0 = p0 + p1, a1 = p0 - p1, a2 = p2 + p3, a3 = quarter(p2 - p3);
    const Point a4 = p4 + p5, a5 = p4 - p5, a6 = p6 + p7, a7 = quarter(p6 - p7);
    const Point b0 = a0 + a2, b1 = a1 + a3, b2 = a0 - a2, b3 = a1 - a3;
    const Point b4 = a4 + a6, b5 = points.twisted(a5 + a7, 4, 1), b6 = quarter(a4 - a6);
    const Point b7 = points.twisted(a5 - a7, 4, 3);
    points.set(j, b0 + b4);
    points.set(j + 1, b1 + b5);
    points.set(j + 2, b2 + b6);
    points.set(j + 3, b3 + b7);
    points.set(j + 4, b0 - b4);
    points.set(j + 5, b1 - b5);
    points.set(j + 6, b2 - b6);
    points.set(j + 7, b3 - b7);
}

// The stages below n of the n points from begin on, which get(place) gives at first. Quarters are independent until
// they are joined.
template <bool inverse, class Get>
void transformPart(Points points, size_t begin, size_t n, Get get)
{
    const auto inPlace = [=](size_t j) HWY_ATTR { return points.get(j); };
    const size_t end = begin + n;
    size_t h = 1;
    if (n > kNear)
    {
        h = n / 4;
        for (size_t part = begin; part < end; part += h)
        {
            transformPart<inverse>(points, part, h, get);
        }
    }
    else if (n < 4)
    {
        if (n == 2)
        {
            const Point a = get(begin);
            const Point b = get(begin + 1);
            points.set(begin, a + b);
            points.set(begin + 1, a - b);
        }
        return;
    }
    else if (bitsOf(static_cast<uint32_t>(n)) % 2 != 0)
    {
        for (size_t j = begin; j < end; j += 8)
        {
            threeStagesAt<inverse>(points, j, get);
        }
        h = 8;
    }
    else
    {
        for (size_t j = begin; j < end; j += 4)
        {
            twoStagesAt<inverse>(points, j, 1, 0, get);
        }
        h = 4;
    }
    for (; h < n; h *= 4)
    {
        for (size_t g = begin; g < end; g += 4 * h)
        {
            for (size_t k = 0; k < h; ++k)
            {
                twoStagesAt<inverse>(points, g + k, h, k, inPlace);
            }
        }
    }
}

/**
 * A transform of the lines in the points. load(begin, end) sets the points of these places when they are wanted;
 * emit(begin, end) takes results while they are near, a chunk at a time.
 */
template <bool inverse, size_t chunkSize = kChunk, class Load, class Emit>
HWY_INLINE void transform(const Work& work, Load load, Emit emit)
{
    const Points points = work.points();
    const auto inPlace = [=](size_t j) HWY_ATTR { return points.get(j); };
    const size_t n = work.length();
    if (n <= kNear)
    {
        load(0, n);
        transformPart<inverse>(points, 0, n, inPlace);
        for (size_t j = 0; j < n; j += chunkSize)
        {
            emit(j, std::min(n, j + chunkSize));
        }
        return;
    }
    const size_t h = n / 4;
    for (size_t part = 0; part < n; part += h)
    {
        load(part, part + h);
        transformPart<inverse>(points, part, h, inPlace);
    }
    for (size_t chunk = 0; chunk < h; chunk += chunkSize)
    {
        for (size_t k = chunk; k < chunk + chunkSize; ++k)
        {
            twoStagesAt<inverse>(points, k, h, k, inPlace);
        }
        for (size_t j = chunk; j < n; j += h)
        {
            emit(j, j + chunkSize);
        }
    }
}

// ---- Lines of real values ----

// Their spectra are their own mirror images, h values of them as well as all n: half of each is enough. The spectrum of
// h values takes the places of h / 2 points: value 0 and value h / 2, which are real, the first one, value k place k.

// So many values are transformed while they are in the nearest cache.
constexpr size_t kNearReal = 2 * 4096 / kLanes;

HWY_INLINE Point mirrored(const Point& p)
{
    return {p.re, hn::Neg(p.im)};
}

// Stage h of the two spectra of h values from `at` on.
HWY_INLINE void joinSpectra(Points points, size_t at, size_t h)
{
    const size_t half = h / 2;
    const Point a0 = points.get(at);
    const Point b0 = points.get(at + half);
    points.set(at, {hn::Add(a0.re, b0.re), hn::Sub(a0.re, b0.re)});
    points.set(at + half, {a0.im, hn::Neg(b0.im)});
    struct Joined
    {
        Point k, beyond;  // value k, and value h + k as what it mirrors, value h - k
    };
    const auto joined = [&](size_t k) HWY_ATTR
    {
        const Point a = points.get(at + k);
        const Point b = points.twisted(points.get(at + half + k), h, k);
        return Joined{a + b, mirrored(a - b)};
    };
    for (size_t k = 1; 2 * k < half; ++k)
    {
        const size_t other = half - k;
        const Joined first = joined(k);
        const Joined second = joined(other);
        points.set(at + k, first.k);
        points.set(at + other, second.k);
        points.set(at + half + k, second.beyond);
        points.set(at + half + other, first.beyond);
    }
    const Joined middle = joined(half / 2);
    points.set(at + half / 2, middle.k);
    points.set(at + half + half / 2, middle.beyond);
}

// The stages below n of n values, at least four, that are in the place of n / 2 points from `begin` on.
inline void transformRealPart(Points points, size_t begin, size_t n)
{
    const size_t end = begin + n / 2;
    size_t h = n / 2;
    if (n > kNearReal)
    {
        transformRealPart(points, begin, h);
        transformRealPart(points, begin + h / 2, h);
    }
    else
    {
        for (size_t j = begin; j < end; j += 2)
        {
            const Point p0 = points.get(j);
            const Point p1 = points.get(j + 1);
            const auto sum0 = hn::Add(p0.re, p0.im);
            const auto sum1 = hn::Add(p1.re, p1.im);
            points.set(j, {hn::Add(sum0, sum1), hn::Sub(sum0, sum1)});
            points.set(j + 1, {hn::Sub(p0.re, p0.im), hn::Sub(p1.im, p1.re)});
        }
        h = 4;
    }
    for (; h < n; h *= 2)
    {
        for (size_t at = begin; at < end; at += h)
        {
            joinSpectra(points, at, h);
        }
    }
}

/** Value j of the spectrum of n real values that transformRealPart has left. */
HWY_INLINE Point spectrumAt(Points points, size_t j, size_t n)
{
    const auto zero = hn::Zero(Lines());
    if (j == 0 || j == n / 2)
    {
        const Point ends = points.get(0);
        return {j == 0 ? ends.re : ends.im, zero};
    }
    return j < n / 2 ? points.get(j) : mirrored(points.get(n - j));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
