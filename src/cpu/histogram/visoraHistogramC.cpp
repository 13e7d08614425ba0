// Histograms, reference variants.
#include <algorithm>

#include "cpu/histogram/visoraHistogram.h"
#include "cpu/histogram/visoraHistogramDistance.h"
#include "visora/variants/statistics.h"
#include "visora/variants/track.h"

namespace
{

void mapLevels(const uint8_t* src, uint32_t width, uint32_t height, size_t srcStride, const visora::ByteTable& table,
               uint8_t* dst, size_t dstStride)
{
    for (size_t y = 0; y < height; ++y, src += srcStride, dst += dstStride)
    {
        std::transform(src, src + width, dst, [&](uint8_t v) { return table[v]; });
    }
}

}  // namespace

vsrStatus vsrImageIntensityHistogramC(const uint8_t* src, uint32_t /*srcWidth*/, uint32_t /*srcHeight*/,
                                      uint32_t srcStride, uint32_t left, uint32_t top, uint32_t width, uint32_t height,
                                      uint32_t* histogram)
{
    const uint8_t* rectangle = src + size_t{top} * srcStride + left;
    std::ranges::copy(visora::histogramOf(rectangle, width, height, srcStride), histogram);
    return VISORA_SUCCESS;
}

vsrStatus vsrImageIntensityHistogram_v2C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         const uint8_t* mask, uint32_t maskStride, uint32_t lower, uint32_t upper,
                                         uint32_t bins, uint32_t* histogram)
{
    visora::PixelCounter counter;
    for (size_t y = 0; y < srcHeight; ++y)
    {
        if (mask != nullptr)
        {
            counter.add(src + y * srcStride, mask + y * maskStride, srcWidth);
        }
        else
        {
            counter.add(src + y * srcStride, srcWidth);
        }
    }
    visora::binLevels(counter.counts(), lower, upper, bins, histogram);
    return VISORA_SUCCESS;
}

vsrStatus vsrHistogram2Du8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                            const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                            uint32_t bins1, uint32_t bins2, uint32_t* histogram)
{
    visora::Histogram rowOfBins;  // where the row of a level of src1 begins
    visora::Histogram binInRow;
    for (uint32_t v = 0; v < 256; ++v)
    {
        rowOfBins[v] = (v * bins1 >> 8) * bins2;
        binInRow[v] = v * bins2 >> 8;
    }
    std::fill_n(histogram, bins1 * bins2, 0u);
    for (size_t y = 0; y < height; ++y, src1 += src1Stride, src2 += src2Stride)
    {
        const uint8_t* counted = mask != nullptr ? mask + y * maskStride : nullptr;
        for (size_t x = 0; x < width; ++x)
        {
            histogram[rowOfBins[src1[x]] + binInRow[src2[x]]] += counted == nullptr || counted[x] != 0 ? 1 : 0;
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrHistogramDistancef32C(const float* histogram1, const float* histogram2, uint32_t count, uint32_t method,
                                   float* distance)
{
    visora::DistanceSums sums;
    for (size_t i = 0; i < count; ++i)
    {
        for (size_t k = 0; k < visora::distanceTerms(method); ++k)
        {
            sums[k].add(i, visora::distanceTerm(method, k, histogram1[i], histogram2[i]));
        }
    }
    *distance = visora::distanceOf(method, count, sums);
    return VISORA_SUCCESS;
}

vsrStatus vsrEqualizeHistogramu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride)
{
    const visora::Histogram histogram = visora::histogramOf(src, srcWidth, srcHeight, srcStride);
    mapLevels(src, srcWidth, srcHeight, srcStride, visora::equalizingTable(histogram, srcWidth * srcHeight), dst,
              dstStride);
    return VISORA_SUCCESS;
}

vsrStatus vsrBackProjectu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            const uint8_t* weights, uint32_t bins, uint8_t* dst, uint32_t dstStride)
{
    mapLevels(src, srcWidth, srcHeight, srcStride, visora::weightTable(weights, bins), dst, dstStride);
    return VISORA_SUCCESS;
}
