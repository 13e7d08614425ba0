// How far away things are, from two views side by side.
#include "visora/depth.h"

#include <algorithm>

#include "stages.h"

namespace demo
{
namespace
{

// Pixels that the views of the aloe differ by.
constexpr int32_t kLeastDisparity = 24;
constexpr uint32_t kDisparities = 200;

// Near things bright; black where nothing was found.
Picture shown(const std::vector<int16_t>& disparity, const Picture& gray)
{
    Picture picture(gray.width, gray.height, 1);
    std::transform(
        disparity.begin(), disparity.end(), picture.pixels.begin(),
        [](int16_t d)
        {
            const int32_t above = d - 16 * kLeastDisparity;
            return static_cast<uint8_t>(
                d == VISORA_DISPARITY_NONE ? 0 : std::clamp(40 + above * 215 / int32_t{16 * kDisparities}, 0, 255));
        });
    return picture;
}

bool isPair(const Photograph& photograph)
{
    return photograph.rightGray.width == photograph.gray.width && photograph.rightGray.height == photograph.gray.height;
}

const RegisterStages depth({
    {"Disparity by block matching",
     [](const Photograph& photograph, Runner& runner)
     {
         if (!isPair(photograph))
         {
             return Picture();
         }
         const Picture& left = photograph.gray;
         std::vector<int16_t> disparity(left.pixels.size());
         runner.run("block matching", left.pixels.size(),
                    [&]
                    {
                        return vsrDisparityBlockMatchu8s16(left.data(), left.width, left.height, 0,
                                                           photograph.rightGray.data(), 0, kLeastDisparity,
                                                           kDisparities, 15, 400, 10, disparity.data(), 0);
                    });
         return shown(disparity, left);
     }},
    {"Disparity by semi-global matching",
     [](const Photograph& photograph, Runner& runner)
     {
         if (!isPair(photograph))
         {
             return Picture();
         }
         const Picture& left = photograph.gray;
         std::vector<int16_t> disparity(left.pixels.size());
         runner.run("semi-global matching", left.pixels.size(),
                    [&]
                    {
                        return vsrDisparitySemiGlobalu8s16(left.data(), left.width, left.height, 0,
                                                           photograph.rightGray.data(), 0, kLeastDisparity,
                                                           kDisparities, 8, 48, 8, 5, 2, disparity.data(), 0);
                    });
         return shown(disparity, left);
     }},
});

}  // namespace
}  // namespace demo
