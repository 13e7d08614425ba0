// Doubled images, vector variants.
#include "cpu/scale/visoraScaleUp.h"
#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleUpV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class V>
HWY_INLINE V timesThree(V v)
{
    return hn::Add(hn::Add(v, v), v);
}

template <class V>
HWY_INLINE V timesSix(V v)
{
    return hn::ShiftLeft<1>(timesThree(v));
}

// What two output rows take from the columns of three source rows, and two output columns from three such sums.
struct Linear
{
    template <class V>
    HWY_INLINE static void down(V above, V row, V below, V& upper, V& lower)
    {
        const V most = timesThree(row);
        upper = hn::Add(most, above);
        lower = hn::Add(most, below);
    }

    template <class D, class V>
    HWY_INLINE static void along(D d, V before, V sum, V after, V& even, V& odd)
    {
        const V most = hn::Add(timesThree(sum), hn::Set(d, 8));
        even = hn::ShiftRight<4>(hn::Add(most, before));
        odd = hn::ShiftRight<4>(hn::Add(most, after));
    }
};

struct Binomial
{
    template <class V>
    HWY_INLINE static void down(V above, V row, V below, V& upper, V& lower)
    {
        upper = hn::Add(timesSix(row), hn::Add(above, below));
        lower = hn::ShiftLeft<2>(hn::Add(row, below));
    }

    template <class D, class V>
    HWY_INLINE static void along(D d, V before, V sum, V after, V& even, V& odd)
    {
        const auto rounding = hn::Set(d, 32);
        even = hn::ShiftRight<6>(hn::Add(hn::Add(timesSix(sum), rounding), hn::Add(before, after)));
        odd = hn::ShiftRight<6>(hn::Add(hn::ShiftLeft<2>(hn::Add(sum, after)), rounding));
    }
};

struct SourceRows
{
    const uint8_t* above;
    const uint8_t* row;
    const uint8_t* below;
};

constexpr size_t kChunk = 512;

// The sums down the columns of a chunk, with those on either side of it.
struct Sums
{
    uint16_t upper[kChunk + 2];
    uint16_t lower[kChunk + 2];
};

template <class Weights, class D>
HWY_INLINE void sumColumns(D d, const SourceRows& rows, size_t column, Sums& sums, size_t to)
{
    const hn::Rebind<uint8_t, D> d8;
    hn::Vec<D> upper, lower;
    Weights::down(hn::PromoteTo(d, hn::LoadU(d8, rows.above + column)),
                  hn::PromoteTo(d, hn::LoadU(d8, rows.row + column)),
                  hn::PromoteTo(d, hn::LoadU(d8, rows.below + column)), upper, lower);
    hn::StoreU(upper, d, sums.upper + to);
    hn::StoreU(lower, d, sums.lower + to);
}

template <class Weights, class D>
HWY_INLINE void doubleColumns(D d, const uint16_t* sums, size_t count, uint8_t* out)
{
    coverRange(0, count, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   hn::Vec<D> even, odd;
                   Weights::along(d, hn::LoadU(d, sums + x), hn::LoadU(d, sums + x + 1), hn::LoadU(d, sums + x + 2),
                                  even, odd);
                   hn::StoreU(bytesInTurn(d, even, odd), d, reinterpret_cast<uint16_t*>(out + 2 * x));
               });
}

// Columns outside the image repeat the edge, rows likewise.
template <class Weights>
HWY_INLINE bool doubleImage(const uint8_t* src, size_t width, size_t height, size_t srcStride, uint8_t* dst,
                            size_t dstStride)
{
    const hn::CappedTag<uint16_t, 1> single;
    const size_t chunk = HWY_MIN(width, kChunk);
    return withFittingVector<uint16_t>(
        width,
        [&](auto d) HWY_ATTR
        {
            Sums sums;
            for (size_t y = 0; y < height; ++y)
            {
                const uint8_t* row = src + y * srcStride;
                const SourceRows rows = {y > 0 ? row - srcStride : row, row, y + 1 < height ? row + srcStride : row};
                uint8_t* out = dst + 2 * y * dstStride;
                coverRange(0, width, chunk,
                           [&](size_t begin) HWY_ATTR
                           {
                               sumColumns<Weights>(single, rows, begin - HWY_MIN(begin, 1), sums, 0);
                               sumColumns<Weights>(single, rows, HWY_MIN(begin + chunk, width - 1), sums, chunk + 1);
                               coverRange(0, chunk, hn::Lanes(d),
                                          [&](size_t x) HWY_ATTR
                                          { sumColumns<Weights>(d, rows, begin + x, sums, x + 1); });
                               doubleColumns<Weights>(d, sums.upper, chunk, out + 2 * begin);
                               doubleColumns<Weights>(d, sums.lower, chunk, out + 2 * begin + dstStride);
                           });
            }
        });
}

bool doubleLinear(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                  uint32_t dstStride)
{
    return doubleImage<Linear>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

// Where taps are left out, at the frame, the divisors are others.
bool doubleBinomial(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    if (!doubleImage<Binomial>(src, srcWidth, srcHeight, srcStride, dst, dstStride))
    {
        return false;
    }
    const size_t dstWidth = size_t{srcWidth} * 2;
    const size_t dstHeight = size_t{srcHeight} * 2;
    const auto set = [&](size_t x, size_t y)
    { dst[y * dstStride + x] = binomialPixel(src, srcWidth, srcHeight, srcStride, x, y); };
    for (const size_t y : {size_t{0}, dstHeight - 2, dstHeight - 1})
    {
        for (size_t x = 0; x < dstWidth; ++x)
        {
            set(x, y);
        }
    }
    for (size_t y = 1; y < dstHeight - 2; ++y)
    {
        set(0, y);
        set(dstWidth - 2, y);
        set(dstWidth - 1, y);
    }
    return true;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrScaleUpBy2u8, doubleLinear);
VSR_VECTOR(vsrScaleUpBy2Gaussian5x5u8, doubleBinomial);

#endif
