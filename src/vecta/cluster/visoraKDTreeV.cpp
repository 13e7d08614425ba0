// Search of a KD-tree, vector variant: the distances to a leaf's vectors, four at once. Where a search without a limit
// passes too many leaves all vectors are compared, which gives the same neighbours: the more dimensions there are the
// less of a tree can be left out.
#include "cpu/cluster/visoraKDTree.h"
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/cluster/visoraKDTreeV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/dot/visoraDot-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

vsrStatus searchByVectors(const vsrKDTree* tree, const float* queries, uint32_t numQueries, uint32_t queryStride,
                          uint32_t k, uint32_t maxLeaves, uint32_t* indices, float* distances)
{
    using Sum = FloatSums<SquaredDifference>;
    // A leaf of the tree takes about as long as so many leaves' vectors in turn.
    constexpr uint32_t kLeafCost = 16;
    const size_t length = tree->length;
    const uint32_t limit = maxLeaves != 0 ? maxLeaves : tree->leafCount / kLeafCost + 1;
    const auto distancesOf = [length](const float* query, const float* vectors, size_t count, auto put) HWY_ATTR
    {
        const Sum::Query one = Sum::query(query, length);
        sumsWithMany<Sum, 1>(
            &one, length, 0, count, [=](size_t i) { return vectors + i * length; },
            [=](size_t, size_t i, const float* values, size_t some) HWY_ATTR { put(i, values, some); });
    };
    return searchQueries(tree, queries, numQueries, queryStride, k, indices, distances,
                         [=](const float* query, uint8_t* memory, const KDNearest& nearest) HWY_ATTR
                         {
                             const auto ofLeaf = [=](const float* q, const float* vectors, uint32_t count, float* out)
                                                     HWY_ATTR
                             {
                                 distancesOf(q, vectors, count,
                                             [=](size_t i, const float* values, size_t some) HWY_ATTR
                                             { std::memcpy(out + i, values, some * sizeof(float)); });
                             };
                             if (searchTree(*tree, query, limit, memory, nearest, ofLeaf) || maxLeaves != 0)
                             {
                                 return;
                             }
                             nearest.clear();
                             distancesOf(query, tree->vectors.get(), tree->count,
                                         [&](size_t i, const float* values, size_t some) HWY_ATTR
                                         {
                                             for (size_t n = 0; n < some; ++n)
                                             {
                                                 nearest.add(tree->indices[i + n], values[n]);
                                             }
                                         });
                         });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrKDTreeSearchf32, searchByVectors);
#endif
