// Peers of filters whose results can be compared: before one is timed, its results and ours are compared on the image
// that is timed, on one with even parts and edges, and on the photographs in the folder that the environment variable
// VISORA_PHOTOGRAPHS names. A benchmark of peers that should agree and do not ends.
#ifndef VISORA_BENCHMARKS_FILTER_AGREEMENT_H
#define VISORA_BENCHMARKS_FILTER_AGREEMENT_H

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <opencv2/imgproc.hpp>
#include <vector>

#ifdef VISORA_HAVE_OPENCV_EXTRA
#include <opencv2/imgcodecs.hpp>
#endif

#include "peers.h"

namespace visora::bench
{

/** What a peer and its operation work on: up to two results each. */
struct FilterImages
{
    FilterImages(const cv::Mat& image, int type) : src(image)
    {
        for (auto* results : {&theirs, &ours})
        {
            for (cv::Mat& result : *results)
            {
                result = cv::Mat::zeros(src.size(), type);
            }
        }
    }

    uint32_t width() const { return static_cast<uint32_t>(src.cols); }
    uint32_t height() const { return static_cast<uint32_t>(src.rows); }
    uint32_t srcStep() const { return static_cast<uint32_t>(src.step); }
    template <class T>
    T* out(size_t i = 0)
    {
        return ours[i].ptr<T>();
    }
    uint32_t outStep() const { return static_cast<uint32_t>(ours[0].step); }

    cv::Mat src;
    std::array<cv::Mat, 2> theirs;
    std::array<cv::Mat, 2> ours;
};

using FilterFunction = void (*)(FilterImages&);

/** How far results may be apart, and how many pixels at the edges may differ. */
struct Agreement
{
    double largest = 0;
    int border = 0;
};

inline cv::Mat noise(int width, int height, int type)
{
    cv::Mat image(height, width, type);
    cv::randu(image, 0, 256);
    return image;
}

/** Even parts with edges of all directions and a little noise. */
inline cv::Mat shapes(int width, int height, int type)
{
    cv::Mat image(height, width, CV_8U, cv::Scalar(90));
    for (int i = 0; i < 60; ++i)
    {
        const cv::Point centre(i * 7919 % width, i * 104729 % height);
        const cv::Size axes(5 + i * 37 % 90, 5 + i * 61 % 70);
        cv::ellipse(image, centre, axes, i * 29, 0, 360, cv::Scalar(i * 73 % 256), i % 3 == 0 ? 2 : cv::FILLED);
    }
    cv::GaussianBlur(image, image, {5, 5}, 0);
    cv::Mat grain(height, width, CV_8U);
    cv::randu(grain, 0, 12);
    image += grain;
    cv::Mat converted;
    image.convertTo(converted, type);
    return converted;
}

inline const std::vector<cv::Mat>& photographs()
{
    static const std::vector<cv::Mat> all = []
    {
        std::vector<cv::Mat> images;
#ifdef VISORA_HAVE_OPENCV_EXTRA
        if (const char* folder = std::getenv("VISORA_PHOTOGRAPHS"))
        {
            for (const auto& entry : std::filesystem::directory_iterator(folder))
            {
                images.push_back(cv::imread(entry.path(), cv::IMREAD_GRAYSCALE));
                if (images.back().empty())
                {
                    std::fprintf(stderr, "%s is no picture\n", entry.path().c_str());
                    std::exit(EXIT_FAILURE);
                }
            }
            std::printf("compared on %zu photographs\n", images.size());
        }
#endif
        return images;
    }();
    return all;
}

inline void requireAgreement(const char* operation, const cv::Mat& image, int type, FilterFunction theirs,
                             FilterFunction ours, Agreement agreement)
{
    FilterImages images(image, type);
    theirs(images);
    ours(images);
    const int border = agreement.border;
    const cv::Rect inside(border, border, image.cols - 2 * border, image.rows - 2 * border);
    for (size_t i = 0; i < images.ours.size(); ++i)
    {
        const double difference = cv::norm(images.ours[i](inside), images.theirs[i](inside), cv::NORM_INF);
        if (!(difference <= agreement.largest))
        {
            std::fprintf(stderr, "%s: OpenCV's results differ by %g\n", operation, difference);
            std::exit(EXIT_FAILURE);
        }
    }
}

/** A peer of images of type `from`; `ours` gives the same results as far as `agreement` says. */
inline Peer filterPeer(const char* operation, const char* label, int from, int to, FilterFunction theirs,
                       FilterFunction ours = nullptr, Agreement agreement = {}, const char* library = "OpenCV")
{
    return {operation, label, library,
            [=](int width, int height) -> std::function<void()>
            {
                const cv::Mat image = noise(width, height, from);
                if (ours != nullptr)
                {
                    requireAgreement(operation, image, to, theirs, ours, agreement);
                    requireAgreement(operation, shapes(width, height, from), to, theirs, ours, agreement);
                    for (const cv::Mat& photograph : from == CV_8U ? photographs() : std::vector<cv::Mat>())
                    {
                        requireAgreement(operation, photograph, to, theirs, ours, agreement);
                    }
                }
                return [=, images = FilterImages(image, to)]() mutable { theirs(images); };
            }};
}

}  // namespace visora::bench

#endif
