// Two photographs of one scene: corners, matched by their binary descriptors. Of one plane: a robust homography, and
// the first photograph laid over the second.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <stdexcept>

#include "stages.h"
#include "visora/corner.h"
#include "visora/descriptor.h"
#include "visora/filter.h"
#include "visora/geom.h"
#include "visora/hamming.h"
#include "visora/warp.h"

namespace demo
{
namespace
{

struct Point
{
    double x, y;
};

/** Row by row. */
using Matrix = std::array<double, 9>;

Matrix product(const Matrix& a, const Matrix& b)
{
    Matrix c{};
    for (size_t i = 0; i < 9; ++i)
    {
        for (size_t k = 0; k < 3; ++k)
        {
            c[i] += a[i / 3 * 3 + k] * b[k * 3 + i % 3];
        }
    }
    return c;
}

// But for a factor, which does not matter to a homography.
Matrix inverse(const Matrix& m)
{
    return {m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
            m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
            m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
}

// ---- Features ----

/** Corners and their descriptors, one for each. */
struct Features
{
    static constexpr uint32_t kBytes = 32;

    std::vector<Point> places;
    std::vector<uint8_t> descriptors;
};

/** How the views of a scene stand to each other. */
enum class Views
{
    kUpright,
    kTurned
};

// The strongest corners, far enough from the edges for a descriptor in any direction.
Features findFeatures(const Picture& gray, Views views, Runner& runner)
{
    constexpr uint32_t kMaxCorners = 40000;
    constexpr uint32_t kThreshold = 15;
    constexpr uint32_t kBorder = 20;
    constexpr size_t kFeatures = 1500;
    Picture smooth(gray.width, gray.height, 1);
    vsrFilterGaussian5x5u8(gray.data(), gray.width, gray.height, smooth.data(), 1);
    std::vector<uint32_t> xy(size_t{kMaxCorners} * 2);
    std::vector<uint32_t> scores(kMaxCorners);
    std::vector<uint32_t> work(size_t{kMaxCorners} * 3 + gray.height);
    uint32_t count = 0;
    vsrCornerFast9Scoreu8_v2(smooth.data(), gray.width, gray.height, 0, kThreshold, kBorder, xy.data(), scores.data(),
                             kMaxCorners, &count, 1, work.data());
    std::vector<uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return scores[a] > scores[b]; });
    order.resize(std::min(order.size(), kFeatures));
    Features features;
    std::vector<uint32_t> best;
    for (const uint32_t corner : order)
    {
        const uint32_t x = xy[size_t{corner} * 2];
        const uint32_t y = xy[size_t{corner} * 2 + 1];
        best.insert(best.end(), {x, y});
        features.places.push_back({static_cast<double>(x), static_cast<double>(y)});
    }
    features.descriptors.resize(order.size() * Features::kBytes);
    const auto corners = static_cast<uint32_t>(order.size());
    runner.run(
        views == Views::kTurned ? "turned descriptors" : "upright descriptors", order.size(),
        [&]
        {
            // Views that are turned against each other are described by the direction in which a corner gets brighter.
            uint8_t* const to = features.descriptors.data();
            return views == Views::kTurned
                       ? vsrBriefDescribeRotatedu8(smooth.data(), gray.width, gray.height, 0, best.data(), corners,
                                                   nullptr, to, 0)
                       : vsrBriefDescribeu8(smooth.data(), gray.width, gray.height, 0, best.data(), corners, to, 0);
        },
        "corner");
    return features;
}

// ---- Matches ----

struct Match
{
    Point from, to;
};

// Features with the nearest of the others, where the next one is clearly further away.
std::vector<Match> matchFeatures(const Features& first, const Features& second, Runner& runner)
{
    constexpr uint32_t kClearly = 5;  // quarters
    std::vector<uint32_t> indices(2 * first.places.size());
    std::vector<uint32_t> distances(indices.size());
    runner.run(
        "nearest descriptors", first.places.size(),
        [&]
        {
            return vsrHammingNearest2u8(first.descriptors.data(), Features::kBytes,
                                        static_cast<uint32_t>(first.places.size()), 0, second.descriptors.data(),
                                        static_cast<uint32_t>(second.places.size()), 0, indices.data(),
                                        distances.data());
        },
        "corner");
    std::vector<Match> matches;
    for (size_t i = 0; i < first.places.size(); ++i)
    {
        if (indices[2 * i + 1] != VISORA_NO_MATCH && kClearly * distances[2 * i] < 4 * distances[2 * i + 1])
        {
            matches.push_back({first.places[i], second.places[indices[2 * i]]});
        }
    }
    return matches;
}

// ---- The homography ----

// Points of one photograph with coordinates of about 1 in size, and the matrix that makes them so.
struct NormalisedPoints
{
    std::vector<float> xy;
    Matrix transform;
    double scale;

    NormalisedPoints(const std::vector<Match>& matches, Point Match::*side)
    {
        std::vector<float> x;
        std::vector<float> y;
        for (const Match& match : matches)
        {
            x.push_back(static_cast<float>((match.*side).x));
            y.push_back(static_cast<float>((match.*side).y));
        }
        float values[3] = {};
        normalise2dpts(x.data(), y.data(), values, static_cast<int>(matches.size()));
        for (size_t i = 0; i < x.size(); ++i)
        {
            xy.push_back(x[i]);
            xy.push_back(y[i]);
        }
        scale = values[0];
        transform = {values[0], 0, values[1], 0, values[0], values[2], 0, 0, 1};
    }
};

struct Consensus
{
    Matrix homography;
    std::vector<uint16_t> inliers;
};

Consensus fitHomography(const std::vector<Match>& matches, Runner& runner)
{
    constexpr double kMaxPixels = 3;
    const NormalisedPoints from(matches, &Match::from);
    const NormalisedPoints to(matches, &Match::to);
    std::vector<uint16_t> indices(matches.size());
    std::iota(indices.begin(), indices.end(), uint16_t{0});
    const auto count = static_cast<uint32_t>(indices.size());
    const vsrCorrespondences correspondences = {from.xy.data(), to.xy.data(), 2, 2, indices.data(), count};
    const auto maxSquaredError = static_cast<float>(kMaxPixels * to.scale * kMaxPixels * to.scale);
    Consensus result;
    result.inliers.resize(count);
    std::vector<uint16_t> scratch(count);
    uint32_t inliers = 0;
    float h[9];
    runner.run(
        "homography", count,
        [&]
        {
            return vsrGeomHomographyRobustFitf32(&correspondences, h, maxSquaredError, result.inliers.data(), &inliers,
                                                 scratch.data());
        },
        "match");
    result.inliers.resize(inliers);
    result.homography =
        product(inverse(to.transform), product({h[0], h[1], h[2], h[3], h[4], h[5], h[6], h[7], h[8]}, from.transform));
    std::printf("  %u of %u matches agree on one plane\n", inliers, count);
    return result;
}

// ---- Pictures ----

void drawLine(Picture& rgb, Point a, Point b, const std::array<uint8_t, 3>& color)
{
    const int steps = static_cast<int>(std::max(std::fabs(b.x - a.x), std::fabs(b.y - a.y))) + 1;
    for (int i = 0; i <= steps; ++i)
    {
        const auto x = static_cast<size_t>(a.x + (b.x - a.x) * i / steps);
        const auto y = static_cast<size_t>(a.y + (b.y - a.y) * i / steps);
        std::copy(color.begin(), color.end(), rgb.data() + (y * rgb.width + x) * 3);
    }
}

// Both photographs side by side, every agreeing match joined.
Picture drawMatches(const Picture& first, const Picture& second, const std::vector<Match>& matches,
                    const std::vector<uint16_t>& inliers)
{
    Picture both(first.width + second.width, std::max(first.height, second.height), 3);
    for (const auto& [picture, left] : {std::pair(&first, 0u), std::pair(&second, first.width)})
    {
        for (size_t y = 0; y < picture->height; ++y)
        {
            std::copy_n(picture->data() + y * picture->width * 3, size_t{picture->width} * 3,
                        both.data() + (y * both.width + left) * 3);
        }
    }
    for (const uint16_t inlier : inliers)
    {
        const Match& match = matches[inlier];
        const auto shade = static_cast<uint8_t>(inlier * 37);
        drawLine(both, match.from, {match.to.x + first.width, match.to.y},
                 {static_cast<uint8_t>(255 - shade), 255, shade});
    }
    return both;
}

Picture plane(const Picture& rgb, size_t channel)
{
    Picture gray(rgb.width, rgb.height, 1);
    for (size_t i = 0; i < size_t{rgb.width} * rgb.height; ++i)
    {
        gray.data()[i] = rgb.data()[i * 3 + channel];
    }
    return gray;
}

// The second photograph, with the first, warped, in every other square. A white picture, warped alike, tells where the
// first one reaches to.
Picture overlay(const Picture& first, const Picture& second, const Matrix& homography, Runner& runner)
{
    constexpr size_t kSquare = 80;
    const Matrix back = inverse(homography);
    std::array<float, 9> matrix;
    std::transform(back.begin(), back.end(), matrix.begin(),
                   [&](double element) { return static_cast<float>(element / back[8]); });
    const auto warp = [&](const Picture& from)
    {
        Picture to(second.width, second.height, 1);
        runner.run("vsrWarpPerspectiveu8", size_t{to.width} * to.height,
                   [&] {
                       return vsrWarpPerspectiveu8(from.data(), from.width, from.height, matrix.data(), to.data(),
                                                   to.width, to.height);
                   });
        return to;
    };
    Picture white(first.width, first.height, 1);
    std::fill_n(white.data(), size_t{white.width} * white.height, uint8_t{255});
    const Picture reached = warp(white);
    Picture result = second;
    for (size_t channel = 0; channel < 3; ++channel)
    {
        const Picture warped = warp(plane(first, channel));
        for (size_t i = 0; i < size_t{second.width} * second.height; ++i)
        {
            const size_t square = i % second.width / kSquare + i / second.width / kSquare;
            if (square % 2 == 0 && reached.data()[i] == 255)
            {
                result.data()[i * 3 + channel] = warped.data()[i];
            }
        }
    }
    return result;
}

std::vector<TitledPicture> layOver(const Photograph& first, const Photograph& second, Runner& runner)
{
    const std::vector<Match> matches = matchFeatures(findFeatures(first.gray, Views::kTurned, runner),
                                                     findFeatures(second.gray, Views::kTurned, runner), runner);
    if (matches.size() < 4)
    {
        throw std::runtime_error("the photographs have too little in common");
    }
    const Consensus consensus = fitHomography(matches, runner);
    return {
        {"matches that agree on one plane", drawMatches(first.rgb, second.rgb, matches, consensus.inliers)},
        {"first warped onto second, every other square", overlay(first.rgb, second.rgb, consensus.homography, runner)}};
}

const RegisterPairStages homography({layOver});

// What both views of a stereo camera show lies in one row, in the right view further left.
Picture matchRightView(const Photograph& photograph, Runner& runner)
{
    constexpr double kSameRow = 1;
    const Picture& left = photograph.gray;
    const Picture& right = photograph.rightGray;
    if (right.pixels.empty())
    {
        return Picture();
    }
    const std::vector<Match> matches = matchFeatures(findFeatures(left, Views::kUpright, runner),
                                                     findFeatures(right, Views::kUpright, runner), runner);
    std::vector<uint16_t> agreeing;
    for (size_t i = 0; i < matches.size(); ++i)
    {
        const auto& [from, to] = matches[i];
        if (std::fabs(from.y - to.y) <= kSameRow && to.x <= from.x)
        {
            agreeing.push_back(static_cast<uint16_t>(i));
        }
    }
    std::printf("  %zu of %zu matches lie in one row of both views\n", agreeing.size(), matches.size());
    return drawMatches(toRgb(left), toRgb(right), matches, agreeing);
}

const RegisterStages rightView({{"Matches with the right view", matchRightView}});

}  // namespace
}  // namespace demo
