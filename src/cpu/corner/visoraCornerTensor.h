// The matrix of gradients about a pixel, and what is made of it.
#ifndef VISORA_CPU_CORNER_TENSOR_H
#define VISORA_CPU_CORNER_TENSOR_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "cpu/visoraPlane.h"

namespace visora
{

/** Sums over a window of the products of gradients: x with x, y with y, x with y. */
struct Tensor
{
    int32_t xx = 0;
    int32_t yy = 0;
    int32_t xy = 0;
};

/** The pixels of an image that are looked at, those at least `border` away from its edges. */
struct LookedAt
{
    LookedAt(uint32_t width, uint32_t height, uint32_t margin, uint32_t reach) : border(std::max(margin, reach))
    {
        const auto left = [this](uint32_t side) { return side > uint64_t{border} * 2 ? side - 2 * border : 0; };
        columns = left(width);
        rows = left(height);
    }

    bool isEmpty() const { return columns == 0 || rows == 0; }

    size_t border;
    size_t columns;
    size_t rows;
};

/** The tensor of a window of (2 * radius + 1)^2 pixels, which needs radius + 1 pixels around its centre. */
template <int32_t radius>
Tensor tensorAt(const uint8_t* src, size_t stride, size_t centreX, size_t centreY)
{
    Tensor sums;
    for (size_t y = centreY - radius; y <= centreY + radius; ++y)
    {
        const uint8_t* above = planeRow(src, stride, y - 1);
        const uint8_t* here = planeRow(src, stride, y);
        const uint8_t* below = planeRow(src, stride, y + 1);
        for (size_t x = centreX - radius; x <= centreX + radius; ++x)
        {
            const int32_t gx =
                (above[x + 1] - above[x - 1]) + 2 * (here[x + 1] - here[x - 1]) + (below[x + 1] - below[x - 1]);
            const int32_t gy =
                (below[x - 1] - above[x - 1]) + 2 * (below[x] - above[x]) + (below[x + 1] - above[x + 1]);
            sums.xx += gx * gx;
            sums.yy += gy * gy;
            sums.xy += gx * gy;
        }
    }
    return sums;
}

constexpr uint32_t kHarrisReach = 4;
constexpr uint32_t kEigenReach = 2;

/** Determinant less a sixteenth of the squared trace, over 2^20. */
inline int32_t harrisResponse(const Tensor& t)
{
    const int64_t a = t.xx;
    const int64_t b = t.yy;
    const int64_t c = t.xy;
    return static_cast<int32_t>((16 * (a * b - c * c) - (a + b) * (a + b)) >> 24);
}

inline float smallerEigenvalue(const Tensor& t)
{
    const auto d = static_cast<float>(t.xx - t.yy);
    const auto m = static_cast<float>(2 * t.xy);
    const float e = 0.5f * (static_cast<float>(t.xx + t.yy) - std::sqrt(d * d + m * m));
    return e > 0 ? e : 0;
}

/**
 * Whether no neighbour within columns x columns of rows outdoes an element: none is greater, none before it is equal.
 * `here` is its row, `above` and `below` are null where there are none.
 */
template <class T>
bool isPeak(const T* above, const T* here, const T* below, size_t x, size_t columns)
{
    const T value = here[x];
    const size_t first = x - (x > 0 ? 1 : 0);
    const size_t last = std::min(x + 1, columns - 1);
    for (size_t i = first; i <= last; ++i)
    {
        if ((above && above[i] >= value) || (below && below[i] > value) || (i < x && here[i] >= value) ||
            (i > x && here[i] > value))
        {
            return false;
        }
    }
    return true;
}

/** A corner that may be taken. */
struct Candidate
{
    float score;
    uint32_t x;
    uint32_t y;
};

/** Falling scores, equal ones row by row. */
inline bool comesBefore(const Candidate& a, const Candidate& b)
{
    if (a.score != b.score)
    {
        return a.score > b.score;
    }
    return a.y != b.y ? a.y < b.y : a.x < b.x;
}

inline bool areNear(uint32_t x1, uint32_t y1, uint32_t x2, uint32_t y2, uint32_t minDistance)
{
    const int64_t dx = int64_t{x1} - x2;
    const int64_t dy = int64_t{y1} - y2;
    return static_cast<uint64_t>(dx * dx + dy * dy) < uint64_t{minDistance} * minDistance;
}

}  // namespace visora

#endif
