#include "arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace visora::bench
{

Arena arena(size_t readBytes, size_t writtenBytes)
{
    // Of each part; pages that are never touched cost nothing.
    constexpr size_t kBytes = size_t{1} << 34;
    // Not at the same place of a page: loads would wait for stores that look like theirs.
    constexpr size_t kElsewhere = 33 * 64;
    static uint8_t* const memory = []
    {
        void* mapped =
            mmap(nullptr, 2 * kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        return mapped == MAP_FAILED ? nullptr : static_cast<uint8_t*>(mapped);
    }();
    if (memory == nullptr || std::max(readBytes, writtenBytes + kElsewhere) > kBytes)
    {
        std::fprintf(stderr, "no memory for what is measured: %zu bytes\n", std::max(readBytes, writtenBytes));
        std::abort();
    }
    return {memory, memory + kBytes + kElsewhere};
}

}  // namespace visora::bench
