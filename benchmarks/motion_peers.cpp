// Peers of window trackers and motion history. Windows are whole images, as the operations' are.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/video/tracking.hpp>
#ifdef VISORA_HAVE_OPENCV_OPTFLOW
#include <opencv2/optflow/motempl.hpp>
#endif

#include "compared.h"
#include "visora/variants/track.h"

namespace visora::bench
{
namespace
{

const cv::TermCriteria kTenSteps(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 10, 1);

// A window as numbers, so that windows can be compared.
cv::Mat numbersOf(const cv::Rect& window)
{
    return (cv::Mat_<double>(1, 4) << window.x, window.y, window.width, window.height);
}

cv::Mat numbersOf(const vsrRectangle& window)
{
    return (cv::Mat_<double>(1, 4) << window.x, window.y, window.width, window.height);
}

// theirs(image, window) and ours(image, window) move a window.
template <class Theirs, class Ours>
Peer tracker(const char* operation, int type, Theirs theirs, Ours ours)
{
    return compared(operation, "", "OpenCV",
                    [=](int width, int height) -> Trial
                    {
                        const cv::Mat src = cv::abs(randomImage(width, height, type));
                        return {
                            [=]
                            {
                                cv::Rect window(0, 0, width, height);
                                theirs(src, window);
                            },
                            [=]
                            {
                                // From a quarter of the image, so that there is a way to go.
                                cv::Rect moved(width / 8, height / 8, width / 4, height / 4);
                                vsrRectangle own = {columns(src) / 8, rows(src) / 8, columns(src) / 4, rows(src) / 4};
                                theirs(src, moved);
                                ours(src, own);
                                return std::pair(numbersOf(moved), numbersOf(own));
                            }};
                    });
}

template <auto kernel, class T>
Peer meanShift(const char* operation, int type)
{
    return tracker(
        operation, type, [](const cv::Mat& src, cv::Rect& window) { cv::meanShift(src, window, kTenSteps); },
        [](const cv::Mat& src, vsrRectangle& window)
        {
            uint32_t iterations = 0;
            kernel(src.ptr<T>(), columns(src), rows(src), stride(src), 10, 1, &window, &iterations);
        });
}

template <auto kernel, class T>
Peer adaptive(const char* operation, int type)
{
    return tracker(
        operation, type, [](const cv::Mat& src, cv::Rect& window) { cv::CamShift(src, window, kTenSteps); },
        [](const cv::Mat& src, vsrRectangle& window)
        {
            vsrRotatedBox box;
            kernel(src.ptr<T>(), columns(src), rows(src), stride(src), 10, 1, &window, &box);
        });
}

const RegisterPeers windows({
    meanShift<vsrMeanShiftu8V, uint8_t>("vsrMeanShiftu8", CV_8U),
    meanShift<vsrMeanShiftu16V, uint16_t>("vsrMeanShiftu16", CV_16U),
    meanShift<vsrMeanShiftf32V, float>("vsrMeanShiftf32", CV_32F),
    adaptive<vsrConAdaTracku8V, uint8_t>("vsrConAdaTracku8", CV_8U),
    adaptive<vsrConAdaTracku16V, uint16_t>("vsrConAdaTracku16", CV_16U),
    adaptive<vsrConAdaTrackf32V, float>("vsrConAdaTrackf32", CV_32F),
});

#ifdef VISORA_HAVE_OPENCV_OPTFLOW
cv::Mat someHistory(int width, int height)
{
    cv::Mat history(height, width, CV_32F);
    cv::randu(history, 0, 10);
    return history;
}

const auto history = [](int width, int height) -> Trial
{
    const cv::Mat mask = randomImage(width, height, CV_8U) < 64;
    cv::Mat times = someHistory(width, height);
    return {[=]() mutable { cv::motempl::updateMotionHistory(mask, times, 10.5, 4); },
            [=]() mutable
            {
                cv::Mat ours = times.clone();
                vsrMotionHistoryu8f32V(mask.ptr(), columns(mask), rows(mask), stride(mask), 10.5f, 4.0f,
                                       ours.ptr<float>(), stride(ours));
                cv::motempl::updateMotionHistory(mask, times, 10.5, 4);
                return std::pair(times, ours);
            }};
};

// Its angles are a table's, ours are not.
const auto motionGradient = [](int width, int height) -> Trial
{
    const cv::Mat times = someHistory(width, height);
    cv::Mat mask;
    cv::Mat angles;
    return {[=]() mutable { cv::motempl::calcMotionGradient(times, mask, angles, 0.25, 2.5, 3); }};
};

const RegisterPeers motions({
    compared("vsrMotionHistoryu8f32", "", "OpenCV", history),
    compared("vsrMotionGradientf32", "", "OpenCV", motionGradient),
});
#endif

}  // namespace
}  // namespace visora::bench

#endif
