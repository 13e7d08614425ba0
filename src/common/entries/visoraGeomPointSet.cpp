// Entry points of the sets of points.
#include "common/entries/visoraGeomEntries.h"
#include "visora/variants/geom.h"
#include "visora/variants/shape.h"

using visora::areFinite;
using visora::areSoundAnd;
using visora::Array;
using visora::Result;

namespace
{

// Whether a result begins where another one does, or the points do; null ones are none.
bool areApart(const void* a, const void* b, const void* points)
{
    return a != points && b != points && (a != b || a == nullptr);
}

}  // namespace

vsrStatus vsrConvexHullf32(const float* points, uint32_t numPoints, float* hull, uint32_t* indices, uint32_t* count)
{
    const size_t floats = size_t{2} * numPoints;
    const Array in(points, floats);
    const Result out(count);
    return VSR_CALL(vsrConvexHullf32, in, out)
        .require((hull || indices) && areApart(hull, indices, points) && areApart(hull, indices, count) &&
                 areSoundAnd([=] { return areFinite(points, floats); }, in))
        .run(points, numPoints, hull, indices, count);
}

vsrStatus vsrMinAreaRectf32(const float* points, uint32_t numPoints, vsrRotatedBox* box)
{
    const size_t floats = size_t{2} * numPoints;
    const Array in(points, floats);
    const Result out(box);
    return VSR_CALL(vsrMinAreaRectf32, in, out)
        .require(areSoundAnd([=] { return areFinite(points, floats); }, in))
        .run(points, numPoints, box);
}

vsrStatus vsrMinEnclosingCirclef32(const float* points, uint32_t numPoints, float* circle)
{
    const size_t floats = size_t{2} * numPoints;
    const Array in(points, floats);
    const Result out(circle, 3);
    return VSR_CALL(vsrMinEnclosingCirclef32, in, out)
        .require(areSoundAnd([=] { return areFinite(points, floats); }, in))
        .run(points, numPoints, circle);
}

vsrStatus vsrFitLinef32(const float* points, uint32_t numPoints, vsrLossType loss, float scale, float* line)
{
    const size_t floats = size_t{2} * numPoints;
    const Array in(points, floats);
    const Result out(line, 4);
    return VSR_CALL(vsrFitLinef32, in, out)
        .require(visora::isLoss(loss, scale) && areSoundAnd([=] { return areFinite(points, floats); }, in))
        .run(points, numPoints, loss, scale, line);
}

vsrStatus vsrFitEllipsef32(const float* points, uint32_t numPoints, vsrEllipse* ellipse)
{
    const size_t floats = size_t{2} * numPoints;
    const Array in(points, floats);
    const Result out(ellipse);
    return VSR_CALL(vsrFitEllipsef32, in, out)
        .require(areSoundAnd([=] { return areFinite(points, floats); }, in))
        .run(points, numPoints, ellipse);
}

vsrStatus vsrPolygonContainsf32(const float* polygon, uint32_t numVertices, const float* points, uint32_t numPoints,
                                int8_t* where, float* distances)
{
    const Array vertices(polygon, size_t{2} * numVertices), in(points, size_t{2} * numPoints);
    const Result out(where, numPoints);
    const auto isFinite = [=]
    { return areFinite(polygon, size_t{2} * numVertices) && areFinite(points, size_t{2} * numPoints); };
    return VSR_CALL(vsrPolygonContainsf32, vertices, in, out)
        .require((!distances ||
                  (static_cast<const void*>(distances) != where && distances != points && distances != polygon)) &&
                 areSoundAnd(isFinite, vertices, in))
        .run(polygon, numVertices, points, numPoints, where, distances);
}

vsrStatus vsrPolygonSimplifyf32(const float* points, uint32_t numPoints, float epsilon, uint32_t closed, float* dst,
                                uint32_t* indices, uint32_t* count)
{
    const size_t floats = size_t{2} * numPoints;
    const Array in(points, floats);
    const Result out(count);
    return VSR_CALL(vsrPolygonSimplifyf32, in, out)
        .require((dst || indices) && areApart(dst, indices, points) && areApart(dst, indices, count) &&
                 std::isfinite(epsilon) && epsilon >= 0 && areSoundAnd([=] { return areFinite(points, floats); }, in))
        .run(points, numPoints, epsilon, closed, dst, indices, count);
}
