// Clusters, trees, descriptors of gradients and small tools: judged by slow restatements and known answers.
#include "visora/descriptor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <tuple>
#include <vector>

#include "support/images.h"
#include "support/random.h"
#include "visora/cluster.h"
#include "visora/element.h"
#include "visora/types.h"
#include "visora/wavelet.h"

namespace visora::test
{
namespace
{

// ---- Clusters and trees ----

TEST(Clusters, AreAssignedToTheNearestAndMoveToTheirMeans)
{
    constexpr uint32_t kLength = 5, kVectors = 60, kCentres = 7;
    Random random(4);
    std::vector<uint8_t> src(kLength * kVectors), centres(kLength * kCentres);
    const auto fill = [&](auto& list)
    { std::generate(list.begin(), list.end(), [&] { return static_cast<uint8_t>(random.between(0, 20)); }); };
    fill(src);
    fill(centres);
    std::fill_n(centres.begin() + kLength, kLength, uint8_t{255});  // far from all
    const std::vector<float> floats(src.begin(), src.end());
    std::vector<float> floatCentres(centres.begin(), centres.end());
    std::vector<uint16_t> indices(kVectors), floatIndices(kVectors);
    std::vector<uint32_t> distances(kVectors), counts(kCentres);
    std::vector<float> floatDistances(kVectors);
    ASSERT_EQ(0u, vsrClusterAssignu8(src.data(), kLength, kVectors, 0, centres.data(), kCentres, 0, indices.data(),
                                     distances.data()));
    ASSERT_EQ(0u, vsrClusterAssignf32(floats.data(), kLength, kVectors, 0, floatCentres.data(), kCentres, 0,
                                      floatIndices.data(), floatDistances.data()));
    std::vector<std::vector<uint32_t>> sums(kCentres, std::vector<uint32_t>(kLength));
    std::vector<uint32_t> expectedCounts(kCentres);
    for (size_t i = 0; i < kVectors; ++i)
    {
        size_t nearest = 0;
        int least = INT32_MAX;
        for (size_t k = 0; k < kCentres; ++k)
        {
            int distance = 0;
            for (size_t e = 0; e < kLength; ++e)
            {
                const int difference = src[i * kLength + e] - centres[k * kLength + e];
                distance += difference * difference;
            }
            nearest = distance < least ? k : nearest;
            least = std::min(least, distance);
        }
        ASSERT_EQ(std::pair(nearest, least), std::pair(size_t{indices[i]}, static_cast<int>(distances[i])));
        ASSERT_EQ(std::pair(nearest, least), std::pair(size_t{floatIndices[i]}, static_cast<int>(floatDistances[i])));
        ++expectedCounts[nearest];
        for (size_t e = 0; e < kLength; ++e)
        {
            sums[nearest][e] += src[i * kLength + e];
        }
    }
    const std::vector<uint8_t> before = centres;
    float shift = 0;
    ASSERT_EQ(0u, vsrClusterUpdateu8(src.data(), kLength, kVectors, 0, indices.data(), centres.data(), kCentres, 0,
                                     counts.data()));
    ASSERT_EQ(0u, vsrClusterUpdatef32(floats.data(), kLength, kVectors, 0, indices.data(), floatCentres.data(),
                                      kCentres, 0, &shift));
    EXPECT_EQ(expectedCounts, counts);
    double most = 0;
    for (size_t k = 0; k < kCentres; ++k)
    {
        double squares = 0;
        for (size_t e = 0; e < kLength; ++e)
        {
            const size_t at = k * kLength + e;
            const double mean = counts[k] == 0 ? before[at] : static_cast<double>(sums[k][e]) / counts[k];
            EXPECT_EQ(std::floor(mean + 0.5), centres[at]);
            EXPECT_NEAR(mean, floatCentres[at], 1e-6 * mean);
            squares += (mean - before[at]) * (mean - before[at]);
        }
        most = std::max(most, std::sqrt(squares));
    }
    EXPECT_NEAR(most, shift, 1e-5);
}

TEST(KDTrees, FindWhatComparingWithEveryVectorFinds)
{
    Random random(5);
    for (const auto& [length, count, range] :
         {std::tuple(1u, 30u, 9u), {3u, 500u, 30u}, {8u, 300u, 100u}, {2u, 5u, 3u}})
    {
        constexpr uint32_t kNeighbours = 7;
        std::vector<float> set(size_t{length} * count), query(length);
        const auto fill = [&, most = range](auto& list)
        { std::generate(list.begin(), list.end(), [&] { return static_cast<float>(random.between(0, most)); }); };
        fill(set);
        vsrKDTree* tree = nullptr;
        ASSERT_EQ(0u, vsrKDTreeBuildf32(set.data(), length, count, 0, &tree));
        for (int round = 0; round < 20; ++round)
        {
            fill(query);
            std::vector<std::pair<float, uint32_t>> expected;
            for (uint32_t i = 0; i < count; ++i)
            {
                float distance = 0;  // of whole numbers, exact
                for (size_t e = 0; e < length; ++e)
                {
                    const float difference = query[e] - set[size_t{i} * length + e];
                    distance += difference * difference;
                }
                expected.emplace_back(distance, i);
            }
            std::sort(expected.begin(), expected.end());
            expected.resize(kNeighbours, {INFINITY, VISORA_NO_MATCH});
            std::vector<uint32_t> indices(kNeighbours);
            std::vector<float> distances(kNeighbours);
            ASSERT_EQ(0u,
                      vsrKDTreeSearchf32(tree, query.data(), 1, 0, kNeighbours, 0, indices.data(), distances.data()));
            for (size_t i = 0; i < kNeighbours; ++i)
            {
                ASSERT_EQ(expected[i], std::pair(distances[i], indices[i]));
            }
        }
        EXPECT_EQ(0u, vsrKDTreeReleasef32(tree));
    }
}

// ---- Descriptors of gradients ----

// On a plane that gets brighter in one direction all of a cell's gradients are alike: they vote for the two bins beside
// that direction by how near these are.
TEST(OrientedGradients, OfAPlaneAreInItsDirection)
{
    constexpr uint32_t kSide = 24, kBins = 9;
    for (const auto& [a, b] : {std::pair(5, 0), {0, 5}, {3, 4}, {-4, 3}, {-2, -6}, {5, -5}})
    {
        Image image;
        for (int i = 0; i < int{kSide * kSide}; ++i)
        {
            image.push_back(static_cast<uint8_t>(128 + a * (i % 24 - 12) + b * (i / 24 - 12)));
        }
        for (const uint32_t isSigned : {0u, 1u})
        {
            uint64_t handle = 0;
            ASSERT_EQ(0u, vsrHOGInit(4, 1, 1, kBins, isSigned, &handle));
            std::vector<uint16_t> features(36 * kBins);
            ASSERT_EQ(0u, vsrExtractHOGu16(image.data(), kSide, kSide, 0, handle, features.data(), 0));
            EXPECT_EQ(0u, vsrHOGDeInit(handle));
            const double turn = isSigned != 0 ? 2 * std::acos(-1) : std::acos(-1);
            const double angle = std::fmod(std::atan2(b, a) + 4 * std::acos(-1), turn);
            const double place = angle / turn * kBins - 0.5;  // centres are whole numbers
            const double upper = place - std::floor(place);
            std::array<double, kBins> v = {};
            const double magnitude = 16 * 16 * 2 * std::hypot(a, b);
            v[static_cast<size_t>(std::floor(place) + kBins) % kBins] = magnitude * (1 - upper);
            v[static_cast<size_t>(std::floor(place) + 1 + kBins) % kBins] += magnitude * upper;
            const auto length = [&] { return std::sqrt(std::inner_product(v.begin(), v.end(), v.begin(), 0.0)); };
            const double first = length() + kBins * 1.6;
            std::for_each(v.begin(), v.end(), [=](double& e) { e = std::min(e / first, 0.2); });
            const double second = length() + 0.001;
            for (size_t k = 0; k < kBins; ++k)
            {
                // The cell in column 2 and row 3, which no edge is near.
                EXPECT_NEAR(32768 * v[k] / second, features[(3 * 6 + 2) * kBins + k], 600) << a << " " << b << " " << k;
            }
        }
    }
}

TEST(OrientedGradients, WindowsAreSumsOfProducts)
{
    constexpr uint32_t kGrid = 7, kBlock = 9, kWindow = 3;
    Random random(6);
    std::vector<uint16_t> features(kGrid * kGrid * kBlock);
    std::vector<float> weights(kWindow * kWindow * kBlock);
    std::generate(features.begin(), features.end(), [&] { return static_cast<uint16_t>(random.between(0, 99)); });
    std::generate(weights.begin(), weights.end(), [&] { return static_cast<float>(random.between(0, 40)) - 20; });
    std::vector<float> scores(3 * 3);
    ASSERT_EQ(0u, vsrHOGWindowScoreu16f32(features.data(), kGrid, kGrid, 0, kBlock, weights.data(), kWindow, kWindow, 2,
                                          2, 0.5f, scores.data(), 0));
    for (size_t at = 0; at < scores.size(); ++at)
    {
        double sum = 0.5;
        for (size_t i = 0; i < weights.size(); ++i)
        {
            const size_t row = at / 3 * 2 + i / (kWindow * kBlock), column = at % 3 * 2 + i / kBlock % kWindow;
            sum += double{weights[i]} * features[(row * kGrid + column) * kBlock + i % kBlock];
        }
        EXPECT_EQ(sum, scores[at]);  // of whole numbers, exact but for the half
    }
}

// A turn of the picture and of the angle, and other light, change little.
TEST(KeypointDescriptors, TurnWithThePictureAndIgnoreLight)
{
    constexpr uint32_t kSide = 61;
    Image upright(kSide * kSide), turned(upright), lit(upright);
    for (size_t i = 0; i < upright.size(); ++i)
    {
        const auto x = static_cast<double>(i % kSide), y = static_cast<double>(i / kSide);
        const double value = 60 + 25 * std::sin(x * 0.31 + y * 0.1) + 20 * std::cos(y * 0.27 - x * 0.13);
        upright[i] = static_cast<uint8_t>(value);
        lit[i] = static_cast<uint8_t>(2 * upright[i] + 20);
        // What is along x comes to lie along y.
        turned[i % kSide * kSide + (kSide - 1 - i / kSide)] = upright[i];
    }
    const vsrKeypoint keys[] = {{30, 30, 1.5f, 20}, {30, 30, 1.5f, 110}};
    std::vector<uint8_t> gradients[3];
    std::vector<int8_t> patches[3];
    for (size_t k = 0; k < 3; ++k)
    {
        const Image& image = k == 0 ? upright : k == 1 ? turned : lit;
        gradients[k].resize(128);
        patches[k].resize(64);
        ASSERT_EQ(0u, vsrDescriptorGradient128u8(image.data(), kSide, kSide, 0, &keys[k == 1 ? 1 : 0], 1,
                                                 gradients[k].data(), 0));
        ASSERT_EQ(0u, vsrDescriptorPatch64u8s8(image.data(), kSide, kSide, 0, &keys[k == 1 ? 1 : 0], 1,
                                               patches[k].data(), 0));
    }
    const auto cosine = [](const auto& a, const auto& b)
    {
        return std::inner_product(a.begin(), a.end(), b.begin(), 0.0) /
               std::sqrt(std::inner_product(a.begin(), a.end(), a.begin(), 0.0) *
                         std::inner_product(b.begin(), b.end(), b.begin(), 0.0));
    };
    for (const size_t k : {1u, 2u})
    {
        EXPECT_GT(cosine(gradients[0], gradients[k]), 0.999) << k;
        EXPECT_GT(cosine(patches[0], patches[k]), 0.999) << k;
    }
    // Lengths are 512, but for what is cut off, and 127.
    const auto squares = [](const auto& v) { return std::inner_product(v.begin(), v.end(), v.begin(), 0.0); };
    EXPECT_NEAR(512, std::sqrt(squares(gradients[0])), 3);
    EXPECT_NEAR(127, std::sqrt(squares(patches[0])), 1);
    // A ramp has one direction: seven of eight are empty in every place.
    Image ramp(kSide * kSide);
    for (size_t i = 0; i < ramp.size(); ++i)
    {
        ramp[i] = static_cast<uint8_t>(2 * (i / kSide));
    }
    const vsrKeypoint still = {30, 30, 1.5f, 0};
    ASSERT_EQ(0u, vsrDescriptorGradient128u8(ramp.data(), kSide, kSide, 0, &still, 1, gradients[0].data(), 0));
    for (size_t i = 0; i < 128; ++i)
    {
        EXPECT_EQ(i % 8 == 2, gradients[0][i] > 1) << i;  // 2 eighths of a turn: down
    }
}

// ---- Small tools ----

TEST(Haar, HalvesAreMeansAndDifferences)
{
    for (const auto& [width, height] : {std::pair(1u, 1u), {2u, 2u}, {5u, 3u}, {16u, 7u}})
    {
        const auto src = randomPixels<int16_t>(size_t{width} * height, width);
        const size_t halfWidth = (width + 1) / 2, halfHeight = (height + 1) / 2;
        std::vector<int16_t> bands[4];
        std::for_each(std::begin(bands), std::end(bands), [=](auto& band) { band.resize(halfWidth * halfHeight); });
        std::vector<int16_t> small(src.size()), back(src.size());
        std::transform(src.begin(), src.end(), small.begin(), [](int16_t v) { return static_cast<int16_t>(v / 8); });
        for (const auto& image : {src, small})
        {
            ASSERT_EQ(0u, vsrHaarForwards16(image.data(), width, height, 0, bands[0].data(), bands[1].data(),
                                            bands[2].data(), bands[3].data(), 0));
            ASSERT_EQ(0u, vsrHaarInverses16(bands[0].data(), bands[1].data(), bands[2].data(), bands[3].data(), width,
                                            height, 0, back.data(), 0));
            EXPECT_EQ(image, back);
        }
        for (size_t i = 0; width > 1 && height > 1 && i < (width / 2) * (height / 2); ++i)
        {
            const size_t x = i % (width / 2), y = i / (width / 2);
            const auto* p = &small[2 * y * width + 2 * x];
            const auto mean = [](int e, int o) { return (e + o) >> 1; };
            const int low[] = {mean(p[0], p[1]), mean(p[width], p[width + 1])},
                      high[] = {p[1] - p[0], p[width + 1] - p[width]};
            const size_t at = y * halfWidth + x;
            EXPECT_EQ(mean(low[0], low[1]), bands[0][at]);
            EXPECT_EQ(mean(high[0], high[1]), bands[1][y * halfWidth + x]);
            EXPECT_EQ(low[1] - low[0], bands[2][at]);
            EXPECT_EQ(high[1] - high[0], bands[3][at]);
        }
    }
}

TEST(Scores, AreSortedWithTheirValues)
{
    Random random(8);
    for (int round = 0; round < 300; ++round)
    {
        std::array<std::pair<float, float>, 8> expected;
        float scores[8], values[8];
        for (size_t i = 0; i < 8; ++i)
        {
            const uint32_t draw = random.between(0, 5);
            scores[i] = draw == 0 ? NAN : draw == 1 ? -0.0f : static_cast<float>(draw) - 2;
            values[i] = static_cast<float>(i);
            expected[i] = {scores[i], values[i]};
        }
        std::stable_sort(expected.begin(), expected.end(),
                         [](const auto& a, const auto& b)
                         { return a.first > b.first || (!std::isnan(a.first) && std::isnan(b.first)); });
        ASSERT_EQ(0u, vsrSort8Scoresf32(scores, values));
        for (size_t i = 0; i < 8; ++i)
        {
            ASSERT_EQ(expected[i].second, values[i]);
        }
    }
}

TEST(CodeHistograms, AreSharesOrUnitVectors)
{
    const uint16_t codes[] = {3, 1, 3, 3, 0, 1, 3};
    const uint32_t counts[] = {1, 2, 0, 4, 0};
    float histogram[5];
    ASSERT_EQ(0u, vsrCodeHistogramu16(codes, 7, 5, VISORA_HISTOGRAM_L1, histogram));
    for (size_t i = 0; i < 5; ++i)
    {
        EXPECT_FLOAT_EQ(static_cast<float>(counts[i]) / 7, histogram[i]);
    }
    ASSERT_EQ(0u, vsrCodeHistogramu16(codes, 7, 5, VISORA_HISTOGRAM_L2, histogram));
    for (size_t i = 0; i < 5; ++i)
    {
        EXPECT_FLOAT_EQ(static_cast<float>(counts[i]) / std::sqrt(21.0f), histogram[i]);
    }
}

}  // namespace
}  // namespace visora::test
