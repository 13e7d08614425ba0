// Peers of the corner detectors. OpenCV has no FAST-10; its FAST-9 stands in.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/features2d.hpp>

#include "support/scene.h"

namespace visora::bench
{
namespace
{

auto fast(int threshold, bool suppress)
{
    return [=](int width, int height) -> std::function<void()>
    {
        cv::Mat src(height, width, CV_8UC1);
        test::drawScene(src.data, static_cast<uint32_t>(width), static_cast<uint32_t>(height), src.step);
        std::vector<cv::KeyPoint> corners;
        return [=]() mutable { cv::FAST(src, corners, threshold, suppress, cv::FastFeatureDetector::TYPE_9_16); };
    };
}

// A mask of bytes that leaves out every other pixel at random.
auto maskedFast(bool suppress)
{
    return [=](int width, int height) -> std::function<void()>
    {
        cv::Mat src(height, width, CV_8UC1);
        test::drawScene(src.data, static_cast<uint32_t>(width), static_cast<uint32_t>(height), src.step);
        cv::Mat mask(height, width, CV_8UC1);
        cv::randu(mask, 0, 2);
        std::vector<cv::KeyPoint> corners;
        return [=, detector = cv::FastFeatureDetector::create(20, suppress)]() mutable
        { detector->detect(src, corners, mask); };
    };
}

const RegisterPeers corners({
    {"vsrCornerFast9u8", "", "OpenCV", fast(20, false)},
    {"vsrCornerFast9u8", "many", "OpenCV", fast(6, false)},
    {"vsrCornerFast9u8", "few", "OpenCV", fast(60, false)},
    {"vsrCornerFast9Scoreu8_v2", "", "OpenCV", fast(20, true)},
    {"vsrCornerFast9Scoreu8_v2", "many", "OpenCV", fast(6, true)},
    {"vsrCornerFast9Scoreu8_v2", "few", "OpenCV", fast(60, true)},
    {"vsrCornerFast9InMasku8", "", "OpenCV", maskedFast(false)},
    {"vsrCornerFast9InMaskScoreu8_v2", "", "OpenCV", maskedFast(true)},
    {"vsrCornerFast10u8", "", "OpenCV", fast(20, false)},
    {"vsrCornerFast10Scoreu8", "", "OpenCV", fast(20, true)},
    {"vsrCornerFast10InMasku8", "", "OpenCV", maskedFast(false)},
    {"vsrCornerFast10InMaskScoreu8", "", "OpenCV", maskedFast(true)},
});

}  // namespace
}  // namespace visora::bench

#endif
