// Peers of the model fits, and how near the models come to the points that are no outliers.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <chrono>
#include <cstdio>
#include <opencv2/calib3d.hpp>

#include "support/correspondences.h"

namespace visora::bench
{
namespace
{

using test::CorrespondenceSet;
using test::kTypicalNoise;
using test::kTypicalOutliers;
using test::kTypicalPixels;
using test::typicalMaxSquaredError;

struct PointLists
{
    explicit PointLists(const CorrespondenceSet& set)
    {
        for (const uint16_t point : set.indices)
        {
            from.emplace_back(static_cast<float>(set.x(point)), static_cast<float>(set.y(point)));
            to.emplace_back(static_cast<float>(set.u(point)), static_cast<float>(set.v(point)));
        }
    }

    std::vector<cv::Point2f> from;
    std::vector<cv::Point2f> to;
};

cv::Mat fitHomography(const PointLists& points, bool robust, double scale)
{
    return robust ? cv::findHomography(points.from, points.to, cv::RANSAC, 3 * kTypicalNoise * scale)
                  : cv::findHomography(points.from, points.to, 0);
}

auto homography(bool robust, double scale)
{
    return [=](int count, int /*height*/) -> std::function<void()>
    {
        const CorrespondenceSet set(
            test::typicalRecipe(static_cast<uint32_t>(count), scale, robust ? kTypicalOutliers : 0),
            test::kTypicalSeed);
        return [=, points = PointLists(set)] { fitHomography(points, robust, scale); };
    };
}

std::function<void()> affine(int count, int /*height*/)
{
    const CorrespondenceSet set(test::typicalRecipe(static_cast<uint32_t>(count), 1, 0), test::kTypicalSeed);
    // Its only fit to more than three points is a robust one that refines nothing.
    return [points = PointLists(set)]
    { cv::estimateAffine2D(points.from, points.to, cv::noArray(), cv::RANSAC, 1, 2000, 0.99, 0); };
}

const RegisterPeers fits({
    {"vsrGeomHomographyFitf32", "", "OpenCV", homography(false, 1)},
    {"vsrGeomHomographyFitf32", "pixels", "OpenCV", homography(false, kTypicalPixels)},
    {"vsrGeomHomographyFitDPf32", "", "OpenCV", homography(false, kTypicalPixels)},
    {"vsrGeomAffineFitf32", "", "OpenCV", affine},
    {"vsrGeomHomographyRobustFitf32", "", "OpenCV", homography(true, 1)},
    {"vsrGeomHomographyRobustFitf32", "pixels", "OpenCV", homography(true, kTypicalPixels)},
    {"vsrGeomHomographyRobustFitf32_v2", "", "OpenCV", homography(true, 1)},
});

// Mean error, in pixels, and time of both over many sets: how many samples a robust fit needs is a matter of luck.
void compare(bool robust, double scale, double outliers)
{
    constexpr int kSets = 40;
    for (const uint32_t count : {50u, 200u, 1000u})
    {
        double errors[2] = {};
        double seconds[2] = {};
        for (int seed = 0; seed < kSets; ++seed)
        {
            const CorrespondenceSet set(test::typicalRecipe(count, scale, outliers), static_cast<uint64_t>(seed));
            const PointLists points(set);
            const vsrCorrespondences record = set.record();
            std::vector<uint16_t> inliers(count);
            std::vector<uint16_t> scratch(count);
            uint32_t found = 0;
            float ours[9];
            cv::Mat theirs;
            const auto timed = [](double& total, const auto& work)
            {
                const auto start = std::chrono::steady_clock::now();
                work();
                total += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            };
            timed(seconds[0],
                  [&]
                  {
                      robust ? vsrGeomHomographyRobustFitf32V(&record, ours, typicalMaxSquaredError(scale),
                                                              inliers.data(), &found, scratch.data())
                             : vsrGeomHomographyFitf32V(&record, ours);
                  });
            timed(seconds[1], [&] { theirs = fitHomography(points, robust, scale); });
            errors[0] += set.error(ours) * kTypicalPixels / scale / kSets;
            errors[1] += set.error(theirs.ptr<double>()) * kTypicalPixels / scale / kSets;
        }
        std::printf("%s, %s, %2.0f%% outliers, %4u points: error %.4f (OpenCV %.4f) pixels, %.0f (%.0f) ns per point\n",
                    robust ? "robust fit" : "least squares", scale == 1 ? "unit square" : "pixels", 100 * outliers,
                    count, errors[0], errors[1], seconds[0] * 1e9 / kSets / count, seconds[1] * 1e9 / kSets / count);
    }
}

const RegisterReports errors({
    {"vsrGeomHomographyFitf32",
     []
     {
         compare(false, 1, 0);
         compare(false, kTypicalPixels, 0);
     }},
    {"vsrGeomHomographyRobustFitf32",
     []
     {
         for (const double scale : {1.0, kTypicalPixels})
         {
             for (const double outliers : {0.0, kTypicalOutliers, 0.5})
             {
                 compare(true, scale, outliers);
             }
         }
     }},
});

}  // namespace
}  // namespace visora::bench

#endif
