// Hamming distances, reference.
#include "cpu/hamming/visoraHamming.h"
#include "cpu/visoraPlane.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/corner.h"

using visora::hammingDistance;
using visora::planeRow;

vsrStatus vsrHammingBits256u8C(const uint8_t* src1, const uint8_t* src2, uint32_t* distance)
{
    *distance = hammingDistance(src1, src2, 32);
    return VISORA_SUCCESS;
}

vsrStatus vsrHammingBits512u8C(const uint8_t* src1, const uint8_t* src2, uint32_t* distance)
{
    *distance = hammingDistance(src1, src2, 64);
    return VISORA_SUCCESS;
}

vsrStatus vsrHammingBytesu8C(const uint8_t* src1, const uint8_t* src2, uint32_t length, uint32_t* distance)
{
    *distance = hammingDistance(src1, src2, length);
    return VISORA_SUCCESS;
}

vsrStatus vsrHammingOneToManyu8C(const uint8_t* query, uint32_t length, const uint8_t* set, uint32_t numVectors,
                                 uint32_t setStride, const uint32_t* indices, uint32_t numIndices, uint32_t* distances)
{
    const uint32_t count = indices ? numIndices : numVectors;
    for (uint32_t i = 0; i < count; ++i)
    {
        distances[i] = hammingDistance(query, planeRow(set, setStride, indices ? indices[i] : i), length);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrHammingMatrixu8C(const uint8_t* src1, uint32_t length, uint32_t numVectors1, uint32_t src1Stride,
                              const uint8_t* src2, uint32_t numVectors2, uint32_t src2Stride, uint32_t* dst,
                              uint32_t dstStride)
{
    for (uint32_t i = 0; i < numVectors1; ++i)
    {
        for (uint32_t j = 0; j < numVectors2; ++j)
        {
            planeRow(dst, dstStride, i)[j] =
                hammingDistance(planeRow(src1, src1Stride, i), planeRow(src2, src2Stride, j), length);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrHammingNearestu8C(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                               const uint8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t mutual,
                               uint32_t* indices, uint32_t* distances)
{
    const visora::Scratch scratch(mutual ? visora::NearestQueries::bytes(numVectors) : 0);
    if (mutual && !scratch.data())
    {
        return VISORA_ENOMEM;
    }
    visora::NearestQueries nearestQueries(scratch.as<uint32_t>(), mutual ? numVectors : 0);
    for (uint32_t q = 0; q < numQueries; ++q)
    {
        visora::NearestVectors<1> nearest(indices + q, distances + q);
        nearest.clear();
        for (uint32_t i = 0; i < numVectors; ++i)
        {
            const uint32_t distance =
                hammingDistance(planeRow(queries, queryStride, q), planeRow(set, setStride, i), length);
            nearest.add(i, distance);
            if (mutual)
            {
                nearestQueries.add(q, i, distance);
            }
        }
    }
    if (mutual)
    {
        nearestQueries.filter(numQueries, indices, distances);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrHammingNearest2u8C(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                                const uint8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t* indices,
                                uint32_t* distances)
{
    for (uint32_t q = 0; q < numQueries; ++q)
    {
        visora::NearestVectors<2> nearest(indices + 2 * size_t{q}, distances + 2 * size_t{q});
        nearest.clear();
        for (uint32_t i = 0; i < numVectors; ++i)
        {
            nearest.add(i, hammingDistance(planeRow(queries, queryStride, q), planeRow(set, setStride, i), length));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrHammingWithinu8C(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                              const uint8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t maxDistance,
                              uint32_t* indices, uint32_t capacity, uint32_t* counts)
{
    for (uint32_t q = 0; q < numQueries; ++q)
    {
        counts[q] = 0;
        for (uint32_t i = 0; i < numVectors && counts[q] < capacity; ++i)
        {
            if (hammingDistance(planeRow(queries, queryStride, q), planeRow(set, setStride, i), length) <= maxDistance)
            {
                indices[size_t{q} * capacity + counts[q]++] = i;
            }
        }
    }
    return VISORA_SUCCESS;
}
