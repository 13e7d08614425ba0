// Entry points of the gradients.
#include "common/visoraCall.h"
#include "visora/variants/statistics.h"

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

namespace
{

template <auto kernel, class T>
vsrStatus sobelPlanar(Call call, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, T* dx,
                      T* dy, uint32_t gradStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    gradStride = packedIfZero(gradStride, static_cast<uint32_t>(srcWidth * sizeof(T)));
    call.keepDspIf(srcHeight >= 4 && worthOffload(srcStride, srcHeight) &&
                   multiplesOf<8>(srcWidth, srcStride, gradStride) && aligned<8>(src, dx, dy));
    call.keepGpuIf(aligned<16>(src, dx, dy) && srcStride >= srcWidth && multiplesOf<8>(srcStride, gradStride));
    call.trace();
    VSR_REQUIRE(call, src && dx && dy && srcWidth && srcHeight && (srcStride >= srcWidth) &&
                          (gradStride >= srcWidth * sizeof(*dx)));
    return call.run<kernel>(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}

}  // namespace

vsrStatus vsrImageGradientSobelPlanars16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         int16_t* dx, int16_t* dy)
{
    const Call call(Row::vsrImageGradientSobelPlanars16, "vsrImageGradientSobelPlanars16");
    return sobelPlanar<vsrImageGradientSobelPlanars16C>(call, src, srcWidth, srcHeight, srcStride, dx, dy, 0);
}

vsrStatus vsrImageGradientSobelPlanars16_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, int16_t* dx, int16_t* dy, uint32_t gradStride)
{
    const Call call(Row::vsrImageGradientSobelPlanars16, "vsrImageGradientSobelPlanars16_v2");
    return sobelPlanar<vsrImageGradientSobelPlanars16C>(call, src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}

vsrStatus vsrImageGradientSobelPlanars8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        int8_t* dx, int8_t* dy)
{
    const Call call(Row::vsrImageGradientSobelPlanars8, "vsrImageGradientSobelPlanars8");
    return sobelPlanar<vsrImageGradientSobelPlanars8C>(call, src, srcWidth, srcHeight, srcStride, dx, dy, 0);
}

vsrStatus vsrImageGradientSobelPlanars8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, int8_t* dx, int8_t* dy, uint32_t gradStride)
{
    const Call call(Row::vsrImageGradientSobelPlanars8, "vsrImageGradientSobelPlanars8_v2");
    return sobelPlanar<vsrImageGradientSobelPlanars8C>(call, src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}

vsrStatus vsrImageGradientSobelPlanarf32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         float* dx, float* dy)
{
    const Call call(Row::vsrImageGradientSobelPlanarf32, "vsrImageGradientSobelPlanarf32");
    return sobelPlanar<vsrImageGradientSobelPlanarf32C>(call, src, srcWidth, srcHeight, srcStride, dx, dy, 0);
}

vsrStatus vsrImageGradientSobelPlanarf32_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, float* dx, float* dy, uint32_t gradStride)
{
    const Call call(Row::vsrImageGradientSobelPlanarf32, "vsrImageGradientSobelPlanarf32_v2");
    return sobelPlanar<vsrImageGradientSobelPlanarf32C>(call, src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}
