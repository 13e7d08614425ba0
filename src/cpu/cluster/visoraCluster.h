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
#include "cpu/visoraScratch.h"
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

/** Sums of the vectors of each centre, by add(vector, sums, length), and how many they are. */
template <class T, class Sum, class Add>
void sumClusters(Add add, const T* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                 const uint16_t* indices, uint32_t numCentres, Sum* sums, uint32_t* counts)
{
    std::fill_n(sums, size_t{numCentres} * length, Sum{0});
    std::fill_n(counts, numCentres, 0u);
    for (size_t i = 0; i < numVectors; ++i)
    {
        ++counts[indices[i]];
        add(planeRow(src, srcStride, i), sums + indices[i] * size_t{length}, size_t{length});
    }
}

template <class Add>
vsrStatus updateCentres(Add add, const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                        const uint16_t* indices, float* centres, uint32_t numCentres, uint32_t centreStride,
                        float* maxShift)
{
    const size_t elements = size_t{numCentres} * length;
    const Scratch scratch(elements * sizeof(double) + numCentres * sizeof(uint32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* sums = scratch.as<double>();
    auto* counts = reinterpret_cast<uint32_t*>(sums + elements);
    sumClusters(add, src, length, numVectors, srcStride, indices, numCentres, sums, counts);
    *maxShift = 0;
    for (size_t k = 0; k < numCentres; ++k)
    {
        if (counts[k] != 0)
        {
            addShift(maxShift, moveCentre(sums + k * length, counts[k], planeRow(centres, centreStride, k), length));
        }
    }
    return VISORA_SUCCESS;
}

/** Sum holds that of all vectors' bytes. */
template <class Sum, class Add>
vsrStatus updateCentres(Add add, const uint8_t* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                        const uint16_t* indices, uint8_t* centres, uint32_t numCentres, uint32_t centreStride,
                        uint32_t* counts)
{
    const Scratch scratch(size_t{numCentres} * length * sizeof(Sum));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* sums = scratch.as<Sum>();
    sumClusters(add, src, length, numVectors, srcStride, indices, numCentres, sums, counts);
    for (size_t k = 0; k < numCentres; ++k)
    {
        const uint64_t n = counts[k];
        uint8_t* centre = planeRow(centres, centreStride, k);
        for (size_t e = 0; n != 0 && e < length; ++e)
        {
            centre[e] = static_cast<uint8_t>((2 * uint64_t{sums[k * length + e]} + n) / (2 * n));
        }
    }
    return VISORA_SUCCESS;
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
