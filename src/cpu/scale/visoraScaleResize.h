// Where the pixels of a resized image come from, along one axis.
#ifndef VISORA_CPU_RESIZE_H
#define VISORA_CPU_RESIZE_H

#include <algorithm>
#include <cstdint>

namespace visora
{

/** Source index of nearest neighbour: (index + 0.5) * srcSize / dstSize, rounded down. */
inline uint32_t nearestIndex(uint32_t index, uint32_t srcSize, uint32_t dstSize)
{
    const uint64_t place = (2 * uint64_t{index} + 1) * srcSize / (2 * uint64_t{dstSize});
    return static_cast<uint32_t>(std::min<uint64_t>(place, srcSize - 1));
}

/** Weights of bilinear interpolation add up to this. */
constexpr uint32_t kLinearTotal = 2048;

/** The two source pixels that an output pixel lies between. */
struct LinearTaps
{
    LinearTaps(uint32_t index, uint32_t srcSize, uint32_t dstSize)
    {
        // The place (index + 0.5) * srcSize / dstSize - 0.5 as a fraction of whole numbers.
        const uint64_t centre = (2 * uint64_t{index} + 1) * srcSize;
        const uint64_t denominator = 2 * uint64_t{dstSize};
        if (centre < dstSize)
        {
            return;
        }
        const uint64_t place = centre - dstSize;
        lower = static_cast<uint32_t>(std::min<uint64_t>(place / denominator, srcSize - 1));
        upper = std::min(lower + 1, srcSize - 1);
        const uint64_t share = place % denominator;
        weight = static_cast<uint32_t>((share * 2 * kLinearTotal + denominator) / (2 * denominator));
    }

    uint32_t lower = 0;
    uint32_t upper = 0;
    uint32_t weight = 0;  // of `upper`; `lower` has the rest
};

/**
 * The source pixels under an output pixel. Lengths are in parts of 1 / dstSize source pixels; only the ratio of the
 * sizes matters, so a common divisor may be left out.
 */
class AreaSpan
{
  public:
    AreaSpan(uint32_t index, uint32_t srcSize, uint32_t dstSize)
        : begin_(uint64_t{index} * srcSize), end_(begin_ + srcSize), dstSize_(dstSize)
    {
    }

    uint32_t first() const { return static_cast<uint32_t>(begin_ / dstSize_); }
    uint32_t last() const { return static_cast<uint32_t>((end_ - 1) / dstSize_); }

    /** What the span covers of a source pixel; all of them together make srcSize. */
    uint32_t covered(uint32_t pixel) const
    {
        const uint64_t from = std::max(begin_, pixel * dstSize_);
        const uint64_t to = std::min(end_, (uint64_t{pixel} + 1) * dstSize_);
        return to > from ? static_cast<uint32_t>(to - from) : 0;
    }

  private:
    uint64_t begin_;
    uint64_t end_;
    uint64_t dstSize_;
};

}  // namespace visora

#endif
