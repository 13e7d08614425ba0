// What the operations that measure images and their changes are called with.
#ifndef VISORA_TESTS_OPERATIONS_STATISTICS_H
#define VISORA_TESTS_OPERATIONS_STATISTICS_H

#include <cstdint>
#include <utility>
#include <vector>

#include "support/operations.h"

namespace visora::test
{

template <class T>
uint32_t rowBytes(uint32_t elements)
{
    return static_cast<uint32_t>(elements * sizeof(T));
}

// An image of the shape's size.
template <class T = uint8_t>
struct Source
{
    explicit Source(Arguments& a)
        : width(a.shape().width),
          height(a.shape().height),
          stride(a.srcStride(rowBytes<T>(width), sizeof(T))),
          data(a.input<T>(width, height, stride))
    {
    }

    uint32_t width;
    uint32_t height;
    uint32_t stride;
    const T* data;
};

template <class T>
T* numbers(Arguments& a, size_t count)
{
    return a.output<T>(count, 1, count * sizeof(T));
}

// A random range within [0, size), all of it in benchmarks.
inline std::pair<uint32_t, uint32_t> within(Arguments& a, uint32_t size)
{
    const uint32_t start = a.choose(0, size - 1, 0);
    return {start, a.choose(1, size - start, size)};
}

// Its own conditions or sizes keep the general ones on the choice of a unit from being tried.
inline Prepare ownUnits(Prepare prepare, std::vector<size_t> unchecked = {})
{
    return ruled({.unchecked = std::move(unchecked), .units = EntryRule::Units::Own}, std::move(prepare));
}

#define OWN_AND_PACKED(packed_entry, prepare) \
    ruled({.units = EntryRule::Units::Own, .packed = {VISORA_PACKED(packed_entry, "")}}, prepare)

}  // namespace visora::test

#endif
