// DSP routines of the operations that move pixels.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto turnedPairs = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                                uint32_t dstStride, uint32_t rotation)
{
    const uint32_t dstWidth = rotation == 2 ? width : height;
    const uint32_t dstHeight = rotation == 2 ? height : width;
    return std::array{imageLength(src, srcStride, 2 * width, height),
                      imageLength(dst, dstStride, 2 * dstWidth, dstHeight)};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/warp.def"
