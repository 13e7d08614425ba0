// Operations between elements, one after another: gradients in polar coordinates, shown as colours.
#include <vector>

#include "stages.h"
#include "visora/color.h"
#include "visora/element.h"
#include "visora/gradient.h"

namespace demo
{
namespace
{

const RegisterStages elements({
    {"gradients: direction as hue, strength as value",
     [](const Photograph& photograph, Runner& runner)
     {
         const Picture& gray = photograph.gray;
         const uint32_t width = gray.width;
         const uint32_t height = gray.height;
         const size_t pixels = gray.pixels.size();
         std::vector<int16_t> dx(pixels);
         std::vector<int16_t> dy(pixels);
         std::vector<uint16_t> length(pixels);
         std::vector<uint8_t> hue(pixels);
         const std::vector<uint8_t> saturation(pixels, 255);
         std::vector<uint8_t> value(pixels);
         Picture hsv(width, height, 3);
         Picture result(width, height, 3);
         vsrImageGradientSobelPlanars16(gray.data(), width, height, 0, dx.data(), dy.data());
         runner.run(
             "polar coordinates", pixels,
             [&]
             { return vsrCartToPolars16(dx.data(), width, height, 0, dy.data(), 0, length.data(), 0, hue.data(), 0); });
         // Lengths are far below 32768.
         runner.run("s16 to u8", pixels,
                    [&]
                    {
                        return vsrConverts16u8(reinterpret_cast<const int16_t*>(length.data()), width, height, 0, 1,
                                               VISORA_OVERFLOW_SATURATE, value.data(), 0);
                    });
         vsrChannelCombine3u8(hue.data(), width, height, 0, saturation.data(), 0, value.data(), 0, hsv.data(), 0);
         runner.run("HSV to RGB", pixels,
                    [&] { return vsrColorHSV888ToRGB888u8(hsv.data(), width, height, 0, result.data(), 0); });
         return result;
     }},
});

}  // namespace
}  // namespace demo
