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

/** A quotient, rounded down, of a numerator that grows by steps of one size. */
struct SteppedQuotient
{
    SteppedQuotient(int64_t numerator, int64_t step, int64_t positiveDivisor)
        : divisor(positiveDivisor),
          whole(floorQuotient(numerator, divisor)),
          rest(numerator - whole * divisor),
          stepWhole(floorQuotient(step, divisor)),
          stepRest(step - stepWhole * divisor)
    {
    }

    void next()
    {
        rest += stepRest;
        const bool isCarried = rest >= divisor;
        rest -= isCarried ? divisor : 0;
        whole += stepWhole + (isCarried ? 1 : 0);
    }

    int64_t divisor, whole, rest, stepWhole, stepRest;
};

class Canvas
{
  public:
    Canvas(uint8_t* to, uint32_t toWidth, uint32_t toHeight, size_t toStride, uint32_t toChannels,
           const uint8_t* pixels)
        : dst(to), width(toWidth), height(toHeight), stride(toStride), channels(toChannels), color(pixels)
    {
        for (size_t i = 0; i < kPattern; i += channels)
        {
            std::copy_n(color, channels, pattern_ + i);
        }
    }

    /** Fills what is inside the image. */
    void fill(int64_t y, Span span) const
    {
        span = span & Span{0, int64_t{width} - 1};
        if (span.isEmpty() || y < 0 || y >= height)
        {
            return;
        }
        uint8_t* to = pixel(span.first, y);
        size_t bytes = static_cast<size_t>(span.last - span.first + 1) * channels;
        for (; bytes >= kPattern; bytes -= kPattern)
        {
            std::memcpy(to, pattern_, kPattern);
            to += kPattern;
        }
        std::memcpy(to, pattern_, bytes);
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

    Span rows() const { return {0, int64_t{height} - 1}; }

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

  private:
    static constexpr size_t kPattern = 48;  // bytes of whole pixels, of any number of channels

    uint8_t pattern_[kPattern];
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
    const auto strideY = sign * static_cast<ptrdiff_t>(canvas.stride);
    const ptrdiff_t channels = canvas.channels;
    const ptrdiff_t forward = isFlat ? channels : strideY;
    const ptrdiff_t sideways = isFlat ? strideY : channels;
    struct Walker
    {
        uint8_t* to;
        int64_t rest;
    };
    const auto walkerAt = [&](int64_t k)
    {
        const int64_t numerator = 2 * k * shorter + longer - 1;
        const int64_t whole = numerator / (2 * longer);
        return Walker{isFlat ? canvas.pixel(a.x + k, a.y + sign * whole) : canvas.pixel(a.x + whole, a.y + sign * k),
                      numerator - whole * 2 * longer};
    };
    const int64_t half = (steps.last - steps.first + 1) / 2;
    const bool isOdd = steps.first + 2 * half == steps.last;
    const Walker starts[2] = {walkerAt(steps.first), walkerAt(steps.first + half)};
    canvas.withPixels(
        [&](auto put)
        {
            // All in locals, which no pixel that is put can change. Both halves at once: each step waits for the one
            // before.
            Walker first = starts[0];
            Walker second = starts[1];
            const int64_t rise = 2 * shorter;
            const int64_t run = 2 * longer;
            const ptrdiff_t straight = forward;
            const ptrdiff_t slanted = forward + sideways;
            const auto step = [=](Walker& walker)
            {
                const int64_t rest = walker.rest + rise;
                const bool isAside = rest >= run;
                walker.rest = isAside ? rest - run : rest;
                walker.to += isAside ? slanted : straight;
            };
            for (int64_t left = half; left > 0; --left)
            {
                put(first.to);
                put(second.to);
                step(first);
                step(second);
            }
            if (isOdd)
            {
                put(second.to);
            }
        });
}

/** All that is near a segment, row by row: two discs and the strip between them. */
class ThickLine
{
  public:
    /** With slack, somewhat more of the strip. */
    ThickLine(CanvasPoint a, CanvasPoint b, int64_t thickness, bool hasSlack = false)
        : a_(a), b_(b), thickness_(thickness), hasSlack_(hasSlack)
    {
    }

    /** body(y, pixels, those between the ends) for its rows among some. */
    template <class Body>
    void forRows(const Span& some, Body body) const
    {
        const Span rows = Span{std::min(a_.y, b_.y) - thickness_ / 2, std::max(a_.y, b_.y) + thickness_ / 2} & some;
        if (rows.isEmpty())
        {
            return;
        }
        // The strip: 0 < s < L and 2 |c| <= reach, in x relative to a.
        const int64_t ex = b_.x - a_.x;
        const int64_t ey = b_.y - a_.y;
        const int64_t squared = ex * ex + ey * ey;
        const int64_t root = wholeRoot(thickness_ * thickness_ * squared);
        const int64_t reach = hasSlack_ ? root + (root >> 18) + 2 : root;
        const int64_t wy = rows.first - a_.y;
        Bounds along(ex, wy * ey, ey, 1, squared - 1);
        Bounds across(-2 * ey, 2 * ex * wy, 2 * ex, -reach, reach);
        for (int64_t y = rows.first; y <= rows.last; ++y)
        {
            const auto moved = [this](const Span& span) { return Span{span.first + a_.x, span.last + a_.x}; };
            const Span between = moved(along.at());
            body(y, disc(a_, y) | disc(b_, y) | (between & moved(across.at())), between);
            along.next();
            across.next();
        }
    }

  private:
    /** The x with low <= p * x + q <= high, q growing by a step from row to row. */
    class Bounds
    {
      public:
        Bounds(int64_t p, int64_t q, int64_t step, int64_t low, int64_t high)
            : isLevel_(p == 0),
              low_(low),
              high_(high),
              q_(q),
              step_(step),
              first_(p > 0 ? low - q + p - 1 : q - high - p - 1, p > 0 ? -step : step, divisorOf(p)),
              last_(p > 0 ? high - q : q - low, p > 0 ? -step : step, divisorOf(p))
        {
        }

        Span at() const
        {
            return !isLevel_                   ? Span{first_.whole, last_.whole}
                   : low_ <= q_ && q_ <= high_ ? Span{INT32_MIN, INT32_MAX}
                                               : Span{0, -1};
        }

        void next()
        {
            q_ += step_;
            first_.next();
            last_.next();
        }

      private:
        static int64_t divisorOf(int64_t p) { return p == 0 ? 1 : std::abs(p); }

        bool isLevel_;
        int64_t low_, high_, q_, step_;
        SteppedQuotient first_, last_;
    };

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

    CanvasPoint a_;
    CanvasPoint b_;
    int64_t thickness_;
    bool hasSlack_;
};

inline void drawThickLine(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness)
{
    ThickLine(a, b, thickness)
        .forRows(canvas.rows(), [&](int64_t y, const Span& span, const Span& /*between*/) { canvas.fill(y, span); });
}

/** The share of the color, of 256, at pixels near a segment. */
class LineShare
{
  public:
    LineShare(CanvasPoint a, CanvasPoint b, uint32_t thickness)
        : a_(a),
          b_(b),
          ex_(b.x - a.x),
          ey_(b.y - a.y),
          length_(ex_ * ex_ + ey_ * ey_),
          floatLength_(static_cast<float>(length_)),
          reach_(static_cast<float>(thickness) * 0.5f + 0.5f)
    {
    }

    int32_t at(int64_t x, int64_t y) const
    {
        const int64_t wx = x - a_.x;
        const int64_t wy = y - a_.y;
        const int64_t s = wx * ex_ + wy * ey_;
        float squared;
        if (s <= 0)
        {
            squared = static_cast<float>(wx * wx + wy * wy);
        }
        else if (s >= length_)
        {
            squared = static_cast<float>((x - b_.x) * (x - b_.x) + (y - b_.y) * (y - b_.y));
        }
        else
        {
            const auto c = static_cast<float>(ex_ * wy - ey_ * wx);
            squared = c * c / floatLength_;
        }
        const float share = reach_ - std::sqrt(squared);
        return share > 0 ? static_cast<int32_t>(std::min(share, 1.0f) * 256 + 0.5f) : 0;
    }

  private:
    CanvasPoint a_;
    CanvasPoint b_;
    int64_t ex_;
    int64_t ey_;
    int64_t length_;
    float floatLength_;
    float reach_;
};

/** All pixels with a share: half a pixel more on either side, and what rounding may add to that. */
inline ThickLine nearSmoothLine(CanvasPoint a, CanvasPoint b, uint32_t thickness)
{
    return {a, b, int64_t{thickness} + 1, true};
}

inline void drawSmoothLine(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness)
{
    const LineShare share(a, b, thickness);
    // A share of 0 changes nothing.
    nearSmoothLine(a, b, thickness)
        .forRows(canvas.rows(),
                 [&](int64_t y, Span span, const Span& /*between*/)
                 {
                     span = span & Span{0, int64_t{canvas.width} - 1};
                     for (int64_t x = span.first; x <= span.last; ++x)
                     {
                         canvas.blend(x, y, share.at(x, y));
                     }
                 });
}

inline void drawSharpLine(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness)
{
    if (thickness == 1)
    {
        drawThinLine(canvas, a, b);
    }
    else
    {
        drawThickLine(canvas, a, b, thickness);
    }
}

inline void drawLine(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness, uint32_t antialias)
{
    if (antialias != 0)
    {
        drawSmoothLine(canvas, a, b, thickness);
    }
    else
    {
        drawSharpLine(canvas, a, b, thickness);
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
