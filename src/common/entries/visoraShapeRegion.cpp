// Entry points of regions, contours, distances, filling and growing.
#include "common/entries/visoraShapeEntries.h"
#include "visora/variants/shape.h"

using visora::areInside;
using visora::Array;
using visora::hasShapeSides;
using visora::In;
using visora::isConnectivity;
using visora::kInPlace;
using visora::Out;
using visora::Result;
using visora::resultList;

vsrStatus vsrFindNonZerou8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* xy,
                           uint32_t capacity, uint32_t* count)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result list = resultList(xy, 2 * uint64_t{capacity});
    const Result number(count);
    return VSR_CALL(vsrFindNonZerou8, in, list, number)
        .require(hasShapeSides(srcWidth, srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), xy, capacity, count);
}

vsrStatus vsrFindConnectedComponentsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t connectivity, uint32_t* labels, uint32_t labelStride,
                                       vsrComponent* regions, uint32_t capacity, uint32_t* numRegions)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(labels, srcWidth, srcHeight, labelStride);
    const Result number(numRegions);
    const bool isSound = hasShapeSides(srcWidth, srcHeight) && isConnectivity(connectivity);
    if (!regions && capacity == 0)
    {
        return VSR_CALL(vsrFindConnectedComponentsu8, in, out, number)
            .require(isSound)
            .run(src, srcWidth, srcHeight, in.stride(), connectivity, labels, out.stride(), regions, capacity,
                 numRegions);
    }
    const Result list = resultList(regions, capacity);
    return VSR_CALL(vsrFindConnectedComponentsu8, in, out, list, number)
        .require(isSound)
        .run(src, srcWidth, srcHeight, in.stride(), connectivity, labels, out.stride(), regions, capacity, numRegions);
}

vsrStatus vsrFindContoursu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            vsrChainType chain, uint32_t* lengths, vsrContourLinks* links, uint32_t maxContours,
                            uint32_t* numContours, int32_t* xy, uint32_t maxPoints, uint32_t* numPoints)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result lengthList = resultList(lengths, maxContours);
    const Result linkList = resultList(links, maxContours);
    const Result contours(numContours);
    const Result pointList = resultList(xy, 2 * uint64_t{maxPoints});
    const Result points(numPoints);
    return VSR_CALL(vsrFindContoursu8, in, lengthList, linkList, contours, pointList, points)
        .require(hasShapeSides(srcWidth, srcHeight) && chain <= VISORA_CHAIN_CORNERS)
        .run(src, srcWidth, srcHeight, in.stride(), chain, lengths, links, maxContours, numContours, xy, maxPoints,
             numPoints);
}

vsrStatus vsrFindOuterContoursu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 vsrChainType chain, uint32_t* lengths, uint32_t maxContours, uint32_t* numContours,
                                 int32_t* xy, uint32_t maxPoints, uint32_t* numPoints)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result lengthList = resultList(lengths, maxContours);
    const Result contours(numContours);
    const Result pointList = resultList(xy, 2 * uint64_t{maxPoints});
    const Result points(numPoints);
    return VSR_CALL(vsrFindOuterContoursu8, in, lengthList, contours, pointList, points)
        .require(hasShapeSides(srcWidth, srcHeight) && chain <= VISORA_CHAIN_CORNERS)
        .run(src, srcWidth, srcHeight, in.stride(), chain, lengths, maxContours, numContours, xy, maxPoints, numPoints);
}

vsrStatus vsrContourMeasures32(const int32_t* xy, uint32_t numPoints, vsrContourMeasure* measure)
{
    const Array points(xy, 2 * uint64_t{numPoints});
    const Result result(measure);
    return VSR_CALL(vsrContourMeasures32, points, result).run(xy, numPoints, measure);
}

vsrStatus vsrEdgeLinku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint32_t minLength, uint32_t* lengths, uint32_t maxChains, uint32_t* numChains, int32_t* xy,
                        uint32_t maxPoints, uint32_t* numPoints)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result lengthList = resultList(lengths, maxChains);
    const Result chains(numChains);
    const Result pointList = resultList(xy, 2 * uint64_t{maxPoints});
    const Result points(numPoints);
    return VSR_CALL(vsrEdgeLinku8, in, lengthList, chains, pointList, points)
        .require(hasShapeSides(srcWidth, srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), minLength, lengths, maxChains, numChains, xy, maxPoints, numPoints);
}

namespace
{

constexpr auto distances = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              auto* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return open(in, out)
        .require(hasShapeSides(srcWidth, srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
};

}  // namespace

VSR_ENTRY(vsrDistanceTransformL1u8u16, vsrDistanceTransformL1u8u16, distances);
VSR_ENTRY(vsrDistanceTransformL2u8f32, vsrDistanceTransformL2u8f32, distances);

vsrStatus vsrChamferMatchu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            const int32_t* points, uint32_t numPoints, const int32_t* offsets, uint32_t numOffsets,
                            float* scores, uint32_t* best)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array pointList(points, 2 * uint64_t{numPoints});
    const Array offsetList(offsets, 2 * uint64_t{numOffsets});
    const Result scoreList(scores, numOffsets);
    const Result index(best);
    return VSR_CALL(vsrChamferMatchu8, in, pointList, offsetList, scoreList, index)
        .require(hasShapeSides(srcWidth, srcHeight) && numPoints <= 1u << 24)
        .run(src, srcWidth, srcHeight, in.stride(), points, numPoints, offsets, numOffsets, scores, best);
}

vsrStatus vsrFloodFillu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t seedX,
                         uint32_t seedY, uint8_t value, uint32_t lower, uint32_t upper, uint32_t connectivity,
                         uint32_t floating, uint32_t* area, uint32_t* box)
{
    const Out out(dst, dstWidth, dstHeight, dstStride);
    const Result number(area);
    const Result sides(box, 4);
    return VSR_CALL(vsrFloodFillu8, out, number, sides)
        .require(hasShapeSides(dstWidth, dstHeight) && isConnectivity(connectivity) && seedX < dstWidth &&
                 seedY < dstHeight)
        .run(dst, dstWidth, dstHeight, out.stride(), seedX, seedY, value, lower, upper, connectivity, floating, area,
             box);
}

vsrStatus vsrRegionGrowu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          const uint32_t* seeds, uint32_t numSeeds, uint32_t tolerance, uint32_t connectivity,
                          uint8_t label, uint8_t* mask, uint32_t maskStride, uint32_t* count)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array seedList(seeds, 2 * uint64_t{numSeeds});
    const Out out(mask, srcWidth, srcHeight, maskStride);
    const Result number(count);
    return VSR_CALL(vsrRegionGrowu8, in, seedList, out, number)
        .require(hasShapeSides(srcWidth, srcHeight) && tolerance <= 255 && isConnectivity(connectivity) && label != 0 &&
                 areInside(seeds, numSeeds, srcWidth, srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), seeds, numSeeds, tolerance, connectivity, label, mask, out.stride(),
             count);
}

vsrStatus vsrWatershedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int32_t* labels,
                         uint32_t labelStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(labels, srcWidth, srcHeight, labelStride);
    return VSR_CALL(vsrWatershedu8, in, out)
        .require(hasShapeSides(srcWidth, srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), labels, out.stride());
}

vsrStatus vsrInpaintu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t channels,
                       const uint8_t* mask, uint32_t maskStride, uint32_t radius, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride, channels);
    // No destination may begin where the mask does.
    const In holes(mask, srcWidth, srcHeight, maskStride);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace, channels);
    return VSR_CALL(vsrInpaintu8, in, holes, out)
        .require(hasShapeSides(srcWidth, srcHeight) && (channels == 1 || channels == 3) && radius >= 1 &&
                 radius <= 16 && dst != mask)
        .run(src, srcWidth, srcHeight, in.stride(), channels, mask, holes.stride(), radius, dst, out.stride());
}

vsrStatus vsrFindForegroundu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint32_t factor, uint32_t rateShift, uint32_t minDeviation, uint16_t* mean,
                              uint32_t meanStride, uint16_t* deviation, uint32_t deviationStride, uint8_t* dst,
                              uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out means(mean, srcWidth, srcHeight, meanStride);
    const Out deviations(deviation, srcWidth, srcHeight, deviationStride);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrFindForegroundu8, in, means, deviations, out)
        .require(hasShapeSides(srcWidth, srcHeight) && factor >= 1 && factor <= 65535 && rateShift >= 1 &&
                 rateShift <= 15 && minDeviation <= 65535)
        .run(src, srcWidth, srcHeight, in.stride(), factor, rateShift, minDeviation, mean, means.stride(), deviation,
             deviations.stride(), dst, out.stride());
}
