// Segments, circles, checkerboards and blobs: drawn ones are found where they are.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

#include "operations/shape.h"
#include "support/images.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kWidth = 320;
constexpr uint32_t kHeight = 240;

struct Point
{
    double x, y;
};

// A picture of a shape given by its coverage at a point, from sixteen points a pixel.
Image picture(const std::function<bool(double, double)>& isIn, uint8_t outside, uint8_t inside)
{
    Image image(kWidth * kHeight);
    for (size_t i = 0; i < image.size(); ++i)
    {
        int covered = 0;
        for (int k = 0; k < 16; ++k)
        {
            covered += isIn(static_cast<double>(i % kWidth) + (k % 4 - 1.5) / 4,
                            static_cast<double>(i / kWidth) + (k / 4 - 1.5) / 4)
                           ? 1
                           : 0;
        }
        image[i] = static_cast<uint8_t>(outside + (inside - outside) * covered / 16);
    }
    return image;
}

TEST(LineSegments, AreTheSidesOfATurnedSquare)
{
    const double turn = 0.3;
    const auto isIn = [=](double x, double y)
    {
        const double u = (x - 150) * std::cos(turn) + (y - 120) * std::sin(turn);
        const double v = (y - 120) * std::cos(turn) - (x - 150) * std::sin(turn);
        return std::abs(u) < 60 && std::abs(v) < 40;
    };
    for (const bool isBright : {false, true})
    {
        const Image image = picture(isIn, isBright ? 40 : 200, isBright ? 200 : 40);
        float segments[5 * 20] = {};
        uint32_t count = 0;
        ASSERT_EQ(0u,
                  vsrFindLineSegmentsu8(image.data(), kWidth, kHeight, 0, 30, 22.5f, 20, 0.5f, segments, 20, &count));
        ASSERT_EQ(4u, count);
        double total = 0;
        for (uint32_t i = 0; i < 4; ++i)
        {
            const float* s = segments + 5 * i;
            const double dx = s[2] - s[0];
            const double dy = s[3] - s[1];
            const double length = std::sqrt(dx * dx + dy * dy);
            total += length;
            EXPECT_LT(s[4], 4);
            // Both ends are on the square's outline; the middle's right hand side is the brighter one.
            const double middleX = (s[0] + s[2]) / 2;
            const double middleY = (s[1] + s[3]) / 2;
            const double rightX = middleX - dy / length * 4;
            const double rightY = middleY + dx / length * 4;
            EXPECT_EQ(isBright, isIn(rightX, rightY));
            EXPECT_NE(isBright, isIn(2 * middleX - rightX, 2 * middleY - rightY));
            const double u = (s[0] - 150) * std::cos(turn) + (s[1] - 120) * std::sin(turn);
            const double v = (s[1] - 120) * std::cos(turn) - (s[0] - 150) * std::sin(turn);
            EXPECT_LT(std::min(std::abs(std::abs(u) - 60), std::abs(std::abs(v) - 40)), 1.2);
        }
        EXPECT_NEAR(400, total, 14);
        ASSERT_EQ(0u, vsrFindLineSegmentsu8(image.data(), kWidth, 1, 0, 30, 22.5f, 20, 0.5f, segments, 20, &count));
        EXPECT_EQ(0u, count);
    }
}

TEST(HoughCircles, FindsDiscsAndTheirRadii)
{
    const std::vector<std::array<double, 3>> discs = {{80, 70, 33}, {200, 120, 52}, {270, 40, 18}};
    const Image image = picture(
        [&](double x, double y)
        {
            return std::any_of(discs.begin(), discs.end(),
                               [=](const auto& d) { return std::hypot(x - d[0], y - d[1]) < d[2]; });
        },
        30, 180);
    for (const uint32_t shift : {0u, 1u})
    {
        float circles[30] = {};
        uint32_t votes[10] = {};
        uint32_t count = 0;
        ASSERT_EQ(0u, vsrHoughCirclesu8(image.data(), kWidth, kHeight, 0, shift, 200, 45, 10, 60, 15, circles, votes,
                                        10, &count));
        ASSERT_EQ(3u, count);
        EXPECT_TRUE(std::is_sorted(std::begin(votes), std::begin(votes) + 3, std::greater<>()));
        for (const auto& disc : discs)
        {
            bool isFound = false;
            for (size_t i = 0; i < 3; ++i)
            {
                isFound = isFound || (std::hypot(circles[3 * i] - disc[0], circles[3 * i + 1] - disc[1]) < 2 &&
                                      std::abs(circles[3 * i + 2] - disc[2]) < 1.5);
            }
            EXPECT_TRUE(isFound) << disc[2];
        }
    }
}

TEST(Checkerboards, HaveTheirCornersInOrder)
{
    // Boards seen from different sides; the first corner is the one at the top left.
    for (const double turn : {0.0, 0.35, -0.5, 1.2, 2.0, 3.1})
    {
        constexpr uint32_t kColumns = 7;
        constexpr uint32_t kRows = 5;
        const auto toBoard = [=](double x, double y)
        {
            const double u = ((x - 160) * std::cos(turn) + (y - 120) * std::sin(turn)) / 18;
            const double v = ((y - 120) * std::cos(turn) - (x - 160) * std::sin(turn)) / 18;
            const double depth = 1 + 0.02 * u;
            return Point{u / depth, v / depth};
        };
        const Image image = picture(
            [=](double x, double y)
            {
                const Point p = toBoard(x, y);
                return std::abs(p.x) < 4 && std::abs(p.y) < 3 &&
                       (static_cast<int>(std::floor(p.x)) + static_cast<int>(std::floor(p.y))) % 2 == 0;
            },
            210, 40);
        float xy[2 * kColumns * kRows] = {};
        uint32_t count = 0;
        ASSERT_EQ(0u, vsrCheckerboardCornersu8(image.data(), kWidth, kHeight, 0, kColumns, kRows, xy, &count)) << turn;
        ASSERT_EQ(kColumns * kRows, count);
        for (uint32_t i = 0; i < count; ++i)
        {
            const Point p = toBoard(xy[2 * i], xy[2 * i + 1]);
            ASSERT_NEAR(std::round(p.x), p.x, 0.012) << turn << " " << i;
            ASSERT_NEAR(std::round(p.y), p.y, 0.012) << turn << " " << i;
            const uint32_t next = i + 1;
            if (next % kColumns != 0)
            {
                // Along the rows to the right, unless the board stands upright: then down.
                const float dx = xy[2 * next] - xy[2 * i];
                const float dy = xy[2 * next + 1] - xy[2 * i + 1];
                ASSERT_GT(std::abs(dx) >= std::abs(dy) ? dx : dy, 0) << turn;
                ASSERT_NEAR(1, std::abs(toBoard(xy[2 * next], xy[2 * next + 1]).x - p.x), 0.02);
            }
            if (i + kColumns < count)
            {
                const float* below = xy + 2 * (i + kColumns);
                ASSERT_NEAR(1, std::abs(toBoard(below[0], below[1]).y - p.y), 0.02);
                // Clockwise from a row to the next one.
                ASSERT_TRUE(next % kColumns == 0 ||
                            (xy[2 * next] - xy[2 * i]) * (below[1] - xy[2 * i + 1]) -
                                    (xy[2 * next + 1] - xy[2 * i + 1]) * (below[0] - xy[2 * i]) >
                                0);
            }
        }
        // Another size is not there, and leaves all but the count.
        const std::vector<float> before(std::begin(xy), std::end(xy));
        ASSERT_EQ(1u, vsrCheckerboardCornersu8(image.data(), kWidth, kHeight, 0, kRows, kRows, xy, &count));
        EXPECT_EQ(0u, count);
        EXPECT_TRUE(std::equal(before.begin(), before.end(), xy));
    }
    const Image flat(kWidth * kHeight, 9);
    float xy[8] = {};
    uint32_t count = 5;
    EXPECT_EQ(1u, vsrCheckerboardCornersu8(flat.data(), kWidth, kHeight, 0, 2, 2, xy, &count));
    EXPECT_EQ(0u, count);
}

TEST(Blobs, AreTheDiscsWithinTheLimits)
{
    struct Disc
    {
        double x, y, a, b;
    };
    // Round, long, and too small ones; one with a bite.
    const std::vector<Disc> discs = {
        {60, 60, 20, 20}, {150, 60, 44, 9}, {240, 60, 3, 3}, {60, 170, 30, 30}, {200, 170, 25, 25}};
    const Image image = picture(
        [&](double x, double y)
        {
            return std::any_of(discs.begin(), discs.end(),
                               [=](const Disc& d)
                               {
                                   const double u = (x - d.x) / d.a;
                                   const double v = (y - d.y) / d.b;
                                   return u * u + v * v < 1 && !(d.x == 200 && x > 195 && std::abs(y - 170) < 14);
                               });
        },
        220, 30);
    vsrBlobParameters parameters = {40, 200, 20, 0, 100, 100000, 0, 0, 8, 3};
    std::vector<vsrBlob> blobs(10);
    uint32_t count = 0;
    const auto find = [&](const Image& src)
    {
        count = 0;
        return vsrFindBlobsu8(src.data(), kWidth, kHeight, 0, &parameters, blobs.data(), 10, &count);
    };
    ASSERT_EQ(0u, find(image));
    EXPECT_EQ(4u, count);
    parameters.minRoundness = 0.8f;
    ASSERT_EQ(0u, find(image));
    ASSERT_EQ(2u, count);
    for (uint32_t i = 0; i < 2; ++i)
    {
        const Disc& disc = discs[i == 0 ? 0 : 3];
        EXPECT_NEAR(disc.x, blobs[i].x, 0.05);
        EXPECT_NEAR(disc.y, blobs[i].y, 0.05);
        EXPECT_NEAR(disc.a, blobs[i].radius, 0.5);
        EXPECT_EQ(9u, blobs[i].repeats);
    }
    parameters.minRoundness = 0;
    parameters.minConvexity = 0.95f;
    ASSERT_EQ(0u, find(image));
    EXPECT_EQ(3u, count);
    parameters.minRepeats = 10;
    ASSERT_EQ(0u, find(image));
    EXPECT_EQ(0u, count);
    // The negative has bright ones in the same places.
    Image negative = image;
    std::transform(negative.begin(), negative.end(), negative.begin(),
                   [](uint8_t v) { return static_cast<uint8_t>(~v); });
    parameters.minRepeats = 3;
    parameters.bright = 1;
    ASSERT_EQ(0u, find(negative));
    EXPECT_EQ(3u, count);
    // A square of 4 by 3 pixels: 12 of them, with the centre between.
    Image square(kWidth * kHeight, 255);
    for (size_t i = 0; i < 12; ++i)
    {
        square[(50 + i / 4) * kWidth + 70 + i % 4] = 0;
    }
    parameters = {100, 100, 1, 0, 12, 12, 0, 1, 0, 1};
    ASSERT_EQ(0u, find(square));
    ASSERT_EQ(1u, count);
    EXPECT_EQ(71.5f, blobs[0].x);
    EXPECT_EQ(51, blobs[0].y);
    EXPECT_EQ(static_cast<float>(std::sqrt(12 / 3.141592653589793)), blobs[0].radius);
}

// Noise, single pixels next to each other, nothing at all, and rows that only rise: regions inside regions, a centre at
// each pixel, an outline at each second one.
TEST(ShapeFinders, EndOnTheWorstPictures)
{
    Image ramps(kWidth * kHeight);
    Image checkers(ramps.size());
    for (size_t i = 0; i < ramps.size(); ++i)
    {
        ramps[i] = static_cast<uint8_t>(i % kWidth * 255 / kWidth);
        checkers[i] = (i % kWidth + i / kWidth) % 2 == 0 ? 255 : 0;
    }
    for (const Image& image : {randomPixels(ramps.size(), 1), checkers, ramps, Image(ramps.size(), 7)})
    {
        constexpr uint32_t kPixels = kWidth * kHeight;
        std::vector<float> list(5 * kPixels);
        std::vector<uint32_t> votes(kPixels);
        uint32_t count = 0;
        ASSERT_EQ(0u,
                  vsrFindLineSegmentsu8(image.data(), kWidth, kHeight, 0, 0, 90, 0, 0, list.data(), kPixels, &count));
        EXPECT_LE(count, kPixels);
        ASSERT_EQ(0u, vsrHoughCirclesu8(image.data(), kWidth, kHeight, 0, 2, 0, 50, 1, 40, 30, list.data(),
                                        votes.data(), kPixels, &count));
        EXPECT_LE(count, (kWidth / 30 + 2) * (kHeight / 30 + 2) * 2);
        EXPECT_NE(3u, vsrCheckerboardCornersu8(image.data(), kWidth, kHeight, 0, 60, 60, list.data(), &count));
        const vsrBlobParameters parameters = {0, 255, 16, 0, 0, UINT32_MAX, 0, 0, 3, 0};
        std::vector<vsrBlob> blobs(kPixels);
        ASSERT_EQ(0u, vsrFindBlobsu8(image.data(), kWidth, kHeight, 0, &parameters, blobs.data(), kPixels, &count));
        EXPECT_GT(count, 0u);
        vsrMser* mser = nullptr;
        ASSERT_EQ(0u, vsrMserCreate(kWidth, kHeight, 255, 1, kPixels, 1e9f, 0, &mser));
        std::vector<vsrMserRegion> regions(kPixels);
        std::vector<uint32_t> xy(8 * kPixels);
        uint32_t pixels = 0;
        ASSERT_EQ(0u, vsrMserDetectDarku8(mser, image.data(), kWidth, kHeight, 0, regions.data(), kPixels, &count,
                                          xy.data(), 4 * kPixels, &pixels));
        EXPECT_LE(pixels, 4 * kPixels);
        ASSERT_EQ(0u, vsrMserDetectRGB888u8(mser, image.data(), kWidth / 3, kHeight, kWidth, regions.data(), kPixels,
                                            &count, xy.data(), 4 * kPixels, &pixels));
        ASSERT_EQ(0u, vsrMserRelease(mser));
    }
}

TEST(ShapeFinders, RefuseWhatIsOutsideItsRange)
{
    const Image src(100);
    float floats[100] = {};
    uint32_t words[20] = {};
    vsrBlob blob{};
    const auto segments = [&](float tolerance, float length, float density)
    { return vsrFindLineSegmentsu8(src.data(), 10, 10, 0, 1, tolerance, length, density, floats, 9, words); };
    const auto circles = [&](uint32_t shift, uint32_t least, uint32_t most, float distance) {
        return vsrHoughCirclesu8(src.data(), 10, 10, 0, shift, 1, 1, least, most, distance, floats, words, 9,
                                 words + 10);
    };
    const auto board = [&](uint32_t columns, uint32_t rows)
    { return vsrCheckerboardCornersu8(src.data(), 10, 10, 0, columns, rows, floats, words); };
    const auto blobs = [&](const vsrBlobParameters& p)
    { return vsrFindBlobsu8(src.data(), 10, 10, 0, &p, &blob, 1, words); };
    EXPECT_EQ(0u, segments(90, 0, 1));
    EXPECT_EQ(3u, segments(90.5f, 0, 1));
    EXPECT_EQ(3u, segments(NAN, 0, 1));
    EXPECT_EQ(3u, segments(1, -1, 1));
    EXPECT_EQ(3u, segments(1, 0, 1.5f));
    EXPECT_EQ(0u, circles(4, 1, 32767, 0));
    EXPECT_EQ(3u, circles(5, 1, 1, 0));
    EXPECT_EQ(3u, circles(0, 0, 1, 0));
    EXPECT_EQ(3u, circles(0, 2, 1, 0));
    EXPECT_EQ(3u, circles(0, 1, 32768, 0));
    EXPECT_EQ(3u, circles(0, 1, 1, INFINITY));
    EXPECT_EQ(1u, board(2, 2));
    EXPECT_EQ(3u, board(1, 2));
    EXPECT_EQ(3u, board(2, 256));
    EXPECT_EQ(0u, blobs({0, 255, 1, 0, 0, 0, 1, 1, 0, 0}));
    EXPECT_EQ(3u, blobs({2, 1, 1, 0, 0, 0, 1, 1, 0, 0}));
    EXPECT_EQ(3u, blobs({0, 256, 1, 0, 0, 0, 1, 1, 0, 0}));
    EXPECT_EQ(3u, blobs({0, 255, 0, 0, 0, 0, 1, 1, 0, 0}));
    EXPECT_EQ(3u, blobs({0, 255, 1, 0, 1, 0, 1, 1, 0, 0}));
    EXPECT_EQ(3u, blobs({0, 255, 1, 0, 0, 0, 1.5f, 1, 0, 0}));
    EXPECT_EQ(3u, blobs({0, 255, 1, 0, 0, 0, 1, NAN, 0, 0}));
    EXPECT_EQ(3u, blobs({0, 255, 1, 0, 0, 0, 1, 1, -1, 0}));
}

}  // namespace
}  // namespace visora::test
