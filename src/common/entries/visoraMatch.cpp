// Entry points of patches and templates.
#include "common/visoraEntry.h"
#include "visora/variants/corner.h"

using visora::Array;
using visora::In;
using visora::List;
using visora::OptionalResult;
using visora::Out;
using visora::Result;
using visora::ResultList;

namespace
{

constexpr uint32_t kGreatestRadius = 65535;
constexpr uint32_t kLargestPatch = 255;
constexpr uint64_t kLargestTemplate = 1 << 23;

template <uint32_t side>
constexpr auto scoresAt = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             const uint8_t* patch, const uint32_t* xy, uint32_t nPoints, float* scores)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    return open(in, Array(patch, side * side), List(xy), ResultList(scores))
        .run(src, srcWidth, srcHeight, in.stride(), patch, xy, nPoints, scores);
};

}  // namespace

VSR_ENTRY(vsrNCCPatchScore8x8u8, vsrNCCPatchScore8x8u8, scoresAt<8>);
VSR_ENTRY(vsrNCCPatchScore16x16u8, vsrNCCPatchScore16x16u8, scoresAt<16>);

vsrStatus vsrNCCPatchSearch8x8u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const uint8_t* patch, int32_t x, int32_t y, uint32_t radiusX, uint32_t radiusY,
                                 uint32_t* bestXY, float* score, float* offset)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    return VSR_CALL(vsrNCCPatchSearch8x8u8, in, Array(patch, 64), Result(bestXY, 2), Result(score),
                    OptionalResult(offset))
        .require(radiusX <= kGreatestRadius && radiusY <= kGreatestRadius)
        .run(src, srcWidth, srcHeight, in.stride(), patch, x, y, radiusX, radiusY, bestXY, score, offset);
}

vsrStatus vsrNCCPatchSearchNxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const uint8_t* patch, uint32_t patchSize, uint32_t patchStride, vsrSearchShape shape,
                                 int32_t x, int32_t y, uint32_t radiusX, uint32_t radiusY, uint32_t* bestXY,
                                 float* score)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const In small(patch, patchSize, patchSize, patchStride);
    return VSR_CALL(vsrNCCPatchSearchNxNu8, in, small, Result(bestXY, 2), Result(score))
        .require(patchSize <= kLargestPatch && shape <= VISORA_SEARCH_CIRCLE && radiusX <= kGreatestRadius &&
                 radiusY <= kGreatestRadius)
        .run(src, srcWidth, srcHeight, in.stride(), patch, patchSize, small.stride(), shape, x, y, radiusX, radiusY,
             bestXY, score);
}

vsrStatus vsrMatchTemplateu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             const uint8_t* templ, uint32_t templateWidth, uint32_t templateHeight,
                             uint32_t templateStride, vsrMatchMethod method, float* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const In small(templ, templateWidth, templateHeight, templateStride);
    // Where the template is larger than the image the size of the result means nothing.
    const bool fits = templateWidth <= srcWidth && templateHeight <= srcHeight;
    const Out out(dst, fits ? srcWidth - templateWidth + 1 : 0, fits ? srcHeight - templateHeight + 1 : 0, dstStride);
    return VSR_CALL(vsrMatchTemplateu8, in, small, out)
        .require(uint64_t{templateWidth} * templateHeight <= kLargestTemplate &&
                 method <= VISORA_MATCH_NORMED_COEFFICIENT)
        .run(src, srcWidth, srcHeight, in.stride(), templ, templateWidth, templateHeight, small.stride(), method, dst,
             out.stride());
}
