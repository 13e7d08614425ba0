// Codes of local binary patterns.
#ifndef VISORA_CPU_FILTER_PATTERN_H
#define VISORA_CPU_FILTER_PATTERN_H

#include <array>
#include <bit>
#include <cstdint>

#include "cpu/filter/visoraFilterBorder.h"

namespace visora
{

/** The neighbours of a pixel clockwise from the top left one, which has the highest bit. */
struct Neighbour
{
    int x;
    int y;
};
inline constexpr Neighbour kClockwise[8] = {{-1, -1}, {0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}};

/** The code of one pixel: a bit for each neighbour that is at least as bright. */
inline uint8_t binaryPatternAt(const BorderedImage& image, int64_t x, int64_t y)
{
    uint32_t code = 0;
    for (const auto& [dx, dy] : kClockwise)
    {
        code = code * 2 + (image.at(x + dx, y + dy) >= image.at(x, y) ? 1 : 0);
    }
    return static_cast<uint8_t>(code);
}

/** Labels of the codes: those whose circle changes at most twice in ascending order, 58 for the others. */
constexpr std::array<uint8_t, 256> uniformLabels()
{
    std::array<uint8_t, 256> labels = {};
    uint8_t next = 0;
    for (uint32_t code = 0; code < 256; ++code)
    {
        const auto bits = static_cast<uint8_t>(code);
        const bool uniform = std::popcount(static_cast<uint8_t>(bits ^ std::rotl(bits, 1))) <= 2;
        labels[code] = uniform ? next++ : uint8_t{58};
    }
    return labels;
}

}  // namespace visora

#endif
