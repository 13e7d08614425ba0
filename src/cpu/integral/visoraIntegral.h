// What the variants of integral images share.
#ifndef VISORA_CPU_INTEGRAL_H
#define VISORA_CPU_INTEGRAL_H

#include <cstddef>
#include <cstdint>

#include "cpu/visoraFloat.h"
#include "cpu/visoraPlane.h"

namespace visora
{

/** Sum over the rectangle by four look-ups in an integral image, modulo its type. */
template <class T>
T rectangleSum(const T* integral, size_t strideBytes, size_t x, size_t y, size_t width, size_t height)
{
    const T* top = planeRow(integral, strideBytes, y) + x;
    const T* bottom = planeRow(integral, strideBytes, y + height) + x;
    return bottom[width] - bottom[0] - top[width] + top[0];
}

/** Element (x, y) of the turned integral image from the two rows above it and the two pixel rows above it. */
struct TiltedRows
{
    /** Row y of the result, 1 or more. `up2` is not looked at when y is 1. */
    TiltedRows(const uint8_t* src, size_t srcStride, const uint32_t* dst, size_t dstStride, size_t y, size_t columns)
        : pixels(src + (y - 1) * srcStride),
          pixelsAbove(y > 1 ? pixels - srcStride : nullptr),
          up(planeRow(dst, dstStride, y - 1)),
          up2(y > 1 ? planeRow(dst, dstStride, y - 2) : nullptr),
          width(columns)
    {
    }

    uint32_t element(size_t x) const
    {
        if (up2 == nullptr)
        {
            return x > 0 ? pixels[x - 1] : 0;
        }
        // At the edges the triangle's upper corner that is outside holds what the one two rows up holds: they cancel.
        if (x == 0)
        {
            return up[1];
        }
        const uint32_t own = uint32_t{pixels[x - 1]} + pixelsAbove[x - 1];
        return x == width ? up[x - 1] + own : up[x - 1] + up[x + 1] - up2[x] + own;
    }

    const uint8_t* pixels;
    const uint8_t* pixelsAbove;
    const uint32_t* up;
    const uint32_t* up2;
    size_t width;
};

}  // namespace visora

#endif
