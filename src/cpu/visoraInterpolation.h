// Floats between pixels.
#ifndef VISORA_CPU_INTERPOLATION_H
#define VISORA_CPU_INTERPOLATION_H

#include <cmath>
#include <limits>

namespace visora
{

/** From p to q; p itself, whatever q is, where the weight is 0. */
inline float lerp(float p, float q, float weight)
{
    return weight == 0 ? p : p + weight * (q - p);
}

/** Processors differ in the NaN that they make; all become 0x7fc00000. */
inline float oneNan(float value)
{
    return std::isnan(value) ? std::numeric_limits<float>::quiet_NaN() : value;
}

}  // namespace visora

#endif
