#include "common/hardware_double.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "support/next_function.h"
#include "visora.h"

namespace visora::test
{
namespace
{

// The framework says nothing in a child.
int tellFailures()
{
    const testing::TestResult& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    int status = EXIT_SUCCESS;
    for (int i = 0; i < result.total_part_count(); ++i)
    {
        const testing::TestPartResult& part = result.GetTestPartResult(i);
        if (part.failed())
        {
            status = EXIT_FAILURE;
            std::fprintf(stderr, "%s:%d: %s\n", part.file_name(), part.line_number(), part.message());
        }
    }
    return status;
}

}  // namespace

void inChild(const std::function<void()>& body)
{
    EXPECT_EXIT(
        {
            describeProcessor(kPhone);
            body();
            std::exit(tellFailures());
        },
        testing::ExitedWithCode(0), "");
}

void inThreads(int count, const std::function<void(int)>& body)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
    {
        threads.emplace_back(body, i);
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

void describeProcessor(const char* text)
{
    static std::string path;
    path = "/proc/self/none";
    if (text)
    {
        // In memory: children that end in all ways they can leave no file behind.
        const int file = memfd_create("processor", 0);
        const size_t length = std::strlen(text);
        ASSERT_EQ(static_cast<ssize_t>(length), write(file, text, length));
        path = "/proc/self/fd/" + std::to_string(file);
    }
    ivsrProcessorDescriptionPath = path.c_str();
}

}  // namespace visora::test

// This is bound by the dynamic linker before the system's.
using visora::test::next;

void* dlopen(const char* path, int mode) noexcept
{
    const bool isIt = visora::test::hasPlatformLibrary && path && std::string(path) == "/data/local/libvsropt.so";
    visora::test::platformLibraryOpened += isIt;
    return next("dlopen", dlopen)(isIt ? nullptr : path, mode);
}
