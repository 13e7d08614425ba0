// The choice of a disparity from its costs.
#ifndef VISORA_CPU_GEOM_DISPARITY_H
#define VISORA_CPU_GEOM_DISPARITY_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "visora/depth.h"

namespace visora
{

/** The range of disparities; k counts them from the least. */
struct Disparities
{
    int32_t least;
    uint32_t count;

    /** Those k from `first` to before `end` for which column x - d is in an image of this width. */
    struct Range
    {
        uint32_t first, end;
        bool isEmpty() const { return first >= end; }
    };
    Range possibleAt(uint32_t x, uint32_t width) const
    {
        const int32_t column = static_cast<int32_t>(x) - least;
        const auto limit = [this](int32_t k)
        { return static_cast<uint32_t>(std::clamp<int32_t>(k, 0, static_cast<int32_t>(count))); };
        return {limit(column - static_cast<int32_t>(width) + 1), limit(column + 1)};
    }
};

/** The greatest cost that is below 100 / (100 - uniqueness) times the least one; -1 when there is none. */
inline int32_t rivalCost(uint32_t least, uint32_t uniqueness)
{
    return least == 0 ? -1 : static_cast<int32_t>((least * 100 - 1) / (100 - uniqueness));
}

/** 16 times the disparity of the best k, refined by the costs of its neighbours if it has two. */
inline int16_t refined(const Disparities& disparities, const uint16_t* costs, uint32_t best, Disparities::Range range)
{
    const int32_t whole = 16 * (disparities.least + static_cast<int32_t>(best));
    if (best <= range.first || best + 1 >= range.end)
    {
        return static_cast<int16_t>(whole);
    }
    const int32_t p = costs[best - 1];
    const int32_t n = costs[best + 1];
    const int32_t den = p + n - 2 * costs[best];
    if (den <= 0)
    {
        return static_cast<int16_t>(whole);
    }
    // Rounded down: what is added keeps the dividend positive.
    const int32_t dividend = 16 * (p - n) + den;
    return static_cast<int16_t>(whole + (dividend + 32 * den) / (2 * den) - 16);
}

}  // namespace visora

#endif
