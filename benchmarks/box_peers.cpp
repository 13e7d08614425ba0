// Peers of the box filters and of the median over larger windows.
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

// Zero padding, as ours, and the default border.
auto paddedBox(int type, int size)
{
    return onImage(type, [size](const cv::Mat& src, cv::Mat& dst)
                   { cv::blur(src, dst, cv::Size(size, size), cv::Point(-1, -1), cv::BORDER_CONSTANT); });
}

auto reflectedBox(int type, int size)
{
    return onImage(type, [size](const cv::Mat& src, cv::Mat& dst) { cv::blur(src, dst, cv::Size(size, size)); });
}

auto replicatedBox(int type, int size)
{
    return onImage(type, [size](const cv::Mat& src, cv::Mat& dst)
                   { cv::blur(src, dst, cv::Size(size, size), cv::Point(-1, -1), cv::BORDER_REPLICATE); });
}

auto median(int size)
{
    return onImage(CV_16SC1, [size](const cv::Mat& src, cv::Mat& dst) { cv::medianBlur(src, dst, size); });
}

const RegisterPeers boxes({
    {"vsrBoxFilter3x3u8", "", "cv const", paddedBox(CV_8UC1, 3)},
    {"vsrBoxFilter3x3u8", "", "OpenCV", reflectedBox(CV_8UC1, 3)},
    {"vsrBoxFilter3x3u8_v2", "", "OpenCV", replicatedBox(CV_8UC1, 3)},
    {"vsrBoxFilter5x5u8", "", "cv const", paddedBox(CV_8UC1, 5)},
    {"vsrBoxFilter5x5u8", "", "OpenCV", reflectedBox(CV_8UC1, 5)},
    {"vsrBoxFilter11x11u8", "", "cv const", paddedBox(CV_8UC1, 11)},
    {"vsrBoxFilter11x11u8", "", "OpenCV", reflectedBox(CV_8UC1, 11)},
    {"vsrBoxFilterNxNf32", "", "cv const", paddedBox(CV_32FC1, 5)},
    {"vsrBoxFilterNxNf32", "", "OpenCV", reflectedBox(CV_32FC1, 5)},
    {"vsrBoxFilterNxNf32", "large", "OpenCV", reflectedBox(CV_32FC1, 11)},
    {"vsrFilterMedianMxNs16", "", "OpenCV", median(3)},
    {"vsrFilterMedianMxNs16", "5x5", "OpenCV", median(5)},
});

}  // namespace
}  // namespace visora::bench

#endif
