// The processor's description, the hardware report and the bring-up of the DSP.
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <regex>

#include "common/hardware_double.h"
#include "support/log_capture.h"
#include "support/scripted_dsp.h"
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
    {"a machine's name without line feed", std::string(kPhone) + "\nHardware : no", 7, 0x51},
    {"neighbouring machine", std::string(kServer) + "Hardware\t: PLTA03\nModel : PLTA01\n", 7, 0x43},
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
    inChildren(kDescriptions,
               [&](const Description& description)
               {
                   describeProcessor(description.text.c_str());
                   expectDescription(description);
               });
}

CHILD_TEST(Processor, HasNoFeaturesWhenItsDescriptionIsMissing)
{
    describeProcessor(nullptr);
    expectDescription({"missing file", "", 0, 0});
}

CHILD_TEST(Processor, HasNoFeaturesWhenItsDescriptionCannotBeRead)
{
    ivsrProcessorDescriptionPath = "/";
    expectDescription({"a folder", "", 0, 0});
}

CHILD_TEST(Processor, IsLookedAtOnce)
{
    EXPECT_EQ(7u, ivsrProcessorFeatures());
    describeProcessor("Features : fp\nHardware : PLTA01\n");
    EXPECT_EQ(7u, ivsrProcessorFeatures());
    EXPECT_FALSE(vsr_check_only_cpu());
}

CHILD_TEST(ProcessorThreads, MayAllBeTheFirstToLook)
{
    std::atomic<int> right = 0;
    inThreads(8, [&](int) { right += ivsrProcessorFeatures() == 7 && !vsr_check_only_cpu(); });
    EXPECT_EQ(8, right);
}

TEST(HardwareReport, KnowsMobileChipsByTheirFamily)
{
    const std::map<bool, std::vector<std::string>> families = {
        {true, {"hst", "hst1234", "exynos", "kirin970", "mt6893"}}, {false, {"mt8173", "", "hs", "xhst"}}};
    for (const bool mobile : {true, false})
    {
        inChildren(families.at(mobile),
                   [&](const std::string& family)
                   {
                       describeProcessor(kServer);
                       const PropertyOverride property("ro.board.platform", family);
                       EXPECT_EQ(mobile, (vsrAvailableHardware(VISORA_OP_CPU_PERFORMANCE) & 0x800) != 0) << family;
                       EXPECT_EQ(mobile ? 0x51 : 0x43, ivsrProcessorImplementer()) << family;
                   });
    }
}

TEST(HardwareReport, BringsTheDspUpForTheModesThatWantIt)
{
    // By session mode, -1 for none.
    const std::map<int, std::vector<vsrOperationMode>> modesOf = {
        {-1, {VISORA_OP_CPU_PERFORMANCE, VISORA_OP_EXT_ADSP, VISORA_OP_EXT_CDSP, VISORA_OP_EXT_MDSP}},
        {0, {VISORA_OP_LOW_POWER}},
        {1, {VISORA_OP_CPU_OFFLOAD, 4, 0x7fffffff}},
        {2, {VISORA_OP_PERFORMANCE, VISORA_OP_EXT_DSP_PINNED, VISORA_OP_EXT_GPU, VISORA_OP_EXT_KDSP}}};
    for (const auto& entry : modesOf)
    {
        inChildren(entry.second,
                   [&](const vsrOperationMode mode)
                   {
                       ScriptedDsp dsp;
                       EXPECT_EQ(entry.first >= 0 ? 0x198eu : 0x1986u, vsrAvailableHardware(mode)) << std::hex << mode;
                       EXPECT_EQ(entry.first, KCVAK6_get_current_mode()) << std::hex << mode;
                       EXPECT_EQ(entry.first >= 0, KDSP_initflag) << std::hex << mode;
                   });
    }
}

CHILD_TEST(HardwareReport, TellsOfASessionThatSomebodyElseOpened)
{
    describeProcessor(kServer);
    ScriptedDsp dsp;
    EXPECT_EQ(0x1186u, vsrAvailableHardware(VISORA_OP_LOW_POWER)) << "not a mobile platform";
    EXPECT_CALLS(dsp);
    KCVAK6_init(0, "1.7.1");
    EXPECT_EQ(0x118eu, vsrAvailableHardware(VISORA_OP_LOW_POWER));
    EXPECT_EQ(1, KDSP_initflag);
}

// Which channels were closed and opened, and the session modes that were started.
Calls sessions(ScriptedDsp& dsp)
{
    Calls calls;
    for (const std::string& call : dsp.takeCalls())
    {
        if (call.starts_with("close"))
        {
            calls.push_back("close");
        }
        else if (call.starts_with("open"))
        {
            calls.push_back("open " + call.substr(call.size() - 4));
        }
        else if (call.starts_with("init"))
        {
            calls.push_back(call.substr(call.find("3="), 3));
        }
    }
    return calls;
}

CHILD_TEST(DspBringUp, KeepsReplacesOrOpensTheSession)
{
    struct Step
    {
        const char* what;
        int32_t domain;  // chosen before; -1 leaves it
        const char* property;
        vsrOperationMode mode;
        int32_t answer;  // of the session's start
        Calls calls;
        int32_t after;  // the domain in use
    };
    const Step steps[] = {
        {"down", -1, "", VISORA_OP_LOW_POWER, 1, {"open cdsp", "3=0"}, 1},
        {"still down", -1, "", VISORA_OP_LOW_POWER, 1, {"close", "open cdsp", "3=0"}, 1},
        {"opened, although a start has failed", -1, "", VISORA_OP_LOW_POWER, 0, {"close", "open cdsp", "3=0"}, 1},
        {"kept", -1, "", VISORA_OP_LOW_POWER, 0, {}, 1},
        {"another session mode", -1, "", VISORA_OP_PERFORMANCE, 0, {"close", "open cdsp", "3=2"}, 1},
        {"another domain", 2, "", VISORA_OP_PERFORMANCE, 0, {"close", "open mdsp", "3=2"}, 2},
        {"both", 0, "", VISORA_OP_CPU_OFFLOAD, 0, {"close", "open adsp", "3=1"}, 0},
        {"opening reads the domain itself", 2, "1", VISORA_OP_LOW_POWER, 0, {"close", "open cdsp", "3=0"}, 1},
        {"and the change is known", -1, "", VISORA_OP_LOW_POWER, 0, {}, 1},
    };
    ScriptedDsp dsp;
    for (const Step& step : steps)
    {
        const PropertyOverride property("vendor.runtime.visora.defaultDSP", step.property);
        dsp.answer("initK6_with_attributes", {step.answer});
        if (step.domain >= 0)
        {
            vsrSetDefaultDspEXT(step.domain);
        }
        EXPECT_EQ(step.answer == 0 ? 8u : 0u, vsrAvailableHWComponent(step.mode)) << step.what;
        EXPECT_EQ(step.calls, sessions(dsp)) << step.what;
        EXPECT_EQ(step.after, defaultDSP) << step.what;
        EXPECT_EQ(step.answer == 0, KDSP_initflag != 0) << step.what;
    }
}

// The one line; its text is the pattern's.
void expectLine(const Lines& lines, const std::string& tag, const std::string& pattern)
{
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(6, lines[0].priority);
    EXPECT_EQ(tag, lines[0].tag);
    EXPECT_TRUE(std::regex_match(lines[0].text, std::regex(pattern))) << lines[0].text;
}

TEST(DspBringUp, TellsWhichDomainCouldNotBeEntered)
{
    const std::string open = "Failed to open channel on ";
    const std::string unsupported = " does not support Domains on this target ";
    const std::pair<int32_t, std::string> refusals[] = {{0, open + "ADSP!! ADSP" + unsupported},
                                                        {1, open + "CDSP!! CDSP" + unsupported},
                                                        {2, open + "MDSP!! MDSP" + unsupported},
                                                        {3, "Unknown DSP type selected\\."}};
    inChildren(refusals,
               [](const auto& refusal)
               {
                   ScriptedDsp dsp;
                   setDefaultDSPValue(refusal.first == 0 ? 1 : 0);
                   ASSERT_EQ(8u, vsrAvailableHWComponent(VISORA_OP_LOW_POWER));
                   setDefaultDSPValue(refusal.first);
                   dsp.answer("initK6_with_attributes", {1});
                   LogCapture log;
                   EXPECT_EQ(0u, vsrAvailableHWComponent(VISORA_OP_LOW_POWER));
                   expectLine(log.takeWith("visoraHwAndroid"), kLibTag,
                              refusal.second + "[1-9][0-9]* src/platform/android/visoraHwAndroid");
               });
}

CHILD_TEST(DspBringUp, TellsItsTimeWhenTracing)
{
    ScriptedDsp dsp;
    LogCapture log;
    vsrAvailableHWComponent(VISORA_OP_LOW_POWER);
    EXPECT_EQ(Lines{}, log.takeWith("Time"));
    libLogPrint = 1;
    vsrAvailableHWComponent(VISORA_OP_LOW_POWER);
    expectLine(log.takeWith("Time"), "visora_runtime_log", " K6 Initialization Time : [0-9]+");
}

}  // namespace
}  // namespace visora::test
