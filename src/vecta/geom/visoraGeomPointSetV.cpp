// Sets of points, vector variants. Lanes are points.
#include <limits>

#include "cpu/geom/visoraGeomPointSet.h"
#include "visora/variants/geom.h"
#include "visora/variants/shape.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/geom/visoraGeomPointSetV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/geom/visoraGeomLists-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Doubles = PartialLanes<double>;
using DoubleVector = hn::Vec<Doubles>;

struct Vector2
{
    DoubleVector x, y;
};

HWY_INLINE Vector2 setPoint(Point2 p)
{
    const Doubles d;
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): points of scratch memory were written before
    return {hn::Set(d, p.x), hn::Set(d, p.y)};
}

HWY_INLINE Vector2 minus(Vector2 a, Vector2 b)
{
    return {hn::Sub(a.x, b.x), hn::Sub(a.y, b.y)};
}

HWY_INLINE DoubleVector scalarProduct(Vector2 a, Vector2 b)
{
    return hn::Add(hn::Mul(a.x, b.x), hn::Mul(a.y, b.y));
}

HWY_INLINE DoubleVector vectorProduct(Vector2 a, Vector2 b)
{
    return hn::Sub(hn::Mul(a.x, b.y), hn::Mul(a.y, b.x));
}

// As squaredDistance.
HWY_INLINE DoubleVector squaredDistances(Vector2 p, Vector2 a, Vector2 b)
{
    const Doubles d;
    const Vector2 e = minus(b, a);
    const Vector2 w = minus(p, a);
    const Vector2 v = minus(p, b);
    const auto s = scalarProduct(w, e);
    const auto L = scalarProduct(e, e);
    const auto c = vectorProduct(e, w);
    const auto between = hn::IfThenElse(hn::Ge(s, L), scalarProduct(v, v), hn::Div(hn::Mul(c, c), L));
    return hn::IfThenElse(hn::Le(s, hn::Zero(d)), scalarProduct(w, w), between);
}

/**
 * A polygon of eight of the points or less, and so inside their hull. What is well inside of it is no corner, and is
 * so far from every chain of corners that no rounding decides on its turns.
 */
class InnerPolygon
{
  public:
    /** From some of the points. */
    InnerPolygon(const float* points, uint32_t numPoints)
    {
        HWY_ALIGN constexpr float kAcross[kSides] = {1, 1, 0, -1, -1, -1, 0, 1};
        HWY_ALIGN constexpr float kDown[kSides] = {0, 1, 1, 1, 0, -1, -1, -1};
        constexpr uint32_t kSample = 32;
        const uint32_t step = std::max(1u, numPoints / kSample);
        HWY_ALIGN float most[kSides];
        // The corners in counter-clockwise order, and the first again.
        float x[2 * kSides];
        float y[2 * kSides];
        for (size_t side = 0; side < kSides; side += hn::Lanes(Sides()))
        {
            // The last along these directions; of every other point each, so that they do not wait for each other.
            const Sides d;
            const auto across = hn::Load(d, kAcross + side);
            const auto down = hn::Load(d, kDown + side);
            Corners even = {hn::Set(d, -std::numeric_limits<float>::infinity()), hn::Zero(d), hn::Zero(d)};
            Corners odd = even;
            uint32_t i = 0;
            for (; i + step < numPoints; i += 2 * step)
            {
                even.add(points + size_t{2} * i, across, down);
                odd.add(points + size_t{2} * (i + step), across, down);
            }
            even.add(points + size_t{2} * std::min(i, numPoints - 1), across, down);
            even.choose(odd.along, odd.x, odd.y);
            hn::Store(even.along, d, most + side);
            hn::StoreU(even.x, d, x + side);
            hn::StoreU(even.y, d, y + side);
        }
        x[kSides] = x[0];
        y[kSides] = y[0];
        size_ = (most[0] + most[4]) + (most[2] + most[6]);
        const float reach = std::max(std::max(most[0], most[2]), std::max(most[4], most[6]));
        const float margin = size_ * 0x1p-9f + reach * 0x1p-18f;
        for (size_t side = 0; side < kSides; side += hn::Lanes(Sides()))
        {
            const Sides d;
            const auto fromX = hn::LoadU(d, x + side);
            const auto fromY = hn::LoadU(d, y + side);
            const auto ex = hn::Sub(hn::LoadU(d, x + side + 1), fromX);
            const auto ey = hn::Sub(hn::LoadU(d, y + side + 1), fromY);
            const auto length = hn::Sqrt(hn::Add(hn::Mul(ex, ex), hn::Mul(ey, ey)));
            // A side that is a point lets all points through.
            const auto isSide = hn::Gt(length, hn::Zero(d));
            const auto nx = hn::IfThenElseZero(isSide, hn::Div(hn::Neg(ey), length));
            const auto ny = hn::IfThenElseZero(isSide, hn::Div(ex, length));
            const auto along = hn::Add(hn::Add(hn::Mul(nx, fromX), hn::Mul(ny, fromY)), hn::Set(d, margin));
            hn::StoreU(nx, d, nx_ + side);
            hn::StoreU(ny, d, ny_ + side);
            hn::StoreU(hn::IfThenElse(isSide, along, hn::Set(d, -1)), d, least_ + side);
        }
        left_ = -most[4];
        top_ = -most[6];
        right_ = most[0];
        bottom_ = most[2];
    }

    /** Whether numbers are such that nothing here overflows or vanishes. */
    bool serves() const
    {
        constexpr float kGreatest = 1e15f;
        return size_ > 1 / kGreatest && std::max(std::max(-left_, right_), std::max(-top_, bottom_)) < kGreatest;
    }

    /** Whether another point is so far away that what is well inside is not, for it. */
    bool isFar(const float* p) const
    {
        return !(p[0] > left_ - size_ && p[0] < right_ + size_ && p[1] > top_ - size_ && p[1] < bottom_ + size_);
    }

    /** Which points of a vector are inside. */
    template <class D>
    HWY_INLINE hn::Mask<D> test(D d, const float* points) const
    {
        hn::Vec<D> x;
        hn::Vec<D> y;
        hn::LoadInterleaved2(d, points, x, y);
        // Far points might seem to be on the inner side of thin polygons.
        auto isInside = hn::And(hn::And(hn::Ge(x, hn::Set(d, left_)), hn::Le(x, hn::Set(d, right_))),
                                hn::And(hn::Ge(y, hn::Set(d, top_)), hn::Le(y, hn::Set(d, bottom_))));
        for (size_t side = 0; side < kSides; ++side)
        {
            const auto along = hn::Add(hn::Mul(x, hn::Set(d, nx_[side])), hn::Mul(y, hn::Set(d, ny_[side])));
            isInside = hn::And(isInside, hn::Gt(along, hn::Set(d, least_[side])));
        }
        return isInside;
    }

  private:
    static constexpr size_t kSides = 8;
    using Sides = hn::CappedTag<float, kSides>;

    struct Corners
    {
        using V = hn::Vec<Sides>;
        V along, x, y;

        HWY_INLINE void add(const float* point, V across, V down)
        {
            const Sides d;
            const V px = hn::Set(d, point[0]);
            const V py = hn::Set(d, point[1]);
            choose(hn::Add(hn::Mul(px, across), hn::Mul(py, down)), px, py);
        }

        HWY_INLINE void choose(V otherAlong, V otherX, V otherY)
        {
            const auto isMore = hn::Gt(otherAlong, along);
            along = hn::IfThenElse(isMore, otherAlong, along);
            x = hn::IfThenElse(isMore, otherX, x);
            y = hn::IfThenElse(isMore, otherY, y);
        }
    };

    float nx_[kSides], ny_[kSides], least_[kSides];  // inside is nx x + ny y > least
    float left_, top_, right_, bottom_, size_;
};

struct VectorPoints : VectorSums
{
    uint32_t outer(const float* points, uint32_t numPoints, uint32_t* list) const
    {
        constexpr uint32_t kFew = 24;
        if (numPoints < kFew)
        {
            return PlainPoints().outer(points, numPoints, list);
        }
        const InnerPolygon inner(points, numPoints);
        if (!inner.serves())
        {
            return PlainPoints().outer(points, numPoints, list);
        }
        const hn::CappedTag<float, Hull::kSpare> d;
        const hn::RebindToUnsigned<decltype(d)> dIndex;
        const auto lanes = static_cast<uint32_t>(hn::Lanes(d));
        uint32_t count = 0;
        for (uint32_t first = 0; first < numPoints; first += lanes)
        {
            // The last ones again, without those that were before.
            const uint32_t from = std::min(first, numPoints - lanes);
            const auto isDone = hn::FirstN(d, first - from);
            const auto isOuter = hn::Not(hn::Or(isDone, inner.test(d, points + size_t{2} * from)));
            count += static_cast<uint32_t>(
                hn::CompressStore(hn::Iota(dIndex, from), hn::RebindMask(dIndex, isOuter), dIndex, list + count));
        }
        const bool isAnyFar =
            std::any_of(list, list + count, [&](uint32_t i) { return inner.isFar(points + size_t{2} * i); });
        return isAnyFar ? PlainPoints().outer(points, numPoints, list) : count;
    }

    Extent extent(const double* x, const double* y, size_t n, Point2 a, Point2 e) const
    {
        const Doubles d;
        const size_t whole = n / hn::Lanes(d) * hn::Lanes(d);
        const Vector2 origin = setPoint(a);
        const Vector2 edge = setPoint(e);
        auto lo = hn::Zero(d);
        auto hi = lo;
        auto up = lo;
        for (size_t i = 0; i < whole; i += hn::Lanes(d))
        {
            const Vector2 w = minus({hn::LoadU(d, x + i), hn::LoadU(d, y + i)}, origin);
            const auto along = scalarProduct(w, edge);
            lo = hn::Min(lo, along);
            hi = hn::Max(hi, along);
            up = hn::Max(up, vectorProduct(edge, w));
        }
        Extent result = PlainPoints().extent(x + whole, y + whole, n - whole, a, e);
        HWY_ALIGN double lanes[3][hn::MaxLanes(Doubles())];
        hn::Store(lo, d, lanes[0]);
        hn::Store(hi, d, lanes[1]);
        hn::Store(up, d, lanes[2]);
        for (size_t i = 0; i < hn::Lanes(d); ++i)
        {
            result.lo = std::min(result.lo, lanes[0][i]);
            result.hi = std::max(result.hi, lanes[1][i]);
            result.up = std::max(result.up, lanes[2][i]);
        }
        return result;
    }

    size_t farthest(const double* x, const double* y, size_t n, Point2 a, Point2 b, double& distance) const
    {
        const Doubles d;
        const size_t whole = n / hn::Lanes(d) * hn::Lanes(d);
        if (whole == 0)
        {
            return PlainPoints().farthest(x, y, n, a, b, distance);
        }
        const Vector2 start = setPoint(a);
        const Vector2 end = setPoint(b);
        auto greatest = hn::Set(d, -1.0);
        auto where = hn::Zero(d);
        auto index = hn::Iota(d, 0);
        for (size_t i = 0; i < whole; i += hn::Lanes(d))
        {
            const auto square = squaredDistances({hn::LoadU(d, x + i), hn::LoadU(d, y + i)}, start, end);
            const auto isMore = hn::Gt(square, greatest);
            greatest = hn::IfThenElse(isMore, square, greatest);
            where = hn::IfThenElse(isMore, index, where);
            index = hn::Add(index, hn::Set(d, static_cast<double>(hn::Lanes(d))));
        }
        HWY_ALIGN double values[hn::MaxLanes(Doubles())], places[hn::MaxLanes(Doubles())];
        hn::Store(greatest, d, values);
        hn::Store(where, d, places);
        distance = -1;
        size_t first = 0;
        for (size_t i = 0; i < hn::Lanes(d); ++i)
        {
            const auto place = static_cast<size_t>(places[i]);
            if (values[i] > distance || (values[i] == distance && place < first))
            {
                distance = values[i];
                first = place;
            }
        }
        double rest = -1;
        const size_t inRest = PlainPoints().farthest(x + whole, y + whole, n - whole, a, b, rest);
        first = rest > distance ? whole + inRest : first;
        distance = std::max(distance, rest);
        return first;
    }
};

vsrStatus hullAround(const float* points, uint32_t numPoints, float* hull, uint32_t* indices, uint32_t* count)
{
    return convexHull(VectorPoints(), points, numPoints, hull, indices, count);
}

vsrStatus circleAround(const float* points, uint32_t numPoints, float* circle)
{
    return minEnclosingCircle(VectorPoints(), points, numPoints, circle);
}

vsrStatus boxAbout(const float* points, uint32_t numPoints, vsrRotatedBox* box)
{
    return minAreaRect(VectorPoints(), points, numPoints, box);
}

vsrStatus lineThrough(const float* points, uint32_t numPoints, vsrLossType loss, float scale, float* line)
{
    return fitLine(VectorPoints(), points, numPoints, loss, scale, line);
}

vsrStatus ellipseThrough(const float* points, uint32_t numPoints, vsrEllipse* ellipse)
{
    return fitEllipse(VectorPoints(), points, numPoints, ellipse);
}

vsrStatus simplifyPolygon(const float* points, uint32_t numPoints, float epsilon, uint32_t closed, float* dst,
                          uint32_t* indices, uint32_t* count)
{
    return simplify(VectorPoints(), points, numPoints, epsilon, closed != 0, dst, indices, count);
}

template <bool kWithDistances>
HWY_INLINE void locate(const float* polygon, size_t numVertices, const double* x, const double* y, double* where,
                       double* distances)
{
    const Doubles d;
    const auto zero = hn::Zero(d);
    const auto one = hn::Set(d, 1.0);
    const Vector2 p = {hn::Load(d, x), hn::Load(d, y)};
    auto isOn = hn::Lt(one, zero);
    auto isInside = isOn;
    auto least = hn::Set(d, std::numeric_limits<double>::infinity());
    Point2 from = point2At(polygon, 0);
    for (size_t k = 0; k < numVertices; ++k)
    {
        const Point2 to = point2At(polygon, k + 1 == numVertices ? 0 : k + 1);
        const Vector2 a = setPoint(from);
        const Vector2 b = setPoint(to);
        const auto c = vectorProduct(minus(b, a), minus(p, a));
        const auto inX = hn::And(hn::Ge(p.x, hn::Min(a.x, b.x)), hn::Le(p.x, hn::Max(a.x, b.x)));
        const auto inY = hn::And(hn::Ge(p.y, hn::Min(a.y, b.y)), hn::Le(p.y, hn::Max(a.y, b.y)));
        isOn = hn::Or(isOn, hn::And(hn::Eq(c, zero), hn::And(inX, inY)));
        const auto spans = hn::Xor(hn::Gt(a.y, p.y), hn::Gt(b.y, p.y));
        const auto isOther = to.y > from.y ? hn::Not(hn::Gt(c, zero)) : hn::Gt(c, zero);
        isInside = hn::Xor(isInside, hn::AndNot(isOther, spans));
        if constexpr (kWithDistances)
        {
            least = hn::Min(least, squaredDistances(p, a, b));
        }
        from = to;
    }
    const auto side = hn::IfThenElse(isInside, one, hn::Set(d, -1.0));
    const auto result = hn::IfThenElse(isOn, zero, side);
    hn::Store(result, d, where);
    if constexpr (kWithDistances)
    {
        hn::Store(hn::Mul(result, hn::Sqrt(least)), d, distances);
    }
}

vsrStatus containsPoints(const float* polygon, uint32_t numVertices, const float* points, uint32_t numPoints,
                         int8_t* where, float* distances)
{
    const Doubles d;
    HWY_ALIGN double x[hn::MaxLanes(d)], y[hn::MaxLanes(d)], sides[hn::MaxLanes(d)], lengths[hn::MaxLanes(d)];
    for (size_t first = 0; first < numPoints; first += hn::Lanes(d))
    {
        const size_t count = std::min<size_t>(hn::Lanes(d), numPoints - first);
        for (size_t i = 0; i < hn::Lanes(d); ++i)
        {
            const size_t at = 2 * (first + std::min(i, count - 1));
            x[i] = points[at];
            y[i] = points[at + 1];
        }
        if (distances)
        {
            locate<true>(polygon, numVertices, x, y, sides, lengths);
            toFloats(lengths, count, distances + first);
        }
        else
        {
            locate<false>(polygon, numVertices, x, y, sides, lengths);
        }
        std::transform(sides, sides + count, where + first, [](double side) { return static_cast<int8_t>(side); });
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrConvexHullf32, hullAround);
VSR_VECTOR(vsrMinEnclosingCirclef32, circleAround);
VSR_VECTOR(vsrMinAreaRectf32, boxAbout);
VSR_VECTOR(vsrFitLinef32, lineThrough);
VSR_VECTOR(vsrFitEllipsef32, ellipseThrough);
VSR_VECTOR(vsrPolygonContainsf32, containsPoints);
VSR_VECTOR(vsrPolygonSimplifyf32, simplifyPolygon);

#endif
