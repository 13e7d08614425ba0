// Rows of the conversions from luma and chroma to RGB. Included once per instruction set.
#if defined(VISORA_VECTA_COLOR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_INL_H
#undef VISORA_VECTA_COLOR_INL_H
#else
#define VISORA_VECTA_COLOR_INL_H
#endif

#include <cstring>

#include "vecta/color/visoraColorFormats-inl.h"
#include "vecta/color/visoraColorRules-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Rows ----

/** One chroma row and the kRows luma rows that share it. With halved chroma the width must be at least 2. */
template <class Rule, class Format, bool kHalved, size_t kRows, class D, class Layout>
HWY_INLINE void convertRows(D d, const uint8_t* luma, size_t lumaStride, const Layout& chroma, size_t width,
                            uint8_t* dst, ptrdiff_t dstStride)
{
    const size_t n = hn::Lanes(d);
    const auto convertRow = [&](size_t row, size_t x, const auto& terms) HWY_ATTR
    {
        const auto y = arrange<Format::kOrder>(d, hn::LoadU(d, luma + row * lumaStride + x));
        Format::store(d, Rule::pixels(d, terms, y),
                      dst + static_cast<ptrdiff_t>(row) * dstStride + Format::place(x, n, width) * Format::kBytes);
    };
    // No loop, which compilers keep.
    const auto convert = [&](size_t x, const auto& terms) HWY_ATTR
    {
        static_assert(kRows <= 2);
        convertRow(0, x, terms);
        if constexpr (kRows == 2)
        {
            convertRow(1, x, terms);
        }
    };
    if constexpr (!kHalved)
    {
        coverRange(0, width, n,
                   [&](size_t x) HWY_ATTR
                   {
                       if constexpr (Rule::kBytesForPixels)
                           convert(x, Rule::terms(chroma.signedBytes(x)));
                       else
                           convert(x, Rule::terms(d, chroma.template forPixels<Format::kOrder>(d, x)));
                   });
    }
    else
    {
        // Vectors begin at even pixels, where chroma samples begin.
        coverRange(0, width & ~size_t{1}, n,
                   [&](size_t x) HWY_ATTR
                   {
                       if constexpr (Rule::kBytes)
                           convert(x, Rule::terms(chroma.halfSignedBytes(x / 2)));
                       else
                           convert(x, Rule::terms(d, chroma.template forPairs<Format::kOrder>(d, x / 2)));
                   });
        if (width % 2 != 0)
        {
            // The pixel without a partner: a vector of copies of it, of which one is kept.
            const hn::CappedTag<uint8_t, 16> block;
            const auto terms = [&]() HWY_ATTR
            {
                if constexpr (Rule::kBytes)
                    return Rule::terms(chroma.allSignedBytes(width / 2));
                else
                    return Rule::terms(block, chroma.forAll(block, width / 2));
            }();
            for (size_t row = 0; row < kRows; ++row)
            {
                uint8_t copies[16 * Format::kBytes];
                const auto y = hn::Set(block, luma[row * lumaStride + width - 1]);
                Format::store(block, Rule::pixels(block, terms, y), copies);
                std::memcpy(
                    dst + static_cast<ptrdiff_t>(row) * dstStride + Format::place(width - 1, 1, width) * Format::kBytes,
                    copies, Format::kBytes);
            }
        }
    }
}

/** Runs body(tag) with the widest vector that `width` pixels fill and the format packs well. @return false when the
 * reference should do the work */
template <class Format, bool kHalved, class Body>
HWY_INLINE bool withPixelVector(size_t width, Body body)
{
    return withFittingVector<uint8_t, Format::kMaxVectorBytes>(kHalved ? width & ~size_t{1} : width, body);
}

/** A whole image. @return false when it is too narrow */
template <class Rule, class Format, ChromaSampling sampling, class Layout>
HWY_INLINE bool convertImage(const ColorImage& image, const Layout& chroma)
{
    constexpr bool kHalved = sampling != ChromaSampling::k444;
    constexpr size_t kRows = sampling == ChromaSampling::k420 ? 2 : 1;
    return withPixelVector<Format, kHalved>(
        image.width,
        [&](auto d) HWY_ATTR
        {
            const uint8_t* luma = image.luma;
            uint8_t* dst = image.dst;
            size_t y = 0;
            for (; y + kRows <= image.height; y += kRows)
            {
                convertRows<Rule, Format, kHalved, kRows>(d, luma, image.lumaStride, chroma.row(y / kRows), image.width,
                                                          dst, image.dstStride);
                luma += kRows * image.lumaStride;
                dst += static_cast<ptrdiff_t>(kRows) * image.dstStride;
            }
            if (y < image.height)
            {
                convertRows<Rule, Format, kHalved, 1>(d, luma, image.lumaStride, chroma.row(y / kRows), image.width,
                                                      dst, image.dstStride);
            }
        });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
