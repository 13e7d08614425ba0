// Entry points of what finds edges, lines, circles, checkerboards, blobs, peaks and boxes.
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

namespace
{

constexpr bool isShare(float v)
{
    return v >= 0 && v <= 1;
}

bool areLimits(const vsrBlobParameters* p)
{
    return p && p->minThreshold <= p->maxThreshold && p->maxThreshold <= 255 && p->thresholdStep >= 1 &&
           p->minArea <= p->maxArea && isShare(p->minRoundness) && isShare(p->minConvexity) &&
           std::isfinite(p->minDistance) && p->minDistance >= 0;
}

}  // namespace

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

vsrStatus vsrHoughLinesu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float rhoStep,
                          float thetaStep, uint32_t threshold, float* rhoTheta, uint32_t* votes, uint32_t capacity,
                          uint32_t* count)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result lines = resultList(rhoTheta, 2 * uint64_t{capacity});
    const Result voteList = resultList(votes, capacity);
    const Result number(count);
    return VSR_CALL(vsrHoughLinesu8, in, lines, voteList, number)
        .require(hasShapeSides(srcWidth, srcHeight) && rhoStep >= 0.1f && rhoStep <= 1000 && thetaStep >= 0.05f &&
                 thetaStep <= 90)
        .run(src, srcWidth, srcHeight, in.stride(), rhoStep, thetaStep, threshold, rhoTheta, votes, capacity, count);
}

vsrStatus vsrFindLineSegmentsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t gradientThreshold, float tolerance, float minLength, float minDensity,
                                float* segments, uint32_t capacity, uint32_t* count)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result list = resultList(segments, 5 * uint64_t{capacity});
    const Result number(count);
    return VSR_CALL(vsrFindLineSegmentsu8, in, list, number)
        .require(hasShapeSides(srcWidth, srcHeight) && tolerance >= 0 && tolerance <= 90 && std::isfinite(minLength) &&
                 minLength >= 0 && isShare(minDensity))
        .run(src, srcWidth, srcHeight, in.stride(), gradientThreshold, tolerance, minLength, minDensity, segments,
             capacity, count);
}

vsrStatus vsrHoughCirclesu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint32_t cellShift, uint32_t edgeThreshold, uint32_t threshold, uint32_t minRadius,
                            uint32_t maxRadius, float minDistance, float* circles, uint32_t* votes, uint32_t capacity,
                            uint32_t* count)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result list = resultList(circles, 3 * uint64_t{capacity});
    const Result voteList = resultList(votes, capacity);
    const Result number(count);
    return VSR_CALL(vsrHoughCirclesu8, in, list, voteList, number)
        .require(hasShapeSides(srcWidth, srcHeight) && cellShift <= 4 && minRadius >= 1 && minRadius <= maxRadius &&
                 maxRadius <= 32767 && std::isfinite(minDistance) && minDistance >= 0)
        .run(src, srcWidth, srcHeight, in.stride(), cellShift, edgeThreshold, threshold, minRadius, maxRadius,
             minDistance, circles, votes, capacity, count);
}

vsrStatus vsrCheckerboardCornersu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t columns, uint32_t rows, float* xy, uint32_t* count)
{
    const auto isSide = [](uint32_t side) { return side >= 2 && side <= 255; };
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result list(xy, 2 * uint64_t{columns} * rows);
    const Result number(count);
    return VSR_CALL(vsrCheckerboardCornersu8, in, list, number)
        .require(hasShapeSides(srcWidth, srcHeight) && isSide(columns) && isSide(rows))
        .run(src, srcWidth, srcHeight, in.stride(), columns, rows, xy, count);
}

vsrStatus vsrFindBlobsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         const vsrBlobParameters* parameters, vsrBlob* blobs, uint32_t capacity, uint32_t* count)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array limits(parameters);
    const Result list = resultList(blobs, capacity);
    const Result number(count);
    return VSR_CALL(vsrFindBlobsu8, in, limits, list, number)
        .require(hasShapeSides(srcWidth, srcHeight) && areLimits(parameters))
        .run(src, srcWidth, srcHeight, in.stride(), parameters, blobs, capacity, count);
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
