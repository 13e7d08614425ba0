// Correlation of a patch or template with a window, and areas of positions.
#ifndef VISORA_CPU_MATCH_H
#define VISORA_CPU_MATCH_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "cpu/visoraPlane.h"
#include "visora/match.h"

namespace visora
{

/** Sums over a patch: of its pixels and of their squares. */
struct PatchSums
{
    uint64_t pixels = 0;
    uint64_t sum = 0;
    uint64_t squares = 0;
};

inline PatchSums sumsOf(const uint8_t* patch, size_t stride, size_t width, size_t height)
{
    PatchSums sums = {width * height};
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            const uint64_t pixel = planeRow(patch, stride, y)[x];
            sums.sum += pixel;
            sums.squares += pixel * pixel;
        }
    }
    return sums;
}

inline uint64_t sumOfProducts(const uint8_t* window, size_t stride, const uint8_t* patch, size_t patchStride,
                              size_t width, size_t height)
{
    uint64_t sum = 0;
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            sum += uint64_t{planeRow(window, stride, y)[x]} * planeRow(patch, patchStride, y)[x];
        }
    }
    return sum;
}

/** How a window compares with a template of as many pixels, `products` being the sum of their products. */
inline float compareWindow(vsrMatchMethod method, const PatchSums& window, const PatchSums& templ, uint64_t products)
{
    switch (method)
    {
        case VISORA_MATCH_SQUARED_DIFFERENCE:
            return static_cast<float>(window.squares + templ.squares - 2 * products);
        case VISORA_MATCH_CORRELATION:
            return static_cast<float>(products);
        case VISORA_MATCH_NORMED_CORRELATION:
        {
            if (window.squares == 0 || templ.squares == 0)
            {
                return 0;
            }
            const float lengths = static_cast<float>(window.squares) * static_cast<float>(templ.squares);
            return std::min(static_cast<float>(products) / std::sqrt(lengths), 1.0f);
        }
        default:
        {
            const uint64_t n = templ.pixels;
            const auto c = static_cast<int64_t>(n * products - window.sum * templ.sum);
            const uint64_t a = n * window.squares - window.sum * window.sum;
            const uint64_t b = n * templ.squares - templ.sum * templ.sum;
            if (a == 0 || b == 0)
            {
                return 0;
            }
            const float score = static_cast<float>(c) / std::sqrt(static_cast<float>(a) * static_cast<float>(b));
            return std::clamp(score, -1.0f, 1.0f);
        }
    }
}

/** The image that a patch is looked for in, and the patch. */
struct PatchSearch
{
    const uint8_t* src;
    uint32_t width;
    uint32_t height;
    size_t stride;
    const uint8_t* patch;
    uint32_t size;
    size_t patchStride;

    int64_t half() const { return size / 2; }
    const uint8_t* windowAt(int64_t x, int64_t y) const
    {
        return planeRow(src, stride, static_cast<size_t>(y - half())) + (x - half());
    }
    bool fits(int64_t x, int64_t y) const
    {
        return x >= half() && y >= half() && x - half() + size <= width && y - half() + size <= height;
    }
    float score(int64_t x, int64_t y, const PatchSums& patchSums) const
    {
        const uint8_t* window = windowAt(x, y);
        return compareWindow(VISORA_MATCH_NORMED_COEFFICIENT, sumsOf(window, stride, size, size), patchSums,
                             sumOfProducts(window, stride, patch, patchStride, size, size));
    }
};

/** Positions about a centre whose windows are inside the image. */
class SearchArea
{
  public:
    SearchArea(const PatchSearch& search, vsrSearchShape shape, int32_t x, int32_t y, uint32_t radiusX,
               uint32_t radiusY)
        : x_(x), y_(y), radiusX_(radiusX), isCircle_(shape == VISORA_SEARCH_CIRCLE)
    {
        const int64_t rows = isCircle_ ? radiusX : radiusY;
        left_ = std::max(search.half(), x_ - radiusX_);
        right_ = std::min(int64_t{search.width} - search.size + search.half(), x_ + radiusX_);
        top_ = std::max(search.half(), y_ - rows);
        bottom_ = std::min(int64_t{search.height} - search.size + search.half(), y_ + rows);
    }

    bool isEmpty() const { return left_ > right_ || top_ > bottom_; }
    int64_t left() const { return left_; }
    int64_t right() const { return right_; }
    int64_t top() const { return top_; }
    int64_t bottom() const { return bottom_; }

    /** The first and the last position of a row of the area; none if the last is before the first. */
    std::pair<int64_t, int64_t> row(int64_t y) const
    {
        if (!isCircle_)
        {
            return {left_, right_};
        }
        const int64_t room = radiusX_ * radiusX_ - (y - y_) * (y - y_);
        auto reach = static_cast<int64_t>(std::sqrt(static_cast<double>(room)));
        while (reach * reach > room)
        {
            --reach;
        }
        while ((reach + 1) * (reach + 1) <= room)
        {
            ++reach;
        }
        return {std::max(left_, x_ - reach), std::min(right_, x_ + reach)};
    }

  private:
    int64_t x_, y_, radiusX_;
    bool isCircle_;
    int64_t left_, right_, top_, bottom_;
};

/** The best position so far. */
struct BestPosition
{
    void clear() const
    {
        xy[0] = xy[1] = VISORA_NO_MATCH;
        *score = -1;
    }

    void add(int64_t x, int64_t y, float found) const
    {
        if (xy[0] == VISORA_NO_MATCH || found > *score)
        {
            xy[0] = static_cast<uint32_t>(x);
            xy[1] = static_cast<uint32_t>(y);
            *score = found;
        }
    }

    uint32_t* xy;
    float* score;
};

/** Where the parabola through the scores before, at and after the best one has its maximum. */
inline float maximumBetween(float before, float best, float after)
{
    const float d = (before + after) - (best + best);
    return d < 0 ? std::clamp((before - after) / (d + d), -0.5f, 0.5f) : 0;
}

/** Correction of the best position along x and y. */
inline void findOffset(const PatchSearch& search, const PatchSums& patchSums, const BestPosition& best, float* offset)
{
    for (const int axis : {0, 1})
    {
        offset[axis] = 0;
        const int64_t x = best.xy[0];
        const int64_t y = best.xy[1];
        const int64_t dx = axis == 0;
        const int64_t dy = axis == 1;
        if (best.xy[0] != VISORA_NO_MATCH && search.fits(x - dx, y - dy) && search.fits(x + dx, y + dy))
        {
            offset[axis] = maximumBetween(search.score(x - dx, y - dy, patchSums), *best.score,
                                          search.score(x + dx, y + dy, patchSums));
        }
    }
}

}  // namespace visora

#endif
