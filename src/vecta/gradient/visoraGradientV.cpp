// Gradients, vector variants.
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/gradient/visoraGradientV.cpp"
#include "cpu/gradient/visoraGradientSobel.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class D, class V>
HWY_INLINE void storeGradient(D d, V gradient, int16_t* out)
{
    hn::StoreU(gradient, d, out);
}

template <class D, class V>
HWY_INLINE void storeGradient(D /*d*/, V gradient, int8_t* out)
{
    const hn::Rebind<int8_t, D> d8;
    hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<3>(gradient)), d8, out);
}

template <class D, class V>
HWY_INLINE void storeGradient(D /*d*/, V gradient, float* out)
{
    const hn::RepartitionToWide<D> d32;
    const hn::RebindToFloat<decltype(d32)> dFloat;
    const hn::Half<D> half;
    hn::StoreU(hn::ConvertTo(dFloat, hn::PromoteTo(d32, hn::LowerHalf(half, gradient))), dFloat, out);
    hn::StoreU(hn::ConvertTo(dFloat, hn::PromoteTo(d32, hn::UpperHalf(half, gradient))), dFloat,
               out + hn::Lanes(dFloat));
}

#if HWY_ARCH_ARM
// Sixteen pixels at once, each loaded as it is: products are widened where they are added, which takes two instructions
// where difference, doubling and sum take three.
template <class T>
HWY_INLINE void sobelSixteen(const SobelRows& rows, size_t x, T* dx, T* dy)
{
    const hn::FixedTag<int16_t, 8> d;
    using V = hn::Vec<decltype(d)>;
    const auto row = [x](const uint8_t* pixels) HWY_ATTR
    {
        struct
        {
            uint8x16_t left, middle, right;
        } r = {vld1q_u8(pixels + x - 1), vld1q_u8(pixels + x), vld1q_u8(pixels + x + 1)};
        return r;
    };
    const auto above = row(rows.above);
    const auto here = row(rows.centre);
    const auto below = row(rows.below);
    const uint8x16_t two = vdupq_n_u8(2);
    const auto store = [&](size_t offset, uint16x8_t across, uint16x8_t down) HWY_ATTR
    {
        storeGradient(d, V(vreinterpretq_s16_u16(across)), dx + x + offset);
        storeGradient(d, V(vreinterpretq_s16_u16(down)), dy + x + offset);
    };

    const uint8x8_t twoLow = vget_low_u8(two);
    const uint16x8_t fallingLow = vsubl_u8(vget_low_u8(below.right), vget_low_u8(above.left));
    const uint16x8_t risingLow = vsubl_u8(vget_low_u8(above.right), vget_low_u8(below.left));
    const uint16x8_t acrossLow = vmlal_u8(vaddq_u16(fallingLow, risingLow), vget_low_u8(here.right), twoLow);
    const uint16x8_t downLow = vmlal_u8(vsubq_u16(fallingLow, risingLow), vget_low_u8(below.middle), twoLow);
    store(0, vmlsl_u8(acrossLow, vget_low_u8(here.left), twoLow), vmlsl_u8(downLow, vget_low_u8(above.middle), twoLow));

    const uint16x8_t falling = vsubl_high_u8(below.right, above.left);
    const uint16x8_t rising = vsubl_high_u8(above.right, below.left);
    const uint16x8_t across = vmlal_high_u8(vaddq_u16(falling, rising), here.right, two);
    const uint16x8_t down = vmlal_high_u8(vsubq_u16(falling, rising), below.middle, two);
    store(8, vmlsl_high_u8(across, here.left, two), vmlsl_high_u8(down, above.middle, two));
}
#endif

template <class D, class T>
HWY_INLINE void sobelRow(D d, const SobelRows& rows, T* dx, T* dy)
{
#if HWY_ARCH_ARM
    constexpr size_t kTogether = 16;
    if (rows.width >= kTogether + 2)
    {
        return coverRange(1, rows.width - 1, kTogether, [=](size_t x) HWY_ATTR { sobelSixteen(rows, x, dx, dy); });
    }
#endif
    const hn::Rebind<uint8_t, D> d8;
    const auto pixels = [&](const uint8_t* row) HWY_ATTR { return hn::PromoteTo(d, hn::LoadU(d8, row)); };
    coverAligned(1, rows.width - 1, hn::Lanes(d), dx,
                 [&](size_t x) HWY_ATTR
                 {
                     const auto twice = [](auto v) HWY_ATTR { return hn::Add(v, v); };
                     // The diagonals serve both directions.
                     const auto falling = hn::Sub(pixels(rows.below + x + 1), pixels(rows.above + x - 1));
                     const auto rising = hn::Sub(pixels(rows.above + x + 1), pixels(rows.below + x - 1));
                     const auto across = hn::Sub(pixels(rows.centre + x + 1), pixels(rows.centre + x - 1));
                     const auto down = hn::Sub(pixels(rows.below + x), pixels(rows.above + x));
                     storeGradient(d, hn::Add(hn::Add(falling, rising), twice(across)), dx + x);
                     storeGradient(d, hn::Add(hn::Sub(falling, rising), twice(down)), dy + x);
                 });
}

template <class T>
HWY_INLINE bool sobelIfWide(const uint8_t* src, uint32_t width, uint32_t height, size_t srcStride, T* dx, T* dy,
                            uint32_t gradStride)
{
    return withFittingVector<int16_t>(width < 2 ? 0 : width - 2,
                                      [&](auto d) HWY_ATTR
                                      {
                                          for (uint32_t y = 0; y < height; ++y)
                                          {
                                              const SobelRows rows(src, width, height, srcStride, y);
                                              T* outX = dx + y * (gradStride / sizeof(T));
                                              T* outY = dy + y * (gradStride / sizeof(T));
                                              sobelRow(d, rows, outX, outY);
                                              for (const uint32_t x : {0u, width - 1})
                                              {
                                                  outX[x] = sobelElement<T>(rows.dx(x));
                                                  outY[x] = sobelElement<T>(rows.dy(x));
                                              }
                                          }
                                      });
}

bool sobels16(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, int16_t* dx, int16_t* dy,
              uint32_t gradStride)
{
    return sobelIfWide(src, width, height, srcStride, dx, dy, gradStride);
}

bool sobels8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, int8_t* dx, int8_t* dy,
             uint32_t gradStride)
{
    return sobelIfWide(src, width, height, srcStride, dx, dy, gradStride);
}

bool sobelf32(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, float* dx, float* dy,
              uint32_t gradStride)
{
    return sobelIfWide(src, width, height, srcStride, dx, dy, gradStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(sobels16);
HWY_EXPORT(sobels8);
HWY_EXPORT(sobelf32);
}  // namespace visora

using namespace visora;

vsrStatus vsrImageGradientSobelPlanars16V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          int16_t* dx, int16_t* dy, uint32_t gradStride)
{
    if (HWY_DYNAMIC_DISPATCH(sobels16)(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride))
    {
        return VISORA_SUCCESS;
    }
    return vsrImageGradientSobelPlanars16C(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}

vsrStatus vsrImageGradientSobelPlanars8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         int8_t* dx, int8_t* dy, uint32_t gradStride)
{
    if (HWY_DYNAMIC_DISPATCH(sobels8)(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride))
    {
        return VISORA_SUCCESS;
    }
    return vsrImageGradientSobelPlanars8C(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}

vsrStatus vsrImageGradientSobelPlanarf32V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          float* dx, float* dy, uint32_t gradStride)
{
    if (HWY_DYNAMIC_DISPATCH(sobelf32)(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride))
    {
        return VISORA_SUCCESS;
    }
    return vsrImageGradientSobelPlanarf32C(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}

#endif
