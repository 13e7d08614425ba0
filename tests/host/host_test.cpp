// The Linux stand-ins for the platform's services.
#include "visora/host.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "platform/linux/visoraHostPlatform.h"

namespace visora::test
{
namespace
{

std::string property(const char* key, const char* fallback)
{
    char value[92];
    const int length = property_get(key, value, fallback);
    EXPECT_EQ(std::strlen(value), static_cast<size_t>(length));
    return value;
}

TEST(HostProperties, EnvironmentThenFileThenBuiltInThenDefault)
{
    const std::string path = testing::TempDir() + "/visora.prop";
    std::ofstream(path) << "# comment\n#runtime.visora.log=9\nruntime.visora.log=2\nro.board.platform=mt6789\n";
    EXPECT_EQ("fallback", property("some.key", "fallback"));
    EXPECT_EQ("", property("some.key", nullptr));
    EXPECT_EQ("hst", property("ro.board.platform", "x"));

    setenv("VISORA_PROPERTIES", path.c_str(), 1);
    EXPECT_EQ("mt6789", property("ro.board.platform", "x"));
    EXPECT_EQ("2", property("runtime.visora.log", ""));
    setenv("VISORA_PROP_runtime_visora_log", "1", 1);
    EXPECT_EQ("1", property("runtime.visora.log", ""));
    unsetenv("VISORA_PROP_runtime_visora_log");
    unsetenv("VISORA_PROPERTIES");
}

TEST(HostProperties, ValuesAreCutAt91Characters)
{
    setenv("VISORA_PROP_long_one", std::string(200, 'v').c_str(), 1);
    EXPECT_EQ(std::string(91, 'v'), property("long.one", ""));
    unsetenv("VISORA_PROP_long_one");
}

TEST(HostLog, WritesPriorityTagAndTextToStandardError)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, __android_log_print(6, "visora_lib_log", "Error at %s\n", "vsrX"));
    EXPECT_EQ(1, __android_log_print(3, "tag", "%d", 7));
    EXPECT_EQ(1, __android_log_print(2, "tag", "\n%s", "a\nb\n\n"));
    EXPECT_EQ("E/visora_lib_log: Error at vsrX\nD/tag: 7\nV/tag: \na\nb\n", testing::internal::GetCapturedStderr())
        << "every line ends once";
}

// A refused call passes the result on, so that it never looks like a success.
TEST(HostLog, ReturnsOneWhateverBecomesOfTheLine)
{
    for (const char* path : {static_cast<const char*>(nullptr), "/dev/full"})
    {
        EXPECT_EXIT(
            {
                close(STDERR_FILENO);
                if (path)
                {
                    open(path, O_WRONLY);
                }
                std::exit(__android_log_print(6, "tag", "%s", "text"));
            },
            testing::ExitedWithCode(1), "");
    }
}

int remember(void* context, int priority, const char* tag, const char* text)
{
    static_cast<std::vector<std::string>*>(context)->push_back(std::to_string(priority) + tag + text);
    return -9;
}

TEST(HostLog, AProgramCanRouteTheLines)
{
    std::vector<std::string> lines;
    vsrHostSetLogSink(remember, &lines);
    EXPECT_EQ(1, __android_log_print(4, "tag", "%s", "text\n"));
    vsrHostSetLogSink(nullptr, nullptr);
    EXPECT_EQ(std::vector<std::string>{"4tagtext"}, lines);
}

TEST(HostIon, GivesMemoryThatCanBeMapped)
{
    const int device = ion_open();
    ASSERT_GE(device, 0);
    int buffer = -1;
    EXPECT_NE(0, ion_alloc_fd(device, 0, 0, 0x2000000, 1, &buffer));
    ASSERT_EQ(0, ion_alloc_fd(device, 8192, 0, 0x2000000, 1, &buffer));
    void* first = mmap(nullptr, 8192, PROT_READ | PROT_WRITE, MAP_SHARED, buffer, 0);
    void* second = mmap(nullptr, 8192, PROT_READ, MAP_SHARED, buffer, 0);
    ASSERT_NE(MAP_FAILED, first);
    ASSERT_NE(MAP_FAILED, second);
    static_cast<char*>(first)[8191] = 'x';
    EXPECT_EQ('x', static_cast<char*>(second)[8191]);
    munmap(first, 8192);
    munmap(second, 8192);
    EXPECT_EQ(0, close(buffer));
    EXPECT_EQ(0, ion_close(device));
    EXPECT_NE(0, ion_close(device));
}

}  // namespace
}  // namespace visora::test
