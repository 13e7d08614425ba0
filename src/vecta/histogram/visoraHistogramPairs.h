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

class PairCounter
{
  public:
    /** Of fewer pixels the sums over the table take longer than is saved. */
    static constexpr uint64_t kFewest = 1 << 18;

    PairCounter() : scratch_(kLevels * kLevels * sizeof(uint32_t))
    {
        if (isThere())
        {
            std::fill_n(scratch_.as<uint32_t>(), kLevels * kLevels, 0u);
        }
    }

    bool isThere() const { return scratch_.data() != nullptr; }

    void add(const uint8_t* row, size_t width)
    {
        auto* const pairs = scratch_.as<uint32_t>();
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
            ++singles_[row[x]];
        }
    }

    Histogram counts() const
    {
        // A row of the table has the pairs with one second pixel, a column those with one first pixel, or the other
        // way.
        Histogram sums = singles_;
        for (size_t level = 0; level < kLevels; ++level)
        {
            const uint32_t* const row = scratch_.as<uint32_t>() + level * kLevels;
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

  private:
    static constexpr size_t kLevels = 256;

    Scratch scratch_;
    Histogram singles_{};
};

/** As histogramOf. */
inline Histogram histogramByPairs(const uint8_t* src, uint32_t width, uint32_t height, size_t stride)
{
    if (uint64_t{width} * height >= PairCounter::kFewest)
    {
        PairCounter counter;
        if (counter.isThere())
        {
            for (size_t y = 0; y < height; ++y)
            {
                counter.add(src + y * stride, width);
            }
            return counter.counts();
        }
    }
    return histogramOf(src, width, height, stride);
}

}  // namespace visora

#endif
