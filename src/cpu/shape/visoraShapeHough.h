// Lines by voting: each angle has a row of cells, into which all pixels vote before the next one's turn, so that the
// row stays in the cache.
#ifndef VISORA_CPU_SHAPE_HOUGH_H
#define VISORA_CPU_SHAPE_HOUGH_H

#include <algorithm>
#include <cmath>

#include "cpu/shape/visoraShape.h"
#include "cpu/visoraDegrees.h"
#include "cpu/visoraDrivers.h"

namespace visora
{

struct HoughLine
{
    uint32_t votes;
    uint32_t angle;
    int32_t distance;
};

/** Coordinates of the set pixels of a mask. */
struct VotingPixels
{
    float* x;
    float* y;
    size_t count;
};

/** Cells of all angles; the distance 0 is in the middle of a row. */
struct LineVotes
{
    uint32_t* row(size_t angle) const { return cells + angle * (2 * size_t{most} + 1) + most; }

    uint32_t at(int64_t angle, int64_t distance) const
    {
        return angle < 0 || angle >= angles || distance < -int64_t{most} || distance > most
                   ? 0
                   : row(static_cast<size_t>(angle))[distance];
    }

    uint32_t* cells;
    uint32_t angles;
    uint32_t most;  // distance
};

/** body(line) for each cell above the threshold that is the greatest of its neighbourhood. */
template <class Body>
void forLines(const LineVotes& votes, uint32_t threshold, Body body)
{
    const auto most = static_cast<int32_t>(votes.most);
    for (uint32_t k = 0; k < votes.angles; ++k)
    {
        const uint32_t* row = votes.row(k);
        for (int32_t r = -most; r <= most; ++r)
        {
            const uint32_t v = row[r];
            if (v > threshold && v > votes.at(k, int64_t{r} - 1) && v > votes.at(int64_t{k} - 1, r) &&
                v >= votes.at(k, int64_t{r} + 1) && v >= votes.at(int64_t{k} + 1, r))
            {
                body(HoughLine{v, k, r});
            }
        }
    }
}

/** The cell that a pixel votes for. */
inline int32_t votedDistance(float x, float y, float c, float s)
{
    return static_cast<int32_t>(std::nearbyint(x * c + y * s));
}

/** vote(pixels, c, s, row) counts the pixels in the cells of a row. */
template <class Vote>
vsrStatus houghLines(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, float rhoStep,
                     float thetaStep, uint32_t threshold, float* rhoTheta, uint32_t* votes, uint32_t capacity,
                     uint32_t* count, Vote vote)
{
    size_t set = 0;
    for (uint32_t y = 0; y < height; ++y)
    {
        const uint8_t* row = imageRow(src, srcStride, y);
        set += width - static_cast<size_t>(std::count(row, row + width, 0));
    }
    const auto angles = static_cast<uint32_t>(std::max(1.0, std::floor(180.0 / thetaStep + 0.5)));
    const auto most = static_cast<uint32_t>(std::floor((static_cast<double>(width) + height) / rhoStep)) + 1;
    const size_t cells = angles * (2 * size_t{most} + 1);
    const Scratch scratch(2 * partBytes<float>(set) + partBytes<uint32_t>(cells));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Parts parts(scratch);
    VotingPixels pixels{parts.take<float>(set), parts.take<float>(set), 0};
    for (uint32_t y = 0; y < height; ++y)
    {
        const uint8_t* row = imageRow(src, srcStride, y);
        for (uint32_t x = 0; x < width && pixels.count < set; ++x)
        {
            // The next one overwrites a pixel that is not set.
            pixels.x[pixels.count] = static_cast<float>(x);
            pixels.y[pixels.count] = static_cast<float>(y);
            pixels.count += row[x] != 0 ? 1 : 0;
        }
    }
    const LineVotes table{parts.take<uint32_t>(cells), angles, most};
    std::fill_n(table.cells, cells, 0u);
    for (uint32_t k = 0; k < angles; ++k)
    {
        const SineAndCosine at = sineAndCosine(k * static_cast<double>(thetaStep));
        vote(pixels, static_cast<float>(at.cosine / rhoStep), static_cast<float>(at.sine / rhoStep), table.row(k));
    }

    size_t found = 0;
    forLines(table, threshold, [&](const HoughLine& /*line*/) { ++found; });
    const Scratch list(partBytes<HoughLine>(found + 1));
    if (!list.data())
    {
        return VISORA_ENOMEM;
    }
    auto* const lines = list.as<HoughLine>();
    size_t next = 0;
    forLines(table, threshold, [&](const HoughLine& line) { lines[next++] = line; });
    const size_t stored = std::min<size_t>(capacity, found);
    std::partial_sort(lines, lines + stored, lines + found,
                      [](const HoughLine& a, const HoughLine& b) {
                          return a.votes != b.votes   ? a.votes > b.votes
                                 : a.angle != b.angle ? a.angle < b.angle
                                                      : a.distance < b.distance;
                      });
    for (size_t i = 0; i < stored; ++i)
    {
        rhoTheta[2 * i] = static_cast<float>(lines[i].distance) * rhoStep;
        rhoTheta[2 * i + 1] = static_cast<float>(lines[i].angle) * thetaStep;
        votes[i] = lines[i].votes;
    }
    *count = static_cast<uint32_t>(stored);
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
