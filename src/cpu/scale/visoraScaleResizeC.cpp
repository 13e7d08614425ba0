// Resizing, reference variant.
#include <algorithm>
#include <cstddef>

#include "cpu/scale/visoraScaleResize.h"
#include "cpu/visoraInterpolation.h"
#include "visora/variants/scale.h"

namespace
{

using visora::AreaSpan;
using visora::kLinearTotal;
using visora::LinearTaps;

// `at` tells element (column, row) of a plane, or what is taken for it.
template <class At>
void bilinear(uint32_t srcWidth, uint32_t srcHeight, uint32_t channels, uint8_t* dst, uint32_t dstWidth,
              uint32_t dstHeight, uint32_t dstStride, At at)
{
    constexpr uint32_t kTotal = kLinearTotal * kLinearTotal;
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        const LinearTaps row(y, srcHeight, dstHeight);
        uint8_t* out = dst + size_t{y} * dstStride;
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            const LinearTaps column(x, srcWidth, dstWidth);
            for (uint32_t c = 0; c < channels; ++c)
            {
                const auto between = [&](int64_t line) -> uint32_t
                {
                    return at(column.outerLower, line, c) * (kLinearTotal - column.weight) +
                           at(column.outerLower + 1, line, c) * column.weight;
                };
                out[size_t{x} * channels + c] =
                    static_cast<uint8_t>((between(row.outerLower) * (kLinearTotal - row.weight) +
                                          between(row.outerLower + 1) * row.weight + kTotal / 2) /
                                         kTotal);
            }
        }
    }
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

vsrStatus vsrScaleBilinearu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint32_t channels, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                              uint32_t dstStride)
{
    bilinear(srcWidth, srcHeight, channels, dst, dstWidth, dstHeight, dstStride,
             [=](int64_t x, int64_t y, uint32_t c) -> uint32_t
             {
                 const auto column = static_cast<size_t>(std::clamp<int64_t>(x, 0, int64_t{srcWidth} - 1));
                 const auto row = static_cast<size_t>(std::clamp<int64_t>(y, 0, int64_t{srcHeight} - 1));
                 return src[row * srcStride + column * channels + c];
             });
    return VISORA_SUCCESS;
}

vsrStatus vsrScaleBilinearf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                               uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        const visora::LinearFloatTaps row(y, srcHeight, dstHeight);
        const float* upper = src + row.lower * size_t{srcStride / sizeof(float)};
        const float* lower = src + row.upper * size_t{srcStride / sizeof(float)};
        float* out = dst + y * size_t{dstStride / sizeof(float)};
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            const visora::LinearFloatTaps column(x, srcWidth, dstWidth);
            out[x] = visora::oneNan(visora::lerp(visora::lerp(upper[column.lower], upper[column.upper], column.weight),
                                                 visora::lerp(lower[column.lower], lower[column.upper], column.weight),
                                                 row.weight));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrScaleu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                      uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrInterpolation interpolation)
{
    if (interpolation == VISORA_INTERPOLATION_BILINEAR)
    {
        return vsrScaleBilinearu8C(src, srcWidth, srcHeight, srcStride, 1, dst, dstWidth, dstHeight, dstStride);
    }
    const size_t stride = srcStride;
    const uint64_t area = uint64_t{srcWidth} * srcHeight;
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        uint8_t* out = dst + size_t{y} * dstStride;
        const uint8_t* nearest = src + visora::nearestIndex(y, srcHeight, dstHeight) * stride;
        const AreaSpan rows(y, srcHeight, dstHeight);
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            out[x] =
                interpolation == VISORA_INTERPOLATION_NEAREST
                    ? nearest[visora::nearestIndex(x, srcWidth, dstWidth)]
                    : static_cast<uint8_t>(
                          // A span is never empty. NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult)
                          (coveredSum(src, stride, AreaSpan(x, srcWidth, dstWidth), rows) + area / 2) / area);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrScaleu8_v2C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrInterpolation interpolation,
                         vsrBorderType borderType, uint8_t borderValue)
{
    if (interpolation != VISORA_INTERPOLATION_BILINEAR || borderType != VISORA_BORDER_CONSTANT)
    {
        return vsrScaleu8C(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, interpolation);
    }
    bilinear(srcWidth, srcHeight, 1, dst, dstWidth, dstHeight, dstStride,
             [=](int64_t x, int64_t y, uint32_t) -> uint32_t
             {
                 const bool inside = x >= 0 && x < srcWidth && y >= 0 && y < srcHeight;
                 return inside ? src[static_cast<size_t>(y) * srcStride + static_cast<size_t>(x)] : borderValue;
             });
    return VISORA_SUCCESS;
}
