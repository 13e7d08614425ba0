// The weights of the block cosine transform.
#ifndef VISORA_CPU_TRANSFORM_DCT_H
#define VISORA_CPU_TRANSFORM_DCT_H

#include <cstddef>
#include <cstdint>

namespace visora
{

constexpr size_t kBlock = 8;

/** kCosines[k][j]: 8192 * sqrt(2) * cos((2j + 1) * k * pi / 16), rounded; 8192 for k = 0. */
constexpr int16_t kCosines[kBlock][kBlock] = {
    {8192, 8192, 8192, 8192, 8192, 8192, 8192, 8192},         {11363, 9633, 6436, 2260, -2260, -6436, -9633, -11363},
    {10703, 4433, -4433, -10703, -10703, -4433, 4433, 10703}, {9633, -2260, -11363, -6436, 6436, 11363, 2260, -9633},
    {8192, -8192, -8192, 8192, 8192, -8192, -8192, 8192},     {6436, -11363, 2260, 9633, -9633, -2260, 11363, -6436},
    {4433, -10703, 10703, -4433, -4433, 10703, -10703, 4433}, {2260, -6436, 9633, -11363, 11363, -9633, 6436, -2260},
};

// How far the sums of each pass are shifted: down the columns, then along the rows.
constexpr int kForwardShift1 = 9;
constexpr int kForwardShift2 = 20;
constexpr int kInverseShift1 = 10;
constexpr int kInverseShift2 = 19;

}  // namespace visora

#endif
