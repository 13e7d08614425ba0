// The photograph's pyramid, and the gradients of its levels.
#include <algorithm>
#include <cstdlib>
#include <new>
#include <stdexcept>

#include "stages.h"
#include "visora/pyramid.h"

namespace demo
{
namespace
{

constexpr uint32_t kLevels = 5;
constexpr uint32_t kUnit = 1u << (kLevels - 1);

// A plain pyramid, freed when it is no longer needed.
class Pyramid
{
  public:
    // Every level gets a buffer, or all but the base.
    Pyramid(uint32_t width, uint32_t height, uint32_t bytesPerPixel, bool withBase) : firstOwned_(withBase ? 0 : 1)
    {
        if (vsrPyramidAllocate(levels_, width, height, bytesPerPixel, kLevels, withBase ? 1 : 0) != VISORA_SUCCESS)
        {
            vsrPyramidDelete(levels_, kLevels, firstOwned_);
            throw std::bad_alloc();
        }
    }
    ~Pyramid() { vsrPyramidDelete(levels_, kLevels, firstOwned_); }
    Pyramid(const Pyramid&) = delete;
    Pyramid& operator=(const Pyramid&) = delete;

    vsrPyramidLevel* levels() { return levels_; }
    const vsrPyramidLevel& operator[](uint32_t level) const { return levels_[level]; }

  private:
    vsrPyramidLevel levels_[kLevels] = {};
    uint32_t firstOwned_;
};

// The levels, the base on the left and the others beneath each other beside it; brightness(level, pixel) gives pixels.
template <class Brightness>
Picture laidOut(const Pyramid& pyramid, Brightness brightness)
{
    Picture whole(pyramid[0].width + pyramid[1].width, pyramid[0].height, 1);
    std::fill(whole.pixels.begin(), whole.pixels.end(), uint8_t{255});
    uint32_t top = 0;
    for (uint32_t i = 0; i < kLevels; ++i)
    {
        const uint32_t left = i == 0 ? 0 : pyramid[0].width;
        for (uint32_t y = 0; y < pyramid[i].height; ++y)
        {
            for (uint32_t x = 0; x < pyramid[i].width; ++x)
            {
                whole.data()[size_t{top + y} * whole.width + left + x] =
                    brightness(i, size_t{y} * pyramid[i].width + x);
            }
        }
        top += i == 0 ? 0 : pyramid[i].height;
    }
    return whole;
}

// The photograph without the columns and rows that the levels cannot halve.
Picture halvable(const Picture& gray)
{
    if (gray.width < kUnit || gray.height < kUnit)
    {
        throw std::runtime_error("a pyramid of " + std::to_string(kLevels) + " levels needs " + std::to_string(kUnit) +
                                 " pixels in both directions");
    }
    Picture cut(gray.width / kUnit * kUnit, gray.height / kUnit * kUnit, 1);
    for (uint32_t y = 0; y < cut.height; ++y)
    {
        std::copy_n(gray.data() + size_t{y} * gray.width, cut.width, cut.data() + size_t{y} * cut.width);
    }
    return cut;
}

void create(const Picture& base, Pyramid& pyramid, Runner& runner)
{
    runner.run("pyramid", base.pixels.size(),
               [&] { return vsrPyramidCreateu8(base.data(), base.width, base.height, kLevels, pyramid.levels()); });
}

const RegisterStages pyramidStages({
    {"pyramid: 5x5 Gaussian halves",
     [](const Photograph& photograph, Runner& runner)
     {
         const Picture base = halvable(photograph.gray);
         Pyramid pyramid(base.width, base.height, 1, false);
         create(base, pyramid, runner);
         return laidOut(pyramid, [&](uint32_t level, size_t pixel)
                        { return static_cast<const uint8_t*>(pyramid[level].ptr)[pixel]; });
     }},
    {"Sobel gradients of the pyramid",
     [](const Photograph& photograph, Runner& runner)
     {
         const Picture base = halvable(photograph.gray);
         Pyramid pyramid(base.width, base.height, 1, false);
         create(base, pyramid, runner);
         Pyramid dx(base.width, base.height, sizeof(int16_t), true);
         Pyramid dy(base.width, base.height, sizeof(int16_t), true);
         runner.run("gradients", base.pixels.size(),
                    [&]
                    { return vsrPyramidSobelGradientCreatei16(pyramid.levels(), dx.levels(), dy.levels(), kLevels); });
         return laidOut(pyramid,
                        [&](uint32_t level, size_t pixel)
                        {
                            const int x = static_cast<const int16_t*>(dx[level].ptr)[pixel];
                            const int y = static_cast<const int16_t*>(dy[level].ptr)[pixel];
                            return static_cast<uint8_t>(std::min(std::abs(x) + std::abs(y), 255));
                        });
     }},
});

}  // namespace
}  // namespace demo
