// Filters with kernels of the caller, and Gaussians of any size.
#include <type_traits>

#include "support/operations.h"
#include "visora/variants/filter.h"

namespace visora::test
{

namespace
{

// A border type and value that the functions accept.
template <class T>
std::tuple<vsrBorderType, T> anyBorder(Arguments& a)
{
    return {vsrBorderType{a.choose(0, 2, 2)}, static_cast<T>(a.choose(0, 255, 0))};
}

uint32_t oddNumber(Arguments& a, uint32_t largest, uint32_t typical)
{
    return a.choose(0, largest / 2, typical / 2) * 2 + 1;
}

// Pixels of any value; in benchmarks floats are levels, as those of images are: processors take long for the smallest
// numbers.
template <class S>
const S* pixels(Arguments& a, uint32_t width, uint32_t height, uint32_t stride)
{
    if constexpr (std::is_same_v<S, float>)
    {
        if (a.shape().typical)
        {
            return a.made<float>(width, height, stride, [&] { return static_cast<float>(a.random().between(0, 255)); });
        }
    }
    return a.input<S>(width, height, stride);
}

// Sources and destinations of one size, of S and of D.
template <class S, class D>
struct Images
{
    explicit Images(Arguments& a)
        : width(a.shape().width),
          height(a.shape().height),
          srcStride(a.srcStride(static_cast<uint32_t>(width * sizeof(S)), sizeof(S))),
          dstStride(a.dstStride(static_cast<uint32_t>(width * sizeof(D)), sizeof(D))),
          src(pixels<S>(a, width, height, srcStride)),
          dst(a.output<D>(width, height, dstStride))
    {
    }

    uint32_t width;
    uint32_t height;
    uint32_t srcStride;
    uint32_t dstStride;
    const S* src;
    D* dst;
};

// Taps of either sign; their bits are random ones of the given number.
template <class T>
const T* taps(Arguments& a, size_t count, int bits)
{
    std::vector<T> values(count);
    const int range = 1 << bits;
    for (T& value : values)
    {
        value = static_cast<T>(static_cast<int>(a.random().between(0, static_cast<uint32_t>(range) - 1)) - range / 2);
    }
    return a.given(values);
}

const float* floatTaps(Arguments& a, size_t count)
{
    std::vector<float> values(count);
    for (float& value : values)
    {
        value = static_cast<float>(a.random().between(0, 2000)) / 1000 - 1;
    }
    return a.given(values);
}

template <auto kernel, class T>
std::function<void(Arguments&)> gaussian(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a)
    {
        const Images<T, T> i(a);
        const uint32_t N = oddNumber(a, largest, typical);
        const float sigma =
            a.shape().typical || a.random().oneIn(2) ? 0 : static_cast<float>(a.random().between(1, 400)) / 50;
        const auto [type, value] = anyBorder<T>(a);
        a.call(kernel, i.src, i.width, i.height, i.srcStride, N, sigma, i.dst, i.dstStride, type, value);
    };
}

void unsharp(Arguments& a)
{
    const Images<uint8_t, uint8_t> i(a);
    const uint32_t amount = a.random().oneIn(2) ? a.choose(0, 512, 128) : a.choose(0, 32767, 128);
    a.call(vsrFilterUnsharp5x5u8C, i.src, i.width, i.height, i.srcStride, amount,
           static_cast<uint8_t>(a.choose(0, 60, 0)), i.dst, i.dstStride);
}

void correlation3x3(Arguments& a)
{
    const Images<uint8_t, uint8_t> i(a);
    const auto* kernel = taps<int8_t>(a, 9, 8);
    a.call(vsrFilterCorr3x3s8C, i.src, i.width, i.height, i.srcStride, kernel,
           a.random().oneIn(8) ? a.choose(0, 31, 4) : a.choose(0, 9, 4), i.dst, i.dstStride);
}

std::function<void(Arguments&)> convolutionNxN(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a)
    {
        const Images<uint8_t, int16_t> i(a);
        const uint32_t N = oddNumber(a, largest, typical);
        const auto* kernel = taps<int16_t>(a, size_t{N} * N, a.random().oneIn(4) ? 16 : 9);
        a.call(vsrFilterConvNxNu8s16C, i.src, i.width, i.height, i.srcStride, kernel, N,
               a.random().oneIn(8) ? a.choose(0, 31, 8) : a.choose(0, 12, 8), i.dst, i.dstStride);
    };
}

std::function<void(Arguments&)> correlationFloat(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a)
    {
        const Images<float, float> i(a);
        const uint32_t N = oddNumber(a, largest, typical);
        const auto* kernel = floatTaps(a, size_t{N} * N);
        a.call(vsrFilterCorrNxNf32C, i.src, i.width, i.height, i.srcStride, kernel, N, i.dst, i.dstStride);
    };
}

std::function<void(Arguments&)> correlationSeparableFloat(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a)
    {
        const Images<float, float> i(a);
        const uint32_t M = a.choose(1, largest, typical), N = a.choose(1, largest, typical);
        const auto* rowKernel = floatTaps(a, M);
        const auto* columnKernel = floatTaps(a, N);
        const auto [type, value] = anyBorder<float>(a);
        a.call(vsrFilterCorrSepMxNf32C, i.src, i.width, i.height, i.srcStride, rowKernel, M, columnKernel, N, i.dst,
               i.dstStride, type, value);
    };
}

template <auto kernel, uint32_t N>
void correlationSeparable(Arguments& a)
{
    const Images<int16_t, int16_t> i(a);
    const auto* values = taps<int16_t>(a, N, a.random().oneIn(2) ? 13 : 16);
    a.call(kernel, i.src, i.width, i.height, i.srcStride, values, i.dst, i.dstStride);
}

void convolutionSeparable(Arguments& a)
{
    const Images<int16_t, int16_t> i(a);
    const uint32_t M = oddNumber(a, 21, 7), N = oddNumber(a, 21, 7);
    const auto* rowKernel = taps<int16_t>(a, M, 12);
    const auto* columnKernel = taps<int16_t>(a, N, 12);
    a.call(vsrFilterConvSepMxNs16C, i.src, i.width, i.height, i.srcStride, rowKernel, M, a.choose(0, 15, 12),
           columnKernel, N, a.choose(0, 15, 12), i.dst, i.dstStride);
}

// The destination's size depends on how much of the convolution is asked for.
std::function<void(Arguments&)> convolution(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a)
    {
        const auto [width, height] = std::pair(a.shape().width, a.shape().height);
        const uint32_t kernelWidth = a.choose(1, largest, typical), kernelHeight = a.choose(1, largest, typical);
        const vsrConvolutionSize size = a.choose(0, 2, 1);
        if (size == VISORA_CONVOLUTION_VALID && (kernelWidth > width || kernelHeight > height))
        {
            return;
        }
        const auto along = [=](uint32_t image, uint32_t kernel)
        {
            return size == VISORA_CONVOLUTION_FULL    ? image + kernel - 1
                   : size == VISORA_CONVOLUTION_VALID ? image - kernel + 1
                                                      : image;
        };
        const uint32_t srcStride = a.srcStride(width * 2, 2);
        const uint32_t dstStride = a.dstStride(along(width, kernelWidth) * 2, 2);
        const auto* src = a.input<int16_t>(width, height, srcStride);
        const auto* kernel = taps<int16_t>(a, size_t{kernelWidth} * kernelHeight, 10);
        auto* dst = a.output<int16_t>(along(width, kernelWidth), along(height, kernelHeight), dstStride);
        a.call(vsrConvolves16C, src, width, height, srcStride, kernel, kernelWidth, kernelHeight, a.choose(0, 14, 9),
               size, dst, dstStride);
    };
}

#define SEPARABLE(N)                                                                                        \
    VISORA_OPERATION(vsrFilterCorrSep##N##x##N##s16),                                                       \
        ruled({.condition = "src && kernel && dst && src != dst && srcWidth && srcHeight && (srcStride >= " \
                            "srcWidth*sizeof(int16_t)) && (dstStride >= srcWidth*sizeof(int16_t))",         \
               .inPlace = EntryRule::InPlace::NotLookedAt,                                                  \
               .packed = {VISORA_PACKED(vsrFilterCorrSep##N##x##N##s16,                                     \
                                        "src && kernel && dst && src != dst && width && height")}},         \
              correlationSeparable<vsrFilterCorrSep##N##x##N##s16C, N>)

const Register kernelFilters({
    {VISORA_OPERATION(vsrFilterMedian5x5u8), imageToImage<vsrFilterMedian5x5u8C, uint8_t>(anyBorder<uint8_t>)},
    {VISORA_OPERATION(vsrFilterGaussianNxNu8), gaussian<vsrFilterGaussianNxNu8C, uint8_t>(15, 7)},
    {VISORA_OPERATION(vsrFilterGaussianNxNu8), gaussian<vsrFilterGaussianNxNu8C, uint8_t>(255, 31), "31"},
    {VISORA_OPERATION(vsrFilterGaussianNxNf32), gaussian<vsrFilterGaussianNxNf32C, float>(31, 7)},
    {VISORA_OPERATION(vsrFilterUnsharp5x5u8), unsharp},
    {VISORA_OPERATION(vsrFilterCorr3x3s8), ruled({.packed = {VISORA_PACKED(vsrFilterCorr3x3s8, "")}}, correlation3x3)},
    {VISORA_OPERATION(vsrFilterConvNxNu8s16), convolutionNxN(9, 5)},
    {VISORA_OPERATION(vsrFilterCorrNxNf32), correlationFloat(9, 5)},
    {VISORA_OPERATION(vsrFilterCorrSepMxNf32), correlationSeparableFloat(30, 7)},
    {SEPARABLE(9)},
    {SEPARABLE(11)},
    {SEPARABLE(13)},
    {SEPARABLE(15)},
    {SEPARABLE(17)},
    {VISORA_OPERATION(vsrFilterConvSepMxNs16), convolutionSeparable},
    {VISORA_OPERATION(vsrConvolves16), convolution(12, 5)},
});

}  // namespace

}  // namespace visora::test
