// Where the pixels of a frame come from.
#ifndef VISORA_CPU_ELEMENT_BORDER_H
#define VISORA_CPU_ELEMENT_BORDER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "visora/types.h"

namespace visora
{

/** The place among 0 .. size - 1 that stands for place i: by mirroring about the outermost places, or the nearest. */
inline size_t insideOf(vsrBorderType type, int64_t i, size_t size)
{
    const auto last = static_cast<int64_t>(size) - 1;
    if (type != VISORA_BORDER_MIRROR || last == 0)
    {
        return static_cast<size_t>(std::clamp<int64_t>(i, 0, last));
    }
    const int64_t m = ((i % (2 * last)) + 2 * last) % (2 * last);
    return static_cast<size_t>(m <= last ? m : 2 * last - m);
}

}  // namespace visora

#endif
