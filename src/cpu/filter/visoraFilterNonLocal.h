// Weights of the non-local means.
#ifndef VISORA_CPU_FILTER_NON_LOCAL_H
#define VISORA_CPU_FILTER_NON_LOCAL_H

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "cpu/filter/visoraFilterBilateral.h"

namespace visora
{

/** Weights of patches whose squared differences add up to d: entry d >> shift, 0 beyond the table. */
struct NonLocalWeights
{
    explicit NonLocalWeights(float strength)
    {
        const double squared = double{strength} * double{strength};
        while (std::ldexp(256, static_cast<int>(shift)) < 156 * squared)
        {
            ++shift;
        }
        for (size_t k = 0; k < table.size(); ++k)
        {
            table[k] = byteWeight(std::ldexp(static_cast<double>(k), static_cast<int>(shift)) / (25 * squared));
        }
    }

    uint32_t shift = 0;
    std::array<uint8_t, 256> table;
};

}  // namespace visora

#endif
