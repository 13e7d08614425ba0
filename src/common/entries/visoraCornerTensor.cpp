// Entry points of the corners by the matrix of gradients and of their refinement.
#include <cmath>

#include "common/visoraEntry.h"
#include "visora/variants/corner.h"

using visora::Array;
using visora::In;
using visora::Numbers;
using visora::Result;
using visora::ResultList;

namespace
{

constexpr uint32_t kFarthest = 65535;
constexpr uint32_t kLargestWindow = 255;
constexpr uint32_t kLongestSide = 1 << 24;

constexpr bool isWindowSide(uint32_t side)
{
    return side % 2 == 1 && side >= 3 && side <= kLargestWindow;
}

}  // namespace

vsrStatus vsrCornerHarrisu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            int32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    return VSR_CALL(vsrCornerHarrisu8, in, ResultList(xy), Result(nCorners))
        .run(src, srcWidth, srcHeight, in.stride(), threshold, border, xy, nCornersMax, nCorners);
}

vsrStatus vsrCornerHarrisScoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 int32_t threshold, uint32_t border, uint32_t* xy, int32_t* scores,
                                 uint32_t nCornersMax, uint32_t* nCorners, uint32_t nmsEnabled)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    return VSR_CALL(vsrCornerHarrisScoreu8, in, ResultList(xy), ResultList(scores), Result(nCorners))
        .run(src, srcWidth, srcHeight, in.stride(), threshold, border, xy, scores, nCornersMax, nCorners, nmsEnabled);
}

vsrStatus vsrCornerHarrisInMasku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  int32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                  uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array bits(mask, (uint64_t{maskWidth} + 7) / 8 * maskHeight);
    return VSR_CALL(vsrCornerHarrisInMasku8, in, ResultList(xy), Result(nCorners), bits)
        .run(src, srcWidth, srcHeight, in.stride(), threshold, border, xy, nCornersMax, nCorners, mask, maskWidth,
             maskHeight);
}

vsrStatus vsrCornerMinEigenu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              float quality, uint32_t minDistance, uint32_t border, uint32_t* xy, float* scores,
                              uint32_t nCornersMax, uint32_t* nCorners)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    return VSR_CALL(vsrCornerMinEigenu8, in, ResultList(xy), ResultList(scores), Result(nCorners))
        .require(quality >= 0 && quality <= 1 && minDistance <= kFarthest)
        .run(src, srcWidth, srcHeight, in.stride(), quality, minDistance, border, xy, scores, nCornersMax, nCorners);
}

vsrStatus vsrCornerRefineSubPixu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  const float* xy, uint32_t nCorners, uint32_t windowWidth, uint32_t windowHeight,
                                  uint32_t maxIterations, float epsilon, float* refinedXY)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    // The starts may be the places themselves.
    return VSR_CALL(vsrCornerRefineSubPixu8, in, Numbers(xy), ResultList(refinedXY))
        .require(isWindowSide(windowWidth) && isWindowSide(windowHeight) && maxIterations != 0 &&
                 std::isfinite(epsilon) && epsilon >= 0 && srcWidth <= kLongestSide && srcHeight <= kLongestSide)
        .run(src, srcWidth, srcHeight, in.stride(), xy, nCorners, windowWidth, windowHeight, maxIterations, epsilon,
             refinedXY);
}
