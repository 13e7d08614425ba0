// Cameras, triangulation and poses, reference variants.
#include "cpu/geom/visoraGeomDepth.h"
#include "cpu/geom/visoraGeomPose.h"
#include "cpu/geom/visoraGeomTwoView.h"
#include "cpu/visoraFloat.h"
#include "visora/variants/geom.h"

using visora::Camera;
using visora::Point3;
using visora::pointAt;
using visora::standardNaN;

namespace
{

constexpr float kNoDistortion[5] = {};

struct Direction
{
    float p, q;
};

struct Lens
{
    explicit Lens(const float* k) : k1(k[0]), k2(k[1]), p1(k[2]), p2(k[3]), k3(k[4]) {}

    Direction distorted(Direction a) const
    {
        const Terms t(*this, a);
        return {(a.p * t.d + p1 * t.pq) + p2 * (t.rr + 2 * t.pp), (a.q * t.d + p1 * (t.rr + 2 * t.qq)) + p2 * t.pq};
    }

    /** A step from a towards the direction that appears at `seen`. */
    Direction step(Direction seen, Direction a) const
    {
        const Terms t(*this, a);
        return {(seen.p - (p1 * t.pq + p2 * (t.rr + 2 * t.pp))) / t.d,
                (seen.q - (p1 * (t.rr + 2 * t.qq) + p2 * t.pq)) / t.d};
    }

    float k1, k2, p1, p2, k3;

  private:
    struct Terms
    {
        Terms(const Lens& lens, Direction a)
            : pp(a.p * a.p),
              qq(a.q * a.q),
              rr(pp + qq),
              pq(2 * (a.p * a.q)),
              d(1 + rr * (lens.k1 + rr * (lens.k2 + rr * lens.k3)))
        {
        }
        float pp, qq, rr, pq, d;
    };
};

Direction directionOf(const Camera& camera, const float* pixel)
{
    return {(pixel[0] - camera.cx) / camera.fx, (pixel[1] - camera.cy) / camera.fy};
}

void storePixel(const Camera& camera, Direction a, float* dst)
{
    dst[0] = standardNaN(camera.fx * a.p + camera.cx);
    dst[1] = standardNaN(camera.fy * a.q + camera.cy);
}

}  // namespace

vsrStatus vsrGeomDistortPoint2xNf32C(const float* src, uint32_t numPoints, const float* cameraMatrix,
                                     const float* distortion, float* dst)
{
    const Camera camera(cameraMatrix);
    const Lens lens(distortion);
    for (size_t i = 0; i < numPoints; ++i)
    {
        storePixel(camera, lens.distorted(directionOf(camera, src + 2 * i)), dst + 2 * i);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrGeomUndistortPoint2xNf32C(const float* src, uint32_t numPoints, const float* cameraMatrix,
                                       const float* distortion, uint32_t iterations, float* dst)
{
    const Camera camera(cameraMatrix);
    const Lens lens(distortion);
    for (size_t i = 0; i < numPoints; ++i)
    {
        const Direction seen = directionOf(camera, src + 2 * i);
        Direction a = seen;
        for (uint32_t k = 0; k < iterations; ++k)
        {
            a = lens.step(seen, a);
        }
        storePixel(camera, a, dst + 2 * i);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrGeomProjectPoint3xNf32C(const float* src, uint32_t numPoints, const float* rotation,
                                     const float* translation, const float* cameraMatrix, const float* distortion,
                                     float* dst)
{
    const Camera camera(cameraMatrix);
    const Lens lens(distortion ? distortion : kNoDistortion);
    const visora::Pose pose = {rotation, translation};
    for (size_t i = 0; i < numPoints; ++i)
    {
        const Point3 p = pose.of(pointAt(src + 3 * i));
        storePixel(camera, lens.distorted({p.x / p.z, p.y / p.z}), dst + 2 * i);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrGeomTriangulatePoint2xNf32C(const float* src1, const float* src2, uint32_t numPoints,
                                         const float* projection1, const float* projection2, float* dst)
{
    for (size_t n = 0; n < numPoints; ++n)
    {
        const visora::SmallSvd<4> svd(
            [&](int i, int j)
            {
                const float* const projection = i < 2 ? projection1 : projection2;
                const double coordinate = (i < 2 ? src1 : src2)[2 * n + static_cast<size_t>(i % 2)];
                return coordinate * projection[8 + j] - projection[4 * (i % 2) + j];
            });
        const double* const X = svd.v[3];
        for (size_t k = 0; k < 3; ++k)
        {
            dst[3 * n + k] = X[3] == 0 ? 0.0F : static_cast<float>(X[k] / X[3]);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrGeomPoseFitPlanarf32C(const float* homography, const float* cameraMatrix, float* rotation,
                                   float* translation)
{
    const double fx = cameraMatrix[0], cx = cameraMatrix[2], fy = cameraMatrix[4], cy = cameraMatrix[5];
    std::fill_n(rotation, 9, 0.0F);
    std::fill_n(translation, 3, 0.0F);
    double M[3][3];  // M[j] is column j
    double lengths[3];
    for (int j = 0; j < 3; ++j)
    {
        const double below = homography[6 + j];
        M[j][0] = (homography[j] - cx * below) / fx;
        M[j][1] = (homography[3 + j] - cy * below) / fy;
        M[j][2] = below;
        lengths[j] = std::sqrt((M[j][0] * M[j][0] + M[j][1] * M[j][1]) + M[j][2] * M[j][2]);
    }
    if (!(lengths[0] > 0 && lengths[1] > 0))
    {
        return VISORA_EFAIL;
    }
    const double k = (M[2][2] < 0 ? -2.0 : 2.0) / (lengths[0] + lengths[1]);
    for (auto& column : M)
    {
        std::transform(column, column + 3, column, [=](double v) { return v * k; });
    }
    const double(&a)[3] = M[0];
    const double(&b)[3] = M[1];
    const double c[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    const visora::NearestRotation nearest([&](int i, int j) { return j == 0 ? a[i] : j == 1 ? b[i] : c[i]; });
    visora::toFloats(nearest.R, 9, rotation);
    visora::toFloats(M[2], 3, translation);
    return VISORA_SUCCESS;
}

vsrStatus vsrGeomPoseRefinef32C(const float* objectPoints, const float* imagePoints, uint32_t numPoints,
                                const float* cameraMatrix, uint32_t maxIterations, vsrLossType loss, float scale,
                                float* rotation, float* translation, float* meanSquaredError)
{
    return visora::refinePose(visora::PlainSums(), objectPoints, imagePoints, numPoints, cameraMatrix, maxIterations,
                              loss, scale, rotation, translation, meanSquaredError);
}
