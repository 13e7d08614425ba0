// The KD-tree: building it, which is done here for all processors, and the reference of the search.
#include <cstring>
#include <new>

#include "cpu/cluster/visoraCluster.h"
#include "cpu/cluster/visoraKDTree.h"
#include "visora/variants/corner.h"

namespace visora
{
namespace
{

class KDBuilder
{
  public:
    KDBuilder(const float* src, size_t stride, vsrKDTree& tree) : src_(src), stride_(stride), tree_(tree) {}

    void build()
    {
        for (uint32_t i = 0; i < tree_.count; ++i)
        {
            tree_.indices[i] = i;
        }
        tree_.nodeCount = 1;
        tree_.leafCount = 0;
        if (tree_.count != 0)
        {
            split(0, 0, tree_.count);
        }
        for (size_t i = 0; i < tree_.count; ++i)
        {
            std::memcpy(tree_.vectors.get() + i * tree_.length, vector(tree_.indices[i]), tree_.length * sizeof(float));
        }
    }

  private:
    const float* vector(uint32_t index) const { return planeRow(src_, stride_, index); }

    void split(uint32_t at, uint32_t first, uint32_t count)
    {
        KDNode& node = tree_.nodes[at];
        if (count <= kLeafVectors)
        {
            node = {0, 0, first, count};
            ++tree_.leafCount;
            return;
        }
        const uint32_t dimension = widest(first, count);
        uint32_t* const begin = tree_.indices.get() + first;
        const uint32_t left = count / 2;
        std::nth_element(begin, begin + left, begin + count,
                         [&](uint32_t a, uint32_t b)
                         {
                             const float x = vector(a)[dimension];
                             const float y = vector(b)[dimension];
                             return x != y ? x < y : a < b;
                         });
        const uint32_t children = tree_.nodeCount;
        tree_.nodeCount += 2;
        node = {vector(begin[left])[dimension], dimension, children, 0};
        split(children, first, left);
        split(children + 1, first + left, count - left);
    }

    // The dimension in which the vectors reach furthest, the lowest of equal ones.
    uint32_t widest(uint32_t first, uint32_t count) const
    {
        constexpr uint32_t kAtOnce = 64;
        uint32_t best = 0;
        float reach = -1;
        for (uint32_t begin = 0; begin < tree_.length; begin += kAtOnce)
        {
            const uint32_t some = std::min(kAtOnce, tree_.length - begin);
            float low[kAtOnce];
            float high[kAtOnce];
            for (uint32_t i = 0; i < count; ++i)
            {
                const float* v = vector(tree_.indices[first + i]) + begin;
                for (uint32_t e = 0; e < some; ++e)
                {
                    low[e] = i == 0 ? v[e] : std::min(low[e], v[e]);
                    high[e] = i == 0 ? v[e] : std::max(high[e], v[e]);
                }
            }
            for (uint32_t e = 0; e < some; ++e)
            {
                if (high[e] - low[e] > reach)
                {
                    reach = high[e] - low[e];
                    best = begin + e;
                }
            }
        }
        return best;
    }

    const float* src_;
    size_t stride_;
    vsrKDTree& tree_;
};

}  // namespace
}  // namespace visora

vsrStatus vsrKDTreeBuildf32C(const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                             vsrKDTree** tree)
{
    for (size_t i = 0; i < numVectors; ++i)
    {
        if (!visora::isModest(visora::planeRow(src, srcStride, i), length))
        {
            return VISORA_EBADPARAM;
        }
    }
    std::unique_ptr<vsrKDTree> built(new (std::nothrow) vsrKDTree{length, numVectors, 0, 0, {}, {}, {}});
    if (!built)
    {
        return VISORA_ENOMEM;
    }
    // A split node has more than eight vectors, so a leaf that is not the root has at least four.
    built->nodes.reset(new (std::nothrow) visora::KDNode[size_t{numVectors} / 2 + 2]);
    built->vectors.reset(new (std::nothrow) float[size_t{numVectors} * length]);
    built->indices.reset(new (std::nothrow) uint32_t[numVectors]);
    if (!built->nodes || !built->vectors || !built->indices)
    {
        return VISORA_ENOMEM;
    }
    visora::KDBuilder(src, srcStride, *built).build();
    *tree = built.release();
    return VISORA_SUCCESS;
}

vsrStatus vsrKDTreeSearchf32C(const vsrKDTree* tree, const float* queries, uint32_t numQueries, uint32_t queryStride,
                              uint32_t k, uint32_t maxLeaves, uint32_t* indices, float* distances)
{
    const size_t length = tree->length;
    const auto ofLeaf = [length](const float* query, const float* vectors, uint32_t count, float* out)
    {
        for (uint32_t i = 0; i < count; ++i)
        {
            out[i] = visora::squaredDistance(query, vectors + i * length, length);
        }
    };
    return visora::searchQueries(tree, queries, numQueries, queryStride, k, indices, distances,
                                 [&](const float* query, uint8_t* memory, const visora::KDNearest& nearest)
                                 { visora::searchTree(*tree, query, maxLeaves, memory, nearest, ofLeaf); });
}
