// Peers of histograms, statistics, moments and differences.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>

#include "compared.h"
#include "visora/variants/background.h"
#include "visora/variants/statistics.h"
#include "visora/variants/track.h"

namespace visora::bench
{
namespace
{

// One image to another of these types, or to numbers at the start of it.
using OfOne = void (*)(const cv::Mat& src, cv::Mat& dst);

auto onImage(int from, int to, OfOne theirs, OfOne ours, double tolerance = 0)
{
    return [=](int width, int height) -> Trial
    {
        const cv::Mat src = randomImage(width, height, from);
        cv::Mat peer = cv::Mat::zeros(height, width, to);
        return {[=]() mutable { theirs(src, peer); },
                [=]() mutable
                {
                    cv::Mat own = cv::Mat::zeros(height, width, to);
                    theirs(src, peer);
                    ours(src, own);
                    return std::pair(peer, own);
                },
                tolerance};
    };
}

// Two images to a third.
using OfTwo = void (*)(const cv::Mat& a, const cv::Mat& b, cv::Mat& dst);

auto onTwo(int from, int to, OfTwo theirs, OfTwo ours, double tolerance = 0)
{
    return [=](int width, int height) -> Trial
    {
        const cv::Mat a = randomImage(width, height, from);
        const cv::Mat b = randomImage(width, height, from);
        cv::Mat peer = cv::Mat::zeros(height, width, to);
        return {[=]() mutable { theirs(a, b, peer); },
                [=]() mutable
                {
                    cv::Mat own = cv::Mat::zeros(height, width, to);
                    theirs(a, b, peer);
                    ours(a, b, own);
                    return std::pair(peer, own);
                },
                tolerance};
    };
}

// ---- Histograms ----

// Counts as floats, which is what OpenCV gives.
void countLevels(const cv::Mat& src, const cv::Mat& mask, int bins, float lower, float upper, cv::Mat& counts)
{
    const int channel = 0;
    const float range[] = {lower, upper};
    const float* ranges = range;
    cv::calcHist(&src, 1, &channel, mask, counts, 1, &bins, &ranges);
}

template <class Count>
auto histogram(int bins, const std::function<void(const std::vector<cv::Mat>&, cv::Mat&)>& theirs, Count ours)
{
    return [=](int width, int height) -> Trial
    {
        const std::vector<cv::Mat> images = {randomImage(width, height, CV_8U), randomImage(width, height, CV_8U),
                                             randomImage(width, height, CV_8U)};
        cv::Mat counts;
        return {[=]() mutable { theirs(images, counts); },
                [=]() mutable
                {
                    theirs(images, counts);
                    cv::Mat own(1, bins, CV_32S);
                    ours(images, own.ptr<uint32_t>());
                    cv::Mat ownFloats;
                    own.convertTo(ownFloats, CV_32F);
                    return std::pair(cv::Mat(counts.reshape(1, 1)), ownFloats);
                }};
    };
}

using Images = const std::vector<cv::Mat>&;

const RegisterPeers histograms({
    compared("vsrImageIntensityHistogram", "", "OpenCV",
             histogram(
                 256, [](Images i, cv::Mat& counts) { countLevels(i[0], {}, 256, 0, 256, counts); },
                 [](Images i, uint32_t* counts)
                 {
                     vsrImageIntensityHistogramC(i[0].ptr(), columns(i[0]), rows(i[0]), stride(i[0]), 0, 0,
                                                 columns(i[0]), rows(i[0]), counts);
                 })),
    // 210 levels in as many bins, so that every bin's edge is a level.
    compared("vsrImageIntensityHistogram_v2", "", "OpenCV",
             histogram(
                 210, [](Images i, cv::Mat& counts) { countLevels(i[0], i[1], 210, 20, 230, counts); },
                 [](Images i, uint32_t* counts)
                 {
                     vsrImageIntensityHistogram_v2V(i[0].ptr(), columns(i[0]), rows(i[0]), stride(i[0]), i[1].ptr(),
                                                    stride(i[1]), 20, 230, 210, counts);
                 })),
    compared("vsrHistogram2Du8", "", "OpenCV",
             histogram(
                 16 * 128,
                 [](Images i, cv::Mat& counts)
                 {
                     const int channels[] = {0, 1};
                     const int bins[] = {16, 128};
                     const float range[] = {0, 256};
                     const float* ranges[] = {range, range};
                     cv::calcHist(i.data(), 2, channels, i[2], counts, 2, bins, ranges);
                 },
                 [](Images i, uint32_t* counts)
                 {
                     vsrHistogram2Du8V(i[0].ptr(), columns(i[0]), rows(i[0]), stride(i[0]), i[1].ptr(), stride(i[1]),
                                       i[2].ptr(), stride(i[2]), 16, 128, counts);
                 })),
    compared("vsrEqualizeHistogramu8", "", "OpenCV",
             onImage(
                 CV_8U, CV_8U, [](const cv::Mat& src, cv::Mat& dst) { cv::equalizeHist(src, dst); },
                 [](const cv::Mat& src, cv::Mat& dst) {
                     vsrEqualizeHistogramu8V(src.ptr(), columns(src), rows(src), stride(src), dst.ptr(), stride(dst));
                 })),
    compared("vsrClaheu8", "", "OpenCV",
             onImage(
                 CV_8U, CV_8U,
                 [](const cv::Mat& src, cv::Mat& dst) {
                     cv::createCLAHE(3, {8, 8})->apply(src, dst);
                 },
                 [](const cv::Mat& src, cv::Mat& dst)
                 { vsrClaheu8V(src.ptr(), columns(src), rows(src), stride(src), 8, 8, 3, dst.ptr(), stride(dst)); })),
    compared("vsrClaheu16", "", "OpenCV",
             onImage(
                 CV_16U, CV_16U,
                 [](const cv::Mat& src, cv::Mat& dst) {
                     cv::createCLAHE(3, {8, 8})->apply(src, dst);
                 },
                 [](const cv::Mat& src, cv::Mat& dst)
                 {
                     vsrClaheu16V(src.ptr<uint16_t>(), columns(src), rows(src), stride(src), 8, 8, 3, 65536,
                                  dst.ptr<uint16_t>(), stride(dst));
                 })),
});

auto backProjection(int width, int height) -> Trial
{
    constexpr int kBins = 32;
    const cv::Mat src = randomImage(width, height, CV_8U);
    cv::Mat weights(kBins, 1, CV_32F);
    std::vector<uint8_t> bytes(kBins);
    for (int i = 0; i < kBins; ++i)
    {
        bytes[static_cast<size_t>(i)] = static_cast<uint8_t>(i * 7);
        weights.at<float>(i) = static_cast<float>(i * 7);
    }
    cv::Mat dst(src.size(), CV_8U);
    auto theirs = [=]() mutable
    {
        const int channel = 0;
        const float range[] = {0, 256};
        const float* ranges = range;
        cv::calcBackProject(&src, 1, &channel, weights, dst, &ranges);
        return dst;
    };
    return {theirs, [=]() mutable
            {
                cv::Mat ours(src.size(), CV_8U);
                vsrBackProjectu8V(src.ptr(), columns(src), rows(src), stride(src), bytes.data(), kBins, ours.ptr(),
                                  stride(ours));
                return std::pair(theirs(), ours);
            }};
}

auto distance(int method, uint32_t ourMethod)
{
    return [=](int /*width*/, int /*height*/) -> Trial
    {
        cv::Mat a(1, 256, CV_32F);
        cv::Mat b(1, 256, CV_32F);
        cv::randu(a, 1, 5000);
        cv::randu(b, 1, 5000);
        cv::Mat result(1, 1, CV_32F);
        auto theirs = [=]() mutable
        {
            result.at<float>(0) = static_cast<float>(cv::compareHist(a, b, method));
            return result;
        };
        return {theirs,
                [=]() mutable
                {
                    cv::Mat ours(1, 1, CV_32F);
                    vsrHistogramDistancef32V(a.ptr<float>(), b.ptr<float>(), 256, ourMethod, ours.ptr<float>());
                    return std::pair(theirs(), ours);
                },
                1e-6};
    };
}

const RegisterPeers histogramUses({
    compared("vsrBackProjectu8", "", "OpenCV", backProjection),
    compared("vsrHistogramDistancef32", "correlation", "OpenCV",
             distance(cv::HISTCMP_CORREL, VISORA_HISTOGRAM_CORRELATION)),
    compared("vsrHistogramDistancef32", "chi_square", "OpenCV",
             distance(cv::HISTCMP_CHISQR, VISORA_HISTOGRAM_CHI_SQUARE)),
    compared("vsrHistogramDistancef32", "intersection", "OpenCV",
             distance(cv::HISTCMP_INTERSECT, VISORA_HISTOGRAM_INTERSECTION)),
    compared("vsrHistogramDistancef32", "bhattacharyya", "OpenCV",
             distance(cv::HISTCMP_BHATTACHARYYA, VISORA_HISTOGRAM_BHATTACHARYYA)),
});

// ---- Statistics and moments ----

void meanAndVariance(const cv::Mat& src, cv::Mat& dst)
{
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(src, mean, deviation);
    dst.at<float>(0) = static_cast<float>(mean[0]);
    dst.at<float>(1) = static_cast<float>(deviation[0] * deviation[0]);
}

// The whole image as one cell; ours measures as many cells as the operation's benchmark has in the same pass.
void focus(const cv::Mat& src, cv::Mat& dst)
{
    cv::Mat laplacian;
    cv::Laplacian(src, laplacian, CV_16S, 1, 1, 0, cv::BORDER_REPLICATE);
    dst.at<float>(0) = static_cast<float>(cv::norm(laplacian, cv::NORM_L2SQR) / static_cast<double>(laplacian.total()));
}

cv::Mat blurred(const cv::Mat& image)
{
    cv::Mat result;
    cv::GaussianBlur(image, result, {11, 11}, 1.5);
    return result;
}

// Mean structural similarity as it is composed of OpenCV's filters, and its ratio of peak to noise.
void similarity(const cv::Mat& src1, const cv::Mat& src2, cv::Mat& dst)
{
    cv::Mat a;
    cv::Mat b;
    src1.convertTo(a, CV_32F);
    src2.convertTo(b, CV_32F);
    const cv::Mat meanA = blurred(a);
    const cv::Mat meanB = blurred(b);
    const cv::Mat varianceA = blurred(a.mul(a)) - meanA.mul(meanA);
    const cv::Mat varianceB = blurred(b.mul(b)) - meanB.mul(meanB);
    const cv::Mat covariance = blurred(a.mul(b)) - meanA.mul(meanB);
    cv::Mat above = 2 * meanA.mul(meanB) + 6.5025;
    above = above.mul(2 * covariance + 58.5225);
    cv::Mat below = meanA.mul(meanA) + meanB.mul(meanB) + 6.5025;
    below = below.mul(varianceA + varianceB + 58.5225);
    const cv::Mat values = above / below;
    const cv::Rect inside(5, 5, values.cols - 10, values.rows - 10);
    dst.at<float>(0) = static_cast<float>(cv::mean(values(inside))[0]);
    dst.at<float>(1) = static_cast<float>(cv::PSNR(src1, src2));
}

template <auto kernel, class T>
Peer momentsOf(const char* operation, int type, double tolerance)
{
    return compared(
        operation, "", "OpenCV",
        [=](int width, int height) -> Trial
        {
            const cv::Mat src = randomImage(width, height, type);
            return {[=] { cv::moments(src); },
                    [=]
                    {
                        const cv::Moments theirs = cv::moments(src);
                        vsrMoments o;
                        kernel(src.ptr<T>(), columns(src), rows(src), stride(src), 0, &o);
                        const cv::Moments ours(o.m00, o.m10, o.m01, o.m20, o.m11, o.m02, o.m30, o.m21, o.m12, o.m03);
                        // Ratios, as the moments are of very different sizes.
                        const double ratios[] = {o.m00 / theirs.m00,     o.m21 / theirs.m21,   o.m03 / theirs.m03,
                                                 o.mu20 / theirs.mu20,   o.mu03 / theirs.mu03, o.nu12 / theirs.nu12,
                                                 ours.nu30 / theirs.nu30};
                        const cv::Mat all =
                            cv::Mat(1, std::size(ratios), CV_64F, const_cast<double*>(std::data(ratios))).clone();
                        return std::pair(cv::Mat(cv::Mat::ones(all.size(), CV_64F)), all);
                    },
                    tolerance};
        });
}

const RegisterPeers statistics({
    compared("vsrImageIntensityStatsu8", "", "OpenCV",
             onImage(
                 CV_8U, CV_32F, meanAndVariance,
                 [](const cv::Mat& src, cv::Mat& dst)
                 {
                     vsrImageIntensityStatsu8V(src.ptr(), columns(src), rows(src), stride(src), 0, 0, columns(src),
                                               rows(src), dst.ptr<float>(), dst.ptr<float>() + 1);
                 },
                 1e-6)),
    compared("vsrFocusMeasureu8", "", "OpenCV",
             onImage(
                 CV_8U, CV_32F, focus,
                 [](const cv::Mat& src, cv::Mat& dst)
                 { vsrFocusMeasureu8V(src.ptr(), columns(src), rows(src), stride(src), 1, 1, dst.ptr<float>()); },
                 1e-6)),
    compared("vsrImageSimilarityu8", "", "OpenCV",
             onTwo(
                 CV_8U, CV_32F, similarity,
                 [](const cv::Mat& a, const cv::Mat& b, cv::Mat& dst)
                 {
                     vsrImageSimilarityu8V(a.ptr(), columns(a), rows(a), stride(a), b.ptr(), stride(b),
                                           dst.ptr<float>(), dst.ptr<float>() + 1);
                 },
                 5e-4)),
    momentsOf<vsrImageMomentsu8V, uint8_t>("vsrImageMomentsu8", CV_8U, 0),
    momentsOf<vsrImageMomentsf32V, float>("vsrImageMomentsf32", CV_32F, 1e-9),
});

// ---- Differences ----

#define DIFFERENCE(operation, T)                         \
    [](const cv::Mat& a, const cv::Mat& b, cv::Mat& dst) \
    { operation##V(a.ptr<T>(), columns(a), rows(a), stride(a), b.ptr<T>(), stride(b), dst.ptr<T>(), stride(dst)); }

const OfTwo subtract = [](const cv::Mat& a, const cv::Mat& b, cv::Mat& dst) { cv::subtract(a, b, dst); };

auto frames(int width, int height) -> Trial
{
    const std::vector<cv::Mat> images = {randomImage(width, height, CV_8U), randomImage(width, height, CV_8U),
                                         randomImage(width, height, CV_8U)};
    cv::Mat before(height, width, CV_8U);
    cv::Mat after(height, width, CV_8U);
    auto theirs = [=]() mutable
    {
        cv::absdiff(images[0], images[1], before);
        cv::absdiff(images[1], images[2], after);
        cv::min(before, after, before);
        cv::threshold(before, before, 20, 255, cv::THRESH_BINARY);
        return before;
    };
    return {theirs, [=]() mutable
            {
                cv::Mat ours(height, width, CV_8U);
                vsrFrameDifferenceu8V(images[0].ptr(), columns(ours), rows(ours), stride(images[0]), images[1].ptr(),
                                      stride(images[1]), images[2].ptr(), stride(images[2]), 20, ours.ptr(),
                                      stride(ours));
                return std::pair(theirs(), ours);
            }};
}

const RegisterPeers differences({
    compared("vsrImageDiffu8", "", "OpenCV", onTwo(CV_8U, CV_8U, subtract, DIFFERENCE(vsrImageDiffu8, uint8_t))),
    compared("vsrImageDiffs16", "", "OpenCV", onTwo(CV_16S, CV_16S, subtract, DIFFERENCE(vsrImageDiffs16, int16_t))),
    compared("vsrImageDifff32", "", "OpenCV", onTwo(CV_32F, CV_32F, subtract, DIFFERENCE(vsrImageDifff32, float))),
    compared("vsrImageDiffu8s16", "", "OpenCV",
             onTwo(
                 CV_8U, CV_16S,
                 [](const cv::Mat& a, const cv::Mat& b, cv::Mat& dst)
                 { cv::subtract(a, b, dst, cv::noArray(), CV_16S); },
                 [](const cv::Mat& a, const cv::Mat& b, cv::Mat& dst) {
                     vsrImageDiffu8s16V(a.ptr(), columns(a), rows(a), stride(a), b.ptr(), stride(b), dst.ptr<int16_t>(),
                                        stride(dst));
                 })),
    compared("vsrImageBlendu8", "", "OpenCV",
             onTwo(
                 CV_8U, CV_8U,
                 [](const cv::Mat& a, const cv::Mat& b, cv::Mat& dst)
                 { cv::addWeighted(a, 100 / 256.0, b, 156 / 256.0, 0, dst); },
                 [](const cv::Mat& a, const cv::Mat& b, cv::Mat& dst)
                 {
                     vsrImageBlendu8V(a.ptr(), columns(a), rows(a), stride(a), b.ptr(), stride(b), 100, nullptr, 0,
                                      dst.ptr(), stride(dst));
                 },
                 1.0 / 255)),
    compared("vsrFrameDifferenceu8", "", "OpenCV", frames),
});

}  // namespace
}  // namespace visora::bench

#endif
