// The twiddle factors of the Fourier transforms, and what the variants agree on.
#ifndef VISORA_CPU_TRANSFORM_FFT_H
#define VISORA_CPU_TRANSFORM_FFT_H

#include <bit>
#include <cstddef>
#include <cstdint>

#include "cpu/visoraFloat.h"

namespace visora
{

constexpr uint32_t kLongestFft = 65536;

constexpr bool isFftLength(uint32_t n)
{
    return std::has_single_bit(n) && n <= kLongestFft;
}

/** cos(2 * pi * i / 65536) for i = 0 .. 16384, each the nearest float; made when it is first asked for. */
const float* quarterWave();

struct Twiddle
{
    float c;
    float s;
};

/** Nearest floats to cos(pi * k / h) and sin(pi * k / h), 0 <= k < h, h a power of two up to 32768. */
inline Twiddle twiddle(const float* wave, uint32_t k, uint32_t h)
{
    constexpr uint32_t kQuarter = kLongestFft / 4;
    const uint32_t place = k * (2 * kQuarter / h);
    if (place <= kQuarter)
    {
        return {wave[place], wave[kQuarter - place]};
    }
    return {-wave[2 * kQuarter - place], wave[place - kQuarter]};
}

/** The low `bits` bits of j in reverse. */
inline uint32_t reversedBits(uint32_t j, uint32_t bits)
{
    uint32_t reversed = 0;
    for (uint32_t i = 0; i < bits; ++i)
    {
        reversed = reversed << 1 | (j >> i & 1);
    }
    return reversed;
}

inline uint32_t bitsOf(uint32_t n)
{
    return static_cast<uint32_t>(std::countr_zero(n));
}

/** What a result is stored as: no negative zero, one kind of NaN. */
inline float finished(float r)
{
    return standardNaN(r + 0.0f);
}

}  // namespace visora

#endif
