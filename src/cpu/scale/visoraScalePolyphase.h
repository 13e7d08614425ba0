// The filter of polyphase scaling: 32 phases of a cubic of four taps.
#ifndef VISORA_CPU_SCALE_POLYPHASE_H
#define VISORA_CPU_SCALE_POLYPHASE_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace visora
{

constexpr int kPhases = 32;
constexpr size_t kPhaseTaps = 4;
using PhaseWeights = std::array<int16_t, kPhaseTaps>;

/**
 * Catmull-Rom weights in 1/128 at t = phase / 32. The outer and the third are rounded half up, the second has what is
 * left of 128; phases above the middle are those below it in reverse.
 */
constexpr PhaseWeights phaseWeights(int phase)
{
    if (phase > kPhases / 2)
    {
        const PhaseWeights w = phaseWeights(kPhases - phase);
        return {w[3], w[2], w[1], w[0]};
    }
    // 128 / 2 * polynomial in phase / 32, numerator over 32^3: (64 * n + 2^14) >> 15 rounds half up.
    const auto rounded = [](int n) { return static_cast<int16_t>((64 * n + (1 << 14)) >> 15); };
    const int t = phase;
    const int16_t w0 = rounded(-t * 32 * 32 + 2 * t * t * 32 - t * t * t);
    const int16_t w2 = rounded(t * 32 * 32 + 4 * t * t * 32 - 3 * t * t * t);
    const int16_t w3 = rounded(-t * t * 32 + t * t * t);
    return {w0, static_cast<int16_t>(128 - w0 - w2 - w3), w2, w3};
}

constexpr std::array<PhaseWeights, kPhases> kPhaseWeights = []
{
    std::array<PhaseWeights, kPhases> table{};
    for (int phase = 0; phase < kPhases; ++phase)
    {
        table[static_cast<size_t>(phase)] = phaseWeights(phase);
    }
    return table;
}();

/** First tap, inside the image or not, and phase of an output pixel. */
struct PhasePlace
{
    PhasePlace(uint32_t index, uint32_t srcSize, uint32_t dstSize)
    {
        // In 1/32 of source pixels, rounded half up; one pixel more, so that nothing is negative.
        const uint64_t centre = (2 * uint64_t{index} + 1) * srcSize;
        const uint64_t place = (kPhases * (centre + dstSize) + dstSize) / (2 * uint64_t{dstSize});
        first = static_cast<int64_t>(place / kPhases) - 2;
        phase = static_cast<size_t>(place % kPhases);
    }

    int64_t first;
    size_t phase;
};

}  // namespace visora

#endif
