// Known answers of the binomial Gaussians, and their definition worked out window by window.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <optional>
#include <vector>

#include "support/random.h"
#include "visora/filter.h"

namespace visora::test
{
namespace
{

using Image = std::vector<uint8_t>;

constexpr uint32_t kWindow3x3[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};

TEST(GaussianTables, AreOuterProductsOfBinomialCoefficients)
{
    const uint32_t five[] = {1, 4, 6, 4, 1};
    const uint32_t eleven[] = {1, 10, 45, 120, 210, 252, 210, 120, 45, 10, 1};
    for (uint32_t i = 0; i < 25; ++i)
    {
        EXPECT_EQ(five[i / 5] * five[i % 5], knl5x5[i]) << i;
    }
    for (uint32_t i = 0; i < 121; ++i)
    {
        EXPECT_EQ(eleven[i / 11] * eleven[i % 11], knl11x11[i]) << i;
    }
    EXPECT_EQ(256u, std::accumulate(std::begin(knl5x5), std::end(knl5x5), 0u));
    EXPECT_EQ(1048576u, std::accumulate(std::begin(knl11x11), std::end(knl11x11), 0u));
}

// What a pixel outside the image counts as; without it, its weight counts neither.
struct Beyond
{
    std::optional<uint8_t> constant;
    bool nearest = false;
};

// One pixel by the whole window, sums modulo 2^32 as promised.
template <class T>
T pixelByWindow(const std::vector<T>& src, int width, int height, int x, int y, const uint32_t* window, int size,
                int shift, const Beyond& beyond)
{
    const int radius = size / 2;
    uint32_t sum = 0;
    uint32_t weights = 0;
    for (int i = 0; i < size * size; ++i)
    {
        const int u = x + i % size - radius;
        const int v = y + i / size - radius;
        const bool inside = u >= 0 && v >= 0 && u < width && v < height;
        if (!inside && !beyond.constant && !beyond.nearest)
        {
            continue;
        }
        const int at = std::clamp(v, 0, height - 1) * width + std::clamp(u, 0, width - 1);
        const auto value = static_cast<uint32_t>(inside || beyond.nearest ? src[static_cast<size_t>(at)]
                                                                          : static_cast<T>(*beyond.constant));
        sum += window[i] * value;
        weights += window[i];
    }
    const auto wide = std::is_signed_v<T> ? int64_t{static_cast<int32_t>(sum)} : int64_t{sum};
    return static_cast<T>(weights == 1u << shift ? wide >> shift : wide / std::max<int64_t>(weights, 1));
}

// The whole image, on top of what the destination held.
template <class T>
void filterByWindow(const std::vector<T>& src, int width, int height, const uint32_t* window, int size, int shift,
                    bool writeBorder, const Beyond& beyond, std::vector<T>& dst)
{
    const int radius = size / 2;
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            const bool interior = x >= radius && y >= radius && x < width - radius && y < height - radius;
            if (interior || writeBorder)
            {
                const int at = y * width + x;
                dst[static_cast<size_t>(at)] = pixelByWindow(src, width, height, x, y, window, size, shift, beyond);
            }
        }
    }
}

template <class T>
std::vector<T> randomImage(Random& random, int width, int height)
{
    std::vector<T> image(static_cast<size_t>(width) * static_cast<size_t>(height));
    std::generate(image.begin(), image.end(), [&] { return static_cast<T>(random.next()); });
    return image;
}

// Every flag on sizes from the smallest that the kernel takes, many of them without any interior.
template <auto kernel, class T>
void expectDefinition(const uint32_t* window, int size, int shift, int minWidth)
{
    Random random(static_cast<uint64_t>(size));
    for (int round = 0; round < 200; ++round)
    {
        const int width = static_cast<int>(random.between(static_cast<uint32_t>(minWidth), 24));
        const int height = static_cast<int>(random.between(1, 20));
        const std::vector<T> src = randomImage<T>(random, width, height);
        const int32_t flag = static_cast<int32_t>(random.between(0, 3)) - 1;
        std::vector<T> expected(src.size(), 77);
        std::vector<T> dst = expected;
        filterByWindow(src, width, height, window, size, shift, flag == 1, {}, expected);
        const auto stride = static_cast<uint32_t>(static_cast<size_t>(width) * sizeof(T));
        ASSERT_EQ(0u, kernel(src.data(), static_cast<uint32_t>(width), static_cast<uint32_t>(height), stride,
                             dst.data(), stride, flag));
        ASSERT_EQ(expected, dst) << width << "x" << height << " flag " << flag;
    }
}

TEST(Gaussian, IsTheWeightedMeanOfTheWindow)
{
    expectDefinition<vsrFilterGaussian3x3u8C, uint8_t>(kWindow3x3, 3, 4, 2);
    expectDefinition<vsrFilterGaussian5x5u8C, uint8_t>(knl5x5, 5, 8, 1);
    expectDefinition<vsrFilterGaussian5x5s16C, int16_t>(knl5x5, 5, 8, 1);
    expectDefinition<vsrFilterGaussian5x5s32C, int32_t>(knl5x5, 5, 8, 1);
    expectDefinition<vsrFilterGaussian11x11u8C, uint8_t>(knl11x11, 11, 20, 1);
}

TEST(Gaussian, BorderTypesOf3x3FillTheWindow)
{
    Random random(9);
    for (int round = 0; round < 200; ++round)
    {
        const int width = static_cast<int>(random.between(2, 20));
        const int height = static_cast<int>(random.between(1, 10));
        const Image src = randomImage<uint8_t>(random, width, height);
        const auto value = static_cast<uint8_t>(random.next());
        const Beyond rules[] = {{}, {value}, {{}, true}};
        for (vsrBorderType type = 0; type <= VISORA_BORDER_REPLICATE; ++type)
        {
            Image expected(src.size(), 77);
            Image dst = expected;
            filterByWindow(src, width, height, kWindow3x3, 3, 4, true, rules[type], expected);
            ASSERT_EQ(0u, vsrFilterGaussian3x3u8_v3(src.data(), static_cast<uint32_t>(width),
                                                    static_cast<uint32_t>(height), 0, dst.data(), 0, type, value));
            ASSERT_EQ(expected, dst) << width << "x" << height << " type " << type;
        }
    }
}

TEST(Gaussian, TruncatesAndNormalisesByHand)
{
    // 3x3 of 7 columns. Interior: 4 * 15 >> 4 = 3 (rounding would give 4); beside it 2 * 15 >> 4 and 15 >> 4.
    Image src(21, 0);
    src[7 + 2] = 15;
    Image dst(21, 99);
    EXPECT_EQ(0u, vsrFilterGaussian3x3u8(src.data(), 7, 3, dst.data(), 1));
    EXPECT_EQ((Image{0, 1, 2, 1, 0, 0, 0,  // / 12: 15, 30, 15
                     0, 1, 3, 1, 0, 0, 0,  //
                     0, 1, 2, 1, 0, 0, 0}),
              dst);

    // A corner by the nine weights of its four pixels: (4 * 9 + 2 * (8 + 7) + 5) / 9.
    src.assign(21, 0);
    src[0] = 9;
    src[1] = 8;
    src[7] = 7;
    src[8] = 5;
    EXPECT_EQ(0u, vsrFilterGaussian3x3u8(src.data(), 7, 3, dst.data(), 1));
    EXPECT_EQ(71 / 9, dst[0]);
    // The same corner with nearest pixels, and with 100 outside.
    EXPECT_EQ(0u, vsrFilterGaussian3x3u8_v3(src.data(), 7, 3, 0, dst.data(), 0, VISORA_BORDER_REPLICATE, 0));
    EXPECT_EQ((9 * 9 + 3 * 8 + 3 * 7 + 5) >> 4, dst[0]);
    EXPECT_EQ(0u, vsrFilterGaussian3x3u8_v3(src.data(), 7, 3, 0, dst.data(), 0, VISORA_BORDER_CONSTANT, 100));
    EXPECT_EQ((700 + 71) >> 4, dst[0]);
}

TEST(Gaussian, ConstantImagesStayConstantExceptBesideAnotherBorderValue)
{
    for (const uint8_t value : {uint8_t{1}, uint8_t{100}, uint8_t{255}})
    {
        const Image src(13 * 12, value);
        const auto unchanged = [&](auto entry)
        {
            Image dst(src.size(), 50);
            EXPECT_EQ(0u, entry(src.data(), 13, 12, dst.data(), 1));
            EXPECT_EQ(src, dst);
        };
        unchanged(vsrFilterGaussian3x3u8);
        unchanged(vsrFilterGaussian5x5u8);
        unchanged(vsrFilterGaussian11x11u8);
    }
    const Image white(64, 255);
    Image dst(64);
    vsrFilterGaussian3x3u8_v3(white.data(), 8, 8, 0, dst.data(), 0, VISORA_BORDER_CONSTANT, 0);
    EXPECT_EQ(143, dst[0]);
    EXPECT_EQ(12 * 255 / 16, dst[1]);
    EXPECT_EQ(255, dst[9]);
}

TEST(Gaussian, SignedPixelsAreShiftedInsideAndDividedAtTheBorder)
{
    std::vector<int16_t> src(25, 0);
    src[0] = -1;
    std::vector<int16_t> dst(25, 50);
    EXPECT_EQ(0u, vsrFilterGaussian5x5s16(src.data(), 5, 5, dst.data(), 1));
    EXPECT_EQ(-1, dst[12]);  // -1 >> 8
    EXPECT_EQ(0, dst[0]);    // -36 / 121

    src.assign(25, std::numeric_limits<int16_t>::min());
    EXPECT_EQ(0u, vsrFilterGaussian5x5s16(src.data(), 5, 5, dst.data(), 1));
    EXPECT_EQ(src, dst);
}

TEST(Gaussian, SumsOfS32Wrap)
{
    const auto filtered = [](int32_t value)
    {
        const std::vector<int32_t> src(25, value);
        std::vector<int32_t> dst(25, 50);
        EXPECT_EQ(0u, vsrFilterGaussian5x5s32(src.data(), 5, 5, dst.data(), 1));
        return std::pair(dst[0], dst[12]);
    };
    constexpr int32_t kTwoTo23 = 1 << 23;
    EXPECT_EQ(std::pair(kTwoTo23 - 1, kTwoTo23 - 1), filtered(kTwoTo23 - 1));
    EXPECT_EQ(std::pair(kTwoTo23, -kTwoTo23), filtered(kTwoTo23));
    EXPECT_EQ(std::pair(121 * (1 << 24) / 121, 0), filtered(1 << 24));
    // 121 * 2^25 is beyond 31 bits: 121 * 2^25 - 2^32 = -7 * 2^25.
    EXPECT_EQ(std::pair(-7 * (1 << 25) / 121, 0), filtered(1 << 25));
}

TEST(Gaussian, AByteStrideIsCutToWholeElements)
{
    Random random(4);
    const std::vector<int16_t> src = randomImage<int16_t>(random, 8, 6);
    std::vector<int16_t> expected(48, 3);
    std::vector<int16_t> dst = expected;
    vsrFilterGaussian5x5s16_v2(src.data(), 6, 6, 16, expected.data(), 14, 1);
    vsrFilterGaussian5x5s16_v2(src.data(), 6, 6, 17, dst.data(), 15, 1);
    EXPECT_EQ(expected, dst);
}

}  // namespace
}  // namespace visora::test
