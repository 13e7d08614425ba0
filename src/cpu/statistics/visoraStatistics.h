// What becomes of the sums over an image, and how its structure is compared.
#ifndef VISORA_CPU_STATISTICS_H
#define VISORA_CPU_STATISTICS_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "cpu/visoraPartialSums.h"

namespace visora
{

/** Mean and variance of `count` pixels from their sum and the sum of their squares. */
inline void meanAndVariance(uint64_t count, uint64_t sum, uint64_t squares, float* mean, float* variance)
{
    const auto n = static_cast<double>(count);
    const auto s = static_cast<double>(sum);
    const double d = n * static_cast<double>(squares) - s * s;
    *mean = static_cast<float>(s / n);
    *variance = static_cast<float>((d > 0 ? d : 0) / (n * n));
}

/** Peak signal-to-noise ratio, with a logarithm of its own: ln m = 2 * artanh((m - 1) / (m + 1)). */
inline float peakSignalToNoise(uint64_t pixels, uint64_t squaredError)
{
    if (squaredError == 0)
    {
        return std::numeric_limits<float>::infinity();
    }
    const double r = 65025 * static_cast<double>(pixels) / static_cast<double>(squaredError);
    int e;
    double m = std::frexp(r, &e);
    if (m < 0.75)
    {
        m *= 2;
        --e;
    }
    const double t = (m - 1) / (m + 1);
    const double z = t * t;
    const double q =
        ((((((1.0 / 13 * z + 1.0 / 11) * z + 1.0 / 9) * z + 1.0 / 7) * z + 1.0 / 5) * z + 1.0 / 3) * z + 1);
    return static_cast<float>(e * 3.010299956639812 + ((t + t) * q) * 4.342944819032518);
}

// ---- Structural similarity ----

constexpr size_t kWindow = 11;
constexpr size_t kRadius = kWindow / 2;
/** Weights of the window, from the centre outward. */
constexpr float kWindowWeights[kRadius + 1] = {0x1.10656p-2f,  0x1.b43c4p-3f,  0x1.bff0fep-4f,
                                               0x1.26eb18p-5f, 0x1.f1fe02p-8f, 0x1.0d956cp-10f};
constexpr float kLumaFloor = 6.5025f;
constexpr float kContrastFloor = 58.5225f;

/** Weighted sum of the eleven values at(0) .. at(10), pairs from the centre outward. */
template <class At>
float windowSum(At at)
{
    float sum = kWindowWeights[0] * at(kRadius);
    for (size_t k = 1; k <= kRadius; ++k)
    {
        sum += kWindowWeights[k] * (at(kRadius - k) + at(kRadius + k));
    }
    return sum;
}

/** Similarity of two windows from the weighted means of a, b, a * a + b * b and a * b, levels counted from 128. */
inline float similarityOf(float a, float b, float q, float x)
{
    const float s = q - (a * a + b * b);
    const float c = x - a * b;
    const float u = a + 128;
    const float v = b + 128;
    const float m = u * v;
    return (((m + m) + kLumaFloor) * ((c + c) + kContrastFloor)) /
           (((u * u + v * v) + kLumaFloor) * (s + kContrastFloor));
}

}  // namespace visora

#endif
