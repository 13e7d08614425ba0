// Thinning of edges at one pixel.
#ifndef VISORA_CPU_SHAPE_EDGE_H
#define VISORA_CPU_SHAPE_EDGE_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace visora
{

/** A gradient's magnitude. */
inline uint16_t edgeMagnitude(int16_t dx, int16_t dy)
{
    return static_cast<uint16_t>(std::min(std::abs(int{dx}) + std::abs(int{dy}), 65535));
}

/** The tangent of 22.5 degrees, times 2^15. */
constexpr uint32_t kTangent = 13573;

}  // namespace visora

#endif
