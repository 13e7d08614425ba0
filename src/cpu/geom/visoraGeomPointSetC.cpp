// Sets of points, reference variants.
#include "cpu/geom/visoraGeomPointSet.h"
#include "visora/variants/geom.h"
#include "visora/variants/shape.h"

using visora::PlainPoints;
using visora::Point2;
using visora::point2At;

vsrStatus vsrConvexHullf32C(const float* points, uint32_t numPoints, float* hull, uint32_t* indices, uint32_t* count)
{
    return visora::convexHull(PlainPoints(), points, numPoints, hull, indices, count);
}

vsrStatus vsrMinAreaRectf32C(const float* points, uint32_t numPoints, vsrRotatedBox* box)
{
    return visora::minAreaRect(PlainPoints(), points, numPoints, box);
}

vsrStatus vsrMinEnclosingCirclef32C(const float* points, uint32_t numPoints, float* circle)
{
    return visora::minEnclosingCircle(PlainPoints(), points, numPoints, circle);
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
