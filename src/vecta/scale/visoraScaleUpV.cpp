// Doubled images, vector variants.
#include <cstddef>

#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleUpV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraStream-inl.h"
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

constexpr size_t kChunk = 2048;

// The sums down the columns of a chunk, with those on either side of it.
struct Sums
{
    uint16_t upper[kChunk + 2];
    uint16_t lower[kChunk + 2];
};

// A chunk's part of an output row, from sums that begin beside its first column.
struct ChunkRow
{
    const uint16_t* sums;
    size_t count;
    bool isFirst;
    bool isLast;
    uint8_t* out;
};

// body(d, before, sum, after, even, odd) makes two output columns of each column.
template <class D, class Body>
HWY_INLINE void doubleColumns(D d, const ChunkRow& row, Body body)
{
    coverRange(0, row.count, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   hn::Vec<D> even, odd;
                   body(hn::LoadU(d, row.sums + x), hn::LoadU(d, row.sums + x + 1), hn::LoadU(d, row.sums + x + 2),
                        even, odd);
                   hn::StoreU(bytesInTurn(d, even, odd), d, reinterpret_cast<uint16_t*>(row.out + 2 * x));
               });
}

// Two output rows from the columns of three source rows, and two output columns from three such sums.
struct Linear
{
    static constexpr bool kRepeatsEdge = true;

    template <class V>
    HWY_INLINE static void down(V above, V row, V below, V& upper, V& lower)
    {
        const V most = timesThree(row);
        upper = hn::Add(most, above);
        lower = hn::Add(most, below);
    }

    template <class D>
    HWY_INLINE static void along(D d, const ChunkRow& row, uint32_t /*rowWeight*/)
    {
#if HWY_ARCH_ARM
        if (row.count >= 16)
        {
            const auto three = vdupq_n_u16(3);
            const auto eight = [=](const uint16_t* beside, const uint16_t* sums) HWY_ATTR
            { return vmlaq_u16(vld1q_u16(beside), vld1q_u16(sums), three); };
            const auto sixteen = [=](const uint16_t* beside, const uint16_t* sums) HWY_ATTR
            { return vrshrn_high_n_u16(vrshrn_n_u16(eight(beside, sums), 4), eight(beside + 8, sums + 8), 4); };
            coverRange(0, row.count, 16,
                       [&](size_t x) HWY_ATTR
                       {
                           const uint16_t* sums = row.sums + x;
                           const uint8x16x2_t both = {{sixteen(sums, sums + 1), sixteen(sums + 2, sums + 1)}};
                           vst2q_u8(row.out + 2 * x, both);
                       });
            return;
        }
#endif
        doubleColumns(d, row,
                      [d](auto before, auto sum, auto after, auto& even, auto& odd) HWY_ATTR
                      {
                          const auto most = hn::Add(timesThree(sum), hn::Set(d, 8));
                          even = hn::ShiftRight<4>(hn::Add(most, before));
                          odd = hn::ShiftRight<4>(hn::Add(most, after));
                      });
    }
};

// What lies outside counts as 0; where it would have had weight the divisors are smaller.
struct Binomial
{
    static constexpr bool kRepeatsEdge = false;
    static constexpr uint32_t kWeight = 8;  // of all taps of one axis

    template <class V>
    HWY_INLINE static void down(V above, V row, V below, V& upper, V& lower)
    {
        upper = hn::Add(timesSix(row), hn::Add(above, below));
        lower = hn::ShiftLeft<2>(hn::Add(row, below));
    }

    // `rowWeight`: the weights of the rows that lie inside, 8, 7 or 4.
    template <class D>
    HWY_INLINE static void along(D d, const ChunkRow& row, uint32_t rowWeight)
    {
        switch (rowWeight)
        {
            case 8:
                weigh(d, row, 32, [](auto sum) HWY_ATTR { return hn::ShiftRight<6>(sum); });
                break;
            case 7:
                // By 8, then by 7: 2^16 / 7 rounded up is too large by less than 1 / 7 of what is divided, 2043 at
                // most.
                weigh(d, row, 28,
                      [d](auto sum) HWY_ATTR { return hn::MulHigh(hn::ShiftRight<3>(sum), hn::Set(d, 9363)); });
                break;
            default:
                weigh(d, row, 16, [](auto sum) HWY_ATTR { return hn::ShiftRight<5>(sum); });
                break;
        }
        const auto mean = [rowWeight](uint32_t sum, uint32_t columnWeight)
        {
            const uint32_t total = rowWeight * columnWeight;
            return static_cast<uint8_t>((2 * sum + total) / (2 * total));
        };
        if (row.isFirst)
        {
            row.out[0] = mean(6 * uint32_t{row.sums[1]} + row.sums[2], kWeight - 1);
        }
        if (row.isLast)
        {
            const uint16_t* last = row.sums + row.count;
            row.out[2 * row.count - 2] = mean(6 * uint32_t{last[0]} + last[-1], kWeight - 1);
            row.out[2 * row.count - 1] = mean(4 * uint32_t{last[0]}, kWeight / 2);
        }
    }

  private:
    template <class D, class Divide>
    HWY_INLINE static void weigh(D d, const ChunkRow& row, uint16_t half, Divide divide)
    {
        doubleColumns(d, row,
                      [=](auto before, auto sum, auto after, auto& even, auto& odd) HWY_ATTR
                      {
                          const auto rounding = hn::Set(d, half);
                          even = divide(hn::Add(hn::Add(timesSix(sum), rounding), hn::Add(before, after)));
                          odd = divide(hn::Add(hn::ShiftLeft<2>(hn::Add(sum, after)), rounding));
                      });
    }
};

// From a chunk's first column on.
struct SourceRows
{
    const uint8_t* above;
    const uint8_t* row;
    const uint8_t* below;
};

template <class Weights, class D>
HWY_INLINE void sumColumns(D d, const SourceRows& rows, ptrdiff_t column, Sums& sums, size_t to)
{
    const hn::Rebind<uint8_t, D> d8;
    hn::Vec<D> upper, lower;
    Weights::down(hn::PromoteTo(d, hn::LoadU(d8, rows.above + column)),
                  hn::PromoteTo(d, hn::LoadU(d8, rows.row + column)),
                  hn::PromoteTo(d, hn::LoadU(d8, rows.below + column)), upper, lower);
    hn::StoreU(upper, d, sums.upper + to);
    hn::StoreU(lower, d, sums.lower + to);
}

// The sum beside a chunk, `column` if that is inside, else the edge's, `edge`, or none.
template <class Weights>
HWY_INLINE void sumBeside(const SourceRows& rows, bool isInside, ptrdiff_t column, ptrdiff_t edge, Sums& sums,
                          size_t to)
{
    if (isInside || Weights::kRepeatsEdge)
    {
        return sumColumns<Weights>(hn::CappedTag<uint16_t, 1>(), rows, isInside ? column : edge, sums, to);
    }
    sums.upper[to] = sums.lower[to] = 0;
}

template <class Weights>
HWY_INLINE bool doubleImage(const uint8_t* src, size_t width, size_t height, size_t srcStride, uint8_t* dst,
                            size_t dstStride)
{
    static constexpr uint8_t kNothing[kChunk + 2] = {};
    // Chunks of about one size: the last one overlaps the one before it by less than a vector each.
    constexpr size_t kUnit = 32;
    const size_t chunks = (width + kChunk - 1) / kChunk;
    const size_t chunk = HWY_MIN(width, ((width + chunks - 1) / chunks + kUnit - 1) / kUnit * kUnit);
    const auto last = static_cast<ptrdiff_t>(chunk) - 1;
    return withFittingVector<uint16_t>(
        width,
        [&](auto d) HWY_ATTR
        {
            Sums sums;
            // What the last cache cannot hold goes past it, a chunk's row at a time.
            const bool isFar = isStreamed(4 * width * height, kStreamedInOrder);
            uint8_t pieces[2][2 * kChunk];
            for (size_t y = 0; y < height; ++y)
            {
                const bool isTop = y == 0;
                const bool isBottom = y + 1 == height;
                uint8_t* out = dst + 2 * y * dstStride;
                coverRange(0, width, chunk,
                           [&](size_t begin) HWY_ATTR
                           {
                               const uint8_t* row = src + y * srcStride + begin;
                               const uint8_t* outside = Weights::kRepeatsEdge ? row : kNothing + 1;
                               const SourceRows rows = {isTop ? outside : row - srcStride, row,
                                                        isBottom ? outside : row + srcStride};
                               const bool isFirst = begin == 0;
                               const bool isLast = begin + chunk == width;
                               sumBeside<Weights>(rows, !isFirst, -1, 0, sums, 0);
                               sumBeside<Weights>(rows, !isLast, last + 1, last, sums, chunk + 1);
                               coverRange(0, chunk, hn::Lanes(d),
                                          [&](size_t x) HWY_ATTR
                                          { sumColumns<Weights>(d, rows, static_cast<ptrdiff_t>(x), sums, x + 1); });
                               uint8_t* const upper = out + 2 * begin;
                               uint8_t* const lower = upper + dstStride;
                               Weights::along(d, {sums.upper, chunk, isFirst, isLast, isFar ? pieces[0] : upper},
                                              8u - isTop - isBottom);
                               Weights::along(d, {sums.lower, chunk, isFirst, isLast, isFar ? pieces[1] : lower},
                                              isBottom ? 4u : 8u);
                               if (isFar)
                               {
                                   streamBytes(upper, pieces[0], 2 * chunk);
                                   streamBytes(lower, pieces[1], 2 * chunk);
                               }
                           });
            }
            if (isFar)
            {
                hwy::FlushStream();
            }
        });
}

bool doubleLinear(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                  uint32_t dstStride)
{
    return doubleImage<Linear>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

// A single row has divisors of its own.
bool doubleBinomial(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    return srcHeight > 1 && doubleImage<Binomial>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrScaleUpBy2u8, doubleLinear);
VSR_VECTOR(vsrScaleUpBy2Gaussian5x5u8, doubleBinomial);

#endif
