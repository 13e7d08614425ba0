// Bilateral filters, reference variants.
#include <bit>
#include <cmath>
#include <cstdlib>

#include "cpu/filter/visoraFilterBilateral.h"
#include "cpu/filter/visoraFilterBorder.h"
#include "cpu/filter/visoraFilterFloat.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/filter.h"

namespace
{

using namespace visora;

// The difference of two pixels is taken from the guide, the mean from the source.
vsrStatus bilateral(const BorderedImage& source, const BorderedImage& guide, uint32_t width, uint32_t height,
                    uint32_t N, float sigmaSpace, float sigmaRange, uint8_t* dst, uint32_t dstStride)
{
    const BilateralWeights weights(N, sigmaSpace, sigmaRange);
    const auto radius = static_cast<int64_t>(weights.radius);
    for (int64_t y = 0; y < height; ++y)
    {
        for (int64_t x = 0; x < width; ++x)
        {
            uint64_t sum = 0;
            uint64_t weightSum = 0;
            for (int64_t j = -radius; j <= radius; ++j)
            {
                for (int64_t i = -radius; i <= radius; ++i)
                {
                    const int difference = guide.at(x + i, y + j) - guide.at(x, y);
                    const uint64_t weight =
                        uint64_t{
                            weights.ofDistance[static_cast<size_t>(std::abs(j))][static_cast<size_t>(std::abs(i))]} *
                        weights.ofDifference[static_cast<size_t>(std::abs(difference))];
                    sum += weight * source.at(x + i, y + j);
                    weightSum += weight;
                }
            }
            // The pixel itself has a weight. NOLINTNEXTLINE(clang-analyzer-core.DivideZero)
            const uint64_t mean = (2 * sum + weightSum) / (2 * weightSum);
            imageRow(dst, dstStride, static_cast<uint32_t>(y))[x] = static_cast<uint8_t>(mean);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus bilateral(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t N,
                    float sigmaSpace, float sigmaRange, uint8_t* dst, uint32_t dstStride,
                    vsrBorderType borderType = VISORA_BORDER_REPLICATE, uint8_t borderValue = 0)
{
    const BorderedImage image(src, width, height, srcStride, borderType, borderValue);
    return bilateral(image, image, width, height, N, sigmaSpace, sigmaRange, dst, dstStride);
}

bool isMissing(float pixel)
{
    return pixel == 0 || !std::isfinite(pixel);
}

// 2^-t, 0 from 64 on and for a NaN.
float powerOfHalf(float t)
{
    if (!(t < 64))
    {
        return 0;
    }
    const auto n = static_cast<int32_t>(t + 0.5f);
    const float rest = t - static_cast<float>(n);
    float power = kPowerOfHalf[0];
    for (size_t i = 1; i < kPowerOfHalf.size(); ++i)
    {
        power = power * rest + kPowerOfHalf[i];
    }
    return power * std::bit_cast<float>((127 - n) << 23);
}

}  // namespace

vsrStatus vsrBilateralFilter5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   float sigmaSpace, float sigmaRange, uint8_t* dst, uint32_t dstStride)
{
    return bilateral(src, srcWidth, srcHeight, srcStride, 5, sigmaSpace, sigmaRange, dst, dstStride);
}

vsrStatus vsrBilateralFilter7x7u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   float sigmaSpace, float sigmaRange, uint8_t* dst, uint32_t dstStride)
{
    return bilateral(src, srcWidth, srcHeight, srcStride, 7, sigmaSpace, sigmaRange, dst, dstStride);
}

vsrStatus vsrBilateralFilter9x9u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   float sigmaSpace, float sigmaRange, uint8_t* dst, uint32_t dstStride,
                                   vsrBorderType borderType, uint8_t borderValue)
{
    return bilateral(src, srcWidth, srcHeight, srcStride, 9, sigmaSpace, sigmaRange, dst, dstStride, borderType,
                     borderValue);
}

vsrStatus vsrBilateralFilterJointu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const uint8_t* guide, uint32_t guideStride, uint32_t N, float sigmaSpace,
                                     float sigmaRange, uint8_t* dst, uint32_t dstStride)
{
    const BorderedImage source(src, srcWidth, srcHeight, srcStride, VISORA_BORDER_REPLICATE, 0);
    const BorderedImage differences(guide, srcWidth, srcHeight, guideStride, VISORA_BORDER_REPLICATE, 0);
    return bilateral(source, differences, srcWidth, srcHeight, N, sigmaSpace, sigmaRange, dst, dstStride);
}

vsrStatus vsrBilateralFilterNxNf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint32_t N, float sigmaSpace, float sigmaRange, float* dst, uint32_t dstStride)
{
    // Pixels of 0 are missing.
    const BorderedImageOf<float> image(src, srcWidth, srcHeight, srcStride, VISORA_BORDER_CONSTANT, 0.0f);
    const int64_t radius = N / 2;
    const double spaceScale = twiceVariance(sigmaSpace);
    const float factor = rangeFactor(sigmaRange);
    std::array<std::array<float, kLargestWindow / 2 + 1>, kLargestWindow / 2 + 1> ofDistance;
    for (size_t j = 0; j <= N / 2; ++j)
    {
        for (size_t i = 0; i <= N / 2; ++i)
        {
            ofDistance[j][i] = static_cast<float>(exponentialOfMinus(static_cast<double>(i * i + j * j) / spaceScale));
        }
    }
    for (int64_t y = 0; y < srcHeight; ++y)
    {
        for (int64_t x = 0; x < srcWidth; ++x)
        {
            const float p = image.at(x, y);
            float num = 0;
            float den = 0;
            for (int64_t j = -radius; j <= radius; ++j)
            {
                for (int64_t i = -radius; i <= radius; ++i)
                {
                    const float q = image.at(x + i, y + j);
                    if (!isMissing(q))
                    {
                        const float weight =
                            ofDistance[static_cast<size_t>(std::abs(j))][static_cast<size_t>(std::abs(i))] *
                            powerOfHalf(((q - p) * (q - p)) * factor);
                        num = num + weight * q;
                        den = den + weight;
                    }
                }
            }
            imageRow(dst, dstStride, static_cast<uint32_t>(y))[x] = isMissing(p) ? 0 : withOneNan(num / den);
        }
    }
    return VISORA_SUCCESS;
}
