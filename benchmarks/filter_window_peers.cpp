// Peers of gradients, edges, morphology and thresholds, which give the same bits.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>

#include "filter_agreement.h"
#include "visora/variants/filter.h"

namespace visora::bench
{
namespace
{

using Images = FilterImages;

constexpr int kNearest = cv::BORDER_REPLICATE;

// operation(src ..., the parameters, dst ...) on the images.
#define OURS(operation, T, ...)                                                                              \
    [](Images& i) {                                                                                          \
        operation##V(i.src.ptr(), i.width(), i.height(), i.srcStep(), __VA_ARGS__ __VA_OPT__(, ) i.out<T>(), \
                     i.outStep());                                                                           \
    }
#define OUR_GRADIENTS(operation)                                                                            \
    [](Images& i)                                                                                           \
    {                                                                                                       \
        operation##V(i.src.ptr(), i.width(), i.height(), i.srcStep(), i.out<int16_t>(0), i.out<int16_t>(1), \
                     i.outStep(), VISORA_BORDER_REPLICATE, 0);                                              \
    }

template <int size>
void sobelTwice(Images& i)
{
    constexpr double kScale = size == 7 ? 1.0 / 8 : 1;
    cv::Sobel(i.src, i.theirs[0], CV_16S, 1, 0, size, kScale, 0, kNearest);
    cv::Sobel(i.src, i.theirs[1], CV_16S, 0, 1, size, kScale, 0, kNearest);
}

const RegisterPeers gradients({
    filterPeer(
        "vsrFilterSobel3x3u8s16", "", CV_8U, CV_16S,
        [](Images& i) { cv::spatialGradient(i.src, i.theirs[0], i.theirs[1], 3, kNearest); },
        OUR_GRADIENTS(vsrFilterSobel3x3u8s16)),
    filterPeer("vsrFilterSobel3x3u8s16", "", CV_8U, CV_16S, sobelTwice<3>, OUR_GRADIENTS(vsrFilterSobel3x3u8s16), {},
               "cvSobel"),
    filterPeer("vsrFilterSobel5x5u8s16", "", CV_8U, CV_16S, sobelTwice<5>, OUR_GRADIENTS(vsrFilterSobel5x5u8s16)),
    filterPeer("vsrFilterSobel7x7u8s16", "", CV_8U, CV_16S, sobelTwice<7>, OUR_GRADIENTS(vsrFilterSobel7x7u8s16), {1}),
    filterPeer(
        "vsrFilterScharr3x3u8s16", "", CV_8U, CV_16S,
        [](Images& i)
        {
            cv::Scharr(i.src, i.theirs[0], CV_16S, 1, 0, 1, 0, kNearest);
            cv::Scharr(i.src, i.theirs[1], CV_16S, 0, 1, 1, 0, kNearest);
        },
        OUR_GRADIENTS(vsrFilterScharr3x3u8s16)),
    filterPeer(
        "vsrFilterLaplacian3x3u8s16", "", CV_8U, CV_16S,
        [](Images& i) { cv::Laplacian(i.src, i.theirs[0], CV_16S, 1, 1, 0, kNearest); },
        [](Images& i)
        {
            vsrFilterLaplacian3x3u8s16V(i.src.ptr(), i.width(), i.height(), i.srcStep(), 4, i.out<int16_t>(),
                                        i.outStep(), VISORA_BORDER_REPLICATE, 0);
        }),
    filterPeer("vsrFilterSobel3x3u8", "", CV_8U, CV_8U,
               [](Images& i)
               {
                   cv::Mat dx, dy;
                   cv::spatialGradient(i.src, dx, dy, 3, kNearest);
                   cv::absdiff(dx, cv::Scalar::all(0), dx);
                   cv::absdiff(dy, cv::Scalar::all(0), dy);
                   cv::add(dx, dy, i.theirs[0], cv::noArray(), CV_8U);
               },
               OURS(vsrFilterSobel3x3u8, uint8_t), {0, 1}),
});

template <bool isL2>
void ourEdges(Images& i)
{
    const cv::Mat gradients(2 * i.src.rows, i.src.cols, CV_16S);
    vsrFilterCanny3x3u8_v3V(
        i.src.ptr(), i.width(), i.height(), i.srcStep(), 50, 150, isL2 ? VISORA_CANNY_L2 : VISORA_CANNY_L1,
        i.out<uint8_t>(), i.outStep(), const_cast<int16_t*>(gradients.ptr<int16_t>()),
        const_cast<int16_t*>(gradients.ptr<int16_t>(i.src.rows)), static_cast<uint32_t>(gradients.step));
}

template <bool isL2>
void theirEdges(Images& i)
{
    cv::Canny(i.src, i.theirs[0], 50, 150, 3, isL2);
}

const RegisterPeers edges({
    filterPeer("vsrFilterCanny3x3u8", "", CV_8U, CV_8U, theirEdges<false>, OURS(vsrFilterCanny3x3u8, uint8_t, 50, 150)),
    filterPeer("vsrFilterCanny3x3u8_v3", "", CV_8U, CV_8U, theirEdges<false>, ourEdges<false>),
    filterPeer("vsrFilterCanny3x3u8_v3", "L2", CV_8U, CV_8U, theirEdges<true>, ourEdges<true>),
});

template <int operation, int size>
void morphology(Images& i)
{
    static const cv::Mat window = cv::getStructuringElement(cv::MORPH_RECT, {size, size});
    cv::morphologyEx(i.src, i.theirs[0], operation, window);
}

#define MORPHOLOGY(operation, label, theirs, size, ...)                               \
    filterPeer(#operation, label, CV_8U, CV_8U, morphology<cv::MORPH_##theirs, size>, \
               OURS(operation, uint8_t __VA_OPT__(, ) __VA_ARGS__))

const RegisterPeers windows({
    MORPHOLOGY(vsrFilterDilate3x3u8, "", DILATE, 3),
    MORPHOLOGY(vsrFilterErode3x3u8, "", ERODE, 3),
    MORPHOLOGY(vsrFilterDilateNxNu8, "", DILATE, 5, 5),
    MORPHOLOGY(vsrFilterDilateNxNu8, "31", DILATE, 31, 31),
    MORPHOLOGY(vsrFilterErodeNxNu8, "", ERODE, 7, 7),
    MORPHOLOGY(vsrFilterErodeNxNu8, "15", ERODE, 15, 15),
    MORPHOLOGY(vsrFilterOpenNxNu8, "", OPEN, 5, 5),
    MORPHOLOGY(vsrFilterOpenNxNu8, "51", OPEN, 51, 51),
    MORPHOLOGY(vsrFilterCloseNxNu8, "", CLOSE, 5, 5),
    MORPHOLOGY(vsrFilterTopHatNxNu8, "", TOPHAT, 9, 9, VISORA_TOP_HAT_WHITE),
});

void theirOtsu(Images& i)
{
    i.theirs[1].at<uint8_t>(0) =
        static_cast<uint8_t>(cv::threshold(i.src, i.theirs[0], 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU));
}

void ourOtsu(Images& i)
{
    vsrFilterThresholdOtsuu8V(i.src.ptr(), i.width(), i.height(), i.srcStep(), VISORA_THRESHOLD_BINARY,
                              i.out<uint8_t>(), i.outStep(), i.out<uint8_t>(1));
}

template <int method, int size>
void adaptive(Images& i)
{
    cv::adaptiveThreshold(i.src, i.theirs[0], 100, method, cv::THRESH_BINARY, size, 5);
}

#define ADAPTIVE(operation, label, method, size)                                                  \
    filterPeer(#operation, label, CV_8U, CV_8U, adaptive<cv::ADAPTIVE_THRESH_##method##_C, size>, \
               OURS(operation, uint8_t, 100, VISORA_THRESHOLD_BINARY, 5))

const RegisterPeers thresholds({
    filterPeer(
        "vsrFilterThresholdFixedu8", "", CV_8U, CV_8U,
        [](Images& i) { cv::threshold(i.src, i.theirs[0], 100, 255, cv::THRESH_BINARY); },
        OURS(vsrFilterThresholdFixedu8, uint8_t, 100, VISORA_THRESHOLD_BINARY)),
    filterPeer(
        "vsrFilterThresholdBandu8", "", CV_8U, CV_8U, [](Images& i) { cv::inRange(i.src, 100, 200, i.theirs[0]); },
        OURS(vsrFilterThresholdBandu8, uint8_t, 100, 200, VISORA_THRESHOLD_BINARY)),
    filterPeer("vsrFilterThresholdOtsuu8", "", CV_8U, CV_8U, theirOtsu, ourOtsu),
    ADAPTIVE(vsrAdaptiveThresholdBox3x3u8, "", MEAN, 3),
    ADAPTIVE(vsrAdaptiveThresholdBox11x11u8, "", MEAN, 11),
    ADAPTIVE(vsrAdaptiveThresholdGaussian3x3u8, "", GAUSSIAN, 3),
    ADAPTIVE(vsrAdaptiveThresholdGaussian5x5u8, "", GAUSSIAN, 5),
    // Of another sigma.
    filterPeer("vsrAdaptiveThresholdGaussian11x11u8", "", CV_8U, CV_8U, adaptive<cv::ADAPTIVE_THRESH_GAUSSIAN_C, 11>),
    filterPeer("vsrAdaptiveThresholdBoxNxNu8", "", CV_8U, CV_8U, adaptive<cv::ADAPTIVE_THRESH_MEAN_C, 31>,
               OURS(vsrAdaptiveThresholdBoxNxNu8, uint8_t, 31, 100, VISORA_THRESHOLD_BINARY, 5, 256)),
    // Without a factor.
    filterPeer("vsrAdaptiveThresholdBoxNxNu8", "factor", CV_8U, CV_8U, adaptive<cv::ADAPTIVE_THRESH_MEAN_C, 31>),
});

}  // namespace
}  // namespace visora::bench

#endif
