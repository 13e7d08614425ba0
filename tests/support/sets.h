// Sets of vectors, lists of points and of indices for calls of operations on them.
#ifndef VISORA_TESTS_SUPPORT_SETS_H
#define VISORA_TESTS_SUPPORT_SETS_H

#include <algorithm>
#include <type_traits>
#include <vector>

#include "support/floats.h"
#include "support/operations.h"

namespace visora::test
{

/** Typical lengths: of a binary descriptor in bytes, of another one in elements. */
constexpr uint32_t kTypicalBytes = 32;
constexpr uint32_t kTypicalLength = 128;

/** The length of the vectors of a call. */
inline uint32_t vectorLength(Arguments& a, uint32_t typical = kTypicalLength)
{
    return a.shape().typical ? typical : a.shape().width;
}

/** How many vectors, points or indices a call is given: as many as a typical shape is wide. */
inline uint32_t anyCount(Arguments& a, uint32_t most = 40)
{
    return a.shape().typical ? a.shape().width : a.random().between(0, a.random().oneIn(6) ? 3 : most);
}

template <class T>
struct InputSet
{
    InputSet(Arguments& a, uint32_t vectorLength, uint32_t vectors)
        : count(vectors),
          stride(a.srcStride(static_cast<uint32_t>(vectorLength * sizeof(T)), sizeof(T))),
          data(elements(a, vectorLength, count, stride))
    {
    }

    // Bits at random are floats of all sizes, whose products are mostly too large or too small: fit for tests, but
    // processors take their time over them.
    static const T* elements(Arguments& a, uint32_t vectorLength, uint32_t vectors, uint32_t stride)
    {
        if constexpr (std::is_same_v<T, float>)
        {
            if (a.shape().typical)
            {
                return image<float>(a, vectorLength, vectors, stride);
            }
        }
        return a.input<T>(vectorLength, vectors, stride);
    }

    uint32_t count;
    uint32_t stride;
    const T* data;
};

template <class T>
T* outputs(Arguments& a, size_t count)
{
    return a.output<T>(count, 1, count * sizeof(T));
}

/** Indices below a limit, none when that is 0. */
template <class Index = uint32_t>
std::vector<Index> anyIndices(Arguments& a, uint32_t count, uint32_t limit)
{
    std::vector<Index> indices(limit == 0 ? 0 : count);
    for (Index& index : indices)
    {
        index = static_cast<Index>(a.random().between(0, limit - 1));
    }
    return indices;
}

/** Points in an image and around it, at its edges, now and then far away. */
inline std::vector<uint32_t> anyPoints(Arguments& a, uint32_t count, uint32_t width, uint32_t height)
{
    std::vector<uint32_t> xy;
    const auto coordinate = [&](uint32_t side)
    {
        return a.random().oneIn(40) && !a.shape().typical
                   ? UINT32_MAX - a.random().between(0, 20)
                   : a.random().between(0, side + (a.shape().typical ? 0 : 4)) - (a.shape().typical ? 1 : 2);
    };
    for (uint32_t i = 0; i < count; ++i)
    {
        xy.push_back(std::max(coordinate(width), a.shape().typical ? 40u : 0u));
        xy.push_back(std::max(coordinate(height), a.shape().typical ? 40u : 0u));
    }
    return xy;
}

/** Counts may be 0, and sets are no images that a unit asks for the size of. */
inline Prepare ofSets(Prepare prepare, std::vector<size_t> counts)
{
    return ruled({.unchecked = std::move(counts), .units = EntryRule::Units::Own}, std::move(prepare));
}

}  // namespace visora::test

#endif
