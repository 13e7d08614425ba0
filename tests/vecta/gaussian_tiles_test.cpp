// The vector variants of the Gaussians on images of several tiles, which the sizes of the variant test do not reach.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/random.h"
#include "visora/filter.h"

namespace visora::test
{
namespace
{

template <auto reference, auto vector, class T>
void expectSame(uint32_t width, uint32_t height, int32_t blurBorder)
{
    Random random(width);
    std::vector<T> src(size_t{width} * height);
    std::generate(src.begin(), src.end(), [&] { return static_cast<T>(random.next()); });
    std::vector<T> expected(src.size(), 9);
    std::vector<T> dst(src.size(), 9);
    const auto stride = static_cast<uint32_t>(width * sizeof(T));
    EXPECT_EQ(0u, reference(src.data(), width, height, stride, expected.data(), stride, blurBorder));
    EXPECT_EQ(0u, vector(src.data(), width, height, stride, dst.data(), stride, blurBorder));
    EXPECT_TRUE(expected == dst) << width << "x" << height << " border " << blurBorder;
}

TEST(GaussianTiles, MeetWithoutASeam)
{
    for (const uint32_t width : {1022u, 1023u, 1024u, 1025u, 1026u, 1029u, 1035u, 1087u, 1089u, 1098u, 2051u, 2100u})
    {
        for (const int32_t border : {0, 1})
        {
            const uint32_t height = 30 + width % 7;
            expectSame<vsrFilterGaussian3x3u8C, vsrFilterGaussian3x3u8V, uint8_t>(width, height, border);
            expectSame<vsrFilterGaussian5x5u8C, vsrFilterGaussian5x5u8V, uint8_t>(width, height, border);
            expectSame<vsrFilterGaussian5x5s16C, vsrFilterGaussian5x5s16V, int16_t>(width, height, border);
            expectSame<vsrFilterGaussian5x5s32C, vsrFilterGaussian5x5s32V, int32_t>(width, height, border);
            expectSame<vsrFilterGaussian11x11u8C, vsrFilterGaussian11x11u8V, uint8_t>(width, height, border);
        }
    }
}

}  // namespace
}  // namespace visora::test
