// Polygons, chains of lines and ellipses on an image of interleaved channels.
#ifndef VISORA_CPU_SHAPE_POLYGON_H
#define VISORA_CPU_SHAPE_POLYGON_H

#include <new>
#include <numeric>

#include "cpu/shape/visoraShape.h"
#include "cpu/shape/visoraShapeDraw.h"
#include "cpu/visoraDegrees.h"
#include "visora/types.h"

namespace visora
{

/** An edge of a polygon from its upper end down, without its lowest row; where it crosses the row that is filled. */
struct PolygonEdge
{
    PolygonEdge(CanvasPoint upper, CanvasPoint lower)
        : top(upper.y), bottom(lower.y), x(upper.x), crossing(0, lower.x - upper.x, lower.y - upper.y)
    {
        // The rows above the image.
        if (top < 0)
        {
            crossing = {-top * (lower.x - upper.x), lower.x - upper.x, lower.y - upper.y};
        }
    }

    // Column and what is left over of it.
    int64_t column() const { return x + crossing.whole; }
    bool isLeftOf(const PolygonEdge& other) const
    {
        return column() != other.column()
                   ? column() < other.column()
                   : crossing.rest * other.crossing.divisor < other.crossing.rest * crossing.divisor;
    }

    int64_t top, bottom, x;
    SteppedQuotient crossing;
};

/** The pixels that an edge goes through exactly. */
inline void fillExactPixels(const Canvas& canvas, CanvasPoint a, CanvasPoint b)
{
    const int64_t dx = b.x - a.x;
    const int64_t dy = b.y - a.y;
    if (dy == 0)
    {
        canvas.fill(a.y, {std::min(a.x, b.x), std::max(a.x, b.x)});
        return;
    }
    const int64_t steps = std::gcd(std::abs(dx), std::abs(dy));
    for (int64_t k = 0; k <= steps; ++k)
    {
        canvas.dot(a.x + dx / steps * k, a.y + dy / steps * k);
    }
}

inline vsrStatus fillPolygon(const Canvas& canvas, const int32_t* xy, const uint32_t* lengths, uint32_t numChains)
{
    size_t points = 0;
    for (uint32_t i = 0; i < numChains; ++i)
    {
        points += lengths[i];
    }
    const Scratch scratch(partBytes<PolygonEdge>(points) + partBytes<uint32_t>(points));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Parts parts(scratch);
    PolygonEdge* const edges = parts.take<PolygonEdge>(points);
    auto* const active = parts.take<uint32_t>(points);
    size_t count = 0;
    forSides(xy, lengths, numChains,
             [&](CanvasPoint a, CanvasPoint b)
             {
                 fillExactPixels(canvas, a, b);
                 if (b.y < a.y)
                 {
                     std::swap(a, b);
                 }
                 if (a.y != b.y && b.y > 0 && a.y < canvas.height)
                 {
                     new (&edges[count++]) PolygonEdge(a, b);
                 }
             });
    std::sort(edges, edges + count, [](const PolygonEdge& a, const PolygonEdge& b) { return a.top < b.top; });
    size_t next = 0;
    size_t live = 0;
    for (int64_t y = 0; y < canvas.height && (live != 0 || next < count); ++y)
    {
        live = static_cast<size_t>(
            std::remove_if(active, active + live, [=](uint32_t i) { return edges[i].bottom <= y; }) - active);
        for (; next < count && edges[next].top <= y; ++next)
        {
            active[live++] = static_cast<uint32_t>(next);
        }
        const auto isLeftOf = [=](uint32_t a, uint32_t b) { return edges[a].isLeftOf(edges[b]); };
        // From row to row their order hardly changes, but that of many may.
        constexpr size_t kFew = 32;
        if (live > kFew)
        {
            std::sort(active, active + live, isLeftOf);
        }
        for (size_t i = 1; live <= kFew && i < live; ++i)
        {
            for (size_t k = i; k > 0 && isLeftOf(active[k], active[k - 1]); --k)
            {
                std::swap(active[k], active[k - 1]);
            }
        }
        for (size_t i = 0; i + 1 < live; i += 2)
        {
            const PolygonEdge& left = edges[active[i]];
            canvas.fill(y, {left.column() + (left.crossing.rest != 0 ? 1 : 0), edges[active[i + 1]].column()});
        }
        std::for_each(active, active + live, [=](uint32_t i) { edges[i].crossing.next(); });
    }
    return VISORA_SUCCESS;
}

/** drawLine(canvas, from, to) for each line of chains of points. */
template <class DrawLine>
void drawPolyline(const Canvas& canvas, const int32_t* xy, const uint32_t* lengths, uint32_t numChains, bool isClosed,
                  DrawLine drawLine)
{
    for (uint32_t i = 0; i < numChains; ++i)
    {
        const uint32_t length = lengths[i];
        const auto at = [xy](size_t k) { return CanvasPoint{xy[2 * k], xy[2 * k + 1]}; };
        for (size_t k = 0; k + 1 < length; ++k)
        {
            drawLine(canvas, at(k), at(k + 1));
        }
        if (length == 1 || (isClosed && length > 2))
        {
            drawLine(canvas, at(length - 1), at(0));
        }
        xy += 2 * size_t{length};
    }
}

// ---- Ellipses ----

/** The points of an ellipse or an arc, no further apart than a pixel. */
class EllipsePoints
{
  public:
    EllipsePoints(const vsrEllipse& ellipse, double startAngle, double endAngle)
        : ellipse_(ellipse),
          turn_(sineAndCosine(ellipse.angle)),
          start_(startAngle),
          span_(endAngle - startAngle),
          isWhole_(span_ >= 360)
    {
        const double larger = std::max(ellipse.radiusA, ellipse.radiusB);
        const double all = 8 * std::max(1.0, std::ceil(larger));
        steps_ = isWhole_ ? all : std::max(1.0, std::ceil(all * span_ / 360.0));
    }

    bool isWhole() const { return isWhole_; }
    uint32_t count() const { return static_cast<uint32_t>(steps_) + (isWhole_ ? 0 : 1); }
    CanvasPoint centre() const { return {rounded(ellipse_.cx), rounded(ellipse_.cy)}; }

    const vsrEllipse& ellipse() const { return ellipse_; }
    const SineAndCosine& turn() const { return turn_; }
    /** Of point k, in degrees from axis A. */
    double angle(uint32_t k) const { return isWhole_ ? 360.0 * k / steps_ : start_ + span_ * k / steps_; }
    /** From point to point. */
    double step() const { return (isWhole_ ? 360.0 : span_) / steps_; }

    CanvasPoint at(uint32_t k) const
    {
        const double a = ellipse_.radiusA;
        const double b = ellipse_.radiusB;
        const SineAndCosine at = sineAndCosine(angle(k));
        return {rounded(ellipse_.cx + (a * at.cosine * turn_.cosine - b * at.sine * turn_.sine)),
                rounded(ellipse_.cy + (a * at.cosine * turn_.sine + b * at.sine * turn_.cosine))};
    }

  private:
    static int64_t rounded(double v) { return static_cast<int64_t>(std::floor(v + 0.5)); }

    vsrEllipse ellipse_;
    SineAndCosine turn_;
    double start_;
    double span_;
    double steps_;
    bool isWhole_;
};

/**
 * Draws an ellipse of which forPoints(body) runs body(x, y) for each point: as dots, which is what lines between
 * neighbours are, as thick lines, or filled.
 */
template <class ForPoints>
vsrStatus drawEllipse(const Canvas& canvas, const EllipsePoints& points, uint32_t thickness, ForPoints forPoints)
{
    if (thickness == 1)
    {
        forPoints([&](int64_t x, int64_t y) { canvas.dot(x, y); });
        return VISORA_SUCCESS;
    }
    const Scratch scratch(partBytes<int32_t>(2 * (size_t{points.count()} + 1)));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* const xy = scratch.as<int32_t>();
    uint32_t count = 0;
    const auto append = [&](int64_t x, int64_t y)
    {
        xy[2 * size_t{count}] = static_cast<int32_t>(x);
        xy[2 * size_t{count} + 1] = static_cast<int32_t>(y);
        ++count;
    };
    // A point that is the one before adds nothing to lines and polygons.
    forPoints(
        [&](int64_t x, int64_t y)
        {
            if (count == 0 || xy[2 * size_t{count} - 2] != x || xy[2 * size_t{count} - 1] != y)
            {
                append(x, y);
            }
        });
    if (thickness != 0)
    {
        drawPolyline(canvas, xy, &count, 1, points.isWhole(),
                     [=](const Canvas& to, CanvasPoint a, CanvasPoint b) { drawThickLine(to, a, b, thickness); });
        return VISORA_SUCCESS;
    }
    if (!points.isWhole())
    {
        append(points.centre().x, points.centre().y);
    }
    return fillPolygon(canvas, xy, &count, 1);
}

}  // namespace visora

#endif
