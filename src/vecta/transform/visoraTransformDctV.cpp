// Block cosine transform, vector variants: a block in every 128 bits, lanes along its rows.
#include "cpu/transform/visoraTransformDct.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/transform/visoraTransformDctV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraPairSums-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class D>
struct Rows
{
    hn::Vec<D> r0, r1, r2, r3, r4, r5, r6, r7;
};

template <class D>
HWY_INLINE Rows<D> transposed(D d, const Rows<D>& r)
{
    const hn::Repartition<int32_t, D> d32;
    const hn::Repartition<int64_t, D> d64;
    const auto low16 = [&](auto a, auto b) HWY_ATTR { return hn::BitCast(d32, hn::InterleaveLower(d, a, b)); };
    const auto high16 = [&](auto a, auto b) HWY_ATTR { return hn::BitCast(d32, hn::InterleaveUpper(d, a, b)); };
    const auto low32 = [&](auto a, auto b) HWY_ATTR { return hn::BitCast(d64, hn::InterleaveLower(d32, a, b)); };
    const auto high32 = [&](auto a, auto b) HWY_ATTR { return hn::BitCast(d64, hn::InterleaveUpper(d32, a, b)); };
    const auto low64 = [&](auto a, auto b) HWY_ATTR { return hn::BitCast(d, hn::InterleaveLower(d64, a, b)); };
    const auto high64 = [&](auto a, auto b) HWY_ATTR { return hn::BitCast(d, hn::InterleaveUpper(d64, a, b)); };
    const auto a0 = low16(r.r0, r.r1), a1 = low16(r.r2, r.r3), a2 = low16(r.r4, r.r5), a3 = low16(r.r6, r.r7);
    const auto a4 = high16(r.r0, r.r1), a5 = high16(r.r2, r.r3), a6 = high16(r.r4, r.r5), a7 = high16(r.r6, r.r7);
    const auto b0 = low32(a0, a1), b1 = high32(a0, a1), b2 = low32(a2, a3), b3 = high32(a2, a3);
    const auto b4 = low32(a4, a5), b5 = high32(a4, a5), b6 = low32(a6, a7), b7 = high32(a6, a7);
    return {low64(b0, b2), high64(b0, b2), low64(b1, b3), high64(b1, b3),
            low64(b4, b6), high64(b4, b6), low64(b5, b7), high64(b5, b7)};
}

// The sum over pairs of rows, shifted down with rounding and cut to 16 bits.
template <int shift, class D>
HWY_INLINE hn::Vec<D> narrowed(D d, const PairSums<D>& sums)
{
    const hn::RepartitionToWide<D> d32;
    const auto half = hn::Set(d32, 1 << (shift - 1));
    return hn::ReorderDemote2To(d, hn::ShiftRight<shift>(hn::Add(sums.lower, half)),
                                hn::ShiftRight<shift>(hn::Add(sums.upper, half)));
}

// Pixels: sums and differences of opposite rows fit 16 bits.
template <class D>
HWY_INLINE Rows<D> forwardColumns(D d, const Rows<D>& p)
{
    const auto s01 = pairUp(d, hn::Add(p.r0, p.r7), hn::Add(p.r1, p.r6));
    const auto s23 = pairUp(d, hn::Add(p.r2, p.r5), hn::Add(p.r3, p.r4));
    const auto d01 = pairUp(d, hn::Sub(p.r0, p.r7), hn::Sub(p.r1, p.r6));
    const auto d23 = pairUp(d, hn::Sub(p.r2, p.r5), hn::Sub(p.r3, p.r4));
    const auto row = [&](size_t k) HWY_ATTR
    {
        PairSums<D> sums;
        sums.add(k % 2 == 0 ? s01 : d01, kCosines[k][0], kCosines[k][1]);
        sums.add(k % 2 == 0 ? s23 : d23, kCosines[k][2], kCosines[k][3]);
        return narrowed<kForwardShift1>(d, sums);
    };
    return {row(0), row(1), row(2), row(3), row(4), row(5), row(6), row(7)};
}

template <class D>
HWY_INLINE Rows<D> forwardRows(D d, const Rows<D>& t)
{
    const auto t07 = pairUp(d, t.r0, t.r7);
    const auto t16 = pairUp(d, t.r1, t.r6);
    const auto t25 = pairUp(d, t.r2, t.r5);
    const auto t34 = pairUp(d, t.r3, t.r4);
    const auto row = [&](size_t k) HWY_ATTR
    {
        PairSums<D> sums;
        sums.add(t07, kCosines[k][0], kCosines[k][7]);
        sums.add(t16, kCosines[k][1], kCosines[k][6]);
        sums.add(t25, kCosines[k][2], kCosines[k][5]);
        sums.add(t34, kCosines[k][3], kCosines[k][4]);
        return narrowed<kForwardShift2>(d, sums);
    };
    return {row(0), row(1), row(2), row(3), row(4), row(5), row(6), row(7)};
}

// Opposite rows of the result have the same even part and the odd part with the other sign.
template <int shift, class D>
HWY_INLINE Rows<D> inversePass(D d, const Rows<D>& f)
{
    const auto f04 = pairUp(d, f.r0, f.r4);
    const auto f26 = pairUp(d, f.r2, f.r6);
    const auto f13 = pairUp(d, f.r1, f.r3);
    const auto f57 = pairUp(d, f.r5, f.r7);
    const auto even = [&](size_t j) HWY_ATTR
    {
        PairSums<D> sums;
        sums.add(f04, kCosines[0][j], kCosines[4][j]);
        sums.add(f26, kCosines[2][j], kCosines[6][j]);
        return sums;
    };
    const auto odd = [&](size_t j) HWY_ATTR
    {
        PairSums<D> sums;
        sums.add(f13, kCosines[1][j], kCosines[3][j]);
        sums.add(f57, kCosines[5][j], kCosines[7][j]);
        return sums;
    };
    const auto upper = [&](const PairSums<D>& e, const PairSums<D>& o) HWY_ATTR
    { return narrowed<shift>(d, PairSums<D>(hn::Add(e.lower, o.lower), hn::Add(e.upper, o.upper))); };
    const auto lower = [&](const PairSums<D>& e, const PairSums<D>& o) HWY_ATTR
    { return narrowed<shift>(d, PairSums<D>(hn::Sub(e.lower, o.lower), hn::Sub(e.upper, o.upper))); };
    const auto e0 = even(0), e1 = even(1), e2 = even(2), e3 = even(3);
    const auto o0 = odd(0), o1 = odd(1), o2 = odd(2), o3 = odd(3);
    return {upper(e0, o0), upper(e1, o1), upper(e2, o2), upper(e3, o3),
            lower(e3, o3), lower(e2, o2), lower(e1, o1), lower(e0, o0)};
}

// Rows that load(row) gives, and to store(row, v).
template <class D, class Load>
HWY_INLINE Rows<D> loadRows(Load load)
{
    return {load(0), load(1), load(2), load(3), load(4), load(5), load(6), load(7)};
}

template <class D, class Store>
HWY_INLINE void storeRows(const Rows<D>& rows, Store store)
{
    store(0, rows.r0);
    store(1, rows.r1);
    store(2, rows.r2);
    store(3, rows.r3);
    store(4, rows.r4);
    store(5, rows.r5);
    store(6, rows.r6);
    store(7, rows.r7);
}

// Calls step(d, x) over the blocks of a row of blocks, several at once.
template <class Step>
HWY_INLINE void forBlockRow(size_t width, Step step)
{
    withFittingVector<int16_t>(
        width, [&](auto d) HWY_ATTR { coverRange(0, width, hn::Lanes(d), [&](size_t x) HWY_ATTR { step(d, x); }); });
}

vsrStatus dctForward(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int16_t* dst,
                     uint32_t dstStride)
{
    const size_t pitch = dstStride / sizeof(int16_t);
    for (size_t y = 0; y < srcHeight; y += kBlock)
    {
        const uint8_t* from = src + y * srcStride;
        int16_t* to = dst + y * pitch;
        forBlockRow(srcWidth,
                    [&](auto d, size_t x) HWY_ATTR
                    {
                        using D = decltype(d);
                        const hn::Rebind<uint8_t, D> d8;
                        const auto p =
                            loadRows<D>([&](size_t row) HWY_ATTR
                                        { return hn::PromoteTo(d, hn::LoadU(d8, from + row * srcStride + x)); });
                        const Rows<D> t = transposed(d, forwardColumns(d, p));
                        const Rows<D> f = transposed(d, forwardRows(d, t));
                        storeRows(f, [&](size_t row, auto v) HWY_ATTR { hn::StoreU(v, d, to + row * pitch + x); });
                    });
    }
    return VISORA_SUCCESS;
}

vsrStatus dctInverse(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                     uint32_t dstStride)
{
    const size_t pitch = srcStride / sizeof(int16_t);
    for (size_t y = 0; y < srcHeight; y += kBlock)
    {
        const int16_t* from = src + y * pitch;
        uint8_t* to = dst + y * dstStride;
        forBlockRow(srcWidth,
                    [&](auto d, size_t x) HWY_ATTR
                    {
                        using D = decltype(d);
                        const hn::Rebind<uint8_t, D> d8;
                        const auto f =
                            loadRows<D>([&](size_t row) HWY_ATTR { return hn::LoadU(d, from + row * pitch + x); });
                        const Rows<D> t = transposed(d, inversePass<kInverseShift1>(d, f));
                        const Rows<D> p = transposed(d, inversePass<kInverseShift2>(d, t));
                        storeRows(p, [&](size_t row, auto v) HWY_ATTR
                                  { hn::StoreU(hn::DemoteTo(d8, v), d8, to + row * dstStride + x); });
                    });
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrDCTu8, dctForward);
VSR_VECTOR(vsrIDCTs16u8, dctInverse);

#endif
