// Counting pixels of large images two at a time: a table of pairs of neighbours takes half of the loads and stores.
// Neighbours in pictures are alike, so most of the table is never touched and the rest stays near; even of noise, whose
// pairs do not, the processor waits less than it saves.
#ifndef VISORA_VECTA_HISTOGRAM_PAIRS_H
#define VISORA_VECTA_HISTOGRAM_PAIRS_H

#include <algorithm>
#include <cstring>

#include "cpu/histogram/visoraHistogram.h"
#include "cpu/visoraScratch.h"

namespace visora
{

/** As histogramOf. */
inline Histogram histogramByPairs(const uint8_t* src, uint32_t width, uint32_t height, size_t stride)
{
    // Of fewer pixels the sums over the table take longer than is saved.
    constexpr uint64_t kFewest = 1 << 18;
    constexpr size_t kLevels = 256;
    if (uint64_t{width} * height < kFewest)
    {
        return histogramOf(src, width, height, stride);
    }
    const Scratch scratch(kLevels * kLevels * sizeof(uint32_t));
    if (!scratch.data())
    {
        return histogramOf(src, width, height, stride);
    }
    auto* const pairs = scratch.as<uint32_t>();
    std::fill_n(pairs, kLevels * kLevels, 0u);
    Histogram sums{};
    for (size_t y = 0; y < height; ++y)
    {
        const uint8_t* const row = src + y * stride;
        const auto countPair = [=](size_t x)
        {
            uint16_t pair;
            std::memcpy(&pair, row + x, sizeof pair);
            increment(pairs, pair);
        };
        constexpr size_t kStep = 16;
        size_t x = 0;
        for (; x + kStep <= width; x += kStep)
        {
            for (size_t k = 0; k < kStep; k += 2)
            {
                countPair(x + k);
            }
        }
        for (; x + 2 <= width; x += 2)
        {
            countPair(x);
        }
        if (x < width)
        {
            ++sums[row[x]];
        }
    }
    // A row of the table has the pairs with one second pixel, a column those with one first pixel, or the other way.
    for (size_t level = 0; level < kLevels; ++level)
    {
        const uint32_t* const row = pairs + level * kLevels;
        uint32_t sum = 0;
        for (size_t other = 0; other < kLevels; ++other)
        {
            sums[other] += row[other];
            sum += row[other];
        }
        sums[level] += sum;
    }
    return sums;
}

}  // namespace visora

#endif
