// Mirrors, turns and transposes, pixel by pixel and against each other.
#include <gtest/gtest.h>

#include "support/images.h"
#include "visora/variants/warp.h"
#include "visora/warp.h"

namespace visora::test
{
namespace
{

struct Size
{
    uint32_t width, height;
};

constexpr Size kSizes[] = {{1, 1}, {2, 3}, {7, 5}, {16, 16}, {17, 33}, {63, 8}, {130, 21}, {257, 4}};
// More than caches hold, which vector variants write in another way, and a little more than whole tiles of it.
constexpr Size kLarge = {4099, 4111};

TEST(Flip, ChangesPlacesAndWorksInPlace)
{
    for (const Size& s : kSizes)
    {
        for (uint32_t i = 0; i < 12; ++i)
        {
            const uint32_t channels = i % 4 + 1;
            const vsrFlipDirection direction = i / 4 + 1;
            const uint32_t stride = s.width * channels + 5;
            Image image = randomPixels(size_t{stride} * s.height, i);
            Image expected = image, other = image;
            for (uint32_t y = 0; y < s.height; ++y)
            {
                for (uint32_t x = 0; x < s.width; ++x)
                {
                    const uint32_t fromX = direction != VISORA_FLIP_VERTICAL ? s.width - 1 - x : x;
                    const uint32_t fromY = direction != VISORA_FLIP_HORIZONTAL ? s.height - 1 - y : y;
                    std::copy_n(&image[fromY * stride + fromX * channels], channels,
                                &expected[y * stride + x * channels]);
                }
            }
            ASSERT_EQ(0u,
                      vsrFlipu8(image.data(), s.width, s.height, stride, channels, direction, other.data(), stride));
            ASSERT_EQ(expected, other) << s.width << "x" << s.height << " " << i;
            ASSERT_EQ(0u,
                      vsrFlipu8(image.data(), s.width, s.height, stride, channels, direction, image.data(), stride));
            ASSERT_EQ(expected, image) << s.width << "x" << s.height << " " << i;
        }
        std::vector<uint16_t> words = randomPixels<uint16_t>(size_t{s.width} * s.height, 3);
        std::vector<uint16_t> bothWays = words;
        std::reverse(words.begin(), words.end());
        ASSERT_EQ(0u, vsrFlipu16(bothWays.data(), s.width, s.height, 0, VISORA_FLIP_BOTH, bothWays.data(), 0));
        ASSERT_EQ(words, bothWays);
    }
    Image image(12);
    EXPECT_EQ(3u, vsrFlipu8(image.data(), 2, 2, 2, 1, VISORA_FLIP_BOTH, image.data(), 3));
}

// Each byte beside another that tells it apart.
Image pairsOf(const Image& plane)
{
    Image pairs;
    for (const uint8_t v : plane)
    {
        pairs.push_back(v);
        pairs.push_back(static_cast<uint8_t>(255 - v));
    }
    return pairs;
}

struct Turners
{
    decltype(&vsrTransposeu8C) transposeBytes;
    decltype(&vsrTransposef32C) transposeFloats;
    decltype(&vsrRotatePlaneu8C) turn;
    decltype(&vsrRotateImageInterleavedu8C) turnPairs;
};

constexpr Turners kReference = {vsrTransposeu8C, vsrTransposef32C, vsrRotatePlaneu8C, vsrRotateImageInterleavedu8C};
constexpr Turners kVector = {vsrTransposeu8V, vsrTransposef32V, vsrRotatePlaneu8V, vsrRotateImageInterleavedu8V};

void areTransposesAndMirrors(const Turners& by, const Size& s)
{
    const Image src = randomPixels(size_t{s.width} * s.height, s.width);
    Image transposed(src.size()), turned(src.size()), expected(src.size()), turnedPairs(2 * src.size());
    ASSERT_EQ(0u, by.transposeBytes(src.data(), s.width, s.height, s.width, transposed.data(), s.height));
    for (uint32_t i = 0; i < src.size(); ++i)
    {
        ASSERT_EQ(src[i], transposed[i % s.width * s.height + i / s.width]) << i;
    }
    // Clockwise by 90 and 270 degrees: transposed, then mirrored at the upright or the level axis.
    for (const uint32_t rotation : {1u, 2u, 3u})
    {
        ASSERT_EQ(0u, by.turn(src.data(), s.width, s.height, s.width, turned.data(), rotation == 2 ? s.width : s.height,
                              rotation));
        if (rotation == 2)
        {
            vsrFlipu8(src.data(), s.width, s.height, 0, 1, VISORA_FLIP_BOTH, expected.data(), 0);
        }
        else
        {
            vsrFlipu8(transposed.data(), s.height, s.width, 0, 1,
                      rotation == 1 ? VISORA_FLIP_HORIZONTAL : VISORA_FLIP_VERTICAL, expected.data(), 0);
        }
        ASSERT_EQ(expected, turned) << rotation;
        ASSERT_EQ(0u, by.turnPairs(pairsOf(src).data(), s.width, s.height, 2 * s.width, turnedPairs.data(),
                                   2 * (rotation == 2 ? s.width : s.height), rotation));
        ASSERT_EQ(pairsOf(expected), turnedPairs) << rotation;
    }
    // All bits of floats move, those of NaNs too.
    const std::vector<uint32_t> bits = randomPixels<uint32_t>(src.size(), 9);
    std::vector<uint32_t> moved(bits.size());
    ASSERT_EQ(0u, by.transposeFloats(reinterpret_cast<const float*>(bits.data()), s.width, s.height, 4 * s.width,
                                     reinterpret_cast<float*>(moved.data()), 4 * s.height));
    for (uint32_t i = 0; i < bits.size(); ++i)
    {
        ASSERT_EQ(bits[i], moved[i % s.width * s.height + i / s.width]) << i;
    }
}

TEST(Turns, OfBytesPairsAndFloatsAreTransposesAndMirrors)
{
    for (const Size& s : kSizes)
    {
        areTransposesAndMirrors(kReference, s);
        areTransposesAndMirrors(kVector, s);
    }
    areTransposesAndMirrors(kVector, kLarge);
}

}  // namespace
}  // namespace visora::test
