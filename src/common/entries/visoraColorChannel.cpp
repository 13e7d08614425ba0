// Entry points of HSV, L*a*b*, channels, chroma planes, mosaics and the tone curve.
#include <cmath>

#include "common/entries/visoraColorShapes.h"
#include "cpu/color/visoraColorChannels.h"
#include "visora/variants/color.h"

using visora::imageToImage;
using visora::In;
using visora::InPlace;
using visora::kInPlace;
using visora::Out;

VSR_ENTRY(vsrColorRGB888ToHSV888u8, vsrColorRGB888ToHSV888u8, (imageToImage<3, 3, InPlace::Yes>));
VSR_ENTRY(vsrColorHSV888ToRGB888u8, vsrColorHSV888ToRGB888u8, (imageToImage<3, 3, InPlace::Yes>));
VSR_ENTRY(vsrColorRGB888ToLab888u8, vsrColorRGB888ToLab888u8, (imageToImage<3, 3, InPlace::Yes>));
VSR_ENTRY(vsrColorLab888ToRGB888u8, vsrColorLab888ToRGB888u8, (imageToImage<3, 3, InPlace::Yes>));
VSR_ENTRY(vsrChromaSwapu8, vsrChromaSwapu8, (imageToImage<2, 2, InPlace::Yes>));

vsrStatus vsrChannelCombine2u8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                               const uint8_t* src2, uint32_t src2Stride, uint8_t* dst, uint32_t dstStride)
{
    const In in1(src1, width, height, src1Stride), in2(src2, width, height, src2Stride);
    const Out out(dst, width, height, dstStride, InPlace::No, 2);
    return VSR_CALL(vsrChannelCombine2u8, in1, in2, out)
        .run(src1, width, height, in1.stride(), src2, in2.stride(), dst, out.stride());
}

vsrStatus vsrChannelCombine3u8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                               const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3, uint32_t src3Stride,
                               uint8_t* dst, uint32_t dstStride)
{
    const In in1(src1, width, height, src1Stride), in2(src2, width, height, src2Stride);
    const In in3(src3, width, height, src3Stride);
    const Out out(dst, width, height, dstStride, InPlace::No, 3);
    return VSR_CALL(vsrChannelCombine3u8, in1, in2, in3, out)
        .run(src1, width, height, in1.stride(), src2, in2.stride(), src3, in3.stride(), dst, out.stride());
}

vsrStatus vsrChannelCombine4u8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                               const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3, uint32_t src3Stride,
                               const uint8_t* src4, uint32_t src4Stride, uint8_t* dst, uint32_t dstStride)
{
    const In in1(src1, width, height, src1Stride), in2(src2, width, height, src2Stride);
    const In in3(src3, width, height, src3Stride), in4(src4, width, height, src4Stride);
    const Out out(dst, width, height, dstStride, InPlace::No, 4);
    return VSR_CALL(vsrChannelCombine4u8, in1, in2, in3, in4, out)
        .run(src1, width, height, in1.stride(), src2, in2.stride(), src3, in3.stride(), src4, in4.stride(), dst,
             out.stride());
}

vsrStatus vsrChannelExtractu8(const uint8_t* src1, const uint8_t* src2, const uint8_t* src3, uint32_t srcWidth,
                              uint32_t srcHeight, uint32_t src1Stride, uint32_t src2Stride, uint32_t src3Stride,
                              vsrPixelFormat format, vsrChannelType channel, uint8_t* dst, uint32_t dstStride)
{
    visora::ChannelPlace place;
    const bool isKnown = visora::findChannel(format, channel, place);
    if (!isKnown)
    {
        place = {0, 1, 0, false, 0, 0};
    }
    const uint8_t* const sources[] = {src1, src2, src3};
    uint32_t strides[] = {src1Stride, src2Stride, src3Stride};
    const uint32_t columns = place.columns(srcWidth), rows = place.rows(srcHeight);
    const In in(sources[place.plane], columns, rows, strides[place.plane], place.step);
    const Out out(dst, columns, rows, dstStride);
    strides[place.plane] = in.stride();
    return VSR_CALL(vsrChannelExtractu8, in, out)
        .require(isKnown)
        .run(src1, src2, src3, srcWidth, srcHeight, strides[0], strides[1], strides[2], format, channel, dst,
             out.stride());
}

vsrStatus vsrChromaKeyu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t keyCb,
                         uint8_t keyCr, uint32_t innerDistance, uint32_t outerDistance, uint8_t* dst,
                         uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride, 2);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrChromaKeyu8, in, out)
        .require(innerDistance <= outerDistance && outerDistance <= 65535)
        .run(src, srcWidth, srcHeight, in.stride(), keyCb, keyCr, innerDistance, outerDistance, dst, out.stride());
}

namespace
{

template <uint32_t dstBytes>
constexpr auto mosaic = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                           vsrBayerPattern pattern, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, width, height, srcStride);
    const Out out(dst, width, height, dstStride, InPlace::No, dstBytes);
    return open(in, out)
        .require(width >= 2 && height >= 2 && pattern <= VISORA_BAYER_BGGR)
        .run(src, width, height, in.stride(), pattern, dst, out.stride());
};

}  // namespace

VSR_ENTRY(vsrBayerToRGB888u8, vsrBayerToRGB888u8, mosaic<3>);
VSR_ENTRY(vsrBayerToGrayu8, vsrBayerToGrayu8, mosaic<1>);

vsrStatus vsrGammau8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float gamma,
                     uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
    return VSR_CALL(vsrGammau8, in, out)
        .require(std::isfinite(gamma) && gamma > 0)
        .run(src, srcWidth, srcHeight, in.stride(), gamma, dst, out.stride());
}
