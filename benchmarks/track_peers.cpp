// What the trackers are timed on, and their peers.
#include <algorithm>
#include <cstdio>
#include <map>

#include "peers.h"
#include "support/motion.h"
#include "support/operations.h"
#include "visora/variants/corner.h"
#include "visora/variants/track.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/video/tracking.hpp>
#endif

namespace visora::bench
{
namespace
{

// The size of images that the loads run on.
constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;
constexpr int32_t kIterations = 30;
constexpr double kStep = 0.01;

struct TrackingLoad
{
    uint32_t points;
    uint32_t window;
    uint32_t levels;

    std::string label() const
    {
        const std::string side = std::to_string(window);
        return std::to_string(points) + "_points_" + side + "x" + side + "_" + std::to_string(levels) + "_levels";
    }
};

std::vector<TrackingLoad> trackingLoads()
{
    std::vector<TrackingLoad> loads;
    for (const uint32_t points : {500u, 2000u})
    {
        for (const uint32_t window : {9u, 15u, 21u})
        {
            for (const uint32_t levels : {3u, 4u})
            {
                loads.push_back({points, window, levels});
            }
        }
    }
    return loads;
}

// Two frames with four levels, between which the camera moved, turned and zoomed a little.
const test::FramePair& trackingFrames()
{
    constexpr test::Motion kMotion = {{kWidth / 2.0, kHeight / 2.0}, 0.004, 1.004, {5.3, -3.7}};
    static const test::FramePair frames = test::filmScene(kWidth, kHeight, 4, kMotion, 2);
    return frames;
}

// Up to `count` corners of a frame as pairs (x, y): the strongest ones that are `spacing` pixels apart and `margin`
// pixels away from the edges.
std::vector<float> pointsWorthTracking(const test::Frame& frame, uint32_t count, uint32_t spacing, uint32_t margin)
{
    constexpr uint32_t kThreshold = 10;
    const uint32_t capacity = frame.width() * frame.height() / 4;
    std::vector<uint32_t> xy(size_t{capacity} * 2);
    std::vector<uint32_t> scores(capacity);
    std::vector<uint32_t> work(size_t{capacity} * 3 + frame.height());
    uint32_t found = 0;
    vsrCornerFast9Scoreu8_v2(frame.data(), frame.width(), frame.height(), 0, kThreshold, std::max(margin, 3u),
                             xy.data(), scores.data(), capacity, &found, 1, work.data());
    std::vector<uint32_t> order(found);
    for (uint32_t i = 0; i < found; ++i)
    {
        order[i] = i;
    }
    std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return scores[a] > scores[b]; });
    std::vector<uint8_t> taken(size_t{frame.width()} * frame.height());
    std::vector<float> points;
    for (const uint32_t i : order)
    {
        const uint32_t x = xy[size_t{i} * 2];
        const uint32_t y = xy[size_t{i} * 2 + 1];
        if (taken[size_t{y} * frame.width() + x] || points.size() == size_t{count} * 2)
        {
            continue;
        }
        points.push_back(static_cast<float>(x));
        points.push_back(static_cast<float>(y));
        for (uint32_t v = y - std::min(y, spacing); v <= std::min(y + spacing, frame.height() - 1); ++v)
        {
            const uint32_t left = x - std::min(x, spacing);
            const uint32_t right = std::min(x + spacing, frame.width() - 1);
            std::fill_n(&taken[size_t{v} * frame.width() + left], right - left + 1, uint8_t{1});
        }
    }
    return points;
}

// Shared by the loads of as many points.
const std::vector<float>& trackingPoints(const TrackingLoad& load)
{
    static std::map<uint32_t, std::vector<float>> points;
    std::vector<float>& found = points[load.points];
    if (found.empty())
    {
        found = pointsWorthTracking(trackingFrames().first, load.points, 8, 24);
    }
    return found;
}

// ---- Ours ----

template <class Call>
void callTracker(const TrackingLoad& load, float* xy, int32_t* status, Call call)
{
    const std::vector<float>& points = trackingPoints(load);
    const test::FramePair& frames = trackingFrames();
    const auto window = static_cast<int32_t>(load.window);
    call(frames.first.data(), frames.second.data(), kWidth, kHeight, kWidth, frames.first.pyramid().data(),
         frames.second.pyramid().data(), points.data(), xy, status, static_cast<int32_t>(points.size() / 2), window,
         window, kIterations, static_cast<int32_t>(load.levels), VISORA_TRACK_UNTIL_BOTH,
         static_cast<float>(kStep * kStep), 0);
}

const int registeredLoads = []
{
    for (const TrackingLoad& load : trackingLoads())
    {
        const auto prepare = [load](test::Arguments& a)
        {
            if (a.shape().width == kWidth)
            {
                const size_t count = trackingPoints(load).size() / 2;
                callTracker(load, a.output<float>(2 * count, 1, 8 * count), a.output<int32_t>(count, 1, 4 * count),
                            [&](auto... arguments) { a.call(vsrTrackLKOpticalFlowu8_v3C, arguments...); });
            }
        };
        test::operations().push_back(
            {VISORA_OPERATION(vsrTrackLKOpticalFlowu8_v3), prepare, load.label(), load.points});
    }
    return 0;
}();

#ifdef VISORA_HAVE_OPENCV

// ---- OpenCV ----

const cv::TermCriteria kCriteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, kIterations, kStep);

std::vector<cv::Mat> pyramid(const test::Frame& frame, const TrackingLoad& load, bool derivatives)
{
    const cv::Mat image(static_cast<int>(frame.height()), static_cast<int>(frame.width()), CV_8U,
                        const_cast<uint8_t*>(frame.data()));
    const auto window = static_cast<int>(load.window);
    std::vector<cv::Mat> levels;
    cv::buildOpticalFlowPyramid(image, levels, {window, window}, static_cast<int>(load.levels) - 1, derivatives);
    return levels;
}

// Tracks the load's points from pyramid to pyramid; the derivatives are part of the work or of the pyramids.
std::function<void(std::vector<cv::Point2f>&, std::vector<uint8_t>&)> flow(const TrackingLoad& load, bool derivatives)
{
    const std::vector<float>& xy = trackingPoints(load);
    std::vector<cv::Point2f> points;
    for (size_t i = 0; i < xy.size(); i += 2)
    {
        points.emplace_back(xy[i], xy[i + 1]);
    }
    const auto window = static_cast<int>(load.window);
    return [=, first = pyramid(trackingFrames().first, load, derivatives),
            second = pyramid(trackingFrames().second, load, derivatives)](std::vector<cv::Point2f>& moved,
                                                                          std::vector<uint8_t>& found)
    {
        cv::calcOpticalFlowPyrLK(first, second, points, moved, found, cv::noArray(), {window, window},
                                 static_cast<int>(load.levels) - 1, kCriteria);
    };
}

Peer peer(const TrackingLoad& load, const char* library, bool derivatives)
{
    return {"vsrTrackLKOpticalFlowu8_v3", load.label(), library,
            [=](int width, int /*height*/) -> std::function<void()>
            {
                if (width != static_cast<int>(kWidth))
                {
                    return {};
                }
                return [track = flow(load, derivatives), moved = std::vector<cv::Point2f>(),
                        found = std::vector<uint8_t>()]() mutable { track(moved, found); };
            }};
}

const int registered = []
{
    for (const TrackingLoad& load : trackingLoads())
    {
        peers().push_back(peer(load, "OpenCV", false));
        peers().push_back(peer(load, "OpenCV+d", true));
    }
    return 0;
}();

// ---- Accuracy ----

// Distances from where the points went, of those that were found.
void printErrors(const char* who, const TrackingLoad& load, const std::vector<test::Position>& moved,
                 const std::vector<bool>& found)
{
    const std::vector<float>& points = trackingPoints(load);
    std::vector<double> errors;
    for (size_t i = 0; i < moved.size(); ++i)
    {
        if (found[i])
        {
            const test::Position truth = trackingFrames().motion({points[2 * i], points[2 * i + 1]});
            errors.push_back(distance(truth, moved[i]));
        }
    }
    std::sort(errors.begin(), errors.end());
    const auto beyond = std::count_if(errors.begin(), errors.end(), [](double error) { return error > 0.5; });
    std::printf("  %-30s %-8s median %.4f  90%% below %.4f  beyond 0.5: %zd  lost: %zu\n", load.label().c_str(), who,
                errors[errors.size() / 2], errors[errors.size() * 9 / 10], static_cast<ssize_t>(beyond),
                moved.size() - errors.size());
}

void printAccuracy()
{
    std::printf("tracking errors in pixels between frames that are turned, zoomed and shifted a little\n");
    for (const TrackingLoad& load : trackingLoads())
    {
        const std::vector<float>& points = trackingPoints(load);
        const size_t count = points.size() / 2;
        std::vector<float> out(points.size());
        std::vector<int32_t> status(count);
        callTracker(load, out.data(), status.data(), vsrTrackLKOpticalFlowu8_v3V);
        std::vector<test::Position> moved(count);
        std::vector<bool> found(count);
        for (size_t i = 0; i < count; ++i)
        {
            moved[i] = {out[2 * i], out[2 * i + 1]};
            found[i] = status[i] == VISORA_TRACK_FOUND;
        }
        printErrors("vector", load, moved, found);

        std::vector<cv::Point2f> peerMoved;
        std::vector<uint8_t> peerFound;
        flow(load, false)(peerMoved, peerFound);
        for (size_t i = 0; i < count; ++i)
        {
            moved[i] = {peerMoved[i].x, peerMoved[i].y};
            found[i] = peerFound[i] != 0;
        }
        printErrors("OpenCV", load, moved, found);
    }
}

const RegisterReports accuracy({{"vsrTrackLKOpticalFlowu8_v3", printAccuracy}});

#endif

}  // namespace
}  // namespace visora::bench
