// Drawing, reference variants.
#include <new>
#include <numeric>

#include "cpu/shape/visoraShape.h"
#include "cpu/shape/visoraShapeDraw.h"
#include "cpu/visoraDegrees.h"
#include "visora/variants/shape.h"

using visora::Canvas;
using visora::CanvasPoint;

namespace
{

// An edge of a polygon from its upper end down, without its lowest row; where it crosses the row that is filled.
struct Edge
{
    Edge(CanvasPoint upper, CanvasPoint lower)
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
    bool isLeftOf(const Edge& other) const
    {
        return column() != other.column()
                   ? column() < other.column()
                   : crossing.rest * other.crossing.divisor < other.crossing.rest * crossing.divisor;
    }

    int64_t top, bottom, x;
    visora::SteppedQuotient crossing;
};

// The pixels that an edge goes through exactly.
void fillExactPixels(const Canvas& canvas, CanvasPoint a, CanvasPoint b)
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

vsrStatus fillPolygon(const Canvas& canvas, const int32_t* xy, const uint32_t* lengths, uint32_t numChains)
{
    size_t points = 0;
    for (uint32_t i = 0; i < numChains; ++i)
    {
        points += lengths[i];
    }
    const visora::Scratch scratch(visora::partBytes<Edge>(points) + visora::partBytes<uint32_t>(points));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    visora::Parts parts(scratch);
    Edge* const edges = parts.take<Edge>(points);
    auto* const active = parts.take<uint32_t>(points);
    size_t count = 0;
    visora::forSides(xy, lengths, numChains,
                     [&](CanvasPoint a, CanvasPoint b)
                     {
                         fillExactPixels(canvas, a, b);
                         if (b.y < a.y)
                         {
                             std::swap(a, b);
                         }
                         if (a.y != b.y && b.y > 0 && a.y < canvas.height)
                         {
                             new (&edges[count++]) Edge(a, b);
                         }
                     });
    std::sort(edges, edges + count, [](const Edge& a, const Edge& b) { return a.top < b.top; });
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
            const Edge& left = edges[active[i]];
            canvas.fill(y, {left.column() + (left.crossing.rest != 0 ? 1 : 0), edges[active[i + 1]].column()});
        }
        std::for_each(active, active + live, [=](uint32_t i) { edges[i].crossing.next(); });
    }
    return VISORA_SUCCESS;
}

void drawPolyline(const Canvas& canvas, const int32_t* xy, const uint32_t* lengths, uint32_t numChains, uint32_t closed,
                  uint32_t thickness, uint32_t antialias)
{
    for (uint32_t i = 0; i < numChains; ++i)
    {
        const uint32_t length = lengths[i];
        const auto at = [xy](size_t k) { return CanvasPoint{xy[2 * k], xy[2 * k + 1]}; };
        for (size_t k = 0; k + 1 < length; ++k)
        {
            visora::drawLine(canvas, at(k), at(k + 1), thickness, antialias);
        }
        if (length == 1 || (closed != 0 && length > 2))
        {
            visora::drawLine(canvas, at(length - 1), at(0), thickness, antialias);
        }
        xy += 2 * size_t{length};
    }
}

int32_t rounded(double v)
{
    return static_cast<int32_t>(std::floor(v + 0.5));
}

}  // namespace

vsrStatus vsrDrawLineu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                         int32_t x0, int32_t y0, int32_t x1, int32_t y1, const uint8_t* color, uint32_t thickness,
                         uint32_t antialias)
{
    visora::drawLine({dst, dstWidth, dstHeight, dstStride, channels, color}, {x0, y0}, {x1, y1}, thickness, antialias);
    return VISORA_SUCCESS;
}

vsrStatus vsrDrawPolylineu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                             const int32_t* xy, const uint32_t* lengths, uint32_t numChains, uint32_t closed,
                             const uint8_t* color, uint32_t thickness, uint32_t antialias)
{
    drawPolyline({dst, dstWidth, dstHeight, dstStride, channels, color}, xy, lengths, numChains, closed, thickness,
                 antialias);
    return VISORA_SUCCESS;
}

vsrStatus vsrFillPolygonu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                            const int32_t* xy, const uint32_t* lengths, uint32_t numChains, const uint8_t* color)
{
    return fillPolygon({dst, dstWidth, dstHeight, dstStride, channels, color}, xy, lengths, numChains);
}

namespace
{

// The points of an ellipse or an arc, no further apart than a pixel.
class EllipsePoints
{
  public:
    EllipsePoints(const vsrEllipse& ellipse, double startAngle, double endAngle)
        : ellipse_(ellipse),
          turn_(visora::sineAndCosine(ellipse.angle)),
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

    void list(int32_t* xy) const
    {
        // Angles are far smaller than what their rounding would have to be to show.
        constexpr double kLargestAngle = 100000;
        const bool isSmooth = isWhole_ || std::max(std::abs(start_), std::abs(start_ + span_)) <= kLargestAngle;
        SineAndCosine aside[kBlock] = {{0, 1}};
        for (uint32_t known = 1; isSmooth && known < kBlock; known *= 2)
        {
            const SineAndCosine by = visora::sineAndCosine((isWhole_ ? 360.0 : span_) / steps_ * known);
            std::transform(aside, aside + known, aside + known,
                           [=](const SineAndCosine& from)
                           {
                               return SineAndCosine{from.sine * by.cosine + from.cosine * by.sine,
                                                    from.cosine * by.cosine - from.sine * by.sine};
                           });
        }
        for (uint32_t first = 0; first < count(); first += kBlock)
        {
            const uint32_t some = std::min(kBlock, count() - first);
            for (uint32_t k = 0; !isSmooth && k < some; ++k)
            {
                putExactly(first + k, xy);
            }
            if (isSmooth)
            {
                listBlock(first, some, aside, xy);
            }
        }
    }

  private:
    using SineAndCosine = visora::SineAndCosine;

    static constexpr uint32_t kBlock = 64;

    double angle(double k) const { return isWhole_ ? 360.0 * k / steps_ : start_ + span_ * k / steps_; }

    void putExactly(uint32_t k, int32_t* xy) const
    {
        const double a = ellipse_.radiusA;
        const double b = ellipse_.radiusB;
        const SineAndCosine at = visora::sineAndCosine(angle(k));
        xy[2 * size_t{k}] = rounded(ellipse_.cx + (a * at.cosine * turn_.cosine - b * at.sine * turn_.sine));
        xy[2 * size_t{k} + 1] = rounded(ellipse_.cy + (a * at.cosine * turn_.sine + b * at.sine * turn_.cosine));
    }

    // Points turned on from the first one. They are off by less than 1e-8, so that only those that are as near to where
    // rounding changes have to be worked out by themselves.
    void listBlock(uint32_t first, uint32_t count, const SineAndCosine* aside, int32_t* xy) const
    {
        constexpr double kNear = 1e-6;
        constexpr int32_t kAbove = 65536;  // makes all coordinates positive
        const SineAndCosine at = visora::sineAndCosine(angle(first));
        const double a = ellipse_.radiusA;
        const double b = ellipse_.radiusB;
        const auto along = [=](double cosine, double sine) {
            return std::pair(a * at.cosine * cosine - b * at.sine * sine, -a * at.sine * cosine - b * at.cosine * sine);
        };
        const auto x = along(turn_.cosine, turn_.sine);
        const auto y = along(turn_.sine, -turn_.cosine);
        for (uint32_t k = 0; k < count; ++k)
        {
            const double u = ellipse_.cx + (aside[k].cosine * x.first + aside[k].sine * x.second) + 0.5 + kAbove;
            const double v = ellipse_.cy + (aside[k].cosine * y.first + aside[k].sine * y.second) + 0.5 + kAbove;
            const auto column = static_cast<int32_t>(u);
            const auto row = static_cast<int32_t>(v);
            xy[2 * size_t{first + k}] = column - kAbove;
            xy[2 * size_t{first + k} + 1] = row - kAbove;
            const double beyondColumn = u - column;
            const double beyondRow = v - row;
            if (std::min(beyondColumn, beyondRow) < kNear || std::max(beyondColumn, beyondRow) > 1 - kNear)
            {
                putExactly(first + k, xy);
            }
        }
    }

    vsrEllipse ellipse_;
    SineAndCosine turn_;
    double start_;
    double span_;
    double steps_;
    bool isWhole_;
};

}  // namespace

vsrStatus vsrDrawEllipseu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                            const vsrEllipse* ellipse, float startAngle, float endAngle, const uint8_t* color,
                            uint32_t thickness)
{
    const Canvas canvas{dst, dstWidth, dstHeight, dstStride, channels, color};
    const EllipsePoints points(*ellipse, startAngle, endAngle);
    uint32_t count = points.count();
    const visora::Scratch scratch(visora::partBytes<int32_t>(2 * (size_t{count} + 1)));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* const xy = scratch.as<int32_t>();
    points.list(xy);
    if (thickness == 1)
    {
        // Neighbours touch each other.
        for (size_t k = 0; k < count; ++k)
        {
            canvas.dot(xy[2 * k], xy[2 * k + 1]);
        }
        return VISORA_SUCCESS;
    }
    if (thickness != 0)
    {
        drawPolyline(canvas, xy, &count, 1, points.isWhole() ? 1 : 0, thickness, 0);
        return VISORA_SUCCESS;
    }
    if (!points.isWhole())
    {
        xy[2 * size_t{count}] = rounded(ellipse->cx);
        xy[2 * size_t{count} + 1] = rounded(ellipse->cy);
        ++count;
    }
    return fillPolygon(canvas, xy, &count, 1);
}
