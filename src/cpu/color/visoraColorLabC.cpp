// sRGB to CIE L*a*b* and back, reference variants.
#include <algorithm>

#include "cpu/color/visoraColorLabTables.h"
#include "cpu/color/visoraColorTriples.h"
#include "visora/variants/color.h"

namespace
{

using visora::kLabTables;
using visora::Triple;

Triple toLab(Triple rgb)
{
    const int32_t r = kLabTables.linear[rgb[0]], g = kLabTables.linear[rgb[1]], b = kLabTables.linear[rgb[2]];
    // Parts of the white point, whose coordinates are 2040.
    const auto rootOf = [](int32_t sum) { return int32_t{kLabTables.root[static_cast<size_t>(sum + 2048) >> 12]}; };
    const int32_t fx = rootOf(1777 * r + 1541 * g + 778 * b);
    const int32_t fy = rootOf(871 * r + 2929 * g + 296 * b);
    const int32_t fz = rootOf(73 * r + 448 * g + 3575 * b);
    return {static_cast<uint8_t>((296 * fy - 1320550) >> 15), static_cast<uint8_t>((500 * (fx - fy) + 4210688) >> 15),
            static_cast<uint8_t>((200 * (fy - fz) + 4210688) >> 15)};
}

Triple toRgb(Triple lab)
{
    const int32_t a = lab[1], b = lab[2];
    const int32_t f = kLabTables.fy[lab[0]];
    const int32_t y = kLabTables.luma[lab[0]];
    // The cube, or its straight start.
    const auto lightOf = [](int32_t t) { return t > 3390 ? ((t * t >> 14) * t) >> 14 : 108 * t / 841 - 290; };
    const int32_t x = lightOf(f + ((268435 * a + 128) >> 13) - 4194);
    const int32_t z = lightOf(f - ((41943 * b + 16) >> 9) + 10484);
    const auto gammaOf = [](int32_t sum)
    { return kLabTables.gamma[static_cast<size_t>(std::clamp((sum + 8192) >> 14, 0, 4095))]; };
    return {gammaOf(12615 * x - 6296 * y - 2223 * z), gammaOf(-3773 * x + 7684 * y + 185 * z),
            gammaOf(217 * x - 836 * y + 4715 * z)};
}

}  // namespace

vsrStatus vsrColorRGB888ToLab888u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride)
{
    return visora::convertTriples<toLab>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrColorLab888ToRGB888u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride)
{
    return visora::convertTriples<toRgb>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}
