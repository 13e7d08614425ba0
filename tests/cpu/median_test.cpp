// The 3x3 median against sorting.
#include <gtest/gtest.h>

#include "support/images.h"
#include "visora/variants/filter.h"

namespace visora::test
{
namespace
{

constexpr uint8_t kUntouched = 77;

// Where the border is undefined, only whole windows have a median.
uint8_t medianBySorting(const Window<uint8_t>& window)
{
    Window<uint8_t> sorted = window;
    std::sort(sorted.begin(), sorted.end());
    return sorted[0] ? *sorted[4] : kUntouched;
}

TEST(Median3x3, IsTheMiddleOfTheSortedWindow)
{
    Random random(5);
    for (int round = 0; round < 60; ++round)
    {
        const uint32_t width = random.between(1, 24), height = random.between(1, 9);
        Image src(size_t{width} * height);
        std::generate(src.begin(), src.end(), [&] { return static_cast<uint8_t>(random.between(0, 40)); });
        for (vsrBorderType border = 0; border <= VISORA_BORDER_REPLICATE; ++border)
        {
            const Image expected = filterWindows(src, width, 3, 3, border, 33, medianBySorting);
            Image dst(src.size(), kUntouched);
            EXPECT_EQ(0u, vsrFilterMedian3x3u8_v3(src.data(), width, height, 0, dst.data(), 0, border, 33));
            ASSERT_EQ(expected, dst) << width << "x" << height << " border " << border;
            if (border == VISORA_BORDER_UNDEFINED)
            {
                dst.assign(dst.size(), kUntouched);
                vsrFilterMedian3x3u8(src.data(), width, height, dst.data());
                ASSERT_EQ(expected, dst) << width << "x" << height;
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
