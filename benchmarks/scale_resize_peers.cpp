// Peers of the resizers, the doublers and the chroma resamplers.
#include <cstdio>
#include <cstdlib>

#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif
#ifdef VISORA_HAVE_LIBYUV
#include <libyuv/scale.h>
#include <libyuv/scale_uv.h>
#endif

#include "visora/scale.h"

namespace visora::bench
{
namespace
{

#ifdef VISORA_HAVE_OPENCV

// To n / m of each side.
auto resizing(int type, int interpolation, int m, int n, int mRows, int nRows)
{
    return [=](int width, int height) -> std::function<void()>
    {
        cv::Mat src(height, width, type);
        cv::randu(src, 0, 256);
        const cv::Size size(width * n / m, height * nRows / mRows);
        cv::Mat dst;
        return [=]() mutable { cv::resize(src, dst, size, 0, 0, interpolation); };
    };
}

auto resizing(int type, int interpolation, int m, int n)
{
    return resizing(type, interpolation, m, n, m, n);
}

auto pyramidUp()
{
    return [](int width, int height) -> std::function<void()>
    {
        cv::Mat src(height, width, CV_8UC1);
        cv::randu(src, 0, 256);
        cv::Mat dst;
        return [=]() mutable { cv::pyrUp(src, dst); };
    };
}

const RegisterPeers openCvResizers({
    {"vsrScaleu8_v2", "bilinear", "OpenCV", resizing(CV_8UC1, cv::INTER_LINEAR, 10, 7)},
    {"vsrScaleBilinearu8", "10to7", "OpenCV", resizing(CV_8UC1, cv::INTER_LINEAR, 10, 7)},
    {"vsrScaleBilinearu8", "10to7_three_channels", "OpenCV", resizing(CV_8UC3, cv::INTER_LINEAR, 10, 7)},
    {"vsrScaleBilinearu8", "2to3", "OpenCV", resizing(CV_8UC1, cv::INTER_LINEAR, 2, 3)},
    {"vsrScaleBilinearf32", "10to7", "OpenCV", resizing(CV_32FC1, cv::INTER_LINEAR, 10, 7)},
    {"vsrScaleBilinearf32", "2to3", "OpenCV", resizing(CV_32FC1, cv::INTER_LINEAR, 2, 3)},
    {"vsrScalePolyphaseu8", "10to7", "OpenCV", resizing(CV_8UC1, cv::INTER_CUBIC, 10, 7)},
    {"vsrScalePolyphaseu8", "2to3", "OpenCV", resizing(CV_8UC1, cv::INTER_CUBIC, 2, 3)},
    {"vsrScalePolyphaseInterleaved2u8", "", "OpenCV", resizing(CV_8UC2, cv::INTER_CUBIC, 10, 7)},
    {"vsrScaleUpBy2u8", "", "OpenCV", resizing(CV_8UC1, cv::INTER_LINEAR, 1, 2)},
    {"vsrScaleUpBy2Gaussian5x5u8", "", "OpenCV", pyramidUp()},
    {"vsrDownsampleBy2Interleaved2u8", "", "OpenCV", resizing(CV_8UC2, cv::INTER_AREA, 2, 1)},
    {"vsrDownsampleXBy2u8", "", "OpenCV", resizing(CV_8UC1, cv::INTER_LINEAR, 2, 1, 1, 1)},
    {"vsrUpsampleBy2u8", "", "OpenCV", resizing(CV_8UC1, cv::INTER_NEAREST, 1, 2)},
    {"vsrUpsampleBy2Interleaved2u8", "", "OpenCV", resizing(CV_8UC2, cv::INTER_NEAREST, 1, 2)},
    {"vsrUpsampleXBy2u8", "", "OpenCV", resizing(CV_8UC1, cv::INTER_NEAREST, 1, 2, 1, 1)},
    {"vsrUpsampleXBy2Interleaved2u8", "", "OpenCV", resizing(CV_8UC2, cv::INTER_NEAREST, 1, 2, 1, 1)},
    {"vsrUpsampleYBy2u8", "", "OpenCV", resizing(CV_8UC1, cv::INTER_NEAREST, 1, 1, 1, 2)},
    {"vsrUpsampleYBy2Interleaved2u8", "", "OpenCV", resizing(CV_8UC2, cv::INTER_NEAREST, 1, 1, 1, 2)},
});

// Doubling is exact on both sides.
void compareDoubles()
{
    cv::Mat src(121, 333, CV_8UC1);
    cv::randu(src, 0, 256);
    cv::Mat theirs, ours(src.rows * 2, src.cols * 2, CV_8UC1);
    const auto width = static_cast<uint32_t>(src.cols), height = static_cast<uint32_t>(src.rows);
    const auto check = [&](const char* what, vsrStatus status, const cv::Rect& where)
    {
        if (status != VISORA_SUCCESS || cv::norm(ours(where), theirs(where), cv::NORM_INF) != 0)
        {
            std::fprintf(stderr, "%s differs from OpenCV's\n", what);
            std::exit(EXIT_FAILURE);
        }
    };
    const cv::Rect all(0, 0, ours.cols, ours.rows);
    cv::resize(src, theirs, ours.size(), 0, 0, cv::INTER_LINEAR_EXACT);
    check("vsrScaleUpBy2u8", vsrScaleUpBy2u8(src.data, width, height, 0, ours.data, 0), all);
    cv::resize(src, theirs, ours.size(), 0, 0, cv::INTER_NEAREST);
    check("vsrUpsampleBy2u8", vsrUpsampleBy2u8(src.data, width, height, 0, ours.data, 0), all);
    // It reflects at the frame, where we leave taps out.
    cv::pyrUp(src, theirs);
    check("vsrScaleUpBy2Gaussian5x5u8", vsrScaleUpBy2Gaussian5x5u8(src.data, width, height, ours.data),
          {1, 1, ours.cols - 3, ours.rows - 3});
    std::printf("doubles: OpenCV's bits\n");
}

const RegisterReports doubles({{"vsrScaleUpBy2u8", compareDoubles}});

#endif

#ifdef VISORA_HAVE_LIBYUV

// scale(src, stride, width, height, dst, stride, width, height, filter) of pixels of so many bytes.
template <class Scale>
auto libyuvScaling(Scale scale, int pixelBytes, int m, int n, int mRows, int nRows, libyuv::FilterMode filter)
{
    return [=](int width, int height) -> std::function<void()>
    {
        const int dstWidth = width * n / m;
        const int dstHeight = height * nRows / mRows;
        const auto bytes = [=](int w, int h) { return static_cast<size_t>(w * pixelBytes) * static_cast<size_t>(h); };
        std::vector<uint8_t> src(bytes(width, height)), dst(bytes(dstWidth, dstHeight));
        for (size_t i = 0; i < src.size(); ++i)
        {
            src[i] = static_cast<uint8_t>(i * i >> 7);
        }
        return [=]() mutable
        {
            scale(src.data(), width * pixelBytes, width, height, dst.data(), dstWidth * pixelBytes, dstWidth, dstHeight,
                  filter);
        };
    };
}

const RegisterPeers libyuvResizers({
    {"vsrScaleu8_v2", "bilinear", "libyuv",
     libyuvScaling(libyuv::ScalePlane, 1, 10, 7, 10, 7, libyuv::kFilterBilinear)},
    {"vsrScaleBilinearu8", "10to7", "libyuv",
     libyuvScaling(libyuv::ScalePlane, 1, 10, 7, 10, 7, libyuv::kFilterBilinear)},
    {"vsrScaleBilinearu8", "2to3", "libyuv", libyuvScaling(libyuv::ScalePlane, 1, 2, 3, 2, 3, libyuv::kFilterBilinear)},
    {"vsrScaleUpBy2u8", "", "libyuv", libyuvScaling(libyuv::ScalePlane, 1, 1, 2, 1, 2, libyuv::kFilterBilinear)},
    {"vsrDownsampleBy2Interleaved2u8", "", "libyuv", libyuvScaling(libyuv::UVScale, 2, 2, 1, 2, 1, libyuv::kFilterBox)},
    {"vsrUpsampleBy2u8", "", "libyuv", libyuvScaling(libyuv::ScalePlane, 1, 1, 2, 1, 2, libyuv::kFilterNone)},
    {"vsrUpsampleBy2Interleaved2u8", "", "libyuv", libyuvScaling(libyuv::UVScale, 2, 1, 2, 1, 2, libyuv::kFilterNone)},
});

#endif

}  // namespace
}  // namespace visora::bench
