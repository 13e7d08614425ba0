// Entry points of the integral images.
#include <algorithm>

#include "common/visoraEntry.h"
#include "common/visoraRectangle.h"
#include "visora/variants/statistics.h"

using visora::Array;
using visora::atLeastOne;
using visora::In;
using visora::liesInside;
using visora::Out;
using visora::Result;

namespace
{

// Larger by a column and a row than an image; one of 2^32 - 1 pixels a row would have rows that are too long.
template <class Image, class T>
Image integralOf(T* data, uint32_t width, uint32_t height, uint32_t stride)
{
    const auto grown = [](uint32_t size) { return size == UINT32_MAX ? size : size + 1; };
    return Image(data, grown(width), grown(height), stride);
}

constexpr auto integrate = [](auto open, const auto* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              auto* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out = integralOf<Out>(dst, srcWidth, srcHeight, dstStride);
    return open(in, out).run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
};

constexpr auto integratePacked = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst)
{ return integrate(open, src, width, height, 0, dst, 0); };

bool patchesLieInside(const uint32_t* xy, uint32_t count, uint32_t patchWidth, uint32_t patchHeight, uint32_t width,
                      uint32_t height)
{
    for (size_t i = 0; xy != nullptr && i < count; ++i)
    {
        if (!liesInside(xy[2 * i], xy[2 * i + 1], patchWidth, patchHeight, width, height))
        {
            return false;
        }
    }
    return true;
}

constexpr auto patches = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            const uint32_t* xy, uint32_t count, uint32_t patchWidth, uint32_t patchHeight,
                            uint32_t* sums, uint64_t* squares)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array places(xy, atLeastOne(2 * uint64_t{count}));
    const Result sumList(sums, atLeastOne(count));
    const Result squareList(squares, atLeastOne(count));
    return open(in, places, sumList, squareList)
        .require(patchWidth != 0 && patchHeight != 0 &&
                 patchesLieInside(xy, count, patchWidth, patchHeight, srcWidth, srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), xy, count, patchWidth, patchHeight, sums, squares);
};

constexpr auto patchesPacked = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, auto... rest)
{ return patches(open, src, width, height, 0, rest...); };

}  // namespace

VSR_ENTRY(vsrIntegrateImageu8, vsrIntegrateImageu8, integratePacked);
VSR_ENTRY(vsrIntegrateImageu8_v2, vsrIntegrateImageu8, integrate);
VSR_ENTRY(vsrIntegrateImageu16, vsrIntegrateImageu16, integrate);
VSR_ENTRY(vsrIntegrateImages16, vsrIntegrateImages16, integrate);
VSR_ENTRY(vsrIntegrateImagef32, vsrIntegrateImagef32, integrate);
VSR_ENTRY(vsrIntegrateImageSquaredu8, vsrIntegrateImageSquaredu8, integrate);
VSR_ENTRY(vsrIntegrateTiltedu8, vsrIntegrateTiltedu8, integrate);
VSR_ENTRY(vsrIntegratePatchu8, vsrIntegratePatchu8, patchesPacked);
VSR_ENTRY(vsrIntegratePatchu8_v2, vsrIntegratePatchu8, patches);

vsrStatus vsrIntegrateImageMaskedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    const uint8_t* mask, uint32_t maskStride, uint32_t* sums, uint32_t sumsStride,
                                    uint32_t* counts, uint32_t countsStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const In counted(mask, srcWidth, srcHeight, maskStride);
    const Out sumImage = integralOf<Out>(sums, srcWidth, srcHeight, sumsStride);
    const Out countImage = integralOf<Out>(counts, srcWidth, srcHeight, countsStride);
    return VSR_CALL(vsrIntegrateImageMaskedu8, in, counted, sumImage, countImage)
        .run(src, srcWidth, srcHeight, in.stride(), mask, counted.stride(), sums, sumImage.stride(), counts,
             countImage.stride());
}

vsrStatus vsrIntegrateRowsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth == UINT32_MAX ? srcWidth : srcWidth + 1, srcHeight, dstStride);
    return VSR_CALL(vsrIntegrateRowsu8, in, out).run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
}

vsrStatus vsrIntegrateRectSumsu32(const uint32_t* integral, uint32_t width, uint32_t height, uint32_t integralStride,
                                  uint32_t originX, uint32_t originY, const vsrWeightedRectangle* rectangles,
                                  uint32_t rectanglesPerSum, uint32_t count, int32_t* sums)
{
    const In in = integralOf<In>(integral, width, height, integralStride);
    const uint64_t all = uint64_t{count} * rectanglesPerSum;
    const Array list(rectangles, atLeastOne(all));
    const Result results(sums, atLeastOne(count));
    return VSR_CALL(vsrIntegrateRectSumsu32, in, list, results)
        .require(width != 0 && height != 0 && rectanglesPerSum != 0 &&
                 (rectangles == nullptr || std::all_of(rectangles, rectangles + all,
                                                       [&](const vsrWeightedRectangle& r) {
                                                           return liesInside(uint64_t{originX} + r.x,
                                                                             uint64_t{originY} + r.y, r.width, r.height,
                                                                             width, height);
                                                       })))
        .run(integral, width, height, in.stride(), originX, originY, rectangles, rectanglesPerSum, count, sums);
}

vsrStatus vsrIntegrateRectMeansu32(const uint32_t* integral, uint32_t width, uint32_t height, uint32_t integralStride,
                                   const uint64_t* squares, uint32_t squaresStride, const vsrRectangle* rectangles,
                                   uint32_t count, float* means, float* deviations)
{
    const In in = integralOf<In>(integral, width, height, integralStride);
    const In squareImage = integralOf<In>(squares, width, height, squaresStride);
    const Array list(rectangles, atLeastOne(count));
    const Result meanList(means, atLeastOne(count));
    const Result deviationList(deviations, atLeastOne(count));
    return VSR_CALL(vsrIntegrateRectMeansu32, in, squareImage, list, meanList, deviationList)
        .require(width != 0 && height != 0 &&
                 (rectangles == nullptr || std::all_of(rectangles, rectangles + count,
                                                       [&](const vsrRectangle& r) {
                                                           return r.width != 0 && r.height != 0 &&
                                                                  liesInside(r.x, r.y, r.width, r.height, width,
                                                                             height);
                                                       })))
        .run(integral, width, height, in.stride(), squares, squareImage.stride(), rectangles, count, means, deviations);
}
