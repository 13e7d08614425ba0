// Gradients against the weights of their windows.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/images.h"
#include "visora/variants/statistics.h"

namespace visora::test
{
namespace
{

constexpr int32_t kWidth = 13;
constexpr int32_t kHeight = 9;

// dx and dy of every pixel, the difference weighted side, centre, side across it.
std::vector<std::pair<int32_t, int32_t>> judge(const Image& image, int32_t side, int32_t centre)
{
    const auto at = [&](int32_t x, int32_t y) {
        return int32_t{
            image[static_cast<size_t>(std::clamp(y, 0, kHeight - 1) * kWidth + std::clamp(x, 0, kWidth - 1))]};
    };
    std::vector<std::pair<int32_t, int32_t>> gradients;
    for (int32_t y = 0; y < kHeight; ++y)
    {
        for (int32_t x = 0; x < kWidth; ++x)
        {
            std::pair<int32_t, int32_t> sum;
            for (int32_t k = -1; k <= 1; ++k)
            {
                const int32_t weight = k == 0 ? centre : side;
                sum.first += weight * (at(x + 1, y + k) - at(x - 1, y + k));
                sum.second += weight * (at(x + k, y + 1) - at(x + k, y - 1));
            }
            gradients.push_back(sum);
        }
    }
    return gradients;
}

class Gradients : public testing::Test
{
  protected:
    template <class T, class Kernel, class Element>
    void expectPlanes(Kernel kernel, int32_t side, int32_t centre, Element element)
    {
        std::vector<T> dx(image.size());
        std::vector<T> dy(image.size());
        EXPECT_EQ(0u, kernel(image.data(), kWidth, kHeight, kWidth, dx.data(), dy.data(), kWidth * sizeof(T)));
        const auto expected = judge(image, side, centre);
        for (size_t i = 0; i < image.size(); ++i)
        {
            ASSERT_EQ(static_cast<T>(element(expected[i].first)), dx[i]) << i;
            ASSERT_EQ(static_cast<T>(element(expected[i].second)), dy[i]) << i;
        }
    }

    template <class T, class Kernel, class Element>
    void expectPairs(Kernel kernel, int32_t side, int32_t centre, Element element)
    {
        std::vector<T> pairs(2 * image.size());
        EXPECT_EQ(0u, kernel(image.data(), kWidth, kHeight, kWidth, pairs.data(), 2 * kWidth * sizeof(T)));
        const auto expected = judge(image, side, centre);
        for (size_t i = 0; i < image.size(); ++i)
        {
            ASSERT_EQ(static_cast<T>(element(expected[i].first)), pairs[2 * i]) << i;
            ASSERT_EQ(static_cast<T>(element(expected[i].second)), pairs[2 * i + 1]) << i;
        }
    }

    const Image image = randomPixels(kWidth * kHeight, 20);
};

constexpr auto kWhole = [](int32_t g) { return g; };
template <int32_t divisor>
constexpr auto kDivided = [](int32_t g) { return static_cast<float>(g) / divisor; };
// Rounded down.
template <int32_t divisor>
constexpr auto kFloor = [](int32_t g) { return (g + 1024 * divisor) / divisor - 1024; };

TEST_F(Gradients, AreDifferencesOfNeighbours)
{
    expectPairs<int16_t>(vsrImageGradientInterleaveds16C, 0, 1, kWhole);
    expectPairs<float>(vsrImageGradientInterleavedf32C, 0, 1, kDivided<2>);
    expectPlanes<int16_t>(vsrImageGradientPlanars16C, 0, 1, kWhole);
    expectPlanes<float>(vsrImageGradientPlanarf32C, 0, 1, kDivided<2>);
    expectPlanes<int8_t>(vsrImageGradientPlanars8C, 0, 1, kFloor<2>);
}

TEST_F(Gradients, AreSmoothedAcross)
{
    expectPairs<int16_t>(vsrImageGradientSobelInterleaveds16C, 1, 2, kWhole);
    expectPairs<float>(vsrImageGradientSobelInterleavedf32C, 1, 2, kWhole);
    expectPairs<int8_t>(vsrImageGradientSobelInterleaveds8C, 1, 2, kFloor<8>);
    expectPairs<int16_t>(vsrImageGradientScharrInterleaveds16C, 3, 10, kWhole);
    expectPlanes<int16_t>(vsrImageGradientScharrPlanars16C, 3, 10, kWhole);
    expectPlanes<float>(vsrImageGradientScharrPlanarf32C, 3, 10, kDivided<32>);
}

}  // namespace
}  // namespace visora::test
