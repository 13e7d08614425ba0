// Resizers, doublers and chroma resamplers against slow restatements of what they promise.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <tuple>

#include "support/images.h"
#include "visora/scale.h"

namespace visora::test
{
namespace
{

struct Sizes
{
    uint32_t width, height, dstWidth, dstHeight;
};

std::vector<Sizes> manySizes()
{
    std::vector<Sizes> list = {{1, 1, 5, 3}, {7, 5, 7, 5}, {2, 2, 1, 1}, {40, 30, 28, 21}, {31, 3, 97, 7}};
    Random random(7);
    for (int i = 0; i < 30; ++i)
    {
        list.push_back({random.between(1, 70), random.between(1, 20), random.between(1, 90), random.between(1, 30)});
    }
    return list;
}

uint8_t clampedAt(const Image& image, const Sizes& s, int64_t x, int64_t y, uint32_t channels = 1, uint32_t c = 0)
{
    const int64_t column = std::clamp<int64_t>(x, 0, int64_t{s.width} - 1);
    const int64_t row = std::clamp<int64_t>(y, 0, int64_t{s.height} - 1);
    return image[static_cast<size_t>((row * s.width + column) * channels + c)];
}

TEST(ScaleBilinear, ChannelsAreResizedAsPlanes)
{
    for (const Sizes& s : manySizes())
    {
        for (uint32_t channels = 1; channels <= 4; ++channels)
        {
            const Image src = randomPixels(size_t{s.width} * s.height * channels, s.width);
            Image dst(size_t{s.dstWidth} * s.dstHeight * channels);
            ASSERT_EQ(0u, vsrScaleBilinearu8(src.data(), s.width, s.height, 0, channels, dst.data(), s.dstWidth,
                                             s.dstHeight, 0));
            for (uint32_t c = 0; c < channels; ++c)
            {
                Image plane;
                Image expected(size_t{s.dstWidth} * s.dstHeight);
                Image got;
                for (size_t i = c; i < src.size(); i += channels)
                {
                    plane.push_back(src[i]);
                }
                for (size_t i = c; i < dst.size(); i += channels)
                {
                    got.push_back(dst[i]);
                }
                vsrScaleu8(plane.data(), s.width, s.height, 0, expected.data(), s.dstWidth, s.dstHeight, 0,
                           VISORA_INTERPOLATION_BILINEAR);
                ASSERT_EQ(expected, got) << channels << " " << c;
            }
        }
    }
}

// A constant border is the image with a frame of that value, in which the same places are looked up.
TEST(ScaleBordered, ConstantBorderIsAFrameAroundTheImage)
{
    constexpr uint8_t kBorder = 200;
    for (const Sizes& s : manySizes())
    {
        const Image src = randomPixels(size_t{s.width} * s.height, s.dstWidth);
        Image dst(size_t{s.dstWidth} * s.dstHeight);
        ASSERT_EQ(0u, vsrScaleu8_v2(src.data(), s.width, s.height, 0, dst.data(), s.dstWidth, s.dstHeight, 0,
                                    VISORA_INTERPOLATION_BILINEAR, VISORA_BORDER_CONSTANT, kBorder));
        const auto at = [&](double x, double y)
        {
            const bool isInside = x >= 0 && y >= 0 && x < s.width && y < s.height;
            return isInside ? src[static_cast<size_t>(y) * s.width + static_cast<size_t>(x)] : double{kBorder};
        };
        for (uint32_t i = 0; i < dst.size(); ++i)
        {
            const double x = (i % s.dstWidth + 0.5) * s.width / s.dstWidth - 0.5;
            const double y = (i / s.dstWidth + 0.5) * s.height / s.dstHeight - 0.5;
            const double left = std::floor(x + 1e-9), top = std::floor(y + 1e-9), a = x - left, b = y - top;
            const double exact = (1 - b) * ((1 - a) * at(left, top) + a * at(left + 1, top)) +
                                 b * ((1 - a) * at(left, top + 1) + a * at(left + 1, top + 1));
            ASSERT_NEAR(exact, dst[i], 0.5 + 2 * 255.0 / 4096) << i;
        }
    }
}

TEST(ScaleBilinearFloat, LiesBetweenItsPixelsAndKeepsInfinitiesWhereTheyHaveWeight)
{
    for (const Sizes& s : manySizes())
    {
        Random random(s.width);
        std::vector<float> src(size_t{s.width} * s.height);
        std::generate(src.begin(), src.end(), [&] { return static_cast<float>(random.between(0, 1000)); });
        const size_t poisoned = random.between(0, static_cast<uint32_t>(src.size()) - 1);
        src[poisoned] = std::numeric_limits<float>::infinity();
        std::vector<float> dst(size_t{s.dstWidth} * s.dstHeight);
        ASSERT_EQ(0u, vsrScaleBilinearf32(src.data(), s.width, s.height, 0, dst.data(), s.dstWidth, s.dstHeight, 0));
        for (uint32_t i = 0; i < dst.size(); ++i)
        {
            // In whole numbers: twice the destination's size times the place.
            const auto place = [](uint32_t index, uint32_t n, uint32_t m, int64_t& lower, double& share)
            {
                const int64_t at = (2 * int64_t{index} + 1) * n - m;
                lower = std::clamp<int64_t>(at < 0 ? 0 : at / (2 * int64_t{m}), 0, int64_t{n} - 1);
                share = at < 0 || lower == int64_t{n} - 1 ? 0 : static_cast<double>(at % (2 * int64_t{m})) / (2.0 * m);
            };
            int64_t x = 0, y = 0;
            double a = 0, b = 0;
            place(i % s.dstWidth, s.width, s.dstWidth, x, a);
            place(i / s.dstWidth, s.height, s.dstHeight, y, b);
            double exact = 0;
            bool isPoisoned = false;
            for (const auto& [dx, dy, weight] :
                 {std::tuple(0, 0, (1 - a) * (1 - b)), {1, 0, a * (1 - b)}, {0, 1, (1 - a) * b}, {1, 1, a * b}})
            {
                if (weight != 0)
                {
                    const auto at = static_cast<size_t>((y + dy) * s.width + x + dx);
                    isPoisoned = isPoisoned || at == poisoned;
                    exact += weight * src[at];
                }
            }
            if (isPoisoned)
            {
                ASSERT_FALSE(std::isfinite(dst[i])) << i;
            }
            else
            {
                ASSERT_NEAR(exact, dst[i], 1e-3) << i;
            }
        }
    }
}

// The weights as they follow from the polynomials in doubles; the second takes what rounding leaves.
std::array<int, 4> cubicWeights(int phase)
{
    if (phase > 16)
    {
        auto w = cubicWeights(32 - phase);
        std::reverse(w.begin(), w.end());
        return w;
    }
    const double t = phase / 32.0;
    const auto rounded = [](double w) { return static_cast<int>(std::floor(128 * w + 0.5)); };
    std::array<int, 4> w = {rounded((-t + 2 * t * t - t * t * t) / 2), 0, rounded((t + 4 * t * t - 3 * t * t * t) / 2),
                            rounded((-t * t + t * t * t) / 2)};
    w[1] = 128 - w[0] - w[2] - w[3];
    return w;
}

template <class Scaler>
void comparePolyphase(Scaler scale, uint32_t channels)
{
    for (const Sizes& s : manySizes())
    {
        Image src = randomPixels(size_t{s.width} * s.height * channels, s.height);
        if (s.width % 2 == 0)
        {
            std::transform(src.begin(), src.end(), src.begin(), [](uint8_t v) { return v < 128 ? 0 : 255; });
        }
        Image dst(size_t{s.dstWidth} * s.dstHeight * channels);
        ASSERT_EQ(0u, scale(src.data(), s.width, s.height, 0, dst.data(), s.dstWidth, s.dstHeight, 0));
        for (uint32_t i = 0; i < dst.size(); ++i)
        {
            const uint32_t x = i / channels % s.dstWidth, y = i / channels / s.dstWidth;
            const auto place = [](uint32_t index, uint32_t n, uint32_t m)
            { return static_cast<int>(std::floor((32 * ((2.0 * index + 1) * n - m) + m) / (2.0 * m))); };
            const int placeX = place(x, s.width, s.dstWidth), placeY = place(y, s.height, s.dstHeight);
            const auto columns = cubicWeights(placeX & 31), rows = cubicWeights(placeY & 31);
            int sum = 8192;
            for (int tap = 0; tap < 16; ++tap)
            {
                sum +=
                    rows[static_cast<size_t>(tap / 4)] * columns[static_cast<size_t>(tap % 4)] *
                    clampedAt(src, s, (placeX >> 5) - 1 + tap % 4, (placeY >> 5) - 1 + tap / 4, channels, i % channels);
            }
            ASSERT_EQ(std::clamp(sum >> 14, 0, 255), dst[i]) << i;
        }
    }
}

TEST(ScalePolyphase, IsTheExactSumOfSixteenTaps)
{
    comparePolyphase(vsrScalePolyphaseu8, 1);
    comparePolyphase(vsrScalePolyphaseInterleaved2u8, 2);
}

TEST(ScaleUp, BilinearDoubleIsTheResizersAndBinomialDoubleTheNormalisedKernel)
{
    for (const Sizes& s : manySizes())
    {
        const Image src = randomPixels(size_t{s.width} * s.height, s.width + s.height);
        Image linear(src.size() * 4), expected(src.size() * 4), binomial(src.size() * 4);
        ASSERT_EQ(0u, vsrScaleUpBy2u8(src.data(), s.width, s.height, 0, linear.data(), 0));
        vsrScaleBilinearu8(src.data(), s.width, s.height, 0, 1, expected.data(), 2 * s.width, 2 * s.height, 0);
        ASSERT_EQ(expected, linear) << s.width << "x" << s.height;

        ASSERT_EQ(0u, vsrScaleUpBy2Gaussian5x5u8(src.data(), s.width, s.height, binomial.data()));
        for (uint32_t i = 0; i < binomial.size(); ++i)
        {
            // The kernel over the image with zeros between its pixels, and over its places alone.
            constexpr std::array<uint64_t, 5> kKernel = {1, 4, 6, 4, 1};
            const int64_t x = i % (2 * s.width), y = i / (2 * s.width);
            uint64_t sum = 0, total = 0;
            for (int64_t dy = -2; dy <= 2; ++dy)
            {
                for (int64_t dx = -2; dx <= 2; ++dx)
                {
                    const int64_t column = x + dx, row = y + dy;
                    const bool isPixel = column >= 0 && row >= 0 && column < 2 * int64_t{s.width} &&
                                         row < 2 * int64_t{s.height} && column % 2 == 0 && row % 2 == 0;
                    if (isPixel)
                    {
                        const uint64_t weight =
                            kKernel[static_cast<size_t>(dx + 2)] * kKernel[static_cast<size_t>(dy + 2)];
                        sum += weight * clampedAt(src, s, column / 2, row / 2);
                        total += weight;
                    }
                }
            }
            ASSERT_EQ((2 * sum + total) / (2 * total), binomial[i]) << i;
        }
    }
}

TEST(ChromaResampling, DownAfterUpIsTheImage)
{
    for (const Sizes& s : manySizes())
    {
        const Image src = randomPixels(size_t{s.width} * s.height * 2, s.width);
        Image up(src.size() * 4), wide(src.size() * 2), back(src.size());
        vsrUpsampleBy2Interleaved2u8(src.data(), s.width, s.height, 0, up.data(), 0);
        vsrDownsampleBy2Interleaved2u8(up.data(), 2 * s.width, 2 * s.height, 0, back.data(), 0);
        ASSERT_EQ(src, back);
        // As a plane of twice the width: along the rows and down the columns in turn make both.
        vsrUpsampleXBy2Interleaved2u8(src.data(), s.width, s.height, 0, wide.data(), 0);
        Image both(up.size());
        vsrUpsampleYBy2Interleaved2u8(wide.data(), 2 * s.width, s.height, 0, both.data(), 0);
        ASSERT_EQ(up, both);
        vsrUpsampleXBy2u8(src.data(), 2 * s.width, s.height, 0, wide.data(), 0);
        vsrUpsampleYBy2u8(wide.data(), 4 * s.width, s.height, 0, both.data(), 0);
        vsrUpsampleBy2u8(src.data(), 2 * s.width, s.height, 0, up.data(), 0);
        ASSERT_EQ(both, up);
        vsrDownsampleXBy2u8(wide.data(), 4 * s.width, s.height, 0, back.data(), 0);
        ASSERT_EQ(src, back);
    }
    // Odd sides count their last column and row twice; halves are rounded up.
    const Image odd = {1, 2, 4, 10, 20, 41};
    Image pairs(2), row(4);
    vsrDownsampleXBy2u8(odd.data(), 3, 2, 0, row.data(), 0);
    EXPECT_EQ((Image{2, 4, 15, 41}), row);
    vsrDownsampleBy2Interleaved2u8(odd.data(), 3, 1, 0, row.data(), 0);
    EXPECT_EQ((Image{3, 6, 20, 41}), row);
    vsrDownsampleBy2Interleaved2u8(odd.data(), 1, 3, 0, row.data(), 0);
    EXPECT_EQ((Image{3, 6, 20, 41}), row);
}

}  // namespace
}  // namespace visora::test
