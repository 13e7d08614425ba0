// Rows of the conversions from luma and chroma to RGB. Included once per instruction set.
#if defined(VISORA_VECTA_COLOR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_INL_H
#undef VISORA_VECTA_COLOR_INL_H
#else
#define VISORA_VECTA_COLOR_INL_H
#endif

#include <cstring>
#include <type_traits>

#include "vecta/color/visoraColorFormats-inl.h"
#include "vecta/color/visoraColorRules-inl.h"
#include "vecta/color/visoraColorStream-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Rows ----

/** One chroma row and the kRows luma rows that share it. With halved chroma the width must be at least 2. Where
 * kStreams whole lines go past the caches; rows then lie whole lines apart, from a multiple of two pixels on. */
template <class Rule, class Format, bool kHalved, size_t kRows, bool kStreams = false, class D, class Layout>
HWY_INLINE void convertRows(D d, const uint8_t* luma, size_t lumaStride, const Layout& chroma, size_t width,
                            uint8_t* dst, ptrdiff_t dstStride)
{
    const size_t n = hn::Lanes(d);
    // Inlined, so that terms stay in registers.
    const auto convertRow = [&](size_t row, size_t x, const auto& terms, auto isWhole) HWY_ATTR
        __attribute__((always_inline))
    {
        const auto y = arrange<Format::kOrder>(d, hn::LoadU(d, luma + row * lumaStride + x));
        uint8_t* to = dst + static_cast<ptrdiff_t>(row) * dstStride + Format::place(x, n, width) * Format::kBytes;
        if constexpr (decltype(isWhole)::value)
        {
            Format::template store<true>(d, Rule::pixels(d, terms, y), to);
        }
        else
        {
            Format::store(d, Rule::pixels(d, terms, y), to);
        }
    };
    // No loop, which compilers keep.
    const auto convert = [&](size_t x, const auto& terms, auto isWhole) HWY_ATTR __attribute__((always_inline))
    {
        static_assert(kRows <= 2);
        convertRow(0, x, terms, isWhole);
        if constexpr (kRows == 2)
        {
            convertRow(1, x, terms, isWhole);
        }
    };
    const auto cover = [&](size_t end, auto at) HWY_ATTR __attribute__((always_inline))
    {
        const size_t begin = (0 - reinterpret_cast<uintptr_t>(dst)) % 64 / Format::kBytes;
        coverFrom<kStreams>(begin, end, n, at);
    };
    if constexpr (!kHalved)
    {
        cover(
            width, [&](size_t x, auto isWhole) HWY_ATTR __attribute__((always_inline)) {
                if constexpr (Rule::kBytesForPixels)
                    convert(x, Rule::terms(chroma.signedBytes(x)), isWhole);
                else
                    convert(x, Rule::terms(d, chroma.template forPixels<Format::kOrder>(d, x)), isWhole);
            });
    }
    else
    {
        // Vectors begin at even pixels, where chroma samples begin.
        cover(
            width & ~size_t{1}, [&](size_t x, auto isWhole) HWY_ATTR __attribute__((always_inline)) {
                if constexpr (Rule::kBytes)
                    convert(x, Rule::terms(chroma.halfSignedBytes(x / 2)), isWhole);
                else
                    convert(x, Rule::terms(d, chroma.template forPairs<Format::kOrder>(d, x / 2)), isWhole);
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

/** Whether rows of pixels are written past the caches, by vectors that begin where lines do. */
template <class Format>
HWY_INLINE bool isStreamedImage(const uint8_t* dst, size_t width, size_t height, ptrdiff_t dstStride)
{
    // Of pixels of three bytes none but the first begins a line that vectors can go on from.
    constexpr size_t kAlignment = Format::kBytes == 4 ? 2 * Format::kBytes : 64;
    return isStreamed(width * height * Format::kBytes, kStreamedInOrder) && dstStride % 64 == 0 &&
           reinterpret_cast<uintptr_t>(dst) % kAlignment == 0;
}

/** A whole image. @return false when it is too narrow */
template <class Rule, class Format, ChromaSampling sampling, class Layout>
HWY_INLINE bool convertImage(const ColorImage& image, const Layout& chroma)
{
    constexpr bool kHalved = sampling != ChromaSampling::k444;
    constexpr size_t kRows = sampling == ChromaSampling::k420 ? 2 : 1;
    const auto convertAll = [&](auto d, auto streams) HWY_ATTR
    {
        constexpr bool kStreams = decltype(streams)::value;
        const uint8_t* luma = image.luma;
        uint8_t* dst = image.dst;
        size_t y = 0;
        for (; y + kRows <= image.height; y += kRows)
        {
            convertRows<Rule, Format, kHalved, kRows, kStreams>(d, luma, image.lumaStride, chroma.row(y / kRows),
                                                                image.width, dst, image.dstStride);
            luma += kRows * image.lumaStride;
            dst += static_cast<ptrdiff_t>(kRows) * image.dstStride;
        }
        if (y < image.height)
        {
            convertRows<Rule, Format, kHalved, 1, kStreams>(d, luma, image.lumaStride, chroma.row(y / kRows),
                                                            image.width, dst, image.dstStride);
        }
    };
    return withPixelVector<Format, kHalved>(
        image.width,
        [&](auto d) HWY_ATTR
        {
            // A vector of these pixels is whole lines, or parts of one in turn.
            if constexpr (HWY_ARCH_X86 && Format::kBytes >= 3)
            {
                if (isStreamedImage<Format>(image.dst, image.width, image.height, image.dstStride))
                {
                    convertAll(d, std::true_type());
                    return hwy::FlushStream();
                }
            }
            convertAll(d, std::false_type());
        });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
