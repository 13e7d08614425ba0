// Sobel derivatives of 5x5 and 7x7 windows, vector variants: smoothed and differenced columns first, then along the
// row.
#include "visora/gradient.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterSobelWideV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/gradient/visoraGradientRows-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Taps of one direction on seven or five vectors at(-radius) .. at(radius); each result fits s16.
template <size_t radius>
struct SobelTaps;

template <>
struct SobelTaps<2>
{
    // 1 4 6 4 1
    template <class D, class At>
    static HWY_INLINE hn::Vec<D> smooth(D d, At at)
    {
        const auto inner = hn::Add(hn::Add(at(-1), at(1)), at(0));
        return hn::Add(hn::Add(at(-2), at(2)), hn::Add(hn::ShiftLeft<2>(inner), times<2>(d, at(0))));
    }

    // -1 -2 0 2 1
    template <class D, class At>
    static HWY_INLINE hn::Vec<D> differ(D d, At at)
    {
        return hn::Add(hn::Sub(at(2), at(-2)), times<2>(d, hn::Sub(at(1), at(-1))));
    }

    template <class D, class At>
    static HWY_INLINE hn::Vec<D> smoothDifferences(D d, At at)
    {
        return smooth(d, at);
    }

    template <class D, class At>
    static HWY_INLINE hn::Vec<D> differSmoothed(D d, At at)
    {
        return differ(d, at);
    }
};

// The second direction's sums take up to 18 bits and are shifted right by 3, rounded.
template <>
struct SobelTaps<3>
{
    // 1 6 15 20 15 6 1: pixels give at most 16320.
    template <class D, class At>
    static HWY_INLINE hn::Vec<D> smooth(D d, At at)
    {
        const auto b = hn::Add(at(-2), at(2));
        const auto c = hn::Add(at(-1), at(1));
        const auto e = at(0);
        const auto sixteenths = hn::ShiftLeft<4>(hn::Add(c, e));
        const auto rest = hn::Add(hn::Sub(hn::Add(at(-3), at(3)), c), hn::ShiftLeft<2>(e));
        return hn::Add(hn::Add(sixteenths, times<6>(d, b)), rest);
    }

    // -1 -4 -5 0 5 4 1: pixels give at most 2550.
    template <class D, class At>
    static HWY_INLINE hn::Vec<D> differ(D /*d*/, At at)
    {
        const auto first = hn::Sub(at(1), at(-1));
        const auto outer = hn::Add(hn::Sub(at(3), at(-3)), first);
        return hn::Add(outer, hn::ShiftLeft<2>(hn::Add(first, hn::Sub(at(2), at(-2)))));
    }

    // (sum + 4) >> 3 with sum = a + 6 b + 15 c + 20 e = 8 (b + 2 c + 2 e) + (a - 2 b - c + 4 e), where the first part
    // gives at most 20400 and the second 30600.
    template <class D, class At>
    static HWY_INLINE hn::Vec<D> smoothDifferences(D d, At at)
    {
        const auto a = hn::Add(at(-3), at(3));
        const auto b = hn::Add(at(-2), at(2));
        const auto c = hn::Add(at(-1), at(1));
        const auto e = at(0);
        const auto eighths = hn::Add(b, times<2>(d, hn::Add(c, e)));
        const auto rest = hn::Add(hn::Sub(hn::Sub(a, c), times<2>(d, b)), hn::ShiftLeft<2>(e));
        return hn::Add(eighths, hn::ShiftRight<3>(hn::Add(rest, hn::Set(d, int16_t{4}))));
    }

    // (u + 4 v + 4) >> 3 = (v + ((u + 4) >> 2)) >> 1, where u and v are at most 32640: half of a sum of 17 bits.
    template <class D, class At>
    static HWY_INLINE hn::Vec<D> differSmoothed(D d, At at)
    {
        const auto first = hn::Sub(at(1), at(-1));
        const auto u = hn::Add(hn::Sub(at(3), at(-3)), first);
        const auto v = hn::Add(first, hn::Sub(at(2), at(-2)));
        const auto w = hn::ShiftRight<2>(hn::Add(u, hn::Set(d, int16_t{4})));
        return hn::Add(hn::And(v, w), hn::ShiftRight<1>(hn::Xor(v, w)));
    }
};

template <size_t radius>
HWY_INLINE vsrStatus sobelPlanes(const WindowSource<uint8_t>& source, int16_t* dx, int16_t* dy, size_t step)
{
    using Taps = SobelTaps<radius>;
    vsrStatus status = VISORA_SUCCESS;
    withFittingVector<int16_t>(
        source.width,
        [&](auto d) HWY_ATTR
        {
            const hn::Rebind<uint8_t, decltype(d)> d8;
            const size_t lanes = hn::Lanes(d);
            status = columnsThenRows<int16_t, 2>(
                source, squareReach(radius), lanes,
                [&](const uint8_t* const* rows, size_t x, const auto& sums) HWY_ATTR
                {
                    const auto at = [&](int row) HWY_ATTR
                    { return hn::PromoteTo(d, hn::LoadU(d8, rows[static_cast<int>(radius) + row] + x)); };
                    hn::StoreU(Taps::smooth(d, at), d, sums[0] + x);
                    hn::StoreU(Taps::differ(d, at), d, sums[1] + x);
                },
                [&](size_t y, const auto& sums, size_t begin, size_t end) HWY_ATTR
                {
                    coverRange(begin, end, lanes,
                               [&](size_t x) HWY_ATTR
                               {
                                   const auto smooth = [&](int i) HWY_ATTR
                                   { return hn::LoadU(d, sums[0] + static_cast<ptrdiff_t>(x) + i); };
                                   const auto differ = [&](int i) HWY_ATTR
                                   { return hn::LoadU(d, sums[1] + static_cast<ptrdiff_t>(x) + i); };
                                   hn::StoreU(Taps::differSmoothed(d, smooth), d, dx + y * step + x);
                                   hn::StoreU(Taps::smoothDifferences(d, differ), d, dy + y * step + x);
                               });
                });
        });
    return status;
}

vsrStatus sobel5x5(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int16_t* dx,
                   int16_t* dy, uint32_t gradStride, vsrBorderType borderType, uint8_t borderValue)
{
    if (srcWidth < 8)
    {
        return vsrFilterSobel5x5u8s16C(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride, borderType,
                                       borderValue);
    }
    const WindowSource source(src, srcWidth, srcHeight, srcStride, Surround(borderType, borderValue));
    return sobelPlanes<2>(source, dx, dy, gradStride / sizeof(int16_t));
}

vsrStatus sobel7x7(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int16_t* dx,
                   int16_t* dy, uint32_t gradStride, vsrBorderType borderType, uint8_t borderValue)
{
    if (srcWidth < 8)
    {
        return vsrFilterSobel7x7u8s16C(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride, borderType,
                                       borderValue);
    }
    const WindowSource source(src, srcWidth, srcHeight, srcStride, Surround(borderType, borderValue));
    return sobelPlanes<3>(source, dx, dy, gradStride / sizeof(int16_t));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFilterSobel5x5u8s16, sobel5x5);
VSR_VECTOR(vsrFilterSobel7x7u8s16, sobel7x7);

#endif
