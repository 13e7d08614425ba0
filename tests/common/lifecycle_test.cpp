// The DSP domain, the version, clean-up and the platform-optimisation library.
#include <gtest/gtest.h>

#include <cerrno>

#include "common/hardware_double.h"
#include "support/log_capture.h"
#include "support/scripted_dsp.h"
#include "visora.h"

namespace visora::test
{
namespace
{

// ---- DSP domain ----

CHILD_TEST(DefaultDomain, IsStoredAsItIs)
{
    LogCapture log;
    for (const int32_t domain : {0, 2, 1, 7, -4})
    {
        EXPECT_EQ(0, vsrSetDefaultDspEXT(domain));
        EXPECT_EQ(domain, defaultDSP);
        EXPECT_LOG(log, debugLine("Calling vsrSetDefaultDSP with default_dsp!=DEFAULT_DSP~~~~~~~~~~~~~~~~~~~~~>>"),
                   debugLine("defaultDSP is reset to=" + std::to_string(domain)));
    }
}

CHILD_TEST(DefaultDomain, IsReadFromItsProperty)
{
    const std::string name = "vendor.runtime.visora.defaultDSP";
    struct Case
    {
        std::string value;
        int32_t domain;
        bool accepted = true;
    };
    const Case cases[] = {{"0", 0},         {"2", 2},       {"2x", 2},        {"1 ", 1},
                          {"25", 25},       {"2", 2},       {"7", 2, false},  {"3", 2, false},
                          {"-1", 2, false}, {"", 2, false}, {" 1", 2, false}, {"x2", 2, false}};
    LogCapture log;
    for (const auto& [value, domain, accepted] : cases)
    {
        const PropertyOverride property(name, value);
        EXPECT_EQ(0, vsrSetDefaultDspEXT(3));
        EXPECT_EQ(domain, defaultDSP) << value;
        Lines expected = {debugLine(name + ": " + value)};
        for (size_t i = 0; i < value.size(); ++i)
        {
            expected.push_back(debugLine("vsr_defaultDSP_StrArr[" + std::to_string(i) + "]=" + value[i]));
        }
        if (accepted)
        {
            expected.push_back(debugLine("defaultDSP is reset to=" + std::to_string(domain)));
        }
        else
        {
            const auto& valid = " are 0 for KDSP_ADSP , 1 for KDSP_CDSP , 2 for KDSP_MDSP";
            expected.insert(
                expected.end(),
                {debugLine("Invalid value set to " + name + "=" + value), debugLine("Valid values for " + name + valid),
                 debugLine("Command to set the property: adb shell setprop " + name + " [0/1/2]"),
                 debugLine("Current defaultDSP=2")});
        }
        EXPECT_EQ(expected, log.take());
    }
}

// ---- Version, clean-up, platform library ----

TEST(Version, FitsOrIsZeros)
{
    LogCapture log;
    for (uint32_t size = 0; size < 12; ++size)
    {
        std::string text(16, '#');
        vsrGetVersion(text.data(), size);
        const std::string written = size >= 6 ? std::string("1.7.1\0", 6) : std::string(size, '\0');
        EXPECT_EQ(written + std::string(16 - written.size(), '#'), text) << size;
        EXPECT_LOG(log, debugLine("Visora usr library\n"));
    }
    vsrGetVersion(nullptr, 6);
    EXPECT_LOG(log, debugLine("Visora usr library\n"));
}

CHILD_TEST(CleanUp, EndsTheSessionAndKeepsTheTables)
{
    ScriptedDsp dsp;
    vsrSetOperationMode(VISORA_OP_LOW_POWER);
    EXPECT_EQ(1, KDSP_initflag);
    vsrSharedMemAlloc_ = vsrSharedMemAllocR_ = [](uint32_t, uint32_t) -> void* { return nullptr; };
    vsrSharedMemFree_ = vsrSharedMemFreeR_ = [](void*) { return -1; };
    GPU_initflag = 1;
    dsp.takeCalls();
    pthread_mutex_lock(&k6SessionMutex);
    EXPECT_EQ(EBUSY, vsrCleanUp());
    pthread_mutex_unlock(&k6SessionMutex);
    EXPECT_CALLS(dsp, "deinitK6 7", "close 7");
    EXPECT_EQ(0, KDSP_initflag);
    EXPECT_EQ(0, GPU_initflag);
    EXPECT_TRUE(!vsrSharedMemAlloc_ && !vsrSharedMemAllocR_ && !vsrSharedMemFree_ && !vsrSharedMemFreeR_);
    EXPECT_EQ(VSR_IMPL_CDSP, vsrImplTable[1]);

    vsrSharedMemAllocR_ = vsrSharedMemAllocK;
    EXPECT_EQ(0, vsrCleanUpHW()) << "the result of ending the shared memory";
    EXPECT_EQ(nullptr, vsrSharedMemAllocR_);
}

const LogLine kLoading = {3, "vsr", "Loading from: /data/local/libvsropt.so\n"};

// The one line of a failure: what it begins with is the library's, the rest is the linker's.
void expectPlatformError(const std::string& start, const Lines& lines)
{
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ((LogLine{6, "visora_PLATFORM", start}),
              (LogLine{lines[0].priority, lines[0].tag, lines[0].text.substr(0, start.size())}));
}

TEST(PlatformLibrary, ThatIsMissingIsReported)
{
    LogCapture log;
    EXPECT_EQ(-1, vsrPlatformOptLoad());
    Lines lines = log.take();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(kLoading, lines[0]);
    lines.erase(lines.begin());
    expectPlatformError("dlopen for /data/local/libvsropt.so failed!\n Error:/data/local/libvsropt.so: ", lines);

    EXPECT_EQ(nullptr, vsrPlatformOptGetFunc("malloc")) << "nothing outside that library is found";
    expectPlatformError("dlsym for malloc failed! \n Error:", log.take());
    EXPECT_EQ(0, vsrPlatformOptClose());
}

CHILD_TEST(PlatformLibrary, IsOpenedOnceAndClosed)
{
    hasPlatformLibrary = true;
    const LogLine opened = {3, "visora_PLATFORM", "dlopen for /data/local/libvsropt.so is successfull.\n"};
    LogCapture log;
    for (int round = 0; round < 2; ++round)
    {
        for (int again = 0; again < 2; ++again)
        {
            EXPECT_EQ(0, vsrPlatformOptLoad());
            EXPECT_EQ(round + 1, platformLibraryOpened) << "the second call finds it open";
            EXPECT_LOG(log, kLoading, opened);
        }
        EXPECT_NE(nullptr, vsrPlatformOptGetFunc("vsrGetVersion"));
        EXPECT_LOG(log);
        EXPECT_EQ(nullptr, vsrPlatformOptGetFunc("no_such_function"));
        expectPlatformError("dlsym for no_such_function failed! \n Error:", log.take());
        EXPECT_EQ(0, vsrPlatformOptClose());
        EXPECT_EQ(0, vsrPlatformOptClose());
        EXPECT_EQ(nullptr, vsrPlatformOptGetFunc("vsrGetVersion"));
        log.take();
    }
}

CHILD_TEST(PlatformLibraryThreads, MayOpenAndCloseAtOnce)
{
    hasPlatformLibrary = true;
    LogCapture log;
    inThreads(8,
              [](int)
              {
                  for (int round = 0; round < 50; ++round)
                  {
                      EXPECT_EQ(0, vsrPlatformOptLoad());
                      vsrPlatformOptGetFunc("vsrGetVersion");
                      EXPECT_EQ(0, vsrPlatformOptClose());
                  }
              });
}

}  // namespace
}  // namespace visora::test
