// The tree of an image's distinct regions, from its pixels up to the whole image.
#ifndef VISORA_CPU_SHAPE_MSER_TREE_H
#define VISORA_CPU_SHAPE_MSER_TREE_H

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace visora
{

constexpr uint32_t kLevels = 256;

/** Nodes are regions, each from the level on at which it begins to be; pixels are numbered with a frame of one. */
struct MserTree
{
    static constexpr uint32_t kNone = 0xffffffff;

    uint32_t add(uint32_t nodeLevel, uint32_t nodeArea, uint32_t nodeFirst)
    {
        level[count] = static_cast<uint8_t>(nodeLevel);
        area[count] = nodeArea;
        first[count] = nodeFirst;
        parent[count] = kNone;
        return count++;
    }

    /** Makes one node a part of another. */
    void attach(uint32_t node, uint32_t to)
    {
        parent[node] = to;
        area[to] += area[node];
        first[to] = std::min(first[to], first[node]);
    }

    /** Whether a node is but another name of its parent, which began to be at the same level. */
    bool isAlias(uint32_t node) const { return parent[node] != kNone && level[parent[node]] == level[node]; }

    size_t pixelAt(uint32_t x, uint32_t y) const { return (size_t{y} + 1) * stride + x + 1; }

    uint32_t width;
    uint32_t height;
    size_t stride;
    uint32_t* area;
    uint32_t* first;
    uint32_t* parent;
    uint8_t* level;
    uint32_t* nodeOf;  // of pixels
    uint32_t count = 0;
};

// ---- Grey images ----

/**
 * Floods a grey image from below (D. Nister, H. Stewenius, "Linear time maximally stable extremal regions", 2008): the
 * water always stands at one pixel, its shore lies in a stack for each level, and each basin that is filled up to where
 * it flows over is a region.
 */
class MserFlood
{
  public:
    /** `states` has a number for each pixel and the frame, `shore` a place for each pixel. */
    MserFlood(MserTree& tree, uint16_t* states, uint32_t* shore) : tree_(tree), states_(states), shore_(shore) {}

    /** `flip` is 255 for the regions of the negative. */
    void run(const uint8_t* src, size_t srcStride, uint8_t flip)
    {
        Shore shore(shore_, set(src, srcStride, flip), flip);
        // All in locals, which no store through a pointer can change.
        uint16_t* const states = states_;
        const MserTree tree = tree_;
        const auto stride = static_cast<uint32_t>(tree.stride);
        uint32_t count = 0;
        std::array<Basin, kLevels> around;  // those that the basin lies in
        uint32_t depth = 0;
        const auto begun = [&](uint32_t level)
        {
            tree.level[count] = static_cast<uint8_t>(level);
            return Basin{count++, level, 0, MserTree::kNone};
        };
        const auto end = [&](const Basin& basin, uint32_t parent)
        {
            tree.area[basin.node] = basin.area;
            tree.first[basin.node] = basin.first;
            tree.parent[basin.node] = parent;
        };
        auto pixel = static_cast<uint32_t>(tree.pixelAt(0, 0));
        uint32_t level = states[pixel];
        uint32_t edge = 0;
        states[pixel] |= kSeen;
        Basin basin = begun(level);
        // Whether the water goes on at a neighbour, which is lower; the rest of this pixel's edges come later.
        const auto goesDown = [&](uint32_t next, uint32_t nextEdge) __attribute__((always_inline))
        {
            const uint32_t nextLevel = states[next];
            if (nextLevel >= kSeen)
            {
                return false;
            }
            states[next] = static_cast<uint16_t>(nextLevel | kSeen);
            if (nextLevel >= level)
            {
                shore.push(nextLevel, next, 0);
                return false;
            }
            shore.push(level, pixel, nextEdge);
            around[depth++] = basin;
            basin = begun(nextLevel);
            pixel = next;
            level = nextLevel;
            return true;
        };
        for (;;)
        {
            bool isDown = false;
            if (edge == 0)
            {
                isDown = goesDown(pixel + 1, 1) || goesDown(pixel + stride, 2) || goesDown(pixel - 1, 3) ||
                         goesDown(pixel - stride, 4);
            }
            else
            {
                const uint32_t steps[] = {1, stride, 0u - 1, 0u - stride};
                for (uint32_t i = edge; i < std::size(steps) && !isDown; ++i)
                {
                    isDown = goesDown(pixel + steps[i], i + 1);
                }
            }
            if (isDown)
            {
                edge = 0;
                continue;
            }
            tree.nodeOf[pixel] = basin.node;
            ++basin.area;
            basin.first = std::min(basin.first, pixel);
            const uint32_t next = shore.lowestFrom(level);
            if (next == kLevels)
            {
                end(basin, MserTree::kNone);
                break;
            }
            // A basin that is full becomes part of what surrounds it there.
            while (basin.level < next)
            {
                Basin larger = depth > 0 && around[depth - 1].level <= next ? around[--depth] : begun(next);
                end(basin, larger.node);
                larger.area += basin.area;
                larger.first = std::min(larger.first, basin.first);
                basin = larger;
            }
            level = next;
            shore.pop(level, pixel, edge);
        }
        tree_.count = count;
    }

  private:
    static constexpr uint16_t kSeen = kLevels;  // beside the level

    struct Basin
    {
        uint32_t node;
        uint32_t level;
        uint32_t area;
        uint32_t first;
    };

    /** A stack of pixels for each level. */
    class Shore
    {
      public:
        /** histogram[level ^ flip] pixels have a level. */
        Shore(uint32_t* entries, const std::array<uint32_t, kLevels>& histogram, uint32_t flip) : entries_(entries)
        {
            uint32_t begin = 0;
            for (uint32_t level = 0; level < kLevels; ++level)
            {
                stacks_[level] = {begin, begin};
                begin += histogram[level ^ flip];
            }
        }

        void push(uint32_t level, uint32_t pixel, uint32_t edge)
        {
            Stack& stack = stacks_[level];
            if (stack.end == stack.begin)
            {
                filled_[level / 64] |= uint64_t{1} << level % 64;
            }
            entries_[stack.end++] = pixel << kEdgeBits | edge;
        }

        void pop(uint32_t level, uint32_t& pixel, uint32_t& edge)
        {
            const uint32_t entry = entries_[--stacks_[level].end];
            pixel = entry >> kEdgeBits;
            edge = entry & ((1u << kEdgeBits) - 1);
        }

        /** The lowest level that has pixels, kLevels if there is none; `level` is not above it. */
        uint32_t lowestFrom(uint32_t level)
        {
            if (stacks_[level].end != stacks_[level].begin)
            {
                return level;
            }
            uint32_t word = level / 64;
            filled_[word] &= ~(uint64_t{1} << level % 64);
            while (filled_[word] == 0)
            {
                if (++word == filled_.size())
                {
                    return kLevels;
                }
            }
            return word * 64 + static_cast<uint32_t>(std::countr_zero(filled_[word]));
        }

      private:
        struct Stack
        {
            uint32_t begin;
            uint32_t end;
        };

        static constexpr uint32_t kEdgeBits = 3;

        uint32_t* entries_;
        std::array<Stack, kLevels> stacks_;
        std::array<uint64_t, kLevels / 64> filled_{};  // also of the level that has just become empty
    };

    /** Returns how many pixels of the image have each value. */
    std::array<uint32_t, kLevels> set(const uint8_t* src, size_t srcStride, uint8_t flip)
    {
        std::array<uint32_t, kLevels> histogram{};
        std::fill_n(states_, tree_.stride * (size_t{tree_.height} + 2), kSeen);
        for (uint32_t y = 0; y < tree_.height; ++y)
        {
            const uint8_t* from = src + y * srcStride;
            std::transform(from, from + tree_.width, states_ + tree_.pixelAt(0, y),
                           [=](uint8_t v) { return static_cast<uint16_t>(v ^ flip); });
            std::for_each(from, from + tree_.width, [&](uint8_t v) { ++histogram[v]; });
        }
        return histogram;
    }

    MserTree& tree_;
    uint16_t* states_;
    uint32_t* shore_;
};

// ---- Colour images ----

/** Joins the neighbours of a colour image in the order of their differences. */
class MserJoin
{
  public:
    /** `sets` and `tops` have a number for each pixel and the frame, `edges` two for each. */
    MserJoin(MserTree& tree, uint32_t* sets, uint32_t* tops, uint32_t* edges)
        : tree_(tree), sets_(sets), tops_(tops), edges_(edges)
    {
    }

    void run(const uint8_t* src, size_t srcStride)
    {
        tree_.count = 0;
        const uint32_t flat = sortEdges(src, srcStride);
        forPixels([&](uint32_t pixel) { sets_[pixel] = pixel; });
        for (uint32_t i = 0; i < flat; ++i)
        {
            const auto [a, b] = endsOf(edges_[i]);
            const uint32_t one = find(a);
            const uint32_t other = find(b);
            sets_[std::max(one, other)] = std::min(one, other);
        }
        // The first pixel of a set stands for it.
        forPixels(
            [&](uint32_t pixel)
            {
                const uint32_t set = find(pixel);
                if (set == pixel)
                {
                    tops_[set] = tree_.add(0, 0, pixel);
                }
                tree_.nodeOf[pixel] = tops_[set];
                ++tree_.area[tops_[set]];
            });
        uint32_t i = flat;
        for (uint32_t level = 1; level < kLevels; ++level)
        {
            for (; i < ends_[level]; ++i)
            {
                const auto [a, b] = endsOf(edges_[i]);
                join(find(a), find(b), level);
            }
        }
        for (uint32_t node = 0; node < tree_.count; ++node)
        {
            resolve(node);
        }
    }

  private:
    struct Ends
    {
        uint32_t a, b;
    };

    template <class Body>
    void forPixels(Body body) const
    {
        for (uint32_t y = 0; y < tree_.height; ++y)
        {
            for (uint32_t x = 0; x < tree_.width; ++x)
            {
                body(static_cast<uint32_t>(tree_.pixelAt(x, y)));
            }
        }
    }

    /** body(difference, edge) for the edges to the right and down. */
    template <class Body>
    void forEdges(const uint8_t* src, size_t srcStride, Body body) const
    {
        const auto difference = [](const uint8_t* p, const uint8_t* q)
        {
            const auto one = [=](int c) { return p[c] > q[c] ? p[c] - q[c] : q[c] - p[c]; };
            return static_cast<uint32_t>(std::max(one(0), std::max(one(1), one(2))));
        };
        for (uint32_t y = 0; y < tree_.height; ++y)
        {
            for (uint32_t x = 0; x < tree_.width; ++x)
            {
                const uint8_t* p = src + y * srcStride + 3 * size_t{x};
                const auto pixel = static_cast<uint32_t>(tree_.pixelAt(x, y));
                if (x + 1 < tree_.width)
                {
                    body(difference(p, p + 3), pixel << 1);
                }
                if (y + 1 < tree_.height)
                {
                    body(difference(p, p + srcStride), pixel << 1 | 1);
                }
            }
        }
    }

    /** Returns the number of edges without a difference, which come first. */
    uint32_t sortEdges(const uint8_t* src, size_t srcStride)
    {
        ends_.fill(0);
        forEdges(src, srcStride, [&](uint32_t difference, uint32_t /*edge*/) { ++ends_[difference]; });
        uint32_t begin = 0;
        for (uint32_t& end : ends_)
        {
            const uint32_t length = end;
            end = begin;
            begin += length;
        }
        forEdges(src, srcStride, [&](uint32_t difference, uint32_t edge) { edges_[ends_[difference]++] = edge; });
        return ends_[0];
    }

    Ends endsOf(uint32_t edge) const
    {
        const uint32_t pixel = edge >> 1;
        return {pixel, pixel + ((edge & 1) != 0 ? static_cast<uint32_t>(tree_.stride) : 1)};
    }

    uint32_t find(uint32_t pixel)
    {
        while (sets_[pixel] != pixel)
        {
            sets_[pixel] = sets_[sets_[pixel]];
            pixel = sets_[pixel];
        }
        return pixel;
    }

    void join(uint32_t a, uint32_t b, uint32_t level)
    {
        if (a == b)
        {
            return;
        }
        const uint32_t one = tops_[a];
        const uint32_t other = tops_[b];
        const bool aIsLarger = tree_.area[one] >= tree_.area[other];
        uint32_t top;
        if (tree_.level[one] == level)
        {
            top = one;
            tree_.attach(other, one);
        }
        else if (tree_.level[other] == level)
        {
            top = other;
            tree_.attach(one, other);
        }
        else
        {
            top = tree_.add(level, 0, MserTree::kNone);
            tree_.attach(one, top);
            tree_.attach(other, top);
        }
        sets_[aIsLarger ? b : a] = aIsLarger ? a : b;
        tops_[aIsLarger ? a : b] = top;
    }

    /** Lets a node's parent be no alias. */
    void resolve(uint32_t node)
    {
        uint32_t& parent = tree_.parent[node];
        while (parent != MserTree::kNone && tree_.isAlias(parent))
        {
            // Aliases of one region are at one level, so that a shorter way among them changes nothing else.
            uint32_t& next = tree_.parent[parent];
            if (tree_.isAlias(next))
            {
                next = tree_.parent[next];
            }
            parent = next;
        }
    }

    MserTree& tree_;
    uint32_t* sets_;
    uint32_t* tops_;
    uint32_t* edges_;
    std::array<uint32_t, kLevels> ends_{};
};

}  // namespace visora

#endif
