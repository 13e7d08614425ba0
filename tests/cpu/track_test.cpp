// What the trackers find, and what their parts compute.
#include "visora/variants/track.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "common/hardware_double.h"
#include "support/instruction_sets.h"
#include "support/random.h"
#include "support/track_judge.h"
#include "visora/memory.h"

namespace visora::test
{
namespace
{

using Tracker = decltype(&vsrTrackLKOpticalFlowu8_v3C);

struct Variant
{
    const char* name;
    Tracker track;
};
constexpr Variant kVariants[] = {{"reference", vsrTrackLKOpticalFlowu8_v3C}, {"vector", vsrTrackLKOpticalFlowu8_v3V}};

struct Search
{
    int32_t windowWidth = 15;
    int32_t windowHeight = 15;
    int32_t levels = 3;
    int32_t iterations = 30;
    int32_t criteria = VISORA_TRACK_UNTIL_ITERATIONS;
    float epsilon = 0;
};

struct Tracks
{
    std::vector<float> xy;
    std::vector<int32_t> status;

    bool operator==(const Tracks& other) const
    {
        // The same bits: positions may be no numbers.
        return status == other.status && xy.size() == other.xy.size() &&
               std::memcmp(xy.data(), other.xy.data(), xy.size() * sizeof(float)) == 0;
    }
    Position at(size_t i) const { return {xy[2 * i], xy[2 * i + 1]}; }
};

Tracks run(Tracker track, const Frame& first, const Frame& second, const std::vector<float>& points, const Search& s)
{
    Tracks tracks = {std::vector<float>(points.size(), -1), std::vector<int32_t>(points.size() / 2, 99)};
    EXPECT_EQ(0u, track(first.data(), second.data(), first.width(), first.height(), first.width(),
                        first.pyramid().data(), second.pyramid().data(), points.data(), tracks.xy.data(),
                        tracks.status.data(), static_cast<int32_t>(tracks.status.size()), s.windowWidth, s.windowHeight,
                        s.iterations, s.levels, s.criteria, s.epsilon, 0));
    return tracks;
}

// Noise, smoothed, in whole numbers: the same frame on every machine. `left` is in eighths of pixels.
std::vector<uint8_t> smoothNoise(uint32_t width, uint32_t height, uint32_t left, uint64_t seed)
{
    constexpr uint32_t kRowSize = 1024;
    Random random(seed);
    std::vector<uint32_t> noise(size_t{kRowSize} * (height + 8));
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<uint32_t>(random.next() & 0xff); });
    std::vector<uint8_t> pixels;
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = left; x < left + 8 * width; x += 8)
        {
            // A box of 8 x 8.
            uint32_t sum = 0;
            for (uint32_t i = 0; i < 64; ++i)
            {
                const size_t at = size_t{y + i / 8} * kRowSize + x / 8 + i % 8;
                sum += noise[at] * (8 - x % 8) + noise[at + 1] * (x % 8);
            }
            pixels.push_back(static_cast<uint8_t>(std::clamp((static_cast<int>(sum) / 512 - 127) * 4 + 127, 0, 255)));
        }
    }
    return pixels;
}

std::vector<float> gridPoints(uint32_t width, uint32_t height, float from, float step)
{
    const auto count = [=](uint32_t side)
    { return static_cast<int>(std::ceil((static_cast<float>(side) - 2 * from) / step)); };
    std::vector<float> points;
    for (int i = 0; i < count(width) * count(height); ++i)
    {
        points.push_back(from + static_cast<float>(i % count(width)) * step);
        const int row = i / count(width);
        points.push_back(from + static_cast<float>(row) * step);
    }
    return points;
}

const FramePair& film(const Motion& motion)
{
    static std::vector<FramePair> films;
    for (const FramePair& pair : films)
    {
        if (pair.motion == motion)
        {
            return pair;
        }
    }
    films.reserve(16);
    films.push_back(filmScene(320, 240, 5, motion, 2));
    return films.back();
}

constexpr Position kCentre = {160, 120};
// Turns and zooms that hardly move a window's edges against its middle, which is all that one displacement can follow.
const Motion kMotions[] = {
    {{}, 0, 1, {0.5, 0}},         {{}, 0, 1, {-3.25, 2.7}}, {{}, 0, 1, {11.4, -7.9}},    {kCentre, 0.002, 1, {}},
    {kCentre, -0.002, 1, {2, 1}}, {kCentre, 0, 1.002, {}},  {kCentre, 0, 0.998, {1, 4}},
};

// ---- The trackers ----

TEST(Track, FindsKnownMotions)
{
    // Levels of gray per pixel, squared, in the direction with least of it.
    constexpr double kEnoughTexture = 80;
    constexpr Search kThorough = {15, 15, 4, 50, VISORA_TRACK_UNTIL_BOTH, 1e-6f};
    for (const Motion& motion : kMotions)
    {
        const FramePair& frames = film(motion);
        const std::vector<float> points = gridPoints(320, 240, 24, 11.3f);
        std::vector<size_t> textured;
        for (size_t i = 0; i < points.size() / 2; ++i)
        {
            const Position from = {points[2 * i], points[2 * i + 1]};
            if (judge(frames.first, frames.first, from, {7, 7, 1, 1}).texture > kEnoughTexture)
            {
                textured.push_back(i);
            }
        }
        EXPECT_GT(textured.size(), 30u);
        for (const Variant& variant : kVariants)
        {
            const Tracks tracks = run(variant.track, frames.first, frames.second, points, kThorough);
            for (const size_t i : textured)
            {
                const Position from = {points[2 * i], points[2 * i + 1]};
                EXPECT_EQ(1, tracks.status[i]);
                EXPECT_LT(distance(motion(from), tracks.at(i)), 0.05)
                    << variant.name << " " << from.x << "," << from.y << " angle " << motion.angle << " zoom "
                    << motion.zoom << " shift " << motion.shift.x;
            }
        }
    }
}

// Everywhere, also where windows cross edges or leave the image.
TEST(Track, AgreesWithTheJudge)
{
    struct Case
    {
        const char* what;
        Search search;
        JudgeRules rules;
    };
    const Case cases[] = {
        {"usual", {}, {}},
        {"one level", {15, 15, 1}, {7, 7, 1}},
        {"five levels", {15, 15, 5}, {7, 7, 5}},
        {"flat window", {21, 5, 2}, {10, 2, 2}},
        {"tall window", {5, 31, 4}, {2, 15, 4}},
        {"one iteration", {9, 9, 3, 1}, {4, 4, 3, 1}},
        {"large steps will do", {9, 9, 2, 30, VISORA_TRACK_UNTIL_EPSILON, 0.5f}, {4, 4, 2, 30, 0.5}},
        {"to the end", {15, 15, 3, 100, VISORA_TRACK_UNTIL_BOTH, 0}, {7, 7, 3, 100, 0}},
    };
    const FramePair& frames = film(kMotions[2]);
    const std::vector<float> points = gridPoints(320, 240, -9.6f, 27.7f);
    for (const Case& c : cases)
    {
        std::vector<Verdict> verdicts;
        for (size_t i = 0; i < points.size(); i += 2)
        {
            verdicts.push_back(judge(frames.first, frames.second, {points[i], points[i + 1]}, c.rules));
        }
        for (const Variant& variant : kVariants)
        {
            const Tracks tracks = run(variant.track, frames.first, frames.second, points, c.search);
            std::vector<double> differences;
            size_t others = 0;
            for (size_t i = 0; i < verdicts.size(); ++i)
            {
                others += verdicts[i].status != tracks.status[i];
                differences.push_back(distance(verdicts[i].position, tracks.at(i)));
            }
            // Where a step is nearly as long as epsilon, or a point at an edge of an image, the last bits decide.
            std::sort(differences.begin(), differences.end());
            EXPECT_LE(others, verdicts.size() / 50) << c.what << ", " << variant.name;
            EXPECT_LT(differences[differences.size() * 9 / 10], 0.002) << c.what << ", " << variant.name;
        }
    }
}

TEST(Track, StaysWhereNothingMoves)
{
    const Frame& frame = film(kMotions[0]).first;
    const std::vector<float> points = gridPoints(320, 240, 1.125f, 17.375f);
    for (const Variant& variant : kVariants)
    {
        for (const int32_t levels : {0, 1, 2, 5})
        {
            const Tracks tracks = run(variant.track, frame, frame, points, {11, 11, levels});
            EXPECT_EQ(points, tracks.xy) << variant.name << ", " << levels << " levels";
            EXPECT_EQ(std::vector<int32_t>(points.size() / 2, 1), tracks.status);
        }
    }
}

TEST(Track, TellsWhyAPointIsLost)
{
    // Flat on the left, textured on the right.
    std::vector<uint8_t> pixels = smoothNoise(256, 128, 0, 5);
    for (size_t i = 0; i < pixels.size(); ++i)
    {
        pixels[i] = i % 256 < 128 ? 77 : pixels[i];
    }
    const Frame frame(pixels, 256, 128, 8);
    struct Case
    {
        const char* what;
        Position from;
        int32_t levels;
        int32_t status;
    };
    const Case cases[] = {
        {"flat", {40, 64}, 1, -2},
        {"flat at the coarsest level", {12, 64}, 4, -2},
        {"textured", {200.5, 64.25}, 4, 1},
        {"window ends before the image", {-8.5, 64}, 1, -4},
        {"window begins behind the image", {264, 64}, 1, -4},
        {"above", {200, -8.001}, 1, -4},
        {"below", {200, 135.5}, 1, -4},
        {"one column inside", {262.875, 64}, 1, 1},
        {"outside at the finest level only", {200, -8.5}, 2, -4},
        {"far away", {1e30, 64}, 3, -4},
        {"eight levels, the last of two pixels", {200, 64}, 8, -2},
    };
    for (const Case& c : cases)
    {
        const std::vector<float> point = {static_cast<float>(c.from.x), static_cast<float>(c.from.y)};
        for (const Variant& variant : kVariants)
        {
            const Tracks tracks = run(variant.track, frame, frame, point, {15, 15, c.levels});
            EXPECT_EQ(c.status, tracks.status[0]) << c.what << ", " << variant.name;
            EXPECT_EQ(point, tracks.xy) << c.what << ", " << variant.name;
        }
    }
    const std::vector<float> nowhere = {NAN, 64, 200, INFINITY};
    for (const Variant& variant : kVariants)
    {
        EXPECT_EQ((std::vector<int32_t>{-4, -4}), run(variant.track, frame, frame, nowhere, {}).status);
    }
}

TEST(Track, KeepsThePlaceWhereAPointWasLost)
{
    // All moves by two pixels to the right. At the coarser level the window reaches into the image, at the finer one it
    // ends before it.
    const Frame first(smoothNoise(256, 128, 16, 5), 256, 128, 2);
    const Frame second(smoothNoise(256, 128, 0, 5), 256, 128, 2);
    for (const Variant& variant : kVariants)
    {
        const Tracks tracks = run(variant.track, first, second, {-4.5f, 64}, {9, 9, 2});
        EXPECT_EQ(-4, tracks.status[0]) << variant.name;
        EXPECT_LT(distance({-2.5, 64}, tracks.at(0)), 0.3) << variant.name;
    }
}

TEST(Track, EndsByItsCriteria)
{
    const FramePair& frames = film(kMotions[2]);
    const std::vector<float> points = gridPoints(320, 240, 15, 23);
    constexpr int32_t kUnknown = 7;
    struct Case
    {
        const char* what;
        Search one;
        Search other;
        bool equal;
    };
    const auto search = [](int32_t iterations, int32_t criteria, float epsilon) -> Search
    { return {15, 15, 1, iterations, criteria, epsilon}; };
    const Case cases[] = {
        {"no iterations are one", search(0, 0, 0), search(1, 0, 0), true},
        {"negative iterations are one", search(-5, 2, 0), search(1, 2, 0), true},
        {"one is not two", search(1, 0, 0), search(2, 0, 0), false},
        {"at most a hundred", search(1000, 2, 0), search(100, 2, 0), true},
        {"iterations alone use 0.0009", search(30, 0, 5), search(30, 2, 0.0009f), true},
        {"epsilon alone has 30 iterations", search(1, 1, 0.0009f), search(30, 0, 0), true},
        {"unknown criteria are both", search(4, kUnknown, 0.01f), search(4, 2, 0.01f), true},
        {"negative epsilon is 0", search(9, 2, -3), search(9, 2, 0), true},
        {"epsilon is 10 at most", search(9, 2, 10), search(9, 2, 1e9f), true},
        {"epsilon matters", search(30, 2, 0.3f), search(30, 2, 0.0001f), false},
    };
    for (const Case& c : cases)
    {
        for (const Variant& variant : kVariants)
        {
            const bool equal = run(variant.track, frames.first, frames.second, points, c.one) ==
                               run(variant.track, frames.first, frames.second, points, c.other);
            EXPECT_EQ(c.equal, equal) << c.what << ", " << variant.name;
        }
    }
}

// FNV-1a over the bits.
uint64_t hashOf(const Tracks& tracks)
{
    uint64_t hash = 0xcbf29ce484222325u;
    const auto add = [&](uint32_t word)
    {
        for (int i = 0; i < 4; ++i)
        {
            hash = (hash ^ ((word >> (8 * i)) & 0xff)) * 0x100000001b3u;
        }
    };
    for (size_t i = 0; i < tracks.xy.size(); ++i)
    {
        uint32_t bits;
        std::memcpy(&bits, &tracks.xy[i], 4);
        add(bits);
        add(static_cast<uint32_t>(tracks.status[i / 2]));
    }
    return hash;
}

TEST(Track, GivesTheSameBitsOnEveryMachine)
{
    const Frame first(smoothNoise(480, 160, 0, 9), 480, 160, 4);
    const Frame second(smoothNoise(480, 160, 13, 9), 480, 160, 4);
    const std::vector<float> points = gridPoints(480, 160, -3.5f, 8.6875f);
    struct Case
    {
        Search search;
        uint64_t hash;
    };
    const Case cases[] = {
        {{5, 5, 1}, 4820550363492227769u},
        {{9, 9, 3}, 12345430730437951852u},
        {{21, 21, 3}, 5807836796517139866u},
        {{13, 35, 4}, 7952530391418885227u},
        {{15, 15, 2, 100, VISORA_TRACK_UNTIL_BOTH, 0}, 2308232556985986095u},
    };
    for (const Case& c : cases)
    {
        const auto expected = [&] { return std::to_string(c.search.windowWidth) + " columns"; };
        EXPECT_EQ(c.hash, hashOf(run(vsrTrackLKOpticalFlowu8_v3C, first, second, points, c.search))) << expected();
        for (const int64_t set : instructionSets())
        {
            const UseInstructionSet use(set);
            EXPECT_EQ(c.hash, hashOf(run(vsrTrackLKOpticalFlowu8_v3V, first, second, points, c.search)))
                << expected() << ", " << hwy::TargetName(set);
        }
    }
}

// A level of u8 pixels as f32, with a stride.
class FloatPyramid
{
  public:
    FloatPyramid(const Frame& frame, size_t padding)
    {
        for (const vsrPyramidLevel_v2& level : frame.pyramid())
        {
            const size_t pitch = level.width + padding;
            std::vector<float>& pixels = levels_.emplace_back(pitch * level.height, NAN);
            for (size_t i = 0; i < size_t{level.width} * level.height; ++i)
            {
                pixels[i / level.width * pitch + i % level.width] = static_cast<const uint8_t*>(level.ptr)[i];
            }
            records_.push_back({pixels.data(), level.width, level.height, static_cast<uint32_t>(pitch * 4)});
        }
    }

    const float* base() const { return levels_[0].data(); }
    const vsrPyramidLevel_v2* records() const { return records_.data(); }

  private:
    std::vector<std::vector<float>> levels_;
    std::vector<vsrPyramidLevel_v2> records_;
};

TEST(Track, FloatImagesOfWholeNumbersGiveTheBitsOfByteImages)
{
    const FramePair& frames = film(kMotions[1]);
    const FloatPyramid first(frames.first, 3);
    const FloatPyramid second(frames.second, 8);
    const std::vector<float> points = gridPoints(320, 240, -2, 11.7f);
    const Tracks expected = run(vsrTrackLKOpticalFlowu8_v3C, frames.first, frames.second, points, {});
    for (const auto track : {vsrTrackLKOpticalFlowf32C, vsrTrackLKOpticalFlowf32V, vsrTrackLKOpticalFlowf32})
    {
        Tracks tracks = {std::vector<float>(points.size()), std::vector<int32_t>(points.size() / 2)};
        EXPECT_EQ(0u, track(first.base(), second.base(), 320, 240, first.records()->stride, first.records(),
                            second.records(), points.data(), tracks.xy.data(), tracks.status.data(),
                            static_cast<int32_t>(tracks.status.size()), 15, 15, 30, 3));
        EXPECT_TRUE(expected == tracks);
    }
}

CHILD_TEST(TrackThreads, MayTrackAtOnce)
{
    const FramePair& frames = film(kMotions[3]);
    const auto points = [](size_t i) { return gridPoints(320, 240, 20 + static_cast<float>(i), 41); };
    for (const Variant& variant : kVariants)
    {
        std::vector<Tracks> expected(4);
        std::vector<Tracks> found(4);
        for (size_t i = 0; i < found.size(); ++i)
        {
            expected[i] = run(variant.track, frames.first, frames.second, points(i), {});
        }
        inThreads(4,
                  [&](int thread)
                  {
                      const auto i = static_cast<size_t>(thread);
                      for (int round = 0; round < 2; ++round)
                      {
                          found[i] = run(variant.track, frames.first, frames.second, points(i), {});
                      }
                  });
        EXPECT_EQ(expected, found) << variant.name;
    }
}

// ---- Their parts ----

TEST(TrackParts, SampleBetweenPixels)
{
    // 10 x + 40 y, four by three pixels in rows of five bytes.
    const uint8_t image[] = {0, 10, 20, 30, 255, 40, 50, 60, 70, 255, 80, 90, 100, 110};
    struct Case
    {
        float x;
        float y;
        double expected;
    };
    const Case cases[] = {
        {1.5f, 0.5f, 35}, {1.25f, 1.75f, 82.5}, {0, 0, 0.001},   // a column has a little of its right neighbour
        {3, 2, 110},      {2.5f, 1, 65},        {-7, 0.5f, 20},  // outside, the nearest pixel
        {9.5f, 1.5f, 90}, {1.5f, -40, 15},      {1.5f, 70.3f, 95}, {-3e9f, 1e12f, 80},
    };
    for (const Case& c : cases)
    {
        float sample = -1;
        EXPECT_EQ(0u, getRectSubPix(image, 4, 3, 5, &sample, 1, 1, c.x, c.y));
        EXPECT_NEAR(c.expected, sample, 2e-5) << c.x << "," << c.y;
    }
    float patch[6];
    EXPECT_EQ(0u, getRectSubPix(image, 4, 3, 5, patch, 3, 2, 1.5f, 1));
    const double expected[] = {25, 35, 45, 65, 75, 85};
    for (size_t i = 0; i < 6; ++i)
    {
        EXPECT_NEAR(expected[i] - 0, patch[i], 2e-5) << i;
    }
    struct Refusal
    {
        uint32_t width;
        uint32_t height;
        int32_t patchWidth;
        int32_t patchHeight;
    };
    for (const Refusal& r :
         {Refusal{4, 3, 0, 2}, {4, 3, 3, 0}, {4, 3, -1, 2}, {4, 3, 3, -7}, {0, 3, 3, 2}, {4, 0, 3, 2}})
    {
        float untouched = 5;
        EXPECT_EQ(0xffffffffu,
                  getRectSubPix(image, r.width, r.height, 5, &untouched, r.patchWidth, r.patchHeight, 1, 1));
        EXPECT_EQ(5, untouched);
    }
}

TEST(TrackParts, DifferentiatePatches)
{
    using Differentiate = decltype(&calcIxIy_32fC);
    std::vector<float> speck(25);
    speck[12] = 32;
    const std::vector<float> acrossSpeck = {3, 0, -3, 10, 0, -10, 3, 0, -3};
    const std::vector<float> downSpeck = {3, 10, 3, 0, 0, 0, -3, -10, -3};
    for (const Differentiate differentiate : {calcIxIy_32fC, calcIxIy_32fV})
    {
        std::vector<float> ix(9);
        std::vector<float> iy(9);
        differentiate(speck.data(), ix.data(), iy.data(), 5, 5);
        EXPECT_EQ(acrossSpeck, ix);
        EXPECT_EQ(downSpeck, iy);
    }
    Random random(3);
    for (uint32_t width = 1; width < 40; ++width)
    {
        const uint32_t height = random.between(1, 9);
        const size_t inner = width < 3 || height < 3 ? 0 : size_t{width - 2} * (height - 2);
        std::vector<float> patch(size_t{width} * height);
        std::generate(patch.begin(), patch.end(), [&] { return static_cast<float>(random.next() & 0xffff) / 173; });
        std::vector<float> expected(2 * inner + 1, 7);
        std::vector<float> found(2 * inner + 1, 7);
        calcIxIy_32fC(patch.data(), expected.data(), expected.data() + inner, width, height);
        for (const int64_t set : instructionSets())
        {
            const UseInstructionSet use(set);
            calcIxIy_32fV(patch.data(), found.data(), found.data() + inner, width, height);
            EXPECT_EQ(expected, found) << width << "x" << height << ", " << hwy::TargetName(set);
        }
        EXPECT_EQ(7, expected.back());
    }
}

}  // namespace
}  // namespace visora::test
