// Central differences, vector variants.
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/gradient/visoraGradientCentralV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/gradient/visoraGradient-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

VSR_KERNEL(vsrImageGradientInterleaveds16, centralPairss16, pairedGradients, kCentral);
VSR_KERNEL(vsrImageGradientInterleavedf32, centralPairsf32, pairedGradients, kCentral);
VSR_KERNEL(vsrImageGradientPlanars16, centralPlaness16, planarGradients, kCentral);
VSR_KERNEL(vsrImageGradientPlanarf32, centralPlanesf32, planarGradients, kCentral);
VSR_KERNEL(vsrImageGradientPlanars8, centralPlaness8, planarGradients, kCentral);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrImageGradientInterleaveds16, centralPairss16);
VSR_VECTOR(vsrImageGradientInterleavedf32, centralPairsf32);
VSR_VECTOR(vsrImageGradientPlanars16, centralPlaness16);
VSR_VECTOR(vsrImageGradientPlanarf32, centralPlanesf32);
VSR_VECTOR(vsrImageGradientPlanars8, centralPlaness8);

#endif
