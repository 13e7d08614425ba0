// Entry points of the histograms.
#include <bit>
#include <cmath>

#include "common/visoraEntry.h"
#include "common/visoraRectangle.h"
#include "visora/variants/statistics.h"
#include "visora/variants/track.h"

using visora::Array;
using visora::In;
using visora::kInPlace;
using visora::liesInside;
using visora::Mask;
using visora::Out;
using visora::Result;

namespace
{

constexpr bool fewerThan32BitsOfPixels(uint32_t width, uint32_t height)
{
    return uint64_t{width} * height <= UINT32_MAX;
}

constexpr auto equalize = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
    return open(in, out)
        .require(fewerThan32BitsOfPixels(srcWidth, srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
};

constexpr auto equalizePacked = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
{ return equalize(open, src, width, height, 0, dst, 0); };

constexpr auto backProject = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                uint32_t srcStride, const uint8_t* weights, uint32_t bins, uint8_t* dst,
                                uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array weightList(weights, bins);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
    return open(in, weightList, out)
        .require(bins <= 256)
        .run(src, srcWidth, srcHeight, in.stride(), weights, bins, dst, out.stride());
};

constexpr auto backProjectPacked = [](auto open, const uint8_t* src, uint32_t width, uint32_t height,
                                      const uint8_t* weights, uint32_t bins, uint8_t* dst)
{ return backProject(open, src, width, height, 0, weights, bins, dst, 0); };

constexpr bool areTiles(uint32_t width, uint32_t height, uint32_t tilesX, uint32_t tilesY)
{
    return tilesX >= 1 && tilesX <= width && tilesY >= 1 && tilesY <= height && fewerThan32BitsOfPixels(width, height);
}

}  // namespace

vsrStatus vsrImageIntensityHistogram(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint32_t left, uint32_t top, uint32_t width, uint32_t height, uint32_t* histogram)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result counts(histogram, 256);
    return VSR_CALL(vsrImageIntensityHistogram, in, counts)
        .require(width != 0 && height != 0 && liesInside(left, top, width, height, srcWidth, srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), left, top, width, height, histogram);
}

vsrStatus vsrImageIntensityHistogram_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        const uint8_t* mask, uint32_t maskStride, uint32_t lower, uint32_t upper,
                                        uint32_t bins, uint32_t* histogram)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Mask counted(mask, srcWidth, srcHeight, maskStride);
    const Result counts(histogram, bins);
    return VSR_CALL(vsrImageIntensityHistogram_v2, in, counted, counts)
        .require(lower < upper && upper <= 256 && bins <= 256)
        .run(src, srcWidth, srcHeight, in.stride(), mask, counted.stride(), lower, upper, bins, histogram);
}

vsrStatus vsrHistogram2Du8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                           const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                           uint32_t bins1, uint32_t bins2, uint32_t* histogram)
{
    const In in1(src1, width, height, src1Stride);
    const In in2(src2, width, height, src2Stride);
    const Mask counted(mask, width, height, maskStride);
    const Result counts(histogram, uint64_t{bins1} * bins2);
    return VSR_CALL(vsrHistogram2Du8, in1, in2, counted, counts)
        .require(bins1 <= 256 && bins2 <= 256)
        .run(src1, width, height, in1.stride(), src2, in2.stride(), mask, counted.stride(), bins1, bins2, histogram);
}

vsrStatus vsrHistogramDistancef32(const float* histogram1, const float* histogram2, uint32_t count, uint32_t method,
                                  float* distance)
{
    const Array in1(histogram1, count);
    const Array in2(histogram2, count);
    const Result result(distance);
    return VSR_CALL(vsrHistogramDistancef32, in1, in2, result)
        .require(method <= VISORA_HISTOGRAM_BHATTACHARYYA)
        .run(histogram1, histogram2, count, method, distance);
}

VSR_ENTRY(vsrEqualizeHistogramu8, vsrEqualizeHistogramu8, equalizePacked);
VSR_ENTRY(vsrEqualizeHistogramu8_v2, vsrEqualizeHistogramu8, equalize);
VSR_ENTRY(vsrBackProjectu8, vsrBackProjectu8, backProjectPacked);
VSR_ENTRY(vsrBackProjectu8_v2, vsrBackProjectu8, backProject);

vsrStatus vsrClaheu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t tilesX,
                     uint32_t tilesY, float clipLimit, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
    return VSR_CALL(vsrClaheu8, in, out)
        .require(areTiles(srcWidth, srcHeight, tilesX, tilesY) && std::isfinite(clipLimit) && clipLimit >= 0)
        .run(src, srcWidth, srcHeight, in.stride(), tilesX, tilesY, clipLimit, dst, out.stride());
}

vsrStatus vsrClaheu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t tilesX,
                      uint32_t tilesY, float clipLimit, uint32_t bins, uint16_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
    return VSR_CALL(vsrClaheu16, in, out)
        .require(areTiles(srcWidth, srcHeight, tilesX, tilesY) && std::isfinite(clipLimit) && clipLimit >= 0 &&
                 std::has_single_bit(bins) && bins >= 16 && bins <= 65536)
        .run(src, srcWidth, srcHeight, in.stride(), tilesX, tilesY, clipLimit, bins, dst, out.stride());
}
