// Aligned blocks and the scratch pool.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
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
#define VSR_REFUSING_ALLOCATOR(options)       \
    extern "C" const char* options();         \
    extern "C" const char* options()          \
    {                                         \
        return "allocator_may_return_null=1"; \
    }
VSR_REFUSING_ALLOCATOR(__asan_default_options)
VSR_REFUSING_ALLOCATOR(__tsan_default_options)

namespace visora::test
{
namespace
{

constexpr size_t kTooMuch = size_t{1} << 60;
constexpr size_t kMost = std::numeric_limits<size_t>::max();
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
    for (const uint32_t alignment : {0u, 1u, 2u, 4u, 8u, 16u, 32u, 64u, 128u})
    {
        for (const uint32_t size : {0u, 1u, 100u, 4096u, 100001u})
        {
            auto* aligned = static_cast<uint8_t*>(vsrMemAlign(size, alignment));
            auto* block = static_cast<uint8_t*>(vsrMemAlloc(size, alignment));
            ASSERT_TRUE(aligned && block);
            for (uint8_t* p : {aligned, block})
            {
                EXPECT_TRUE(isAligned(p, std::max(alignment, 1u))) << alignment;
                EXPECT_GE(p[-1], 1);
                EXPECT_LE(p[-1], std::max(alignment, 1u));
                std::memset(p, 0xee, size);
            }
            vsrMemAlignFree(aligned);
            vsrMemFree(block);
        }
    }
    vsrMemAlignFree(nullptr);
    vsrMemFree(nullptr);
    EXPECT_EQ(nullptr, vsrMemAlign(kTooMuch, 16));
    EXPECT_EQ(nullptr, vsrMemAlign(kMost, 128)) << "the sum must not wrap";
}

TEST(AlignedBlock, StopsTheProcessOnABadAlignment)
{
    const std::string path = "src/platform/android/visoraMemAndroid:[0-9]+: .*";
    const std::string tooLarge = ".*Assertion 'byteAlignment < 255' failed";
    const std::string notAPower = ".*Assertion '\\(byteAlignment & \\(byteAlignment-1\\)\\) == 0' failed";
    const auto aborts = testing::KilledBySignal(SIGABRT);
    for (const auto& [alignment, message] : {std::pair{255u, tooLarge}, {256u, tooLarge}, {24u, notAPower}})
    {
        EXPECT_EXIT(vsrMemAlign(100, alignment), aborts, path + "vsrMemAlign" + message);
    }
    for (const auto& [alignment, message] : {std::pair{0xffffffffu, tooLarge}, {3u, notAPower}})
    {
        EXPECT_EXIT(vsrMemAlloc(100, alignment), aborts, path + "vsrMemAlloc" + message);
    }
}

// An allocator of shared memory that has one block.
alignas(64) uint8_t sharedBlock[256];
uint32_t sharedAlignment;
bool sharedLent;

void* allocateShared(uint32_t size, uint32_t byteAlignment)
{
    sharedAlignment = byteAlignment;
    return sharedLent || size > sizeof(sharedBlock) ? nullptr : (sharedLent = true, sharedBlock);
}

int32_t freeShared(void* block)
{
    sharedLent = sharedLent && block != sharedBlock;
    return block == sharedBlock ? 0 : -1;
}

CHILD_TEST(AlignedBlock, ComesFromTheSharedAllocatorWhereOneIsInstalled)
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
}

// ---- Scratch memory ----

class ScratchPool : public testing::Test
{
  protected:
    ScratchPool() { EXPECT_EQ(0, vsrMemInit()); }
    ~ScratchPool() override { vsrMemDeInit(); }
};

// A buffer with that marker, every byte of it written.
void* borrow(size_t size, uint32_t alignment, uint64_t marker)
{
    void* const buffer = vsrGetScratchBufferAligned_(size, alignment);
    if (!buffer || !isAligned(buffer, alignment) || markerOf(buffer) != marker)
    {
        ADD_FAILURE() << "wrong buffer of " << size << " bytes at a multiple of " << alignment;
        return nullptr;
    }
    return std::memset(buffer, 0x55, size);
}

void borrowOnce(size_t size, uint32_t alignment, uint64_t marker)
{
    vsrReleaseScratchBuffer_(borrow(size, alignment, marker));
}

void* giveBackAndBorrow(void* lent, size_t size)
{
    vsrReleaseScratchBuffer_(lent);
    return vsrGetScratchBufferAligned_(size, 16);
}

TEST(Scratch, WithoutThePoolIsAnAllocationOfItsOwn)
{
    std::set<void*> buffers;
    for (uint32_t i = 0; i < 64; ++i)
    {
        buffers.insert(borrow(1000, 1u << (i % 13), kPlainMarker));
    }
    void* unaligned = vsrGetScratchBufferUnaligned_(77);
    ASSERT_NE(nullptr, unaligned);
    EXPECT_EQ(kPlainMarker, markerOf(unaligned));
    std::memset(unaligned, 1, 77);
    buffers.insert(unaligned);
    EXPECT_EQ(65u, buffers.size());
    std::for_each(buffers.begin(), buffers.end(), vsrReleaseScratchBuffer_);
    EXPECT_EQ(nullptr, vsrGetScratchBufferAligned_(kTooMuch, 16));
    EXPECT_EQ(nullptr, vsrGetScratchBufferUnaligned_(kMost - 8));
}

TEST_F(ScratchPool, AlignsEveryBuffer)
{
    Random random(1);
    for (int round = 0; round < 500; ++round)
    {
        borrowOnce(random.between(0, 5000), 1u << random.between(0, 12), kPoolMarker);
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
    void* small = borrow(1000, 16, kPoolMarker);
    EXPECT_EQ(small, giveBackAndBorrow(small, 900));
    vsrReleaseScratchBuffer_(small);
    EXPECT_EQ(small, vsrGetScratchBufferUnaligned_(1000));
    vsrReleaseScratchBuffer_(small);

    void* grown = vsrGetScratchBufferUnaligned_(1 << 20);
    ASSERT_NE(nullptr, grown);
    std::memset(grown, 2, 1 << 20);
    EXPECT_EQ(grown, giveBackAndBorrow(grown, 1 << 20)) << "the slot keeps the larger allocation";
    vsrReleaseScratchBuffer_(grown);
}

TEST_F(ScratchPool, LendsEachOf32BuffersOnceAndThenNone)
{
    std::set<void*> lent;
    for (int i = 0; i < 32; ++i)
    {
        lent.insert(i % 2 ? vsrGetScratchBufferAligned_(64, 64) : vsrGetScratchBufferUnaligned_(64));
    }
    EXPECT_EQ(32u, lent.size());
    EXPECT_FALSE(lent.contains(nullptr));
    EXPECT_EQ(nullptr, vsrGetScratchBufferAligned_(64, 64));
    EXPECT_EQ(nullptr, vsrGetScratchBufferUnaligned_(1));

    void* one = *std::next(lent.begin(), 17);
    vsrReleaseScratchBuffer_(one);
    EXPECT_EQ(one, vsrGetScratchBufferAligned_(64, 1));
    std::for_each(lent.begin(), lent.end(), vsrReleaseScratchBuffer_);
}

TEST_F(ScratchPool, SurvivesAFailedAllocation)
{
    void* kept = borrow(500, 16, kPoolMarker);
    vsrReleaseScratchBuffer_(kept);
    for (int i = 0; i < 40; ++i)
    {
        ASSERT_EQ(nullptr, vsrGetScratchBufferAligned_(kTooMuch, 16));
        ASSERT_EQ(nullptr, vsrGetScratchBufferUnaligned_(kMost));
    }
    EXPECT_EQ(kept, vsrGetScratchBufferAligned_(500, 16)) << "the slot and its old memory are free again";
    EXPECT_EQ(0x55, static_cast<uint8_t*>(kept)[499]);
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
    void* plain = borrow(100, 16, kPlainMarker);
    vsrMemInit();
    vsrReleaseScratchBuffer_(plain);
    borrowOnce(100, 16, kPoolMarker);
}

CHILD_TEST(ScratchLifecycle, CountsItsSetUps)
{
    vsrMemDeInit();
    borrowOnce(100, 16, kPlainMarker);
    for (int round = 0; round < 3; ++round)
    {
        vsrMemInit();
        borrowOnce(100, 16, kPoolMarker);
        vsrMemDeInit();
        borrowOnce(100, 16, kPlainMarker);
        vsrMemDeInit();
        EXPECT_EQ(0, CPU_initflag) << "one too many changes no count";
    }
    vsrMemInit();
    EXPECT_EQ(1, CPU_initflag);
    vsrMemInit();
    vsrMemDeInit();
    EXPECT_EQ(0, CPU_initflag);
    borrowOnce(10, 1, kPoolMarker);  // one set-up is left
    vsrMemDeInit();
    borrowOnce(10, 1, kPoolMarker);  // nothing is taken back while the flag is clear
    vsrMemInit();
    vsrMemDeInit();
    vsrMemInit();
    vsrMemInit();
    EXPECT_EQ(1, CPU_initflag);
}

TEST(ScratchLifecycle, PreallocationIsZeroedCappedAndKept)
{
    constexpr size_t kCap = 33177600;
    const std::pair<uint32_t, size_t> sizes[] = {
        {1000, 1000}, {kCap - 1, kCap - 1}, {kCap, kCap}, {40000000, kCap}, {0xffffffff, kCap}};
    for (const auto& [asked, given] : sizes)
    {
        vsrMemInitPreAlloc(asked);
        auto* const buffer = static_cast<uint8_t*>(vsrGetScratchBufferAligned_(given, 16));
        ASSERT_NE(nullptr, buffer);
        EXPECT_EQ(kPoolMarker, markerOf(buffer));
        EXPECT_TRUE(buffer[0] == 0 && std::memcmp(buffer, buffer + 1, given - 1) == 0);
        buffer[given - 1] = 1;
        void* const larger = giveBackAndBorrow(buffer, given + 1);
        EXPECT_NE(buffer, larger) << "a slot of that capacity and no more";
        vsrReleaseScratchBuffer_(larger);
        vsrMemDeInit();
    }
    vsrMemInitPreAlloc(0);
    EXPECT_EQ(1, CPU_initflag);
    vsrMemDeInit();
}

// The end of the pool waits for nobody: what is lent stays with its borrower.
CHILD_TEST(ScratchLifecycle, EndsWhileBuffersAreLent)
{
    size_t heap = 0;
    for (int round = 0; round < 3; ++round)
    {
        vsrMemInit();
        void* const first = borrow(100, 16, kPoolMarker);
        void* const second = borrow(3000, 64, kPoolMarker);
        vsrMemDeInit();
        std::memset(first, 1, 100);
        vsrReleaseScratchBuffer_(first);
        vsrMemInit();
        std::set<void*> others;
        for (int i = 0; i < 31; ++i)
        {
            others.insert(borrow(100, 16, kPoolMarker));
        }
        EXPECT_EQ(nullptr, vsrGetScratchBufferAligned_(1, 1)) << "the buffer that is lent still";
        std::memset(second, 1, 3000);
        vsrReleaseScratchBuffer_(second);
        EXPECT_EQ(second, vsrGetScratchBufferAligned_(3000, 64));
        vsrMemDeInit();
        std::for_each(others.begin(), others.end(), vsrReleaseScratchBuffer_);
        vsrReleaseScratchBuffer_(second);
        others.clear();
        EXPECT_TRUE(round < 2 || heap == mallinfo2().uordblks);
        heap = mallinfo2().uordblks;
    }
}

std::vector<void*> takenBack;

// Whoever lends a buffer takes it back, although the program exchanges the services meanwhile.
CHILD_TEST(ScratchLifecycle, AKernelsBufferGoesBackToItsLender)
{
    vsrGetScratchBufferAligned_ = [](size_t size, uint32_t alignment)
    {
        vsrReleaseScratchBuffer_ = [](void*) { ADD_FAILURE() << "another's buffer"; };
        return vsrGetScratchBufferAlignedC(size, alignment);
    };
    vsrReleaseScratchBuffer_ = [](void* buffer)
    {
        takenBack.push_back(buffer);
        vsrReleaseScratchBufferC(buffer);
    };
    const std::vector<float> image(64, 1.0f);
    std::vector<float> result(64);
    for (const auto filter : {vsrBoxFilterNxNf32C, vsrBoxFilterNxNf32V})
    {
        const auto release = vsrReleaseScratchBuffer_;
        const size_t before = takenBack.size();
        EXPECT_EQ(0u, filter(image.data(), 8, 8, 32, result.data(), 32, 3));
        EXPECT_LT(before, takenBack.size());
        vsrReleaseScratchBuffer_ = release;
    }
}

// ---- Threads ----

// Borrows, writes, checks that nobody else wrote, and gives back.
void useScratch(int thread)
{
    Random random(static_cast<uint64_t>(thread));
    for (int round = 0; round < 300; ++round)
    {
        const size_t size = random.between(1, 4000);
        void* const buffer =
            random.oneIn(2) ? vsrGetScratchBufferAligned_(size, 64) : vsrGetScratchBufferUnaligned_(size);
        ASSERT_NE(nullptr, buffer);
        const std::vector<uint8_t> mine(size, static_cast<uint8_t>(thread + 1));
        std::memcpy(buffer, mine.data(), size);
        std::this_thread::yield();
        EXPECT_EQ(0, std::memcmp(buffer, mine.data(), size));
        vsrReleaseScratchBuffer_(buffer);
    }
}

CHILD_TEST(ScratchThreads, NeverShareABuffer)
{
    vsrMemInit();
    inThreads(16, useScratch);
    vsrMemDeInit();
    inThreads(16, useScratch);
}

CHILD_TEST(ScratchThreads, MaySetUpAndTearDownAtOnce)
{
    inThreads(16,
              [](int)
              {
                  for (int round = 0; round < 200; ++round)
                  {
                      EXPECT_EQ(0, vsrMemInit());
                      vsrMemDeInit();
                  }
              });
}

CHILD_TEST(ScratchThreads, BorrowWhileThePoolComesAndGoes)
{
    std::atomic<bool> done = false;
    std::thread owner(
        [&]
        {
            while (!done)
            {
                vsrMemInit();
                vsrMemDeInit();
            }
        });
    inThreads(8, useScratch);
    done = true;
    owner.join();
    vsrMemInit();
    inThreads(8, useScratch);
    vsrMemDeInit();
}

CHILD_TEST(ScratchThreads, OneThatEndsWithABufferLentStopsNoOther)
{
    vsrMemInit();
    static std::atomic<void*> left = nullptr;
    std::thread([] { left = borrow(1000, 16, kPoolMarker); }).join();
    inThreads(8, useScratch);
    vsrMemDeInit();
    vsrMemInit();
    inThreads(8, useScratch);
    vsrReleaseScratchBuffer_(left);
    vsrMemDeInit();
}

}  // namespace
}  // namespace visora::test
