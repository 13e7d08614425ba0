// Peers of the smoothing filters.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>

namespace visora::bench
{
namespace
{

// Work on a random image of a type.
template <class Filter>
auto onImage(int type, Filter filter)
{
    return [=](int width, int height) -> std::function<void()>
    {
        cv::Mat src(height, width, type);
        cv::randu(src, 0, 256);
        cv::Mat dst(height, width, type);
        return [=]() mutable { filter(src, dst); };
    };
}

const RegisterPeers filters({
    {"vsrFilterMedian3x3u8", "", "OpenCV",
     onImage(CV_8UC1, [](const cv::Mat& src, cv::Mat& dst) { cv::medianBlur(src, dst, 3); })},
    {"vsrFilterMedian3x3u8_v3", "", "OpenCV",
     onImage(CV_8UC1, [](const cv::Mat& src, cv::Mat& dst) { cv::medianBlur(src, dst, 3); })},
});

}  // namespace
}  // namespace visora::bench

#endif
