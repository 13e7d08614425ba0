// Known answers of the downscalers, and judges that share no code with them.
#include "visora/scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "support/random.h"
#include "visora/memory.h"

namespace visora::test
{
namespace
{

using Image = std::vector<uint8_t>;

Image randomImage(size_t pixels, uint64_t seed)
{
    Random random(seed);
    Image image(pixels);
    std::generate(image.begin(), image.end(), [&] { return static_cast<uint8_t>(random.next()); });
    return image;
}

TEST(ScaleDownBy2, Truncates)
{
    const Image src = {1, 2, 3, 3};
    uint8_t dst = 0;
    EXPECT_EQ(0, vsrScaleDownBy2u8(src.data(), 2, 2, &dst));
    EXPECT_EQ(2, dst);
}

TEST(ScaleDownBy4, TruncatesTheSumOfAllSixteen)
{
    struct Case
    {
        uint8_t last;
        uint8_t mean;
    };
    // Averages of averages would round more than once.
    for (const auto& [last, mean] : {Case{255, 255}, Case{254, 254}, Case{0, 239}})
    {
        Image src(16, 255);
        src[15] = last;
        uint8_t dst = 0;
        EXPECT_EQ(0, vsrScaleDownBy4u8(src.data(), 4, 4, &dst));
        EXPECT_EQ(mean, dst);
    }
    const Image ramp = {0, 0, 0, 1, 0, 0, 1, 3, 0, 1, 1, 3, 1, 1, 1, 3};
    uint8_t dst = 9;
    EXPECT_EQ(0, vsrScaleDownBy4u8(ramp.data(), 4, 4, &dst));
    EXPECT_EQ(1, dst);
}

TEST(ScaleDown3To2, WeighsCornerEdgesAndCentre)
{
    // Each pixel of the block alone, at 160, shows its weights: 9, 3 or 1 sixteenth.
    const Image expected[9] = {{90, 0, 0, 0},  {30, 30, 0, 0}, {0, 90, 0, 0},  {30, 0, 30, 0}, {10, 10, 10, 10},
                               {0, 30, 0, 30}, {0, 0, 90, 0},  {0, 0, 30, 30}, {0, 0, 0, 90}};
    for (size_t i = 0; i < 9; ++i)
    {
        Image src(9, 0);
        src[i] = 160;
        Image dst(4, 77);
        EXPECT_EQ(0, vsrScaleDown3To2u8(src.data(), 3, 3, 0, dst.data(), 0));
        EXPECT_EQ(expected[i], dst) << i;
    }
    for (const uint8_t v : {uint8_t{1}, uint8_t{128}, uint8_t{255}})
    {
        Image dst(4);
        EXPECT_EQ(0, vsrScaleDown3To2u8(Image(9, v).data(), 3, 3, 0, dst.data(), 0));
        EXPECT_EQ(Image(4, v), dst);
    }
    Image dst(4);
    vsrScaleDown3To2u8(Image{1, 1, 0, 1, 1, 0, 0, 0, 0}.data(), 3, 3, 0, dst.data(), 0);
    EXPECT_EQ((Image{1, 0, 0, 0}), dst);
}

TEST(ScaleDown3To2, IgnoresWhatIsLeftOver)
{
    Image src(5 * 4, 255);
    for (size_t i = 0; i < src.size(); ++i)
    {
        src[i] = i % 5 < 3 && i / 5 < 3 ? 16 : 255;
    }
    Image dst(8, 77);
    EXPECT_EQ(0, vsrScaleDown3To2u8(src.data(), 5, 4, 0, dst.data(), 4));
    EXPECT_EQ((Image{16, 16, 77, 77, 16, 16, 77, 77}), dst);
}

TEST(ScaleDown, UsesWholeFactorsRoundedDown)
{
    Image row = {0, 1, 5, 10, 10, 12, 255, 255, 255, 200};
    Image dst(3);
    EXPECT_EQ(0u, vsrScaleDownu8(row.data(), 10, 1, dst.data(), 3, 1));
    EXPECT_EQ((Image{2, 10, 255}), dst);

    // An independent average of factors that differ, with rows and columns left over and strides.
    constexpr uint32_t kWidth = 100, kHeight = 67, kStride = 111, kOut = 9, kOutRows = 6, kOutStride = 12;
    const Image src = randomImage(kStride * kHeight, 1);
    Image out(kOutStride * kOutRows, 77);
    EXPECT_EQ(0u, vsrScaleDownu8_v2(src.data(), kWidth, kHeight, kStride, out.data(), kOut, kOutRows, kOutStride));
    for (size_t i = 0; i < out.size(); ++i)
    {
        const size_t x = i % kOutStride, y = i / kOutStride;
        uint32_t sum = 0;
        for (size_t j = 0; j < 11 * 11; ++j)
        {
            sum += src[std::min((y * 11 + j / 11) * kStride + x * 11 + j % 11, src.size() - 1)];
        }
        ASSERT_EQ(x < kOut ? sum / 121 : 77, out[i]) << x << ", " << y;
    }
}

TEST(ScaleDown, SumsOfHugeBoxesDoNotWrap)
{
    // 255 times more than 2^24 pixels.
    const Image src(5000 * 4000, 255);
    uint8_t dst = 0;
    for (const auto kernel : {vsrScaleDownu8C, vsrScaleDownu8V})
    {
        dst = 0;
        EXPECT_EQ(0u, kernel(src.data(), 5000, 4000, 5000, &dst, 1, 1, 1));
        EXPECT_EQ(255, dst);
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

// The area average as the doc comment tells it: a pixel belongs to the run that error accumulation gives it.
std::vector<uint32_t> runOfEachPixel(uint32_t srcSize, uint32_t dstSize)
{
    std::vector<uint32_t> runs;
    for (uint64_t i = 0; i < srcSize; ++i)
    {
        // Run r ends with the pixel that brings the accumulated sum, (i + 1) * dstSize, to (r + 1) * srcSize.
        runs.push_back(static_cast<uint32_t>(i * dstSize / srcSize));
    }
    return runs;
}

struct Sizes
{
    uint32_t srcWidth, srcHeight, dstWidth, dstHeight;
};

TEST(ScaleDownMN, AgreesWithIntegerDivisionOfEachRunsSum)
{
    Random random(3);
    std::vector<Sizes> cases = {{10, 10, 7, 7},   {64, 48, 32, 12}, {199, 179, 10, 9}, {79, 1, 4, 1},
                                {1, 79, 1, 4},    {50, 3, 50, 1},   {38, 19, 2, 1},    {33, 21, 32, 20},
                                {160, 50, 9, 50}, {300, 40, 21, 3}, {400, 38, 23, 2}};
    for (int i = 0; i < 60; ++i)
    {
        const uint32_t width = random.between(1, 150), height = random.between(1, 60);
        cases.push_back(
            {width, height, random.between(width / 20 + 1, width), random.between(height / 20 + 1, height)});
    }
    for (const auto& [width, height, dstWidth, dstHeight] : cases)
    {
        const Image src = randomImage(size_t{width} * height, width);
        Image dst(size_t{dstWidth} * dstHeight);
        ASSERT_EQ(0u, vsrScaleDownMNu8(src.data(), width, height, 0, dst.data(), dstWidth, dstHeight, 0));
        std::vector<uint32_t> sums(dst.size()), counts(dst.size());
        const auto columnRuns = runOfEachPixel(width, dstWidth);
        const auto rowRuns = runOfEachPixel(height, dstHeight);
        for (size_t i = 0; i < src.size(); ++i)
        {
            const size_t cell = size_t{rowRuns[i / width]} * dstWidth + columnRuns[i % width];
            sums[cell] += src[i];
            ++counts[cell];
        }
        for (size_t i = 0; i < dst.size(); ++i)
        {
            // A pixel alone loses one.
            const uint32_t expected = counts[i] == 1 ? std::max(sums[i], 1u) - 1 : sums[i] / counts[i];
            ASSERT_EQ(expected, dst[i]) << width << "x" << height << " to " << dstWidth << "x" << dstHeight << " " << i;
        }
    }
}

TEST(ScaleDownMN, TakesOneOffEveryPixelAtEqualSizes)
{
    Image src(256);
    std::iota(src.begin(), src.end(), uint8_t{0});
    Image expected(256);
    std::iota(expected.begin() + 1, expected.end(), uint8_t{0});
    for (const auto kernel : {vsrScaleDownMNu8C, vsrScaleDownMNu8V})
    {
        Image dst(256);
        EXPECT_EQ(0u, kernel(src.data(), 128, 2, 128, dst.data(), 128, 2, 128));
        EXPECT_EQ(expected, dst);
    }
}

void* noScratch(size_t /*size*/, uint32_t /*alignment*/)
{
    return nullptr;
}

TEST(ScaleDownMN, GivesUpWithoutScratchMemory)
{
    const Image src(4096, 9);
    auto* const before = vsrGetScratchBufferAligned_;
    vsrGetScratchBufferAligned_ = noScratch;
    for (const auto kernel : {vsrScaleDownMNu8C, vsrScaleDownMNu8V})
    {
        // A size for each way of the vector variant: reference, short runs, long runs.
        for (const auto& [width, height, dstWidth, dstHeight] : {Sizes{9, 9, 5, 5}, {100, 9, 50, 5}, {200, 19, 11, 1}})
        {
            Image dst(512, 77);
            EXPECT_EQ(vsrStatus{VISORA_ENOMEM},
                      kernel(src.data(), width, height, width, dst.data(), dstWidth, dstHeight, dstWidth));
            EXPECT_EQ(Image(512, 77), dst);
        }
    }
    // The others can do without.
    Image dst(300, 77);
    EXPECT_EQ(0u, vsrScaleDownu8V(src.data(), 300, 3, 300, dst.data(), 100, 1, 100));
    EXPECT_EQ(0u, vsrScaleDownNNu8V(src.data(), 300, 3, 300, dst.data() + 100, 100, 2, 100));
    EXPECT_EQ(Image(300, 9), dst);
    vsrGetScratchBufferAligned_ = before;
}

TEST(ScaleNearest, BitCountsLookAtTheLowBitsOnly)
{
    struct Case
    {
        uint32_t value, bits, zeros;
    };
    for (const auto& [value, bits, zeros] : {Case{0, 0, 15},
                                             {1, 1, 0},
                                             {2, 2, 1},
                                             {3, 2, 0},
                                             {640, 10, 7},
                                             {0x4000, 15, 14},
                                             {0x8000, 16, 15},
                                             {0xffff, 16, 0},
                                             {0x10000, 0, 15},
                                             {0x10001, 1, 0},
                                             {0x18000, 16, 15}})
    {
        EXPECT_EQ(bits, vsrGetNumBits(value)) << value;
        EXPECT_EQ(zeros, vsrGetMaxNumTrail0s(value)) << value;
    }
}

// Source columns of one axis, read off a ramp. Sources up to 256 columns show them directly, wider ones in two bytes.
std::vector<uint32_t> columnsTaken(uint32_t srcWidth, uint32_t dstWidth)
{
    Image low(srcWidth * size_t{2}), high(srcWidth * size_t{2});
    for (size_t i = 0; i < low.size(); ++i)
    {
        low[i] = static_cast<uint8_t>(i % srcWidth);
        high[i] = static_cast<uint8_t>(i % srcWidth >> 8);
    }
    Image outLow(dstWidth), outHigh(dstWidth);
    // From two rows to one, so that equal widths are no plain copy.
    EXPECT_EQ(0u, vsrScaleDownNNu8(low.data(), srcWidth, 2, 0, outLow.data(), dstWidth, 1, 0));
    EXPECT_EQ(0u, vsrScaleDownNNu8(high.data(), srcWidth, 2, 0, outHigh.data(), dstWidth, 1, 0));
    std::vector<uint32_t> columns(dstWidth);
    for (size_t i = 0; i < columns.size(); ++i)
    {
        columns[i] = outLow[i] | uint32_t{outHigh[i]} << 8;
    }
    return columns;
}

TEST(ScaleNearest, ExactRatiosLandOneEarly)
{
    const std::vector<uint32_t> columns = columnsTaken(640, 320);
    for (uint32_t i = 0; i < 320; ++i)
    {
        // Beyond 256 too: without a split the whole index is multiplied.
        ASSERT_EQ(i == 0 ? 0 : 2 * i - 1, columns[i]) << i;
    }
    // A power of two has an exact step.
    const std::vector<uint32_t> exact = columnsTaken(256, 64);
    for (uint32_t i = 0; i < 64; ++i)
    {
        ASSERT_EQ(4 * i, exact[i]);
    }
}

// The rule, in steps that are written out with wide numbers and cut where the rule cuts.
std::vector<uint32_t> columnsByTheRule(uint32_t s, uint32_t d, bool split)
{
    const auto bits = [](uint32_t v)
    {
        int n = 0;
        while (v >> n != 0)
        {
            ++n;
        }
        return n;
    };
    const auto zeros = [](uint32_t v)
    {
        int n = 0;
        while (n < 15 && (v >> n) % 2 == 0)
        {
            ++n;
        }
        return n;
    };
    const int e = bits(d) + bits(s) - zeros(s);
    const int k = split ? (bits(d) + 1) / 2 : 0;
    const int fraction = (split ? bits(d) / 2 : 0) - e + 32;
    const uint64_t dOdd = std::max(d >> zeros(d), 1u), sOdd = s >> zeros(s);
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

TEST(ScaleNearest, OneAxisThatNeedsTheSplitGivesItToBoth)
{
    // 20 to 10 columns alone lands one early; with rows that need the split its finer step does not.
    constexpr uint32_t kRows = 1021, kOutRows = 1000;
    Image src(20 * kRows);
    for (size_t i = 0; i < src.size(); ++i)
    {
        src[i] = static_cast<uint8_t>(i % 20);
    }
    Image dst(10 * kOutRows);
    ASSERT_EQ(0u, vsrScaleDownNNu8(src.data(), 20, kRows, 0, dst.data(), 10, kOutRows, 0));
    EXPECT_EQ((Image{0, 2, 4, 6, 8, 10, 12, 14, 16, 18}), Image(dst.begin(), dst.begin() + 10));
    ASSERT_EQ(0u, vsrScaleDownNNu8(src.data(), 20, 40, 0, dst.data(), 10, 20, 0));
    EXPECT_EQ((Image{0, 1, 3, 5, 7, 9, 11, 13, 15, 17}), Image(dst.begin(), dst.begin() + 10));
}

TEST(ScaleNearest, CopiesEqualSizes)
{
    const Image src = randomImage(50 * 7, 8);
    for (const auto kernel : {vsrScaleDownNNu8C, vsrScaleDownNNu8V})
    {
        Image dst(50 * 7, 77);
        EXPECT_EQ(0u, kernel(src.data(), 40, 7, 50, dst.data(), 40, 7, 50));
        for (size_t i = 0; i < dst.size(); ++i)
        {
            ASSERT_EQ(i % 50 < 40 ? src[i] : 77, dst[i]) << i;
        }
    }
}

}  // namespace
}  // namespace visora::test
