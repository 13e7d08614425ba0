// Differences, background, trackers and motion history: known answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "common/hardware_double.h"
#include "cpu/visoraAngle.h"
#include "support/images.h"
#include "visora/variants/background.h"
#include "visora/variants/statistics.h"
#include "visora/variants/track.h"

namespace visora::test
{
namespace
{

TEST(Angles, AreThoseOfTheArcTangent)
{
    Random random(1);
    for (int i = 0; i < 100000; ++i)
    {
        const auto any = [&]
        {
            return std::ldexp(static_cast<float>(random.between(0, 2000)) - 1000,
                              static_cast<int>(random.between(0, 30)) - 15);
        };
        const float x = any();
        const float y = any();
        const double exact = std::atan2(double{y}, double{x}) * 180 / M_PI;
        const double angle = angleInDegrees(y, x);
        ASSERT_NEAR(0, std::remainder(angle - exact, 360), 3e-5) << y << " " << x;
        ASSERT_TRUE(angle >= 0 && angle < 360) << y << " " << x;
    }
}

// ---- Blends and differences ----

TEST(Differences, OfAllPairsOfLevels)
{
    Image a(65536);
    Image b(65536);
    for (size_t i = 0; i < a.size(); ++i)
    {
        a[i] = static_cast<uint8_t>(i);
        b[i] = static_cast<uint8_t>(i / 256);
    }
    Image difference(65536);
    Image moved(65536);
    Image blended(65536);
    std::vector<int16_t> exact(65536);
    ASSERT_EQ(0u, vsrImageDiffu8(a.data(), 256, 256, b.data(), difference.data()));
    ASSERT_EQ(0u, vsrImageDiffu8s16(a.data(), 256, 256, 0, b.data(), 0, exact.data(), 0));
    ASSERT_EQ(0u, vsrFrameDifferenceu8(a.data(), 256, 256, b.data(), a.data(), 17, moved.data()));
    ASSERT_EQ(0u, vsrImageBlendu8(a.data(), 256, 256, 0, b.data(), 0, 64, nullptr, 0, blended.data(), 0));
    for (size_t i = 0; i < a.size(); ++i)
    {
        const int d = int{a[i]} - b[i];
        ASSERT_EQ(std::max(d, 0), difference[i]);
        ASSERT_EQ(d, exact[i]);
        ASSERT_EQ(d > 17 || d < -17 ? 255 : 0, moved[i]);
        ASSERT_EQ(std::floor((a[i] + 3.0 * b[i]) / 4 + 0.5), blended[i]);
    }
    // A map: 0 gives the second image, 255 the first.
    const Image map = {0, 255, 128};
    Image three(3);
    ASSERT_EQ(0u, vsrImageBlendu8(a.data() + 200, 3, 1, 0, b.data(), 0, 999, map.data(), 0, three.data(), 0));
    EXPECT_EQ((Image{0, 201, 102}), three);
    EXPECT_EQ(VISORA_EBADPARAM, vsrImageBlendu8(a.data(), 3, 1, 0, b.data(), 0, 257, nullptr, 0, three.data(), 0));
    const float inf = std::numeric_limits<float>::infinity();
    float nan;
    ASSERT_EQ(0u, vsrImageDifff32(&inf, 1, 1, &inf, &nan));
    EXPECT_EQ(0x7fc00000u, std::bit_cast<uint32_t>(nan));
}

// ---- Codebook background ----

TEST(Background, IsLearntAndForgotten)
{
    constexpr uint32_t kPixels = 40;
    const Image grey(3 * kPixels, 100);
    const Image brighter(3 * kPixels, 105);
    const Image red = [&]
    {
        Image image(3 * kPixels);
        for (uint32_t i = 0; i < kPixels; ++i)
        {
            image[3 * i] = 255;
        }
        return image;
    }();
    const uint8_t reach[] = {10, 10, 10};
    const uint8_t slack[] = {2, 2, 2};
    Image counts(kPixels);
    Image bounds(2 * 12 * kPixels);
    std::vector<uint32_t> lastSeen(2 * kPixels);
    const auto learn = [&](const Image& frame, uint32_t time)
    {
        ASSERT_EQ(0u, vsrBGCodeLearnu8(frame.data(), kPixels, 1, 0, reach, time, 2, counts.data(), bounds.data(),
                                       lastSeen.data()));
    };
    const auto isForeground = [&](const Image& frame)
    {
        Image mask(kPixels);
        EXPECT_EQ(0u, vsrBGCodeClassifyu8(frame.data(), kPixels, 1, 0, 2, counts.data(), bounds.data(), slack, slack,
                                          mask.data(), 0));
        EXPECT_EQ(static_cast<std::ptrdiff_t>(kPixels), std::count(mask.begin(), mask.end(), mask[0]));
        return mask[0] == 255;
    };
    EXPECT_TRUE(isForeground(grey));
    learn(grey, 1);
    EXPECT_FALSE(isForeground(grey));
    EXPECT_TRUE(isForeground(brighter));
    learn(brighter, 2);
    EXPECT_FALSE(isForeground(brighter));
    EXPECT_EQ(1, counts[7]);
    EXPECT_EQ(2u, lastSeen[7]);
    // The upper bound of luma moved up by one, toward 105 + 10.
    EXPECT_EQ(111, bounds[1 * kPixels + 7]);
    EXPECT_TRUE(isForeground(red));
    learn(red, 5);
    EXPECT_FALSE(isForeground(red));
    EXPECT_EQ(2, counts[7]);
    ASSERT_EQ(0u, vsrBGCodePruneu8(kPixels, 1, 6, 2, 2, counts.data(), bounds.data(), lastSeen.data()));
    EXPECT_EQ(1, counts[7]);
    EXPECT_EQ(5u, lastSeen[7]);
    EXPECT_TRUE(isForeground(grey));
    EXPECT_FALSE(isForeground(red));
    EXPECT_EQ(VISORA_EBADPARAM, vsrBGCodePruneu8(kPixels, 1, 6, 2, 256, counts.data(), bounds.data(), lastSeen.data()));
}

// The model of one seed's frames, and the last of them classified by it.
Image modelOf(uint64_t seed)
{
    constexpr uint32_t kPixels = 2000;
    const uint8_t reach[] = {30, 20, 10};
    const uint8_t slack[] = {3, 2, 1};
    Image counts(kPixels);
    Image bounds(3 * 12 * kPixels);
    std::vector<uint32_t> lastSeen(3 * kPixels);
    for (uint32_t time = 1; time < 12; ++time)
    {
        EXPECT_EQ(0u, vsrBGCodeLearnu8V(randomPixels(3 * kPixels, seed + time).data(), kPixels, 1, 3 * kPixels, reach,
                                        time, 3, counts.data(), bounds.data(), lastSeen.data()));
    }
    EXPECT_EQ(0u, vsrBGCodePruneu8V(kPixels, 1, 12, 9, 3, counts.data(), bounds.data(), lastSeen.data()));
    Image mask(kPixels);
    EXPECT_EQ(0u, vsrBGCodeClassifyu8V(randomPixels(3 * kPixels, seed + 11).data(), kPixels, 1, 3 * kPixels, 3,
                                       counts.data(), bounds.data(), slack, slack, mask.data(), kPixels));
    bounds.insert(bounds.end(), mask.begin(), mask.end());
    return bounds;
}

CHILD_TEST(BackgroundThreads, ModelsDoNotMeet)
{
    const Image expected[] = {modelOf(100), modelOf(200)};
    EXPECT_NE(expected[0], expected[1]);
    inThreads(2,
              [&](int thread)
              {
                  for (int round = 0; round < 20; ++round)
                  {
                      EXPECT_EQ(expected[thread], modelOf(thread == 0 ? 100 : 200));
                  }
              });
}

// ---- Windows that follow ----

// A filled ellipse of these half axes about (60, 45), turned by an angle in degrees.
Image ellipse(double a, double b, double degrees)
{
    Image image(128 * 96);
    const double c = std::cos(degrees * M_PI / 180);
    const double s = std::sin(degrees * M_PI / 180);
    for (size_t i = 0; i < image.size(); ++i)
    {
        const size_t row = i / 128;
        const double x = static_cast<double>(i % 128) - 60;
        const double y = static_cast<double>(row) - 45;
        image[i] = std::pow((x * c + y * s) / a, 2) + std::pow((y * c - x * s) / b, 2) <= 1 ? 200 : 0;
    }
    return image;
}

TEST(WindowTrackers, FindTheBlobItsSizeAndDirection)
{
    for (const double degrees : {0.0, 30.0, 90.0, 135.0})
    {
        const Image image = ellipse(20, 10, degrees);
        vsrRectangle window{30, 20, 40, 40};
        uint32_t iterations = 0;
        ASSERT_EQ(0u, vsrMeanShiftu8(image.data(), 128, 96, 0, 20, 1, &window, &iterations));
        EXPECT_NEAR(60, window.x + 20, 1);
        EXPECT_NEAR(45, window.y + 20, 1);
        EXPECT_LT(iterations, 20u);

        const std::vector<float> likelihood(image.begin(), image.end());
        vsrRotatedBox box;
        window = {30, 20, 40, 40};
        ASSERT_EQ(0u, vsrConAdaTrackf32(likelihood.data(), 128, 96, 0, 20, 1, &window, &box));
        EXPECT_NEAR(60, box.cx, 0.3);
        EXPECT_NEAR(45, box.cy, 0.3);
        EXPECT_NEAR(40, box.width, 1);
        EXPECT_NEAR(20, box.height, 1);
        EXPECT_NEAR(0, std::remainder(box.angle - degrees, 180), 1);
        EXPECT_TRUE(window.x <= 60 && window.x + window.width > 60 && window.y <= 45 && window.y + window.height > 45);
    }
    const Image black(128 * 96);
    vsrRectangle window{30, 20, 40, 40};
    vsrRotatedBox box{1, 2, 3, 4, 5};
    ASSERT_EQ(0u, vsrConAdaTracku8(black.data(), 128, 96, 0, 20, 1, &window, &box));
    EXPECT_EQ(0, box.width);
    EXPECT_EQ(30u, window.x);
    EXPECT_EQ(40u, window.height);
    for (const vsrRectangle& bad :
         {vsrRectangle{100, 0, 29, 9}, vsrRectangle{0, 0, 0, 9}, vsrRectangle{UINT32_MAX, 0, 2, 9}})
    {
        window = bad;
        EXPECT_EQ(VISORA_EBADPARAM, vsrConAdaTracku8(black.data(), 128, 96, 0, 20, 1, &window, &box));
    }
}

// ---- Block matching ----

TEST(BlockMatching, FindsTheShiftAndPrefersStandingStill)
{
    constexpr uint32_t kWidth = 100;
    constexpr uint32_t kHeight = 60;
    const Image first = randomPixels(kWidth * kHeight, 12);
    Image second(first.size());
    for (size_t i = 0; i < first.size(); ++i)
    {
        second[i] = first[(i + 2 * kWidth - 3) % first.size()];
    }
    for (const uint32_t size : {5u, 8u, 12u, 16u, 21u})
    {
        const uint32_t columns = (kWidth - size) / 10 + 1;
        const uint32_t rows = (kHeight - size) / 10 + 1;
        std::vector<int16_t> flow(size_t{2} * columns * rows);
        std::vector<uint32_t> sads(size_t{columns} * rows);
        ASSERT_EQ(0u, vsrTrackBlockMatchu8(first.data(), kWidth, kHeight, 0, second.data(), 0, size, 10, 4, 4,
                                           flow.data(), 0, sads.data(), 0));
        const size_t inner = columns + 1;
        EXPECT_EQ(3, flow[2 * inner]) << size;
        EXPECT_EQ(-2, flow[2 * inner + 1]) << size;
        EXPECT_EQ(0u, sads[inner]) << size;
        const Image flat(first.size(), 7);
        ASSERT_EQ(0u, vsrTrackBlockMatchu8(flat.data(), kWidth, kHeight, 0, flat.data(), 0, size, 10, 4, 4, flow.data(),
                                           0, nullptr, 0));
        EXPECT_EQ(0, *std::max_element(flow.begin(), flow.end()));
        EXPECT_EQ(0, *std::min_element(flow.begin(), flow.end()));
    }
    int16_t flow[2];
    EXPECT_EQ(VISORA_EBADPARAM,
              vsrTrackBlockMatchu8(first.data(), 8, 8, kWidth, second.data(), kWidth, 9, 1, 1, 1, flow, 0, nullptr, 0));
}

// ---- Motion history ----

TEST(MotionHistory, RemembersForAWhileAndTellsTheDirection)
{
    const uint8_t mask[] = {1, 0, 0, 0};
    float history[] = {3, 5, 6.5f, std::numeric_limits<float>::quiet_NaN()};
    ASSERT_EQ(0u, vsrMotionHistoryu8f32(mask, 4, 1, 0, 10, 4, history, 0));
    EXPECT_EQ(10, history[0]);
    EXPECT_EQ(0, history[1]);
    EXPECT_EQ(6.5f, history[2]);
    EXPECT_TRUE(std::isnan(history[3]));
    EXPECT_EQ(VISORA_EBADPARAM, vsrMotionHistoryu8f32(mask, 4, 1, 0, 10, -1, history, 0));

    for (int sixteenth = 0; sixteenth < 16; ++sixteenth)
    {
        const double degrees = 22.5 * sixteenth;
        // Time that grows in one direction.
        std::vector<float> times(40 * 20);
        for (size_t i = 0; i < times.size(); ++i)
        {
            const size_t row = i / 40;
            times[i] = static_cast<float>(std::cos(degrees * M_PI / 180) * static_cast<double>(i % 40) +
                                          std::sin(degrees * M_PI / 180) * static_cast<double>(row));
        }
        std::vector<float> orientation(times.size());
        Image valid(times.size());
        ASSERT_EQ(0u, vsrMotionGradientf32(times.data(), 40, 20, 0, 0.5f, 10, orientation.data(), 0, valid.data(), 0));
        EXPECT_EQ(255, valid[10 * 40 + 20]);
        EXPECT_NEAR(0, std::remainder(orientation[10 * 40 + 20] - degrees, 360), 1e-3) << degrees;
        ASSERT_EQ(0u, vsrMotionGradientf32(times.data(), 40, 20, 0, 5, 10, orientation.data(), 0, valid.data(), 0));
        EXPECT_EQ(0, valid[10 * 40 + 20]);
    }
}

}  // namespace
}  // namespace visora::test
