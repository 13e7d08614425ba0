// Entry points of the descriptors.
#include "common/visoraEntry.h"
#include "cpu/descriptor/visoraHog.h"
#include "visora/variants/corner.h"

using visora::Array;
using visora::In;
using visora::List;
using visora::Numbers;
using visora::OptionalArray;
using visora::Out;
using visora::Result;
using visora::ResultSet;

vsrStatus vsrBriefDescribeu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             const uint32_t* xy, uint32_t nPoints, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const ResultSet out(dst, 32, dstStride);
    return VSR_CALL(vsrBriefDescribeu8, in, List(xy), out)
        .run(src, srcWidth, srcHeight, in.stride(), xy, nPoints, dst, out.stride());
}

vsrStatus vsrBriefDescribeRotatedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    const uint32_t* xy, uint32_t nPoints, const float* angles, uint8_t* dst,
                                    uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const ResultSet out(dst, 32, dstStride);
    return VSR_CALL(vsrBriefDescribeRotatedu8, in, List(xy), OptionalArray(angles), out)
        .run(src, srcWidth, srcHeight, in.stride(), xy, nPoints, angles, dst, out.stride());
}

namespace
{

constexpr uint32_t kLongestSide = 1 << 24;

template <uint32_t length>
constexpr auto ofKeypoints = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                uint32_t srcStride, const vsrKeypoint* keypoints, uint32_t nKeypoints, auto* dst,
                                uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const ResultSet out(dst, length, dstStride);
    return open(in, List(keypoints), out)
        .require(srcWidth <= kLongestSide && srcHeight <= kLongestSide)
        .run(src, srcWidth, srcHeight, in.stride(), keypoints, nKeypoints, dst, out.stride());
};

}  // namespace

VSR_ENTRY(vsrDescriptorGradient128u8, vsrDescriptorGradient128u8, ofKeypoints<128>);
VSR_ENTRY(vsrDescriptorPatch64u8s8, vsrDescriptorPatch64u8s8, ofKeypoints<64>);

// ---- Oriented-gradient blocks ----

vsrStatus vsrHOGInit(uint32_t cellSize, uint32_t blockCells, uint32_t blockStep, uint32_t bins, uint32_t isSigned,
                     uint64_t* handle)
{
    const auto isFrom = [](uint32_t value, uint32_t low, uint32_t high) { return value >= low && value <= high; };
    return VSR_CALL_INTERNAL(vsrHOGInit, Result(handle))
        .require(isFrom(cellSize, 2, 32) && isFrom(blockCells, 1, 4) && isFrom(blockStep, 1, 16) && isFrom(bins, 2, 32))
        .run(cellSize, blockCells, blockStep, bins, isSigned, handle);
}

vsrStatus vsrExtractHOGu16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint64_t handle, uint16_t* dst, uint32_t dstStride)
{
    // Without a handle there are no blocks, and images without pixels are refused.
    const visora::HogSetup none = {1, 1, 1, 0, false};
    const visora::HogSetup& setup = handle != 0 ? visora::HogSetup::of(handle) : none;
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, setup.blocks(srcWidth), setup.blocks(srcHeight), dstStride, visora::InPlace::No,
                  setup.blockLength());
    return VSR_CALL_INTERNAL(vsrExtractHOGu16, in, out)
        .run(src, srcWidth, srcHeight, in.stride(), handle, dst, out.stride());
}

vsrStatus vsrHOGDeInit(uint64_t handle)
{
    return VSR_CALL_INTERNAL(vsrHOGDeInit, Numbers(reinterpret_cast<const void*>(handle))).run(handle);
}

vsrStatus vsrHOGWindowScoreu16f32(const uint16_t* features, uint32_t gridWidth, uint32_t gridHeight,
                                  uint32_t gridStride, uint32_t blockLength, const float* weights, uint32_t windowWidth,
                                  uint32_t windowHeight, uint32_t stepX, uint32_t stepY, float bias, float* dst,
                                  uint32_t dstStride)
{
    const bool fits = stepX != 0 && stepY != 0 && windowWidth <= gridWidth && windowHeight <= gridHeight;
    const In grid(features, gridWidth, gridHeight, gridStride, blockLength);
    const Array all(weights, uint64_t{windowWidth} * windowHeight * blockLength);
    const Out out(dst, fits ? (gridWidth - windowWidth) / stepX + 1 : 0,
                  fits ? (gridHeight - windowHeight) / stepY + 1 : 0, dstStride);
    return VSR_CALL(vsrHOGWindowScoreu16f32, grid, all, out)
        .run(features, gridWidth, gridHeight, grid.stride(), blockLength, weights, windowWidth, windowHeight, stepX,
             stepY, bias, dst, out.stride());
}
