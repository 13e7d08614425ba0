// Histograms, statistics and moments against slow restatements and known answers.
#include "visora/variants/statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "support/images.h"
#include "visora/variants/track.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kWidth = 37;
constexpr uint32_t kHeight = 29;

class Measures : public testing::Test
{
  protected:
    uint32_t countOf(uint32_t value) const
    {
        return static_cast<uint32_t>(std::count(image.begin(), image.end(), static_cast<uint8_t>(value)));
    }

    const Image image = randomPixels(kWidth * kHeight, 8);
    const Image other = randomPixels(kWidth * kHeight, 9);
    const Image mask = randomPixels(kWidth * kHeight, 10);
};

// ---- Histograms ----

TEST_F(Measures, HistogramCountsEveryLevelOfARectangle)
{
    uint32_t histogram[256];
    ASSERT_EQ(0u, vsrImageIntensityHistogram(image.data(), kWidth, kHeight, 0, 0, 0, kWidth, kHeight, histogram));
    for (uint32_t v = 0; v < 256; ++v)
    {
        EXPECT_EQ(countOf(v), histogram[v]) << v;
    }
    ASSERT_EQ(0u,
              vsrImageIntensityHistogram(image.data(), kWidth, kHeight, 0, kWidth - 1, kHeight - 1, 1, 1, histogram));
    EXPECT_EQ(1u, histogram[image.back()]);
    EXPECT_EQ(1u, std::accumulate(histogram, histogram + 256, 0u));
    EXPECT_EQ(VISORA_EBADPARAM,
              vsrImageIntensityHistogram(image.data(), kWidth, kHeight, 0, 1, 0, UINT32_MAX, 1, histogram));
}

TEST(Histogram, OfALargeRectangleCountsTheOddColumnsToo)
{
    constexpr uint32_t kSide = 803;
    const Image image = randomPixels(size_t{kSide} * kSide, 11);
    std::vector<uint32_t> expected(256);
    for (size_t i = 0; i < image.size(); ++i)
    {
        const bool isInside = i % kSide >= 1 && i % kSide <= kSide - 2 && i / kSide >= 3;
        expected[image[i]] += isInside ? 1 : 0;
    }
    std::vector<uint32_t> histogram(256);
    ASSERT_EQ(0u,
              vsrImageIntensityHistogram(image.data(), kSide, kSide, 0, 1, 3, kSide - 2, kSide - 3, histogram.data()));
    EXPECT_EQ(expected, histogram);
}

TEST_F(Measures, HistogramsPutLevelsIntoBinsUnderAMask)
{
    uint32_t bins[7];
    ASSERT_EQ(0u, vsrImageIntensityHistogram_v2(image.data(), kWidth, kHeight, 0, mask.data(), 0, 20, 201, 7, bins));
    uint32_t expected[7] = {};
    std::vector<uint32_t> pairs(5 * 9);
    ASSERT_EQ(0u, vsrHistogram2Du8(image.data(), kWidth, kHeight, 0, other.data(), 0, nullptr, 0, 5, 9, pairs.data()));
    std::vector<uint32_t> expectedPairs(5 * 9);
    for (size_t i = 0; i < image.size(); ++i)
    {
        if (mask[i] != 0 && image[i] >= 20 && image[i] < 201)
        {
            ++expected[(image[i] - 20) * 7 / 181];
        }
        ++expectedPairs[static_cast<size_t>(image[i] * 5 / 256 * 9 + other[i] * 9 / 256)];
    }
    EXPECT_TRUE(std::equal(bins, bins + 7, expected));
    EXPECT_EQ(expectedPairs, pairs);
}

TEST_F(Measures, EqualizedLevelsAreTheirShareOfThePixels)
{
    Image dark(image.size());
    std::transform(image.begin(), image.end(), dark.begin(),
                   [](uint8_t v) { return static_cast<uint8_t>(40 + v / 8); });
    Image result(image.size());
    ASSERT_EQ(0u, vsrEqualizeHistogramu8(dark.data(), kWidth, kHeight, result.data()));
    const auto atMost = [&](uint8_t v)
    { return static_cast<double>(std::count_if(dark.begin(), dark.end(), [=](uint8_t p) { return p <= v; })); };
    const double lowest = atMost(*std::min_element(dark.begin(), dark.end()));
    for (size_t i = 0; i < dark.size(); ++i)
    {
        const double share = (atMost(dark[i]) - lowest) / (static_cast<double>(dark.size()) - lowest);
        ASSERT_NEAR(255 * share, result[i], 0.501) << i;
    }
    const Image flat(image.size(), 99);
    ASSERT_EQ(0u, vsrEqualizeHistogramu8(flat.data(), kWidth, kHeight, result.data()));
    EXPECT_EQ(flat, result);
}

TEST_F(Measures, ClaheOfOneTileWithoutLimitIsTheCumulativeShare)
{
    Image result(image.size());
    ASSERT_EQ(0u, vsrClaheu8(image.data(), kWidth, kHeight, 0, 1, 1, 0, result.data(), 0));
    std::vector<uint16_t> wide(image.size());
    std::transform(image.begin(), image.end(), wide.begin(), [](uint8_t v) { return static_cast<uint16_t>(v * 256); });
    std::vector<uint16_t> wideResult(image.size());
    ASSERT_EQ(0u, vsrClaheu16(wide.data(), kWidth, kHeight, 0, 1, 1, 0, 65536, wideResult.data(), 0));
    for (size_t i = 0; i < image.size(); ++i)
    {
        const double share =
            static_cast<double>(std::count_if(image.begin(), image.end(), [&](uint8_t p) { return p <= image[i]; })) /
            static_cast<double>(image.size());
        ASSERT_NEAR(255 * share, result[i], 0.501) << i;
        ASSERT_NEAR(65535 * share, wideResult[i], 0.51) << i;
    }
}

TEST_F(Measures, ClaheBlendsTilesAndLimitsTheSlope)
{
    // Two tiles of one level each: between their centres the levels go from the one map to the other, and with the
    // lowest limit every map is nearly even.
    Image halves(64 * 8);
    for (size_t i = 0; i < halves.size(); ++i)
    {
        halves[i] = i % 64 < 32 ? 50 : 200;
    }
    Image result(halves.size());
    ASSERT_EQ(0u, vsrClaheu8(halves.data(), 64, 8, 0, 2, 1, 0, result.data(), 0));
    EXPECT_EQ(255, result[0]);
    // The right tile has nothing as dark as 50.
    EXPECT_EQ(static_cast<uint8_t>(std::lround(255 * (1 - (31 / 32.0 - 0.5)))), result[31]);
    ASSERT_EQ(0u, vsrClaheu8(halves.data(), 64, 8, 0, 2, 1, 0.001f, result.data(), 0));
    EXPECT_NEAR(50, result[0], 2);
    EXPECT_NEAR(200, result[63], 2);
}

TEST_F(Measures, BackProjectionGivesEveryLevelItsBinsWeight)
{
    Image levels(256);
    std::iota(levels.begin(), levels.end(), uint8_t{0});
    for (const uint32_t bins : {1u, 7u, 256u})
    {
        Image result(256);
        ASSERT_EQ(0u, vsrBackProjectu8(levels.data(), 256, 1, image.data(), bins, result.data()));
        for (uint32_t v = 0; v < 256; ++v)
        {
            EXPECT_EQ(image[v * bins / 256], result[v]) << bins << " " << v;
        }
    }
}

TEST_F(Measures, HistogramDistancesAreThoseOfEqualOppositeAndDisjointOnes)
{
    const float a[] = {1, 2, 3, 4};
    const float opposite[] = {4, 3, 2, 1};
    const float apart[] = {0, 5, 0, 5};
    const float disjoint[] = {3, 0, 1, 0};
    struct
    {
        const float* first;
        const float* second;
        uint32_t method;
        double expected;
    } const cases[] = {
        {a, a, VISORA_HISTOGRAM_CORRELATION, 1},
        {a, opposite, VISORA_HISTOGRAM_CORRELATION, -1},
        {a, a, VISORA_HISTOGRAM_CHI_SQUARE, 0},
        {a, opposite, VISORA_HISTOGRAM_CHI_SQUARE, 9 + 0.5 + 1.0 / 3 + 9.0 / 4},
        {disjoint, apart, VISORA_HISTOGRAM_CHI_SQUARE, 4},
        {a, opposite, VISORA_HISTOGRAM_INTERSECTION, 6},
        {a, a, VISORA_HISTOGRAM_BHATTACHARYYA, 0},
        {apart, disjoint, VISORA_HISTOGRAM_BHATTACHARYYA, 1},
        {a, opposite, VISORA_HISTOGRAM_BHATTACHARYYA, std::sqrt(1 - (2 * std::sqrt(4.0) + 2 * std::sqrt(6.0)) / 10)},
    };
    for (const auto& c : cases)
    {
        float distance = -7;
        ASSERT_EQ(0u, vsrHistogramDistancef32(c.first, c.second, 4, c.method, &distance));
        EXPECT_NEAR(c.expected, distance, 1e-6) << c.method;
    }
    float distance = -7;
    EXPECT_EQ(VISORA_EBADPARAM, vsrHistogramDistancef32(a, a, 4, 4, &distance));
    EXPECT_EQ(-7, distance);
}

// ---- Statistics ----

TEST_F(Measures, MeanVarianceAndSharpness)
{
    float mean = 0;
    float variance = 0;
    ASSERT_EQ(0u, vsrImageIntensityStatsu8(image.data(), kWidth, kHeight, 0, 3, 2, 20, 10, &mean, &variance));
    float sharpness[6];
    ASSERT_EQ(0u, vsrFocusMeasureu8(image.data(), kWidth, kHeight, 0, 3, 2, sharpness));
    double sum = 0;
    double squares = 0;
    double sharp[6] = {};
    double cells[6] = {};
    constexpr int columns = kWidth;
    constexpr int rows = kHeight;
    const auto at = [&](int x, int y)
    {
        const int place = std::clamp(y, 0, rows - 1) * columns + std::clamp(x, 0, columns - 1);
        return static_cast<double>(image[static_cast<size_t>(place)]);
    };
    for (int y = 0; y < rows; ++y)
    {
        for (int x = 0; x < columns; ++x)
        {
            const bool inside = x >= 3 && x < 23 && y >= 2 && y < 12;
            sum += inside ? at(x, y) : 0;
            squares += inside ? at(x, y) * at(x, y) : 0;
            const size_t cell = (x < 12 ? 0u : x < 24 ? 1u : 2u) + (y < 14 ? 0u : 3u);
            const double l = at(x - 1, y) + at(x + 1, y) + at(x, y - 1) + at(x, y + 1) - 4 * at(x, y);
            sharp[cell] += l * l;
            ++cells[cell];
        }
    }
    EXPECT_FLOAT_EQ(static_cast<float>(sum / 200), mean);
    EXPECT_FLOAT_EQ(static_cast<float>(squares / 200 - sum * sum / 40000), variance);
    for (size_t i = 0; i < 6; ++i)
    {
        EXPECT_FLOAT_EQ(static_cast<float>(sharp[i] / cells[i]), sharpness[i]) << i;
    }
}

// Mean structural similarity in double precision, windows weighted by the Gaussian itself.
double structuralSimilarity(const Image& a, const Image& b)
{
    double weights[11];
    double all = 0;
    for (int k = 0; k < 11; ++k)
    {
        all += weights[k] = std::exp(-(k - 5) * (k - 5) / 4.5);
    }
    double sum = 0;
    for (size_t y = 0; y + 10 < kHeight; ++y)
    {
        for (size_t x = 0; x + 10 < kWidth; ++x)
        {
            double ma = 0, mb = 0, aa = 0, bb = 0, ab = 0;
            for (size_t k = 0; k < 121; ++k)
            {
                const double w = weights[k / 11] * weights[k % 11] / (all * all);
                const double p = a[(y + k / 11) * kWidth + x + k % 11];
                const double q = b[(y + k / 11) * kWidth + x + k % 11];
                ma += w * p;
                mb += w * q;
                aa += w * p * p;
                bb += w * q * q;
                ab += w * p * q;
            }
            sum += (2 * ma * mb + 6.5025) * (2 * (ab - ma * mb) + 58.5225) /
                   ((ma * ma + mb * mb + 6.5025) * (aa - ma * ma + bb - mb * mb + 58.5225));
        }
    }
    return sum / ((kWidth - 10) * (kHeight - 10));
}

TEST_F(Measures, LikenessIsWithinItsBoundOfTheExactOne)
{
    Image noisy = image;
    std::transform(noisy.begin(), noisy.end(), other.begin(), noisy.begin(),
                   [](uint8_t p, uint8_t n) { return static_cast<uint8_t>(std::min(255, p + n / 8)); });
    const Image bright(image.size(), 254);
    const Image brighter(image.size(), 255);
    for (const auto& [a, b] : {std::pair(image, noisy), std::pair(image, other), std::pair(bright, brighter)})
    {
        float similarity = 0;
        float psnr = 0;
        ASSERT_EQ(0u, vsrImageSimilarityu8(a.data(), kWidth, kHeight, 0, b.data(), 0, &similarity, &psnr));
        EXPECT_NEAR(structuralSimilarity(a, b), similarity, 5e-4);
        double error = 0;
        for (size_t i = 0; i < a.size(); ++i)
        {
            error += std::pow(a[i] - b[i], 2) / static_cast<double>(a.size());
        }
        EXPECT_NEAR(10 * std::log10(65025 / error), psnr, 4e-6);
    }
    float similarity = 0;
    float psnr = 0;
    ASSERT_EQ(0u, vsrImageSimilarityu8(image.data(), kWidth, kHeight, 0, image.data(), 0, &similarity, &psnr));
    EXPECT_EQ(1.0f, similarity);
    EXPECT_EQ(std::numeric_limits<float>::infinity(), psnr);
    EXPECT_EQ(VISORA_EBADPARAM, vsrImageSimilarityu8(image.data(), 10, 11, 0, other.data(), 0, &similarity, nullptr));
    EXPECT_EQ(VISORA_SUCCESS, vsrImageSimilarityu8(image.data(), 10, 11, 0, other.data(), 0, nullptr, &psnr));
    EXPECT_EQ(VISORA_EBADPARAM, vsrImageSimilarityu8(image.data(), 20, 20, 0, other.data(), 0, nullptr, nullptr));
}

// ---- Moments ----

// The raw moments of f64 values, summed directly.
double rawMoment(const std::vector<double>& values, uint32_t width, int i, int j)
{
    double sum = 0;
    for (size_t p = 0; p < values.size(); ++p)
    {
        sum += std::pow(p % width, i) * std::pow(p / width, j) * values[p];
    }
    return sum;
}

template <class T, class Entry>
void expectMoments(Entry entry, uint32_t binary)
{
    constexpr uint32_t width = 75;
    constexpr uint32_t height = 70;
    std::vector<T> image(width * height);
    Random random(11);
    std::generate(image.begin(), image.end(),
                  [&] { return static_cast<T>(random.oneIn(3) ? 0 : random.between(0, 250)); });
    std::vector<double> values(image.size());
    std::transform(image.begin(), image.end(), values.begin(),
                   [=](T v) { return binary != 0 ? (v != 0 ? 1.0 : 0.0) : static_cast<double>(v); });
    vsrMoments m;
    ASSERT_EQ(0u, entry(image.data(), width, height, binary, &m));
    const double raw[] = {m.m00, m.m10, m.m01, m.m20, m.m11, m.m02, m.m30, m.m21, m.m12, m.m03};
    const int powers[][2] = {{0, 0}, {1, 0}, {0, 1}, {2, 0}, {1, 1}, {0, 2}, {3, 0}, {2, 1}, {1, 2}, {0, 3}};
    for (size_t k = 0; k < 10; ++k)
    {
        EXPECT_EQ(rawMoment(values, width, powers[k][0], powers[k][1]), raw[k]) << k;
    }
    // Central moments by their definition.
    double mu[4][4] = {};
    for (size_t p = 0; p < values.size(); ++p)
    {
        for (int i = 0; i < 4; ++i)
        {
            for (int j = 0; i + j < 4; ++j)
            {
                mu[i][j] += std::pow(static_cast<double>(p % width) - m.m10 / m.m00, i) *
                            std::pow(static_cast<double>(p / width) - m.m01 / m.m00, j) * values[p];
            }
        }
    }
    const double scale = m.m00 * 1e4;
    EXPECT_NEAR(mu[2][0], m.mu20, scale * 1e-9);
    EXPECT_NEAR(mu[1][1], m.mu11, scale * 1e-9);
    EXPECT_NEAR(mu[0][2], m.mu02, scale * 1e-9);
    EXPECT_NEAR(mu[3][0], m.mu30, scale * 1e-7);
    EXPECT_NEAR(mu[2][1], m.mu21, scale * 1e-7);
    EXPECT_NEAR(mu[1][2], m.mu12, scale * 1e-7);
    EXPECT_NEAR(mu[0][3], m.mu03, scale * 1e-7);
    EXPECT_DOUBLE_EQ(m.mu20 / (m.m00 * m.m00), m.nu20);
    EXPECT_NEAR(m.mu03 / std::pow(m.m00, 2.5), m.nu03, std::abs(m.nu03) * 1e-12);
}

TEST(Moments, AreTheSumsThatTheyAreDefinedAs)
{
    for (const uint32_t binary : {0u, 1u})
    {
        expectMoments<uint8_t>(vsrImageMomentsu8, binary);
        expectMoments<int32_t>(vsrImageMomentss32, binary);
        expectMoments<float>(vsrImageMomentsf32, binary);
    }
}

}  // namespace
}  // namespace visora::test
