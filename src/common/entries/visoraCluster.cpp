// Entry points of clusters and of the KD-tree.
#include <memory>

#include "common/visoraEntry.h"
#include "common/visoraIndices.h"
#include "cpu/cluster/visoraKDTree.h"
#include "visora/variants/corner.h"

using visora::List;
using visora::Numbers;
using visora::Result;
using visora::ResultList;
using visora::ResultSet;
using visora::Set;

namespace
{

// Bytes of so long a vector have squared distances of 32 bits.
constexpr uint32_t kLongestBytes = 66051;

// Indices of 16 bits.
constexpr bool isIndexable(uint32_t count)
{
    return count >= 1 && count <= 65536;
}

template <uint32_t longest>
constexpr auto assign = [](auto open, const auto* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                           const auto* centres, uint32_t numCentres, uint32_t centreStride, uint16_t* indices,
                           auto* distances)
{
    const Set vectors(src, length, srcStride);
    const Set targets(centres, length, centreStride);
    return open(vectors, targets, ResultList(indices), ResultList(distances))
        .require(isIndexable(numCentres) && length <= longest)
        .run(src, length, numVectors, vectors.stride(), centres, numCentres, targets.stride(), indices, distances);
};

constexpr auto update = [](auto open, const auto* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                           const uint16_t* indices, auto* centres, uint32_t numCentres, uint32_t centreStride,
                           auto* results)
{
    const Set vectors(src, length, srcStride);
    const ResultSet targets(centres, length, centreStride);
    return open(vectors, List(indices), targets, ResultList(results))
        .require(length != 0 && isIndexable(numCentres) && visora::areBelow(indices, numVectors, numCentres))
        .run(src, length, numVectors, vectors.stride(), indices, centres, numCentres, targets.stride(), results);
};

}  // namespace

VSR_ENTRY(vsrClusterAssignf32, vsrClusterAssignf32, assign<UINT32_MAX>);
VSR_ENTRY(vsrClusterAssignu8, vsrClusterAssignu8, assign<kLongestBytes>);
VSR_ENTRY(vsrClusterUpdatef32, vsrClusterUpdatef32, update);
VSR_ENTRY(vsrClusterUpdateu8, vsrClusterUpdateu8, update);

vsrStatus vsrCodeHistogramu16(const uint16_t* codes, uint32_t numCodes, uint32_t numBins, vsrHistogramNorm norm,
                              float* histogram)
{
    return VSR_CALL(vsrCodeHistogramu16, List(codes), Result(histogram, numBins))
        .require(isIndexable(numBins) && (norm == VISORA_HISTOGRAM_L1 || norm == VISORA_HISTOGRAM_L2) &&
                 visora::areBelow(codes, numCodes, numBins))
        .run(codes, numCodes, numBins, norm, histogram);
}

vsrStatus vsrKDTreeBuildf32(const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                            vsrKDTree** tree)
{
    const Set vectors(src, length, srcStride);
    return VSR_CALL(vsrKDTreeBuildf32, vectors, Result(tree)).run(src, length, numVectors, vectors.stride(), tree);
}

vsrStatus vsrKDTreeSearchf32(const vsrKDTree* tree, const float* queries, uint32_t numQueries, uint32_t queryStride,
                             uint32_t k, uint32_t maxLeaves, uint32_t* indices, float* distances)
{
    const Set vectors(queries, tree ? tree->length : 1, queryStride);
    return VSR_CALL(vsrKDTreeSearchf32, Numbers(tree), vectors, ResultList(indices), ResultList(distances))
        .require(k != 0)
        .run(tree, queries, numQueries, vectors.stride(), k, maxLeaves, indices, distances);
}

vsrStatus vsrKDTreeReleasef32(vsrKDTree* tree)
{
    const std::unique_ptr<vsrKDTree> owned(tree);
    return tree ? VISORA_SUCCESS : VISORA_EBADPARAM;
}
