// DSP routines of the operations that move pixels.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

template <uint32_t channels>
constexpr auto turned = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dst,
                           uint32_t dstStride, uint32_t rotation)
{
    const uint32_t dstWidth = rotation == 2 ? width : height;
    const uint32_t dstHeight = rotation == 2 ? height : width;
    return std::array{imageLength(src, srcStride, channels * width, height),
                      imageLength(dst, dstStride, channels * dstWidth, dstHeight)};
};

constexpr auto transposed =
    [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dst, uint32_t dstStride)
{ return turned<1>(src, width, height, srcStride, dst, dstStride, 1); };

constexpr auto flipped = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t channels,
                            vsrFlipDirection, uint8_t* dst, uint32_t dstStride)
{ return sameSize(src, width * channels, height, srcStride, dst, dstStride); };

constexpr auto flippedWords = [](const uint16_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                 vsrFlipDirection, uint16_t* dst, uint32_t dstStride)
{ return sameSize(src, width, height, srcStride, dst, dstStride); };

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/warp.def"
