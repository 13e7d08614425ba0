// Aligned blocks, from the heap or from memory shared with the DSP.
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "common/visoraLog.h"
#include "common/visoraRelaxed.h"
#include "kdsp_rpc/multi_domains/visoraSharedBuffers.h"
#include "platform/android/visoraHeap.h"
#include "visora/memory.h"

namespace
{

// A failed assertion names the function that was called.
void require(bool condition, int line, const char* function, const char* text)
{
    if (!condition)
    {
        visora::failAssertion("src/platform/android/visoraMemAndroid", line, function, text);
    }
}

void checkAlignment(uint32_t byteAlignment, const char* function)
{
    require(byteAlignment < 255, __LINE__, function, "byteAlignment < 255");
    require((byteAlignment & (byteAlignment - 1)) == 0, __LINE__, function, "(byteAlignment & (byteAlignment-1)) == 0");
}

// The byte before a block tells how far back its allocation starts: at least 1, and at most the alignment.
void* alignedBlock(size_t size, uint32_t byteAlignment)
{
    const uintptr_t alignment = byteAlignment == 0 ? 1 : byteAlignment;
    size_t bytes;
    if (__builtin_add_overflow(size, alignment + 1, &bytes))
    {
        return nullptr;
    }
    auto* allocation = static_cast<uint8_t*>(visora::heapAllocate(bytes));
    if (!allocation)
    {
        return nullptr;
    }
    const uintptr_t distance = alignment - (reinterpret_cast<uintptr_t>(allocation) & (alignment - 1));
    uint8_t* block = allocation + distance;
    block[-1] = static_cast<uint8_t>(distance);
    return block;
}

void freeAlignedBlock(void* block)
{
    auto* bytes = static_cast<uint8_t*>(block);
    visora::heapFree(bytes - bytes[-1]);
}

// ---- Blocks of shared allocators ----

using SharedFree = int32_t (*)(void* block);

// A block that vsrMemAlloc got from a shared allocator, with what frees it when that allocator is installed no more.
struct SharedBlock
{
    void* address;
    SharedFree free;
    std::optional<SharedMemRecord> record;  // of a block of the library's own allocator
    SharedBlock* next;
};

std::mutex sharedBlocksGuard;
SharedBlock* sharedBlocks = nullptr;  // under the guard

// Takes the note of a block, null when there is none.
SharedBlock* takeNote(const void* address)
{
    const std::lock_guard lock(sharedBlocksGuard);
    for (SharedBlock** at = &sharedBlocks; *at; at = &(*at)->next)
    {
        if ((*at)->address == address)
        {
            return std::exchange(*at, (*at)->next);
        }
    }
    return nullptr;
}

// Takes a block's note away: a block that was freed by other means may have left one.
void dropNote(const void* address)
{
    delete takeNote(address);
}

struct SharedAllocator
{
    void* (*allocate)(uint32_t size, uint32_t byteAlignment);
    SharedFree free;
};

// The one that is installed; none of it when one of the two functions is missing.
SharedAllocator installedAllocator()
{
    const auto allocate = ppvsrSharedMemAlloc ? VSR_LOAD(*ppvsrSharedMemAlloc) : nullptr;
    const SharedFree free = ppvsrSharedMemFree ? VSR_LOAD(*ppvsrSharedMemFree) : nullptr;
    return allocate && free ? SharedAllocator{allocate, free} : SharedAllocator{};
}

void* allocateShared(uint32_t size, uint32_t byteAlignment)
{
    const auto [allocate, free] = installedAllocator();
    auto* const note = free ? new (std::nothrow) SharedBlock() : nullptr;
    if (!note)
    {
        return nullptr;
    }
    void* const address = allocate(size, byteAlignment);
    if (!address)
    {
        delete note;
        return nullptr;
    }
    dropNote(address);
    note->address = address;
    note->free = free;
    note->record = free == vsrSharedMemFreeK ? visora::sharedMemoryRecord(address) : std::nullopt;
    const std::lock_guard lock(sharedBlocksGuard);
    note->next = std::exchange(sharedBlocks, note);
    return address;
}

// Frees a block of a shared allocator, also after that allocator was ended or replaced.
bool freeShared(void* block)
{
    SharedBlock* const note = takeNote(block);
    const SharedFree free = note ? note->free : installedAllocator().free;
    bool freed = free && free(block) == 0;
    if (!freed && note && note->record)
    {
        visora::releaseSharedMemory(*note->record);
        freed = true;
    }
    freed = freed || note;
    delete note;
    return freed;
}

}  // namespace

void* vsrMemAlign(size_t size, uint32_t byteAlignment)
{
    checkAlignment(byteAlignment, "void* vsrMemAlign(size_t, uint32_t)");
    return alignedBlock(size, byteAlignment);
}

void vsrMemAlignFree(void* block)
{
    if (block)
    {
        freeAlignedBlock(block);
    }
}

void* vsrMemAlloc(uint32_t size, uint32_t byteAlignment)
{
    checkAlignment(byteAlignment, "void* vsrMemAlloc(uint32_t, uint32_t)");
    if (void* const shared = allocateShared(size, byteAlignment))
    {
        return shared;
    }
    void* const block = alignedBlock(size, byteAlignment);
    dropNote(block);
    return block;
}

void vsrMemFree(void* block)
{
    if (block && !freeShared(block))
    {
        freeAlignedBlock(block);
    }
}
