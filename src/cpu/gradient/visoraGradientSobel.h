// One pixel's Sobel gradient.
#ifndef VISORA_CPU_SOBEL_H
#define VISORA_CPU_SOBEL_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace visora
{

/** The rows about one row of an image, the nearest one standing for a row outside it. */
struct SobelRows
{
    SobelRows(const uint8_t* src, uint32_t columns, uint32_t height, size_t stride, uint32_t y)
        : above(src + (y - std::min(y, 1u)) * stride),
          centre(src + y * stride),
          below(src + std::min(y + 1, height - 1) * stride),
          width(columns)
    {
    }

    uint32_t left(uint32_t x) const { return x - std::min(x, 1u); }
    uint32_t right(uint32_t x) const { return std::min(x + 1, width - 1); }

    /** Right minus left column. */
    int32_t dx(uint32_t x) const
    {
        const uint32_t l = left(x);
        const uint32_t r = right(x);
        return above[r] - above[l] + 2 * (centre[r] - centre[l]) + below[r] - below[l];
    }

    /** Lower minus upper row. */
    int32_t dy(uint32_t x) const
    {
        const uint32_t l = left(x);
        const uint32_t r = right(x);
        return below[l] - above[l] + 2 * (below[x] - above[x]) + below[r] - above[r];
    }

    const uint8_t* above;
    const uint8_t* centre;
    const uint8_t* below;
    uint32_t width;
};

/** A gradient, -1020 .. 1020, as an element of a plane. */
template <class T>
T sobelElement(int32_t gradient)
{
    return static_cast<T>(sizeof(T) == 1 ? gradient >> 3 : gradient);
}

}  // namespace visora

#endif
