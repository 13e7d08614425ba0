// Scratch memory: a pool of buffers that are lent for the length of a call and keep their memory.
#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <mutex>

#include "cpu/visoraScratch.h"
#include "platform/android/visoraHeap.h"
#include "visora/memory.h"

uint8_t CPU_initflag = 0;

namespace
{

struct Slot
{
    void* base;          // the allocation
    uint64_t allocated;  // its bytes
    void* data;          // what is handed out
    uint64_t capacity;   // bytes from there
    // 1 while somebody has the slot, who alone may touch the rest of it. Nobody ever waits for a slot, so a thread that
    // ends without giving its buffer back takes that one slot with it and stops no other.
    std::atomic<uint32_t> inUse;

    bool take() { return inUse.exchange(1) == 0; }
    void giveBack() { inUse = 0; }
};

// Stands before every scratch buffer.
struct Header
{
    uint64_t marker;
    void* owner;
};

constexpr uint64_t kPoolBuffer = 0xcdcdcdcd;       // the owner is the slot
constexpr uint64_t kPlainAllocation = 0xabababab;  // the owner is the allocation

Slot pool[32];
std::atomic<bool> poolEnabled = false;

// Guards set-up, teardown and what they count.
std::mutex lifecycle;
int32_t initCalls = 0;

void writeHeader(void* buffer, Header header)
{
    std::memcpy(static_cast<uint8_t*>(buffer) - sizeof(Header), &header, sizeof(Header));
}

Header readHeader(const void* buffer)
{
    Header header;
    std::memcpy(&header, static_cast<const uint8_t*>(buffer) - sizeof(Header), sizeof(Header));
    return header;
}

bool meets(const void* pointer, uintptr_t alignment)
{
    return (reinterpret_cast<uintptr_t>(pointer) & (alignment - 1)) == 0;
}

// An allocation in which `data` is aligned, has a header before it and `size` bytes behind it; base is null without
// memory.
struct Placement
{
    void* base;
    size_t allocated;
    void* data;
};

Placement allocate(size_t size, uintptr_t alignment)
{
    size_t bytes;
    if (__builtin_add_overflow(size, alignment - 1 + sizeof(Header), &bytes))
    {
        return {};
    }
    void* base = visora::heapAllocate(bytes);
    if (!base)
    {
        return {};
    }
    const uintptr_t last = reinterpret_cast<uintptr_t>(base) + sizeof(Header) + alignment - 1;
    return {base, bytes, reinterpret_cast<void*>(last & ~(alignment - 1))};
}

// Gives the slot a new allocation; without memory the old one stays.
bool place(Slot& slot, size_t size, uintptr_t alignment)
{
    const Placement placement = allocate(size, alignment);
    if (!placement.base)
    {
        return false;
    }
    visora::heapFree(slot.base);
    slot.base = placement.base;
    slot.allocated = placement.allocated;
    slot.data = placement.data;
    slot.capacity = size;
    return true;
}

void* borrow(size_t size, uintptr_t alignment)
{
    for (Slot& slot : pool)
    {
        if (slot.inUse.load(std::memory_order_relaxed) || !slot.take())
        {
            continue;
        }
        const bool fits = slot.data && slot.capacity >= size && meets(slot.data, alignment);
        if (!fits && !place(slot, size, alignment))
        {
            slot.giveBack();
            return nullptr;
        }
        writeHeader(slot.data, {kPoolBuffer, &slot});
        return slot.data;
    }
    return nullptr;
}

// Frees the memory of a slot that nobody has.
void empty(Slot& slot)
{
    if (slot.take())
    {
        visora::heapFree(slot.base);
        slot.base = nullptr;
        slot.allocated = 0;
        slot.data = nullptr;
        slot.capacity = 0;
        slot.giveBack();
    }
}

void giveBack(Slot& slot)
{
    slot.giveBack();
    // Whoever comes last, the borrower or the pool's end, finds the slot free and the pool disabled.
    if (!poolEnabled)
    {
        empty(slot);
    }
}

Slot* slotAt(const void* address)
{
    const auto isIt = [&](const Slot& slot) { return &slot == address; };
    Slot* found = std::find_if(std::begin(pool), std::end(pool), isIt);
    return found == std::end(pool) ? nullptr : found;
}

}  // namespace

int32_t vsrMemInit(void)
{
    const std::lock_guard lock(lifecycle);
    if (!poolEnabled)
    {
        vsrHeapStatsInit();
        poolEnabled = true;
    }
    ++initCalls;
    CPU_initflag = 1;
    return 0;
}

void vsrMemInitPreAlloc(uint32_t size)
{
    constexpr uint32_t kCap = 33177600;
    vsrMemInit();
    if (size == 0)
    {
        return;
    }
    const uint32_t bytes = std::min(size, kCap);
    const visora::Scratch buffer(bytes, 16);
    if (buffer.data())
    {
        std::memset(buffer.data(), 0, bytes);
    }
}

void vsrMemDeInit(void)
{
    const std::lock_guard lock(lifecycle);
    if (!CPU_initflag)
    {
        return;
    }
    if (initCalls == 1)
    {
        initCalls = 0;
        poolEnabled = false;
        // Buffers that are lent stay with their borrowers, who free them when they give them back.
        std::for_each(std::begin(pool), std::end(pool), empty);
        return;
    }
    if (initCalls > 0)
    {
        --initCalls;
    }
    CPU_initflag = 0;
}

void* vsrGetScratchBufferAlignedC(size_t size, uint32_t alignment)
{
    const uintptr_t step = std::has_single_bit(alignment) ? alignment : 1;
    if (poolEnabled)
    {
        return borrow(size, step);
    }
    const Placement placement = allocate(size, step);
    if (!placement.base)
    {
        return nullptr;
    }
    writeHeader(placement.data, {kPlainAllocation, placement.base});
    return placement.data;
}

void* vsrGetScratchBufferUnalignedC(size_t size)
{
    return vsrGetScratchBufferAlignedC(size, 1);
}

void vsrReleaseScratchBufferC(void* buffer)
{
    if (!buffer)
    {
        return;
    }
    const Header header = readHeader(buffer);
    if (header.marker == kPlainAllocation)
    {
        visora::heapFree(header.owner);
    }
    else if (header.marker == kPoolBuffer)
    {
        if (Slot* slot = slotAt(header.owner))
        {
            giveBack(*slot);
        }
    }
}
