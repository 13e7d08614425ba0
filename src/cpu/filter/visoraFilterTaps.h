// Gaussian taps of odd windows.
#ifndef VISORA_CPU_FILTER_TAPS_H
#define VISORA_CPU_FILTER_TAPS_H

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "cpu/visoraExponential.h"

namespace visora
{

/** The largest window of the filters that take any odd one. */
constexpr size_t kLargestWindow = 255;

/** The first N elements count. */
using GaussianTaps = std::array<double, kLargestWindow>;

/** Taps of sum 1. A sigma of 0 stands for one that suits N; up to 9 taps are then multiples of 1/256. */
inline GaussianTaps gaussianTaps(uint32_t N, float sigma)
{
    constexpr double kFixed[5][9] = {
        {256}, {64, 128, 64}, {16, 64, 96, 64, 16}, {8, 28, 56, 72, 56, 28, 8}, {4, 13, 30, 51, 60, 51, 30, 13, 4}};
    GaussianTaps taps = {};
    if (sigma == 0 && N <= 9)
    {
        for (size_t i = 0; i < N; ++i)
        {
            taps[i] = kFixed[N / 2][i] / 256;
        }
        return taps;
    }
    const double s = sigma == 0 ? 0.15 * N + 0.35 : double{sigma};
    const double b = 0.125 / (s * s);
    double sum = 0;
    for (size_t i = 0; i < N / 2; ++i)
    {
        const auto distance = static_cast<double>(N - 1 - 2 * i);
        taps[i] = exponentialOfMinus(distance * distance * b);
        sum = sum + taps[i];
    }
    const double scale = 1 / (sum * 2 + 1);
    for (size_t i = 0; i < N / 2; ++i)
    {
        taps[i] = taps[i] * scale;
        taps[N - 1 - i] = taps[i];
    }
    taps[N / 2] = scale;
    return taps;
}

/** The taps in 1/256, whose sum stays 256: what rounding takes from one is given to the next, the centre gets the rest.
 */
inline std::array<uint16_t, kLargestWindow> integerGaussianTaps(uint32_t N, float sigma)
{
    const GaussianTaps exact = gaussianTaps(N, sigma);
    std::array<uint16_t, kLargestWindow> taps = {};
    double error = 0;
    int centre = 256;
    for (size_t i = 0; i < N / 2; ++i)
    {
        const double wanted = exact[i] * 256 + error;
        const double tap = std::nearbyint(wanted);
        error = wanted - tap;
        taps[i] = static_cast<uint16_t>(tap);
        taps[N - 1 - i] = taps[i];
        centre -= 2 * taps[i];
    }
    taps[N / 2] = static_cast<uint16_t>(centre);
    return taps;
}

/** The taps in single precision. */
inline std::array<float, kLargestWindow> floatGaussianTaps(uint32_t N, float sigma)
{
    const GaussianTaps exact = gaussianTaps(N, sigma);
    std::array<float, kLargestWindow> taps = {};
    for (size_t i = 0; i < N; ++i)
    {
        taps[i] = static_cast<float>(exact[i]);
    }
    return taps;
}

}  // namespace visora

#endif
