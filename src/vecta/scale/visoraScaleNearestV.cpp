// Nearest-neighbour downscaler, vector variant.
#include "cpu/scale/visoraScaleMap.h"
#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleNearestV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/scale/visoraScalePick-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

vsrStatus scaleNearest(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    const NearestMap map(srcWidth, srcHeight, dstWidth, dstHeight);
    const bool sameSize = srcWidth == dstWidth && srcHeight == dstHeight;
    if (!sameSize && map.inRange() &&
        pickPixels(src, srcStride, dst, dstWidth, dstHeight, dstStride, map.column, map.row))
    {
        return VISORA_SUCCESS;
    }
    return vsrScaleDownNNu8C(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(scaleNearest);
}

vsrStatus vsrScaleDownNNu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(scaleNearest)(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}

#endif
