// Entry points of what finds edges, peaks and boxes.
#include "common/entries/visoraShapeEntries.h"
#include "visora/variants/shape.h"

using visora::areFinite;
using visora::Array;
using visora::atLeastOne;
using visora::hasShapeSides;
using visora::In;
using visora::Out;
using visora::Result;
using visora::resultList;

vsrStatus vsrEdgeThins16(const int16_t* dx, uint32_t width, uint32_t height, uint32_t dxStride, const int16_t* dy,
                         uint32_t dyStride, uint16_t* dst, uint32_t dstStride)
{
    const In inX(dx, width, height, dxStride);
    const In inY(dy, width, height, dyStride);
    const Out out(dst, width, height, dstStride);
    return VSR_CALL(vsrEdgeThins16, inX, inY, out)
        .require(hasShapeSides(width, height))
        .run(dx, width, height, inX.stride(), dy, inY.stride(), dst, out.stride());
}

vsrStatus vsrFindPeaksu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t radius,
                         uint8_t threshold, uint32_t* xy, uint8_t* values, uint32_t capacity, uint32_t* count)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result points = resultList(xy, 2 * uint64_t{capacity});
    const Result pixels = resultList(values, capacity);
    const Result number(count);
    return VSR_CALL(vsrFindPeaksu8, in, points, pixels, number)
        .require(hasShapeSides(srcWidth, srcHeight) && radius <= 255)
        .run(src, srcWidth, srcHeight, in.stride(), radius, threshold, xy, values, capacity, count);
}

vsrStatus vsrFindPeaksf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t radius,
                          float threshold, uint32_t refine, float* xy, float* values, uint32_t capacity,
                          uint32_t* count)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result points = resultList(xy, 2 * uint64_t{capacity});
    const Result pixels = resultList(values, capacity);
    const Result number(count);
    return VSR_CALL(vsrFindPeaksf32, in, points, pixels, number)
        .require(hasShapeSides(srcWidth, srcHeight) && radius <= 255 && std::isfinite(threshold))
        .run(src, srcWidth, srcHeight, in.stride(), radius, threshold, refine, xy, values, capacity, count);
}

vsrStatus vsrNonMaxSuppressf32(const float* boxes, const float* scores, uint32_t numBoxes, float scoreThreshold,
                               float maxOverlap, uint32_t* indices, uint32_t capacity, uint32_t* count)
{
    const Array boxList(boxes, atLeastOne(4 * uint64_t{numBoxes}));
    const Array scoreList(scores, atLeastOne(numBoxes));
    const Result list = resultList(indices, capacity);
    const Result number(count);
    return VSR_CALL(vsrNonMaxSuppressf32, boxList, scoreList, list, number)
        .require(std::isfinite(scoreThreshold) && std::isfinite(maxOverlap) && maxOverlap >= 0 &&
                 areFinite(scores, numBoxes))
        .run(boxes, scores, numBoxes, scoreThreshold, maxOverlap, indices, capacity, count);
}
