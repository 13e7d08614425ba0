// Entry points of the box filters.
#include "common/visoraCall.h"
#include "visora/variants/filter.h"

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

namespace
{

// What the u8 members ask of an accelerated kind.
void keepAcceleratorsIfSuited(Call& call, uint32_t minHeight, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                              uint32_t srcStride, const uint8_t* dst, uint32_t dstStride)
{
    call.keepDspIf(srcHeight >= minHeight && worthOffload(srcStride, srcHeight) &&
                   multiplesOf<8>(srcWidth, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && srcStride >= srcWidth && dstStride >= srcWidth &&
                   multiplesOf<8>(srcStride, dstStride));
}

}  // namespace

vsrStatus vsrBoxFilter3x3u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrBoxFilter3x3u8, "vsrBoxFilter3x3u8");
    keepAcceleratorsIfSuited(call, 4, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    VSR_REQUIRE_AS(call,
                   src && dst && srcWidth && srcHeight && srcStride && dstStride && srcStride >= srcWidth &&
                       srcWidth > 2 && srcHeight > 2,
                   "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth ) && "
                   "srcWidth > 2 && srcHeight > 2");
    return call.run<vsrBoxFilter3x3u8C>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrBoxFilter3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrBoxFilter3x3u8_v2, "vsrBoxFilter3x3u8_v2");
    keepAcceleratorsIfSuited(call, 4, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    if (!(src && dst && srcWidth && srcHeight && srcStride >= srcWidth && dstStride >= srcWidth &&
          borderType <= VISORA_BORDER_REPLICATE))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrBoxFilter3x3u8_v2C>(src, srcWidth, srcHeight, srcStride, dst, dstStride, borderType,
                                                     borderValue);
}

vsrStatus vsrBoxFilter5x5u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrBoxFilter5x5u8, "vsrBoxFilter5x5u8");
    keepAcceleratorsIfSuited(call, 5, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    VSR_REQUIRE_AS(call,
                   src && dst && srcWidth && srcHeight && srcStride && dstStride && srcStride >= srcWidth &&
                       srcWidth > 4 && srcHeight > 4,
                   "src && dst && srcWidth && srcHeight && srcStride && dstStride && (srcStride >=srcWidth) && "
                   "srcWidth > 4 && srcHeight > 4");
    return call.run<vsrBoxFilter5x5u8C>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrBoxFilter11x11u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint8_t* dst, uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrBoxFilter11x11u8, "vsrBoxFilter11x11u8");
    keepAcceleratorsIfSuited(call, 11, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    VSR_REQUIRE_AS(call,
                   src && dst && srcWidth && srcHeight && srcStride && dstStride && srcStride >= srcWidth &&
                       srcWidth > 10 && srcHeight > 10,
                   "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth) && "
                   "srcWidth > 10 && srcHeight > 10");
    return call.run<vsrBoxFilter11x11u8C>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrBoxFilterNxNf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                             uint32_t dstStride, uint32_t N)
{
    const size_t rowBytes = srcWidth * sizeof(float);
    srcStride = packedIfZero(srcStride, static_cast<uint32_t>(rowBytes));
    dstStride = packedIfZero(dstStride, static_cast<uint32_t>(rowBytes));

    Call call(Row::vsrBoxFilterNxNf32, "vsrBoxFilterNxNf32");
    call.keepDspIf(worthOffload(srcWidth, srcHeight, visora::kMinDspPixelsHeavy) &&
                   multiplesOf<8>(srcWidth, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    if (!(src && dst && srcWidth && srcHeight && N > 1 && (src != dst || srcStride == dstStride) &&
          srcStride >= rowBytes && dstStride >= rowBytes && srcWidth > 4 && srcHeight > 4))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrBoxFilterNxNf32C>(src, srcWidth, srcHeight, srcStride, dst, dstStride, N);
}
