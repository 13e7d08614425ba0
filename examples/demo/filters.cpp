// Smoothing and pixel moves.
#include <random>

#include "stages.h"
#include "visora/edge.h"
#include "visora/edge_smooth.h"
#include "visora/element.h"
#include "visora/filter.h"
#include "visora/warp.h"

namespace demo
{
namespace
{

// One pixel in twelve turned black or white.
Picture addSpecks(const Picture& gray)
{
    Picture noisy = gray;
    std::mt19937 random(1);
    for (uint8_t& pixel : noisy.pixels)
    {
        if (random() % 12 == 0)
        {
            pixel = random() % 2 ? 255 : 0;
        }
    }
    return noisy;
}

// A stage that calls filter(src, width, height, dst) with packed rows.
template <class Filter>
auto filtered(Filter filter)
{
    return [=](const Photograph& photograph, Runner& runner)
    {
        const Picture& gray = photograph.gray;
        Picture result(gray.width, gray.height, 1);
        runner.run("filter", result.pixels.size(),
                   [&] { return filter(gray.data(), gray.width, gray.height, result.data()); });
        return result;
    };
}

const RegisterStages filters({
    {"gray", [](const Photograph& photograph, Runner&) { return photograph.gray; }},
    {"with specks", [](const Photograph& photograph, Runner&) { return addSpecks(photograph.gray); }},
    {"specks removed: median 3x3",
     [](const Photograph& photograph, Runner& runner)
     {
         const Picture noisy = addSpecks(photograph.gray);
         Picture result(noisy.width, noisy.height, 1);
         runner.run("median", result.pixels.size(),
                    [&]
                    {
                        return vsrFilterMedian3x3u8_v3(noisy.data(), noisy.width, noisy.height, 0, result.data(), 0,
                                                       VISORA_BORDER_REPLICATE, 0);
                    });
         return result;
     }},
    {"smoothed: Gaussian 11x11", filtered([](const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
                                          { return vsrFilterGaussian11x11u8(src, width, height, dst, 1); })},
    {"box mean 11x11", filtered([](const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
                                { return vsrBoxFilter11x11u8(src, width, height, width, dst, width); })},
    {"smoothed, edges kept: bilateral 9x9",
     filtered([](const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
              { return vsrBilateralFilter9x9u8(src, width, height, 0, 4, 30, dst, 0, VISORA_BORDER_REPLICATE, 0); })},
    {"edges: Canny", filtered([](const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
                              { return vsrFilterCanny3x3u8_v2(src, width, height, 0, 60, 140, dst, 0); })},
    {"negative", filtered([](const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
                          { return vsrBitwiseNotu8(src, width, height, 0, dst, 0); })},
});

}  // namespace
}  // namespace demo
