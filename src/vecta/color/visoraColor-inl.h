// Packers and rows of the conversions from luma and chroma to RGB. Included once per instruction set.
#if defined(VISORA_VECTA_COLOR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_INL_H
#undef VISORA_VECTA_COLOR_INL_H
#else
#define VISORA_VECTA_COLOR_INL_H
#endif

#include <cstring>

#include "vecta/color/visoraColorLanes-inl.h"
#include "vecta/color/visoraColorRules-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Packers ----

class RGB565
{
  public:
    static constexpr size_t kBytes = 2;
    static constexpr size_t kMaxVectorBytes = 64;
    static constexpr Order kOrder = Order::ForTwoWords;

    /** Where in its row a vector of `count` pixels from x on goes. */
    static constexpr size_t place(size_t x, size_t /*count*/, size_t /*width*/) { return x; }

    template <class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        const Bytes<V> bytes = pack(d, pixels);
#if HWY_ARCH_ARM
        vst2q_u8(dst, (uint8x16x2_t{{bytes.low.raw, bytes.high.raw}}));
#else
        hn::StoreU(hn::InterleaveLower(d, bytes.low, bytes.high), d, dst);
        hn::StoreU(hn::InterleaveUpper(d, bytes.low, bytes.high), d, dst + hn::Lanes(d));
#endif
    }

  protected:
    template <class V>
    struct Bytes
    {
        V low;
        V high;
    };

    template <class D, class V>
    static HWY_INLINE Bytes<V> pack(D d, const Rgb<V>& pixels)
    {
#if HWY_ARCH_ARM
        return {V(vsriq_n_u8(vshlq_n_u8(pixels.g.raw, 3), pixels.r.raw, 3)),
                V(vsriq_n_u8(pixels.b.raw, pixels.g.raw, 5))};
#endif
        // Shifts of whole words; what crosses into the neighbouring byte is masked away.
        const Unsigned16<D> u16;
        const V greenLow = hn::BitCast(d, hn::ShiftLeft<3>(hn::BitCast(u16, pixels.g)));
        const V greenHigh = hn::BitCast(d, hn::ShiftRight<5>(hn::BitCast(u16, pixels.g)));
        const V red = hn::BitCast(d, hn::ShiftRight<3>(hn::BitCast(u16, pixels.r)));
        return {hn::Or(hn::And(greenLow, hn::Set(d, uint8_t{0xE0})), hn::And(red, hn::Set(d, uint8_t{0x1F}))),
                hn::Or(hn::And(pixels.b, hn::Set(d, uint8_t{0xF8})), hn::And(greenHigh, hn::Set(d, uint8_t{0x07})))};
    }
};

/** RGB565 with every row written backwards. */
class ReversedRGB565 : RGB565
{
  public:
    using RGB565::kBytes;
    using RGB565::kMaxVectorBytes;
    using RGB565::kOrder;

    static constexpr size_t place(size_t x, size_t count, size_t width) { return width - x - count; }

    template <class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        const Bytes<V> bytes = pack(d, pixels);
#if HWY_ARCH_ARM
        alignas(16) static constexpr uint8_t kBackwards[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
        const uint8x16_t backwards = vld1q_u8(kBackwards);
        vst2q_u8(dst, (uint8x16x2_t{{ vqtbl1q_u8(bytes.low.raw, backwards), vqtbl1q_u8(bytes.high.raw, backwards) }}));
        return;
#endif
        hn::StoreU(reverse(d, hn::InterleaveUpper(d, bytes.low, bytes.high)), d, dst);
        hn::StoreU(reverse(d, hn::InterleaveLower(d, bytes.low, bytes.high)), d, dst + hn::Lanes(d));
    }

  private:
    template <class D, class V>
    static HWY_INLINE V reverse(D d, V words)
    {
        const Unsigned16<D> u16;
        return hn::BitCast(d, hn::Reverse(u16, hn::BitCast(u16, words)));
    }
};

struct RGB888
{
    static constexpr size_t kBytes = 3;
    // Sorting four blocks costs more than it saves to work on them at once.
    static constexpr size_t kMaxVectorBytes = 32;
    static constexpr Order kOrder = Order::Natural;

    static constexpr size_t place(size_t x, size_t /*count*/, size_t /*width*/) { return x; }

    template <class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
#if HWY_ARCH_ARM
        hn::StoreInterleaved3(pixels.r, pixels.g, pixels.b, d, dst);
#else
        // Channel c of pixel k goes to byte 3 k + c of a block's 48. Modulo 16 that is another byte for each k, so one
        // shuffle of each channel serves all three vectors, and what is left is to choose the channel byte by byte:
        // byte p of vector i holds channel (16 i + p) % 3. 11 is the inverse of 3 modulo 16.
        alignas(16) static constexpr uint8_t kRed[16] = {0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5};
        alignas(16) static constexpr uint8_t kGreen[16] = {5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10};
        alignas(16) static constexpr uint8_t kBlue[16] = {10, 5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15};
        alignas(16) static constexpr uint8_t kThirds[16] = {0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0};
        const V r = hn::TableLookupBytes(pixels.r, hn::LoadDup128(d, kRed));
        const V g = hn::TableLookupBytes(pixels.g, hn::LoadDup128(d, kGreen));
        const V b = hn::TableLookupBytes(pixels.b, hn::LoadDup128(d, kBlue));
        const V thirds = hn::LoadDup128(d, kThirds);
        const auto first = hn::Eq(thirds, hn::Zero(d));
        const auto second = hn::Eq(thirds, hn::Set(d, uint8_t{1}));
        const V v0 = hn::IfThenElse(first, r, hn::IfThenElse(second, g, b));
        const V v1 = hn::IfThenElse(first, g, hn::IfThenElse(second, b, r));
        const V v2 = hn::IfThenElse(first, b, hn::IfThenElse(second, r, g));
        storeBlocks(d, v0, v1, v2, dst);
#endif
    }

  private:
#if !HWY_ARCH_ARM
    // Block k of vector i is the (3 k + i)-th in memory.
    template <class D, class V>
    static HWY_INLINE void storeBlocks(D d, V v0, V v1, V v2, uint8_t* dst)
    {
        static_assert(kBlocks<D> <= 2);
        const size_t n = hn::Lanes(d);
        if constexpr (kBlocks<D> == 1)
        {
            hn::StoreU(v0, d, dst);
            hn::StoreU(v1, d, dst + n);
            hn::StoreU(v2, d, dst + 2 * n);
        }
        else
        {
            hn::StoreU(hn::ConcatLowerLower(d, v1, v0), d, dst);
            hn::StoreU(hn::ConcatUpperLower(d, v0, v2), d, dst + n);
            hn::StoreU(hn::ConcatUpperUpper(d, v2, v1), d, dst + 2 * n);
        }
    }
#endif
};

struct RGBA8888
{
    static constexpr size_t kBytes = 4;
    static constexpr size_t kMaxVectorBytes = 64;
    static constexpr Order kOrder = Order::ForFourWords;

    static constexpr size_t place(size_t x, size_t /*count*/, size_t /*width*/) { return x; }

    template <class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        V opaque = hn::Set(d, uint8_t{255});
#if HWY_ARCH_ARM
        hn::StoreInterleaved4(pixels.r, pixels.g, pixels.b, opaque, d, dst);
#else
        // Where the compiler sees the constant, it takes the interleaving apart into three times as many instructions.
        asm("" : "+x"(opaque.raw));
        const Unsigned16<D> u16;
        const auto rgLower = hn::BitCast(u16, hn::InterleaveLower(d, pixels.r, pixels.g));
        const auto rgUpper = hn::BitCast(u16, hn::InterleaveUpper(d, pixels.r, pixels.g));
        const auto baLower = hn::BitCast(u16, hn::InterleaveLower(d, pixels.b, opaque));
        const auto baUpper = hn::BitCast(u16, hn::InterleaveUpper(d, pixels.b, opaque));
        const size_t n = hn::Lanes(d);
        hn::StoreU(hn::BitCast(d, hn::InterleaveLower(u16, rgLower, baLower)), d, dst);
        hn::StoreU(hn::BitCast(d, hn::InterleaveUpper(u16, rgLower, baLower)), d, dst + n);
        hn::StoreU(hn::BitCast(d, hn::InterleaveLower(u16, rgUpper, baUpper)), d, dst + 2 * n);
        hn::StoreU(hn::BitCast(d, hn::InterleaveUpper(u16, rgUpper, baUpper)), d, dst + 3 * n);
#endif
    }
};

// ---- Rows ----

/** One chroma row and the kRows luma rows that share it. With halved chroma the width must be at least 2. */
template <class Rule, class Format, bool kHalved, size_t kRows, class D, class Layout>
HWY_INLINE void convertRows(D d, const uint8_t* luma, size_t lumaStride, const Layout& chroma, size_t width,
                            uint8_t* dst, ptrdiff_t dstStride)
{
    const size_t n = hn::Lanes(d);
    const auto convert = [&](size_t x, const auto& terms) HWY_ATTR
    {
        for (size_t row = 0; row < kRows; ++row)
        {
            const auto y = arrange<Format::kOrder>(d, hn::LoadU(d, luma + row * lumaStride + x));
            Format::store(d, Rule::pixels(d, terms, y),
                          dst + static_cast<ptrdiff_t>(row) * dstStride + Format::place(x, n, width) * Format::kBytes);
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
