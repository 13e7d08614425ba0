// The pattern of the binary descriptors and how it is turned.
#ifndef VISORA_CPU_BRIEF_H
#define VISORA_CPU_BRIEF_H

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "cpu/descriptor/visoraTurn.h"

namespace visora
{

constexpr size_t kBriefPairs = 256;
constexpr size_t kBriefBytes = kBriefPairs / 8;
/** Windows reach so far from a point, their centres so far. */
constexpr uint32_t kBriefReach = 15;
constexpr int32_t kBriefRadius = 13;

struct BriefPair
{
    int8_t px, py, qx, qy;
};

/** The pairs of places that are compared, drawn around the point by a sum of four even draws along each axis. */
constexpr std::array<BriefPair, kBriefPairs> makeBriefPattern()
{
    uint64_t state = 1;
    const auto draw4 = [&state]
    {
        int sum = -20;
        for (int i = 0; i < 4; ++i)
        {
            state = 16807 * state % 0x7fffffff;
            sum += static_cast<int>(state % 11);
        }
        return sum;
    };
    std::array<BriefPair, kBriefPairs> pattern = {};
    for (BriefPair& pair : pattern)
    {
        int x[2] = {};
        int y[2] = {};
        do
        {
            for (size_t end = 0; end < 2; ++end)
            {
                do
                {
                    x[end] = draw4();
                    y[end] = draw4();
                } while (x[end] * x[end] + y[end] * y[end] > kBriefRadius * kBriefRadius);
            }
        } while ((x[0] - x[1]) * (x[0] - x[1]) + (y[0] - y[1]) * (y[0] - y[1]) < 16);
        pair = {static_cast<int8_t>(x[0]), static_cast<int8_t>(y[0]), static_cast<int8_t>(x[1]),
                static_cast<int8_t>(y[1])};
    }
    return pattern;
}

inline constexpr std::array<BriefPair, kBriefPairs> kBriefPattern = makeBriefPattern();

/** Whether all windows of a point are inside the image. */
inline bool hasBriefWindows(uint32_t x, uint32_t y, uint32_t width, uint32_t height)
{
    return x >= kBriefReach && y >= kBriefReach && width > kBriefReach && height > kBriefReach &&
           x < width - kBriefReach && y < height - kBriefReach;
}

/** The turn towards the centroid of intensities with these moments about the point. */
inline Turn turnTowards(int32_t m10, int32_t m01)
{
    const auto x = static_cast<float>(m10);
    const auto y = static_cast<float>(m01);
    const float n = x * x + y * y;
    if (n == 0)
    {
        return {1, 0};
    }
    const float r = std::sqrt(n);
    return {x / r, y / r};
}

/** Half of the columns of the disc of radius 15 that the centroid is of, by rows above or below the centre. */
constexpr std::array<int32_t, kBriefReach + 1> makeBriefDisc()
{
    std::array<int32_t, kBriefReach + 1> halves = {};
    constexpr int32_t kRadius = kBriefReach;
    for (int32_t dy = 0; dy <= kRadius; ++dy)
    {
        int32_t half = 0;
        while ((half + 1) * (half + 1) + dy * dy <= kRadius * kRadius)
        {
            ++half;
        }
        halves[static_cast<size_t>(dy)] = half;
    }
    return halves;
}

inline constexpr std::array<int32_t, kBriefReach + 1> kBriefDisc = makeBriefDisc();

}  // namespace visora

#endif
