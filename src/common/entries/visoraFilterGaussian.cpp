// Entry points of the binomial Gaussian filters.
#include "common/visoraCall.h"
#include "visora/variants/filter.h"

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

namespace
{

// Widths from 2 to 6: too narrow for the six columns of a step.
constexpr bool narrowerThanAStep(uint32_t width)
{
    const uint32_t inner = width - 2;
    return inner - inner % 6 < width - 7;
}

// The 5x5 and 11x11 filters leave a call to the DSP or the GPU whether constraint checks are on or not.
template <class T>
void keepUnitOfWideFilter(Call& call, const T* src, uint32_t width, uint32_t height, uint32_t srcStride, T* dst,
                          uint32_t dstStride)
{
    call.keepDspOnlyIf(aligned<16>(src, dst) && multiplesOf<8>(width, srcStride, dstStride));
    call.keepGpuIf(height % 2 == 0 && multiplesOf<4>(width, srcStride, dstStride));
}

}  // namespace

vsrStatus vsrFilterGaussian3x3u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst, int32_t blurBorder)
{
    if (narrowerThanAStep(width))
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
    if (narrowerThanAStep(srcWidth))
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

vsrStatus vsrFilterGaussian5x5u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst, int32_t blurBorder)
{
    Call call(Row::vsrFilterGaussian5x5u8, "vsrFilterGaussian5x5u8");
    keepUnitOfWideFilter(call, src, width, height, width, dst, width);
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height && height > 4 && width > 4);
    return call.run<vsrFilterGaussian5x5u8C>(src, width, height, width, dst, width, blurBorder);
}

vsrStatus vsrFilterGaussian5x5u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrFilterGaussian5x5u8, "vsrFilterGaussian5x5u8_v2");
    keepUnitOfWideFilter(call, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    VSR_REQUIRE(call, src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 4 &&
                          srcWidth > 4);
    return call.run<vsrFilterGaussian5x5u8C>(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}

vsrStatus vsrFilterGaussian5x5s16(const int16_t* src, uint32_t width, uint32_t height, int16_t* dst, int32_t blurBorder)
{
    const auto rowBytes = static_cast<uint32_t>(width * sizeof(int16_t));
    Call call(Row::vsrFilterGaussian5x5s16, "vsrFilterGaussian5x5s16");
    keepUnitOfWideFilter(call, src, width, height, rowBytes, dst, rowBytes);
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height && height > 1);
    return call.run<vsrFilterGaussian5x5s16C>(src, width, height, rowBytes, dst, rowBytes, blurBorder);
}

vsrStatus vsrFilterGaussian5x5s16_v2(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     int16_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    const auto rowBytes = static_cast<uint32_t>(srcWidth * sizeof(int16_t));
    srcStride = packedIfZero(srcStride, rowBytes);
    dstStride = packedIfZero(dstStride, rowBytes);

    Call call(Row::vsrFilterGaussian5x5s16, "vsrFilterGaussian5x5s16_v2");
    keepUnitOfWideFilter(call, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    VSR_REQUIRE_AS(call,
                   src && dst && srcWidth && srcHeight && (srcStride >= srcWidth * sizeof(int16_t)) &&
                       (dstStride >= srcWidth * sizeof(int16_t)) && srcHeight > 1,
                   "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth*sizeof(int16_t))"
                   " && (dstStride >= srcWidth*sizeof(int16_t)) && srcHeight > 1");
    return call.run<vsrFilterGaussian5x5s16C>(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}

vsrStatus vsrFilterGaussian5x5s32(const int32_t* src, uint32_t width, uint32_t height, int32_t* dst, int32_t blurBorder)
{
    const auto rowBytes = static_cast<uint32_t>(width * sizeof(int32_t));
    Call call(Row::vsrFilterGaussian5x5s32, "vsrFilterGaussian5x5s32");
    keepUnitOfWideFilter(call, src, width, height, rowBytes, dst, rowBytes);
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height && width > 4 && height > 4);
    return call.run<vsrFilterGaussian5x5s32C>(src, width, height, rowBytes, dst, rowBytes, blurBorder);
}

vsrStatus vsrFilterGaussian5x5s32_v2(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     int32_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    const auto rowBytes = static_cast<uint32_t>(srcWidth * sizeof(int32_t));
    srcStride = packedIfZero(srcStride, rowBytes);
    dstStride = packedIfZero(dstStride, rowBytes);

    Call call(Row::vsrFilterGaussian5x5s32, "vsrFilterGaussian5x5s32_v2");
    keepUnitOfWideFilter(call, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    VSR_REQUIRE_AS(call,
                   src && dst && srcWidth && srcHeight && (srcStride >= srcWidth * sizeof(int32_t)) &&
                       (dstStride >= srcWidth * sizeof(int32_t)) && srcWidth > 4 && srcHeight > 4,
                   "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth*sizeof(int32_t))"
                   " && (dstStride >= srcWidth*sizeof(int32_t)) && srcWidth > 4 && srcHeight > 4");
    return call.run<vsrFilterGaussian5x5s32C>(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}

vsrStatus vsrFilterGaussian11x11u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst,
                                   int32_t blurBorder)
{
    Call call(Row::vsrFilterGaussian11x11u8, "vsrFilterGaussian11x11u8");
    keepUnitOfWideFilter(call, src, width, height, width, dst, width);
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height && height > 10 && width > 10);
    return call.run<vsrFilterGaussian11x11u8C>(src, width, height, width, dst, width, blurBorder);
}

vsrStatus vsrFilterGaussian11x11u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint8_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrFilterGaussian11x11u8, "vsrFilterGaussian11x11u8_v2");
    keepUnitOfWideFilter(call, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    VSR_REQUIRE(call, src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 10 &&
                          srcWidth > 10);
    return call.run<vsrFilterGaussian11x11u8C>(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}
