// Known answers of the box filters and of the median over M x N windows.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <vector>

#include "support/random.h"
#include "visora/filter.h"
#include "visora/memory.h"

namespace visora::test
{
namespace
{

using Image = std::vector<uint8_t>;
using FloatImage = std::vector<float>;
using BoxFunction = vsrStatus (*)(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t);

struct BoxCase
{
    const char* name;
    BoxFunction filter;
    int radius;
    uint32_t scale;
};

const BoxCase kBoxes[] = {
    {"3x3", vsrBoxFilter3x3u8C, 1, 7282},    {"3x3 vector", vsrBoxFilter3x3u8V, 1, 7282},
    {"5x5", vsrBoxFilter5x5u8C, 2, 2621},    {"5x5 vector", vsrBoxFilter5x5u8V, 2, 2621},
    {"11x11", vsrBoxFilter11x11u8C, 5, 542}, {"11x11 vector", vsrBoxFilter11x11u8V, 5, 542},
};

TEST(Box, WhiteImagesDarkenTowardsTheirCorners)
{
    constexpr int kSide = 40;
    const Image white(kSide * kSide, 255);
    for (const BoxCase& box : kBoxes)
    {
        Image dst(white.size());
        EXPECT_EQ(0u, box.filter(white.data(), kSide, kSide, kSide, dst.data(), kSide));
        for (int y = 0; y < kSide; ++y)
        {
            for (int x = 0; x < kSide; ++x)
            {
                const auto inside = [&](int at)
                { return std::min(at + box.radius, kSide - 1) - std::max(at - box.radius, 0) + 1; };
                const auto sum = static_cast<uint32_t>(255 * inside(x) * inside(y));
                ASSERT_EQ((sum * box.scale + 32768) >> 16, dst[static_cast<size_t>(y * kSide + x)])
                    << box.name << " at " << x << ", " << y;
            }
        }
    }

    Image dst(white.size());
    vsrBoxFilter3x3u8(white.data(), kSide, kSide, 0, dst.data(), 0);
    EXPECT_EQ(113, dst[0]);
    EXPECT_EQ(255, dst[kSide + 1]);
    vsrBoxFilter5x5u8(white.data(), kSide, kSide, 0, dst.data(), 0);
    EXPECT_EQ(92, dst[0]);
}

// The vector variant multiplies by other means; a row of windows with every sum there is must scale alike. Columns of
// 255, then one of the remainder, make up the sum of a window.
TEST(Box, EveryWindowSumIsScaledAlike)
{
    for (size_t which = 0; which < std::size(kBoxes); which += 2)
    {
        const int size = 2 * kBoxes[which].radius + 1;
        const int largest = size * size * 255;
        const size_t stride = 64 * static_cast<size_t>(size);
        for (int first = 0; first <= largest; first += 64)
        {
            Image src(stride * static_cast<size_t>(size));
            std::vector<uint32_t> sums(64);
            for (int i = 0; i < 64; ++i)
            {
                sums[static_cast<size_t>(i)] = static_cast<uint32_t>(std::min(first + i, largest));
                int rest = static_cast<int>(sums[static_cast<size_t>(i)]);
                for (int pixel = 0; pixel < size * size; ++pixel)
                {
                    const int value = std::min(rest, 255);
                    rest -= value;
                    src[static_cast<size_t>(pixel / size) * stride + static_cast<size_t>(i * size + pixel % size)] =
                        static_cast<uint8_t>(value);
                }
            }
            for (const BoxCase& box : {kBoxes[which], kBoxes[which + 1]})
            {
                Image dst(src.size());
                box.filter(src.data(), static_cast<uint32_t>(stride), static_cast<uint32_t>(size),
                           static_cast<uint32_t>(stride), dst.data(), static_cast<uint32_t>(stride));
                for (size_t i = 0; i < sums.size(); ++i)
                {
                    const size_t centre = static_cast<size_t>(box.radius) * stride + i * static_cast<size_t>(size) +
                                          static_cast<size_t>(box.radius);
                    ASSERT_EQ((sums[i] * box.scale + 32768) >> 16, dst[centre]) << box.name << " sum " << sums[i];
                }
            }
        }
    }
}

TEST(Box, BorderRulesOfThe3x3Members)
{
    const Image src = {90, 0, 0, 0, 0, 0, 0, 0, 180};
    Image dst(9);
    const auto filtered = [&](vsrBorderType border, uint8_t value)
    {
        EXPECT_EQ(0u, vsrBoxFilter3x3u8_v2(src.data(), 3, 3, 0, dst.data(), 0, border, value));
        return dst;
    };
    EXPECT_EQ((Image{10, 10, 0, 10, 30, 20, 0, 20, 20}), filtered(VISORA_BORDER_UNDEFINED, 200));
    EXPECT_EQ((Image{60, 40, 50, 40, 30, 50, 50, 50, 70}), filtered(VISORA_BORDER_CONSTANT, 90));
    EXPECT_EQ((Image{40, 20, 0, 20, 30, 40, 0, 40, 80}), filtered(VISORA_BORDER_REPLICATE, 200));
    const Image padded = filtered(VISORA_BORDER_UNDEFINED, 0);
    vsrBoxFilter3x3u8(src.data(), 3, 3, 3, dst.data(), 3);
    EXPECT_EQ(padded, dst);

    // One pixel: eight of nine lie outside.
    const uint8_t pixel = 90;
    uint8_t out = 0;
    vsrBoxFilter3x3u8_v2(&pixel, 1, 1, 0, &out, 0, VISORA_BORDER_REPLICATE, 7);
    EXPECT_EQ(90, out);
    vsrBoxFilter3x3u8_v2(&pixel, 1, 1, 0, &out, 0, VISORA_BORDER_CONSTANT, 9);
    EXPECT_EQ(18, out);
}

uint32_t bits(float value)
{
    return std::bit_cast<uint32_t>(value);
}

const decltype(&vsrBoxFilterNxNf32) kFloatBoxes[] = {vsrBoxFilterNxNf32C, vsrBoxFilterNxNf32V};

TEST(BoxFloat, WindowOriginAndDivisor)
{
    // A single 36 in the middle of 7x7 shows every window that holds it.
    for (const auto filter : kFloatBoxes)
    {
        for (const uint32_t N : {2u, 3u})
        {
            FloatImage src(49);
            src[24] = 36;
            FloatImage dst(49, -1);
            EXPECT_EQ(0u, filter(src.data(), 7, 7, 28, dst.data(), 28, N));
            FloatImage expected(49);
            for (size_t i = 0; i < size_t{N} * N; ++i)
            {
                // Even windows lie above and left of their pixel, so the pixels are below and right of the 36.
                const size_t first = N == 2 ? 3 : 2;
                expected[(first + i / N) * 7 + first + i % N] = 36 * (1.0f / static_cast<float>(N * N));
            }
            EXPECT_EQ(expected, dst) << N;
        }
    }
}

TEST(BoxFloat, SumsColumnsFirst)
{
    // 2^24 swallows a 1 that is added to it, but not a 2: column by column the two ones of the last column meet first.
    FloatImage src(5 * 5);
    src[0] = 16777216;
    src[1] = 1;
    src[6] = 1;
    FloatImage dst(src.size());
    for (const auto filter : kFloatBoxes)
    {
        filter(src.data(), 5, 5, 20, dst.data(), 20, 2);
        EXPECT_EQ(16777218 * 0.25f, dst[6]);
    }
}

TEST(BoxFloat, InfinityAndNanStayInTheirWindows)
{
    constexpr size_t kSide = 9;
    for (const auto filter : kFloatBoxes)
    {
        FloatImage src(kSide * kSide, 1);
        src[0] = std::numeric_limits<float>::infinity();
        src[kSide * kSide - 1] = std::bit_cast<float>(0xFFC12345u);
        FloatImage dst(src.size());
        filter(src.data(), kSide, kSide, kSide * 4, dst.data(), kSide * 4, 3);
        for (size_t i = 0; i < dst.size(); ++i)
        {
            const size_t x = i % kSide;
            const size_t y = i / kSide;
            if (x < 2 && y < 2)
            {
                EXPECT_EQ(std::numeric_limits<float>::infinity(), dst[i]) << i;
            }
            else if (x >= kSide - 2 && y >= kSide - 2)
            {
                EXPECT_EQ(0x7FC00000u, bits(dst[i])) << i;
            }
            else
            {
                EXPECT_TRUE(dst[i] > 0 && dst[i] < 1.01f) << i;
            }
        }
    }
}

TEST(BoxFloat, InPlaceGivesTheSame)
{
    constexpr uint32_t kWidth = 37;
    constexpr uint32_t kHeight = 21;
    constexpr uint32_t kStride = kWidth + 3;
    Random random(3);
    FloatImage src(kStride * kHeight);
    std::generate(src.begin(), src.end(), [&] { return static_cast<float>(random.between(0, 100000)) * 0.01f; });
    for (const auto filter : kFloatBoxes)
    {
        for (const uint32_t N : {2u, 5u, 16u, 100u})
        {
            FloatImage apart = src;
            EXPECT_EQ(0u, filter(src.data(), kWidth, kHeight, kStride * 4, apart.data(), kStride * 4, N));
            FloatImage inPlace = src;
            EXPECT_EQ(0u, filter(inPlace.data(), kWidth, kHeight, kStride * 4, inPlace.data(), kStride * 4, N));
            EXPECT_EQ(apart, inPlace) << N;
        }
    }
}

TEST(MedianMxN, SelectionFindsTheLowerMedian)
{
    const auto median = [](std::vector<int16_t> values)
    { return fast_median_sort(values.data(), static_cast<int32_t>(values.size())); };
    EXPECT_EQ(-3, median({-3}));
    EXPECT_EQ(-5, median({7, -5}));
    EXPECT_EQ(4, median({9, 4, -32768}));
    EXPECT_EQ(2, median({4, 3, 2, 1}));
    EXPECT_EQ(5, median(std::vector<int16_t>(1000, 5)));

    Random random(11);
    for (uint32_t count = 1; count < 300; ++count)
    {
        // Few different values bring many ties, many bring few.
        const uint32_t spread = count % 3 == 0 ? 3 : 65535;
        std::vector<int16_t> values(count);
        std::generate(values.begin(), values.end(), [&] { return static_cast<int16_t>(random.between(0, spread)); });
        std::vector<int16_t> sorted = values;
        std::sort(sorted.begin(), sorted.end());
        ASSERT_EQ(sorted[(count - 1) / 2], median(values)) << count;
        std::vector<int16_t> falling(sorted.rbegin(), sorted.rend());
        ASSERT_EQ(sorted[(count - 1) / 2], median(falling)) << count;
        ASSERT_EQ(sorted[(count - 1) / 2], median(sorted)) << count;
    }
}

TEST(MedianMxN, AgreesWithSortingTheWindow)
{
    constexpr int kWidth = 41;
    constexpr int kHeight = 23;
    Random random(8);
    std::vector<int16_t> src(kWidth * kHeight);
    std::generate(src.begin(), src.end(), [&] { return static_cast<int16_t>(random.next()); });
    const std::pair<int, int> windows[] = {{1, 1}, {3, 3}, {5, 5},   {2, 2},   {4, 3},
                                           {1, 9}, {8, 1}, {15, 13}, {15, 17}, {42, 3}};
    for (const auto filter : {vsrFilterMedianMxNs16C, vsrFilterMedianMxNs16V})
    {
        for (const auto& [M, N] : windows)
        {
            std::vector<int16_t> dst(src.size(), 77);
            EXPECT_EQ(0u, filter(src.data(), kWidth, kHeight, kWidth * 2, static_cast<uint32_t>(M),
                                 static_cast<uint32_t>(N), dst.data(), kWidth * 2));
            for (int i = 0; i < kWidth * kHeight; ++i)
            {
                const int x = i % kWidth;
                const int y = i / kWidth;
                std::vector<int16_t> window = {77};
                if (x >= M / 2 && y >= N / 2 && x + M / 2 < kWidth && y + N / 2 < kHeight)
                {
                    window.clear();
                    for (int k = 0; k < M * N; ++k)
                    {
                        const int at = (y - N / 2 + k / M) * kWidth + x - M / 2 + k % M;
                        window.push_back(src[static_cast<size_t>(at)]);
                    }
                    std::sort(window.begin(), window.end());
                }
                ASSERT_EQ(window[(window.size() - 1) / 2], dst[static_cast<size_t>(i)])
                    << M << "x" << N << " at " << x << ", " << y;
            }
        }
    }
}

// The most pixels that a 16-bit count meets, at the extremes of the value range.
TEST(MedianMxN, LargestWindow)
{
    constexpr uint32_t kWidth = 255 + 17;
    constexpr uint32_t kHeight = 255;
    for (const uint32_t larger : {32512u, 32513u})
    {
        std::vector<int16_t> src(kWidth * kHeight, 32767);
        for (uint32_t column = 0; column < kWidth; ++column)
        {
            // Each window has this many of the largest value and the rest of the smallest.
            const uint32_t perColumn = larger / 255;
            const uint32_t more = column % 255 < larger % 255 ? 1 : 0;
            for (uint32_t row = perColumn + more; row < kHeight; ++row)
            {
                src[row * kWidth + column] = -32768;
            }
        }
        std::vector<int16_t> expected(src.size(), 5);
        std::vector<int16_t> dst(src.size(), 5);
        EXPECT_EQ(
            0u, vsrFilterMedianMxNs16C(src.data(), kWidth, kHeight, kWidth * 2, 255, 255, expected.data(), kWidth * 2));
        EXPECT_EQ(0u,
                  vsrFilterMedianMxNs16V(src.data(), kWidth, kHeight, kWidth * 2, 255, 255, dst.data(), kWidth * 2));
        EXPECT_EQ(expected, dst);
        EXPECT_EQ(larger == 32512 ? -32768 : 32767, dst[127 * kWidth + 127]);
    }
}

TEST(Scratch, ExhaustedMemoryIsReportedAndWritesNothing)
{
    const std::vector<int16_t> words(64 * 64, 9);
    const FloatImage floats(64 * 64, 9);
    std::vector<int16_t> wordsOut(words.size(), 1);
    FloatImage floatsOut(floats.size(), 1);
    Image bytes(64 * 64, 90);
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
