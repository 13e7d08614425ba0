// Known answers and properties of sets of points.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/random.h"
#include "visora/points.h"

namespace visora::test
{
namespace
{

using Points = std::vector<float>;

Points randomPoints(size_t count, uint32_t range, uint64_t seed)
{
    Random random(seed);
    Points points(2 * count);
    std::generate(points.begin(), points.end(), [&] { return static_cast<float>(random.between(0, range)); });
    return points;
}

uint32_t countOf(const Points& points)
{
    return static_cast<uint32_t>(points.size() / 2);
}

double cross(const float* a, const float* b, const float* p)
{
    return (double{b[0]} - a[0]) * (double{p[1]} - a[1]) - (double{b[1]} - a[1]) * (double{p[0]} - a[0]);
}

TEST(PointSets, HullsHaveAllPointsOnTheirLeft)
{
    for (const uint32_t range : {3u, 50u, 100000u})
    {
        const Points points = randomPoints(300, range, range);
        Points hull(points.size());
        std::vector<uint32_t> indices(300);
        uint32_t n = 0;
        ASSERT_EQ(0u, vsrConvexHullf32(points.data(), 300, hull.data(), indices.data(), &n));
        ASSERT_GE(n, 3u);
        for (uint32_t k = 0; k < n; ++k)
        {
            const float* a = &hull[size_t{2} * k];
            const float* b = &hull[size_t{2} * ((k + 1) % n)];
            EXPECT_GT(cross(a, b, &hull[size_t{2} * ((k + 2) % n)]), 0) << k;
            EXPECT_TRUE(std::equal(a, a + 2, &points[size_t{2} * indices[k]]));
            for (size_t i = 0; i < points.size(); i += 2)
            {
                EXPECT_GE(cross(a, b, &points[i]), 0) << k << " " << i;
                EXPECT_TRUE(points[i] != a[0] || points[i + 1] != a[1] || i / 2 >= indices[k]);
            }
        }
    }
}

TEST(PointSets, BoxesAndCirclesHoldAllPointsAndAreSmall)
{
    const Points points = randomPoints(200, 1000, 1);
    vsrRotatedBox box;
    float circle[3];
    ASSERT_EQ(0u, vsrMinAreaRectf32(points.data(), 200, &box));
    ASSERT_EQ(0u, vsrMinEnclosingCirclef32(points.data(), 200, circle));
    const auto reach = [&](double degrees, double cx, double cy)
    {
        double most = 0;
        for (size_t i = 0; i < points.size(); i += 2)
        {
            const double radians = degrees * std::acos(-1) / 180;
            most = std::max(most,
                            std::fabs((points[i] - cx) * std::cos(radians) + (points[i + 1] - cy) * std::sin(radians)));
        }
        return most;
    };
    EXPECT_NEAR(box.width / 2, reach(box.angle, box.cx, box.cy), 1e-2);
    EXPECT_NEAR(box.height / 2, reach(box.angle + 90, box.cx, box.cy), 1e-2);
    double farthest = 0;
    for (size_t i = 0; i < points.size(); i += 2)
    {
        farthest = std::max<double>(farthest, std::hypot(points[i] - circle[0], points[i + 1] - circle[1]));
    }
    EXPECT_NEAR(circle[2], farthest, 1e-2);
    // No other direction, and no other centre near by, is better.
    for (double degrees = 0; degrees < 90; degrees += 0.5)
    {
        double span[2];
        for (int side = 0; side < 2; ++side)
        {
            double low = 1e9, high = -1e9;
            for (size_t i = 0; i < points.size(); i += 2)
            {
                const double radians = (degrees + 90 * side) * std::acos(-1) / 180;
                const double at = points[i] * std::cos(radians) + points[i + 1] * std::sin(radians);
                low = std::min(low, at);
                high = std::max(high, at);
            }
            span[side] = high - low;
        }
        EXPECT_GE(span[0] * span[1] * (1 + 1e-6), double{box.width} * box.height) << degrees;
        double other = 0;
        for (size_t i = 0; i < points.size(); i += 2)
        {
            const double radians = 4 * degrees * std::acos(-1) / 180;
            other = std::max(other, std::hypot(points[i] - circle[0] - std::cos(radians),
                                               points[i + 1] - circle[1] - std::sin(radians)));
        }
        EXPECT_GT(other, circle[2]) << degrees;
    }
}

TEST(PointSets, LinesAndEllipsesAreFoundAgain)
{
    Points line, ellipse;
    for (int i = 0; i < 50; ++i)
    {
        line.insert(line.end(), {static_cast<float>(3 + 0.8 * i), static_cast<float>(10 - 0.6 * i)});
        const double t = i * 0.11;
        const double u = 30 * std::cos(t), v = 12 * std::sin(t);
        ellipse.insert(ellipse.end(),
                       {static_cast<float>(100 + 0.6 * u - 0.8 * v), static_cast<float>(50 + 0.8 * u + 0.6 * v)});
    }
    float found[4];
    ASSERT_EQ(0u, vsrFitLinef32(line.data(), 50, VISORA_LOSS_SQUARE, 0, found));
    EXPECT_NEAR(0.8, found[2], 1e-5);
    EXPECT_NEAR(-0.6, found[3], 1e-5);
    line[31] += 30;  // robust losses do not mind
    ASSERT_EQ(0u, vsrFitLinef32(line.data(), 50, VISORA_LOSS_HUBER, 0.5F, found));
    EXPECT_NEAR(-0.75, found[3] / found[2], 0.02);
    EXPECT_NEAR(0, (found[0] - 3) * 0.6 + (found[1] - 10) * 0.8, 1);

    vsrEllipse e;
    ASSERT_EQ(0u, vsrFitEllipsef32(ellipse.data(), 50, &e));
    EXPECT_NEAR(100, e.cx, 1e-2);
    EXPECT_NEAR(50, e.cy, 1e-2);
    EXPECT_NEAR(30, e.radiusA, 1e-2);
    EXPECT_NEAR(12, e.radiusB, 1e-2);
    EXPECT_NEAR(std::atan2(0.8, 0.6) * 180 / std::acos(-1), e.angle, 1e-2);
    const Points row = {0, 0, 1, 1, 2, 2, 3, 3, 4, 4};
    EXPECT_EQ(uint32_t{VISORA_EFAIL}, vsrFitEllipsef32(row.data(), 5, &e));
    EXPECT_EQ(0, e.radiusA);
}

TEST(PointSets, PolygonsContainWhatIsInThem)
{
    // An L, and points all over a grid.
    const Points polygon = {0, 0, 6, 0, 6, 2, 2, 2, 2, 6, 0, 6};
    Points points;
    for (int y = -2; y <= 14; ++y)
    {
        for (int x = -2; x <= 14; ++x)
        {
            points.insert(points.end(), {static_cast<float>(x) / 2, static_cast<float>(y) / 2});
        }
    }
    std::vector<int8_t> where(countOf(points));
    Points distances(where.size());
    ASSERT_EQ(0u,
              vsrPolygonContainsf32(polygon.data(), 6, points.data(), countOf(points), where.data(), distances.data()));
    for (size_t i = 0; i < where.size(); ++i)
    {
        const double x = points[2 * i], y = points[2 * i + 1];
        const auto isIn = [=](double margin) {
            return x > -margin && y > -margin && x < 6 + margin && y < 6 + margin && (x < 2 + margin || y < 2 + margin);
        };
        const int expected = isIn(-0.1) ? 1 : isIn(0.1) ? 0 : -1;
        EXPECT_EQ(expected, where[i]) << x << " " << y;
        EXPECT_EQ(expected == 0, distances[i] == 0);
        if (x <= 0 && y >= 0 && y <= 6)
        {
            EXPECT_EQ(x, distances[i]);
        }
    }
}

TEST(PointSets, SimplerPolygonsStayWithinEpsilon)
{
    Points circle;
    for (int i = 0; i < 360; ++i)
    {
        circle.insert(circle.end(), {static_cast<float>(100 * std::cos(i * 0.01745329)),
                                     static_cast<float>(100 * std::sin(i * 0.01745329))});
    }
    for (const uint32_t closed : {0u, 1u})
    {
        std::vector<uint32_t> indices(360);
        uint32_t count = 0;
        ASSERT_EQ(0u, vsrPolygonSimplifyf32(circle.data(), 360, 2, closed, nullptr, indices.data(), &count));
        EXPECT_GT(count, 10u);
        EXPECT_LT(count, 30u);
        EXPECT_TRUE(std::is_sorted(indices.begin(), indices.begin() + count));
        for (uint32_t k = 0; k + 1 < count; ++k)
        {
            for (uint32_t i = indices[k]; i <= indices[k + 1]; ++i)
            {
                const float* a = &circle[size_t{2} * indices[k]];
                const float* b = &circle[size_t{2} * indices[k + 1]];
                EXPECT_LE(std::fabs(cross(a, b, &circle[size_t{2} * i])) / std::hypot(b[0] - a[0], b[1] - a[1]),
                          2.0001);
            }
        }
    }
    const Points same = {1, 1, 1, 1, 1, 1};
    Points left(6);
    uint32_t count = 0;
    ASSERT_EQ(0u, vsrPolygonSimplifyf32(same.data(), 3, 0, 1, left.data(), nullptr, &count));
    EXPECT_EQ(1u, count);
    EXPECT_EQ(uint32_t{VISORA_EBADPARAM}, vsrPolygonSimplifyf32(same.data(), 3, -1, 1, left.data(), nullptr, &count));
    EXPECT_EQ(uint32_t{VISORA_EBADPARAM}, vsrPolygonSimplifyf32(same.data(), 3, 1, 1, nullptr, nullptr, &count));
}

// Sets of 100,000 points, and those that are a point, a line or four places only: all ends, and soon.
TEST(PointSets, EndOnLargeAndDegenerateSets)
{
    constexpr uint32_t kCount = 100000;
    constexpr double kRadius = 1000;
    struct Case
    {
        const char* name;
        std::vector<std::pair<double, double>> places;  // taken in turns
        uint32_t leastCorners, mostCorners;
        double width, height, radius;
        bool isEllipse;
    };
    std::vector<Case> cases = {{"one place", {{7, -3}}, 1, 1, 0, 0, 0, false},
                               {"a line", {}, 2, 2, 5 * (kCount - 1), 0, 2.5 * (kCount - 1), false},
                               {"four places", {{0, 0}, {8, 0}, {8, 6}, {0, 6}}, 4, 4, 8, 6, 5, true},
                               {"a circle", {}, 200, 2000, 2 * kRadius, 2 * kRadius, kRadius, true}};
    for (uint32_t i = 0; i < kCount; ++i)
    {
        const double turn = 2 * std::acos(-1) * i / kCount;
        cases[1].places.push_back({3.0 * i, 4.0 * i});
        cases[3].places.push_back({std::round(kRadius * std::cos(turn)), std::round(kRadius * std::sin(turn))});
    }
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        Points points;
        for (uint32_t i = 0; i < kCount; ++i)
        {
            // In an order of no meaning.
            const auto& place = c.places[size_t{i} * 7919 % kCount % c.places.size()];
            points.insert(points.end(), {static_cast<float>(place.first), static_cast<float>(place.second)});
        }
        std::vector<uint32_t> indices(kCount);
        uint32_t count = 0;
        vsrRotatedBox box;
        float circle[3], line[4];
        vsrEllipse ellipse;
        ASSERT_EQ(0u, vsrConvexHullf32(points.data(), kCount, nullptr, indices.data(), &count));
        EXPECT_TRUE(count >= c.leastCorners && count <= c.mostCorners) << count;
        ASSERT_EQ(0u, vsrMinAreaRectf32(points.data(), kCount, &box));
        EXPECT_NEAR(c.width, std::max(box.width, box.height), 3);
        EXPECT_NEAR(c.height, std::min(box.width, box.height), 3);
        ASSERT_EQ(0u, vsrMinEnclosingCirclef32(points.data(), kCount, circle));
        EXPECT_NEAR(c.radius, circle[2], 1);
        ASSERT_EQ(0u, vsrFitLinef32(points.data(), kCount, VISORA_LOSS_HUBER, 1, line));
        EXPECT_NEAR(1, std::hypot(line[2], line[3]), 1e-6);
        EXPECT_EQ(c.isEllipse ? VISORA_SUCCESS : VISORA_EFAIL, vsrFitEllipsef32(points.data(), kCount, &ellipse));
        for (const uint32_t closed : {0u, 1u})
        {
            ASSERT_EQ(0u, vsrPolygonSimplifyf32(points.data(), kCount, static_cast<float>(2 * c.radius + 1), closed,
                                                nullptr, indices.data(), &count));
            EXPECT_EQ(c.radius == 0 && closed != 0 ? 1u : 2u, count);
        }
        std::vector<int8_t> where(3);
        const Points places = {points[0], points[1], points[2], points[3], -1e6F, 1e6F};
        ASSERT_EQ(0u, vsrPolygonContainsf32(points.data(), kCount, places.data(), 3, where.data(), nullptr));
        EXPECT_EQ(std::vector<int8_t>({0, 0, -1}), where);
    }
}

}  // namespace
}  // namespace visora::test
