// Integral images, reference variants.
#include <algorithm>
#include <cmath>

#include "cpu/integral/visoraIntegral.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/statistics.h"

using visora::planeRow;

namespace
{

/** A row of zeros, then for every row of the image a zero and the running sums of term(x, y) plus the row above. */
template <class Sum, class Term>
void integrate(uint32_t width, uint32_t height, Sum* dst, uint32_t dstStride, Term term)
{
    std::fill_n(dst, size_t{width} + 1, Sum{0});
    for (size_t y = 0; y < height; ++y)
    {
        const Sum* above = planeRow(dst, dstStride, y);
        Sum* row = planeRow(dst, dstStride, y + 1);
        Sum sum = 0;
        row[0] = 0;
        for (size_t x = 0; x < width; ++x)
        {
            sum += term(x, y);
            row[x + 1] = above[x + 1] + sum;
        }
    }
}

}  // namespace

vsrStatus vsrIntegrateImageu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t* dst, uint32_t dstStride)
{
    integrate(srcWidth, srcHeight, dst, dstStride, [=](size_t x, size_t y) { return src[y * srcStride + x]; });
    return VISORA_SUCCESS;
}

vsrStatus vsrIntegrateImageu16C(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint64_t* dst, uint32_t dstStride)
{
    integrate(srcWidth, srcHeight, dst, dstStride, [=](size_t x, size_t y) { return planeRow(src, srcStride, y)[x]; });
    return VISORA_SUCCESS;
}

vsrStatus vsrIntegrateImages16C(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                int32_t* dst, uint32_t dstStride)
{
    // Unsigned, which wraps.
    integrate(srcWidth, srcHeight, reinterpret_cast<uint32_t*>(dst), dstStride,
              [=](size_t x, size_t y) { return static_cast<uint32_t>(planeRow(src, srcStride, y)[x]); });
    return VISORA_SUCCESS;
}

vsrStatus vsrIntegrateImagef32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                                uint32_t dstStride)
{
    std::fill_n(dst, size_t{srcWidth} + 1, 0.0f);
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const float* pixels = planeRow(src, srcStride, y);
        const float* above = planeRow(dst, dstStride, y);
        float* row = planeRow(dst, dstStride, y + 1);
        float sum = 0;
        row[0] = 0;
        for (size_t x = 0; x < srcWidth; ++x)
        {
            sum += pixels[x];
            row[x + 1] = visora::standardNaN(above[x + 1] + sum);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrIntegrateImageSquaredu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint64_t* dst, uint32_t dstStride)
{
    integrate(srcWidth, srcHeight, dst, dstStride,
              [=](size_t x, size_t y)
              {
                  const uint32_t p = src[y * srcStride + x];
                  return p * p;
              });
    return VISORA_SUCCESS;
}

vsrStatus vsrIntegrateImageMaskedu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const uint8_t* mask, uint32_t maskStride, uint32_t* sums, uint32_t sumsStride,
                                     uint32_t* counts, uint32_t countsStride)
{
    const auto counted = [=](size_t x, size_t y) { return mask[y * maskStride + x] != 0; };
    integrate(srcWidth, srcHeight, sums, sumsStride,
              [=](size_t x, size_t y) { return counted(x, y) ? uint32_t{src[y * srcStride + x]} : 0u; });
    integrate(srcWidth, srcHeight, counts, countsStride, [=](size_t x, size_t y) { return counted(x, y) ? 1u : 0u; });
    return VISORA_SUCCESS;
}

vsrStatus vsrIntegrateRowsu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint32_t* dst, uint32_t dstStride)
{
    for (size_t y = 0; y < srcHeight; ++y)
    {
        uint32_t* row = planeRow(dst, dstStride, y);
        uint32_t sum = 0;
        row[0] = 0;
        for (size_t x = 0; x < srcWidth; ++x)
        {
            row[x + 1] = sum += src[y * srcStride + x];
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrIntegrateTiltedu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t* dst, uint32_t dstStride)
{
    std::fill_n(dst, size_t{srcWidth} + 1, 0u);
    for (size_t y = 1; y <= srcHeight; ++y)
    {
        const visora::TiltedRows rows(src, srcStride, dst, dstStride, y, srcWidth);
        uint32_t* row = planeRow(dst, dstStride, y);
        for (size_t x = 0; x <= srcWidth; ++x)
        {
            row[x] = rows.element(x);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrIntegratePatchu8C(const uint8_t* src, uint32_t /*srcWidth*/, uint32_t /*srcHeight*/, uint32_t srcStride,
                               const uint32_t* xy, uint32_t count, uint32_t patchWidth, uint32_t patchHeight,
                               uint32_t* sums, uint64_t* squares)
{
    for (size_t i = 0; i < count; ++i)
    {
        const uint8_t* patch = src + size_t{xy[2 * i + 1]} * srcStride + xy[2 * i];
        uint32_t sum = 0;
        uint64_t square = 0;
        for (size_t y = 0; y < patchHeight; ++y, patch += srcStride)
        {
            for (size_t x = 0; x < patchWidth; ++x)
            {
                sum += patch[x];
                square += uint32_t{patch[x]} * patch[x];
            }
        }
        sums[i] = sum;
        squares[i] = square;
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrIntegrateRectSumsu32C(const uint32_t* integral, uint32_t /*width*/, uint32_t /*height*/,
                                   uint32_t integralStride, uint32_t originX, uint32_t originY,
                                   const vsrWeightedRectangle* rectangles, uint32_t rectanglesPerSum, uint32_t count,
                                   int32_t* sums)
{
    for (size_t i = 0; i < count; ++i)
    {
        uint32_t sum = 0;
        for (size_t k = 0; k < rectanglesPerSum; ++k)
        {
            const vsrWeightedRectangle& r = *rectangles++;
            sum +=
                static_cast<uint32_t>(r.weight) * visora::rectangleSum(integral, integralStride, size_t{originX} + r.x,
                                                                       size_t{originY} + r.y, r.width, r.height);
        }
        sums[i] = static_cast<int32_t>(sum);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrIntegrateRectMeansu32C(const uint32_t* integral, uint32_t /*width*/, uint32_t /*height*/,
                                    uint32_t integralStride, const uint64_t* squares, uint32_t squaresStride,
                                    const vsrRectangle* rectangles, uint32_t count, float* means, float* deviations)
{
    for (size_t i = 0; i < count; ++i)
    {
        const vsrRectangle& r = rectangles[i];
        const auto s = static_cast<double>(visora::rectangleSum(integral, integralStride, r.x, r.y, r.width, r.height));
        const auto q = static_cast<double>(visora::rectangleSum(squares, squaresStride, r.x, r.y, r.width, r.height));
        const auto n = static_cast<double>(uint64_t{r.width} * r.height);
        const double d = n * q - s * s;
        means[i] = static_cast<float>(s / n);
        deviations[i] = static_cast<float>(std::sqrt(d > 0 ? d : 0) / n);
    }
    return VISORA_SUCCESS;
}
