// Counting pixels, and the tables that are made of the counts. The variants share this: counting has no vector form.
#ifndef VISORA_CPU_HISTOGRAM_H
#define VISORA_CPU_HISTOGRAM_H

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace visora
{

using Histogram = std::array<uint32_t, 256>;
using ByteTable = std::array<uint8_t, 256>;

inline void increment(uint32_t* counts, size_t at)
{
    const uint32_t next = counts[at] + 1;
#ifdef __aarch64__
    // Loads and stores scale an index; compilers that know it to be the same scale it by an instruction of its own.
    asm("" : "+r"(at));
#endif
    counts[at] = next;
}

/**
 * Counts the pixels of rows, fewer than 2^32 of them, in two tables in turn: a count that was just stored cannot be
 * loaded again at once. More tables cost more than they save.
 */
class PixelCounter
{
  public:
    void add(const uint8_t* row, size_t width)
    {
        constexpr size_t kStep = 16;
        size_t x = 0;
        for (; x + kStep <= width; x += kStep)
        {
            for (size_t k = 0; k < kStep; ++k)
            {
                increment(counts_[k % kTables].data(), row[x + k]);
            }
        }
        for (; x < width; ++x)
        {
            increment(counts_[0].data(), row[x]);
        }
    }

    /** Pixels whose mask is not 0. */
    void add(const uint8_t* row, const uint8_t* mask, size_t width)
    {
        for (size_t x = 0; x < width; ++x)
        {
            counts_[x % kTables][row[x]] += mask[x] != 0 ? 1 : 0;
        }
    }

    Histogram counts() const
    {
        Histogram sum;
        for (size_t v = 0; v < sum.size(); ++v)
        {
            sum[v] = counts_[0][v] + counts_[1][v];
        }
        return sum;
    }

  private:
    static constexpr size_t kTables = 2;

    std::array<Histogram, kTables> counts_{};
};

inline Histogram histogramOf(const uint8_t* src, uint32_t width, uint32_t height, size_t stride)
{
    PixelCounter counter;
    for (size_t y = 0; y < height; ++y)
    {
        counter.add(src + y * stride, width);
    }
    return counter.counts();
}

/** Levels from `lower` to below `upper` in so many bins. */
inline void binLevels(const Histogram& counts, uint32_t lower, uint32_t upper, uint32_t bins, uint32_t* histogram)
{
    std::fill_n(histogram, bins, 0u);
    for (uint32_t v = lower; v < upper; ++v)
    {
        histogram[(v - lower) * bins / (upper - lower)] += counts[v];
    }
}

/** A level by its share, rounded to the nearest, ties to even, and cut to 0 .. top. */
inline uint32_t roundedLevel(float level, uint32_t top)
{
    const float rounded = std::nearbyintf(level);
    return rounded >= static_cast<float>(top) ? top : static_cast<uint32_t>(rounded);
}

/** The map of levels that equalises an image of `pixels` pixels with this histogram. */
inline ByteTable equalizingTable(const Histogram& histogram, uint32_t pixels)
{
    size_t lowest = 0;
    while (histogram[lowest] == 0)
    {
        ++lowest;
    }
    ByteTable table{};
    const uint32_t first = histogram[lowest];
    if (first == pixels)
    {
        table[lowest] = static_cast<uint8_t>(lowest);
        return table;
    }
    const float scale = 255.0f / static_cast<float>(pixels - first);
    uint32_t above = 0;
    for (size_t v = lowest + 1; v < table.size(); ++v)
    {
        above += histogram[v];
        table[v] = static_cast<uint8_t>(roundedLevel(static_cast<float>(above) * scale, 255));
    }
    return table;
}

/** The weight of every level's bin. */
inline ByteTable weightTable(const uint8_t* weights, uint32_t bins)
{
    ByteTable table;
    for (uint32_t v = 0; v < table.size(); ++v)
    {
        table[v] = weights[v * bins >> 8];
    }
    return table;
}

}  // namespace visora

#endif
