// Central differences, Sobel and Scharr gradients of images, vector variants.
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/gradient/visoraGradientV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/gradient/visoraGradient-inl.h"
#include "vecta/visoraVariant-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

VSR_VARIANT(vsrImageGradientInterleaveds16, pairedGradients, kCentral);
VSR_VARIANT(vsrImageGradientInterleavedf32, pairedGradients, kCentral);
VSR_VARIANT(vsrImageGradientPlanars16, planarGradients, kCentral);
VSR_VARIANT(vsrImageGradientPlanarf32, planarGradients, kCentral);
VSR_VARIANT(vsrImageGradientPlanars8, planarGradients, kCentral);

VSR_VARIANT(vsrImageGradientSobelInterleaveds16, pairedGradients, kSobel);
VSR_VARIANT(vsrImageGradientSobelInterleavedf32, pairedGradients, kSobel);
VSR_VARIANT(vsrImageGradientSobelInterleaveds8, pairedGradients, kSobel);
VSR_VARIANT(vsrImageGradientSobelPlanars16, planarGradients, kSobel);
VSR_VARIANT(vsrImageGradientSobelPlanarf32, planarGradients, kSobel);
VSR_VARIANT(vsrImageGradientSobelPlanars8, planarGradients, kSobel);

VSR_VARIANT(vsrImageGradientScharrInterleaveds16, pairedGradients, kScharr);
VSR_VARIANT(vsrImageGradientScharrPlanars16, planarGradients, kScharr);
VSR_VARIANT(vsrImageGradientScharrPlanarf32, planarGradients, kScharr);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();
