// Entry points of the gradients.
#include "common/visoraCall.h"
#include "common/visoraDefine.h"
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
vsrStatus planar(Call call, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, T* dx, T* dy,
                 uint32_t gradStride = 0)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    gradStride = packedIfZero(gradStride, static_cast<uint32_t>(srcWidth * sizeof(T)));
    call.keepDspIf(worthOffload(srcStride, srcHeight) && multiplesOf<8>(srcWidth, srcStride, gradStride) &&
                   aligned<8>(src, dx, dy));
    call.keepGpuIf(aligned<16>(src, dx, dy) && srcStride >= srcWidth && multiplesOf<8>(srcStride, gradStride));
    call.trace();
    VSR_REQUIRE(call, src && dx && dy && srcWidth && srcHeight && (srcStride >= srcWidth) &&
                          (gradStride >= srcWidth * sizeof(*dx)));
    return call.run<kernel>(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}

/** The Sobel planes ask for four rows of a DSP. */
template <auto kernel, class T, class... GradStride>
vsrStatus sobelPlanar(Call call, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, T* dx,
                      T* dy, GradStride... gradStride)
{
    call.keepDspIf(srcHeight >= 4);
    return planar<kernel>(call, src, srcWidth, srcHeight, srcStride, dx, dy, gradStride...);
}

template <auto kernel, class T>
vsrStatus interleaved(Call call, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      T* gradients, uint32_t gradStride = 0)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    gradStride = packedIfZero(gradStride, static_cast<uint32_t>(2 * srcWidth * sizeof(T)));
    call.keepDspIf(worthOffload(srcStride, srcHeight) && multiplesOf<8>(srcWidth, srcStride, gradStride) &&
                   aligned<8>(src, gradients));
    call.keepGpuIf(aligned<16>(src, gradients) && srcStride >= srcWidth && multiplesOf<8>(srcStride, gradStride));
    call.trace();
    VSR_REQUIRE(call, src && gradients && srcWidth && srcHeight && (srcStride >= srcWidth) &&
                          (gradStride >= 2 * sizeof(*gradients) * srcWidth));
    return call.run<kernel>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

}  // namespace

#define VSR_GRADIENT(entry, operation, shape) \
    VSR_DEFINE(entry, decltype(entry), { return shape<operation##C>(Call(Row::operation, #entry), arguments...); })
#define VSR_GRADIENTS(operation, shape)        \
    VSR_GRADIENT(operation, operation, shape); \
    VSR_GRADIENT(operation##_v2, operation, shape)

VSR_GRADIENTS(vsrImageGradientInterleaveds16, interleaved);
VSR_GRADIENTS(vsrImageGradientInterleavedf32, interleaved);
VSR_GRADIENTS(vsrImageGradientPlanars16, planar);
VSR_GRADIENTS(vsrImageGradientPlanarf32, planar);
VSR_GRADIENTS(vsrImageGradientPlanars8, planar);
VSR_GRADIENTS(vsrImageGradientSobelInterleaveds16, interleaved);
VSR_GRADIENTS(vsrImageGradientSobelInterleavedf32, interleaved);
VSR_GRADIENTS(vsrImageGradientSobelInterleaveds8, interleaved);
VSR_GRADIENTS(vsrImageGradientSobelPlanars16, sobelPlanar);
VSR_GRADIENTS(vsrImageGradientSobelPlanars8, sobelPlanar);
VSR_GRADIENTS(vsrImageGradientSobelPlanarf32, sobelPlanar);
VSR_GRADIENT(vsrImageGradientScharrPlanars16, vsrImageGradientScharrPlanars16, planar);
VSR_GRADIENT(vsrImageGradientScharrPlanarf32, vsrImageGradientScharrPlanarf32, planar);
