// What stands in for hardware: processor descriptions, a platform library. They are the process's, so that they are
// used in children only.
#ifndef VISORA_TESTS_COMMON_HARDWARE_DOUBLE_H
#define VISORA_TESTS_COMMON_HARDWARE_DOUBLE_H

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace visora::test
{

/**
 * Runs the body in a forked child, on the machine of kPhone, and expects it to pass there: the machine is looked at
 * once per process, and modes, tables and sessions are the process's. Threads are started in children only: what forks
 * must have none, not even one that is on its way out.
 */
void inChild(const std::function<void()>& body);

/** Runs the body on each of the cases, in a child each. */
template <class Cases, class Body>
void inChildren(const Cases& cases, const Body& body)
{
    for (const auto& one : cases)
    {
        inChild([&] { body(one); });
    }
}

/** A test that runs in a child. */
#define CHILD_TEST(suite, name)             \
    void suite##name();                     \
    TEST(suite, name)                       \
    {                                       \
        visora::test::inChild(suite##name); \
    }                                       \
    void suite##name()

/** Runs the body in that many threads, with their numbers. */
void inThreads(int count, const std::function<void(int)>& body);

/** Makes the text the processor description of this process; null leaves the file missing. */
void describeProcessor(const char* text);

/** Descriptions of a phone's processor and of one whose maker is on no list. */
constexpr char kPhone[] =
    "processor\t: 0\nBogoMIPS\t: 38.40\nFeatures\t: fp asimd evtstrm aes crc32 atomics fphp asimdhp\n"
    "CPU implementer\t: 0x51\nCPU architecture: 8\nCPU variant\t: 0xc\n\nHardware\t: Some board\n";
constexpr char kServer[] = "Features\t: fp asimd\nCPU implementer\t: 0x43\nCPU architecture: 8\n";

using Calls = std::vector<std::string>;

/** The calls that a double got since they were last taken. */
#define EXPECT_CALLS(from, ...) EXPECT_EQ((visora::test::Calls{__VA_ARGS__}), (from).takeCalls())

/** Whether the platform-optimisation library is there (it is the program itself), and how often it was opened. */
inline bool hasPlatformLibrary = false;
inline int platformLibraryOpened = 0;

}  // namespace visora::test

#endif
