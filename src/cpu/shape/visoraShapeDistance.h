// Exact squared distances: what works out the distances along a column's rows is shared, a row's minimum is given.
#ifndef VISORA_CPU_SHAPE_DISTANCE_H
#define VISORA_CPU_SHAPE_DISTANCE_H

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "cpu/shape/visoraShape.h"
#include "cpu/visoraDrivers.h"

namespace visora
{

/** No zero pixel: farther than any pixel of an image, whose sides are at most 65535. */
constexpr uint16_t kNoneInColumn = 65535;

/** Squared distances of a row without any zero pixel in the image. */
constexpr int64_t kNoneAtAll = -1;

/** The lower envelope of the parabolas of a row's columns, at most one for each. */
class Envelope
{
  public:
    static size_t bytes(size_t width) { return 2 * partBytes<uint16_t>(width); }

    Envelope(Parts& parts, size_t width) : columns_(parts.take<uint16_t>(width)), starts_(parts.take<uint16_t>(width))
    {
    }

    /**
     * put(x, D) for each pixel of a row: D = min over x' of distances[x']^2 + (x - x')^2, kNoneAtAll without a zero
     * pixel. (A. Meijster, J. Roerdink, W. Hesselink, "A general algorithm for computing distance transforms in linear
     * time", 2000.)
     */
    template <class Put>
    void row(const uint16_t* distances, uint32_t width, Put put)
    {
        const auto square = [](int64_t v) { return v * v; };
        const auto at = [&](int64_t x, int64_t column)
        { return square(x - column) + square(distances[static_cast<size_t>(column)]); };
        size_t count = 0;
        for (uint32_t u = 0; u < width; ++u)
        {
            if (distances[u] == kNoneInColumn)
            {
                continue;
            }
            while (count != 0 && at(starts_[count - 1], columns_[count - 1]) > at(starts_[count - 1], u))
            {
                --count;
            }
            int64_t start = 0;
            if (count != 0)
            {
                const int64_t i = columns_[count - 1];
                const int64_t j = u;
                start = 1 + (square(j) - square(i) + square(distances[u]) - square(distances[static_cast<size_t>(i)])) /
                                (2 * (j - i));
            }
            if (start < width)
            {
                columns_[count] = static_cast<uint16_t>(u);
                starts_[count] = static_cast<uint16_t>(start);
                ++count;
            }
        }
        if (count == 0)
        {
            for (uint32_t x = 0; x < width; ++x)
            {
                put(x, kNoneAtAll);
            }
            return;
        }
        for (uint32_t x = width; x-- > 0;)
        {
            put(x, at(x, columns_[count - 1]));
            count -= count > 1 && x == starts_[count - 1] ? 1 : 0;
        }
    }

  private:
    uint16_t* columns_;
    uint16_t* starts_;
};

/** Distance to the nearest zero pixel above, from that of the row above. */
inline void distancesDown(const uint8_t* src, const uint16_t* above, uint16_t* to, uint32_t width)
{
    for (uint32_t x = 0; x < width; ++x)
    {
        to[x] = src[x] == 0 ? uint16_t{0} : static_cast<uint16_t>(above[x] + (above[x] != kNoneInColumn ? 1 : 0));
    }
}

/** The least of that and of the distance to the nearest one below, from the row below. */
inline void distancesUp(const uint16_t* below, uint16_t* distances, uint32_t width)
{
    for (uint32_t x = 0; x < width; ++x)
    {
        const uint32_t up = below[x] + (below[x] != kNoneInColumn ? 1u : 0u);
        distances[x] = static_cast<uint16_t>(std::min<uint32_t>(distances[x], up));
    }
}

/**
 * rowDone(y, distances) for each row from the last to the first, with the distance of its pixels from the nearest zero
 * pixel of their columns. `all` has room for a distance a pixel, `none` for one a column.
 */
template <class Down, class Up, class RowDone>
void columnDistances(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint16_t* all,
                     uint16_t* none, Down down, Up up, RowDone rowDone)
{
    std::fill_n(none, width, kNoneInColumn);
    for (size_t y = 0; y < height; ++y)
    {
        down(src + y * srcStride, y == 0 ? none : all + (y - 1) * width, all + y * width, width);
    }
    for (uint32_t y = height; y-- > 0;)
    {
        uint16_t* row = all + size_t{y} * width;
        up(y + 1 == height ? none : row + width, row, width);
        rowDone(y, row);
    }
}

}  // namespace visora

#endif
