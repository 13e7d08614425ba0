// Histograms under a mask and of two images, vector variants: the places of pixels in the table by vectors, a run of
// them at a time, then counted one by one.
#include "visora/variants/statistics.h"

// The newest processors put chosen bytes side by side at once.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/histogram/visoraHistogramCountV.cpp"
#include <algorithm>
#include <bit>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/histogram/visoraHistogramPairs.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

constexpr size_t kRun = 128;

// Calls step(d, x, i) for places x = begin + i, i below the count: whole vectors, then single places.
template <class Step>
HWY_INLINE void forPlaces(size_t begin, size_t count, Step step)
{
    const hn::CappedTag<uint16_t, 16> d;
    size_t x = 0;
    for (; x + hn::Lanes(d) <= count; x += hn::Lanes(d))
    {
        step(d, begin + x, x);
    }
    const hn::FixedTag<uint16_t, 1> single;
    for (; x < count; ++x)
    {
        step(single, begin + x, x);
    }
}

template <class D>
HWY_INLINE hn::Vec<D> levelsAt(D d, const uint8_t* pixels)
{
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<uint8_t, D>(), pixels));
}

#if HWY_TARGET <= HWY_AVX3_DL
// Counts the pixels whose mask is not 0, side by side, some thousand at a time.
void addCounted(PairCounter& counter, const uint8_t* src, size_t width, size_t height, size_t stride,
                const uint8_t* mask, size_t maskStride)
{
    constexpr size_t kLanes = 64;
    constexpr size_t kRoom = 4096;
    uint8_t counted[kRoom + kLanes];
    size_t count = 0;
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < width; x += kLanes)
        {
            const __mmask64 inRow = ~uint64_t{0} >> (kLanes - std::min(kLanes, width - x));
            const __m512i pixels = _mm512_maskz_loadu_epi8(inRow, src + y * stride + x);
            const __m512i masks = _mm512_maskz_loadu_epi8(inRow, mask + y * maskStride + x);
            const __mmask64 isCounted = _mm512_test_epi8_mask(masks, masks);
            _mm512_storeu_si512(counted + count, _mm512_maskz_compress_epi8(isCounted, pixels));
            count += static_cast<size_t>(std::popcount(uint64_t{isCounted}));
            if (count >= kRoom)
            {
                counter.add(counted, count);
                count = 0;
            }
        }
    }
    counter.add(counted, count);
}
#endif

vsrStatus binnedHistogram(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          const uint8_t* mask, uint32_t maskStride, uint32_t lower, uint32_t upper, uint32_t bins,
                          uint32_t* histogram)
{
    if (mask == nullptr)
    {
        binLevels(histogramByPairs(src, srcWidth, srcHeight, srcStride), lower, upper, bins, histogram);
        return VISORA_SUCCESS;
    }
#if HWY_TARGET <= HWY_AVX3_DL
    if (uint64_t{srcWidth} * srcHeight >= PairCounter::kFewest)
    {
        PairCounter counter;
        if (counter.isThere())
        {
            addCounted(counter, src, srcWidth, srcHeight, srcStride, mask, maskStride);
            binLevels(counter.counts(), lower, upper, bins, histogram);
            return VISORA_SUCCESS;
        }
    }
#endif
    // Pixels that do not count have a level of their own.
    constexpr uint16_t kNone = 256;
    uint32_t counts[4][kNone + 1] = {};
    uint16_t levels[kRun];
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* row = src + y * srcStride;
        const uint8_t* counted = mask + y * maskStride;
        for (size_t begin = 0; begin < srcWidth; begin += kRun)
        {
            const size_t count = std::min(kRun, srcWidth - begin);
            forPlaces(begin, count,
                      [&](auto d, size_t x, size_t i) HWY_ATTR
                      {
                          const auto out = hn::Eq(levelsAt(d, counted + x), hn::Zero(d));
                          hn::StoreU(hn::IfThenElse(out, hn::Set(d, kNone), levelsAt(d, row + x)), d, levels + i);
                      });
            size_t i = 0;
            for (; i + 4 <= count; i += 4)
            {
                ++counts[0][levels[i]];
                ++counts[1][levels[i + 1]];
                ++counts[2][levels[i + 2]];
                ++counts[3][levels[i + 3]];
            }
            for (; i < count; ++i)
            {
                ++counts[0][levels[i]];
            }
        }
    }
    Histogram sum;
    for (size_t v = 0; v < sum.size(); ++v)
    {
        sum[v] = counts[0][v] + counts[1][v] + counts[2][v] + counts[3][v];
    }
    binLevels(sum, lower, upper, bins, histogram);
    return VISORA_SUCCESS;
}

vsrStatus jointHistogram(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint8_t* src2,
                         uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride, uint32_t bins1, uint32_t bins2,
                         uint32_t* histogram)
{
    uint16_t places[kRun];
    uint16_t counts[kRun];
    std::fill_n(histogram, size_t{bins1} * bins2, 0u);
    for (size_t y = 0; y < height; ++y)
    {
        const uint8_t* row1 = src1 + y * src1Stride;
        const uint8_t* row2 = src2 + y * src2Stride;
        for (size_t begin = 0; begin < width; begin += kRun)
        {
            const size_t count = std::min(kRun, width - begin);
            forPlaces(begin, count,
                      [&](auto d, size_t x, size_t i) HWY_ATTR
                      {
                          // All fit 16 bits: the last of 256 times 256 bins is 65535.
                          const auto factor1 = hn::Set(d, static_cast<uint16_t>(bins1));
                          const auto factor2 = hn::Set(d, static_cast<uint16_t>(bins2));
                          const auto bin1 = hn::ShiftRight<8>(hn::Mul(levelsAt(d, row1 + x), factor1));
                          const auto bin2 = hn::ShiftRight<8>(hn::Mul(levelsAt(d, row2 + x), factor2));
                          hn::StoreU(hn::Add(hn::Mul(bin1, factor2), bin2), d, places + i);
                      });
            if (mask != nullptr)
            {
                const uint8_t* counted = mask + y * maskStride;
                forPlaces(begin, count,
                          [&](auto d, size_t x, size_t i) HWY_ATTR
                          { hn::StoreU(hn::Min(levelsAt(d, counted + x), hn::Set(d, uint16_t{1})), d, counts + i); });
                for (size_t i = 0; i < count; ++i)
                {
                    histogram[places[i]] += counts[i];
                }
            }
            else
            {
                for (size_t i = 0; i < count; ++i)
                {
                    ++histogram[places[i]];
                }
            }
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrImageIntensityHistogram_v2, binnedHistogram);
VSR_VECTOR(vsrHistogram2Du8, jointHistogram);

#endif
