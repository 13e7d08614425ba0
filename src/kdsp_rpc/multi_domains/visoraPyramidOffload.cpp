// DSP routines of the pyramids. A pyramid's length is the number of its level records.
#include "common/visoraCall.h"
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto pyramid = [](const auto* base, uint32_t width, uint32_t height, uint32_t stride, uint32_t levels,
                            vsrPyramidLevel_v2* /*pyramid*/) {
    return std::array{imageLength(base, stride, width, height), levels};
};

constexpr auto pyramidOfAnySize = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                     uint32_t levels, uint32_t /*scaleBy2*/, vsrPyramidLevel_v2* levelRecords)
{ return pyramid(src, width, height, stride, levels, levelRecords); };

constexpr auto packedPyramid = [](const auto* /*base*/, uint32_t width, uint32_t height, uint32_t levels,
                                  vsrPyramidLevel* /*pyramid*/) {
    return std::array{width * height, levels};
};

constexpr auto gradientPyramids = [](const vsrPyramidLevel* /*image*/, vsrPyramidLevel* /*dx*/, vsrPyramidLevel* /*dy*/,
                                     uint32_t levels) {
    return std::array{levels, levels, levels};
};

/** The DSP reads the image in words of eight bytes. */
constexpr auto isAligned =
    [](const auto& /*lengths*/, const uint8_t* src, uint32_t width, uint32_t /*height*/, uint32_t stride, auto...)
{ return aligned<8>(src) && multiplesOf<8>(packedIfZero(stride, width)); };
using FallBackIfAligned = FallBackIf<isAligned>;

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/pyramid.def"
