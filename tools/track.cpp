#include "track.h"

#include <algorithm>
#include <sstream>

#include "visora/corner.h"
#include "visora/pyramid.h"
#include "visora/runtime.h"
#include "visora/track.h"

namespace tool
{
namespace
{

constexpr uint32_t kMaxCorners = 20000;
constexpr uint32_t kMaxLevels = 4;

void check(const char* what, vsrStatus status)
{
    if (status != VISORA_SUCCESS)
    {
        throw Refused(std::string(what) + " is not possible: " + vsrStatusText(status));
    }
}

class Pyramid
{
  public:
    Pyramid(const Picture& gray, uint32_t levels) : levels_(levels)
    {
        check("a pyramid", vsrPyramidAllocate_v3(records_, gray.width, gray.height, gray.width, 1, 16, levels, 0, 0));
        check("a pyramid",
              vsrPyramidCreateu8_v3(gray.data(), gray.width, gray.height, gray.width, levels, 0, records_));
    }
    ~Pyramid() { vsrPyramidDelete_v2(records_, levels_, 1); }
    Pyramid(const Pyramid&) = delete;
    Pyramid& operator=(const Pyramid&) = delete;

    const vsrPyramidLevel_v2* records() const { return records_; }

  private:
    uint32_t levels_;
    vsrPyramidLevel_v2 records_[kMaxLevels] = {};
};

std::vector<float> corners(const Picture& gray, uint32_t threshold)
{
    std::vector<uint32_t> xy(size_t{kMaxCorners} * 2);
    std::vector<uint32_t> scores(kMaxCorners);
    std::vector<uint32_t> work(size_t{kMaxCorners} * 3 + gray.height);
    uint32_t count = 0;
    check("finding corners", vsrCornerFast9Scoreu8_v2(gray.data(), gray.width, gray.height, 0, threshold, 8, xy.data(),
                                                      scores.data(), kMaxCorners, &count, 1, work.data()));
    std::vector<float> points;
    std::transform(xy.begin(), xy.begin() + static_cast<std::ptrdiff_t>(size_t{count} * 2), std::back_inserter(points),
                   [](uint32_t value) { return static_cast<float>(value); });
    return points;
}

}  // namespace

Result track(const Picture& first, const Picture& second, const TrackOptions& options)
{
    if (first.width != second.width || first.height != second.height)
    {
        throw Refused("the two pictures have different sizes");
    }
    const Picture from = pictures::toGray(first);
    const Picture to = pictures::toGray(second);
    // The smallest level is not smaller than the window.
    uint32_t levels = 1;
    while (levels < kMaxLevels && std::min(from.width, from.height) >> levels >= static_cast<uint32_t>(options.window))
    {
        ++levels;
    }
    const std::vector<float> points = corners(from, options.threshold);
    if (points.empty())
    {
        throw Refused("no corners to follow; a lower --threshold may find some");
    }
    const Pyramid fromPyramid(from, levels);
    const Pyramid toPyramid(to, levels);
    std::vector<float> moved(points.size());
    std::vector<int32_t> status(points.size() / 2);
    check("following points",
          vsrTrackLKOpticalFlowu8_v2(from.data(), to.data(), from.width, from.height, from.width, fromPyramid.records(),
                                     toPyramid.records(), points.data(), moved.data(), status.data(),
                                     static_cast<int32_t>(status.size()), options.window, options.window, 30,
                                     static_cast<int32_t>(levels)));
    Result result;
    Picture picture = pictures::toRgb(from);
    std::ostringstream text;
    for (size_t i = 0; i < status.size(); ++i)
    {
        if (status[i] == VISORA_TRACK_FOUND)
        {
            text << points[2 * i] << " " << points[2 * i + 1] << " -> " << moved[2 * i] << " " << moved[2 * i + 1]
                 << "\n";
            pictures::drawArrow(picture, &points[2 * i], &moved[2 * i], options.exaggeration, {255, 220, 0});
        }
    }
    result.text = text.str();
    result.pictures.emplace_back("", std::move(picture));
    return result;
}

}  // namespace tool
