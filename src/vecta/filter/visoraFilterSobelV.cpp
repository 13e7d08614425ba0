// Gradients by 3x3 windows, vector variants.
#include "visora/gradient.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterSobelV.cpp"
#include "cpu/filter/visoraFilterSobel.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/gradient/visoraGradient-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Images too narrow for a vector between their first and last columns are the reference's affair.
constexpr uint32_t kLeastWidth = 2 + 8;

/** @return false without scratch memory, with nothing written */
template <class Row, class Edge>
HWY_INLINE bool filter3x3(const WindowSource<uint8_t>& source, Row row, Edge edge)
{
    const Scratch outside(source.surround.constant ? source.width : 1);
    if (!outside.data())
    {
        return false;
    }
    std::fill_n(outside.data(), source.surround.constant ? source.width : 1, source.surround.value);
    withFittingVector<int16_t>(source.width - 2,
                               [&](auto d) HWY_ATTR
                               {
                                   rowsOf3x3(
                                       source, static_cast<const uint8_t*>(outside.data()),
                                       [&](const uint8_t* above, const uint8_t* centre, const uint8_t* below, size_t y)
                                           HWY_ATTR { row(d, above, centre, below, y); },
                                       edge);
                               });
    return true;
}

template <GradientKind kind>
HWY_INLINE vsrStatus gradientsOf(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, int16_t* dx,
                                 int16_t* dy, uint32_t gradStride, vsrBorderType borderType, uint8_t borderValue)
{
    const GradientPlanes<int16_t> out{dx, dy};
    const BorderedImage image(src, width, height, srcStride, borderType, borderValue);
    const bool done = filter3x3(
        WindowSource(src, width, height, srcStride, Surround(borderType, borderValue)),
        [&](auto d, const uint8_t* above, const uint8_t* centre, const uint8_t* below, size_t y) HWY_ATTR
        { gradientRow<kind>(d, GradientRows(above, centre, below, width), out.row(y, gradStride)); },
        [&](uint32_t x, uint32_t y)
        {
            const Gradient gradient = gradientOf3x3(image, x, y, kSideWeight<kind>, kCentreWeight<kind>);
            out.row(y, gradStride).put(x, static_cast<int16_t>(gradient.dx), static_cast<int16_t>(gradient.dy));
        });
    return done ? VISORA_SUCCESS : VISORA_ENOMEM;
}

vsrStatus sobel3x3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int16_t* dx,
                   int16_t* dy, uint32_t gradStride, vsrBorderType borderType, uint8_t borderValue)
{
    const auto kernel = srcWidth < kLeastWidth ? vsrFilterSobel3x3u8s16C : gradientsOf<GradientKind::Sobel>;
    return kernel(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride, borderType, borderValue);
}

vsrStatus scharr3x3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int16_t* dx,
                    int16_t* dy, uint32_t gradStride, vsrBorderType borderType, uint8_t borderValue)
{
    const auto kernel = srcWidth < kLeastWidth ? vsrFilterScharr3x3u8s16C : gradientsOf<GradientKind::Scharr>;
    return kernel(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride, borderType, borderValue);
}

vsrStatus sobelStrength(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                        uint32_t dstStride)
{
    if (srcWidth < 2 + 16)
    {
        return vsrFilterSobel3x3u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    }
    std::fill_n(dst, srcWidth, uint8_t{0});
    std::fill_n(dst + (srcHeight - 1) * size_t{dstStride}, srcWidth, uint8_t{0});
    withFittingVector<uint8_t>(
        srcWidth - 2,
        [&](auto d) HWY_ATTR
        {
            const hn::Repartition<int16_t, decltype(d)> d16;
            const size_t half = hn::Lanes(d16);
            for (size_t y = 1; y + 1 < srcHeight; ++y)
            {
                const uint8_t* centre = src + y * srcStride;
                const uint8_t* above = centre - srcStride;
                const uint8_t* below = centre + srcStride;
                uint8_t* out = dst + y * dstStride;
                const auto strength = [&](size_t x) HWY_ATTR
                {
                    hn::Vec<decltype(d16)> dx, dy;
                    gradientAt<1, 2>(d16, above, centre, below, x, dx, dy);
                    return hn::Min(hn::Add(hn::Abs(dx), hn::Abs(dy)), hn::Set(d16, int16_t{255}));
                };
                coverRange(1, srcWidth - 1, hn::Lanes(d),
                           [&](size_t x) HWY_ATTR
                           { hn::StoreU(narrowInOrder(d, strength(x), strength(x + half)), d, out + x); });
                out[0] = 0;
                out[srcWidth - 1] = 0;
            }
        });
    return VISORA_SUCCESS;
}

template <uint32_t neighbours, class D>
HWY_INLINE void laplacianRow(D d, const uint8_t* above, const uint8_t* centre, const uint8_t* below, size_t width,
                             int16_t* out)
{
    const hn::Rebind<uint8_t, D> d8;
    const auto pixels = [&](const uint8_t* at) HWY_ATTR { return hn::PromoteTo(d, hn::LoadU(d8, at)); };
    const auto column = [&](size_t x) HWY_ATTR { return hn::Add(pixels(above + x), pixels(below + x)); };
    coverAligned(1, width - 1, hn::Lanes(d), out,
                 [&](size_t x) HWY_ATTR
                 {
                     auto sum = hn::Add(column(x), hn::Add(pixels(centre + x - 1), pixels(centre + x + 1)));
                     if constexpr (neighbours == 8)
                     {
                         sum = hn::Add(sum, hn::Add(column(x - 1), column(x + 1)));
                     }
                     constexpr int kShift = neighbours == 8 ? 3 : 2;
                     hn::StoreU(hn::Sub(sum, hn::ShiftLeft<kShift>(pixels(centre + x))), d, out + x);
                 });
}

vsrStatus laplacian(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t neighbours,
                    int16_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    if (srcWidth < kLeastWidth)
    {
        return vsrFilterLaplacian3x3u8s16C(src, srcWidth, srcHeight, srcStride, neighbours, dst, dstStride, borderType,
                                           borderValue);
    }
    const size_t step = dstStride / sizeof(int16_t);
    const BorderedImage image(src, srcWidth, srcHeight, srcStride, borderType, borderValue);
    const bool done = filter3x3(
        WindowSource(src, srcWidth, srcHeight, srcStride, Surround(borderType, borderValue)),
        [&](auto d, const uint8_t* above, const uint8_t* centre, const uint8_t* below, size_t y) HWY_ATTR
        {
            if (neighbours == 8)
            {
                laplacianRow<8>(d, above, centre, below, srcWidth, dst + y * step);
            }
            else
            {
                laplacianRow<4>(d, above, centre, below, srcWidth, dst + y * step);
            }
        },
        [&](uint32_t x, uint32_t y) { dst[y * step + x] = laplacianAt(image, neighbours, x, y); });
    return done ? VISORA_SUCCESS : VISORA_ENOMEM;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFilterSobel3x3u8s16, sobel3x3);
VSR_VECTOR(vsrFilterScharr3x3u8s16, scharr3x3);
VSR_VECTOR(vsrFilterSobel3x3u8, sobelStrength);
VSR_VECTOR(vsrFilterLaplacian3x3u8s16, laplacian);

#endif
