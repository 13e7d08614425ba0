// Entry points of the median filters.
#include "common/visoraCall.h"
#include "visora/variants/filter.h"

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

vsrStatus vsrFilterMedian3x3u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
{
    Call call(Row::vsrFilterMedian3x3u8, "vsrFilterMedian3x3u8");
    call.keepDspIf(height >= 4 && worthOffload(width, height) && multiplesOf<8>(width) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(width));
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height);
    return call.run<vsrFilterMedian3x3u8C>(src, width, height, width, dst, width);
}

vsrStatus vsrFilterMedian3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrFilterMedian3x3u8, "vsrFilterMedian3x3u8_v2");
    call.keepDspIf(srcHeight >= 4 && worthOffload(srcStride, srcHeight) &&
                   multiplesOf<8>(srcWidth, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && srcStride >= srcWidth && dstStride >= srcWidth &&
                   multiplesOf<8>(srcStride, dstStride));
    call.trace();
    VSR_REQUIRE(call, src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    return call.run<vsrFilterMedian3x3u8C>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrFilterMedian3x3u8_v3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrFilterMedian3x3u8_v3, "vsrFilterMedian3x3u8_v3");
    call.keepDspIf(srcHeight >= 4 && worthOffload(srcStride, srcHeight) &&
                   multiplesOf<8>(srcWidth, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    if (!(src && dst && srcWidth && srcHeight && srcStride >= srcWidth && dstStride >= srcWidth &&
          borderType <= VISORA_BORDER_REPLICATE))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrFilterMedian3x3u8_v3C>(src, srcWidth, srcHeight, srcStride, dst, dstStride, borderType,
                                                        borderValue);
}

vsrStatus vsrFilterMedianMxNs16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t M, uint32_t N, int16_t* dst, uint32_t dstStride)
{
    const size_t rowBytes = srcWidth * sizeof(int16_t);
    srcStride = packedIfZero(srcStride, static_cast<uint32_t>(rowBytes));
    dstStride = packedIfZero(dstStride, static_cast<uint32_t>(rowBytes));

    Call call(Row::vsrFilterMedianMxNs16, "vsrFilterMedianMxNs16");
    call.keepDspIf(worthOffload(srcWidth, srcHeight) && multiplesOf<8>(srcWidth, srcStride, dstStride) &&
                   aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    if (!(src && dst && srcWidth && srcHeight && M && N && N < 256 && srcStride >= rowBytes && dstStride >= rowBytes))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrFilterMedianMxNs16C>(src, srcWidth, srcHeight, srcStride, M, N, dst, dstStride);
}
