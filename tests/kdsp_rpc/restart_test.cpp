// What happens when the DSP restarts under a call; the probes and flags of the DSP's side.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <tuple>

#include "common/hardware_double.h"
#include "kdsp_rpc/domains.h"
#include "support/scripted_dsp.h"

namespace visora::test
{
namespace
{

const LogLine kInitiated = debugLine("DSP SSR cleanup sequence initiated.");
const LogLine kUp = debugLine("K6 already up. Skipping reload.");
const LogLine kReload = debugLine("Trying to reload K6 stub.");
const LogLine kReloaded = debugLine("Stub reloaded successfully.");
const LogLine kReinitialize = debugLine("Trying to reinitialize DSP.");
const LogLine kBegin = errorLine(
    "Begin of vsrK6SessionInit_internal dsp_handle=42 22615 "
    "src/kdsp_rpc/multi_domains/kcvak6rpc_clnt_abstractionLayer");
const LogLine kStartFailed = errorLine("visoradsp_vsrK6SessionInit failed");

const LogLine kChannel = debugLine("channel");

// The lines of the sequence itself, with kChannel for the run of lines of a channel that is closed and opened.
Lines sequence(LogCapture& log)
{
    Lines lines = log.take();
    std::replace_if(
        lines.begin(), lines.end(), [](const LogLine& line) { return line.text.find("domain_") != std::string::npos; },
        kChannel);
    lines.erase(std::unique(lines.begin(), lines.end(),
                            [](const LogLine& first, const LogLine& second)
                            { return first == kChannel && second == kChannel; }),
                lines.end());
    return lines;
}

CHILD_TEST(Restart, OfADspThatAnswersNeedsNoReload)
{
    ScriptedDsp dsp;
    LogCapture log;
    for (const uint64_t handle : {42u, 0u})
    {
        EXPECT_EQ(0, adspSSRcleanUpSequence(handle));
        EXPECT_CALLS(dsp, "vsrK6GetClk " + textOf(handle) + " 0");
        EXPECT_LOG(log, kInitiated, kUp);
    }
}

TEST(Restart, OfADeadDspReloadsTheChannelAndTriesFifteenTimes)
{
    inChildren(kDomains,
               [&](const Domain& domain)
               {
                   setDefaultDSPValue(domain.number);
                   ScriptedDsp dsp;
                   domain_channel_open(0);
                   dsp.takeCalls();
                   dsp.answer("vsrK6GetClk", {104});
                   // Neither success nor failure ends the attempts.
                   dsp.answer("initK6_with_attributes", {1, 0, 0, 1, 104, 0});
                   LogCapture log;
                   EXPECT_EQ(-1, adspSSRcleanUpSequence(42));
                   Calls calls = {"vsrK6GetClk 42 0", "deinitK6 7", "close 7", "open " + uriOf(domain)};
                   Lines lines = {kInitiated, kReload, kChannel, kReloaded};
                   for (int attempt = 0; attempt < 15; ++attempt)
                   {
                       calls.insert(calls.end(), {"initK6_with_attributes 42 null 0", "sleep 1"});
                       lines.insert(lines.end(), {kReinitialize, kBegin});
                       if (attempt == 0 || attempt == 3 || attempt == 4)
                       {
                           lines.push_back(kStartFailed);
                       }
                   }
                   EXPECT_EQ(calls, dsp.takeCalls());
                   EXPECT_EQ(lines, sequence(log));
                   EXPECT_EQ(8u, domain.handle);
                   EXPECT_EQ(1, domain.count);

                   dsp.answer("vsrK6GetClk", {0});
                   EXPECT_EQ(0, adspSSRcleanUpSequence(42)) << "the lock is free again";
               });
}

CHILD_TEST(Restart, WithoutAHandleReopensTheChannelTenTimes)
{
    ScriptedDsp dsp;
    dsp.answer("vsrK6GetClk", {1});
    dsp.answer("open", {1});
    LogCapture log;
    domain_channel_open(0);
    dsp.takeCalls();
    log.take();
    EXPECT_EQ(-1, adspSSRcleanUpSequence(0));
    Calls calls = {"vsrK6GetClk 0 0"};
    for (int i = 0; i < 10; ++i)
    {
        calls.insert(calls.end(), {"deinitK6 0", "open " + uriOf(kDomains[1])});
    }
    EXPECT_EQ(calls, dsp.takeCalls()) << "no session is started, nobody waits";
    const Lines lines = log.take();
    EXPECT_EQ(10, std::count(lines.begin(), lines.end(), kReload));
    EXPECT_EQ(0, std::count(lines.begin(), lines.end(), kReloaded));
    EXPECT_EQ(kInitiated, lines.front());
    EXPECT_EQ(1, cdspDomainHandle_count);
}

CHILD_TEST(Restart, GivesUpWithoutItsLock)
{
    holdChecked(ssrMutex);
    ScriptedDsp dsp;
    LogCapture log;
    EXPECT_EQ(-1, adspSSRcleanUpSequence(42));
    EXPECT_CALLS(dsp);
    EXPECT_LOG(log, kInitiated);
}

CHILD_TEST(RestartThreads, CleanUpOneAfterAnother)
{
    constexpr int kThreads = 8;
    ScriptedDsp dsp;
    LogCapture log;
    domain_channel_open(0);
    dsp.takeCalls();
    dsp.answer("vsrK6GetClk", {104, 0});
    std::atomic<int> sleeps = 15;
    std::atomic<bool> together = false;
    dsp.onCall = [&](std::string_view function)
    {
        if (function == "deinitK6")
        {
            sleeps = 0;
        }
        sleeps += function == "sleep";
        together = together || (function == "vsrK6GetClk" && sleeps < 15);
        std::this_thread::yield();
    };
    std::atomic<int> retries = 0;
    inThreads(kThreads,
              [&](int)
              {
                  probeK6TimeK(1, 2);  // calls go on meanwhile, without the lock
                  retries += adspSSRcleanUpSequence(42) == 0;
              });
    EXPECT_EQ(kThreads - 1, retries) << "all but the first find the DSP alive";
    EXPECT_FALSE(together) << "asked while another thread reloads";
    EXPECT_EQ(15, sleeps);
}

// ---- Calls that are tried again ----

TEST(RestartedProbe, IsTriedAgainInTheModeOfTheCpu)
{
    struct Case
    {
        const char* what;
        std::deque<int32_t> answers;
        std::deque<int32_t> alive;  // answers to the question whether the DSP is
        long probes;
        long cleanUps;
    };
    const Case cases[] = {{"works", {0}, {0}, 1, 0},
                          {"fails", {7}, {0}, 1, 0},
                          {"restarted once", {104, 0}, {0}, 2, 1},
                          {"restarted, then fails", {104, 7}, {0}, 2, 1},
                          {"restarted twice", {104, 104, 0}, {0}, 3, 2},
                          {"back with the last try", {104, 104, 104, 104, 104, 0}, {0}, 6, 5},
                          {"restarts for ever", {104}, {0}, 6, 5},
                          {"dead", {104}, {1}, 1, 1},
                          {"dies between", {104}, {0, 0, 1}, 3, 3}};
    inChildren(cases,
               [&](const Case& c)
               {
                   constexpr uint32_t kRotateRow = 500;
                   ScriptedDsp dsp;
                   LogCapture log;
                   ASSERT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_LOW_POWER));
                   ASSERT_EQ(VSR_IMPL_CDSP, vsrImplTable[kRotateRow]);
                   dsp.takeCalls();
                   dsp.answer("probeK6Time", c.answers);
                   dsp.answer("vsrK6GetClk", c.alive);
                   int restarts = 0;
                   dsp.onCall = [&](std::string_view function)
                   {
                       restarts += function == "vsrK6GetClk";
                       EXPECT_EQ(restarts > 0 ? VSR_IMPL_VECTA : VSR_IMPL_CDSP, vsrImplTable[kRotateRow]) << c.what;
                       EXPECT_EQ(VISORA_OP_LOW_POWER, mode_globalVar);
                   };
                   EXPECT_EQ(dsp.time, probeK6TimeK(3, 4)) << c.what;
                   dsp.onCall = [](std::string_view) {};
                   const Calls calls = dsp.takeCalls();
                   EXPECT_EQ(c.probes, std::count(calls.begin(), calls.end(), "probeK6Time 7 3 4")) << c.what;
                   EXPECT_EQ(c.cleanUps, std::count(calls.begin(), calls.end(), "vsrK6GetClk 7 0")) << c.what;
                   EXPECT_EQ(VSR_IMPL_CDSP, vsrImplTable[kRotateRow]) << c.what;
                   EXPECT_EQ(VISORA_OP_LOW_POWER, mode_globalVar);
               });
}

// What the program can see of a mode, and what it may have put there itself.
auto state()
{
    return std::tuple(std::vector(std::begin(vsrImplTable), std::end(vsrImplTable)),
                      std::vector(std::begin(vsrInternalImplTable), std::end(vsrInternalImplTable)),
                      std::vector(std::begin(vsrFuncTable), std::end(vsrFuncTable)), mode_globalVar, libLogPrint,
                      HW_constraint_checks_enable, K6_constraint_checks_enable, k6AbstractionConstraintFlag,
                      vsrFilterMedian3x3u8_, vsrTableLookupu8_, vsrTableLookupu8R_, vsrRegisterBufR_,
                      vsrGetScratchBufferAligned_, vsrGetScratchBufferUnaligned_, vsrReleaseScratchBuffer_);
}

TEST(RestartedProbe, LeavesTheModeAndWhatTheProgramSetUpAsTheyWere)
{
    struct Case
    {
        vsrStatus (*setter)(vsrOperationMode);
        vsrOperationMode mode;
        bool changes;
    };
    const Case cases[] = {{vsrSetOperationMode, VISORA_OP_LOW_POWER, true},
                          {vsrSetOperationMode, VISORA_OP_EXT_KDSP, false},
                          {vsrSetOperationMode, VISORA_OP_EXT_KDSP, true},
                          {vsrSetOperationModeRemoteLib, VISORA_OP_EXT_KDSP, false},
                          {vsrSetOperationModeRemoteLib, VISORA_OP_LOW_POWER, false},
                          {vsrSetOperationModeRemoteLib, VISORA_OP_PERFORMANCE, true}};
    inChildren(cases,
               [](const Case& c)
               {
                   ScriptedDsp dsp;
                   LogCapture log;
                   ASSERT_EQ(VISORA_SUCCESS, c.setter(c.mode));
                   if (c.changes)
                   {
                       libLogPrint = 1;
                       HW_constraint_checks_enable = !HW_constraint_checks_enable;
                       k6AbstractionConstraintFlag = 5;
                       vsrFilterMedian3x3u8_ = vsrFilterMedian3x3u8K;
                       vsrGetScratchBufferUnaligned_ = [](size_t) -> void* { return nullptr; };
                       vsrReleaseScratchBuffer_ = [](void*) {};
                   }
                   const auto before = state();
                   dsp.answer("probeK6Time", {104, 104, 0});
                   int withdrawn = 0;
                   dsp.onCall = [&](std::string_view function) {
                       withdrawn += function == "vsrK6GetClk" && vsrImplTable[18] == VSR_IMPL_VECTA &&
                                    !vsrFilterGaussian5x5u8_v2R_;
                   };
                   probeK6TimeK(3, 4);
                   EXPECT_EQ(2, withdrawn);
                   EXPECT_EQ(before, state()) << std::hex << c.mode << " " << c.changes;
               });
}

// ---- Selectors, wrappers, and what they call ----

uint8_t block[6];
void* const b[6] = {block, block + 1, block + 2, block + 3, block + 4, block + 5};

// One operation in its forms, with what it calls ("#" stands for the handle) and returns.
struct Routine
{
    const char* name;
    std::function<uint64_t()> forms[4];  // K, Ka, Kc, Km
    std::string call;
    uint64_t result;
    uint64_t refused;  // result when the DSP's side answers 5
    uint64_t withoutDomain;
};

#define FORMS(operation, ...)                                                                                        \
#operation "K",                                                                                                  \
    {                                                                                                                \
        [] { return uint64_t{operation##K(__VA_ARGS__)}; }, [] { return uint64_t{operation##Ka(__VA_ARGS__)}; },     \
            [] { return uint64_t{operation##Kc(__VA_ARGS__)}; }, [] { return uint64_t{operation##Km(__VA_ARGS__)}; } \
    }

#define BUFFERS1 b[0], 11
#define BUFFERS2 BUFFERS1, b[1], 12
#define BUFFERS3 BUFFERS2, b[2], 13
#define BUFFERS4 BUFFERS3, b[3], 14
#define BUFFERS5 BUFFERS4, b[4], 15
#define BUFFERS6 BUFFERS5, b[5], 16
#define INVALIDATION(operation, buffers)                                        \
    {                                                                           \
        FORMS(operation, buffers), #operation "K # " + textOf(buffers), 0, 5, 6 \
    }

const Routine kRoutines[] = {
    {FORMS(vsrK6GetClk), "vsrK6GetClk # 0", 0x1234567890, 0x1234567890, 0},
    {FORMS(probeK6Time, 8, 9), "probeK6Time # 8 9", 0x9876543210, 0x9876543210, 0},
    {FORMS(vsrUpdateDSPMsgFlag, 2), "vsrUpdateDSPMsgFlagK # 2 1", 102, 1, 6},
    {FORMS(vsrUpdateK6ConstraintCheckFlag, 3), "", 0, 0, 6},
    {FORMS(vsrRegisterBuf, b[0], 8, -2), "registerbuf " + textOf(b[0], 8, -2), 0, 5, 6},
    {FORMS(vsr_cache_flush_invalidate, b[1], 9), "cache_flush_invalidateK # " + textOf(b[1], 9, b[1], 9), 0, 5, 6},
    INVALIDATION(vsrInvalidateOutputBuffer, BUFFERS1),
    INVALIDATION(vsrInvalidateOutputBuffer2, BUFFERS2),
    INVALIDATION(vsrInvalidateOutputBuffer3, BUFFERS3),
    INVALIDATION(vsrInvalidateOutputBuffer4, BUFFERS4),
    INVALIDATION(vsrInvalidateOutputBuffer5, BUFFERS5),
    INVALIDATION(vsrInvalidateOutputBuffer6, BUFFERS6),
};

CHILD_TEST(DspRoutines, CallTheDomainsChannelWithTheirArguments)
{
    ScriptedDsp dsp;
    for (const Domain& domain : kDomains)
    {
        domain.handle = 30 + static_cast<uint64_t>(domain.number);
    }
    for (const Routine& routine : kRoutines)
    {
        const std::string stub = routine.call.substr(0, routine.call.find(' '));
        for (const Domain& domain : kDomains)
        {
            std::string call = routine.call;
            if (const size_t at = call.find('#'); at != std::string::npos)
            {
                call.replace(at, 1, textOf(domain.handle));
            }
            const Calls expected = call.empty() ? Calls{} : Calls{call};
            LogCapture log;
            setDefaultDSPValue(domain.number);
            EXPECT_EQ(routine.result, routine.forms[0]()) << routine.name;
            EXPECT_EQ(expected, dsp.takeCalls());
            setDefaultDSPValue(9);
            const auto& wrapper = routine.forms[1 + domain.number];
            EXPECT_EQ(routine.result, wrapper()) << routine.name;
            EXPECT_EQ(expected, dsp.takeCalls());
            dsp.answer(stub, {5});
            EXPECT_EQ(routine.refused, wrapper()) << routine.name;
            EXPECT_EQ(expected, dsp.takeCalls()) << "forwarded once";
            dsp.answer(stub, {0});
            EXPECT_LOG(log);
        }
        LogCapture log;
        for (const int32_t domain : {3, 5, -1})
        {
            setDefaultDSPValue(domain);
            EXPECT_EQ(routine.withoutDomain, routine.forms[0]()) << routine.name;
            EXPECT_LOG(log, noDomain(routine.name));
        }
        EXPECT_CALLS(dsp);
    }
    EXPECT_EQ(3, k6AbstractionConstraintFlag);
    EXPECT_EQ(1, K6_constraint_checks_enable) << "another flag";
    vsrUpdateK6ConstraintCheckFlag(0);
    EXPECT_EQ(0, K6_constraint_checks_enable);
    EXPECT_EQ(3, k6AbstractionConstraintFlag);
}

CHILD_TEST(DspRoutines, StandInTheirRowsAndColumns)
{
    VSR_FUNC_MANAGER manager = {vsrImplTable,           VSR_ROW_COUNT,         &vsrFuncTable, vsrInternalImplTable,
                                VSR_INTERNAL_ROW_COUNT, &vsrInternalFuncTable, VSR_KIND_COUNT};
    const auto slot = [](uint32_t row, VSR_IMPL kind) { return vsrInternalFuncTable[row * VSR_KIND_COUNT + kind]; };
    const auto as = [](auto routine) { return reinterpret_cast<VSR_FUNC>(routine); };
    EXPECT_EQ(as(probeK6TimeC), slot(10, VSR_IMPL_CPU));
    EXPECT_EQ(as(vsrRegisterBufC), slot(11, VSR_IMPL_VECTA));
    EXPECT_EQ(nullptr, slot(11, VSR_IMPL_CDSP));
    EXPECT_EQ(0u, uKTable(&manager, VSR_IMPL_KDSP) + uKaTable(&manager, VSR_IMPL_ADSP) +
                      uKcTable(&manager, VSR_IMPL_CDSP) + uKmTable(&manager, VSR_IMPL_MDSP));
    const std::tuple<VSR_IMPL, VSR_FUNC, VSR_FUNC> columns[] = {
        {VSR_IMPL_KDSP, as(probeK6TimeK), as(vsrRegisterBufK)},
        {VSR_IMPL_ADSP, as(probeK6TimeKa), as(vsrRegisterBufKa)},
        {VSR_IMPL_CDSP, as(probeK6TimeKc), as(vsrRegisterBufKc)},
        {VSR_IMPL_MDSP, as(probeK6TimeKm), as(vsrRegisterBufKm)}};
    for (const auto& [kind, probe, registration] : columns)
    {
        EXPECT_EQ(probe, slot(10, kind)) << kind;
        EXPECT_EQ(registration, slot(11, kind)) << kind;
    }
    EXPECT_EQ(0u, probeK6TimeC(1, 2));

    manager.internalRowCount = 11;
    vsrInternalFuncTable[11 * VSR_KIND_COUNT + VSR_IMPL_ADSP] = nullptr;
    EXPECT_EQ(0u, uKaTable(&manager, VSR_IMPL_ADSP));
    EXPECT_EQ(nullptr, slot(11, VSR_IMPL_ADSP)) << "not described by the manager";
}

}  // namespace
}  // namespace visora::test
