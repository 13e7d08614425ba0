// Blocks of histograms of oriented gradients.
#ifndef VISORA_CPU_HOG_H
#define VISORA_CPU_HOG_H

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "cpu/descriptor/visoraDescriptor.h"
#include "cpu/visoraFloat.h"
#include "cpu/visoraPartialSums.h"
#include "cpu/visoraPlane.h"

namespace visora
{

/** What a handle stands for. */
struct HogSetup
{
    static const HogSetup& of(uint64_t handle) { return *reinterpret_cast<const HogSetup*>(handle); }

    uint32_t cellSize;
    uint32_t blockCells;
    uint32_t blockStep;
    uint32_t bins;
    bool isSigned;

    uint32_t blockLength() const { return blockCells * blockCells * bins; }
    /** Blocks along a side of so many pixels. */
    uint32_t blocks(uint32_t side) const
    {
        const uint32_t cells = side / cellSize;
        return cells < blockCells ? 0 : (cells - blockCells) / blockStep + 1;
    }
};

/** A pixel's vote, shared by two bins. */
struct HogVote
{
    uint32_t bin;  // the other one is the next
    uint32_t low;
    uint32_t high;
};

/** The vote of a gradient; directionScale is 256 bins to as many eighths of a turn as they cover. */
inline HogVote voteOf(int32_t dx, int32_t dy, const HogSetup& setup)
{
    const float length = std::sqrt(static_cast<float>(dx * dx + dy * dy));
    const auto m = static_cast<uint32_t>(roundedUp(length * 16));
    float o = directionOf(static_cast<float>(dx), static_cast<float>(dy));
    o = !setup.isSigned && o >= 4 ? o - 4 : o;
    const auto scale = static_cast<float>((setup.isSigned ? 32 : 64) * setup.bins);
    auto t = static_cast<int32_t>(roundedUp(o * scale)) - 128;
    t += t < 0 ? static_cast<int32_t>(256 * setup.bins) : 0;
    const uint32_t high = (m * static_cast<uint32_t>(t & 255) + 128) >> 8;
    return {static_cast<uint32_t>(t >> 8), m - high, high};
}

}  // namespace visora

#endif
