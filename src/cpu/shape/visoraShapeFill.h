// Filling by runs: what tells where the members of a row begin and end is given.
#ifndef VISORA_CPU_SHAPE_FILL_H
#define VISORA_CPU_SHAPE_FILL_H

#include <algorithm>
#include <cstring>

#include "cpu/shape/visoraShape.h"
#include "cpu/visoraDrivers.h"

namespace visora
{

/** A picture to be filled, and which of its pixels are reached. */
struct Flood
{
    uint8_t* row(size_t y) const { return dst + y * stride; }
    uint8_t* reachedRow(size_t y) const { return reached + y * width; }

    /** Counts pixels begin to end - 1 of a row. */
    void reach(uint32_t y, uint32_t begin, uint32_t end)
    {
        area += end - begin;
        left = std::min(left, begin);
        right = std::max(right, end);
        top = std::min(top, y);
        bottom = std::max(bottom, y + 1);
    }

    /** Gives the pixels reached their value. */
    void paint(uint8_t value) const
    {
        for (size_t y = top; y < bottom; ++y)
        {
            uint8_t* to = row(y);
            const uint8_t* which = reachedRow(y);
            for (size_t x = left; x < right; ++x)
            {
                to[x] = which[x] != 0 ? value : to[x];
            }
        }
    }

    uint8_t* dst;
    uint32_t width;
    uint32_t height;
    size_t stride;
    uint8_t* reached;
    uint32_t area = 0;
    uint32_t left = 65535;
    uint32_t top = 65535;
    uint32_t right = 0;
    uint32_t bottom = 0;
};

/** Grey levels that belong to a region, and were not reached before. */
struct Members
{
    bool has(const uint8_t* row, const uint8_t* reached, size_t x) const
    {
        return row[x] >= low && row[x] <= high && reached[x] == 0;
    }

    uint8_t low;
    uint8_t high;
};

/** Set pixels of one row that are filled at once. */
struct FilledRun
{
    uint16_t y;
    uint16_t begin;
    uint16_t end;
};

/** Runs of members are disjoint with a gap, so that there are no more than these. */
constexpr size_t mostFilledRuns(uint32_t width, uint32_t height)
{
    return (size_t{width} + 1) / 2 * height;
}

/**
 * Reaches the members around a seed. find(members, row, reached, x, end, isMember) gives the first x before `end` that
 * is a member, or that is none.
 */
template <class Find>
void floodRuns(Flood& flood, FilledRun* stack, uint32_t seedX, uint32_t seedY, const Members& members,
               uint32_t connectivity, Find find)
{
    size_t count = 0;
    const auto fill = [&](uint32_t y, uint32_t x)
    {
        const uint8_t* row = flood.row(y);
        uint8_t* reached = flood.reachedRow(y);
        uint32_t begin = x;
        while (begin > 0 && members.has(row, reached, begin - 1))
        {
            --begin;
        }
        const auto end = static_cast<uint32_t>(find(members, row, reached, x, flood.width, false));
        std::memset(reached + begin, 1, end - begin);
        stack[count++] = {static_cast<uint16_t>(y), static_cast<uint16_t>(begin), static_cast<uint16_t>(end)};
        flood.reach(y, begin, end);
        return end;
    };
    const uint32_t aside = connectivity == 8 ? 1 : 0;
    fill(seedY, seedX);
    while (count != 0)
    {
        const FilledRun run = stack[--count];
        const uint32_t begin = run.begin - std::min<uint32_t>(aside, run.begin);
        const uint32_t end = std::min(run.end + aside, flood.width);
        for (const int step : {-1, 1})
        {
            const auto y = static_cast<uint32_t>(run.y + step);
            if (y >= flood.height)
            {
                continue;
            }
            for (uint32_t x = begin; x < end;)
            {
                x = static_cast<uint32_t>(find(members, flood.row(y), flood.reachedRow(y), x, end, true));
                x = x < end ? fill(y, x) : end;
            }
        }
    }
}

/** Reaches pixels whose levels are near that of the pixel stepped from. */
inline void floodSteps(Flood& flood, PackedPoint* stack, uint32_t seedX, uint32_t seedY, uint32_t lower, uint32_t upper,
                       uint32_t connectivity)
{
    size_t count = 0;
    const auto fill = [&](uint32_t x, uint32_t y)
    {
        flood.reachedRow(y)[x] = 1;
        flood.reach(y, x, x + 1);
        stack[count++] = packPoint(x, y);
    };
    fill(seedX, seedY);
    while (count != 0)
    {
        const PackedPoint from = stack[--count];
        const int64_t base = flood.row(yOf(from))[xOf(from)];
        for (uint32_t d = 0; d < 8; d += directionStep(connectivity))
        {
            const uint32_t x = xOf(from) + static_cast<uint32_t>(kStepX[d]);
            const uint32_t y = yOf(from) + static_cast<uint32_t>(kStepY[d]);
            if (x < flood.width && y < flood.height && flood.reachedRow(y)[x] == 0 && flood.row(y)[x] >= base - lower &&
                flood.row(y)[x] <= base + upper)
            {
                fill(x, y);
            }
        }
    }
}

template <class Find>
vsrStatus floodFill(uint8_t* dst, uint32_t width, uint32_t height, uint32_t dstStride, uint32_t seedX, uint32_t seedY,
                    uint8_t value, uint32_t lower, uint32_t upper, uint32_t connectivity, uint32_t floating,
                    uint32_t* area, uint32_t* box, Find find)
{
    const size_t pixels = size_t{width} * height;
    const size_t stackBytes =
        floating != 0 ? partBytes<PackedPoint>(pixels) : partBytes<FilledRun>(mostFilledRuns(width, height));
    const Scratch scratch(partBytes<uint8_t>(pixels) + stackBytes);
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Parts parts(scratch);
    Flood flood{dst, width, height, dstStride, parts.take<uint8_t>(pixels)};
    std::memset(flood.reached, 0, pixels);
    if (floating != 0)
    {
        floodSteps(flood, parts.take<PackedPoint>(pixels), seedX, seedY, lower, upper, connectivity);
    }
    else
    {
        const uint32_t base = flood.row(seedY)[seedX];
        const Members members{static_cast<uint8_t>(base - std::min(base, lower)),
                              static_cast<uint8_t>(base + std::min(255 - base, upper))};
        floodRuns(flood, parts.take<FilledRun>(mostFilledRuns(width, height)), seedX, seedY, members, connectivity,
                  find);
    }
    flood.paint(value);
    *area = flood.area;
    box[0] = flood.left;
    box[1] = flood.top;
    box[2] = flood.right - flood.left;
    box[3] = flood.bottom - flood.top;
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
