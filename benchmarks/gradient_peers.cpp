// Peers of the gradients. Theirs are planes; pairs would cost them more.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>

#include "compared.h"
#include "visora/variants/statistics.h"

namespace visora::bench
{
namespace
{

// How OpenCV names one gradient: aperture, -1 for Scharr's, and scale.
struct Rule
{
    int aperture;
    double scale;
};
constexpr Rule kCentral{1, 1};
constexpr Rule kHalvedCentral{1, 0.5};
constexpr Rule kSobel{3, 1};
constexpr Rule kScharr{cv::FILTER_SCHARR, 1};
constexpr Rule kSlopeScharr{cv::FILTER_SCHARR, 1.0 / 32};

void derivatives(const cv::Mat& src, cv::Mat& dx, cv::Mat& dy, Rule rule)
{
    cv::Sobel(src, dx, dx.depth(), 1, 0, rule.aperture, rule.scale, 0, cv::BORDER_REPLICATE);
    cv::Sobel(src, dy, dy.depth(), 0, 1, rule.aperture, rule.scale, 0, cv::BORDER_REPLICATE);
}

// Both planes side by side, or pairs of them.
cv::Mat together(const cv::Mat& dx, const cv::Mat& dy, bool asPairs)
{
    const std::vector<cv::Mat> planes = {dx, dy};
    cv::Mat both;
    if (asPairs)
    {
        cv::merge(planes, both);
    }
    else
    {
        cv::hconcat(planes, both);
    }
    return both;
}

template <class... Gradients>
using Kernel = vsrStatus (*)(const uint8_t*, uint32_t, uint32_t, uint32_t, Gradients..., uint32_t);
template <class T>
using Planes = Kernel<T*, T*>;
template <class T>
using Pairs = Kernel<T*>;

template <class T>
cv::Mat gradients(Planes<T> ours, const cv::Mat& src)
{
    cv::Mat dx(src.size(), cv::DataType<T>::type);
    cv::Mat dy(src.size(), cv::DataType<T>::type);
    ours(src.ptr(), columns(src), rows(src), stride(src), dx.ptr<T>(), dy.ptr<T>(), stride(dx));
    return together(dx, dy, false);
}

template <class T>
cv::Mat gradients(Pairs<T> ours, const cv::Mat& src)
{
    cv::Mat pairs(src.size(), CV_MAKETYPE(cv::DataType<T>::depth, 2));
    ours(src.ptr(), columns(src), rows(src), stride(src), pairs.ptr<T>(), stride(pairs));
    return pairs;
}

template <class T, class Ours>
Peer twice(const char* operation, Ours ours, Rule rule)
{
    return compared(operation, "", "OpenCV",
                    [=](int width, int height) -> Trial
                    {
                        const cv::Mat src = randomImage(width, height, CV_8U);
                        cv::Mat dx(src.size(), cv::DataType<T>::type);
                        cv::Mat dy(src.size(), cv::DataType<T>::type);
                        return {[=]() mutable { derivatives(src, dx, dy, rule); },
                                [=]() mutable
                                {
                                    derivatives(src, dx, dy, rule);
                                    constexpr bool asPairs = std::is_same_v<Ours, Pairs<T>>;
                                    return std::pair(together(dx, dy, asPairs), gradients<T>(ours, src));
                                }};
                    });
}

template <class Ours>
Peer spatial(const char* operation, Ours ours)
{
    return compared(operation, "", "OpenCV spatialGradient",
                    [=](int width, int height) -> Trial
                    {
                        const cv::Mat src = randomImage(width, height, CV_8U);
                        cv::Mat dx(src.size(), CV_16S);
                        cv::Mat dy(src.size(), CV_16S);
                        auto theirs = [=]() mutable { cv::spatialGradient(src, dx, dy, 3, cv::BORDER_REPLICATE); };
                        return {theirs, [=]() mutable
                                {
                                    theirs();
                                    constexpr bool asPairs = std::is_same_v<Ours, Pairs<int16_t>>;
                                    return std::pair(together(dx, dy, asPairs), gradients<int16_t>(ours, src));
                                }};
                    });
}

// 16 bits, which are narrowed: OpenCV does not offer eight.
Peer sobelBytes(const char* operation)
{
    return {operation, "", "OpenCV",
            [](int width, int height) -> std::function<void()>
            {
                cv::Mat dx(height, width, CV_16S);
                cv::Mat dy(height, width, CV_16S);
                return [=, src = randomImage(width, height, CV_8U)]() mutable { derivatives(src, dx, dy, kSobel); };
            }};
}

#define PLANES(operation, T, rule) twice<T, Planes<T>>(#operation, operation##V, rule)
#define PAIRS(operation, T, rule) twice<T, Pairs<T>>(#operation, operation##V, rule)

const RegisterPeers gradientPeers({
    PAIRS(vsrImageGradientInterleaveds16, int16_t, kCentral),
    PAIRS(vsrImageGradientInterleavedf32, float, kHalvedCentral),
    PLANES(vsrImageGradientPlanars16, int16_t, kCentral),
    PLANES(vsrImageGradientPlanarf32, float, kHalvedCentral),
    PAIRS(vsrImageGradientSobelInterleaveds16, int16_t, kSobel),
    PAIRS(vsrImageGradientSobelInterleavedf32, float, kSobel),
    spatial<Pairs<int16_t>>("vsrImageGradientSobelInterleaveds16", vsrImageGradientSobelInterleaveds16V),
    PLANES(vsrImageGradientSobelPlanars16, int16_t, kSobel),
    PLANES(vsrImageGradientSobelPlanarf32, float, kSobel),
    spatial<Planes<int16_t>>("vsrImageGradientSobelPlanars16", vsrImageGradientSobelPlanars16V),
    sobelBytes("vsrImageGradientSobelPlanars8"),
    PLANES(vsrImageGradientScharrPlanars16, int16_t, kScharr),
    PLANES(vsrImageGradientScharrPlanarf32, float, kSlopeScharr),
    PAIRS(vsrImageGradientScharrInterleaveds16, int16_t, kScharr),
});

}  // namespace
}  // namespace visora::bench

#endif
