// Filters with kernels, edges and local patterns against slow restatements and known answers.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <set>

#include "support/images.h"
#include "visora/correlate.h"
#include "visora/edge.h"
#include "visora/filter.h"
#include "visora/pattern.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kWidth = 23;
constexpr uint32_t kHeight = 17;

TEST(SmoothingWindows, MedianAndUnsharpMasking)
{
    for (uint64_t seed = 0; seed < 10; ++seed)
    {
        const Image src = randomPixels(size_t{kWidth} * kHeight, seed);
        Image dst(src.size());
        for (const vsrBorderType border : {VISORA_BORDER_CONSTANT, VISORA_BORDER_REPLICATE})
        {
            const auto median = [](Window<uint8_t> window)
            {
                std::sort(window.begin(), window.end());
                return *window[12];
            };
            EXPECT_EQ(0u, vsrFilterMedian5x5u8(src.data(), kWidth, kHeight, 0, dst.data(), 0, border, 90));
            EXPECT_EQ(filterWindows(src, kWidth, 5, 5, border, 90, median), dst);
        }
        const uint32_t amount = seed % 2 == 0 ? 150 : 20000;
        const uint8_t threshold = 20;
        const auto sharpened = [&](const Window<uint8_t>& window)
        {
            constexpr double kWeights[5] = {1, 4, 6, 4, 1};
            double sum = 0;
            for (size_t i = 0; i < 25; ++i)
            {
                sum += *window[i] * kWeights[i % 5] * kWeights[i / 5];
            }
            const double pixel = *window[12];
            const double detail = pixel - std::floor(sum / 256 + 0.5);
            const double result = pixel + std::floor(amount * detail / 256 + 0.5);
            return static_cast<uint8_t>(std::fabs(detail) < threshold ? pixel : std::clamp(result, 0.0, 255.0));
        };
        EXPECT_EQ(0u, vsrFilterUnsharp5x5u8(src.data(), kWidth, kHeight, 0, amount, threshold, dst.data(), 0));
        EXPECT_EQ(filterWindows(src, kWidth, 5, 5, VISORA_BORDER_REPLICATE, 0, sharpened), dst);
    }
}

// A bright pixel on black shows the taps; an even image stays as it is.
TEST(SmoothingWindows, GaussianTaps)
{
    const std::vector<std::vector<uint32_t>> fixed = {
        {256}, {64, 128, 64}, {16, 64, 96, 64, 16}, {8, 28, 56, 72, 56, 28, 8}, {4, 13, 30, 51, 60, 51, 30, 13, 4}};
    const uint32_t side = 41, centre = side / 2;
    Image src(size_t{side} * side), dst(src.size());
    src[centre * side + centre] = 255;
    const Image even(src.size(), 201);
    for (uint32_t N = 1; N <= 31; N += 2)
    {
        for (const float sigma : {0.0f, 0.6f, 2.5f, 40.0f})
        {
            const auto radius = static_cast<int>(N / 2);
            std::vector<double> exact;
            const double s = sigma == 0 ? 0.15 * N + 0.35 : double{sigma};
            for (int i = -radius; i <= radius; ++i)
            {
                exact.push_back(std::exp(-i * i / (2 * s * s)));
            }
            const double total = std::accumulate(exact.begin(), exact.end(), 0.0);
            EXPECT_EQ(0u, vsrFilterGaussianNxNu8(src.data(), side, side, 0, N, sigma, dst.data(), 0,
                                                 VISORA_BORDER_REPLICATE, 0));
            std::vector<float> floats(src.begin(), src.end()), blurred(src.size());
            EXPECT_EQ(0u, vsrFilterGaussianNxNf32(floats.data(), side, side, 0, N, sigma, blurred.data(), 0,
                                                  VISORA_BORDER_CONSTANT, 0));
            for (int i = -radius; i <= radius; ++i)
            {
                const size_t place = (centre + static_cast<uint32_t>(i)) * side + centre + static_cast<uint32_t>(i);
                const auto tap = static_cast<size_t>(i + radius);
                if (sigma == 0 && N <= 9)
                {
                    const uint32_t weight = fixed[N / 2][tap];
                    EXPECT_EQ((weight * weight * 255 + 32768) >> 16, dst[place]) << N;
                    EXPECT_FLOAT_EQ(static_cast<float>(weight * weight) * 255 / 65536, blurred[place]) << N;
                    continue;
                }
                const double weight = exact[tap] / total;
                EXPECT_NEAR(weight * weight * 255, dst[place], 0.5 + 2 * weight + 0.01) << N << " " << sigma;
                EXPECT_NEAR(weight * weight * 255, blurred[place], 1e-5 * 255) << N << " " << sigma;
            }
            vsrFilterGaussianNxNu8(even.data(), side, side, 0, N, sigma, dst.data(), 0, VISORA_BORDER_CONSTANT, 201);
            EXPECT_EQ(even, dst) << N << " " << sigma;
        }
    }
}

TEST(Correlations, SumsOfWholeWindows)
{
    const std::vector<int8_t> kernel = {-128, 3, 77, -20, 127, -5, 60, 1, -90};
    std::vector<int16_t> turned(kernel.rbegin(), kernel.rend());
    const Image src = randomPixels(size_t{kWidth} * kHeight, 1);
    const auto sumsOf = [&](const std::vector<int>& pixels)
    {
        return filterWindows(pixels, kWidth, 3, 3, VISORA_BORDER_CONSTANT, 0,
                             [&](const Window<int>& window)
                             {
                                 int sum = 0;
                                 for (size_t i = 0; i < 9; ++i)
                                 {
                                     sum += *window[i] * kernel[i];
                                 }
                                 return sum;
                             });
    };
    const std::vector<int> sums = sumsOf({src.begin(), src.end()});
    for (const uint32_t shift : {0u, 1u, 7u, 31u})
    {
        Image narrow(src.size(), 99);
        std::vector<int16_t> wide(src.size(), 99);
        vsrFilterCorr3x3s8(src.data(), kWidth, kHeight, kernel.data(), shift, narrow.data());
        vsrFilterConvNxNu8s16(src.data(), kWidth, kHeight, 0, turned.data(), 3, shift, wide.data(), 0);
        const double unit = std::ldexp(1.0, static_cast<int>(shift));
        for (uint32_t i = 0; i < src.size(); ++i)
        {
            const bool inside = i % kWidth > 0 && i % kWidth + 1 < kWidth && i / kWidth > 0 && i / kWidth + 1 < kHeight;
            ASSERT_EQ(inside ? std::clamp(std::floor(sums[i] / unit), 0.0, 255.0) : 99, narrow[i]) << shift;
            ASSERT_EQ(inside ? std::clamp(std::floor(sums[i] / unit + 0.5), -32768.0, 32767.0) : 99, wide[i]) << shift;
        }
    }
    const std::vector<float> pixels(src.begin(), src.end());
    const std::vector<float> taps(kernel.begin(), kernel.end());
    std::vector<float> floats(src.size());
    vsrFilterCorrNxNf32(pixels.data(), kWidth, kHeight, 0, taps.data(), 3, floats.data(), 0);
    EXPECT_EQ(std::vector<float>(sums.begin(), sums.end()), floats);
}

TEST(Correlations, SeparableOnesRoundBetweenTheirPasses)
{
    const auto src = randomPixels<int16_t>(size_t{kWidth} * kHeight, 3);
    // So small that no sum wraps.
    auto kernel = randomPixels<int16_t>(9, 4);
    std::transform(kernel.begin(), kernel.end(), kernel.begin(),
                   [](int16_t tap) { return static_cast<int16_t>(tap / 8); });
    // One row or column of sums, of nine neighbours `step` apart.
    const auto pass = [&](const std::vector<int16_t>& from, size_t step)
    {
        std::vector<int16_t> to(from.size());
        for (size_t i = 4 * step; i + 4 * step < from.size(); ++i)
        {
            double sum = 0;
            for (size_t k = 0; k < 9; ++k)
            {
                sum += static_cast<double>(kernel[k]) * from[i + (k - 4) * step];
            }
            to[i] = static_cast<int16_t>(std::clamp(std::floor(sum / 32768 + 0.5), -32768.0, 32767.0));
        }
        return to;
    };
    std::vector<int16_t> expected = pass(pass(src, 1), kWidth), dst(src.size(), 55), turnedTwice(src.size(), 55);
    for (uint32_t i = 0; i < src.size(); ++i)
    {
        const uint32_t x = i % kWidth, y = i / kWidth;
        expected[i] = x < 4 || y < 4 || x + 4 >= kWidth || y + 4 >= kHeight ? int16_t{55} : expected[i];
    }
    EXPECT_EQ(0u, vsrFilterCorrSep9x9s16(src.data(), kWidth, kHeight, kernel.data(), dst.data()));
    const std::vector<int16_t> turned(kernel.rbegin(), kernel.rend());
    EXPECT_EQ(0u, vsrFilterConvSepMxNs16C(src.data(), kWidth, kHeight, kWidth * 2, turned.data(), 9, 15, turned.data(),
                                          9, 15, turnedTwice.data(), kWidth * 2));
    EXPECT_EQ(expected, dst);
    EXPECT_EQ(expected, turnedTwice);
}

TEST(Correlations, SeparableFloatsWithEvenWindows)
{
    const std::vector<float> src = {1, 2, 3, 4, 5, 6};
    const float row[2] = {10, 1}, column[2] = {100, 1};
    std::vector<float> dst(6);
    vsrFilterCorrSepMxNf32(src.data(), 3, 2, 0, row, 2, column, 2, dst.data(), 0, VISORA_BORDER_CONSTANT, 0);
    EXPECT_EQ((std::vector<float>{1, 12, 23, 104, 1245, 2356}), dst);
    vsrFilterCorrSepMxNf32(src.data(), 3, 2, 0, row, 2, column, 2, dst.data(), 0, VISORA_BORDER_REPLICATE, 0);
    EXPECT_EQ((std::vector<float>{1111, 1212, 2323, 1144, 1245, 2356}), dst);
}

TEST(Correlations, WholeConvolutionAndItsParts)
{
    const std::vector<int16_t> src = {1, 2, 3, 4, 5, 6}, kernel = {1, 10};
    const auto convolved = [&](vsrConvolutionSize size, size_t elements)
    {
        std::vector<int16_t> dst(elements);
        EXPECT_EQ(0u, vsrConvolves16(src.data(), 3, 2, 0, kernel.data(), 2, 1, 0, size, dst.data(), 0));
        return dst;
    };
    EXPECT_EQ((std::vector<int16_t>{1, 12, 23, 30, 4, 45, 56, 60}), convolved(VISORA_CONVOLUTION_FULL, 8));
    EXPECT_EQ((std::vector<int16_t>{1, 12, 23, 4, 45, 56}), convolved(VISORA_CONVOLUTION_SAME, 6));
    EXPECT_EQ((std::vector<int16_t>{12, 23, 45, 56}), convolved(VISORA_CONVOLUTION_VALID, 4));
}

TEST(Patterns, EveryCodeOfAWindow)
{
    constexpr size_t kClockwise[8] = {0, 1, 2, 5, 8, 7, 6, 3};
    std::set<int> labels;
    int last = -1;
    for (int code = 0; code < 256; ++code)
    {
        Image src(9, 100), dst(9), label(9), census(9, 1);
        int rowByRow = 0;
        for (size_t i = 0; i < 9; ++i)
        {
            const auto place = static_cast<size_t>(std::find(kClockwise, kClockwise + 8, i) - kClockwise);
            const bool bright = place == 8 || (code >> (7 - place) & 1) != 0;
            src[i] = static_cast<uint8_t>(bright ? 100 + i % 2 : 99);
            src[4] = 100;
            rowByRow = i == 4 ? rowByRow : rowByRow * 2 + (bright ? 0 : 1);
        }
        vsrLBPu8(src.data(), 3, 3, 0, VISORA_LBP_PLAIN, dst.data(), 0);
        vsrLBPu8(src.data(), 3, 3, 0, VISORA_LBP_UNIFORM, label.data(), 0);
        vsrCensus3x3u8(src.data(), 3, 3, 0, census.data(), 0);
        EXPECT_EQ(code, dst[4]);
        Image expected(9);
        expected[4] = static_cast<uint8_t>(rowByRow);
        EXPECT_EQ(expected, census);
        int changes = 0;
        for (int bit = 0; bit < 8; ++bit)
        {
            changes += (code >> bit & 1) != (code >> (bit + 1) % 8 & 1) ? 1 : 0;
        }
        EXPECT_EQ(changes <= 2 ? ++last : 58, label[4]) << code;
        labels.insert(label[4]);
    }
    EXPECT_EQ(59u, labels.size());
}

TEST(Patterns, CensusOfNineBySeven)
{
    // One darker pixel at a time, in a window of its own.
    for (size_t i = 0; i < 63; ++i)
    {
        Image src(63, 50);
        src[i] = i == 31 ? 50 : 49;
        std::vector<uint64_t> dst(63, 7), expected(63);
        expected[31] = i == 31 ? 0 : uint64_t{1} << (i < 31 ? 61 - i : 62 - i);
        vsrCensus9x7u8(src.data(), 9, 7, 0, dst.data(), 0);
        EXPECT_EQ(expected, dst) << i;
    }
}

// A step is one line of edges; a weak part of it counts only where it is joined to a strong one.
TEST(Canny, FollowsWeakEdgesFromStrongOnes)
{
    const uint32_t width = 20, height = 30;
    Image src(size_t{width} * height);
    for (uint32_t y = 0; y < height; ++y)
    {
        // A step that is strong above row 10 and weak below it; another weak one to the right stands alone.
        for (uint32_t x = 0; x < width; ++x)
        {
            src[y * width + x] = static_cast<uint8_t>(x >= 14 ? 130 : x >= 8 ? 100 : y < 10 ? 40 : 70);
        }
    }
    for (const vsrCannyNorm norm : {VISORA_CANNY_L1, VISORA_CANNY_L2})
    {
        Image dst(src.size());
        std::vector<int16_t> dx(src.size()), dy(src.size());
        EXPECT_EQ(0u, vsrFilterCanny3x3u8_v3(src.data(), width, height, 0, 100, 200, norm, dst.data(), 0, dx.data(),
                                             dy.data(), 0));
        for (uint32_t y = 0; y < height; ++y)
        {
            const auto begin = dst.begin() + y * width;
            // On the brighter or the darker side of the step, but once.
            EXPECT_EQ(255, y > 8 && y < 12 ? 255 : begin[7] + begin[8]) << y;
            EXPECT_EQ(0, std::accumulate(begin + 10, begin + 20, 0)) << y;
            EXPECT_EQ(y < 9 ? 240 : y > 10 ? 120 : dx[y * width + 8], dx[y * width + 8]) << y;
        }
        if (norm == VISORA_CANNY_L1)
        {
            Image packed(src.size());
            EXPECT_EQ(0u, vsrFilterCanny3x3u8(src.data(), width, height, 100, 200, packed.data()));
            EXPECT_EQ(dst, packed);
        }
    }
}

}  // namespace
}  // namespace visora::test
