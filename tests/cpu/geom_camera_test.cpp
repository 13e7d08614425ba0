// Known answers of cameras, poses and models of two views: scenes that are made up.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/correspondences.h"
#include "support/random.h"
#include "visora/variants/geom.h"

namespace visora::test
{
namespace
{

constexpr float kCamera[9] = {500, 0, 320, 0, 510, 240, 0, 0, 1};
constexpr float kLens[5] = {-0.2F, 0.05F, 0.001F, -0.002F, 0.01F};

// A rotation about an axis, by Rodrigues' formula.
std::vector<float> rotation(double x, double y, double z)
{
    const double angle = std::sqrt(x * x + y * y + z * z);
    const double s = std::sin(angle), c = std::cos(angle);
    const double n[3] = {x / angle, y / angle, z / angle};
    const double skew[9] = {0, -n[2], n[1], n[2], 0, -n[0], -n[1], n[0], 0};
    std::vector<float> R(9);
    for (size_t i = 0; i < 9; ++i)
    {
        R[i] = static_cast<float>((i % 4 == 0 ? c : 0) + (1 - c) * n[i / 3] * n[i % 3] + s * skew[i]);
    }
    return R;
}

std::vector<float> randomPoints(size_t floats, double size, uint64_t seed)
{
    Random random(seed);
    std::vector<float> list(floats);
    std::generate(list.begin(), list.end(),
                  [&] { return static_cast<float>(size * (random.between(0, 2000) / 1000.0 - 1)); });
    return list;
}

struct Scene
{
    static constexpr uint32_t kCount = 60;
    std::vector<float> points = randomPoints(size_t{3} * kCount, 1, 1);
    std::vector<float> turn = rotation(0.1, -0.2, 0.3);
    std::vector<float> shift = {0.2F, -0.1F, 4};
    std::vector<float> image = std::vector<float>(size_t{2} * kCount);

    Scene()
    {
        vsrGeomProjectPoint3xNf32(points.data(), kCount, turn.data(), shift.data(), kCamera, nullptr, image.data());
    }
};

void expectNear(const std::vector<float>& expected, const float* actual, double tolerance, const char* what)
{
    for (size_t i = 0; i < expected.size(); ++i)
    {
        EXPECT_NEAR(expected[i], actual[i], tolerance) << what << " " << i;
    }
}

TEST(Cameras, LensesAreUndone)
{
    const Scene scene;
    std::vector<float> seen(scene.image.size()), back(scene.image.size());
    // Distorting what was projected is projecting through the lens.
    ASSERT_EQ(0u, vsrGeomProjectPoint3xNf32(scene.points.data(), Scene::kCount, scene.turn.data(), scene.shift.data(),
                                            kCamera, kLens, seen.data()));
    ASSERT_EQ(0u, vsrGeomDistortPoint2xNf32(scene.image.data(), Scene::kCount, kCamera, kLens, back.data()));
    expectNear(seen, back.data(), 1e-3, "distorted");
    EXPECT_GT(std::fabs(seen[0] - scene.image[0]), 0.1);
    ASSERT_EQ(0u, vsrGeomUndistortPoint2xNf32(seen.data(), Scene::kCount, kCamera, kLens, 30, seen.data()));
    expectNear(scene.image, seen.data(), 1e-2, "undistorted");
}

TEST(Cameras, TwoViewsGiveThePoints)
{
    const Scene scene;
    float projections[2][12];
    const std::vector<float> shifts[2] = {scene.shift, {-0.8F, 0.1F, 4.2F}};
    std::vector<float> images[2] = {scene.image, scene.image};
    for (int view = 0; view < 2; ++view)
    {
        vsrGeomProjectPoint3xNf32(scene.points.data(), Scene::kCount, scene.turn.data(), shifts[view].data(), kCamera,
                                  nullptr, images[view].data());
        for (int i = 0; i < 3; ++i)
        {
            for (int j = 0; j < 4; ++j)
            {
                const auto of = [&](int row) {
                    return j == 3 ? shifts[view][static_cast<size_t>(row)]
                                  : scene.turn[static_cast<size_t>(3 * row + j)];
                };
                projections[view][4 * i + j] =
                    kCamera[3 * i] * of(0) + kCamera[3 * i + 1] * of(1) + kCamera[3 * i + 2] * of(2);
            }
        }
    }
    std::vector<float> found(scene.points.size());
    ASSERT_EQ(0u, vsrGeomTriangulatePoint2xNf32(images[0].data(), images[1].data(), Scene::kCount, projections[0],
                                                projections[1], found.data()));
    expectNear(scene.points, found.data(), 1e-3, "point");

    // And their fundamental matrix has all points on their epipolar lines.
    std::vector<uint16_t> indices(Scene::kCount);
    for (size_t i = 0; i < indices.size(); ++i)
    {
        indices[i] = static_cast<uint16_t>(i);
    }
    // A few wrong ones that the robust fit leaves out.
    std::vector<float> spoilt = images[1];
    for (size_t i = 0; i < 10; ++i)
    {
        spoilt[12 * i] += 60;
        spoilt[12 * i + 1] -= 45;
    }
    for (const bool isRobust : {false, true})
    {
        const vsrCorrespondences corrs = {
            images[0].data(), isRobust ? spoilt.data() : images[1].data(), 2, 2, indices.data(), Scene::kCount};
        float F[9];
        std::vector<uint16_t> inliers(Scene::kCount);
        uint32_t count = 0;
        ASSERT_EQ(0u, isRobust ? vsrGeomFundamentalRobustFitf32(&corrs, F, 0.01F, inliers.data(), &count)
                               : vsrGeomFundamentalFitf32(&corrs, F));
        EXPECT_EQ(isRobust ? 50u : 0u, count);
        for (size_t i = 0; i < Scene::kCount; ++i)
        {
            const double x = images[0][2 * i], y = images[0][2 * i + 1];
            const double u = images[1][2 * i], v = images[1][2 * i + 1];
            const double line[3] = {F[0] * x + F[1] * y + F[2], F[3] * x + F[4] * y + F[5], F[6] * x + F[7] * y + F[8]};
            const double distance = std::fabs(u * line[0] + v * line[1] + line[2]) / std::hypot(line[0], line[1]);
            EXPECT_LT(distance, 0.05) << i;
        }
    }
}

TEST(Cameras, PosesAreFound)
{
    const Scene scene;
    // The homography of a planar target is the camera matrix times two columns of the rotation and the shift.
    float homography[9];
    for (size_t i = 0; i < 3; ++i)
    {
        for (size_t j = 0; j < 3; ++j)
        {
            const auto of = [&](size_t row) { return j == 2 ? scene.shift[row] : scene.turn[3 * row + j]; };
            homography[3 * i + j] =
                -2 * (kCamera[3 * i] * of(0) + kCamera[3 * i + 1] * of(1) + kCamera[3 * i + 2] * of(2));
        }
    }
    float turn[9], shift[3], error = 7;
    ASSERT_EQ(0u, vsrGeomPoseFitPlanarf32(homography, kCamera, turn, shift));
    expectNear(scene.turn, turn, 1e-5, "planar rotation");
    expectNear(scene.shift, shift, 1e-5, "planar shift");

    std::vector<float> spoilt = scene.image;
    spoilt[10] += 80;
    spoilt[51] -= 50;
    for (const vsrLossType loss : {VISORA_LOSS_SQUARE, VISORA_LOSS_HUBER, VISORA_LOSS_TUKEY})
    {
        std::vector<float> start = rotation(0.12, -0.18, 0.33);
        std::vector<float> from = {0.15F, -0.05F, 4.2F};
        const bool isRobust = loss != VISORA_LOSS_SQUARE;
        ASSERT_EQ(0u, vsrGeomPoseRefinef32(scene.points.data(), isRobust ? spoilt.data() : scene.image.data(),
                                           Scene::kCount, kCamera, 50, loss, 10, start.data(), from.data(), &error));
        expectNear(scene.turn, start.data(), loss == VISORA_LOSS_HUBER ? 5e-3 : 1e-4, "rotation");
        expectNear(scene.shift, from.data(), loss == VISORA_LOSS_HUBER ? 2e-2 : 1e-3, "shift");
        EXPECT_EQ(isRobust, error > 1) << error;
    }
    // All points behind the camera.
    const std::vector<float> before = {0, 0, -9};
    std::vector<float> from = before;
    std::vector<float> start = scene.turn;
    EXPECT_EQ(uint32_t{VISORA_EFAIL},
              vsrGeomPoseRefinef32(scene.points.data(), scene.image.data(), Scene::kCount, kCamera, 5,
                                   VISORA_LOSS_SQUARE, 0, start.data(), from.data(), &error));
    EXPECT_EQ(before, from);
    EXPECT_EQ(scene.turn, start);
}

TEST(TwoViews, RigidMotionsAndSimilaritiesAreFound)
{
    const Scene scene;
    std::vector<float> moved(scene.points.size());
    for (size_t i = 0; i < moved.size(); ++i)
    {
        const float* p = &scene.points[i / 3 * 3];
        const float* r = &scene.turn[i % 3 * 3];
        moved[i] = 2.5F * (r[0] * p[0] + r[1] * p[1] + r[2] * p[2]) + scene.shift[i % 3];
    }
    float turn[9], shift[3], scale = 0;
    ASSERT_EQ(0u, vsrGeomRigidFit3xNf32(scene.points.data(), moved.data(), Scene::kCount, 1, turn, shift, &scale));
    expectNear(scene.turn, turn, 1e-5, "rotation");
    expectNear(scene.shift, shift, 1e-4, "shift");
    EXPECT_NEAR(2.5, scale, 1e-5);
    // Mirrored points are turned, never mirrored: the determinant stays 1.
    for (size_t i = 0; i < moved.size(); i += 3)
    {
        moved[i] = -moved[i];
    }
    ASSERT_EQ(0u, vsrGeomRigidFit3xNf32(scene.points.data(), moved.data(), Scene::kCount, 0, turn, shift, &scale));
    const double determinant = turn[0] * (turn[4] * turn[8] - turn[5] * turn[7]) -
                               turn[1] * (turn[3] * turn[8] - turn[5] * turn[6]) +
                               turn[2] * (turn[3] * turn[7] - turn[4] * turn[6]);
    EXPECT_NEAR(1, determinant, 1e-5);
    EXPECT_EQ(1, scale);

    const uint16_t indices[] = {0, 1, 2, 3, 4, 5, 6, 7};
    const std::vector<float> from = randomPoints(16, 1000, 2);
    std::vector<float> to(16);
    for (size_t i = 0; i < 16; i += 2)
    {
        to[i] = 0.6F * from[i] - 0.9F * from[i + 1] + 30;
        to[i + 1] = 0.9F * from[i] + 0.6F * from[i + 1] - 70;
    }
    vsrCorrespondences corrs = {from.data(), to.data(), 2, 2, indices, 8};
    const std::vector<float> expected = {0.6F, -0.9F, 30, 0.9F, 0.6F, -70, 0, 0, 1};
    float model[9];
    ASSERT_EQ(0u, vsrGeomSimilarityFitf32(&corrs, model));
    expectNear(expected, model, 1e-3, "similarity");
    // The affine map is the same, also with a wrong point among them.
    to[6] += 50;
    uint16_t inliers[8];
    uint32_t count = 0;
    ASSERT_EQ(0u, vsrGeomAffineRobustFitf32(&corrs, model, 1, inliers, &count));
    expectNear(expected, model, 1e-3, "affine");
    EXPECT_EQ(7u, count);
    EXPECT_EQ(4, inliers[3]);
    corrs.numIndices = 1;
    EXPECT_EQ(uint32_t{VISORA_EFAIL}, vsrGeomSimilarityFitf32(&corrs, model));
    EXPECT_EQ(0, std::count_if(model, model + 9, [](float v) { return v != 0; }));
}

TEST(TwoViews, RecordsThatAreNoGoodAreRefused)
{
    CorrespondenceSet set({20}, 1);
    float model[9] = {7};
    uint16_t inliers[20] = {7};
    uint32_t count = 7;
    float errors[20] = {7};
    const float affine[6] = {1, 0, 0, 0, 1, 0};
    const auto refused = [&](vsrCorrespondences record)
    {
        EXPECT_EQ(3u, vsrGeomSimilarityFitf32(&record, model));
        EXPECT_EQ(3u, vsrGeomFundamentalFitf32(&record, model));
        EXPECT_EQ(3u, vsrGeomAffineRobustFitf32(&record, model, 1, inliers, &count));
        EXPECT_EQ(3u, vsrGeomFundamentalRobustFitf32(&record, model, 1, inliers, &count));
        EXPECT_EQ(3, vsrGeomAffineEvaluatef32_v2(&record, affine, 1, inliers, &count, errors));
        EXPECT_TRUE(model[0] == 7 && inliers[0] == 7 && count == 7 && errors[0] == 7);
    };
    const vsrCorrespondences good = set.record();
    for (const size_t spoilt : {0u, 1u, 2u, 3u, 4u})
    {
        vsrCorrespondences record = good;
        record.from = spoilt == 0 ? nullptr : record.from;
        record.to = spoilt == 1 ? nullptr : record.to;
        record.indices = spoilt == 2 ? nullptr : record.indices;
        record.fromStride = spoilt == 3 ? 1 : record.fromStride;
        record.toStride = spoilt == 4 ? 1 : record.toStride;
        refused(record);
        record.numIndices = 0;
        refused(record);
    }
    set.to[39] = std::numeric_limits<float>::infinity();
    refused(set.record());
    EXPECT_EQ(3u, vsrGeomAffineRobustFitf32(&good, model, -1, inliers, &count));
}

}  // namespace
}  // namespace visora::test
