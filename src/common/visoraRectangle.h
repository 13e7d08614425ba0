// Conditions on rectangles and lists in entry points.
#ifndef VISORA_COMMON_RECTANGLE_H
#define VISORA_COMMON_RECTANGLE_H

#include <algorithm>
#include <cstdint>

namespace visora
{

/** Whether a rectangle, which may be empty, lies inside an image. */
constexpr bool liesInside(uint64_t left, uint64_t top, uint64_t width, uint64_t height, uint32_t imageWidth,
                          uint32_t imageHeight)
{
    return left + width <= imageWidth && top + height <= imageHeight;
}

/** The elements of a list that may be empty, for what describes its buffer: the pointer must not be null even then. */
constexpr uint64_t atLeastOne(uint64_t count)
{
    return std::max<uint64_t>(count, 1);
}

}  // namespace visora

#endif
