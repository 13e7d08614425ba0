// Sums of many floats in a fixed order.
#ifndef VISORA_CPU_PARTIAL_SUMS_H
#define VISORA_CPU_PARTIAL_SUMS_H

#include <array>
#include <cstddef>

namespace visora
{

/**
 * Sixteen partial sums, element i going to sum i mod 16, which any vector length can follow bit for bit. A sum is never
 * -0, so that elements of +0 may fill up a vector.
 */
template <class T>
struct PartialSums
{
    static constexpr size_t kCount = 16;

    void add(size_t i, T element) { partial[i % kCount] += element; }

    T total() const
    {
        std::array<T, kCount> p = partial;
        for (size_t s = kCount / 2; s > 0; s /= 2)
        {
            for (size_t i = 0; i < s; ++i)
            {
                p[i] += p[i + s];
            }
        }
        return p[0];
    }

    alignas(64) std::array<T, kCount> partial{};
};

}  // namespace visora

#endif
