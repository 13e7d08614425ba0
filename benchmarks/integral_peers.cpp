// Peers of the integral images.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>

#include "compared.h"
#include "visora/variants/statistics.h"

namespace visora::bench
{
namespace
{

// OpenCV gives one, two or three of them at once. Sums of wider pixels are f64.
template <class Sum>
auto integral(int from, int to, const std::function<void(const cv::Mat&, cv::Mat&, cv::Mat&, cv::Mat&)>& theirs,
              const std::function<cv::Mat(cv::Mat&, cv::Mat&, cv::Mat&)>& whichOfTheirs,
              vsrStatus (*ours)(const uint8_t*, uint32_t, uint32_t, uint32_t, Sum*, uint32_t))
{
    return [=](int width, int height) -> Trial
    {
        const cv::Mat src = randomImage(width, height, from);
        cv::Mat sums;
        cv::Mat squares;
        cv::Mat tilted;
        return {[=]() mutable { theirs(src, sums, squares, tilted); },
                [=]() mutable
                {
                    theirs(src, sums, squares, tilted);
                    cv::Mat own(height + 1, (width + 1) * static_cast<int>(sizeof(Sum)), CV_8U);
                    ours(src.ptr(), columns(src), rows(src), stride(src), own.ptr<Sum>(), stride(own));
                    cv::Mat result(height + 1, width + 1, to);
                    for (int y = 0; y <= height; ++y)
                    {
                        for (int x = 0; x <= width; ++x)
                        {
                            const Sum sum = own.ptr<Sum>(y)[x];
                            if (to == CV_32S)
                            {
                                result.at<int32_t>(y, x) = static_cast<int32_t>(sum);
                            }
                            else if (to == CV_32F)
                            {
                                result.at<float>(y, x) = static_cast<float>(sum);
                            }
                            else
                            {
                                result.at<double>(y, x) = static_cast<double>(sum);
                            }
                        }
                    }
                    return std::pair(whichOfTheirs(sums, squares, tilted), result);
                }};
    };
}

using Image = cv::Mat&;
const auto theSums = [](Image sums, Image /*squares*/, Image /*tilted*/) { return sums; };

// Images of any element as bytes.
template <auto kernel, class T, class Sum>
vsrStatus ofBytes(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, Sum* dst, uint32_t dstStride)
{
    return kernel(reinterpret_cast<const T*>(src), width, height, srcStride, dst, dstStride);
}

template <int depth>
void plainIntegral(const cv::Mat& src, Image sums, Image /*squares*/, Image /*tilted*/)
{
    cv::integral(src, sums, depth);
}

auto maskedIntegral(int width, int height) -> Trial
{
    const cv::Mat src = randomImage(width, height, CV_8U);
    const cv::Mat mask = randomImage(width, height, CV_8U) < 128;
    cv::Mat masked;
    cv::Mat ones;
    cv::Mat sums;
    cv::Mat counts;
    auto theirs = [=]() mutable
    {
        cv::bitwise_and(src, mask, masked);
        cv::bitwise_and(mask, 1, ones);
        cv::integral(masked, sums, CV_32S);
        cv::integral(ones, counts, CV_32S);
        return std::pair(sums, counts);
    };
    return {[=]() mutable { theirs(); },
            [=]() mutable
            {
                cv::Mat ours(height + 1, 2 * (width + 1), CV_32S);
                auto* first = ours.ptr<uint32_t>();
                vsrIntegrateImageMaskedu8V(src.ptr(), columns(src), rows(src), stride(src), mask.ptr(), stride(mask),
                                           first, stride(ours), first + width + 1, stride(ours));
                const auto [theirSums, theirCounts] = theirs();
                cv::Mat both;
                cv::hconcat(theirSums, theirCounts, both);
                return std::pair(both, ours);
            }};
}

const RegisterPeers integrals({
    compared("vsrIntegrateImageu8", "", "OpenCV",
             integral<uint32_t>(CV_8U, CV_32S, plainIntegral<CV_32S>, theSums, vsrIntegrateImageu8V)),
    compared("vsrIntegrateImagef32", "", "OpenCV",
             integral<float>(CV_32F, CV_32F, plainIntegral<CV_32F>, theSums,
                             ofBytes<vsrIntegrateImagef32V, float, float>)),
    compared("vsrIntegrateImageu16", "", "OpenCV",
             integral<uint64_t>(CV_16U, CV_64F, plainIntegral<CV_64F>, theSums,
                                ofBytes<vsrIntegrateImageu16V, uint16_t, uint64_t>)),
    // Sums of 32 bits are not offered.
    compared("vsrIntegrateImages16", "", "OpenCV",
             integral<int32_t>(CV_16S, CV_64F, plainIntegral<CV_64F>, theSums,
                               ofBytes<vsrIntegrateImages16V, int16_t, int32_t>)),
    // Not without the sums.
    compared("vsrIntegrateImageSquaredu8", "", "OpenCV",
             integral<uint64_t>(
                 CV_8U, CV_64F,
                 [](const cv::Mat& src, Image sums, Image squares, Image /*tilted*/)
                 { cv::integral(src, sums, squares, CV_32S, CV_64F); },
                 [](Image /*sums*/, Image squares, Image /*tilted*/) { return squares; }, vsrIntegrateImageSquaredu8V)),
    compared("vsrIntegrateTiltedu8", "", "OpenCV",
             integral<uint32_t>(
                 CV_8U, CV_32S,
                 [](const cv::Mat& src, Image sums, Image squares, Image tilted)
                 { cv::integral(src, sums, squares, tilted, CV_32S); },
                 [](Image /*sums*/, Image /*squares*/, Image tilted) { return tilted; }, vsrIntegrateTiltedu8V)),
    compared("vsrIntegrateImageMaskedu8", "", "OpenCV", maskedIntegral),
});

}  // namespace
}  // namespace visora::bench

#endif
