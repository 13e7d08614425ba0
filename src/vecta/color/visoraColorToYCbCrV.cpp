// Conversions from RGB to grey and to YCbCr, vector variants.
#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorRgb.h"
#include "vecta/visoraExport.h"
#include "visora/variants/color.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorToYCbCrV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColorFormats-inl.h"
#include "vecta/color/visoraColorWeights-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Grey ----

template <class Format, class Reference>
HWY_INLINE vsrStatus grayImage(Format, Reference reference, const uint8_t* src, uint32_t width, uint32_t height,
                               uint32_t srcStride, uint8_t* dst, uint32_t dstStride)
{
    const bool fits = withFittingVector<uint8_t, Format::kMaxLoadBytes>(
        width,
        [=](auto d) HWY_ATTR
        {
            for (size_t y = 0; y < height; ++y)
            {
                const uint8_t* from = src + y * srcStride;
                uint8_t* to = dst + y * dstStride;
                coverRange(0, width, hn::Lanes(d),
                           [=](size_t x) HWY_ATTR
                           {
                               const auto luma = lumaOf(d, Format::load(d, from + x * Format::kBytes));
                               hn::StoreU(rearrange<Format::kOrder, Order::Natural>(d, luma), d, to + x);
                           });
            }
        });
    return fits ? vsrStatus{VISORA_SUCCESS} : reference(src, width, height, srcStride, dst, dstStride);
}

// ---- YCbCr ----

/** One chroma row and the kRows image rows that share it, for whole chroma samples. */
template <class Format, bool kHalved, size_t kRows, bool kPlanar, class D>
HWY_INLINE void convertRows(D d, const uint8_t* const (&src)[kRows], size_t width, uint8_t* const (&luma)[kRows],
                            uint8_t* cb, uint8_t* cr)
{
    constexpr Order kOrder = Format::kOrder;
    const uint8_t* const src0 = src[0];
    uint8_t* const luma0 = luma[0];
    [[maybe_unused]] const uint8_t* const src1 = src[kRows - 1];
    [[maybe_unused]] uint8_t* const luma1 = luma[kRows - 1];
    coverRange(0, width, hn::Lanes(d),
               [=](size_t x) HWY_ATTR
               {
                   const auto top = Format::load(d, src0 + x * Format::kBytes);
                   hn::StoreU(rearrange<kOrder, Order::Natural>(d, lumaOf(d, top)), d, luma0 + x);
                   if constexpr (!kHalved)
                   {
                       const auto chroma = chromaOf(d, top);
                       if constexpr (kPlanar)
                       {
                           hn::StoreU(rearrange<kOrder, Order::Natural>(d, chroma.cb), d, cb + x);
                           hn::StoreU(rearrange<kOrder, Order::Natural>(d, chroma.cr), d, cr + x);
                       }
                       else
                       {
                           storePairs(d, rearrange<kOrder, Order::ForTwoWords>(d, chroma.cb),
                                      rearrange<kOrder, Order::ForTwoWords>(d, chroma.cr), cb + 2 * x);
                       }
                   }
                   else
                   {
                       Rgb<hn::Vec<Unsigned16<D>>> mean;
                       if constexpr (kRows == 1)
                       {
                           mean = {pairMean(d, top.r), pairMean(d, top.g), pairMean(d, top.b)};
                       }
                       else
                       {
                           const auto bottom = Format::load(d, src1 + x * Format::kBytes);
                           hn::StoreU(rearrange<kOrder, Order::Natural>(d, lumaOf(d, bottom)), d, luma1 + x);
                           mean = {blockMean(d, top.r, bottom.r), blockMean(d, top.g, bottom.g),
                                   blockMean(d, top.b, bottom.b)};
                       }
                       const Unsigned16<D> u16;
                       const auto both = weightedChroma(u16, mean);
                       const auto pairs = rearrange<kOrder, Order::Natural>(
                           d, hn::BitCast(d, highBytesAsPairs(u16, both.cb, both.cr)));
                       if constexpr (kPlanar)
                       {
                           storeSplit(d, pairs, cb + x / 2, cr + x / 2);
                       }
                       else
                       {
                           hn::StoreU(pairs, d, cb + x);
                       }
                   }
               });
}

template <class Format, bool kHalved, bool kTwoRows, bool kPlanar>
HWY_INLINE bool convertImage(const uint8_t* src, size_t width, size_t height, size_t srcStride,
                             const YCbCrImage<uint8_t>& dst)
{
    return withFittingVector<uint8_t, Format::kMaxLoadBytes>(
        width,
        [&](auto d) HWY_ATTR
        {
            size_t y = 0;
            if constexpr (kTwoRows)
            {
                for (; y + 2 <= height; y += 2)
                {
                    const uint8_t* const rows[] = {src + y * srcStride, src + (y + 1) * srcStride};
                    uint8_t* const luma[] = {dst.lumaRow(y), dst.lumaRow(y + 1)};
                    const ChromaSamples<uint8_t> chroma = dst.chroma.row(y / 2);
                    convertRows<Format, kHalved, 2, kPlanar>(d, rows, width, luma, chroma.cb, chroma.cr);
                }
            }
            for (; y < height; ++y)
            {
                const uint8_t* const rows[] = {src + y * srcStride};
                uint8_t* const luma[] = {dst.lumaRow(y)};
                const ChromaSamples<uint8_t> chroma = dst.chroma.row(kTwoRows ? y / 2 : y);
                convertRows<Format, kHalved, 1, kPlanar>(d, rows, width, luma, chroma.cb, chroma.cr);
            }
        });
}

/** `Pixel` is the reference's format: it does what is narrower than a vector, and a column without a partner. */
template <class Format, class Pixel, Sampling sampling>
struct Conversion
{
};

template <class Format, class Pixel, Sampling sampling, class... Destination>
HWY_INLINE vsrStatus convert(Conversion<Format, Pixel, sampling>, const uint8_t* src, uint32_t width, uint32_t height,
                             uint32_t srcStride, Destination... to)
{
    const YCbCrImage<uint8_t> dst = destination(to...);
    constexpr bool kHalved = sampling.x != 0;
    constexpr bool kPlanar = sizeof...(Destination) == 6;
    const uint32_t whole = kHalved ? width & ~uint32_t{1} : width;
    if (!convertImage<Format, kHalved, sampling.y != 0, kPlanar>(src, whole, height, srcStride, dst))
    {
        return toYCbCr<Pixel, sampling>(src, width, height, srcStride, dst);
    }
    if (whole != width)
    {
        toYCbCr<Pixel, sampling>(src + size_t{whole} * Format::kBytes, 1, height, srcStride,
                                 {dst.luma + whole, dst.lumaStride, dst.chroma.column(whole / 2)});
    }
    return VISORA_SUCCESS;
}

// ---- Kernels ----

#define TO_GRAY(source) \
    VSR_KERNEL(vsrColor##source##ToGrayu8, source##ToGray, grayImage, source(), vsrColor##source##ToGrayu8C);
VSR_COLOR_GRAYS(TO_GRAY)

#define TO_YCBCR(source, sampling, layout)                                                             \
    VSR_KERNEL(vsrColor##source##ToYCbCr##sampling##layout##u8, source##To##sampling##layout, convert, \
               Conversion<source, visora::source, k##sampling>());
VSR_COLOR_TO_YCBCR(TO_YCBCR)

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#define TO_GRAY_VARIANT(source) VSR_VECTOR(vsrColor##source##ToGrayu8, source##ToGray);
VSR_COLOR_GRAYS(TO_GRAY_VARIANT)
#define TO_YCBCR_VARIANT(source, sampling, layout) \
    VSR_VECTOR(vsrColor##source##ToYCbCr##sampling##layout##u8, source##To##sampling##layout);
VSR_COLOR_TO_YCBCR(TO_YCBCR_VARIANT)

// ---- Row helpers ----

#define ROW_HELPERS(source, name)                                                                \
    void name##2yuvpV(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr) \
    {                                                                                            \
        vsrColor##source##ToYCbCr444Planaru8V(src, length, 1, 0, y, cb, cr, 0, 0, 0);            \
    }                                                                                            \
    void name##2yV(const uint8_t* src, uint32_t length, uint8_t* y)                              \
    {                                                                                            \
        vsrColor##source##ToGrayu8V(src, length, 1, 0, y, 0);                                    \
    }
ROW_HELPERS(RGB565, rgb565)
ROW_HELPERS(RGB888, rgb888)
ROW_HELPERS(RGBA8888, rgba8888)

#endif
