// Entry points of the operations that move pixels.
#include "common/visoraCall.h"
#include "visora/variants/warp.h"

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

vsrStatus vsrRotateImageInterleavedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint8_t* dst, uint32_t dstStride, uint32_t rotation)
{
    const uint32_t dstWidth = rotation == 2 ? srcWidth : srcHeight;
    srcStride = packedIfZero(srcStride, srcWidth * 2);
    dstStride = packedIfZero(dstStride, dstWidth * 2);

    Call call(Row::vsrRotateImageInterleavedu8, "vsrRotateImageInterleavedu8");
    call.keepDspIf(worthOffload(srcWidth, srcHeight) && multiplesOf<8>(srcWidth, srcStride, dstStride) &&
                   aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    const bool inPlaceFits = src != dst || srcStride == dstStride;
    if (!(src && dst && inPlaceFits && srcWidth && srcHeight && srcStride >= uint64_t{srcWidth} * 2 &&
          dstStride >= uint64_t{dstWidth} * 2 && rotation >= 1 && rotation <= 3))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrRotateImageInterleavedu8C>(src, srcWidth, srcHeight, srcStride, dst, dstStride,
                                                            rotation);
}
