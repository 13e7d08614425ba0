// Known answers of depth images, clouds and disparity.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/images.h"
#include "support/random.h"
#include "visora/variants/geom.h"

namespace visora::test
{
namespace
{

constexpr float kCamera[9] = {80, 0, 20, 0, 90, 15, 0, 0, 1};
constexpr float kNoTurn[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr uint32_t kWidth = 40, kHeight = 30;

TEST(Clouds, OfAPlaneHaveItsNormal)
{
    // The plane n . p = -1, n towards the camera.
    const double n[3] = {0.2, -0.1, -0.9};
    const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    std::vector<uint16_t> depth;
    for (uint32_t y = 0; y < kHeight; ++y)
    {
        for (uint32_t x = 0; x < kWidth; ++x)
        {
            const double z = -1 / (n[0] * (x - 20.0) / 80 + n[1] * (y - 15.0) / 90 + n[2]);
            depth.push_back(static_cast<uint16_t>(std::lround(z * 20000)));
        }
    }
    depth[5 * kWidth + 7] = 0;
    std::vector<float> cloud(3 * depth.size()), normals(3 * depth.size());
    ASSERT_EQ(0u, vsrCloudFromDepthu16f32(depth.data(), kWidth, kHeight, 0, kCamera, 1.0F / 20000, cloud.data(), 0));
    ASSERT_EQ(0u, vsrCloudNormalsf32(cloud.data(), kWidth, kHeight, 0, normals.data(), 0));
    for (uint32_t i = 0; i < depth.size(); ++i)
    {
        const float* p = &cloud[3 * size_t{i}];
        const uint32_t x = i % kWidth, y = i / kWidth;
        const bool isHole = std::abs(static_cast<int>(x) - 7) + std::abs(static_cast<int>(y) - 5) <= 1;
        if (depth[i] != 0)
        {
            EXPECT_NEAR(-1, n[0] * p[0] + n[1] * p[1] + n[2] * p[2], 1e-4) << i;
        }
        for (int k = 0; k < 3; ++k)
        {
            EXPECT_NEAR(isHole ? 0 : n[k] / length, normals[3 * size_t{i} + static_cast<size_t>(k)], 0.01) << i;
        }
    }
}

// A dome whose normals point everywhere, moved a little: one step brings it nearly back.
TEST(ClosestPoints, LeadBackToTheReference)
{
    std::vector<uint16_t> depth;
    for (uint32_t y = 0; y < kHeight; ++y)
    {
        for (uint32_t x = 0; x < kWidth; ++x)
        {
            const double u = (x - 20.0) / 80, v = (y - 15.0) / 90;
            depth.push_back(static_cast<uint16_t>(std::lround(20000 * (1 + u * u + 2 * v * v * v + u * v))));
        }
    }
    std::vector<float> cloud(3 * depth.size()), normals(3 * depth.size());
    vsrCloudFromDepthu16f32(depth.data(), kWidth, kHeight, 0, kCamera, 1.0F / 20000, cloud.data(), 0);
    vsrCloudNormalsf32(cloud.data(), kWidth, kHeight, 0, normals.data(), 0);
    const float shift[3] = {0.001F, -0.002F, 0.003F};
    float JTJ[36], JTe[6], error = 0;
    uint32_t pairs = 0;
    ASSERT_EQ(0u,
              vsrICPJacobianErrorSE3f32(cloud.data(), kWidth, kHeight, 0, cloud.data(), kWidth, kHeight, 0,
                                        normals.data(), 0, kCamera, kNoTurn, shift, 0.1F, JTJ, JTe, &error, &pairs));
    EXPECT_GT(pairs, kWidth * kHeight * 3 / 4);
    EXPECT_GT(error, 0);
    float x[6];
    ASSERT_EQ(0u, vsrSolveLUf32(JTJ, 6, 0, JTe, x));
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_NEAR(shift[i], x[3 + i], 0.0008F) << i;
    }
    // The other way round nothing is near enough.
    const float far[3] = {0, 0, 1};
    ASSERT_EQ(0u, vsrICPJacobianErrorSE3f32(cloud.data(), kWidth, kHeight, 0, cloud.data(), kWidth, kHeight, 0,
                                            normals.data(), 0, kCamera, kNoTurn, far, 0.1F, JTJ, JTe, &error, &pairs));
    EXPECT_EQ(0u, pairs);
    EXPECT_EQ(0, error);
}

TEST(DepthImages, HolesGetTheLowerMedianOfTheNearestRing)
{
    Random random(1);
    std::vector<uint16_t> depth(size_t{kWidth} * kHeight);
    std::generate(depth.begin(), depth.end(),
                  [&] { return static_cast<uint16_t>(random.oneIn(12) ? random.between(1, 9) : 0); });
    std::vector<uint16_t> filled(depth.size());
    for (const uint32_t radius : {1u, 3u, 15u})
    {
        ASSERT_EQ(0u, vsrDepthFillHolesu16(depth.data(), kWidth, kHeight, 0, radius, filled.data(), 0));
        for (int i = 0; i < static_cast<int>(depth.size()); ++i)
        {
            std::vector<uint16_t> known = {depth[static_cast<size_t>(i)]};
            for (int r = 1; known[0] == 0 && known.size() == 1 && r <= static_cast<int>(radius); ++r)
            {
                for (int j = 0; j < static_cast<int>(depth.size()); ++j)
                {
                    const int dx = std::abs(i % int{kWidth} - j % int{kWidth});
                    const int dy = std::abs(i / int{kWidth} - j / int{kWidth});
                    if (std::max(dx, dy) <= r && depth[static_cast<size_t>(j)] != 0)
                    {
                        known.push_back(depth[static_cast<size_t>(j)]);
                    }
                }
            }
            std::sort(known.begin() + 1, known.end());
            const size_t middle = known.size() == 1 ? 0 : 1 + (known.size() - 2) / 2;
            ASSERT_EQ(known[middle], filled[static_cast<size_t>(i)]) << i << " radius " << radius;
        }
    }
}

TEST(DepthImages, AreSeenByAnotherCameraWithTheNearestInFront)
{
    // Two cameras side by side: pixels move by fx * 50 / depth; 4 for the near square, 2 for the background.
    std::vector<uint16_t> depth(size_t{kWidth} * kHeight, 2000), expected(depth.size(), 0), seen(depth.size());
    const auto isNear = [](uint32_t x, uint32_t y) { return x >= 10 && x < 20 && y >= 5 && y < 15; };
    for (uint32_t y = 0; y < kHeight; ++y)
    {
        for (uint32_t x = 0; x < kWidth; ++x)
        {
            depth[y * kWidth + x] = isNear(x, y) ? 1000 : 2000;
            const bool comesFromNear = x >= 4 && isNear(x - 4, y);
            const bool comesFromFar = x >= 2 && !isNear(x - 2, y);
            expected[y * kWidth + x] = comesFromNear ? 1000 : comesFromFar ? 2000 : 0;
        }
    }
    const float shift[3] = {50, 0, 0};
    ASSERT_EQ(0u, vsrDepthRegisteru16(depth.data(), kWidth, kHeight, 0, kCamera, kCamera, kNoTurn, shift, seen.data(),
                                      kWidth, kHeight, 0));
    EXPECT_EQ(expected, seen);
}

// ---- Disparity ----

// A random left view and the right view of two planes: the left half 5 pixels off, the right half 9.
struct Planes
{
    static constexpr uint32_t kPlaneWidth = 120;

    Planes()
    {
        for (uint32_t i = 0; i < right.size(); ++i)
        {
            const uint32_t x = i % kPlaneWidth;
            const uint32_t d = x < kPlaneWidth / 2 ? 5 : 9;
            right[i] = left[i - x + std::min(x + d, kPlaneWidth - 1)];
        }
    }

    std::vector<uint8_t> left = randomPixels(size_t{kPlaneWidth} * kHeight, 1);
    std::vector<uint8_t> right = left;
};

TEST(Disparity, OfTwoPlanesIsFound)
{
    const Planes planes;
    std::vector<int16_t> disparity(planes.left.size());
    const auto check = [&](const char* method)
    {
        int wrong = 0;
        for (uint32_t i = 0; i < disparity.size(); ++i)
        {
            const uint32_t x = i % Planes::kPlaneWidth;
            // Neither at the seam nor where the right view does not reach.
            if (x < 20 || x >= 108 || (x > 50 && x < 80))
            {
                continue;
            }
            wrong += std::abs(disparity[i] - 16 * (x < 60 ? 5 : 9)) > 8;  // refined by noise
        }
        EXPECT_EQ(0, wrong) << method;
    };
    ASSERT_EQ(0u, vsrDisparityBlockMatchu8s16(planes.left.data(), Planes::kPlaneWidth, kHeight, 0, planes.right.data(),
                                              0, -3, 20, 7, 0, 10, disparity.data(), 0));
    check("block matching");
    for (const uint32_t paths : {4u, 8u})
    {
        ASSERT_EQ(
            0u, vsrDisparitySemiGlobalu8s16(planes.left.data(), Planes::kPlaneWidth, kHeight, 0, planes.right.data(), 0,
                                            -3, 20, 5, 40, paths, 5, 1, disparity.data(), 0));
        check("semi-global matching");
    }
}

// The rule of block matching, pixel by pixel.
TEST(Disparity, OfBlocksFollowsTheRule)
{
    constexpr int width = 23, height = 9;
    Random random(5);
    struct Rule
    {
        int least, count, block, texture, uniqueness;
    };
    for (const Rule& rule : {Rule{0, 8, 3, 0, 0}, {-4, 9, 5, 300, 20}, {3, 40, 15, 0, 99}, {-30, 20, 1, 8, 5}})
    {
        const int least = rule.least, count = rule.count, block = rule.block, texture = rule.texture;
        const int uniqueness = rule.uniqueness;
        const auto left = randomPixels(size_t{width} * height, random.next());
        const auto right = randomPixels(size_t{width} * height, random.next());
        const auto at = [&](const std::vector<uint8_t>& image, int x, int y)
        { return int{image[static_cast<size_t>(std::clamp(y, 0, height - 1) * width + std::clamp(x, 0, width - 1))]}; };
        std::vector<int16_t> result(left.size());
        ASSERT_EQ(0u, vsrDisparityBlockMatchu8s16(left.data(), width, height, 0, right.data(), 0, least,
                                                  static_cast<uint32_t>(count), static_cast<uint32_t>(block),
                                                  static_cast<uint32_t>(texture), static_cast<uint32_t>(uniqueness),
                                                  result.data(), 0));
        for (int i = 0; i < width * height; ++i)
        {
            const int x = i % width, y = i / width, r = block / 2;
            const auto overWindow = [&](auto value)
            {
                int sum = 0;
                for (int j = -r; j <= r; ++j)
                {
                    for (int k = -r; k <= r; ++k)
                    {
                        sum += value(x + k, y + j);
                    }
                }
                return sum;
            };
            const auto isPossible = [&](int d)
            { return d >= least && d < least + count && x - d >= 0 && x - d < width; };
            const auto cost = [&](int d)
            { return overWindow([&](int u, int v) { return std::abs(at(left, u, v) - at(right, u - d, v)); }); };
            int expected = VISORA_DISPARITY_NONE, best = 0, cheapest = 1 << 30;
            for (int d = least; d < least + count; ++d)
            {
                if (isPossible(d) && cost(d) < cheapest)
                {
                    best = d;
                    cheapest = cost(d);
                    expected = 16 * d;
                }
            }
            for (int d = least; d < least + count; ++d)
            {
                if (isPossible(d) && std::abs(d - best) > 1 && cost(d) * (100 - uniqueness) < cheapest * 100)
                {
                    expected = VISORA_DISPARITY_NONE;
                }
            }
            if (overWindow([&](int u, int v) { return std::abs(at(left, u + 1, v) - at(left, u - 1, v)); }) < texture)
            {
                expected = VISORA_DISPARITY_NONE;
            }
            if (expected != VISORA_DISPARITY_NONE && isPossible(best - 1) && isPossible(best + 1))
            {
                const int p = cost(best - 1), n = cost(best + 1), den = p + n - 2 * cheapest;
                expected += den > 0 ? static_cast<int>(std::floor((16.0 * (p - n) + den) / (2.0 * den))) : 0;
            }
            ASSERT_EQ(expected, result[static_cast<size_t>(i)]) << i << " block " << block;
        }
    }
}

// Costs of more than 64 MiB are worked through in strips of rows, with results as if they were not.
TEST(Disparity, OfLargeImagesIsThatOfTheWhole)
{
    constexpr uint32_t width = 640, height = 210, count = 256;
    const auto left = randomPixels(size_t{width} * height, 6);
    std::vector<uint8_t> right = left;
    std::rotate(right.begin(), right.begin() + 40, right.end());
    std::vector<int16_t> expected(left.size()), found(left.size());
    ASSERT_EQ(0u, vsrDisparitySemiGlobalu8s16C(left.data(), width, height, width, right.data(), width, 0, count, 5, 40,
                                               8, 5, 1, expected.data(), width * 2));
    ASSERT_EQ(0u, vsrDisparitySemiGlobalu8s16V(left.data(), width, height, width, right.data(), width, 0, count, 5, 40,
                                               8, 5, 1, found.data(), width * 2));
    EXPECT_EQ(expected, found);
    EXPECT_NEAR(16 * 40, found[(found.size() + width) / 2], 8);
}

}  // namespace
}  // namespace visora::test
