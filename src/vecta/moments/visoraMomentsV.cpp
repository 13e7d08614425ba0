// Moments of images, vector variants: a tile's columns in lanes. Tiles at the right and lower edge are filled up with
// zeros, which add nothing.
#include "cpu/moments/visoraMoments.h"
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/moments/visoraMomentsV.cpp"
#include <algorithm>
#include <type_traits>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraPairSums-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Pixels = hn::CappedTag<int16_t, 16>;
using Sums = hn::RepartitionToWide<Pixels>;
void tileu8(const uint8_t* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary, double moments[10])
{
    uint8_t whole[kTile * kTile];
    if (width < kTile || height < kTile)
    {
        std::fill(std::begin(whole), std::end(whole), uint8_t{0});
        for (size_t y = 0; y < height; ++y)
        {
            std::copy_n(tile + y * stride, width, whole + y * kTile);
        }
        tile = whole;
        stride = kTile;
    }

    const Pixels d;
    const Sums d32;
    const hn::Rebind<uint8_t, Pixels> d8;
    const auto most = hn::Set(d8, static_cast<uint8_t>(binary != 0 ? 1 : 255));
    const auto zero = hn::Zero(d32);
    // All ten fit 31 bits: the largest, of x^3 or y^3, is 255 * 32 * 246016.
    auto t00 = zero, t10 = zero, t01 = zero, t20 = zero, t11 = zero;
    auto t02 = zero, t30 = zero, t21 = zero, t12 = zero, t03 = zero;
    for (size_t begin = 0; begin < kTile; begin += hn::Lanes(d))
    {
        PairSums<Pixels> k0, k1, k2, k3;
        for (uint32_t y = 0; y < kTile; y += 2)
        {
            const auto row = [&](size_t at) HWY_ATTR
            { return hn::PromoteTo(d, hn::Min(hn::LoadU(d8, tile + at * stride + begin), most)); };
            const auto rows = pairUp(d, row(y), row(y + 1));
            const auto add = [&](PairSums<Pixels>& sum, uint32_t weightA, uint32_t weightB) HWY_ATTR
            { sum.add(rows, static_cast<int16_t>(weightA), static_cast<int16_t>(weightB)); };
            const uint32_t z = y + 1;
            add(k0, 1, 1);
            add(k1, y, z);
            add(k2, y * y, z * z);
            add(k3, y * y * y, z * z * z);
        }
        // Of each eight columns the lower sums have the first four.
        const auto lane = hn::Iota(d32, 0);
        const auto x =
            hn::Add(hn::Add(lane, hn::And(lane, hn::Set(d32, ~3))), hn::Set(d32, static_cast<int32_t>(begin)));
        const auto weigh = [&](auto at, auto s0, auto s1, auto s2, auto s3) HWY_ATTR
        {
            const auto xs0 = hn::Mul(at, s0);
            const auto xxs0 = hn::Mul(at, xs0);
            const auto xs1 = hn::Mul(at, s1);
            t00 = hn::Add(t00, s0);
            t10 = hn::Add(t10, xs0);
            t01 = hn::Add(t01, s1);
            t20 = hn::Add(t20, xxs0);
            t11 = hn::Add(t11, xs1);
            t02 = hn::Add(t02, s2);
            t30 = hn::Add(t30, hn::Mul(at, xxs0));
            t21 = hn::Add(t21, hn::Mul(at, xs1));
            t12 = hn::Add(t12, hn::Mul(at, s2));
            t03 = hn::Add(t03, s3);
        };
        weigh(x, k0.lower, k1.lower, k2.lower, k3.lower);
        weigh(hn::Add(x, hn::Set(d32, 4)), k0.upper, k1.upper, k2.upper, k3.upper);
    }
    const auto total = [&](auto v) HWY_ATTR { return static_cast<double>(hn::GetLane(hn::SumOfLanes(d32, v))); };
    moments[0] = total(t00);
    moments[1] = total(t10);
    moments[2] = total(t01);
    moments[3] = total(t20);
    moments[4] = total(t11);
    moments[5] = total(t02);
    moments[6] = total(t30);
    moments[7] = total(t21);
    moments[8] = total(t12);
    moments[9] = total(t03);
}

using Doubles = hn::CappedTag<double, 8>;

// Sums down the columns of a tile of 32-bit elements.
template <class T>
HWY_INLINE ColumnMoments sumColumns(const T* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary)
{
    const Doubles d;
    const hn::Rebind<T, Doubles> dPixel;
    const size_t lanes = hn::Lanes(d);
    ColumnMoments columns{};
    // Several vectors at once share the weights of a row.
    const auto sum = [&](const T* column, size_t pitch, size_t x, auto together) HWY_ATTR
    {
        constexpr size_t n = decltype(together)::value;
        hn::Vec<Doubles> k0[n], k1[n], k2[n], k3[n];
        for (size_t i = 0; i < n; ++i)
        {
            k0[i] = k1[i] = k2[i] = k3[i] = hn::Zero(d);
        }
        for (uint32_t y = 0; y < height; ++y)
        {
            const auto weight1 = hn::Set(d, y);
            const auto weight2 = hn::Set(d, y * y);
            const auto weight3 = hn::Set(d, y * y * y);
            for (size_t i = 0; i < n; ++i)
            {
                auto pixels = hn::LoadU(dPixel, column + y * pitch + i * lanes);
                if (binary != 0)
                {
                    pixels = hn::IfThenZeroElse(hn::Eq(pixels, hn::Zero(dPixel)), hn::Set(dPixel, T{1}));
                }
                const auto value = hn::PromoteTo(d, pixels);
                k0[i] = hn::Add(k0[i], value);
                k1[i] = hn::Add(k1[i], hn::Mul(weight1, value));
                k2[i] = hn::Add(k2[i], hn::Mul(weight2, value));
                k3[i] = hn::Add(k3[i], hn::Mul(weight3, value));
            }
        }
        for (size_t i = 0; i < n; ++i)
        {
            const size_t at = x + i * lanes;
            hn::Store(k0[i], d, columns.k[0] + at);
            hn::Store(k1[i], d, columns.k[1] + at);
            hn::Store(k2[i], d, columns.k[2] + at);
            hn::Store(k3[i], d, columns.k[3] + at);
        }
    };
    constexpr size_t kTogether = HWY_ARCH_ARM ? 4 : 2;
    const std::integral_constant<size_t, 1> single;
    const size_t pitch = stride / sizeof(T);
    size_t x = 0;
    for (; x + kTogether * lanes <= width; x += kTogether * lanes)
    {
        sum(tile + x, pitch, x, std::integral_constant<size_t, kTogether>());
    }
    for (; x + lanes <= width; x += lanes)
    {
        sum(tile + x, pitch, x, single);
    }
    if (x < width)
    {
        T rest[kTile * hn::MaxLanes(d)] = {};
        for (size_t y = 0; y < height; ++y)
        {
            std::copy_n(tile + y * pitch + x, width - x, rest + y * lanes);
        }
        sum(rest, lanes, x, single);
    }
    return columns;
}

void tiles32(const int32_t* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary, double moments[10])
{
    foldExactColumns(sumColumns(tile, width, height, stride, binary), moments);
}

void tilef32(const float* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary, double moments[10])
{
    foldColumns(sumColumns(tile, width, height, stride, binary), moments);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(tileu8);
HWY_EXPORT(tiles32);
HWY_EXPORT(tilef32);
}  // namespace visora

using namespace visora;

void vsrMomentsInTileu8V(const uint8_t* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                         double moments[10])
{
    HWY_DYNAMIC_DISPATCH(tileu8)(tile, width, height, stride, binary, moments);
}

void vsrMomentsInTiles32V(const int32_t* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                          double moments[10])
{
    HWY_DYNAMIC_DISPATCH(tiles32)(tile, width, height, stride, binary, moments);
}

void vsrMomentsInTilef32V(const float* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                          double moments[10])
{
    HWY_DYNAMIC_DISPATCH(tilef32)(tile, width, height, stride, binary, moments);
}

vsrStatus vsrImageMomentsu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t binary, vsrMoments* moments)
{
    momentsByTiles(src, srcWidth, srcHeight, srcStride, binary, moments, vsrMomentsInTileu8V);
    return VISORA_SUCCESS;
}

vsrStatus vsrImageMomentss32V(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint32_t binary, vsrMoments* moments)
{
    momentsByTiles(src, srcWidth, srcHeight, srcStride, binary, moments, vsrMomentsInTiles32V);
    return VISORA_SUCCESS;
}

vsrStatus vsrImageMomentsf32V(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint32_t binary, vsrMoments* moments)
{
    momentsByTiles(src, srcWidth, srcHeight, srcStride, binary, moments, vsrMomentsInTilef32V);
    return VISORA_SUCCESS;
}

#endif
