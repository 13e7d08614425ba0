// Peers of matching, corners by gradients, templates, clusters and the tree, and how well descriptors match.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <algorithm>
#include <opencv2/core.hpp>
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>

#include "support/scene.h"

namespace visora::bench
{
namespace
{

using Work = std::function<void()>;

cv::Mat noise(int rows, int columns, int type)
{
    cv::Mat m(rows, columns, type);
    cv::randu(m, cv::Scalar::all(0), cv::Scalar::all(255));
    return m;
}

cv::Mat scene(int width, int height)
{
    cv::Mat src(height, width, CV_8UC1);
    test::drawScene(src.data, static_cast<uint32_t>(width), static_cast<uint32_t>(height), src.step);
    return src;
}

// ---- Hamming distances of as many queries and vectors as the shape is wide, 32 bytes each ----

constexpr int kBytes = 32;
constexpr int kLength = 128;

auto normOf(int bytes)
{
    return [=](int /*width*/, int /*height*/) -> Work
    {
        const cv::Mat a = noise(1, bytes, CV_8U);
        const cv::Mat b = noise(1, bytes, CV_8U);
        return [=] { static_cast<void>(cv::norm(a, b, cv::NORM_HAMMING)); };
    };
}

auto distances(bool ofOne, int type, int length, int norm, int distanceType)
{
    return [=](int width, int /*height*/) -> Work
    {
        const cv::Mat queries = noise(ofOne ? 1 : width, length, type);
        const cv::Mat set = noise(width, length, type);
        cv::Mat all;
        return [=]() mutable { cv::batchDistance(queries, set, all, distanceType, cv::noArray(), norm); };
    };
}

template <class Match>
auto matcher(Match match, bool crossCheck = false)
{
    return [=](int width, int /*height*/) -> Work
    {
        const cv::Mat queries = noise(width, kBytes, CV_8U);
        const cv::Mat set = noise(width, kBytes, CV_8U);
        return [=, matching = cv::BFMatcher(cv::NORM_HAMMING, crossCheck)] { match(matching, queries, set); };
    };
}

const auto one = matcher(
    [](const cv::BFMatcher& m, const cv::Mat& q, const cv::Mat& v)
    {
        std::vector<cv::DMatch> found;
        m.match(q, v, found);
    });
const auto mutual = matcher(
    [](const cv::BFMatcher& m, const cv::Mat& q, const cv::Mat& v)
    {
        std::vector<cv::DMatch> found;
        m.match(q, v, found);
    },
    true);
const auto two = matcher(
    [](const cv::BFMatcher& m, const cv::Mat& q, const cv::Mat& v)
    {
        std::vector<std::vector<cv::DMatch>> found;
        m.knnMatch(q, v, found, 2);
    });
const auto within = matcher(
    [](const cv::BFMatcher& m, const cv::Mat& q, const cv::Mat& v)
    {
        std::vector<std::vector<cv::DMatch>> found;
        m.radiusMatch(q, v, found, 64);
    });

const RegisterPeers hamming({
    {"vsrHammingBits256u8", "", "OpenCV", normOf(32)},
    {"vsrHammingBits512u8", "", "OpenCV", normOf(64)},
    {"vsrHammingBytesu8", "", "OpenCV", normOf(4096)},
    {"vsrHammingOneToManyu8", "", "OpenCV", distances(true, CV_8U, kBytes, cv::NORM_HAMMING, CV_32S)},
    {"vsrHammingMatrixu8", "", "OpenCV", distances(false, CV_8U, kBytes, cv::NORM_HAMMING, CV_32S)},
    {"vsrHammingNearestu8", "", "OpenCV", one},
    {"vsrHammingNearestu8", "mutual", "OpenCV", mutual},
    {"vsrHammingNearest2u8", "", "OpenCV", two},
    {"vsrHammingWithinu8", "", "OpenCV", within},
});

// ---- Dot products ----

auto dot(int type)
{
    return [=](int /*width*/, int /*height*/) -> Work
    {
        const cv::Mat a = noise(1, kLength, type);
        const cv::Mat b = noise(1, kLength, type);
        return [=] { static_cast<void>(a.dot(b)); };
    };
}

Work product(int width, int /*height*/)
{
    const cv::Mat a = noise(width, kLength, CV_32F);
    const cv::Mat b = noise(width, kLength, CV_32F);
    cv::Mat c;
    return [=]() mutable { cv::gemm(a, b, 1, cv::noArray(), 0, c, cv::GEMM_2_T); };
}

const RegisterPeers dots({
    {"vsrDotProductu8", "", "OpenCV", dot(CV_8U)},
    {"vsrDotProducts8", "", "OpenCV", dot(CV_8S)},
    {"vsrDotProductu16", "", "OpenCV", dot(CV_16U)},
    {"vsrDotProducts16", "", "OpenCV", dot(CV_16S)},
    {"vsrDotProductf32", "", "OpenCV", dot(CV_32F)},
    {"vsrDotMatrixf32", "", "OpenCV", product},
});

// ---- Templates and patches ----

auto match(int side, int method)
{
    return [=](int width, int height) -> Work
    {
        const cv::Mat src = scene(width, height);
        const cv::Mat templ = noise(side, side, CV_8U);
        cv::Mat dst;
        return [=]() mutable { cv::matchTemplate(src, templ, dst, method); };
    };
}

auto search(int side, int radius)
{
    return [=](int width, int height) -> Work
    {
        const cv::Mat src = scene(width, height);
        const cv::Mat patch = noise(side, side, CV_8U);
        const cv::Rect area(width / 2 - radius, height / 2 - radius, 2 * radius + side, 2 * radius + side);
        cv::Mat scores;
        return [=]() mutable
        {
            cv::matchTemplate(src(area), patch, scores, cv::TM_CCOEFF_NORMED);
            cv::Point best;
            cv::minMaxLoc(scores, nullptr, nullptr, nullptr, &best);
        };
    };
}

const RegisterPeers templates({
    {"vsrMatchTemplateu8", "16x16", "OpenCV", match(16, cv::TM_CCOEFF_NORMED)},
    {"vsrMatchTemplateu8", "16x16_squared_difference", "OpenCV", match(16, cv::TM_SQDIFF)},
    {"vsrMatchTemplateu8", "16x16_normed_correlation", "OpenCV", match(16, cv::TM_CCORR_NORMED)},
    {"vsrMatchTemplateu8", "64x64", "OpenCV", match(64, cv::TM_CCOEFF_NORMED)},
    {"vsrMatchTemplateu8", "256x256", "OpenCV", match(256, cv::TM_CCOEFF_NORMED)},
    {"vsrNCCPatchSearch8x8u8", "", "OpenCV", search(8, 12)},
    {"vsrNCCPatchSearchNxNu8", "", "OpenCV", search(12, 12)},
});

// ---- Corners ----

// The response and a scan for what is above a threshold.
Work harris(int width, int height)
{
    const cv::Mat src = scene(width, height);
    cv::Mat response;
    std::vector<cv::Point> corners;
    return [=]() mutable
    {
        cv::cornerHarris(src, response, 7, 3, 0.0625);
        corners.clear();
        cv::findNonZero(response > 1e-4, corners);
    };
}

Work goodFeatures(int width, int height)
{
    const cv::Mat src = scene(width, height);
    std::vector<cv::Point2f> corners;
    return [=]() mutable { cv::goodFeaturesToTrack(src, corners, 0, 0.01, 10); };
}

Work subPix(int width, int height)
{
    const cv::Mat src = scene(width, height);
    std::vector<cv::Point2f> starts(1000);
    for (cv::Point2f& p : starts)
    {
        p = {cv::theRNG().uniform(20.0f, static_cast<float>(width - 20)),
             cv::theRNG().uniform(20.0f, static_cast<float>(height - 20))};
    }
    return [=]
    {
        std::vector<cv::Point2f> refined = starts;
        cv::cornerSubPix(src, refined, {5, 5}, {-1, -1}, {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 0.01});
    };
}

const RegisterPeers corners({
    {"vsrCornerHarrisu8", "", "OpenCV", harris},
    {"vsrCornerHarrisScoreu8", "", "OpenCV", harris},
    {"vsrCornerHarrisInMasku8", "", "OpenCV", harris},
    {"vsrCornerMinEigenu8", "", "OpenCV", goodFeatures},
    {"vsrCornerRefineSubPixu8", "", "OpenCV", subPix},
});

// ---- Descriptors of 1000 points ----

template <class Extractor>
auto describe(Extractor extractor)
{
    return [=](int width, int height) -> Work
    {
        const cv::Mat src = scene(width, height);
        std::vector<cv::KeyPoint> points;
        for (int i = 0; i < 1000; ++i)
        {
            points.emplace_back(cv::theRNG().uniform(40.0f, static_cast<float>(width - 40)),
                                cv::theRNG().uniform(40.0f, static_cast<float>(height - 40)), 3.2f, 30.0f);
        }
        cv::Mat descriptors;
        return [=]() mutable { extractor()->compute(src, points, descriptors); };
    };
}

const auto orb = describe([] { return cv::ORB::create(1000, 1.2f, 1); });
const auto sift = describe([] { return cv::SIFT::create(); });

const RegisterPeers descriptors({
    {"vsrBriefDescribeu8", "", "OpenCV", orb},
    {"vsrBriefDescribeRotatedu8", "", "OpenCV", orb},
    {"vsrBriefDescribeRotatedu8", "centroid", "OpenCV", orb},
    {"vsrDescriptorGradient128u8", "", "OpenCV", sift},
});

// ---- Clusters of vectors of 128 elements, 64 centres ----

auto assign(int type)
{
    return [=](int width, int /*height*/) -> Work
    {
        const cv::Mat vectors = noise(width, kLength, type);
        const cv::Mat centres = noise(64, kLength, type);
        cv::Mat nearest;
        cv::Mat indices;
        return [=]() mutable
        { cv::batchDistance(vectors, centres, nearest, type == CV_8U ? CV_32S : CV_32F, indices, cv::NORM_L2SQR, 1); };
    };
}

const RegisterPeers clusters({
    {"vsrClusterAssignf32", "", "OpenCV", assign(CV_32F)},
    {"vsrClusterAssignu8", "", "OpenCV", assign(CV_8U)},
});

}  // namespace
}  // namespace visora::bench

#endif
