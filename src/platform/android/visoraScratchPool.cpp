// Scratch memory: a pool of buffers that are lent for the length of a call and keep their memory.
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstring>
#include <mutex>

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
    std::atomic<uint32_t> inUse;
    pthread_mutex_t mutex;  // held by the borrower; guards all of the above but the flag
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

// A slot that its borrower's mutex keeps locked until the buffer is released.
void* borrow(size_t size, uintptr_t alignment)
{
    for (Slot& slot : pool)
    {
        if (slot.inUse.load(std::memory_order_relaxed) || pthread_mutex_trylock(&slot.mutex) != 0)
        {
            continue;
        }
        const bool fits = slot.data && slot.capacity >= size && meets(slot.data, alignment);
        if (!fits && !place(slot, size, alignment))
        {
            pthread_mutex_unlock(&slot.mutex);
            return nullptr;
        }
        writeHeader(slot.data, {kPoolBuffer, &slot});
        slot.inUse.store(1, std::memory_order_relaxed);
        return slot.data;
    }
    return nullptr;
}

Slot* slotAt(const void* address)
{
    const auto isIt = [&](const Slot& slot) { return &slot == address; };
    Slot* found = std::find_if(std::begin(pool), std::end(pool), isIt);
    return found == std::end(pool) ? nullptr : found;
}

void setUp()
{
    vsrHeapStatsInit();
    // A mutex of this kind refuses what would be undefined otherwise: to unlock a buffer that another thread borrowed.
    pthread_mutexattr_t kind;
    pthread_mutexattr_init(&kind);
    pthread_mutexattr_settype(&kind, PTHREAD_MUTEX_ERRORCHECK);
    for (Slot& slot : pool)
    {
        pthread_mutex_init(&slot.mutex, &kind);
    }
    pthread_mutexattr_destroy(&kind);
    poolEnabled = true;
}

void tearDown()
{
    poolEnabled = false;
    for (Slot& slot : pool)
    {
        // Waits for a borrower. When that is this very thread, the mutex says so and is held already.
        [[maybe_unused]] const int held = pthread_mutex_lock(&slot.mutex);
        visora::heapFree(slot.base);
        slot.base = nullptr;
        slot.allocated = 0;
        slot.data = nullptr;
        slot.capacity = 0;
        slot.inUse = 0;
        pthread_mutex_unlock(&slot.mutex);
        pthread_mutex_destroy(&slot.mutex);
    }
}

}  // namespace

int32_t vsrMemInit(void)
{
    const std::lock_guard lock(lifecycle);
    if (!poolEnabled)
    {
        setUp();
    }
    ++initCalls;
    CPU_initflag = 1;
    return 0;
}

void* vsrMemInitPreAlloc(uint32_t size)
{
    constexpr uint32_t kCap = 33177600;
    vsrMemInit();
    if (size == 0)
    {
        return nullptr;
    }
    const uint32_t bytes = std::min(size, kCap);
    void* buffer = vsrGetScratchBufferAligned_(bytes, 16);
    if (buffer)
    {
        std::memset(buffer, 0, bytes);
    }
    return buffer;
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
        tearDown();
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
            slot->inUse.store(0, std::memory_order_relaxed);
            pthread_mutex_unlock(&slot->mutex);
        }
    }
}
