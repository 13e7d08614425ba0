// Mean shift: how a window follows the sums of what it holds. The variants differ in how they sum a row.
#ifndef VISORA_CPU_TRACK_MEAN_SHIFT_H
#define VISORA_CPU_TRACK_MEAN_SHIFT_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "cpu/visoraAngle.h"
#include "cpu/visoraPlane.h"
#include "visora/motion.h"

namespace visora
{

/** Sums of p, x * p and x * x * p over a row, x from 0. */
struct RowSums
{
    double r0, r1, r2;
};

template <class T>
struct Likelihood
{
    const T* data;
    uint32_t width;
    uint32_t height;
    uint32_t stride;
};

struct WindowSums
{
    double m00 = 0, m10 = 0, m01 = 0, m20 = 0, m11 = 0, m02 = 0;

    template <class T>
    bool hasWeight() const
    {
        return std::is_same_v<T, float> ? std::fabs(m00) >= 0x1p-52 : m00 != 0;
    }
};

/** @param sumRow  sumRow(pixels, count) gives the RowSums */
template <class T, class SumRow>
WindowSums sumWindow(const Likelihood<T>& image, const vsrRectangle& window, SumRow sumRow)
{
    WindowSums m;
    for (uint32_t row = 0; row < window.height; ++row)
    {
        const RowSums r = sumRow(planeRow(image.data, image.stride, window.y + row) + window.x, window.width);
        const double y = row;
        m.m00 += r.r0;
        m.m10 += r.r1;
        m.m01 += y * r.r0;
        m.m20 += r.r2;
        m.m11 += y * r.r1;
        m.m02 += (y * y) * r.r0;
    }
    return m;
}

/** A place moved by an offset, cut to 0 .. last. */
inline uint32_t moved(uint32_t place, double offset, uint32_t last)
{
    return static_cast<uint32_t>(std::clamp(place + std::nearbyint(offset), 0.0, static_cast<double>(last)));
}

/** Moves the window; returns how many times the search went on after a move. */
template <class T, class SumRow>
uint32_t shiftWindow(const Likelihood<T>& image, uint32_t maxIterations, float epsilon, vsrRectangle& window,
                     SumRow sumRow)
{
    const double least = std::max(1.0, std::nearbyint(static_cast<double>(epsilon) * static_cast<double>(epsilon)));
    uint32_t iterations = 0;
    for (; iterations < maxIterations; ++iterations)
    {
        const WindowSums m = sumWindow(image, window, sumRow);
        if (!m.template hasWeight<T>())
        {
            break;
        }
        const double ox = m.m10 / m.m00 - static_cast<double>(window.width) * 0.5;
        const double oy = m.m01 / m.m00 - static_cast<double>(window.height) * 0.5;
        if (!std::isfinite(ox) || !std::isfinite(oy))
        {
            break;
        }
        const uint32_t x = moved(window.x, ox, image.width - window.width);
        const uint32_t y = moved(window.y, oy, image.height - window.height);
        const int64_t dx = int64_t{x} - window.x;
        const int64_t dy = int64_t{y} - window.y;
        window.x = x;
        window.y = y;
        if (static_cast<double>(dx * dx + dy * dy) < least)
        {
            break;
        }
    }
    return iterations;
}

/** The side of the next window about a centre, from the extents of the ellipse, and where it begins. */
struct Side
{
    uint32_t start;
    uint32_t length;
};

inline Side nextSide(double centre, double extent1, double extent2, uint32_t size)
{
    const double c = std::clamp(std::nearbyint(centre), 0.0, static_cast<double>(size - 1));
    const double wanted = std::max(std::nearbyint(std::fabs(extent1)), std::nearbyint(std::fabs(extent2))) + 2;
    const auto length = static_cast<int64_t>(std::min(wanted, 2 * (size - c)));
    const int64_t start = std::max<int64_t>(0, static_cast<int64_t>(c) - length / 2);
    return {static_cast<uint32_t>(start), static_cast<uint32_t>(std::min<int64_t>(length, size - start))};
}

/** The window grown by 10 pixels at every side that has room for them. */
inline vsrRectangle grown(const vsrRectangle& window, uint32_t width, uint32_t height)
{
    constexpr uint32_t kMargin = 10;
    const uint32_t x = window.x - std::min(window.x, kMargin);
    const uint32_t y = window.y - std::min(window.y, kMargin);
    return {x, y, std::min(window.width + 2 * kMargin, width - x), std::min(window.height + 2 * kMargin, height - y)};
}

/** The next window and the box, from the second moments of the grown window. */
template <class T, class SumRow>
void adaptWindow(const Likelihood<T>& image, vsrRectangle& window, vsrRotatedBox& box, SumRow sumRow)
{
    const vsrRectangle around = grown(window, image.width, image.height);
    const WindowSums m = sumWindow(image, around, sumRow);
    box = {};
    if (!m.template hasWeight<T>())
    {
        return;
    }
    const double gx = m.m10 / m.m00;
    const double gy = m.m01 / m.m00;
    const double a = m.m20 / m.m00 - gx * gx;
    const double b = m.m11 / m.m00 - gx * gy;
    const double c = m.m02 / m.m00 - gy * gy;
    if (!std::isfinite(gx) || !std::isfinite(gy) || !std::isfinite(a) || !std::isfinite(b) || !std::isfinite(c))
    {
        return;
    }
    const double d = a - c;
    const double q = std::sqrt(4 * (b * b) + d * d);
    const double l1 = ((a + c) + q) * 0.5;
    const double l2 = ((a + c) - q) * 0.5;
    const double longAxis = 4 * std::sqrt(l1 < 0 ? 0 : l1);
    const double shortAxis = 4 * std::sqrt(l2 < 0 ? 0 : l2);
    // Direction of the long axis, the way that loses no digits.
    double u = d + q;
    double v = 2 * b;
    if (!(d >= 0))
    {
        u = std::fabs(2 * b);
        v = b < 0 ? -(q - d) : q - d;
    }
    const double r = std::sqrt(u * u + v * v);
    const double cs = r == 0 ? 1 : u / r;
    const double sn = r == 0 ? 0 : v / r;
    const float angle = r == 0 ? 0 : angleInDegrees(static_cast<float>(v), static_cast<float>(u));
    const double cx = around.x + gx;
    const double cy = around.y + gy;
    box = {static_cast<float>(cx), static_cast<float>(cy), static_cast<float>(longAxis), static_cast<float>(shortAxis),
           angle >= 180 ? angle - 180 : angle};
    const Side columns = nextSide(cx, longAxis * cs, shortAxis * sn, image.width);
    const Side rows = nextSide(cy, longAxis * sn, shortAxis * cs, image.height);
    window = {columns.start, rows.start, columns.length, rows.length};
}

}  // namespace visora

#endif
