// Peers of matrices, cameras, depth, disparity and sets of points.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

namespace visora::bench
{
namespace
{

using Work = std::function<void()>;

cv::Mat randomMat(int rows, int columns, int type, double low, double high)
{
    cv::Mat mat(rows, columns, type);
    cv::randu(mat, low, high);
    return mat;
}

// Work on a square matrix of as many rows as there are points, with a right side.
template <class Body>
auto onMatrix(Body body)
{
    return [=](int n, int /*height*/) -> Work
    {
        return [=, A = randomMat(n, n, CV_32F, -300, 300), b = randomMat(n, 1, CV_32F, -300, 300), x = cv::Mat(),
                y = cv::Mat(), z = cv::Mat()]() mutable { body(A, b, x, y, z); };
    };
}

const RegisterPeers matrices({
    {"vsrMatrixMultiplyf32", "", "OpenCV",
     [](int width, int height) -> Work
     {
         return [A = randomMat(height, width, CV_32F, -300, 300), B = randomMat(width, width, CV_32F, -300, 300),
                 C = cv::Mat()]() mutable { cv::gemm(A, B, 1, cv::noArray(), 0, C); };
     }},
    {"vsrInvertMatrixf32", "", "OpenCV",
     onMatrix([](auto& A, auto&, auto& x, auto&, auto&) { cv::invert(A, x, cv::DECOMP_LU); })},
    {"vsrSolveLUf32", "", "OpenCV",
     onMatrix([](auto& A, auto& b, auto& x, auto&, auto&) { cv::solve(A, b, x, cv::DECOMP_LU); })},
});

// ---- Disparity ----

struct Views
{
    Views(int width, int height) : left(randomMat(height, width, CV_8U, 0, 256)), right(left.size(), CV_8U)
    {
        constexpr int kShift = 12;
        left.colRange(kShift, width).copyTo(right.colRange(0, width - kShift));
        left.colRange(0, kShift).copyTo(right.colRange(width - kShift, width));
    }

    cv::Mat left, right;
};

template <class Matcher>
auto disparity(Matcher make)
{
    return [=](int width, int height) -> Work
    {
        return [views = Views(width, height), matcher = make(), result = cv::Mat()]() mutable
        { matcher->compute(views.left, views.right, result); };
    };
}

const RegisterPeers disparities({
    {"vsrDisparityBlockMatchu8s16", "", "OpenCV", disparity([] { return cv::StereoBM::create(64, 9); })},
    {"vsrDisparitySemiGlobalu8s16", "", "OpenCV",
     disparity([] { return cv::StereoSGBM::create(0, 64, 5, 6, 40, 1, 0, 5, 0, 0, cv::StereoSGBM::MODE_HH); })},
});

// ---- Points ----

std::vector<cv::Point2f> randomPoints(int count)
{
    cv::RNG random(1);
    std::vector<cv::Point2f> points;
    for (int i = 0; i < count; ++i)
    {
        points.emplace_back(random.uniform(0.0F, 488.0F), random.uniform(-100.0F, 388.0F));
    }
    return points;
}

template <class Body>
auto onPoints(Body body)
{
    return [=](int count, int /*height*/) -> Work { return [=, points = randomPoints(count)] { body(points); }; };
}

const RegisterPeers sets({
    {"vsrConvexHullf32", "", "OpenCV",
     onPoints(
         [](const auto& points)
         {
             std::vector<cv::Point2f> hull;
             cv::convexHull(points, hull);
         })},
    {"vsrMinAreaRectf32", "", "OpenCV", onPoints([](const auto& points) { cv::minAreaRect(points); })},
    {"vsrMinEnclosingCirclef32", "", "OpenCV",
     onPoints(
         [](const auto& points)
         {
             cv::Point2f centre;
             float radius = 0;
             cv::minEnclosingCircle(points, centre, radius);
         })},
    {"vsrFitLinef32", "", "OpenCV",
     onPoints(
         [](const auto& points)
         {
             cv::Vec4f line;
             cv::fitLine(points, line, cv::DIST_HUBER, 2.5, 0.01, 0.01);
         })},
    {"vsrFitEllipsef32", "", "OpenCV",
     onPoints(
         [](const auto& points)
         {
             if (points.size() >= 5)
             {
                 cv::fitEllipseDirect(points);
             }
         })},
    {"vsrPolygonContainsf32", "", "OpenCV",
     onPoints(
         [polygon = randomPoints(30)](const auto& points)
         {
             for (const cv::Point2f& point : points)
             {
                 cv::pointPolygonTest(polygon, point, true);
             }
         })},
    {"vsrPolygonSimplifyf32", "", "OpenCV",
     onPoints(
         [](const auto& points)
         {
             std::vector<cv::Point2f> simple;
             cv::approxPolyDP(points, simple, 30, false);
         })},
});

// ---- Cameras ----

const cv::Matx33d kCamera(500, 0, 320, 0, 510, 240, 0, 0, 1);
const std::vector<double> kLens = {-0.2, 0.05, 0.001, -0.002, 0.01};

std::vector<cv::Point3f> inSpace(const std::vector<cv::Point2f>& points)
{
    std::vector<cv::Point3f> space;
    for (const cv::Point2f& p : points)
    {
        space.emplace_back(p.x, p.y, p.x - p.y);
    }
    return space;
}

const RegisterPeers cameras({
    {"vsrGeomUndistortPoint2xNf32", "", "OpenCV",
     onPoints(
         [](const auto& points)
         {
             std::vector<cv::Point2f> result;
             cv::undistortPoints(points, result, kCamera, kLens, cv::noArray(), kCamera);
         })},
    {"vsrGeomProjectPoint3xNf32", "", "OpenCV",
     [](int count, int /*height*/) -> Work
     {
         return [points = inSpace(randomPoints(count))]
         {
             std::vector<cv::Point2f> result;
             cv::projectPoints(points, cv::Vec3d(0, 0, 0.28), cv::Vec3d(1, 2, 900), kCamera, kLens, result);
         };
     }},
    {"vsrGeomTriangulatePoint2xNf32", "", "OpenCV",
     onPoints(
         [](const auto& points)
         {
             static const cv::Matx34d first(500, 0, 320, 0, 0, 500, 240, 0, 0, 0, 1, 0);
             static const cv::Matx34d second(480, -20, 330, -400, 30, 500, 235, 10, 0.1, 0.01, 0.99, 0.2);
             cv::Mat result;
             cv::triangulatePoints(first, second, points, points, result);
         })},
    {"vsrGeomFundamentalFitf32", "", "OpenCV",
     onPoints(
         [](const auto& points)
         {
             if (points.size() >= 8)
             {
                 cv::findFundamentalMat(points, points, cv::FM_8POINT);
             }
         })},
    {"vsrGeomPoseRefinef32", "", "OpenCV",
     [](int count, int /*height*/) -> Work
     {
         const auto space = inSpace(randomPoints(count));
         std::vector<cv::Point2f> image;
         cv::projectPoints(space, cv::Vec3d(0, 0, 0.28), cv::Vec3d(1, 2, 900), kCamera, cv::noArray(), image);
         return [=]
         {
             cv::Vec3d turn(0.01, 0, 0.26), shift(0, 0, 910);
             cv::solvePnPRefineLM(space, image, kCamera, cv::noArray(), turn, shift,
                                  cv::TermCriteria(cv::TermCriteria::COUNT, 10, 0));
         };
     }},
});

}  // namespace
}  // namespace visora::bench

#endif
