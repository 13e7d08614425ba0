// What entry points of shape operations ask of their arguments.
#ifndef VISORA_COMMON_ENTRIES_SHAPE_ENTRIES_H
#define VISORA_COMMON_ENTRIES_SHAPE_ENTRIES_H

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "common/visoraEntry.h"
#include "common/visoraRectangle.h"

namespace visora
{

constexpr bool hasShapeSides(uint32_t width, uint32_t height)
{
    return width <= 65535 && height <= 65535;
}

constexpr bool isConnectivity(uint32_t connectivity)
{
    return connectivity == 4 || connectivity == 8;
}

/** Whether pairs (x, y), whose pointer may be bad, lie inside an image. */
inline bool areInside(const uint32_t* xy, uint32_t count, uint32_t width, uint32_t height)
{
    for (size_t i = 0; xy && i < count; ++i)
    {
        if (xy[2 * i] >= width || xy[2 * i + 1] >= height)
        {
            return false;
        }
    }
    return true;
}

/** Whether a list, whose pointer may be bad, has nothing but numbers. */
inline bool areFinite(const float* list, size_t count)
{
    return !list || std::all_of(list, list + count, [](float v) { return std::isfinite(v); });
}

/** A list of results that may have no capacity. */
template <class T>
Result resultList(T* list, uint64_t capacity)
{
    return Result(list, atLeastOne(capacity));
}

}  // namespace visora

#endif
