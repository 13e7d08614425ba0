// Search of a KD-tree, vector variant: the distances to a leaf's vectors, four at once.
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
    const size_t length = tree->length;
    return searchTree(tree, queries, numQueries, queryStride, k, maxLeaves, indices, distances,
                      [length](const float* query, const float* vectors, uint32_t count, float* out) HWY_ATTR
                      {
                          using Sum = FloatSums<SquaredDifference>;
                          const Sum::Query one = Sum::query(query, length);
                          sumsWithMany<Sum, 1>(
                              &one, length, 0, count, [=](size_t i) { return vectors + i * length; },
                              [&](size_t, size_t i, const float* values, size_t some) HWY_ATTR
                              { std::memcpy(out + i, values, some * sizeof(float)); });
                      });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrKDTreeSearchf32, searchByVectors);
#endif
