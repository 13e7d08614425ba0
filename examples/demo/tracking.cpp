// Points followed from one frame to the next, drawn as arrows.
#include <algorithm>
#include <stdexcept>

#include "stages.h"
#include "visora/corner.h"
#include "visora/pyramid.h"
#include "visora/track.h"

namespace demo
{
namespace
{

constexpr uint32_t kLevels = 4;
// Motion between frames is small: arrows are this much longer.
constexpr float kExaggeration = 5;

class Pyramid
{
  public:
    Pyramid(const Picture& gray, Runner& runner)
    {
        vsrPyramidAllocate_v3(levels_, gray.width, gray.height, gray.width, 1, 16, kLevels, 0, 0);
        runner.run("pyramid", gray.pixels.size(),
                   [&]
                   {
                       // Level 0 becomes the picture itself.
                       levels_[0].ptr = nullptr;
                       return vsrPyramidCreateu8_v3(gray.data(), gray.width, gray.height, gray.width, kLevels, 0,
                                                    levels_);
                   });
    }
    ~Pyramid() { vsrPyramidDelete_v2(levels_, kLevels, 1); }
    Pyramid(const Pyramid&) = delete;
    Pyramid& operator=(const Pyramid&) = delete;

    const vsrPyramidLevel_v2* levels() const { return levels_; }

  private:
    vsrPyramidLevel_v2 levels_[kLevels];
};

// The strongest corners of every square of pixels, spread over the picture.
std::vector<float> cornersToFollow(const Picture& gray)
{
    constexpr uint32_t kThreshold = 12;
    constexpr uint32_t kBorder = 8;
    constexpr uint32_t kSquare = 16;
    constexpr uint32_t kMaxCorners = 50000;
    std::vector<uint32_t> xy(size_t{kMaxCorners} * 2);
    std::vector<uint32_t> scores(kMaxCorners);
    std::vector<uint32_t> work(size_t{kMaxCorners} * 3 + gray.height);
    uint32_t count = 0;
    vsrCornerFast9Scoreu8_v2(gray.data(), gray.width, gray.height, 0, kThreshold, kBorder, xy.data(), scores.data(),
                             kMaxCorners, &count, 1, work.data());
    const size_t columns = gray.width / kSquare + 1;
    std::vector<uint32_t> best(columns * (gray.height / kSquare + 1), count);
    for (uint32_t i = 0; i < count; ++i)
    {
        uint32_t& here = best[xy[size_t{i} * 2 + 1] / kSquare * columns + xy[size_t{i} * 2] / kSquare];
        here = here == count || scores[i] > scores[here] ? i : here;
    }
    std::vector<float> points;
    for (const uint32_t i : best)
    {
        if (i != count)
        {
            points.push_back(static_cast<float>(xy[size_t{i} * 2]));
            points.push_back(static_cast<float>(xy[size_t{i} * 2 + 1]));
        }
    }
    return points;
}

const RegisterStages tracking({
    {"Optical flow to the next frame, 5 times as long",
     [](const Photograph& photograph, Runner& runner)
     {
         const Picture& first = photograph.gray;
         const Picture& second = photograph.nextGray;
         if (second.pixels.empty())
         {
             return Picture();
         }
         if (second.width != first.width || second.height != first.height)
         {
             throw std::runtime_error("the next frame has another size");
         }
         if (std::min(first.width, first.height) >> (kLevels - 1) == 0)
         {
             throw std::runtime_error("too small to follow points in");
         }
         const Pyramid firstPyramid(first, runner);
         const Pyramid secondPyramid(second, runner);
         const std::vector<float> points = cornersToFollow(first);
         if (points.empty())
         {
             throw std::runtime_error("no corners to follow");
         }
         std::vector<float> moved(points.size());
         std::vector<int32_t> status(points.size() / 2);
         constexpr int32_t kWindow = 15;
         runner.run(
             "optical flow", status.size(),
             [&]
             {
                 return vsrTrackLKOpticalFlowu8_v2(first.data(), second.data(), first.width, first.height, first.width,
                                                   firstPyramid.levels(), secondPyramid.levels(), points.data(),
                                                   moved.data(), status.data(), static_cast<int32_t>(status.size()),
                                                   kWindow, kWindow, 30, kLevels);
             },
             "point");
         Picture result = toRgb(first);
         for (size_t i = 0; i < status.size(); ++i)
         {
             if (status[i] == VISORA_TRACK_FOUND)
             {
                 pictures::drawArrow(result, &points[2 * i], &moved[2 * i], kExaggeration, {255, 220, 0});
             }
         }
         return result;
     }},
});

}  // namespace
}  // namespace demo
