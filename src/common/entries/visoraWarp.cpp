// Entry points of the operations that move pixels.
#include "common/visoraEntry.h"
#include "visora/variants/warp.h"

using visora::aligned;
using visora::Call;
using visora::In;
using visora::kInPlace;
using visora::multiplesOf;
using visora::Out;
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

vsrStatus vsrRotatePlaneu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                           uint32_t dstStride, uint32_t rotation)
{
    const bool isUpright = rotation == 2;
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, isUpright ? srcWidth : srcHeight, isUpright ? srcHeight : srcWidth, dstStride);
    return VSR_CALL(vsrRotatePlaneu8, in, out)
        .require(rotation >= 1 && rotation <= 3)
        .run(src, srcWidth, srcHeight, in.stride(), dst, out.stride(), rotation);
}

vsrStatus vsrFlipu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t channels,
                    vsrFlipDirection direction, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride, channels);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace, channels);
    return VSR_CALL(vsrFlipu8, in, out)
        .require(channels >= 1 && channels <= 4)
        .require(direction >= VISORA_FLIP_HORIZONTAL && direction <= VISORA_FLIP_BOTH)
        .run(src, srcWidth, srcHeight, in.stride(), channels, direction, dst, out.stride());
}

vsrStatus vsrFlipu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                     vsrFlipDirection direction, uint16_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
    return VSR_CALL(vsrFlipu16, in, out)
        .require(direction >= VISORA_FLIP_HORIZONTAL && direction <= VISORA_FLIP_BOTH)
        .run(src, srcWidth, srcHeight, in.stride(), direction, dst, out.stride());
}

namespace
{

constexpr auto transposed = [](auto open, const auto* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               auto* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcHeight, srcWidth, dstStride);
    return open(in, out).run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
};

}  // namespace

VSR_ENTRY(vsrTransposeu8, vsrTransposeu8, transposed);
VSR_ENTRY(vsrTransposef32, vsrTransposef32, transposed);
