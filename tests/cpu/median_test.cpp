// Known answers of the 3x3 median.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/random.h"
#include "visora/filter.h"

namespace visora::test
{
namespace
{

using Image = std::vector<uint8_t>;

TEST(Median3x3, WritesOnlyTheInterior)
{
    const Image src = {9, 8, 7, 1, 2, 3, 6, 5, 4};
    Image dst(9, 100);
    vsrFilterMedian3x3u8(src.data(), 3, 3, dst.data());
    EXPECT_EQ((Image{100, 100, 100, 100, 5, 100, 100, 100, 100}), dst);

    Image twoRows(6, 100);
    vsrFilterMedian3x3u8(src.data(), 3, 2, twoRows.data());
    EXPECT_EQ(Image(6, 100), twoRows);
}

TEST(Median3x3, ConstantBorderCountsAsPixels)
{
    const Image src(9, 0);
    Image dst(9, 100);
    EXPECT_EQ(0u, vsrFilterMedian3x3u8_v3(src.data(), 3, 3, 0, dst.data(), 0, VISORA_BORDER_CONSTANT, 255));
    EXPECT_EQ((Image{255, 0, 255, 0, 0, 0, 255, 0, 255}), dst);
}

TEST(Median3x3, BorderRulesHoldForTheThinnestImages)
{
    const Image src = {10, 30, 20};
    Image dst(3, 100);
    vsrFilterMedian3x3u8_v3(src.data(), 3, 1, 0, dst.data(), 0, VISORA_BORDER_REPLICATE, 0);
    EXPECT_EQ((Image{10, 20, 20}), dst);
    vsrFilterMedian3x3u8_v3(src.data(), 1, 3, 0, dst.data(), 0, VISORA_BORDER_CONSTANT, 25);
    EXPECT_EQ((Image{25, 25, 25}), dst);
    dst = Image(3, 100);
    vsrFilterMedian3x3u8_v3(src.data(), 3, 1, 0, dst.data(), 0, VISORA_BORDER_UNDEFINED, 25);
    EXPECT_EQ(Image(3, 100), dst);
}

TEST(Median3x3, AgreesWithSortingTheNeighbourhood)
{
    constexpr int kWidth = 23;
    constexpr int kHeight = 17;
    Random random(5);
    Image src(kWidth * kHeight);
    std::generate(src.begin(), src.end(), [&] { return static_cast<uint8_t>(random.between(0, 40)); });
    for (const vsrBorderType border : {VISORA_BORDER_CONSTANT, VISORA_BORDER_REPLICATE})
    {
        Image dst(src.size());
        vsrFilterMedian3x3u8_v3(src.data(), kWidth, kHeight, 0, dst.data(), 0, border, 33);
        for (int y = 0; y < kHeight; ++y)
        {
            for (int x = 0; x < kWidth; ++x)
            {
                Image window;
                for (int i = 0; i < 9; ++i)
                {
                    const int u = x + i % 3 - 1;
                    const int v = y + i / 3 - 1;
                    const bool inside = u >= 0 && v >= 0 && u < kWidth && v < kHeight;
                    const int nearest = std::clamp(v, 0, kHeight - 1) * kWidth + std::clamp(u, 0, kWidth - 1);
                    window.push_back(inside || border == VISORA_BORDER_REPLICATE ? src[static_cast<size_t>(nearest)]
                                                                                 : uint8_t{33});
                }
                std::sort(window.begin(), window.end());
                ASSERT_EQ(window[4], dst[static_cast<size_t>(y * kWidth + x)]) << x << ", " << y;
            }
        }
    }
}

TEST(Median3x3, WindowHelpersSortColumnsAndSelect)
{
    Image window = {1, 9, 5, 8, 2, 5, 3, 7, 4};
    sortColumeWiseInWindow3x3(window.data());
    EXPECT_EQ((Image{8, 9, 5, 3, 7, 5, 1, 2, 4}), window);
    EXPECT_EQ(5, findMedianInSortedWindow3x3(window.data()));
}

}  // namespace
}  // namespace visora::test
