// The robust fit, its random numbers and its bounds.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

#include "common/hardware_double.h"
#include "support/correspondences.h"
#include "visora/memory.h"

namespace visora::test
{
namespace
{

TEST(RandomNumbers, AreTheMinimalStandard)
{
    EXPECT_EQ(0u, randValue(5));
    EXPECT_EQ(84035u, randValue(0));
    EXPECT_EQ(0u, randValue(1));
    uint32_t last = 0;
    for (int i = 0; i < 10000; ++i)
    {
        last = randValue(-i);
    }
    EXPECT_EQ(1043618065u, last) << "the number that its authors publish";
    randValue(0x7fffffff);
    EXPECT_EQ(0x7fffffffu, randValue(0));
    randValue(0x7ffffffe);
    EXPECT_EQ(0x7fffffffu - 16807, randValue(0));
}

TEST(RandomNumbers, BoundsOnIterations)
{
    const struct
    {
        int points, limit;
        float confidence, ratio;
        uint32_t expected;
    } cases[] = {
        {4, 1500, 0.995f, 1, 0},        {4, 1500, 0.995f, 0, 1500},
        {4, 1500, 0.995f, 0.5f, 82},    {4, 82, 0.995f, 0.5f, 82},
        {4, 81, 0.995f, 0.5f, 81},      {2, 100, 0.99f, 0.7f, 7},
        {1, 100, 0.75f, 0.5f, 2},       {1, 100, 1, 0.5f, 23},
        {1, 100, 2, 0.5f, 23},          {8, 2000, 0.99f, 0.3f, 2000},
        {4, 100, 0.9f, 1.5f, 0},        {4, 100, 0.9f, -1, 100},
        {4, 100, 0, 0.5f, 0},           {4, 100, 0, 0, 0},
        {4, 100, 0.9f, NAN, 100},       {0, 100, 0.9f, 0, 0},
        {-3, 100, 0.9f, 0.5f, 0},       {4, 0, 0.9f, 0.5f, 0},
        {3, 100000, 0.99f, 0.1f, 4603}, {4, 100, 0.9f, 0.99999999f, 0},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(c.expected, updateNumIters(c.points, c.limit, c.confidence, c.ratio))
            << c.points << " " << c.limit << " " << c.confidence << " " << c.ratio;
    }
}

TEST(Normalisation, CentresAndScales)
{
    float x[] = {10, 12, 10, 12, 11};
    float y[] = {-5, -5, -3, -3, -4};
    float transform[3] = {7, 7, 7};
    normalise2dpts(x, y, transform, 0);
    EXPECT_EQ(7, transform[0]);
    // Distances from (11, -4): four times sqrt(2), and 0.
    normalise2dpts(x, y, transform, 5);
    EXPECT_FLOAT_EQ(1.25f, transform[0]);
    EXPECT_FLOAT_EQ(-13.75f, transform[1]);
    EXPECT_FLOAT_EQ(5, transform[2]);
    const float expectedX[] = {-1.25f, 1.25f, -1.25f, 1.25f, 0};
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_FLOAT_EQ(expectedX[i], x[i]);
    }
    EXPECT_FLOAT_EQ(-1.25f, y[0]);
    float same[] = {3, 3, 3};
    float alsoSame[] = {4, 4, 4};
    normalise2dpts(same, alsoSame, transform, 3);
    EXPECT_EQ(1, transform[0]);
    EXPECT_EQ(-4, transform[2]);
    EXPECT_EQ(0, same[1]);
}

// ---- The robust fit ----

struct Robust
{
    std::array<float, 9> homography;
    std::vector<uint16_t> inliers;
    std::vector<float> errors;
    vsrStatus status;
    uint32_t nextRandom;

    bool operator==(const Robust&) const = default;
};

void PrintTo(const Robust& robust, std::ostream* out)
{
    *out << "status " << robust.status << ", " << robust.inliers.size() << " inliers, next number " << robust.nextRandom
         << ", h0 " << robust.homography[0];
}

using RobustFunction = decltype(&vsrGeomHomographyRobustFitf32_v2);

Robust robustFit(const vsrCorrespondences& record, float maxsqerr,
                 RobustFunction fit = vsrGeomHomographyRobustFitf32_v2)
{
    Robust result = {};
    const size_t room = record.numIndices + size_t{1};  // no list is null
    std::vector<uint16_t> scratch(room);
    result.inliers.resize(room);
    result.errors.resize(room);
    uint32_t count = 999;
    result.homography.fill(7);
    result.status = fit(&record, result.homography.data(), maxsqerr, result.inliers.data(), &count, scratch.data(),
                        result.errors.data());
    result.inliers.resize(count);
    result.errors.resize(count);
    result.nextRandom = randValue(0);
    return result;
}

// The robust fit step by step, from public functions.
Robust stepByStep(const vsrCorrespondences& record, float maxsqerr)
{
    Robust best = {};
    best.status = 1;
    randValue(200);
    uint32_t limit = 1500;
    for (uint32_t iteration = 0; iteration < limit; ++iteration)
    {
        std::vector<uint32_t> places;
        for (int draw = 0; draw < 199 && places.size() < 4; ++draw)
        {
            const uint32_t place = randValue(0) % record.numIndices;
            if (std::find(places.begin(), places.end(), place) == places.end())
            {
                places.push_back(place);
            }
        }
        if (places.size() < 4)
        {
            break;
        }
        std::vector<uint16_t> points(places.size());
        std::transform(places.begin(), places.end(), points.begin(),
                       [&](uint32_t place) { return record.indices[place]; });
        vsrCorrespondences sample = record;
        sample.indices = points.data();
        sample.numIndices = 4;
        float model[9];
        vsrGeomHomographyFitf32(&sample, model);
        std::vector<uint16_t> inliers(record.numIndices);
        std::vector<float> errors(record.numIndices);
        uint32_t count = 0;
        vsrGeomHomographyEvaluatef32_v2(&record, model, maxsqerr, inliers.data(), &count, errors.data());
        if (count > std::max<size_t>(best.inliers.size(), 3))
        {
            inliers.resize(count);
            errors.resize(count);
            best.inliers = inliers;
            best.errors = errors;
            best.status = 0;
            limit = updateNumIters(4, static_cast<int>(limit), 0.995f,
                                   static_cast<float>(count) / static_cast<float>(record.numIndices));
        }
    }
    if (best.status == 0)
    {
        vsrCorrespondences consensus = record;
        consensus.indices = best.inliers.data();
        consensus.numIndices = static_cast<uint32_t>(best.inliers.size());
        vsrGeomHomographyFitf32(&consensus, best.homography.data());
    }
    best.nextRandom = randValue(0);
    return best;
}

TEST(RobustFit, IsTheLoopOfItsSteps)
{
    for (const auto& [count, layout] : {std::pair(4u, Layout::Plane),
                                        {7u, Layout::Plane},
                                        {30u, Layout::Grid},
                                        {100u, Layout::Plane},
                                        {20u, Layout::Line},
                                        {12u, Layout::OnePoint}})
    {
        for (const double scale : {1.0, kTypicalPixels})
        {
            for (const double outliers : {0.0, 0.3, 0.6, 0.8})
            {
                CorrespondenceRecipe recipe = typicalRecipe(count, scale, outliers);
                recipe.layout = layout;
                CorrespondenceSet set(recipe, count);
                set.indices.back() = set.indices.front();
                const float maxsqerr = typicalMaxSquaredError(scale);
                const Robust expected = stepByStep(set.record(), maxsqerr);
                for (const auto fit : {vsrGeomHomographyRobustFitf32_v2C, vsrGeomHomographyRobustFitf32_v2V})
                {
                    EXPECT_EQ(expected, robustFit(set.record(), maxsqerr, fit)) << count << " " << outliers;
                }
            }
        }
    }
}

TEST(RobustFit, FindsTheModelAmongOutliers)
{
    for (const double scale : {1.0, 30.0, kTypicalPixels})
    {
        for (const uint32_t count : {50u, 200u, 1000u})
        {
            for (const double outliers : {0.0, 0.2, 0.4, 0.6})
            {
                CorrespondenceRecipe recipe = typicalRecipe(count, scale, outliers);
                recipe.fromStride = 5;
                recipe.toStride = 4;
                const CorrespondenceSet set(recipe, count);
                const Robust result = robustFit(set.record(), typicalMaxSquaredError(scale));
                EXPECT_EQ(0u, result.status);
                EXPECT_EQ(1, result.homography[8]);
                // Noise is half a pixel in each direction.
                EXPECT_LT(set.error(result.homography) * kTypicalPixels / scale, 0.9)
                    << scale << " " << count << " " << outliers;
                const auto good = std::count_if(result.inliers.begin(), result.inliers.end(),
                                                [&](uint16_t point) { return !set.isOutlier[point]; });
                EXPECT_GT(static_cast<double>(good), 0.6 * (1 - outliers) * count);
                EXPECT_GT(static_cast<double>(good), 0.95 * static_cast<double>(result.inliers.size()));
                EXPECT_TRUE(std::is_sorted(result.inliers.begin(), result.inliers.end()));
            }
        }
    }
}

TEST(RobustFit, GivesUpOnTooFewOrNoModel)
{
    const CorrespondenceSet plane({9}, 1);
    for (uint32_t count = 0; count < 4; ++count)
    {
        vsrCorrespondences few = plane.record();
        few.numIndices = count;
        randValue(200);
        const auto numberAfter = [](int draws)
        {
            randValue(200);
            while (draws-- > 0)
            {
                randValue(0);
            }
            return randValue(0);
        };
        const Robust result = robustFit(few, 1);
        EXPECT_EQ((Robust{{}, {}, {}, 1, count == 0 ? numberAfter(0) : numberAfter(199)}), result) << count;
    }
    const CorrespondenceSet onePoint({50, Layout::OnePoint}, 1);
    const Robust none = robustFit(onePoint.record(), NAN);
    EXPECT_EQ(1u, none.status);
    EXPECT_EQ((std::array<float, 9>{}), none.homography);
    EXPECT_TRUE(none.inliers.empty());
}

TEST(RobustFit, DoesWithoutScratchMemory)
{
    const CorrespondenceSet set(typicalRecipe(60, 1, 0.4), 5);
    const Robust expected = robustFit(set.record(), typicalMaxSquaredError(1));
    const auto get = vsrGetScratchBufferAligned_;
    vsrGetScratchBufferAligned_ = [](size_t, uint32_t) -> void* { return nullptr; };
    EXPECT_EQ(expected, robustFit(set.record(), typicalMaxSquaredError(1), vsrGeomHomographyRobustFitf32_v2V));
    vsrGetScratchBufferAligned_ = get;
}

CHILD_TEST(RobustFit, ThreadsDoNotDisturbEachOther)
{
    const CorrespondenceSet set(typicalRecipe(80, kTypicalPixels, 0.5), 5);
    const Robust expected = robustFit(set.record(), typicalMaxSquaredError(kTypicalPixels));
    std::vector<Robust> results(4);
    inThreads(4,
              [&](int thread)
              {
                  for (int round = 0; round < 20; ++round)
                  {
                      results[static_cast<size_t>(thread)] = robustFit(
                          set.record(), typicalMaxSquaredError(kTypicalPixels),
                          thread % 2 == 0 ? vsrGeomHomographyRobustFitf32_v2C : vsrGeomHomographyRobustFitf32_v2V);
                  }
              });
    for (Robust& result : results)
    {
        result.nextRandom = expected.nextRandom;  // theirs is anybody's
        EXPECT_EQ(expected, result);
    }
}

// FNV-1a over everything that fits give; the same on every processor.
TEST(RobustFit, BitsAreTheSameEverywhere)
{
    uint64_t hash = 0xcbf29ce484222325u;
    const auto add = [&hash](uint32_t word) { hash = (hash ^ word) * 0x100000001b3u; };
    const auto addFloats = [&add](const auto& values)
    { std::for_each(values.begin(), values.end(), [&](float value) { add(std::bit_cast<uint32_t>(value)); }); };
    for (const double scale : {1.0, 30.0, kTypicalPixels})
    {
        for (const double outliers : {0.0, 0.5})
        {
            CorrespondenceSet set(typicalRecipe(90, scale, outliers), 3);
            // Compilers may round the making of the set in their own ways.
            for (std::vector<float>* points : {&set.from, &set.to})
            {
                std::for_each(points->begin(), points->end(),
                              [](float& value) { value = std::round(value * 1024) / 1024; });
            }
            const Robust robust = robustFit(set.record(), typicalMaxSquaredError(scale));
            addFloats(robust.homography);
            addFloats(robust.errors);
            std::for_each(robust.inliers.begin(), robust.inliers.end(), add);
            add(robust.nextRandom);
            for (const auto fit : {vsrGeomHomographyFitf32, vsrGeomHomographyFitDPf32, vsrGeomAffineFitf32})
            {
                std::array<float, 9> model;
                const vsrCorrespondences record = set.record();
                fit(&record, model.data());
                addFloats(model);
            }
        }
    }
    for (int i = 1; i < 1000; ++i)
    {
        add(updateNumIters(4, 1000000, 0.99f, static_cast<float>(i) / 1000));
    }
    EXPECT_EQ(0x60aae0f37d372488u, hash);
}

}  // namespace
}  // namespace visora::test
