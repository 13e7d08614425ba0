// Corners by gradients, patches and templates: judged by slow restatements and known answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "support/images.h"
#include "support/random.h"
#include "visora/corner.h"
#include "visora/dot.h"
#include "visora/match.h"
#include "visora/variants/corner.h"

namespace visora::test
{
namespace
{

constexpr int kWidth = 41;
constexpr int kHeight = 33;

// Squares of some grey levels with noise on them: edges, corners and texture.
Image texture(uint64_t seed, uint32_t noise)
{
    Random random(seed);
    Image pixels(size_t{kWidth} * kHeight);
    for (size_t i = 0; i < pixels.size(); ++i)
    {
        const size_t x = i % kWidth, y = i / kWidth;
        pixels[i] = static_cast<uint8_t>(40 + (x / 9 * 3 + y / 7 * 5) % 8 * 20 + random.between(0, noise));
    }
    return pixels;
}

int pixelOf(const Image& image, int x, int y)
{
    return image[static_cast<size_t>(y * kWidth + x)];
}

// ---- Corners ----

// Sums of gx^2, gy^2 and gx gy over a window about a pixel, by what Sobel's operator is.
std::array<int64_t, 3> tensor(const Image& image, int x, int y, int radius)
{
    std::array<int64_t, 3> sums = {};
    for (int v = y - radius; v <= y + radius; ++v)
    {
        for (int u = x - radius; u <= x + radius; ++u)
        {
            int64_t gx = 0, gy = 0;
            for (int k = -1; k <= 1; ++k)
            {
                const int weight = 2 - std::abs(k);
                gx += weight * (pixelOf(image, u + 1, v + k) - pixelOf(image, u - 1, v + k));
                gy += weight * (pixelOf(image, u + k, v + 1) - pixelOf(image, u + k, v - 1));
            }
            sums[0] += gx * gx;
            sums[1] += gy * gy;
            sums[2] += gx * gy;
        }
    }
    return sums;
}

struct Corner
{
    bool operator==(const Corner&) const = default;

    int x, y;
    double score;
};

// What no neighbour outdoes, of pixels at least `border` from an edge.
template <class Score>
std::vector<Corner> localMaxima(int border, double threshold, Score score)
{
    std::vector<Corner> corners;
    const auto isInside = [=](int x, int y)
    { return x >= border && y >= border && x < kWidth - border && y < kHeight - border; };
    for (int y = border; y < kHeight - border; ++y)
    {
        for (int x = border; x < kWidth - border; ++x)
        {
            bool isBest = score(x, y) > threshold;
            for (int i = 0; i < 9; ++i)
            {
                const int u = x + i % 3 - 1, v = y + i / 3 - 1;
                isBest = isBest && (i == 4 || !isInside(u, v) ||
                                    (i < 4 ? score(x, y) > score(u, v) : score(x, y) >= score(u, v)));
            }
            if (isBest)
            {
                corners.push_back({x, y, score(x, y)});
            }
        }
    }
    return corners;
}

template <class Score>
std::vector<Corner> listed(const std::vector<uint32_t>& xy, const std::vector<Score>& scores, uint32_t count)
{
    std::vector<Corner> corners;
    for (size_t i = 0; i < count; ++i)
    {
        corners.push_back({static_cast<int>(xy[2 * i]), static_cast<int>(xy[2 * i + 1]), double(scores[i])});
    }
    return corners;
}

TEST(TensorCorners, AreThoseOfTheirResponses)
{
    for (const uint32_t noise : {0u, 5u, 90u})
    {
        const Image image = texture(noise, noise);
        std::vector<uint32_t> xy(2 * image.size());
        uint32_t count = 0;

        const auto harris = [&](int x, int y)
        {
            const auto [a, b, c] = tensor(image, x, y, 3);
            return std::floor(static_cast<double>(16 * (a * b - c * c) - (a + b) * (a + b)) / 16777216);
        };
        std::vector<int32_t> responses(image.size());
        ASSERT_EQ(0u, vsrCornerHarrisScoreu8(image.data(), kWidth, kHeight, 0, 50, 5, xy.data(), responses.data(),
                                             static_cast<uint32_t>(image.size()), &count, 1));
        EXPECT_GT(count, 3u);
        EXPECT_EQ(localMaxima(5, 50, harris), listed(xy, responses, count));

        const auto eigenvalue = [&](int x, int y)
        {
            const auto [a, b, c] = tensor(image, x, y, 1);
            const auto d = static_cast<float>(a - b), m = static_cast<float>(2 * c);
            return double{std::max(0.0f, 0.5f * (static_cast<float>(a + b) - std::sqrt(d * d + m * m)))};
        };
        double greatest = 0;
        for (int i = 0; i < (kWidth - 4) * (kHeight - 4); ++i)
        {
            greatest = std::max(greatest, eigenvalue(2 + i % (kWidth - 4), 2 + i / (kWidth - 4)));
        }
        std::vector<Corner> candidates = localMaxima(2, double{0.125f * static_cast<float>(greatest)}, eigenvalue);
        std::stable_sort(candidates.begin(), candidates.end(),
                         [](const Corner& a, const Corner& b) { return a.score > b.score; });
        std::vector<Corner> taken;
        for (const Corner& corner : candidates)
        {
            if (std::none_of(taken.begin(), taken.end(),
                             [&](const Corner& other)
                             { return std::hypot(corner.x - other.x, corner.y - other.y) < 6; }))
            {
                taken.push_back(corner);
            }
        }
        std::vector<float> values(image.size());
        ASSERT_EQ(0u, vsrCornerMinEigenu8(image.data(), kWidth, kHeight, 0, 0.125f, 6, 0, xy.data(), values.data(),
                                          static_cast<uint32_t>(image.size()), &count));
        EXPECT_EQ(taken, listed(xy, values, count));
    }
}

// A corner of a checkerboard between pixels, somewhat out of focus.
TEST(SubPixelCorners, AreFoundAgain)
{
    for (const auto& [cx, cy] : {std::pair(20.0, 15.0), {20.3, 15.0}, {19.75, 15.4}, {20.45, 14.6}})
    {
        Image image(size_t{kWidth} * kHeight);
        for (int i = 0; i < kWidth * kHeight; ++i)
        {
            const double x = i % kWidth - cx, y = i / kWidth - cy;
            image[static_cast<size_t>(i)] = static_cast<uint8_t>(128 + 100 * std::tanh(x / 2) * std::tanh(y / 2));
        }
        const float start[] = {20, 15, -1, 7};
        float found[4] = {};
        ASSERT_EQ(0u, vsrCornerRefineSubPixu8(image.data(), kWidth, kHeight, 0, start, 2, 9, 9, 40, 1e-4f, found));
        EXPECT_NEAR(cx, found[0], 0.03);
        EXPECT_NEAR(cy, found[1], 0.03);
        EXPECT_TRUE(std::equal(start + 2, start + 4, found + 2));
    }
}

// ---- Patches and templates ----

struct Sums
{
    int64_t n = 0, i = 0, p = 0, ii = 0, pp = 0, ip = 0;

    double correlation() const
    {
        const auto a = static_cast<double>(n * ii - i * i), b = static_cast<double>(n * pp - p * p);
        return a == 0 || b == 0 ? 0 : static_cast<double>(n * ip - i * p) / std::sqrt(a * b);
    }
};

Sums sumsAt(const Image& image, int x, int y, const Image& patch, int width)
{
    Sums s;
    for (size_t k = 0; k < patch.size(); ++k)
    {
        const int64_t v = pixelOf(image, x + static_cast<int>(k) % width, y + static_cast<int>(k) / width);
        ++s.n;
        s.i += v;
        s.ii += v * v;
        s.p += patch[k];
        s.pp += patch[k] * patch[k];
        s.ip += v * patch[k];
    }
    return s;
}

TEST(Templates, HaveTheirSumsAtEveryPlace)
{
    const Image image = texture(1, 60);
    for (const auto& [width, height] : {std::pair(1, 1), {8, 8}, {13, 5}, {17, 30}, {kWidth, kHeight}})
    {
        Image templ;
        for (int i = 0; i < width * height; ++i)
        {
            templ.push_back(static_cast<uint8_t>(pixelOf(image, i % width, i / width) ^ (i % 3)));
        }
        const int columns = kWidth - width + 1, rows = kHeight - height + 1;
        for (uint32_t method = VISORA_MATCH_SQUARED_DIFFERENCE; method <= VISORA_MATCH_NORMED_COEFFICIENT; ++method)
        {
            std::vector<float> dst(static_cast<size_t>(columns * rows));
            ASSERT_EQ(0u,
                      vsrMatchTemplateu8(image.data(), kWidth, kHeight, 0, templ.data(), static_cast<uint32_t>(width),
                                         static_cast<uint32_t>(height), 0, method, dst.data(), 0));
            for (int i = 0; i < columns * rows; ++i)
            {
                const Sums s = sumsAt(image, i % columns, i / columns, templ, width);
                const double lengths = std::sqrt(static_cast<double>(s.ii) * static_cast<double>(s.pp));
                const double expected[] = {static_cast<double>(s.ii - 2 * s.ip + s.pp), static_cast<double>(s.ip),
                                           lengths == 0 ? 0 : static_cast<double>(s.ip) / lengths, s.correlation()};
                ASSERT_NEAR(expected[method], dst[static_cast<size_t>(i)],
                            1e-6 * std::max(1.0, std::fabs(expected[method])))
                    << method << " " << width << " " << i;
            }
        }
    }
}

// Templates whose sums go beyond 32 bits, in two and more pieces and tiles: the vector variants are to agree with the
// exact sums of some windows.
TEST(Templates, OfManyPixelsAreExact)
{
    struct Case
    {
        uint32_t width, height, templateWidth, templateHeight;
        uint8_t least;
    };
    for (const Case& c : {Case{700, 600, 300, 290, 250},
                          {400, 330, 257, 256, 0},
                          {1300, 70, 1200, 64, 200},
                          {90, 80, 40, 33, 0},
                          {300, 280, 128, 100, 255}})
    {
        Random random(c.width);
        Image image(size_t{c.width} * c.height), templ(size_t{c.templateWidth} * c.templateHeight);
        for (Image* pixels : {&image, &templ})
        {
            std::generate(pixels->begin(), pixels->end(),
                          [&] { return static_cast<uint8_t>(random.between(c.least, 255)); });
        }
        const uint32_t columns = c.width - c.templateWidth + 1, rows = c.height - c.templateHeight + 1;
        std::vector<float> products(size_t{columns} * rows), differences(products.size());
        ASSERT_EQ(0u, vsrMatchTemplateu8V(image.data(), c.width, c.height, c.width, templ.data(), c.templateWidth,
                                          c.templateHeight, c.templateWidth, VISORA_MATCH_CORRELATION, products.data(),
                                          columns * 4));
        ASSERT_EQ(0u, vsrMatchTemplateu8V(image.data(), c.width, c.height, c.width, templ.data(), c.templateWidth,
                                          c.templateHeight, c.templateWidth, VISORA_MATCH_SQUARED_DIFFERENCE,
                                          differences.data(), columns * 4));
        for (size_t i = 0; i < products.size(); i += 1 + products.size() / 40)
        {
            uint64_t product = 0, difference = 0;
            for (size_t k = 0; k < templ.size(); ++k)
            {
                const int64_t v =
                    image[(i / columns + k / c.templateWidth) * c.width + i % columns + k % c.templateWidth];
                product += static_cast<uint64_t>(v * templ[k]);
                difference += static_cast<uint64_t>((v - templ[k]) * (v - templ[k]));
            }
            ASSERT_EQ(static_cast<float>(product), products[i]) << c.width << " " << i;
            ASSERT_EQ(static_cast<float>(difference), differences[i]) << c.width << " " << i;
        }
    }
}

TEST(Patches, AreFoundWhereTheyCorrelateBest)
{
    const Image image = texture(2, 60);
    Image patch;
    for (int i = 0; i < 64; ++i)
    {
        patch.push_back(static_cast<uint8_t>(pixelOf(image, 20 + i % 8, 12 + i / 8) / 2 + 9));
    }
    const uint32_t xy[] = {24, 16, 4, 4, 37, 29, 3, 9, 38, 9};
    float scores[5];
    uint32_t products[5];
    ASSERT_EQ(0u, vsrNCCPatchScore8x8u8(image.data(), kWidth, kHeight, 0, patch.data(), xy, 5, scores));
    ASSERT_EQ(0u, vsrDotPatch8x8u8(image.data(), kWidth, kHeight, 0, patch.data(), xy, 5, products));
    for (size_t i = 0; i < 5; ++i)
    {
        const bool isIn = i < 3;
        const Sums s =
            isIn ? sumsAt(image, static_cast<int>(xy[2 * i]) - 4, static_cast<int>(xy[2 * i + 1]) - 4, patch, 8)
                 : Sums();
        EXPECT_NEAR(isIn ? s.correlation() : -1, scores[i], 1e-6);
        EXPECT_EQ(s.ip, products[i]);
    }
    uint32_t best[2];
    float score = 0;
    float offset[2];
    ASSERT_EQ(
        0u, vsrNCCPatchSearch8x8u8(image.data(), kWidth, kHeight, 0, patch.data(), 20, 13, 9, 6, best, &score, offset));
    EXPECT_EQ(std::pair(24u, 16u), std::pair(best[0], best[1]));
    EXPECT_GT(score, 0.99f);
    // In a circle that does not reach it another place is best.
    ASSERT_EQ(0u, vsrNCCPatchSearchNxNu8(image.data(), kWidth, kHeight, 0, patch.data(), 8, 0, VISORA_SEARCH_CIRCLE, 20,
                                         13, 4, 0, best, &score));
    double most = -2;
    std::pair<uint32_t, uint32_t> place;
    for (int i = 0; i < 81; ++i)
    {
        const int x = 16 + i % 9, y = 9 + i / 9;
        const double here = sumsAt(image, x - 4, y - 4, patch, 8).correlation();
        if ((x - 20) * (x - 20) + (y - 13) * (y - 13) <= 16 && here > most)
        {
            most = here;
            place = {x, y};
        }
    }
    EXPECT_EQ(place, std::pair(best[0], best[1]));
    EXPECT_NEAR(most, score, 1e-6);
}

}  // namespace
}  // namespace visora::test
