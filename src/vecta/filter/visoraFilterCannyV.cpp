// Canny edges, vector variants. Row by row: gradients and strengths, and, one row behind, the states of the map. Which
// candidates are joined to a strong one is found out afterwards, on the map alone.
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterCannyV.cpp"
#include "cpu/filter/visoraFilterCanny.h"
#include "cpu/filter/visoraFilterSobel.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/gradient/visoraGradientRows-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

#ifndef VISORA_VECTA_CANNY_ONCE
#define VISORA_VECTA_CANNY_ONCE

namespace visora
{

/** What a call asks for. Thresholds are those of the strengths. */
struct CannyCall
{
    const uint8_t* src;
    size_t width;
    size_t height;
    size_t srcStride;
    int32_t low;
    int32_t high;
    uint8_t* dst;
    size_t dstStride;
    // Where gradients go, two rows in turn where nobody asked for them.
    int16_t* dx;
    int16_t* dy;
    size_t gradStep;
    size_t gradRows;
};

}  // namespace visora

#endif

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// The strengths of a vector of columns: one vector of s16, or two of s32 for the lower and the upper half.
template <class D16, class T>
struct Strength
{
    static constexpr size_t kParts = sizeof(T) / sizeof(int16_t);  // NOLINT(bugprone-sizeof-expression)
    using D = hn::Repartition<T, D16>;
    hn::Vec<D> part[kParts];
};

template <class T, class D16>
HWY_INLINE Strength<D16, T> loadStrength(D16 /*d16*/, const T* from)
{
    using S = Strength<D16, T>;
    const typename S::D d;
    S strength;
    for (size_t i = 0; i < S::kParts; ++i)
    {
        strength.part[i] = hn::LoadU(d, from + i * hn::Lanes(d));
    }
    return strength;
}

// Lanes of s16 where a > b.
template <class T, class D16>
HWY_INLINE hn::Vec<D16> exceeds(D16 d16, const Strength<D16, T>& a, const Strength<D16, T>& b)
{
    const typename Strength<D16, T>::D d;
    if constexpr (sizeof(T) == sizeof(int16_t))
    {
        return hn::VecFromMask(d16, hn::Gt(a.part[0], b.part[0]));
    }
    else
    {
        const hn::Half<D16> half;
        const auto part = [&](size_t i) HWY_ATTR
        { return hn::DemoteTo(half, hn::VecFromMask(d, hn::Gt(a.part[i], b.part[i]))); };
        return hn::Combine(d16, part(1), part(0));
    }
}

template <class T, class D16>
HWY_INLINE void storeStrength(D16 d16, hn::Vec<D16> dx, hn::Vec<D16> dy, T* out)
{
    if constexpr (sizeof(T) == sizeof(int16_t))
    {
        hn::StoreU(hn::Add(hn::Abs(dx), hn::Abs(dy)), d16, out);
    }
    else
    {
        const hn::Repartition<int32_t, D16> d32;
        const hn::Half<D16> half;
        const auto squares = [&](auto x, auto y) HWY_ATTR
        {
            const auto wideX = hn::PromoteTo(d32, x);
            const auto wideY = hn::PromoteTo(d32, y);
            return hn::Add(hn::Mul(wideX, wideX), hn::Mul(wideY, wideY));
        };
        hn::StoreU(squares(hn::LowerHalf(half, dx), hn::LowerHalf(half, dy)), d32, out);
        hn::StoreU(squares(hn::UpperHalf(half, dx), hn::UpperHalf(half, dy)), d32, out + hn::Lanes(d32));
    }
}

template <class T, class D16>
HWY_INLINE void gradientRow(D16 d16, const CannyCall& call, const BorderedImage& image,
                            const WindowSource<uint8_t>& source, size_t y, int16_t* dx, int16_t* dy, T* strengths)
{
    const auto at = static_cast<ptrdiff_t>(y);
    const uint8_t* above = source.nearestRow(at - 1);
    const uint8_t* centre = source.nearestRow(at);
    const uint8_t* below = source.nearestRow(at + 1);
    coverRange(1, call.width - 1, hn::Lanes(d16),
               [&](size_t x) HWY_ATTR
               {
                   hn::Vec<D16> across, down;
                   gradientAt<1, 2>(d16, above, centre, below, x, across, down);
                   hn::StoreU(across, d16, dx + x);
                   hn::StoreU(down, d16, dy + x);
                   storeStrength(d16, across, down, strengths + x);
               });
    for (const size_t x : {size_t{0}, call.width - 1})
    {
        const Gradient gradient = gradientOf3x3(image, static_cast<int64_t>(x), at, 1, 2);
        dx[x] = static_cast<int16_t>(gradient.dx);
        dy[x] = static_cast<int16_t>(gradient.dy);
        strengths[x] =
            static_cast<T>(sizeof(T) == sizeof(int16_t) ? std::abs(gradient.dx) + std::abs(gradient.dy)
                                                        : gradient.dx * gradient.dx + gradient.dy * gradient.dy);
    }
}

template <class T, class D16>
HWY_INLINE void stateRow(D16 d16, const CannyCall& call, const int16_t* dx, const int16_t* dy, const T* above,
                         const T* centre, const T* below, uint8_t* states)
{
    const hn::Rebind<uint8_t, D16> d8;
    using S = Strength<D16, T>;
    S low, high;
    std::fill_n(low.part, S::kParts, hn::Set(typename S::D(), static_cast<T>(call.low)));
    std::fill_n(high.part, S::kParts, hn::Set(typename S::D(), static_cast<T>(call.high)));
    coverRange(0, call.width, hn::Lanes(d16),
               [&](size_t x) HWY_ATTR
               {
                   const auto strength = loadStrength(d16, centre + x);
                   const auto over = [&](const T* neighbour) HWY_ATTR
                   { return exceeds(d16, strength, loadStrength(d16, neighbour)); };
                   // Not below, as not exceeded.
                   const auto notUnder = [&](const T* neighbour) HWY_ATTR
                   { return hn::Not(exceeds(d16, loadStrength(d16, neighbour), strength)); };
                   const auto gx = hn::LoadU(d16, dx + x);
                   const auto gy = hn::LoadU(d16, dy + x);
                   const auto a = hn::Abs(gx);
                   const auto b = hn::Abs(gy);
                   const auto t = hn::MulHigh(a, hn::Set(d16, int16_t{2 * 13573}));
                   const auto steep = hn::VecFromMask(d16, hn::Gt(b, t));
                   const auto upright = hn::VecFromMask(d16, hn::Gt(b, hn::Add(hn::Add(a, a), t)));
                   const auto opposed = hn::VecFromMask(d16, hn::Lt(hn::Xor(gx, gy), hn::Zero(d16)));
                   const auto choose = [&](auto mask, auto yes, auto no) HWY_ATTR
                   { return hn::IfThenElse(hn::MaskFromVec(mask), yes, no); };

                   const auto level = hn::And(over(centre + x - 1), notUnder(centre + x + 1));
                   const auto vertical = hn::And(over(above + x), notUnder(below + x));
                   const auto falling = hn::And(over(above + x - 1), over(below + x + 1));
                   const auto rising = hn::And(over(above + x + 1), over(below + x - 1));
                   // Where b <= t the direction is level, also at no gradient at all, which is no candidate.
                   const auto slanted = choose(upright, vertical, choose(opposed, rising, falling));
                   const auto maximum = choose(steep, slanted, level);
                   const auto candidate = hn::And(maximum, exceeds(d16, strength, low));
                   const auto strong = hn::And(candidate, exceeds(d16, strength, high));
                   // Minus 1 for each that holds.
                   const auto state = hn::Sub(hn::Zero(d16), hn::Add(candidate, strong));
                   hn::StoreU(hn::DemoteTo(d8, state), d8, states + x);
               });
}

template <class T>
HWY_INLINE vsrStatus cannyEdges(const CannyCall& call)
{
    // Strengths of three rows and of none, each with nothing on both sides.
    constexpr size_t kMargin = 64 / sizeof(T);
    const size_t step = (call.width + 63) / 64 * 64 + 2 * kMargin;
    const Scratch scratch(4 * step * sizeof(T));
    CannyMap map(call.width, call.height);
    if (!scratch.data() || !map.isReady())
    {
        return VISORA_ENOMEM;
    }
    auto* const strengths = reinterpret_cast<T*>(scratch.data()) + kMargin;
    std::fill_n(strengths - kMargin, 4 * step, T{0});
    const T* const none = strengths + 3 * step;
    const auto strengthRow = [&](size_t y) { return strengths + y % 3 * step; };
    const auto dx = [&](size_t y) { return call.dx + y % call.gradRows * call.gradStep; };
    const auto dy = [&](size_t y) { return call.dy + y % call.gradRows * call.gradStep; };
    const BorderedImage image(call.src, static_cast<uint32_t>(call.width), static_cast<uint32_t>(call.height),
                              static_cast<uint32_t>(call.srcStride), VISORA_BORDER_REPLICATE, 0);
    const WindowSource<uint8_t> source(call.src, static_cast<uint32_t>(call.width), static_cast<uint32_t>(call.height),
                                       static_cast<uint32_t>(call.srcStride));
    withFittingVector<int16_t>(call.width - 2,
                               [&](auto d16) HWY_ATTR
                               {
                                   for (size_t y = 0; y <= call.height; ++y)
                                   {
                                       const bool inside = y < call.height;
                                       if (inside)
                                       {
                                           gradientRow(d16, call, image, source, y, dx(y), dy(y), strengthRow(y));
                                       }
                                       if (y > 0)
                                       {
                                           stateRow(d16, call, dx(y - 1), dy(y - 1), y > 1 ? strengthRow(y - 2) : none,
                                                    strengthRow(y - 1), inside ? strengthRow(y) : none, map.row(y - 1));
                                       }
                                   }
                                   map.join();
                                   const hn::Repartition<uint8_t, decltype(d16)> dBytes;
                                   const hn::Half<decltype(dBytes)> d8;
                                   for (size_t y = 0; y < call.height; ++y)
                                   {
                                       const uint8_t* states = map.row(y);
                                       coverRange(0, call.width, hn::Lanes(d8),
                                                  [&](size_t x) HWY_ATTR
                                                  {
                                                      const auto least = hn::Set(d8, uint8_t{kStrong});
                                                      const auto state = hn::LoadU(d8, states + x);
                                                      const auto isEdge = hn::Eq(hn::Max(state, least), state);
                                                      hn::StoreU(hn::VecFromMask(d8, isEdge), d8,
                                                                 call.dst + y * call.dstStride + x);
                                                  });
                                   }
                               });
    return VISORA_SUCCESS;
}

// Images too narrow for a vector of s16 between their first and last columns are the reference's affair.
constexpr uint32_t kLeastWidth = 2 + 8;

vsrStatus canny(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t lowThreshold,
                uint32_t highThreshold, uint8_t* dst, uint32_t dstStride)
{
    if (srcWidth < kLeastWidth)
    {
        return vsrFilterCanny3x3u8C(src, srcWidth, srcHeight, srcStride, lowThreshold, highThreshold, dst, dstStride);
    }
    const size_t step = (size_t{srcWidth} + 63) / 64 * 64;
    const Scratch gradients(4 * step * sizeof(int16_t));
    if (!gradients.data())
    {
        return VISORA_ENOMEM;
    }
    auto* const rows = reinterpret_cast<int16_t*>(gradients.data());
    return cannyEdges<int16_t>({src, srcWidth, srcHeight, srcStride, static_cast<int32_t>(lowThreshold),
                                static_cast<int32_t>(highThreshold), dst, dstStride, rows, rows + 2 * step, step, 2});
}

vsrStatus cannyWithGradients(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t lowThreshold, uint32_t highThreshold, vsrCannyNorm norm, uint8_t* dst,
                             uint32_t dstStride, int16_t* dx, int16_t* dy, uint32_t gradStride)
{
    if (srcWidth < kLeastWidth)
    {
        return vsrFilterCanny3x3u8_v3C(src, srcWidth, srcHeight, srcStride, lowThreshold, highThreshold, norm, dst,
                                       dstStride, dx, dy, gradStride);
    }
    const bool squared = norm == VISORA_CANNY_L2;
    const CannyCall call = {src,
                            srcWidth,
                            srcHeight,
                            srcStride,
                            static_cast<int32_t>(squared ? lowThreshold * lowThreshold : lowThreshold),
                            static_cast<int32_t>(squared ? highThreshold * highThreshold : highThreshold),
                            dst,
                            dstStride,
                            dx,
                            dy,
                            gradStride / sizeof(int16_t),
                            srcHeight};
    return squared ? cannyEdges<int32_t>(call) : cannyEdges<int16_t>(call);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFilterCanny3x3u8, canny);
VSR_VECTOR(vsrFilterCanny3x3u8_v3, cannyWithGradients);

#endif
