// DSP routines of the filters.
#include <tuple>

#include "common/visoraCall.h"
#include "common/visoraConvolution.h"
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

/** One image to another of the same size, with some numbers between them. */
template <size_t numbers>
constexpr auto sameSizeBehind = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto... rest)
{
    const auto all = std::tuple(rest...);
    return sameSize(src, width, height, srcStride, std::get<numbers>(all), std::get<numbers + 1>(all));
};

/** A second image of the same size, and some numbers behind it. */
template <size_t numbers>
constexpr auto withGuide = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, const auto* guide,
                              uint32_t guideStride, auto... rest)
{
    const auto [from, to] = sameSizeBehind<numbers>(src, width, height, srcStride, rest...);
    return std::array{from, imageLength(guide, guideStride, width, height), to};
};

constexpr auto gradientPlanes = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dx,
                                   auto* dy, uint32_t gradStride, auto...)
{
    return std::array{imageLength(src, srcStride, width, height), imageLength(dx, gradStride, width, height),
                      imageLength(dy, gradStride, width, height)};
};

/** A kernel of `taps` elements and some numbers between the images. */
template <size_t numbers, uint32_t taps>
constexpr auto withTaps =
    [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, const auto* /*kernel*/, auto... rest)
{
    const auto [from, to] = sameSizeBehind<numbers>(src, width, height, srcStride, rest...);
    return std::array{from, taps, to};
};

/** A kernel of N x N elements. */
template <size_t numbers>
constexpr auto withSquareKernel = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                     const auto* /*kernel*/, uint32_t N, auto... rest)
{
    const auto [from, to] = sameSizeBehind<numbers>(src, width, height, srcStride, rest...);
    return std::array{from, N * N, to};
};

constexpr auto withTwoKernels = [](const float* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                   const float* /*rowKernel*/, uint32_t M, const float* /*columnKernel*/, uint32_t N,
                                   float* dst, uint32_t dstStride, vsrBorderType /*borderType*/, float /*borderValue*/)
{
    const auto [from, to] = sameSize(src, width, height, srcStride, dst, dstStride);
    return std::array{from, M, N, to};
};

constexpr auto withShiftedKernels = [](const int16_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                       const int16_t* /*rowKernel*/, uint32_t M, uint32_t /*rowShift*/,
                                       const int16_t* /*columnKernel*/, uint32_t N, uint32_t /*columnShift*/,
                                       int16_t* dst, uint32_t dstStride)
{
    const auto [from, to] = sameSize(src, width, height, srcStride, dst, dstStride);
    return std::array{from, M, N, to};
};

constexpr auto convolution = [](const int16_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                const int16_t* /*kernel*/, uint32_t kernelWidth, uint32_t kernelHeight,
                                uint32_t /*shift*/, vsrConvolutionSize size, int16_t* dst, uint32_t dstStride)
{
    const ConvolutionOutput output(width, height, kernelWidth, kernelHeight, size);
    return std::array{imageLength(src, srcStride, width, height), kernelWidth * kernelHeight,
                      imageLength(dst, dstStride, output.width, output.height)};
};

/** The DSP reads and writes images in words of eight bytes; it has no fallback. */
constexpr auto areAligned = [](const auto& /*lengths*/, const int16_t* src, uint32_t /*width*/, uint32_t /*height*/,
                               uint32_t srcStride, const int16_t* /*rowKernel*/, uint32_t /*M*/, uint32_t /*rowShift*/,
                               const int16_t* /*columnKernel*/, uint32_t /*N*/, uint32_t /*columnShift*/, int16_t* dst,
                               uint32_t dstStride)
{ return aligned<8>(src, dst) && multiplesOf<8>(srcStride, dstStride); };
using RetryIfAligned = RetryIf<areAligned>;

constexpr auto edgesAndGradients = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                      uint32_t /*low*/, uint32_t /*high*/, vsrCannyNorm /*norm*/, uint8_t* dst,
                                      uint32_t dstStride, int16_t* dx, int16_t* dy, uint32_t gradStride)
{
    return std::array{imageLength(src, srcStride, width, height), imageLength(dst, dstStride, width, height),
                      imageLength(dx, gradStride, width, height), imageLength(dy, gradStride, width, height)};
};

constexpr auto withLevel = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t /*type*/,
                              auto* dst, uint32_t dstStride, uint8_t* /*level*/) {
    return std::array{imageLength(src, srcStride, width, height), imageLength(dst, dstStride, width, height), 1u};
};

/** The DSP reads and writes these gradients in words of eight bytes. */
constexpr auto isAligned = [](const auto& /*lengths*/, const auto* src, uint32_t /*width*/, uint32_t /*height*/,
                              uint32_t srcStride, auto* dx, auto* dy, uint32_t gradStride, auto...)
{ return aligned<8>(src, dx, dy) && multiplesOf<8>(srcStride, gradStride); };
using FallBackIfAligned = FallBackIf<isAligned>;

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/filter.def"
