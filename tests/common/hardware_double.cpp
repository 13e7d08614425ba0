#include "common/hardware_double.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
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
    path = testing::TempDir() + "visora_processor_" + std::to_string(getpid());
    std::remove(path.c_str());
    if (text)
    {
        std::ofstream(path) << text;
        std::atexit([] { std::remove(path.c_str()); });
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
