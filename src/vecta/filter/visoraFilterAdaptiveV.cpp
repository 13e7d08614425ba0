// Thresholds that adapt to each pixel's surroundings, vector variants.
#include "visora/threshold.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterAdaptiveV.cpp"
#include <algorithm>
#include <array>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterSums-inl.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

#ifndef VISORA_VECTA_ADAPTIVE_ONCE
#define VISORA_VECTA_ADAPTIVE_ONCE

namespace visora
{

/** What an adaptive threshold is asked for, but for its window. */
struct AdaptiveCall
{
    AdaptiveCall(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t maxValue,
                 vsrThresholdType type, int32_t constant, uint8_t* to, uint32_t toStride)
        : source(src, width, height, srcStride),
          above(type == VISORA_THRESHOLD_BINARY ? maxValue : uint8_t{0}),
          elsewhere(type == VISORA_THRESHOLD_BINARY ? uint8_t{0} : maxValue),
          // Means lie from 0 to 255, and so do pixels: larger numbers change no test.
          offset(static_cast<int16_t>(std::clamp(constant, -256, 256))),
          dst(to),
          dstStride(toStride)
    {
    }

    WindowSource<uint8_t> source;
    uint8_t above;
    uint8_t elsewhere;
    int16_t offset;
    uint8_t* dst;
    size_t dstStride;
};

}  // namespace visora

#endif

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- One row of results ----

// Vectors of pixel + constant, s16, for the columns x ...
template <class D>
HWY_INLINE hn::Vec<D> raised(D d16, const uint8_t* pixels, int16_t offset)
{
    const hn::Rebind<uint8_t, D> d8;
    return hn::Add(hn::PromoteTo(d16, hn::LoadU(d8, pixels)), hn::Set(d16, offset));
}

// Row y of the result, where holds(d16, x) says for a vector of s16 lanes whether the test holds. The image is at least
// a vector of bytes wide.
template <class D16, class Holds>
HWY_INLINE void chooseRow(D16 d16, const AdaptiveCall& call, size_t y, size_t begin, size_t end, Holds holds)
{
    const hn::Repartition<uint8_t, D16> d8;
    const size_t half = hn::Lanes(d16);
    const auto above = hn::Set(d16, int16_t{call.above});
    const auto elsewhere = hn::Set(d16, int16_t{call.elsewhere});
    uint8_t* out = call.dst + y * call.dstStride;
    coverRange(begin, end, 2 * half,
               [&](size_t x) HWY_ATTR
               {
                   const auto low = hn::IfThenElse(holds(x), above, elsewhere);
                   const auto high = hn::IfThenElse(holds(x + half), above, elsewhere);
                   hn::StoreU(narrowInOrder(d8, low, high), d8, out + x);
               });
}

// Runs body(d16) with the widest vector that the image has room for: that of bytes is of the same size.
template <class Body>
HWY_INLINE bool withRowVector(const AdaptiveCall& call, Body body)
{
    return withFittingVector<uint8_t>(call.source.width,
                                      [&](auto d8) HWY_ATTR { body(hn::Repartition<int16_t, decltype(d8)>()); });
}

// ---- Boxes ----

// Column sums of a window of 2 * radius + 1 rows, carried down the image: nextRow(sums) each time makes those of the
// next row. They continue `radius` columns beyond the image.
template <class Sum>
struct RunningColumns
{
    const WindowSource<uint8_t>& source;
    size_t radius;
    Sum* sums;

    template <class D>
    HWY_INLINE void moveTo(D d, size_t y)
    {
        const hn::Rebind<uint8_t, D> d8;
        const auto at = static_cast<ptrdiff_t>(y);
        const auto reach = static_cast<ptrdiff_t>(radius);
        if (y == 0)
        {
            std::fill_n(sums, source.width, Sum{0});
            for (ptrdiff_t row = -reach; row <= reach; ++row)
            {
                addRow(source.nearestRow(row));
            }
        }
        else
        {
            const uint8_t* entering = source.nearestRow(at + reach);
            const uint8_t* leaving = source.nearestRow(at - 1 - reach);
            // Sums are changed in place, so the last ones are done one by one.
            const size_t lanes = hn::Lanes(d);
            size_t x = 0;
            for (; x + lanes <= source.width; x += lanes)
            {
                const auto change = hn::Sub(hn::PromoteTo(d, hn::LoadU(d8, entering + x)),
                                            hn::PromoteTo(d, hn::LoadU(d8, leaving + x)));
                hn::StoreU(hn::Add(hn::LoadU(d, sums + x), change), d, sums + x);
            }
            for (; x < source.width; ++x)
            {
                sums[x] = static_cast<Sum>(sums[x] + entering[x] - leaving[x]);
            }
        }
        std::fill_n(sums - radius, radius, sums[0]);
        std::fill_n(sums + source.width, radius, sums[source.width - 1]);
    }

  private:
    void addRow(const uint8_t* row)
    {
        for (size_t x = 0; x < source.width; ++x)
        {
            sums[x] = static_cast<Sum>(sums[x] + row[x]);
        }
    }
};

// N x N with N up to 11: sums of at most 30855 fit s16.
template <int N>
HWY_INLINE vsrStatus smallBox(const AdaptiveCall& call)
{
    constexpr int kRadius = N / 2;
    const WindowSource<uint8_t>& source = call.source;
    const Scratch scratch((source.width + 3 * 64) * sizeof(int16_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    RunningColumns<int16_t> columns = {source, kRadius, reinterpret_cast<int16_t*>(scratch.data()) + 64};
    withRowVector(call,
                  [&](auto d16) HWY_ATTR
                  {
                      const auto zero = hn::Zero(d16);
                      const auto largest = hn::Set(d16, int16_t{256});
                      const auto area = hn::Set(d16, int16_t{N * N});
                      const auto half = hn::Set(d16, int16_t{(N * N - 1) / 2});
                      for (size_t y = 0; y < source.height; ++y)
                      {
                          columns.moveTo(d16, y);
                          const uint8_t* pixels = source.nearestRow(static_cast<ptrdiff_t>(y));
                          chooseRow(d16, call, y, 0, source.width,
                                    [&](size_t x) HWY_ATTR
                                    {
                                        // The mean is below pixel + constant when the sum with its rounding is below
                                        // as many whole pixels.
                                        auto sum = hn::LoadU(d16, columns.sums + x);
                                        for (int i = 1; i <= kRadius; ++i)
                                        {
                                            sum = hn::Add(sum, hn::LoadU(d16, columns.sums + x + i));
                                            sum = hn::Add(sum, hn::LoadU(d16, columns.sums + x - i));
                                        }
                                        const auto limit = raised(d16, pixels + x, call.offset);
                                        return hn::Lt(hn::Add(sum, half),
                                                      hn::Mul(hn::Min(hn::Max(limit, zero), largest), area));
                                    });
                      }
                  });
    return VISORA_SUCCESS;
}

// The test holds where the mean is below a limit, 0 .. 256, that the pixel gives: where the sum with its rounding is
// below as many times the window's area. All of that stays below 2^32. limits(y, x) gives a vector of limits.
template <class Limits>
HWY_INLINE void boxRows(const AdaptiveCall& call, uint32_t N, uint32_t* sums, uint32_t* before, Limits limitsOfRow)
{
    const WindowSource<uint8_t>& source = call.source;
    const size_t radius = N / 2;
    RunningColumns<uint32_t> columns = {source, radius, sums + radius};
    withRowVector(call,
                  [&](auto d16) HWY_ATTR
                  {
                      const hn::Repartition<uint32_t, decltype(d16)> d32;
                      const hn::Rebind<uint16_t, decltype(d32)> d32Half;
                      const size_t lanes = hn::Lanes(d32);
                      const auto area = hn::Set(d32, N * N);
                      const auto half = hn::Set(d32, (N * N - 1) / 2);
                      const auto one = hn::Set(d32, 1u);
                      for (size_t y = 0; y < source.height; ++y)
                      {
                          columns.moveTo(d32, y);
                          sumBefore(sums, source.width + 2 * radius, before);
                          const auto limits = limitsOfRow(y);
                          const auto holds = [&](size_t x) HWY_ATTR
                          {
                              const auto sum = hn::Sub(hn::LoadU(d32, before + x + N), hn::LoadU(d32, before + x));
                              const auto limit = hn::Mul(hn::PromoteTo(d32, limits(d32Half, x)), area);
                              // Not below: the larger of the two is the sum.
                              const auto rounded = hn::Add(sum, half);
                              return hn::IfThenZeroElse(hn::Eq(hn::Max(rounded, limit), rounded), one);
                          };
                          chooseRow(d16, call, y, 0, source.width,
                                    [&](size_t x) HWY_ATTR
                                    {
                                        const hn::Repartition<uint16_t, decltype(d16)> dUnsigned;
                                        const auto both = narrowInOrder(dUnsigned, holds(x), holds(x + lanes));
                                        return hn::Ne(hn::BitCast(d16, both), hn::Zero(d16));
                                    });
                      }
                  });
}

vsrStatus adaptiveBox(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                      uint8_t maxValue, vsrThresholdType type, int32_t constant, uint32_t factor, uint8_t* dst,
                      uint32_t dstStride)
{
    if (srcWidth < 16)
    {
        return vsrAdaptiveThresholdBoxNxNu8C(src, srcWidth, srcHeight, srcStride, N, maxValue, type, constant, factor,
                                             dst, dstStride);
    }
    const AdaptiveCall call(src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst, dstStride);
    const size_t rowElements = (srcWidth + N + 2 * 64 + 63) / 64 * 64;
    const Scratch scratch(2 * rowElements * sizeof(uint32_t) + srcWidth * sizeof(uint16_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* sums = reinterpret_cast<uint32_t*>(scratch.data());
    uint32_t* before = sums + rowElements;
    std::fill_n(sums, rowElements, 0u);
    if (factor == 256)
    {
        boxRows(call, N, sums, before,
                [&](size_t y) HWY_ATTR
                {
                    const uint8_t* pixels = call.source.nearestRow(static_cast<ptrdiff_t>(y));
                    const int16_t offset = call.offset;
                    return [=](auto d, size_t x) HWY_ATTR
                    {
                        const hn::RebindToSigned<decltype(d)> dSigned;
                        const auto limit = hn::Min(raised(dSigned, pixels + x, offset), hn::Set(dSigned, int16_t{256}));
                        return hn::BitCast(d, hn::Max(limit, hn::Zero(dSigned)));
                    };
                });
        return VISORA_SUCCESS;
    }
    // m * factor < 256 * (pixel + constant) for m below the quotient, rounded up.
    std::array<uint16_t, 256> limitOf = {};
    for (int64_t pixel = 0; pixel < 256; ++pixel)
    {
        const int64_t right = 256 * (pixel + constant);
        const int64_t limit = right <= 0 ? 0 : factor == 0 ? 256 : (right + factor - 1) / factor;
        limitOf[static_cast<size_t>(pixel)] = static_cast<uint16_t>(std::min<int64_t>(limit, 256));
    }
    auto* limitRow = reinterpret_cast<uint16_t*>(before + rowElements);
    boxRows(call, N, sums, before,
            [&](size_t y)
            {
                const uint8_t* pixels = call.source.nearestRow(static_cast<ptrdiff_t>(y));
                std::transform(pixels, pixels + srcWidth, limitRow, [&](uint8_t pixel) { return limitOf[pixel]; });
                return [=](auto d, size_t x) HWY_ATTR { return hn::LoadU(d, limitRow + x); };
            });
    return VISORA_SUCCESS;
}

vsrStatus adaptiveBox3x3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         uint8_t maxValue, vsrThresholdType type, int32_t constant, uint8_t* dst, uint32_t dstStride)
{
    return srcWidth < 16 ? vsrAdaptiveThresholdBox3x3u8C(src, srcWidth, srcHeight, srcStride, maxValue, type, constant,
                                                         dst, dstStride)
                         : smallBox<3>({src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst, dstStride});
}

vsrStatus adaptiveBox11x11(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t maxValue, vsrThresholdType type, int32_t constant, uint8_t* dst, uint32_t dstStride)
{
    return srcWidth < 16
               ? vsrAdaptiveThresholdBox11x11u8C(src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst,
                                                 dstStride)
               : smallBox<11>({src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst, dstStride});
}

// ---- Gaussians ----

// Binomial sums of 3 and 5 vectors at(0) .. at(2 * radius).
template <int radius, class D, class At>
HWY_INLINE hn::Vec<D> binomialSum(D /*d*/, At at)
{
    if constexpr (radius == 1)
    {
        return hn::Add(hn::Add(at(0), at(2)), hn::ShiftLeft<1>(at(1)));
    }
    else
    {
        const auto inner = hn::Add(hn::Add(at(1), at(3)), at(2));
        return hn::Add(hn::Add(at(0), at(4)), hn::Add(hn::ShiftLeft<2>(inner), hn::ShiftLeft<1>(at(2))));
    }
}

// Sums of at most 65280 in u16.
template <int radius>
HWY_INLINE vsrStatus smallGaussian(const AdaptiveCall& call)
{
    vsrStatus status = VISORA_SUCCESS;
    withRowVector(
        call,
        [&](auto d16) HWY_ATTR
        {
            const hn::Repartition<uint16_t, decltype(d16)> dSum;
            const hn::Rebind<uint8_t, decltype(d16)> d8;
            constexpr int kShift = 4 * radius;
            const auto belowHalf = hn::Set(dSum, uint16_t{(1 << (kShift - 1)) - 1});
            const auto one = hn::Set(dSum, uint16_t{1});
            status = columnsThenRows<uint16_t, 1>(
                call.source, squareReach(radius), hn::Lanes(dSum),
                [&](const uint8_t* const* rows, size_t x, const auto& sums) HWY_ATTR
                {
                    const auto sum = binomialSum<radius>(
                        dSum, [&](int i) HWY_ATTR { return hn::PromoteTo(dSum, hn::LoadU(d8, rows[i] + x)); });
                    hn::StoreU(sum, dSum, sums[0] + x);
                },
                [&](size_t y, const auto& sums, size_t begin, size_t end) HWY_ATTR
                {
                    const uint8_t* pixels = call.source.nearestRow(static_cast<ptrdiff_t>(y));
                    chooseRow(d16, call, y, begin, end,
                              [&](size_t x) HWY_ATTR
                              {
                                  const auto sum = binomialSum<radius>(
                                      dSum, [&](int i) HWY_ATTR { return hn::LoadU(dSum, sums[0] + x + i - radius); });
                                  const auto tie = hn::And(hn::ShiftRight<kShift>(sum), one);
                                  const auto mean = hn::ShiftRight<kShift>(hn::Add(hn::Add(sum, belowHalf), tie));
                                  return hn::Gt(raised(d16, pixels + x, call.offset), hn::BitCast(d16, mean));
                              });
                });
        });
    return status;
}

vsrStatus adaptiveGaussian3x3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint8_t maxValue, vsrThresholdType type, int32_t constant, uint8_t* dst,
                              uint32_t dstStride)
{
    return srcWidth < 16
               ? vsrAdaptiveThresholdGaussian3x3u8C(src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst,
                                                    dstStride)
               : smallGaussian<1>({src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst, dstStride});
}

vsrStatus adaptiveGaussian5x5(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint8_t maxValue, vsrThresholdType type, int32_t constant, uint8_t* dst,
                              uint32_t dstStride)
{
    return srcWidth < 16
               ? vsrAdaptiveThresholdGaussian5x5u8C(src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst,
                                                    dstStride)
               : smallGaussian<2>({src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst, dstStride});
}

// Of bytes, by the weights 1 8 28 56 70 56 28 8 1: at most 65280.
template <class D, class At>
HWY_INLINE hn::Vec<D> eighthOrderSum(D d, At at)
{
    const auto pair = [&](int i) HWY_ATTR { return hn::Add(at(i), at(8 - i)); };
    const auto times = [&](auto v, uint16_t factor) HWY_ATTR { return hn::Mul(v, hn::Set(d, factor)); };
    return hn::Add(
        hn::Add(hn::Add(pair(0), hn::ShiftLeft<3>(pair(1))), hn::Add(times(pair(2), 28), times(pair(3), 56))),
        times(at(4), 70));
}

vsrStatus adaptiveGaussian11x11(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint8_t maxValue, vsrThresholdType type, int32_t constant, uint8_t* dst,
                                uint32_t dstStride)
{
    if (srcWidth < 16)
    {
        return vsrAdaptiveThresholdGaussian11x11u8C(src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst,
                                                    dstStride);
    }
    const AdaptiveCall call(src, srcWidth, srcHeight, srcStride, maxValue, type, constant, dst, dstStride);
    vsrStatus status = VISORA_SUCCESS;
    withRowVector(
        call,
        [&](auto d16) HWY_ATTR
        {
            const hn::Repartition<uint16_t, decltype(d16)> dHalf;
            const hn::Half<decltype(dHalf)> dQuarter;
            const hn::Rebind<uint8_t, decltype(dHalf)> d8;
            const hn::Repartition<uint32_t, decltype(d16)> d32;
            const size_t lanes = hn::Lanes(d32);
            status = columnsThenRows<uint32_t, 1>(
                call.source, squareReach(5), hn::Lanes(dHalf),
                [&](const uint8_t* const* rows, size_t x, const auto& sums) HWY_ATTR
                {
                    // Eight of the ten stages of adding neighbours fit 16 bits, 1 2 1 makes the last two.
                    hn::Vec<decltype(dHalf)> stage[3];
                    for (int k = 0; k < 3; ++k)
                    {
                        stage[k] = eighthOrderSum(dHalf, [&](int i) HWY_ATTR
                                                  { return hn::PromoteTo(dHalf, hn::LoadU(d8, rows[i + k] + x)); });
                    }
                    const auto finish = [&](auto a, auto b, auto c) HWY_ATTR
                    {
                        const auto wide = [&](auto v) HWY_ATTR { return hn::PromoteTo(d32, v); };
                        return hn::Add(hn::Add(wide(a), wide(c)), hn::ShiftLeft<1>(wide(b)));
                    };
                    hn::StoreU(finish(hn::LowerHalf(dQuarter, stage[0]), hn::LowerHalf(dQuarter, stage[1]),
                                      hn::LowerHalf(dQuarter, stage[2])),
                               d32, sums[0] + x);
                    hn::StoreU(finish(hn::UpperHalf(dQuarter, stage[0]), hn::UpperHalf(dQuarter, stage[1]),
                                      hn::UpperHalf(dQuarter, stage[2])),
                               d32, sums[0] + x + lanes);
                },
                [&](size_t y, const auto& sums, size_t begin, size_t end) HWY_ATTR
                {
                    const uint8_t* pixels = call.source.nearestRow(static_cast<ptrdiff_t>(y));
                    const auto meanAt = [&](size_t x) HWY_ATTR
                    {
                        const auto at = [&](size_t i) HWY_ATTR { return hn::LoadU(d32, sums[0] + x + i - 5); };
                        constexpr uint32_t kWeights[5] = {1, 10, 45, 120, 210};
                        auto sum = hn::Mul(at(5), hn::Set(d32, 252u));
                        for (size_t i = 0; i < 5; ++i)
                        {
                            sum = hn::Add(sum, hn::Mul(hn::Add(at(i), at(10 - i)), hn::Set(d32, kWeights[i])));
                        }
                        const auto tie = hn::And(hn::ShiftRight<20>(sum), hn::Set(d32, 1u));
                        return hn::ShiftRight<20>(hn::Add(hn::Add(sum, hn::Set(d32, 524287u)), tie));
                    };
                    chooseRow(d16, call, y, begin, end,
                              [&](size_t x) HWY_ATTR
                              {
                                  const auto mean = narrowInOrder(dHalf, meanAt(x), meanAt(x + lanes));
                                  return hn::Gt(raised(d16, pixels + x, call.offset), hn::BitCast(d16, mean));
                              });
                });
        });
    return status;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrAdaptiveThresholdBoxNxNu8, adaptiveBox);
VSR_VECTOR(vsrAdaptiveThresholdBox3x3u8, adaptiveBox3x3);
VSR_VECTOR(vsrAdaptiveThresholdBox11x11u8, adaptiveBox11x11);
VSR_VECTOR(vsrAdaptiveThresholdGaussian3x3u8, adaptiveGaussian3x3);
VSR_VECTOR(vsrAdaptiveThresholdGaussian5x5u8, adaptiveGaussian5x5);
VSR_VECTOR(vsrAdaptiveThresholdGaussian11x11u8, adaptiveGaussian11x11);

#endif
