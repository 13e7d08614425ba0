// A KD-tree and its search, best bin first.
#ifndef VISORA_CPU_KDTREE_H
#define VISORA_CPU_KDTREE_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

#include "cpu/visoraPlane.h"
#include "cpu/visoraScratch.h"
#include "visora/cluster.h"

namespace visora
{

constexpr uint32_t kLeafVectors = 8;
constexpr float kGreatestElement = 0x1p60f;

/** A part of the vectors: a leaf, or split in two. */
struct KDNode
{
    float split;         // the lowest value on the right
    uint32_t dimension;  // that it is of
    uint32_t first;      // of a leaf's vectors; the left child of others, whose right one follows it
    uint32_t count;      // of a leaf's vectors; 0 otherwise
};

inline bool isModest(const float* vector, size_t length)
{
    bool all = true;
    for (size_t i = 0; i < length; ++i)
    {
        all = all && std::fabs(vector[i]) <= kGreatestElement;
    }
    return all;
}

}  // namespace visora

struct vsrKDTree
{
    uint32_t length;
    uint32_t count;
    uint32_t nodeCount;
    uint32_t leafCount;
    std::unique_ptr<visora::KDNode[]> nodes;
    std::unique_ptr<float[]> vectors;  // those of a leaf one after the other
    std::unique_ptr<uint32_t[]> indices;
};

namespace visora
{

/** A subtree that has not been looked at, and how far the query is from it at least. */
struct KDBranch
{
    float bound;
    uint32_t node;
    uint32_t parent;     // the branch that it was opened from
    uint32_t dimension;  // in which it lies further away than its parent,
    float offset;        // by this
};

/** The k nearest vectors so far, in rising order of distance and index. */
struct KDNearest
{
    void clear() const
    {
        std::fill_n(indices, k, VISORA_NO_MATCH);
        std::fill_n(distances, k, std::numeric_limits<float>::infinity());
    }

    bool isFull() const { return indices[k - 1] != VISORA_NO_MATCH; }
    float farthest() const { return distances[k - 1]; }

    void add(uint32_t index, float distance) const
    {
        const auto comesBefore = [&](size_t i)
        { return distance < distances[i] || (distance == distances[i] && index < indices[i]); };
        if (!comesBefore(k - 1))
        {
            return;
        }
        size_t i = k - 1;
        for (; i > 0 && comesBefore(i - 1); --i)
        {
            indices[i] = indices[i - 1];
            distances[i] = distances[i - 1];
        }
        indices[i] = index;
        distances[i] = distance;
    }

    uint32_t* indices;
    float* distances;
    uint32_t k;
};

/** Memory of one search: the branches that were opened, and a heap of those that wait. */
class KDQueue
{
  public:
    static size_t bytes(const vsrKDTree& tree)
    {
        return (size_t{tree.leafCount} + 1) * (sizeof(KDBranch) + sizeof(uint32_t));
    }

    KDQueue(uint8_t* memory, const vsrKDTree& tree)
        : branches_(reinterpret_cast<KDBranch*>(memory)),
          heap_(reinterpret_cast<uint32_t*>(branches_ + tree.leafCount + 1))
    {
    }

    bool isEmpty() const { return waiting_ == 0; }
    const KDBranch& operator[](uint32_t branch) const { return branches_[branch]; }

    void open(const KDBranch& branch)
    {
        branches_[opened_] = branch;
        heap_[waiting_++] = opened_++;
        std::push_heap(heap_, heap_ + waiting_, isLater());
    }

    /** The branch with the least bound, of equal ones the one that was opened first. */
    uint32_t take()
    {
        std::pop_heap(heap_, heap_ + waiting_, isLater());
        return heap_[--waiting_];
    }

    uint32_t least() const { return heap_[0]; }

    /** The offset in a dimension that a branch has of its own or from those it was opened from. */
    float offset(uint32_t branch, uint32_t dimension) const
    {
        for (; branch != 0; branch = branches_[branch].parent)
        {
            if (branches_[branch].dimension == dimension)
            {
                return branches_[branch].offset;
            }
        }
        return 0;
    }

  private:
    struct Later
    {
        const KDBranch* branches;
        bool operator()(uint32_t a, uint32_t b) const
        {
            return branches[a].bound != branches[b].bound ? branches[a].bound > branches[b].bound : a > b;
        }
    };
    Later isLater() const { return {branches_}; }

    KDBranch* branches_;
    uint32_t* heap_;
    uint32_t opened_ = 0;
    uint32_t waiting_ = 0;
};

/**
 * Searches for one query; leafDistances(query, vectors, count, out) gives the squared distances of some vectors.
 * @return false when it ended because of the limit
 */
template <class LeafDistances>
bool searchTree(const vsrKDTree& tree, const float* query, uint32_t maxLeaves, uint8_t* memory,
                const KDNearest& nearest, LeafDistances leafDistances)
{
    nearest.clear();
    if (tree.count == 0 || !isModest(query, tree.length))
    {
        return true;
    }
    KDQueue queue(memory, tree);
    queue.open({0, 0, 0, 0, 0});
    uint32_t leaves = 0;
    while (!queue.isEmpty())
    {
        // The factor outweighs all rounding.
        if (nearest.isFull() && 0.999f * queue[queue.least()].bound > nearest.farthest())
        {
            return true;
        }
        const uint32_t branch = queue.take();
        const float bound = queue[branch].bound;
        uint32_t at = queue[branch].node;
        while (tree.nodes[at].count == 0)
        {
            const KDNode& node = tree.nodes[at];
            const float w = query[node.dimension] - node.split;
            const float o = queue.offset(branch, node.dimension);
            const bool isLeft = query[node.dimension] < node.split;
            queue.open({(bound - o * o) + w * w, node.first + (isLeft ? 1 : 0), branch, node.dimension, w});
            at = node.first + (isLeft ? 0 : 1);
        }
        const KDNode& leaf = tree.nodes[at];
        float distances[kLeafVectors];
        leafDistances(query, tree.vectors.get() + size_t{leaf.first} * tree.length, leaf.count, distances);
        for (uint32_t i = 0; i < leaf.count; ++i)
        {
            nearest.add(tree.indices[leaf.first + i], distances[i]);
        }
        if (++leaves == maxLeaves)
        {
            return false;
        }
    }
    return true;
}

/** Searches for all queries by search(query, memory of a queue, nearest). */
template <class Search>
vsrStatus searchQueries(const vsrKDTree* tree, const float* queries, uint32_t numQueries, uint32_t queryStride,
                        uint32_t k, uint32_t* indices, float* distances, Search search)
{
    const Scratch scratch(KDQueue::bytes(*tree));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    for (size_t q = 0; q < numQueries; ++q)
    {
        search(planeRow(queries, queryStride, q), scratch.data(), KDNearest{indices + q * k, distances + q * k, k});
    }
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
