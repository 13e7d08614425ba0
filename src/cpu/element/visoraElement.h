// What reference and vector variants of the operations on elements have in common: frames, range stretching, angles.
#ifndef VISORA_CPU_ELEMENT_H
#define VISORA_CPU_ELEMENT_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>

#include "visora/types.h"

namespace visora
{

// ---- Frames ----

/** The place among 0 .. size - 1 that stands for place i: by mirroring about the outermost places, or the nearest. */
inline size_t insideOf(vsrBorderType type, int64_t i, size_t size)
{
    const auto last = static_cast<int64_t>(size) - 1;
    if (type != VISORA_BORDER_MIRROR || last == 0)
    {
        return static_cast<size_t>(std::clamp<int64_t>(i, 0, last));
    }
    const int64_t m = ((i % (2 * last)) + 2 * last) % (2 * last);
    return static_cast<size_t>(m <= last ? m : 2 * last - m);
}

// ---- Range stretching ----

/** The table that stretches lo .. hi to low .. high. */
inline void normalizingTable(uint32_t lo, uint32_t hi, uint8_t low, uint8_t high, uint8_t (&table)[256])
{
    for (uint32_t x = 0; x < 256; ++x)
    {
        const uint32_t range = x > lo && x < hi ? hi - lo : 1;
        table[x] = x <= lo   ? low
                   : x >= hi ? high
                             : static_cast<uint8_t>(low + (2 * (x - lo) * (high - low) + range) / (2 * range));
    }
}

/** As above, between the values at these thousandths of the pixels. */
inline void normalizingTable(const uint64_t (&counts)[256], uint32_t lowPermille, uint32_t highPermille, uint8_t low,
                             uint8_t high, uint8_t (&table)[256])
{
    uint64_t below[256];
    std::partial_sum(counts, counts + 256, below);
    // How many values are below that of the pixel at this place in ascending order.
    const auto valueAt = [&](uint32_t permille)
    { return static_cast<uint32_t>(std::upper_bound(below, below + 256, (below[255] - 1) * permille / 1000) - below); };
    normalizingTable(valueAt(lowPermille), valueAt(highPermille), low, high, table);
}

// ---- Angles: an odd polynomial of degree 15 on 0 .. 1, within 1.6e-7 of the arctangent ----

namespace polar
{
constexpr float kCoefficients[] = {-0x1.5552dep-2F, 0x1.991268p-3F, -0x1.1f9100p-3F, 0x1.984f04p-4F,
                                   -0x1.ed2f1ep-5F, 0x1.953e30p-6F, -0x1.3c0cb6p-8F};
constexpr float kQuarter = 0x1.921fb6p+0F;
constexpr float kHalf = 0x1.921fb6p+1F;
constexpr float kWhole = 0x1.921fb6p+2F;
constexpr float kStepsPerRadian = 0x1.45f306p+5F;  // 128 / pi
}  // namespace polar

/** Angle between (x, y) and the nearest axis, from 0 to pi / 4. */
inline float octantAngle(float x, float y)
{
    const float big = std::max(std::fabs(x), std::fabs(y));
    const float small = std::min(std::fabs(x), std::fabs(y));
    const float q = big == 0 ? 0 : std::isinf(small) ? 1 : small / big;
    const float s = q * q;
    float p = polar::kCoefficients[6];
    for (int i = 5; i >= 0; --i)
    {
        p = (p * s) + polar::kCoefficients[i];
    }
    return q + ((q * s) * p);
}

}  // namespace visora

#endif
