// Resizing, reference variant.
#include <cstddef>

#include "cpu/scale/visoraScaleResize.h"
#include "visora/variants/scale.h"

namespace
{

using visora::AreaSpan;
using visora::kLinearTotal;
using visora::LinearTaps;

uint8_t bilinear(const uint8_t* upper, const uint8_t* lower, const LinearTaps& column, const LinearTaps& row)
{
    const auto between = [&](const uint8_t* pixels)
    { return pixels[column.lower] * (kLinearTotal - column.weight) + pixels[column.upper] * column.weight; };
    constexpr uint32_t kTotal = kLinearTotal * kLinearTotal;
    return static_cast<uint8_t>(
        (between(upper) * (kLinearTotal - row.weight) + between(lower) * row.weight + kTotal / 2) / kTotal);
}

uint64_t coveredSum(const uint8_t* src, size_t stride, const AreaSpan& columns, const AreaSpan& rows)
{
    uint64_t sum = 0;
    for (uint32_t y = rows.first(); y <= rows.last(); ++y)
    {
        for (uint32_t x = columns.first(); x <= columns.last(); ++x)
        {
            sum += uint64_t{rows.covered(y)} * columns.covered(x) * src[y * stride + x];
        }
    }
    return sum;
}

}  // namespace

vsrStatus vsrScaleu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                      uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrInterpolation interpolation)
{
    const size_t stride = srcStride;
    const uint64_t area = uint64_t{srcWidth} * srcHeight;
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        uint8_t* out = dst + size_t{y} * dstStride;
        const uint8_t* nearest = src + visora::nearestIndex(y, srcHeight, dstHeight) * stride;
        const LinearTaps rowTaps(y, srcHeight, dstHeight);
        const AreaSpan rows(y, srcHeight, dstHeight);
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            switch (interpolation)
            {
                case VISORA_INTERPOLATION_NEAREST:
                    out[x] = nearest[visora::nearestIndex(x, srcWidth, dstWidth)];
                    break;
                case VISORA_INTERPOLATION_BILINEAR:
                    out[x] = bilinear(src + rowTaps.lower * stride, src + rowTaps.upper * stride,
                                      LinearTaps(x, srcWidth, dstWidth), rowTaps);
                    break;
                default:
                    out[x] = static_cast<uint8_t>(
                        (coveredSum(src, stride, AreaSpan(x, srcWidth, dstWidth), rows) + area / 2) / area);
                    break;
            }
        }
    }
    return VISORA_SUCCESS;
}
