// Lines and polygons on an image of interleaved channels.
#ifndef VISORA_CPU_SHAPE_DRAW_H
#define VISORA_CPU_SHAPE_DRAW_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace visora
{

/** The greatest whole number whose square is at most v. */
inline int64_t wholeRoot(int64_t v)
{
    auto root = static_cast<int64_t>(std::sqrt(static_cast<double>(v)));
    while (root * root > v)
    {
        --root;
    }
    while ((root + 1) * (root + 1) <= v)
    {
        ++root;
    }
    return root;
}

constexpr int64_t floorQuotient(int64_t a, int64_t b)
{
    return a / b - (a % b != 0 && (a < 0) != (b < 0) ? 1 : 0);
}

constexpr int64_t ceilQuotient(int64_t a, int64_t b)
{
    return -floorQuotient(-a, b);
}

/** Pixels first to last of a row; none when last is less. */
struct Span
{
    int64_t first;
    int64_t last;

    bool isEmpty() const { return last < first; }
    /** What both have. */
    Span operator&(const Span& other) const { return {std::max(first, other.first), std::min(last, other.last)}; }
    /** All between those that either has. */
    Span operator|(const Span& other) const
    {
        return isEmpty()         ? other
               : other.isEmpty() ? *this
                                 : Span{std::min(first, other.first), std::max(last, other.last)};
    }
};

struct Canvas
{
    /** Fills what is inside the image. */
    void fill(int64_t y, Span span) const
    {
        span = span & Span{0, int64_t{width} - 1};
        if (span.isEmpty() || y < 0 || y >= height)
        {
            return;
        }
        uint8_t* to = pixel(span.first, y);
        const size_t bytes = static_cast<size_t>(span.last - span.first + 1) * channels;
        if (std::all_of(color, color + channels, [this](uint8_t c) { return c == color[0]; }))
        {
            std::memset(to, color[0], bytes);
            return;
        }
        // What is there already, again and again.
        std::memcpy(to, color, channels);
        for (size_t done = channels; done < bytes; done *= 2)
        {
            std::memcpy(to + done, to, std::min(done, bytes - done));
        }
    }

    void dot(int64_t x, int64_t y) const
    {
        if (x >= 0 && x < width && y >= 0 && y < height)
        {
            std::copy_n(color, channels, pixel(x, y));
        }
    }

    /** Runs draw(put), put(pixel) giving a pixel its colour. */
    template <class Draw>
    void withPixels(Draw draw) const
    {
        const auto all = [&](auto count)
        {
            uint8_t pixel[decltype(count)::value];
            std::copy_n(color, count, pixel);
            draw([=](uint8_t* to) { std::memcpy(to, pixel, count); });
        };
        switch (channels)
        {
            case 1:
                return all(std::integral_constant<size_t, 1>());
            case 2:
                return all(std::integral_constant<size_t, 2>());
            case 3:
                return all(std::integral_constant<size_t, 3>());
            default:
                return all(std::integral_constant<size_t, 4>());
        }
    }

    void blend(int64_t x, int64_t y, int32_t share) const
    {
        uint8_t* to = pixel(x, y);
        for (uint32_t c = 0; c < channels; ++c)
        {
            to[c] = static_cast<uint8_t>(to[c] + (((color[c] - to[c]) * share + 128) >> 8));
        }
    }

    uint8_t* pixel(int64_t x, int64_t y) const
    {
        return dst + static_cast<size_t>(y) * stride + static_cast<size_t>(x) * channels;
    }

    uint8_t* dst;
    uint32_t width;
    uint32_t height;
    size_t stride;
    uint32_t channels;
    const uint8_t* color;
};

struct CanvasPoint
{
    int64_t x;
    int64_t y;
};

/** A line of one pixel's width. */
inline void drawThinLine(const Canvas& canvas, CanvasPoint a, CanvasPoint b)
{
    if (b.x < a.x)
    {
        std::swap(a, b);
    }
    const int64_t dx = b.x - a.x;
    const int64_t dy = std::abs(b.y - a.y);
    const int64_t sign = b.y < a.y ? -1 : 1;
    const bool isFlat = dx >= dy;
    const int64_t longer = isFlat ? dx : dy;
    const int64_t shorter = isFlat ? dy : dx;
    if (longer <= 1)
    {
        canvas.dot(a.x, a.y);
        canvas.dot(b.x, b.y);
        return;
    }
    // Steps that are inside the image. Step k is floor((2 k shorter + longer - 1) / (2 longer)) aside.
    const Span alongX{-a.x, canvas.width - 1 - a.x};
    const Span alongY = sign > 0 ? Span{-a.y, canvas.height - 1 - a.y} : Span{a.y - (canvas.height - 1), a.y};
    Span steps = Span{0, longer} & (isFlat ? alongX : alongY);
    const Span aside = isFlat ? alongY : alongX;
    if (shorter != 0)
    {
        const auto firstAside = [=](int64_t by) { return ceilQuotient(2 * longer * by - longer + 1, 2 * shorter); };
        steps = steps & Span{firstAside(aside.first), firstAside(aside.last + 1) - 1};
    }
    else if (aside.first > 0 || aside.last < 0)
    {
        return;
    }
    if (steps.isEmpty())
    {
        return;
    }
    const int64_t numerator = 2 * steps.first * shorter + longer - 1;
    const int64_t whole = numerator / (2 * longer);
    int64_t rest = numerator - whole * 2 * longer;
    const auto strideY = sign * static_cast<ptrdiff_t>(canvas.stride);
    const ptrdiff_t channels = canvas.channels;
    const ptrdiff_t forward = isFlat ? channels : strideY;
    const ptrdiff_t sideways = isFlat ? strideY : channels;
    const auto draw = [&](auto put)
    {
        uint8_t* to = isFlat ? canvas.pixel(a.x + steps.first, a.y + sign * whole)
                             : canvas.pixel(a.x + whole, a.y + sign * steps.first);
        for (int64_t k = steps.first;; ++k)
        {
            put(to);
            if (k == steps.last)
            {
                break;
            }
            rest += 2 * shorter;
            const bool isAside = rest >= 2 * longer;
            rest -= isAside ? 2 * longer : 0;
            to += forward + (isAside ? sideways : 0);
        }
    };
    canvas.withPixels(draw);
}

/** All that is near a segment, row by row: two discs and the strip between them. */
class ThickLine
{
  public:
    ThickLine(CanvasPoint a, CanvasPoint b, int64_t thickness)
        : a_(a),
          b_(b),
          ex_(b.x - a.x),
          ey_(b.y - a.y),
          squared_(ex_ * ex_ + ey_ * ey_),
          thickness_(thickness),
          reach_(wholeRoot(thickness * thickness * squared_))
    {
    }

    Span rows() const { return {std::min(a_.y, b_.y) - thickness_ / 2, std::max(a_.y, b_.y) + thickness_ / 2}; }

    Span at(int64_t y) const { return disc(a_, y) | disc(b_, y) | strip(y); }

  private:
    Span disc(CanvasPoint centre, int64_t y) const
    {
        const int64_t dy = y - centre.y;
        const int64_t left = thickness_ * thickness_ - 4 * dy * dy;
        if (left < 0)
        {
            return {0, -1};
        }
        const int64_t half = wholeRoot(left) / 2;
        return {centre.x - half, centre.x + half};
    }

    // x with low <= p * x + q <= high.
    static Span between(int64_t p, int64_t q, int64_t low, int64_t high)
    {
        if (p == 0)
        {
            return low <= q && q <= high ? Span{INT32_MIN, INT32_MAX} : Span{0, -1};
        }
        return p > 0 ? Span{ceilQuotient(low - q, p), floorQuotient(high - q, p)}
                     : Span{ceilQuotient(q - high, -p), floorQuotient(q - low, -p)};
    }

    // 0 < s < L and 2 |c| <= reach, in x relative to a.
    Span strip(int64_t y) const
    {
        const int64_t wy = y - a_.y;
        const Span inside = between(ex_, wy * ey_, 1, squared_ - 1) & between(-2 * ey_, 2 * ex_ * wy, -reach_, reach_);
        return inside.isEmpty() ? inside : Span{inside.first + a_.x, inside.last + a_.x};
    }

    CanvasPoint a_;
    CanvasPoint b_;
    int64_t ex_;
    int64_t ey_;
    int64_t squared_;
    int64_t thickness_;
    int64_t reach_;
};

inline void drawThickLine(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness)
{
    const ThickLine line(a, b, thickness);
    const Span rows = line.rows() & Span{0, int64_t{canvas.height} - 1};
    for (int64_t y = rows.first; y <= rows.last; ++y)
    {
        canvas.fill(y, line.at(y));
    }
}

/** The share of the color, of 256, at a pixel near a segment. */
inline int32_t lineShare(CanvasPoint a, CanvasPoint b, int64_t x, int64_t y, uint32_t thickness)
{
    const int64_t ex = b.x - a.x;
    const int64_t ey = b.y - a.y;
    const int64_t wx = x - a.x;
    const int64_t wy = y - a.y;
    const int64_t s = wx * ex + wy * ey;
    const int64_t length = ex * ex + ey * ey;
    float squared;
    if (s <= 0)
    {
        squared = static_cast<float>(wx * wx + wy * wy);
    }
    else if (s >= length)
    {
        squared = static_cast<float>((x - b.x) * (x - b.x) + (y - b.y) * (y - b.y));
    }
    else
    {
        const auto c = static_cast<float>(ex * wy - ey * wx);
        squared = c * c / static_cast<float>(length);
    }
    const float share = (static_cast<float>(thickness) * 0.5f + 0.5f) - std::sqrt(squared);
    return share > 0 ? static_cast<int32_t>(std::min(share, 1.0f) * 256 + 0.5f) : 0;
}

inline void drawSmoothLine(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness)
{
    // Half a pixel more on either side, and what rounding may add to that.
    const ThickLine line(a, b, int64_t{thickness} + 2);
    const Span rows = line.rows() & Span{0, int64_t{canvas.height} - 1};
    for (int64_t y = rows.first; y <= rows.last; ++y)
    {
        const Span span = line.at(y) & Span{0, int64_t{canvas.width} - 1};
        for (int64_t x = span.first; x <= span.last; ++x)
        {
            if (const int32_t share = lineShare(a, b, x, y, thickness); share > 0)
            {
                canvas.blend(x, y, share);
            }
        }
    }
}

inline void drawLine(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness, uint32_t antialias)
{
    if (antialias != 0)
    {
        drawSmoothLine(canvas, a, b, thickness);
    }
    else if (thickness == 1)
    {
        drawThinLine(canvas, a, b);
    }
    else
    {
        drawThickLine(canvas, a, b, thickness);
    }
}

/** body(point, next point) for each side of closed chains. */
template <class Body>
void forSides(const int32_t* xy, const uint32_t* lengths, uint32_t numChains, Body body)
{
    for (uint32_t i = 0; i < numChains; ++i)
    {
        const auto at = [xy](size_t k) { return CanvasPoint{xy[2 * k], xy[2 * k + 1]}; };
        for (size_t k = 0; k < lengths[i]; ++k)
        {
            body(at(k), at(k + 1 < lengths[i] ? k + 1 : 0));
        }
        xy += 2 * size_t{lengths[i]};
    }
}

}  // namespace visora

#endif
