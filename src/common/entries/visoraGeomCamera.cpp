// Entry points of cameras, triangulation and poses.
#include "common/entries/visoraGeomEntries.h"
#include "visora/variants/geom.h"

using visora::areFinite;
using visora::areSoundAnd;
using visora::Array;
using visora::isCamera;
using visora::isFiniteCamera;
using visora::Numbers;
using visora::Result;

vsrStatus vsrGeomDistortPoint2xNf32(const float* src, uint32_t numPoints, const float* cameraMatrix,
                                    const float* distortion, float* dst)
{
    const Array camera(cameraMatrix, 9), lens(distortion, 5);
    const Result out(dst, size_t{2} * numPoints);
    return VSR_CALL(vsrGeomDistortPoint2xNf32, Numbers(src), camera, lens, out)
        .require(cameraMatrix && isCamera(cameraMatrix))
        .run(src, numPoints, cameraMatrix, distortion, dst);
}

vsrStatus vsrGeomUndistortPoint2xNf32(const float* src, uint32_t numPoints, const float* cameraMatrix,
                                      const float* distortion, uint32_t iterations, float* dst)
{
    constexpr uint32_t kMostIterations = 100;
    const Array camera(cameraMatrix, 9), lens(distortion, 5);
    const Result out(dst, size_t{2} * numPoints);
    return VSR_CALL(vsrGeomUndistortPoint2xNf32, Numbers(src), camera, lens, out)
        .require(cameraMatrix && isCamera(cameraMatrix) && iterations >= 1 && iterations <= kMostIterations)
        .run(src, numPoints, cameraMatrix, distortion, iterations, dst);
}

vsrStatus vsrGeomProjectPoint3xNf32(const float* src, uint32_t numPoints, const float* rotation,
                                    const float* translation, const float* cameraMatrix, const float* distortion,
                                    float* dst)
{
    const Array in(src, size_t{3} * numPoints), turn(rotation, 9), shift(translation, 3), camera(cameraMatrix, 9);
    const Array lens(distortion ? distortion : cameraMatrix, 5);
    const Result out(dst, size_t{2} * numPoints);
    return VSR_CALL(vsrGeomProjectPoint3xNf32, in, turn, shift, camera, lens, out)
        .require(cameraMatrix && isCamera(cameraMatrix))
        .run(src, numPoints, rotation, translation, cameraMatrix, distortion, dst);
}

vsrStatus vsrGeomTriangulatePoint2xNf32(const float* src1, const float* src2, uint32_t numPoints,
                                        const float* projection1, const float* projection2, float* dst)
{
    const size_t count = size_t{2} * numPoints;
    const Array in1(src1, count), in2(src2, count), matrix1(projection1, 12), matrix2(projection2, 12);
    const Result out(dst, size_t{3} * numPoints);
    const auto isFinite = [=]
    {
        return areFinite(src1, count) && areFinite(src2, count) && areFinite(projection1, 12) &&
               areFinite(projection2, 12);
    };
    return VSR_CALL(vsrGeomTriangulatePoint2xNf32, in1, in2, matrix1, matrix2, out)
        .require(areSoundAnd(isFinite, in1, in2, matrix1, matrix2))
        .run(src1, src2, numPoints, projection1, projection2, dst);
}

vsrStatus vsrGeomPoseFitPlanarf32(const float* homography, const float* cameraMatrix, float* rotation,
                                  float* translation)
{
    const Array model(homography, 9), camera(cameraMatrix, 9);
    const Result turn(rotation, 9), shift(translation, 3);
    return VSR_CALL(vsrGeomPoseFitPlanarf32, model, camera, turn, shift)
        .require(areSoundAnd([=] { return areFinite(homography, 9) && isFiniteCamera(cameraMatrix); }, model, camera))
        .run(homography, cameraMatrix, rotation, translation);
}

vsrStatus vsrGeomPoseRefinef32(const float* objectPoints, const float* imagePoints, uint32_t numPoints,
                               const float* cameraMatrix, uint32_t maxIterations, vsrLossType loss, float scale,
                               float* rotation, float* translation, float* meanSquaredError)
{
    constexpr uint32_t kMostIterations = 1000;
    const Array objects(objectPoints, size_t{3} * numPoints), images(imagePoints, size_t{2} * numPoints);
    const Array camera(cameraMatrix, 9);
    const Result turn(rotation, 9), shift(translation, 3), error(meanSquaredError);
    const auto isFinite = [=]
    {
        return areFinite(objectPoints, size_t{3} * numPoints) && areFinite(imagePoints, size_t{2} * numPoints) &&
               isFiniteCamera(cameraMatrix) && areFinite(rotation, 9) && areFinite(translation, 3);
    };
    return VSR_CALL(vsrGeomPoseRefinef32, objects, images, camera, turn, shift, error)
        .require(maxIterations <= kMostIterations && visora::isLoss(loss, scale) &&
                 areSoundAnd(isFinite, objects, images, camera, turn, shift))
        .run(objectPoints, imagePoints, numPoints, cameraMatrix, maxIterations, loss, scale, rotation, translation,
             meanSquaredError);
}
