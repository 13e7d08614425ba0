// 5x5 Gaussian half of bytes, vector variant.
//
// Sums along the rows come first, because that halves the work of all that follows, and each row is summed only once:
// what an output row shares with the next one, its last three rows, is carried down the image in two rows of partial
// sums.
#include <algorithm>
#include <array>

#include "cpu/scale/visoraScaleHalve.h"
#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleHalveV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

#ifndef VISORA_VECTA_HALVE_ONCE
#define VISORA_VECTA_HALVE_ONCE

namespace visora
{

// Sum of the weights of a window's rows (or columns) inside the image; never 0, for the middle one always is.
inline uint32_t halveWeight(uint32_t y, uint32_t height)
{
    return binomialWeightAt<2>(Outside::LeftOut, 2 * y, height);
}

// One output column at the image's edge, made while the rows pass by.
class EdgeColumn
{
  public:
    EdgeColumn(const GaussianImage<uint8_t>& image, uint32_t x) : x_(x)
    {
        const auto all = binomialWeights<2>();
        const uint32_t first = x == 0 ? 2 : 0;
        start_ = 2 * size_t{x} + first - 2;
        taps_ = std::min<size_t>(all.size() - first, image.width - start_);
        for (size_t tap = 0; tap < taps_; ++tap)
        {
            weights_[tap] = all[first + tap];
            weight_ += weights_[tap];
        }
        centre_ = sumOf(image.src);
        pending_ = 6 * centre_;
    }

    // Takes the two rows below the window's centre, null for those outside the image.
    void step(const uint8_t* below, const uint8_t* last, uint32_t rowWeight, uint8_t* out)
    {
        const uint32_t third = below ? 4 * sumOf(below) : 0;
        const uint32_t fourth = last ? sumOf(last) : 0;
        const uint32_t weights = rowWeight * weight_;
        // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): the window's centre has a weight
        out[x_] = static_cast<uint8_t>((pending_ + third + fourth + weights / 2) / weights);
        pending_ = centre_ + third + 6 * fourth;
        centre_ = fourth;
    }

  private:
    uint32_t sumOf(const uint8_t* row) const
    {
        uint32_t sum = 0;
        for (size_t tap = 0; tap < taps_; ++tap)
        {
            sum += weights_[tap] * row[start_ + tap];
        }
        return sum;
    }

    uint32_t x_;
    size_t start_;  // first source column
    size_t taps_;
    std::array<uint32_t, 5> weights_ = {};
    uint32_t weight_ = 0;
    uint32_t pending_;  // the window's rows above its centre, and the centre
    uint32_t centre_;
};

}  // namespace visora

#endif

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Lane i is the sum of pixels[2i .. 2i + 4], weighted. Reads two bytes for each lane and four behind them.
template <class D>
HWY_INLINE hn::Vec<hn::RepartitionToWide<D>> windowSums(D d, const uint8_t* pixels)
{
    const hn::RepartitionToWide<D> d16;
    const auto left = hn::LoadU(d, pixels);
    const auto middle = hn::LoadU(d, pixels + 2);
    const auto last = hn::And(hn::BitCast(d16, hn::LoadU(d, pixels + 4)), hn::Set(d16, 0xff));
#if HWY_ARCH_X86
    // Products of pairs of bytes, added: two instructions where the other way takes seven.
    const auto leftWeights = hn::Set(d16, 0x0401);
    const auto middleWeights = hn::Set(d16, 0x0406);
    using V = hn::Vec<decltype(d16)>;
#if HWY_TARGET <= HWY_AVX3
    if constexpr (hn::MaxLanes(D()) == 64)
    {
        return hn::Add(hn::Add(V{_mm512_maddubs_epi16(left.raw, leftWeights.raw)},
                               V{_mm512_maddubs_epi16(middle.raw, middleWeights.raw)}),
                       last);
    }
#endif
#if HWY_TARGET <= HWY_AVX2
    if constexpr (hn::MaxLanes(D()) == 32)
    {
        return hn::Add(hn::Add(V{_mm256_maddubs_epi16(left.raw, leftWeights.raw)},
                               V{_mm256_maddubs_epi16(middle.raw, middleWeights.raw)}),
                       last);
    }
#endif
    if constexpr (hn::MaxLanes(D()) == 16)
    {
        return hn::Add(hn::Add(V{_mm_maddubs_epi16(left.raw, leftWeights.raw)},
                               V{_mm_maddubs_epi16(middle.raw, middleWeights.raw)}),
                       last);
    }
#else
    const auto left16 = hn::BitCast(d16, left);
    const auto middle16 = hn::BitCast(d16, middle);
    const auto even = hn::Set(d16, 0xff);
    const auto centre = hn::And(middle16, even);
    const auto inner = hn::Add(hn::Add(hn::ShiftRight<8>(left16), hn::ShiftRight<8>(middle16)), centre);
    const auto outer = hn::Add(hn::And(left16, even), last);
    return hn::Add(hn::Add(outer, hn::ShiftLeft<2>(inner)), hn::ShiftLeft<1>(centre));
#endif
}

constexpr size_t kTileOutputs = 1024;

// Partial sums of one tile of output columns, vector by vector.
struct HalveSums
{
    alignas(64) std::array<uint16_t, kTileOutputs> pending;  // the window's rows above its centre, and the centre
    alignas(64) std::array<uint16_t, kTileOutputs> centre;
};

// Calls body(x, slot) for vectors of outputs that cover [0, count); the last one reaches back over the one before it,
// but has a place of its own for its sums.
template <class Body>
HWY_INLINE void coverOutputs(size_t count, size_t lanes, Body body)
{
    for (size_t slot = 0; slot < count; slot += lanes)
    {
        body(std::min(slot, count - lanes), slot);
    }
}

template <class D>
HWY_INLINE void beginSums(D d, const uint8_t* row, size_t count, HalveSums& sums)
{
    const hn::RepartitionToWide<D> d16;
    const size_t half = hn::Lanes(d16);
    coverOutputs(count, hn::Lanes(d),
                 [&](size_t x, size_t slot) HWY_ATTR
                 {
                     for (size_t i = 0; i < 2; ++i)
                     {
                         const auto sum = windowSums(d, row + 2 * (x + i * half));
                         hn::Store(sum, d16, sums.centre.data() + slot + i * half);
                         hn::Store(hn::Add(hn::ShiftLeft<2>(sum), hn::ShiftLeft<1>(sum)), d16,
                                   sums.pending.data() + slot + i * half);
                     }
                 });
}

// `below` and `last` are the two rows below the centre.
template <class D, class Normalise>
HWY_INLINE void halveRow(D d, const uint8_t* below, const uint8_t* last, size_t count, HalveSums& sums, uint8_t* out,
                         Normalise normalise)
{
    const hn::RepartitionToWide<D> d16;
    const size_t half = hn::Lanes(d16);
    const auto step = [&](size_t x, size_t slot) HWY_ATTR
    {
        const auto third = hn::ShiftLeft<2>(windowSums(d, below + 2 * x));
        const auto fourth = windowSums(d, last + 2 * x);
        const auto sum = hn::Add(hn::Add(hn::Load(d16, sums.pending.data() + slot), third), fourth);
        const auto twice = hn::Add(fourth, fourth);
        const auto pending =
            hn::Add(hn::Add(hn::Load(d16, sums.centre.data() + slot), third), hn::Add(twice, hn::Add(twice, twice)));
        hn::Store(pending, d16, sums.pending.data() + slot);
        hn::Store(fourth, d16, sums.centre.data() + slot);
        return normalise(sum);
    };
    coverOutputs(count, hn::Lanes(d),
                 [&](size_t x, size_t slot) HWY_ATTR
                 {
                     const auto low = step(x, slot);
                     const auto high = step(x + half, slot + half);
                     hn::StoreU(narrowInOrder(d, low, high), d, out + x);
                 });
}

template <class D>
HWY_INLINE void halveBytes(D d, const GaussianImage<uint8_t>& image, uint32_t dstWidth, uint32_t dstHeight)
{
    const hn::RepartitionToWide<D> d16;
    // Stands for the rows outside the image.
    alignas(64) static constexpr std::array<uint8_t, 2 * kTileOutputs + 4> kNothing = {};
    HalveSums sums;
    const size_t inner = innerEnd(image.width);
    for (size_t begin = 1; begin < inner;)
    {
        // The last tile reaches back where there is less than a vector left.
        const size_t count = std::min(kTileOutputs, std::max(inner - begin, hn::Lanes(d)));
        const size_t firstOutput = std::min(begin, inner - count);
        const bool atLeft = begin == 1;
        const bool atRight = firstOutput + count == inner;
        EdgeColumn edges[3] = {{image, 0},
                               {image, static_cast<uint32_t>(inner)},
                               {image, static_cast<uint32_t>(std::min<size_t>(inner + 1, dstWidth - 1))}};
        const auto rowAt = [&](uint32_t y) { return y < image.height ? image.src + y * image.srcStep : nullptr; };
        const auto columnsOf = [&](const uint8_t* row) { return row ? row + 2 * (firstOutput - 1) : kNothing.data(); };
        beginSums(d, columnsOf(image.src), count, sums);
        for (uint32_t y = 0; y < dstHeight; ++y)
        {
            const uint8_t* below = rowAt(2 * y + 1);
            const uint8_t* last = rowAt(2 * y + 2);
            uint8_t* out = image.dst + y * image.dstStep;
            const uint32_t weight = halveWeight(y, image.height);
            if (weight == kBinomialTotal<2>)
            {
                const auto rounding = hn::Set(d16, 128);
                halveRow(d, columnsOf(below), columnsOf(last), count, sums, out + firstOutput,
                         [&](auto sum) HWY_ATTR { return hn::ShiftRight<8>(hn::Add(sum, rounding)); });
            }
            else
            {
                // (sum + 8 * weight) / 16 / weight. The first quotient does not exceed 255.5 * weight, and weight <=
                // 15: the error of the rounded-up reciprocal, below weight / 2^16 for each unit, stays below 1 /
                // weight.
                const auto rounding = hn::Set(d16, static_cast<uint16_t>(8 * weight));
                // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): the window's centre has a weight
                const auto reciprocal = hn::Set(d16, static_cast<uint16_t>(65536 / weight + 1));
                halveRow(d, columnsOf(below), columnsOf(last), count, sums, out + firstOutput,
                         [&](auto sum) HWY_ATTR
                         { return hn::MulHigh(hn::ShiftRight<4>(hn::Add(sum, rounding)), reciprocal); });
            }
            if (atLeft)
            {
                edges[0].step(below, last, weight, out);
            }
            for (size_t x = inner; atRight && x < dstWidth; ++x)
            {
                edges[x - inner + 1].step(below, last, weight, out);
            }
        }
        begin = firstOutput + count;
    }
}

bool halveBytesIfWide(const GaussianImage<uint8_t>& image, uint32_t dstWidth, uint32_t dstHeight)
{
    return withFittingVector<uint8_t>(innerEnd(image.width) - 1,
                                      [&](auto d) HWY_ATTR { halveBytes(d, image, dstWidth, dstHeight); });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(halveBytesIfWide);
}  // namespace visora

void visora::halveVector(const GaussianImage<uint8_t>& image, uint32_t dstWidth, uint32_t dstHeight)
{
    if (!HWY_DYNAMIC_DISPATCH(halveBytesIfWide)(image, dstWidth, dstHeight))
    {
        halveReference(image, dstWidth, dstHeight);
    }
}

vsrStatus vsrScaleDownBy2Gaussian5x5u8V(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                        uint8_t* dst, uint32_t dstStride)
{
    visora::halveVector(visora::GaussianImage(src, width, height, srcStride, dst, dstStride), width / 2, height / 2);
    return VISORA_SUCCESS;
}

#endif
