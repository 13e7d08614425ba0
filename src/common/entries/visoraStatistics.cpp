// Entry points of the measures of images: statistics, likeness, moments.
#include "common/visoraEntry.h"
#include "common/visoraRectangle.h"
#include "visora/variants/statistics.h"

using visora::In;
using visora::liesInside;
using visora::Result;

namespace
{

constexpr auto moments = [](auto open, const auto* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint32_t binary, vsrMoments* result)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result record(result);
    return open(in, record).run(src, srcWidth, srcHeight, in.stride(), binary, result);
};

constexpr auto momentsPacked = [](auto open, const auto* src, uint32_t width, uint32_t height, uint32_t binary,
                                  vsrMoments* result) { return moments(open, src, width, height, 0, binary, result); };

constexpr auto similarityOf = [](auto open, const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                 const uint8_t* src2, uint32_t src2Stride, float* similarity, float* psnr)
{
    const In in1(src1, width, height, src1Stride);
    const In in2(src2, width, height, src2Stride);
    const auto call = [&](const auto&... results)
    {
        return open(in1, in2, results...)
            .require(similarity == nullptr || (width >= 11 && height >= 11))
            .run(src1, width, height, in1.stride(), src2, in2.stride(), similarity, psnr);
    };
    if (psnr == nullptr)
    {
        return call(Result(similarity));
    }
    return similarity == nullptr ? call(Result(psnr)) : call(Result(similarity), Result(psnr));
};

}  // namespace

VSR_ENTRY(vsrImageMomentsu8, vsrImageMomentsu8, momentsPacked);
VSR_ENTRY(vsrImageMomentsu8_v2, vsrImageMomentsu8, moments);
VSR_ENTRY(vsrImageMomentss32, vsrImageMomentss32, momentsPacked);
VSR_ENTRY(vsrImageMomentss32_v2, vsrImageMomentss32, moments);
VSR_ENTRY(vsrImageMomentsf32, vsrImageMomentsf32, momentsPacked);
VSR_ENTRY(vsrImageMomentsf32_v2, vsrImageMomentsf32, moments);

vsrStatus vsrImageIntensityStatsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t left, uint32_t top, uint32_t width, uint32_t height, float* mean,
                                   float* variance)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result meanOut(mean);
    const Result varianceOut(variance);
    return VSR_CALL(vsrImageIntensityStatsu8, in, meanOut, varianceOut)
        .require(width != 0 && height != 0 && liesInside(left, top, width, height, srcWidth, srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), left, top, width, height, mean, variance);
}

vsrStatus vsrFocusMeasureu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint32_t gridX, uint32_t gridY, float* measures)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result out(measures, uint64_t{gridX} * gridY);
    return VSR_CALL(vsrFocusMeasureu8, in, out)
        .require(gridX <= srcWidth && gridY <= srcHeight)
        .run(src, srcWidth, srcHeight, in.stride(), gridX, gridY, measures);
}

VSR_ENTRY(vsrImageSimilarityu8, vsrImageSimilarityu8, similarityOf);
