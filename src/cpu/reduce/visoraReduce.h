// What the reductions have in common: extremes with their places, means, projections.
#ifndef VISORA_CPU_REDUCE_H
#define VISORA_CPU_REDUCE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "visora/reduce.h"

namespace visora
{

/** The smallest and the largest of the elements that were added, and where each was first. NaNs do not take part. */
template <class T>
struct Extremes
{
    static constexpr bool kIsFloat = std::numeric_limits<T>::has_infinity;
    T minValue = kIsFloat ? std::numeric_limits<T>::infinity() : std::numeric_limits<T>::max();
    T maxValue = kIsFloat ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::lowest();
    uint32_t minXY[2] = {UINT32_MAX, UINT32_MAX};
    uint32_t maxXY[2] = {UINT32_MAX, UINT32_MAX};

    void add(T value, uint32_t x, uint32_t y)
    {
        // The first element may equal the value that the search begins with.
        const auto keepIf = [=](bool isBetter, T& best, uint32_t(&place)[2])
        {
            if (isBetter || (value == best && place[0] == UINT32_MAX))
            {
                best = value;
                place[0] = x;
                place[1] = y;
            }
        };
        keepIf(value < minValue, minValue, minXY);
        keepIf(value > maxValue, maxValue, maxXY);
    }

    vsrStatus store(T* smallest, T* largest) const
    {
        *smallest = minValue;
        *largest = maxValue;
        if constexpr (kIsFloat)
        {
            // -0 becomes +0.
            *smallest += 0;
            *largest += 0;
        }
        return VISORA_SUCCESS;
    }

    vsrStatus store(T* smallest, T* largest, uint32_t* smallestXY, uint32_t* largestXY) const
    {
        std::copy_n(minXY, 2, smallestXY);
        std::copy_n(maxXY, 2, largestXY);
        return store(smallest, largest);
    }
};

inline float mean(double sum, uint64_t count)
{
    return count == 0 ? 0 : static_cast<float>(sum / static_cast<double>(count));
}

/** The reduction of `count` pixels that are `step` apart. */
inline uint32_t projection(const uint8_t* src, size_t count, size_t step, vsrReduction reduction)
{
    uint32_t result = src[0];
    for (size_t i = 1; i < count; ++i)
    {
        const uint32_t value = src[i * step];
        result = reduction == VISORA_REDUCE_SUM   ? result + value
                 : reduction == VISORA_REDUCE_MIN ? std::min(result, value)
                                                  : std::max(result, value);
    }
    return result;
}

}  // namespace visora

#endif
