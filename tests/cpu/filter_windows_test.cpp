// Morphology, gradients and thresholds against slow restatements, and what must hold whatever the image.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "support/images.h"
#include "visora/gradient.h"
#include "visora/morphology.h"
#include "visora/threshold.h"

namespace visora::test
{
namespace
{

struct TestImage
{
    explicit TestImage(uint64_t seed)
    {
        Random random(seed);
        width = random.between(1, 30);
        height = random.between(1, 20);
        pixels = randomPixels(size_t{width} * height, seed);
    }

    uint32_t width;
    uint32_t height;
    Image pixels;
};

template <class T = uint8_t, class Filter, class... Arguments>
std::vector<T> filtered(Filter filter, const TestImage& image, const Image& pixels, Arguments... arguments)
{
    std::vector<T> dst(pixels.size());
    EXPECT_EQ(0u, filter(pixels.data(), image.width, image.height, 0, arguments..., dst.data(), 0));
    return dst;
}

TEST(Morphology, WindowsWithinTheImageAndTheirLaws)
{
    const auto largest = [](const Window<uint8_t>& window) { return **std::max_element(window.begin(), window.end()); };
    const auto smallest = [](const Window<uint8_t>& window)
    {
        // Nothing orders below any pixel.
        return std::accumulate(window.begin(), window.end(), uint8_t{255},
                               [](uint8_t least, auto pixel) { return std::min(least, pixel.value_or(255)); });
    };
    for (uint64_t seed = 0; seed < 40; ++seed)
    {
        const TestImage image(seed);
        const Image& pixels = image.pixels;
        for (const uint32_t N : {1u, 3u, 5u, 9u, 21u, 63u})
        {
            const Image dilated = filtered(vsrFilterDilateNxNu8, image, pixels, N);
            const Image eroded = filtered(vsrFilterErodeNxNu8, image, pixels, N);
            EXPECT_EQ(filterWindows(pixels, image.width, N, N, VISORA_BORDER_UNDEFINED, 0, largest), dilated);
            EXPECT_EQ(filterWindows(pixels, image.width, N, N, VISORA_BORDER_UNDEFINED, 0, smallest), eroded);

            const Image opened = filtered(vsrFilterOpenNxNu8, image, pixels, N);
            const Image closed = filtered(vsrFilterCloseNxNu8, image, pixels, N);
            EXPECT_EQ(filtered(vsrFilterDilateNxNu8, image, eroded, N), opened);
            EXPECT_EQ(filtered(vsrFilterErodeNxNu8, image, dilated, N), closed);
            EXPECT_EQ(opened, filtered(vsrFilterOpenNxNu8, image, opened, N));
            EXPECT_EQ(closed, filtered(vsrFilterCloseNxNu8, image, closed, N));

            const Image white = filtered(vsrFilterTopHatNxNu8, image, pixels, N, vsrTopHatMode{VISORA_TOP_HAT_WHITE});
            const Image black = filtered(vsrFilterTopHatNxNu8, image, pixels, N, vsrTopHatMode{VISORA_TOP_HAT_BLACK});
            for (size_t i = 0; i < pixels.size(); ++i)
            {
                ASSERT_EQ(pixels[i], opened[i] + white[i]);
                ASSERT_EQ(pixels[i], closed[i] - black[i]);
            }
        }
    }
}

TEST(WindowGradients, ConvolveDerivativeAndSmoothingTaps)
{
    struct Case
    {
        decltype(vsrFilterSobel3x3u8s16)* filter;
        std::vector<int> derivative;
        std::vector<int> smoothing;
        int divisor;
    };
    const Case cases[] = {{vsrFilterSobel3x3u8s16, {-1, 0, 1}, {1, 2, 1}, 1},
                          {vsrFilterScharr3x3u8s16, {-1, 0, 1}, {3, 10, 3}, 1},
                          {vsrFilterSobel5x5u8s16, {-1, -2, 0, 2, 1}, {1, 4, 6, 4, 1}, 1},
                          {vsrFilterSobel7x7u8s16, {-1, -4, -5, 0, 5, 4, 1}, {1, 6, 15, 20, 15, 6, 1}, 8}};
    for (const Case& c : cases)
    {
        const size_t N = c.derivative.size();
        for (uint64_t seed = 0; seed < 20; ++seed)
        {
            const TestImage image(seed);
            const std::vector<int> pixels(image.pixels.begin(), image.pixels.end());
            for (const vsrBorderType border : {VISORA_BORDER_CONSTANT, VISORA_BORDER_REPLICATE})
            {
                const auto weighted = [&](const std::vector<int>& along, const std::vector<int>& down)
                {
                    return filterWindows(pixels, image.width, N, N, border, 200,
                                         [&](const Window<int>& window)
                                         {
                                             double sum = 0;
                                             for (size_t i = 0; i < window.size(); ++i)
                                             {
                                                 sum += *window[i] * along[i % N] * down[i / N];
                                             }
                                             return static_cast<int>(std::floor(sum / c.divisor + 0.5));
                                         });
                };
                std::vector<int16_t> dx(pixels.size()), dy(pixels.size());
                EXPECT_EQ(0u, c.filter(image.pixels.data(), image.width, image.height, 0, dx.data(), dy.data(), 0,
                                       border, 200));
                EXPECT_EQ(weighted(c.derivative, c.smoothing), std::vector<int>(dx.begin(), dx.end()));
                EXPECT_EQ(weighted(c.smoothing, c.derivative), std::vector<int>(dy.begin(), dy.end()));
            }
        }
    }
}

TEST(WindowGradients, LaplacianAndStrengthOfOneBrightPixel)
{
    const uint32_t width = 6, height = 5;
    Image src(size_t{width} * height);
    src[2 * width + 3] = 10;
    const auto laplacian = [&](uint32_t neighbours)
    {
        std::vector<int16_t> dst(src.size());
        vsrFilterLaplacian3x3u8s16(src.data(), width, height, 0, neighbours, dst.data(), 0, VISORA_BORDER_REPLICATE, 0);
        return dst;
    };
    EXPECT_EQ((std::vector<int16_t>{0,   0,  0, 0, 0, 0, 0,  0, 0, 10, 0, 0, 0, 0, 10,
                                    -40, 10, 0, 0, 0, 0, 10, 0, 0, 0,  0, 0, 0, 0, 0}),
              laplacian(4));
    EXPECT_EQ((std::vector<int16_t>{0,   0,  0, 0, 0, 0,  0,  0,  10, 10, 10, 0, 0, 0, 10,
                                    -80, 10, 0, 0, 0, 10, 10, 10, 0,  0,  0,  0, 0, 0, 0}),
              laplacian(8));
    Image strength(src.size(), 99);
    src[2 * width + 3] = 100;
    vsrFilterSobel3x3u8(src.data(), width, height, strength.data());
    EXPECT_EQ((Image{0, 0,   0, 0, 0, 0,   0,   0,   200, 200, 200, 0, 0, 0, 200,
                     0, 200, 0, 0, 0, 200, 200, 200, 0,   0,   0,   0, 0, 0, 0}),
              strength);
}

TEST(Thresholds, FixedAndBandForEveryPixelAndLimit)
{
    Image ramp(256);
    std::iota(ramp.begin(), ramp.end(), uint8_t{0});
    for (int low = 0; low < 256; ++low)
    {
        for (const int high : {0, 1, low, low ^ 21, 254, 255})
        {
            for (const vsrThresholdType type : {VISORA_THRESHOLD_BINARY, VISORA_THRESHOLD_BINARY_INVERSE})
            {
                Image fixed = ramp, band(256);
                vsrFilterThresholdFixedu8(fixed.data(), 256, 1, static_cast<uint8_t>(low), type, fixed.data());
                vsrFilterThresholdBandu8(ramp.data(), 256, 1, static_cast<uint8_t>(low), static_cast<uint8_t>(high),
                                         type, band.data());
                for (int pixel = 0; pixel < 256; ++pixel)
                {
                    const auto at = static_cast<size_t>(pixel);
                    const bool set = type == VISORA_THRESHOLD_BINARY;
                    ASSERT_EQ((pixel > low) == set ? 255 : 0, fixed[at]);
                    ASSERT_EQ((pixel >= low && pixel <= high) == set ? 255 : 0, band[at]);
                }
            }
        }
    }
}

TEST(Thresholds, OtsuPartsTwoHeaps)
{
    struct Case
    {
        Image pixels;
        uint8_t level;
    };
    // The first of several levels that part alike; no level parts a uniform image.
    for (const Case& c : {Case{{10, 10, 12, 200, 202, 202}, 12}, Case{{7, 7, 7}, 0}, Case{{0, 255}, 0},
                          Case{{50, 60, 70, 80, 240}, 80}})
    {
        Image dst(c.pixels.size());
        uint8_t level = 99;
        const auto width = static_cast<uint32_t>(dst.size());
        EXPECT_EQ(
            0u, vsrFilterThresholdOtsuu8(c.pixels.data(), width, 1, 0, VISORA_THRESHOLD_BINARY, dst.data(), 0, &level));
        EXPECT_EQ(c.level, level);
        for (size_t i = 0; i < dst.size(); ++i)
        {
            EXPECT_EQ(c.pixels[i] > c.level ? 255 : 0, dst[i]);
        }
    }
}

TEST(Thresholds, AdaptiveOnesRoundTheMeanToTheNearestEvenNumber)
{
    struct Case
    {
        decltype(vsrAdaptiveThresholdBox3x3u8)* filter;
        std::vector<double> weights;
    };
    const Case cases[] = {{vsrAdaptiveThresholdBox3x3u8, std::vector<double>(3, 1)},
                          {vsrAdaptiveThresholdBox11x11u8, std::vector<double>(11, 1)},
                          {vsrAdaptiveThresholdGaussian3x3u8, {1, 2, 1}},
                          {vsrAdaptiveThresholdGaussian5x5u8, {1, 4, 6, 4, 1}},
                          {vsrAdaptiveThresholdGaussian11x11u8, {1, 10, 45, 120, 210, 252, 210, 120, 45, 10, 1}}};
    for (const Case& c : cases)
    {
        const size_t N = c.weights.size();
        const double total = std::accumulate(c.weights.begin(), c.weights.end(), 0.0);
        for (uint64_t seed = 0; seed < 60; ++seed)
        {
            TestImage image(seed);
            for (uint8_t& pixel : image.pixels)
            {
                pixel = static_cast<uint8_t>(seed % 2 == 0 ? pixel & 3 : pixel);  // many means half way
            }
            const auto constant = static_cast<int32_t>(seed % 5) - 2;
            const Image expected = filterWindows(image.pixels, image.width, N, N, VISORA_BORDER_REPLICATE, 0,
                                                 [&](const Window<uint8_t>& window)
                                                 {
                                                     double sum = 0;
                                                     for (size_t i = 0; i < window.size(); ++i)
                                                     {
                                                         sum += *window[i] * c.weights[i % N] * c.weights[i / N];
                                                     }
                                                     const double mean = std::nearbyint(sum / (total * total));
                                                     const bool set = *window[N * N / 2] > mean - constant;
                                                     return static_cast<uint8_t>(set ? 77 : 0);
                                                 });
            const vsrThresholdType binary = VISORA_THRESHOLD_BINARY;
            EXPECT_EQ(expected, filtered(c.filter, image, image.pixels, uint8_t{77}, binary, constant));
            if (c.weights[0] == 1 && c.weights[1] == 1)
            {
                EXPECT_EQ(expected, filtered(vsrAdaptiveThresholdBoxNxNu8, image, image.pixels,
                                             static_cast<uint32_t>(N), uint8_t{77}, binary, constant, 256u));
            }
        }
    }
}

}  // namespace
}  // namespace visora::test
