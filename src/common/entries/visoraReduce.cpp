// Entry points of reductions and distances.
#include <algorithm>

#include "common/visoraEntry.h"
#include "visora/variants/arithmetic.h"

using visora::In;
using visora::Mask;
using visora::Numbers;
using visora::Out;
using visora::Result;

namespace
{

constexpr auto reduction =
    [](auto open, const auto* src, uint32_t width, uint32_t height, uint32_t stride, auto*... results)
{
    const In in(src, width, height, stride);
    return open(in, Numbers(results)...).run(src, width, height, in.stride(), results...);
};

constexpr auto reductionPacked = [](auto open, const auto* src, uint32_t width, uint32_t height, auto*... results)
{ return reduction(open, src, width, height, 0, results...); };

constexpr auto reductionMasked = [](auto open, const auto* src, uint32_t width, uint32_t height, uint32_t stride,
                                    const uint8_t* mask, uint32_t maskStride, auto*... results)
{
    const In in(src, width, height, stride);
    const Mask places(mask, width, height, maskStride);
    return open(in, places, Numbers(results)...)
        .run(src, width, height, in.stride(), mask, places.stride(), results...);
};

constexpr auto projection =
    [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, vsrReduction how, uint32_t* dst)
{
    const In in(src, width, height, stride);
    return open(in, Numbers(dst)).require(how <= VISORA_REDUCE_MAX).run(src, width, height, in.stride(), how, dst);
};

// An exact sum of squares ends at this length.
template <uint32_t longest>
constexpr auto distances = [](auto open, const auto* query, uint32_t length, const auto* set, uint32_t numVectors,
                              uint32_t setStride, auto* dst)
{
    // A set without vectors is fine, but no work for a DSP.
    const In vectors(set, length, std::max(numVectors, 1U), setStride);
    const In one(query, length, 1, 0);
    return open(vectors, one, Numbers(dst))
        .keepDspIf(numVectors != 0)
        .require(length <= longest)
        .run(query, length, set, numVectors, vectors.stride(), dst);
};

}  // namespace

VSR_ENTRY(vsrSumu8, vsrSumu8, reductionMasked);
VSR_ENTRY(vsrSums16, vsrSums16, reduction);
VSR_ENTRY(vsrSumf32, vsrSumf32, reduction);
VSR_ENTRY(vsrSumOfSquaresu8, vsrSumOfSquaresu8, reduction);
VSR_ENTRY(vsrSumOfSquaress16, vsrSumOfSquaress16, reduction);
VSR_ENTRY(vsrAverageu8, vsrAverageu8, reductionMasked);
VSR_ENTRY(vsrAverages32, vsrAverages32, reduction);
VSR_ENTRY(vsrCountNonZerou8, vsrCountNonZerou8, reduction);
VSR_ENTRY(vsrBitCountu8, vsrBitCountu8, reductionPacked);
VSR_ENTRY(vsrBitCountu8_v2, vsrBitCountu8, reduction);
VSR_ENTRY(vsrMinMaxu8, vsrMinMaxu8, reductionMasked);
VSR_ENTRY(vsrMinMaxs16, vsrMinMaxs16, reduction);
VSR_ENTRY(vsrMinMaxs32, vsrMinMaxs32, reduction);
VSR_ENTRY(vsrMinMaxf32, vsrMinMaxf32, reduction);
VSR_ENTRY(vsrMinMaxLocu8, vsrMinMaxLocu8, reductionPacked);
VSR_ENTRY(vsrMinMaxLocu8_v2, vsrMinMaxLocu8, reduction);
VSR_ENTRY(vsrMinMaxLocs16, vsrMinMaxLocs16, reduction);
VSR_ENTRY(vsrMinMaxLocf32, vsrMinMaxLocf32, reduction);
VSR_ENTRY(vsrReduceColumnsu8, vsrReduceColumnsu8, projection);
VSR_ENTRY(vsrReduceRowsu8, vsrReduceRowsu8, projection);
VSR_ENTRY(vsrSumOfSquaredDiffu8, vsrSumOfSquaredDiffu8, distances<66051>);
VSR_ENTRY(vsrSumOfSquaredDiffs8, vsrSumOfSquaredDiffs8, distances<33025>);
VSR_ENTRY(vsrSumOfSquaredDifff32, vsrSumOfSquaredDifff32, distances<UINT32_MAX>);

vsrStatus vsrBitCountu32(const uint32_t* src, uint32_t length, uint32_t* bitCount)
{
    // An array may be longer than a row of an image.
    const uint64_t bytes = uint64_t{length} * sizeof(*src);
    return VSR_CALL(vsrBitCountu32, Numbers(src), Numbers(bitCount))
        .keepDspIf(bytes >= visora::kMinDspPixels && visora::multiplesOf<8>(length) && visora::aligned<8>(src))
        .keepGpuIf(visora::aligned<16>(src))
        .require(length != 0)
        .run(src, length, bitCount);
}

vsrStatus vsrSumOfAbsoluteDiffu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                 const uint8_t* src2, uint32_t src2Stride, uint64_t* sum)
{
    const In in1(src1, width, height, src1Stride);
    const In in2(src2, width, height, src2Stride);
    return VSR_CALL(vsrSumOfAbsoluteDiffu8, in1, in2, Numbers(sum))
        .run(src1, width, height, in1.stride(), src2, in2.stride(), sum);
}

vsrStatus vsrSumOfAbsoluteDiffMxNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    const uint8_t* patch, uint32_t M, uint32_t N, uint32_t patchStride, uint32_t* dst,
                                    uint32_t dstStride, uint32_t* bestXY)
{
    const bool fits = M <= srcWidth && N <= srcHeight && uint64_t{M} * N <= 1U << 24;
    const In in(src, srcWidth, srcHeight, srcStride);
    const In block(patch, M, N, patchStride);
    const Out out(dst, fits ? srcWidth - M + 1 : 1, fits ? srcHeight - N + 1 : 1, dstStride);
    return VSR_CALL(vsrSumOfAbsoluteDiffMxNu8, in, block, out, Result(bestXY, 2))
        .require(fits)
        .run(src, srcWidth, srcHeight, in.stride(), patch, M, N, block.stride(), dst, out.stride(), bestXY);
}
