// Convex hulls.
#ifndef VISORA_CPU_GEOM_HULL_H
#define VISORA_CPU_GEOM_HULL_H

#include <algorithm>
#include <cstdint>

#include "cpu/visoraScratch.h"

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

/** The corners' numbers, as vsrConvexHullf32 lists them. Borrowed; there may be none. */
class Hull
{
  public:
    Hull(const float* points, uint32_t numPoints)
        : scratch_((size_t{2} * numPoints + 2) * sizeof(uint32_t)), corners_(scratch_.as<uint32_t>())
    {
        if (!corners_)
        {
            return;
        }
        uint32_t* const order = corners_ + numPoints + 2;
        for (uint32_t i = 0; i < numPoints; ++i)
        {
            order[i] = i;
        }
        const auto x = [=](uint32_t i) { return points[size_t{2} * i]; };
        const auto y = [=](uint32_t i) { return points[size_t{2} * i + 1]; };
        std::sort(order, order + numPoints,
                  [=](uint32_t a, uint32_t b) {
                      return x(a) != x(b) ? x(a) < x(b) : y(a) != y(b) ? y(a) < y(b) : a < b;
                  });
        const uint32_t* const end =
            std::unique(order, order + numPoints, [=](uint32_t a, uint32_t b) { return x(a) == x(b) && y(a) == y(b); });
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

}  // namespace visora

#endif
