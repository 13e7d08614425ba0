// Peers of the downscalers.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif
#ifdef VISORA_HAVE_LIBYUV
#include <libyuv/scale.h>
#endif

namespace visora::bench
{
namespace
{

#ifdef VISORA_HAVE_OPENCV
auto openCv(int m, int n, int mRows, int nRows, int interpolation)
{
    return [=](int width, int height) -> std::function<void()>
    {
        cv::Mat src(height, width, CV_8UC1);
        cv::randu(src, 0, 256);
        const cv::Size size(width * n / m, height * nRows / mRows);
        cv::Mat dst(size, CV_8UC1);
        return [=]() mutable { cv::resize(src, dst, size, 0, 0, interpolation); };
    };
}

auto openCv(int m, int n, int interpolation)
{
    return openCv(m, n, m, n, interpolation);
}

const RegisterPeers openCvScalers({
    {"vsrScaleDownBy2u8", "", "OpenCV", openCv(2, 1, cv::INTER_AREA)},
    {"vsrScaleDownBy4u8", "", "OpenCV", openCv(4, 1, cv::INTER_AREA)},
    {"vsrScaleDown3To2u8", "", "OpenCV", openCv(3, 2, cv::INTER_AREA)},
    {"vsrScaleDownu8", "2x2", "OpenCV", openCv(2, 1, cv::INTER_AREA)},
    {"vsrScaleDownu8", "3x3", "OpenCV", openCv(3, 1, cv::INTER_AREA)},
    {"vsrScaleDownu8", "4x4", "OpenCV", openCv(4, 1, cv::INTER_AREA)},
    {"vsrScaleDownu8", "1x3", "OpenCV", openCv(1, 1, 3, 1, cv::INTER_AREA)},
    {"vsrScaleDownu8", "8x1", "OpenCV", openCv(8, 1, 1, 1, cv::INTER_AREA)},
    {"vsrScaleDownu8", "any", "OpenCV", openCv(5, 1, 7, 1, cv::INTER_AREA)},
    {"vsrScaleDownMNu8", "10to7", "OpenCV", openCv(10, 7, cv::INTER_AREA)},
    {"vsrScaleDownMNu8", "5to2", "OpenCV", openCv(5, 2, cv::INTER_AREA)},
    {"vsrScaleDownMNu8", "any", "OpenCV", openCv(10, 3, cv::INTER_AREA)},
    {"vsrScaleDownNNu8", "2to1", "OpenCV", openCv(2, 1, cv::INTER_NEAREST)},
    {"vsrScaleDownNNu8", "4to1", "OpenCV", openCv(4, 1, cv::INTER_NEAREST)},
    {"vsrScaleDownNNu8", "10to7", "OpenCV", openCv(10, 7, cv::INTER_NEAREST)},
    {"vsrScaleDownNNu8", "any", "OpenCV", openCv(5, 1, cv::INTER_NEAREST)},
});
#endif

#ifdef VISORA_HAVE_LIBYUV
// Where one axis shrinks by less than two its box filter falls back to interpolation, which skips most pixels when the
// other axis shrinks by much: no peer for the reductions of one axis only.
auto libyuvScale(int m, int n, int mRows, int nRows, libyuv::FilterMode filter)
{
    return [=](int width, int height) -> std::function<void()>
    {
        const int dstWidth = width * n / m;
        const int dstHeight = height * nRows / mRows;
        const auto bytes = [](int w, int h) { return static_cast<size_t>(w) * static_cast<size_t>(h); };
        std::vector<uint8_t> src(bytes(width, height));
        for (size_t i = 0; i < src.size(); ++i)
        {
            src[i] = static_cast<uint8_t>(i * i >> 7);
        }
        std::vector<uint8_t> dst(bytes(dstWidth, dstHeight));
        return [=]() mutable
        { libyuv::ScalePlane(src.data(), width, width, height, dst.data(), dstWidth, dstWidth, dstHeight, filter); };
    };
}

auto libyuvScale(int m, int n, libyuv::FilterMode filter)
{
    return libyuvScale(m, n, m, n, filter);
}

const RegisterPeers libyuvScalers({
    {"vsrScaleDownBy2u8", "", "libyuv", libyuvScale(2, 1, libyuv::kFilterBox)},
    {"vsrScaleDownBy4u8", "", "libyuv", libyuvScale(4, 1, libyuv::kFilterBox)},
    {"vsrScaleDown3To2u8", "", "libyuv", libyuvScale(3, 2, libyuv::kFilterBox)},
    {"vsrScaleDownu8", "2x2", "libyuv", libyuvScale(2, 1, libyuv::kFilterBox)},
    {"vsrScaleDownu8", "3x3", "libyuv", libyuvScale(3, 1, libyuv::kFilterBox)},
    {"vsrScaleDownu8", "4x4", "libyuv", libyuvScale(4, 1, libyuv::kFilterBox)},
    {"vsrScaleDownu8", "any", "libyuv", libyuvScale(5, 1, 7, 1, libyuv::kFilterBox)},
    {"vsrScaleDownMNu8", "10to7", "libyuv", libyuvScale(10, 7, libyuv::kFilterBox)},
    {"vsrScaleDownMNu8", "5to2", "libyuv", libyuvScale(5, 2, libyuv::kFilterBox)},
    {"vsrScaleDownMNu8", "any", "libyuv", libyuvScale(10, 3, libyuv::kFilterBox)},
    {"vsrScaleDownNNu8", "2to1", "libyuv", libyuvScale(2, 1, libyuv::kFilterNone)},
    {"vsrScaleDownNNu8", "4to1", "libyuv", libyuvScale(4, 1, libyuv::kFilterNone)},
    {"vsrScaleDownNNu8", "10to7", "libyuv", libyuvScale(10, 7, libyuv::kFilterNone)},
    {"vsrScaleDownNNu8", "any", "libyuv", libyuvScale(5, 1, libyuv::kFilterNone)},
    {"vsrScaleu8", "nearest", "libyuv", libyuvScale(10, 7, libyuv::kFilterNone)},
    {"vsrScaleu8", "bilinear", "libyuv", libyuvScale(10, 7, libyuv::kFilterBilinear)},
    {"vsrScaleu8", "area_2to1", "libyuv", libyuvScale(2, 1, libyuv::kFilterBox)},
});
#endif

}  // namespace
}  // namespace visora::bench
