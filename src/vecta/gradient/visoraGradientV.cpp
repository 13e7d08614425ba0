// Central differences, Sobel and Scharr gradients of images, vector variants.
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/gradient/visoraGradientV.cpp"
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

VSR_KERNEL(vsrImageGradientSobelInterleaveds16, sobelPairss16, pairedGradients, kSobel);
VSR_KERNEL(vsrImageGradientSobelInterleavedf32, sobelPairsf32, pairedGradients, kSobel);
VSR_KERNEL(vsrImageGradientSobelInterleaveds8, sobelPairss8, pairedGradients, kSobel);
VSR_KERNEL(vsrImageGradientSobelPlanars16, sobelPlaness16, planarGradients, kSobel);
VSR_KERNEL(vsrImageGradientSobelPlanarf32, sobelPlanesf32, planarGradients, kSobel);
VSR_KERNEL(vsrImageGradientSobelPlanars8, sobelPlaness8, planarGradients, kSobel);

VSR_KERNEL(vsrImageGradientScharrInterleaveds16, scharrPairss16, pairedGradients, kScharr);
VSR_KERNEL(vsrImageGradientScharrPlanars16, scharrPlaness16, planarGradients, kScharr);
VSR_KERNEL(vsrImageGradientScharrPlanarf32, scharrPlanesf32, planarGradients, kScharr);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrImageGradientInterleaveds16, centralPairss16);
VSR_VECTOR(vsrImageGradientInterleavedf32, centralPairsf32);
VSR_VECTOR(vsrImageGradientPlanars16, centralPlaness16);
VSR_VECTOR(vsrImageGradientPlanarf32, centralPlanesf32);
VSR_VECTOR(vsrImageGradientPlanars8, centralPlaness8);
VSR_VECTOR(vsrImageGradientSobelInterleaveds16, sobelPairss16);
VSR_VECTOR(vsrImageGradientSobelInterleavedf32, sobelPairsf32);
VSR_VECTOR(vsrImageGradientSobelInterleaveds8, sobelPairss8);
VSR_VECTOR(vsrImageGradientSobelPlanars16, sobelPlaness16);
VSR_VECTOR(vsrImageGradientSobelPlanarf32, sobelPlanesf32);
VSR_VECTOR(vsrImageGradientSobelPlanars8, sobelPlaness8);
VSR_VECTOR(vsrImageGradientScharrInterleaveds16, scharrPairss16);
VSR_VECTOR(vsrImageGradientScharrPlanars16, scharrPlaness16);
VSR_VECTOR(vsrImageGradientScharrPlanarf32, scharrPlanesf32);

#endif
