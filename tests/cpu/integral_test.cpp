// Integral images against sums over the pixels that they stand for.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "support/images.h"
#include "visora/variants/statistics.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kWidth = 11;
constexpr uint32_t kHeight = 7;
constexpr size_t kElements = (kWidth + 1) * (kHeight + 1);

// Sum of term(pixel index) over the pixels that `counts`(x, y) for element (X, Y).
template <class Sum, class Term, class Counts>
std::vector<Sum> judge(Term term, Counts counts)
{
    std::vector<Sum> sums(kElements);
    for (uint32_t i = 0; i < kElements; ++i)
    {
        for (uint32_t p = 0; p < kWidth * kHeight; ++p)
        {
            if (counts(p % kWidth, p / kWidth, i % (kWidth + 1), i / (kWidth + 1)))
            {
                sums[i] += static_cast<Sum>(term(p));
            }
        }
    }
    return sums;
}

constexpr auto kLeftAbove = [](uint32_t x, uint32_t y, uint32_t X, uint32_t Y) { return x < X && y < Y; };

template <class T, class Sum, class Kernel>
void expectIntegral(Kernel kernel)
{
    const std::vector<T> image = randomPixels<T>(kWidth * kHeight, 3);
    std::vector<Sum> sums(kElements, Sum{77});
    EXPECT_EQ(0u, kernel(image.data(), kWidth, kHeight, kWidth * sizeof(T), sums.data(), (kWidth + 1) * sizeof(Sum)));
    EXPECT_EQ(judge<Sum>([&](size_t p) { return image[p]; }, kLeftAbove), sums);
}

TEST(Integral, HoldsTheSumOfEverythingLeftAndAbove)
{
    expectIntegral<uint8_t, uint32_t>(vsrIntegrateImageu8C);
    expectIntegral<uint16_t, uint64_t>(vsrIntegrateImageu16C);
    expectIntegral<int16_t, int32_t>(vsrIntegrateImages16C);
}

TEST(Integral, HoldsSquaresAndMaskedPixels)
{
    const Image image = randomPixels(kWidth * kHeight, 4);
    Image mask = randomPixels(kWidth * kHeight, 5);
    std::transform(mask.begin(), mask.end(), mask.begin(), [](uint8_t v) { return static_cast<uint8_t>(v % 3); });
    std::vector<uint64_t> squares(kElements, 77);
    vsrIntegrateImageSquaredu8C(image.data(), kWidth, kHeight, kWidth, squares.data(), (kWidth + 1) * 8);
    EXPECT_EQ(judge<uint64_t>([&](size_t p) { return image[p] * image[p]; }, kLeftAbove), squares);

    std::vector<uint32_t> sums(kElements, 77);
    std::vector<uint32_t> counts(kElements, 77);
    vsrIntegrateImageMaskedu8C(image.data(), kWidth, kHeight, kWidth, mask.data(), kWidth, sums.data(),
                               (kWidth + 1) * 4, counts.data(), (kWidth + 1) * 4);
    EXPECT_EQ(judge<uint32_t>([&](size_t p) { return mask[p] != 0 ? image[p] : 0; }, kLeftAbove), sums);
    EXPECT_EQ(judge<uint32_t>([&](size_t p) { return mask[p] != 0 ? 1 : 0; }, kLeftAbove), counts);
}

TEST(Integral, OfFloatsGrowsAlongTheRowThenDownward)
{
    // 2^24 swallows single ones that come after it, but not two of them together.
    const float image[] = {0x1p24f, 1, 1, 1, 1, 0x1p24f};
    float sums[4 * 3];
    vsrIntegrateImagef32C(image, 3, 2, 12, sums, 16);
    const float expected[] = {0, 0, 0, 0, 0, 0x1p24f, 0x1p24f, 0x1p24f, 0, 0x1p24f, 0x1p24f + 2, 0x1p25f + 2};
    EXPECT_TRUE(std::equal(sums, sums + 12, expected));
}

TEST(Integral, OverTurnedAreasCountsTheTriangleAbove)
{
    const Image image = randomPixels(kWidth * kHeight, 6);
    std::vector<uint32_t> sums(kElements, 77);
    vsrIntegrateTiltedu8C(image.data(), kWidth, kHeight, kWidth, sums.data(), (kWidth + 1) * 4);
    const auto inTriangle = [](uint32_t x, uint32_t y, uint32_t X, uint32_t Y)
    { return y < Y && std::abs(static_cast<int>(x) - static_cast<int>(X) + 1) <= static_cast<int>(Y - y) - 1; };
    EXPECT_EQ(judge<uint32_t>([&](size_t p) { return image[p]; }, inTriangle), sums);
}

TEST(Integral, GivesSumsMeansAndDeviationsOfRectangles)
{
    const Image image = randomPixels(kWidth * kHeight, 7);
    std::vector<uint32_t> sums(kElements);
    std::vector<uint64_t> squares(kElements);
    vsrIntegrateImageu8(image.data(), kWidth, kHeight, sums.data());
    vsrIntegrateImageSquaredu8(image.data(), kWidth, kHeight, 0, squares.data(), 0);
    const vsrRectangle rectangle{2, 1, 5, 4};
    const uint32_t corner[] = {rectangle.x, rectangle.y};
    uint32_t sum = 0;
    uint64_t square = 0;
    ASSERT_EQ(0u, vsrIntegratePatchu8(image.data(), kWidth, kHeight, corner, 1, 5, 4, &sum, &square));
    uint32_t expected = 0;
    for (uint32_t p = 0; p < image.size(); ++p)
    {
        expected += p % kWidth - 2 < 5 && p / kWidth - 1 < 4 ? image[p] : 0;
    }
    EXPECT_EQ(expected, sum);
    float mean = 0;
    float deviation = 0;
    ASSERT_EQ(0u, vsrIntegrateRectMeansu32(sums.data(), kWidth, kHeight, 0, squares.data(), 0, &rectangle, 1, &mean,
                                           &deviation));
    EXPECT_FLOAT_EQ(static_cast<float>(sum) / 20, mean);
    EXPECT_NEAR(std::sqrt(static_cast<double>(square) / 20 - std::pow(sum / 20.0, 2)), deviation, 1e-4);
    // The same rectangle twice, seen from another origin, its own sum taken away again; an empty one counts nothing.
    const vsrWeightedRectangle feature[] = {{1, 0, 5, 4, 2}, {1, 0, 5, 4, -1}, {10, 6, 0, 0, 9}};
    int32_t value = 0;
    ASSERT_EQ(0u, vsrIntegrateRectSumsu32(sums.data(), kWidth, kHeight, 0, 1, 1, feature, 3, 1, &value));
    EXPECT_EQ(static_cast<int32_t>(sum), value);
    // One column too far.
    const vsrWeightedRectangle outside{7, 0, 4, 1, 1};
    EXPECT_EQ(VISORA_EBADPARAM, vsrIntegrateRectSumsu32(sums.data(), kWidth, kHeight, 0, 1, 0, &outside, 1, 1, &value));
    const uint32_t outsideCorner[] = {0, 0, kWidth - 4, 0};
    EXPECT_EQ(VISORA_EBADPARAM,
              vsrIntegratePatchu8(image.data(), kWidth, kHeight, outsideCorner, 2, 5, 4, &sum, &square));
    EXPECT_EQ(expected, sum);
}

}  // namespace
}  // namespace visora::test
