#include <bit>
#include <cstdlib>

#include "visora/memory.h"

namespace
{

// Stands before every scratch buffer.
struct ScratchHeader
{
    uint64_t marker;
    void* owner;  // the allocation to free
};

constexpr uint64_t kPlainAllocation = 0xabababab;

ScratchHeader* headerOf(void* buffer)
{
    return static_cast<ScratchHeader*>(buffer) - 1;
}

}  // namespace

void* vsrGetScratchBufferAlignedC(size_t size, uint32_t alignment)
{
    const uintptr_t step = std::has_single_bit(alignment) ? alignment : 1;
    void* base = std::malloc(size + step - 1 + sizeof(ScratchHeader));
    if (!base)
    {
        return nullptr;
    }
    const uintptr_t first = reinterpret_cast<uintptr_t>(base) + sizeof(ScratchHeader);
    void* buffer = reinterpret_cast<void*>((first + step - 1) & ~(step - 1));
    *headerOf(buffer) = {kPlainAllocation, base};
    return buffer;
}

void* vsrGetScratchBufferUnalignedC(size_t size)
{
    return vsrGetScratchBufferAlignedC(size, 1);
}

void vsrReleaseScratchBufferC(void* buffer)
{
    if (buffer && headerOf(buffer)->marker == kPlainAllocation)
    {
        std::free(headerOf(buffer)->owner);
    }
}
