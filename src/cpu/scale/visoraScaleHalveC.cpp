// 5x5 Gaussian halves, reference variants.
#include <limits>

#include "cpu/scale/visoraScaleHalve.h"
#include "visora/variants/scale.h"

namespace
{

using visora::GaussianImage;

// Weights of the part of a window about `centre` that lies inside a line, in order; visit(position, weight).
template <class Visit>
void forEachTap(uint32_t centre, uint32_t length, Visit visit)
{
    constexpr auto kWeights = visora::binomialWeights<2>();
    for (uint32_t tap = 0; tap < kWeights.size(); ++tap)
    {
        const uint64_t position = uint64_t{centre} + tap;
        if (position >= 2 && position - 2 < length)
        {
            visit(static_cast<uint32_t>(position - 2), kWeights[tap]);
        }
    }
}

template <class T>
void halve(const GaussianImage<T>& image, uint32_t dstWidth, uint32_t dstHeight)
{
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            image.dst[y * image.dstStep + x] = visora::halvedPixel(image, x, y);
        }
    }
}

}  // namespace

uint8_t visora::halvedPixel(const GaussianImage<uint8_t>& image, uint32_t x, uint32_t y)
{
    uint32_t sum = 0;
    uint32_t weights = 0;
    forEachTap(2 * y, image.height,
               [&](uint32_t row, uint32_t rowWeight)
               {
                   forEachTap(2 * x, image.width,
                              [&](uint32_t column, uint32_t columnWeight)
                              {
                                  sum += rowWeight * columnWeight * image.src[row * image.srcStep + column];
                                  weights += rowWeight * columnWeight;
                              });
               });
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): the window's centre has a weight
    return static_cast<uint8_t>((sum + weights / 2) / weights);
}

// The order of additions is part of the result. A sum begins with its first product: beginning with 0 would lose the
// sign of a zero.
float visora::halvedPixel(const GaussianImage<float>& image, uint32_t x, uint32_t y)
{
    float sum = 0;
    uint32_t columnWeights = 0;
    uint32_t rowWeights = 0;
    forEachTap(2 * x, image.width,
               [&](uint32_t column, uint32_t columnWeight)
               {
                   float columnSum = 0;
                   rowWeights = 0;
                   forEachTap(2 * y, image.height,
                              [&](uint32_t row, uint32_t rowWeight)
                              {
                                  const float product =
                                      static_cast<float>(rowWeight) * image.src[row * image.srcStep + column];
                                  columnSum = rowWeights == 0 ? product : columnSum + product;
                                  rowWeights += rowWeight;
                              });
                   const float product = static_cast<float>(columnWeight) * columnSum;
                   sum = columnWeights == 0 ? product : sum + product;
                   columnWeights += columnWeight;
               });
    const float mean = sum / static_cast<float>(rowWeights * columnWeights);
    // Processors differ in which of several NaNs a sum carries on, so all NaNs become one.
    return mean == mean ? mean : std::numeric_limits<float>::quiet_NaN();
}

void visora::halveReference(const GaussianImage<uint8_t>& image, uint32_t dstWidth, uint32_t dstHeight)
{
    halve(image, dstWidth, dstHeight);
}

void visora::halveReference(const GaussianImage<float>& image, uint32_t dstWidth, uint32_t dstHeight)
{
    halve(image, dstWidth, dstHeight);
}

vsrStatus vsrScaleDownBy2Gaussian5x5u8C(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                        uint8_t* dst, uint32_t dstStride)
{
    visora::halveReference(GaussianImage(src, width, height, srcStride, dst, dstStride), width / 2, height / 2);
    return VISORA_SUCCESS;
}

vsrStatus vsrScaleDownBy2Gaussian5x5f32_v2C(const float* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                            float* dst, uint32_t dstStride)
{
    visora::halveReference(GaussianImage(src, width, height, srcStride, dst, dstStride), width / 2, height / 2);
    return VISORA_SUCCESS;
}

vsrStatus vsrScaleDownBy2Gaussian5x5f32C(const float* src, uint32_t width, uint32_t height, float* dst)
{
    constexpr uint32_t kBytes = sizeof(float);
    return vsrScaleDownBy2Gaussian5x5f32_v2C(src, width, height, width * kBytes, dst, width / 2 * kBytes);
}
