// Random images, and window filters worked out pixel by pixel.
#ifndef VISORA_TESTS_SUPPORT_IMAGES_H
#define VISORA_TESTS_SUPPORT_IMAGES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "support/random.h"
#include "visora/types.h"

namespace visora::test
{

using Image = std::vector<uint8_t>;

/** Elements of any bits, the same ones for the same seed. */
template <class T = uint8_t>
std::vector<T> randomPixels(size_t count, uint64_t seed)
{
    Random random(seed);
    std::vector<T> pixels(count);
    std::generate(pixels.begin(), pixels.end(), [&] { return static_cast<T>(random.next()); });
    return pixels;
}

/** The pixels of a window, row by row, nothing where an undefined border has no pixel. */
template <class T>
using Window = std::vector<std::optional<T>>;

/**
 * An image of result(window) for the window of every pixel of a packed image. Windows begin columns / 2 to the left and
 * rows / 2 above; outside the image is what the border type says.
 */
template <class T, class Result>
std::vector<T> filterWindows(const std::vector<T>& src, size_t width, size_t columns, size_t rows, vsrBorderType border,
                             uint8_t constant, Result result)
{
    const size_t height = src.size() / width;
    const auto clampTo = [](size_t at, size_t before, size_t size)
    { return std::clamp(at, before, before + size - 1) - before; };
    std::vector<T> dst;
    Window<T> window(columns * rows);
    for (size_t i = 0; i < src.size(); ++i)
    {
        for (size_t k = 0; k < window.size(); ++k)
        {
            // The place in the image, shifted so that it is never negative, and the nearest one inside.
            const size_t x = i % width + k % columns;
            const size_t y = i / width + k / columns;
            const size_t u = clampTo(x, columns / 2, width);
            const size_t v = clampTo(y, rows / 2, height);
            const bool inside = u + columns / 2 == x && v + rows / 2 == y;
            window[k] = src[v * width + u];
            if (!inside && border != VISORA_BORDER_REPLICATE)
            {
                window[k] = border == VISORA_BORDER_CONSTANT ? std::optional<T>(constant) : std::nullopt;
            }
        }
        dst.push_back(result(window));
    }
    return dst;
}

}  // namespace visora::test

#endif
