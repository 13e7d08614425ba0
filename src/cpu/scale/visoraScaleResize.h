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

/**
 * Where the centre of an output pixel lies among the centres of the source's: (index + 0.5) * srcSize / dstSize - 0.5,
 * as a whole number, -1 at the least, and a share of the way to the next.
 */
struct LinearPlace
{
    LinearPlace(uint32_t index, uint32_t srcSize, uint32_t dstSize) : denominator(2 * uint64_t{dstSize})
    {
        // One source pixel more, so that nothing is negative.
        const uint64_t place = (2 * uint64_t{index} + 1) * srcSize + dstSize;
        lower = static_cast<int64_t>(place / denominator) - 1;
        share = place % denominator;
    }

    int64_t lower;
    uint64_t share;  // in parts of the denominator
    uint64_t denominator;
};

/** Weights of bilinear interpolation add up to this. */
constexpr uint32_t kLinearTotal = 2048;

/** The two source pixels that an output pixel lies between. */
struct LinearTaps
{
    LinearTaps(uint32_t index, uint32_t srcSize, uint32_t dstSize)
    {
        const LinearPlace place(index, srcSize, dstSize);
        const auto last = static_cast<int64_t>(srcSize) - 1;
        outerLower = place.lower;
        lower = static_cast<uint32_t>(std::clamp<int64_t>(place.lower, 0, last));
        upper = static_cast<uint32_t>(std::min(place.lower + 1, last));
        weight = static_cast<uint32_t>((place.share * 2 * kLinearTotal + place.denominator) / (2 * place.denominator));
    }

    uint32_t lower;
    uint32_t upper;
    uint32_t weight;     // of `upper`; `lower` has the rest
    int64_t outerLower;  // as `lower`, but -1 stays; the upper one beside it is the next, inside or not
};

/** The same for floats, whose weights are floats. Where both pixels are the edge's the weight is 0. */
struct LinearFloatTaps
{
    LinearFloatTaps(uint32_t index, uint32_t srcSize, uint32_t dstSize)
    {
        const LinearPlace place(index, srcSize, dstSize);
        const auto last = static_cast<int64_t>(srcSize) - 1;
        if (place.lower < 0 || place.lower >= last)
        {
            lower = upper = place.lower < 0 ? 0 : srcSize - 1;
            return;
        }
        lower = static_cast<uint32_t>(place.lower);
        upper = lower + 1;
        weight = static_cast<float>(place.share) / static_cast<float>(place.denominator);
    }

    uint32_t lower;
    uint32_t upper;
    float weight = 0;
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
