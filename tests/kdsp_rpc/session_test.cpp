// Sessions on the DSP: how they start, which state they leave, what they say; modes that bring a real session up.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "common/hardware_double.h"
#include "kdsp_rpc/domains.h"
#include "support/scripted_dsp.h"

namespace visora::test
{
namespace
{

using Calls = std::vector<std::string>;
using Lines = std::vector<LogLine>;

constexpr char kPath[] = "src/kdsp_rpc/multi_domains/kcvak6rpc_clnt_abstractionLayer";
constexpr char kVersion[] = "1.7.1";

LogLine begin(uint64_t handle)
{
    return {6, kLibTag, "Begin of vsrK6SessionInit_internal dsp_handle=" + textOf(handle) + " 22615 " + kPath};
}

const LogLine kChecking = {6, kLibTag, std::string("Checking for vsrVersion  22622 ") + kPath};
const LogLine kStartFailed = {6, kLibTag, "visoradsp_vsrK6SessionInit failed"};
const LogLine kDisabled = {6, kLibTag, "K6 initialized failed. K6 Visora functions are disabled."};
const LogLine kFit = {4, kLibTag, "FIT:(FeatureName=>KCVAK6, Initialized=>1)"};
const LogLine kDeinit = {4, kLibTag, "KCVAK6_deinit"};

LogLine enabled(int32_t mode)
{
    return {3, kLibTag, "K6 initialized successfully. K6 Visora functions mode " + textOf(mode) + " are enabled."};
}

LogLine attribute(int32_t value)
{
    return {3, kLibTag, "In vsrK6SessionInit : attrib.value=" + textOf(value) + "  \n"};
}

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
    for (const Domain& domain : kDomains)
    {
        inChild(
            [&]
            {
                ScriptedDsp dsp;
                LogCapture log;
                const PropertyOverride property("vendor.runtime.visora.defaultDSP", textOf(domain.number));
                setDefaultDSPValue((domain.number + 1) % 3);
                EXPECT_EQ(0, vsrK6SessionInit(2, kVersion));
                const Calls calls = dsp.takeCalls();
                ASSERT_EQ(3u, calls.size());
                EXPECT_TRUE(calls[0].ends_with(std::string("&_dom=") + domain.name));
                EXPECT_EQ("initK6_with_attributes 7 3=2 1", calls[1]);
                EXPECT_EQ("vsrGetVersionK 7 10", calls[2]);
                EXPECT_EQ((Lines{attribute(2), begin(7), kChecking}), sessionLines(log));
                EXPECT_EQ(domain.number, defaultDSP);
                EXPECT_EQ(VSR_IMPL_ADSP + static_cast<VSR_IMPL>(domain.number), defaultDspImplKind);
                EXPECT_EQ(0, kcvak6State) << "the state is another's affair";
                EXPECT_EQ(0, vsrK6SessionDeInit());
                EXPECT_EQ((Calls{"deinitK6 7", "close 7"}), dsp.takeCalls());
                EXPECT_EQ(0, domain.count);
            });
    }
}

TEST(Session, HandsItsModeOverAsTheOneAttribute)
{
    struct Case
    {
        int32_t mode;
        const char* handedOver;
        int32_t value;  // logged: the last mode that there is
    };
    const Case cases[] = {{0, "3=0 1", 0}, {1, "3=1 1", 1}, {7, "null 0", 1}, {-1, "null 0", 1}, {2, "3=2 1", 2}};
    inChild(
        [&]
        {
            ScriptedDsp dsp;
            for (const Case& c : cases)
            {
                LogCapture log;
                EXPECT_EQ(0, vsrK6SessionInit(c.mode, kVersion));
                EXPECT_EQ(std::string("initK6_with_attributes 7 ") + c.handedOver, dsp.takeCalls().end()[-2]);
                EXPECT_EQ((Lines{attribute(c.value), begin(7), kChecking}), sessionLines(log));
                EXPECT_EQ(3, K6SessionAttribute.id);
            }
            EXPECT_EQ(5, cdspDomainHandle_count);
        });
}

TEST(Session, NeedsTheDspAndItsMajorVersion)
{
    struct Case
    {
        const char* version;
        std::string dspVersion;
        int32_t startAnswer;
        int32_t result;
        Lines lines;
    };
    const auto unmatched = [](const std::string& cpu, const std::string& dsp)
    {
        return LogLine{
            6, kLibTag,
            "Unmatch CPU and K6 major version. CPU version is " + cpu + ", K6 version is " + dsp + "  22631 " + kPath};
    };
    const Case cases[] = {
        {"4.1", "4.1", 0, 0, {begin(42), kChecking}},
        {"4.1", "4.0", 0, 0, {begin(42), kChecking}},
        {"4.1", "5.1", 0, -1, {begin(42), kChecking, unmatched("4.1", "5.1")}},
        {"4.1", "41", 0, -1, {begin(42), kChecking, unmatched("4.1", "41")}},
        {"4.1", "", 0, -1, {begin(42), kChecking, unmatched("4.1", "")}},
        {"1.7.1", "1.234567890", 0, 0, {begin(42), kChecking}},
        {"2.0", "1.234567890", 0, -1, {begin(42), kChecking, unmatched("2.0", "1.23456789")}},
        {nullptr, "4.1", 0, -1, {begin(42)}},
        {"4.1", "4.1", 13, -1, {begin(42), kStartFailed}},
        {"4.1", "4.1", 104, -1, {begin(42), kStartFailed}},
    };
    using Start = int32_t (*)(const vsrK6Attribute*, uint32_t, const char*);
    const Start starts[] = {vsrK6SessionInit_internal_adsp, vsrK6SessionInit_internal_cdsp,
                            vsrK6SessionInit_internal_mdsp};
    inChild(
        [&]
        {
            ScriptedDsp dsp;
            LogCapture log;
            for (const Case& c : cases)
            {
                dsp.version = c.dspVersion;
                dsp.answer("initK6_with_attributes", {c.startAnswer});
                const vsrK6Attribute attributes[] = {{3, 1}, {8, 9}};
                EXPECT_EQ(c.result, vsrK6SessionInit_internal(42, attributes, 2, c.version));
                EXPECT_EQ("initK6_with_attributes 42 3=18=9 2", dsp.takeCalls().front());
                EXPECT_EQ(c.lines, log.take());
                for (const Domain& domain : kDomains)
                {
                    domain.handle = 42;
                    EXPECT_EQ(c.result, starts[domain.number](nullptr, 0, c.version));
                    EXPECT_EQ("initK6_with_attributes 42 null 0", dsp.takeCalls().front());
                    EXPECT_EQ(c.lines, log.take());
                    domain.handle = 0;
                }
            }
        });
}

TEST(Session, NeedsADomain)
{
    inChild(
        []
        {
            ScriptedDsp dsp;
            setDefaultDSPValue(5);
            LogCapture log;
            EXPECT_EQ(6, vsrK6SessionInit(1, kVersion));
            EXPECT_EQ(0, vsrK6SessionDeInit());
            const Lines lines = log.take();
            const Lines tail(lines.end() - 4, lines.end());
            EXPECT_EQ((Lines{noDomain("domain_channel_open"), attribute(1), noDomain("vsrK6SessionInit"),
                             noDomain("domain_channel_close")}),
                      tail);
            EXPECT_EQ(Calls{}, dsp.takeCalls());
            EXPECT_EQ(-1, KCVAK6_init(1, kVersion));
            EXPECT_EQ(2, kcvak6State);
        });
}

TEST(Session, TellsThatItsLockIsInUse)
{
    inChild(
        []
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
        });
}

// ---- State machine ----

TEST(SessionState, FollowsStartsAndEnds)
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
        size_t starts;
        Lines lines;
    };
    const Lines failed = {attribute(1), begin(7), kStartFailed, kDisabled};
    const auto started = [](int32_t mode) { return Lines{attribute(mode), begin(7), kChecking, enabled(mode), kFit}; };
    const auto after = [](const LogLine& first, Lines lines)
    {
        lines.insert(lines.begin(), first);
        return lines;
    };
    const Step steps[] = {
        {"nothing to end", Deinit, 0, true, 0, 0, -1, 0, {kDeinit}},
        {"none to ready", Init, 1, true, 0, 1, 1, 1, started(1)},
        {"same mode", Init, 1, false, 0, 1, 1, 0, {}},
        {"another mode", Init, 2, true, 0, 1, 2, 1, after(kDeinit, started(2))},
        {"another mode fails", Init, 1, false, -1, 2, -1, 1, after(kDeinit, failed)},
        {"no second try", Init, 1, true, -1, 2, -1, 0, {}},
        {"no second try in another mode", Init, 0, true, -1, 2, -1, 0, {}},
        {"failed is ended", Deinit, 0, true, 0, 0, -1, 0, {kDeinit}},
        {"ended is started", Init, 0, true, 0, 1, 0, 1, started(0)},
        {"ready is ended", Deinit, 0, true, 0, 0, -1, 0, {kDeinit}},
        {"none to failed", Init, 1, false, -1, 2, -1, 1, failed},
        {"initialise tries again", Initialize, 1, false, -1, 2, -1, 1, failed},
        {"failed to ready", Initialize, 2, true, 0, 1, 2, 1, started(2)},
        {"ready to ready", Initialize, 0, true, 0, 1, 0, 1, started(0)},
        {"ready to failed", Initialize, 1, false, -1, 2, -1, 1, failed},
        {"and ended", Deinit, 0, true, 0, 0, -1, 0, {kDeinit}},
    };
    inChild(
        [&]
        {
            EXPECT_EQ(0, kcvak6State);
            EXPECT_EQ(-1, kcvak6CurrentMode);
            ScriptedDsp dsp;
            for (const Step& step : steps)
            {
                dsp.answer("initK6_with_attributes", {step.dspWorks ? 0 : 1});
                dsp.nextHandle = 7;
                LogCapture log;
                char version[] = "1.7.1";
                const int32_t result = step.event == Init         ? KCVAK6_init(step.mode, version)
                                       : step.event == Initialize ? vsrK6Initialize(step.mode, version)
                                                                  : KCVAK6_deinit();
                EXPECT_EQ(step.result, result) << step.what;
                EXPECT_EQ(step.state, kcvak6State) << step.what;
                EXPECT_EQ(step.modeAfter, kcvak6CurrentMode) << step.what;
                EXPECT_EQ(step.state == 1, KCVAK6_is_ready()) << step.what;
                EXPECT_EQ(step.modeAfter, KCVAK6_get_current_mode()) << step.what;
                EXPECT_EQ(step.lines, sessionLines(log)) << step.what;
                const Calls calls = dsp.takeCalls();
                EXPECT_EQ(step.starts, static_cast<size_t>(std::count_if(calls.begin(), calls.end(),
                                                                         [](const std::string& call)
                                                                         { return call.starts_with("initK6"); })))
                    << step.what;
            }
        });
}

TEST(SessionState, ReadsTheTraceSwitchAtEveryInit)
{
    inChild(
        []
        {
            ScriptedDsp dsp;
            LogCapture log;
            for (const char* text : {"1", "0", "-3", "", "7x", "x"})
            {
                const PropertyOverride property("runtime.visora.log", text);
                KCVAK6_init(0, kVersion);
                EXPECT_EQ(std::strtol(text, nullptr, 10) != 0, libLogPrint) << text;
            }
        });
}

// ---- With the modes ----

TEST(Modes, BringASessionUpAndCleanUpEndsIt)
{
    struct Case
    {
        vsrOperationMode mode;
        const char* attribute;
    };
    const Case cases[] = {{VISORA_OP_LOW_POWER, "3=0"},
                          {VISORA_OP_PERFORMANCE, "3=2"},
                          {VISORA_OP_CPU_OFFLOAD, "3=1"},
                          {VISORA_OP_EXT_KDSP, "3=2"}};
    for (const Case& c : cases)
    {
        for (const Domain& domain : kDomains)
        {
            inChild(
                [&]
                {
                    describeProcessor(kPhone);
                    ScriptedDsp dsp;
                    LogCapture log;
                    setDefaultDSPValue(domain.number);
                    EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(c.mode));
                    EXPECT_TRUE(KCVAK6_is_ready());
                    EXPECT_EQ(1, KDSP_initflag);
                    EXPECT_EQ(std::string("initK6_with_attributes 7 ") + c.attribute + " 1", dsp.takeCalls()[1]);
                    const VSR_IMPL kind = VSR_IMPL_ADSP + static_cast<VSR_IMPL>(domain.number);
                    constexpr uint32_t kRegisterRow = 11;
                    constexpr uint32_t kRotateRow = 500;  // in every list but the performance one's
                    EXPECT_EQ(kind, vsrInternalImplTable[kRegisterRow]);
                    EXPECT_EQ(c.mode == VISORA_OP_PERFORMANCE ? VSR_IMPL{VSR_IMPL_VECTA} : kind,
                              vsrImplTable[kRotateRow]);
                    EXPECT_EQ(vsrSharedMemAllocK, vsrSharedMemAlloc_);

                    char byte;
                    EXPECT_EQ(0u, vsrRegisterBuf(&byte, 1, 5));
                    EXPECT_EQ(Calls{"registerbuf " + textOf(static_cast<void*>(&byte)) + " 1 5"}, dsp.takeCalls());

                    EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE));
                    EXPECT_EQ(kind, vsrInternalImplTable[kRegisterRow]) << "kept from mode to mode";
                    EXPECT_EQ(VSR_IMPL_VECTA, vsrImplTable[kRotateRow]);
                    EXPECT_EQ(Calls{}, dsp.takeCalls()) << "the session stays";

                    EXPECT_EQ(0, vsrCleanUp());
                    EXPECT_EQ((Calls{"deinitK6 7", "close 7"}), dsp.takeCalls());
                    EXPECT_FALSE(KCVAK6_is_ready());
                    EXPECT_EQ(nullptr, vsrSharedMemAlloc_);
                });
        }
    }
}

TEST(Modes, DoWithoutADsp)
{
    // The stub library itself, in which every function fails.
    inChild(
        []
        {
            describeProcessor(kPhone);
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
            const Lines lines = log.take();
            EXPECT_EQ(1, std::count(lines.begin(), lines.end(), kDisabled)) << "a failed start is not tried again";
            EXPECT_EQ(0, vsrCleanUp());
            EXPECT_EQ(0, cdspDomainHandle_count);
        });
}

}  // namespace
}  // namespace visora::test
