// The integer Haar wavelet, vector variants: lanes are pairs of columns, two rows at once.
#include "cpu/wavelet/visoraHaar.h"
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/wavelet/visoraHaarV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Samples16 = hn::ScalableTag<int16_t>;

struct VectorPair
{
    using V = hn::Vec<Samples16>;

    static HWY_INLINE VectorPair of(V even, V odd)
    {
        const V high = hn::Sub(odd, even);
        return {hn::Add(even, hn::ShiftRight<1>(high)), high};
    }

    static HWY_INLINE VectorPair load(const int16_t* from)
    {
        const hn::RebindToUnsigned<Samples16> d;
        hn::Vec<decltype(d)> even;
        hn::Vec<decltype(d)> odd;
        loadEvenOdd(d, reinterpret_cast<const uint16_t*>(from), even, odd);
        return of(hn::BitCast(Samples16(), even), hn::BitCast(Samples16(), odd));
    }

    HWY_INLINE V even() const { return hn::Sub(low, hn::ShiftRight<1>(high)); }
    HWY_INLINE V odd() const { return hn::Add(high, even()); }

    HWY_INLINE void store(int16_t* to) const
    {
        const Samples16 d;
        const V first = even();
        hn::StoreInterleaved2(first, hn::Add(high, first), d, to);
    }

    V low;
    V high;
};

vsrStatus haarForwardRows(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int16_t* ll,
                          int16_t* hl, int16_t* lh, int16_t* hh, uint32_t bandStride)
{
    const Samples16 d;
    const HaarBands<int16_t> bands = {ll, hl, lh, hh, bandStride};
    const size_t pairs = srcWidth / 2;
    const size_t lanes = hn::Lanes(d);
    for (size_t y = 0; 2 * y < srcHeight; ++y)
    {
        const bool hasNext = 2 * y + 1 < srcHeight;
        const int16_t* row = planeRow(src, srcStride, 2 * y);
        const int16_t* next = hasNext ? planeRow(src, srcStride, 2 * y + 1) : nullptr;
        const HaarRows<int16_t> out = bands.rows(y, hasNext);
        size_t x = 0;
        if (pairs >= lanes)
        {
            coverRange(0, pairs, lanes,
                       [&](size_t i) HWY_ATTR
                       {
                           const VectorPair first = VectorPair::load(row + 2 * i);
                           if (!next)
                           {
                               hn::StoreU(first.low, d, out.ll + i);
                               hn::StoreU(first.high, d, out.hl + i);
                               return;
                           }
                           const VectorPair second = VectorPair::load(next + 2 * i);
                           const VectorPair low = VectorPair::of(first.low, second.low);
                           const VectorPair high = VectorPair::of(first.high, second.high);
                           hn::StoreU(low.low, d, out.ll + i);
                           hn::StoreU(low.high, d, out.lh + i);
                           hn::StoreU(high.low, d, out.hl + i);
                           hn::StoreU(high.high, d, out.hh + i);
                       });
            x = pairs;
        }
        for (; 2 * x < srcWidth; ++x)
        {
            haarForward(row, next, srcWidth, x, out);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus haarInverseRows(const int16_t* ll, const int16_t* hl, const int16_t* lh, const int16_t* hh, uint32_t dstWidth,
                          uint32_t dstHeight, uint32_t bandStride, int16_t* dst, uint32_t dstStride)
{
    const Samples16 d;
    const HaarBands<const int16_t> bands = {ll, hl, lh, hh, bandStride};
    const size_t pairs = dstWidth / 2;
    const size_t lanes = hn::Lanes(d);
    for (size_t y = 0; 2 * y < dstHeight; ++y)
    {
        const bool hasNext = 2 * y + 1 < dstHeight;
        int16_t* row = planeRow(dst, dstStride, 2 * y);
        int16_t* next = hasNext ? planeRow(dst, dstStride, 2 * y + 1) : nullptr;
        const HaarRows<const int16_t> in = bands.rows(y, hasNext);
        size_t x = 0;
        if (pairs >= lanes)
        {
            coverRange(0, pairs, lanes,
                       [&](size_t i) HWY_ATTR
                       {
                           const auto lowest = hn::LoadU(d, in.ll + i);
                           const auto across = hn::LoadU(d, in.hl + i);
                           if (!hasNext)
                           {
                               VectorPair{lowest, across}.store(row + 2 * i);
                               return;
                           }
                           const VectorPair low = {lowest, hn::LoadU(d, in.lh + i)};
                           const VectorPair high = {across, hn::LoadU(d, in.hh + i)};
                           VectorPair{low.even(), high.even()}.store(row + 2 * i);
                           VectorPair{low.odd(), high.odd()}.store(next + 2 * i);
                       });
            x = pairs;
        }
        for (; 2 * x < dstWidth; ++x)
        {
            haarInverse(in, dstWidth, x, row, next);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrHaarForwards16, haarForwardRows);
VSR_VECTOR(vsrHaarInverses16, haarInverseRows);
#endif
