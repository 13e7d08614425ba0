// Gradients, reference variants.
#include "cpu/gradient/visoraGradient.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/statistics.h"

namespace visora
{
namespace
{

template <GradientKind kind, class T>
vsrStatus planarGradients(KindTag<kind> /*kind*/, const uint8_t* src, uint32_t width, uint32_t height,
                          uint32_t srcStride, T* dx, T* dy, uint32_t gradStride)
{
    gradients<kind>(src, width, height, srcStride, GradientPlanes<T>{dx, dy}, gradStride);
    return VISORA_SUCCESS;
}

template <GradientKind kind, class T>
vsrStatus pairedGradients(KindTag<kind> /*kind*/, const uint8_t* src, uint32_t width, uint32_t height,
                          uint32_t srcStride, T* pairs, uint32_t gradStride)
{
    gradients<kind>(src, width, height, srcStride, GradientPairs<T>{pairs}, gradStride);
    return VISORA_SUCCESS;
}

}  // namespace
}  // namespace visora

VSR_REFERENCE(vsrImageGradientInterleaveds16, pairedGradients, visora::kCentral);
VSR_REFERENCE(vsrImageGradientInterleavedf32, pairedGradients, visora::kCentral);
VSR_REFERENCE(vsrImageGradientPlanars16, planarGradients, visora::kCentral);
VSR_REFERENCE(vsrImageGradientPlanarf32, planarGradients, visora::kCentral);
VSR_REFERENCE(vsrImageGradientPlanars8, planarGradients, visora::kCentral);
VSR_REFERENCE(vsrImageGradientSobelInterleaveds16, pairedGradients, visora::kSobel);
VSR_REFERENCE(vsrImageGradientSobelInterleavedf32, pairedGradients, visora::kSobel);
VSR_REFERENCE(vsrImageGradientSobelInterleaveds8, pairedGradients, visora::kSobel);
VSR_REFERENCE(vsrImageGradientSobelPlanars16, planarGradients, visora::kSobel);
VSR_REFERENCE(vsrImageGradientSobelPlanars8, planarGradients, visora::kSobel);
VSR_REFERENCE(vsrImageGradientSobelPlanarf32, planarGradients, visora::kSobel);
VSR_REFERENCE(vsrImageGradientScharrInterleaveds16, pairedGradients, visora::kScharr);
VSR_REFERENCE(vsrImageGradientScharrPlanars16, planarGradients, visora::kScharr);
VSR_REFERENCE(vsrImageGradientScharrPlanarf32, planarGradients, visora::kScharr);
