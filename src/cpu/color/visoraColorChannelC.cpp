// Channels of interleaved and planar images, reference variants.
#include "cpu/color/visoraColorChannels.h"
#include "cpu/color/visoraColorKey.h"
#include "visora/variants/color.h"

namespace visora
{
namespace
{

template <size_t channels>
vsrStatus combine(const uint8_t* const (&sources)[channels], const uint32_t (&strides)[channels], uint32_t width,
                  uint32_t height, uint8_t* dst, uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        for (size_t k = 0; k < channels; ++k)
        {
            const uint8_t* src = sources[k] + size_t{y} * strides[k];
            uint8_t* out = dst + size_t{y} * dstStride + k;
            for (uint32_t x = 0; x < width; ++x)
            {
                out[channels * x] = src[x];
            }
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace
}  // namespace visora

vsrStatus vsrChannelCombine2u8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const uint8_t* src2, uint32_t src2Stride, uint8_t* dst, uint32_t dstStride)
{
    return visora::combine<2>({src1, src2}, {src1Stride, src2Stride}, width, height, dst, dstStride);
}

vsrStatus vsrChannelCombine3u8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3, uint32_t src3Stride,
                                uint8_t* dst, uint32_t dstStride)
{
    return visora::combine<3>({src1, src2, src3}, {src1Stride, src2Stride, src3Stride}, width, height, dst, dstStride);
}

vsrStatus vsrChannelCombine4u8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3, uint32_t src3Stride,
                                const uint8_t* src4, uint32_t src4Stride, uint8_t* dst, uint32_t dstStride)
{
    return visora::combine<4>({src1, src2, src3, src4}, {src1Stride, src2Stride, src3Stride, src4Stride}, width, height,
                              dst, dstStride);
}

vsrStatus vsrChannelExtractu8C(const uint8_t* src1, const uint8_t* src2, const uint8_t* src3, uint32_t srcWidth,
                               uint32_t srcHeight, uint32_t src1Stride, uint32_t src2Stride, uint32_t src3Stride,
                               vsrPixelFormat format, vsrChannelType channel, uint8_t* dst, uint32_t dstStride)
{
    visora::ChannelPlace place;
    if (!visora::findChannel(format, channel, place))
    {
        return VISORA_EBADPARAM;
    }
    const uint8_t* const sources[] = {src1, src2, src3};
    const uint32_t strides[] = {src1Stride, src2Stride, src3Stride};
    for (uint32_t y = 0; y < place.rows(srcHeight); ++y)
    {
        const uint8_t* src = sources[place.plane] + size_t{y} * strides[place.plane];
        uint8_t* out = dst + size_t{y} * dstStride;
        for (uint32_t x = 0; x < place.columns(srcWidth); ++x, src += place.step)
        {
            out[x] = visora::sampleAt(place, src);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrChromaSwapu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                           uint32_t dstStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* from = src + size_t{y} * srcStride;
        uint8_t* to = dst + size_t{y} * dstStride;
        for (uint32_t x = 0; x < srcWidth; ++x, from += 2, to += 2)
        {
            const uint8_t first = from[0];
            to[0] = from[1];
            to[1] = first;
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrChromaKeyu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t keyCb,
                          uint8_t keyCr, uint32_t innerDistance, uint32_t outerDistance, uint8_t* dst,
                          uint32_t dstStride)
{
    const visora::ChromaKey key = {keyCb, keyCr, innerDistance, outerDistance};
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            dst[size_t{y} * dstStride + x] = key.maskOf(src + size_t{y} * srcStride + 2 * size_t{x});
        }
    }
    return VISORA_SUCCESS;
}
