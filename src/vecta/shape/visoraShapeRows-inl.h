// What the rows of a mask tell, 64 pixels at once.
#if defined(VISORA_VECTA_SHAPE_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_SHAPE_ROWS_INL_H
#undef VISORA_VECTA_SHAPE_ROWS_INL_H
#else
#define VISORA_VECTA_SHAPE_ROWS_INL_H
#endif

#include <bit>
#include <cstring>

#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

constexpr size_t kMaskPixels = 64;

using MaskBytes = hn::ScalableTag<uint8_t>;

/** A bit for each of 64 pixels: what isSet(tag, pixel's place) says. */
template <class IsSet>
HWY_INLINE uint64_t bitsOf(IsSet isSet)
{
    const MaskBytes d;
#if HWY_ARCH_ARM
    // Sums of neighbours put eight bits into a byte.
    static constexpr uint8_t kWeights[16] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    const uint8x16_t weights = vld1q_u8(kWeights);
    const auto part = [&](size_t i) { return vandq_u8(hn::VecFromMask(d, isSet(d, i)).raw, weights); };
    uint8x16_t bits = vpaddq_u8(vpaddq_u8(part(0), part(16)), vpaddq_u8(part(32), part(48)));
    bits = vpaddq_u8(bits, bits);
    return vgetq_lane_u64(vreinterpretq_u64_u8(bits), 0);
#else
    constexpr size_t kLanes = hn::MaxLanes(MaskBytes());
    uint64_t bits = 0;
    for (size_t i = 0; i < kMaskPixels; i += kLanes)
    {
        uint64_t part = 0;
        uint8_t bytes[8] = {};
        hn::StoreMaskBits(d, isSet(d, i), bytes);
        std::memcpy(&part, bytes, sizeof(part));
        bits |= part << i % 64;
    }
    return bits;
#endif
}

/** A bit for each of 64 pixels that are not 0. */
HWY_INLINE uint64_t setBits(const uint8_t* pixels)
{
    return bitsOf([pixels](auto d, size_t i) HWY_ATTR
                  { return hn::Not(hn::Eq(hn::LoadU(d, pixels + i), hn::Zero(d))); });
}

/** body(x, 64 pixels from x on) for each 64 pixels of a row; zeros are behind its end. */
template <class Body>
HWY_INLINE void forWords(const uint8_t* row, size_t width, Body body)
{
    size_t x = 0;
    for (; x + kMaskPixels <= width; x += kMaskPixels)
    {
        body(x, row + x);
    }
    if (x < width)
    {
        uint8_t rest[kMaskPixels] = {};
        std::memcpy(rest, row + x, width - x);
        body(x, static_cast<const uint8_t*>(rest));
    }
}

/** body(x, bits of the pixels from x on that are not 0) for each 64 pixels of a row. */
template <class Body>
HWY_INLINE void forSetBits(const uint8_t* row, size_t width, Body body)
{
    forWords(row, width, [&](size_t x, const uint8_t* pixels) HWY_ATTR { body(x, setBits(pixels)); });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
