// Masks for the tests of regions, and what labels alike pixels in the plainest way.
#ifndef VISORA_TESTS_CPU_SHAPE_MASK_H
#define VISORA_TESTS_CPU_SHAPE_MASK_H

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "support/images.h"
#include "support/random.h"

namespace visora::test
{

using Point = std::pair<int, int>;

struct Mask
{
    Mask(int w, int h) : width(w), height(h), pixels(static_cast<size_t>(w) * static_cast<size_t>(h)) {}

    bool has(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
    uint8_t& at(int x, int y) { return pixels[static_cast<size_t>(y * width + x)]; }
    uint8_t at(int x, int y) const { return has(x, y) ? pixels[static_cast<size_t>(y * width + x)] : uint8_t{0}; }
    uint32_t columns() const { return static_cast<uint32_t>(width); }
    uint32_t rows() const { return static_cast<uint32_t>(height); }

    int width;
    int height;
    Image pixels;
};

inline constexpr std::array<Point, 8> kSteps = {{{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}}};

// Labels of connected pixels that are alike, in row-major order; `isAlike` compares a pixel with its neighbour.
template <class IsAlike>
std::vector<int> label(const Mask& mask, int step, IsAlike isAlike)
{
    std::vector<int> labels(mask.pixels.size(), -1);
    int count = 0;
    for (int i = 0; i < mask.width * mask.height; ++i)
    {
        if (labels[static_cast<size_t>(i)] >= 0)
        {
            continue;
        }
        std::vector<int> open = {i};
        labels[static_cast<size_t>(i)] = count;
        while (!open.empty())
        {
            const int at = open.back();
            open.pop_back();
            for (size_t d = 0; d < 8; d += static_cast<size_t>(step))
            {
                const int x = at % mask.width + kSteps[d].first;
                const int y = at / mask.width + kSteps[d].second;
                const int next = y * mask.width + x;
                if (mask.has(x, y) && labels[static_cast<size_t>(next)] < 0 &&
                    isAlike(mask.pixels[static_cast<size_t>(at)], mask.pixels[static_cast<size_t>(next)]))
                {
                    labels[static_cast<size_t>(next)] = count;
                    open.push_back(next);
                }
            }
        }
        ++count;
    }
    return labels;
}

inline Mask noise(Random& random, int most)
{
    Mask mask(static_cast<int>(random.between(1, static_cast<uint32_t>(most))),
              static_cast<int>(random.between(1, static_cast<uint32_t>(most))));
    const uint32_t density = random.between(1, 15);
    for (uint8_t& pixel : mask.pixels)
    {
        pixel = random.between(1, 16) <= density ? 1 : 0;
    }
    return mask;
}

}  // namespace visora::test

#endif
