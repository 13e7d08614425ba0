// Which regions of a tree are stable, and the lists that they go to.
#ifndef VISORA_CPU_SHAPE_MSER_CHOICE_H
#define VISORA_CPU_SHAPE_MSER_CHOICE_H

#include <bit>

#include "cpu/shape/visoraShape.h"
#include "cpu/shape/visoraShapeMserTree.h"
#include "visora/mser.h"

namespace visora
{

struct MserParameters
{
    explicit MserParameters(const vsrMser& mser)
        : delta(mser.parameters[2]),
          minArea(mser.parameters[3]),
          maxArea(mser.parameters[4]),
          maxVariation(std::bit_cast<float>(mser.parameters[5])),
          minDiversity(std::bit_cast<float>(mser.parameters[6]))
    {
    }

    uint32_t delta;
    uint32_t minArea;
    uint32_t maxArea;
    float maxVariation;
    float minDiversity;
};

/** By how much a region grows, of its size: an exact fraction. */
struct Growth
{
    bool operator<(const Growth& other) const { return uint64_t{more} * other.area < uint64_t{other.more} * area; }

    uint32_t more;
    uint32_t area;
};

/** Where regions are listed. */
struct MserList
{
    vsrMserRegion* regions;
    vsrMserTrait* traits;  // or null
    uint8_t* bright;       // or null
    uint32_t maxRegions;
    uint32_t* pixels;
    uint32_t maxPixels;
    uint32_t numRegions = 0;
    uint32_t numPixels = 0;
    bool isCut = false;
};

/** Work memory of a choice, a number for each node, and one for each pixel. */
struct MserRoom
{
    uint32_t* grown;      // nodes: size of the component `delta` above the first level
    uint32_t* starts;     // nodes: that a level before; then where their pixels begin among the ordered ones
    uint32_t* cursors;    // nodes
    uint32_t* nodes;      // nodes: lists of them
    uint8_t* states;      // nodes
    PackedPoint* points;  // pixels, ordered by regions
};

class MserChoice
{
  public:
    MserChoice(const MserTree& tree, const MserParameters& parameters, const MserRoom& room)
        : tree_(tree), parameters_(parameters), room_(room)
    {
    }

    /** Appends the stable regions to a list. */
    void list(MserList& to, bool isBright)
    {
        markStable();
        const uint32_t count = thin();
        if (count == 0)
        {
            return;
        }
        std::sort(room_.nodes, room_.nodes + count,
                  [&](uint32_t a, uint32_t b) {
                      return tree_.level[a] != tree_.level[b] ? tree_.level[a] < tree_.level[b]
                                                              : tree_.first[a] < tree_.first[b];
                  });
        orderPixels(count);
        const uint32_t begin = to.numRegions;
        for (uint32_t i = 0; i < count; ++i)
        {
            const uint32_t node = room_.nodes[i];
            if (to.numRegions == to.maxRegions || tree_.area[node] > to.maxPixels - to.numPixels)
            {
                to.isCut = true;
                break;
            }
            if (to.traits)
            {
                to.traits[to.numRegions] = {variation(node), tree_.area[node],
                                            isBright ? 255u - tree_.level[node] : tree_.level[node], -1};
            }
            if (to.bright)
            {
                to.bright[to.numRegions] = isBright ? 1 : 0;
            }
            emit(node, to);
        }
        for (uint32_t i = 0; to.traits && i < to.numRegions - begin; ++i)
        {
            room_.cursors[room_.nodes[i]] = begin + i;
            room_.states[room_.nodes[i]] = kStored;
        }
        for (uint32_t i = 0; to.traits && i < to.numRegions - begin; ++i)
        {
            const uint32_t around = above(room_.nodes[i]);
            if (around != MserTree::kNone && room_.states[around] == kStored)
            {
                to.traits[begin + i].parent = static_cast<int32_t>(room_.cursors[around]);
            }
        }
    }

  private:
    enum State : uint8_t
    {
        kUnstable,
        kStable,
        kStanding,  // a candidate
        kStored
    };

    /** Sizes of the components that hold each node `delta` above its first level, and one level before that. */
    void grow()
    {
        // In locals, which no number that is stored can change.
        const MserTree tree = tree_;
        uint32_t* const grown = room_.grown;
        uint32_t* const before = room_.starts;
        const uint32_t delta = parameters_.delta;
        for (uint32_t node = 0; node < tree.count; ++node)
        {
            const uint32_t level = tree.level[node] + delta;
            uint32_t last = node;
            uint32_t up = tree.parent[node];
            for (; up != MserTree::kNone && tree.level[up] < level; up = tree.parent[up])
            {
                last = up;
            }
            const bool isOneMore = up != MserTree::kNone && tree.level[up] == level;
            before[node] = tree.area[last];
            grown[node] = tree.area[isOneMore ? up : last];
        }
    }

    Growth firstGrowth(uint32_t node) const { return {room_.grown[node] - tree_.area[node], tree_.area[node]}; }

    float variation(uint32_t node) const
    {
        return static_cast<float>(room_.grown[node] - tree_.area[node]) / static_cast<float>(tree_.area[node]);
    }

    void markStable()
    {
        grow();
        const MserTree tree = tree_;
        const uint32_t* const grown = room_.grown;
        const uint32_t* const before = room_.starts;
        uint8_t* const states = room_.states;
        for (uint32_t node = 0; node < tree.count; ++node)
        {
            states[node] = tree.isAlias(node) ? kUnstable : kStable;
        }
        for (uint32_t node = 0; node < tree.count; ++node)
        {
            const uint32_t parent = tree.parent[node];
            if (parent == MserTree::kNone)
            {
                states[node] = kUnstable;
                continue;
            }
            if (tree.isAlias(node))
            {
                continue;
            }
            const auto growth = [&](uint32_t of, const uint32_t* size) {
                return Growth{size[of] - tree.area[of], tree.area[of]};
            };
            // At the first level, and at the last one before it becomes part of its parent.
            const Growth first = growth(node, grown);
            const Growth last = {before[parent] - tree.area[node], tree.area[node]};
            const Growth next = growth(parent, grown);
            if (!(next < last))
            {
                states[parent] = kUnstable;
            }
            if (!(first < last) && next < first)
            {
                states[node] = kUnstable;
            }
        }
    }

    /** The nearest standing candidate around a node. */
    uint32_t above(uint32_t node) const
    {
        uint32_t up = tree_.parent[node];
        while (up != MserTree::kNone && room_.states[up] < kStanding)
        {
            up = tree_.parent[up];
        }
        return up;
    }

    /** Lists the candidates that are diverse enough. Returns their number. */
    uint32_t thin()
    {
        uint32_t count = 0;
        for (uint32_t node = 0; node < tree_.count; ++node)
        {
            const uint32_t area = tree_.area[node];
            if (room_.states[node] == kStable && area >= parameters_.minArea && area <= parameters_.maxArea &&
                variation(node) <= parameters_.maxVariation)
            {
                room_.states[node] = kStanding;
                room_.nodes[count++] = node;
            }
        }
        std::sort(room_.nodes, room_.nodes + count,
                  [&](uint32_t a, uint32_t b) {
                      return tree_.area[a] != tree_.area[b] ? tree_.area[a] < tree_.area[b]
                                                            : tree_.first[a] < tree_.first[b];
                  });
        for (uint32_t i = 0; i < count; ++i)
        {
            thin(room_.nodes[i]);
        }
        return static_cast<uint32_t>(std::remove_if(room_.nodes, room_.nodes + count,
                                                    [&](uint32_t node) { return room_.states[node] != kStanding; }) -
                                     room_.nodes);
    }

    void thin(uint32_t node)
    {
        const uint32_t area = tree_.area[node];
        for (uint32_t up = above(node); room_.states[node] == kStanding && up != MserTree::kNone; up = above(up))
        {
            const auto around = static_cast<float>(tree_.area[up]);
            if (!(static_cast<float>(tree_.area[up] - area) / around < parameters_.minDiversity))
            {
                return;
            }
            room_.states[firstGrowth(up) < firstGrowth(node) ? node : up] = kUnstable;
        }
    }

    /** Orders all pixels so that those of each region follow one another. */
    void orderPixels(uint32_t listed)
    {
        const MserTree tree = tree_;
        uint32_t* const cursors = room_.cursors;
        uint32_t* const starts = room_.starts;
        PackedPoint* const points = room_.points;
        // Nodes from the top down, behind those that are listed.
        uint32_t* const order = room_.nodes + listed;
        std::array<uint32_t, kLevels> ends{};
        for (uint32_t node = 0; node < tree.count; ++node)
        {
            ++ends[255 - tree.level[node]];
        }
        uint32_t begin = 0;
        for (uint32_t& end : ends)
        {
            const uint32_t length = end;
            end = begin;
            begin += length;
        }
        for (uint32_t node = 0; node < tree.count; ++node)
        {
            order[ends[255 - tree.level[node]]++] = node;
        }
        // A node's own pixels, which its parts do not have, come first, so that each node with pixels begins at a place
        // of its own.
        std::copy_n(tree.area, tree.count, cursors);
        for (uint32_t node = 0; node < tree.count; ++node)
        {
            if (tree.parent[node] != MserTree::kNone && !tree.isAlias(node))
            {
                cursors[tree.parent[node]] -= tree.area[node];
            }
        }
        for (uint32_t i = 0; i < tree.count; ++i)
        {
            const uint32_t node = order[i];
            const uint32_t parent = tree.parent[node];
            if (tree.isAlias(node))
            {
                continue;
            }
            starts[node] = 0;
            if (parent != MserTree::kNone)
            {
                starts[node] = cursors[parent];
                cursors[parent] += tree.area[node];
            }
            cursors[node] += starts[node];
        }
        std::copy(starts, starts + tree.count, cursors);
        for (uint32_t y = 0; y < tree.height; ++y)
        {
            const uint32_t* const nodes = tree.nodeOf + tree.pixelAt(0, y);
            for (uint32_t x = 0; x < tree.width; ++x)
            {
                points[cursors[nodes[x]]++] = packPoint(x, y);
            }
        }
    }

    /** Lists a region's pixels and its box. */
    void emit(uint32_t node, MserList& to) const
    {
        PackedPoint* const begin = room_.points + room_.starts[node];
        PackedPoint* const end = begin + tree_.area[node];
        uint32_t left = 65535;
        uint32_t right = 0;
        uint32_t top = 65535;
        uint32_t bottom = 0;
        for (const PackedPoint* p = begin; p != end; ++p)
        {
            left = std::min(left, xOf(*p));
            right = std::max(right, xOf(*p));
            top = std::min(top, yOf(*p));
            bottom = std::max(bottom, yOf(*p));
        }
        to.regions[to.numRegions++] = {to.numPixels, tree_.area[node], left, top, right - left + 1, bottom - top + 1};
        uint32_t* out = to.pixels + 2 * size_t{to.numPixels};
        to.numPixels += tree_.area[node];
        // Where a region fills its box its pixels are soon found in order; else they are sorted.
        if (uint64_t{right - left + 1} * (bottom - top + 1) / 8 <= tree_.area[node])
        {
            const uint32_t* const starts = room_.starts;
            const uint32_t start = starts[node];
            const uint32_t area = tree_.area[node];
            for (uint32_t y = top; y <= bottom; ++y)
            {
                const uint32_t* const nodes = tree_.nodeOf + tree_.pixelAt(0, y);
                for (uint32_t x = left; x <= right; ++x)
                {
                    if (starts[nodes[x]] - start < area)
                    {
                        *out++ = x;
                        *out++ = y;
                    }
                }
            }
            return;
        }
        std::sort(begin, end);
        for (const PackedPoint* p = begin; p != end; ++p)
        {
            *out++ = xOf(*p);
            *out++ = yOf(*p);
        }
    }

    const MserTree& tree_;
    MserParameters parameters_;
    MserRoom room_;
};

}  // namespace visora

#endif
