// Peers of the pyramids and of what fills them.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace visora::bench
{
namespace
{

#ifdef VISORA_HAVE_OPENCV
cv::Mat image(int width, int height, int type)
{
    cv::Mat src(height, width, type);
    cv::randu(src, 0, 256);
    return src;
}

auto half(int type)
{
    return [=](int width, int height) -> std::function<void()>
    {
        cv::Mat dst(height / 2, width / 2, type);
        return [src = image(width, height, type), dst]() mutable { cv::pyrDown(src, dst, dst.size()); };
    };
}

auto pyramid(int type)
{
    return [=](int width, int height) -> std::function<void()>
    {
        std::vector<cv::Mat> levels;
        return [=, src = image(width, height, type)]() mutable { cv::buildPyramid(src, levels, 2); };
    };
}

auto resize(int m, int n, int interpolation)
{
    return [=](int width, int height) -> std::function<void()>
    {
        cv::Mat dst(height * n / m, width * n / m, CV_8UC1);
        return [=, src = image(width, height, CV_8UC1)]() mutable
        { cv::resize(src, dst, dst.size(), 0, 0, interpolation); };
    };
}

const RegisterPeers openCvPyramids({
    {"vsrScaleDownBy2Gaussian5x5u8", "", "OpenCV", half(CV_8UC1)},
    {"vsrScaleDownBy2Gaussian5x5f32", "", "OpenCV", half(CV_32FC1)},
    {"vsrScaleDownBy2Gaussian5x5f32_v2", "", "OpenCV", half(CV_32FC1)},
    {"vsrPyramidCreateu8", "", "OpenCV", pyramid(CV_8UC1)},
    {"vsrPyramidCreateu8_v2", "", "OpenCV", pyramid(CV_8UC1)},
    {"vsrPyramidCreateu8_v3", "halves", "OpenCV", pyramid(CV_8UC1)},
    {"vsrPyramidCreatef32", "", "OpenCV", pyramid(CV_32FC1)},
    {"vsrPyramidCreatef32_v2", "", "OpenCV", pyramid(CV_32FC1)},
    {"vsrScaleu8", "nearest", "OpenCV", resize(10, 7, cv::INTER_NEAREST)},
    {"vsrScaleu8", "bilinear", "OpenCV", resize(10, 7, cv::INTER_LINEAR)},
    {"vsrScaleu8", "area", "OpenCV", resize(10, 7, cv::INTER_AREA)},
    {"vsrScaleu8", "area_2to1", "OpenCV", resize(2, 1, cv::INTER_AREA)},
});
#endif

}  // namespace
}  // namespace visora::bench
