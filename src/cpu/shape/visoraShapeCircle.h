// Circles by voting: what makes gradients and thins edges is given.
#ifndef VISORA_CPU_SHAPE_CIRCLE_H
#define VISORA_CPU_SHAPE_CIRCLE_H

#include <algorithm>
#include <cmath>

#include "cpu/shape/visoraShape.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/shape.h"
#include "visora/variants/statistics.h"

namespace visora
{

/** An edge pixel and the unit vector of its gradient, times 1024. */
struct CircleEdge
{
    uint16_t x;
    uint16_t y;
    int16_t ux;
    int16_t uy;
};

/** Where circles may have their centres. */
struct CentreVotes
{
    uint32_t at(int64_t x, int64_t y) const
    {
        return x < 0 || x >= width || y < 0 || y >= height ? 0 : cells[y * width + x];
    }

    bool isPeak(int64_t x, int64_t y) const
    {
        const uint32_t v = at(x, y);
        return v > at(x - 1, y) && v > at(x, y - 1) && v >= at(x + 1, y) && v >= at(x, y + 1);
    }

    uint32_t* cells;
    int64_t width;
    int64_t height;
};

struct CircleCentre
{
    uint32_t votes;
    PackedPoint cell;
};

/** What is asked of circles. */
struct CircleSearch
{
    uint32_t cellShift;
    uint32_t threshold;
    uint32_t minRadius;
    uint32_t maxRadius;
    float minDistance;
};

/** Whole distances of edge pixels from a centre, to the nearest and even ones. */
using CircleDistances = void(const CircleEdge* edges, size_t count, float cx, float cy, uint32_t* distances);

inline void distancesFrom(const CircleEdge* edges, size_t count, float cx, float cy, uint32_t* distances)
{
    for (size_t i = 0; i < count; ++i)
    {
        const float ex = static_cast<float>(edges[i].x) - cx;
        const float ey = static_cast<float>(edges[i].y) - cy;
        distances[i] = static_cast<uint32_t>(std::nearbyint(std::sqrt(ex * ex + ey * ey)));
    }
}

/** The radius that most edge pixels about a centre are at, for its length, and how many are there. */
struct CircleFit
{
    float radius;
    uint64_t support;
};

inline CircleFit fitCircle(const CircleEdge* begin, const CircleEdge* end, float cx, float cy,
                           const CircleSearch& search, CircleDistances* distances, uint32_t* histogram)
{
    constexpr size_t kAtOnce = 256;
    uint32_t list[kAtOnce];
    const uint32_t bins = search.maxRadius - search.minRadius + 1;
    std::fill_n(histogram, bins, 0u);
    for (const CircleEdge* edges = begin; edges != end;)
    {
        const size_t count = std::min(kAtOnce, static_cast<size_t>(end - edges));
        distances(edges, count, cx, cy, list);
        for (size_t i = 0; i < count; ++i)
        {
            const uint32_t bin = list[i] - search.minRadius;  // that of a shorter distance is large
            if (bin < bins)
            {
                ++histogram[bin];
            }
        }
        edges += count;
    }
    const auto at = [&](uint32_t bin) { return bin < bins ? uint64_t{histogram[bin]} : 0; };
    const auto support = [&](uint32_t bin) { return at(bin - 1) + at(bin) + at(bin + 1); };
    uint32_t best = 0;
    for (uint32_t bin = 1; bin < bins; ++bin)
    {
        if (support(bin) * (best + search.minRadius) > support(best) * (bin + search.minRadius))
        {
            best = bin;
        }
    }
    uint64_t sum = 0;
    for (const uint32_t bin : {best - 1, best, best + 1})
    {
        sum += at(bin) * (bin + search.minRadius);
    }
    return {static_cast<float>(sum) / static_cast<float>(support(best)), support(best)};
}

/** How many of from, from + step, from + 2 step, ... come before the first that is not within 0 to size - 1. */
inline int64_t stepsWithin(int64_t from, int64_t step, int64_t size)
{
    if (from < 0 || from >= size)
    {
        return 0;
    }
    return step == 0 ? INT64_MAX : (step > 0 ? (size - 1 - from) / step : from / -step) + 1;
}

/** Each edge pixel votes for the cells along its gradient, both ways. */
inline void voteForCentres(const CircleEdge* begin, const CircleEdge* end, uint32_t width, uint32_t height,
                           const CircleSearch& search, const CentreVotes& votes)
{
    const uint32_t shift = 10 + search.cellShift;
    const int64_t radii = int64_t{search.maxRadius} - search.minRadius + 1;
    const int64_t cellsX = votes.width;
    uint32_t* const cells = votes.cells;
    for (const CircleEdge* edge = begin; edge != end; ++edge)
    {
        for (const int64_t sign : {1, -1})
        {
            const int64_t stepX = sign * edge->ux;
            const int64_t stepY = sign * edge->uy;
            int64_t x = 1024 * int64_t{edge->x} + 512 + stepX * search.minRadius;
            int64_t y = 1024 * int64_t{edge->y} + 512 + stepY * search.minRadius;
            // What leaves the image does not come back.
            for (int64_t left = std::min({radii, stepsWithin(x, stepX, 1024 * int64_t{width}),
                                          stepsWithin(y, stepY, 1024 * int64_t{height})});
                 left > 0; --left, x += stepX, y += stepY)
            {
                ++cells[(y >> shift) * cellsX + (x >> shift)];
            }
        }
    }
}

/** gradient and thin are variants of vsrImageGradientSobelPlanars16 and vsrEdgeThins16, distances one of distancesFrom.
 */
inline vsrStatus houghCircles(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                              uint32_t edgeThreshold, const CircleSearch& search, float* circles, uint32_t* votes,
                              uint32_t capacity, uint32_t* count, decltype(vsrImageGradientSobelPlanars16C)* gradient,
                              decltype(vsrEdgeThins16C)* thin, CircleDistances* distances)
{
    const size_t pixels = size_t{width} * height;
    const uint32_t bins = search.maxRadius - search.minRadius + 1;
    const int64_t cellsX = ((width - 1) >> search.cellShift) + 1;
    const int64_t cellsY = ((height - 1) >> search.cellShift) + 1;
    const auto cells = static_cast<size_t>(cellsX * cellsY);
    const Scratch planes(3 * partBytes<int16_t>(pixels));
    if (!planes.data())
    {
        return VISORA_ENOMEM;
    }
    Parts planeParts(planes);
    auto* const dx = planeParts.take<int16_t>(pixels);
    auto* const dy = planeParts.take<int16_t>(pixels);
    auto* const magnitudes = planeParts.take<uint16_t>(pixels);
    gradient(src, width, height, srcStride, dx, dy, 2 * width);
    thin(dx, width, height, 2 * width, dy, 2 * width, magnitudes, 2 * width);
    const auto edges = static_cast<size_t>(
        std::count_if(magnitudes, magnitudes + pixels, [=](uint16_t m) { return m > edgeThreshold; }));

    const Scratch scratch(partBytes<CircleEdge>(edges) + partBytes<size_t>(size_t{height} + 1) +
                          partBytes<uint32_t>(cells) + partBytes<uint32_t>(bins));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Parts parts(scratch);
    auto* const edgeList = parts.take<CircleEdge>(edges);
    auto* const firstOfRow = parts.take<size_t>(size_t{height} + 1);
    const CentreVotes table{parts.take<uint32_t>(cells), cellsX, cellsY};
    auto* const histogram = parts.take<uint32_t>(bins);
    std::fill_n(table.cells, cells, 0u);
    size_t next = 0;
    for (size_t y = 0; y < height; ++y)
    {
        firstOfRow[y] = next;
        for (size_t x = 0; x < width; ++x)
        {
            const size_t i = y * width + x;
            if (magnitudes[i] > edgeThreshold)
            {
                const auto gx = static_cast<float>(dx[i]);
                const auto gy = static_cast<float>(dy[i]);
                const float length = std::sqrt(gx * gx + gy * gy);
                edgeList[next++] = {static_cast<uint16_t>(x), static_cast<uint16_t>(y),
                                    static_cast<int16_t>(std::nearbyint(gx * 1024 / length)),
                                    static_cast<int16_t>(std::nearbyint(gy * 1024 / length))};
            }
        }
    }
    firstOfRow[height] = next;
    voteForCentres(edgeList, edgeList + next, width, height, search, table);

    const auto forCentres = [&](auto body)
    {
        for (int64_t y = 0; y < cellsY; ++y)
        {
            for (int64_t x = 0; x < cellsX; ++x)
            {
                if (table.at(x, y) > search.threshold && table.isPeak(x, y))
                {
                    body(CircleCentre{table.at(x, y), packPoint(static_cast<uint32_t>(x), static_cast<uint32_t>(y))});
                }
            }
        }
    };
    size_t found = 0;
    forCentres([&](const CircleCentre& /*centre*/) { ++found; });
    const Scratch list(partBytes<CircleCentre>(found + 1));
    if (!list.data())
    {
        return VISORA_ENOMEM;
    }
    auto* const centres = list.as<CircleCentre>();
    found = 0;
    forCentres([&](const CircleCentre& centre) { centres[found++] = centre; });
    std::sort(centres, centres + found,
              [](const CircleCentre& a, const CircleCentre& b)
              { return a.votes != b.votes ? a.votes > b.votes : a.cell < b.cell; });

    const auto cell = static_cast<float>(1u << search.cellShift);
    uint32_t listed = 0;
    for (size_t i = 0; i < found && listed < capacity; ++i)
    {
        const float cx = cell * static_cast<float>(xOf(centres[i].cell)) + (cell - 1) / 2;
        const float cy = cell * static_cast<float>(yOf(centres[i].cell)) + (cell - 1) / 2;
        bool isNear = false;
        for (size_t k = 0; k < listed && !isNear; ++k)
        {
            const float ax = circles[3 * k];
            const float ay = circles[3 * k + 1];
            isNear = (cx - ax) * (cx - ax) + (cy - ay) * (cy - ay) < search.minDistance * search.minDistance;
        }
        if (isNear)
        {
            continue;
        }
        // Rows that a circle of the largest radius reaches, and one more for the rounding.
        const auto row = static_cast<int64_t>(cy);
        const int64_t reach = int64_t{search.maxRadius} + 2;
        const size_t top = firstOfRow[std::clamp<int64_t>(row - reach, 0, height)];
        const size_t bottom = firstOfRow[std::clamp<int64_t>(row + reach + 1, 0, height)];
        const CircleFit fit = fitCircle(edgeList + top, edgeList + bottom, cx, cy, search, distances, histogram);
        if (fit.support > search.threshold)
        {
            circles[3 * size_t{listed}] = cx;
            circles[3 * size_t{listed} + 1] = cy;
            circles[3 * size_t{listed} + 2] = fit.radius;
            votes[listed++] = centres[i].votes;
        }
    }
    *count = listed;
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
