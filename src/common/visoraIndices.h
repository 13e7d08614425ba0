// Lists of indices.
#ifndef VISORA_COMMON_INDICES_H
#define VISORA_COMMON_INDICES_H

#include <cstddef>
#include <cstdint>

namespace visora
{

/** Whether all indices of a list, null has none, are below a limit. */
template <class Index>
bool areBelow(const Index* indices, uint32_t count, uint32_t limit)
{
    // Looks at all of them: a loop without a way out is done by vectors.
    uint32_t wrong = 0;
    for (size_t i = 0; indices && i < count; ++i)
    {
        wrong |= static_cast<uint32_t>(indices[i] >= limit);
    }
    return wrong == 0;
}

}  // namespace visora

#endif
