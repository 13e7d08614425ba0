// The DSP domain, the version, clean-up and the platform-optimisation library.
#include <gtest/gtest.h>

#include "common/hardware_double.h"
#include "support/log_capture.h"
#include "visora.h"

namespace visora::test
{
namespace
{

constexpr char kLibTag[] = "visora_lib_log";

// ---- DSP domain ----

TEST(DefaultDomain, IsStoredAsItIs)
{
    inChild(
        []
        {
            for (const int32_t domain : {0, 2, 1, 7, -4})
            {
                LogCapture log;
                EXPECT_EQ(0, vsrSetDefaultDspEXT(domain));
                EXPECT_EQ(domain, defaultDSP);
                EXPECT_EQ(
                    (std::vector<LogLine>{
                        {3, kLibTag, "Calling vsrSetDefaultDSP with default_dsp!=DEFAULT_DSP~~~~~~~~~~~~~~~~~~~~~>>"},
                        {3, kLibTag, "defaultDSP is reset to=" + std::to_string(domain)}}),
                    log.take());
            }
        });
}

TEST(DefaultDomain, IsReadFromItsProperty)
{
    const std::pair<const char*, int32_t> accepted[] = {{"0", 0}, {"2", 2}, {"2x", 2}, {"1 ", 1}, {"25", 25}};
    const char* const rejected[] = {"7", "3", "-1", "", " 1", "x2"};
    inChild(
        [&]
        {
            const auto linesOf = [](const std::string& value)
            {
                std::vector<LogLine> lines = {{3, kLibTag, "vendor.runtime.visora.defaultDSP: " + value}};
                for (size_t i = 0; i < value.size(); ++i)
                {
                    lines.push_back({3, kLibTag, "vsr_defaultDSP_StrArr[" + std::to_string(i) + "]=" + value[i]});
                }
                return lines;
            };
            for (const auto& [value, domain] : accepted)
            {
                const PropertyOverride property("vendor.runtime.visora.defaultDSP", value);
                LogCapture log;
                EXPECT_EQ(0, vsrSetDefaultDspEXT(3));
                EXPECT_EQ(domain, defaultDSP);
                std::vector<LogLine> expected = linesOf(value);
                expected.push_back({3, kLibTag, "defaultDSP is reset to=" + std::to_string(domain)});
                EXPECT_EQ(expected, log.take());
            }
            setDefaultDSPValue(2);
            for (const std::string value : rejected)
            {
                const PropertyOverride property("vendor.runtime.visora.defaultDSP", value);
                LogCapture log;
                EXPECT_EQ(0, vsrSetDefaultDspEXT(3));
                EXPECT_EQ(2, defaultDSP);
                std::vector<LogLine> expected = linesOf(value);
                expected.push_back({3, kLibTag, "Invalid value set to vendor.runtime.visora.defaultDSP=" + value});
                expected.push_back({3, kLibTag,
                                    "Valid values for vendor.runtime.visora.defaultDSP are 0 for KDSP_ADSP , 1 for "
                                    "KDSP_CDSP , 2 for KDSP_MDSP"});
                expected.push_back({3, kLibTag,
                                    "Command to set the property: adb shell setprop vendor.runtime.visora.defaultDSP "
                                    "[0/1/2]"});
                expected.push_back({3, kLibTag, "Current defaultDSP=2"});
                EXPECT_EQ(expected, log.take());
            }
        });
}

// ---- Version, clean-up, platform library ----

TEST(Version, FitsOrIsZeros)
{
    LogCapture log;
    for (uint32_t size = 0; size < 12; ++size)
    {
        std::string text(16, '#');
        vsrGetVersion(text.data(), size);
        std::string expected(16, '#');
        if (size >= 6)
        {
            expected.replace(0, 6, std::string("1.7.1\0", 6));
        }
        else
        {
            expected.replace(0, size, size, '\0');
        }
        EXPECT_EQ(expected, text) << size;
        EXPECT_EQ((std::vector<LogLine>{{3, kLibTag, "Visora usr library\n"}}), log.take());
    }
    vsrGetVersion(nullptr, 6);
    EXPECT_EQ((std::vector<LogLine>{{3, kLibTag, "Visora usr library\n"}}), log.take());
}

TEST(CleanUp, EndsTheSessionAndKeepsTheTables)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            DspDouble dsp;
            vsrSetOperationMode(VISORA_OP_LOW_POWER);
            EXPECT_EQ(1, KDSP_initflag);
            vsrSharedMemAlloc_ = vsrSharedMemAllocR_ = [](uint32_t, uint32_t) -> void* { return nullptr; };
            vsrSharedMemFree_ = vsrSharedMemFreeR_ = [](void*) { return -1; };
            GPU_initflag = 1;
            dsp.takeCalls();
            dsp.deinitResult = 16;
            EXPECT_EQ(16, vsrCleanUp());
            EXPECT_EQ(std::vector<std::string>{"deinit 1"}, dsp.takeCalls());
            EXPECT_EQ(0, KDSP_initflag);
            EXPECT_EQ(0, GPU_initflag);
            EXPECT_TRUE(!vsrSharedMemAlloc_ && !vsrSharedMemAllocR_ && !vsrSharedMemFree_ && !vsrSharedMemFreeR_);
            EXPECT_EQ(VSR_IMPL_CDSP, vsrImplTable[1]);

            vsrSharedMemAllocR_ = vsrSharedMemAllocK;
            EXPECT_NE(16, vsrCleanUpHW()) << "the result of ending the shared memory";
            EXPECT_EQ(nullptr, vsrSharedMemAllocR_);
        });
}

TEST(PlatformLibrary, ThatIsMissingIsReported)
{
    LogCapture log;
    EXPECT_EQ(-1, vsrPlatformOptLoad());
    const std::vector<LogLine> lines = log.take();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ((LogLine{3, "vsr", "Loading from: /data/local/libvsropt.so\n"}), lines[0]);
    EXPECT_EQ(6, lines[1].priority);
    EXPECT_EQ("visora_PLATFORM", lines[1].tag);
    const std::string start = "dlopen for /data/local/libvsropt.so failed!\n Error:";
    EXPECT_EQ(0u, lines[1].text.find(start + "/data/local/libvsropt.so: ")) << lines[1].text;

    EXPECT_EQ(nullptr, vsrPlatformOptGetFunc("malloc")) << "nothing outside that library is found";
    const std::vector<LogLine> missing = log.take();
    ASSERT_EQ(1u, missing.size());
    EXPECT_EQ(0u, missing[0].text.find("dlsym for malloc failed! \n Error:"));
    EXPECT_EQ(0, vsrPlatformOptClose());
}

TEST(PlatformLibrary, IsOpenedOnceAndClosed)
{
    inChild(
        []
        {
            const PlatformLibraryDouble library;
            const std::vector<LogLine> opened = {
                {3, "vsr", "Loading from: /data/local/libvsropt.so\n"},
                {3, "visora_PLATFORM", "dlopen for /data/local/libvsropt.so is successfull.\n"}};
            for (int round = 0; round < 2; ++round)
            {
                LogCapture log;
                EXPECT_EQ(0, vsrPlatformOptLoad());
                EXPECT_EQ(0, vsrPlatformOptLoad());
                EXPECT_EQ(round + 1, library.opened()) << "the second call finds it open";
                EXPECT_EQ(opened[0], log.take().front());
                EXPECT_EQ(0, vsrPlatformOptLoad());
                EXPECT_EQ(opened, log.take());

                EXPECT_NE(nullptr, vsrPlatformOptGetFunc("vsrGetVersion"));
                EXPECT_EQ(std::vector<LogLine>{}, log.take());
                EXPECT_EQ(nullptr, vsrPlatformOptGetFunc("no_such_function"));
                const std::vector<LogLine> lines = log.take();
                ASSERT_EQ(1u, lines.size());
                EXPECT_EQ(6, lines[0].priority);
                EXPECT_EQ("visora_PLATFORM", lines[0].tag);
                EXPECT_EQ(0u, lines[0].text.find("dlsym for no_such_function failed! \n Error:"));
                EXPECT_EQ(0, vsrPlatformOptClose());
                EXPECT_EQ(0, vsrPlatformOptClose());
                EXPECT_EQ(nullptr, vsrPlatformOptGetFunc("vsrGetVersion"));
            }
        });
}

}  // namespace
}  // namespace visora::test
