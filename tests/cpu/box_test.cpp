// The box filters and the median over M x N windows against their definitions.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "support/images.h"
#include "visora/memory.h"
#include "visora/variants/filter.h"

namespace visora::test
{
namespace
{

using FloatImage = std::vector<float>;

struct BoxCase
{
    vsrStatus (*reference)(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t);
    vsrStatus (*vector)(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t);
    uint32_t size;
    uint32_t scale;
    // What the corner of a large white image becomes.
    uint8_t whiteCorner;

    uint8_t scaled(uint32_t sum) const { return static_cast<uint8_t>((sum * scale + 32768) >> 16); }
    Image expected(const Image& src, uint32_t width, vsrBorderType border, uint8_t value) const
    {
        return filterWindows(src, width, size, size, border, value,
                             [&](const Window<uint8_t>& window)
                             {
                                 uint32_t sum = 0;
                                 for (const auto& pixel : window)
                                 {
                                     sum += pixel.value_or(0);
                                 }
                                 return scaled(sum);
                             });
    }
};

const BoxCase kBoxes[] = {
    {vsrBoxFilter3x3u8C, vsrBoxFilter3x3u8V, 3, 7282, 113},
    {vsrBoxFilter5x5u8C, vsrBoxFilter5x5u8V, 5, 2621, 92},
    {vsrBoxFilter11x11u8C, vsrBoxFilter11x11u8V, 11, 542, 76},
};

TEST(Box, IsTheScaledSumOfTheWindow)
{
    for (const auto& [width, height] :
         {std::pair(40u, 40u), {23u, 12u}, {11u, 11u}, {10u, 3u}, {2u, 9u}, {9u, 1u}, {1u, 1u}})
    {
        for (const bool white : {true, false})
        {
            const Image src = white ? Image(width * height, 255) : randomPixels(width * height, width);
            Image dst(src.size());
            for (const BoxCase& box : kBoxes)
            {
                const Image expected = box.expected(src, width, VISORA_BORDER_CONSTANT, 0);
                for (const auto filter : {box.reference, box.vector})
                {
                    EXPECT_EQ(0u, filter(src.data(), width, height, width, dst.data(), width));
                    EXPECT_EQ(expected, dst) << width << "x" << height << " size " << box.size;
                }
                if (white && width == 40)
                {
                    EXPECT_EQ(box.whiteCorner, dst[0]);
                    EXPECT_EQ(255, dst[20 * 40 + 20]);
                }
            }
            for (vsrBorderType border = 0; border <= VISORA_BORDER_REPLICATE; ++border)
            {
                EXPECT_EQ(0u, vsrBoxFilter3x3u8_v2(src.data(), width, height, 0, dst.data(), 0, border, 90));
                EXPECT_EQ(kBoxes[0].expected(src, width, border, 90), dst)
                    << width << "x" << height << " border " << border;
            }
        }
    }
}

// The vector variant multiplies by other means: a grid of windows with every sum there is must scale alike. Pixels of
// 255, then one of the remainder, make up the sum of a window.
TEST(Box, EveryWindowSumIsScaledAlike)
{
    constexpr uint32_t kAcross = 64;
    for (const BoxCase& box : kBoxes)
    {
        const uint32_t size = box.size;
        const uint32_t largest = size * size * 255;
        const uint32_t width = kAcross * size;
        const uint32_t height = (largest / kAcross + 1) * size;
        Image src(size_t{width} * height);
        for (uint32_t i = 0; i < src.size(); ++i)
        {
            const uint32_t sum = i / width / size * kAcross + i % width / size;
            const uint32_t before = (i / width % size * size + i % size) * 255;
            src[i] = static_cast<uint8_t>(std::clamp(sum, before, before + 255) - before);
        }
        for (const auto filter : {box.reference, box.vector})
        {
            Image dst(src.size());
            EXPECT_EQ(0u, filter(src.data(), width, height, width, dst.data(), width));
            for (uint32_t sum = 0; sum <= largest; ++sum)
            {
                const uint32_t row = sum / kAcross * size + size / 2;
                const uint32_t column = sum % kAcross * size + size / 2;
                ASSERT_EQ(box.scaled(sum), dst[row * width + column]) << size << " sum " << sum;
            }
        }
    }
}

const decltype(&vsrBoxFilterNxNf32) kFloatBoxes[] = {vsrBoxFilterNxNf32C, vsrBoxFilterNxNf32V};

// Numbers of very different sizes, so that another order of additions shows; one infinity and one NaN, which must stay
// in their windows.
TEST(BoxFloat, SumsTheColumnsOfTheWindowFirstAlsoInPlace)
{
    constexpr uint32_t kWidth = 37, kHeight = 21;
    Random random(3);
    FloatImage src(kWidth * kHeight);
    const auto number = [&] { return static_cast<float>(static_cast<int32_t>(random.next())); };
    std::generate(src.begin(), src.end(), [&] { return std::ldexp(number(), -static_cast<int>(random.next() % 32)); });
    const auto bitsOf = [](const FloatImage& image)
    {
        std::vector<uint32_t> bits(image.size());
        std::transform(image.begin(), image.end(), bits.begin(), [](float v) { return std::bit_cast<uint32_t>(v); });
        return bits;
    };
    for (const bool finite : {true, false})
    {
        if (!finite)
        {
            src.front() = std::numeric_limits<float>::infinity();
            src.back() = std::bit_cast<float>(0xFFC12345u);
        }
        for (const uint32_t N : {2u, 3u, 5u, 16u, 100u})
        {
            const auto mean = [N](const Window<float>& window)
            {
                float sum = 0;
                for (size_t column = 0; column < N; ++column)
                {
                    float columnSum = 0;
                    for (size_t row = 0; row < N; ++row)
                    {
                        columnSum += *window[row * N + column];
                    }
                    sum += columnSum;
                }
                const float result = sum * (1.0f / static_cast<float>(N * N));
                return std::isnan(result) ? std::bit_cast<float>(0x7FC00000u) : result;
            };
            const auto expected = bitsOf(filterWindows(src, kWidth, N, N, VISORA_BORDER_CONSTANT, 0, mean));
            for (const auto filter : kFloatBoxes)
            {
                FloatImage dst(src.size());
                EXPECT_EQ(0u, filter(src.data(), kWidth, kHeight, kWidth * 4, dst.data(), kWidth * 4, N));
                EXPECT_EQ(expected, bitsOf(dst)) << N;
                dst = src;
                EXPECT_EQ(0u, filter(dst.data(), kWidth, kHeight, kWidth * 4, dst.data(), kWidth * 4, N));
                EXPECT_EQ(expected, bitsOf(dst)) << N << " in place";
            }
        }
    }
}

TEST(MedianMxN, SelectionFindsTheLowerMedian)
{
    const auto median = [](std::vector<int16_t> values)
    { return fast_median_sort(values.data(), static_cast<int32_t>(values.size())); };
    EXPECT_EQ(-2, median({4, 3, -2, -32768}));
    Random random(11);
    for (uint32_t count = 1; count < 300; ++count)
    {
        // The fewer values, the more ties.
        for (const uint32_t spread : {0u, 3u, 65535u})
        {
            std::vector<int16_t> values(count);
            std::generate(values.begin(), values.end(),
                          [&] { return static_cast<int16_t>(random.between(0, spread)); });
            std::vector<int16_t> sorted = values;
            std::sort(sorted.begin(), sorted.end());
            const std::vector<int16_t> falling(sorted.rbegin(), sorted.rend());
            for (const auto& order : {values, sorted, falling})
            {
                ASSERT_EQ(sorted[(count - 1) / 2], median(order)) << count;
            }
        }
    }
}

TEST(MedianMxN, AgreesWithSortingTheWindow)
{
    constexpr uint32_t kWidth = 41, kHeight = 23;
    const auto src = randomPixels<int16_t>(kWidth * kHeight, 8);
    const std::pair<uint32_t, uint32_t> windows[] = {{1, 1}, {3, 3}, {5, 5},   {2, 2},   {4, 3},
                                                     {1, 9}, {8, 1}, {15, 13}, {15, 17}, {42, 3}};
    for (const auto& [M, N] : windows)
    {
        // An even window keeps as far from the right and the bottom as from the left and the top.
        const size_t columns = M | 1, rows = N | 1;
        const auto median = [&, M = M, N = N](const Window<int16_t>& whole)
        {
            if (std::find(whole.begin(), whole.end(), std::nullopt) != whole.end())
            {
                return int16_t{77};
            }
            std::vector<int16_t> window;
            for (size_t k = 0; k < M * N; ++k)
            {
                window.push_back(*whole[k / M * columns + k % M]);
            }
            std::sort(window.begin(), window.end());
            return window[(window.size() - 1) / 2];
        };
        const auto expected = filterWindows(src, kWidth, columns, rows, VISORA_BORDER_UNDEFINED, 0, median);
        for (const auto filter : {vsrFilterMedianMxNs16C, vsrFilterMedianMxNs16V})
        {
            std::vector<int16_t> dst(src.size(), 77);
            EXPECT_EQ(0u, filter(src.data(), kWidth, kHeight, kWidth * 2, M, N, dst.data(), kWidth * 2));
            EXPECT_EQ(expected, dst) << M << "x" << N;
        }
    }
}

// The most pixels that a 16-bit count meets, at the extremes of the value range.
TEST(MedianMxN, LargestWindow)
{
    constexpr uint32_t kWidth = 255 + 17, kHeight = 255;
    constexpr int16_t kSmallest = -32768, kLargest = 32767;
    for (const uint32_t larger : {32512u, 32513u})
    {
        // Each window has this many of the largest value and the rest of the smallest.
        std::vector<int16_t> src(kWidth * kHeight);
        for (uint32_t i = 0; i < src.size(); ++i)
        {
            const uint32_t inColumn = larger / 255 + (i % kWidth % 255 < larger % 255 ? 1 : 0);
            src[i] = i / kWidth < inColumn ? kLargest : kSmallest;
        }
        // The only windows are those of 18 pixels in the middle row.
        std::vector<int16_t> expected(src.size(), 5);
        std::fill_n(expected.begin() + 127 * kWidth + 127, 18, larger == 32512 ? kSmallest : kLargest);
        for (const auto filter : {vsrFilterMedianMxNs16C, vsrFilterMedianMxNs16V})
        {
            std::vector<int16_t> dst(src.size(), 5);
            EXPECT_EQ(0u, filter(src.data(), kWidth, kHeight, kWidth * 2, 255, 255, dst.data(), kWidth * 2));
            EXPECT_TRUE(expected == dst) << larger;
        }
    }
}

TEST(Scratch, ExhaustedMemoryIsReportedAndWritesNothing)
{
    const std::vector<int16_t> words(64 * 64, 9);
    const FloatImage floats(64 * 64, 9);
    const Image bytes(64 * 64, 90);
    std::vector<int16_t> wordsOut(words.size(), 1);
    FloatImage floatsOut(floats.size(), 1);
    Image bytesOut(bytes.size());
    const auto before = vsrGetScratchBufferAligned_;
    vsrGetScratchBufferAligned_ = [](size_t, uint32_t) -> void* { return nullptr; };
    EXPECT_EQ(5u, vsrFilterMedianMxNs16C(words.data(), 64, 64, 128, 3, 3, wordsOut.data(), 128));
    for (const auto filter : kFloatBoxes)
    {
        EXPECT_EQ(5u, filter(floats.data(), 64, 64, 256, floatsOut.data(), 256, 3));
    }
    // The u8 members define no such result; without scratch memory they do without.
    EXPECT_EQ(0u, vsrBoxFilter3x3u8V(bytes.data(), 64, 64, 64, bytesOut.data(), 64));
    vsrGetScratchBufferAligned_ = before;
    EXPECT_EQ(std::vector<int16_t>(words.size(), 1), wordsOut);
    EXPECT_EQ(FloatImage(floats.size(), 1), floatsOut);
    EXPECT_EQ(90, bytesOut[64 * 32 + 32]);
}

}  // namespace
}  // namespace visora::test
