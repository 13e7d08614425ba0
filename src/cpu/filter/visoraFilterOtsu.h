// The level that parts a histogram best.
#ifndef VISORA_CPU_FILTER_OTSU_H
#define VISORA_CPU_FILTER_OTSU_H

#include <array>
#include <cstdint>

namespace visora
{

/** Otsu's level: the first one with the largest variance between the pixels up to it and the rest. */
inline uint8_t otsuLevel(const std::array<uint64_t, 256>& histogram)
{
    uint64_t count = 0;
    uint64_t sum = 0;
    for (uint64_t value = 0; value < 256; ++value)
    {
        count += histogram[value];
        sum += histogram[value] * value;
    }
    uint64_t countBelow = 0;
    uint64_t sumBelow = 0;
    double largest = 0;
    uint8_t level = 0;
    for (uint64_t t = 0; t < 255; ++t)
    {
        countBelow += histogram[t];
        sumBelow += histogram[t] * t;
        if (countBelow == 0 || countBelow == count)
        {
            continue;
        }
        const auto n1 = static_cast<double>(countBelow);
        const auto n2 = static_cast<double>(count - countBelow);
        const double distance = static_cast<double>(sumBelow) / n1 - static_cast<double>(sum - sumBelow) / n2;
        const double variance = (n1 * n2) * (distance * distance);
        if (variance > largest)
        {
            largest = variance;
            level = static_cast<uint8_t>(t);
        }
    }
    return level;
}

}  // namespace visora

#endif
