// Conversions from RGB to grey and to YCbCr, vector variants.
#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorRgb.h"
#include "visora/variants/color.h"

// AVX-512 permutes the bytes of pixels.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorToYCbCrV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColorFormats-inl.h"
#include "vecta/color/visoraColorStream-inl.h"
#include "vecta/color/visoraColorWeights-inl.h"
#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraVariant-inl.h"

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
            const size_t n = hn::Lanes(d);
            const auto lumaAt = [=](const uint8_t* pixels) HWY_ATTR
            { return rearrange<Format::kOrder, Order::Natural>(d, lumaOf(d, Format::load(d, pixels))); };
            [[maybe_unused]] const bool streams = streamsColumns(width, size_t{width} * height * (Format::kBytes + 1));
            for (size_t y = 0; y < height; ++y)
            {
                const uint8_t* from = src + y * srcStride;
                uint8_t* to = dst + y * dstStride;
                if constexpr (HWY_ARCH_X86)
                {
                    if (streams)
                    {
                        const auto at = [=](size_t x, auto isWhole) HWY_ATTR
                        {
                            const uint8_t* const pixels = from + x * Format::kBytes;
                            fetchLines(pixels + kBytesAhead, n * Format::kBytes);
                            storeOrStream<isWhole>(lumaAt(pixels), d, to + x);
                        };
                        coverFrom<true>(columnsToAligned<1>(to, n), width, n, at);
                        continue;
                    }
                }
                size_t left = width;
                if constexpr (HWY_ARCH_ARM)
                {
                    // Loads that move their pointer, and stores of two vectors.
                    for (; left >= 2 * n; left -= 2 * n, to += 2 * n)
                    {
                        const auto first = lumaAt(from);
                        from += n * Format::kBytes;
                        keepApart(from);
                        const auto second = lumaAt(from);
                        from += n * Format::kBytes;
                        keepApart(from);
                        hn::StoreU(first, d, to);
                        hn::StoreU(second, d, to + n);
                    }
                }
                for (; left >= n; left -= n, from += n * Format::kBytes, to += n)
                {
                    hn::StoreU(lumaAt(from), d, to);
                }
                if (left != 0)
                {
                    hn::StoreU(lumaAt(from - (n - left) * Format::kBytes), d, to - (n - left));
                }
            }
            if (streams)
            {
                hwy::FlushStream();
            }
        });
    return fits ? vsrStatus{VISORA_SUCCESS} : reference(src, width, height, srcStride, dst, dstStride);
}

// ---- YCbCr ----

/** One chroma row and the kRows image rows that share it, for whole chroma samples. ahead(x) is called before the
 * vector at column x, where rows are streamed. */
template <class Format, bool kHalved, size_t kRows, bool kPlanar, class D, class Ahead>
HWY_INLINE void convertRows(D d, const uint8_t* const (&src)[kRows], size_t width, uint8_t* const (&luma)[kRows],
                            uint8_t* cb, uint8_t* cr, [[maybe_unused]] Ahead ahead)
{
    constexpr Order kOrder = Format::kOrder;
    const uint8_t* const src0 = src[0];
    uint8_t* const luma0 = luma[0];
    [[maybe_unused]] const uint8_t* const src1 = src[kRows - 1];
    [[maybe_unused]] uint8_t* const luma1 = luma[kRows - 1];
    // The luma of a vector of pixels, of both rows, is stored; what becomes chroma comes back.
    [[maybe_unused]] const auto lumaAt = [=](size_t x) HWY_ATTR
    {
        const auto top = Format::load(d, src0 + x * Format::kBytes);
        hn::StoreU(rearrange<kOrder, Order::Natural>(d, lumaOf(d, top)), d, luma0 + x);
        if constexpr (!kHalved)
        {
            return top;
        }
        else if constexpr (kRows == 1)
        {
            return Rgb<hn::Vec<Unsigned16<D>>>{pairMean(d, top.r), pairMean(d, top.g), pairMean(d, top.b)};
        }
        else
        {
            const auto bottom = Format::load(d, src1 + x * Format::kBytes);
            hn::StoreU(rearrange<kOrder, Order::Natural>(d, lumaOf(d, bottom)), d, luma1 + x);
            return Rgb<hn::Vec<Unsigned16<D>>>{blockMean(d, top.r, bottom.r), blockMean(d, top.g, bottom.g),
                                               blockMean(d, top.b, bottom.b)};
        }
    };
    const size_t n = hn::Lanes(d);
#if HWY_ARCH_ARM
    // Samples of two vectors of pixels are one of bytes.
    if constexpr (kHalved)
    {
        if (width >= 2 * n)
        {
            return coverRange(0, width, 2 * n,
                              [=](size_t x) HWY_ATTR
                              {
                                  const auto left = lumaAt(x);
                                  const auto chroma = chromaOfWords(d, left, lumaAt(x + n));
                                  if constexpr (kPlanar)
                                  {
                                      hn::StoreU(chroma.cb, d, cb + x / 2);
                                      hn::StoreU(chroma.cr, d, cr + x / 2);
                                  }
                                  else
                                  {
                                      storePairs(d, chroma.cb, chroma.cr, cb + x);
                                  }
                              });
        }
    }
#endif
    coverRange(0, width, n,
               [=](size_t x) HWY_ATTR
               {
                   ahead(x);
                   const auto pixels = lumaAt(x);
                   if constexpr (!kHalved)
                   {
                       const auto chroma = chromaOf(d, pixels);
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
                       const Unsigned16<D> u16;
                       const auto both = weightedChroma(u16, pixels);
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

/** The same past the caches. */
template <class Format, bool kHalved, size_t kRows, bool kPlanar, class D>
HWY_INLINE void streamRows(D d, const uint8_t* const (&src)[kRows], size_t width, uint8_t* const (&luma)[kRows],
                           uint8_t* cb, uint8_t* cr)
{
    const uint8_t* const src0 = src[0];
    const uint8_t* const src1 = src[kRows - 1];
    const auto stride = static_cast<size_t>(src1 - src0);
    // A single row has its luma as the second one, too.
    const auto convert = [=](size_t x, size_t columns, uint8_t* luma0, uint8_t* luma1, uint8_t* b, uint8_t* r) HWY_ATTR
    {
        const auto ahead = [=](size_t at) HWY_ATTR
        {
            const size_t bytes = hn::Lanes(d) * Format::kBytes;
            if constexpr (kRows == 1)
            {
                fetchLines(src0 + (x + at) * Format::kBytes + kBytesAhead, bytes);
            }
            else
            {
                // Of the next piece one row after the other: that way memory is faster than by both in turn.
                const size_t next = x + columns == width ? 2 * stride : (x + columns) * Format::kBytes;
                const size_t place = 2 * at;
                fetchLines(src0 + next +
                               (place < columns ? place * Format::kBytes : stride + (place - columns) * Format::kBytes),
                           2 * bytes);
            }
        };
        const uint8_t* from[kRows];
        uint8_t* to[kRows];
        from[0] = src0 + x * Format::kBytes;
        to[0] = luma0;
        if constexpr (kRows == 2)
        {
            from[1] = src1 + x * Format::kBytes;
            to[1] = luma1;
        }
        convertRows<Format, kHalved, kRows, kPlanar>(d, from, columns, to, b, r, ahead);
    };
    constexpr size_t kChroma = (kHalved ? 1 : 2) * (kPlanar ? 1 : 2);
    streamColumns(width, convert, Columns{luma[0], 2}, Columns{luma[kRows - 1], kRows == 2 ? 2 : 0},
                  Columns{cb, kChroma}, Columns{kPlanar ? cr : cb, kPlanar ? kChroma : 0});
}

template <class Format, bool kHalved, bool kTwoRows, bool kPlanar>
HWY_INLINE bool convertImage(const uint8_t* src, size_t width, size_t height, size_t srcStride,
                             const YCbCrImage<uint8_t>& dst)
{
    const size_t samples = (kHalved ? width / 2 : width) * dst.chroma.step;
    if (!kTwoRows && srcStride == width * Format::kBytes && dst.lumaStride == width && dst.chroma.cbStride == samples &&
        dst.chroma.crStride == samples)
    {
        // Rows that follow each other without a gap are one.
        width *= height;
        height = 1;
    }
    const bool streams = streamsColumns(width, width * height * (Format::kBytes + 1));
    return withFittingVector<uint8_t, Format::kMaxLoadBytes>(
        width,
        [&](auto d) HWY_ATTR
        {
            const auto convert = [&]<size_t kRows>(const uint8_t* const(&rows)[kRows], uint8_t* const(&luma)[kRows],
                                                   const ChromaSamples<uint8_t>& to) HWY_ATTR
                __attribute__((always_inline))
            {
                const auto nothing = [](size_t) HWY_ATTR {};
                streams ? streamRows<Format, kHalved, kRows, kPlanar>(d, rows, width, luma, to.cb, to.cr)
                        : convertRows<Format, kHalved, kRows, kPlanar>(d, rows, width, luma, to.cb, to.cr, nothing);
            };
            size_t y = 0;
            if constexpr (kTwoRows)
            {
                for (; y + 2 <= height; y += 2)
                {
                    const uint8_t* const rows[] = {src + y * srcStride, src + (y + 1) * srcStride};
                    uint8_t* const luma[] = {dst.lumaRow(y), dst.lumaRow(y + 1)};
                    convert(rows, luma, dst.chroma.row(y / 2));
                }
            }
            for (; y < height; ++y)
            {
                const uint8_t* const rows[] = {src + y * srcStride};
                uint8_t* const luma[] = {dst.lumaRow(y)};
                convert(rows, luma, dst.chroma.row(kTwoRows ? y / 2 : y));
            }
            if (streams)
            {
                hwy::FlushStream();
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
    const YCbCrImage<uint8_t> dst = visora::destination(to...);
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

#define TO_GRAY(source) VSR_VARIANT(vsrColor##source##ToGrayu8, grayImage, source(), vsrColor##source##ToGrayu8C);
VSR_COLOR_GRAYS(TO_GRAY)

#define TO_YCBCR(source, sampling, layout)                                \
    VSR_VARIANT(vsrColor##source##ToYCbCr##sampling##layout##u8, convert, \
                Conversion<source, visora::source, k##sampling>());
VSR_COLOR_TO_YCBCR(TO_YCBCR)

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

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
