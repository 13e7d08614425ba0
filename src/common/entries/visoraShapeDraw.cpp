// Entry points of drawing.
#include "common/entries/visoraShapeEntries.h"
#include "visora/variants/shape.h"

using visora::Array;
using visora::atLeastOne;
using visora::hasShapeSides;
using visora::InPlace;
using visora::Out;

namespace
{

constexpr bool isCoordinate(int32_t v)
{
    return v >= -32768 && v <= 32767;
}

constexpr bool isThickness(uint32_t thickness)
{
    return thickness >= 1 && thickness <= 255;
}

constexpr bool isImage(uint32_t width, uint32_t height, uint32_t channels)
{
    return hasShapeSides(width, height) && channels >= 1 && channels <= 4;
}

// Points of all chains; lengths may be a bad pointer.
uint64_t pointsOf(const uint32_t* lengths, uint32_t numChains)
{
    uint64_t points = 0;
    for (uint32_t i = 0; lengths && i < numChains; ++i)
    {
        points += lengths[i];
    }
    return points;
}

bool areCoordinates(const int32_t* xy, uint64_t points)
{
    return !xy || std::all_of(xy, xy + 2 * points, isCoordinate);
}

bool isEllipse(const vsrEllipse* ellipse)
{
    if (!ellipse)
    {
        return false;
    }
    const auto isWithin = [](float v, float low) { return v >= low && v <= 16383; };
    return isWithin(ellipse->cx, -16383) && isWithin(ellipse->cy, -16383) && isWithin(ellipse->radiusA, 0) &&
           isWithin(ellipse->radiusB, 0) && std::isfinite(ellipse->angle);
}

}  // namespace

vsrStatus vsrDrawLineu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                        int32_t x0, int32_t y0, int32_t x1, int32_t y1, const uint8_t* color, uint32_t thickness,
                        uint32_t antialias)
{
    const Out out(dst, dstWidth, dstHeight, dstStride, InPlace::No, channels);
    const Array bytes(color, channels);
    return VSR_CALL(vsrDrawLineu8, out, bytes)
        .require(isImage(dstWidth, dstHeight, channels) && isCoordinate(x0) && isCoordinate(y0) && isCoordinate(x1) &&
                 isCoordinate(y1) && isThickness(thickness))
        .run(dst, dstWidth, dstHeight, out.stride(), channels, x0, y0, x1, y1, color, thickness, antialias);
}

vsrStatus vsrDrawPolylineu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                            const int32_t* xy, const uint32_t* lengths, uint32_t numChains, uint32_t closed,
                            const uint8_t* color, uint32_t thickness, uint32_t antialias)
{
    const uint64_t points = pointsOf(lengths, numChains);
    const Out out(dst, dstWidth, dstHeight, dstStride, InPlace::No, channels);
    const Array pointList(xy, atLeastOne(2 * points));
    const Array chains(lengths, atLeastOne(numChains));
    const Array bytes(color, channels);
    return VSR_CALL(vsrDrawPolylineu8, out, pointList, chains, bytes)
        .require(isImage(dstWidth, dstHeight, channels) && areCoordinates(xy, points) && isThickness(thickness))
        .run(dst, dstWidth, dstHeight, out.stride(), channels, xy, lengths, numChains, closed, color, thickness,
             antialias);
}

vsrStatus vsrFillPolygonu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                           const int32_t* xy, const uint32_t* lengths, uint32_t numChains, const uint8_t* color)
{
    const uint64_t points = pointsOf(lengths, numChains);
    const Out out(dst, dstWidth, dstHeight, dstStride, InPlace::No, channels);
    const Array pointList(xy, atLeastOne(2 * points));
    const Array chains(lengths, atLeastOne(numChains));
    const Array bytes(color, channels);
    return VSR_CALL(vsrFillPolygonu8, out, pointList, chains, bytes)
        .require(isImage(dstWidth, dstHeight, channels) && areCoordinates(xy, points))
        .run(dst, dstWidth, dstHeight, out.stride(), channels, xy, lengths, numChains, color);
}

vsrStatus vsrDrawEllipseu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                           const vsrEllipse* ellipse, float startAngle, float endAngle, const uint8_t* color,
                           uint32_t thickness)
{
    const Out out(dst, dstWidth, dstHeight, dstStride, InPlace::No, channels);
    const Array shape(ellipse);
    const Array bytes(color, channels);
    return VSR_CALL(vsrDrawEllipseu8, out, shape, bytes)
        .require(isImage(dstWidth, dstHeight, channels) && isEllipse(ellipse) && std::isfinite(startAngle) &&
                 std::isfinite(endAngle) && startAngle <= endAngle && thickness <= 255)
        .run(dst, dstWidth, dstHeight, out.stride(), channels, ellipse, startAngle, endAngle, color, thickness);
}
