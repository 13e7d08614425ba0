// How many matches of descriptors are right, on the two views of a plane that the demo shows, beside OpenCV's.
#include "peers.h"

#if defined(VISORA_HAVE_OPENCV_EXTRA) && defined(VISORA_PHOTOGRAPHS)
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <opencv2/features2d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "visora/descriptor.h"

namespace visora::bench
{
namespace
{

using KeyPoints = std::vector<cv::KeyPoint>;
/** Describes points of a grey image, a row for each. */
using Describe = std::function<cv::Mat(const cv::Mat& image, KeyPoints& points)>;

/** From pixels of the first view to those of the second, as measured by those who took them. */
const cv::Matx33d kBetweenViews(7.6285898e-01, -2.9922929e-01, 2.2567123e+02, 3.3443473e-01, 1.0143901e+00,
                                -7.6999973e+01, 3.4663091e-04, -1.4364524e-05, 1.0000000e+00);

uint32_t columnsOf(const cv::Mat& image)
{
    return static_cast<uint32_t>(image.cols);
}

uint32_t rowsOf(const cv::Mat& image)
{
    return static_cast<uint32_t>(image.rows);
}

// Of points at whole pixels. `angles` are those of the points, of the grey levels around them, or none.
enum class Angles
{
    None,
    Points,
    Centroids
};

template <Angles angles>
cv::Mat brief(const cv::Mat& image, KeyPoints& points)
{
    std::vector<uint32_t> xy;
    std::vector<float> turns;
    for (const cv::KeyPoint& point : points)
    {
        xy.push_back(static_cast<uint32_t>(std::lround(point.pt.x)));
        xy.push_back(static_cast<uint32_t>(std::lround(point.pt.y)));
        turns.push_back(point.angle);
    }
    cv::Mat descriptors(static_cast<int>(points.size()), 32, CV_8U);
    const auto count = static_cast<uint32_t>(points.size());
    if (angles == Angles::None)
    {
        vsrBriefDescribeu8(image.data, columnsOf(image), rowsOf(image), 0, xy.data(), count, descriptors.data, 0);
    }
    else
    {
        vsrBriefDescribeRotatedu8(image.data, columnsOf(image), rowsOf(image), 0, xy.data(), count,
                                  angles == Angles::Points ? turns.data() : nullptr, descriptors.data, 0);
    }
    return descriptors;
}

// Of points on the level of a pyramid on which samples are about a pixel apart.
template <class T, class Function>
auto onPyramid(Function function, float step, int length)
{
    return [=](const cv::Mat& image, KeyPoints& points)
    {
        cv::Mat descriptors(static_cast<int>(points.size()), length, CV_32F);
        std::vector<cv::Mat> levels = {image};
        for (size_t i = 0; i < points.size(); ++i)
        {
            const float scale = points[i].size / 2;
            const auto level = static_cast<size_t>(std::max(0L, std::lround(std::log2(scale * step))));
            while (levels.size() <= level)
            {
                cv::Mat next;
                cv::pyrDown(levels.back(), next);
                levels.push_back(next);
            }
            const float smaller = 1.0f / static_cast<float>(1 << level);
            const vsrKeypoint point = {points[i].pt.x * smaller, points[i].pt.y * smaller, scale * smaller,
                                       points[i].angle};
            const cv::Mat& on = levels[level];
            std::vector<T> elements(static_cast<size_t>(length));
            function(on.data, columnsOf(on), rowsOf(on), static_cast<uint32_t>(on.step), &point, 1, elements.data(), 0);
            std::copy(elements.begin(), elements.end(), descriptors.ptr<float>(static_cast<int>(i)));
        }
        return descriptors;
    };
}

Describe describedBy(const cv::Ptr<cv::Feature2D>& extractor)
{
    return [extractor](const cv::Mat& image, KeyPoints& points)
    {
        cv::Mat descriptors;
        extractor->compute(image, points, descriptors);
        return descriptors;
    };
}

struct Shares
{
    double nearest;  // right ones of all points
    double mutual;   // right ones of pairs that choose each other
    double clear;    // right ones of those whose second nearest is clearly further away
    size_t count;    // of the latter
};

Shares sharesOf(const Describe& describe, const cv::Mat& one, const cv::Mat& other, KeyPoints from, KeyPoints to,
                int norm)
{
    const auto isRight = [&](const cv::DMatch& match)
    {
        const auto& p = from[static_cast<size_t>(match.queryIdx)].pt;
        const auto& q = to[static_cast<size_t>(match.trainIdx)].pt;
        const cv::Vec3d there = kBetweenViews * cv::Vec3d(p.x, p.y, 1);
        return std::hypot(there[0] / there[2] - q.x, there[1] / there[2] - q.y) < 3;
    };
    const cv::Mat a = describe(one, from);
    const cv::Mat b = describe(other, to);
    std::vector<std::vector<cv::DMatch>> nearest;
    std::vector<cv::DMatch> mutual;
    cv::BFMatcher(norm).knnMatch(a, b, nearest, 2);
    cv::BFMatcher(norm, true).match(a, b, mutual);
    Shares shares = {};
    size_t clear = 0;
    for (const auto& pair : nearest)
    {
        shares.nearest += isRight(pair[0]) ? 1 : 0;
        if (pair[0].distance < 0.8f * pair[1].distance)
        {
            ++shares.count;
            clear += isRight(pair[0]) ? 1 : 0;
        }
    }
    shares.nearest /= static_cast<double>(nearest.size());
    shares.clear = static_cast<double>(clear) / static_cast<double>(std::max<size_t>(1, shares.count));
    shares.mutual = static_cast<double>(std::count_if(mutual.begin(), mutual.end(), isRight)) /
                    static_cast<double>(std::max<size_t>(1, mutual.size()));
    return shares;
}

void printShares()
{
    const std::filesystem::path folder = VISORA_PHOTOGRAPHS;
    const cv::Mat one = cv::imread(folder / "graf1.png", cv::IMREAD_GRAYSCALE);
    const cv::Mat other = cv::imread(folder / "graf3.png", cv::IMREAD_GRAYSCALE);
    if (one.empty() || other.empty())
    {
        std::printf("shares of right matches: no photographs in %s, scripts/demo fetches them\n", folder.c_str());
        return;
    }
    const auto orb = cv::ORB::create(1500, 1.2f, 1);
    const auto sift = cv::SIFT::create(1500);
    // Binary descriptors are of a smooth picture, as OpenCV makes one for its own.
    cv::Mat smooth[2];
    cv::GaussianBlur(one, smooth[0], {5, 5}, 0);
    cv::GaussianBlur(other, smooth[1], {5, 5}, 0);
    const struct
    {
        const char* name;
        cv::Ptr<cv::Feature2D> detector;
        Describe describe;
        int norm;
        bool isSmooth;
    } rows[] = {
        {"vsrBriefDescribeu8", orb, brief<Angles::None>, cv::NORM_HAMMING, true},
        {"vsrBriefDescribeRotatedu8, angles of the points", orb, brief<Angles::Points>, cv::NORM_HAMMING, true},
        {"vsrBriefDescribeRotatedu8, its own angles", orb, brief<Angles::Centroids>, cv::NORM_HAMMING, true},
        {"ORB", orb, describedBy(orb), cv::NORM_HAMMING, false},
        {"vsrDescriptorGradient128u8", sift, onPyramid<uint8_t>(vsrDescriptorGradient128u8, 0.75f, 128), cv::NORM_L2,
         false},
        {"vsrDescriptorPatch64u8s8", sift, onPyramid<int8_t>(vsrDescriptorPatch64u8s8, 1.5f, 64), cv::NORM_L2, false},
        {"SIFT", sift, describedBy(sift), cv::NORM_L2, false},
    };
    std::printf("%-52s %9s %9s %9s %9s\n", "right matches of two views of a plane (graf1, graf3)", "nearest", "mutual",
                "clear", "of");
    for (const auto& row : rows)
    {
        KeyPoints from, to;
        row.detector->detect(one, from);
        row.detector->detect(other, to);
        const Shares shares = row.isSmooth ? sharesOf(row.describe, smooth[0], smooth[1], from, to, row.norm)
                                           : sharesOf(row.describe, one, other, from, to, row.norm);
        std::printf("%-52s %8.1f%% %8.1f%% %8.1f%% %9zu\n", row.name, 100 * shares.nearest, 100 * shares.mutual,
                    100 * shares.clear, shares.count);
    }
}

const RegisterReports accuracy({{"vsrBriefDescribe", printShares}});

}  // namespace
}  // namespace visora::bench
#endif
