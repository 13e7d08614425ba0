// Entry points of the scalers.
#include "common/visoraCall.h"
#include "visora/variants/scale.h"

using visora::aligned;
using visora::Call;
using visora::InternalRow;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

namespace
{

constexpr int kRefused = -1;

// All scalers leave a call to a DSP or the GPU under the same conditions.
void keepAccelerators(Call& call, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      const uint8_t* dst, uint32_t dstStride)
{
    call.keepDspIf(worthOffload(srcStride, srcHeight) && multiplesOf<8>(srcWidth, srcStride, dstStride) &&
                   aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && srcStride >= srcWidth && multiplesOf<8>(srcStride, dstStride));
}

// The box averages by 2 and by 4.
template <auto kernel, uint32_t factor>
int averageByFactor(Call call, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, width);
    dstStride = packedIfZero(dstStride, width / factor);
    keepAccelerators(call, src, width, height, srcStride, dst, dstStride);
    call.trace();
    if (!(src && dst && width && height && multiplesOf<factor>(width, height) && srcStride >= width &&
          dstStride >= width / factor))
    {
        return kRefused;
    }
    return call.runOrFallBack<kernel>(src, width, height, srcStride, dst, dstStride);
}

}  // namespace

int vsrScaleDownBy2u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
{
    const Call call(Row::vsrScaleDownBy2u8, "vsrScaleDownBy2u8");
    return averageByFactor<vsrScaleDownBy2u8C, 2>(call, src, width, height, 0, dst, 0);
}

int vsrScaleDownBy2u8_v2(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstStride)
{
    const Call call(Row::vsrScaleDownBy2u8, "vsrScaleDownBy2u8_v2");
    return averageByFactor<vsrScaleDownBy2u8C, 2>(call, src, width, height, srcStride, dst, dstStride);
}

int vsrScaleDownBy4u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
{
    const Call call(Row::vsrScaleDownBy4u8, "vsrScaleDownBy4u8");
    return averageByFactor<vsrScaleDownBy4u8C, 4>(call, src, width, height, 0, dst, 0);
}

int vsrScaleDownBy4u8_v2(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstStride)
{
    const Call call(Row::vsrScaleDownBy4u8, "vsrScaleDownBy4u8_v2");
    return averageByFactor<vsrScaleDownBy4u8C, 4>(call, src, width, height, srcStride, dst, dstStride);
}

int vsrScaleDown3To2u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride)
{
    const uint32_t dstWidth = srcWidth / 3 * 2;
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, dstWidth);

    Call call(Row::vsrScaleDown3To2u8, "vsrScaleDown3To2u8");
    keepAccelerators(call, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    if (!(src && dst && srcWidth && srcHeight && srcStride >= srcWidth && dstStride >= dstWidth))
    {
        return kRefused;
    }
    return call.runOrFallBack<vsrScaleDown3To2u8C>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrScaleDownu8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst, uint32_t dstWidth,
                         uint32_t dstHeight)
{
    Call call(Row::vsrScaleDownu8, "vsrScaleDownu8");
    keepAccelerators(call, src, width, height, width, dst, dstWidth);
    call.trace();
    VSR_REQUIRE(call,
                src && dst && width && height && dstWidth && dstHeight && width >= dstWidth && height >= dstHeight);
    return call.run<vsrScaleDownu8C>(src, width, height, width, dst, dstWidth, dstHeight, dstWidth);
}

vsrStatus vsrScaleDownu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, dstWidth);

    Call call(Row::vsrScaleDownu8, "vsrScaleDownu8_v2");
    keepAccelerators(call, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    VSR_REQUIRE(call, src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstWidth && dstHeight &&
                          (dstStride >= dstWidth) && srcWidth >= dstWidth && srcHeight >= dstHeight);
    return call.run<vsrScaleDownu8C>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}

vsrStatus vsrScaleDownMNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                           uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, dstWidth);

    Call call(Row::vsrScaleDownMNu8, "vsrScaleDownMNu8");
    keepAccelerators(call, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    // A product that wraps belongs to a destination so wide that the ratio is far below 20: no wrap lets a larger
    // ratio pass.
    VSR_REQUIRE_AS(call,
                   src && dst && srcWidth && srcHeight && dstWidth && dstHeight && srcStride >= srcWidth &&
                       dstStride >= dstWidth && dstWidth * 20 > srcWidth && dstHeight * 20 > srcHeight,
                   "src && dst && srcWidth && srcHeight && dstWidth && dstHeight && (srcStride==0 || srcStride "
                   ">=srcWidth) && (dstStride == 0 || dstStride >= dstWidth) && dstWidth * 20 > srcWidth && dstHeight "
                   "* 20 > srcHeight");
    if (dstWidth > srcWidth || dstHeight > srcHeight)
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrScaleDownMNu8C>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight,
                                                 dstStride);
}

vsrStatus vsrScaleDownNNu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                           uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, dstWidth);

    Call call(Row::vsrScaleDownNNu8, "vsrScaleDownNNu8");
    keepAccelerators(call, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    constexpr uint32_t kLargestSide = 65535;
    if (!(src && dst && srcWidth && srcHeight && dstWidth && dstHeight && srcStride >= srcWidth &&
          dstStride >= dstWidth && srcWidth <= kLargestSide && srcHeight <= kLargestSide && dstWidth <= kLargestSide &&
          dstHeight <= kLargestSide))
    {
        return VISORA_EFAIL;
    }
    return call.runOrFallBack<vsrScaleDownNNu8C>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight,
                                                 dstStride);
}

vsrStatus vsrScaleDownBy2Gaussian5x5u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
{
    Call call(Row::vsrScaleDownBy2Gaussian5x5u8, "vsrScaleDownBy2Gaussian5x5u8");
    keepAccelerators(call, src, width, height, width, dst, width / 2);
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height);
    return call.run<vsrScaleDownBy2Gaussian5x5u8C>(src, width, height, width, dst, width / 2);
}

vsrStatus vsrScaleDownBy2Gaussian5x5u8_v2(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                          uint8_t* dst, uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, width);
    dstStride = packedIfZero(dstStride, width / 2);

    Call call(Row::vsrScaleDownBy2Gaussian5x5u8, "vsrScaleDownBy2Gaussian5x5u8_v2");
    keepAccelerators(call, src, width, height, srcStride, dst, dstStride);
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height && (srcStride >= width) && (dstStride >= width / 2));
    return call.run<vsrScaleDownBy2Gaussian5x5u8C>(src, width, height, srcStride, dst, dstStride);
}

vsrStatus vsrScaleDownBy2Gaussian5x5f32(const float* src, uint32_t width, uint32_t height, float* dst)
{
    Call call(InternalRow::vsrScaleDownBy2Gaussian5x5f32, "vsrScaleDownBy2Gaussian5x5f32");
    call.keepDspIf(worthOffload(width, height) && multiplesOf<8>(width) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst));
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height);
    return call.run<vsrScaleDownBy2Gaussian5x5f32C>(src, width, height, dst);
}

vsrStatus vsrScaleDownBy2Gaussian5x5f32_v2(const float* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                           float* dst, uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, static_cast<uint32_t>(width * sizeof(float)));
    dstStride = packedIfZero(dstStride, static_cast<uint32_t>(width / 2 * sizeof(float)));

    Call call(InternalRow::vsrScaleDownBy2Gaussian5x5f32_v2, "vsrScaleDownBy2Gaussian5x5f32_v2");
    call.keepDspIf(worthOffload(width, height) && multiplesOf<8>(width, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height && (srcStride >= width * sizeof(*src)) &&
                          (dstStride >= width / 2 * sizeof(*dst)));
    return call.run<vsrScaleDownBy2Gaussian5x5f32_v2C>(src, width, height, srcStride, dst, dstStride);
}
