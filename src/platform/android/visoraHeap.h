// The general heap, with every allocation and free counted by the statistics hooks.
#ifndef VISORA_PLATFORM_ANDROID_HEAP_H
#define VISORA_PLATFORM_ANDROID_HEAP_H

#include <cstdlib>

#include "visora/memory.h"

namespace visora
{

inline void* heapAllocate(size_t size)
{
    void* allocation = std::malloc(size);
    if (allocation)
    {
        vsrHeapStatsMalloc(allocation, size);
    }
    return allocation;
}

inline void heapFree(void* allocation)
{
    if (allocation)
    {
        vsrHeapStatsFree(allocation);
    }
    std::free(allocation);
}

}  // namespace visora

#endif
