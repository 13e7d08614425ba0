// Corners, drawn on the photograph.
#include "stages.h"
#include "visora/corner.h"

namespace demo
{
namespace
{

void drawCross(Picture& rgb, uint32_t x, uint32_t y)
{
    const auto paint = [&](uint32_t atX, uint32_t atY)
    {
        if (atX < rgb.width && atY < rgb.height)
        {
            uint8_t* pixel = rgb.data() + (size_t{atY} * rgb.width + atX) * 3;
            pixel[0] = 255;
            pixel[1] = 32;
            pixel[2] = 32;
        }
    };
    for (uint32_t i = 0; i <= 8; ++i)
    {
        paint(x + i - 4, y);
        paint(x, y + i - 4);
    }
}

const RegisterStages corners({
    {"FAST-9 corners, strongest of each neighbourhood",
     [](const Photograph& photograph, Runner& runner)
     {
         const Picture& gray = photograph.gray;
         constexpr uint32_t kThreshold = 40;
         constexpr uint32_t kBorder = 3;
         constexpr uint32_t kMaxCorners = 20000;
         std::vector<uint32_t> xy(size_t{kMaxCorners} * 2);
         std::vector<uint32_t> scores(kMaxCorners);
         std::vector<uint32_t> work(size_t{kMaxCorners} * 3 + gray.height);
         uint32_t count = 0;
         runner.run("corners", gray.pixels.size(),
                    [&]
                    {
                        return vsrCornerFast9Scoreu8_v2(gray.data(), gray.width, gray.height, 0, kThreshold, kBorder,
                                                        xy.data(), scores.data(), kMaxCorners, &count, 1, work.data());
                    });
         Picture result = toRgb(gray);
         for (uint32_t i = 0; i < count; ++i)
         {
             drawCross(result, xy[size_t{i} * 2], xy[size_t{i} * 2 + 1]);
         }
         return result;
     }},
});

}  // namespace
}  // namespace demo
