// Entry points of the corner detectors.
#include <algorithm>
#include <type_traits>

#include "common/visoraCall.h"
#include "common/visoraDefine.h"
#include "visora/variants/corner.h"

namespace visora
{
namespace
{

// The circle around a pixel reaches three pixels away.
constexpr uint32_t kCircle = 3;

// Twice a large border does not fit 32 bits; it fits no image either.
bool leavesPixels(uint32_t border, uint32_t width, uint32_t height)
{
    return uint64_t{border} * 2 < width && uint64_t{border} * 2 < height;
}

// All detectors begin alike; the first `checked` pointers among the rest of the arguments must be given.
template <auto kernel, int checked, class... Rest>
vsrStatus detect(Call call, const char* condition, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                 uint32_t srcStride, uint32_t threshold, uint32_t border, Rest... rest)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = std::max(border, kCircle);
    call.keepDspIf(worthOffload(srcStride, srcHeight) && multiplesOf<8>(srcWidth, srcStride) && aligned<8>(src));
    call.trace();
    int left = checked;
    bool areGiven = src != nullptr;
    const auto check = [&](auto argument)
    {
        if constexpr (std::is_pointer_v<decltype(argument)>)
        {
            areGiven = areGiven && (left-- <= 0 || argument);
        }
    };
    (check(rest), ...);
    VSR_REQUIRE_AS(call, areGiven && srcStride >= srcWidth && leavesPixels(border, srcWidth, srcHeight), condition);
    return call.run<kernel>(src, srcWidth, srcHeight, srcStride, threshold, border, rest...);
}

}  // namespace
}  // namespace visora

#define DETECTOR(entry, checked, condition)                                                                          \
    VSR_DEFINE(entry, decltype(entry), {                                                                             \
        return visora::detect<entry##C, checked>(visora::Call(visora::Row::entry, #entry), condition, arguments...); \
    })

DETECTOR(vsrCornerFast9u8, 2, "src && xy && numcorners && stride >= width && border*2 < width && border*2 < height");
DETECTOR(vsrCornerFast9Scoreu8, 3,
         "src && xy && scores && numcorners && stride >= width && border*2 < width && border*2 < height");
DETECTOR(vsrCornerFast9Scoreu8_v2, 3,
         "src && xy && scores && numcorners && stride >= width && border*2 < width && border*2 < height");
DETECTOR(vsrCornerFast9InMasku8, 3,
         "src && xy && numcorners && bitMask && stride >= width && border*2 < width && border*2 < height");
DETECTOR(vsrCornerFast9InMaskScoreu8, 4,
         "src && xy && scores && numcorners && bitMask && stride >= width && border*2 < width && border*2 < height");
DETECTOR(vsrCornerFast9InMaskScoreu8_v2, 4,
         "src && xy && scores && numcorners && bitMask && stride >= width && border*2 < width && border*2 < height");
DETECTOR(vsrCornerFast10u8, 2,
         "src && xy && nCorners && srcStride >= srcWidth && border*2 < srcWidth && border*2 < srcHeight");
DETECTOR(vsrCornerFast10Scoreu8, 3,
         "src && xy && scores && nCorners && srcStride >= srcWidth && border*2 < srcWidth && border*2 < srcHeight");
DETECTOR(vsrCornerFast10InMasku8, 3,
         "src && xy && nCorners && mask && srcStride >= srcWidth && border*2 < srcWidth && border*2 < srcHeight");
DETECTOR(vsrCornerFast10InMaskScoreu8, 4,
         "src && xy && scores && nCorners && mask && srcStride >= srcWidth && border*2 < srcWidth && border*2 < "
         "srcHeight");
