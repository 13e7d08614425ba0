// Entry points of the box filters.
#include <algorithm>

#include "common/visoraCall.h"
#include "common/visoraDefine.h"
#include "visora/variants/filter.h"

namespace visora
{
namespace
{

// What the u8 members ask of an accelerated kind.
void keepAcceleratorsIfSuited(Call& call, uint32_t minHeight, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                              uint32_t srcStride, const uint8_t* dst, uint32_t dstStride)
{
    call.keepDspIf(srcHeight >= minHeight && worthOffload(srcStride, srcHeight) &&
                   multiplesOf<8>(srcWidth, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && srcStride >= srcWidth && dstStride >= srcWidth &&
                   multiplesOf<8>(srcStride, dstStride));
}

// Windows inside the image; what is refused is logged.
template <auto kernel, uint32_t window>
vsrStatus boxInside(Call call, const char* condition, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                    uint32_t srcStride, uint8_t* dst, uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    keepAcceleratorsIfSuited(call, std::max(window, 4u), src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    VSR_REQUIRE_AS(
        call,
        src && dst && srcStride && dstStride && srcStride >= srcWidth && srcWidth >= window && srcHeight >= window,
        condition);
    return call.run<kernel>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // namespace
}  // namespace visora

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;

#define BOX(entry, window, condition)                                                              \
    VSR_DEFINE(entry, decltype(entry), {                                                           \
        return visora::boxInside<entry##C, window>({Row::entry, #entry}, condition, arguments...); \
    })

BOX(vsrBoxFilter3x3u8, 3,
    "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth ) && "
    "srcWidth > 2 && srcHeight > 2");
BOX(vsrBoxFilter5x5u8, 5,
    "src && dst && srcWidth && srcHeight && srcStride && dstStride && (srcStride >=srcWidth) && "
    "srcWidth > 4 && srcHeight > 4");
BOX(vsrBoxFilter11x11u8, 11,
    "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth) && "
    "srcWidth > 10 && srcHeight > 10");

vsrStatus vsrBoxFilter3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrBoxFilter3x3u8_v2, "vsrBoxFilter3x3u8_v2");
    visora::keepAcceleratorsIfSuited(call, 4, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    call.trace();
    if (!(src && dst && srcWidth && srcHeight && srcStride >= srcWidth && dstStride >= srcWidth &&
          borderType <= VISORA_BORDER_REPLICATE))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrBoxFilter3x3u8_v2C>(src, srcWidth, srcHeight, srcStride, dst, dstStride, borderType,
                                                     borderValue);
}

vsrStatus vsrBoxFilterNxNf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                             uint32_t dstStride, uint32_t N)
{
    const size_t rowBytes = srcWidth * sizeof(float);
    srcStride = packedIfZero(srcStride, static_cast<uint32_t>(rowBytes));
    dstStride = packedIfZero(dstStride, static_cast<uint32_t>(rowBytes));

    Call call(Row::vsrBoxFilterNxNf32, "vsrBoxFilterNxNf32");
    call.keepDspIf(visora::worthOffload(srcWidth, srcHeight, visora::kMinDspPixelsHeavy) &&
                   multiplesOf<8>(srcWidth, srcStride, dstStride) && aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    if (!(src && dst && srcWidth && srcHeight && N > 1 && (src != dst || srcStride == dstStride) &&
          srcStride >= rowBytes && dstStride >= rowBytes && srcWidth > 4 && srcHeight > 4))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrBoxFilterNxNf32C>(src, srcWidth, srcHeight, srcStride, dst, dstStride, N);
}
