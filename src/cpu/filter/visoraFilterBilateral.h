// Weights of the filters that keep edges.
#ifndef VISORA_CPU_FILTER_BILATERAL_H
#define VISORA_CPU_FILTER_BILATERAL_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "cpu/filter/visoraFilterTaps.h"
#include "cpu/visoraExponential.h"

namespace visora
{

/** exp(-a) from 0 to 255. */
inline uint8_t byteWeight(double a)
{
    return static_cast<uint8_t>(255 * exponentialOfMinus(a) + 0.5);
}

/** 2 sigma^2. */
inline double twiceVariance(float sigma)
{
    return 2 * (double{sigma} * double{sigma});
}

/** Weights of a bilateral filter of bytes: of pixels that differ by d, and of those i columns and j rows away. */
struct BilateralWeights
{
    BilateralWeights(uint32_t N, float sigmaSpace, float sigmaRange) : radius(N / 2)
    {
        const double spaceScale = twiceVariance(sigmaSpace);
        const double rangeScale = twiceVariance(sigmaRange);
        for (size_t d = 0; d < ofDifference.size(); ++d)
        {
            ofDifference[d] = byteWeight(static_cast<double>(d * d) / rangeScale);
        }
        for (size_t j = 0; j <= radius; ++j)
        {
            for (size_t i = 0; i <= radius; ++i)
            {
                ofDistance[j][i] = byteWeight(static_cast<double>(i * i + j * j) / spaceScale);
            }
        }
    }

    size_t radius;
    std::array<uint8_t, 256> ofDifference;
    std::array<std::array<uint8_t, kLargestWindow / 2 + 1>, kLargestWindow / 2 + 1> ofDistance;
};

/** exp(-t ln 2) is a power of two times this polynomial of the rest, from -0.5 to 0.5, by falling powers. */
constexpr std::array<float, 6> kPowerOfHalf = {-0x1.5bba14p-10f, 0x1.3cea88p-7f,  -0x1.c6b752p-5f,
                                               0x1.ebf9bcp-3f,   -0x1.62e42ap-1f, 1.0f};

/** What squared differences of floats are multiplied by: their weight is 2 to the power of minus the product. */
inline float rangeFactor(float sigmaRange)
{
    constexpr double kLargest = std::numeric_limits<float>::max();
    return static_cast<float>(std::min(0x1.71547652b82fep+0 / twiceVariance(sigmaRange), kLargest));
}

}  // namespace visora

#endif
