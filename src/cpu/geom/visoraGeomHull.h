// Convex hulls, and the circles about them.
#ifndef VISORA_CPU_GEOM_HULL_H
#define VISORA_CPU_GEOM_HULL_H

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <utility>

#include "cpu/geom/visoraGeom.h"
#include "cpu/geom/visoraGeomLists.h"
#include "cpu/visoraScratch.h"
#include "visora/points.h"

namespace visora
{

struct Point2
{
    double x = 0;
    double y = 0;

    // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): points of scratch memory were written before
    Point2 operator-(Point2 p) const { return {x - p.x, y - p.y}; }
    double dot(Point2 p) const { return x * p.x + y * p.y; }
    double cross(Point2 p) const { return x * p.y - y * p.x; }
};

inline Point2 point2At(const float* points, size_t i)
{
    return {points[2 * i], points[2 * i + 1]};
}

/** Puts `numPoints` points' numbers in the order of x, then of y, then of the numbers; `room` is for 2 numPoints. */
inline void orderPoints(const float* points, uint32_t numPoints, uint64_t* room, uint32_t* order)
{
    // A coordinate as a number of the same order, 0 and -0 alike, over the point's.
    constexpr uint32_t kSign = 0x80000000;
    for (uint32_t i = 0; i < numPoints; ++i)
    {
        const auto bits = std::bit_cast<uint32_t>(points[size_t{2} * order[i]] + 0.0f);
        room[i] = uint64_t{bits >= kSign ? ~bits : bits | kSign} << 32 | order[i];
    }
    uint64_t* sorted = room;
    constexpr uint32_t kMany = 512;  // that make up for the work on tables
    if (numPoints < kMany)
    {
        std::sort(sorted, sorted + numPoints);
    }
    else
    {
        // By digits, the lowest first; each pass keeps what the ones before did.
        uint64_t* other = room + numPoints;
        for (const uint32_t shift : {32u, 43u, 54u})
        {
            constexpr size_t kDigits = 2048;
            uint32_t begins[kDigits + 1] = {};
            const auto digit = [=](uint64_t key) { return key >> shift & (kDigits - 1); };
            std::for_each(sorted, sorted + numPoints, [&](uint64_t key) { ++begins[digit(key) + 1]; });
            std::partial_sum(begins, begins + kDigits, begins);
            std::for_each(sorted, sorted + numPoints, [&](uint64_t key) { other[begins[digit(key)]++] = key; });
            std::swap(sorted, other);
        }
    }
    const auto y = [=](uint32_t i) { return points[size_t{2} * i + 1]; };
    for (uint32_t begin = 0; begin < numPoints;)
    {
        uint32_t end = begin;
        for (; end < numPoints && sorted[end] >> 32 == sorted[begin] >> 32; ++end)
        {
            order[end] = static_cast<uint32_t>(sorted[end]);
        }
        if (end - begin > 1)
        {
            std::sort(order + begin, order + end,
                      [=](uint32_t a, uint32_t b) { return y(a) != y(b) ? y(a) < y(b) : a < b; });
        }
        begin = end;
    }
}

/**
 * The corners' numbers, as vsrConvexHullf32 lists them. Borrowed; there may be none. op.outer(points, numPoints, list)
 * lists the points that may be corners, in ascending order, and returns their number; it may write kSpare elements
 * more.
 */
class Hull
{
  public:
    static constexpr size_t kSpare = 16;

    template <class Op>
    Hull(Op op, const float* points, uint32_t numPoints)
        : scratch_(size_t{2} * numPoints * sizeof(uint64_t) + (size_t{2} * numPoints + 2 + kSpare) * sizeof(uint32_t)),
          corners_(scratch_.data() ? reinterpret_cast<uint32_t*>(scratch_.as<uint64_t>() + size_t{2} * numPoints)
                                   : nullptr)
    {
        if (!corners_)
        {
            return;
        }
        uint32_t* const order = corners_ + numPoints + 2;
        const uint32_t numOuter = op.outer(points, numPoints, order);
        orderPoints(points, numOuter, scratch_.as<uint64_t>(), order);
        const auto x = [=](uint32_t i) { return points[size_t{2} * i]; };
        const auto y = [=](uint32_t i) { return points[size_t{2} * i + 1]; };
        const uint32_t* const end =
            std::unique(order, order + numOuter, [=](uint32_t a, uint32_t b) { return x(a) == x(b) && y(a) == y(b); });
        const auto distinct = static_cast<size_t>(end - order);
        if (distinct <= 2)
        {
            count_ = distinct;
            std::copy_n(order, distinct, corners_);
            return;
        }
        const auto append = [&](uint32_t i, size_t fixed)
        {
            const Point2 p = point2At(points, i);
            while (count_ > fixed)
            {
                const Point2 a = point2At(points, corners_[count_ - 2]);
                const Point2 b = point2At(points, corners_[count_ - 1]);
                if ((b - a).cross(p - a) > 0)
                {
                    break;
                }
                --count_;
            }
            corners_[count_++] = i;
        };
        for (size_t i = 0; i < distinct; ++i)
        {
            append(order[i], 1);
        }
        const size_t lower = count_;
        for (size_t i = distinct - 1; i-- > 0;)
        {
            append(order[i], lower);
        }
        --count_;  // the first again
    }

    explicit operator bool() const { return corners_ != nullptr; }
    size_t size() const { return count_; }
    uint32_t operator[](size_t k) const { return corners_[k]; }

  private:
    Scratch scratch_;
    uint32_t* corners_;
    size_t count_ = 0;
};

// ---- Lists and circles ----

template <class Op>
vsrStatus convexHull(Op op, const float* points, uint32_t numPoints, float* hull, uint32_t* indices, uint32_t* count)
{
    const Hull corners(op, points, numPoints);
    if (!corners)
    {
        return VISORA_ENOMEM;
    }
    for (size_t k = 0; k < corners.size(); ++k)
    {
        if (hull)
        {
            std::copy_n(points + size_t{2} * corners[k], 2, hull + 2 * k);
        }
        if (indices)
        {
            indices[k] = corners[k];
        }
    }
    *count = static_cast<uint32_t>(corners.size());
    return VISORA_SUCCESS;
}

struct Circle
{
    Point2 centre;
    double square;  // of the radius

    bool isOutside(Point2 p) const
    {
        const Point2 d = p - centre;
        return d.dot(d) > square * (1.0 + 0x1p-40);
    }
};

inline Circle circleOf(Point2 a, Point2 b)
{
    const Point2 centre = {0.5 * (a.x + b.x), 0.5 * (a.y + b.y)};
    const Point2 r = a - centre;
    return {centre, r.dot(r)};
}

inline Circle circleOf(Point2 a, Point2 b, Point2 c)
{
    const Point2 p = b - a;
    const Point2 q = c - a;
    const double d = 2.0 * p.cross(q);
    if (d == 0)
    {
        const Circle candidates[] = {circleOf(a, b), circleOf(a, c), circleOf(b, c)};
        return *std::max_element(std::begin(candidates), std::end(candidates),
                                 [](const Circle& i, const Circle& j) { return i.square < j.square; });
    }
    const double B = p.dot(p);
    const double C = q.dot(q);
    const Point2 u = {(q.y * B - p.y * C) / d, (p.x * C - q.x * B) / d};
    return {{a.x + u.x, a.y + u.y}, u.dot(u)};
}

template <class Op>
vsrStatus minEnclosingCircle(Op op, const float* points, uint32_t numPoints, float* circle)
{
    const Hull hull(op, points, numPoints);
    const Scratch scratch(size_t{numPoints} * sizeof(Point2));
    auto* const h = scratch.as<Point2>();
    if (!hull || !h)
    {
        return VISORA_ENOMEM;
    }
    const size_t n = hull.size();
    for (size_t i = 0; i < n; ++i)
    {
        h[i] = point2At(points, hull[i]);
    }
    MinimalStandard generator(kRobustSeed);
    for (size_t i = n; i-- > 1;)
    {
        std::swap(h[i], h[generator.next() % (i + 1)]);
    }
    Circle best = {h[0], 0};
    for (size_t i = 1; i < n; ++i)
    {
        if (!best.isOutside(h[i]))
        {
            continue;
        }
        best = {h[i], 0};
        for (size_t j = 0; j < i; ++j)
        {
            if (!best.isOutside(h[j]))
            {
                continue;
            }
            best = circleOf(h[i], h[j]);
            for (size_t k = 0; k < j; ++k)
            {
                if (best.isOutside(h[k]))
                {
                    best = circleOf(h[i], h[j], h[k]);
                }
            }
        }
    }
    const double values[3] = {best.centre.x, best.centre.y, std::sqrt(best.square)};
    toFloats(values, 3, circle);
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
