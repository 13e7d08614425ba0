// Corners, drawn on the photograph.
#include "stages.h"
#include "visora/corner.h"

namespace demo
{
namespace
{

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
             pictures::drawCross(result, xy[size_t{i} * 2], xy[size_t{i} * 2 + 1], {255, 32, 32});
         }
         return result;
     }},
});

}  // namespace
}  // namespace demo
