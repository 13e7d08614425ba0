// Which source pixels an output pixel takes, for the ratios that are not whole.
#ifndef VISORA_CPU_SCALE_MAP_H
#define VISORA_CPU_SCALE_MAP_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "visora/variants/scale.h"

namespace visora
{

/** Cuts an axis of the M:N average into runs of source pixels, one per output pixel, by error accumulation. */
class RunLengths
{
  public:
    RunLengths(uint32_t srcSize, uint32_t dstSize) : srcSize_(srcSize), dstSize_(dstSize) {}

    /** Length of the next run. */
    uint32_t next()
    {
        uint32_t length = 0;
        do
        {
            sum_ += dstSize_;
            ++length;
        } while (sum_ < srcSize_);
        sum_ -= srcSize_;
        return length;
    }

  private:
    uint64_t srcSize_;
    uint64_t dstSize_;
    uint64_t sum_ = 0;
};

/**
 * The fixed-point steps of nearest neighbour along one axis. All arithmetic is that of 32-bit unsigned numbers and
 * wraps with them.
 */
class NearestAxis
{
  public:
    /** Bits of the product index * step; above 16 they do not fit beside the fraction. */
    static bool needsSplit(uint32_t srcSize, uint32_t dstSize) { return productBits(srcSize, dstSize) > 16; }

    /** With `split` the index is taken in two halves, each multiplied apart, which keeps the products within 32 bits.
     */
    NearestAxis(uint32_t srcSize, uint32_t dstSize, bool split)
        : last_(srcSize - 1), split_(split ? (vsrGetNumBits(dstSize) + 1) >> 1 : 0)
    {
        const uint32_t upper = split ? vsrGetNumBits(dstSize) >> 1 : 0;
        const auto exponent = static_cast<int8_t>(upper - productBits(srcSize, dstSize));
        inRange_ = exponent >= -20 && exponent <= -1;
        if (inRange_)
        {
            const uint32_t srcZeros = vsrGetMaxNumTrail0s(srcSize);
            const uint32_t dstZeros = vsrGetMaxNumTrail0s(dstSize);
            const auto fraction = static_cast<uint32_t>(32 + exponent);
            const uint32_t dstOdd = dstSize >> dstZeros;
            step_ = ((uint32_t{1} << fraction) + (dstOdd >> 1)) / dstOdd * (srcSize >> srcZeros);
            shift_ = (dstZeros - srcZeros - split_ + fraction) % 32;
        }
    }

    /** False when the sizes leave no room for a fraction, or too much. */
    bool inRange() const { return inRange_; }

    /** Source index of a destination index. */
    uint32_t operator()(uint32_t index) const
    {
        // Without a split the lower half is empty and the upper half the whole index; with one the upper half has at
        // most eight bits.
        const uint32_t lower = index & ((uint32_t{1} << split_) - 1);
        const uint32_t product = (lower * step_ >> split_) + (index >> split_) * step_;
        return std::min<uint32_t>(static_cast<uint16_t>(product >> shift_), last_);
    }

  private:
    static uint32_t productBits(uint32_t srcSize, uint32_t dstSize)
    {
        return vsrGetNumBits(dstSize) + vsrGetNumBits(srcSize) - vsrGetMaxNumTrail0s(srcSize);
    }

    uint32_t last_;
    uint32_t split_;
    uint32_t step_ = 0;
    uint32_t shift_ = 0;
    bool inRange_ = false;
};

/** Both axes of nearest neighbour; when one needs the split, both take it. */
struct NearestMap
{
    NearestMap(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight)
        : NearestMap(srcWidth, srcHeight, dstWidth, dstHeight,
                     NearestAxis::needsSplit(srcWidth, dstWidth) || NearestAxis::needsSplit(srcHeight, dstHeight))
    {
    }

    bool inRange() const { return column.inRange() && row.inRange(); }

    NearestAxis column;
    NearestAxis row;

  private:
    NearestMap(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight, bool split)
        : column(srcWidth, dstWidth, split), row(srcHeight, dstHeight, split)
    {
    }
};

}  // namespace visora

#endif
