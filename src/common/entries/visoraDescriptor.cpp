// Entry points of the descriptors.
#include "common/visoraEntry.h"
#include "visora/variants/corner.h"

using visora::In;
using visora::List;
using visora::OptionalArray;
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
