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

constexpr auto weightedBins = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                 const uint8_t* /*weights*/, uint32_t bins, uint8_t* dst, uint32_t dstStride) {
    return std::array{imageLength(src, srcStride, width, height), bins, imageLength(dst, dstStride, width, height)};
};

constexpr auto windowAndResult = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto...) {
    return std::array{imageLength(src, srcStride, width, height), 1u, 1u};
};

constexpr auto blockFlow = [](const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                              const uint8_t* src2, uint32_t src2Stride, uint32_t blockSize, uint32_t step,
                              uint32_t /*rangeX*/, uint32_t /*rangeY*/, int16_t* flow, uint32_t flowStride,
                              uint32_t* sads, uint32_t sadsStride)
{
    const uint32_t columns = (width - blockSize) / step + 1;
    const uint32_t rows = (height - blockSize) / step + 1;
    return std::array{imageLength(src1, src1Stride, width, height), imageLength(src2, src2Stride, width, height),
                      imageLength(flow, flowStride, 2 * columns, rows),
                      sads != nullptr ? imageLength(sads, sadsStride, columns, rows) : 0u};
};

constexpr auto motionHistory = [](const uint8_t* mask, uint32_t width, uint32_t height, uint32_t maskStride,
                                  float /*timestamp*/, float /*duration*/, float* history, uint32_t historyStride)
{
    return std::array{imageLength(mask, maskStride, width, height), imageLength(history, historyStride, width, height)};
};

constexpr auto motionGradient = [](const float* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                   float /*minDelta*/, float /*maxDelta*/, float* orientation,
                                   uint32_t orientationStride, uint8_t* mask, uint32_t maskStride)
{
    return std::array{imageLength(src, srcStride, width, height),
                      imageLength(orientation, orientationStride, width, height),
                      imageLength(mask, maskStride, width, height)};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/track.def"
