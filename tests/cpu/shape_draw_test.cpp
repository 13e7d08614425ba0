// Drawing and votes for lines: judged pixel by pixel by the rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <set>

#include "cpu/visoraDegrees.h"
#include "operations/shape.h"
#include "support/images.h"

namespace visora::test
{
namespace
{

constexpr int kSide = 48;

struct Point
{
    int64_t x, y;
};

Point anyPoint(Random& random)
{
    const int reach = random.oneIn(10) ? 30000 : 60;
    const auto any = [&]
    { return static_cast<int64_t>(random.between(0, static_cast<uint32_t>(2 * reach))) - reach + kSide / 2; };
    return {any(), any()};
}

Image drawn(Point a, Point b, uint32_t thickness, uint32_t antialias)
{
    Image image(kSide * kSide, 10);
    const uint8_t color = 210;
    EXPECT_EQ(0u, vsrDrawLineu8(image.data(), kSide, kSide, 0, 1, static_cast<int32_t>(a.x), static_cast<int32_t>(a.y),
                                static_cast<int32_t>(b.x), static_cast<int32_t>(b.y), &color, thickness, antialias));
    return image;
}

TEST(Degrees, AreThoseOfTheCircle)
{
    for (int i = -2000; i <= 2000; ++i)
    {
        const double degrees = i * 0.7;
        const SineAndCosine at = sineAndCosine(degrees);
        EXPECT_NEAR(std::sin(degrees * M_PI / 180), at.sine, 1e-14 * (1 + std::abs(i)));
        EXPECT_NEAR(std::cos(degrees * M_PI / 180), at.cosine, 1e-14 * (1 + std::abs(i)));
        EXPECT_NEAR(0, std::remainder(degrees - angleOf(at.sine, at.cosine), 360), 2e-11);
    }
    EXPECT_EQ(0, angleOf(0, 0));
    EXPECT_EQ(180, angleOf(0, -1));
    EXPECT_EQ(-90, angleOf(-2, 0));
    for (const auto& [x, y] : {std::pair(1.0, 0.0), {0.6, 0.8}, {0.8, -0.6}, {0.0, 1.0}})
    {
        const UnitVector v = mainDirection(5 * x * x + 1, 5 * x * y, 5 * y * y + 1);
        EXPECT_NEAR(x, v.x, 1e-15);
        EXPECT_NEAR(y, v.y, 1e-15);
    }
}

TEST(Lines, HaveThePixelsOfTheirRule)
{
    Random random(1);
    for (int round = 0; round < 600; ++round)
    {
        const Point a = anyPoint(random);
        const Point b = round % 20 == 0 ? a : anyPoint(random);
        const auto thickness = random.between(2, round % 2 == 0 ? 6 : 60);
        const Image thick = drawn(a, b, thickness, 0);
        const Image smooth = drawn(a, b, thickness - 1, 1);
        const Image thin = drawn(a, b, 1, 0);
        const int64_t ex = b.x - a.x;
        const int64_t ey = b.y - a.y;
        const int64_t length = ex * ex + ey * ey;
        std::set<std::pair<int64_t, int64_t>> steps;
        const bool isBackward = ex < 0;
        const Point from = isBackward ? b : a;
        const int64_t dy = isBackward ? -ey : ey;
        const int64_t longer = std::max(std::abs(ex), std::abs(ey));
        const int64_t shorter = std::min(std::abs(ex), std::abs(ey));
        for (int64_t k = 0; k <= longer; ++k)
        {
            const int64_t aside = longer == 0 ? 0 : (2 * k * shorter + longer - 1) / (2 * longer);
            const bool isFlat = std::abs(ex) >= std::abs(ey);
            const int64_t v = isFlat ? aside : k;
            steps.insert({from.x + (isFlat ? k : aside), from.y + (dy < 0 ? -v : v)});
        }
        for (int64_t y = 0; y < kSide; ++y)
        {
            for (int64_t x = 0; x < kSide; ++x)
            {
                const size_t i = static_cast<size_t>(y * kSide + x);
                ASSERT_EQ(steps.count({x, y}) != 0 ? 210 : 10, thin[i]) << round;
                const int64_t wx = x - a.x;
                const int64_t wy = y - a.y;
                const int64_t s = wx * ex + wy * ey;
                const int64_t c = ex * wy - ey * wx;
                const int64_t t2 = int64_t{thickness} * thickness;
                const int64_t toB = (x - b.x) * (x - b.x) + (y - b.y) * (y - b.y);
                const bool isNear = s <= 0        ? 4 * (wx * wx + wy * wy) <= t2
                                    : s >= length ? 4 * toB <= t2
                                                  : std::abs(c) < 1 << 24 && 4 * c * c <= t2 * length;
                ASSERT_EQ(isNear ? 210 : 10, thick[i]) << round << " " << x << " " << y;
                const float d = std::sqrt(s <= 0        ? static_cast<float>(wx * wx + wy * wy)
                                          : s >= length ? static_cast<float>(toB)
                                                        : static_cast<float>(c) * static_cast<float>(c) /
                                                              static_cast<float>(length));
                const float share = std::min(1.0f, (static_cast<float>(thickness - 1) * 0.5f + 0.5f) - d);
                const int part = share > 0 ? static_cast<int>(share * 256 + 0.5f) : 0;
                ASSERT_EQ(10 + ((200 * part + 128) >> 8), smooth[i]) << round << " " << x << " " << y;
            }
        }
    }
}

TEST(Polygons, HaveWhatIsInsideOrOnTheirEdges)
{
    Random random(2);
    for (int round = 0; round < 400; ++round)
    {
        std::vector<int32_t> xy;
        std::vector<uint32_t> lengths;
        const uint32_t chains = random.between(0, 3);
        for (uint32_t i = 0; i < chains; ++i)
        {
            lengths.push_back(random.between(0, round % 2 == 0 ? 4 : 9));
            for (uint32_t k = 0; k < lengths.back(); ++k)
            {
                const Point p = anyPoint(random);
                // Few places, so that edges meet and coincide.
                const int64_t grid = round % 3 == 0 ? 12 : 1;
                xy.push_back(static_cast<int32_t>(p.x / grid * grid));
                xy.push_back(static_cast<int32_t>(p.y / grid * grid));
            }
        }
        xy.push_back(0);
        lengths.push_back(0);
        Image image(kSide * kSide);
        const uint8_t color = 1;
        ASSERT_EQ(0u, vsrFillPolygonu8(image.data(), kSide, kSide, 0, 1, xy.data(), lengths.data(), chains, &color));
        for (int64_t i = 0; i < kSide * kSide; ++i)
        {
            const int64_t x = i % kSide;
            const int64_t y = i / kSide;
            bool isInside = false;
            bool isOnEdge = false;
            const int32_t* points = xy.data();
            for (uint32_t chain = 0; chain < chains; points += 2 * size_t{lengths[chain]}, ++chain)
            {
                for (uint32_t k = 0; k < lengths[chain]; ++k)
                {
                    const uint32_t next = k + 1 < lengths[chain] ? k + 1 : 0;
                    const Point a = {points[2 * k], points[2 * k + 1]};
                    const Point b = {points[2 * next], points[2 * next + 1]};
                    const int64_t c = (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
                    isOnEdge = isOnEdge || (c == 0 && x >= std::min(a.x, b.x) && x <= std::max(a.x, b.x) &&
                                            y >= std::min(a.y, b.y) && y <= std::max(a.y, b.y));
                    // A ray to the west crosses the edge.
                    if (std::min(a.y, b.y) <= y && y < std::max(a.y, b.y))
                    {
                        isInside ^= b.y > a.y ? c < 0 : c > 0;
                    }
                }
            }
            ASSERT_EQ(isInside || isOnEdge ? 1 : 0, image[static_cast<size_t>(i)]) << round << " " << x << " " << y;
        }
    }
}

TEST(Polygons, OfContoursAreTheirRegionsAgain)
{
    Random random(3);
    for (int round = 0; round < 60; ++round)
    {
        Image mask(kSide * kSide);
        const uint32_t cell = random.between(5, 20);
        for (uint32_t i = 0; i < mask.size(); ++i)
        {
            mask[i] = round % 2 == 0 ? blobAt(i % kSide, i / kSide, cell)
                                     : static_cast<uint8_t>(random.between(0, 3) != 0 ? 255 : 0);
        }
        for (const uint32_t chain : {VISORA_CHAIN_FULL, VISORA_CHAIN_CORNERS})
        {
            std::vector<uint32_t> lengths(kSide * kSide);
            std::vector<vsrContourLinks> links(lengths.size());
            std::vector<int32_t> xy(8 * lengths.size());
            uint32_t contours = 0;
            uint32_t points = 0;
            ASSERT_EQ(0u, vsrFindContoursu8(mask.data(), kSide, kSide, 0, chain, lengths.data(), links.data(),
                                            kSide * kSide, &contours, xy.data(), 4 * kSide * kSide, &points));
            Image again(mask.size());
            const uint8_t color = 255;
            ASSERT_EQ(0u,
                      vsrFillPolygonu8(again.data(), kSide, kSide, 0, 1, xy.data(), lengths.data(), contours, &color));
            ASSERT_EQ(mask, again);
        }
    }
}

TEST(Ellipses, AreWhereTheyShouldBe)
{
    Image image(200 * 200 * 3);
    const uint8_t color[] = {1, 2, 3};
    const vsrEllipse ellipse = {100, 90, 70, 30, 25};
    const auto distance = [&](double x, double y)
    {
        const double turn = ellipse.angle * M_PI / 180;
        const double u = ((x - 100) * std::cos(turn) + (y - 90) * std::sin(turn)) / 70;
        const double v = ((y - 90) * std::cos(turn) - (x - 100) * std::sin(turn)) / 30;
        return std::pair(std::sqrt(u * u + v * v), std::atan2(v, u) * 180 / M_PI);
    };
    struct Case
    {
        float start, end;
        uint32_t thickness;
    };
    for (const Case& c : {Case{0, 360, 1}, Case{-30, 75, 1}, Case{0, 360, 0}, Case{-30, 75, 0}, Case{0, 400, 3}})
    {
        std::fill(image.begin(), image.end(), uint8_t{0});
        ASSERT_EQ(0u, vsrDrawEllipseu8(image.data(), 200, 200, 0, 3, &ellipse, c.start, c.end, color, c.thickness));
        for (size_t i = 0; i < 200 * 200; ++i)
        {
            const auto [r, angle] = distance(static_cast<double>(i % 200), static_cast<double>(i / 200));
            const bool isInArc = c.end - c.start >= 360 || (angle > c.start + 3 && angle < c.end - 3);
            const bool isOutOfArc = c.end - c.start < 360 && (angle < c.start - 3 || angle > c.end + 3);
            const double near = c.thickness == 3 ? 0.1 : 0.06;
            const bool isSet = image[3 * i] != 0;
            ASSERT_TRUE(!isSet || (image[3 * i] == 1 && image[3 * i + 1] == 2 && image[3 * i + 2] == 3));
            if (c.thickness == 0)
            {
                ASSERT_TRUE(isSet || r > 1 - near || r < 0.1 || !isInArc) << i;
                ASSERT_TRUE(!isSet || (r < 1 + near && (!isOutOfArc || r < 0.1))) << i;
            }
            else
            {
                ASSERT_TRUE(!isSet || (std::abs(r - 1) < near && !isOutOfArc)) << i;
                ASSERT_TRUE(isSet || std::abs(r - 1) > 0.002 || !isInArc) << i;
            }
        }
    }
    // A point, and one far away.
    std::fill(image.begin(), image.end(), uint8_t{0});
    const vsrEllipse dot = {5.4f, 5.6f, 0, 0, 0};
    const vsrEllipse far = {-16383, 16383, 16383, 16383, 1e30f};
    ASSERT_EQ(0u, vsrDrawEllipseu8(image.data(), 200, 200, 0, 3, &dot, 3, 3, color, 1));
    EXPECT_EQ(1, std::count(image.begin(), image.end(), 1));
    EXPECT_EQ(1, image[3 * (6 * 200 + 5)]);
    ASSERT_EQ(0u, vsrDrawEllipseu8(image.data(), 200, 200, 0, 3, &far, -1e30f, 1e30f, color, 255));
}

// The polyline of the points that the rule gives, each worked out by itself.
TEST(Ellipses, AreThePolylinesOfTheirPoints)
{
    Random random(11);
    const uint8_t color = 9;
    for (int round = 0; round < 200; ++round)
    {
        const auto any = [&](double least, double most)
        { return static_cast<float>(least + (most - least) * random.between(0, 4096) / 4096); };
        const vsrEllipse e = {any(-20, 140), any(-20, 140), any(0, 90), round % 3 == 0 ? 32 : any(0, 90),
                              any(-400, 400)};
        const float start = any(-800, 800);
        const float end = start + any(0, round % 2 == 0 ? 359 : 720);
        const double n = 8 * std::max(1.0, std::ceil(static_cast<double>(std::max(e.radiusA, e.radiusB))));
        const double span = static_cast<double>(end) - start;
        const double m = span >= 360 ? n : std::max(1.0, std::ceil(n * span / 360));
        const SineAndCosine turn = sineAndCosine(e.angle);
        std::vector<int32_t> xy;
        for (double k = 0; k < m + (span >= 360 ? 0 : 1); k += 1)
        {
            const SineAndCosine at = sineAndCosine(span >= 360 ? 360.0 * k / n : start + span * k / m);
            const double a = e.radiusA, b = e.radiusB;
            xy.push_back(
                static_cast<int32_t>(std::floor(e.cx + (a * at.cosine * turn.cosine - b * at.sine * turn.sine) + 0.5)));
            xy.push_back(
                static_cast<int32_t>(std::floor(e.cy + (a * at.cosine * turn.sine + b * at.sine * turn.cosine) + 0.5)));
        }
        const auto length = static_cast<uint32_t>(xy.size() / 2);
        for (const uint32_t thickness : {1u, 4u})
        {
            Image expected(120 * 120), found(expected);
            ASSERT_EQ(0u, vsrDrawPolylineu8(expected.data(), 120, 120, 0, 1, xy.data(), &length, 1, span >= 360 ? 1 : 0,
                                            &color, thickness, 0));
            ASSERT_EQ(0u, vsrDrawEllipseu8(found.data(), 120, 120, 0, 1, &e, start, end, &color, thickness));
            ASSERT_EQ(expected, found) << round;
        }
    }
}

TEST(HoughLines, FindsTheLinesThatWereDrawn)
{
    // A thin line has its votes in one cell; the order is by votes.
    Image mask(300 * 200);
    const uint8_t color = 255;
    ASSERT_EQ(0u, vsrDrawLineu8(mask.data(), 300, 200, 0, 1, 0, 40, 299, 40, &color, 1, 0));
    ASSERT_EQ(0u, vsrDrawLineu8(mask.data(), 300, 200, 0, 1, 70, 0, 70, 199, &color, 1, 0));
    ASSERT_EQ(0u, vsrDrawLineu8(mask.data(), 300, 200, 0, 1, 120, 20, 220, 120, &color, 1, 0));
    float lines[20] = {};
    uint32_t votes[10] = {};
    uint32_t count = 0;
    ASSERT_EQ(0u, vsrHoughLinesu8(mask.data(), 300, 200, 0, 1, 1, 90, lines, votes, 10, &count));
    ASSERT_EQ(3u, count);
    const float expected[][2] = {{40, 90}, {70, 0}, {-71, 135}};
    // The steep one has a pixel of the first line besides its own.
    const uint32_t pixels[] = {300, 200, 102};
    for (size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(expected[i][0], lines[2 * i]);
        EXPECT_EQ(expected[i][1], lines[2 * i + 1]);
        EXPECT_EQ(pixels[i], votes[i]);
    }
    // All cells together have a vote for each pixel and angle: with a threshold of 0 and one angle all are listed that
    // are peaks along the distance.
    ASSERT_EQ(0u, vsrHoughLinesu8(mask.data(), 300, 200, 0, 1000, 90, 0, lines, votes, 10, &count));
    EXPECT_EQ(1u, count);
    EXPECT_EQ(300u + 200u - 1u + 101u - 1u, votes[0]);
}

TEST(Drawing, RefusesWhatIsOutsideItsRange)
{
    Image image(400);
    const uint8_t color[4] = {};
    std::vector<int32_t> xy = {0, 0, 5, 5, 9, 1};
    const std::vector<uint32_t> lengths = {3};
    vsrEllipse ellipse = {5, 5, 5, 5, 5};
    const auto line = [&](uint32_t channels, int32_t x, uint32_t thickness)
    { return vsrDrawLineu8(image.data(), 10, 10, 0, channels, x, 0, 0, -32768, color, thickness, 1); };
    const auto polyline = [&](uint32_t thickness)
    { return vsrDrawPolylineu8(image.data(), 10, 10, 0, 4, xy.data(), lengths.data(), 1, 1, color, thickness, 0); };
    const auto fill = [&] { return vsrFillPolygonu8(image.data(), 10, 10, 0, 4, xy.data(), lengths.data(), 1, color); };
    const auto round = [&](float start, float end, uint32_t thickness)
    { return vsrDrawEllipseu8(image.data(), 10, 10, 0, 4, &ellipse, start, end, color, thickness); };
    EXPECT_EQ(0u, line(4, 32767, 255));
    EXPECT_EQ(3u, line(5, 0, 1));
    EXPECT_EQ(3u, line(0, 0, 1));
    EXPECT_EQ(3u, line(1, 32768, 1));
    EXPECT_EQ(3u, line(1, -32769, 1));
    EXPECT_EQ(3u, line(1, 0, 0));
    EXPECT_EQ(3u, line(1, 0, 256));
    EXPECT_EQ(0u, polyline(255));
    EXPECT_EQ(3u, polyline(0));
    EXPECT_EQ(0u, fill());
    EXPECT_EQ(0u, round(0, 360, 0));
    EXPECT_EQ(3u, round(1, 0, 0));
    EXPECT_EQ(3u, round(0, NAN, 0));
    EXPECT_EQ(3u, round(-INFINITY, 0, 0));
    EXPECT_EQ(3u, round(0, 360, 256));
    xy[5] = 32768;
    EXPECT_EQ(3u, polyline(1));
    EXPECT_EQ(3u, fill());
    for (float* member : {&ellipse.cx, &ellipse.cy, &ellipse.radiusA, &ellipse.radiusB, &ellipse.angle})
    {
        const float before = *member;
        for (const float bad : {NAN, INFINITY, member == &ellipse.angle ? NAN : 16384.0f,
                                member == &ellipse.radiusA || member == &ellipse.radiusB ? -1.0f : NAN})
        {
            *member = bad;
            EXPECT_EQ(3u, round(0, 360, 1));
        }
        *member = before;
    }
    float lines[2] = {};
    uint32_t votes = 0;
    uint32_t count = 0;
    for (const auto& [rho, theta] :
         {std::pair(0.09f, 1.0f), {1001.0f, 1.0f}, {1.0f, 0.04f}, {1.0f, 91.0f}, {NAN, 1.0f}})
    {
        EXPECT_EQ(3u, vsrHoughLinesu8(image.data(), 10, 10, 0, rho, theta, 0, lines, &votes, 1, &count));
    }
}

}  // namespace
}  // namespace visora::test
