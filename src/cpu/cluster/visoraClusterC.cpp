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

namespace
{

constexpr auto addElements = [](const auto* from, auto* to, size_t length)
{
    for (size_t e = 0; e < length; ++e)
    {
        to[e] += static_cast<std::remove_reference_t<decltype(to[e])>>(from[e]);
    }
};

}  // namespace

vsrStatus vsrClusterUpdatef32C(const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                               const uint16_t* indices, float* centres, uint32_t numCentres, uint32_t centreStride,
                               float* maxShift)
{
    return visora::updateCentres(addElements, src, length, numVectors, srcStride, indices, centres, numCentres,
                                 centreStride, maxShift);
}

vsrStatus vsrClusterUpdateu8C(const uint8_t* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                              const uint16_t* indices, uint8_t* centres, uint32_t numCentres, uint32_t centreStride,
                              uint32_t* counts)
{
    return visora::updateCentres<uint64_t>(addElements, src, length, numVectors, srcStride, indices, centres,
                                           numCentres, centreStride, counts);
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
