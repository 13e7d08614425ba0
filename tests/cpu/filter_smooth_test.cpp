// Smoothing that keeps edges against slow restatements with the C library's exponential, and what must hold whatever
// the image.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/images.h"
#include "visora/edge_smooth.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kWidth = 29;
constexpr uint32_t kHeight = 21;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

Image randomImage(uint64_t seed)
{
    return randomPixels(size_t{kWidth} * kHeight, seed);
}

// Pixels near one another, so that weights are of all sizes.
Image softImage(uint64_t seed)
{
    Image image = randomImage(seed);
    for (size_t i = 0; i < image.size(); ++i)
    {
        image[i] = static_cast<uint8_t>(100 + image[i] % 40 + (i % kWidth > kWidth / 2 ? 60 : 0));
    }
    return image;
}

double weight(double a)
{
    return std::floor(255 * std::exp(-a) + 0.5);
}

auto bilateralMean(int N, double sigmaSpace, double sigmaRange)
{
    return [=](const Window<uint8_t>& window)
    {
        double sum = 0, weights = 0;
        for (int k = 0; k < N * N; ++k)
        {
            const int i = k % N - N / 2, j = k / N - N / 2;
            const double q = *window[static_cast<size_t>(k)];
            const double difference = q - *window[static_cast<size_t>(N * N / 2)];
            const double w = weight((i * i + j * j) / (2 * sigmaSpace * sigmaSpace)) *
                             weight(difference * difference / (2 * sigmaRange * sigmaRange));
            sum += w * q;
            weights += w;
        }
        return static_cast<uint8_t>(std::floor((2 * sum + weights) / (2 * weights)));
    };
}

TEST(BilateralFilter, WeighsByDistanceAndDifference)
{
    for (const float range : {3.0f, 15.0f, 30.0f, 80.0f})
    {
        for (const Image& src : {softImage(1), randomImage(2)})
        {
            const float space = range / 10 + 0.7f;
            Image dst(src.size());
            const auto expected = [&](int N, vsrBorderType border = VISORA_BORDER_REPLICATE)
            {
                const auto side = static_cast<size_t>(N);
                return filterWindows(src, kWidth, side, side, border, 120, bilateralMean(N, space, range));
            };
            EXPECT_EQ(0u, vsrBilateralFilter5x5u8(src.data(), kWidth, kHeight, space, range, dst.data()));
            EXPECT_EQ(expected(5), dst);
            EXPECT_EQ(0u, vsrBilateralFilter7x7u8(src.data(), kWidth, kHeight, space, range, dst.data()));
            EXPECT_EQ(expected(7), dst);
            for (const vsrBorderType border : {VISORA_BORDER_CONSTANT, VISORA_BORDER_REPLICATE})
            {
                EXPECT_EQ(0u, vsrBilateralFilter9x9u8(src.data(), kWidth, kHeight, 0, space, range, dst.data(), 0,
                                                      border, 120));
                EXPECT_EQ(expected(9, border), dst);
            }
            for (const uint32_t N : {1u, 3u, 5u, 11u, 15u, 17u, 33u})
            {
                EXPECT_EQ(0u, vsrBilateralFilterJointu8(src.data(), kWidth, kHeight, 0, src.data(), 0, N, space, range,
                                                        dst.data(), 0));
                EXPECT_EQ(expected(static_cast<int>(N)), dst) << N;
            }
        }
    }
}

// An even guide leaves the weights of the distances; one of two parts keeps the parts' pixels apart.
TEST(BilateralFilter, JointTakesDifferencesFromTheGuide)
{
    const Image src = randomImage(3), even(src.size(), 77);
    Image parted(src.size()), dst(src.size()), other(src.size());
    for (size_t i = 0; i < src.size(); ++i)
    {
        parted[i] = i % kWidth < 13 ? 20 : 220;
    }
    EXPECT_EQ(0u, vsrBilateralFilterJointu8(src.data(), kWidth, kHeight, 0, even.data(), 0, 7, 2, 5, dst.data(), 0));
    EXPECT_EQ(filterWindows(src, kWidth, 7, 7, VISORA_BORDER_REPLICATE, 0, bilateralMean(7, 2, 1e9)), dst);

    Image changed = src;
    changed[5 * kWidth + 13] ^= 255;  // on the right
    vsrBilateralFilterJointu8(src.data(), kWidth, kHeight, 0, parted.data(), 0, 7, 2, 30, dst.data(), 0);
    vsrBilateralFilterJointu8(changed.data(), kWidth, kHeight, 0, parted.data(), 0, 7, 2, 30, other.data(), 0);
    for (size_t i = 0; i < src.size(); ++i)
    {
        ASSERT_TRUE(i % kWidth >= 13 || dst[i] == other[i]);
    }
    EXPECT_NE(dst[5 * kWidth + 13], other[5 * kWidth + 13]);
}

TEST(BilateralFilter, DepthMapsWithMissingPixels)
{
    Random random(4);
    std::vector<float> src(size_t{kWidth} * kHeight), dst(src.size(), -1);
    for (float& depth : src)
    {
        constexpr float kMissing[] = {0, -0.0f, kInfinity, -kInfinity, kNan};
        depth = random.oneIn(6) ? kMissing[random.between(0, 4)] : static_cast<float>(random.between(100, 300)) / 100;
    }
    const auto isMissing = [](float depth) { return depth == 0 || !std::isfinite(depth); };
    const double space = 1.5, range = 0.4;
    for (const int N : {1, 5, 11})
    {
        const auto mean = [&](const Window<float>& window)
        {
            const float p = *window[static_cast<size_t>(N * N / 2)];
            double sum = 0, weights = 0;
            for (int k = 0; k < N * N; ++k)
            {
                const auto q = window[static_cast<size_t>(k)];
                const int i = k % N - N / 2, j = k / N - N / 2;
                if (q && !isMissing(*q))
                {
                    const double difference = *q - p;
                    const double w = std::exp(-(i * i + j * j) / (2 * space * space)) *
                                     std::exp(-difference * difference / (2 * range * range));
                    sum += w * *q;
                    weights += w;
                }
            }
            return isMissing(p) ? 0 : static_cast<float>(sum / weights);
        };
        const auto side = static_cast<size_t>(N);
        EXPECT_EQ(0u, vsrBilateralFilterNxNf32(src.data(), kWidth, kHeight, 0, static_cast<uint32_t>(N), 1.5f, 0.4f,
                                               dst.data(), 0));
        const auto expected = filterWindows(src, kWidth, side, side, VISORA_BORDER_UNDEFINED, 0, mean);
        for (size_t i = 0; i < src.size(); ++i)
        {
            ASSERT_NEAR(expected[i], dst[i], 2e-5) << i;
            ASSERT_FALSE(std::signbit(dst[i]));
        }
    }
}

// The filter with real numbers; rounding its slopes to 1/4096 moves no result by more than 1.
TEST(GuidedFilter, FollowsTheGuideWithinWindowsThatEndAtTheImage)
{
    const auto boxMean = [](const std::vector<double>& values, size_t side)
    {
        return filterWindows(values, kWidth, side, side, VISORA_BORDER_UNDEFINED, 0,
                             [](const Window<double>& window)
                             {
                                 double sum = 0, count = 0;
                                 for (const auto& value : window)
                                 {
                                     sum += value.value_or(0);
                                     count += value ? 1 : 0;
                                 }
                                 return sum / count;
                             });
    };
    for (const uint32_t radius : {1u, 4u, 15u, 127u})
    {
        for (const float eps : {0.01f, 200.0f, 1e6f})
        {
            const Image guide = softImage(5), src = eps < 1 ? guide : softImage(6);
            const size_t side = 2 * std::min(radius, kWidth) + 1;
            const std::vector<double> I(guide.begin(), guide.end()), p(src.begin(), src.end());
            std::vector<double> products(I.size()), squares(I.size()), a(I.size()), b(I.size());
            for (size_t i = 0; i < I.size(); ++i)
            {
                products[i] = I[i] * p[i];
                squares[i] = I[i] * I[i];
            }
            const auto meanI = boxMean(I, side), meanP = boxMean(p, side);
            const auto meanIP = boxMean(products, side), meanII = boxMean(squares, side);
            for (size_t i = 0; i < I.size(); ++i)
            {
                a[i] = (meanIP[i] - meanI[i] * meanP[i]) / (meanII[i] - meanI[i] * meanI[i] + double{eps});
                b[i] = meanP[i] - a[i] * meanI[i];
            }
            const auto meanA = boxMean(a, side), meanB = boxMean(b, side);
            Image dst(src.size());
            EXPECT_EQ(0u,
                      vsrGuidedFilteru8(src.data(), kWidth, kHeight, 0, guide.data(), 0, radius, eps, dst.data(), 0));
            for (size_t i = 0; i < I.size(); ++i)
            {
                ASSERT_NEAR(std::clamp(meanA[i] * I[i] + meanB[i], 0.0, 255.0), dst[i], 0.55) << radius << " " << eps;
            }
        }
    }
    const Image guide = randomImage(7), even(guide.size(), 131);
    Image dst(guide.size());
    vsrGuidedFilteru8(even.data(), kWidth, kHeight, 0, guide.data(), 0, 3, 1, dst.data(), 0);
    EXPECT_EQ(even, dst);
}

TEST(NonLocalMeans, WeighsByTheDifferenceOfPatches)
{
    for (const float strength : {0.3f, 1.2805f, 4.0f, 14.45f, 20.49f, 100.0f, 255.0f})
    {
        for (const uint32_t N : {1u, 3u, 7u})
        {
            const Image src = strength < 5 ? softImage(8) : randomImage(9);
            const double squared = double{strength} * double{strength};
            double unit = 1;
            while (256 * unit < 156 * squared)
            {
                unit *= 2;
            }
            // The windows of all patches around a pixel.
            const auto radius = static_cast<int>(N / 2), side = static_cast<int>(N + 4);
            const auto mean = [&](const Window<uint8_t>& window)
            {
                const auto at = [&](int i, int j)
                {
                    const int place = (j + side / 2) * side + i + side / 2;
                    return static_cast<double>(*window[static_cast<size_t>(place)]);
                };
                double sum = 0, weights = 0;
                for (int j = -radius; j <= radius; ++j)
                {
                    for (int i = -radius; i <= radius; ++i)
                    {
                        double distance = 0;
                        for (int k = 0; k < 25; ++k)
                        {
                            distance += std::pow(at(k % 5 - 2, k / 5 - 2) - at(i + k % 5 - 2, j + k / 5 - 2), 2);
                        }
                        const double k = std::floor(distance / unit);
                        const double w = k < 256 ? weight(k * unit / (25 * squared)) : 0;
                        sum += w * at(i, j);
                        weights += w;
                    }
                }
                return static_cast<uint8_t>(std::floor((2 * sum + weights) / (2 * weights)));
            };
            Image dst(src.size());
            EXPECT_EQ(0u, vsrDenoiseNonLocalu8(src.data(), kWidth, kHeight, 0, N, strength, dst.data(), 0));
            const auto windowSide = static_cast<size_t>(side);
            EXPECT_EQ(filterWindows(src, kWidth, windowSide, windowSide, VISORA_BORDER_REPLICATE, 0, mean), dst)
                << strength << " " << N;
        }
    }
}

TEST(EdgeSmoothing, ArgumentsOutOfTheirRangesAreRefused)
{
    const Image src(64, 9);
    Image dst(64, 5);
    std::vector<float> floats(64, 1), results(64, 2);
    for (const float bad : {0.0f, -1.0f, kInfinity, kNan})
    {
        for (const auto& [space, range] : {std::pair(bad, 1.0f), std::pair(1.0f, bad)})
        {
            EXPECT_EQ(VISORA_EBADPARAM, vsrBilateralFilter5x5u8(src.data(), 8, 8, space, range, dst.data()));
            EXPECT_EQ(VISORA_EBADPARAM, vsrBilateralFilter7x7u8_v2(src.data(), 8, 8, 0, space, range, dst.data(), 0));
            EXPECT_EQ(VISORA_EBADPARAM,
                      vsrBilateralFilter9x9u8(src.data(), 8, 8, 0, space, range, dst.data(), 0, 1, 0));
            EXPECT_EQ(VISORA_EBADPARAM,
                      vsrBilateralFilterJointu8(src.data(), 8, 8, 0, src.data(), 0, 5, space, range, dst.data(), 0));
            EXPECT_EQ(VISORA_EBADPARAM,
                      vsrBilateralFilterNxNf32(floats.data(), 8, 8, 0, 5, space, range, results.data(), 0));
        }
        EXPECT_EQ(VISORA_EBADPARAM, vsrDenoiseNonLocalu8(src.data(), 8, 8, 0, 5, bad, dst.data(), 0));
    }
    for (const uint32_t N : {0u, 4u, 257u})
    {
        EXPECT_EQ(VISORA_EBADPARAM,
                  vsrBilateralFilterJointu8(src.data(), 8, 8, 0, src.data(), 0, N, 1, 1, dst.data(), 0));
        EXPECT_EQ(VISORA_EBADPARAM, vsrBilateralFilterNxNf32(floats.data(), 8, 8, 0, N, 1, 1, results.data(), 0));
        EXPECT_EQ(VISORA_EBADPARAM, vsrDenoiseNonLocalu8(src.data(), 8, 8, 0, N, 1, dst.data(), 0));
    }
    EXPECT_EQ(VISORA_EBADPARAM, vsrBilateralFilter9x9u8(src.data(), 8, 8, 0, 1, 1, dst.data(), 0, 3, 0));
    EXPECT_EQ(VISORA_EBADPARAM, vsrDenoiseNonLocalu8(src.data(), 8, 8, 0, 5, 255.1f, dst.data(), 0));
    for (const auto& [radius, eps] : {std::pair(0u, 1.0f), std::pair(128u, 1.0f), std::pair(1u, 0.0099f),
                                      std::pair(1u, 1.1e6f), std::pair(1u, kNan)})
    {
        EXPECT_EQ(VISORA_EBADPARAM, vsrGuidedFilteru8(src.data(), 8, 8, 0, src.data(), 0, radius, eps, dst.data(), 0));
    }
    EXPECT_EQ(Image(64, 5), dst);
    EXPECT_EQ(std::vector<float>(64, 2), results);
}

}  // namespace
}  // namespace visora::test
