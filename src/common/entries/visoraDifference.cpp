// Entry points of blends and differences.
#include "common/visoraEntry.h"
#include "visora/variants/background.h"
#include "visora/variants/statistics.h"

using visora::In;
using visora::kInPlace;
using visora::Out;

namespace
{

constexpr auto difference = [](auto open, const auto* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                               const auto* src2, uint32_t src2Stride, auto* dst, uint32_t dstStride)
{
    const In in1(src1, width, height, src1Stride);
    const In in2(src2, width, height, src2Stride);
    const Out out(dst, width, height, dstStride, kInPlace);
    return open(in1, in2, out).run(src1, width, height, in1.stride(), src2, in2.stride(), dst, out.stride());
};

constexpr auto differencePacked = [](auto open, const auto* src1, uint32_t width, uint32_t height, const auto* src2,
                                     auto* dst) { return difference(open, src1, width, height, 0, src2, 0, dst, 0); };

constexpr auto frames = [](auto open, const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                           const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3, uint32_t src3Stride,
                           uint8_t threshold, uint8_t* dst, uint32_t dstStride)
{
    const In in1(src1, width, height, src1Stride);
    const In in2(src2, width, height, src2Stride);
    const In in3(src3, width, height, src3Stride);
    const Out out(dst, width, height, dstStride, kInPlace);
    return open(in1, in2, in3, out)
        .run(src1, width, height, in1.stride(), src2, in2.stride(), src3, in3.stride(), threshold, dst, out.stride());
};

constexpr auto framesPacked = [](auto open, const uint8_t* src1, uint32_t width, uint32_t height, const uint8_t* src2,
                                 const uint8_t* src3, uint8_t threshold, uint8_t* dst)
{ return frames(open, src1, width, height, 0, src2, 0, src3, 0, threshold, dst, 0); };

constexpr auto blend = [](auto open, const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                          const uint8_t* src2, uint32_t src2Stride, uint32_t alpha, const uint8_t* alphas,
                          uint32_t alphasStride, uint8_t* dst, uint32_t dstStride)
{
    const In in1(src1, width, height, src1Stride);
    const In in2(src2, width, height, src2Stride);
    const Out out(dst, width, height, dstStride, kInPlace);
    if (alphas == nullptr)
    {
        return open(in1, in2, out)
            .require(alpha <= 256)
            .run(src1, width, height, in1.stride(), src2, in2.stride(), alpha, alphas, 0u, dst, out.stride());
    }
    const In map(alphas, width, height, alphasStride);
    return open(in1, in2, map, out)
        .run(src1, width, height, in1.stride(), src2, in2.stride(), alpha, alphas, map.stride(), dst, out.stride());
};

}  // namespace

VSR_ENTRY(vsrImageDiffu8, vsrImageDiffu8, differencePacked);
VSR_ENTRY(vsrImageDiffu8_v2, vsrImageDiffu8, difference);
VSR_ENTRY(vsrImageDiffs16, vsrImageDiffs16, differencePacked);
VSR_ENTRY(vsrImageDiffs16_v2, vsrImageDiffs16, difference);
VSR_ENTRY(vsrImageDifff32, vsrImageDifff32, differencePacked);
VSR_ENTRY(vsrImageDifff32_v2, vsrImageDifff32, difference);
VSR_ENTRY(vsrImageDiffu8s16, vsrImageDiffu8s16, difference);
VSR_ENTRY(vsrFrameDifferenceu8, vsrFrameDifferenceu8, framesPacked);
VSR_ENTRY(vsrFrameDifferenceu8_v2, vsrFrameDifferenceu8, frames);

VSR_ENTRY(vsrImageBlendu8, vsrImageBlendu8, blend);
