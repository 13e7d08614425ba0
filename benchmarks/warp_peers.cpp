// Peers of all that moves pixels. Warps: positions in 1/32 pixel where ours are in 1/256, so bilinear results differ by
// some grey levels.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef VISORA_HAVE_LIBYUV
#include <libyuv.h>
#endif

#include "visora/warp.h"

namespace visora::bench
{
namespace
{

#ifdef VISORA_HAVE_OPENCV

using Work = std::function<void()>;

cv::Mat noise(int width, int height, int type)
{
    cv::Mat image(height, width, type);
    cv::randu(image, 0, 256);
    return image;
}

// work(src, dst) on images of this type.
template <class Run>
auto moving(int type, Run run)
{
    return [=](int width, int height) -> Work
    {
        const cv::Mat src = noise(width, height, type);
        cv::Mat dst;
        run(src, dst);
        return [=]() mutable { run(src, dst); };
    };
}

auto flipping(int type, int code)
{
    return moving(type, [code](const cv::Mat& src, cv::Mat& dst) { cv::flip(src, dst, code); });
}

void transposing(const cv::Mat& src, cv::Mat& dst)
{
    cv::transpose(src, dst);
}

void turning(const cv::Mat& src, cv::Mat& dst)
{
    cv::rotate(src, dst, cv::ROTATE_90_CLOCKWISE);
}

// The motions of our own measurements, from the destination to the source.
cv::Matx33d motion(double degrees, bool isTilted, int width, int height)
{
    const double angle = degrees * CV_PI / 180, c = std::cos(angle), s = std::sin(angle);
    const double x = width / 2.0, y = height / 2.0;
    const double g = isTilted ? 0.8 / width : 0, h = isTilted ? -0.3 / width : 0;
    const cv::Matx33d there(1, 0, -x, 0, 1, -y, 0, 0, 1), back(1, 0, x, 0, 1, y, 0, 0, 1);
    return back * cv::Matx33d(c, -s, 0, s, c, 0, g, h, 1) * there;
}

auto affine(int type, double degrees)
{
    return [=](int width, int height) -> Work
    {
        const cv::Mat src = noise(width, height, type);
        const cv::Matx23d m = motion(degrees, false, width, height).get_minor<2, 3>(0, 0);
        cv::Mat dst;
        return [=]() mutable { cv::warpAffine(src, dst, m, src.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP); };
    };
}

auto perspective(double degrees, bool isTilted, int flags, int border, int planes = 1)
{
    return [=](int width, int height) -> Work
    {
        const cv::Mat src = noise(width, height, CV_8UC1);
        const cv::Matx33d m = motion(degrees, isTilted, width, height);
        cv::Mat dst;
        return [=]() mutable
        {
            for (int p = 0; p < planes; ++p)
            {
                cv::warpPerspective(src, dst, m, src.size(), flags | cv::WARP_INVERSE_MAP, border);
            }
        };
    };
}

auto cubicPlanes(double degrees)
{
    return [=](int width, int height) -> Work
    {
        const cv::Mat src = noise(width, height, CV_8UC1);
        const cv::Matx23d m = motion(degrees, false, width, height).get_minor<2, 3>(0, 0);
        cv::Mat dst(src.size(), CV_8UC1);
        return [=]() mutable
        {
            for (int p = 0; p < 3; ++p)
            {
                cv::warpAffine(src, dst, m, src.size(), cv::INTER_CUBIC | cv::WARP_INVERSE_MAP, cv::BORDER_TRANSPARENT);
            }
        };
    };
}

auto remapping(int type, double degrees, bool isTilted = false)
{
    return [=](int width, int height) -> Work
    {
        const cv::Mat src = noise(width, height, type);
        const cv::Matx33d m = motion(degrees, isTilted, width, height);
        cv::Mat mapX(height, width, CV_32F), mapY(height, width, CV_32F), dst;
        for (int y = 0; y < height; ++y)
        {
            for (int x = 0; x < width; ++x)
            {
                const cv::Vec3d to = m * cv::Vec3d(x, y, 1);
                mapX.at<float>(y, x) = static_cast<float>(to[0] / to[2]);
                mapY.at<float>(y, x) = static_cast<float>(to[1] / to[2]);
            }
        }
        return [=]() mutable { cv::remap(src, dst, mapX, mapY, cv::INTER_LINEAR); };
    };
}

auto mapping()
{
    return [](int width, int height) -> Work
    {
        const cv::Matx33d camera(0.8 * width, 0, width / 2.0, 0, 0.8 * width, height / 2.1, 0, 0, 1);
        const cv::Vec<double, 5> lens(-0.3, 0.12, 0.001, -0.002, 0.01);
        cv::Mat mapX, mapY;
        return [=]() mutable {
            cv::initUndistortRectifyMap(camera, lens, cv::Matx33d::eye(), camera, {width, height}, CV_32FC1, mapX,
                                        mapY);
        };
    };
}

auto points(int channels)
{
    return [channels](int count, int) -> Work
    {
        const cv::Mat src = noise(count, 1, CV_32FC(channels));
        const cv::Mat m = channels == 2 ? cv::Mat(cv::Matx33f(1, 2, 3, 4, 5, 6, 7, 8, 9))
                                        : cv::Mat(cv::Matx34f(1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2, 3));
        cv::Mat dst;
        return [=]() mutable { channels == 2 ? cv::perspectiveTransform(src, dst, m) : cv::transform(src, dst, m); };
    };
}

const RegisterPeers openCvMovers({
    {"vsrFlipu8", "horizontal", "OpenCV", flipping(CV_8UC1, 1)},
    {"vsrFlipu8", "vertical", "OpenCV", flipping(CV_8UC1, 0)},
    {"vsrFlipu8", "two_channels", "OpenCV", flipping(CV_8UC2, 1)},
    {"vsrFlipu8", "three_channels", "OpenCV", flipping(CV_8UC3, 1)},
    {"vsrFlipu8", "four_channels", "OpenCV", flipping(CV_8UC4, -1)},
    {"vsrFlipu16", "", "OpenCV", flipping(CV_16UC1, 1)},
    {"vsrTransposeu8", "", "OpenCV", moving(CV_8UC1, transposing)},
    {"vsrTransposef32", "", "OpenCV", moving(CV_32FC1, transposing)},
    {"vsrRotatePlaneu8", "", "OpenCV", moving(CV_8UC1, turning)},
    {"vsrRotateImageInterleavedu8", "", "OpenCV", moving(CV_8UC2, turning)},
});

const RegisterPeers openCvWarps({
    {"vsrTransformAffineu8", "5_degrees", "OpenCV", affine(CV_8UC1, 5)},
    {"vsrTransformAffineu8", "45_degrees", "OpenCV", affine(CV_8UC1, 45)},
    {"vsrTransformAffineu8", "90_degrees", "OpenCV", affine(CV_8UC1, 90)},
    {"vsrTransformAffineRGBA8888u8", "5_degrees", "OpenCV", affine(CV_8UC4, 5)},
    {"vsrTransformAffineRGBA8888u8", "45_degrees", "OpenCV", affine(CV_8UC4, 45)},
    {"vsrTransformAffineRGBA8888u8", "90_degrees", "OpenCV", affine(CV_8UC4, 90)},
    {"vsrTransformAffinef32", "5_degrees", "OpenCV", affine(CV_32FC1, 5)},
    {"vsrTransformAffinef32", "45_degrees", "OpenCV", affine(CV_32FC1, 45)},
    {"vsrTransformAffinef32", "90_degrees", "OpenCV", affine(CV_32FC1, 90)},
    {"vsrTransformAffineClippedu8", "", "OpenCV", affine(CV_8UC1, 5)},
    {"vsr3ChannelTransformAffineClippedBCu8", "", "OpenCV", cubicPlanes(5)},
    {"vsrWarpPerspectiveu8", "5_degrees", "OpenCV", perspective(5, false, cv::INTER_LINEAR, cv::BORDER_CONSTANT)},
    {"vsrWarpPerspectiveu8", "45_degrees", "OpenCV", perspective(45, false, cv::INTER_LINEAR, cv::BORDER_CONSTANT)},
    {"vsrWarpPerspectiveu8", "90_degrees", "OpenCV", perspective(90, false, cv::INTER_LINEAR, cv::BORDER_CONSTANT)},
    {"vsrWarpPerspectiveu8", "tilted", "OpenCV", perspective(20, true, cv::INTER_LINEAR, cv::BORDER_CONSTANT)},
    {"vsrWarpPerspectiveu8_v3", "", "OpenCV", perspective(20, true, cv::INTER_NEAREST, cv::BORDER_REPLICATE)},
    {"vsr3ChannelWarpPerspectiveu8", "", "OpenCV", perspective(20, true, cv::INTER_LINEAR, cv::BORDER_CONSTANT, 3)},
    {"vsr3ChannelWarpPerspectiveu8_v2", "", "OpenCV",
     perspective(20, true, cv::INTER_NEAREST, cv::BORDER_REPLICATE, 3)},
    {"vsrRemapu8", "5_degrees", "OpenCV", remapping(CV_8UC1, 5)},
    {"vsrRemapu8", "45_degrees", "OpenCV", remapping(CV_8UC1, 45)},
    {"vsrRemapu8", "90_degrees", "OpenCV", remapping(CV_8UC1, 90)},
    {"vsrRemapu8", "tilted", "OpenCV", remapping(CV_8UC1, 20, true)},
    {"vsrRemapRGBA8888u8", "5_degrees", "OpenCV", remapping(CV_8UC4, 5)},
    {"vsrRemapRGBA8888u8", "45_degrees", "OpenCV", remapping(CV_8UC4, 45)},
    {"vsrRemapRGBA8888u8", "90_degrees", "OpenCV", remapping(CV_8UC4, 90)},
    {"vsrRemapRGBA8888u8", "tilted", "OpenCV", remapping(CV_8UC4, 20, true)},
    {"vsrBuildUndistortMapf32", "", "OpenCV", mapping()},
    {"vsrTransformPoint2xNf32", "", "OpenCV", points(2)},
    {"vsrTransformPoint3xNf32", "", "OpenCV", points(3)},
});

// What moves pixels without changing them gives the peer's bits.
void compareMoves()
{
    const cv::Mat src = noise(333, 127, CV_8UC3);
    cv::Mat plane, theirs;
    cv::extractChannel(src, plane, 0);
    const auto check = [&](const char* what, vsrStatus status, const cv::Mat& ours)
    {
        if (status != VISORA_SUCCESS || cv::norm(ours, theirs, cv::NORM_INF) != 0)
        {
            std::fprintf(stderr, "%s differs from OpenCV's\n", what);
            std::exit(EXIT_FAILURE);
        }
    };
    const auto width = static_cast<uint32_t>(src.cols), height = static_cast<uint32_t>(src.rows);
    for (const auto& [direction, code] :
         {std::pair(VISORA_FLIP_HORIZONTAL, 1), {VISORA_FLIP_VERTICAL, 0}, {VISORA_FLIP_BOTH, -1}})
    {
        cv::Mat ours(src.size(), src.type());
        cv::flip(src, theirs, code);
        check("vsrFlipu8", vsrFlipu8(src.data, width, height, 0, 3, direction, ours.data, 0), ours);
    }
    cv::Mat ours(src.cols, src.rows, CV_8UC1);
    transposing(plane, theirs);
    check("vsrTransposeu8", vsrTransposeu8(plane.data, width, height, 0, ours.data, 0), ours);
    turning(plane, theirs);
    check("vsrRotatePlaneu8", vsrRotatePlaneu8(plane.data, width, height, 0, ours.data, 0, 1), ours);
    std::printf("mirrors, transposes and turns: OpenCV's bits\n");
}

const RegisterReports moves({{"vsrFlipu8", compareMoves}});

#endif

#ifdef VISORA_HAVE_LIBYUV

// run(src, srcStride, dst, dstStride, width, height) from a plane to one with its sides exchanged or not.
template <class Run>
auto libyuvPlane(bool isTurned, Run run)
{
    return [=](int width, int height) -> std::function<void()>
    {
        const auto pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
        std::vector<uint8_t> src(pixels, 1), dst(pixels);
        return [=]() mutable { run(src.data(), width, dst.data(), isTurned ? height : width, width, height); };
    };
}

void libyuvTurn(const uint8_t* src, int srcStride, uint8_t* dst, int dstStride, int width, int height)
{
    libyuv::RotatePlane90(src, srcStride, dst, dstStride, width, height);
}

const RegisterPeers libyuvMovers({
    {"vsrFlipu8", "horizontal", "libyuv", libyuvPlane(false, libyuv::MirrorPlane)},
    {"vsrRotatePlaneu8", "", "libyuv", libyuvPlane(true, libyuvTurn)},
});

#endif

}  // namespace
}  // namespace visora::bench
