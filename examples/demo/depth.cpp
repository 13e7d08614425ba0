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

/** Finds the disparity of the left and the right view. */
using Match = vsrStatus (*)(const Picture&, const Picture&, int16_t*);

Picture match(const Photograph& photograph, Runner& runner, const char* what, Match find)
{
    if (!isPair(photograph))
    {
        return {};
    }
    std::vector<int16_t> disparity(photograph.gray.pixels.size());
    runner.run(what, disparity.size(), [&] { return find(photograph.gray, photograph.rightGray, disparity.data()); });
    return shown(disparity, photograph.gray);
}

vsrStatus matchBlocks(const Picture& left, const Picture& right, int16_t* disparity)
{
    return vsrDisparityBlockMatchu8s16(left.data(), left.width, left.height, 0, right.data(), 0, kLeastDisparity,
                                       kDisparities, 15, 400, 10, disparity, 0);
}

vsrStatus matchSemiGlobally(const Picture& left, const Picture& right, int16_t* disparity)
{
    return vsrDisparitySemiGlobalu8s16(left.data(), left.width, left.height, 0, right.data(), 0, kLeastDisparity,
                                       kDisparities, 8, 48, 8, 5, 2, disparity, 0);
}

const RegisterStages depth({
    {"Disparity by block matching", [](const Photograph& photograph, Runner& runner)
     { return match(photograph, runner, "block matching", matchBlocks); }},
    {"Disparity by semi-global matching", [](const Photograph& photograph, Runner& runner)
     { return match(photograph, runner, "semi-global matching", matchSemiGlobally); }},
});

}  // namespace
}  // namespace demo
