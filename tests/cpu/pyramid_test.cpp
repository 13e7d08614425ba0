// Known answers of the pyramids and of what fills them, and judges that share no code with them.
#include "visora/variants/pyramid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "support/random.h"
#include "visora/variants/filter.h"
#include "visora/variants/scale.h"
#include "visora/variants/statistics.h"

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

// ---- Gaussian halves ----

struct Window
{
    double sum = 0;
    double weights = 0;
};

// The window about source pixel (2x, 2y), in double precision, where all these sums are exact.
template <class T>
Window windowAt(const std::vector<T>& src, int width, int height, int x, int y)
{
    static constexpr double kWeights[5][5] = {
        {1, 4, 6, 4, 1}, {4, 16, 24, 16, 4}, {6, 24, 36, 24, 6}, {4, 16, 24, 16, 4}, {1, 4, 6, 4, 1}};
    Window window;
    for (int j = -2; j <= 2; ++j)
    {
        for (int i = -2; i <= 2; ++i)
        {
            const int column = 2 * x + i, row = 2 * y + j;
            if (column >= 0 && column < width && row >= 0 && row < height)
            {
                window.sum +=
                    kWeights[j + 2][i + 2] *
                    static_cast<double>(
                        src[static_cast<size_t>(row) * static_cast<size_t>(width) + static_cast<size_t>(column)]);
                window.weights += kWeights[j + 2][i + 2];
            }
        }
    }
    return window;
}

TEST(GaussianHalf, RoundsTheMeanOfThePixelsInside)
{
    for (uint32_t seed = 0; seed < 60; ++seed)
    {
        Random random(seed);
        const uint32_t width = random.between(2, 70), height = random.between(2, 20);
        const Image src = randomImage(size_t{width} * height, seed);
        const std::vector<float> floats(src.begin(), src.end());
        Image dst(size_t{width / 2} * (height / 2));
        std::vector<float> floatDst(dst.size());
        ASSERT_EQ(0u, vsrScaleDownBy2Gaussian5x5u8(src.data(), width, height, dst.data()));
        ASSERT_EQ(0u, vsrScaleDownBy2Gaussian5x5f32(floats.data(), width, height, floatDst.data()));
        for (size_t i = 0; i < dst.size(); ++i)
        {
            const Window w = windowAt(src, static_cast<int>(width), static_cast<int>(height),
                                      static_cast<int>(i % (width / 2)), static_cast<int>(i / (width / 2)));
            ASSERT_EQ(std::floor((2 * w.sum + w.weights) / (2 * w.weights)), dst[i]) << width << "x" << height;
            ASSERT_EQ(static_cast<float>(w.sum) / static_cast<float>(w.weights), floatDst[i]);
        }
    }
}

TEST(GaussianHalf, NormalisesByTheWeightsInside)
{
    // A pixel at one place of an image that is black elsewhere: its weight over 121, 176, 165, 240, 225 or 256.
    struct Case
    {
        size_t x, y, outX, outY;
        double share;
    };
    for (const auto& [x, y, outX, outY, share] :
         {Case{0, 0, 0, 0, 36.0 / 121}, Case{1, 0, 0, 0, 24.0 / 121}, Case{4, 0, 2, 0, 36.0 / 176},
          Case{0, 4, 0, 2, 36.0 / 176}, Case{8, 0, 4, 0, 36.0 / 165}, Case{9, 0, 4, 0, 24.0 / 165},
          Case{8, 4, 4, 2, 36.0 / 240}, Case{9, 9, 4, 4, 16.0 / 225}, Case{5, 5, 2, 2, 16.0 / 256},
          Case{2, 2, 2, 2, 1.0 / 256}})
    {
        Image src(100, 0);
        src[y * 10 + x] = 255;
        Image dst(25);
        vsrScaleDownBy2Gaussian5x5u8(src.data(), 10, 10, dst.data());
        EXPECT_EQ(std::floor(255 * share + 0.5), dst[outY * 5 + outX]) << x << ", " << y;
    }
    // Half a grey level rounds up: 128 / 256.
    Image src(100, 0);
    src[4 * 10 + 4] = 3;
    src[3 * 10 + 2] = src[2 * 10 + 3] = 2;
    src[2 * 10 + 2] = 4;
    Image dst(25);
    vsrScaleDownBy2Gaussian5x5u8(src.data(), 10, 10, dst.data());
    EXPECT_EQ((3 * 36 + 2 * 2 * 4 + 4 + 128) / 256, dst[2 * 5 + 2]);
}

TEST(GaussianHalf, OfFloatsSumsColumnsFirst)
{
    // 1 and 1.5 vanish beside 2^25, but not their sum: the first row sums to 2^25, the last one to 2.5.
    std::vector<float> src(100, 0.0f);
    src[2 * 10 + 2] = 33554432.0f;
    src[6 * 10 + 2] = 1.0f;
    src[6 * 10 + 6] = 1.5f;
    std::vector<float> dst(25);
    vsrScaleDownBy2Gaussian5x5f32(src.data(), 10, 10, dst.data());
    EXPECT_EQ(131072.0f, dst[2 * 5 + 2]);
    // A zero keeps its sign; what is no number stays that.
    std::fill(src.begin(), src.end(), -0.0f);
    vsrScaleDownBy2Gaussian5x5f32(src.data(), 10, 10, dst.data());
    EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](float v) { return v == 0 && std::signbit(v); }));
    src[0] = std::numeric_limits<float>::infinity();
    src[1] = -src[0];
    vsrScaleDownBy2Gaussian5x5f32(src.data(), 10, 10, dst.data());
    EXPECT_TRUE(std::isnan(dst[0]));
    EXPECT_EQ(0.0f, dst[2]);
}

// ---- Sobel ----

TEST(SobelPlanar, KnownWindows)
{
    struct Case
    {
        Image window;
        int dx, dy;
    };
    const Case cases[] = {
        {{0, 0, 1, 0, 0, 0, 0, 0, 0}, 1, -1},         {{0, 0, 0, 0, 0, 1, 0, 0, 0}, 2, 0},
        {{0, 0, 0, 0, 0, 0, 1, 0, 0}, -1, 1},         {{0, 1, 0, 0, 0, 0, 0, 0, 0}, 0, -2},
        {{0, 0, 255, 0, 0, 255, 0, 0, 255}, 1020, 0}, {{255, 255, 255, 0, 0, 0, 0, 0, 0}, 0, -1020},
        {{9, 0, 0, 9, 0, 0, 9, 0, 0}, -36, 0},        {{1, 2, 3, 4, 5, 6, 7, 8, 9}, 8, 24},
    };
    for (const Case& c : cases)
    {
        int16_t dx[9], dy[9];
        int8_t smallX[9], smallY[9];
        float floatX[9], floatY[9];
        EXPECT_EQ(0u, vsrImageGradientSobelPlanars16(c.window.data(), 3, 3, 0, dx, dy));
        EXPECT_EQ(0u, vsrImageGradientSobelPlanars8(c.window.data(), 3, 3, 0, smallX, smallY));
        EXPECT_EQ(0u, vsrImageGradientSobelPlanarf32(c.window.data(), 3, 3, 0, floatX, floatY));
        EXPECT_EQ(c.dx, dx[4]);
        EXPECT_EQ(c.dy, dy[4]);
        for (int i = 0; i < 9; ++i)
        {
            EXPECT_EQ(dx[i] >> 3, smallX[i]);
            EXPECT_EQ(dy[i] >> 3, smallY[i]);
            EXPECT_EQ(static_cast<float>(dx[i]), floatX[i]);
            EXPECT_EQ(static_cast<float>(dy[i]), floatY[i]);
        }
    }
}

TEST(SobelPlanar, RepeatsTheNearestPixelOutside)
{
    // The gradient of an image is that of the image in a frame of its own edge pixels.
    for (const auto& [width, height] : {std::pair(1u, 1u), {1u, 6u}, {6u, 1u}, {2u, 2u}, {37u, 5u}})
    {
        const Image src = randomImage(size_t{width} * height, width);
        const uint32_t framedWidth = width + 2;
        Image framed;
        for (uint32_t y = 0; y < height + 2; ++y)
        {
            for (uint32_t x = 0; x < framedWidth; ++x)
            {
                framed.push_back(src[std::clamp(y, 1u, height) * width - width + std::clamp(x, 1u, width) - 1]);
            }
        }
        std::vector<int16_t> dx(src.size()), dy(src.size()), framedX(framed.size()), framedY(framed.size());
        vsrImageGradientSobelPlanars16(src.data(), width, height, 0, dx.data(), dy.data());
        vsrImageGradientSobelPlanars16_v2(framed.data(), framedWidth, height + 2, 0, framedX.data(), framedY.data(), 0);
        for (uint32_t i = 0; i < src.size(); ++i)
        {
            const size_t inFrame = (i / width + 1) * framedWidth + i % width + 1;
            ASSERT_EQ(framedX[inFrame], dx[i]) << width << "x" << height << " " << i;
            ASSERT_EQ(framedY[inFrame], dy[i]) << width << "x" << height << " " << i;
        }
    }
}

// ---- Resizing ----

struct Resizing
{
    uint32_t width, height, dstWidth, dstHeight;
};

std::vector<Resizing> resizings()
{
    std::vector<Resizing> list = {{1, 1, 5, 3},     {7, 5, 7, 5},      {2, 2, 1, 1},     {640, 3, 320, 2},
                                  {320, 2, 640, 3}, {100, 90, 70, 63}, {33, 21, 32, 20}, {97, 89, 13, 11},
                                  {5, 4, 97, 3},    {60, 60, 20, 15}};
    Random random(5);
    for (int i = 0; i < 40; ++i)
    {
        list.push_back({random.between(1, 90), random.between(1, 30), random.between(1, 90), random.between(1, 30)});
    }
    return list;
}

// Calls visit(resizing, source, result) for many sizes.
template <class Visit>
void forEachResizing(vsrInterpolation interpolation, Visit visit)
{
    for (const Resizing& r : resizings())
    {
        const Image src = randomImage(size_t{r.width} * r.height, r.width);
        Image dst(size_t{r.dstWidth} * r.dstHeight);
        ASSERT_EQ(0u,
                  vsrScaleu8(src.data(), r.width, r.height, 0, dst.data(), r.dstWidth, r.dstHeight, 0, interpolation));
        SCOPED_TRACE(std::to_string(r.width) + "x" + std::to_string(r.height) + " to " + std::to_string(r.dstWidth) +
                     "x" + std::to_string(r.dstHeight));
        visit(r, src, dst);
        if (testing::Test::HasFatalFailure())
        {
            return;
        }
    }
}

TEST(Scale, NearestTakesThePixelUnderTheCentre)
{
    forEachResizing(VISORA_INTERPOLATION_NEAREST,
                    [](const Resizing& r, const Image& src, const Image& dst)
                    {
                        for (uint32_t i = 0; i < dst.size(); ++i)
                        {
                            // Source pixel j lies under centre c when j <= c < j + 1; in doubles, halves and small
                            // products are exact.
                            const uint32_t outX = i % r.dstWidth, outY = i / r.dstWidth;
                            const double x = (2 * outX + 1) * double{1.0} * r.width;
                            const double y = (2 * outY + 1) * double{1.0} * r.height;
                            uint32_t column = 0, row = 0;
                            for (; (column + 1) * 2.0 * r.dstWidth <= x; ++column)
                            {
                            }
                            for (; (row + 1) * 2.0 * r.dstHeight <= y; ++row)
                            {
                            }
                            ASSERT_EQ(src[row * r.width + column], dst[i]) << i;
                        }
                    });
}

TEST(Scale, BilinearLiesWithinItsWeightsPrecision)
{
    forEachResizing(VISORA_INTERPOLATION_BILINEAR,
                    [](const Resizing& r, const Image& src, const Image& dst)
                    {
                        const auto at = [&](double x, double y)
                        {
                            const auto column = static_cast<size_t>(std::clamp(x, 0.0, r.width - 1.0));
                            const auto row = static_cast<size_t>(std::clamp(y, 0.0, r.height - 1.0));
                            return static_cast<double>(src[row * r.width + column]);
                        };
                        for (uint32_t i = 0; i < dst.size(); ++i)
                        {
                            const uint32_t outX = i % r.dstWidth, outY = i / r.dstWidth;
                            const double x = (outX + 0.5) * r.width / r.dstWidth - 0.5;
                            const double y = (outY + 0.5) * r.height / r.dstHeight - 0.5;
                            const double left = std::floor(x), top = std::floor(y), a = x - left, b = y - top;
                            const double exact = (1 - a) * (1 - b) * at(left, top) + a * (1 - b) * at(left + 1, top) +
                                                 (1 - a) * b * at(left, top + 1) + a * b * at(left + 1, top + 1);
                            // A weight is off by 1 / 4096 at most on either axis.
                            ASSERT_NEAR(exact, dst[i], 0.5 + 2 * 255.0 / 4096) << i;
                        }
                    });
    const Image src = {0, 255};
    Image dst(4);
    vsrScaleu8(src.data(), 2, 1, 0, dst.data(), 4, 1, 0, VISORA_INTERPOLATION_BILINEAR);
    EXPECT_EQ((Image{0, 64, 191, 255}), dst);
}

TEST(Scale, AreaIsTheMeanOfWhatAPixelCovers)
{
    forEachResizing(VISORA_INTERPOLATION_AREA,
                    [](const Resizing& r, const Image& src, const Image& dst)
                    {
                        // Cut every source pixel into dstWidth by dstHeight parts; an output has width by height.
                        std::vector<uint64_t> sums(dst.size());
                        for (uint32_t y = 0; y < r.height * r.dstHeight; ++y)
                        {
                            for (uint32_t x = 0; x < r.width * r.dstWidth; ++x)
                            {
                                sums[y / r.height * r.dstWidth + x / r.width] +=
                                    src[y / r.dstHeight * r.width + x / r.dstWidth];
                            }
                        }
                        const uint64_t parts = uint64_t{r.width} * r.height;
                        for (uint32_t i = 0; i < dst.size(); ++i)
                        {
                            ASSERT_EQ((2 * sums[i] + parts) / (2 * parts), dst[i]) << i;
                        }
                    });
}

// ---- Pyramids ----

Image levelPixels(const vsrPyramidLevel_v2& level)
{
    Image pixels;
    for (uint32_t y = 0; y < level.height; ++y)
    {
        const auto* row = static_cast<const uint8_t*>(level.ptr) + size_t{y} * level.stride;
        pixels.insert(pixels.end(), row, row + level.width);
    }
    return pixels;
}

TEST(PyramidCreation, FillsEachLevelFromTheOneBefore)
{
    constexpr uint32_t kWidth = 48, kHeight = 24, kStride = 52, kLevels = 4;
    const Image base = randomImage(kStride * kHeight, 1);
    Image packed;
    for (uint32_t y = 0; y < kHeight; ++y)
    {
        packed.insert(packed.end(), &base[y * kStride], &base[y * kStride] + kWidth);
    }
    const std::vector<float> floats(packed.begin(), packed.end());
    vsrPyramidLevel plain[kLevels], plainFloats[kLevels];
    vsrPyramidLevel_v2 strided[kLevels];
    ASSERT_EQ(0u, vsrPyramidAllocate(plain, kWidth, kHeight, 1, kLevels, 0));
    ASSERT_EQ(0u, vsrPyramidAllocate(plainFloats, kWidth, kHeight, 4, kLevels, 0));
    ASSERT_EQ(0u, vsrPyramidAllocate_v2(strided, kWidth, kHeight, kStride, 1, kLevels, 0));
    EXPECT_EQ(0u, vsrPyramidCreateu8(packed.data(), kWidth, kHeight, kLevels, plain));
    EXPECT_EQ(0u, vsrPyramidCreatef32(floats.data(), kWidth, kHeight, kLevels, plainFloats));
    EXPECT_EQ(0u, vsrPyramidCreateu8_v2(base.data(), kWidth, kHeight, kStride, kLevels, strided));
    EXPECT_EQ(packed.data(), plain[0].ptr) << "no copy";
    EXPECT_EQ(kStride, strided[0].stride);

    Image level = packed;
    std::vector<float> floatLevel = floats;
    for (uint32_t i = 0; i < kLevels; ++i)
    {
        const uint32_t width = kWidth >> i, height = kHeight >> i;
        ASSERT_EQ(width, plain[i].width);
        ASSERT_EQ(height, plain[i].height);
        EXPECT_EQ(level, levelPixels({plain[i].ptr, width, height, width})) << i;
        EXPECT_EQ(level, levelPixels(strided[i])) << i;
        const auto* values = static_cast<const float*>(plainFloats[i].ptr);
        EXPECT_EQ(floatLevel, std::vector<float>(values, values + size_t{width} * height)) << i;
        Image next(level.size() / 4);
        std::vector<float> floatNext(level.size() / 4);
        vsrScaleDownBy2Gaussian5x5u8(level.data(), width, height, next.data());
        vsrScaleDownBy2Gaussian5x5f32(floatLevel.data(), width, height, floatNext.data());
        level = next;
        floatLevel = floatNext;
    }

    vsrPyramidLevel dx[kLevels], dy[kLevels];
    ASSERT_EQ(0u, vsrPyramidAllocate(dx, kWidth, kHeight, 2, kLevels, 1));
    ASSERT_EQ(0u, vsrPyramidAllocate(dy, kWidth, kHeight, 2, kLevels, 1));
    plain[2].width = 1;  // sizes follow level 0
    dx[3].height = 77;
    EXPECT_EQ(0u, vsrPyramidSobelGradientCreatei16(plain, dx, dy, kLevels));
    for (uint32_t i = 0; i < kLevels; ++i)
    {
        const uint32_t width = kWidth >> i, height = kHeight >> i;
        std::vector<int16_t> expectedX(size_t{width} * height), expectedY(expectedX);
        vsrImageGradientSobelPlanars16(static_cast<const uint8_t*>(plain[i].ptr), width, height, 0, expectedX.data(),
                                       expectedY.data());
        EXPECT_EQ(height, dx[i].height);
        EXPECT_EQ(width, dy[i].width);
        const auto* x = static_cast<const int16_t*>(dx[i].ptr);
        const auto* y = static_cast<const int16_t*>(dy[i].ptr);
        EXPECT_EQ(expectedX, std::vector<int16_t>(x, x + expectedX.size()));
        EXPECT_EQ(expectedY, std::vector<int16_t>(y, y + expectedY.size()));
    }
    vsrPyramidDelete(dx, kLevels, 0);
    vsrPyramidDelete(dy, kLevels, 0);
    vsrPyramidDelete(plain, kLevels, 1);
    vsrPyramidDelete(plainFloats, kLevels, 1);
    vsrPyramidDelete_v2(strided, kLevels, 1);
}

TEST(PyramidCreation, OfAnySizeWritesEveryPixelOfALevel)
{
    for (const auto& [width, height] : {std::pair(7u, 5u), {77u, 39u}, {1u, 9u}, {100u, 2u}})
    {
        const Image src = randomImage(size_t{width} * height, width);
        vsrPyramidLevel_v2 levels[3];
        ASSERT_EQ(0u, vsrPyramidAllocate_v3(levels, width, height, 0, 1, 4, 3, 0, 1));
        ASSERT_EQ(0u, vsrPyramidCreateu8_v3(src.data(), width, height, 0, 3, 0, levels));
        EXPECT_EQ(src, levelPixels(levels[0])) << "a copy";
        Image level = src;
        for (uint32_t i = 1; i < 3; ++i)
        {
            const int from = static_cast<int>(levels[i - 1].width), rows = static_cast<int>(levels[i - 1].height);
            ASSERT_EQ((levels[i - 1].width + 1) / 2, levels[i].width);
            ASSERT_EQ((levels[i - 1].height + 1) / 2, levels[i].height);
            const Image made = levelPixels(levels[i]);
            for (size_t p = 0; p < made.size(); ++p)
            {
                const Window w = windowAt(level, from, rows, static_cast<int>(p % levels[i].width),
                                          static_cast<int>(p / levels[i].width));
                ASSERT_EQ(std::floor((2 * w.sum + w.weights) / (2 * w.weights)), made[p])
                    << width << " " << i << " " << p;
            }
            level = made;
        }
        vsrPyramidDelete_v2(levels, 3, 0);
    }
}

TEST(PyramidCreation, QuarterOctavesSmoothAndResize)
{
    constexpr uint32_t kWidth = 61, kHeight = 40, kStride = 64, kLevels = 6;
    const Image src = randomImage(kStride * kHeight, 3);
    vsrPyramidLevel_v2 levels[kLevels];
    ASSERT_EQ(0u, vsrPyramidAllocate_v3(levels, kWidth, kHeight, kStride, 1, 8, kLevels, 1, 0));
    ASSERT_EQ(0u, vsrPyramidCreateu8_v3(src.data(), kWidth, kHeight, kStride, kLevels, 1, levels));
    EXPECT_EQ(src.data(), levels[0].ptr);
    for (uint32_t i = 1; i < kLevels; ++i)
    {
        const auto& from = levels[i - 1];
        Image smoothed(size_t{from.width} * from.height);
        vsrFilterGaussian5x5u8_v2(static_cast<const uint8_t*>(from.ptr), from.width, from.height, from.stride,
                                  smoothed.data(), 0, 1);
        Image expected(size_t{levels[i].width} * levels[i].height);
        vsrScaleu8(smoothed.data(), from.width, from.height, 0, expected.data(), levels[i].width, levels[i].height, 0,
                   VISORA_INTERPOLATION_NEAREST);
        EXPECT_EQ(expected, levelPixels(levels[i])) << i;
    }
    vsrPyramidDelete_v2(levels, kLevels, 1);
}

}  // namespace
}  // namespace visora::test
