// There and back: the photograph as a camera would deliver it, converted to RGB
// again.
#include "visora/color.h"

#include <algorithm>

#include "stages.h"

namespace demo
{
namespace
{

// A full-range luma plane and a plane of chroma pairs at half the size in both
// directions.
struct CameraFrame
{
    Picture luma;
    Picture chroma;  // Cb, Cr, ...: two bytes per sample
};

uint8_t clampToByte(double value)
{
    return static_cast<uint8_t>(std::clamp(value + 0.5, 0.0, 255.0));
}

CameraFrame toCameraFrame(const Picture& rgb)
{
    const uint32_t width = rgb.width & ~1u;
    const uint32_t height = rgb.height & ~1u;
    CameraFrame frame{Picture(width, height, 1), Picture(width, height / 2, 1)};
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            const uint8_t* p = rgb.data() + (size_t{y} * rgb.width + x) * 3;
            frame.luma.data()[size_t{y} * width + x] = clampToByte(0.299 * p[0] + 0.587 * p[1] + 0.114 * p[2]);
            if (x % 2 == 0 && y % 2 == 0)
            {
                uint8_t* pair = frame.chroma.data() + size_t{y / 2} * width + x;
                pair[0] = clampToByte(128 - 0.168736 * p[0] - 0.331264 * p[1] + 0.5 * p[2]);
                pair[1] = clampToByte(128 + 0.5 * p[0] - 0.418688 * p[1] - 0.081312 * p[2]);
            }
        }
    }
    return frame;
}

const RegisterStages conversions({
    {"4:2:0 camera frame to RGB",
     [](const Photograph& photograph, Runner& runner)
     {
         const CameraFrame frame = toCameraFrame(photograph.rgb);
         Picture result(frame.luma.width, frame.luma.height, 3);
         runner.run("conversion", frame.luma.pixels.size(),
                    [&]
                    {
                        return vsrColorYCbCr420PseudoPlanarToRGB888u8(frame.luma.data(), frame.chroma.data(),
                                                                      result.width, result.height, 0, 0, result.data(),
                                                                      0);
                    });
         return result;
     }},
});

}  // namespace
}  // namespace demo
