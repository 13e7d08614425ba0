// Operations on the elements of two images at the same place, vector variants.
#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementBinaryV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

VSR_KERNEL(vsrAbsDiffu8, absDiffu8, binary,
           [](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a)); });

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrAbsDiffu8, absDiffu8);

#endif
