// Peers of the conversions from luma and chroma to RGB. Their coefficients and their order of channels differ; the
// layouts and the amount of work are the same.
#include "arena.h"
#include "peers.h"

#ifdef VISORA_HAVE_LIBYUV
#include <libyuv.h>
#endif
#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace visora::bench
{
namespace
{

#ifdef VISORA_HAVE_LIBYUV

using Work = std::function<void()>;

Arena buffers(int width, int height)
{
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    const Arena memory = arena(pixels * 3, pixels * 4);
    for (size_t i = 0; i < pixels * 3; ++i)
    {
        memory.read[i] = static_cast<uint8_t>(i * 7 + i / 251);
    }
    return memory;
}

// 4:2:0 with chroma pairs.
template <auto convert, int pixelBytes>
Work pseudoPlanar(int width, int height)
{
    return [=, b = buffers(width, height)]
    {
        const uint8_t* y = b.read;
        convert(y, width, y + width * height, width, b.written, width * pixelBytes, width, height);
    };
}

// Three planes whose chroma is divided by these in x and y.
template <auto convert, int pixelBytes, int divideX, int divideY>
Work planar(int width, int height)
{
    return [=, b = buffers(width, height)]
    {
        const int chromaWidth = width / divideX;
        const uint8_t* y = b.read;
        const uint8_t* u = y + width * height;
        const uint8_t* v = u + chromaWidth * (height / divideY);
        convert(y, width, u, chromaWidth, v, chromaWidth, b.written, width * pixelBytes, width, height);
    };
}

const RegisterPeers libyuvConversions({
    {"vsrColorYCbCr420PseudoPlanarToRGB565u8", "", "libyuv", pseudoPlanar<libyuv::NV12ToRGB565, 2>},
    {"vsrColorYCbCr420PseudoPlanarToRGB888u8", "", "libyuv", pseudoPlanar<libyuv::NV12ToRGB24, 3>},
    {"vsrColorYCbCr420PseudoPlanarToRGBA8888u8", "", "libyuv", pseudoPlanar<libyuv::NV12ToARGB, 4>},
    {"vsrColorYCbCr420PlanarToRGB565u8", "", "libyuv", planar<libyuv::I420ToRGB565, 2, 2, 2>},
    {"vsrColorYCbCr420PlanarToRGB888u8", "", "libyuv", planar<libyuv::I420ToRGB24, 3, 2, 2>},
    {"vsrColorYCbCr420PlanarToRGBA8888u8", "", "libyuv", planar<libyuv::I420ToARGB, 4, 2, 2>},
    {"vsrColorYCbCr422PlanarToRGB565u8", "", "libyuv", planar<libyuv::I422ToRGB565, 2, 2, 1>},
    {"vsrColorYCbCr422PlanarToRGB888u8", "", "libyuv", planar<libyuv::I422ToRGB24, 3, 2, 1>},
    {"vsrColorYCbCr422PlanarToRGBA8888u8", "", "libyuv", planar<libyuv::I422ToARGB, 4, 2, 1>},
    {"vsrColorYCbCr444PlanarToRGB888u8", "", "libyuv", planar<libyuv::I444ToRGB24, 3, 1, 1>},
    {"vsrColorYCbCr444PlanarToRGBA8888u8", "", "libyuv", planar<libyuv::I444ToARGB, 4, 1, 1>},
    {"vsrColorYUV420toRGB565u8", "", "libyuv", pseudoPlanar<libyuv::NV12ToRGB565, 2>},
    // From planes, not from units of 8x8 blocks: less work than the operations' own.
    {"vsrColorYCrCbH1V1toRGB888u8", "", "libyuv", planar<libyuv::I444ToRGB24, 3, 1, 1>},
    {"vsrColorYCrCbH2V1toRGB888u8", "", "libyuv", planar<libyuv::I422ToRGB24, 3, 2, 1>},
    {"vsrColorYCrCbH2V2toRGB888u8", "", "libyuv", planar<libyuv::I420ToRGB24, 3, 2, 2>},
    {"vsrColorYCrCb420PseudoPlanarToRGB8888u8", "", "libyuv", pseudoPlanar<libyuv::NV21ToABGR, 4>},
});

#endif

#ifdef VISORA_HAVE_OPENCV

auto twoPlanes(int code)
{
    return [=](int width, int height) -> std::function<void()>
    {
        cv::Mat luma(height, width, CV_8UC1);
        cv::Mat chroma(height / 2, width / 2, CV_8UC2);
        cv::randu(luma, 0, 256);
        cv::randu(chroma, 0, 256);
        cv::Mat dst;
        cv::cvtColorTwoPlane(luma, chroma, dst, code);
        return [=]() mutable { cv::cvtColorTwoPlane(luma, chroma, dst, code); };
    };
}

auto threePlanes(int code)
{
    return [=](int width, int height) -> std::function<void()>
    {
        cv::Mat src(height * 3 / 2, width, CV_8UC1);
        cv::randu(src, 0, 256);
        cv::Mat dst;
        cv::cvtColor(src, dst, code);
        return [=]() mutable { cv::cvtColor(src, dst, code); };
    };
}

const RegisterPeers openCvConversions({
    {"vsrColorYCbCr420PseudoPlanarToRGB888u8", "", "OpenCV", twoPlanes(cv::COLOR_YUV2RGB_NV12)},
    {"vsrColorYCbCr420PseudoPlanarToRGBA8888u8", "", "OpenCV", twoPlanes(cv::COLOR_YUV2RGBA_NV12)},
    {"vsrColorYCbCr420PlanarToRGB888u8", "", "OpenCV", threePlanes(cv::COLOR_YUV2RGB_I420)},
    {"vsrColorYCbCr420PlanarToRGBA8888u8", "", "OpenCV", threePlanes(cv::COLOR_YUV2RGBA_I420)},
    {"vsrColorYCrCb420PseudoPlanarToRGB8888u8", "", "OpenCV", twoPlanes(cv::COLOR_YUV2RGBA_NV21)},
});

#endif

}  // namespace
}  // namespace visora::bench
