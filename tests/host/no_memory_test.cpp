// Memory may run out in any allocation: nothing is thrown out of a C function, and the next call works again.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <optional>

#include "platform/linux/visoraHostPlatform.h"
#include "support/operations.h"
#include "visora.h"
#include "visora/host.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VSR_SYSTEM(function) __interceptor_##function
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VSR_SYSTEM(function) __interceptor_##function
#endif
#endif
#ifndef VSR_SYSTEM
#define VSR_SYSTEM(function) __libc_##function
#endif

extern "C"
{
    void* VSR_SYSTEM(malloc)(size_t size);
    void* VSR_SYSTEM(calloc)(size_t count, size_t size);
    void* VSR_SYSTEM(realloc)(void* block, size_t size);
}

namespace visora::test
{
namespace
{

// Allocations before the one that fails, negative when none is to fail.
thread_local int untilFailure = -1;
thread_local bool hasFailed = false;

bool fails()
{
    const bool now = untilFailure == 0;
    hasFailed = hasFailed || now;
    untilFailure -= untilFailure >= 0;
    return now;
}

}  // namespace
}  // namespace visora::test

// These are bound before the system's, for the C++ library too.
void* malloc(size_t size) noexcept
{
    return visora::test::fails() ? nullptr : VSR_SYSTEM(malloc)(size);
}

void* calloc(size_t count, size_t size) noexcept
{
    return visora::test::fails() ? nullptr : VSR_SYSTEM(calloc)(count, size);
}

void* realloc(void* block, size_t size) noexcept
{
    return visora::test::fails() ? nullptr : VSR_SYSTEM(realloc)(block, size);
}

namespace visora::test
{
namespace
{

// Runs the body with its first allocation failing, then with its second, until none is left. Returns their number.
int failEachAllocation(const std::string& what, const std::function<void()>& body)
{
    for (int allocation = 0;; ++allocation)
    {
        hasFailed = false;
        untilFailure = allocation;
        bool thrown = false;
        try
        {
            body();
        }
        catch (...)
        {
            thrown = true;
        }
        untilFailure = -1;
        EXPECT_FALSE(thrown) << what << ", allocation " << allocation;
        if (!hasFailed || thrown)
        {
            return allocation;
        }
    }
}

TEST(WithoutMemory, EveryVariantReturns)
{
    int failures = 0;
    for (const Operation& operation : operations())
    {
        std::optional<Arguments> call;
        for (uint64_t seed = 1; seed < 50 && !(call && call->hasCall()); ++seed)
        {
            call.emplace(Shape{seed % 2 == 1 ? 71u : 64u, 64}, seed);
            operation.prepare(*call);
        }
        ASSERT_TRUE(call->hasCall()) << operation;
        Arguments& arguments = *call;
        for (const VSR_FUNC variant : {operation.reference, operation.vector})
        {
            arguments.fillInputs(Values::Uniform);
            arguments.freshen();
            failures += failEachAllocation(operation.name, [&] { arguments.run(variant); });
        }
    }
    EXPECT_LT(10, failures) << "kernels borrow scratch memory";
}

// Whether a process that has found nothing yet can set a mode: an emulated processor may not be described.
bool aFreshProcessSets(vsrOperationMode mode)
{
    const pid_t child = fork();
    if (child == 0)
    {
        _exit(vsrSetOperationMode(mode) == VISORA_SUCCESS ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    return status == 0;
}

TEST(WithoutMemory, TheRuntimeReturns)
{
    const bool isDescribed = aFreshProcessSets(VISORA_OP_CPU_PERFORMANCE);
    vsrHostSetLogSink([](void*, int, const char*, const char*) { return 1; }, nullptr);
    const auto everything = []
    {
        for (const vsrOperationMode mode :
             {VISORA_OP_LOW_POWER, VISORA_OP_PERFORMANCE, VISORA_OP_CPU_OFFLOAD, VISORA_OP_CPU_PERFORMANCE,
              VISORA_OP_EXT_ADSP, VISORA_OP_EXT_GPU, VISORA_OP_EXT_KDSP})
        {
            vsrSetOperationMode(mode);
            vsrSetOperationModeRemoteLib(mode);
        }
        char text[92];
        property_get("runtime.visora.log", text, "");
        vsrGetVersion(text, sizeof(text));
        vsrLogAssert("a/path", 1, 6, "%s", "text");
        vsrPlatformOptLoad();
        vsrPlatformOptGetFunc("vsrGetVersion");
        vsrPlatformOptClose();
        vsrInitSharedMem(8);
        void* const blocks[] = {vsrMemAlloc(100, 16), vsrMemAlign(100, 16)};
        vsrMemFree(blocks[0]);
        vsrMemAlignFree(blocks[1]);
        vsrMemInitPreAlloc(1000);
        vsrMemDeInit();
        vsrPyramidLevel_v2 levels[3];
        if (vsrPyramidAllocate_v3(levels, 64, 64, 0, 1, 16, 3, 0, 1) == VISORA_SUCCESS)
        {
            vsrPyramidDelete_v2(levels, 3, 0);
        }
        vsrCleanUp();
    };
    EXPECT_LT(5, failEachAllocation("runtime", everything));
    EXPECT_EQ(isDescribed, vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE) == VISORA_SUCCESS) << "the machine was found";
    vsrHostSetLogSink(nullptr, nullptr);
}

}  // namespace
}  // namespace visora::test
