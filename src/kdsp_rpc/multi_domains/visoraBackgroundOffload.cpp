// DSP routines of background and frame differences.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto lesson = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                           const uint8_t* /*reach*/, uint32_t /*time*/, uint32_t maxWords, uint8_t* /*counts*/,
                           uint8_t* /*bounds*/, uint32_t* /*lastSeen*/)
{
    const uint32_t pixels = width * height;
    return std::array{imageLength(src, srcStride, 3 * width, height), 3u, pixels, 12 * maxWords * pixels,
                      maxWords * pixels};
};

constexpr auto classification = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                   uint32_t maxWords, const uint8_t* /*counts*/, const uint8_t* /*bounds*/,
                                   const uint8_t* /*below*/, const uint8_t* /*above*/, uint8_t* dst, uint32_t dstStride)
{
    const uint32_t pixels = width * height;
    return std::array{imageLength(src, srcStride, 3 * width, height), pixels, 12 * maxWords * pixels, 3u, 3u,
                      imageLength(dst, dstStride, width, height)};
};

constexpr auto threeFrames = [](const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3, uint32_t src3Stride,
                                uint8_t /*threshold*/, uint8_t* dst, uint32_t dstStride)
{
    return std::array{imageLength(src1, src1Stride, width, height), imageLength(src2, src2Stride, width, height),
                      imageLength(src3, src3Stride, width, height), imageLength(dst, dstStride, width, height)};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/background.def"
