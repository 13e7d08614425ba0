// Rows of floats to lanes and back, for Fourier transforms. Included once per instruction set.
#if defined(VISORA_VECTA_TRANSFORM_FFT_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_TRANSFORM_FFT_ROWS_INL_H
#undef VISORA_VECTA_TRANSFORM_FFT_ROWS_INL_H
#else
#define VISORA_VECTA_TRANSFORM_FFT_ROWS_INL_H
#endif

#include <algorithm>

#include "cpu/visoraPlane.h"
#include "hwy/highway.h"
#include "vecta/transform/visoraTransformFft-inl.h"
#include "vecta/visoraTurn-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

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

/** Calls put(x, four columns) for the columns of rows y, y + 1, ..., from x on; beyond the last row it is repeated. */
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

/** Stores columns begin .. end - 1 of rows; columns(x) gives four columns from x on. */
template <class Columns>
HWY_INLINE void storeRows(float* dst, size_t pitch, size_t rows, size_t begin, size_t end, Columns columns)
{
    const Lines d;
    if constexpr (kByCacheLine)
    {
        if (end - begin >= kLanes)
        {
            for (size_t x = begin; x < end; x += kLanes)
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
    for (size_t x = begin; x < end; x += 4)
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

// ---- Single rows of complex values ----

// The lanes of point j are the values kLanes * j, kLanes * j + 1, ...: the stages that join values in different points
// are those of a transform of the points. The last stages join the lanes: blocks of kLanes points are turned, so that
// each lane is a transform of its own, and its factors too.

/**
 * Turns a block of points, given their real or imaginary parts; value x of all of them goes where the stages to come
 * want it.
 */
template <class D>
HWY_INLINE void turnBlock(D d, float* values)
{
    const auto line = [=](size_t row) HWY_ATTR { return hn::LoadU(d, values + 2 * kLanes * row); };
    const auto put = [=](uint32_t x, hn::Vec<D> v) HWY_ATTR
    { hn::StoreU(v, d, values + 2 * kLanes * reversedBits(x, bitsOf(uint32_t{kLanes}))); };
    const auto putFour = [=](uint32_t x, const Block<D>& b) HWY_ATTR
    {
        put(x, b.v0);
        put(x + 1, b.v1);
        put(x + 2, b.v2);
        put(x + 3, b.v3);
    };
    if constexpr (kLanes == 16)
    {
        const auto every4th = [=](size_t row) HWY_ATTR {
            return turnedQuads(d, Block<D>{line(row), line(row + 4), line(row + 8), line(row + 12)});
        };
        const Block<D> r0 = every4th(0);
        const Block<D> r1 = every4th(1);
        const Block<D> r2 = every4th(2);
        const Block<D> r3 = every4th(3);
        putFour(0, turned(d, Block<D>{r0.v0, r1.v0, r2.v0, r3.v0}));
        putFour(4, turned(d, Block<D>{r0.v1, r1.v1, r2.v1, r3.v1}));
        putFour(8, turned(d, Block<D>{r0.v2, r1.v2, r2.v2, r3.v2}));
        putFour(12, turned(d, Block<D>{r0.v3, r1.v3, r2.v3, r3.v3}));
    }
    else
    {
        const auto columns = [=](size_t x) HWY_ATTR {
            return loadColumns(d,
                               [=](size_t row) HWY_ATTR { return hn::LoadU(Quad(), values + 2 * kLanes * row + x); });
        };
        const Block<D> left = columns(0);
        if constexpr (kLanes == 8)
        {
            const Block<D> right = columns(4);
            putFour(4, right);
        }
        putFour(0, left);
    }
}

/** A twiddle factor for each lane. */
struct Factors
{
    Line c, s;
};

/** What the factors make of a point. Some of them may be angles of 0 and of a quarter of a turn. */
template <bool inverse, bool some>
HWY_INLINE Point twistedBy(const Factors& w, const Point& b)
{
    Point t = {hn::Add(hn::Mul(w.c, b.re), hn::Mul(w.s, b.im)), hn::Sub(hn::Mul(w.c, b.im), hn::Mul(w.s, b.re))};
    if constexpr (some)
    {
        // Those multiply nothing: 0 times an infinity would make a NaN.
        const auto zero = hn::Zero(Lines());
        const auto isNone = hn::Eq(w.s, zero);
        const auto isQuarter = hn::Eq(w.c, zero);
        const Point quarter = turnedQuarter<inverse>(b);
        t.re = hn::IfThenElse(isNone, b.re, hn::IfThenElse(isQuarter, quarter.re, t.re));
        t.im = hn::IfThenElse(isNone, b.im, hn::IfThenElse(isQuarter, quarter.im, t.im));
    }
    return t;
}

/** A block of points from `begin` on, of `count`, whose lanes are to be joined. */
struct LaneBlock
{
    HWY_INLINE Point get(size_t j) const { return points.get(begin + j); }

    /** The factors of stage h * count for place k of the block. */
    HWY_INLINE Factors factors(size_t h, size_t k) const
    {
        const Lines d;
        const float* const from = points.twiddles + 2 * (h * count + k * count + begin);
        return {hn::LoadU(d, from), hn::LoadU(d, from + kLanes)};
    }

    Points points;
    size_t begin;
    size_t count;
};

/** Stages h and 2h of the four places from j on, `some` telling of the first and of both second factors. */
template <bool inverse, bool someFirst, bool someSecond, class Put>
HWY_INLINE void joinFour(const LaneBlock& block, size_t j, size_t h, const Factors& first, const Factors& second,
                         const Factors& third, Put put)
{
    fourPoints(
        j, h, [=](size_t at) HWY_ATTR { return block.get(at); }, put,
        [=](const Point& p) HWY_ATTR { return twistedBy<inverse, someFirst>(first, p); },
        [=](const Point& p) HWY_ATTR { return twistedBy<inverse, someSecond>(second, p); },
        [=](const Point& p) HWY_ATTR { return twistedBy<inverse, someSecond>(third, p); });
}

/** The last two stages: put(j, point) takes the results. */
template <bool inverse, bool isFirst, bool isMiddle, size_t h, size_t k, class Put>
HWY_INLINE void joinLast(const LaneBlock& block, Put put)
{
    if constexpr (k < h)
    {
        // Only the first block begins with an angle of 0; half as many points further on it is a quarter of a turn.
        constexpr bool someFirst = (isFirst && (k == 0 || 2 * k == h)) || (isMiddle && h == 1);
        joinFour<inverse, someFirst, isFirst && k == 0>(block, k, h, block.factors(h, k), block.factors(2 * h, k),
                                                        block.factors(2 * h, k + h), put);
        joinLast<inverse, isFirst, isMiddle, h, k + 1>(block, put);
    }
}

/** All stages that join lanes. */
template <bool inverse, bool isFirst, bool isMiddle, class Put>
HWY_INLINE void joinLanes(const LaneBlock& block, Put put)
{
    float* const values = block.points.values + 2 * kLanes * block.begin;
    turnBlock(Lines(), values);
    turnBlock(Lines(), values + kLanes);
    const auto set = [=](size_t j, const Point& p) HWY_ATTR { block.points.set(block.begin + j, p); };
    constexpr bool someFirst = isFirst || isMiddle;
    if constexpr (kLanes == 16)
    {
        const Factors first = block.factors(1, 0);
        const Factors second = block.factors(2, 0);
        const Factors third = block.factors(2, 1);
        for (size_t j = 0; j < kLanes; j += 4)
        {
            joinFour<inverse, someFirst, isFirst>(block, j, 1, first, second, third, set);
        }
    }
    else if constexpr (kLanes == 8)
    {
        const Factors factors = block.factors(1, 0);
        for (size_t j = 0; j < kLanes; j += 2)
        {
            const Point a = block.get(j);
            const Point t = twistedBy<inverse, someFirst>(factors, block.get(j + 1));
            set(j, a + t);
            set(j + 1, a - t);
        }
    }
    joinLast<inverse, isFirst, isMiddle, kLanes / 4, 0>(block, put);
}

/**
 * The transform of a row of kLanes * work.length() values, after setRow. get(j) gives kLanes values from kLanes * j on,
 * put(x, point) takes those from x on, in no order; get is not called any more then.
 */
template <bool inverse, class Get, class Put>
HWY_INLINE void transformRow(const Work& work, Get get, Put put)
{
    const Points points = work.points();
    const uint32_t* const places = work.places();
    const size_t count = work.length();
    transformPart<inverse>(points, 0, count, [=](size_t place) HWY_ATTR { return get(places[place]); });
    for (size_t begin = 0; begin < count; begin += kLanes)
    {
        const LaneBlock block = {points, begin, count};
        const auto emit = [=](size_t j, const Point& p) HWY_ATTR { put(begin + j * count, p); };
        if (begin == 0)
        {
            joinLanes<inverse, true, false>(block, emit);
        }
        else if (2 * begin == count)
        {
            joinLanes<inverse, false, true>(block, emit);
        }
        else
        {
            joinLanes<inverse, false, false>(block, emit);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
