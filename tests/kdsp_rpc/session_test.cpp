// Sessions on the DSP: how they start, which state they leave, what they say; modes that bring a real session up.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>

#include "common/hardware_double.h"
#include "kdsp_rpc/domains.h"
#include "support/scripted_dsp.h"

namespace visora::test
{
namespace
{

constexpr char kPath[] = "src/kdsp_rpc/multi_domains/kcvak6rpc_clnt_abstractionLayer";
constexpr char kVersion[] = "1.7.1";

LogLine begin(uint64_t handle)
{
    return errorLine("Begin of vsrK6SessionInit_internal dsp_handle=" + textOf(handle) + " 22615 " + kPath);
}

LogLine attribute(int32_t value)
{
    return debugLine("In vsrK6SessionInit : attrib.value=" + textOf(value) + "  \n");
}

const LogLine kChecking = errorLine(std::string("Checking for vsrVersion  22622 ") + kPath);
const LogLine kStartFailed = errorLine("visoradsp_vsrK6SessionInit failed");
const LogLine kDisabled = errorLine("K6 initialized failed. K6 Visora functions are disabled.");
const LogLine kFit = {4, kLibTag, "FIT:(FeatureName=>KCVAK6, Initialized=>1)"};
const LogLine kDeinit = {4, kLibTag, "KCVAK6_deinit"};

// The lines of the session itself, not those of the domain's choice and of its channel.
Lines sessionLines(LogCapture& log)
{
    Lines lines = log.take();
    std::erase_if(lines,
                  [](const LogLine& line)
                  {
                      const auto contains = [&](const char* part) { return line.text.find(part) != std::string::npos; };
                      return contains("efaultDSP") || contains("domain_");
                  });
    return lines;
}

// ---- The start on the DSP's side ----

TEST(Session, StartsOnTheDomainOfItsProperty)
{
    inChildren(kDomains,
               [&](const Domain& domain)
               {
                   ScriptedDsp dsp;
                   LogCapture log;
                   const PropertyOverride property("vendor.runtime.visora.defaultDSP", textOf(domain.number));
                   setDefaultDSPValue((domain.number + 1) % 3);
                   EXPECT_EQ(0, vsrK6SessionInit(2, kVersion));
                   EXPECT_CALLS(dsp, "open " + uriOf(domain), "initK6_with_attributes 7 3=2 1", "vsrGetVersionK 7 10");
                   EXPECT_EQ((Lines{attribute(2), begin(7), kChecking}), sessionLines(log));
                   EXPECT_EQ(domain.number, defaultDSP);
                   EXPECT_EQ(VSR_IMPL_ADSP + static_cast<VSR_IMPL>(domain.number), defaultDspImplKind);
                   EXPECT_EQ(0, kcvak6State) << "the state is another's affair";
                   EXPECT_EQ(0, vsrK6SessionDeInit());
                   EXPECT_CALLS(dsp, "deinitK6 7", "close 7");
                   EXPECT_EQ(0, domain.count);
               });
}

CHILD_TEST(Session, HandsItsModeOverAsTheOneAttribute)
{
    struct Case
    {
        int32_t mode;
        const char* handedOver;
        int32_t value;  // logged: the last mode that there is
    };
    const Case cases[] = {{0, "3=0 1", 0}, {1, "3=1 1", 1}, {7, "null 0", 1}, {-1, "null 0", 1}, {2, "3=2 1", 2}};
    ScriptedDsp dsp;
    LogCapture log;
    for (const Case& c : cases)
    {
        EXPECT_EQ(0, vsrK6SessionInit(c.mode, kVersion));
        EXPECT_EQ(std::string("initK6_with_attributes 7 ") + c.handedOver, dsp.takeCalls().end()[-2]);
        EXPECT_EQ((Lines{attribute(c.value), begin(7), kChecking}), sessionLines(log));
        EXPECT_EQ(3, K6SessionAttribute.id);
    }
    EXPECT_EQ(5, cdspDomainHandle_count);
}

CHILD_TEST(Session, NeedsTheDspAndItsMajorVersion)
{
    struct Case
    {
        const char* version;
        const char* dspVersion;
        int32_t startAnswer;
        int32_t result;
        const char* unmatched = nullptr;  // the DSP's version, as it is told when it does not match
    };
    const Case cases[] = {
        {"4.1", "4.1", 0, 0},
        {"4.1", "4.0", 0, 0},
        {"4.1", "5.1", 0, -1, "5.1"},
        {"4.1", "41", 0, -1, "41"},
        {"4.1", "", 0, -1, ""},
        {"1.7.1", "1.234567890", 0, 0},
        {"2.0", "1.234567890", 0, -1, "1.23456789"},
        {nullptr, "4.1", 0, -1},
        {"4.1", "4.1", 13, -1},
        {"4.1", "4.1", 104, -1},
    };
    using Start = int32_t (*)(const vsrK6Attribute*, uint32_t, const char*);
    const Start starts[] = {vsrK6SessionInit_internal_adsp, vsrK6SessionInit_internal_cdsp,
                            vsrK6SessionInit_internal_mdsp};
    ScriptedDsp dsp;
    LogCapture log;
    for (const Case& c : cases)
    {
        Lines lines = {begin(42)};
        if (c.startAnswer != 0)
        {
            lines.push_back(kStartFailed);
        }
        else if (c.version)
        {
            lines.push_back(kChecking);
        }
        if (c.unmatched)
        {
            lines.push_back(errorLine(std::string("Unmatch CPU and K6 major version. CPU version is ") + c.version +
                                      ", K6 version is " + c.unmatched + "  22631 " + kPath));
        }
        dsp.version = c.dspVersion;
        dsp.answer("initK6_with_attributes", {c.startAnswer});
        const vsrK6Attribute attributes[] = {{3, 1}, {8, 9}};
        EXPECT_EQ(c.result, vsrK6SessionInit_internal(42, attributes, 2, c.version));
        EXPECT_EQ("initK6_with_attributes 42 3=18=9 2", dsp.takeCalls().front());
        EXPECT_EQ(lines, log.take());
        for (const Domain& domain : kDomains)
        {
            domain.handle = 42;
            EXPECT_EQ(c.result, starts[domain.number](nullptr, 0, c.version));
            EXPECT_EQ("initK6_with_attributes 42 null 0", dsp.takeCalls().front());
            EXPECT_EQ(lines, log.take());
            domain.handle = 0;
        }
    }
}

CHILD_TEST(Session, NeedsADomain)
{
    ScriptedDsp dsp;
    setDefaultDSPValue(5);
    LogCapture log;
    EXPECT_EQ(6, vsrK6SessionInit(1, kVersion));
    EXPECT_EQ(0, vsrK6SessionDeInit());
    const Lines lines = log.take();
    EXPECT_EQ((Lines{noDomain("domain_channel_open"), attribute(1), noDomain("vsrK6SessionInit"),
                     noDomain("domain_channel_close")}),
              Lines(lines.end() - 4, lines.end()));
    EXPECT_CALLS(dsp);
    EXPECT_EQ(-1, KCVAK6_init(1, kVersion));
    EXPECT_EQ(2, kcvak6State);
}

CHILD_TEST(Session, TellsThatItsLockIsInUse)
{
    ScriptedDsp dsp;
    LogCapture log;
    ASSERT_EQ(0, KCVAK6_init(1, kVersion));
    pthread_mutex_lock(&k6SessionMutex);
    EXPECT_EQ(EBUSY, KCVAK6_deinit());
    EXPECT_EQ(0, kcvak6State);
    pthread_mutex_unlock(&k6SessionMutex);
    ASSERT_EQ(0, KCVAK6_init(1, kVersion));
    EXPECT_EQ(0, KCVAK6_deinit());
}

// ---- State machine ----

CHILD_TEST(SessionState, FollowsStartsAndEnds)
{
    enum Event
    {
        Init,
        Initialize,
        Deinit
    };
    struct Step
    {
        const char* what;
        Event event;
        int32_t mode;
        bool dspWorks;
        int32_t result;
        int32_t state;
        int32_t modeAfter;
        const char* lines;  // E: the end of a session, S: a start, F: one that fails
    };
    const Step steps[] = {
        {"nothing to end", Deinit, 0, true, 0, 0, -1, "E"},
        {"none to ready", Init, 1, true, 0, 1, 1, "S"},
        {"same mode", Init, 1, false, 0, 1, 1, ""},
        {"another mode", Init, 2, true, 0, 1, 2, "ES"},
        {"another mode fails", Init, 1, false, -1, 2, -1, "EF"},
        {"no second try", Init, 1, true, -1, 2, -1, ""},
        {"no second try in another mode", Init, 0, true, -1, 2, -1, ""},
        {"failed is ended", Deinit, 0, true, 0, 0, -1, "E"},
        {"ended is started", Init, 0, true, 0, 1, 0, "S"},
        {"ready is ended", Deinit, 0, true, 0, 0, -1, "E"},
        {"none to failed", Init, 1, false, -1, 2, -1, "F"},
        {"initialise tries again", Initialize, 1, false, -1, 2, -1, "F"},
        {"failed to ready", Initialize, 2, true, 0, 1, 2, "S"},
        {"ready to ready", Initialize, 0, true, 0, 1, 0, "S"},
        {"ready to failed", Initialize, 1, false, -1, 2, -1, "F"},
        {"and ended", Deinit, 0, true, 0, 0, -1, "E"},
    };
    EXPECT_EQ(0, kcvak6State);
    EXPECT_EQ(-1, kcvak6CurrentMode);
    ScriptedDsp dsp;
    LogCapture log;
    for (const Step& step : steps)
    {
        const LogLine enabled =
            debugLine("K6 initialized successfully. K6 Visora functions mode " + textOf(step.mode) + " are enabled.");
        const std::map<char, Lines> meanings = {{'E', {kDeinit}},
                                                {'S', {attribute(step.mode), begin(7), kChecking, enabled, kFit}},
                                                {'F', {attribute(step.mode), begin(7), kStartFailed, kDisabled}}};
        Lines lines;
        long starts = 0;
        for (const char letter : std::string(step.lines))
        {
            lines.insert(lines.end(), meanings.at(letter).begin(), meanings.at(letter).end());
            starts += letter != 'E';
        }
        dsp.answer("initK6_with_attributes", {step.dspWorks ? 0 : 1});
        dsp.nextHandle = 7;
        char version[] = "1.7.1";
        const int32_t result = step.event == Init         ? KCVAK6_init(step.mode, version)
                               : step.event == Initialize ? vsrK6Initialize(step.mode, version)
                                                          : KCVAK6_deinit();
        EXPECT_EQ(step.result, result) << step.what;
        EXPECT_EQ(step.state, kcvak6State) << step.what;
        EXPECT_EQ(step.modeAfter, kcvak6CurrentMode) << step.what;
        EXPECT_EQ(step.state == 1, KCVAK6_is_ready()) << step.what;
        EXPECT_EQ(step.modeAfter, KCVAK6_get_current_mode()) << step.what;
        EXPECT_EQ(lines, sessionLines(log)) << step.what;
        const Calls calls = dsp.takeCalls();
        EXPECT_EQ(starts, std::count_if(calls.begin(), calls.end(),
                                        [](const std::string& call) { return call.starts_with("initK6"); }))
            << step.what;
    }
}

CHILD_TEST(SessionState, ReadsTheTraceSwitchAtEveryInit)
{
    ScriptedDsp dsp;
    LogCapture log;
    for (const char* text : {"1", "0", "-3", "", "7x", "x"})
    {
        const PropertyOverride property("runtime.visora.log", text);
        KCVAK6_init(0, kVersion);
        EXPECT_EQ(std::strtol(text, nullptr, 10) != 0, libLogPrint) << text;
    }
}

// ---- With the modes ----

TEST(Modes, BringASessionUpAndCleanUpEndsIt)
{
    constexpr uint32_t kRegisterRow = 11;
    constexpr uint32_t kRotateRow = 500;  // in every list but the performance one's
    const std::pair<vsrOperationMode, const char*> modes[] = {{VISORA_OP_LOW_POWER, "3=0"},
                                                              {VISORA_OP_PERFORMANCE, "3=2"},
                                                              {VISORA_OP_CPU_OFFLOAD, "3=1"},
                                                              {VISORA_OP_EXT_KDSP, "3=2"}};
    for (const auto& listed : modes)
    {
        inChildren(kDomains,
                   [&](const Domain& domain)
                   {
                       ScriptedDsp dsp;
                       LogCapture log;
                       setDefaultDSPValue(domain.number);
                       EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(listed.first));
                       EXPECT_TRUE(KCVAK6_is_ready());
                       EXPECT_EQ(1, KDSP_initflag);
                       EXPECT_EQ(std::string("initK6_with_attributes 7 ") + listed.second + " 1", dsp.takeCalls()[1]);
                       const VSR_IMPL kind = VSR_IMPL_ADSP + static_cast<VSR_IMPL>(domain.number);
                       EXPECT_EQ(kind, vsrInternalImplTable[kRegisterRow]);
                       EXPECT_EQ(listed.first == VISORA_OP_PERFORMANCE ? VSR_IMPL{VSR_IMPL_VECTA} : kind,
                                 vsrImplTable[kRotateRow]);
                       EXPECT_EQ(vsrSharedMemAllocK, vsrSharedMemAlloc_);

                       char byte;
                       EXPECT_EQ(0u, vsrRegisterBuf(&byte, 1, 5));
                       EXPECT_CALLS(dsp, "registerbuf " + textOf(static_cast<void*>(&byte)) + " 1 5");

                       EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE));
                       EXPECT_EQ(kind, vsrInternalImplTable[kRegisterRow]) << "kept from mode to mode";
                       EXPECT_EQ(VSR_IMPL_VECTA, vsrImplTable[kRotateRow]);
                       EXPECT_CALLS(dsp) << "the session stays";

                       EXPECT_EQ(0, vsrCleanUp());
                       EXPECT_CALLS(dsp, "deinitK6 7", "close 7");
                       EXPECT_FALSE(KCVAK6_is_ready());
                       EXPECT_EQ(nullptr, vsrSharedMemAlloc_);
                   });
    }
}

// Whatever is chosen and started in between, the channel that is closed is the one that was opened.
TEST(Session, ClosesTheChannelThatItOpened)
{
    const std::map<char, std::function<void()>> events = {
        {'0', [] { vsrSetDefaultDspEXT(0); }},
        {'1', [] { vsrSetDefaultDspEXT(1); }},
        {'2', [] { vsrSetDefaultDspEXT(2); }},
        {'L', [] { vsrSetOperationMode(VISORA_OP_LOW_POWER); }},
        {'P', [] { vsrSetOperationMode(VISORA_OP_PERFORMANCE); }},
        {'S', [] { vsrSelectKDSP6Mode(2); }},
        {'I', [] { vsrK6Initialize(0, std::string("1.7.1").data()); }},
        {'D', [] { KCVAK6_deinit(); }},
        {'C', [] { vsrCleanUp(); }},
    };
    const std::string sequences[] = {"L2C", "L2LC", "L0P2C", "S0S2D", "S0DS2LC", "1I2IC", "L2DC1L", "P0DS1LC2L"};
    inChildren(sequences,
               [&](const std::string& sequence)
               {
                   ScriptedDsp dsp;
                   LogCapture log;
                   int32_t chosen = 1;
                   for (const char event : sequence + "C")
                   {
                       events.at(event)();
                       chosen = event >= '0' && event <= '2' ? event - '0' : chosen;
                       EXPECT_EQ(chosen, defaultDSP);
                       int32_t open = 0;
                       for (const Domain& domain : kDomains)
                       {
                           EXPECT_EQ(domain.handle != 0, domain.count == 1) << sequence << event << domain.name;
                           EXPECT_TRUE(domain.count == 0 || domain.count == 1) << sequence << event << domain.count;
                           open += domain.count;
                       }
                       EXPECT_EQ(kcvak6State == 0 ? 0 : 1, open) << sequence << event;
                   }
                   const Calls calls = dsp.takeCalls();
                   const auto count = [&](const char* start) {
                       return std::count_if(calls.begin(), calls.end(),
                                            [&](const std::string& call) { return call.starts_with(start); });
                   };
                   EXPECT_LT(0, count("open"));
                   EXPECT_EQ(count("open"), count("close")) << sequence;
               });
}

// The stub library itself, in which every function fails.
CHILD_TEST(Modes, DoWithoutADsp)
{
    LogCapture log;
    for (const vsrOperationMode mode :
         {VISORA_OP_LOW_POWER, VISORA_OP_PERFORMANCE, VISORA_OP_CPU_OFFLOAD, VISORA_OP_EXT_KDSP})
    {
        EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(mode));
        EXPECT_EQ(2, kcvak6State);
        for (const VSR_IMPL kind : vsrImplTable)
        {
            ASSERT_LE(kind, VSR_IMPL_VECTA);
        }
        char byte;
        EXPECT_EQ(0u, vsrRegisterBuf(&byte, 1, 5)) << "the reference";
        EXPECT_EQ(0u, vsrK6GetClk());
    }
    EXPECT_EQ(0, vsrCleanUp());
    EXPECT_EQ(0, cdspDomainHandle_count);
}

}  // namespace
}  // namespace visora::test
