// Known answers of the downscalers, and judges that share no code with them.
#include "visora/variants/scale.h"

#include <gtest/gtest.h>

#include <bit>

#include "support/images.h"
#include "visora/memory.h"

namespace visora::test
{
namespace
{

struct Sizes
{
    uint32_t srcWidth, srcHeight, dstWidth, dstHeight;
};

std::ostream& operator<<(std::ostream& out, const Sizes& s)
{
    return out << s.srcWidth << "x" << s.srcHeight << " to " << s.dstWidth << "x" << s.dstHeight;
}

// ---- Averages ----

// By 2 and by 4 truncate once: averages of averages would round more than once.
TEST(ScaleDown, AveragesWholeBoxes)
{
    Random random(1);
    for (uint32_t round = 0; round < 60; ++round)
    {
        // Factors of their own for each axis, with rows and columns left over.
        const uint32_t fixed = round % 3 == 0 ? 0 : round % 3 * 2;
        const uint32_t fx = fixed ? fixed : random.between(1, 11), fy = fixed ? fixed : random.between(1, 11);
        const uint32_t dstWidth = random.between(1, 40), dstHeight = random.between(1, 9);
        const uint32_t width = dstWidth * fx + (fixed ? 0 : random.between(0, dstWidth - 1));
        const uint32_t height = dstHeight * fy + (fixed ? 0 : random.between(0, dstHeight - 1));
        const Image src = randomPixels(size_t{width} * height, round);
        Image expected(size_t{dstWidth} * dstHeight);
        for (size_t i = 0; i < expected.size(); ++i)
        {
            uint32_t sum = 0;
            for (size_t j = 0; j < fx * fy; ++j)
            {
                sum += src[(i / dstWidth * fy + j / fx) * width + i % dstWidth * fx + j % fx];
            }
            expected[i] = static_cast<uint8_t>(sum / (fx * fy));
        }
        Image dst(expected.size());
        EXPECT_EQ(0, fixed == 2   ? vsrScaleDownBy2u8(src.data(), width, height, dst.data())
                     : fixed == 4 ? vsrScaleDownBy4u8(src.data(), width, height, dst.data())
                                  : static_cast<int>(
                                        vsrScaleDownu8(src.data(), width, height, dst.data(), dstWidth, dstHeight)));
        ASSERT_EQ(expected, dst) << Sizes{width, height, dstWidth, dstHeight};
    }
}

TEST(ScaleDown, SumsOfHugeBoxesDoNotWrap)
{
    // 255 times more than 2^24 pixels.
    const Image src(5000 * 4000, 255);
    for (const auto kernel : {vsrScaleDownu8C, vsrScaleDownu8V})
    {
        uint8_t dst = 0;
        EXPECT_EQ(0u, kernel(src.data(), 5000, 4000, 5000, &dst, 1, 1, 1));
        EXPECT_EQ(255, dst);
    }
}

TEST(ScaleDown3To2, WeighsCornerEdgesAndCentre)
{
    // Sixteenths of the pixels of a 3x3 block in each pixel of its 2x2 block.
    constexpr uint32_t kWeights[4][9] = {{9, 3, 0, 3, 1, 0, 0, 0, 0},
                                         {0, 3, 9, 0, 1, 3, 0, 0, 0},
                                         {0, 0, 0, 3, 1, 0, 9, 3, 0},
                                         {0, 0, 0, 0, 1, 3, 0, 3, 9}};
    constexpr uint32_t kWidth = 3 * 50, kHeight = 3 * 20;
    for (const Image& src : {randomPixels(kWidth * kHeight, 3), Image(kWidth * kHeight, 255)})
    {
        Image dst(100 * 40);
        EXPECT_EQ(0, vsrScaleDown3To2u8(src.data(), kWidth, kHeight, 0, dst.data(), 0));
        for (size_t i = 0; i < dst.size(); ++i)
        {
            const size_t x = i % 100, y = i / 100;
            uint32_t sum = 0;
            for (size_t j = 0; j < 9; ++j)
            {
                sum += kWeights[y % 2 * 2 + x % 2][j] * src[(y / 2 * 3 + j / 3) * kWidth + x / 2 * 3 + j % 3];
            }
            ASSERT_EQ(sum / 16, dst[i]) << x << ", " << y;
        }
    }
}

TEST(MnDivTable, HoldsReciprocalsThatDivideExactly)
{
    EXPECT_EQ(0xffffffffu, mn_div_table[0]);
    EXPECT_EQ(0xffffffffu, mn_div_table[1]);
    EXPECT_EQ(0x55555556u, mn_div_table[3]);
    EXPECT_EQ(10737419u, mn_div_table[400]);
    for (uint32_t n = 2; n <= 400; ++n)
    {
        // 2^32 / n rounded up, by division of whole numbers of another form.
        ASSERT_EQ(0xffffffffu / n + 1, mn_div_table[n]) << n;
        for (uint32_t sum = 0; sum <= 255 * n; ++sum)
        {
            ASSERT_EQ(sum / n, uint64_t{sum} * mn_div_table[n] >> 32) << sum << " / " << n;
        }
    }
}

TEST(ScaleDownMN, AgreesWithIntegerDivisionOfEachRunsSum)
{
    Random random(3);
    std::vector<Sizes> cases = {{10, 10, 7, 7},   {64, 48, 32, 12}, {199, 179, 10, 9}, {79, 1, 4, 1},
                                {1, 79, 1, 4},    {50, 3, 50, 1},   {38, 19, 2, 1},    {33, 21, 32, 20},
                                {160, 50, 9, 50}, {300, 40, 21, 3}, {400, 38, 23, 2},  {128, 20, 128, 20}};
    for (int i = 0; i < 60; ++i)
    {
        const uint32_t width = random.between(1, 150), height = random.between(1, 60);
        cases.push_back(
            {width, height, random.between(width / 20 + 1, width), random.between(height / 20 + 1, height)});
    }
    for (const Sizes& sizes : cases)
    {
        const auto& [width, height, dstWidth, dstHeight] = sizes;
        const Image src = randomPixels(size_t{width} * height, width);
        Image dst(size_t{dstWidth} * dstHeight);
        ASSERT_EQ(0u, vsrScaleDownMNu8(src.data(), width, height, 0, dst.data(), dstWidth, dstHeight, 0));
        std::vector<uint32_t> sums(dst.size()), counts(dst.size());
        for (size_t i = 0; i < src.size(); ++i)
        {
            // Run r ends with the pixel that brings the accumulated sum, (x + 1) * dstWidth, to (r + 1) * srcWidth.
            const size_t cell = i / width * dstHeight / height * dstWidth + i % width * dstWidth / width;
            sums[cell] += src[i];
            ++counts[cell];
        }
        for (size_t i = 0; i < dst.size(); ++i)
        {
            // A pixel alone loses one.
            const uint32_t expected = counts[i] == 1 ? std::max(sums[i], 1u) - 1 : sums[i] / counts[i];
            ASSERT_EQ(expected, dst[i]) << sizes << " " << i;
        }
    }
}

TEST(ScaleDownMN, GivesUpWithoutScratchMemory)
{
    const Image src(4096, 9);
    auto* const before = vsrGetScratchBufferAligned_;
    vsrGetScratchBufferAligned_ = [](size_t, uint32_t) -> void* { return nullptr; };
    Image dst(512, 77);
    for (const auto kernel : {vsrScaleDownMNu8C, vsrScaleDownMNu8V})
    {
        // A size for each way of the vector variant: reference, short runs, long runs.
        for (const auto& [width, height, dstWidth, dstHeight] : {Sizes{9, 9, 5, 5}, {100, 9, 50, 5}, {200, 19, 11, 1}})
        {
            EXPECT_EQ(vsrStatus{VISORA_ENOMEM},
                      kernel(src.data(), width, height, width, dst.data(), dstWidth, dstHeight, dstWidth));
        }
    }
    EXPECT_EQ(Image(512, 77), dst);
    // The others can do without.
    EXPECT_EQ(0u, vsrScaleDownu8V(src.data(), 300, 3, 300, dst.data(), 100, 1, 100));
    EXPECT_EQ(0u, vsrScaleDownNNu8V(src.data(), 300, 3, 300, dst.data() + 100, 100, 2, 100));
    EXPECT_EQ(Image(300, 9), Image(dst.begin(), dst.begin() + 300));
    vsrGetScratchBufferAligned_ = before;
}

// ---- Nearest neighbour ----

TEST(ScaleNearest, BitCountsLookAtTheLowBitsOnly)
{
    for (const uint32_t high : {0u, 0x10000u, 0xffff0000u})
    {
        for (uint32_t low = 0; low <= 0xffff; ++low)
        {
            ASSERT_EQ(static_cast<uint32_t>(std::bit_width(low)), vsrGetNumBits(high | low)) << low;
            const auto zeros = static_cast<uint32_t>(low == 0 ? 15 : std::countr_zero(low));
            ASSERT_EQ(zeros, vsrGetMaxNumTrail0s(high | low)) << low;
        }
    }
}

// Source columns of one axis, read off two ramps: the low and the high bytes of the columns.
std::vector<uint32_t> columnsTaken(uint32_t srcWidth, uint32_t dstWidth)
{
    std::vector<uint32_t> columns(dstWidth);
    for (const uint32_t shift : {0u, 8u})
    {
        Image src(srcWidth * size_t{2});
        for (size_t i = 0; i < src.size(); ++i)
        {
            src[i] = static_cast<uint8_t>(i % srcWidth >> shift);
        }
        Image dst(dstWidth);
        // From two rows to one, so that equal widths are no plain copy.
        EXPECT_EQ(0u, vsrScaleDownNNu8(src.data(), srcWidth, 2, 0, dst.data(), dstWidth, 1, 0));
        for (size_t i = 0; i < dst.size(); ++i)
        {
            columns[i] |= uint32_t{dst[i]} << shift;
        }
    }
    return columns;
}

// The rule, in steps that are written out with wide numbers and cut where the rule cuts.
std::vector<uint32_t> columnsByTheRule(uint32_t s, uint32_t d, bool split)
{
    const auto bits = [](uint32_t v) { return static_cast<int>(std::bit_width(v)); };
    const auto zeros = [](uint32_t v) { return std::countr_zero(v); };
    const int e = bits(d) + bits(s) - zeros(s);
    const int k = split ? (bits(d) + 1) / 2 : 0;
    const int fraction = (split ? bits(d) / 2 : 0) - e + 32;
    const uint64_t dOdd = d >> zeros(d), sOdd = s >> zeros(s);
    const uint64_t step = (((uint64_t{1} << fraction) + dOdd / 2) / dOdd * sOdd) % (uint64_t{1} << 32);
    const int shift = (zeros(d) - zeros(s) - k + fraction + 64) % 32;
    std::vector<uint32_t> columns;
    for (uint64_t i = 0; i < d; ++i)
    {
        const uint64_t low = i % (uint64_t{1} << k) * step % (uint64_t{1} << 32) >> k;
        const uint64_t sum = (low + (i >> k) * step) % (uint64_t{1} << 32);
        columns.push_back(static_cast<uint32_t>(std::min<uint64_t>((sum >> shift) % 65536, s - 1)));
    }
    return columns;
}

TEST(ScaleNearest, FollowsTheRuleWithAndWithoutSplit)
{
    struct Case
    {
        uint32_t srcWidth, dstWidth;
        bool split;
    };
    // In the last three the rounded step runs past the last column and is held there.
    for (const auto& [srcWidth, dstWidth, split] : {Case{640, 320, false},
                                                    {256, 64, false},
                                                    {1920, 1280, false},
                                                    {1921, 640, true},
                                                    {1023, 1000, true},
                                                    {255, 255, false},
                                                    {257, 254, true},
                                                    {40000, 39999, true},
                                                    {32768, 16384, false},
                                                    {7, 3, false},
                                                    {3, 100, false},
                                                    {671, 1003, true},
                                                    {56428, 1724, true},
                                                    {37024, 1149, true}})
    {
        EXPECT_EQ(columnsByTheRule(srcWidth, dstWidth, split), columnsTaken(srcWidth, dstWidth))
            << srcWidth << " to " << dstWidth;
    }
    EXPECT_EQ(37023u, columnsTaken(37024, 1149).back());
    // An exact ratio lands one early, beyond 256 too; a power of two has an exact step.
    const std::vector<uint32_t> half = columnsTaken(640, 320), quarter = columnsTaken(256, 64);
    for (uint32_t i = 0; i < 320; ++i)
    {
        ASSERT_EQ(i == 0 ? 0 : 2 * i - 1, half[i]);
        ASSERT_EQ(i % 64 * 4, quarter[i % 64]);
    }
}

TEST(ScaleNearest, RefusesSizesWithoutARepresentableStep)
{
    const Image src(2 * 65535, 9);
    Image dst(65535, 77);
    for (const auto kernel : {vsrScaleDownNNu8C, vsrScaleDownNNu8V})
    {
        // 21 or more bits would be needed behind the point.
        for (const uint32_t dstWidth : {300u, 1000u, 65534u})
        {
            EXPECT_EQ(1u, kernel(src.data(), 65535, 2, 65535, dst.data(), dstWidth, 1, dstWidth)) << dstWidth;
        }
        EXPECT_EQ(1u, kernel(src.data(), 2, 65535, 2, dst.data(), 1, 1000, 1));
    }
    EXPECT_EQ(Image(65535, 77), dst);
}

TEST(ScaleNearest, OneAxisThatNeedsTheSplitGivesItToBothAndEqualSizesAreCopied)
{
    // 20 to 10 columns alone lands one early; with rows that need the split its finer step does not.
    constexpr uint32_t kRows = 1021, kOutRows = 1000;
    Image src(20 * kRows);
    for (size_t i = 0; i < src.size(); ++i)
    {
        src[i] = static_cast<uint8_t>(i % 20);
    }
    Image dst(src.size());
    ASSERT_EQ(0u, vsrScaleDownNNu8(src.data(), 20, kRows, 0, dst.data(), 10, kOutRows, 0));
    EXPECT_EQ((Image{0, 2, 4, 6, 8, 10, 12, 14, 16, 18}), Image(dst.begin(), dst.begin() + 10));
    ASSERT_EQ(0u, vsrScaleDownNNu8(src.data(), 20, 40, 0, dst.data(), 10, 20, 0));
    EXPECT_EQ((Image{0, 1, 3, 5, 7, 9, 11, 13, 15, 17}), Image(dst.begin(), dst.begin() + 10));
    for (const auto kernel : {vsrScaleDownNNu8C, vsrScaleDownNNu8V})
    {
        dst.assign(dst.size(), 77);
        EXPECT_EQ(0u, kernel(src.data(), 20, kRows, 20, dst.data(), 20, kRows, 20));
        EXPECT_EQ(src, dst);
    }
}

}  // namespace
}  // namespace visora::test
