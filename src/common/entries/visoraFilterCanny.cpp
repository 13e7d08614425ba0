// Entry points of the Canny edges.
#include "common/entries/visoraFilterEntries.h"
#include "visora/variants/filter.h"

using namespace visora;

namespace
{

constexpr bool areThresholds(uint32_t low, uint32_t high)
{
    return low <= high && high <= 255;
}

}  // namespace

vsrStatus vsrFilterCanny3x3u8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t lowThreshold,
                              uint32_t highThreshold, uint8_t* dst)
{
    if (!areThresholds(lowThreshold, highThreshold))
    {
        return refuseRange("vsrFilterCanny3x3u8");
    }
    visora::Call call(Row::vsrFilterCanny3x3u8, "vsrFilterCanny3x3u8");
    call.keepDspIf(height >= 4 && worthOffload(width, height) && multiplesOf<8>(width) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(width));
    call.trace();
    VSR_REQUIRE(call, src && dst && src != dst && width && height);
    return call.run<vsrFilterCanny3x3u8C>(src, width, height, width, lowThreshold, highThreshold, dst, width);
}

vsrStatus vsrFilterCanny3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t lowThreshold, uint32_t highThreshold, uint8_t* dst, uint32_t dstStride)
{
    if (!areThresholds(lowThreshold, highThreshold))
    {
        return refuseRange("vsrFilterCanny3x3u8_v2");
    }
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);
    visora::Call call(Row::vsrFilterCanny3x3u8, "vsrFilterCanny3x3u8_v2");
    call.keepDspIf(srcHeight >= 4 && worthOffload(srcStride, srcHeight) &&
                   multiplesOf<8>(srcWidth, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    VSR_REQUIRE(
        call, src && dst && src != dst && srcWidth && srcHeight && (srcStride >= srcWidth) && (dstStride >= srcWidth));
    return call.run<vsrFilterCanny3x3u8C>(src, srcWidth, srcHeight, srcStride, lowThreshold, highThreshold, dst,
                                          dstStride);
}

vsrStatus vsrFilterCanny3x3u8_v3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t lowThreshold, uint32_t highThreshold, vsrCannyNorm norm, uint8_t* dst,
                                 uint32_t dstStride, int16_t* dx, int16_t* dy, uint32_t gradStride)
{
    if (!areThresholds(lowThreshold, highThreshold))
    {
        return refuseRange("vsrFilterCanny3x3u8_v3");
    }
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    const Out outX(dx, srcWidth, srcHeight, gradStride);
    const Out outY(dy, srcWidth, srcHeight, gradStride);
    return VSR_CALL(vsrFilterCanny3x3u8_v3, in, out, outX, outY)
        .keepDspIf(srcHeight >= 4)
        .require(norm <= VISORA_CANNY_L2)
        .run(src, srcWidth, srcHeight, in.stride(), lowThreshold, highThreshold, norm, dst, out.stride(), dx, dy,
             outX.stride());
}
