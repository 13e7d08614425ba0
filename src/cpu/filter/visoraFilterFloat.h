// What the float filters share.
#ifndef VISORA_CPU_FILTER_FLOAT_H
#define VISORA_CPU_FILTER_FLOAT_H

#include <limits>

namespace visora
{

/** Processors differ in which of several NaNs a sum carries on, so that all NaNs become one. */
inline float withOneNan(float value)
{
    return value == value ? value : std::numeric_limits<float>::quiet_NaN();
}

}  // namespace visora

#endif
