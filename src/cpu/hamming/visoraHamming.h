// Distances of bit strings and what is kept of them.
#ifndef VISORA_CPU_HAMMING_H
#define VISORA_CPU_HAMMING_H

#include <bit>
#include <cstddef>
#include <cstdint>

#include "visora/set.h"

namespace visora
{

inline uint32_t hammingDistance(const uint8_t* a, const uint8_t* b, size_t length)
{
    uint32_t distance = 0;
    for (size_t i = 0; i < length; ++i)
    {
        distance += static_cast<uint32_t>(std::popcount(static_cast<uint8_t>(a[i] ^ b[i])));
    }
    return distance;
}

/** The nearest vectors so far, which come in rising order of index. `kept` of them, in rising order of distance. */
template <size_t kept>
class NearestVectors
{
  public:
    NearestVectors(uint32_t* indices, uint32_t* distances) : indices_(indices), distances_(distances) {}

    void clear()
    {
        for (size_t i = 0; i < kept; ++i)
        {
            indices_[i] = VISORA_NO_MATCH;
            distances_[i] = UINT32_MAX;
        }
    }

    void add(uint32_t index, uint32_t distance)
    {
        for (size_t i = 0; i < kept; ++i)
        {
            if (distance < distances_[i])
            {
                for (size_t k = kept - 1; k > i; --k)
                {
                    indices_[k] = indices_[k - 1];
                    distances_[k] = distances_[k - 1];
                }
                indices_[i] = index;
                distances_[i] = distance;
                return;
            }
        }
    }

  private:
    uint32_t* indices_;
    uint32_t* distances_;
};

/** The nearest query to each vector of a set: queries come in rising order. */
struct NearestQueries
{
    static size_t bytes(size_t numVectors) { return numVectors * 2 * sizeof(uint32_t); }

    NearestQueries(uint32_t* memory, size_t numVectors) : queries(memory), distances(memory + numVectors)
    {
        for (size_t i = 0; i < numVectors; ++i)
        {
            queries[i] = VISORA_NO_MATCH;
            distances[i] = UINT32_MAX;
        }
    }

    void add(uint32_t query, size_t index, uint32_t distance)
    {
        if (distance < distances[index])
        {
            queries[index] = query;
            distances[index] = distance;
        }
    }

    /** Takes back matches that are not mutual. */
    void filter(uint32_t numQueries, uint32_t* indices, uint32_t* queryDistances) const
    {
        for (uint32_t q = 0; q < numQueries; ++q)
        {
            if (indices[q] != VISORA_NO_MATCH && queries[indices[q]] != q)
            {
                indices[q] = VISORA_NO_MATCH;
                queryDistances[q] = UINT32_MAX;
            }
        }
    }

    uint32_t* queries;
    uint32_t* distances;
};

}  // namespace visora

#endif
