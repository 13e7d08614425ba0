// Entry points of the binomial Gaussian filters.
#include "common/visoraCall.h"
#include "common/visoraDefine.h"
#include "visora/variants/filter.h"

namespace visora
{
namespace
{

// Widths from 2 to 6: too narrow for the six columns of a step.
constexpr bool narrowerThanAStep(uint32_t width)
{
    const uint32_t inner = width - 2;
    return inner - inner % 6 < width - 7;
}

// The 5x5 and 11x11 filters work on images of at least `leastWidth` x `leastHeight`. They leave a call to the DSP or
// the GPU whether constraint checks are on or not. The u8 members ask of the destination's stride only that there is
// one.
template <auto kernel, uint32_t leastWidth, uint32_t leastHeight, class T>
vsrStatus wideFilter(Call call, const char* condition, const T* src, uint32_t srcWidth, uint32_t srcHeight,
                     uint32_t srcStride, T* dst, uint32_t dstStride, int32_t blurBorder)
{
    const size_t rowBytes = srcWidth * sizeof(T);
    srcStride = packedIfZero(srcStride, static_cast<uint32_t>(rowBytes));
    dstStride = packedIfZero(dstStride, static_cast<uint32_t>(rowBytes));

    call.keepDspOnlyIf(aligned<16>(src, dst) && multiplesOf<8>(srcWidth, srcStride, dstStride));
    call.keepGpuIf(srcHeight % 2 == 0 && multiplesOf<4>(srcWidth, srcStride, dstStride));
    call.trace();
    VSR_REQUIRE_AS(call,
                   src && dst && srcWidth >= leastWidth && srcHeight >= leastHeight && srcStride >= rowBytes &&
                       dstStride >= (sizeof(T) == 1 ? 1 : rowBytes),
                   condition);
    return call.run<kernel>(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}

template <auto kernel, uint32_t leastWidth, uint32_t leastHeight, class T>
vsrStatus wideFilter(Call call, const char* condition, const T* src, uint32_t width, uint32_t height, T* dst,
                     int32_t blurBorder)
{
    return wideFilter<kernel, leastWidth, leastHeight>(call, condition, src, width, height, 0, dst, 0, blurBorder);
}

}  // namespace
}  // namespace visora

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

vsrStatus vsrFilterGaussian3x3u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst, int32_t blurBorder)
{
    if (visora::narrowerThanAStep(width))
    {
        return visora::refuseRange("vsrFilterGaussian3x3u8");
    }
    Call call(Row::vsrFilterGaussian3x3u8, "vsrFilterGaussian3x3u8");
    call.keepDspIf(height >= 4 && worthOffload(width, height) && multiplesOf<8>(width) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(width));
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height);
    return call.run<vsrFilterGaussian3x3u8C>(src, width, height, width, dst, width, blurBorder);
}

vsrStatus vsrFilterGaussian3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    if (visora::narrowerThanAStep(srcWidth))
    {
        return visora::refuseRange("vsrFilterGaussian3x3u8_v2");
    }
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrFilterGaussian3x3u8, "vsrFilterGaussian3x3u8_v2");
    call.keepDspIf(srcHeight >= 4 && worthOffload(srcStride, srcHeight) &&
                   multiplesOf<8>(srcWidth, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && srcStride >= srcWidth && dstStride >= srcWidth &&
                   multiplesOf<8>(srcStride, dstStride));
    call.trace();
    VSR_REQUIRE(call,
                src && dst && (srcWidth > 1) && (srcHeight > 1) && (srcStride >= srcWidth) && (dstStride >= srcWidth));
    return call.run<vsrFilterGaussian3x3u8C>(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}

vsrStatus vsrFilterGaussian3x3u8_v3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrFilterGaussian3x3u8_v3, "vsrFilterGaussian3x3u8_v3");
    call.keepDspIf(srcHeight >= 4 && worthOffload(srcStride, srcHeight) &&
                   multiplesOf<8>(srcWidth, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    if (!(src && dst && srcWidth && srcHeight && srcStride >= srcWidth && dstStride >= srcWidth &&
          borderType <= VISORA_BORDER_REPLICATE))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrFilterGaussian3x3u8_v3C>(src, srcWidth, srcHeight, srcStride, dst, dstStride,
                                                          borderType, borderValue);
}

#define WIDE_FILTER(entry, operation, leastWidth, leastHeight, condition)                                     \
    VSR_DEFINE(entry, decltype(entry), {                                                                      \
        return visora::wideFilter<operation##C, leastWidth, leastHeight>({Row::operation, #entry}, condition, \
                                                                         arguments...);                       \
    })

WIDE_FILTER(vsrFilterGaussian5x5u8, vsrFilterGaussian5x5u8, 5, 5,
            "src && dst && width && height && height > 4 && width > 4");
WIDE_FILTER(
    vsrFilterGaussian5x5u8_v2, vsrFilterGaussian5x5u8, 5, 5,
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 4 && srcWidth > 4");
WIDE_FILTER(vsrFilterGaussian5x5s16, vsrFilterGaussian5x5s16, 1, 2, "src && dst && width && height && height > 1");
WIDE_FILTER(vsrFilterGaussian5x5s16_v2, vsrFilterGaussian5x5s16, 1, 2,
            "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth*sizeof(int16_t))"
            " && (dstStride >= srcWidth*sizeof(int16_t)) && srcHeight > 1");
WIDE_FILTER(vsrFilterGaussian5x5s32, vsrFilterGaussian5x5s32, 5, 5,
            "src && dst && width && height && width > 4 && height > 4");
WIDE_FILTER(vsrFilterGaussian5x5s32_v2, vsrFilterGaussian5x5s32, 5, 5,
            "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth*sizeof(int32_t))"
            " && (dstStride >= srcWidth*sizeof(int32_t)) && srcWidth > 4 && srcHeight > 4");
WIDE_FILTER(vsrFilterGaussian11x11u8, vsrFilterGaussian11x11u8, 11, 11,
            "src && dst && width && height && height > 10 && width > 10");
WIDE_FILTER(
    vsrFilterGaussian11x11u8_v2, vsrFilterGaussian11x11u8, 11, 11,
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 10 && srcWidth > 10");
