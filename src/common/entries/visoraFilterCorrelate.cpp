// Entry points of the correlations and convolutions.
#include "common/entries/visoraFilterEntries.h"
#include "common/visoraConvolution.h"
#include "visora/variants/filter.h"

using namespace visora;

vsrStatus vsrFilterCorr3x3s8(const uint8_t* src, uint32_t width, uint32_t height, const int8_t* kernel, uint32_t shift,
                             uint8_t* dst)
{
    const In in(src, width, height, 0);
    const Array taps(kernel, 9);
    const Out out(dst, width, height, 0);
    return VSR_CALL(vsrFilterCorr3x3s8, in, taps, out)
        .keepDspIf(height >= 4)
        .require(shift <= 31)
        .run(src, width, height, in.stride(), kernel, shift, dst, out.stride());
}

vsrStatus vsrFilterCorr3x3s8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                const int8_t* kernel, uint32_t shift, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array taps(kernel, 9);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrFilterCorr3x3s8, in, taps, out)
        .keepDspIf(srcHeight >= 4)
        .require(shift <= 31)
        .run(src, srcWidth, srcHeight, in.stride(), kernel, shift, dst, out.stride());
}

vsrStatus vsrFilterConvNxNu8s16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                const int16_t* kernel, uint32_t N, uint32_t shift, int16_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array taps(kernel, uint64_t{N} * N);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrFilterConvNxNu8s16, in, taps, out)
        .require(isOddWindow(N) && shift <= 31)
        .run(src, srcWidth, srcHeight, in.stride(), kernel, N, shift, dst, out.stride());
}

vsrStatus vsrFilterCorrNxNf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              const float* kernel, uint32_t N, float* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array taps(kernel, uint64_t{N} * N);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrFilterCorrNxNf32, in, taps, out)
        .keepDspIf(worthOffload(in.stride() / sizeof(float), srcHeight))
        .require(isOddWindow(N))
        .run(src, srcWidth, srcHeight, in.stride(), kernel, N, dst, out.stride());
}

vsrStatus vsrFilterCorrSepMxNf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const float* rowKernel, uint32_t M, const float* columnKernel, uint32_t N, float* dst,
                                 uint32_t dstStride, vsrBorderType borderType, float borderValue)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array rowTaps(rowKernel, M);
    const Array columnTaps(columnKernel, N);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrFilterCorrSepMxNf32, in, rowTaps, columnTaps, out)
        .keepDspIf(worthOffload(in.stride() / sizeof(float), srcHeight))
        .require(M <= 255 && N <= 255 && isKnownBorder(borderType))
        .run(src, srcWidth, srcHeight, in.stride(), rowKernel, M, columnKernel, N, dst, out.stride(), borderType,
             borderValue);
}

vsrStatus vsrConvolves16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         const int16_t* kernel, uint32_t kernelWidth, uint32_t kernelHeight, uint32_t shift,
                         vsrConvolutionSize size, int16_t* dst, uint32_t dstStride)
{
    const ConvolutionOutput output(srcWidth, srcHeight, kernelWidth, kernelHeight, size);
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array taps(kernel, uint64_t{kernelWidth} * kernelHeight);
    const Out out(dst, output.width, output.height, dstStride);
    return VSR_CALL(vsrConvolves16, in, taps, out)
        .keepDspIf(worthOffload(in.stride() / sizeof(int16_t), srcHeight))
        .require(kernelWidth <= 255 && kernelHeight <= 255 && shift <= 31 && size <= VISORA_CONVOLUTION_VALID)
        .run(src, srcWidth, srcHeight, in.stride(), kernel, kernelWidth, kernelHeight, shift, size, dst, out.stride());
}

// ---- One kernel in Q15 for both directions ----

namespace
{

// Less work pays the way to a DSP here.
constexpr uint64_t kLeastSeparableElements = 12673;

template <auto correlation>
vsrStatus packedSeparable(Call call, const int16_t* src, uint32_t width, uint32_t height, const int16_t* kernel,
                          int16_t* dst)
{
    const auto rowBytes = static_cast<uint32_t>(width * sizeof(int16_t));
    call.keepDspIf(worthOffload(width, height, kLeastSeparableElements) && multiplesOf<8>(width) &&
                   aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(width));
    call.trace();
    VSR_REQUIRE(call, src && kernel && dst && src != dst && width && height);
    return call.run<correlation>(src, width, height, rowBytes, kernel, dst, rowBytes);
}

template <auto correlation>
vsrStatus stridedSeparable(Call call, const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const int16_t* kernel, int16_t* dst, uint32_t dstStride)
{
    const auto rowBytes = static_cast<uint32_t>(srcWidth * sizeof(int16_t));
    srcStride = packedIfZero(srcStride, rowBytes);
    dstStride = packedIfZero(dstStride, rowBytes);
    call.keepDspIf(worthOffload(srcStride / 2, srcHeight, kLeastSeparableElements) &&
                   multiplesOf<8>(srcWidth, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    VSR_REQUIRE_AS(call,
                   src && kernel && dst && src != dst && srcWidth && srcHeight &&
                       srcStride >= srcWidth * sizeof(int16_t) && dstStride >= srcWidth * sizeof(int16_t),
                   "src && kernel && dst && src != dst && srcWidth && srcHeight && (srcStride >= "
                   "srcWidth*sizeof(int16_t)) && (dstStride >= srcWidth*sizeof(int16_t))");
    return call.run<correlation>(src, srcWidth, srcHeight, srcStride, kernel, dst, dstStride);
}

}  // namespace

#define VISORA_SEPARABLE(operation)                                                                        \
    VSR_DEFINE(operation, decltype(operation),                                                             \
               { return packedSeparable<operation##C>(Call(Row::operation, #operation), arguments...); }); \
    VSR_DEFINE(operation##_v2, decltype(operation##_v2),                                                   \
               { return stridedSeparable<operation##C>(Call(Row::operation, #operation "_v2"), arguments...); })

VISORA_SEPARABLE(vsrFilterCorrSep9x9s16);
VISORA_SEPARABLE(vsrFilterCorrSep11x11s16);
VISORA_SEPARABLE(vsrFilterCorrSep13x13s16);
VISORA_SEPARABLE(vsrFilterCorrSep15x15s16);
VISORA_SEPARABLE(vsrFilterCorrSep17x17s16);
