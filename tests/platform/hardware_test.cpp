// The processor's description, the hardware report and the bring-up of the DSP.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>

#include "common/hardware_double.h"
#include "support/log_capture.h"
#include "visora.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kArchitecture7 = 1;
constexpr uint32_t kFloat = 2;
constexpr uint32_t kVector = 4;

struct Description
{
    const char* what;
    std::string text;
    uint32_t features;
    int64_t implementer;
    bool onlyCpu = false;
};

const Description kDescriptions[] = {
    {"64-bit, maker A", "processor\t: 0\nFeatures\t: fp asimd aes\nCPU implementer\t: 0x41\nCPU architecture: 8\n", 7,
     0x41},
    {"64-bit, maker Q", kPhone, 7, 0x51},
    {"64-bit, maker S", "Features\t: asimd fp\nCPU implementer\t: 0x53\nCPU architecture: 8\n", 7, 0x53},
    {"32-bit", "Features\t: half thumb vfp neon vfpv3\nCPU implementer\t: 0x41\nCPU architecture: 7\n", 7, 0x41},
    {"before the vector unit", "Features\t: swp half vfp\nCPU implementer\t: 0x41\nCPU architecture: 6\n", kFloat,
     0x41},
    {"architecture in two digits", "CPU architecture: 10\n", kArchitecture7, 0},
    {"architecture without digits", "CPU architecture: AArch64\nFeatures : fp\n", kFloat, 0},
    {"architecture with letters behind", "CPU architecture: 7TEJ\n", kArchitecture7, 0},
    {"maker in decimal", "CPU implementer : 65\n", 0, 65},
    {"maker in octal", "CPU implementer : 0121\n", 0, 0x51},
    {"whole words only", "Features : vfpv4 neonx asimdhp fphp sfp\n", 0, 0},
    {"tabs between words, blanks at the ends", "Features : \tevtstrm\t\tasimd\tcrc32 \n", kVector, 0},
    {"last line without line feed", "processor : 0\nFeatures : neon", kVector, 0},
    {"name inside a line", "My Features : fp\nThe CPU architecture: 8\nFeatures : asimd\n", kVector, 0},
    {"value before the name", "x: Features\nFeatures\t: fp\n", kFloat, 0},
    {"no blank behind the colon", "Features:fp asimd\nCPU architecture:8\nCPU implementer\t:0x41\n", 0, 0},
    {"no colon at all", "Features fp asimd", 0, 0},
    {"nothing behind the colon", "Features :", 0, 0},
    {"first of two processors counts", "Features : fp\nFeatures : fp asimd\n", kFloat, 0},
    {"empty", "", 0, 0},
    {"only-CPU machine 1", std::string(kServer) + "Hardware\t: Vendor PLTA01 rev 2\n", 7, 0x43, true},
    {"only-CPU machine 2", std::string(kServer) + "Hardware\t: PLTA02", 7, 0x43, true},
    {"neighbouring machine", std::string(kServer) + "Hardware\t: PLTA03\nModel : PLTA01\n", 7, 0x43, false},
    {"last word ends at 4096 bytes", std::string(4096 - 19, '\n') + "Features : fp asimd more", kFloat | kVector, 0},
    {"word cut at 4096 bytes", std::string(4096 - 18, '\n') + "Features : fp asimd\n", kFloat, 0},
    {"field behind 4096 bytes", "CPU architecture: 8\n" + std::string(4096, '\n') + "Features : fp asimd\n",
     kArchitecture7, 0},
};

void expectDescription(const Description& expected)
{
    EXPECT_EQ(expected.features, ivsrProcessorFeatures()) << expected.what;
    EXPECT_EQ(expected.implementer, ivsrProcessorImplementer()) << expected.what;
    EXPECT_EQ(expected.onlyCpu, vsr_check_only_cpu() != 0) << expected.what;

    const bool mobile = expected.implementer == 0x41 || expected.implementer == 0x51;
    const uint32_t report = 0x1002u | (expected.features & kVector ? 0x4u : 0) |
                            (expected.features & kFloat ? 0x80u : 0) |
                            (expected.features & kArchitecture7 ? 0x100u : 0) | (mobile ? 0x800u : 0);
    EXPECT_EQ(report, vsrAvailableHardware(VISORA_OP_CPU_PERFORMANCE)) << expected.what;
}

TEST(Processor, IsWhatItsDescriptionSays)
{
    for (const Description& description : kDescriptions)
    {
        inChild(
            [&]
            {
                describeProcessor(description.text.c_str());
                expectDescription(description);
            });
    }
}

TEST(Processor, HasNoFeaturesWhenTheDescriptionCannotBeRead)
{
    inChild(
        []
        {
            describeProcessor(nullptr);
            expectDescription({"missing file", "", 0, 0});
        });
    inChild(
        []
        {
            ivsrProcessorDescriptionPath = "/";
            expectDescription({"a folder", "", 0, 0});
        });
}

TEST(Processor, IsLookedAtOnce)
{
    inChild(
        []
        {
            describeProcessor(kServer);
            EXPECT_EQ(7u, ivsrProcessorFeatures());
            describeProcessor("Features : fp\nHardware : PLTA01\n");
            EXPECT_EQ(7u, ivsrProcessorFeatures());
            EXPECT_FALSE(vsr_check_only_cpu());
        });
}

TEST(ProcessorThreads, MayAllBeTheFirstToLook)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            std::atomic<int> right = 0;
            std::array<std::thread, 8> threads;
            for (std::thread& thread : threads)
            {
                thread = std::thread([&] { right += ivsrProcessorFeatures() == 7 && !vsr_check_only_cpu(); });
            }
            for (std::thread& thread : threads)
            {
                thread.join();
            }
            EXPECT_EQ(8, right);
        });
}

TEST(HardwareReport, KnowsMobileChipsByTheirFamily)
{
    const std::pair<const char*, bool> families[] = {{"hst", true},      {"hst1234", true}, {"exynos", true},
                                                     {"kirin970", true}, {"mt6893", true},  {"mt8173", false},
                                                     {"", false},        {"hs", false},     {"xhst", false}};
    for (const auto& [platform, mobile] : families)
    {
        inChild(
            [&, family = platform, expected = mobile]
            {
                describeProcessor(kServer);
                const PropertyOverride property("ro.board.platform", family);
                EXPECT_EQ(expected, (vsrAvailableHardware(VISORA_OP_CPU_PERFORMANCE) & 0x800) != 0) << family;
                EXPECT_EQ(expected ? 0x51 : 0x43, ivsrProcessorImplementer()) << family;
            });
    }
}

TEST(HardwareReport, BringsTheDspUpForTheModesThatWantIt)
{
    // Session mode, -1 for none.
    const std::pair<vsrOperationMode, int> modes[] = {{VISORA_OP_LOW_POWER, 0},
                                                      {VISORA_OP_PERFORMANCE, 2},
                                                      {VISORA_OP_CPU_OFFLOAD, 1},
                                                      {VISORA_OP_CPU_PERFORMANCE, -1},
                                                      {4, 1},
                                                      {0x7fffffff, 1},
                                                      {VISORA_OP_EXT_ADSP, -1},
                                                      {VISORA_OP_EXT_CDSP, -1},
                                                      {VISORA_OP_EXT_MDSP, -1},
                                                      {VISORA_OP_EXT_DSP_PINNED, 2},
                                                      {VISORA_OP_EXT_GPU, 2},
                                                      {VISORA_OP_EXT_KDSP, 2}};
    for (const auto& [mode, session] : modes)
    {
        inChild(
            [&, wanted = mode, expected = session]
            {
                describeProcessor(kPhone);
                DspDouble dsp;
                const uint32_t report = vsrAvailableHardware(wanted);
                EXPECT_EQ(expected >= 0 ? 0x198eu : 0x1986u, report) << std::hex << wanted;
                EXPECT_EQ(expected, dsp.mode) << std::hex << wanted;
                EXPECT_EQ(expected >= 0 ? 1 : 0, KDSP_initflag) << std::hex << wanted;
            });
    }
    inChild(
        []
        {
            describeProcessor(kServer);
            DspDouble dsp;
            EXPECT_EQ(0x1186u, vsrAvailableHardware(VISORA_OP_LOW_POWER)) << "not a mobile platform";
            EXPECT_EQ(std::vector<std::string>{}, dsp.takeCalls());
            dsp.mode = 0;
            EXPECT_EQ(0x118eu, vsrAvailableHardware(VISORA_OP_LOW_POWER)) << "a session that somebody else opened";
            EXPECT_EQ(1, KDSP_initflag);
        });
}

TEST(DspBringUp, KeepsReplacesOrOpensTheSession)
{
    using Calls = std::vector<std::string>;
    inChild(
        []
        {
            DspDouble dsp;
            EXPECT_EQ(8u, vsrAvailableHWComponent(VISORA_OP_LOW_POWER));
            EXPECT_EQ((Calls{"init 0 1.7.1 1"}), dsp.takeCalls());
            EXPECT_EQ(8u, vsrAvailableHWComponent(VISORA_OP_LOW_POWER)) << "kept";
            EXPECT_EQ(Calls{}, dsp.takeCalls());
            EXPECT_EQ(8u, vsrAvailableHWComponent(VISORA_OP_PERFORMANCE)) << "another session mode";
            EXPECT_EQ((Calls{"deinit 1", "init 2 1.7.1 1"}), dsp.takeCalls());
            setDefaultDSPValue(2);
            EXPECT_EQ(8u, vsrAvailableHWComponent(VISORA_OP_PERFORMANCE)) << "another domain";
            EXPECT_EQ((Calls{"deinit 1", "init 2 1.7.1 2"}), dsp.takeCalls());
            EXPECT_EQ(2, defaultDSP);
            setDefaultDSPValue(0);
            EXPECT_EQ(8u, vsrAvailableHWComponent(VISORA_OP_CPU_OFFLOAD)) << "both";
            EXPECT_EQ((Calls{"deinit 2", "init 1 1.7.1 0"}), dsp.takeCalls());
            dsp.onOpen = [] { setDefaultDSPValue(1); };
            EXPECT_EQ(8u, vsrAvailableHWComponent(VISORA_OP_LOW_POWER)) << "opening may change the domain itself";
            EXPECT_EQ((Calls{"deinit 0", "init 0 1.7.1 0"}), dsp.takeCalls());
            EXPECT_EQ(8u, vsrAvailableHWComponent(VISORA_OP_LOW_POWER));
            EXPECT_EQ(Calls{}, dsp.takeCalls());
        });
    inChild(
        []
        {
            DspDouble dsp;
            dsp.refuses = true;
            EXPECT_EQ(0u, vsrAvailableHWComponent(VISORA_OP_LOW_POWER)) << "nothing to open";
            EXPECT_EQ((Calls{"init 0 1.7.1 1"}), dsp.takeCalls());
            EXPECT_EQ(0, KDSP_initflag);
        });
}

TEST(DspBringUp, TellsWhichDomainCouldNotBeEntered)
{
    const std::array<std::string, 4> texts = {
        "Failed to open channel on ADSP!! ADSP does not support Domains on this target ",
        "Failed to open channel on CDSP!! CDSP does not support Domains on this target ",
        "Failed to open channel on MDSP!! MDSP does not support Domains on this target ", "Unknown DSP type selected."};
    for (int domain = 0; domain < 4; ++domain)
    {
        inChild(
            [&]
            {
                DspDouble dsp;
                setDefaultDSPValue(domain == 0 ? 1 : 0);
                ASSERT_EQ(8u, vsrAvailableHWComponent(VISORA_OP_LOW_POWER));
                setDefaultDSPValue(domain);
                dsp.refuses = true;
                LogCapture log;
                EXPECT_EQ(0u, vsrAvailableHWComponent(VISORA_OP_LOW_POWER));
                const std::vector<LogLine> lines = log.take();
                ASSERT_EQ(1u, lines.size());
                EXPECT_EQ(6, lines[0].priority);
                EXPECT_EQ("visora_lib_log", lines[0].tag);
                const std::string& start = texts[static_cast<size_t>(domain)];
                ASSERT_EQ(start, lines[0].text.substr(0, start.size()));
                size_t digits = 0;
                EXPECT_GT(std::stoi(lines[0].text.substr(start.size()), &digits), 0);
                EXPECT_EQ(" src/platform/android/visoraHwAndroid", lines[0].text.substr(start.size() + digits));
            });
    }
}

TEST(DspBringUp, TellsItsTimeWhenTracing)
{
    inChild(
        []
        {
            DspDouble dsp;
            LogCapture log;
            vsrAvailableHWComponent(VISORA_OP_LOW_POWER);
            EXPECT_EQ(std::vector<LogLine>{}, log.take());
            libLogPrint = 1;
            vsrAvailableHWComponent(VISORA_OP_PERFORMANCE);
            const std::vector<LogLine> lines = log.take();
            ASSERT_EQ(1u, lines.size());
            EXPECT_EQ("visora_runtime_log", lines[0].tag);
            EXPECT_EQ(0u, lines[0].text.find(" K6 Initialization Time : ")) << lines[0].text;
            EXPECT_GE(std::stoll(lines[0].text.substr(26)), 0);
        });
}

}  // namespace
}  // namespace visora::test
