// Whether a pixel is the greatest of its window, and boxes that overlap.
#ifndef VISORA_CPU_SHAPE_PEAK_H
#define VISORA_CPU_SHAPE_PEAK_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "cpu/shape/visoraShape.h"
#include "cpu/visoraDrivers.h"

namespace visora
{

/**
 * A picture of which a pixel may be the peak. Windows are looked at from the inside to the outside: pixels that pass to
 * a distance d are d apart, so that all together take at most the logarithm of the radius a pixel.
 */
template <class T>
struct PeakPicture
{
    T at(uint32_t x, uint32_t y) const { return imageRow(src, stride, y)[x]; }

    /** Whether a pixel is the greatest of the rings `first` to `last` about it. */
    bool isPeak(uint32_t x, uint32_t y, uint32_t first, uint32_t last) const
    {
        const T v = at(x, y);
        for (uint32_t d = first; d <= last; ++d)
        {
            const uint32_t left = x - std::min(x, d);
            const uint32_t right = std::min(x + d, width - 1);
            const uint32_t top = y - std::min(y, d - 1);
            const uint32_t bottom = std::min(y + d - 1, height - 1);
            const T* before = y >= d ? imageRow(src, stride, y - d) : nullptr;
            const T* after = y + d < height ? imageRow(src, stride, y + d) : nullptr;
            if ((!before && !after && x < d && x + d >= width))
            {
                return true;
            }
            for (uint32_t u = left; u <= right; ++u)
            {
                if ((before && !(v > before[u])) || (after && !(v >= after[u])))
                {
                    return false;
                }
            }
            for (uint32_t w = top; w <= bottom; ++w)
            {
                const bool isBefore = w < y;
                if (x >= d && !(w <= y ? v > at(x - d, w) : v >= at(x - d, w)))
                {
                    return false;
                }
                if (x + d < width && !(isBefore ? v > at(x + d, w) : v >= at(x + d, w)))
                {
                    return false;
                }
            }
        }
        return true;
    }

    const T* src;
    uint32_t width;
    uint32_t height;
    uint32_t stride;
};

/** The top of the parabola through three pixels, relative to the middle one. */
inline float parabolaTop(float before, float centre, float after)
{
    const float s = (before + after) - 2 * centre;
    if (!(s < 0))
    {
        return 0;
    }
    const float top = 0.5f * (before - after) / s;
    return top < -0.5f ? -0.5f : top > 0.5f ? 0.5f : top == top ? top : 0.0f;
}

/** Lists peaks. */
template <class T, class Coordinate>
struct PeakList
{
    bool isFull() const { return size == capacity; }

    void add(const PeakPicture<T>& picture, uint32_t x, uint32_t y)
    {
        Coordinate* to = xy + 2 * size_t{size};
        to[0] = static_cast<Coordinate>(x);
        to[1] = static_cast<Coordinate>(y);
        if constexpr (std::is_same_v<T, float>)
        {
            const float v = picture.at(x, y);
            if (refine && x > 0 && x + 1 < picture.width)
            {
                to[0] += parabolaTop(picture.at(x - 1, y), v, picture.at(x + 1, y));
            }
            if (refine && y > 0 && y + 1 < picture.height)
            {
                to[1] += parabolaTop(picture.at(x, y - 1), v, picture.at(x, y + 1));
            }
        }
        values[size++] = picture.at(x, y);
    }

    Coordinate* xy;
    T* values;
    uint32_t capacity;
    bool refine = false;
    uint32_t size = 0;
};

// ---- Boxes ----

struct Box
{
    float x0, y0, x1, y1;

    static float positive(float v) { return v > 0 ? v : 0; }
    static float least(float a, float b) { return a < b ? a : b; }
    static float greatest(float a, float b) { return a > b ? a : b; }

    float area() const { return positive(x1 - x0) * positive(y1 - y0); }

    float commonArea(const Box& other) const
    {
        return positive(least(x1, other.x1) - greatest(x0, other.x0)) *
               positive(least(y1, other.y1) - greatest(y0, other.y0));
    }
};

/** Indices of the boxes with scores above the threshold, those of higher scores first. Returns their number. */
inline uint32_t orderBoxes(const float* scores, uint32_t numBoxes, float threshold, uint32_t* order)
{
    uint32_t count = 0;
    for (uint32_t i = 0; i < numBoxes; ++i)
    {
        if (scores[i] > threshold)
        {
            order[count++] = i;
        }
    }
    std::sort(order, order + count,
              [scores](uint32_t a, uint32_t b) { return scores[a] > scores[b] || (scores[a] == scores[b] && a < b); });
    return count;
}

}  // namespace visora

#endif
