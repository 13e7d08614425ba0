// RGB to HSV and back, reference variants.
#include <algorithm>

#include "cpu/color/visoraColorTriples.h"
#include "visora/variants/color.h"

namespace
{

using visora::Triple;

// Reciprocals: 255 * 4096 / v and 2^20 / (6 d), rounded; of 0 they are 0.
constexpr int32_t saturationScale(int32_t v)
{
    return v == 0 ? 0 : (2088960 + v) / (2 * v);
}
constexpr int32_t hueScale(int32_t d)
{
    return d == 0 ? 0 : (2097152 + 6 * d) / (12 * d);
}

Triple toHsv(Triple rgb)
{
    const int32_t r = rgb[0], g = rgb[1], b = rgb[2];
    const int32_t v = std::max({r, g, b});
    const int32_t d = v - std::min({r, g, b});
    const int32_t h = v == r ? g - b : v == g ? b - r + 2 * d : r - g + 4 * d;
    const int32_t hue = (h * hueScale(d) + 2048) >> 12;
    const int32_t saturation = (d * saturationScale(v) + 2048) >> 12;
    // A negative hue is one turn less, which the cut to a byte adds.
    return {static_cast<uint8_t>(hue), static_cast<uint8_t>(saturation), static_cast<uint8_t>(v)};
}

Triple toRgb(Triple hsv)
{
    const uint32_t h = hsv[0], s = hsv[1];
    const uint8_t v = hsv[2];
    const uint32_t f = 6 * h & 255;
    const auto fade = [=](uint32_t m) { return static_cast<uint8_t>((v * (65280 - s * m) + 32640) / 65280); };
    const uint8_t p = fade(256), q = fade(f), t = fade(256 - f);
    switch (6 * h >> 8)
    {
        case 0:
            return {v, t, p};
        case 1:
            return {q, v, p};
        case 2:
            return {p, v, t};
        case 3:
            return {p, q, v};
        case 4:
            return {t, p, v};
        default:
            return {v, p, q};
    }
}

}  // namespace

vsrStatus vsrColorRGB888ToHSV888u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride)
{
    return visora::convertTriples<toHsv>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrColorHSV888ToRGB888u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride)
{
    return visora::convertTriples<toRgb>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}
