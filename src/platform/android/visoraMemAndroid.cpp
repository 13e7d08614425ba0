// Aligned blocks, from the heap or from memory shared with the DSP.
#include "common/visoraLog.h"
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

bool hasSharedAllocator()
{
    return ppvsrSharedMemAlloc && *ppvsrSharedMemAlloc && ppvsrSharedMemFree && *ppvsrSharedMemFree;
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
    void* shared = hasSharedAllocator() ? (*ppvsrSharedMemAlloc)(size, byteAlignment) : nullptr;
    return shared ? shared : alignedBlock(size, byteAlignment);
}

void vsrMemFree(void* block)
{
    if (!block || (hasSharedAllocator() && (*ppvsrSharedMemFree)(block) == 0))
    {
        return;
    }
    freeAlignedBlock(block);
}
