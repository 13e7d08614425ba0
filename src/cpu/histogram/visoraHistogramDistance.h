// Distances of histograms: what is summed over the bins, and what becomes of the sums.
#ifndef VISORA_CPU_HISTOGRAM_DISTANCE_H
#define VISORA_CPU_HISTOGRAM_DISTANCE_H

#include <array>
#include <cmath>
#include <cstdint>

#include "cpu/visoraFloat.h"
#include "cpu/visoraPartialSums.h"
#include "visora/histogram.h"

namespace visora
{

constexpr size_t kDistanceTerms = 5;
using DistanceSums = std::array<PartialSums<double>, kDistanceTerms>;

/** How many sums a method takes. */
constexpr size_t distanceTerms(uint32_t method)
{
    return method == VISORA_HISTOGRAM_CORRELATION ? 5 : method == VISORA_HISTOGRAM_BHATTACHARYYA ? 3 : 1;
}

/** Bins with less than this add nothing to the chi-square distance. */
constexpr double kTinyBin = 0x1p-52;

/** Term `k` of a method for a pair of bins. */
inline double distanceTerm(uint32_t method, size_t k, double a, double b)
{
    switch (method)
    {
        case VISORA_HISTOGRAM_CORRELATION:
            return k == 0 ? a : k == 1 ? b : k == 2 ? a * a : k == 3 ? b * b : a * b;
        case VISORA_HISTOGRAM_CHI_SQUARE:
            return std::fabs(a) > kTinyBin ? (a - b) * (a - b) / a : 0;
        case VISORA_HISTOGRAM_INTERSECTION:
            return b < a ? b : a;
        default:
            return k == 0 ? a : k == 1 ? b : std::sqrt(a * b);
    }
}

inline float distanceOf(uint32_t method, uint32_t count, const DistanceSums& sums)
{
    const double s1 = sums[0].total();
    const double s2 = sums[1].total();
    double distance = s1;
    if (method == VISORA_HISTOGRAM_CORRELATION)
    {
        const double n = count;
        const double s11 = sums[2].total();
        const double s22 = sums[3].total();
        const double v1 = s11 - s1 * s1 / n;
        const double v2 = s22 - s2 * s2 / n;
        // What is left of a flat histogram is rounding.
        const bool flat = v1 <= s11 * 0x1p-40 || v2 <= s22 * 0x1p-40;
        distance = flat ? 1 : (sums[4].total() - s1 * s2 / n) / std::sqrt(v1 * v2);
    }
    else if (method == VISORA_HISTOGRAM_BHATTACHARYYA)
    {
        const double q = s1 * s2 > 0 ? sums[2].total() / std::sqrt(s1 * s2) : 0;
        const double r = 1 - q;
        distance = r < 0 ? 0 : std::sqrt(r);
    }
    return standardNaN(static_cast<float>(distance));
}

}  // namespace visora

#endif
