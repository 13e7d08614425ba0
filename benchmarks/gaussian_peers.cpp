// Peers of the binomial Gaussian filters.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>

namespace visora::bench
{
namespace
{

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

}  // namespace
}  // namespace visora::bench

#endif
