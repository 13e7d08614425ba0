// Peers of the box, Gaussian and median filters.
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
});

// With sigma 0, OpenCV's kernels of size 3 and 5 are the binomial ones.
auto gaussian(int type, int size)
{
    return onImage(type, [=](const cv::Mat& src, cv::Mat& dst) { cv::GaussianBlur(src, dst, {size, size}, 0); });
}

// Any 11 taps of a Gaussian take OpenCV the same time; its GaussianBlur is the fastest it has for them.
const RegisterPeers gaussians({
    {"vsrFilterGaussian3x3u8", "", "OpenCV", gaussian(CV_8UC1, 3)},
    {"vsrFilterGaussian3x3u8", "border", "OpenCV", gaussian(CV_8UC1, 3)},
    {"vsrFilterGaussian3x3u8_v3", "", "OpenCV", gaussian(CV_8UC1, 3)},
    {"vsrFilterGaussian3x3u8_v3", "undefined", "OpenCV", gaussian(CV_8UC1, 3)},
    {"vsrFilterGaussian5x5u8", "", "OpenCV", gaussian(CV_8UC1, 5)},
    {"vsrFilterGaussian5x5u8", "border", "OpenCV", gaussian(CV_8UC1, 5)},
    {"vsrFilterGaussian5x5s16", "", "OpenCV", gaussian(CV_16SC1, 5)},
    {"vsrFilterGaussian5x5s16", "border", "OpenCV", gaussian(CV_16SC1, 5)},
    {"vsrFilterGaussian11x11u8", "", "OpenCV", gaussian(CV_8UC1, 11)},
    {"vsrFilterGaussian11x11u8", "border", "OpenCV", gaussian(CV_8UC1, 11)},
});

auto median(int type, int size)
{
    return onImage(type, [size](const cv::Mat& src, cv::Mat& dst) { cv::medianBlur(src, dst, size); });
}

const RegisterPeers medians({
    {"vsrFilterMedian3x3u8", "", "OpenCV", median(CV_8UC1, 3)},
    {"vsrFilterMedian3x3u8_v3", "", "OpenCV", median(CV_8UC1, 3)},
    {"vsrFilterMedianMxNs16", "", "OpenCV", median(CV_16SC1, 3)},
    {"vsrFilterMedianMxNs16", "5x5", "OpenCV", median(CV_16SC1, 5)},
});

}  // namespace
}  // namespace visora::bench

#endif
