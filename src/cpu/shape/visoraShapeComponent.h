// Connected components by runs: what finds the runs of a row is given.
#ifndef VISORA_CPU_SHAPE_COMPONENT_H
#define VISORA_CPU_SHAPE_COMPONENT_H

#include <algorithm>
#include <cstring>

#include "cpu/shape/visoraShape.h"
#include "cpu/visoraDrivers.h"
#include "visora/region.h"

namespace visora
{

/** Set pixels side by side in a row, begin to end - 1. */
struct Run
{
    uint16_t begin;
    uint16_t end;
};

/** Disjoint sets of numbers; the least of a set stands for it. */
class RunSets
{
  public:
    explicit RunSets(uint32_t* parents) : parents_(parents) {}

    void add(uint32_t i) { parents_[i] = i; }

    uint32_t find(uint32_t i)
    {
        while (parents_[i] != i)
        {
            parents_[i] = parents_[parents_[i]];
            i = parents_[i];
        }
        return i;
    }

    void unite(uint32_t i, uint32_t j)
    {
        i = find(i);
        j = find(j);
        parents_[std::max(i, j)] = std::min(i, j);
    }

    /** In place of parents labels 1, 2, ... of the sets in ascending order. Returns their number. */
    uint32_t number(uint32_t count)
    {
        uint32_t sets = 0;
        for (uint32_t i = 0; i < count; ++i)
        {
            // A parent is less than its child, so it has its label already.
            parents_[i] = parents_[i] == i ? ++sets : parents_[parents_[i]];
        }
        return sets;
    }

  private:
    uint32_t* parents_;
};

/** Exact sums of a region's coordinates. */
struct CoordinateSums
{
    uint64_t x;
    uint64_t y;
};

/** Adds a run to a region whose area is 0 before the first one; the box holds last column and row in place of sizes. */
inline void addRun(vsrComponent& region, CoordinateSums& sums, Run run, uint32_t y)
{
    const uint32_t length = run.end - run.begin;
    if (region.area == 0)
    {
        region.x = run.begin;
        region.y = y;
        region.width = run.end;
    }
    region.area += length;
    region.x = std::min<uint32_t>(region.x, run.begin);
    region.width = std::max<uint32_t>(region.width, run.end);
    region.height = y + 1;
    sums.x += uint64_t{run.begin + run.end - 1u} * length / 2;
    sums.y += uint64_t{y} * length;
}

/** findRuns(row, width, runs) lists the runs of a row and returns their number. */
template <class FindRuns>
vsrStatus labelComponents(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                          uint32_t connectivity, uint32_t* labels, uint32_t labelStride, vsrComponent* regions,
                          uint32_t capacity, uint32_t* numRegions, FindRuns findRuns)
{
    const size_t mostRuns = (size_t{width} + 1) / 2 * height;
    const size_t described = std::min<size_t>(capacity, mostRuns);
    const Scratch scratch(partBytes<Run>(mostRuns) + partBytes<uint32_t>(mostRuns) +
                          partBytes<uint32_t>(size_t{height} + 1) + partBytes<CoordinateSums>(described));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Parts parts(scratch);
    Run* const runs = parts.take<Run>(mostRuns);
    uint32_t* const parents = parts.take<uint32_t>(mostRuns);
    uint32_t* const firstOfRow = parts.take<uint32_t>(size_t{height} + 1);
    CoordinateSums* const sums = parts.take<CoordinateSums>(described);
    RunSets sets(parents);

    // Runs touch when they share a column, with 8 neighbours also when they are one apart.
    const uint32_t reach = connectivity == 8 ? 1 : 0;
    uint32_t count = 0;
    uint32_t above = 0;
    for (uint32_t y = 0; y < height; ++y)
    {
        const uint32_t first = count;
        firstOfRow[y] = first;
        count += static_cast<uint32_t>(findRuns(imageRow(src, srcStride, y), width, runs + first));
        for (uint32_t i = first; i < count; ++i)
        {
            sets.add(i);
            while (above < first && runs[above].end + reach <= runs[i].begin)
            {
                ++above;
            }
            for (uint32_t j = above; j < first && runs[j].begin < runs[i].end + reach; ++j)
            {
                sets.unite(i, j);
            }
        }
        above = first;
    }
    firstOfRow[height] = count;

    const uint32_t found = sets.number(count);
    *numRegions = found;
    const uint32_t stored = std::min(capacity, found);
    for (uint32_t i = 0; i < stored; ++i)
    {
        regions[i].area = 0;
        sums[i] = {0, 0};
    }
    for (uint32_t y = 0; y < height; ++y)
    {
        uint32_t* row = imageRow(labels, labelStride, y);
        std::memset(row, 0, width * sizeof(*row));
        for (uint32_t i = firstOfRow[y]; i < firstOfRow[y + 1]; ++i)
        {
            const uint32_t label = parents[i];
            std::fill(row + runs[i].begin, row + runs[i].end, label);
            if (label <= stored)
            {
                addRun(regions[label - 1], sums[label - 1], runs[i], y);
            }
        }
    }
    for (uint32_t i = 0; i < stored; ++i)
    {
        regions[i].width -= regions[i].x;
        regions[i].height -= regions[i].y;
        regions[i].cx = static_cast<float>(static_cast<double>(sums[i].x) / regions[i].area);
        regions[i].cy = static_cast<float>(static_cast<double>(sums[i].y) / regions[i].area);
    }
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
