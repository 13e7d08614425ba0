// Sorting of eight scores, reference.
#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>

#include "visora/variants/corner.h"

vsrStatus vsrSort8Scoresf32C(float* scores, float* values)
{
    constexpr size_t kCount = 8;
    size_t order[kCount];
    std::iota(order, order + kCount, size_t{0});
    std::stable_sort(order, order + kCount,
                     [&](size_t a, size_t b)
                     {
                         const bool isNanA = scores[a] != scores[a];
                         const bool isNanB = scores[b] != scores[b];
                         return isNanA || isNanB ? !isNanA && isNanB : scores[a] > scores[b];
                     });
    uint32_t sorted[2][kCount];
    for (size_t i = 0; i < kCount; ++i)
    {
        sorted[0][i] = std::bit_cast<uint32_t>(scores[order[i]]);
        sorted[1][i] = std::bit_cast<uint32_t>(values[order[i]]);
    }
    std::memcpy(scores, sorted[0], sizeof(sorted[0]));
    std::memcpy(values, sorted[1], sizeof(sorted[1]));
    return VISORA_SUCCESS;
}
