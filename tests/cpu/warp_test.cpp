// Warps against exact positions and weights in double precision, and against each other.
#include "visora/warp.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "support/images.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kWidth = 61, kHeight = 43, kDstWidth = 83, kDstHeight = 57;
constexpr size_t kPixels = size_t{kDstWidth} * kDstHeight;

using Matrix = std::array<float, 9>;

// Mild ones: f32 positions then stay close to exact ones.
std::vector<Matrix> matrices(bool areAffine)
{
    std::vector<Matrix> list = {{1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, -1, 50, 1, 0, -3, 0, 0, 1}};
    Random random(3);
    const auto some = [&](double range) { return (random.between(0, 2000) / 1000.0 - 1) * range; };
    for (int i = 0; i < 20; ++i)
    {
        const double angle = some(4), scale = std::exp(some(1));
        const auto c = static_cast<float>(scale * std::cos(angle)), s = static_cast<float>(scale * std::sin(angle));
        const auto tilt = areAffine ? 0.0f : static_cast<float>(some(0.004));
        list.push_back({c, -s, static_cast<float>(some(60)), s, c, static_cast<float>(some(60)), tilt, tilt / 2, 1});
    }
    return list;
}

Image source(uint32_t channels = 1)
{
    return randomPixels(size_t{kWidth} * kHeight * channels, 1);
}

struct At
{
    double u, v;
};

At exactly(const Matrix& m, double x, double y)
{
    const double w = m[6] * x + m[7] * y + m[8];
    return {(m[0] * x + m[1] * y + m[2]) / w, (m[3] * x + m[4] * y + m[5]) / w};
}

double pixel(const Image& image, double i, double j, vsrBorderType border, double value)
{
    const double column = std::clamp(i, 0.0, kWidth - 1.0), row = std::clamp(j, 0.0, kHeight - 1.0);
    if (border != VISORA_BORDER_REPLICATE && (i != column || j != row))
    {
        return border == VISORA_BORDER_CONSTANT ? value : 0;
    }
    return image[static_cast<size_t>(row) * kWidth + static_cast<size_t>(column)];
}

TEST(Warp, BilinearLiesNearExactPositionsAndNearestTakesTheirPixel)
{
    const Image src = source();
    for (const Matrix& m : matrices(false))
    {
        for (vsrBorderType border = VISORA_BORDER_UNDEFINED; border <= VISORA_BORDER_REPLICATE; ++border)
        {
            Image bilinear(kPixels), nearest(kPixels);
            for (auto [interpolation, dst] : {std::pair(VISORA_INTERPOLATION_BILINEAR, &bilinear),
                                              std::pair(VISORA_INTERPOLATION_NEAREST, &nearest)})
            {
                ASSERT_EQ(0u, vsrWarpPerspectiveu8_v3(src.data(), kWidth, kHeight, 0, m.data(), interpolation,
                                                      dst->data(), kDstWidth, kDstHeight, 0, border, 99));
            }
            for (uint32_t i = 0; i < kPixels; ++i)
            {
                const At at = exactly(m, i % kDstWidth, i / kDstWidth);
                const double left = std::floor(at.u), top = std::floor(at.v), a = at.u - left, b = at.v - top;
                const auto tap = [&](double dx, double dy) { return pixel(src, left + dx, top + dy, border, 99); };
                const double exact =
                    (1 - b) * ((1 - a) * tap(0, 0) + a * tap(1, 0)) + b * ((1 - a) * tap(0, 1) + a * tap(1, 1));
                // Half a level, and 1/512 pixel and a little on either axis.
                ASSERT_NEAR(exact, bilinear[i], 0.5 + 2 * 255 * (1 / 512.0 + 1e-4)) << i;
                const auto isTie = [](double place) { return std::fabs(place - std::floor(place) - 0.5) < 0.004; };
                if (!isTie(at.u) && !isTie(at.v))
                {
                    ASSERT_EQ(pixel(src, std::floor(at.u + 0.5), std::floor(at.v + 0.5), border, 99), nearest[i]) << i;
                }
            }
        }
    }
}

TEST(Warp, AllFormsOfOneWarpAgree)
{
    const Image src = source();
    for (const Matrix& m : matrices(true))
    {
        Image expected(kPixels), got(kPixels), clipped(kPixels, 1);
        vsrWarpPerspectiveu8_v2(src.data(), kWidth, kHeight, 0, m.data(), expected.data(), kDstWidth, kDstHeight, 0);
        vsrTransformAffineu8_v2(src.data(), kWidth, kHeight, 0, m.data(), got.data(), kDstWidth, kDstHeight, 0);
        ASSERT_EQ(expected, got);
        vsrTransformAffineu8(src.data(), kWidth, kHeight, m.data(), got.data(), kDstWidth, kDstHeight);
        ASSERT_EQ(expected, got);

        // Inside, the clipped warp is the same; outside it leaves what was there.
        std::vector<uint32_t> ranges(2 * kDstHeight);
        ASSERT_EQ(0u, vsrTransformAffineClippedu8(src.data(), kWidth, kHeight, 0, m.data(), clipped.data(), kDstWidth,
                                                  kDstHeight, 0, ranges.data()));
        for (uint32_t i = 0; i < kPixels; ++i)
        {
            const uint32_t x = i % kDstWidth, y = i / kDstWidth;
            const bool isInside = x >= ranges[2 * y] && x < ranges[2 * y + 1];
            ASSERT_EQ(isInside ? expected[i] : 1, clipped[i]) << i;
            const At at = exactly(m, x, y);
            const double inner = std::min({at.u, at.v, kWidth - 1 - at.u, kHeight - 1 - at.v});
            if (std::fabs(inner) > 0.01)
            {
                ASSERT_EQ(inner > 0, isInside) << i;
            }
        }
    }
    for (const Matrix& m : matrices(false))
    {
        Image expected(kPixels), got(kPixels);
        std::vector<float> mapX(kPixels), mapY(kPixels), points;
        for (uint32_t i = 0; i < kPixels; ++i)
        {
            points.push_back(static_cast<float>(i % kDstWidth));
            points.push_back(static_cast<float>(i / kDstWidth));
        }
        ASSERT_EQ(0u, vsrTransformPoint2xNf32(points.data(), kPixels, m.data(), points.data()));
        for (uint32_t i = 0; i < kPixels; ++i)
        {
            mapX[i] = points[2 * size_t{i}];
            mapY[i] = points[2 * size_t{i} + 1];
        }
        for (const vsrInterpolation interpolation : {VISORA_INTERPOLATION_NEAREST, VISORA_INTERPOLATION_BILINEAR})
        {
            vsrWarpPerspectiveu8_v3(src.data(), kWidth, kHeight, 0, m.data(), interpolation, expected.data(), kDstWidth,
                                    kDstHeight, 0, VISORA_BORDER_CONSTANT, 7);
            ASSERT_EQ(0u, vsrRemapu8(src.data(), kWidth, kHeight, 0, mapX.data(), mapY.data(), 0, interpolation,
                                     got.data(), kDstWidth, kDstHeight, 0, VISORA_BORDER_CONSTANT, 7));
            ASSERT_EQ(expected, got);
        }
        // Tiles are the whole, whatever the interpolation.
        for (vsrInterpolation interpolation = 0; interpolation <= VISORA_INTERPOLATION_AREA; ++interpolation)
        {
            const auto tile = [&](Image& to, uint32_t x, uint32_t y, uint32_t width, uint32_t height)
            {
                ASSERT_EQ(0u, vsrWarpPerspectiveu8_v4(src.data(), kWidth, kHeight, 0, m.data(), interpolation,
                                                      &to[y * kDstWidth + x], x, y, width, height, kDstWidth,
                                                      VISORA_BORDER_REPLICATE, 0));
            };
            tile(expected, 0, 0, kDstWidth, kDstHeight);
            tile(got, 0, 0, 70, 20);
            tile(got, 70, 0, kDstWidth - 70, 20);
            tile(got, 0, 20, 5, kDstHeight - 20);
            tile(got, 5, 20, kDstWidth - 5, kDstHeight - 20);
            ASSERT_EQ(expected, got) << interpolation;
        }
    }
}

TEST(Warp, ChannelsAndPlanesAreWarpedAlike)
{
    constexpr uint8_t kColor[] = {10, 200, 30, 255};
    const Image src = source(4);
    std::array<Image, 4> planes;
    for (size_t i = 0; i < src.size(); ++i)
    {
        planes[i % 4].push_back(src[i]);
    }
    for (const Matrix& m : matrices(true))
    {
        Image rgba(kPixels * 4), remapped(kPixels * 4);
        ASSERT_EQ(0u, vsrTransformAffineRGBA8888u8(src.data(), kWidth, kHeight, 0, m.data(), rgba.data(), kDstWidth,
                                                   kDstHeight, 0, kColor));
        std::array<Image, 3> three;
        three.fill(Image(kPixels));
        ASSERT_EQ(0u, vsr3ChannelWarpPerspectiveu8_v2(planes[0].data(), planes[1].data(), planes[2].data(), kWidth,
                                                      kHeight, 0, m.data(), VISORA_INTERPOLATION_BILINEAR,
                                                      three[0].data(), three[1].data(), three[2].data(), kDstWidth,
                                                      kDstHeight, 0, VISORA_BORDER_CONSTANT, kColor));
        for (size_t c = 0; c < 4; ++c)
        {
            Image expected(kPixels), got;
            vsrWarpPerspectiveu8_v3(planes[c].data(), kWidth, kHeight, 0, m.data(), VISORA_INTERPOLATION_BILINEAR,
                                    expected.data(), kDstWidth, kDstHeight, 0, VISORA_BORDER_CONSTANT, kColor[c]);
            for (size_t i = c; i < rgba.size(); i += 4)
            {
                got.push_back(rgba[i]);
            }
            ASSERT_EQ(expected, got) << c;
            if (c < 3)
            {
                ASSERT_EQ(expected, three[c]) << c;
            }
        }
    }
}

// Whole reductions whose centres are aligned: the samples cover each pixel of the box once.
TEST(WarpArea, WholeReductionsAreBoxMeans)
{
    const Image src = randomPixels(size_t{64} * 64, 5);
    for (uint32_t n = 1; n <= 8; ++n)
    {
        const auto factor = static_cast<float>(n);
        const float middle = (factor - 1) / 2;
        const Matrix m = {factor, 0, middle, 0, factor, middle, 0, 0, 1};
        const uint32_t side = 64 / n;
        Image dst(size_t{side} * side);
        ASSERT_EQ(0u, vsrWarpPerspectiveu8_v4(src.data(), 64, 64, 0, m.data(), VISORA_INTERPOLATION_AREA, dst.data(), 0,
                                              0, side, side, 0, VISORA_BORDER_CONSTANT, 0));
        for (uint32_t i = 0; i < dst.size(); ++i)
        {
            uint32_t sum = 0;
            for (uint32_t k = 0; k < n * n; ++k)
            {
                sum += src[(i / side * n + k / n) * 64 + i % side * n + k % n];
            }
            ASSERT_EQ((sum + n * n / 2) / (n * n), dst[i]) << n << " " << i;
        }
    }
}

TEST(WarpCubic, IsCatmullRomOverSixteenPixels)
{
    const Image src = source();
    for (const Matrix& m : matrices(true))
    {
        std::array<Image, 3> dst;
        dst.fill(Image(kPixels));
        std::vector<uint32_t> ranges(2 * kDstHeight);
        ASSERT_EQ(0u, vsr3ChannelTransformAffineClippedBCu8(src.data(), src.data(), src.data(), kWidth, kHeight, 0,
                                                            m.data(), dst[0].data(), dst[1].data(), dst[2].data(),
                                                            kDstWidth, kDstHeight, 0, ranges.data()));
        ASSERT_TRUE(dst[0] == dst[1] && dst[1] == dst[2]);
        for (uint32_t y = 0; y < kDstHeight; ++y)
        {
            for (uint32_t x = ranges[2 * y]; x < ranges[2 * y + 1]; ++x)
            {
                const At at = exactly(m, x, y);
                const auto weights = [](double t)
                {
                    return std::array{(-t + 2 * t * t - t * t * t) / 2, (2 - 5 * t * t + 3 * t * t * t) / 2,
                                      (t + 4 * t * t - 3 * t * t * t) / 2, (t * t * t - t * t) / 2};
                };
                const double left = std::floor(at.u), top = std::floor(at.v);
                const auto columns = weights(at.u - left), rows = weights(at.v - top);
                double exact = 0;
                for (size_t tap = 0; tap < 16; ++tap)
                {
                    exact += rows[tap / 4] * columns[tap % 4] *
                             pixel(src, left - 1 + static_cast<double>(tap % 4), top - 1 + static_cast<double>(tap / 4),
                                   VISORA_BORDER_REPLICATE, 0);
                }
                ASSERT_NEAR(std::clamp(exact, 0.0, 255.0), dst[0][y * kDstWidth + x], 3) << x << "," << y;
            }
        }
    }
    // A whole shift copies.
    const Matrix shift = {1, 0, 3, 0, 1, 2, 0, 0, 1};
    Image copy(size_t{kWidth} * kHeight), other(copy.size()), third(copy.size());
    std::vector<uint32_t> ranges(2 * kHeight);
    vsr3ChannelTransformAffineClippedBCu8(src.data(), src.data(), src.data(), kWidth, kHeight, 0, shift.data(),
                                          copy.data(), other.data(), third.data(), kWidth, kHeight, 0, ranges.data());
    for (uint32_t y = 0; y < kHeight; ++y)
    {
        ASSERT_EQ(y + 2 < kHeight ? kWidth - 3 : 0, ranges[2 * y + 1]);
        for (uint32_t x = 0; x < ranges[2 * y + 1]; ++x)
        {
            ASSERT_EQ(src[(y + 2) * kWidth + x + 3], copy[y * kWidth + x]);
        }
    }
}

TEST(WarpFloat, LiesBetweenItsPixelsAndMarksTheOutside)
{
    std::vector<float> src(size_t{kWidth} * kHeight);
    const Image noise = source();
    std::copy(noise.begin(), noise.end(), src.begin());
    for (const Matrix& m : matrices(true))
    {
        std::vector<float> dst(kPixels);
        ASSERT_EQ(0u, vsrTransformAffinef32(src.data(), kWidth, kHeight, 0, m.data(), dst.data(), kDstWidth, kDstHeight,
                                            0, std::numeric_limits<float>::quiet_NaN()));
        for (uint32_t i = 0; i < kPixels; ++i)
        {
            const At at = exactly(m, i % kDstWidth, i / kDstWidth);
            const double left = std::floor(at.u), top = std::floor(at.v), a = at.u - left, b = at.v - top;
            const double inner = std::min({at.u, at.v, kWidth - 1 - at.u, kHeight - 1 - at.v});
            if (std::fabs(inner) < 1e-3)
            {
                continue;
            }
            ASSERT_EQ(inner < 0, std::isnan(dst[i])) << i;
            if (inner > 0)
            {
                const auto tap = [&](double dx, double dy)
                { return pixel(noise, left + dx, top + dy, VISORA_BORDER_REPLICATE, 0); };
                const double exact =
                    (1 - b) * ((1 - a) * tap(0, 0) + a * tap(1, 0)) + b * ((1 - a) * tap(0, 1) + a * tap(1, 1));
                ASSERT_NEAR(exact, dst[i], 0.05) << i;
            }
        }
    }
}

// The way back: a place of the camera's image, straightened by the inverse of the lens model, which a fixed point
// finds, and turned into the corrected frame, is the pixel.
TEST(LensMaps, LeadToPlacesThatStraightenToTheirPixel)
{
    constexpr float kCamera[] = {300, 0, 160, 0, 310, 120, 0, 0, 1};
    constexpr float kNew[] = {280, 0, 150, 0, 290, 125, 0, 0, 1};
    constexpr float kLens[] = {-0.2f, 0.05f, 0.001f, -0.002f, 0.003f};
    const float c = std::cos(0.05f), s = std::sin(0.05f);
    const float turn[] = {c, 0, -s, 0, 1, 0, s, 0, c};
    constexpr float kStraight[] = {0, 0, 0, 0, 0};
    constexpr uint32_t kMapWidth = 320, kMapHeight = 240;
    std::vector<float> mapX(size_t{kMapWidth} * kMapHeight), mapY(mapX.size());
    ASSERT_EQ(0u,
              vsrBuildRectifyMapf32(kCamera, kLens, turn, kNew, mapX.data(), mapY.data(), kMapWidth, kMapHeight, 0));
    for (uint32_t i = 0; i < mapX.size(); i += 13)
    {
        const double s0 = (mapX[i] - kCamera[2]) / kCamera[0], t0 = (mapY[i] - kCamera[5]) / kCamera[4];
        double p = s0, q = t0;
        for (int round = 0; round < 100; ++round)
        {
            const double rr = p * p + q * q;
            const double d = 1 + kLens[0] * rr + kLens[1] * rr * rr + kLens[4] * rr * rr * rr;
            const double sideways = 2 * kLens[2] * p * q + kLens[3] * (rr + 2 * p * p);
            const double upward = kLens[2] * (rr + 2 * q * q) + 2 * kLens[3] * p * q;
            p = (s0 - sideways) / d;
            q = (t0 - upward) / d;
        }
        const double x = turn[0] * p + turn[1] * q + turn[2], y = turn[3] * p + turn[4] * q + turn[5];
        const double z = turn[6] * p + turn[7] * q + turn[8];
        ASSERT_NEAR(i % kMapWidth, kNew[0] * x / z + kNew[2], 2e-3) << i;
        ASSERT_NEAR(i / kMapWidth, kNew[4] * y / z + kNew[5], 2e-3) << i;
    }
    // Without a lens and a rotation a map is the identity.
    ASSERT_EQ(0u, vsrBuildUndistortMapf32(kCamera, kStraight, mapX.data(), mapY.data(), kMapWidth, kMapHeight, 0));
    for (uint32_t i = 0; i < mapX.size(); ++i)
    {
        ASSERT_NEAR(i % kMapWidth, mapX[i], 1e-4);
        ASSERT_NEAR(i / kMapWidth, mapY[i], 1e-4);
    }
    constexpr float kNoFocus[] = {0, 0, 160, 0, 310, 120, 0, 0, 1};
    EXPECT_EQ(3u, vsrBuildUndistortMapf32(kNoFocus, kLens, mapX.data(), mapY.data(), kMapWidth, kMapHeight, 0));
    EXPECT_EQ(3u, vsrBuildUndistortMapf32(kCamera, kLens, mapX.data(), mapX.data(), kMapWidth, kMapHeight, 0));
}

TEST(Points, OfSpaceAreTurnedAndShiftedInPlace)
{
    constexpr float kTurn[] = {0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 2, 30};
    std::vector<float> points, expected;
    for (int i = 0; i < 37; ++i)
    {
        const auto v = static_cast<float>(i);
        points.insert(points.end(), {v, 2 * v, 3 * v});
        expected.insert(expected.end(), {10 - 2 * v, 20 + v, 30 + 6 * v});
    }
    ASSERT_EQ(0u, vsrTransformPoint3xNf32(points.data(), 37, kTurn, points.data()));
    EXPECT_EQ(expected, points);
    EXPECT_EQ(3u, vsrTransformPoint3xNf32(points.data(), 0, kTurn, points.data()));
}

}  // namespace
}  // namespace visora::test
