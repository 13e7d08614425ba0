// DSP routines of the operations on regions, edges and peaks.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto chamfer = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                            const int32_t* /*points*/, uint32_t numPoints, const int32_t* /*offsets*/,
                            uint32_t numOffsets, float* /*scores*/, uint32_t* /*best*/) {
    return std::array{imageLength(src, srcStride, width, height), 2 * numPoints, 2 * numOffsets, numOffsets, 1u};
};

constexpr auto foreground = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               uint32_t /*factor*/, uint32_t /*rateShift*/, uint32_t /*minDeviation*/, uint16_t* mean,
                               uint32_t meanStride, uint16_t* deviation, uint32_t deviationStride, uint8_t* dst,
                               uint32_t dstStride)
{
    return std::array{imageLength(src, srcStride, width, height), imageLength(mean, meanStride, width, height),
                      imageLength(deviation, deviationStride, width, height),
                      imageLength(dst, dstStride, width, height)};
};

constexpr auto peaks = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t /*radius*/,
                          uint8_t /*threshold*/, uint32_t* /*xy*/, uint8_t* /*values*/, uint32_t capacity,
                          uint32_t* /*count*/) {
    return std::array{imageLength(src, srcStride, width, height), 2 * capacity, capacity, 1u};
};

constexpr auto grownRegion = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                const uint32_t* /*seeds*/, uint32_t numSeeds, uint32_t /*tolerance*/,
                                uint32_t /*connectivity*/, uint8_t /*label*/, uint8_t* mask, uint32_t maskStride,
                                uint32_t* /*count*/)
{
    return std::array{imageLength(src, srcStride, width, height), 2 * numSeeds,
                      imageLength(mask, maskStride, width, height), 1u};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/shape.def"
