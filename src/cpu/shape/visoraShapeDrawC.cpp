// Drawing, reference variants.
#include "cpu/shape/visoraShapePolygon.h"
#include "visora/variants/shape.h"

using visora::Canvas;
using visora::CanvasPoint;

vsrStatus vsrDrawLineu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                         int32_t x0, int32_t y0, int32_t x1, int32_t y1, const uint8_t* color, uint32_t thickness,
                         uint32_t antialias)
{
    visora::drawLine({dst, dstWidth, dstHeight, dstStride, channels, color}, {x0, y0}, {x1, y1}, thickness, antialias);
    return VISORA_SUCCESS;
}

vsrStatus vsrDrawPolylineu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                             const int32_t* xy, const uint32_t* lengths, uint32_t numChains, uint32_t closed,
                             const uint8_t* color, uint32_t thickness, uint32_t antialias)
{
    visora::drawPolyline({dst, dstWidth, dstHeight, dstStride, channels, color}, xy, lengths, numChains, closed != 0,
                         [=](const Canvas& to, CanvasPoint a, CanvasPoint b)
                         { visora::drawLine(to, a, b, thickness, antialias); });
    return VISORA_SUCCESS;
}

vsrStatus vsrFillPolygonu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                            const int32_t* xy, const uint32_t* lengths, uint32_t numChains, const uint8_t* color)
{
    return visora::fillPolygon({dst, dstWidth, dstHeight, dstStride, channels, color}, xy, lengths, numChains);
}

vsrStatus vsrDrawEllipseu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                            const vsrEllipse* ellipse, float startAngle, float endAngle, const uint8_t* color,
                            uint32_t thickness)
{
    const visora::EllipsePoints points(*ellipse, startAngle, endAngle);
    return visora::drawEllipse({dst, dstWidth, dstHeight, dstStride, channels, color}, points, thickness,
                               [&](auto body)
                               {
                                   for (uint32_t k = 0; k < points.count(); ++k)
                                   {
                                       const CanvasPoint at = points.at(k);
                                       body(at.x, at.y);
                                   }
                               });
}
