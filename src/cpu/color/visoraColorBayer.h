// Bilinear colours of a Bayer mosaic, pixel by pixel.
#ifndef VISORA_CPU_COLOR_BAYER_H
#define VISORA_CPU_COLOR_BAYER_H

#include <algorithm>

#include "cpu/color/visoraColorFormats.h"
#include "visora/color.h"

namespace visora
{

struct Mosaic
{
    const uint8_t* src;
    size_t stride;
    uint32_t width;
    uint32_t height;
    vsrBayerPattern pattern;

    /** Whether the row or column has the red pixels, not the blue ones. */
    bool isRedColumn(uint32_t x) const { return x % 2 == (pattern & 1); }
    bool isRedRow(uint32_t y) const { return y % 2 == pattern >> 1; }
};

/** Where on an axis a pixel's colour is worked out: next to the frame there, unless the axis has the frame only. */
constexpr uint32_t innerPlace(uint32_t at, uint32_t size)
{
    return size > 2 ? std::clamp(at, 1u, size - 2) : at;
}

inline Pixel demosaic(const Mosaic& mosaic, uint32_t column, uint32_t row)
{
    const uint32_t x = innerPlace(column, mosaic.width), y = innerPlace(row, mosaic.height);
    // Beside the frame of two pixels lies the other one of them.
    const uint32_t left = x == 0 ? 1 : x - 1, right = x + 1 == mosaic.width ? x - 1 : x + 1;
    const uint32_t up = y == 0 ? 1 : y - 1, down = y + 1 == mosaic.height ? y - 1 : y + 1;
    const auto at = [&](uint32_t u, uint32_t v) -> uint32_t { return mosaic.src[v * mosaic.stride + u]; };
    const auto byte = [](uint32_t value) { return static_cast<uint8_t>(value); };

    const uint8_t own = byte(at(x, y));
    const uint8_t across = byte((at(left, y) + at(right, y) + 1) >> 1);
    const uint8_t along = byte((at(x, up) + at(x, down) + 1) >> 1);
    const bool isRedRow = mosaic.isRedRow(y);
    if (isRedRow != mosaic.isRedColumn(x))
    {
        return isRedRow ? Pixel{across, own, along} : Pixel{along, own, across};
    }
    const uint8_t green = byte((at(left, y) + at(right, y) + at(x, up) + at(x, down) + 2) >> 2);
    const uint8_t other = byte((at(left, up) + at(right, up) + at(left, down) + at(right, down) + 2) >> 2);
    return isRedRow ? Pixel{own, green, other} : Pixel{other, green, own};
}

}  // namespace visora

#endif
