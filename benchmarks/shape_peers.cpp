// Peers of what finds regions, contours, lines, circles and blobs, and of drawing; and comparisons with those that are
// to give the same.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <opencv2/calib3d.hpp>
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>

#include "operations/shape.h"
#endif

namespace visora::bench
{
namespace
{

#ifdef VISORA_HAVE_OPENCV
using Work = std::function<void()>;

template <class PixelAt>
cv::Mat maskOf(int width, int height, PixelAt pixelAt)
{
    cv::Mat mask(height, width, CV_8UC1);
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            mask.at<uint8_t>(y, x) = pixelAt(static_cast<uint32_t>(x), static_cast<uint32_t>(y), test::kTypicalCell);
        }
    }
    return mask;
}

cv::Mat blobs(int width, int height)
{
    return maskOf(width, height, test::blobAt);
}

cv::Mat outlines(int width, int height)
{
    return maskOf(width, height, test::outlineAt);
}

cv::Mat scene(int width, int height)
{
    cv::Mat image(height, width, CV_8UC1);
    test::drawScene(image.data, static_cast<uint32_t>(width), static_cast<uint32_t>(height), image.step);
    return image;
}

Work nonZero(int width, int height)
{
    std::vector<cv::Point> points;
    return [src = blobs(width, height), points]() mutable { cv::findNonZero(src, points); };
}

template <int connectivity>
Work components(int width, int height)
{
    return [src = blobs(width, height), labels = cv::Mat(), stats = cv::Mat(), centres = cv::Mat()]() mutable
    { cv::connectedComponentsWithStats(src, labels, stats, centres, connectivity, CV_32S); };
}

template <int mode, int method>
Work contours(int width, int height)
{
    std::vector<std::vector<cv::Point>> chains;
    std::vector<cv::Vec4i> links;
    return [src = blobs(width, height), chains, links]() mutable
    { cv::findContours(src, chains, links, mode, method); };
}

Work measures(int /*width*/, int /*height*/)
{
    std::vector<cv::Point> points(1000);
    cv::randu(points, 0, 600);
    return [points]
    {
        // A sum that shows nowhere, yet has to be made.
        volatile double sum = cv::arcLength(points, true) + cv::contourArea(points, true);
        sum = sum + cv::boundingRect(points).width;
    };
}

template <int type, int mask>
Work distances(int width, int height)
{
    return [src = blobs(width, height), dst = cv::Mat()]() mutable { cv::distanceTransform(src, dst, type, mask); };
}

template <int connectivity>
Work fill(int width, int height)
{
    return [dst = blobs(width, height)]() mutable {
        cv::floodFill(dst, {0, 0}, 0, nullptr, 1, 1, connectivity | cv::FLOODFILL_FIXED_RANGE);
    };
}

Work floating(int width, int height)
{
    return [dst = blobs(width, height)]() mutable { cv::floodFill(dst, {0, 0}, 0, nullptr, 1, 1, 8); };
}

Work peaks(int width, int height)
{
    const cv::Mat window(11, 11, CV_8UC1, cv::Scalar(1));
    return [=, src = scene(width, height), dilated = cv::Mat(), equal = cv::Mat(),
            points = std::vector<cv::Point>()]() mutable
    {
        cv::dilate(src, dilated, window);
        equal = (src == dilated) & (src > 20);
        cv::findNonZero(equal, points);
    };
}

Work mser(int width, int height)
{
    const auto detector = cv::MSER::create(5, 30, 14030, 0.25, 0.2);
    return [=, src = scene(width, height), regions = std::vector<std::vector<cv::Point>>(),
            boxes = std::vector<cv::Rect>()]() mutable { detector->detectRegions(src, regions, boxes); };
}

Work lines(int width, int height)
{
    return [src = outlines(width, height), found = std::vector<cv::Vec3f>()]() mutable
    { cv::HoughLines(src, found, 1, CV_PI / 180, 100); };
}

Work circles(int width, int height)
{
    return [src = blobs(width, height), found = std::vector<cv::Vec3f>()]() mutable
    { cv::HoughCircles(src, found, cv::HOUGH_GRADIENT, 2, 20, 100, 30, 8, 30); };
}

Work segments(int width, int height)
{
    const auto detector = cv::createLineSegmentDetector();
    return [=, src = scene(width, height), found = std::vector<cv::Vec4f>()]() mutable
    { detector->detect(src, found); };
}

Work board(int width, int height)
{
    constexpr int kSquare = 60;
    const cv::Size corners(std::clamp((width - 12) / kSquare, 2, 9), std::clamp((height - 12) / kSquare, 2, 9));
    cv::Mat image(height, width, CV_8UC1);
    for (int i = 0; i < width * height; ++i)
    {
        const int x = i % width + i / width / 9;
        const int y = i / width + i % width / 11;
        const bool isLight = (x / kSquare + y / kSquare) % 2 == 0 && x < kSquare * (corners.width + 1) &&
                             y < kSquare * (corners.height + 1);
        image.at<uint8_t>(i / width, i % width) = isLight ? 202 : 52;
    }
    return [=, found = std::vector<cv::Point2f>()]() mutable
    {
        if (cv::findChessboardCorners(image, corners, found))
        {
            cv::cornerSubPix(image, found, {5, 5}, {-1, -1}, {cv::TermCriteria::COUNT, 5, 0});
        }
    };
}

Work blobDetector(int width, int height)
{
    cv::SimpleBlobDetector::Params p;
    p.minThreshold = 10;
    p.maxThreshold = 230;
    p.thresholdStep = 20;
    p.minArea = 5;
    p.maxArea = 5000;
    p.minCircularity = 0.3f;
    p.filterByCircularity = true;
    p.minConvexity = 0.5f;
    p.filterByInertia = false;
    const auto detector = cv::SimpleBlobDetector::create(p);
    return [=, src = scene(width, height), found = std::vector<cv::KeyPoint>()]() mutable
    { detector->detect(src, found); };
}

template <int thickness, int type>
Work line(int width, int height)
{
    return [=, dst = cv::Mat(height, width, CV_8UC3, cv::Scalar(0, 0, 0))]() mutable {
        cv::line(dst, {3, 5}, {width - 9, height - 7}, {10, 20, 30}, thickness, type);
    };
}

std::vector<cv::Point> star(int width, int height)
{
    const std::vector<int32_t> xy = test::typicalStar(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    std::vector<cv::Point> points;
    for (size_t i = 0; i < xy.size(); i += 2)
    {
        points.emplace_back(xy[i], xy[i + 1]);
    }
    return points;
}

Work polyline(int width, int height)
{
    return [points = star(width, height), dst = cv::Mat(height, width, CV_8UC3, cv::Scalar(0, 0, 0))]() mutable {
        cv::polylines(dst, points, true, {10, 20, 30});
    };
}

Work polygon(int width, int height)
{
    return [points = star(width, height), dst = cv::Mat(height, width, CV_8UC3, cv::Scalar(0, 0, 0))]() mutable {
        cv::fillPoly(dst, points, {10, 20, 30});
    };
}

Work ellipse(int width, int height)
{
    return [=, dst = cv::Mat(height, width, CV_8UC3, cv::Scalar(0, 0, 0))]() mutable {
        cv::ellipse(dst, {width / 2, width / 2}, {width / 2, width / 6}, 30, 10, 222, {10, 20, 30});
    };
}

const RegisterPeers openCvShapes({
    {"vsrFindNonZerou8", "", "OpenCV", nonZero},
    {"vsrFindConnectedComponentsu8/4", "", "OpenCV", components<4>},
    {"vsrFindConnectedComponentsu8/8", "", "OpenCV", components<8>},
    {"vsrFindContoursu8/full", "", "OpenCV", contours<cv::RETR_TREE, cv::CHAIN_APPROX_NONE>},
    {"vsrFindContoursu8/corners", "", "OpenCV", contours<cv::RETR_TREE, cv::CHAIN_APPROX_SIMPLE>},
    {"vsrFindOuterContoursu8/full", "", "OpenCV", contours<cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE>},
    {"vsrFindOuterContoursu8/corners", "", "OpenCV", contours<cv::RETR_EXTERNAL, cv::CHAIN_APPROX_SIMPLE>},
    {"vsrContourMeasures32", "", "OpenCV", measures},
    {"vsrDistanceTransformL1u8u16", "", "OpenCV", distances<cv::DIST_L1, cv::DIST_MASK_3>},
    {"vsrDistanceTransformL2u8f32", "", "OpenCV", distances<cv::DIST_L2, cv::DIST_MASK_PRECISE>},
    {"vsrFloodFillu8/4", "", "OpenCV", fill<4>},
    {"vsrFloodFillu8/8", "", "OpenCV", fill<8>},
    {"vsrFloodFillu8/floating", "", "OpenCV", floating},
    {"vsrFindPeaksu8", "", "OpenCV", peaks},
    {"vsrMserDetectu8", "", "OpenCV", mser},
    {"vsrHoughLinesu8", "", "OpenCV", lines},
    {"vsrHoughCirclesu8", "", "OpenCV", circles},
    {"vsrFindLineSegmentsu8", "", "OpenCV", segments},
    {"vsrCheckerboardCornersu8", "", "OpenCV", board},
    {"vsrFindBlobsu8", "", "OpenCV", blobDetector},
    {"vsrDrawLineu8/thin", "", "OpenCV", line<1, cv::LINE_8>},
    {"vsrDrawLineu8/thick", "", "OpenCV", line<9, cv::LINE_8>},
    {"vsrDrawLineu8/smooth", "", "OpenCV", line<1, cv::LINE_AA>},
    {"vsrDrawPolylineu8", "", "OpenCV", polyline},
    {"vsrFillPolygonu8", "", "OpenCV", polygon},
    {"vsrDrawEllipseu8", "", "OpenCV", ellipse},
});

// ---- What is to be equal ----

void expect(bool isEqual, const char* what)
{
    std::printf("%s %s\n", what, isEqual ? "equal those of OpenCV" : "DIFFER from those of OpenCV");
    if (!isEqual)
    {
        std::exit(1);
    }
}

void compare()
{
    constexpr int kWidth = 641;
    constexpr int kHeight = 480;
    constexpr uint32_t kPixels = kWidth * kHeight;
    const cv::Mat mask = blobs(kWidth, kHeight);

    std::vector<cv::Point> set;
    cv::findNonZero(mask, set);
    std::vector<uint32_t> xy(8 * kPixels);
    uint32_t count = 0;
    vsrFindNonZerou8(mask.data, kWidth, kHeight, 0, xy.data(), kPixels, &count);
    const auto isAt = [&, i = size_t{0}](const cv::Point& p) mutable
    {
        i += 2;
        return xy[i - 2] == static_cast<uint32_t>(p.x) && xy[i - 1] == static_cast<uint32_t>(p.y);
    };
    expect(count == set.size() && std::all_of(set.begin(), set.end(), isAt), "pixels that are not 0");

    cv::Mat labels;
    cv::connectedComponents(mask, labels, 4, CV_32S);
    std::vector<uint32_t> own(kPixels);
    vsrFindConnectedComponentsu8(mask.data, kWidth, kHeight, 0, 4, own.data(), 0, nullptr, 0, &count);
    expect(std::equal(own.begin(), own.end(), labels.begin<int>(),
                      [](uint32_t a, int b) { return a == static_cast<uint32_t>(b); }),
           "labels of components");

    std::vector<std::vector<cv::Point>> theirs;
    cv::findContours(mask, theirs, cv::RETR_TREE, cv::CHAIN_APPROX_NONE);
    std::vector<uint32_t> lengths(kPixels);
    std::vector<vsrContourLinks> links(kPixels);
    std::vector<int32_t> points(8 * kPixels);
    uint32_t numPoints = 0;
    vsrFindContoursu8(mask.data, kWidth, kHeight, 0, VISORA_CHAIN_FULL, lengths.data(), links.data(), kPixels, &count,
                      points.data(), 4 * kPixels, &numPoints);
    std::vector<std::vector<cv::Point>> chains;
    bool areAreasEqual = true;
    const int32_t* at = points.data();
    for (uint32_t i = 0; i < count; ++i)
    {
        vsrContourMeasure measure{};
        vsrContourMeasures32(at, lengths[i], &measure);
        chains.emplace_back();
        for (uint32_t k = 0; k < lengths[i]; ++k, at += 2)
        {
            chains.back().emplace_back(at[0], at[1]);
        }
        const cv::Rect box = cv::boundingRect(chains.back());
        areAreasEqual =
            areAreasEqual && cv::contourArea(chains.back(), true) == measure.area &&
            box == cv::Rect(measure.x, measure.y, static_cast<int>(measure.width), static_cast<int>(measure.height));
    }
    const auto isBefore = [](const auto& a, const auto& b)
    {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                            [](const cv::Point& p, const cv::Point& q)
                                            { return p.y != q.y ? p.y < q.y : p.x < q.x; });
    };
    std::sort(chains.begin(), chains.end(), isBefore);
    std::sort(theirs.begin(), theirs.end(), isBefore);
    expect(chains == theirs, "chains of contours");
    expect(areAreasEqual, "areas and boxes of contours");

    cv::Mat cityBlock;
    cv::Mat euclidean;
    cv::distanceTransform(mask, cityBlock, cv::DIST_L1, cv::DIST_MASK_3);
    cv::distanceTransform(mask, euclidean, cv::DIST_L2, cv::DIST_MASK_PRECISE);
    std::vector<uint16_t> l1(kPixels);
    std::vector<float> l2(kPixels);
    vsrDistanceTransformL1u8u16(mask.data, kWidth, kHeight, 0, l1.data(), 0);
    vsrDistanceTransformL2u8f32(mask.data, kWidth, kHeight, 0, l2.data(), 0);
    expect(std::equal(l1.begin(), l1.end(), cityBlock.begin<float>()), "city-block distances");
    expect(std::equal(l2.begin(), l2.end(), euclidean.begin<float>()), "Euclidean distances");

    cv::Mat filled = scene(kWidth, kHeight);
    cv::Mat ownFilled = filled.clone();
    cv::Rect box;
    const int area = cv::floodFill(filled, {kWidth / 2, kHeight / 2}, 7, &box, 9, 12, 8 | cv::FLOODFILL_FIXED_RANGE);
    uint32_t ownBox[4] = {};
    vsrFloodFillu8(ownFilled.data, kWidth, kHeight, 0, kWidth / 2, kHeight / 2, 7, 9, 12, 8, 0, &count, ownBox);
    expect(static_cast<uint32_t>(area) == count && cv::countNonZero(filled != ownFilled) == 0 &&
               box == cv::Rect(static_cast<int>(ownBox[0]), static_cast<int>(ownBox[1]), static_cast<int>(ownBox[2]),
                               static_cast<int>(ownBox[3])),
           "fills");

    cv::Mat drawn(kHeight, kWidth, CV_8UC1, cv::Scalar(0));
    cv::Mat ownDrawn = drawn.clone();
    test::Random random(1);
    const uint8_t color = 255;
    for (int i = 0; i < 500; ++i)
    {
        const auto any = [&](int size)
        { return static_cast<int32_t>(random.between(0, static_cast<uint32_t>(size) - 1)); };
        const int32_t x0 = any(kWidth);
        const int32_t y0 = any(kHeight);
        const int32_t x1 = any(kWidth);
        const int32_t y1 = any(kHeight);
        cv::line(drawn, {x0, y0}, {x1, y1}, 255);
        vsrDrawLineu8(ownDrawn.data, kWidth, kHeight, 0, 1, x0, y0, x1, y1, &color, 1, 0);
    }
    expect(cv::countNonZero(drawn != ownDrawn) == 0, "thin lines");
}

const RegisterReports equalities({{"vsrFindContoursu8", compare}});
#endif

}  // namespace
}  // namespace visora::bench
