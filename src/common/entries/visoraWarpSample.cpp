// Entry points of the warps, their maps and points.
#include "common/visoraEntry.h"
#include "visora/variants/warp.h"

using visora::Array;
using visora::In;
using visora::InPlace;
using visora::Out;
using visora::Result;

namespace
{

constexpr uint32_t kMaxSide = 65535;
constexpr uint64_t kAffineElements = 6;
constexpr uint64_t kMatrixElements = 9;

template <class... Sides>
bool fit(Sides... sides)
{
    return (... && (sides <= kMaxSide));
}

bool isSampling(vsrInterpolation interpolation)
{
    return interpolation <= VISORA_INTERPOLATION_BILINEAR;
}

bool isBorder(vsrBorderType borderType)
{
    return borderType <= VISORA_BORDER_REPLICATE;
}

// An image by a list of floats.
template <uint64_t elements>
constexpr auto warped = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const float* matrix, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array list(matrix, elements);
    const Out out(dst, dstWidth, dstHeight, dstStride);
    return open(in, list, out)
        .require(fit(srcWidth, srcHeight, dstWidth, dstHeight))
        .run(src, srcWidth, srcHeight, in.stride(), matrix, dst, dstWidth, dstHeight, out.stride());
};

// The same, packed.
template <uint64_t elements>
constexpr auto warpedPacked = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                 const float* matrix, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight)
{ return warped<elements>(open, src, srcWidth, srcHeight, 0, matrix, dst, dstWidth, dstHeight, 0); };

}  // namespace

// ---- By matrices ----

VSR_ENTRY(vsrTransformAffineu8, vsrTransformAffineu8, warpedPacked<kAffineElements>);
VSR_ENTRY(vsrTransformAffineu8_v2, vsrTransformAffineu8, warped<kAffineElements>);
VSR_ENTRY(vsrWarpPerspectiveu8, vsrWarpPerspectiveu8, warpedPacked<kMatrixElements>);
VSR_ENTRY(vsrWarpPerspectiveu8_v2, vsrWarpPerspectiveu8, warped<kMatrixElements>);

vsrStatus vsrTransformAffineRGBA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       const float* affine, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                       uint32_t dstStride, const uint8_t* borderColor)
{
    constexpr uint32_t kChannels = 4;
    const In in(src, srcWidth, srcHeight, srcStride, kChannels);
    const Array matrix(affine, kAffineElements);
    const Out out(dst, dstWidth, dstHeight, dstStride, InPlace::No, kChannels);
    const Array color(borderColor, kChannels);
    return VSR_CALL(vsrTransformAffineRGBA8888u8, in, matrix, out, color)
        .require(fit(srcWidth, srcHeight, dstWidth, dstHeight))
        .run(src, srcWidth, srcHeight, in.stride(), affine, dst, dstWidth, dstHeight, out.stride(), borderColor);
}

vsrStatus vsrTransformAffinef32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                const float* affine, float* dst, uint32_t dstWidth, uint32_t dstHeight,
                                uint32_t dstStride, float borderValue)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array matrix(affine, kAffineElements);
    const Out out(dst, dstWidth, dstHeight, dstStride);
    return VSR_CALL(vsrTransformAffinef32, in, matrix, out)
        .require(fit(srcWidth, srcHeight, dstWidth, dstHeight))
        .run(src, srcWidth, srcHeight, in.stride(), affine, dst, dstWidth, dstHeight, out.stride(), borderValue);
}

vsrStatus vsrTransformAffineClippedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      const float* affine, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                      uint32_t dstStride, uint32_t* insideRanges)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array matrix(affine, kAffineElements);
    const Out out(dst, dstWidth, dstHeight, dstStride);
    const Result ranges(insideRanges, 2 * uint64_t{dstHeight});
    return VSR_CALL(vsrTransformAffineClippedu8, in, matrix, out, ranges)
        .require(fit(srcWidth, srcHeight, dstWidth, dstHeight))
        .run(src, srcWidth, srcHeight, in.stride(), affine, dst, dstWidth, dstHeight, out.stride(), insideRanges);
}

vsrStatus vsrWarpPerspectiveu8_v3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  const float* matrix, vsrInterpolation interpolation, uint8_t* dst, uint32_t dstWidth,
                                  uint32_t dstHeight, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array list(matrix, kMatrixElements);
    const Out out(dst, dstWidth, dstHeight, dstStride);
    return VSR_CALL(vsrWarpPerspectiveu8_v3, in, list, out)
        .require(fit(srcWidth, srcHeight, dstWidth, dstHeight) && isSampling(interpolation) && isBorder(borderType))
        .run(src, srcWidth, srcHeight, in.stride(), matrix, interpolation, dst, dstWidth, dstHeight, out.stride(),
             borderType, borderValue);
}

vsrStatus vsrWarpPerspectiveu8_v4(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  const float* matrix, vsrInterpolation interpolation, uint8_t* dst, uint32_t dstX,
                                  uint32_t dstY, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                  vsrBorderType borderType, uint8_t borderValue)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array list(matrix, kMatrixElements);
    const Out out(dst, dstWidth, dstHeight, dstStride);
    return VSR_CALL(vsrWarpPerspectiveu8_v4, in, list, out)
        .require(fit(srcWidth, srcHeight, uint64_t{dstX} + dstWidth, uint64_t{dstY} + dstHeight))
        .require(interpolation <= VISORA_INTERPOLATION_AREA && isBorder(borderType))
        .run(src, srcWidth, srcHeight, in.stride(), matrix, interpolation, dst, dstX, dstY, dstWidth, dstHeight,
             out.stride(), borderType, borderValue);
}

// ---- Three planes ----

vsrStatus vsr3ChannelTransformAffineClippedBCu8(const uint8_t* src0, const uint8_t* src1, const uint8_t* src2,
                                                uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                                const float* affine, uint8_t* dst0, uint8_t* dst1, uint8_t* dst2,
                                                uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                                uint32_t* insideRanges)
{
    const In in0(src0, srcWidth, srcHeight, srcStride);
    const In in1(src1, srcWidth, srcHeight, srcStride);
    const In in2(src2, srcWidth, srcHeight, srcStride);
    const Array matrix(affine, kAffineElements);
    const Out out0(dst0, dstWidth, dstHeight, dstStride);
    const Out out1(dst1, dstWidth, dstHeight, dstStride);
    const Out out2(dst2, dstWidth, dstHeight, dstStride);
    const Result ranges(insideRanges, 2 * uint64_t{dstHeight});
    return VSR_CALL(vsr3ChannelTransformAffineClippedBCu8, in0, in1, in2, matrix, out0, out1, out2, ranges)
        .require(fit(srcWidth, srcHeight, dstWidth, dstHeight))
        .run(src0, src1, src2, srcWidth, srcHeight, in0.stride(), affine, dst0, dst1, dst2, dstWidth, dstHeight,
             out0.stride(), insideRanges);
}

vsrStatus vsr3ChannelWarpPerspectiveu8(const uint8_t* src0, const uint8_t* src1, const uint8_t* src2, uint32_t srcWidth,
                                       uint32_t srcHeight, uint32_t srcStride, const float* matrix, uint8_t* dst0,
                                       uint8_t* dst1, uint8_t* dst2, uint32_t dstWidth, uint32_t dstHeight,
                                       uint32_t dstStride)
{
    const In in0(src0, srcWidth, srcHeight, srcStride);
    const In in1(src1, srcWidth, srcHeight, srcStride);
    const In in2(src2, srcWidth, srcHeight, srcStride);
    const Array list(matrix, kMatrixElements);
    const Out out0(dst0, dstWidth, dstHeight, dstStride);
    const Out out1(dst1, dstWidth, dstHeight, dstStride);
    const Out out2(dst2, dstWidth, dstHeight, dstStride);
    return VSR_CALL(vsr3ChannelWarpPerspectiveu8, in0, in1, in2, list, out0, out1, out2)
        .require(fit(srcWidth, srcHeight, dstWidth, dstHeight))
        .run(src0, src1, src2, srcWidth, srcHeight, in0.stride(), matrix, dst0, dst1, dst2, dstWidth, dstHeight,
             out0.stride());
}

vsrStatus vsr3ChannelWarpPerspectiveu8_v2(const uint8_t* src0, const uint8_t* src1, const uint8_t* src2,
                                          uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          const float* matrix, vsrInterpolation interpolation, uint8_t* dst0,
                                          uint8_t* dst1, uint8_t* dst2, uint32_t dstWidth, uint32_t dstHeight,
                                          uint32_t dstStride, vsrBorderType borderType, const uint8_t* borderColor)
{
    const In in0(src0, srcWidth, srcHeight, srcStride);
    const In in1(src1, srcWidth, srcHeight, srcStride);
    const In in2(src2, srcWidth, srcHeight, srcStride);
    const Array list(matrix, kMatrixElements);
    const Out out0(dst0, dstWidth, dstHeight, dstStride);
    const Out out1(dst1, dstWidth, dstHeight, dstStride);
    const Out out2(dst2, dstWidth, dstHeight, dstStride);
    const Array color(borderColor, 3);
    return VSR_CALL(vsr3ChannelWarpPerspectiveu8_v2, in0, in1, in2, list, out0, out1, out2, color)
        .require(fit(srcWidth, srcHeight, dstWidth, dstHeight) && isSampling(interpolation) && isBorder(borderType))
        .run(src0, src1, src2, srcWidth, srcHeight, in0.stride(), matrix, interpolation, dst0, dst1, dst2, dstWidth,
             dstHeight, out0.stride(), borderType, borderColor);
}

// ---- By maps ----

vsrStatus vsrRemapu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const float* mapX,
                     const float* mapY, uint32_t mapStride, vsrInterpolation interpolation, uint8_t* dst,
                     uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrBorderType borderType,
                     uint8_t borderValue)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const In columns(mapX, dstWidth, dstHeight, mapStride);
    const In rows(mapY, dstWidth, dstHeight, mapStride);
    const Out out(dst, dstWidth, dstHeight, dstStride);
    return VSR_CALL(vsrRemapu8, in, columns, rows, out)
        .require(fit(srcWidth, srcHeight, dstWidth, dstHeight) && isSampling(interpolation) && isBorder(borderType))
        .run(src, srcWidth, srcHeight, in.stride(), mapX, mapY, columns.stride(), interpolation, dst, dstWidth,
             dstHeight, out.stride(), borderType, borderValue);
}

vsrStatus vsrRemapRGBA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             const float* mapX, const float* mapY, uint32_t mapStride, vsrInterpolation interpolation,
                             uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                             const uint8_t* borderColor)
{
    constexpr uint32_t kChannels = 4;
    const In in(src, srcWidth, srcHeight, srcStride, kChannels);
    const In columns(mapX, dstWidth, dstHeight, mapStride);
    const In rows(mapY, dstWidth, dstHeight, mapStride);
    const Out out(dst, dstWidth, dstHeight, dstStride, InPlace::No, kChannels);
    const Array color(borderColor, kChannels);
    return VSR_CALL(vsrRemapRGBA8888u8, in, columns, rows, out, color)
        .require(fit(srcWidth, srcHeight, dstWidth, dstHeight) && isSampling(interpolation))
        .run(src, srcWidth, srcHeight, in.stride(), mapX, mapY, columns.stride(), interpolation, dst, dstWidth,
             dstHeight, out.stride(), borderColor);
}

vsrStatus vsrBuildRectifyMapf32(const float* cameraMatrix, const float* distortion, const float* rotation,
                                const float* newCameraMatrix, float* mapX, float* mapY, uint32_t mapWidth,
                                uint32_t mapHeight, uint32_t mapStride)
{
    const Array camera(cameraMatrix, kMatrixElements);
    const Array lens(distortion, 5);
    const Array turn(rotation, kMatrixElements);
    const Array corrected(newCameraMatrix, kMatrixElements);
    const Out columns(mapX, mapWidth, mapHeight, mapStride);
    const Out rows(mapY, mapWidth, mapHeight, mapStride);
    const auto hasFocus = [](const float* matrix) { return matrix && matrix[0] != 0 && matrix[4] != 0; };
    return VSR_CALL(vsrBuildRectifyMapf32, camera, lens, turn, corrected, columns, rows)
        .require(hasFocus(cameraMatrix) && hasFocus(newCameraMatrix))
        .run(cameraMatrix, distortion, rotation, newCameraMatrix, mapX, mapY, mapWidth, mapHeight, columns.stride());
}

vsrStatus vsrBuildUndistortMapf32(const float* cameraMatrix, const float* distortion, float* mapX, float* mapY,
                                  uint32_t mapWidth, uint32_t mapHeight, uint32_t mapStride)
{
    const Array camera(cameraMatrix, kMatrixElements);
    const Array lens(distortion, 5);
    const Out columns(mapX, mapWidth, mapHeight, mapStride);
    const Out rows(mapY, mapWidth, mapHeight, mapStride);
    return VSR_CALL(vsrBuildUndistortMapf32, camera, lens, columns, rows)
        .require(cameraMatrix && cameraMatrix[0] != 0 && cameraMatrix[4] != 0)
        .run(cameraMatrix, distortion, mapX, mapY, mapWidth, mapHeight, columns.stride());
}

// ---- Points ----

namespace
{

// Points may be written where they stand, which is then one list.
template <uint32_t dimensions, uint64_t elements>
constexpr auto transformed = [](auto open, const float* src, uint32_t numPoints, const float* matrix, float* dst)
{
    const Array points(src, uint64_t{numPoints} * dimensions);
    const Array list(matrix, elements);
    const Result out(dst, uint64_t{numPoints} * dimensions);
    return src == dst ? open(list, out).run(src, numPoints, matrix, dst)
                      : open(points, list, out).run(src, numPoints, matrix, dst);
};

}  // namespace

VSR_ENTRY(vsrTransformPoint2xNf32, vsrTransformPoint2xNf32, (transformed<2, 9>));
VSR_ENTRY(vsrTransformPoint3xNf32, vsrTransformPoint3xNf32, (transformed<3, 12>));
