// Pyramids: allocation, hard stops and what creation refuses.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "support/log_capture.h"
#include "visora.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VISORA_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VISORA_TEST_SANITIZED 1
#endif
#endif

namespace
{

// Allocations of at least so many bytes are counted, and one of them can be made to fail.
constexpr size_t kLarge = 1000;
thread_local int largeBlocks = 0;
#ifndef VISORA_TEST_SANITIZED
thread_local int largeUntilFailure = -1;
#endif

}  // namespace

#ifndef VISORA_TEST_SANITIZED
extern "C" void* __libc_malloc(size_t size);  // NOLINT(bugprone-reserved-identifier): glibc's name

extern "C" void* malloc(size_t size)
{
    if (size >= kLarge && largeUntilFailure >= 0 && largeUntilFailure-- == 0)
    {
        return nullptr;
    }
    return __libc_malloc(size);
}
#endif

extern "C" void vsrHeapStatsMalloc(void* /*allocation*/, size_t size)
{
    largeBlocks += size >= kLarge ? 1 : 0;
}

extern "C" void vsrHeapStatsFree(void* /*allocation*/)
{
    --largeBlocks;
}

namespace visora::test
{
namespace
{

struct Size
{
    uint32_t width, height, stride;
    bool operator==(const Size&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Size& size)
{
    return out << size.width << "x" << size.height << " / " << size.stride;
}

std::vector<Size> sizesOf(const std::vector<vsrPyramidLevel_v2>& levels)
{
    std::vector<Size> sizes;
    for (const auto& level : levels)
    {
        sizes.push_back({level.width, level.height, level.stride});
    }
    return sizes;
}

// Every byte of every level can be written; with the address sanitizer, none more.
void fill(const std::vector<vsrPyramidLevel_v2>& levels)
{
    for (const auto& level : levels)
    {
        ASSERT_NE(nullptr, level.ptr);
        EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(level.ptr) % 16);
        std::fill_n(static_cast<uint8_t*>(level.ptr), size_t{level.stride} * level.height, uint8_t{1});
    }
}

TEST(PyramidAllocation, HalvesRoundDown)
{
    vsrPyramidLevel plain[4];
    EXPECT_EQ(0u, vsrPyramidAllocate(plain, 101, 43, 4, 4, 1));
    std::vector<vsrPyramidLevel_v2> levels;
    for (const auto& level : plain)
    {
        levels.push_back({level.ptr, level.width, level.height, level.width * 4});
    }
    const std::vector<Size> sizes = {{101, 43, 404}, {50, 21, 200}, {25, 10, 100}, {12, 5, 48}};
    EXPECT_EQ(sizes, sizesOf(levels));
    fill(levels);
    EXPECT_EQ(0u, vsrPyramidDelete(plain, 4, 0));

    EXPECT_EQ(0u, vsrPyramidAllocate_v2(levels.data(), 101, 43, 0, 4, 4, 1));
    EXPECT_EQ(sizes, sizesOf(levels));
    fill(levels);
    EXPECT_EQ(0u, vsrPyramidDelete_v2(levels.data(), 4, 0));
    EXPECT_EQ(0u, vsrPyramidAllocate_v2(levels.data(), 101, 43, 500, 4, 1, 1));
    EXPECT_EQ(500u, levels[0].stride);
    EXPECT_EQ(0u, vsrPyramidDelete_v2(levels.data(), 1, 0));
}

TEST(PyramidAllocation, AnySizesRoundUpAndAlignStrides)
{
    struct Case
    {
        uint32_t width, height, baseStride, bytesPerPixel, alignment, scaleBy2;
        std::vector<Size> sizes;
    };
    const Case cases[] = {
        {7, 5, 0, 1, 1, 0, {{7, 5, 7}, {4, 3, 4}, {2, 2, 2}, {1, 1, 1}, {1, 1, 1}}},
        {640,
         480,
         700,
         1,
         16,
         1,
         {{640, 480, 700}, {539, 404, 544}, {453, 340, 464}, {381, 286, 384}, {320, 240, 320}}},
        {100, 9, 400, 4, 8, 1, {{100, 9, 400}, {85, 8, 352}, {71, 7, 288}, {60, 6, 256}, {50, 5, 224}, {43, 5, 192}}},
        {30, 20, 0, 2, 3, 0, {{30, 20, 60}, {15, 10, 30}, {8, 5, 18}}},
        {30, 20, 0, 1, 0, 0, {{30, 20, 30}, {15, 10, 0}, {8, 5, 0}}},
    };
    for (const Case& c : cases)
    {
        std::vector<vsrPyramidLevel_v2> levels(c.sizes.size());
        const auto count = static_cast<uint32_t>(levels.size());
        EXPECT_EQ(0u, vsrPyramidAllocate_v3(levels.data(), c.width, c.height, c.baseStride, c.bytesPerPixel,
                                            c.alignment, count, c.scaleBy2, 1));
        EXPECT_EQ(c.sizes, sizesOf(levels));
        fill(levels);
        EXPECT_EQ(0u, vsrPyramidDelete_v2(levels.data(), count, 0));
    }
}

TEST(PyramidAllocation, LeavesTheBaseToTheCaller)
{
    uint8_t pixel = 0;
    vsrPyramidLevel plain[2] = {{&pixel, 0, 0}, {&pixel, 0, 0}};
    EXPECT_EQ(0u, vsrPyramidAllocate(plain, 8, 6, 1, 2, 0));
    EXPECT_EQ(&pixel, plain[0].ptr);
    EXPECT_EQ(8u, plain[0].width);
    EXPECT_EQ(6u, plain[0].height);
    EXPECT_EQ(0u, vsrPyramidDelete(plain, 2, 1));
    EXPECT_EQ(&pixel, plain[0].ptr);
    EXPECT_EQ(nullptr, plain[1].ptr);

    for (const bool any : {false, true})
    {
        vsrPyramidLevel_v2 levels[2] = {{&pixel, 0, 0, 0}, {&pixel, 0, 0, 0}};
        EXPECT_EQ(0u, any ? vsrPyramidAllocate_v3(levels, 8, 6, 9, 1, 1, 2, 0, 0)
                          : vsrPyramidAllocate_v2(levels, 8, 6, 9, 1, 2, 0));
        EXPECT_EQ(nullptr, levels[0].ptr);
        EXPECT_EQ((Size{8, 6, 9}), (Size{levels[0].width, levels[0].height, levels[0].stride}));
        EXPECT_EQ(0u, vsrPyramidDelete_v2(levels, 2, 0));
    }
}

TEST(PyramidAllocation, RefusesSilently)
{
    constexpr uint32_t kFailed = 0xffffffff;
    LogCapture log;
    vsrPyramidLevel plain[2] = {};
    vsrPyramidLevel_v2 l[2] = {};
    const std::pair<vsrStatus, vsrStatus> results[] = {
        {kFailed, vsrPyramidAllocate(nullptr, 8, 8, 1, 2, 1)},
        {kFailed, vsrPyramidAllocate(plain, 8, 8, 1, 0, 1)},
        {kFailed, vsrPyramidAllocate_v2(nullptr, 8, 8, 8, 1, 2, 1)},
        {kFailed, vsrPyramidAllocate_v2(l, 8, 8, 8, 1, 0, 1)},
        {3, vsrPyramidAllocate_v3(nullptr, 8, 8, 8, 1, 1, 2, 0, 1)},
        {3, vsrPyramidAllocate_v3(l, 0, 8, 8, 1, 1, 2, 0, 1)},
        {3, vsrPyramidAllocate_v3(l, 8, 0, 8, 1, 1, 2, 0, 1)},
        {3, vsrPyramidAllocate_v3(l, 8, 8, 8, 0, 1, 2, 0, 1)},
        {3, vsrPyramidAllocate_v3(l, 8, 8, 8, 1, 1, 0, 0, 1)},
        {3, vsrPyramidAllocate_v3(l, 8, 8, 15, 2, 1, 2, 0, 1)},
        {kFailed, vsrPyramidSobelGradientCreatei16(nullptr, plain, plain, 1)},
        {kFailed, vsrPyramidSobelGradientCreatei8(plain, nullptr, plain, 1)},
        {kFailed, vsrPyramidSobelGradientCreatef32(plain, plain, nullptr, 1)},
        {kFailed, vsrPyramidSobelGradientCreatei16(plain, plain, plain, 0)},
    };
    for (const auto& [expected, result] : results)
    {
        EXPECT_EQ(expected, result) << &result - &results[0].second;
    }
    EXPECT_EQ(std::vector<LogLine>(), log.take());
    EXPECT_EQ(nullptr, plain[0].ptr);
    EXPECT_EQ(0u, l[0].width);
}

// More bytes than an allocation can have fail like memory that runs out, and no product wraps.
TEST(PyramidAllocation, RefusesSizesBeyondAnAllocation)
{
    vsrPyramidLevel plain[2];
    EXPECT_EQ(0xffffffffu, vsrPyramidAllocate(plain, 1u << 31, 1u << 31, 1u << 31, 2, 1));
    EXPECT_EQ(nullptr, plain[0].ptr);
    vsrPyramidLevel_v2 levels[2];
    EXPECT_EQ(0xffffffffu, vsrPyramidAllocate_v2(levels, 1u << 31, 4, 64, 1u << 31, 2, 1));
    EXPECT_EQ(nullptr, levels[0].ptr) << "the base fitted and is freed again";
    EXPECT_EQ(5u, vsrPyramidAllocate_v3(levels, 65537, 65536, 0, 1, 1, 2, 0, 1));
    EXPECT_EQ(nullptr, levels[0].ptr);
}

#ifndef VISORA_TEST_SANITIZED
TEST(PyramidAllocation, RollsBackWhenMemoryRunsOut)
{
    using Allocate = std::function<vsrStatus(vsrPyramidLevel_v2*, bool base)>;
    const std::pair<vsrStatus, Allocate> members[] = {
        {0xffffffff, [](auto* l, bool base) { return vsrPyramidAllocate_v2(l, 256, 256, 0, 1, 3, base); }},
        {5, [](auto* l, bool base) { return vsrPyramidAllocate_v3(l, 256, 256, 0, 1, 1, 3, 0, base); }},
        {5, [](auto* l, bool base) { return vsrPyramidAllocate_v3(l, 256, 256, 0, 1, 1, 3, 1, base); }},
    };
    for (const auto& [failure, allocate] : members)
    {
        for (const bool base : {false, true})
        {
            const int blocks = base ? 3 : 2;
            for (int failing = 0; failing <= blocks; ++failing)
            {
                uint8_t stale = 0;
                vsrPyramidLevel_v2 levels[3] = {{&stale, 1, 1, 1}, {&stale, 1, 1, 1}, {&stale, 1, 1, 1}};
                largeBlocks = 0;
                largeUntilFailure = failing;
                const vsrStatus status = allocate(levels, base);
                largeUntilFailure = -1;
                EXPECT_EQ(failing < blocks ? failure : 0u, status) << failing;
                EXPECT_EQ(failing < blocks ? 0 : blocks, largeBlocks) << failing;
                EXPECT_EQ(failing < blocks, levels[2].ptr == nullptr);
                vsrPyramidDelete_v2(levels, 3, 0);
                EXPECT_EQ(0, largeBlocks);
            }
        }
    }

    // The plain member keeps what it has.
    vsrPyramidLevel levels[3];
    largeUntilFailure = 2;
    EXPECT_EQ(0xffffffffu, vsrPyramidAllocate(levels, 256, 256, 1, 3, 1));
    largeUntilFailure = -1;
    EXPECT_EQ(2, largeBlocks);
    EXPECT_TRUE(levels[0].ptr && levels[1].ptr && !levels[2].ptr);
    vsrPyramidDelete(levels, 3, 0);
    EXPECT_EQ(0, largeBlocks);
}

TEST(PyramidCreation, QuarterOctavesNeedScratchMemory)
{
    const std::vector<uint8_t> base(64 * 64);
    vsrPyramidLevel_v2 levels[2];
    ASSERT_EQ(0u, vsrPyramidAllocate_v3(levels, 64, 64, 0, 1, 1, 2, 1, 0));
    largeUntilFailure = 0;
    const vsrStatus status = vsrPyramidCreateu8_v3(base.data(), 64, 64, 0, 2, 1, levels);
    largeUntilFailure = -1;
    EXPECT_EQ(5u, status);
    vsrPyramidDelete_v2(levels, 2, 1);
}
#endif

TEST(PyramidDeletion, RefusesAStartBehindTheEnd)
{
    constexpr char kCondition[] = "pyr && ((signed)startLevel >= 0) && (startLevel <= numLevels)";
    LogCapture log(-7);
    vsrPyramidLevel plain[2] = {};
    vsrPyramidLevel_v2 levels[2] = {};
    for (const auto& [entry, call] :
         std::initializer_list<std::pair<const char*, std::function<vsrStatus()>>>{
             {"vsrPyramidDelete", [&] { return vsrPyramidDelete(nullptr, 2, 0); }},
             {"vsrPyramidDelete", [&] { return vsrPyramidDelete(plain, 2, 3); }},
             {"vsrPyramidDelete", [&] { return vsrPyramidDelete(plain, 0xffffffff, 0x80000000); }},
             {"vsrPyramidDelete_v2", [&] { return vsrPyramidDelete_v2(nullptr, 2, 0); }},
             {"vsrPyramidDelete_v2", [&] { return vsrPyramidDelete_v2(levels, 2, 3); }},
             {"vsrPyramidDelete_v2", [&] { return vsrPyramidDelete_v2(levels, 0xffffffff, 0x80000000); }}})
    {
        EXPECT_EQ(static_cast<vsrStatus>(-7), call());
        EXPECT_EQ((std::vector{refusal(entry, kCondition)}), log.take());
    }
    EXPECT_EQ(0u, vsrPyramidDelete(plain, 2, 2));
    EXPECT_EQ(0u, vsrPyramidDelete_v2(levels, 0, 0));
    EXPECT_EQ(std::vector<LogLine>(), log.take());
}

// ---- Hard stops ----

TEST(PyramidStopDeathTest, CreationStopsTheProcess)
{
    constexpr char kArguments[] = "base && numLevels && baseHeight && baseWidth && pyramid Assertion failed";
    constexpr char kSizes[] =
        "\\( \\(baseWidth & \\(\\(1 << \\(numLevels - 1\\)\\) - 1\\)\\) == 0 \\) & \\( \\(baseHeight & \\(\\(1 << "
        "\\(numLevels - 1\\)\\) - 1\\)\\) == 0 \\) Assertion failed";
    constexpr char kSizesf32_v2[] =
        "\\(\\(baseWidth & \\(\\(1 << \\(numLevels - 1\\)\\) - 1\\)\\) == 0\\) & \\(\\(baseHeight & \\(\\(1 << "
        "\\(numLevels - 1\\)\\) - 1\\)\\) == 0\\) Assertion failed";
    uint8_t u8[64] = {};
    float f32[64] = {};
    vsrPyramidLevel plain[40] = {};
    vsrPyramidLevel_v2 strided[40] = {};
    struct Call
    {
        uint32_t width, height, numLevels;
        bool base, pyramid;
    };
    struct Member
    {
        int arguments, sizes;
        const char* sizesText;
        std::function<void(const Call&, bool vector)> create;
    };
    const Member members[] = {
        {137, 139, kSizes,
         [&](const Call& c, bool vector)
         {
             (vector ? vsrPyramidCreateu8V : vsrPyramidCreateu8)(c.base ? u8 : nullptr, c.width, c.height, c.numLevels,
                                                                 c.pyramid ? plain : nullptr);
         }},
        {104, 106, kSizes,
         [&](const Call& c, bool vector)
         {
             (vector ? vsrPyramidCreatef32V : vsrPyramidCreatef32)(c.base ? f32 : nullptr, c.width, c.height,
                                                                   c.numLevels, c.pyramid ? plain : nullptr);
         }},
        {391, 393, kSizes,
         [&](const Call& c, bool vector)
         {
             (vector ? vsrPyramidCreateu8_v2V : vsrPyramidCreateu8_v2)(c.base ? u8 : nullptr, c.width, c.height, 0,
                                                                       c.numLevels, c.pyramid ? strided : nullptr);
         }},
        {351, 353, kSizesf32_v2,
         [&](const Call& c, bool vector)
         {
             (vector ? vsrPyramidCreatef32_v2V : vsrPyramidCreatef32_v2)(c.base ? f32 : nullptr, c.width, c.height, 0,
                                                                         c.numLevels, c.pyramid ? strided : nullptr);
         }},
    };
    const Call badArguments[] = {
        {8, 8, 2, false, true}, {8, 8, 0, true, true},  {8, 0, 2, true, true},
        {0, 8, 2, true, true},  {8, 8, 2, true, false},
    };
    const Call badSizes[] = {{100, 8, 4, true, true}, {8, 12, 4, true, true}, {8, 8, 33, true, true}};
    const auto line = [](int number, const char* text)
    { return "src/cpu/visoraPyramidC@" + std::to_string(number) + ": " + text; };
    for (const Member& member : members)
    {
        for (const Call& call : badArguments)
        {
            const bool vector = &call == badArguments;
            EXPECT_EXIT(member.create(call, vector), testing::ExitedWithCode(1), line(member.arguments, kArguments));
        }
        for (const Call& call : badSizes)
        {
            const bool vector = &call == badSizes;
            EXPECT_EXIT(member.create(call, vector), testing::ExitedWithCode(1), line(member.sizes, member.sizesText));
        }
    }
}

// ---- Creation ----

TEST(PyramidCreation, FailsWithoutBuffers)
{
    const std::vector<uint8_t> u8(64, 9);
    const std::vector<float> f32(64);
    uint8_t pixels[64];
    vsrPyramidLevel plain[3] = {{nullptr, 0, 0}, {pixels, 0, 0}, {nullptr, 0, 0}};
    EXPECT_EQ(0xffffffffu, vsrPyramidCreateu8(u8.data(), 8, 8, 3, plain));
    EXPECT_EQ(u8.data(), plain[0].ptr);
    EXPECT_EQ(9, pixels[0]) << "the level before was filled";
    plain[1].ptr = nullptr;
    EXPECT_EQ(0xffffffffu, vsrPyramidCreatef32(f32.data(), 8, 8, 2, plain));
    vsrPyramidLevel_v2 strided[2] = {};
    EXPECT_EQ(0xffffffffu, vsrPyramidCreateu8_v2(u8.data(), 8, 8, 0, 2, strided));
    EXPECT_EQ(0xffffffffu, vsrPyramidCreatef32_v2(f32.data(), 8, 8, 0, 2, strided));
    strided[0].stride = 1;
    EXPECT_EQ(0xffffffffu, vsrPyramidCreateu8_v2(u8.data(), 8, 8, 7, 1, strided));
    EXPECT_EQ(0xffffffffu, vsrPyramidCreatef32_v2(f32.data(), 8, 8, 31, 1, strided));
    EXPECT_EQ(1u, strided[0].stride) << "a stride below a row fails before anything is written";

    vsrPyramidLevel image[2] = {{pixels, 8, 8}, {pixels, 0, 0}};
    int16_t gradient[64];
    vsrPyramidLevel dx[2] = {{gradient, 0, 0}, {gradient, 0, 0}};
    vsrPyramidLevel dy[2] = {{gradient, 0, 0}, {nullptr, 0, 0}};
    EXPECT_EQ(0xffffffffu, vsrPyramidSobelGradientCreatei16(image, dx, dy, 2));
    EXPECT_EQ(0u, vsrPyramidSobelGradientCreatei16(image, dx, dy, 1));
}

TEST(PyramidCreation, OfAnySizeRefuses)
{
    const std::vector<uint8_t> src(100, 5);
    uint8_t copy[100] = {};
    uint8_t half[100] = {};
    vsrPyramidLevel_v2 l[2] = {{copy, 8, 6, 10}, {half, 0, 0, 4}};
    const auto create = [&](uint32_t width, uint32_t height, uint32_t stride, uint32_t levels, uint32_t scale)
    { return vsrPyramidCreateu8_v3(src.data(), width, height, stride, levels, scale, l); };
    LogCapture log;
    EXPECT_EQ(3u, vsrPyramidCreateu8_v3(nullptr, 8, 6, 10, 2, 0, l));
    EXPECT_EQ(3u, vsrPyramidCreateu8_v3(src.data(), 8, 6, 10, 2, 0, nullptr));
    EXPECT_EQ(3u, create(0, 6, 10, 2, 0));
    EXPECT_EQ(3u, create(8, 0, 10, 2, 0));
    EXPECT_EQ(3u, create(8, 6, 10, 0, 0));
    EXPECT_EQ(3u, create(8, 6, 7, 2, 0));
    EXPECT_EQ(1u, create(8, 5, 10, 2, 0));
    EXPECT_EQ(1u, create(9, 6, 10, 2, 0));
    EXPECT_EQ(1u, create(8, 6, 0, 2, 0)) << "packed, but recorded with a stride of 10";
    EXPECT_EQ(0, copy[0]);
    EXPECT_EQ(0u, create(8, 6, 10, 2, 0));
    EXPECT_EQ(5, copy[5 * 10 + 7]);
    EXPECT_EQ(5, half[2 * 4 + 3]);
    l[1].stride = 3;
    EXPECT_EQ(3u, create(8, 6, 10, 2, 0));
    l[1].ptr = nullptr;
    EXPECT_EQ(5u, create(8, 6, 10, 2, 0));
    EXPECT_EQ(3u, create(8, 6, 10, 2, 1));
    EXPECT_EQ(0u, create(8, 6, 10, 1, 1));
    EXPECT_EQ(std::vector<LogLine>(), log.take());
}

// ---- What fills levels ----

TEST(PyramidKernelEntries, LogTheirConditionAndTouchNothing)
{
    constexpr char kPlain[] = "src && dst && width && height";
    constexpr char kStrided[] = "src && dst && width && height && (srcStride >= width) && (dstStride >= width / 2)";
    constexpr char kStridedf32[] =
        "src && dst && width && height && (srcStride >= width * sizeof(*src)) && (dstStride >= width / 2 * "
        "sizeof(*dst))";
    constexpr char kSobel[] =
        "src && dx && dy && srcWidth && srcHeight && (srcStride >= srcWidth) && (gradStride >= srcWidth * "
        "sizeof(*dx))";
    const std::vector<uint8_t> src(256);
    const std::vector<uint8_t> untouched(1024, 77);
    std::vector<uint8_t> out = untouched;
    const uint8_t* s = src.data();
    const auto* f = reinterpret_cast<const float*>(s);
    uint8_t* d = out.data();
    auto* df = reinterpret_cast<float*>(d);
    auto* x16 = reinterpret_cast<int16_t*>(d);
    auto* x8 = reinterpret_cast<int8_t*>(d);
    struct Case
    {
        const char* entry;
        const char* condition;
        std::function<vsrStatus()> call;
    };
    const Case cases[] = {
        {"vsrScaleDownBy2Gaussian5x5u8", kPlain, [&] { return vsrScaleDownBy2Gaussian5x5u8(nullptr, 8, 8, d); }},
        {"vsrScaleDownBy2Gaussian5x5u8", kPlain, [&] { return vsrScaleDownBy2Gaussian5x5u8(s, 8, 8, nullptr); }},
        {"vsrScaleDownBy2Gaussian5x5u8", kPlain, [&] { return vsrScaleDownBy2Gaussian5x5u8(s, 0, 8, d); }},
        {"vsrScaleDownBy2Gaussian5x5u8", kPlain, [&] { return vsrScaleDownBy2Gaussian5x5u8(s, 8, 0, d); }},
        {"vsrScaleDownBy2Gaussian5x5u8_v2", kStrided,
         [&] { return vsrScaleDownBy2Gaussian5x5u8_v2(s, 8, 8, 7, d, 4); }},
        {"vsrScaleDownBy2Gaussian5x5u8_v2", kStrided,
         [&] { return vsrScaleDownBy2Gaussian5x5u8_v2(s, 8, 8, 8, d, 3); }},
        {"vsrScaleDownBy2Gaussian5x5f32", kPlain, [&] { return vsrScaleDownBy2Gaussian5x5f32(f, 8, 0, df); }},
        {"vsrScaleDownBy2Gaussian5x5f32_v2", kStridedf32,
         [&] { return vsrScaleDownBy2Gaussian5x5f32_v2(f, 8, 8, 31, df, 0); }},
        {"vsrScaleDownBy2Gaussian5x5f32_v2", kStridedf32,
         [&] { return vsrScaleDownBy2Gaussian5x5f32_v2(f, 8, 8, 0, df, 15); }},
        {"vsrImageGradientSobelPlanars16", kSobel,
         [&] { return vsrImageGradientSobelPlanars16(s, 8, 8, 7, x16, x16); }},
        {"vsrImageGradientSobelPlanars16_v2", kSobel,
         [&] { return vsrImageGradientSobelPlanars16_v2(s, 8, 8, 8, x16, x16, 15); }},
        {"vsrImageGradientSobelPlanars8", kSobel,
         [&] { return vsrImageGradientSobelPlanars8(s, 8, 8, 8, nullptr, x8); }},
        {"vsrImageGradientSobelPlanars8_v2", kSobel,
         [&] { return vsrImageGradientSobelPlanars8_v2(s, 8, 8, 8, x8, nullptr, 8); }},
        {"vsrImageGradientSobelPlanarf32", kSobel, [&] { return vsrImageGradientSobelPlanarf32(s, 0, 8, 8, df, df); }},
        {"vsrImageGradientSobelPlanarf32_v2", kSobel,
         [&] { return vsrImageGradientSobelPlanarf32_v2(s, 8, 8, 0, df, df, 31); }},
    };
    for (const Case& c : cases)
    {
        LogCapture log(23);
        EXPECT_EQ(23u, c.call()) << &c - cases;
        EXPECT_EQ((std::vector{refusal(c.entry, c.condition)}), log.take()) << &c - cases;
    }
    LogCapture log;
    for (const uint32_t bad : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u})
    {
        EXPECT_EQ(3u, vsrScaleu8(bad == 0 ? nullptr : s, bad == 1 ? 0 : 8, bad == 2 ? 0 : 8, bad == 3 ? 7 : 0,
                                 bad == 4 ? nullptr : d, bad == 5 ? 0 : 4, bad == 6 ? 0 : 4, bad == 7 ? 3 : 0,
                                 bad == 8 ? 3 : 0))
            << bad;
    }
    EXPECT_EQ(std::vector<LogLine>(), log.take());
    EXPECT_EQ(untouched, out);
}

}  // namespace
}  // namespace visora::test
