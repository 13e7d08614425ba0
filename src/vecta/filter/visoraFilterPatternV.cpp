// Census transform and local binary patterns, vector variants: every comparison leaves its bit in each byte.
#include "visora/variants/arithmetic.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterPatternV.cpp"
#include "cpu/filter/visoraFilterPattern.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// The bits of the neighbours first .. end - 1 of a window `columns` wide, the last one in bit 0; a bit is 1 where the
// neighbour is darker than the centre. Neighbours are counted row by row without the centre.
template <size_t columns, size_t rows, size_t first, size_t end, class D>
HWY_INLINE hn::Vec<D> darker(D d, const uint8_t* corner, size_t stride, hn::Vec<D> centre)
{
    auto bits = hn::Zero(d);
    for (size_t i = first; i < end; ++i)
    {
        const size_t place = i < columns * rows / 2 ? i : i + 1;
        const auto neighbour = hn::LoadU(d, corner + place / columns * stride + place % columns);
        const auto bit = hn::Set(d, static_cast<uint8_t>(1u << (end - 1 - i)));
        bits = hn::Or(bits, hn::IfThenElseZero(hn::Lt(neighbour, centre), bit));
    }
    return bits;
}

vsrStatus census3x3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    const bool done = withFittingVector<uint8_t>(
        srcWidth < 2 ? 0 : srcWidth - 2,
        [&](auto d) HWY_ATTR
        {
            for (size_t y = 0; y < srcHeight; ++y)
            {
                uint8_t* out = dst + y * dstStride;
                if (y == 0 || y + 1 == srcHeight)
                {
                    std::fill_n(out, srcWidth, uint8_t{0});
                    continue;
                }
                const uint8_t* above = src + (y - 1) * srcStride;
                out[0] = 0;
                out[srcWidth - 1] = 0;
                coverRange(0, srcWidth - 2, hn::Lanes(d),
                           [&](size_t x) HWY_ATTR
                           {
                               const auto centre = hn::LoadU(d, above + srcStride + x + 1);
                               hn::StoreU(darker<3, 3, 0, 8>(d, above + x, srcStride, centre), d, out + x + 1);
                           });
            }
        });
    return done ? vsrStatus{VISORA_SUCCESS} : vsrCensus3x3u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

// Eight planes of bytes, the lowest ones first, as words of 64 bits.
template <class D>
HWY_INLINE void storeWords(D d, const uint8_t* planes, size_t planeStep, uint64_t* out)
{
    using V = hn::Vec<D>;
    const hn::Repartition<uint16_t, D> d16;
    const hn::Repartition<uint32_t, D> d32;
    const hn::Repartition<uint64_t, D> d64;
    const auto pair = [&](auto dPart, auto a, auto b, bool upper) HWY_ATTR
    {
        const auto low = hn::BitCast(dPart, a);
        const auto high = hn::BitCast(dPart, b);
        return hn::BitCast(d, upper ? hn::InterleaveUpper(dPart, low, high) : hn::InterleaveLower(dPart, low, high));
    };
    V bytes[8];
    for (size_t i = 0; i < 8; ++i)
    {
        bytes[i] = hn::LoadU(d, planes + i * planeStep);
    }
    for (size_t part = 0; part < 8; ++part)
    {
        const bool half = (part & 4) != 0;
        const bool quarter = (part & 2) != 0;
        const auto quad = [&](size_t i) HWY_ATTR {
            return pair(d16, pair(d, bytes[i], bytes[i + 1], half), pair(d, bytes[i + 2], bytes[i + 3], half), quarter);
        };
        const V words = pair(d32, quad(0), quad(4), (part & 1) != 0);
        hn::StoreU(hn::BitCast(d64, words), d64, out + part * hn::Lanes(d64));
    }
}

vsrStatus census9x7(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint64_t* dst,
                    uint32_t dstStride)
{
    const bool done = withFittingVector<uint8_t>(
        srcWidth < 8 ? 0 : srcWidth - 8,
        [&](auto d) HWY_ATTR
        {
            const hn::CappedTag<uint8_t, 16> block;
            constexpr size_t kStep = hn::MaxLanes(d);
            for (size_t y = 0; y < srcHeight; ++y)
            {
                uint64_t* out = dst + y * (dstStride / sizeof(uint64_t));
                if (y < 3 || y + 3 >= srcHeight)
                {
                    std::fill_n(out, srcWidth, uint64_t{0});
                    continue;
                }
                const uint8_t* top = src + (y - 3) * srcStride;
                std::fill_n(out, 4, uint64_t{0});
                std::fill_n(out + srcWidth - 4, 4, uint64_t{0});
                coverRange(0, srcWidth - 8, hn::Lanes(d),
                           [&](size_t x) HWY_ATTR
                           {
                               const uint8_t* corner = top + x;
                               const auto centre = hn::LoadU(d, corner + 3 * size_t{srcStride} + 4);
                               alignas(64) uint8_t planes[8 * kStep];
                               const auto plane = [&](size_t i, auto bits) HWY_ATTR
                               { hn::Store(bits, d, planes + i * kStep); };
                               plane(7, darker<9, 7, 0, 6>(d, corner, srcStride, centre));
                               plane(6, darker<9, 7, 6, 14>(d, corner, srcStride, centre));
                               plane(5, darker<9, 7, 14, 22>(d, corner, srcStride, centre));
                               plane(4, darker<9, 7, 22, 30>(d, corner, srcStride, centre));
                               plane(3, darker<9, 7, 30, 38>(d, corner, srcStride, centre));
                               plane(2, darker<9, 7, 38, 46>(d, corner, srcStride, centre));
                               plane(1, darker<9, 7, 46, 54>(d, corner, srcStride, centre));
                               plane(0, darker<9, 7, 54, 62>(d, corner, srcStride, centre));
                               for (size_t i = 0; i < hn::Lanes(d); i += hn::Lanes(block))
                               {
                                   storeWords(block, planes + i, kStep, out + 4 + x + i);
                               }
                           });
            }
        });
    return done ? vsrStatus{VISORA_SUCCESS} : vsrCensus9x7u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus binaryPatterns(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, vsrLbpMode mode,
                         uint8_t* dst, uint32_t dstStride)
{
    const WindowSource<uint8_t> source(src, srcWidth, srcHeight, srcStride);
    const BorderedImage image(src, srcWidth, srcHeight, srcStride, VISORA_BORDER_REPLICATE, 0);
    const bool done = withFittingVector<uint8_t>(
        srcWidth < 2 ? 0 : srcWidth - 2,
        [&](auto d) HWY_ATTR
        {
            rowsOf3x3(
                source, static_cast<const uint8_t*>(nullptr),
                [&](const uint8_t* above, const uint8_t* centre, const uint8_t* below, size_t y) HWY_ATTR
                {
                    const uint8_t* const rows[3] = {above, centre, below};
                    coverRange(1, srcWidth - 1, hn::Lanes(d),
                               [&](size_t x) HWY_ATTR
                               {
                                   const auto pixel = hn::LoadU(d, centre + x);
                                   auto code = hn::Zero(d);
                                   for (size_t i = 0; i < 8; ++i)
                                   {
                                       const Neighbour at = kClockwise[i];
                                       const auto neighbour = hn::LoadU(d, rows[1 + at.y] + x + at.x);
                                       const auto bit = hn::Set(d, static_cast<uint8_t>(128u >> i));
                                       code = hn::Or(code, hn::IfThenZeroElse(hn::Lt(neighbour, pixel), bit));
                                   }
                                   hn::StoreU(code, d, dst + y * dstStride + x);
                               });
                },
                [&](uint32_t x, uint32_t y) { dst[size_t{y} * dstStride + x] = binaryPatternAt(image, x, y); });
        });
    if (!done)
    {
        return vsrLBPu8C(src, srcWidth, srcHeight, srcStride, mode, dst, dstStride);
    }
    if (mode == VISORA_LBP_UNIFORM)
    {
        static constexpr auto kLabels = uniformLabels();
        return vsrTableLookupu8V(dst, srcWidth, srcHeight, dstStride, kLabels.data(), dst, dstStride);
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrCensus3x3u8, census3x3);
VSR_VECTOR(vsrCensus9x7u8, census9x7);
VSR_VECTOR(vsrLBPu8, binaryPatterns);

#endif
