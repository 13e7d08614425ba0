// Polyphase scaling, vector variants.
#include <algorithm>
#include <cstring>
#include <utility>

#include "cpu/scale/visoraScalePolyphase.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScalePolyphaseV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

struct FourRows
{
    const uint8_t* rows[kPhaseTaps];
};

// Down the columns first: with 128 off each pixel the sums stay within +-20480, 160 * 128, and fit 16 bits.
template <class D>
HWY_INLINE void sumColumns(D d, const FourRows& source, const PhaseWeights& weights, size_t x, int16_t* sums)
{
    const hn::Rebind<uint8_t, D> d8;
    auto sum = hn::Set(d, -128 * 128);
    for (size_t r = 0; r < kPhaseTaps; ++r)
    {
        // Wraps on the way, which the whole does not.
        sum = hn::Add(sum, hn::Mul(hn::PromoteTo(d, hn::LoadU(d8, source.rows[r] + x)), hn::Set(d, weights[r])));
    }
    hn::StoreU(sum, d, sums + x);
}

// Sums of columns, continued by the edge's on either side, then weighted along the row. The taps of an output, and with
// two channels those of both, lie side by side: they are copied to a list, which vectors take.
template <size_t channels>
class PolyphaseRow
{
  public:
    static size_t scratchBytes(size_t srcWidth, size_t dstWidth)
    {
        return roundUp((srcWidth + kMargin) * channels * sizeof(int16_t)) + 2 * roundUp(listBytes(dstWidth)) +
               roundUp(dstWidth * sizeof(uint32_t));
    }

    PolyphaseRow(uint32_t srcWidth, uint32_t dstWidth, uint8_t* scratch)
        : srcElements_(size_t{srcWidth} * channels), dstWidth_(dstWidth)
    {
        const auto take = [&](size_t bytes) { return std::exchange(scratch, scratch + roundUp(bytes)); };
        padded_ = reinterpret_cast<int16_t*>(take((size_t{srcWidth} + kMargin) * channels * sizeof(int16_t)));
        taps_ = reinterpret_cast<int16_t*>(take(listBytes(dstWidth)));
        weights_ = reinterpret_cast<int16_t*>(take(listBytes(dstWidth)));
        starts_ = reinterpret_cast<uint32_t*>(take(size_t{dstWidth} * sizeof(uint32_t)));
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            const PhasePlace place(x, srcWidth, dstWidth);
            starts_[x] = static_cast<uint32_t>(place.first + int64_t{kBefore}) * uint32_t{channels};
            for (size_t c = 0; c < channels; ++c)
            {
                std::copy_n(kPhaseWeights[place.phase].begin(), kPhaseTaps, weights_ + (x * channels + c) * kPhaseTaps);
            }
        }
    }

    template <class D>
    HWY_INLINE void sumSource(D d, const FourRows& source, const PhaseWeights& weights) const
    {
        int16_t* sums = padded_ + kBefore * channels;
        if (srcElements_ >= hn::Lanes(d))
        {
            coverRange(0, srcElements_, hn::Lanes(d),
                       [&](size_t x) HWY_ATTR { sumColumns(d, source, weights, x, sums); });
        }
        else
        {
            const hn::CappedTag<int16_t, 1> single;
            coverRange(0, srcElements_, 1, [&](size_t x) HWY_ATTR { sumColumns(single, source, weights, x, sums); });
        }
        for (size_t c = 0; c < channels; ++c)
        {
            for (size_t i = 0; i < kBefore; ++i)
            {
                padded_[i * channels + c] = sums[c];
            }
            for (size_t i = 0; i < kMargin - kBefore; ++i)
            {
                sums[srcElements_ + i * channels + c] = sums[srcElements_ - channels + c];
            }
        }
    }

    template <class D>
    HWY_INLINE void filter(D d, uint8_t* out) const
    {
        constexpr size_t kTaps = kPhaseTaps * channels;
        for (size_t x = 0; x < dstWidth_; ++x)
        {
            std::memcpy(taps_ + x * kTaps, padded_ + starts_[x], kTaps * sizeof(int16_t));
        }
        // With the 128 that is missing from each pixel, times the sums of the weights, and half of what is cut off.
        const auto added = hn::Set(d, (1 << 21) + (1 << 13));
        const hn::Rebind<uint8_t, D> d8;
        coverRange(0, dstWidth_ * channels, hn::Lanes(d),
                   [&](size_t x) HWY_ATTR
                   {
                       const auto low = weigh(d, x * kPhaseTaps);
                       const auto high = weigh(d, x * kPhaseTaps + 2 * hn::Lanes(d));
                       const auto sum = hn::Add(sumsOfNeighbours(d, low, high), added);
                       hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<14>(sum)), d8, out + x);
                   });
    }

  private:
    // Columns that taps reach to on the left, and on both sides.
    static constexpr size_t kBefore = 2;
    static constexpr size_t kMargin = 5;

    static size_t roundUp(size_t bytes) { return (bytes + 63) / 64 * 64; }
    static size_t listBytes(size_t dstWidth) { return dstWidth * channels * kPhaseTaps * sizeof(int16_t); }

    // Two partial sums of each element.
    template <class D>
    HWY_INLINE hn::Vec<D> weigh(D d, size_t at) const
    {
        const hn::Repartition<int16_t, D> d16;
        auto taps = hn::LoadU(d16, taps_ + at);
        if constexpr (channels == 2)
        {
            // The four taps of a channel side by side.
            alignas(16) static constexpr uint8_t kApart[16] = {0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15};
            const hn::Repartition<uint8_t, D> d8;
            taps = hn::BitCast(d16, hn::TableLookupBytes(hn::BitCast(d8, taps), hn::LoadDup128(d8, kApart)));
        }
        return sumsOfPairProducts(d, taps, hn::LoadU(d16, weights_ + at));
    }

    size_t srcElements_;
    size_t dstWidth_;
    int16_t* padded_;
    int16_t* taps_;
    int16_t* weights_;
    uint32_t* starts_;
};

template <size_t channels>
HWY_INLINE bool scalePolyphase(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    const Scratch scratch(PolyphaseRow<channels>::scratchBytes(srcWidth, dstWidth));
    const hn::ScalableTag<int16_t> d16;
    return scratch.data() &&
           withFittingVector<int32_t>(size_t{dstWidth} * channels,
                                      [&](auto d) HWY_ATTR
                                      {
                                          const PolyphaseRow<channels> row(srcWidth, dstWidth, scratch.data());
                                          for (uint32_t y = 0; y < dstHeight; ++y)
                                          {
                                              const PhasePlace place(y, srcHeight, dstHeight);
                                              FourRows source;
                                              for (size_t r = 0; r < kPhaseTaps; ++r)
                                              {
                                                  const int64_t at = std::clamp<int64_t>(
                                                      place.first + static_cast<int64_t>(r), 0, int64_t{srcHeight} - 1);
                                                  source.rows[r] = src + static_cast<size_t>(at) * srcStride;
                                              }
                                              row.sumSource(d16, source, kPhaseWeights[place.phase]);
                                              row.filter(d, dst + size_t{y} * dstStride);
                                          }
                                      });
}

bool scalePolyphaseBytes(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    return scalePolyphase<1>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}

bool scalePolyphasePairs(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    return scalePolyphase<2>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrScalePolyphaseu8, scalePolyphaseBytes);
VSR_VECTOR(vsrScalePolyphaseInterleaved2u8, scalePolyphasePairs);

#endif
