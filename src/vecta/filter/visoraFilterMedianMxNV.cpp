// Median over M x N windows of s16 pixels, vector variant.
#include <algorithm>
#include <bit>

#include "cpu/visoraScratch.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterMedianMxNV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterMedian-inl.h"
#include "vecta/filter/visoraFilterMedian5x5-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- 5x5 ----

/** @return false without scratch memory, with nothing written */
template <class D>
HWY_INLINE bool median5x5(D d, const int16_t* src, size_t width, size_t height, size_t srcStep, int16_t* dst,
                          size_t dstStep)
{
    const Scratch memory(5 * width * sizeof(int16_t));
    auto* const scratch = memory.as<int16_t>();
    if (!scratch)
    {
        return false;
    }
    int16_t* const sorted[5] = {scratch, scratch + width, scratch + 2 * width, scratch + 3 * width,
                                scratch + 4 * width};
    for (size_t y = 2; y + 2 < height; ++y)
    {
        const auto rowAt = [&](size_t row) { return src + (y - 2 + row) * srcStep; };
        coverRange(0, width, hn::Lanes(d), [&](size_t x) HWY_ATTR { sortColumnsOfFive(d, rowAt, x, sorted); });
        coverRange(2, width - 2, hn::Lanes(d),
                   [&](size_t x) HWY_ATTR { hn::StoreU(medianFromSorted(d, sorted, x), d, dst + y * dstStep + x); });
    }
    return true;
}

// ---- Any window ----

// Calls visit(pixels) for each of the M * N neighbours, one vector of neighbours of adjacent outputs at a time.
template <class D, class Visit>
HWY_INLINE void forEachNeighbour(D d, const int16_t* corner, size_t step, size_t M, size_t N, Visit visit)
{
    for (size_t row = 0; row < N; ++row, corner += step)
    {
        for (size_t column = 0; column < M; ++column)
        {
            visit(hn::LoadU(d, corner + column));
        }
    }
}

// The value of rank (M * N - 1) / 2 of each lane's window, by bisection: it is the largest v that no more than that
// many values lie below of. All lanes begin at the smallest value of all their windows, and only as many bits are tried
// as the values spread over.
template <class D>
HWY_INLINE hn::Vec<D> medianByBisection(D d, const int16_t* corner, size_t step, size_t M, size_t N)
{
    using V = hn::Vec<D>;
    const hn::RebindToUnsigned<D> du;
    V smallest = hn::Set(d, INT16_MAX);
    V largest = hn::Set(d, INT16_MIN);
    forEachNeighbour(d, corner, step, M, N,
                     [&](V pixels) HWY_ATTR
                     {
                         smallest = hn::Min(smallest, pixels);
                         largest = hn::Max(largest, pixels);
                     });
    const int low = hn::GetLane(hn::MinOfLanes(d, smallest));
    const int high = hn::GetLane(hn::MaxOfLanes(d, largest));

    const auto rank = hn::Set(du, static_cast<uint16_t>((M * N - 1) / 2));
    V median = hn::Set(d, static_cast<int16_t>(low));
    for (int bit = static_cast<int>(std::bit_width(static_cast<uint32_t>(high - low))) - 1; bit >= 0; --bit)
    {
        // Saturation is harmless: a limit above all values is never accepted, and 32767 itself may be.
        // A step of 32768 is the first one if there is one, and low + 32768 does not exceed high then.
        const V limit = bit == 15 ? hn::Set(d, static_cast<int16_t>(low + 32768))
                                  : hn::SaturatedAdd(median, hn::Set(d, static_cast<int16_t>(1 << bit)));
        auto below = hn::Zero(d);
        forEachNeighbour(d, corner, step, M, N,
                         [&](V pixels) HWY_ATTR { below = hn::Sub(below, hn::VecFromMask(d, hn::Lt(pixels, limit))); });
        const auto accepted = hn::Eq(hn::Max(hn::BitCast(du, below), rank), rank);
        median = hn::IfThenElse(hn::RebindMask(d, accepted), limit, median);
    }
    return median;
}

// Windows of at most 65535 pixels, as many as a lane counts.
vsrStatus medianMxN(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t M,
                    uint32_t N, int16_t* dst, uint32_t dstStride)
{
    const size_t halfWidth = M / 2;
    const size_t halfHeight = N / 2;
    const size_t inner = srcWidth > 2 * halfWidth ? srcWidth - 2 * halfWidth : 0;
    const size_t srcStep = srcStride / sizeof(int16_t);
    const size_t dstStep = dstStride / sizeof(int16_t);
    bool done = false;
    withFittingVector<int16_t>(
        inner,
        [&](auto d) HWY_ATTR
        {
            if (M == 3 && N == 3)
            {
                const auto rowAt = [=](ptrdiff_t y) { return src + static_cast<size_t>(y) * srcStep; };
                medianRows(d, rowAt, srcWidth, 1, ptrdiff_t{srcHeight} - 1, dst, dstStep, [](ptrdiff_t) {});
                done = true;
            }
            else if (M == 5 && N == 5)
            {
                done = median5x5(d, src, srcWidth, srcHeight, srcStep, dst, dstStep);
            }
            else
            {
                for (size_t y = halfHeight; y + halfHeight < srcHeight; ++y)
                {
                    const int16_t* corner = src + (y - halfHeight) * srcStep;
                    int16_t* out = dst + y * dstStep + halfWidth;
                    coverRange(0, inner, hn::Lanes(d),
                               [&](size_t x) HWY_ATTR
                               { hn::StoreU(medianByBisection(d, corner + x, srcStep, M, N), d, out + x); });
                }
                done = true;
            }
        });
    return done ? vsrStatus{VISORA_SUCCESS}
                : vsrFilterMedianMxNs16C(src, srcWidth, srcHeight, srcStride, M, N, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{

HWY_EXPORT(medianMxN);

namespace
{

// A window's values counted in four levels: by their first 4 bits, their first 8, their first 12, and all 16. Where the
// value of a rank lies is found by four walks along at most 16 bins.
class MedianHistogram
{
  public:
    static constexpr size_t kBins = 16 + 256 + 4096 + 65536;

    explicit MedianHistogram(uint16_t* bins) : bins_(bins) { std::fill_n(bins, kBins, uint16_t{0}); }

    void add(int16_t value) { change(value, 1); }
    void remove(int16_t value) { change(value, UINT16_MAX); }

    int16_t valueOfRank(uint32_t rank) const
    {
        size_t prefix = 0;
        const uint16_t* level = bins_;
        for (size_t binsOfLevel = 16; binsOfLevel <= 65536; level += binsOfLevel, binsOfLevel *= 16)
        {
            prefix *= 16;
            while (rank >= level[prefix])
            {
                rank -= level[prefix++];
            }
        }
        return static_cast<int16_t>(prefix ^ kSignBit);
    }

  private:
    // Flipping the sign bit makes the order that of unsigned numbers.
    static constexpr size_t kSignBit = 0x8000;

    void change(int16_t value, uint16_t by)
    {
        const size_t key = static_cast<uint16_t>(value) ^ kSignBit;
        const auto bump = [by](uint16_t& bin) { bin = static_cast<uint16_t>(bin + by); };
        bump(bins_[key >> 12]);
        bump(bins_[16 + (key >> 8)]);
        bump(bins_[16 + 256 + (key >> 4)]);
        bump(bins_[16 + 256 + 4096 + key]);
    }

    uint16_t* bins_;
};

// Slides a histogram along each row: a column comes in, a column goes out. The work per output grows with N alone,
// where comparing all neighbours, in vectors or not, grows with M * N.
void medianByHistogram(MedianHistogram histogram, const int16_t* src, size_t srcStep, size_t M, size_t N,
                       size_t outputs, size_t rows, int16_t* dst, size_t dstStep)
{
    const auto rank = static_cast<uint32_t>((M * N - 1) / 2);
    for (size_t y = 0; y < rows; ++y, src += srcStep, dst += dstStep)
    {
        const auto columnEnters = [&](size_t x)
        {
            for (size_t row = 0; row < N; ++row)
            {
                histogram.add(src[row * srcStep + x]);
            }
        };
        const auto columnLeaves = [&](size_t x)
        {
            for (size_t row = 0; row < N; ++row)
            {
                histogram.remove(src[row * srcStep + x]);
            }
        };
        for (size_t x = 0; x < M - 1; ++x)
        {
            columnEnters(x);
        }
        for (size_t x = 0; x < outputs; ++x)
        {
            columnEnters(x + M - 1);
            dst[x] = histogram.valueOfRank(rank);
            columnLeaves(x);
        }
        // Empty again for the next row.
        for (size_t x = outputs; x < outputs + M - 1; ++x)
        {
            columnLeaves(x);
        }
    }
}

}  // namespace

}  // namespace visora

vsrStatus vsrFilterMedianMxNs16V(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t M, uint32_t N, int16_t* dst, uint32_t dstStride)
{
    using namespace visora;
    // From about this many neighbours on, comparing them all takes longer than keeping a histogram.
    constexpr uint64_t kHistogramFrom = 240;
    const uint64_t neighbours = uint64_t{M} * N;
    const size_t frameWidth = size_t{M} / 2 * 2;
    const size_t frameHeight = size_t{N} / 2 * 2;
    const bool anyOutput = srcWidth > frameWidth && srcHeight > frameHeight;
    if (anyOutput && neighbours != 0 && neighbours < kHistogramFrom)
    {
        return HWY_DYNAMIC_DISPATCH(medianMxN)(src, srcWidth, srcHeight, srcStride, M, N, dst, dstStride);
    }
    // Its bins count to 65535. More rows than 255 are the reference's affair.
    if (anyOutput && neighbours >= kHistogramFrom && neighbours <= UINT16_MAX && N <= UINT8_MAX)
    {
        const Scratch scratch(MedianHistogram::kBins * sizeof(uint16_t));
        auto* const bins = scratch.as<uint16_t>();
        if (!bins)
        {
            return VISORA_ENOMEM;
        }
        const size_t srcStep = srcStride / sizeof(int16_t);
        const size_t dstStep = dstStride / sizeof(int16_t);
        medianByHistogram(MedianHistogram(bins), src, srcStep, M, N, srcWidth - frameWidth, srcHeight - frameHeight,
                          dst + N / 2 * dstStep + M / 2, dstStep);
        return VISORA_SUCCESS;
    }
    return vsrFilterMedianMxNs16C(src, srcWidth, srcHeight, srcStride, M, N, dst, dstStride);
}

#endif
