// Correlations and convolutions with kernels of the caller, reference variants.
#include <algorithm>
#include <limits>

#include "common/visoraConvolution.h"
#include "cpu/filter/visoraFilterBorder.h"
#include "cpu/filter/visoraFilterFloat.h"
#include "cpu/visoraDrivers.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/filter.h"

namespace
{

template <class T>
T limited(int32_t value)
{
    return static_cast<T>(std::clamp<int32_t>(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

// Rounded; the addition wraps.
int32_t shifted(uint32_t sum, uint32_t shift)
{
    const uint32_t half = shift == 0 ? 0 : 1u << (shift - 1);
    return static_cast<int32_t>(sum + half) >> shift;
}

// The sum of the products of `count` elements, modulo 2^32: kernel(i) * pixel(i).
template <class Kernel, class Pixel>
uint32_t wrappingSum(size_t count, Kernel kernel, Pixel pixel)
{
    uint32_t sum = 0;
    for (size_t i = 0; i < count; ++i)
    {
        sum += static_cast<uint32_t>(int32_t{kernel(i)} * int32_t{pixel(i)});
    }
    return sum;
}

// Rows by one kernel, then columns by another: pixels nearer to an edge than half of a kernel stay as they are.
template <class RowTap, class ColumnTap>
vsrStatus separable(const int16_t* src, size_t width, size_t height, size_t srcStep, RowTap rowTap, size_t M,
                    uint32_t rowShift, ColumnTap columnTap, size_t N, uint32_t columnShift, int16_t* dst,
                    size_t dstStep)
{
    if (width < M || height < N)
    {
        return VISORA_SUCCESS;
    }
    const size_t inner = width - M + 1;
    const visora::Scratch scratch(inner * height * sizeof(int16_t));
    auto* rows = reinterpret_cast<int16_t*>(scratch.data());
    if (!rows)
    {
        return VISORA_ENOMEM;
    }
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < inner; ++x)
        {
            const int16_t* window = src + y * srcStep + x;
            const uint32_t sum = wrappingSum(M, rowTap, [=](size_t i) { return window[i]; });
            rows[y * inner + x] = limited<int16_t>(shifted(sum, rowShift));
        }
    }
    for (size_t y = 0; y + N <= height; ++y)
    {
        for (size_t x = 0; x < inner; ++x)
        {
            const int16_t* window = rows + y * inner + x;
            const uint32_t sum = wrappingSum(N, columnTap, [=](size_t j) { return window[j * inner]; });
            dst[(y + N / 2) * dstStep + x + M / 2] = limited<int16_t>(shifted(sum, columnShift));
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

namespace visora
{
namespace
{

template <size_t N>
vsrStatus correlationOf(const int16_t* src, uint32_t width, uint32_t height, uint32_t srcStride, const int16_t* kernel,
                        int16_t* dst, uint32_t dstStride)
{
    const auto tap = [=](size_t i) { return kernel[i]; };
    return separable(src, width, height, srcStride / sizeof(int16_t), tap, N, 15, tap, N, 15, dst,
                     dstStride / sizeof(int16_t));
}

}  // namespace
}  // namespace visora

vsrStatus vsrFilterCorr3x3s8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              const int8_t* kernel, uint32_t shift, uint8_t* dst, uint32_t dstStride)
{
    for (size_t y = 1; y + 1 < srcHeight; ++y)
    {
        for (size_t x = 1; x + 1 < srcWidth; ++x)
        {
            const uint8_t* corner = src + (y - 1) * srcStride + x - 1;
            const uint32_t sum = wrappingSum(
                9, [=](size_t i) { return kernel[i]; }, [=](size_t i) { return corner[i / 3 * srcStride + i % 3]; });
            dst[y * dstStride + x] = limited<uint8_t>(static_cast<int32_t>(sum) >> shift);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrFilterConvNxNu8s16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const int16_t* kernel, uint32_t N, uint32_t shift, int16_t* dst, uint32_t dstStride)
{
    const size_t taps = size_t{N} * N;
    for (size_t y = 0; y + N <= srcHeight; ++y)
    {
        for (size_t x = 0; x + N <= srcWidth; ++x)
        {
            const uint8_t* corner = src + y * srcStride + x;
            const uint32_t sum = wrappingSum(
                taps, [=](size_t i) { return kernel[taps - 1 - i]; },
                [=](size_t i) { return corner[i / N * srcStride + i % N]; });
            dst[(y + N / 2) * (dstStride / sizeof(int16_t)) + x + N / 2] = limited<int16_t>(shifted(sum, shift));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrFilterCorrNxNf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               const float* kernel, uint32_t N, float* dst, uint32_t dstStride)
{
    const visora::BorderedImageOf<float> image(src, srcWidth, srcHeight, srcStride, VISORA_BORDER_CONSTANT, 0.0f);
    const int64_t radius = N / 2;
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            float sum = kernel[0] * image.at(x - radius, y - radius);
            for (uint32_t i = 1; i < N * N; ++i)
            {
                sum = sum + kernel[i] * image.at(x - radius + i % N, y - radius + i / N);
            }
            dst[y * (dstStride / sizeof(float)) + x] = visora::withOneNan(sum);
        }
    }
    return VISORA_SUCCESS;
}

VSR_REFERENCE(vsrFilterCorrSep9x9s16, correlationOf<9>);
VSR_REFERENCE(vsrFilterCorrSep11x11s16, correlationOf<11>);
VSR_REFERENCE(vsrFilterCorrSep13x13s16, correlationOf<13>);
VSR_REFERENCE(vsrFilterCorrSep15x15s16, correlationOf<15>);
VSR_REFERENCE(vsrFilterCorrSep17x17s16, correlationOf<17>);
vsrStatus vsrFilterConvSepMxNs16C(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  const int16_t* rowKernel, uint32_t M, uint32_t rowShift, const int16_t* columnKernel,
                                  uint32_t N, uint32_t columnShift, int16_t* dst, uint32_t dstStride)
{
    return separable(
        src, srcWidth, srcHeight, srcStride / sizeof(int16_t), [=](size_t i) { return rowKernel[M - 1 - i]; }, M,
        rowShift, [=](size_t j) { return columnKernel[N - 1 - j]; }, N, columnShift, dst, dstStride / sizeof(int16_t));
}

vsrStatus vsrConvolves16C(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          const int16_t* kernel, uint32_t kernelWidth, uint32_t kernelHeight, uint32_t shift,
                          vsrConvolutionSize size, int16_t* dst, uint32_t dstStride)
{
    const visora::BorderedImageOf<int16_t> image(src, srcWidth, srcHeight, srcStride, VISORA_BORDER_CONSTANT, 0);
    const visora::ConvolutionOutput output(srcWidth, srcHeight, kernelWidth, kernelHeight, size);
    for (size_t y = 0; y < output.height; ++y)
    {
        for (size_t x = 0; x < output.width; ++x)
        {
            const auto right = static_cast<int64_t>(x + output.firstColumn);
            const auto bottom = static_cast<int64_t>(y + output.firstRow);
            const uint32_t sum = wrappingSum(
                size_t{kernelWidth} * kernelHeight, [=](size_t i) { return kernel[i]; },
                [&](size_t i) {
                    return image.at(right - static_cast<int64_t>(i % kernelWidth),
                                    bottom - static_cast<int64_t>(i / kernelWidth));
                });
            dst[y * (dstStride / sizeof(int16_t)) + x] = limited<int16_t>(shifted(sum, shift));
        }
    }
    return VISORA_SUCCESS;
}
