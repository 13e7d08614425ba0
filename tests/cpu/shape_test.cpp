// Distances, filling and peaks: judged by slow restatements and by what must hold.
#include "visora/shape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <set>
#include <tuple>

#include "cpu/shape_mask.h"

namespace visora::test
{
namespace
{

// ---- Distances ----

TEST(Distances, AreTheLeastOverAllZeroPixels)
{
    Random random(4);
    for (int round = 0; round < 150; ++round)
    {
        Mask mask = noise(random, 33);
        if (round % 3 == 0)
        {
            // Few zeros, far apart; none at all in the first.
            std::fill(mask.pixels.begin(), mask.pixels.end(), uint8_t{1});
            for (int i = 0; i < round / 9; ++i)
            {
                mask.pixels[random.next() % mask.pixels.size()] = 0;
            }
        }
        std::vector<uint16_t> cityBlock(mask.pixels.size());
        std::vector<float> euclidean(mask.pixels.size());
        ASSERT_EQ(0u,
                  vsrDistanceTransformL1u8u16(mask.pixels.data(), mask.columns(), mask.rows(), 0, cityBlock.data(), 0));
        ASSERT_EQ(0u,
                  vsrDistanceTransformL2u8f32(mask.pixels.data(), mask.columns(), mask.rows(), 0, euclidean.data(), 0));
        for (int i = 0; i < mask.width * mask.height; ++i)
        {
            int least = 65535;
            float squared = INFINITY;
            for (int j = 0; j < mask.width * mask.height; ++j)
            {
                const int dx = i % mask.width - j % mask.width;
                const int dy = i / mask.width - j / mask.width;
                if (mask.pixels[static_cast<size_t>(j)] == 0)
                {
                    least = std::min(least, std::abs(dx) + std::abs(dy));
                    squared = std::min(squared, static_cast<float>(dx * dx + dy * dy));
                }
            }
            ASSERT_EQ(least, cityBlock[static_cast<size_t>(i)]);
            ASSERT_EQ(std::sqrt(squared), euclidean[static_cast<size_t>(i)]);
        }
    }
    // Long rows, in which distances are beyond what is looked at by steps, up to the limit of 65535.
    Image row(65535, 1);
    row[0] = 0;
    std::vector<uint16_t> cityBlock(row.size());
    std::vector<float> euclidean(row.size());
    ASSERT_EQ(0u, vsrDistanceTransformL1u8u16(row.data(), 65535, 1, 0, cityBlock.data(), 0));
    ASSERT_EQ(0u, vsrDistanceTransformL2u8f32(row.data(), 65535, 1, 0, euclidean.data(), 0));
    for (size_t x = 0; x < row.size(); ++x)
    {
        ASSERT_EQ(x, cityBlock[x]);
        ASSERT_EQ(std::sqrt(static_cast<float>(x * x)), euclidean[x]);
    }
}

// ---- Filling and growing ----

TEST(FloodFill, FillsWhatALabelHas)
{
    Random random(5);
    for (int round = 0; round < 300; ++round)
    {
        Mask mask = noise(random, 40);
        for (uint8_t& pixel : mask.pixels)
        {
            pixel = static_cast<uint8_t>(100 * pixel + random.between(0, 3));
        }
        const uint32_t connectivity = round % 2 == 0 ? 4 : 8;
        const bool floating = round % 3 == 0;
        const int seed = static_cast<int>(random.next() % mask.pixels.size());
        const int base = mask.pixels[static_cast<size_t>(seed)];
        const std::vector<int> labels = label(mask, connectivity == 4 ? 2 : 1,
                                              [=](int a, int b)
                                              {
                                                  const auto isIn = [=](int v) { return std::abs(v - base) <= 3; };
                                                  return floating ? std::abs(a - b) <= 3 : isIn(a) == isIn(b);
                                              });
        Image filled = mask.pixels;
        uint32_t area = 0;
        uint32_t box[4] = {};
        ASSERT_EQ(0u, vsrFloodFillu8(filled.data(), mask.columns(), mask.rows(), 0,
                                     static_cast<uint32_t>(seed % mask.width), static_cast<uint32_t>(seed / mask.width),
                                     101, 3, 3, connectivity, floating ? 1 : 0, &area, box));
        uint32_t expected = 0;
        std::set<uint32_t> columns;
        std::set<uint32_t> rows;
        for (size_t i = 0; i < filled.size(); ++i)
        {
            const bool isIn = labels[i] == labels[static_cast<size_t>(seed)];
            ASSERT_EQ(isIn ? 101 : mask.pixels[i], filled[i]);
            if (isIn)
            {
                ++expected;
                columns.insert(static_cast<uint32_t>(i) % mask.columns());
                rows.insert(static_cast<uint32_t>(i) / mask.columns());
            }
        }
        ASSERT_EQ(expected, area);
        ASSERT_EQ(std::tuple(*columns.begin(), *rows.begin(), *columns.rbegin() - *columns.begin() + 1,
                             *rows.rbegin() - *rows.begin() + 1),
                  std::tuple(box[0], box[1], box[2], box[3]));
    }
}

TEST(RegionGrow, FollowsTheMean)
{
    // The mean of 10 and 14 is 12: 20 is then 8 away, 21 is not reached.
    const Image row = {10, 14, 20, 25, 10};
    Image mask = {0, 0, 0, 0, 9};
    const uint32_t seed[] = {0, 0};
    uint32_t count = 0;
    ASSERT_EQ(0u, vsrRegionGrowu8(row.data(), 5, 1, 0, seed, 1, 8, 4, 3, mask.data(), 0, &count));
    EXPECT_EQ(3u, count);
    EXPECT_EQ(Image({3, 3, 3, 0, 9}), mask);
    // A region of its own may begin at what is left; what another one has is out of bounds.
    const uint32_t seeds[] = {3, 0, 4, 0, 3, 0};
    ASSERT_EQ(0u, vsrRegionGrowu8(row.data(), 5, 1, 0, seeds, 3, 255, 4, 5, mask.data(), 0, &count));
    EXPECT_EQ(1u, count);
    EXPECT_EQ(Image({3, 3, 3, 5, 9}), mask);
}

TEST(Watershed, DividesAtTheRidge)
{
    // Two basins with a ridge between them, and a plateau that both come to at the same time.
    const Image row = {5, 3, 4, 9, 2, 1, 1, 1, 7};
    std::vector<int32_t> labels = {0, 8, 0, -5, 0, 0, 6, 0, 0};
    ASSERT_EQ(0u, vsrWatershedu8(row.data(), 9, 1, 0, labels.data(), 0));
    EXPECT_EQ(std::vector<int32_t>({8, 8, 8, -1, 6, 6, 6, 6, 6}), labels);
    labels.assign(9, -3);
    ASSERT_EQ(0u, vsrWatershedu8(row.data(), 9, 1, 0, labels.data(), 0));
    EXPECT_EQ(std::vector<int32_t>(9, -1), labels);
    // On a flat picture the basins of two markers meet halfway, and their ridge keeps them apart.
    const Image flat(33 * 9, 50);
    std::vector<int32_t> far(flat.size());
    far[4 * 33 + 8] = 1;
    far[4 * 33 + 24] = 2;
    ASSERT_EQ(0u, vsrWatershedu8(flat.data(), 33, 9, 0, far.data(), 0));
    for (size_t i = 0; i < far.size(); ++i)
    {
        ASSERT_EQ(i % 33 == 16 ? -1 : i % 33 < 16 ? 1 : 2, far[i]);
    }
}

TEST(Inpaint, FillsFromAround)
{
    // Flat surroundings come through unchanged; a step keeps its sides; nothing known leaves all as it is.
    constexpr uint32_t kSide = 24;
    Image src(kSide * kSide * 3);
    Image mask(kSide * kSide);
    for (size_t i = 0; i < mask.size(); ++i)
    {
        const size_t x = i % kSide;
        mask[i] = x > 5 && x < 16 && i / kSide > 7 && i / kSide < 15 ? 1 : 0;
        src[3 * i] = mask[i] != 0 ? 1 : 77;
        src[3 * i + 1] = x < 11 ? 10 : 200;
        src[3 * i + 2] = static_cast<uint8_t>(mask[i] != 0 ? 255 : 128 + x);
    }
    Image dst(src.size());
    ASSERT_EQ(0u, vsrInpaintu8(src.data(), kSide, kSide, 0, 3, mask.data(), 0, 4, dst.data(), 0));
    for (size_t i = 0; i < mask.size(); ++i)
    {
        const size_t x = i % kSide;
        ASSERT_EQ(77, dst[3 * i]);
        ASSERT_NEAR(x < 11 ? 10 : 200, dst[3 * i + 1], x > 6 && x < 15 ? 190 : 3);
        ASSERT_TRUE(dst[3 * i + 2] >= 128 && dst[3 * i + 2] <= 128 + kSide);
        ASSERT_TRUE(mask[i] != 0 || std::equal(&src[3 * i], &src[3 * i] + 3, &dst[3 * i]));
    }
    std::fill(mask.begin(), mask.end(), uint8_t{5});
    ASSERT_EQ(0u, vsrInpaintu8(src.data(), kSide, kSide, 0, 3, mask.data(), 0, 4, dst.data(), 0));
    EXPECT_EQ(src, dst);
    // One hole of radius 1: the weighted mean of its four neighbours, whose fronts and weights are alike.
    Image small = {10, 20, 30, 40, 0, 60, 70, 81, 90};
    const Image hole = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    ASSERT_EQ(0u, vsrInpaintu8(small.data(), 3, 3, 0, 1, hole.data(), 0, 1, small.data(), 0));
    EXPECT_EQ((20 + 40 + 60 + 81 + 2) / 4, small[4]);
}

// ---- Edges, peaks and boxes ----

TEST(Peaks, AreAboveAllBeforeAndNotBelowAnyAfter)
{
    Random random(6);
    for (int round = 0; round < 200; ++round)
    {
        Mask mask = noise(random, 30);
        for (uint8_t& pixel : mask.pixels)
        {
            pixel = static_cast<uint8_t>(random.between(0, round % 2 == 0 ? 4 : 255));
        }
        const int radius = static_cast<int>(random.between(0, round % 5 == 0 ? 40 : 4));
        std::vector<Point> expected;
        for (int y = 0; y < mask.height; ++y)
        {
            for (int x = 0; x < mask.width; ++x)
            {
                bool isPeak = mask.at(x, y) > 2;
                for (int v = std::max(y - radius, 0); v <= std::min(y + radius, mask.height - 1); ++v)
                {
                    for (int u = std::max(x - radius, 0); u <= std::min(x + radius, mask.width - 1); ++u)
                    {
                        const bool isBefore = std::tie(v, u) < std::tie(y, x);
                        isPeak = isPeak && (isBefore ? mask.at(x, y) > mask.at(u, v) : mask.at(x, y) >= mask.at(u, v));
                    }
                }
                if (isPeak)
                {
                    expected.push_back({x, y});
                }
            }
        }
        std::vector<uint32_t> xy(2 * mask.pixels.size());
        Image values(mask.pixels.size());
        uint32_t count = 0;
        ASSERT_EQ(0u, vsrFindPeaksu8(mask.pixels.data(), mask.columns(), mask.rows(), 0, static_cast<uint32_t>(radius),
                                     2, xy.data(), values.data(), static_cast<uint32_t>(values.size()), &count));
        std::vector<Point> found;
        for (uint32_t i = 0; i < count; ++i)
        {
            found.push_back({static_cast<int>(xy[2 * i]), static_cast<int>(xy[2 * i + 1])});
            ASSERT_EQ(mask.at(found.back().first, found.back().second), values[i]);
        }
        ASSERT_EQ(expected, found);
    }
    // A parabola's top, and a NaN in the window.
    std::vector<float> picture(25);
    for (int i = 0; i < 25; ++i)
    {
        const auto x = static_cast<float>(i % 5) - 2.25f;
        const auto y = static_cast<float>(i / 5) - 1.875f;
        picture[static_cast<size_t>(i)] = 100 - x * x - 2 * y * y;
    }
    float xy[2] = {};
    float value = 0;
    uint32_t count = 0;
    ASSERT_EQ(0u, vsrFindPeaksf32(picture.data(), 5, 5, 0, 2, 0, 1, xy, &value, 1, &count));
    ASSERT_EQ(1u, count);
    EXPECT_EQ(2.25f, xy[0]);
    EXPECT_EQ(1.875f, xy[1]);
    picture[0] = NAN;
    ASSERT_EQ(0u, vsrFindPeaksf32(picture.data(), 5, 5, 0, 2, 0, 1, xy, &value, 1, &count));
    EXPECT_EQ(0u, count);
}

TEST(EdgeThin, KeepsTheCrestInFourDirections)
{
    // A crest across each direction, two pixels wide with equal halves where that is not ruled out.
    struct Case
    {
        int16_t dx, dy;
        Point across;
        bool keepsOneOfTwo;
    };
    for (const Case& c : {Case{100, 0, {1, 0}, true}, Case{0, 100, {0, 1}, true}, Case{-100, 41, {1, 0}, true},
                          Case{70, 70, {1, 1}, false}, Case{-70, 70, {1, -1}, false}, Case{100, 42, {1, 1}, false},
                          Case{41, -100, {0, 1}, true}, Case{-32768, -13573, {1, 1}, false}})
    {
        constexpr int kSide = 9;
        std::vector<int16_t> dx(kSide * kSide);
        std::vector<int16_t> dy(dx.size());
        std::vector<uint16_t> dst(dx.size());
        for (const int wide : {0, 1})
        {
            for (int i = 0; i < kSide * kSide; ++i)
            {
                const int along = (i % kSide - 4) * c.across.first + (i / kSide - 4) * c.across.second;
                // The second half of a wide crest is one step across further on.
                const int step = std::abs(c.across.first) + std::abs(c.across.second);
                const bool isTop = along == 0 || (wide != 0 && along == step);
                dx[static_cast<size_t>(i)] = static_cast<int16_t>(isTop ? c.dx : c.dx / 2);
                dy[static_cast<size_t>(i)] = static_cast<int16_t>(isTop ? c.dy : c.dy / 2);
            }
            ASSERT_EQ(0u, vsrEdgeThins16(dx.data(), kSide, kSide, 0, dy.data(), 0, dst.data(), 0));
            const int m = std::min(std::abs(c.dx) + std::abs(c.dy), 65535);
            EXPECT_EQ(wide == 0 || c.keepsOneOfTwo ? m : 0, dst[4 * kSide + 4]) << c.dx << " " << c.dy;
            const int next = (4 + c.across.second) * kSide + 4 + c.across.first;
            EXPECT_EQ(0, dst[static_cast<size_t>(next)]) << c.dx << " " << c.dy;
        }
    }
}

TEST(NonMaxSuppress, KeepsTheBestOfThoseThatOverlap)
{
    const std::vector<float> boxes = {0, 0, 10, 10, 1, 0, 11, 10, 5, 0, 15, 10, NAN, 0, 9, 9, 40, 40, 30, 30};
    const std::vector<float> scores = {0.5f, 0.9f, 0.9f, 0.7f, 0.8f};
    std::vector<uint32_t> kept(5);
    uint32_t count = 0;
    // Box 1 covers 9/11 of its union with box 0 and 6/14 of that with box 2. The NaN of box 3 counts for the other's
    // side.
    ASSERT_EQ(0u, vsrNonMaxSuppressf32(boxes.data(), scores.data(), 5, 0, 0.5f, kept.data(), 5, &count));
    kept.resize(count);
    EXPECT_EQ(std::vector<uint32_t>({1, 2, 4}), kept);
    kept.resize(5);
    ASSERT_EQ(0u, vsrNonMaxSuppressf32(boxes.data(), scores.data(), 5, 0.75f, 0.4f, kept.data(), 5, &count));
    kept.resize(count);
    EXPECT_EQ(std::vector<uint32_t>({1, 4}), kept);
}

TEST(Foreground, LearnsTheBackground)
{
    // 20 levels are foreground for a deviation of 2 and a factor of 4; 4 levels are learned by halves.
    const Image frame = {120, 104};
    std::vector<uint16_t> mean = {25600, 25600};
    std::vector<uint16_t> deviation = {512, 512};
    Image dst(2);
    ASSERT_EQ(0u,
              vsrFindForegroundu8(frame.data(), 2, 1, 0, 64, 1, 0, mean.data(), 0, deviation.data(), 0, dst.data(), 0));
    EXPECT_EQ(Image({255, 0}), dst);
    EXPECT_EQ(std::vector<uint16_t>({25600, 26112}), mean);
    EXPECT_EQ(std::vector<uint16_t>({512, 768}), deviation);
}

// ---- What is refused ----

TEST(ShapeEntries, RefuseWhatIsOutsideItsRange)
{
    const Image src(16);
    Image bytes(64);
    std::vector<uint32_t> words(64);
    std::vector<uint16_t> halves(64);
    std::vector<int32_t> numbers(64);
    std::vector<float> floats(64);
    std::vector<vsrContourLinks> links(4);
    const auto* s = src.data();
    uint32_t* w = words.data();
    const auto components = [&](uint32_t connectivity, vsrComponent* regions, uint32_t capacity)
    { return vsrFindConnectedComponentsu8(s, 4, 4, 0, connectivity, w, 0, regions, capacity, w + 20); };
    const auto fill = [&](uint32_t x, uint32_t y, uint32_t connectivity)
    { return vsrFloodFillu8(bytes.data(), 4, 4, 0, x, y, 1, 0, 0, connectivity, 0, w, w + 1); };
    const auto grow = [&](uint32_t x, uint32_t tolerance, uint32_t connectivity, uint8_t label)
    {
        words[40] = x;
        words[41] = 0;
        return vsrRegionGrowu8(s, 4, 4, 0, w + 40, 1, tolerance, connectivity, label, bytes.data(), 0, w);
    };
    const auto inpaint = [&](uint32_t channels, uint32_t radius, uint8_t* mask)
    { return vsrInpaintu8(s, 4, 1, 0, channels, mask, 0, radius, bytes.data(), 0); };
    const auto foreground = [&](uint32_t factor, uint32_t shift, uint32_t least)
    {
        return vsrFindForegroundu8(s, 4, 4, 0, factor, shift, least, halves.data(), 0, halves.data() + 20, 0,
                                   bytes.data(), 0);
    };
    const auto boxes = [&](float threshold, float overlap)
    { return vsrNonMaxSuppressf32(floats.data(), floats.data() + 8, 2, threshold, overlap, w, 4, w + 10); };
    floats[9] = 1;
    const std::pair<vsrStatus, vsrStatus> results[] = {
        {0, components(4, nullptr, 0)},
        {3, components(4, nullptr, 1)},
        {3, components(5, nullptr, 0)},
        {3, vsrFindContoursu8(s, 4, 4, 0, 2, w, links.data(), 1, w + 1, numbers.data(), 1, w + 2)},
        {3, vsrFindOuterContoursu8(s, 4, 4, 0, 2, w, 1, w + 1, numbers.data(), 1, w + 2)},
        {0, fill(3, 3, 8)},
        {3, fill(4, 3, 8)},
        {3, fill(3, 4, 8)},
        {3, fill(3, 3, 6)},
        {0, grow(3, 255, 4, 1)},
        {3, grow(4, 255, 4, 1)},
        {3, grow(3, 256, 4, 1)},
        {3, grow(3, 255, 0, 1)},
        {3, grow(3, 255, 4, 0)},
        {0, inpaint(1, 16, bytes.data() + 30)},
        {3, inpaint(2, 16, bytes.data() + 30)},
        {3, inpaint(1, 17, bytes.data() + 30)},
        {3, inpaint(1, 0, bytes.data() + 30)},
        {3, inpaint(1, 1, bytes.data())},
        {0, foreground(65535, 15, 65535)},
        {3, foreground(0, 15, 65535)},
        {3, foreground(65536, 15, 0)},
        {3, foreground(1, 16, 0)},
        {3, foreground(1, 0, 0)},
        {3, foreground(1, 1, 65536)},
        {0, vsrFindPeaksu8(s, 4, 4, 0, 255, 1, w, bytes.data(), 1, w + 9)},
        {3, vsrFindPeaksu8(s, 4, 4, 0, 256, 1, w, bytes.data(), 1, w + 9)},
        {3, vsrFindPeaksf32(floats.data(), 4, 4, 0, 1, NAN, 0, floats.data() + 30, floats.data() + 40, 1, w)},
        {0, boxes(0, 0)},
        {3, boxes(INFINITY, 0)},
        {3, boxes(0, NAN)},
        {3, boxes(0, -1)},
        {3, vsrFindNonZerou8(s, 65536, 1, 0, w, 0, w + 5)},
        {3, vsrWatershedu8(s, 1, 65536, 0, numbers.data(), 0)},
    };
    for (size_t i = 0; i < std::size(results); ++i)
    {
        EXPECT_EQ(results[i].first, results[i].second) << i;
    }
    floats[8] = INFINITY;
    EXPECT_EQ(3u, boxes(0, 0));
}

// ---- Worst cases: they end, and soon ----

TEST(ShapeWorstCases, End)
{
    constexpr uint32_t kSide = 700;
    std::map<std::string, Image> pictures;
    Image& checkers = pictures["checkers"];
    Image& spiral = pictures["spiral"];
    checkers.resize(size_t{kSide} * kSide);
    spiral.assign(checkers.size(), 0);
    for (uint32_t i = 0; i < checkers.size(); ++i)
    {
        checkers[i] = (i / kSide + i % kSide) % 2 == 0 ? 255 : 0;
    }
    // One line of a pixel's width with gaps of a pixel.
    int x = 0;
    int y = 0;
    int length = static_cast<int>(kSide) - 1;
    for (int leg = 0; length > 0; ++leg)
    {
        const Point& step = kSteps[static_cast<size_t>(leg % 4) * 2];
        for (int i = 0; i < length; ++i)
        {
            spiral[static_cast<size_t>(y * static_cast<int>(kSide) + x)] = 255;
            x += step.first;
            y += step.second;
        }
        length -= leg >= 2 && leg % 2 == 0 ? 2 : 0;
    }
    pictures["noise"] = randomPixels(checkers.size(), 9);
    pictures["flat"] = Image(checkers.size(), 255);
    for (auto& [name, picture] : pictures)
    {
        const auto most = static_cast<uint32_t>(picture.size());
        std::vector<uint32_t> lengths(most);
        std::vector<vsrContourLinks> links(most);
        std::vector<int32_t> xy(8 * size_t{most});
        std::vector<int32_t> labels(most);
        std::vector<float> distances(most);
        uint32_t count = 0;
        uint32_t points = 0;
        ASSERT_EQ(0u, vsrFindContoursu8(picture.data(), kSide, kSide, 0, 0, lengths.data(), links.data(), most, &count,
                                        xy.data(), 4 * most, &points));
        EXPECT_GT(count, 0u) << name;
        EXPECT_EQ(points, std::accumulate(lengths.begin(), lengths.begin() + count, 0u)) << name;
        ASSERT_EQ(0u, vsrEdgeLinku8(picture.data(), kSide, kSide, 0, 1, lengths.data(), most, &count, xy.data(), most,
                                    &points));
        EXPECT_EQ(static_cast<uint32_t>(most - std::count(picture.begin(), picture.end(), 0)), points) << name;
        ASSERT_EQ(0u, vsrDistanceTransformL2u8f32(picture.data(), kSide, kSide, 0, distances.data(), 0));
        labels[0] = 1;
        labels[most - 1] = 2;
        ASSERT_EQ(0u, vsrWatershedu8(picture.data(), kSide, kSide, 0, labels.data(), 0));
        EXPECT_EQ(0, std::count(labels.begin(), labels.end(), 0)) << name;
        std::vector<uint8_t> values(most);
        ASSERT_EQ(0u, vsrFindPeaksu8(picture.data(), kSide, kSide, 0, 255, 0, lengths.data(), values.data(), most / 2,
                                     &count));
        uint32_t box[4] = {};
        uint32_t area = 0;
        ASSERT_EQ(0u, vsrFloodFillu8(picture.data(), kSide, kSide, 0, 0, 0, 1, 0, 0, 8, 0, &area, box));
        EXPECT_EQ(name == "flat" ? most : name == "checkers" ? most / 2 : area, area) << name;
    }
}

}  // namespace
}  // namespace visora::test
