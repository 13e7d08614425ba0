// Bayer mosaics to RGB and grey, and the tone curve, vector variants.
#include <cstring>

#include "cpu/color/visoraColorGamma.h"
#include "vecta/visoraExport.h"
#include "visora/variants/arithmetic.h"
#include "visora/variants/color.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorBayerV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColorFormats-inl.h"
#include "vecta/color/visoraColorWeights-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** (a + b + c + e + 2) >> 2 of bytes. */
template <class D, class V>
HWY_INLINE V meanOfFour([[maybe_unused]] D d, V a, V b, V c, V e)
{
#if HWY_ARCH_ARM
    const uint16x8_t low =
        vaddq_u16(vaddl_u8(vget_low_u8(a.raw), vget_low_u8(b.raw)), vaddl_u8(vget_low_u8(c.raw), vget_low_u8(e.raw)));
    const uint16x8_t high = vaddq_u16(vaddl_high_u8(a.raw, b.raw), vaddl_high_u8(c.raw, e.raw));
    return V(vrshrn_high_n_u16(vrshrn_n_u16(low, 2), high, 2));
#else
    // The mean of two rounded means is one too high where both the halves and they have rounded up.
    const V ab = hn::AverageRound(a, b), ce = hn::AverageRound(c, e);
    const V rounded = hn::And(hn::Or(hn::Xor(a, b), hn::Xor(c, e)), hn::Xor(ab, ce));
    return hn::Sub(hn::AverageRound(ab, ce), hn::And(rounded, hn::Set(d, uint8_t{1})));
#endif
}

struct MosaicRow
{
    const uint8_t* src;
    size_t stride;
    bool hasRed;        // rather than blue
    bool colourAtOddX;  // where the red or blue pixels are
};

/** Pixels from x on, none of them at the image's frame. */
template <class D>
HWY_INLINE Rgb<hn::Vec<D>> demosaic(D d, const MosaicRow& row, size_t x)
{
    using V = hn::Vec<D>;
    const uint8_t* at = row.src + x;
    const uint8_t* above = at - row.stride;
    const uint8_t* below = at + row.stride;
    const V own = hn::LoadU(d, at), west = hn::LoadU(d, at - 1), east = hn::LoadU(d, at + 1);
    const V north = hn::LoadU(d, above), south = hn::LoadU(d, below);
    const V cross = meanOfFour(d, north, south, west, east);
    const V diagonal = meanOfFour(d, hn::LoadU(d, above - 1), hn::LoadU(d, above + 1), hn::LoadU(d, below - 1),
                                  hn::LoadU(d, below + 1));
    const V across = hn::AverageRound(west, east);
    const V along = hn::AverageRound(north, south);
    const bool startsWithColour = (x % 2 != 0) == row.colourAtOddX;
    const hn::Repartition<uint16_t, D> u16;
    const auto isColour =
        hn::MaskFromVec(hn::BitCast(d, hn::Set(u16, static_cast<uint16_t>(startsWithColour ? 0x00FF : 0xFF00))));
    const V rows = hn::IfThenElse(isColour, own, across);
    const V columns = hn::IfThenElse(isColour, diagonal, along);
    const V green = hn::IfThenElse(isColour, cross, own);
    return row.hasRed ? Rgb<V>{rows, green, columns} : Rgb<V>{columns, green, rows};
}

/** Calls store(d, pixels, destination) along the rows, and copies the frame's pixels from their neighbours. */
template <size_t kBytes, class Store>
HWY_INLINE bool convertMosaic(Store store, const uint8_t* src, size_t width, size_t height, size_t srcStride,
                              vsrBayerPattern pattern, uint8_t* dst, size_t dstStride)
{
    if (width < 3 || height < 3)
    {
        return false;
    }
    const size_t inner = width - 2;
    return withFittingVector<uint8_t, RGB888::kMaxVectorBytes>(
        inner,
        [=](auto d) HWY_ATTR
        {
            for (size_t y = 1; y + 1 < height; ++y)
            {
                const bool hasRed = y % 2 == pattern >> 1;
                const MosaicRow row = {src + y * srcStride, srcStride, hasRed, ((pattern & 1) != 0) == hasRed};
                uint8_t* out = dst + y * dstStride;
                coverRange(1, width - 1, hn::Lanes(d),
                           [=](size_t x) HWY_ATTR { store(d, demosaic(d, row, x), out + x * kBytes); });
                std::memcpy(out, out + kBytes, kBytes);
                std::memcpy(out + (width - 1) * kBytes, out + inner * kBytes, kBytes);
            }
            std::memcpy(dst, dst + dstStride, width * kBytes);
            std::memcpy(dst + (height - 1) * dstStride, dst + (height - 2) * dstStride, width * kBytes);
        });
}

bool bayerToRgb(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, vsrBayerPattern pattern,
                uint8_t* dst, uint32_t dstStride)
{
    return convertMosaic<3>([](auto d, const auto& pixels, uint8_t* out) HWY_ATTR { RGB888::store(d, pixels, out); },
                            src, srcWidth, srcHeight, srcStride, pattern, dst, dstStride);
}

bool bayerToGray(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, vsrBayerPattern pattern,
                 uint8_t* dst, uint32_t dstStride)
{
    return convertMosaic<1>([](auto d, const auto& pixels, uint8_t* out) HWY_ATTR
                            { hn::StoreU(lumaOf(d, pixels), d, out); },
                            src, srcWidth, srcHeight, srcStride, pattern, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrBayerToRGB888u8, bayerToRgb);
VSR_VECTOR(vsrBayerToGrayu8, bayerToGray);

vsrStatus vsrGammau8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float gamma,
                      uint8_t* dst, uint32_t dstStride)
{
    return vsrTableLookupu8V(src, srcWidth, srcHeight, srcStride, visora::gammaTable(gamma).data(), dst, dstStride);
}

#endif
