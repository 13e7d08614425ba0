// What the conversions between sRGB and CIE L*a*b* look up.
#ifndef VISORA_CPU_COLOR_LAB_TABLES_H
#define VISORA_CPU_COLOR_LAB_TABLES_H

#include <array>
#include <cstdint>

namespace visora
{

// With entries more than there are values, so that 32 bits may be read at each.
struct LabTables
{
    std::array<uint16_t, 257> linear;  // 2040 g(v / 255), g from sRGB to linear light
    std::array<uint16_t, 2042> root;   // 32768 e(i / 2040), e the cube root with a straight start
    std::array<uint16_t, 257> fy;      // 16384 (L* + 16) / 116 for 255 L* / 100
    std::array<uint16_t, 257> luma;    // 16384 Y for it
    std::array<uint8_t, 4099> gamma;   // 255 j(i / 4096), j from linear light to sRGB
};
extern const LabTables kLabTables;

}  // namespace visora

#endif
