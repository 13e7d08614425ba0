// How to call the operations on cameras and points in space.
#include <algorithm>
#include <cmath>
#include <limits>

#include "support/floats.h"
#include "support/operations.h"
#include "visora/variants/geom.h"

namespace visora::test
{

namespace
{

constexpr float kCamera[9] = {500, 0, 320, 0, 510, 240, 0, 0, 1};
constexpr float kLens[5] = {-0.2F, 0.05F, 0.001F, -0.002F, 0.01F};
constexpr float kTurn[9] = {0.96F, -0.28F, 0, 0.28F, 0.96F, 0, 0, 0, 1};

// The list, in some calls with a NaN, an infinity or another number in it.
template <size_t n>
const float* matrix(Arguments& a, const float (&elements)[n], bool hasSpecials, size_t first = 0)
{
    std::vector<float> list(elements, elements + n);
    if (!a.shape().typical && a.random().oneIn(4))
    {
        list[a.random().between(static_cast<uint32_t>(first), n - 1)] = someFloat(a.random(), hasSpecials) + 0.03F;
    }
    return a.given(list);
}

const float* points(Arguments& a, uint32_t dimensions, bool hasSpecials)
{
    std::vector<float> list(size_t{a.shape().width} * dimensions);
    const bool has = hasSpecials && !a.shape().typical && a.random().oneIn(2);
    std::generate(list.begin(), list.end(), [&] { return someFloat(a.random(), has); });
    return a.given(list);
}

float* result(Arguments& a, size_t count)
{
    return a.output<float>(count, 1, count * sizeof(float));
}

void prepareDistort(Arguments& a)
{
    const float* src = points(a, 2, true);
    const float* camera = matrix(a, kCamera, true, 5);
    const float* lens = matrix(a, kLens, true);
    a.call(vsrGeomDistortPoint2xNf32C, src, a.shape().width, camera, lens, result(a, 2 * a.shape().width));
}

void prepareUndistort(Arguments& a)
{
    const float* src = points(a, 2, true);
    const float* camera = matrix(a, kCamera, true, 5);
    const float* lens = matrix(a, kLens, true);
    a.call(vsrGeomUndistortPoint2xNf32C, src, a.shape().width, camera, lens, a.choose(1, 12, 5),
           result(a, 2 * a.shape().width));
}

void prepareProject(Arguments& a)
{
    const float* src = points(a, 3, true);
    const float* turn = matrix(a, kTurn, true);
    const float* shift = a.given(std::vector<float>{1, 2, 500});
    const float* camera = matrix(a, kCamera, true, 5);
    const float* lens = !a.shape().typical && a.random().oneIn(4) ? nullptr : matrix(a, kLens, true);
    a.entry().unchecked = {5};  // no lens is one without distortion
    a.call(vsrGeomProjectPoint3xNf32C, src, a.shape().width, turn, shift, camera, lens, result(a, 2 * a.shape().width));
}

void prepareTriangulate(Arguments& a)
{
    constexpr float kFirst[12] = {500, 0, 320, 0, 0, 500, 240, 0, 0, 0, 1, 0};
    constexpr float kSecond[12] = {480, -20, 330, -400, 30, 500, 235, 10, 0.1F, 0.01F, 0.99F, 0.2F};
    const float* src1 = points(a, 2, false);
    const float* src2 = points(a, 2, false);
    const float* projection1 = matrix(a, kFirst, false);
    const float* projection2 = matrix(a, kSecond, false);
    a.call(vsrGeomTriangulatePoint2xNf32C, src1, src2, a.shape().width, projection1, projection2,
           result(a, 3 * a.shape().width));
}

void prepareRigid(Arguments& a)
{
    const float* from = points(a, 3, false);
    const bool isSame = !a.shape().typical && a.random().oneIn(4);
    std::vector<float> moved(from, from + size_t{3} * a.shape().width);
    for (size_t i = 0; i < moved.size(); i += 3)
    {
        const float x = moved[i];
        moved[i] = 3 - moved[i + 1];
        moved[i + 1] = x + someFloat(a.random(), false) / 100;
    }
    const float* to = isSame ? points(a, 3, false) : a.given(moved);
    float* turn = result(a, 9);
    float* shift = result(a, 3);
    a.call(vsrGeomRigidFit3xNf32C, from, to, a.shape().width, a.random().between(0, 1), turn, shift, result(a, 1));
}

void prepareRefine(Arguments& a)
{
    const uint32_t count = a.shape().width;
    const float* objects = points(a, 3, false);
    std::vector<float> images(size_t{2} * count);
    const float shift[3] = {1, 2, a.random().oneIn(4) ? 100.0F : 900.0F};
    vsrGeomProjectPoint3xNf32C(objects, count, kTurn, shift, kCamera, nullptr, images.data());
    for (float& coordinate : images)
    {
        coordinate += someFloat(a.random(), false) / (a.random().oneIn(10) ? 3 : 300);
        coordinate = std::isfinite(coordinate) ? coordinate : 0;
    }
    const float* seen = a.given(images);
    const float* camera = a.given(std::vector<float>(kCamera, kCamera + 9));
    auto* rotation = a.updated(std::vector<float>{0.97F, -0.25F, 0.01F, 0.25F, 0.97F, 0, -0.01F, 0, 1});
    auto* translation = a.updated(std::vector<float>{0, 0, shift[2] + 10});
    const uint32_t rounds = a.choose(0, 12, 10);
    a.call(vsrGeomPoseRefinef32C, objects, seen, count, camera, rounds, a.choose(0, 2, 1), 1.5F, rotation, translation,
           result(a, 1));
}

const EntryRule kMayCoincide = {.inPlace = EntryRule::InPlace::NotLookedAt};

const Register cameras({
    {VISORA_OPERATION(vsrGeomDistortPoint2xNf32), ruled(kMayCoincide, prepareDistort), "", 0, true},
    {VISORA_OPERATION(vsrGeomUndistortPoint2xNf32), ruled(kMayCoincide, prepareUndistort), "", 0, true},
    {VISORA_OPERATION(vsrGeomProjectPoint3xNf32), prepareProject, "", 0, true},
    {VISORA_OPERATION(vsrGeomTriangulatePoint2xNf32), prepareTriangulate, "", 0, true},
    {VISORA_OPERATION(vsrGeomRigidFit3xNf32), prepareRigid, "", 0, true},
    {VISORA_OPERATION(vsrGeomPoseRefinef32), prepareRefine, "", 0, true},
    {"vsrGeomPoseFitPlanarf32", reinterpret_cast<VSR_FUNC>(vsrGeomPoseFitPlanarf32C),
     reinterpret_cast<VSR_FUNC>(vsrGeomPoseFitPlanarf32C),
     [](Arguments& a)
     {
         const float* homography = matrix(a, kTurn, false);
         const float* camera = a.given(std::vector<float>(kCamera, kCamera + 9));
         float* rotation = result(a, 9);
         a.call(vsrGeomPoseFitPlanarf32C, homography, camera, rotation, result(a, 3));
     },
     "", 0, true},
});

}  // namespace

}  // namespace visora::test
