// Bayer mosaics to RGB and grey, and the tone curve, vector variants.
#include <cstring>
#include <type_traits>

#include "cpu/color/visoraColorGamma.h"
#include "vecta/visoraExport.h"
#include "visora/variants/arithmetic.h"
#include "visora/variants/color.h"

// AVX-512 permutes the bytes of pixels.
#define HWY_WANT_AVX3_DL
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

/** Two vectors, of pixels that alternate. */
template <class T>
struct Alternating
{
    T first;
    T second;
};

template <class D>
HWY_INLINE Alternating<hn::Vec<D>> loadAlternating(D d, const uint8_t* from)
{
    Alternating<hn::Vec<D>> pixels;
    loadPairs(d, from, pixels.first, pixels.second);
    return pixels;
}

/**
 * The pixels from `at` on, none of them at the image's frame, those with red or blue apart from the green ones: each
 * needs means of its own, which for all pixels would be twice the work. kRedRow: the row has red, not blue.
 */
template <bool kColourFirst, bool kRedRow, class D>
HWY_INLINE Alternating<Rgb<hn::Vec<D>>> demosaic(D d, const uint8_t* at, size_t stride)
{
    using V = hn::Vec<D>;
    const auto load = [=](const uint8_t* from) HWY_ATTR { return loadAlternating(d, from); };
    const uint8_t* above = at - stride;
    const uint8_t* below = at + stride;
    const Alternating<V> own = load(at), north = load(above), south = load(below);
    const V westOfFirst = load(at - 1).first, eastOfSecond = load(at + 1).second;
    const auto mean = [=](V a, V b, V c, V e) HWY_ATTR { return meanOfFour(d, a, b, c, e); };
    const auto pixel = [](V alongRows, V green, V alongColumns) HWY_ATTR {
        return kRedRow ? Rgb<V>{alongRows, green, alongColumns} : Rgb<V>{alongColumns, green, alongRows};
    };
    if constexpr (kColourFirst)
    {
        const V cross = mean(north.first, south.first, westOfFirst, own.second);
        const V diagonal = mean(load(above - 1).first, north.second, load(below - 1).first, south.second);
        return {pixel(own.first, cross, diagonal), pixel(hn::AverageRound(own.first, eastOfSecond), own.second,
                                                         hn::AverageRound(north.second, south.second))};
    }
    else
    {
        const V cross = mean(north.second, south.second, own.first, eastOfSecond);
        const V diagonal = mean(north.first, load(above + 1).second, south.first, load(below + 1).second);
        return {pixel(hn::AverageRound(westOfFirst, own.second), own.first, hn::AverageRound(north.first, south.first)),
                pixel(own.second, cross, diagonal)};
    }
}

struct MosaicRow
{
    const uint8_t* src;
    size_t stride;
    size_t width;
    bool colourAtOddX;  // where the red or blue pixels are
};

/** Calls store(d, pixels, destination) for the pixels of a row but for the first and the last one. */
template <bool kRedRow, size_t kBytes, class D, class Store>
HWY_INLINE void convertMosaicRow(D d, const MosaicRow& row, Store store, uint8_t* out)
{
    const uint8_t* src = row.src;
    const size_t stride = row.stride;
    const size_t end = row.width - 1, step = 2 * hn::Lanes(d);
    const auto convert = [=]<bool kColourFirst>(size_t x, std::bool_constant<kColourFirst>) HWY_ATTR
    { store(d, demosaic<kColourFirst, kRedRow>(d, src + x, stride), out + x * kBytes); };
    const auto convertFrom = [=](size_t begin, size_t stop, auto isColourFirst) HWY_ATTR
    {
        for (size_t x = begin; x != stop; x += step)
        {
            convert(x, isColourFirst);
        }
    };
    const auto cover = [=](size_t begin, size_t stop) HWY_ATTR
    {
        if ((begin % 2 != 0) == row.colourAtOddX)
        {
            convertFrom(begin, stop, std::true_type());
        }
        else
        {
            convertFrom(begin, stop, std::false_type());
        }
    };
    const size_t stop = end - (end - 1) % step;
    cover(1, stop);
    if (stop != end)
    {
        // May begin with the other kind of pixels.
        cover(end - step, end);
    }
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
    constexpr size_t kMostLanes = kBytes == 1 ? 64 : RGB888::kMaxVectorBytes;
    return withFittingVector<uint8_t, kMostLanes>(
        inner / 2,
        [=](auto d) HWY_ATTR
        {
            for (size_t y = 1; y + 1 < height; ++y)
            {
                const bool hasRed = y % 2 == pattern >> 1;
                const MosaicRow row = {src + y * srcStride, srcStride, width, ((pattern & 1) != 0) == hasRed};
                uint8_t* out = dst + y * dstStride;
                if (hasRed)
                {
                    convertMosaicRow<true, kBytes>(d, row, store, out);
                }
                else
                {
                    convertMosaicRow<false, kBytes>(d, row, store, out);
                }
                std::memcpy(out, out + kBytes, kBytes);
                std::memcpy(out + (width - 1) * kBytes, out + inner * kBytes, kBytes);
            }
            std::memcpy(dst, dst + dstStride, width * kBytes);
            std::memcpy(dst + (height - 1) * dstStride, dst + (height - 2) * dstStride, width * kBytes);
        });
}

/** Pixels in turn from two vectors, in Order::ForTwoWords. */
template <class D, class V>
HWY_INLINE void storeAlternatingTriples(D d, const Rgb<V>& first, const Rgb<V>& second, uint8_t* dst)
{
    const auto lower = [=](V a, V b) HWY_ATTR { return hn::InterleaveLower(d, a, b); };
    const auto upper = [=](V a, V b) HWY_ATTR { return hn::InterleaveUpper(d, a, b); };
    RGB888::store(d, Rgb<V>{lower(first.r, second.r), lower(first.g, second.g), lower(first.b, second.b)}, dst);
    RGB888::store(d, Rgb<V>{upper(first.r, second.r), upper(first.g, second.g), upper(first.b, second.b)},
                  dst + 3 * hn::Lanes(d));
}

bool bayerToRgb(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, vsrBayerPattern pattern,
                uint8_t* dst, uint32_t dstStride)
{
    return convertMosaic<3>([](auto d, const auto& pixels, uint8_t* out) HWY_ATTR
                            { storeAlternatingTriples(d, pixels.first, pixels.second, out); },
                            src, srcWidth, srcHeight, srcStride, pattern, dst, dstStride);
}

bool bayerToGray(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, vsrBayerPattern pattern,
                 uint8_t* dst, uint32_t dstStride)
{
    return convertMosaic<1>([](auto d, const auto& pixels, uint8_t* out) HWY_ATTR
                            { storePairs(d, lumaOf(d, pixels.first), lumaOf(d, pixels.second), out); },
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
