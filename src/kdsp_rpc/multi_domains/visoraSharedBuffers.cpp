// Memory that the program shares with the DSP: ION buffers, mapped, and remembered in a table.
#include "kdsp_rpc/multi_domains/visoraSharedBuffers.h"

#include <linux/dma-buf.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <optional>

#include "common/visoraHardware.h"
#include "common/visoraLog.h"
#include "common/visoraRelaxed.h"
#include "visora/memory.h"

extern "C"
{
    // The platform's own functions; on plain Linux libvisorahost has them.
    int ion_open(void);
    int ion_close(int fd);
    int ion_alloc_fd(int fd, size_t len, size_t align, unsigned heap_mask, unsigned flags, int* handle_fd);
}

void* (*vsrSharedMemAlloc_)(uint32_t size, uint32_t byteAlignment) = nullptr;
void* (*vsrSharedMemAllocR_)(uint32_t size, uint32_t byteAlignment) = nullptr;
int32_t (*vsrSharedMemFree_)(void* block) = nullptr;
int32_t (*vsrSharedMemFreeR_)(void* block) = nullptr;
void* (**ppvsrSharedMemAlloc)(uint32_t size, uint32_t byteAlignment) = &vsrSharedMemAlloc_;
int32_t (**ppvsrSharedMemFree)(void* block) = &vsrSharedMemFree_;

SharedMemRecord sharedMemTable[VSR_SHARED_MEM_RECORDS];
pthread_mutex_t sharedMemMutex = PTHREAD_MUTEX_INITIALIZER;

namespace
{

using visora::kLogError;
using visora::logLibrary;

constexpr size_t kPageBytes = 4096;
constexpr unsigned kHeapMask = 1u << 25;
constexpr unsigned kCached = 1;

// The mutex exists, and the table is in use.
bool initialised = false;

constexpr size_t wholePages(uint64_t size)
{
    return (size + kPageBytes - 1) & ~(kPageBytes - 1);
}

bool lockTable()
{
    return initialised && pthread_mutex_lock(&sharedMemMutex) == 0;
}

void unlockTable()
{
    pthread_mutex_unlock(&sharedMemMutex);
}

// Anonymous shared memory is a regular file; a buffer of ION or of a DMA-BUF heap is none.
bool isAnonymous(int bufferFd)
{
    struct stat status
    {
    };
    return fstat(bufferFd, &status) == 0 && S_ISREG(status.st_mode);
}

// Starts or ends the CPU's use of a buffer.
bool synchronise(int bufferFd, uint64_t flags)
{
    dma_buf_sync request{};
    request.flags = flags | DMA_BUF_SYNC_RW;
    // Anonymous shared memory, which stands in for ION on plain Linux, knows no such request and needs none.
    return ioctl(bufferFd, DMA_BUF_IOCTL_SYNC, &request) == 0 || isAnonymous(bufferFd);
}

bool remember(const SharedMemRecord& record)
{
    if (!lockTable())
    {
        return false;
    }
    SharedMemRecord* const end = std::end(sharedMemTable);
    SharedMemRecord* const unused =
        std::find_if(sharedMemTable, end, [](const SharedMemRecord& r) { return !r.address; });
    if (unused != end)
    {
        *unused = record;
    }
    unlockTable();
    return unused != end;
}

// A live allocation, taken from the table or left there.
std::optional<SharedMemRecord> find(const void* block, bool take)
{
    if (!lockTable())
    {
        return std::nullopt;
    }
    SharedMemRecord* const end = std::end(sharedMemTable);
    SharedMemRecord* const found =
        std::find_if(sharedMemTable, end, [&](const SharedMemRecord& r) { return r.address == block; });
    std::optional<SharedMemRecord> record;
    if (found != end)
    {
        record = *found;
        found->address = take ? nullptr : found->address;
    }
    unlockTable();
    return record;
}

}  // namespace

void visora::releaseSharedMemory(const SharedMemRecord& record)
{
    if (!synchronise(record.bufferFd, DMA_BUF_SYNC_END))
    {
        logLibrary(kLogError, "%s", "mem_free_ion : failed to end DMA_BUF_IOCTL_SYNC\n");
    }
    munmap(record.mappedAddress, wholePages(record.size));
    close(record.bufferFd);
    ion_close(record.ionFd);
}

std::optional<SharedMemRecord> visora::sharedMemoryRecord(const void* block)
{
    return find(block, false);
}

void vsrInitSharedMem(uint32_t hardware)
{
    if ((hardware & (visora::kHardwareDsp | visora::kHardwareGpu)) == visora::kHardwareDsp &&
        vsrInitSharedMem_Kdsp() == 0)
    {
        // Mostly they are installed already, and other threads allocate.
        VSR_STORE(vsrSharedMemAlloc_, &vsrSharedMemAllocK);
        VSR_STORE(vsrSharedMemAllocR_, &vsrSharedMemAllocK);
        VSR_STORE(vsrSharedMemFree_, &vsrSharedMemFreeK);
        VSR_STORE(vsrSharedMemFreeR_, &vsrSharedMemFreeK);
    }
}

void vsrDeInitSharedMem(void)
{
    if (vsrSharedMemAllocR_ == vsrSharedMemAllocK)
    {
        vsrDeInitSharedMem_Kdsp();
    }
    vsrSharedMemAlloc_ = vsrSharedMemAllocR_ = nullptr;
    vsrSharedMemFree_ = vsrSharedMemFreeR_ = nullptr;
}

int32_t vsrInitSharedMem_Kdsp(void)
{
    if (initialised)
    {
        return 0;
    }
    if (pthread_mutex_init(&sharedMemMutex, nullptr) != 0)
    {
        return -1;
    }
    std::memset(sharedMemTable, 0, sizeof(sharedMemTable));
    initialised = true;
    return 0;
}

int32_t vsrDeInitSharedMem_Kdsp(void)
{
    if (!initialised)
    {
        return 0;
    }
    initialised = false;
    return pthread_mutex_destroy(&sharedMemMutex);
}

void* vsrSharedMemAllocK(uint32_t size, uint32_t byteAlignment)
{
    if (size == 0 || byteAlignment > kPageBytes)
    {
        return nullptr;
    }
    const int ionFd = ion_open();
    if (ionFd < 0)
    {
        logLibrary(kLogError, "%s", "mem_alloc_ion : Open ion device failed\n");
        return nullptr;
    }
    const size_t length = wholePages(size);
    int bufferFd = -1;
    if (ion_alloc_fd(ionFd, length, 0, kHeapMask, kCached, &bufferFd) != 0)
    {
        logLibrary(kLogError, "mem_alloc_ion : ION alloc length %zu\n", length);
        ion_close(ionFd);
        return nullptr;
    }
    void* const address = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, bufferFd, 0);
    // A mapping that failed is no null pointer: it goes on to the test of its address below.
    if (!address)
    {
        logLibrary(kLogError, "mem_alloc_ion : mmap call failed %d\n", errno);
        close(bufferFd);
        ion_close(ionFd);
        return nullptr;
    }
    if (!synchronise(bufferFd, DMA_BUF_SYNC_START))
    {
        logLibrary(kLogError, "%s", "mem_alloc_ion : failed to start DMA_BUF_IOCTL_SYNC\n");
        close(bufferFd);
        ion_close(ionFd);
        return nullptr;
    }
    if (reinterpret_cast<uintptr_t>(address) % kPageBytes != 0)
    {
        return nullptr;
    }
    const SharedMemRecord record = {address, ionFd, address, size, bufferFd};
    if (!remember(record))
    {
        visora::releaseSharedMemory(record);
        return nullptr;
    }
    return address;
}

int32_t vsrSharedMemFreeK(void* block)
{
    const std::optional<SharedMemRecord> record = block ? find(block, true) : std::nullopt;
    if (!record)
    {
        return -1;
    }
    visora::releaseSharedMemory(*record);
    return 0;
}
