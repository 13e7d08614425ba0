// Nearest neighbour, whatever its rule: rows of pixels picked at columns that are worked out once.
#if defined(VISORA_VECTA_PICK_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_PICK_INL_H
#undef VISORA_VECTA_PICK_INL_H
#else
#define VISORA_VECTA_PICK_INL_H
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cpu/visoraScratch.h"
#include "hwy/cache_control.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// The odd bytes of two vectors, in order.
template <class D, class V>
HWY_INLINE V oddBytes(D d, V low, V high)
{
    const hn::RepartitionToWide<D> d16;
    return narrowInOrder(d, hn::ShiftRight<8>(hn::BitCast(d16, low)), hn::ShiftRight<8>(hn::BitCast(d16, high)));
}

// Every second pixel from pixels[1] on.
template <class D>
HWY_INLINE hn::Vec<D> everySecond(D d, const uint8_t* pixels)
{
    return oddBytes(d, hn::LoadU(d, pixels), hn::LoadU(d, pixels + hn::Lanes(d)));
}

// Every fourth pixel from pixels[3] on.
template <class D>
HWY_INLINE hn::Vec<D> everyFourth(D d, const uint8_t* pixels)
{
#if HWY_TARGET <= HWY_AVX3
    // Packed within blocks, and put in order once.
    if constexpr (hn::MaxLanes(D()) == 64)
    {
        const auto fourths = [=](size_t i) HWY_ATTR
        { return _mm512_srli_epi32(_mm512_loadu_si512(pixels + 64 * i), 24); };
        const __m512i low = _mm512_packus_epi32(fourths(0), fourths(1));
        const __m512i high = _mm512_packus_epi32(fourths(2), fourths(3));
        const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
        return hn::Vec<D>{_mm512_permutexvar_epi32(order, _mm512_packus_epi16(low, high))};
    }
#endif
    return oddBytes(d, everySecond(d, pixels), everySecond(d, pixels + 2 * hn::Lanes(d)));
}

// Takes one row's pixels at the columns that were worked out once for the image. Sixteen outputs at a time come out of
// byte lookups in the few registers that their columns lie in.
class ColumnPicker
{
  public:
    static constexpr size_t kBlock = 16;
    // With more source registers per block than this, pixels are copied one by one.
    static constexpr size_t kMaxRegisters = 8;

    static size_t scratchBytes(uint32_t dstWidth)
    {
        const size_t blocks = (dstWidth + kBlock - 1) / kBlock;
        return blocks * kBlock * (kMaxRegisters + sizeof(uint32_t)) + blocks * sizeof(uint32_t);
    }

    // `columns` tells the source column of an output; `scratch` is aligned to a register. A copy of it cannot be what
    // the columns are written to, so that they are worked out by vectors.
    template <class Columns>
    ColumnPicker(Columns columns, uint32_t dstWidth, uint8_t* scratch)
        : dstWidth_(dstWidth),
          blocks_((dstWidth + kBlock - 1) / kBlock),
          lookups_(scratch),
          columns_(reinterpret_cast<uint32_t*>(scratch + blocks_ * kBlock * kMaxRegisters)),
          starts_(columns_ + blocks_ * kBlock)
    {
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            columns_[x] = columns(x);
        }
        step_ = evenStep();
        if (step_ == 0 && dstWidth >= kBlock)
        {
            planRegisters();
        }
    }

    // `next` is the row that will be asked for next.
    HWY_INLINE void pick(const uint8_t* row, const uint8_t* next, uint8_t* out) const
    {
        if (step_ != 0)
        {
            return step_ == 2 ? pickEvery<2>(even(), row, next, out) : pickEvery<4>(even(), row, next, out);
        }
        pickAny(row, out);
    }

    // Rows of an image: `numbers` tells the source's, and the last one once more.
    HWY_INLINE void pickRows(const uint8_t* src, size_t srcStride, const uint32_t* numbers, uint8_t* dst, size_t rows,
                             size_t dstStride) const
    {
        // Inlined, so that what rows have in common stays in registers.
        const auto pickAll = [ =, width = dstWidth_ ](auto pickRow) HWY_ATTR __attribute__((always_inline))
        {
            uint8_t* out = dst;
            uint32_t before = UINT32_MAX;
            for (size_t y = 0; y < rows; ++y, out += dstStride)
            {
                const uint32_t number = numbers[y];
                if (number == before)
                {
                    std::memcpy(out, out - dstStride, width);
                }
                else
                {
                    pickRow(src + number * srcStride, src + numbers[y + 1] * srcStride, out);
                }
                before = number;
            }
        };
        if (step_ == 2)
        {
            pickAll([row = even()](const uint8_t* from, const uint8_t* next, uint8_t* out) HWY_ATTR
                    { pickEvery<2>(row, from, next, out); });
        }
        else if (step_ == 4)
        {
            pickAll([row = even()](const uint8_t* from, const uint8_t* next, uint8_t* out) HWY_ATTR
                    { pickEvery<4>(row, from, next, out); });
        }
        else
        {
            pickAll([this](const uint8_t* from, const uint8_t* /*next*/, uint8_t* out) HWY_ATTR
                    { pickAny(from, out); });
        }
    }

  private:
    HWY_INLINE void pickAny(const uint8_t* row, uint8_t* out) const
    {
        switch (registers_)
        {
            case 0:
                for (size_t x = 0; x < dstWidth_; ++x)
                {
                    out[x] = row[columns_[x]];
                }
                break;
            case 1:
                return pickFrom(row, out, 1);
            case 2:
                return pickFrom(row, out, 2);
            case 3:
                return pickFrom(row, out, 3);
            case 4:
                return pickFrom(row, out, 4);
            default:
                return pickFrom(row, out, registers_);
        }
    }

    // First output of a block; the last block overlaps the one before it.
    size_t firstOutput(size_t block) const { return std::min(block * kBlock, dstWidth_ - kBlock); }

    // The distance of the columns where it is the same from the second output on, and one that wide vectors can take:
    // two or four. The first output of such a ratio often lies elsewhere. 0 for all others.
    uint32_t evenStep() const
    {
        if (dstWidth_ <= hn::Lanes(hn::ScalableTag<uint8_t>()))
        {
            return 0;
        }
        const uint32_t step = columns_[2] - columns_[1];
        if ((step != 2 && step != 4) || columns_[1] < step - 1)
        {
            return 0;
        }
        // By vectors, without a look at each.
        uint32_t differing = 0;
        for (size_t x = 2; x < dstWidth_; ++x)
        {
            differing |= (columns_[x] - columns_[x - 1]) ^ step;
        }
        return differing == 0 ? step : 0;
    }

    // What rows of an even step have in common, in no memory that a store of pixels might change.
    struct Even
    {
        size_t first;   // column of output 0
        size_t second;  // of output 1
        size_t outputs;
    };

    HWY_INLINE Even even() const { return {columns_[0], columns_[1], dstWidth_}; }

    template <size_t kStep, class D>
    static HWY_INLINE hn::Vec<D> everyOf(D d, const uint8_t* pixels)
    {
        if constexpr (kStep == 2)
        {
            return everySecond(d, pixels);
        }
        else
        {
            return everyFourth(d, pixels);
        }
    }

    // The pixel that is taken comes last among those that a lane is cut from, so nothing behind the last one is read.
    // Rows in between are left out, which the processor does not foresee: the next row is fetched here.
    template <size_t kStep>
    static HWY_INLINE void pickEvery(const Even& even, const uint8_t* row, const uint8_t* next, uint8_t* out)
    {
        constexpr size_t kLineBytes = 64;
        out[0] = row[even.first];
        const uint8_t* from = row + even.second + 1 - kStep;  // where the lane of output 1 begins
#if HWY_ARCH_ARM
        constexpr size_t kOutputs = 64;
        const uint8_t* ahead = next + kStep;
        uint8_t* to = out + 1;
        // A pointer of its own: at a distance of one, pairs of stores take none.
        asm("" : "+r"(to));
        const size_t outputs = even.outputs - 1;
        const auto one = [](const uint8_t*& pixels) HWY_ATTR
        {
            uint8x16_t taken;
            if constexpr (kStep == 2)
            {
                taken = vld2q_u8(pixels).val[1];
            }
            else
            {
                taken = vld4q_u8(pixels).val[3];
            }
            // These loads move their pointer for nothing, and take no offset.
            pixels += 16 * kStep;
            asm("" : "+r"(pixels));
            return taken;
        };
        if (outputs < kOutputs)
        {
            return coverRange(0, outputs, 16,
                              [&](size_t x) HWY_ATTR
                              {
                                  const uint8_t* pixels = from + x * kStep;
                                  vst1q_u8(to + x, one(pixels));
                              });
        }
        const auto step = [&]() HWY_ATTR
        {
            for (size_t i = 0; i < kOutputs * kStep; i += kLineBytes)
            {
                hwy::Prefetch(ahead + i);
            }
            ahead += kOutputs * kStep;
            const uint8x16_t taken[] = {one(from), one(from), one(from), one(from)};
            for (size_t i = 0; i < 4; ++i)
            {
                vst1q_u8(to + 16 * i, taken[i]);
            }
            to += kOutputs;
        };
        for (size_t steps = outputs / kOutputs; steps != 0; --steps)
        {
            step();
        }
        // The last step overlaps the one before it.
        if (const size_t rest = outputs % kOutputs; rest != 0)
        {
            from -= (kOutputs - rest) * kStep;
            to -= kOutputs - rest;
            step();
        }
#else
        const hn::ScalableTag<uint8_t> d;
        const auto pickAt = [=](size_t x) HWY_ATTR
        {
            for (size_t ahead = 0; ahead < kStep * hn::Lanes(d); ahead += kLineBytes)
            {
                hwy::Prefetch(next + kStep * x + ahead);
            }
            hn::StoreU(everyOf<kStep>(d, from + (x - 1) * kStep), d, out + x);
        };
        // There are more loads than stores: these are to cross no lines.
        const size_t outputs =
            (0 - reinterpret_cast<uintptr_t>(from)) % HWY_MIN(kLineBytes, kStep * hn::Lanes(d)) / kStep;
        size_t begin = 1;
        if (outputs != 0 && begin + outputs + hn::Lanes(d) <= even.outputs)
        {
            pickAt(begin);
            begin += outputs;
        }
        coverRange(begin, even.outputs, hn::Lanes(d), pickAt);
#endif
    }

    void planRegisters()
    {
        size_t span = 0;
        size_t needed = 0;  // columns up to the last one that an output takes
        for (size_t block = 0; block < blocks_; ++block)
        {
            // Wrapped indices may go back, so both ends are looked for.
            const uint32_t* first = columns_ + firstOutput(block);
            const auto [low, high] = std::minmax_element(first, first + kBlock);
            starts_[block] = *low;
            span = std::max<size_t>(span, *high - *low + 1);
            needed = std::max<size_t>(needed, *high + 1);
        }
        registers_ = (span + kBlock - 1) / kBlock;
        if (registers_ > kMaxRegisters || registers_ * kBlock > needed)
        {
            registers_ = 0;
            return;
        }
        for (size_t block = 0; block < blocks_; ++block)
        {
            // No register reaches beyond them.
            starts_[block] = std::min(starts_[block], static_cast<uint32_t>(needed - registers_ * kBlock));
            uint8_t* lookups = lookups_ + block * registers_ * kBlock;
            for (size_t i = 0; i < kBlock; ++i)
            {
                const size_t at = columns_[firstOutput(block) + i] - starts_[block];
                for (size_t r = 0; r < registers_; ++r)
                {
                    // A lookup with the top bit set gives 0.
                    lookups[r * kBlock + i] = at / kBlock == r ? static_cast<uint8_t>(at % kBlock) : 0x80;
                }
            }
        }
    }

    HWY_INLINE void pickFrom(const uint8_t* row, uint8_t* out, size_t registers) const
    {
        const hn::FixedTag<uint8_t, kBlock> d;
        const uint8_t* lookups = lookups_;
        const auto pickBlock = [&](uint32_t start, uint8_t* to) HWY_ATTR
        {
            const uint8_t* pixels = row + start;
            auto picked = hn::TableLookupBytesOr0(hn::LoadU(d, pixels), hn::Load(d, lookups));
            for (size_t r = 1; r < registers; ++r)
            {
                picked = hn::Or(picked, hn::TableLookupBytesOr0(hn::LoadU(d, pixels + r * kBlock),
                                                                hn::Load(d, lookups + r * kBlock)));
            }
            lookups += registers * kBlock;
            hn::StoreU(picked, d, to);
        };
        const uint32_t* start = starts_;
        const uint32_t* const last = starts_ + blocks_ - 1;
        for (uint8_t* to = out; start != last; ++start, to += kBlock)
        {
            pickBlock(*start, to);
        }
        pickBlock(*last, out + firstOutput(blocks_ - 1));
    }

    size_t dstWidth_;
    size_t blocks_;
    uint32_t step_ = 0;
    size_t registers_ = 0;
    uint8_t* lookups_;   // per block and register, sixteen positions
    uint32_t* columns_;  // source column of every output
    uint32_t* starts_;   // per block, the column where its first register begins
};

// An image whose pixel (x, y) is source pixel (columns(x), rows(y)). @return false without scratch memory
template <class Columns, class Rows>
HWY_INLINE bool pickPixels(const uint8_t* src, uint32_t srcStride, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                           uint32_t dstStride, Columns columns, Rows rows)
{
    // Source rows of all output rows, and the last one's again.
    const Scratch scratch(ColumnPicker::scratchBytes(dstWidth) + (size_t{dstHeight} + 1) * sizeof(uint32_t));
    if (!scratch.data())
    {
        return false;
    }
    const ColumnPicker picker(columns, dstWidth, scratch.data());
    auto* const from = reinterpret_cast<uint32_t*>(scratch.data() + ColumnPicker::scratchBytes(dstWidth));
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        from[y] = rows(y);
    }
    from[dstHeight] = from[dstHeight - 1];
    picker.pickRows(src, srcStride, from, dst, dstHeight, dstStride);
    return true;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
