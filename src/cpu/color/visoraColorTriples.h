// Conversions of pixels of three bytes to others of three bytes.
#ifndef VISORA_CPU_COLOR_TRIPLES_H
#define VISORA_CPU_COLOR_TRIPLES_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "visora/types.h"

namespace visora
{

using Triple = std::array<uint8_t, 3>;

/** An image, pixel by pixel; in place too. */
template <Triple (*convert)(Triple)>
vsrStatus convertTriples(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const uint8_t* from = src + size_t{y} * srcStride;
        uint8_t* to = dst + size_t{y} * dstStride;
        for (uint32_t x = 0; x < width; ++x, from += 3, to += 3)
        {
            const Triple out = convert({from[0], from[1], from[2]});
            to[0] = out[0];
            to[1] = out[1];
            to[2] = out[2];
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
