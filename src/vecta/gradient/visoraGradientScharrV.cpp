// Scharr gradients, vector variants.
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/gradient/visoraGradientScharrV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/gradient/visoraGradient-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

VSR_KERNEL(vsrImageGradientScharrInterleaveds16, scharrPairss16, pairedGradients, kScharr);
VSR_KERNEL(vsrImageGradientScharrPlanars16, scharrPlaness16, planarGradients, kScharr);
VSR_KERNEL(vsrImageGradientScharrPlanarf32, scharrPlanesf32, planarGradients, kScharr);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrImageGradientScharrInterleaveds16, scharrPairss16);
VSR_VECTOR(vsrImageGradientScharrPlanars16, scharrPlaness16);
VSR_VECTOR(vsrImageGradientScharrPlanarf32, scharrPlanesf32);

#endif
