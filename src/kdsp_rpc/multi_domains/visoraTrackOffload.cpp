// DSP routines of the trackers. A pyramid's length is the number of its level
// records.
#include "common/visoraCall.h"
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

/** A negative count is none. */
constexpr uint32_t countOf(int32_t count)
{
    return count > 0 ? static_cast<uint32_t>(count) : 0;
}

constexpr auto tracks = [](const auto* src1, const auto* src2, uint32_t width, uint32_t height, uint32_t stride,
                           const auto* /*src1Pyr*/, const auto* /*src2Pyr*/, const float* /*featureXY*/,
                           float* /*featureXY_out*/, int32_t* /*featureStatus*/, int32_t features,
                           int32_t /*windowWidth*/, int32_t /*windowHeight*/, int32_t /*maxIterations*/, int32_t levels,
                           auto...)
{
    return std::array{imageLength(src1, stride, width, height),
                      imageLength(src2, stride, width, height),
                      countOf(levels),
                      countOf(levels),
                      2 * countOf(features),
                      2 * countOf(features),
                      countOf(features)};
};

constexpr auto packedTracks = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                                 auto... rest) { return tracks(src1, src2, width, height, 0, rest...); };

/** The DSP reads the image in words of eight bytes. */
constexpr auto isAligned = [](const auto& /*lengths*/, const uint8_t* src1, const uint8_t* src2, uint32_t width,
                              uint32_t /*height*/, uint32_t stride, auto...)
{ return aligned<8>(src1, src2) && multiplesOf<8>(packedIfZero(stride, width)); };
using FallBackIfAligned = FallBackIf<isAligned>;

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/track.def"
