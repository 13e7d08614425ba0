// Downscalers by area averages of any ratio, vector variants.
#include <algorithm>
#include <bit>
#include <cstring>

#include "cpu/scale/visoraScaleMap.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleAreaV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/scale/visoraScaleBoxes.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Words = hn::ScalableTag<uint16_t>;

// Outputs are made in blocks of a 128-bit vector of sums.
constexpr size_t kBlock = 8;
using BlockTag = hn::FixedTag<uint16_t, kBlock>;

// Columns that vectors may touch behind the last one.
constexpr size_t kSlack = 256;
// Longest run that is summed by adding shifted vectors, and the most pixels that a 16-bit reciprocal divides by.
constexpr uint32_t kMaxRun = 20;
constexpr uint32_t kMaxDivisor = 128;

// Rows of 255 that a 16-bit sum holds.
constexpr uint32_t kMaxRows = 257;

// Sums of columns over `rows` rows.
HWY_INLINE void sumColumns(const uint8_t* src, size_t stride, size_t rows, size_t width, uint16_t* sums)
{
    const Words d;
    const hn::Rebind<uint8_t, Words> d8;
    const size_t lanes = hn::Lanes(d);
    size_t begin = 0;
#if HWY_ARCH_ARM
    for (; begin + 4 * lanes <= width; begin += 4 * lanes)
    {
        const uint8_t* pixels = src + begin;
        uint8x16_t a = vld1q_u8(pixels);
        uint8x16_t b = vld1q_u8(pixels + 16);
        uint16x8_t s0 = vmovl_u8(vget_low_u8(a)), s1 = vmovl_high_u8(a), s2 = vmovl_u8(vget_low_u8(b)),
                   s3 = vmovl_high_u8(b);
        for (size_t j = 1; j < rows; ++j)
        {
            pixels += stride;
            a = vld1q_u8(pixels);
            b = vld1q_u8(pixels + 16);
            s0 = vaddw_u8(s0, vget_low_u8(a));
            s1 = vaddw_high_u8(s1, a);
            s2 = vaddw_u8(s2, vget_low_u8(b));
            s3 = vaddw_high_u8(s3, b);
        }
        vst1q_u16(sums + begin, s0);
        vst1q_u16(sums + begin + 8, s1);
        vst1q_u16(sums + begin + 16, s2);
        vst1q_u16(sums + begin + 24, s3);
    }
    if (begin == width)
    {
        return;
    }
    begin = std::min(begin, width - 2 * lanes);
#endif
    coverRange(begin, width, 2 * lanes,
               [&](size_t x) HWY_ATTR
               {
                   const uint8_t* pixels = src + x;
                   auto first = hn::PromoteTo(d, hn::LoadU(d8, pixels));
                   auto second = hn::PromoteTo(d, hn::LoadU(d8, pixels + lanes));
                   for (size_t j = 1; j < rows; ++j)
                   {
                       pixels += stride;
                       first = hn::Add(first, hn::PromoteTo(d, hn::LoadU(d8, pixels)));
                       second = hn::Add(second, hn::PromoteTo(d, hn::LoadU(d8, pixels + lanes)));
                   }
                   hn::StoreU(first, d, sums + x);
                   hn::StoreU(second, d, sums + x + lanes);
               });
}

// Divides sums of `count` pixels, or of `count` + `more` where the other multiplier is taken, by a multiplication:
// q = s * m >> 16 >> shift with m = 2^(16 + shift) / n rounded up. The rounding adds less than n / 2^(16 + shift) per
// unit of s <= 255 n, in all less than 1 / n, the distance of a quotient to the next whole number, as long as
// 255 n^2 <= 2^(16 + shift). The shift is the largest with which m fits 16 bits for the smaller divisor, at least half
// of it, so (larger divisor)^2 <= 128 * smaller divisor is enough. Half of a divisor added to s, which rounds the
// quotient, leaves it so: 255.5 * 128 is still below 2^15.
struct Division
{
    Division(uint32_t smaller, uint32_t larger, uint32_t addedBefore = 0)
        : added(static_cast<uint16_t>(addedBefore)),
          shift(smaller > 2 ? static_cast<int>(std::bit_width(smaller - 1)) - 1 : 0),
          multiplier(multiplierOf(smaller)),
          difference(static_cast<uint16_t>(multiplier ^ multiplierOf(larger)))
    {
    }

    static bool exact(uint32_t smaller, uint32_t larger)
    {
        return uint64_t{larger} * larger <= uint64_t{kMaxDivisor} * smaller;
    }

    // One pixel alone becomes one less, as with the 32-bit reciprocals: s * 65535 >> 16.
    uint16_t multiplierOf(uint32_t n) const
    {
        return n == 1 ? uint16_t{0xffff} : static_cast<uint16_t>(((uint32_t{1} << (16 + shift)) + n - 1) / n);
    }

    uint16_t added;  // to every sum
    int shift;
    uint16_t multiplier;
    uint16_t difference;
};

// How the columns of an image fall into runs, worked out once per call: runs have `shortest` columns or one more.
//
// A row of outputs takes three steps over its sums of columns. First every column gets the sum of the run that would
// start there, by adding shifted vectors; where the longer runs start is marked by a mask, so no step depends on where
// runs start. Then the sums of the real runs are brought together by byte lookups, eight outputs from the few vectors
// that their starts lie in. Last they are divided.
class ColumnRuns
{
  public:
    /** `lengths` yields the lengths of the runs. Needs at least kBlock runs. */
    template <class Lengths>
    ColumnRuns(Lengths lengths, size_t columns, size_t outputs, uint32_t shortest, bool uneven, uint8_t* scratch)
        : columns_(columns),
          outputs_(outputs),
          shortest_(shortest),
          uneven_(uneven),
          vectors_(vectorsPerBlock(shortest, uneven))
    {
        size_t at = 0;
        const auto take = [&](size_t bytes)
        {
            uint8_t* part = scratch + at;
            at += roundUp(bytes);
            return part;
        };
        lookups_ = take(blocks(outputs) * vectors_ * 16);
        sums_ = reinterpret_cast<uint16_t*>(take((columns + kSlack) * sizeof(uint16_t)));
        longStarts_ = reinterpret_cast<uint16_t*>(take((columns + kSlack) * sizeof(uint16_t)));
        longOutputs_ = reinterpret_cast<uint16_t*>(take(outputs * sizeof(uint16_t)));
        blockStarts_ = reinterpret_cast<uint32_t*>(take(blocks(outputs) * sizeof(uint32_t)));
        auto* starts = reinterpret_cast<uint32_t*>(take(outputs * sizeof(uint32_t)));
        std::fill_n(sums_, columns + kSlack, uint16_t{0});
        std::fill_n(longStarts_, columns + kSlack, uint16_t{0});

        uint32_t start = 0;
        for (size_t x = 0; x < outputs; ++x)
        {
            const uint32_t length = lengths();
            starts[x] = start;
            longOutputs_[x] = length > shortest ? 0xffff : 0;
            longStarts_[start] = longOutputs_[x];
            start += length;
        }
        planLookups(starts);
    }

    static size_t scratchBytes(size_t columns, size_t outputs, uint32_t shortest, bool uneven)
    {
        return roundUp(blocks(outputs) * vectorsPerBlock(shortest, uneven) * 16) +
               2 * roundUp((columns + kSlack) * sizeof(uint16_t)) + roundUp(outputs * sizeof(uint16_t)) +
               roundUp(blocks(outputs) * sizeof(uint32_t)) + roundUp(outputs * sizeof(uint32_t));
    }

    /** One row of outputs from `rows` rows. */
    HWY_INLINE void average(const uint8_t* src, size_t stride, uint32_t rows, const Division& division,
                            uint8_t* out) const
    {
        sumColumns(src, stride, rows, columns_, sums_);
        switch (shortest_)
        {
            case 1:
                if (!uneven_)
                {
                    return divideRuns(division, 1, out);
                }
                sumRuns(1);
                return divideRuns(division, 2, out);
            case 2:
                sumRuns(2);
                return divideRuns(division, vectors_, out);
            case 3:
                sumRuns(3);
                return divideRuns(division, vectors_, out);
#if HWY_ARCH_ARM
            case 4:
                sumRuns(4);
                return divideRuns(division, vectors_, out);
            case 5:
                sumRuns(5);
                return divideRuns(division, vectors_, out);
#endif
            default:
                sumRuns(shortest_);
                return divideRuns(division, vectors_, out);
        }
    }

  private:
    static size_t roundUp(size_t bytes)
    {
        return (bytes + 63) / 64 * 64;
    }
    static size_t blocks(size_t outputs)
    {
        return (outputs + kBlock - 1) / kBlock;
    }
    // The last start of a block lies at most this far behind the first one.
    static size_t vectorsPerBlock(uint32_t shortest, bool uneven)
    {
        return (kBlock - 1) * (shortest + (uneven ? 1 : 0)) / kBlock + 1;
    }

    // First output of a block; the last block overlaps the one before it.
    size_t firstOutput(size_t block) const
    {
        return std::min(block * kBlock, outputs_ - kBlock);
    }

    void planLookups(const uint32_t* starts)
    {
        uint8_t* lookup = lookups_;
        for (size_t block = 0; block < blocks(outputs_); ++block)
        {
            const uint32_t* first = starts + firstOutput(block);
            blockStarts_[block] = *first;
#if HWY_ARCH_ARM
            for (size_t v = 0; v < std::max<size_t>(vectors_, 4) - 3; ++v, lookup += 16)
            {
                for (size_t i = 0; i < kBlock; ++i)
                {
                    // The first lookup goes into four vectors. One beyond the table gives 0.
                    const size_t at = (first[i] - *first) * 2;
                    const bool here = v == 0 ? at < 64 : at / 16 == v + 3;
                    lookup[2 * i] = here ? static_cast<uint8_t>(v == 0 ? at : at % 16) : 0x80;
                    lookup[2 * i + 1] = here ? static_cast<uint8_t>((v == 0 ? at : at % 16) + 1) : 0x80;
                }
            }
            continue;
#endif
            for (size_t v = 0; v < vectors_; ++v, lookup += 16)
            {
                for (size_t i = 0; i < kBlock; ++i)
                {
                    // A lookup with the top bit set gives 0.
                    const size_t at = first[i] - *first;
                    const bool here = at / kBlock == v;
                    lookup[2 * i] = here ? static_cast<uint8_t>(at % kBlock * 2) : 0x80;
                    lookup[2 * i + 1] = here ? static_cast<uint8_t>(at % kBlock * 2 + 1) : 0x80;
                }
            }
        }
    }

    // Puts the sum of the run that starts at each column in the place of the column's own.
    HWY_INLINE void sumRuns(uint32_t shortest) const
    {
        const Words d;
        size_t x = 0;
        uint16_t* const at = sums_;
        const uint16_t* const starts = longStarts_;
        const bool uneven = uneven_;
        const size_t columns = columns_;
#if HWY_ARCH_ARM
        for (; x + 2 * hn::Lanes(d) <= columns; x += 2 * hn::Lanes(d))
        {
            auto sum = hn::LoadU(d, at + x);
            auto next = hn::LoadU(d, at + x + 8);
            for (uint32_t i = 1; i < shortest; ++i)
            {
                sum = hn::Add(sum, hn::LoadU(d, at + x + i));
                next = hn::Add(next, hn::LoadU(d, at + x + 8 + i));
            }
            if (uneven)
            {
                sum = hn::Add(sum, hn::And(hn::LoadU(d, at + x + shortest), hn::LoadU(d, starts + x)));
                next = hn::Add(next, hn::And(hn::LoadU(d, at + x + 8 + shortest), hn::LoadU(d, starts + x + 8)));
            }
            hn::StoreU(sum, d, at + x);
            hn::StoreU(next, d, at + x + 8);
        }
#endif
        (void)at;
        (void)starts;
        (void)uneven;
        for (; x < columns; x += hn::Lanes(d))
        {
            auto sum = hn::LoadU(d, sums_ + x);
            for (uint32_t i = 1; i < shortest; ++i)
            {
                sum = hn::Add(sum, hn::LoadU(d, sums_ + x + i));
            }
            if (uneven_)
            {
                sum = hn::Add(sum, hn::And(hn::LoadU(d, sums_ + x + shortest), hn::LoadU(d, longStarts_ + x)));
            }
            hn::StoreU(sum, d, sums_ + x);
        }
    }

    HWY_INLINE void divideRuns(const Division& division, size_t vectors, uint8_t* out) const
    {
        const BlockTag d;
        const hn::Repartition<uint8_t, BlockTag> d8;
        const hn::Rebind<uint8_t, BlockTag> half;
        const auto multiplier = hn::Set(d, division.multiplier);
        const auto difference = hn::Set(d, division.difference);
        const auto added = hn::Set(d, division.added);
        const uint8_t* lookup = lookups_;
        const uint32_t* const blockStarts = blockStarts_;
        const uint16_t* const allSums = sums_;
        const uint16_t* const longOutputs = longOutputs_;
        const size_t outputs = outputs_;
        for (size_t block = 0; block < blocks(outputs); ++block)
        {
            const uint16_t* sums = allSums + blockStarts[block];
#if HWY_ARCH_ARM
            const uint8_t* table = reinterpret_cast<const uint8_t*>(sums);
            hn::Vec<decltype(d8)> bytes;
            switch (vectors)
            {
                case 1:
                    bytes = decltype(bytes)(vqtbl1q_u8(vld1q_u8(table), vld1q_u8(lookup)));
                    break;
                case 2:
                    bytes = decltype(bytes)(vqtbl2q_u8(vld1q_u8_x2(table), vld1q_u8(lookup)));
                    break;
                case 3:
                    bytes = decltype(bytes)(vqtbl3q_u8(vld1q_u8_x3(table), vld1q_u8(lookup)));
                    break;
                default:
                    bytes = decltype(bytes)(vqtbl4q_u8(vld1q_u8_x4(table), vld1q_u8(lookup)));
            }
            for (size_t v = 4; v < vectors; ++v)
            {
                bytes = hn::Or(bytes, hn::TableLookupBytesOr0(hn::BitCast(d8, hn::LoadU(d, sums + v * kBlock)),
                                                              hn::Load(d8, lookup + (v - 3) * 16)));
            }
            lookup += (vectors < 4 ? 1 : vectors - 3) * 16;
#else
            auto bytes = hn::TableLookupBytesOr0(hn::BitCast(d8, hn::LoadU(d, sums)), hn::Load(d8, lookup));
            for (size_t v = 1; v < vectors; ++v)
            {
                bytes = hn::Or(bytes, hn::TableLookupBytesOr0(hn::BitCast(d8, hn::LoadU(d, sums + v * kBlock)),
                                                              hn::Load(d8, lookup + v * 16)));
            }
            lookup += vectors * 16;
#endif
            const size_t x = std::min(block * kBlock, outputs - kBlock);
            const auto chosen = hn::Xor(multiplier, hn::And(difference, hn::LoadU(d, longOutputs + x)));
            const auto sum = hn::Add(hn::BitCast(d, bytes), added);
            const auto mean = hn::ShiftRightSame(hn::MulHigh(sum, chosen), division.shift);
            hn::StoreU(hn::DemoteTo(half, hn::BitCast(hn::RebindToSigned<BlockTag>(), mean)), half, out + x);
        }
    }

    size_t columns_;
    size_t outputs_;
    uint32_t shortest_;
    bool uneven_;
    size_t vectors_;         // of sums that a block looks up in
    uint8_t* lookups_;       // per block and vector, sixteen byte positions
    uint16_t* sums_;         // per column
    uint16_t* longStarts_;   // per column, all ones where a longer run starts
    uint16_t* longOutputs_;  // per output, all ones for a longer run
    uint32_t* blockStarts_;  // first column of each block
};

// Long runs: sums of columns as vectors, the rest one output at a time. `lengths` yields the lengths of a row's runs,
// from the start for every row; divide(sum, length) gives the output.
template <class Lengths, class Divide>
HWY_INLINE void averageLongRuns(const uint8_t* src, size_t stride, size_t rows, size_t columns, uint16_t* sums,
                                uint64_t* totals, size_t outputs, Lengths lengths, Divide divide, uint8_t* out)
{
    std::fill_n(totals, outputs, uint64_t{0});
    for (size_t row = 0; row < rows; row += kMaxRows)
    {
        sumColumns(src + row * stride, stride, std::min<size_t>(kMaxRows, rows - row), columns, sums);
        Lengths length = lengths;
        const uint16_t* run = sums;
        for (size_t x = 0; x < outputs; ++x)
        {
            const size_t count = length();
            for (size_t i = 0; i < count; ++i)
            {
                totals[x] += run[i];
            }
            run += count;
        }
    }
    for (size_t x = 0; x < outputs; ++x)
    {
        out[x] = divide(totals[x], lengths());
    }
}

bool wideEnough(size_t columns)
{
    return columns >= 2 * hn::Lanes(Words());
}

size_t longRunScratchBytes(size_t columns, size_t outputs)
{
    return outputs * sizeof(uint64_t) + columns * sizeof(uint16_t);
}

vsrStatus averageMN(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    if (!wideEnough(srcWidth))
    {
        return vsrScaleDownMNu8C(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
    }
    const uint32_t shortest = srcWidth / dstWidth;
    const bool uneven = srcWidth % dstWidth != 0;
    const uint32_t longest = shortest + (uneven ? 1 : 0);
    const uint32_t rowsMin = srcHeight / dstHeight;
    const uint32_t rowsMax = rowsMin + (srcHeight % dstHeight != 0 ? 1 : 0);
    const bool shortRuns = dstWidth >= kBlock && Division::exact(shortest * rowsMin, longest * rowsMin) &&
                           Division::exact(shortest * rowsMax, longest * rowsMax);
    const Scratch scratch(shortRuns ? ColumnRuns::scratchBytes(srcWidth, dstWidth, shortest, uneven)
                                    : longRunScratchBytes(srcWidth, dstWidth));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }

    RunLengths rowRuns(srcHeight, dstHeight);
    const auto lengths = [runs = RunLengths(srcWidth, dstWidth)]() mutable { return runs.next(); };
    const auto forEachRow = [&](auto averageRow) HWY_ATTR
    {
        const uint8_t* from = src;
        for (size_t y = 0; y < dstHeight; ++y)
        {
            const uint32_t rows = rowRuns.next();
            averageRow(from, rows, dst + y * dstStride);
            from += size_t{rows} * srcStride;
        }
    };
    if (shortRuns)
    {
        const ColumnRuns runs(lengths, srcWidth, dstWidth, shortest, uneven, scratch.data());
        const Division divisions[2] = {{shortest * rowsMin, longest * rowsMin},
                                       {shortest * rowsMax, longest * rowsMax}};
        forEachRow([&](const uint8_t* from, uint32_t rows, uint8_t* out) HWY_ATTR
                   { runs.average(from, srcStride, rows, divisions[rows - rowsMin], out); });
    }
    else
    {
        auto* totals = reinterpret_cast<uint64_t*>(scratch.data());
        auto* sums = reinterpret_cast<uint16_t*>(totals + dstWidth);
        forEachRow(
            [&](const uint8_t* from, uint32_t rows, uint8_t* out) HWY_ATTR
            {
                const auto divide = [rows](uint64_t sum, uint32_t columns)
                { return static_cast<uint8_t>(sum * mn_div_table[columns * rows] >> 32); };
                averageLongRuns(from, srcStride, rows, srcWidth, sums, totals, dstWidth, lengths, divide, out);
            });
    }
    return VISORA_SUCCESS;
}

template <bool rounded>
HWY_INLINE bool averageBoxesIfWide(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    const uint32_t fx = srcWidth / dstWidth;
    const uint32_t fy = srcHeight / dstHeight;
    const size_t columns = size_t{dstWidth} * fx;
    if (fx == fy && (fx == 2 || fx == 4))
    {
        if constexpr (rounded)
        {
            return (fx == 2 ? roundedAverageBy2 : roundedAverageBy4)(src, dstWidth * fx, dstHeight * fy, srcStride, dst,
                                                                     dstStride);
        }
        else
        {
            (fx == 2 ? vsrScaleDownBy2u8V : vsrScaleDownBy4u8V)(src, dstWidth * fx, dstHeight * fy, srcStride, dst,
                                                                dstStride);
            return true;
        }
    }
    if (fx == 1 && fy == 1)
    {
        for (size_t y = 0; y < dstHeight; ++y)
        {
            std::memcpy(dst + y * dstStride, src + y * srcStride, dstWidth);
        }
        return true;
    }

    const bool shortRuns = dstWidth >= kBlock && fx <= kMaxRun && uint64_t{fx} * fy <= kMaxDivisor;
    const Scratch scratch(!wideEnough(columns) ? 0
                          : shortRuns          ? ColumnRuns::scratchBytes(columns, dstWidth, fx, false)
                                               : longRunScratchBytes(columns, dstWidth));
    if (!wideEnough(columns) || !scratch.data())
    {
        return false;
    }
    const auto lengths = [fx] { return fx; };
    const size_t boxRowBytes = size_t{fy} * srcStride;
    if (shortRuns)
    {
        const ColumnRuns runs(lengths, columns, dstWidth, fx, false, scratch.data());
        const Division division(fx * fy, fx * fy, rounded ? fx * fy / 2 : 0);
        for (size_t y = 0; y < dstHeight; ++y)
        {
            runs.average(src + y * boxRowBytes, srcStride, fy, division, dst + y * dstStride);
        }
    }
    else
    {
        auto* totals = reinterpret_cast<uint64_t*>(scratch.data());
        auto* sums = reinterpret_cast<uint16_t*>(totals + dstWidth);
        const auto divide = [fy](uint64_t sum, uint32_t length)
        {
            const uint64_t count = uint64_t{length} * fy;
            // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): no caller has a destination larger than its source.
            return static_cast<uint8_t>((sum + (rounded ? count / 2 : 0)) / count);
        };
        for (size_t y = 0; y < dstHeight; ++y)
        {
            averageLongRuns(src + y * boxRowBytes, srcStride, fy, columns, sums, totals, dstWidth, lengths, divide,
                            dst + y * dstStride);
        }
    }
    return true;
}

bool averageBoxes(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                  uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    return averageBoxesIfWide<false>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}

bool averageBoxesRounded(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    return averageBoxesIfWide<true>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(averageMN);
HWY_EXPORT(averageBoxes);
HWY_EXPORT(averageBoxesRounded);
}  // namespace visora

bool visora::roundedAverageBoxes(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    return HWY_DYNAMIC_DISPATCH(averageBoxesRounded)(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight,
                                                     dstStride);
}

vsrStatus vsrScaleDownMNu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(averageMN)(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}

vsrStatus vsrScaleDownu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                          uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    using namespace visora;
    if (HWY_DYNAMIC_DISPATCH(averageBoxes)(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride))
    {
        return VISORA_SUCCESS;
    }
    return vsrScaleDownu8C(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}

#endif
