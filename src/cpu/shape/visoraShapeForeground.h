// Running mean and deviation of one pixel.
#ifndef VISORA_CPU_SHAPE_FOREGROUND_H
#define VISORA_CPU_SHAPE_FOREGROUND_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace visora
{

/** 255 for foreground; else mean and deviation learn the pixel. */
inline uint8_t learnForeground(uint8_t pixel, uint32_t factor, uint32_t rateShift, uint32_t minDeviation,
                               uint16_t& mean, uint16_t& deviation)
{
    const int32_t difference = 256 * pixel - mean;
    const int32_t distance = std::abs(difference);
    if (16u * static_cast<uint32_t>(distance) > factor * std::max<uint32_t>(deviation, minDeviation))
    {
        return 255;
    }
    const int32_t half = 1 << (rateShift - 1);
    mean = static_cast<uint16_t>(mean + ((difference + half) >> rateShift));
    deviation = static_cast<uint16_t>(deviation + ((distance - deviation + half) >> rateShift));
    return 0;
}

}  // namespace visora

#endif
