// One pixel's gradient or Laplacian from its 3x3 window.
#ifndef VISORA_CPU_FILTER_SOBEL_H
#define VISORA_CPU_FILTER_SOBEL_H

#include <cstdint>

#include "cpu/filter/visoraFilterBorder.h"

namespace visora
{

struct Gradient
{
    int dx;
    int dy;
};

/** Difference of the outer columns and rows, weighted corner, side, corner along them. */
inline Gradient gradientOf3x3(const BorderedImage& image, int64_t x, int64_t y, int corner, int side)
{
    const auto difference = [&](int64_t i, int64_t j) { return image.at(x + i, y + j) - image.at(x - i, y - j); };
    const int falling = difference(1, 1);
    const int rising = difference(1, -1);
    return {corner * (falling + rising) + side * difference(1, 0),
            corner * (falling - rising) + side * difference(0, 1)};
}

/** Sum of the 4 or 8 neighbours, less as many times the pixel. */
inline int16_t laplacianAt(const BorderedImage& image, uint32_t neighbours, int64_t x, int64_t y)
{
    int sum = 0;
    for (int64_t j = -1; j <= 1; ++j)
    {
        for (int64_t i = -1; i <= 1; ++i)
        {
            const bool counts = neighbours == 8 || i == 0 || j == 0;
            sum += counts ? image.at(x + i, y + j) - image.at(x, y) : 0;
        }
    }
    return static_cast<int16_t>(sum);
}

}  // namespace visora

#endif
