// Aligned blocks and the scratch pool.
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <limits>
#include <set>
#include <thread>

#include "common/hardware_double.h"
#include "support/random.h"
#include "visora.h"

// Sizes that no machine has are refused by the sanitizers' allocators too, as the system's does.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options()
{
    return "allocator_may_return_null=1";
}

namespace visora::test
{
namespace
{

constexpr size_t kTooMuch = size_t{1} << 60;
constexpr uint64_t kPoolMarker = 0xcdcdcdcd;
constexpr uint64_t kPlainMarker = 0xabababab;

bool isAligned(const void* pointer, uintptr_t alignment)
{
    return reinterpret_cast<uintptr_t>(pointer) % alignment == 0;
}

uint64_t markerOf(const void* buffer)
{
    uint64_t marker;
    std::memcpy(&marker, static_cast<const uint8_t*>(buffer) - 16, sizeof(marker));
    return marker;
}

// ---- Aligned blocks ----

TEST(AlignedBlock, IsAlignedWholeAndKnowsItsAllocation)
{
    for (uint32_t alignment = 0; alignment < 255; alignment = alignment == 0 ? 1 : alignment * 2)
    {
        for (const uint32_t size : {0u, 1u, 100u, 4096u, 100001u})
        {
            auto* aligned = static_cast<uint8_t*>(vsrMemAlign(size, alignment));
            auto* block = static_cast<uint8_t*>(vsrMemAlloc(size, alignment));
            ASSERT_TRUE(aligned && block);
            for (uint8_t* p : {aligned, block})
            {
                EXPECT_TRUE(isAligned(p, alignment == 0 ? 1 : alignment)) << alignment;
                EXPECT_GE(p[-1], 1);
                EXPECT_LE(p[-1], alignment == 0 ? 1 : alignment);
                std::memset(p, 0xee, size);
            }
            vsrMemAlignFree(aligned);
            vsrMemFree(block);
        }
    }
    vsrMemAlignFree(nullptr);
    vsrMemFree(nullptr);
}

TEST(AlignedBlock, StopsTheProcessOnABadAlignment)
{
    const std::string path = "src/platform/android/visoraMemAndroid:[0-9]+: .*";
    const std::string tooLarge = "Assertion 'byteAlignment < 255' failed";
    const std::string notAPower = "Assertion '\\(byteAlignment & \\(byteAlignment-1\\)\\) == 0' failed";
    const auto aborts = testing::KilledBySignal(SIGABRT);
    EXPECT_EXIT(vsrMemAlign(100, 255), aborts, path + "vsrMemAlign.*" + tooLarge);
    EXPECT_EXIT(vsrMemAlign(100, 256), aborts, path + "vsrMemAlign.*" + tooLarge);
    EXPECT_EXIT(vsrMemAlign(100, 24), aborts, path + "vsrMemAlign.*" + notAPower);
    EXPECT_EXIT(vsrMemAlloc(100, 0xffffffff), aborts, path + "vsrMemAlloc.*" + tooLarge);
    EXPECT_EXIT(vsrMemAlloc(100, 3), aborts, path + "vsrMemAlloc.*" + notAPower);
}

TEST(AlignedBlock, IsNullWithoutMemory)
{
    EXPECT_EQ(nullptr, vsrMemAlign(kTooMuch, 16));
    EXPECT_EQ(nullptr, vsrMemAlign(std::numeric_limits<size_t>::max(), 128)) << "the sum must not wrap";
}

// An allocator of shared memory that has one block.
alignas(64) uint8_t sharedBlock[256];
uint32_t sharedAlignment;
bool sharedLent;

void* allocateShared(uint32_t size, uint32_t byteAlignment)
{
    if (sharedLent || size > sizeof(sharedBlock))
    {
        return nullptr;
    }
    sharedAlignment = byteAlignment;
    sharedLent = true;
    return sharedBlock;
}

int32_t freeShared(void* block)
{
    if (block != sharedBlock)
    {
        return -1;
    }
    sharedLent = false;
    return 0;
}

TEST(AlignedBlock, ComesFromTheSharedAllocatorWhereOneIsInstalled)
{
    inChild(
        []
        {
            *ppvsrSharedMemAlloc = allocateShared;
            void* plain = vsrMemAlloc(8, 8);
            EXPECT_NE(sharedBlock, plain) << "an allocator without its free is none";
            *ppvsrSharedMemFree = freeShared;
            EXPECT_EQ(vsrSharedMemFree_, freeShared);

            EXPECT_EQ(sharedBlock, vsrMemAlloc(200, 32));
            EXPECT_EQ(32u, sharedAlignment);
            void* second = vsrMemAlloc(200, 32);
            EXPECT_NE(sharedBlock, second) << "the heap serves when the allocator has nothing left";
            EXPECT_TRUE(second && isAligned(second, 32));
            vsrMemFree(second);
            EXPECT_TRUE(sharedLent);
            vsrMemFree(sharedBlock);
            EXPECT_FALSE(sharedLent);
            vsrMemFree(plain);

            void* aligned = vsrMemAlign(200, 32);
            EXPECT_NE(sharedBlock, aligned) << "vsrMemAlign is the heap's alone";
            vsrMemAlignFree(aligned);
            vsrCleanUp();
            EXPECT_EQ(nullptr, vsrSharedMemAlloc_);
            EXPECT_EQ(nullptr, vsrSharedMemFree_);
        });
}

// ---- Scratch memory ----

class ScratchPool : public testing::Test
{
  protected:
    ScratchPool() { EXPECT_EQ(0, vsrMemInit()); }
    ~ScratchPool() override { vsrMemDeInit(); }
};

TEST(Scratch, WithoutThePoolIsAnAllocationOfItsOwn)
{
    std::set<void*> buffers;
    for (uint32_t i = 0; i < 64; ++i)
    {
        const uint32_t alignment = 1u << (i % 13);
        void* buffer = vsrGetScratchBufferAligned_(1000, alignment);
        ASSERT_NE(nullptr, buffer);
        EXPECT_TRUE(isAligned(buffer, alignment));
        EXPECT_EQ(kPlainMarker, markerOf(buffer));
        std::memset(buffer, 1, 1000);
        buffers.insert(buffer);
    }
    void* unaligned = vsrGetScratchBufferUnaligned_(77);
    ASSERT_NE(nullptr, unaligned);
    EXPECT_EQ(kPlainMarker, markerOf(unaligned));
    std::memset(unaligned, 1, 77);
    buffers.insert(unaligned);
    EXPECT_EQ(65u, buffers.size());
    for (void* buffer : buffers)
    {
        vsrReleaseScratchBuffer_(buffer);
    }
    EXPECT_EQ(nullptr, vsrGetScratchBufferAligned_(kTooMuch, 16));
    EXPECT_EQ(nullptr, vsrGetScratchBufferUnaligned_(std::numeric_limits<size_t>::max() - 8));
}

TEST_F(ScratchPool, AlignsEveryBuffer)
{
    Random random(1);
    for (int round = 0; round < 500; ++round)
    {
        const uint32_t alignment = 1u << random.between(0, 12);
        const size_t size = random.between(0, 5000);
        void* buffer = vsrGetScratchBufferAligned_(size, alignment);
        ASSERT_NE(nullptr, buffer);
        ASSERT_TRUE(isAligned(buffer, alignment)) << alignment;
        ASSERT_EQ(kPoolMarker, markerOf(buffer));
        std::memset(buffer, 0x55, size);
        vsrReleaseScratchBuffer_(buffer);
    }
    for (const uint32_t notAPower : {0u, 3u, 24u, 0xffffffffu})
    {
        void* buffer = vsrGetScratchBufferAligned_(100, notAPower);
        ASSERT_NE(nullptr, buffer) << notAPower;
        vsrReleaseScratchBuffer_(buffer);
    }
}

TEST_F(ScratchPool, KeepsABuffersMemoryAndGrowsIt)
{
    void* small = vsrGetScratchBufferAligned_(1000, 16);
    vsrReleaseScratchBuffer_(small);
    void* same = vsrGetScratchBufferAligned_(900, 16);
    EXPECT_EQ(small, same);
    vsrReleaseScratchBuffer_(same);
    EXPECT_EQ(small, vsrGetScratchBufferUnaligned_(1000));
    vsrReleaseScratchBuffer_(small);

    void* grown = vsrGetScratchBufferUnaligned_(1 << 20);
    ASSERT_NE(nullptr, grown);
    std::memset(grown, 2, 1 << 20);
    vsrReleaseScratchBuffer_(grown);
    EXPECT_EQ(grown, vsrGetScratchBufferAligned_(1 << 20, 16)) << "the slot keeps the larger allocation";
    vsrReleaseScratchBuffer_(grown);
}

TEST_F(ScratchPool, LendsEachOf32BuffersOnceAndThenNone)
{
    std::set<void*> lent;
    for (int i = 0; i < 32; ++i)
    {
        void* buffer = i % 2 ? vsrGetScratchBufferAligned_(64, 64) : vsrGetScratchBufferUnaligned_(64);
        ASSERT_NE(nullptr, buffer);
        lent.insert(buffer);
    }
    EXPECT_EQ(32u, lent.size());
    EXPECT_EQ(nullptr, vsrGetScratchBufferAligned_(64, 64));
    EXPECT_EQ(nullptr, vsrGetScratchBufferUnaligned_(1));

    void* one = *std::next(lent.begin(), 17);
    vsrReleaseScratchBuffer_(one);
    EXPECT_EQ(one, vsrGetScratchBufferAligned_(64, 1));
    for (void* buffer : lent)
    {
        vsrReleaseScratchBuffer_(buffer);
    }
}

TEST_F(ScratchPool, SurvivesAFailedAllocation)
{
    void* kept = vsrGetScratchBufferAligned_(500, 16);
    std::memset(kept, 0x5a, 500);
    vsrReleaseScratchBuffer_(kept);
    for (int i = 0; i < 40; ++i)
    {
        ASSERT_EQ(nullptr, vsrGetScratchBufferAligned_(kTooMuch, 16));
        ASSERT_EQ(nullptr, vsrGetScratchBufferUnaligned_(std::numeric_limits<size_t>::max()));
    }
    EXPECT_EQ(kept, vsrGetScratchBufferAligned_(500, 16)) << "the slot and its old memory are free again";
    EXPECT_EQ(0x5a, static_cast<uint8_t*>(kept)[499]);
    vsrReleaseScratchBuffer_(kept);
}

TEST_F(ScratchPool, IgnoresForeignPointers)
{
    alignas(16) uint8_t memory[64];
    std::memset(memory, 0x11, sizeof(memory));
    vsrReleaseScratchBuffer_(nullptr);
    vsrReleaseScratchBuffer_(memory + 32);
    vsrReleaseScratchBuffer_(memory + 33);
    // The pool's marker with an owner that is no slot.
    std::memcpy(memory + 16, &kPoolMarker, sizeof(kPoolMarker));
    vsrReleaseScratchBuffer_(memory + 32);
    EXPECT_EQ(0x11, memory[31]);
}

TEST_F(ScratchPool, LentBufferIsReleasedThoughItsPoolCameLater)
{
    vsrMemDeInit();
    void* plain = vsrGetScratchBufferAligned_(100, 16);
    EXPECT_EQ(kPlainMarker, markerOf(plain));
    vsrMemInit();
    vsrReleaseScratchBuffer_(plain);
    void* pooled = vsrGetScratchBufferAligned_(100, 16);
    EXPECT_EQ(kPoolMarker, markerOf(pooled));
    vsrReleaseScratchBuffer_(pooled);
}

TEST(ScratchLifecycle, CountsItsSetUps)
{
    inChild(
        []
        {
            const auto pooled = []
            {
                void* buffer = vsrGetScratchBufferAlignedC(10, 1);
                const bool result = markerOf(buffer) == kPoolMarker;
                vsrReleaseScratchBufferC(buffer);
                return result;
            };
            vsrMemDeInit();
            EXPECT_FALSE(pooled());
            vsrMemInit();
            EXPECT_EQ(1, CPU_initflag);
            vsrMemInit();
            vsrMemDeInit();
            EXPECT_EQ(0, CPU_initflag);
            EXPECT_TRUE(pooled()) << "one set-up is left";
            vsrMemDeInit();
            EXPECT_TRUE(pooled()) << "nothing is taken back while the flag is clear";
            vsrMemInit();
            vsrMemDeInit();
            vsrMemInit();
            vsrMemInit();
            EXPECT_EQ(1, CPU_initflag);
        });
    inChild(
        []
        {
            for (int round = 0; round < 3; ++round)
            {
                vsrMemInit();
                void* buffer = vsrGetScratchBufferAlignedC(100, 16);
                EXPECT_EQ(kPoolMarker, markerOf(buffer));
                vsrReleaseScratchBufferC(buffer);
                vsrMemDeInit();
                buffer = vsrGetScratchBufferAlignedC(100, 16);
                EXPECT_EQ(kPlainMarker, markerOf(buffer)) << "torn down";
                vsrReleaseScratchBufferC(buffer);
                vsrMemDeInit();
                EXPECT_EQ(0, CPU_initflag) << "one too many changes no count";
            }
        });
}

TEST(ScratchLifecycle, EndsThoughTheLastCallerStillHoldsABuffer)
{
    inChild(
        []
        {
            vsrMemInit();
            EXPECT_NE(nullptr, vsrGetScratchBufferAlignedC(100, 16));
            vsrMemDeInit();
            vsrMemInit();
            void* buffer = vsrGetScratchBufferAlignedC(100, 16);
            EXPECT_NE(nullptr, buffer);
            vsrReleaseScratchBufferC(buffer);
            vsrMemDeInit();
        });
}

TEST(ScratchLifecycle, PreallocationIsZeroedCappedAndKept)
{
    constexpr size_t kCap = 33177600;
    const std::pair<uint32_t, size_t> sizes[] = {
        {1000, 1000}, {kCap - 1, kCap - 1}, {kCap, kCap}, {40000000, kCap}, {0xffffffff, kCap}};
    for (const auto& [asked, given] : sizes)
    {
        auto* buffer = static_cast<uint8_t*>(vsrMemInitPreAlloc(asked));
        ASSERT_NE(nullptr, buffer);
        EXPECT_TRUE(isAligned(buffer, 16));
        EXPECT_EQ(kPoolMarker, markerOf(buffer));
        uint8_t any = 0;
        for (size_t i = 0; i < given; ++i)
        {
            any |= buffer[i];
        }
        EXPECT_EQ(0, any);
        vsrReleaseScratchBuffer_(buffer);
        EXPECT_EQ(buffer, vsrGetScratchBufferAligned_(given, 16)) << "the slot keeps the capacity";
        vsrReleaseScratchBuffer_(buffer);
        void* larger = vsrGetScratchBufferAligned_(given + 1, 16);
        EXPECT_NE(buffer, larger) << "and no more than that";
        vsrReleaseScratchBuffer_(larger);
        vsrMemDeInit();
    }
    EXPECT_EQ(nullptr, vsrMemInitPreAlloc(0));
    EXPECT_EQ(1, CPU_initflag);
    vsrMemDeInit();
}

// ---- Threads ----

// Borrows, writes, checks that nobody else wrote, and gives back.
void useScratch(uint64_t seed, std::atomic<int>& faults)
{
    Random random(seed);
    const auto mine = static_cast<uint8_t>(seed + 1);
    for (int round = 0; round < 300; ++round)
    {
        const size_t size = random.between(1, 4000);
        auto* buffer = static_cast<uint8_t*>(random.oneIn(2) ? vsrGetScratchBufferAligned_(size, 64)
                                                             : vsrGetScratchBufferUnaligned_(size));
        if (!buffer)
        {
            ++faults;
            continue;
        }
        std::memset(buffer, mine, size);
        std::this_thread::yield();
        for (size_t i = 0; i < size; ++i)
        {
            faults += buffer[i] != mine;
        }
        vsrReleaseScratchBuffer_(buffer);
    }
}

void expectNoFaults(void (*body)(uint64_t, std::atomic<int>&))
{
    std::atomic<int> faults = 0;
    std::vector<std::thread> threads;
    for (uint64_t seed = 0; seed < 16; ++seed)
    {
        threads.emplace_back([&faults, body, seed] { body(seed, faults); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(0, faults);
}

TEST(ScratchThreads, NeverShareABuffer)
{
    vsrMemInit();
    expectNoFaults(useScratch);
    vsrMemDeInit();
    expectNoFaults(useScratch);
}

TEST(ScratchThreads, MaySetUpAndTearDownAtOnce)
{
    inChild(
        []
        {
            expectNoFaults(
                [](uint64_t /*seed*/, std::atomic<int>& faults)
                {
                    for (int round = 0; round < 200; ++round)
                    {
                        faults += vsrMemInit() != 0;
                        vsrMemDeInit();
                    }
                });
        });
}

TEST(ScratchThreads, TeardownWaitsForABufferThatAnotherHolds)
{
    vsrMemInit();
    std::atomic<bool> borrowed = false;
    std::atomic<bool> released = false;
    std::thread borrower(
        [&]
        {
            auto* buffer = static_cast<uint8_t*>(vsrGetScratchBufferAlignedC(1000, 16));
            borrowed = true;
            for (int round = 0; round < 1000; ++round)
            {
                std::memset(buffer, round & 0xff, 1000);
                std::this_thread::yield();
            }
            released = true;
            vsrReleaseScratchBufferC(buffer);
        });
    while (!borrowed)
    {
        std::this_thread::yield();
    }
    vsrMemDeInit();
    EXPECT_TRUE(released);
    borrower.join();
}

}  // namespace
}  // namespace visora::test
