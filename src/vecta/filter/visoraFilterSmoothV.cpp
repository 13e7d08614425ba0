// Gaussians of any odd size on bytes, and unsharp masking, vector variants.
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterSmoothV.cpp"
#include "cpu/filter/visoraFilterTaps.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterProducts-inl.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Sums of columns are at most 65280. They are kept less 32768, so that the rows' sums can multiply signed numbers; the
// taps' sum of 256 makes good for that.
vsrStatus gaussianNxN(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                      float sigma, uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    // Taps of 0 at the ends are left out.
    const auto allTaps = integerGaussianTaps(N, sigma);
    size_t radius = N / 2;
    while (radius > 0 && allTaps[N / 2 - radius] == 0)
    {
        --radius;
    }
    const uint16_t* taps = &allTaps[N / 2 - radius];
    std::array<int32_t, kLargestWindow / 2 + 1> pairs;
    for (size_t i = 0; i <= radius; ++i)
    {
        pairs[i] = tapPair(static_cast<int16_t>(taps[2 * i]), static_cast<int16_t>(i < radius ? taps[2 * i + 1] : 0));
    }
    const WindowSource source(src, srcWidth, srcHeight, srcStride, Surround(borderType, borderValue));
    vsrStatus status = VISORA_SUCCESS;
    const bool done = withFittingVector<uint8_t>(
        srcWidth,
        [&](auto d8) HWY_ATTR
        {
            const hn::Repartition<uint16_t, decltype(d8)> d16;
            const hn::Repartition<int16_t, decltype(d8)> dSigned;
            const hn::Repartition<int32_t, decltype(d8)> d32;
            const hn::Rebind<uint8_t, decltype(d16)> dHalf;
            const size_t half = hn::Lanes(d16);
            status = columnsThenRows<int16_t, 1>(
                source, squareReach(radius), hn::Lanes(d8),
                [&](const uint8_t* const* rows, size_t x, const auto& sums) HWY_ATTR
                {
                    const auto pixels = [&](size_t row, size_t at) HWY_ATTR
                    { return hn::PromoteTo(d16, hn::LoadU(dHalf, rows[row] + at)); };
                    auto tap = hn::Set(d16, taps[radius]);
                    auto low = hn::Mul(pixels(radius, x), tap);
                    auto high = hn::Mul(pixels(radius, x + half), tap);
                    for (size_t i = 0; i < radius; ++i)
                    {
                        tap = hn::Set(d16, taps[i]);
                        const size_t other = 2 * radius - i;
                        low = hn::Add(low, hn::Mul(hn::Add(pixels(i, x), pixels(other, x)), tap));
                        high = hn::Add(high, hn::Mul(hn::Add(pixels(i, x + half), pixels(other, x + half)), tap));
                    }
                    const auto signBit = hn::Set(d16, uint16_t{0x8000});
                    hn::StoreU(hn::BitCast(dSigned, hn::Xor(low, signBit)), dSigned, sums[0] + x);
                    hn::StoreU(hn::BitCast(dSigned, hn::Xor(high, signBit)), dSigned, sums[0] + x + half);
                },
                [&](size_t y, const auto& sums, size_t begin, size_t end) HWY_ATTR
                {
                    uint8_t* out = dst + y * dstStride;
                    const auto start = hn::Set(d32, 32768 * 256 + 32768);
                    const auto along = [&](size_t x) HWY_ATTR
                    {
                        WideSums<hn::Vec<decltype(d32)>> sum = {start, start};
                        const int16_t* window = sums[0] + x - radius;
                        for (size_t i = 0; i <= radius; ++i)
                        {
                            addAlong(d32, window + 2 * i, pairs[i], sum);
                        }
                        return upperAlong(d16, d32, sum);
                    };
                    coverRange(begin, end, hn::Lanes(d8),
                               [&](size_t x) HWY_ATTR
                               { hn::StoreU(narrowInOrder(d8, along(x), along(x + half)), d8, out + x); });
                });
        });
    return done ? status
                : vsrFilterGaussianNxNu8C(src, srcWidth, srcHeight, srcStride, N, sigma, dst, dstStride, borderType,
                                          borderValue);
}

// 1 4 6 4 1 on u16 vectors at(0) .. at(4).
template <class D, class At>
HWY_INLINE hn::Vec<D> binomialOfFive(D /*d*/, At at)
{
    const auto inner = hn::Add(hn::Add(at(1), at(3)), at(2));
    return hn::Add(hn::Add(at(0), at(4)), hn::Add(hn::ShiftLeft<2>(inner), hn::Add(at(2), at(2))));
}

vsrStatus unsharp5x5(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t amount,
                     uint8_t threshold, uint8_t* dst, uint32_t dstStride)
{
    const WindowSource<uint8_t> source(src, srcWidth, srcHeight, srcStride);
    vsrStatus status = VISORA_SUCCESS;
    const bool done = withFittingVector<uint8_t>(
        srcWidth,
        [&](auto d8) HWY_ATTR
        {
            const hn::Repartition<uint16_t, decltype(d8)> d16;
            const hn::Repartition<int16_t, decltype(d8)> dSigned;
            const hn::Rebind<uint8_t, decltype(d16)> dHalf;
            const size_t half = hn::Lanes(d16);
            const auto factor = hn::Set(dSigned, static_cast<int16_t>(amount));
            const auto least = hn::Set(dSigned, int16_t{threshold});
            const auto zero = hn::Zero(dSigned);
            const auto largest = hn::Set(dSigned, int16_t{255});
            status = columnsThenRows<uint16_t, 1>(
                source, squareReach(2), half,
                [&](const uint8_t* const* rows, size_t x, const auto& sums) HWY_ATTR
                {
                    const auto at = [&](size_t i) HWY_ATTR
                    { return hn::PromoteTo(d16, hn::LoadU(dHalf, rows[i] + x)); };
                    hn::StoreU(binomialOfFive(d16, at), d16, sums[0] + x);
                },
                [&](size_t y, const auto& sums, size_t begin, size_t end) HWY_ATTR
                {
                    const uint8_t* pixels = source.nearestRow(static_cast<ptrdiff_t>(y));
                    uint8_t* out = dst + y * dstStride;
                    const auto sharpened = [&](size_t x) HWY_ATTR
                    {
                        const auto sum =
                            binomialOfFive(d16, [&](size_t i) HWY_ATTR { return hn::LoadU(d16, sums[0] + x + i - 2); });
                        const auto blurred = hn::ShiftRight<8>(hn::Add(sum, hn::Set(d16, uint16_t{128})));
                        const auto pixel = hn::PromoteTo(dSigned, hn::LoadU(dHalf, pixels + x));
                        const auto detail = hn::Sub(pixel, hn::BitCast(dSigned, blurred));
                        // (amount * detail + 128) >> 8 from both halves of the product: it fits 16 bits.
                        const auto low = hn::BitCast(d16, hn::Mul(detail, factor));
                        const auto high = hn::BitCast(d16, hn::MulHigh(detail, factor));
                        const auto roundUp = hn::And(hn::ShiftRight<7>(low), hn::Set(d16, uint16_t{1}));
                        const auto shifted = hn::Or(hn::ShiftLeft<8>(high), hn::ShiftRight<8>(low));
                        const auto change = hn::BitCast(dSigned, hn::Add(shifted, roundUp));
                        const auto result = hn::Min(hn::Max(hn::SaturatedAdd(pixel, change), zero), largest);
                        return hn::IfThenElse(hn::Lt(hn::Abs(detail), least), pixel, result);
                    };
                    coverRange(begin, end, hn::Lanes(d8),
                               [&](size_t x) HWY_ATTR
                               { hn::StoreU(narrowInOrder(d8, sharpened(x), sharpened(x + half)), d8, out + x); });
                });
        });
    return done ? status
                : vsrFilterUnsharp5x5u8C(src, srcWidth, srcHeight, srcStride, amount, threshold, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFilterGaussianNxNu8, gaussianNxN);
VSR_VECTOR(vsrFilterUnsharp5x5u8, unsharp5x5);

#endif
