// Clusters: the nearest centre so far, and centres from sums.
#ifndef VISORA_CPU_CLUSTER_H
#define VISORA_CPU_CLUSTER_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "cpu/visoraFloat.h"
#include "cpu/visoraPartialSums.h"
#include "cpu/visoraPlane.h"
#include "visora/cluster.h"

namespace visora
{

inline float squaredDistance(const float* a, const float* b, size_t length)
{
    PartialSums<float> sums;
    for (size_t i = 0; i < length; ++i)
    {
        const float difference = a[i] - b[i];
        sums.add(i, difference * difference);
    }
    return standardNaN(sums.total());
}

/** The nearest centre so far; centres come in rising order. The first one is taken whatever its distance is. */
template <class Index, class T>
struct NearestCentre
{
    void add(size_t centre, T found) const
    {
        // Any distance is nearer than a NaN.
        if (centre == 0 || found < distance || (distance != distance && found == found))
        {
            index = static_cast<Index>(centre);
            distance = found;
        }
    }

    Index& index;
    T& distance;
};

/** The greatest shift so far, a NaN once there is one. */
inline void addShift(float* greatest, float shift)
{
    if (*greatest == *greatest && (shift > *greatest || shift != shift))
    {
        *greatest = shift != shift ? standardNaN(shift) : shift;
    }
}

/** Moves a centre to the mean of `count` vectors with these sums and returns how far it went. */
inline float moveCentre(const double* sums, uint32_t count, float* centre, size_t length)
{
    PartialSums<float> shift;
    for (size_t i = 0; i < length; ++i)
    {
        const auto mean = standardNaN(static_cast<float>(sums[i] / count));
        const float e = mean - centre[i];
        shift.add(i, e * e);
        centre[i] = mean;
    }
    return std::sqrt(shift.total());
}

/** One over the length of a histogram of counts, as what they are divided by. */
inline float histogramScale(vsrHistogramNorm norm, const uint32_t* counts, uint32_t numCodes, uint32_t numBins)
{
    if (norm == VISORA_HISTOGRAM_L1)
    {
        return static_cast<float>(numCodes);
    }
    uint64_t squares = 0;
    for (size_t i = 0; i < numBins; ++i)
    {
        squares += uint64_t{counts[i]} * counts[i];
    }
    return std::sqrt(static_cast<float>(squares));
}

}  // namespace visora

#endif
