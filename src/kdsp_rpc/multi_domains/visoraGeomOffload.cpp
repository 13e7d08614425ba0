// DSP routines of the geometry. A list of correspondences is one record.
#include <algorithm>

#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto homography = [](const vsrCorrespondences* /*corrs*/, float* /*homography*/) {
    return std::array{uint32_t{1}, uint32_t{9}};
};

template <uint32_t coefficients>
constexpr auto evaluation = [](const vsrCorrespondences* corrs, const float* /*model*/, float /*maxsqerr*/,
                               uint16_t* /*inliers*/, uint32_t* /*numInliers*/) {
    return std::array{uint32_t{1}, coefficients, corrs->numIndices, uint32_t{1}};
};

constexpr auto evaluationWithErrors = [](const vsrCorrespondences* corrs, const float* /*model*/, float /*maxsqerr*/,
                                         uint16_t* /*inliers*/, uint32_t* /*numInliers*/, float* /*errinliers*/) {
    return std::array{uint32_t{1}, uint32_t{9}, corrs->numIndices, uint32_t{1}, corrs->numIndices};
};

constexpr auto crossProduct = [](const float*, const float*, float*) {
    return std::array{uint32_t{3}, uint32_t{3}, uint32_t{3}};
};

constexpr auto singularValues = [](const float* src, uint32_t rows, uint32_t columns, uint32_t srcStride,
                                   const float* /*w*/, const float* U, uint32_t uStride, const float* Vt,
                                   uint32_t vtStride)
{
    const uint32_t r = std::min(rows, columns);
    return std::array{imageLength(src, srcStride, columns, rows), r, imageLength(U, uStride, r, rows),
                      imageLength(Vt, vtStride, columns, r)};
};

constexpr auto cloudOfDepth = [](const uint16_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                 const float* /*cameraMatrix*/, float /*scale*/, const float* dst, uint32_t dstStride)
{
    return std::array{imageLength(src, srcStride, width, height), uint32_t{9},
                      imageLength(dst, dstStride, 3 * width, height)};
};

constexpr auto cloudToCloud = [](const float* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                 const float* dst, uint32_t dstStride) {
    return std::array{imageLength(src, srcStride, 3 * width, height), imageLength(dst, dstStride, 3 * width, height)};
};

constexpr auto filledDepth = [](const uint16_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                uint32_t /*radius*/, uint16_t* dst, uint32_t dstStride)
{ return sameSize(src, width, height, srcStride, dst, dstStride); };

constexpr auto disparityOfBlocks = [](const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                      const uint8_t* src2, uint32_t src2Stride, int32_t, uint32_t, uint32_t, uint32_t,
                                      uint32_t, int16_t* dst, uint32_t dstStride)
{ return twoToOne(src1, width, height, src1Stride, src2, src2Stride, dst, dstStride); };

constexpr auto disparityOfPaths = [](const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                     const uint8_t* src2, uint32_t src2Stride, int32_t, uint32_t, uint32_t, uint32_t,
                                     uint32_t, uint32_t, uint32_t, int16_t* dst, uint32_t dstStride)
{ return twoToOne(src1, width, height, src1Stride, src2, src2Stride, dst, dstStride); };

constexpr auto pairSums = [](const float* src, uint32_t width, uint32_t height, uint32_t srcStride,
                             const float* reference, uint32_t refWidth, uint32_t refHeight, uint32_t refStride,
                             const float* normals, uint32_t normalsStride, auto...)
{
    return std::array{imageLength(src, srcStride, 3 * width, height),
                      imageLength(reference, refStride, 3 * refWidth, refHeight),
                      imageLength(normals, normalsStride, 3 * refWidth, refHeight),
                      uint32_t{9},
                      uint32_t{9},
                      uint32_t{3},
                      uint32_t{36},
                      uint32_t{6},
                      uint32_t{1},
                      uint32_t{1}};
};

constexpr auto distortedPoints = [](const float*, uint32_t numPoints, const float*, const float*, float*) {
    return std::array{2 * numPoints, uint32_t{9}, uint32_t{5}, 2 * numPoints};
};

constexpr auto undistortedPoints = [](const float*, uint32_t numPoints, const float*, const float*, uint32_t, float*) {
    return std::array{2 * numPoints, uint32_t{9}, uint32_t{5}, 2 * numPoints};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/geom.def"
