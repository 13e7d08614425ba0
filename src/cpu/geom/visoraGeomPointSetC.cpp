// Sets of points, reference variants.
#include "cpu/geom/visoraGeomPointSet.h"
#include "visora/variants/geom.h"
#include "visora/variants/shape.h"

using visora::Hull;
using visora::PlainPoints;
using visora::Point2;
using visora::point2At;

vsrStatus vsrConvexHullf32C(const float* points, uint32_t numPoints, float* hull, uint32_t* indices, uint32_t* count)
{
    const Hull corners(points, numPoints);
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

vsrStatus vsrMinAreaRectf32C(const float* points, uint32_t numPoints, vsrRotatedBox* box)
{
    return visora::minAreaRect(PlainPoints(), points, numPoints, box);
}

namespace
{

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

Circle circleOf(Point2 a, Point2 b)
{
    const Point2 centre = {0.5 * (a.x + b.x), 0.5 * (a.y + b.y)};
    const Point2 r = a - centre;
    return {centre, r.dot(r)};
}

Circle circleOf(Point2 a, Point2 b, Point2 c)
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

}  // namespace

vsrStatus vsrMinEnclosingCirclef32C(const float* points, uint32_t numPoints, float* circle)
{
    const Hull hull(points, numPoints);
    const visora::Scratch scratch(size_t{numPoints} * sizeof(Point2));
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
    visora::MinimalStandard generator(visora::kRobustSeed);
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
    visora::toFloats(values, 3, circle);
    return VISORA_SUCCESS;
}

vsrStatus vsrFitLinef32C(const float* points, uint32_t numPoints, vsrLossType loss, float scale, float* line)
{
    return visora::fitLine(PlainPoints(), points, numPoints, loss, scale, line);
}

vsrStatus vsrFitEllipsef32C(const float* points, uint32_t numPoints, vsrEllipse* ellipse)
{
    return visora::fitEllipse(PlainPoints(), points, numPoints, ellipse);
}

vsrStatus vsrPolygonContainsf32C(const float* polygon, uint32_t numVertices, const float* points, uint32_t numPoints,
                                 int8_t* where, float* distances)
{
    for (size_t i = 0; i < numPoints; ++i)
    {
        const Point2 p = point2At(points, i);
        bool isOn = false;
        bool isInside = false;
        double least = 0;
        for (size_t k = 0; k < numVertices; ++k)
        {
            const Point2 a = point2At(polygon, k);
            const Point2 b = point2At(polygon, k + 1 == numVertices ? 0 : k + 1);
            const double c = (b - a).cross(p - a);
            isOn = isOn || (c == 0 && p.x >= std::min(a.x, b.x) && p.x <= std::max(a.x, b.x) &&
                            p.y >= std::min(a.y, b.y) && p.y <= std::max(a.y, b.y));
            if ((a.y > p.y) != (b.y > p.y) && (c > 0) == (b.y > a.y))
            {
                isInside = !isInside;
            }
            const double square = visora::squaredDistance(p, a, b);
            least = k == 0 ? square : std::min(least, square);
        }
        where[i] = static_cast<int8_t>(isOn ? 0 : isInside ? 1 : -1);
        if (distances)
        {
            distances[i] = static_cast<float>(where[i] * std::sqrt(least));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrPolygonSimplifyf32C(const float* points, uint32_t numPoints, float epsilon, uint32_t closed, float* dst,
                                 uint32_t* indices, uint32_t* count)
{
    return visora::simplify(PlainPoints(), points, numPoints, epsilon, closed != 0, dst, indices, count);
}
