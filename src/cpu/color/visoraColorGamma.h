// The tone curve of a gamma value, the same table for all variants.
#ifndef VISORA_CPU_COLOR_GAMMA_H
#define VISORA_CPU_COLOR_GAMMA_H

#include <array>
#include <cstdint>

namespace visora
{

/** 255 (x / 255)^gamma for each byte x, rounded. */
std::array<uint8_t, 256> gammaTable(float gamma);

}  // namespace visora

#endif
