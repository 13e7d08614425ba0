// Floats whose bits do not depend on the processor.
#ifndef VISORA_CPU_FLOAT_H
#define VISORA_CPU_FLOAT_H

#include <bit>
#include <cstdint>

namespace visora
{

/** A float with every NaN made the standard one: processors differ in which of several NaNs they carry on. */
inline float standardNaN(float v)
{
    return v == v ? v : std::bit_cast<float>(uint32_t{0x7fc00000});
}

inline double standardNaN(double v)
{
    return v == v ? v : std::bit_cast<double>(uint64_t{0x7ff8000000000000});
}

}  // namespace visora

#endif
