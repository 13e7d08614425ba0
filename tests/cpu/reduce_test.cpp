// Reductions and distances: known answers by independent judges.
#include "visora/reduce.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "support/floats.h"
#include "support/instruction_sets.h"
#include "visora/variants/arithmetic.h"

namespace visora::test
{
namespace
{

// Images that are large enough for every narrow partial sum to overflow if it were not emptied in time.
TEST(Reduce, PartialSumsNeverOverflow)
{
    constexpr uint32_t kWidth = 4099;
    constexpr uint32_t kHeight = 1031;
    constexpr uint64_t kPixels = uint64_t{kWidth} * kHeight;
    const std::vector<uint8_t> bytes(kPixels, 255);
    const std::vector<uint8_t> zeros(kPixels, 0);
    const std::vector<int16_t> words(kPixels, INT16_MIN);
    const std::vector<int32_t> longs(kPixels, INT32_MIN);
    for (const int64_t set : instructionSets())
    {
        const UseInstructionSet use(set);
        for (const uint32_t height : {1U, kHeight})
        {
            // Rows that follow each other are one; with another stride they are not.
            for (const uint32_t width : {kWidth, kWidth - 3})
            {
                const uint64_t pixels = uint64_t{width} * height;
                uint64_t sum = 0;
                vsrSumu8V(bytes.data(), width, height, kWidth, nullptr, 0, &sum);
                EXPECT_EQ(255 * pixels, sum);
                vsrSumOfSquaresu8V(bytes.data(), width, height, kWidth, &sum);
                EXPECT_EQ(65025 * pixels, sum);
                vsrSumOfAbsoluteDiffu8V(bytes.data(), width, height, kWidth, zeros.data(), kWidth, &sum);
                EXPECT_EQ(255 * pixels, sum);
                vsrSumOfSquaress16V(words.data(), width, height, 2 * kWidth, &sum);
                EXPECT_EQ(pixels << 30, sum);
                int64_t signedSum = 0;
                vsrSums16V(words.data(), width, height, 2 * kWidth, &signedSum);
                EXPECT_EQ(INT16_MIN * static_cast<int64_t>(pixels), signedSum);
                uint32_t count = 0;
                vsrCountNonZerou8V(bytes.data(), width, height, kWidth, &count);
                EXPECT_EQ(pixels, count);
                vsrBitCountu8V(bytes.data(), width, height, kWidth, &count);
                EXPECT_EQ(8 * pixels, count);
                float average = 0;
                vsrAverages32V(longs.data(), width, height, 4 * kWidth, &average);
                EXPECT_EQ(static_cast<float>(INT32_MIN), average);
            }
        }
    }
}

TEST(Reduce, MeansAreRoundedOnce)
{
    // 2^24 + 1 over 3 pixels: a sum in f32 would lose the last bit.
    const int32_t values[] = {1 << 24, 1, 0, -7};
    float average = 0;
    ASSERT_EQ(0U, vsrAverages32(values, 3, 1, 0, &average));
    EXPECT_EQ(static_cast<float>(16777217.0 / 3), average);
    const uint8_t pixels[] = {10, 20, 31, 200};
    const uint8_t mask[] = {1, 255, 7, 0};
    ASSERT_EQ(0U, vsrAverageu8(pixels, 4, 1, 0, mask, 0, &average));
    EXPECT_EQ(static_cast<float>(61.0 / 3), average);
    const uint8_t nothing[4] = {};
    ASSERT_EQ(0U, vsrAverageu8(pixels, 4, 1, 0, nothing, 0, &average));
    EXPECT_EQ(0, average);
}

TEST(Reduce, FloatSumsKeepSmallPartsOfLargeImages)
{
    std::vector<float> src(3000 * 1000, 0.1F);
    float sum = 0;
    ASSERT_EQ(0U, vsrSumf32(src.data(), 3000, 1000, 0, &sum));
    EXPECT_NEAR(3e6 * double{0.1F}, sum, 0.02);
    src[7] = -NAN;
    ASSERT_EQ(0U, vsrSumf32(src.data(), 3000, 1000, 0, &sum));
    EXPECT_EQ(0x7FC00000U, std::bit_cast<uint32_t>(sum));
}

// ---- Extremes ----

template <class T>
struct Found
{
    T low{};
    T high{};
    std::array<uint32_t, 2> lowXY{};
    std::array<uint32_t, 2> highXY{};
};

template <class T, class Function>
Found<T> find(Function* function, const std::vector<T>& src, uint32_t width)
{
    Found<T> found;
    EXPECT_EQ(0U, function(src.data(), width, static_cast<uint32_t>(src.size()) / width,
                           static_cast<uint32_t>(width * sizeof(T)), &found.low, &found.high, found.lowXY.data(),
                           found.highXY.data()));
    return found;
}

TEST(Reduce, FirstPlacesOfExtremes)
{
    using Place = std::array<uint32_t, 2>;
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr Place kNowhere = {UINT32_MAX, UINT32_MAX};
    for (const int64_t set : instructionSets())
    {
        const UseInstructionSet use(set);
        std::vector<uint8_t> bytes(100 * 9, 255);
        EXPECT_EQ((Place{0, 0}), find(vsrMinMaxLocu8V, bytes, 100).lowXY);
        bytes[307] = bytes[655] = 3;
        EXPECT_EQ((Place{7, 3}), find(vsrMinMaxLocu8V, bytes, 100).lowXY);
        EXPECT_EQ((Place{0, 0}), find(vsrMinMaxLocu8V, bytes, 100).highXY);
        std::vector<int16_t> words(97 * 5, INT16_MIN);
        words.back() = 4;
        EXPECT_EQ((Place{0, 0}), find(vsrMinMaxLocs16V, words, 97).lowXY);
        EXPECT_EQ((Place{96, 4}), find(vsrMinMaxLocs16V, words, 97).highXY);

        std::vector<float> floats(50 * 4, std::bit_cast<float>(0xFF812345U));  // a NaN that signals
        Found<float> found = find(vsrMinMaxLocf32V, floats, 50);
        EXPECT_EQ(kInfinity, found.low);
        EXPECT_EQ(-kInfinity, found.high);
        EXPECT_EQ(kNowhere, found.lowXY);
        EXPECT_EQ(kNowhere, found.highXY);
        floats[120] = kInfinity;
        found = find(vsrMinMaxLocf32V, floats, 50);
        EXPECT_EQ((Place{20, 2}), found.lowXY);
        EXPECT_EQ((Place{20, 2}), found.highXY);
        floats[120] = -0.0F;
        floats[60] = 0.0F;
        found = find(vsrMinMaxLocf32V, floats, 50);
        EXPECT_EQ((Place{10, 1}), found.lowXY);
        EXPECT_FALSE(std::signbit(found.low) || std::signbit(found.high));
    }
    uint8_t low = 1;
    uint8_t high = 1;
    const uint8_t one = 7;
    const uint8_t out = 0;
    ASSERT_EQ(0U, vsrMinMaxu8(&one, 1, 1, 0, &out, 0, &low, &high));
    EXPECT_EQ(255, low);
    EXPECT_EQ(0, high);
}

// ---- Distances ----

TEST(Reduce, SquaredDistancesFillTheirResults)
{
    const std::vector<uint8_t> zeros(66051, 0);
    const std::vector<uint8_t> ones(66051, 255);
    const std::vector<int8_t> low(33025, -128);
    const std::vector<int8_t> high(33025, 127);
    for (const int64_t set : instructionSets())
    {
        const UseInstructionSet use(set);
        uint32_t distance = 0;
        vsrSumOfSquaredDiffu8V(zeros.data(), 66051, ones.data(), 1, 66051, &distance);
        EXPECT_EQ(uint64_t{66051} * 65025, distance);
        int32_t signedDistance = 0;
        vsrSumOfSquaredDiffs8V(low.data(), 33025, high.data(), 1, 33025, &signedDistance);
        EXPECT_EQ(33025 * 65025, signedDistance);
    }
    uint32_t distance = 5;
    EXPECT_EQ(0U, vsrSumOfSquaredDiffu8(zeros.data(), 10, ones.data(), 0, 0, &distance));
    EXPECT_EQ(3U, vsrSumOfSquaredDiffu8(zeros.data(), 66052, ones.data(), 0, 0, &distance));
    EXPECT_EQ(5U, distance);
}

TEST(Reduce, BlockMatchingFindsThePatch)
{
    Random random(9);
    std::vector<uint8_t> src(90 * 70);
    std::generate(src.begin(), src.end(), [&] { return static_cast<uint8_t>(random.next()); });
    for (const auto& [x, y] : {std::pair(0U, 0U), std::pair(31U, 17U), std::pair(90U - 21U, 70U - 13U)})
    {
        std::vector<uint32_t> dst(70 * 58);
        uint32_t best[2] = {};
        // The patch is where it is cut from.
        ASSERT_EQ(0U, vsrSumOfAbsoluteDiffMxNu8(src.data(), 90, 70, 0, src.data() + y * 90 + x, 21, 13, 90, dst.data(),
                                                0, best));
        EXPECT_EQ(x, best[0]);
        EXPECT_EQ(y, best[1]);
        EXPECT_EQ(0U, dst[y * 70 + x]);
        uint32_t sum = 0;
        for (size_t i = 0; i < 21 * 13; ++i)
        {
            const size_t place = i / 21 * 90 + i % 21;
            sum += static_cast<uint32_t>(std::abs(src[y * 90 + x + place] - src[40 * 90 + 50 + place]));
        }
        EXPECT_EQ(sum, dst[40 * 70 + 50]);
    }
}

}  // namespace
}  // namespace visora::test
