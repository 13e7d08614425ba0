// Sobel gradients, vector variants.
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/gradient/visoraGradientSobelV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/gradient/visoraGradient-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

VSR_KERNEL(vsrImageGradientSobelInterleaveds16, sobelPairss16, pairedGradients, kSobel);
VSR_KERNEL(vsrImageGradientSobelInterleavedf32, sobelPairsf32, pairedGradients, kSobel);
VSR_KERNEL(vsrImageGradientSobelInterleaveds8, sobelPairss8, pairedGradients, kSobel);
VSR_KERNEL(vsrImageGradientSobelPlanars16, sobelPlaness16, planarGradients, kSobel);
VSR_KERNEL(vsrImageGradientSobelPlanarf32, sobelPlanesf32, planarGradients, kSobel);
VSR_KERNEL(vsrImageGradientSobelPlanars8, sobelPlaness8, planarGradients, kSobel);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrImageGradientSobelInterleaveds16, sobelPairss16);
VSR_VECTOR(vsrImageGradientSobelInterleavedf32, sobelPairsf32);
VSR_VECTOR(vsrImageGradientSobelInterleaveds8, sobelPairss8);
VSR_VECTOR(vsrImageGradientSobelPlanars16, sobelPlaness16);
VSR_VECTOR(vsrImageGradientSobelPlanarf32, sobelPlanesf32);
VSR_VECTOR(vsrImageGradientSobelPlanars8, sobelPlaness8);

#endif
