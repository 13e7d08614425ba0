// Clusters, reference.
#include "cpu/cluster/visoraCluster.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/corner.h"

using visora::planeRow;

vsrStatus vsrClusterAssignf32C(const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                               const float* centres, uint32_t numCentres, uint32_t centreStride, uint16_t* indices,
                               float* distances)
{
    for (size_t i = 0; i < numVectors; ++i)
    {
        const visora::NearestCentre<uint16_t, float> nearest = {indices[i], distances[i]};
        for (size_t k = 0; k < numCentres; ++k)
        {
            nearest.add(
                k, visora::squaredDistance(planeRow(src, srcStride, i), planeRow(centres, centreStride, k), length));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrClusterAssignu8C(const uint8_t* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                              const uint8_t* centres, uint32_t numCentres, uint32_t centreStride, uint16_t* indices,
                              uint32_t* distances)
{
    for (size_t i = 0; i < numVectors; ++i)
    {
        const visora::NearestCentre<uint16_t, uint32_t> nearest = {indices[i], distances[i]};
        for (size_t k = 0; k < numCentres; ++k)
        {
            uint32_t distance = 0;
            for (size_t e = 0; e < length; ++e)
            {
                const int32_t difference = planeRow(src, srcStride, i)[e] - planeRow(centres, centreStride, k)[e];
                distance += static_cast<uint32_t>(difference * difference);
            }
            nearest.add(k, distance);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrClusterUpdatef32C(const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                               const uint16_t* indices, float* centres, uint32_t numCentres, uint32_t centreStride,
                               float* maxShift)
{
    const size_t elements = size_t{numCentres} * length;
    const visora::Scratch scratch(elements * sizeof(double) + numCentres * sizeof(uint32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* sums = scratch.as<double>();
    auto* counts = reinterpret_cast<uint32_t*>(sums + elements);
    std::fill_n(sums, elements, 0.0);
    std::fill_n(counts, numCentres, 0u);
    for (size_t i = 0; i < numVectors; ++i)
    {
        ++counts[indices[i]];
        for (size_t e = 0; e < length; ++e)
        {
            sums[indices[i] * size_t{length} + e] += static_cast<double>(planeRow(src, srcStride, i)[e]);
        }
    }
    *maxShift = 0;
    for (size_t k = 0; k < numCentres; ++k)
    {
        if (counts[k] != 0)
        {
            visora::addShift(
                maxShift, visora::moveCentre(sums + k * length, counts[k], planeRow(centres, centreStride, k), length));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrClusterUpdateu8C(const uint8_t* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                              const uint16_t* indices, uint8_t* centres, uint32_t numCentres, uint32_t centreStride,
                              uint32_t* counts)
{
    const size_t elements = size_t{numCentres} * length;
    const visora::Scratch scratch(elements * sizeof(uint64_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* sums = scratch.as<uint64_t>();
    std::fill_n(sums, elements, uint64_t{0});
    std::fill_n(counts, numCentres, 0u);
    for (size_t i = 0; i < numVectors; ++i)
    {
        ++counts[indices[i]];
        for (size_t e = 0; e < length; ++e)
        {
            sums[indices[i] * size_t{length} + e] += planeRow(src, srcStride, i)[e];
        }
    }
    for (size_t k = 0; k < numCentres; ++k)
    {
        const uint64_t n = counts[k];
        for (size_t e = 0; n != 0 && e < length; ++e)
        {
            planeRow(centres, centreStride, k)[e] = static_cast<uint8_t>((2 * sums[k * length + e] + n) / (2 * n));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrCodeHistogramu16C(const uint16_t* codes, uint32_t numCodes, uint32_t numBins, vsrHistogramNorm norm,
                               float* histogram)
{
    const visora::Scratch scratch(numBins * sizeof(uint32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* counts = scratch.as<uint32_t>();
    std::fill_n(counts, numBins, 0u);
    for (size_t i = 0; i < numCodes; ++i)
    {
        ++counts[codes[i]];
    }
    const float scale = visora::histogramScale(norm, counts, numCodes, numBins);
    for (size_t i = 0; i < numBins; ++i)
    {
        histogram[i] = numCodes != 0 ? static_cast<float>(counts[i]) / scale : 0;
    }
    return VISORA_SUCCESS;
}
