// Peers of the smoothing filters of any window, of those that keep edges, and of correlations.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>

#include "filter_agreement.h"
#include "visora/variants/filter.h"

#ifdef VISORA_HAVE_OPENCV_EXTRA
#include <opencv2/photo.hpp>
#include <opencv2/ximgproc/edge_filter.hpp>
#endif

namespace visora::bench
{
namespace
{

using Images = FilterImages;

constexpr int kNearest = cv::BORDER_REPLICATE;

template <int size>
void gaussian(Images& i)
{
    cv::GaussianBlur(i.src, i.theirs[0], {size, size}, 0, 0, kNearest);
}

template <int size>
void ourGaussian(Images& i)
{
    vsrFilterGaussianNxNu8V(i.src.ptr(), i.width(), i.height(), i.srcStep(), size, 0, i.out<uint8_t>(), i.outStep(),
                            VISORA_BORDER_REPLICATE, 0);
}

const RegisterPeers smoothing({
    filterPeer(
        "vsrFilterMedian5x5u8", "", CV_8U, CV_8U, [](Images& i) { cv::medianBlur(i.src, i.theirs[0], 5); },
        [](Images& i)
        {
            vsrFilterMedian5x5u8V(i.src.ptr(), i.width(), i.height(), i.srcStep(), i.out<uint8_t>(), i.outStep(),
                                  VISORA_BORDER_REPLICATE, 0);
        }),
    filterPeer("vsrFilterGaussianNxNu8", "", CV_8U, CV_8U, gaussian<7>, ourGaussian<7>),
    filterPeer("vsrFilterGaussianNxNu8", "31", CV_8U, CV_8U, gaussian<31>, ourGaussian<31>),
    // Rows first.
    filterPeer("vsrFilterGaussianNxNf32", "", CV_32F, CV_32F, gaussian<7>,
               [](Images& i)
               {
                   vsrFilterGaussianNxNf32V(i.src.ptr<float>(), i.width(), i.height(), i.srcStep(), 7, 0,
                                            i.out<float>(), i.outStep(), VISORA_BORDER_REPLICATE, 0);
               },
               {1e-3}),
    filterPeer(
        "vsrFilterUnsharp5x5u8", "", CV_8U, CV_8U,
        [](Images& i)
        {
            cv::Mat blurred;
            cv::GaussianBlur(i.src, blurred, {5, 5}, 0, 0, kNearest);
            cv::addWeighted(i.src, 1.5, blurred, -0.5, 0, i.theirs[0]);
        },
        [](Images& i) {
            vsrFilterUnsharp5x5u8V(i.src.ptr(), i.width(), i.height(), i.srcStep(), 128, 0, i.out<uint8_t>(),
                                   i.outStep());
        },
        {1}),
});

// Theirs leave the corners of the window out.
template <int size>
void bilateral(Images& i)
{
    cv::bilateralFilter(i.src, i.theirs[0], size, 30, 3, kNearest);
}

const RegisterPeers edgeSmoothing({
    filterPeer("vsrBilateralFilter5x5u8", "", CV_8U, CV_8U, bilateral<5>),
    filterPeer("vsrBilateralFilter7x7u8", "", CV_8U, CV_8U, bilateral<7>),
    filterPeer("vsrBilateralFilter9x9u8", "", CV_8U, CV_8U, bilateral<9>),
    filterPeer("vsrBilateralFilterNxNf32", "", CV_32F, CV_32F,
               [](Images& i) { cv::bilateralFilter(i.src, i.theirs[0], 5, 0.5, 2, kNearest); }),
#ifdef VISORA_HAVE_OPENCV_EXTRA
    filterPeer("vsrBilateralFilterJointu8", "", CV_8U, CV_8U,
               [](Images& i)
               { cv::ximgproc::jointBilateralFilter(i.src.clone(), i.src, i.theirs[0], 9, 30, 3, kNearest); }),
    filterPeer("vsrBilateralFilterJointu8", "21", CV_8U, CV_8U,
               [](Images& i)
               { cv::ximgproc::jointBilateralFilter(i.src.clone(), i.src, i.theirs[0], 21, 30, 3, kNearest); }),
    filterPeer("vsrGuidedFilteru8", "", CV_8U, CV_8U,
               [](Images& i) { cv::ximgproc::guidedFilter(i.src, i.src, i.theirs[0], 2, 100); }),
    filterPeer("vsrGuidedFilteru8", "51", CV_8U, CV_8U,
               [](Images& i) { cv::ximgproc::guidedFilter(i.src, i.src, i.theirs[0], 25, 100); }),
    filterPeer("vsrDenoiseNonLocalu8", "", CV_8U, CV_8U,
               [](Images& i) { cv::fastNlMeansDenoising(i.src, i.theirs[0], 10, 5, 21); }),
#endif
});

// Taps of either sign, whose values matter to nobody.
template <class T>
cv::Mat taps(int columns, int rows, double largest)
{
    cv::Mat kernel(rows, columns, cv::DataType<T>::type);
    for (int i = 0; i < rows * columns; ++i)
    {
        kernel.at<T>(i / columns, i % columns) = static_cast<T>((i * 37 % 19 - 9) * largest / 9);
    }
    return kernel;
}

template <int size>
void correlationSeparable(Images& i)
{
    static const cv::Mat kernel = taps<float>(size, 1, 0.2);
    cv::sepFilter2D(i.src, i.theirs[0], CV_16S, kernel, kernel);
}

template <int size, int type>
void correlation(Images& i)
{
    static const cv::Mat kernel = taps<float>(size, size, 0.2);
    cv::filter2D(i.src, i.theirs[0], type, kernel, {-1, -1}, 0, cv::BORDER_CONSTANT);
}

const RegisterPeers correlations({
    filterPeer("vsrFilterCorr3x3s8", "", CV_8U, CV_8U, correlation<3, CV_8U>),
    filterPeer("vsrFilterConvNxNu8s16", "", CV_8U, CV_16S, correlation<5, CV_16S>),
    filterPeer("vsrFilterCorrNxNf32", "", CV_32F, CV_32F, correlation<5, CV_32F>,
               [](Images& i)
               {
                   static const cv::Mat kernel = taps<float>(5, 5, 0.2);
                   vsrFilterCorrNxNf32V(i.src.ptr<float>(), i.width(), i.height(), i.srcStep(), kernel.ptr<float>(), 5,
                                        i.out<float>(), i.outStep());
               },
               {1e-2}),
    filterPeer(
        "vsrFilterCorrSepMxNf32", "", CV_32F, CV_32F,
        [](Images& i)
        {
            static const cv::Mat kernel = taps<float>(7, 1, 0.2);
            cv::sepFilter2D(i.src, i.theirs[0], CV_32F, kernel, kernel, {-1, -1}, 0, kNearest);
        },
        [](Images& i)
        {
            static const cv::Mat kernel = taps<float>(7, 1, 0.2);
            vsrFilterCorrSepMxNf32V(i.src.ptr<float>(), i.width(), i.height(), i.srcStep(), kernel.ptr<float>(), 7,
                                    kernel.ptr<float>(), 7, i.out<float>(), i.outStep(), VISORA_BORDER_REPLICATE, 0);
        },
        {1e-2}),
    filterPeer("vsrFilterCorrSep9x9s16", "", CV_16S, CV_16S, correlationSeparable<9>),
    filterPeer("vsrFilterCorrSep11x11s16", "", CV_16S, CV_16S, correlationSeparable<11>),
    filterPeer("vsrFilterCorrSep13x13s16", "", CV_16S, CV_16S, correlationSeparable<13>),
    filterPeer("vsrFilterCorrSep15x15s16", "", CV_16S, CV_16S, correlationSeparable<15>),
    filterPeer("vsrFilterCorrSep17x17s16", "", CV_16S, CV_16S, correlationSeparable<17>),
    filterPeer("vsrFilterConvSepMxNs16", "", CV_16S, CV_16S, correlationSeparable<7>),
    filterPeer("vsrConvolves16", "", CV_16S, CV_16S, correlation<5, CV_16S>),
});

}  // namespace
}  // namespace visora::bench

#endif
