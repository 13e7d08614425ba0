// Gradients by fixed windows, reference variants.
#include <algorithm>
#include <array>
#include <cstdlib>

#include "cpu/filter/visoraFilterBorder.h"
#include "cpu/filter/visoraFilterSobel.h"
#include "visora/gradient.h"
#include "visora/variants/filter.h"

namespace
{

// Both derivatives of every pixel: derivative taps in one direction times smoothing taps in the other, shifted.
template <size_t N>
vsrStatus derivatives(const visora::BorderedImage& image, uint32_t width, uint32_t height, int16_t* dx, int16_t* dy,
                      uint32_t gradStride, const std::array<int, N>& derivative, const std::array<int, N>& smoothing,
                      int shift)
{
    const size_t step = gradStride / sizeof(int16_t);
    constexpr auto kRadius = static_cast<int64_t>(N / 2);
    const int half = shift == 0 ? 0 : 1 << (shift - 1);
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            int sumX = 0;
            int sumY = 0;
            for (size_t j = 0; j < N; ++j)
            {
                for (size_t i = 0; i < N; ++i)
                {
                    const int pixel =
                        image.at(x + static_cast<int64_t>(i) - kRadius, y + static_cast<int64_t>(j) - kRadius);
                    sumX += derivative[i] * smoothing[j] * pixel;
                    sumY += smoothing[i] * derivative[j] * pixel;
                }
            }
            dx[y * step + x] = static_cast<int16_t>((sumX + half) >> shift);
            dy[y * step + x] = static_cast<int16_t>((sumY + half) >> shift);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrFilterSobel3x3u8s16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  int16_t* dx, int16_t* dy, uint32_t gradStride, vsrBorderType borderType,
                                  uint8_t borderValue)
{
    return derivatives<3>({src, srcWidth, srcHeight, srcStride, borderType, borderValue}, srcWidth, srcHeight, dx, dy,
                          gradStride, {-1, 0, 1}, {1, 2, 1}, 0);
}

vsrStatus vsrFilterScharr3x3u8s16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   int16_t* dx, int16_t* dy, uint32_t gradStride, vsrBorderType borderType,
                                   uint8_t borderValue)
{
    return derivatives<3>({src, srcWidth, srcHeight, srcStride, borderType, borderValue}, srcWidth, srcHeight, dx, dy,
                          gradStride, {-1, 0, 1}, {3, 10, 3}, 0);
}

vsrStatus vsrFilterSobel5x5u8s16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  int16_t* dx, int16_t* dy, uint32_t gradStride, vsrBorderType borderType,
                                  uint8_t borderValue)
{
    return derivatives<5>({src, srcWidth, srcHeight, srcStride, borderType, borderValue}, srcWidth, srcHeight, dx, dy,
                          gradStride, {-1, -2, 0, 2, 1}, {1, 4, 6, 4, 1}, 0);
}

vsrStatus vsrFilterSobel7x7u8s16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  int16_t* dx, int16_t* dy, uint32_t gradStride, vsrBorderType borderType,
                                  uint8_t borderValue)
{
    return derivatives<7>({src, srcWidth, srcHeight, srcStride, borderType, borderValue}, srcWidth, srcHeight, dx, dy,
                          gradStride, {-1, -4, -5, 0, 5, 4, 1}, {1, 6, 15, 20, 15, 6, 1}, 3);
}

vsrStatus vsrFilterLaplacian3x3u8s16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint32_t neighbours, int16_t* dst, uint32_t dstStride, vsrBorderType borderType,
                                      uint8_t borderValue)
{
    const visora::BorderedImage image(src, srcWidth, srcHeight, srcStride, borderType, borderValue);
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            dst[y * (dstStride / sizeof(int16_t)) + x] = visora::laplacianAt(image, neighbours, x, y);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrFilterSobel3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride)
{
    const visora::BorderedImage image(src, srcWidth, srcHeight, srcStride, VISORA_BORDER_REPLICATE, 0);
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            const bool inside = x > 0 && y > 0 && x + 1 < srcWidth && y + 1 < srcHeight;
            const visora::Gradient gradient = visora::gradientOf3x3(image, x, y, 1, 2);
            const int strength = std::abs(gradient.dx) + std::abs(gradient.dy);
            dst[size_t{y} * dstStride + x] = static_cast<uint8_t>(inside ? std::min(strength, 255) : 0);
        }
    }
    return VISORA_SUCCESS;
}
