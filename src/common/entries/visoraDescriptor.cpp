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
