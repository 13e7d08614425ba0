// Peers whose results are compared with the operation's before they are timed.
#ifndef VISORA_BENCHMARKS_COMPARED_H
#define VISORA_BENCHMARKS_COMPARED_H

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <opencv2/core.hpp>
#include <utility>

#include "peers.h"

namespace visora::bench
{

/** A peer's work on buffers of one size. */
struct Trial
{
    std::function<void()> theirs;
    /** Lets the peer and the operation work once; their results. Empty: other rules, nothing to compare. */
    std::function<std::pair<cv::Mat, cv::Mat>()> results = {};
    /** By how much results may differ, of the largest of the peer's. */
    double tolerance = 0;
};

/** Random elements, of all values that bytes and unsigned words have. */
inline cv::Mat randomImage(int width, int height, int type)
{
    cv::Mat image(height, width, type);
    const int depth = CV_MAT_DEPTH(type);
    const bool isUnsigned = depth == CV_8U || depth == CV_16U;
    cv::randu(image, isUnsigned ? 0 : -40000, depth == CV_8U ? 256 : depth == CV_16U ? 65536 : 40000);
    return image;
}

inline uint32_t stride(const cv::Mat& image)
{
    return static_cast<uint32_t>(image.step);
}

inline uint32_t columns(const cv::Mat& image)
{
    return static_cast<uint32_t>(image.cols);
}

inline uint32_t rows(const cv::Mat& image)
{
    return static_cast<uint32_t>(image.rows);
}

// Debian's compiler for 64-bit ARM makes one rounding of a product and the sum it goes into: floats of a peer differ in
// their last bit, and now and then what they are rounded to.
#ifdef __aarch64__
constexpr bool kIsFused = true;
#else
constexpr bool kIsFused = false;
#endif

/** A peer that makes its buffers by make(width, height); the program ends when it does not agree with the operation. */
template <class Make>
Peer compared(const char* operation, const char* label, const char* library, Make make)
{
    return {operation, label, library,
            [=](int width, int height) -> std::function<void()>
            {
                const Trial trial = make(width, height);
                if (trial.results)
                {
                    const auto [theirs, ours] = trial.results();
                    const bool alike = theirs.size() == ours.size() && theirs.type() == ours.type();
                    const double most = alike ? cv::norm(theirs, cv::NORM_INF) : 0;
                    const double rounding = !kIsFused ? 0 : theirs.depth() < CV_32F ? 1 : 1e-6 * most;
                    const double allowed = std::max(trial.tolerance * most, rounding);
                    if (!alike || !(cv::norm(theirs, ours, cv::NORM_INF) <= allowed))
                    {
                        std::fprintf(stderr, "%s: the peer's results differ\n", operation);
                        std::abort();
                    }
                }
                return trial.theirs;
            }};
}

}  // namespace visora::bench

#endif
