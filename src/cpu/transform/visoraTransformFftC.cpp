// Fourier transforms, reference variants.
#include <algorithm>

#include "cpu/transform/visoraTransformFft.h"
#include "cpu/visoraPlane.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/statistics.h"

namespace visora
{

namespace
{

// Taylor series of a cosine and a sine up to pi / 4, whose rest is far below the last bit of a double.
double shortCosine(double x)
{
    double term = 1;
    double sum = 1;
    for (int i = 1; i <= 10; ++i)
    {
        term *= -x * x / ((2 * i - 1) * (2 * i));
        sum += term;
    }
    return sum;
}

double shortSine(double x)
{
    double term = x;
    double sum = x;
    for (int i = 1; i <= 10; ++i)
    {
        term *= -x * x / ((2 * i) * (2 * i + 1));
        sum += term;
    }
    return sum;
}

struct QuarterWave
{
    QuarterWave()
    {
        constexpr double kStep = 6.283185307179586476925286766559 / kLongestFft;
        constexpr uint32_t kQuarter = kLongestFft / 4;
        for (uint32_t i = 0; i <= kQuarter; ++i)
        {
            cosines[i] =
                static_cast<float>(i <= kQuarter / 2 ? shortCosine(kStep * i) : shortSine(kStep * (kQuarter - i)));
        }
    }

    float cosines[kLongestFft / 4 + 1];
};

struct Complex
{
    float re;
    float im;
};

/** One transform in place on n values, already in bit-reversed order. */
void transform(Complex* y, uint32_t n, bool inverse)
{
    const float* wave = quarterWave();
    for (uint32_t h = 1; h < n; h *= 2)
    {
        for (uint32_t g = 0; g < n; g += 2 * h)
        {
            for (uint32_t k = 0; k < h; ++k)
            {
                const Complex a = y[g + k];
                const Complex b = y[g + k + h];
                Complex t = b;
                if (2 * k == h)
                {
                    t = inverse ? Complex{-b.im, b.re} : Complex{b.im, -b.re};
                }
                else if (k != 0)
                {
                    const Twiddle w = twiddle(wave, k, h);
                    t = inverse ? Complex{w.c * b.re - w.s * b.im, w.c * b.im + w.s * b.re}
                                : Complex{w.c * b.re + w.s * b.im, w.c * b.im - w.s * b.re};
                }
                y[g + k] = {a.re + t.re, a.im + t.im};
                y[g + k + h] = {a.re - t.re, a.im - t.im};
            }
        }
    }
}

/** Transforms n values from(i), by way of a buffer, and hands the results to to(i, value). */
template <class From, class To>
void transformLine(Complex* buffer, uint32_t n, bool inverse, From from, To to)
{
    const uint32_t bits = bitsOf(n);
    for (uint32_t j = 0; j < n; ++j)
    {
        buffer[j] = from(reversedBits(j, bits));
    }
    transform(buffer, n, inverse);
    for (uint32_t j = 0; j < n; ++j)
    {
        to(j, buffer[j]);
    }
}

/** Forward transform of a source of complex values source(x, y). */
template <class Source>
vsrStatus forward(uint32_t width, uint32_t height, bool columns, float* dst, uint32_t dstStride, Source source)
{
    const Scratch scratch(std::max(width, height) * sizeof(Complex));
    auto* buffer = reinterpret_cast<Complex*>(scratch.data());
    if (buffer == nullptr)
    {
        return VISORA_ENOMEM;
    }
    const auto at = [=](uint32_t x, uint32_t y) { return planeRow(dst, dstStride, y) + 2 * size_t{x}; };
    for (uint32_t y = 0; y < height; ++y)
    {
        transformLine(
            buffer, width, false, [&](uint32_t x) { return source(x, y); },
            [&](uint32_t x, Complex value)
            {
                at(x, y)[0] = columns ? value.re : finished(value.re);
                at(x, y)[1] = columns ? value.im : finished(value.im);
            });
    }
    for (uint32_t x = 0; columns && x < width; ++x)
    {
        transformLine(
            buffer, height, false,
            [&](uint32_t y) {
                return Complex{at(x, y)[0], at(x, y)[1]};
            },
            [&](uint32_t y, Complex value)
            {
                at(x, y)[0] = finished(value.re);
                at(x, y)[1] = finished(value.im);
            });
    }
    return VISORA_SUCCESS;
}

}  // namespace

const float* quarterWave()
{
    static const QuarterWave wave;
    return wave.cosines;
}

}  // namespace visora

using visora::Complex;
using visora::planeRow;

vsrStatus vsrFFTu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                    uint32_t dstStride)
{
    return visora::forward(srcWidth, srcHeight, true, dst, dstStride,
                           [=](uint32_t x, uint32_t y) {
                               return Complex{static_cast<float>(src[size_t{y} * srcStride + x]), 0.0f};
                           });
}

vsrStatus vsrFFTf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t flags,
                     float* dst, uint32_t dstStride)
{
    const bool columns = (flags & VISORA_FFT_ROWS) == 0;
    if ((flags & VISORA_FFT_COMPLEX) != 0)
    {
        return visora::forward(srcWidth, srcHeight, columns, dst, dstStride,
                               [=](uint32_t x, uint32_t y)
                               {
                                   const float* value = planeRow(src, srcStride, y) + 2 * size_t{x};
                                   return Complex{value[0], value[1]};
                               });
    }
    return visora::forward(srcWidth, srcHeight, columns, dst, dstStride,
                           [=](uint32_t x, uint32_t y) {
                               return Complex{planeRow(src, srcStride, y)[x], 0.0f};
                           });
}

vsrStatus vsrIFFTf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                      uint32_t dstStride)
{
    // The values between the passes, and a line of them.
    const size_t count = size_t{srcWidth} * srcHeight;
    const visora::Scratch scratch((count + std::max(srcWidth, srcHeight)) * sizeof(Complex));
    auto* rows = reinterpret_cast<Complex*>(scratch.data());
    if (rows == nullptr)
    {
        return VISORA_ENOMEM;
    }
    Complex* buffer = rows + count;
    const float scale = 1.0f / static_cast<float>(count);
    const auto at = [=](uint32_t x, uint32_t y) -> Complex& { return rows[size_t{y} * srcWidth + x]; };
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const float* line = planeRow(src, srcStride, y);
        visora::transformLine(
            buffer, srcWidth, true,
            [&](uint32_t x) {
                return Complex{line[2 * size_t{x}], line[2 * size_t{x} + 1]};
            },
            [&](uint32_t x, Complex value) { at(x, y) = value; });
    }
    for (uint32_t x = 0; x < srcWidth; ++x)
    {
        visora::transformLine(
            buffer, srcHeight, true, [&](uint32_t y) { return at(x, y); },
            [&](uint32_t y, Complex value) { planeRow(dst, dstStride, y)[x] = visora::finished(value.re * scale); });
    }
    return VISORA_SUCCESS;
}
