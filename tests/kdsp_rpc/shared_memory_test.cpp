// The allocator of memory shared with the DSP: what it asks of the system, its table, what it undoes when something
// fails.
#include <gtest/gtest.h>
#include <linux/dma-buf.h>
#include <malloc.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "common/hardware_double.h"
#include "kdsp_rpc/domains.h"
#include "platform/linux/visoraHostPlatform.h"
#include "support/next_function.h"
#include "support/scripted_dsp.h"

namespace visora::test
{
namespace
{

/** While it lives, an ION device whose descriptors are numbers from 5000 on, and which fails as it is told. */
class ScriptedIon
{
  public:
    ScriptedIon() { living = this; }
    ~ScriptedIon() { living = nullptr; }
    ScriptedIon(const ScriptedIon&) = delete;
    ScriptedIon& operator=(const ScriptedIon&) = delete;

    static ScriptedIon* living;
    static bool owns(int fd) { return living && fd >= 5000; }

    Calls takeCalls() { return std::exchange(calls, {}); }

    template <class... Args>
    void note(const Args&... args)
    {
        calls.push_back(textOf(args...));
    }

    Calls calls;
    int nextFd = 5000;
    int openResult = 0;   // negative: failure
    int allocResult = 0;  // not 0: failure
    int startResult = 0;  // of the synchronisation; the error number when not 0
    int endResult = 0;
    void* mapping = reinterpret_cast<void*>(0x700000000000);  // what mmap gives next
};

ScriptedIon* ScriptedIon::living = nullptr;

}  // namespace
}  // namespace visora::test

// These are bound by the dynamic linker before the system's.
using visora::test::ScriptedIon;

int ion_open(void)
{
    ScriptedIon* const ion = ScriptedIon::living;
    VSR_NEXT_UNLESS(ion, ion_open)
    ion->note("ion_open");
    return ion->openResult < 0 ? ion->openResult : ion->nextFd++;
}

int ion_close(int fd)
{
    VSR_NEXT_UNLESS(ScriptedIon::owns(fd), ion_close, fd)
    ScriptedIon::living->note("ion_close", fd);
    return 0;
}

int ion_alloc_fd(int fd, size_t len, size_t align, unsigned heap_mask, unsigned flags, int* handle_fd)
{
    ScriptedIon* const ion = ScriptedIon::living;
    VSR_NEXT_UNLESS(ScriptedIon::owns(fd), ion_alloc_fd, fd, len, align, heap_mask, flags, handle_fd)
    ion->note("ion_alloc_fd", fd, len, align, heap_mask, flags);
    *handle_fd = ion->nextFd++;
    return ion->allocResult;
}

extern "C" void* mmap(void* address, size_t length, int protection, int flags, int fd, off_t offset) noexcept
{
    VSR_NEXT_UNLESS(ScriptedIon::owns(fd), mmap, address, length, protection, flags, fd, offset)
    ScriptedIon* const ion = ScriptedIon::living;
    ion->note("mmap", length, protection == (PROT_READ | PROT_WRITE), flags == MAP_SHARED, fd, offset);
    errno = 77;
    return ion->mapping;
}

extern "C" int munmap(void* address, size_t length) noexcept
{
    // The scripted mappings are in a range of addresses that the system does not give out.
    const bool scripted = ScriptedIon::living && reinterpret_cast<uintptr_t>(address) >> 40 == 0x70 &&
                          reinterpret_cast<uintptr_t>(address) % 4096 == 0;
    VSR_NEXT_UNLESS(scripted, munmap, address, length)
    ScriptedIon::living->note("munmap", address, length);
    return 0;
}

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    VSR_NEXT_UNLESS(ScriptedIon::owns(fd), ioctl, fd, request, argument)
    ScriptedIon* const ion = ScriptedIon::living;
    const uint64_t flags = static_cast<dma_buf_sync*>(argument)->flags;
    ion->note("ioctl", fd, request, flags);
    errno = flags & DMA_BUF_SYNC_END ? ion->endResult : ion->startResult;
    return errno == 0 ? 0 : -1;
}

extern "C" int close(int fd)
{
    VSR_NEXT_UNLESS(ScriptedIon::owns(fd), close, fd)
    ScriptedIon::living->note("close", fd);
    return 0;
}

namespace visora::test
{
namespace
{

const LogLine kEndFailed = errorLine("mem_free_ion : failed to end DMA_BUF_IOCTL_SYNC\n");

void withIon(const std::function<void(ScriptedIon&, LogCapture&)>& body)
{
    inChild(
        [&]
        {
            ScriptedIon ion;
            LogCapture log;
            ASSERT_EQ(0, vsrInitSharedMem_Kdsp());
            body(ion, log);
        });
}

#define ION_TEST(name)                                                              \
    void name([[maybe_unused]] ScriptedIon& ion, [[maybe_unused]] LogCapture& log); \
    TEST(SharedMemory, name)                                                        \
    {                                                                               \
        withIon(name);                                                              \
    }                                                                               \
    void name([[maybe_unused]] ScriptedIon& ion, [[maybe_unused]] LogCapture& log)

// What allocating `pages` asks for, with the descriptors of an allocation that begins at `fd`.
Calls acquires(int fd, size_t pages)
{
    return {"ion_open", textOf("ion_alloc_fd", fd, pages * 4096, 0, 0x2000000, 1),
            textOf("mmap", pages * 4096, true, true, fd + 1, 0), textOf("ioctl", fd + 1, 0x40086200, 3)};
}

Calls releases(int fd, const void* address, size_t pages)
{
    return {textOf("ioctl", fd + 1, 0x40086200, 7), textOf("munmap", address, pages * 4096), textOf("close", fd + 1),
            textOf("ion_close", fd)};
}

Calls operator+(Calls first, const Calls& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

ION_TEST(IsWholePagesThatAreFreedOnce)
{
    for (const auto& [size, pages] : {std::pair<uint32_t, size_t>{1, 1},
                                      {4095, 1},
                                      {4096, 1},
                                      {4097, 2},
                                      {0xfffff000, 0xfffff},
                                      {0xffffffff, 0x100000}})
    {
        const int fd = ion.nextFd;
        void* const block = vsrSharedMemAllocK(size, 4096);
        EXPECT_EQ(ion.mapping, block);
        EXPECT_EQ(acquires(fd, pages), ion.takeCalls());
        const SharedMemRecord& record = sharedMemTable[0];
        EXPECT_EQ(block, record.address);
        EXPECT_EQ(block, record.mappedAddress);
        EXPECT_EQ(size, record.size);
        EXPECT_EQ(fd, record.ionFd);
        EXPECT_EQ(fd + 1, record.bufferFd);

        EXPECT_EQ(0, vsrSharedMemFreeK(block));
        EXPECT_EQ(releases(fd, block, pages), ion.takeCalls());
        EXPECT_EQ(nullptr, record.address);
        EXPECT_EQ(-1, vsrSharedMemFreeK(block)) << "it was freed";
    }
    EXPECT_EQ(-1, vsrSharedMemFreeK(nullptr));
    EXPECT_EQ(-1, vsrSharedMemFreeK(&ion));
    EXPECT_EQ(nullptr, vsrSharedMemAllocK(0, 16));
    EXPECT_EQ(nullptr, vsrSharedMemAllocK(64, 4097));
    EXPECT_CALLS(ion) << "none of these asks the system";
    EXPECT_LOG(log);
}

TEST(SharedMemory, ThatCannotBeHadIsNull)
{
    struct Case
    {
        std::function<void(ScriptedIon&)> fail;
        Calls calls;
        const char* error;
    };
    const Calls acquired = acquires(5000, 2);
    const auto first = [&](long count) { return Calls(acquired.begin(), acquired.begin() + count); };
    const Calls closed = {"close 5001", "ion_close 5000"};
    const Case cases[] = {
        {[](ScriptedIon& ion) { ion.openResult = -13; }, first(1), "Open ion device failed"},
        {[](ScriptedIon& ion) { ion.allocResult = -12; }, first(2) + Calls{"ion_close 5000"}, "ION alloc length 8192"},
        {[](ScriptedIon& ion) { ion.mapping = nullptr; }, first(3) + closed, "mmap call failed 77"},
        {[](ScriptedIon& ion) { ion.startResult = EIO; }, acquired + closed, "failed to start DMA_BUF_IOCTL_SYNC"},
        {[](ScriptedIon& ion) { ion.startResult = ENOTTY; }, acquired + closed, "failed to start DMA_BUF_IOCTL_SYNC"},
        // A failed and a crooked mapping are found by their address, and then nothing is undone.
        {[](ScriptedIon& ion) { ion.mapping = MAP_FAILED; }, acquired, nullptr},
        {[](ScriptedIon& ion) { ion.mapping = static_cast<char*>(ion.mapping) + 64; }, acquired, nullptr},
    };
    for (const Case& c : cases)
    {
        withIon(
            [&](ScriptedIon& ion, LogCapture& log)
            {
                c.fail(ion);
                EXPECT_EQ(nullptr, vsrSharedMemAllocK(8000, 16)) << &c - cases;
                EXPECT_EQ(c.calls, ion.takeCalls()) << &c - cases;
                const auto line = [](const char* error) { return errorLine(textOf("mem_alloc_ion :", error) + "\n"); };
                EXPECT_EQ(c.error ? Lines{line(c.error)} : Lines{}, log.take()) << &c - cases;
                EXPECT_EQ(nullptr, sharedMemTable[0].address) << &c - cases;
            });
    }
}

// A device that does not know the request is a failure too: only anonymous memory needs none.
ION_TEST(IsFreedThoughItsSynchronisationFails)
{
    for (const int error : {EIO, ENOTTY, ENOSYS})
    {
        const int fd = ion.nextFd;
        ion.endResult = error;
        void* const block = vsrSharedMemAllocK(100, 0);
        EXPECT_NE(nullptr, block);
        EXPECT_EQ(0, vsrSharedMemFreeK(block));
        EXPECT_EQ(acquires(fd, 1) + releases(fd, block, 1), ion.takeCalls());
        EXPECT_LOG(log, kEndFailed);
    }
}

// What cannot be recorded is given back.
void expectNotRecorded(ScriptedIon& ion)
{
    ion.takeCalls();
    const int fd = ion.nextFd;
    EXPECT_EQ(nullptr, vsrSharedMemAllocK(5000, 8));
    EXPECT_EQ(acquires(fd, 2) + releases(fd, ion.mapping, 2), ion.takeCalls());
}

ION_TEST(Holds128Blocks)
{
    const auto address = [](uintptr_t i) { return reinterpret_cast<void*>(0x700000000000 + i * 8192); };
    for (uintptr_t i = 0; i < 128; ++i)
    {
        ion.mapping = address(i);
        ASSERT_EQ(address(i), vsrSharedMemAllocK(5000, 8)) << i;
        ASSERT_EQ(address(i), sharedMemTable[i].address);
    }
    ion.mapping = address(128);
    expectNotRecorded(ion);
    EXPECT_LOG(log);
    ion.endResult = EIO;
    expectNotRecorded(ion);
    EXPECT_LOG(log, kEndFailed);
    ion.endResult = 0;

    EXPECT_EQ(0, vsrSharedMemFreeK(address(77)));
    EXPECT_EQ(0, vsrSharedMemFreeK(address(5)));
    EXPECT_EQ(address(128), vsrSharedMemAllocK(5000, 8));
    EXPECT_EQ(address(128), sharedMemTable[5].address) << "the first free record";
}

ION_TEST(NeedsItsLock)
{
    void* const block = vsrSharedMemAllocK(10, 0);
    holdChecked(sharedMemMutex);
    expectNotRecorded(ion);
    EXPECT_EQ(-1, vsrSharedMemFreeK(block));
    EXPECT_EQ(EBUSY, vsrDeInitSharedMem_Kdsp());
    EXPECT_CALLS(ion);
    EXPECT_LOG(log);
}

ION_TEST(LivesFromSetUpToEnd)
{
    void* const block = vsrSharedMemAllocK(10, 0);
    EXPECT_EQ(0, vsrInitSharedMem_Kdsp()) << "once more";
    EXPECT_EQ(block, sharedMemTable[0].address) << "nothing is cleared";
    EXPECT_EQ(0, vsrDeInitSharedMem_Kdsp());
    EXPECT_EQ(block, sharedMemTable[0].address) << "live allocations stay";
    EXPECT_EQ(-1, vsrSharedMemFreeK(block));
    expectNotRecorded(ion);
    EXPECT_EQ(0, vsrInitSharedMem_Kdsp());
    EXPECT_EQ(-1, vsrSharedMemFreeK(block)) << "forgotten";
}

CHILD_TEST(SharedMemory, IsInstalledForADspWithoutAGpu)
{
    const auto installed = []
    {
        const bool all = vsrSharedMemAlloc_ == vsrSharedMemAllocK && vsrSharedMemAllocR_ == vsrSharedMemAllocK &&
                         vsrSharedMemFree_ == vsrSharedMemFreeK && vsrSharedMemFreeR_ == vsrSharedMemFreeK;
        const bool none = !vsrSharedMemAlloc_ && !vsrSharedMemAllocR_ && !vsrSharedMemFree_ && !vsrSharedMemFreeR_;
        return all ? 1 : none ? 0 : -1;
    };
    for (const uint32_t hardware : {0u, 32u, 40u, ~8u, ~0u})
    {
        vsrInitSharedMem(hardware);
        EXPECT_EQ(0, installed()) << hardware;
    }
    for (const uint32_t hardware : {8u, ~32u})
    {
        vsrInitSharedMem(hardware);
        EXPECT_EQ(1, installed()) << hardware;
        vsrInitSharedMem(40);
        EXPECT_EQ(1, installed()) << "another report changes nothing";
        vsrDeInitSharedMem();
        EXPECT_EQ(0, installed()) << hardware;
    }
    EXPECT_EQ(0, vsrInitSharedMem_Kdsp());
    vsrDeInitSharedMem();
    EXPECT_EQ(EBUSY, (pthread_mutex_lock(&sharedMemMutex), vsrDeInitSharedMem_Kdsp()))
        << "not ended, because it was not the one installed";
}

// ---- On the system's own memory ----

long openDescriptors()
{
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

CHILD_TEST(SharedMemory, ServesTheApplicationsAllocations)
{
    ScriptedDsp dsp;
    LogCapture log;
    ASSERT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_LOW_POWER));
    const long before = openDescriptors();
    auto* const block = static_cast<uint8_t*>(vsrMemAlloc(5000, 64));
    ASSERT_EQ(block, sharedMemTable[0].address);
    EXPECT_EQ(before + 2, openDescriptors());
    std::memset(block, 0x5a, 8192);
    auto* const other =
        static_cast<uint8_t*>(mmap(nullptr, 8192, PROT_READ, MAP_SHARED, sharedMemTable[0].bufferFd, 0));
    ASSERT_NE(MAP_FAILED, other);
    EXPECT_EQ(0, std::memcmp(block, other, 8192)) << "who has the descriptor sees the same memory";
    munmap(other, 8192);
    vsrMemFree(block);
    EXPECT_EQ(before, openDescriptors());
    EXPECT_EQ(nullptr, sharedMemTable[0].address);
    vsrMemFree(vsrMemAlloc(0, 16));
    vsrCleanUp();
}

// What a process holds: descriptors, mappings of shared memory (a sanitizer has others of its own), bytes of the heap.
std::array<long, 3> held()
{
    std::ifstream maps("/proc/self/maps");
    long mappings = 0;
    for (std::string line; std::getline(maps, line);)
    {
        mappings += line.find(" rw-s ") != std::string::npos;
    }
    return {openDescriptors(), mappings, static_cast<long>(mallinfo2().uordblks)};
}

// An allocator of the program's own.
void* ownAllocate(uint32_t size, uint32_t /*byteAlignment*/)
{
    return std::malloc(size);
}

int32_t ownFree(void* block)
{
    return block ? (std::free(block), 0) : -1;
}

// A block goes back to where it came from, whatever allocator is installed by then.
TEST(SharedMemory, IsFreedInAnyOrder)
{
    std::deque<void*> blocks;
    vsrPyramidLevel pyramid[3];
    const std::map<char, std::function<void()>> events = {
        {'M', [] { vsrSetOperationMode(VISORA_OP_LOW_POWER); }},
        {'C', [] { vsrCleanUp(); }},
        {'O', [] { vsrSharedMemAlloc_ = ownAllocate, vsrSharedMemFree_ = ownFree; }},
        {'a', [&] { blocks.push_back(std::memset(vsrMemAlloc(5000, 64), 1, 5000)); }},
        {'f', [&] { vsrMemFree(blocks.front()), blocks.pop_front(); }},
        {'F', [&] { vsrMemFree(blocks.back()), blocks.pop_back(); }},
        {'p', [&] { vsrPyramidAllocate(pyramid, 64, 64, 1, 3, 1); }},
        {'d', [&] { vsrPyramidDelete(pyramid, 3, 0); }},
        {'k', [&] { vsrSharedMemFreeK(blocks.front()), blocks.pop_front(); }}};  // past vsrMemFree
    const std::string sequences[] = {"MaCf",  "MaCMf",   "MaCMaff",    "MaCMaFF",   "aMaFf",     "aMaff", "MpCd",
                                     "MpCMd", "pMdC",    "MaaCMafCff", "OaCf",      "OaMaffC",   "MaOfC", "MaOaCFf",
                                     "Makaf", "MakCaCf", "MaOaCMaFff", "MaCaMaffF", "MapCMaCfdf"};
    inChildren(sequences,
               [&](const std::string& sequence)
               {
                   ScriptedDsp dsp;
                   LogCapture log;
                   std::array<long, 3> before{};
                   for (int round = 0; round < 3; ++round)
                   {
                       for (const char event : sequence + "C")
                       {
                           events.at(event)();
                       }
                       dsp.takeCalls();
                       log.take();
                       EXPECT_TRUE(blocks.empty());
                       // The first rounds set up what stays.
                       EXPECT_TRUE(round < 2 || before == held()) << sequence;
                       before = held();
                   }
               });
}

CHILD_TEST(SharedMemoryThreads, AllocateAndFreeTogether)
{
    ASSERT_EQ(0, vsrInitSharedMem_Kdsp());
    const long before = openDescriptors();
    inThreads(8,
              [](int)
              {
                  std::array<void*, 24> blocks{};  // 192 in all: the table is full at times
                  for (int round = 0; round < 10; ++round)
                  {
                      for (void*& block : blocks)
                      {
                          block = vsrSharedMemAllocK(100, 64);
                          if (block)
                          {
                              std::memset(block, round, 100);
                          }
                      }
                      for (void* const block : blocks)
                      {
                          EXPECT_EQ(block ? 0 : -1, vsrSharedMemFreeK(block));
                      }
                  }
              });
    EXPECT_EQ(before, openDescriptors());
    EXPECT_TRUE(std::all_of(std::begin(sharedMemTable), std::end(sharedMemTable),
                            [](const SharedMemRecord& record) { return !record.address; }));
}

}  // namespace
}  // namespace visora::test
