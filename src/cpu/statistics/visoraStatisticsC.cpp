// Measures of images, reference variants.
#include <algorithm>
#include <array>

#include "cpu/statistics/visoraStatistics.h"
#include "visora/variants/statistics.h"

vsrStatus vsrImageIntensityStatsu8C(const uint8_t* src, uint32_t /*srcWidth*/, uint32_t /*srcHeight*/,
                                    uint32_t srcStride, uint32_t left, uint32_t top, uint32_t width, uint32_t height,
                                    float* mean, float* variance)
{
    uint64_t sum = 0;
    uint64_t squares = 0;
    for (size_t y = top; y < size_t{top} + height; ++y)
    {
        for (size_t x = left; x < size_t{left} + width; ++x)
        {
            const uint32_t p = src[y * srcStride + x];
            sum += p;
            squares += p * p;
        }
    }
    visora::meanAndVariance(uint64_t{width} * height, sum, squares, mean, variance);
    return VISORA_SUCCESS;
}

vsrStatus vsrFocusMeasureu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t gridX, uint32_t gridY, float* measures)
{
    const auto pixel = [=](size_t x, size_t y) { return int32_t{src[y * srcStride + x]}; };
    for (uint64_t j = 0; j < gridY; ++j)
    {
        for (uint64_t i = 0; i < gridX; ++i)
        {
            const uint64_t left = i * srcWidth / gridX;
            const uint64_t right = (i + 1) * srcWidth / gridX;
            const uint64_t top = j * srcHeight / gridY;
            const uint64_t bottom = (j + 1) * srcHeight / gridY;
            uint64_t sum = 0;
            for (uint64_t y = top; y < bottom; ++y)
            {
                for (uint64_t x = left; x < right; ++x)
                {
                    const int32_t laplacian = pixel(std::max<uint64_t>(x, 1) - 1, y) +
                                              pixel(std::min<uint64_t>(x + 1, srcWidth - 1), y) +
                                              pixel(x, std::max<uint64_t>(y, 1) - 1) +
                                              pixel(x, std::min<uint64_t>(y + 1, srcHeight - 1)) - 4 * pixel(x, y);
                    sum += static_cast<uint64_t>(laplacian * laplacian);
                }
            }
            measures[j * gridX + i] =
                static_cast<float>(static_cast<double>(sum) / static_cast<double>((right - left) * (bottom - top)));
        }
    }
    return VISORA_SUCCESS;
}

namespace
{

/** Weighted means of the four products over the windows of one row of them, at column x. */
struct Blurs
{
    float a, b, q, x;
};

Blurs columnBlurs(const uint8_t* src1, size_t src1Stride, const uint8_t* src2, size_t src2Stride)
{
    const auto a = [=](size_t k) { return static_cast<float>(src1[k * src1Stride]) - 128; };
    const auto b = [=](size_t k) { return static_cast<float>(src2[k * src2Stride]) - 128; };
    return {visora::windowSum(a), visora::windowSum(b),
            visora::windowSum([&](size_t k) { return a(k) * a(k) + b(k) * b(k); }),
            visora::windowSum([&](size_t k) { return a(k) * b(k); })};
}

float structuralSimilarity(const uint8_t* src1, uint32_t width, uint32_t height, size_t src1Stride, const uint8_t* src2,
                           size_t src2Stride)
{
    const size_t columns = width - (visora::kWindow - 1);
    const size_t rows = height - (visora::kWindow - 1);
    visora::PartialSums<double> sums;
    for (size_t y = 0; y < rows; ++y)
    {
        const uint8_t* row1 = src1 + y * src1Stride;
        const uint8_t* row2 = src2 + y * src2Stride;
        // The columns of the window, the next one taking the place of the first.
        std::array<Blurs, visora::kWindow> window;
        for (size_t x = 0; x < width; ++x)
        {
            window[x % visora::kWindow] = columnBlurs(row1 + x, src1Stride, row2 + x, src2Stride);
            if (x + 1 < visora::kWindow)
            {
                continue;
            }
            const size_t left = x + 1 - visora::kWindow;
            const auto blur = [&](float Blurs::*image)
            { return visora::windowSum([&](size_t k) { return window[(left + k) % visora::kWindow].*image; }); };
            sums.add(left, visora::similarityOf(blur(&Blurs::a), blur(&Blurs::b), blur(&Blurs::q), blur(&Blurs::x)));
        }
    }
    return static_cast<float>(sums.total() / static_cast<double>(columns * rows));
}

}  // namespace

vsrStatus vsrImageSimilarityu8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const uint8_t* src2, uint32_t src2Stride, float* similarity, float* psnr)
{
    if (similarity != nullptr)
    {
        *similarity = structuralSimilarity(src1, width, height, src1Stride, src2, src2Stride);
    }
    if (psnr != nullptr)
    {
        uint64_t error = 0;
        for (size_t y = 0; y < height; ++y)
        {
            for (size_t x = 0; x < width; ++x)
            {
                const int32_t d = src1[y * src1Stride + x] - src2[y * src2Stride + x];
                error += static_cast<uint64_t>(d * d);
            }
        }
        *psnr = visora::peakSignalToNoise(uint64_t{width} * height, error);
    }
    return VISORA_SUCCESS;
}
