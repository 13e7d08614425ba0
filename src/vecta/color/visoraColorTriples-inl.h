// Conversions of pixels of three bytes to others of three bytes, also in place. Included once per instruction set.
#if defined(VISORA_VECTA_COLOR_TRIPLES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_TRIPLES_INL_H
#undef VISORA_VECTA_COLOR_TRIPLES_INL_H
#else
#define VISORA_VECTA_COLOR_TRIPLES_INL_H
#endif

#include "vecta/color/visoraColorFormats-inl.h"
#include "vecta/color/visoraColorStream-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** An image by convert(d, channels), a quick one where kMayStream: memory alone takes its time. The last vector of a
 * row overlaps the one before it; so that in place it gets pixels that are not converted yet, it is loaded first.
 * @return false when the image is too narrow */
template <bool kMayStream = false, class Convert>
HWY_INLINE bool convertTriples(Convert convert, const uint8_t* src, size_t width, size_t height, size_t srcStride,
                               uint8_t* dst, size_t dstStride)
{
    // To sort four blocks for a load costs more than it saves to work on them at once, unless bytes are permuted.
    constexpr size_t kMostBytes = HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3_DL ? 64 : 32;
    return withFittingVector<uint8_t, kMostBytes>(
        width,
        [=](auto d) HWY_ATTR
        {
            const size_t n = hn::Lanes(d);
            if constexpr (HWY_ARCH_X86 && kMayStream)
            {
                if (src != dst && streamsColumns(width, 2 * RGB888::kBytes * width * height))
                {
                    for (size_t y = 0; y < height; ++y)
                    {
                        const uint8_t* from = src + y * srcStride;
                        uint8_t* to = dst + y * dstStride;
                        coverFrom<true>(
                            columnsToAligned<3>(to, n), width, n,
                            [=](size_t x, auto isWhole) HWY_ATTR
                            { RGB888::store<isWhole>(d, convert(d, RGB888::load(d, from + x * 3)), to + x * 3); });
                    }
                    return hwy::FlushStream();
                }
            }
            for (size_t y = 0; y < height; ++y)
            {
                const uint8_t* from = src + y * srcStride;
                uint8_t* to = dst + y * dstStride;
                const size_t end = width - n;
                const auto last = RGB888::load(d, from + end * 3);
                for (size_t x = 0; x < end; x += n)
                {
                    RGB888::store(d, convert(d, RGB888::load(d, from + x * 3)), to + x * 3);
                }
                RGB888::store(d, convert(d, last), to + end * 3);
            }
        });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
