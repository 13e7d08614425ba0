// The rule of the chroma key, sample by sample.
#ifndef VISORA_CPU_COLOR_KEY_H
#define VISORA_CPU_COLOR_KEY_H

#include <cmath>
#include <cstdint>

namespace visora
{

struct ChromaKey
{
    uint8_t cb;
    uint8_t cr;
    uint32_t inner;
    uint32_t outer;

    uint8_t maskOf(const uint8_t* pair) const
    {
        const int32_t b = pair[0] - cb, r = pair[1] - cr;
        const auto squared = static_cast<uint32_t>(b * b + r * r);
        if (squared <= uint64_t{inner} * inner)
        {
            return 255;
        }
        if (squared >= uint64_t{outer} * outer)
        {
            return 0;
        }
        const float slope = 255.0f / static_cast<float>(outer - inner);
        return static_cast<uint8_t>((static_cast<float>(outer) - std::sqrt(static_cast<float>(squared))) * slope +
                                    0.5f);
    }
};

}  // namespace visora

#endif
