// Conversions from one RGB format to another, vector variants.
#include "common/visoraColorConversions.h"
#include "vecta/visoraExport.h"
#include "visora/variants/color.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorRgbV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColorFormats-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class Source, class Destination>
constexpr size_t kRepackBytes = HWY_MIN(Source::kMaxVectorBytes, Destination::kMaxVectorBytes);

template <class Source, class Destination, class D>
HWY_INLINE auto loadFor(D d, const uint8_t* src)
{
    return rearrangePixels<Source::kOrder, Destination::kOrder>(d, Source::load(d, src));
}

template <class Source, class Destination>
HWY_INLINE bool repackRow(const uint8_t* src, size_t width, uint8_t* dst)
{
    return withFittingVector<uint8_t, kRepackBytes<Source, Destination>>(
        width,
        [=](auto d) HWY_ATTR
        {
            const size_t n = hn::Lanes(d);
            coverRange(0, width, n,
                       [=](size_t x) HWY_ATTR
                       {
                           Destination::store(d, loadFor<Source, Destination>(d, src + x * Source::kBytes),
                                              dst + Destination::place(x, n, width) * Destination::kBytes);
                       });
        });
}

template <class Source, class Destination, class Reference>
HWY_INLINE vsrStatus repack(Source, Destination, Reference reference, const uint8_t* src, uint32_t width,
                            uint32_t height, uint32_t srcStride, uint8_t* dst, uint32_t dstStride)
{
    for (size_t y = 0; y < height; ++y)
    {
        if (!repackRow<Source, Destination>(src + y * srcStride, width, dst + y * dstStride))
        {
            return reference(src, width, height, srcStride, dst, dstStride);
        }
    }
    return VISORA_SUCCESS;
}

// ---- Red and blue exchanged within a format, also in place ----

/** A row by step(x), which returns what finish(x, ...) stores. The last vector overlaps the one before it; so that in
 * place it gets pixels that are not converted yet, it is loaded first. */
template <class Step, class Finish>
HWY_INLINE void coverInPlace(size_t width, size_t lanes, Step step, Finish finish)
{
    const auto last = step(width - lanes);
    for (size_t x = 0; x + lanes < width; x += lanes)
    {
        finish(x, step(x));
    }
    finish(width - lanes, last);
}

template <class Format>
struct Exchange
{
    template <class D>
    static HWY_INLINE auto load(D d, const uint8_t* src)
    {
        return Format::load(d, src);
    }
    template <class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        BlueFirst<Format>::store(d, pixels, dst);
    }
};

/** Four bytes: alpha is kept. */
template <>
struct Exchange<RGBA8888>
{
    template <class V>
    struct Pixels
    {
        V v0, v1, v2, v3;
    };

    template <class D>
    static HWY_INLINE auto load(D d, const uint8_t* src)
    {
        using V = hn::Vec<D>;
#if HWY_ARCH_ARM
        V r, g, b, a;
        hn::LoadInterleaved4(d, src, r, g, b, a);
        return Pixels<V>{b, g, r, a};
#else
        alignas(16) static constexpr uint8_t kOrder[16] = {2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15};
        const V order = hn::LoadDup128(d, kOrder);
        const size_t n = hn::Lanes(d);
        const auto exchanged = [&](size_t i) HWY_ATTR
        { return hn::TableLookupBytes(hn::LoadU(d, src + i * n), order); };
        return Pixels<V>{exchanged(0), exchanged(1), exchanged(2), exchanged(3)};
#endif
    }

    template <class D, class V>
    static HWY_INLINE void store(D d, const Pixels<V>& pixels, uint8_t* dst)
    {
#if HWY_ARCH_ARM
        hn::StoreInterleaved4(pixels.v0, pixels.v1, pixels.v2, pixels.v3, d, dst);
#else
        const size_t n = hn::Lanes(d);
        hn::StoreU(pixels.v0, d, dst);
        hn::StoreU(pixels.v1, d, dst + n);
        hn::StoreU(pixels.v2, d, dst + 2 * n);
        hn::StoreU(pixels.v3, d, dst + 3 * n);
#endif
    }
};

/** Words: the outer fields change places. */
template <>
struct Exchange<RGB565>
{
    template <class V>
    struct Words
    {
        V low, high;
    };

    template <class D>
    static HWY_INLINE auto load(D d, const uint8_t* src)
    {
        const Unsigned16<D> u16;
        const auto exchanged = [&](size_t i) HWY_ATTR
        {
            const auto words = hn::BitCast(u16, hn::LoadU(d, src + i * hn::Lanes(d)));
            const auto outer = hn::Or(hn::ShiftLeft<11>(words), hn::ShiftRight<11>(words));
            return hn::BitCast(d, hn::Or(outer, hn::And(words, hn::Set(u16, uint16_t{0x07E0}))));
        };
        return Words<hn::Vec<D>>{exchanged(0), exchanged(1)};
    }

    template <class D, class V>
    static HWY_INLINE void store(D d, const Words<V>& words, uint8_t* dst)
    {
        hn::StoreU(words.low, d, dst);
        hn::StoreU(words.high, d, dst + hn::Lanes(d));
    }
};

template <class Format, class Reference>
HWY_INLINE vsrStatus exchangeRedAndBlue(Format, Reference reference, const uint8_t* src, uint32_t width,
                                        uint32_t height, uint32_t srcStride, uint8_t* dst, uint32_t dstStride)
{
    const bool fits = withFittingVector<uint8_t, Format::kMaxVectorBytes>(
        width,
        [=](auto d) HWY_ATTR
        {
            for (size_t y = 0; y < height; ++y)
            {
                const uint8_t* from = src + y * srcStride;
                uint8_t* to = dst + y * dstStride;
                coverInPlace(
                    width, hn::Lanes(d),
                    [=](size_t x) HWY_ATTR { return Exchange<Format>::load(d, from + x * Format::kBytes); },
                    [=](size_t x, const auto& pixels) HWY_ATTR
                    { Exchange<Format>::store(d, pixels, to + x * Format::kBytes); });
            }
        });
    return fits ? vsrStatus{VISORA_SUCCESS} : reference(src, width, height, srcStride, dst, dstStride);
}

#define EXCHANGE(source, destination)                                                                        \
    VSR_KERNEL(vsrColor##source##To##destination##u8, source##To##destination, exchangeRedAndBlue, source(), \
               vsrColor##source##To##destination##u8C);
VSR_COLOR_EXCHANGES(EXCHANGE)
#define REPACK(source, destination)                                                                             \
    VSR_KERNEL(vsrColor##source##To##destination##u8, source##To##destination, repack, source(), destination(), \
               vsrColor##source##To##destination##u8C);
VSR_COLOR_REPACKS(REPACK)

bool RGB888ToRGB565Rotate180(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                             uint32_t dstStride)
{
    for (size_t y = 0; y < height; ++y)
    {
        if (!repackRow<RGB888, ReversedRGB565>(src + y * srcStride, width, dst + (height - 1 - y) * dstStride))
        {
            return false;
        }
    }
    return true;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#define REPACK_VARIANT(source, destination) VSR_VECTOR(vsrColor##source##To##destination##u8, source##To##destination);
VSR_COLOR_EXCHANGES(REPACK_VARIANT)
VSR_COLOR_REPACKS(REPACK_VARIANT)
VSR_VECTOR(vsrColorRGB888ToRGB565Rotate180u8, RGB888ToRGB565Rotate180);

void rgb565_to_rgb888V(const uint8_t* src, uint32_t length, uint8_t* dst)
{
    vsrColorRGB565ToRGB888u8V(src, length, 1, 0, dst, 0);
}

#endif
