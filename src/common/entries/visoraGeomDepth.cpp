// Entry points of depth images, clouds and disparity.
#include "common/entries/visoraGeomEntries.h"
#include "visora/variants/geom.h"

using visora::areFinite;
using visora::areSides;
using visora::areSoundAnd;
using visora::Array;
using visora::In;
using visora::InPlace;
using visora::isCamera;
using visora::isFiniteCamera;
using visora::Out;
using visora::Result;

vsrStatus vsrCloudFromDepthu16f32(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  const float* cameraMatrix, float scale, float* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array camera(cameraMatrix, 9);
    const Out out(dst, srcWidth, srcHeight, dstStride, InPlace::No, 3);
    return VSR_CALL(vsrCloudFromDepthu16f32, in, camera, out)
        .require(areSides(srcWidth, srcHeight) && std::isfinite(scale) && cameraMatrix && isCamera(cameraMatrix))
        .run(src, srcWidth, srcHeight, in.stride(), cameraMatrix, scale, dst, out.stride());
}

vsrStatus vsrCloudNormalsf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                             uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride, 3);
    const Out out(dst, srcWidth, srcHeight, dstStride, InPlace::No, 3);
    return VSR_CALL(vsrCloudNormalsf32, in, out)
        .require(areSides(srcWidth, srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
}

vsrStatus vsrICPJacobianErrorSE3f32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    const float* reference, uint32_t refWidth, uint32_t refHeight, uint32_t refStride,
                                    const float* normals, uint32_t normalsStride, const float* cameraMatrix,
                                    const float* rotation, const float* translation, float maxDistance, float* JTJ,
                                    float* JTe, float* squaredError, uint32_t* numPairs)
{
    const In in(src, srcWidth, srcHeight, srcStride, 3);
    const In partners(reference, refWidth, refHeight, refStride, 3);
    const In directions(normals, refWidth, refHeight, normalsStride, 3);
    const Array camera(cameraMatrix, 9), turn(rotation, 9), shift(translation, 3);
    const Result matrix(JTJ, 36), vector(JTe, 6), error(squaredError), pairs(numPairs);
    return VSR_CALL(vsrICPJacobianErrorSE3f32, in, partners, directions, camera, turn, shift, matrix, vector, error,
                    pairs)
        .require(areSides(srcWidth, srcHeight) && areSides(refWidth, refHeight) && std::isfinite(maxDistance) &&
                 maxDistance >= 0)
        .require(areSoundAnd(
            [&] { return isFiniteCamera(cameraMatrix) && areFinite(rotation, 9) && areFinite(translation, 3); }, camera,
            turn, shift))
        .run(src, srcWidth, srcHeight, in.stride(), reference, refWidth, refHeight, partners.stride(), normals,
             directions.stride(), cameraMatrix, rotation, translation, maxDistance, JTJ, JTe, squaredError, numPairs);
}

vsrStatus vsrDepthFillHolesu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t radius, uint16_t* dst, uint32_t dstStride)
{
    constexpr uint32_t kMaxRadius = 15;
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrDepthFillHolesu16, in, out)
        .require(areSides(srcWidth, srcHeight) && radius >= 1 && radius <= kMaxRadius)
        .run(src, srcWidth, srcHeight, in.stride(), radius, dst, out.stride());
}

vsrStatus vsrDepthRegisteru16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              const float* srcCameraMatrix, const float* dstCameraMatrix, const float* rotation,
                              const float* translation, uint16_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                              uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array from(srcCameraMatrix, 9), to(dstCameraMatrix, 9), turn(rotation, 9), shift(translation, 3);
    const Out out(dst, dstWidth, dstHeight, dstStride);
    const auto isFinite = [&]
    {
        return isFiniteCamera(srcCameraMatrix) && isFiniteCamera(dstCameraMatrix) && areFinite(rotation, 9) &&
               areFinite(translation, 3);
    };
    return VSR_CALL(vsrDepthRegisteru16, in, from, to, turn, shift, out)
        .require(areSides(srcWidth, srcHeight) && areSides(dstWidth, dstHeight) &&
                 areSoundAnd(isFinite, from, to, turn, shift))
        .run(src, srcWidth, srcHeight, in.stride(), srcCameraMatrix, dstCameraMatrix, rotation, translation, dst,
             dstWidth, dstHeight, out.stride());
}

namespace
{

constexpr bool areDisparities(int32_t minDisparity, uint32_t numDisparities, uint32_t uniqueness)
{
    return minDisparity >= -1024 && minDisparity <= 1023 && numDisparities >= 1 && numDisparities <= 256 &&
           uniqueness <= 99;
}

}  // namespace

vsrStatus vsrDisparityBlockMatchu8s16(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                      const uint8_t* src2, uint32_t src2Stride, int32_t minDisparity,
                                      uint32_t numDisparities, uint32_t blockSize, uint32_t textureThreshold,
                                      uint32_t uniqueness, int16_t* dst, uint32_t dstStride)
{
    constexpr uint32_t kLargestBlock = 15;
    const In left(src1, width, height, src1Stride);
    const In right(src2, width, height, src2Stride);
    const Out out(dst, width, height, dstStride);
    return VSR_CALL(vsrDisparityBlockMatchu8s16, left, right, out)
        .require(areSides(width, height) && areDisparities(minDisparity, numDisparities, uniqueness) &&
                 blockSize % 2 == 1 && blockSize <= kLargestBlock)
        .run(src1, width, height, left.stride(), src2, right.stride(), minDisparity, numDisparities, blockSize,
             textureThreshold, uniqueness, dst, out.stride());
}

vsrStatus vsrDisparitySemiGlobalu8s16(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                      const uint8_t* src2, uint32_t src2Stride, int32_t minDisparity,
                                      uint32_t numDisparities, uint32_t penalty1, uint32_t penalty2, uint32_t paths,
                                      uint32_t uniqueness, uint32_t leftRightLimit, int16_t* dst, uint32_t dstStride)
{
    constexpr uint32_t kGreatestPenalty = 4000;
    const In left(src1, width, height, src1Stride);
    const In right(src2, width, height, src2Stride);
    const Out out(dst, width, height, dstStride);
    return VSR_CALL(vsrDisparitySemiGlobalu8s16, left, right, out)
        .require(areSides(width, height) && areDisparities(minDisparity, numDisparities, uniqueness) &&
                 penalty1 <= penalty2 && penalty2 <= kGreatestPenalty && (paths == 4 || paths == 8))
        .run(src1, width, height, left.stride(), src2, right.stride(), minDisparity, numDisparities, penalty1, penalty2,
             paths, uniqueness, leftRightLimit, dst, out.stride());
}
