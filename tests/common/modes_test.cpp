// Operation modes: what serves each row, what is logged, what is refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

#include "common/hardware_double.h"
#include "common/rows.h"
#include "support/log_capture.h"
#include "support/scripted_dsp.h"
#include "visora.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kProbe = 10;
constexpr uint32_t kRegisterBuf = 11;
constexpr uint32_t kMedianRow = 216;

using Kinds = std::vector<VSR_IMPL>;
using Functions = std::vector<VSR_FUNC>;

const Kinds kReferenceKinds(VSR_ROW_COUNT, VSR_IMPL_CPU);

Kinds kinds()
{
    return {std::begin(vsrImplTable), std::end(vsrImplTable)};
}

Functions functions()
{
    return {std::begin(vsrFuncTable), std::end(vsrFuncTable)};
}

VSR_FUNC& slot(uint32_t row, VSR_IMPL kind)
{
    return vsrFuncTable[row * VSR_KIND_COUNT + kind];
}

// A kind for some rows, another for the rest that has an operation.
Kinds kindsBut(const std::set<uint32_t>& rows, VSR_IMPL kind, VSR_IMPL rest = VSR_IMPL_VECTA)
{
    Kinds expected = kReferenceKinds;
    for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
    {
        expected[row] = rows.contains(row) ? kind : ivsrOperationName(row) ? rest : VSR_IMPL{VSR_IMPL_CPU};
    }
    return expected;
}

const Kinds kVectorKinds = kindsBut({}, VSR_IMPL_CPU);

constexpr vsrOperationMode kAllModes[] = {VISORA_OP_LOW_POWER,       VISORA_OP_PERFORMANCE,    VISORA_OP_CPU_OFFLOAD,
                                          VISORA_OP_CPU_PERFORMANCE, VISORA_OP_EXT_ADSP,       VISORA_OP_EXT_CDSP,
                                          VISORA_OP_EXT_MDSP,        VISORA_OP_EXT_DSP_PINNED, VISORA_OP_EXT_GPU,
                                          VISORA_OP_EXT_KDSP};

std::set<uint32_t> dspCapableRows()
{
    enum
    {
        NO_DSP,
        DSP
    };
    std::set<uint32_t> rows;
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) \
    if ((dsp) == DSP)                                             \
    {                                                             \
        rows.insert(row);                                         \
    }
#define VSR_RESERVED(row, operation, entry, dsp, modes) VSR_OPERATION(row, operation, entry, , dsp, modes)
#include "visora/operations/all.def"
    return rows;
}

// The rows that a mode gives to the DSP, and whether constraints are tested then.
struct Given
{
    vsrOperationMode mode;
    std::set<uint32_t> rows;
    int32_t checks;
};

const Given kGiven[] = {{VISORA_OP_LOW_POWER, rowsOf(kLowPowerRows), 1},
                        {VISORA_OP_PERFORMANCE, rowsOf(kPerformanceRows), 1},
                        {VISORA_OP_CPU_OFFLOAD, rowsOf(kCpuOffloadRows), 1},
                        {VISORA_OP_EXT_DSP_PINNED, dspCapableRows(), 0},
                        {VISORA_OP_EXT_KDSP, dspCapableRows(), 0},
                        {VISORA_OP_CPU_PERFORMANCE, {}, 1},
                        {VISORA_OP_EXT_GPU, {}, 1},
                        {0x80000003u, {}, 1}};  // by the remote entry alone

// Whether the remote pointers of these rows, and no others, lead to the DSP.
void expectRemotePointers(const std::set<uint32_t>& rows, bool pinned, vsrOperationMode mode)
{
    const auto expect = [&](const char* operation, bool expected, auto pointer, auto routine)
    { EXPECT_TRUE(pointer == (expected ? routine : nullptr)) << operation << " " << std::hex << mode; };
#define ROUTINE_NO_DSP(operation) static_cast<decltype(operation##_)>(nullptr)
#define ROUTINE_DSP(operation) operation##K
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) \
    expect(#operation, rows.contains(row), entry##R_, ROUTINE_##dsp(operation));
#define VSR_INTERNAL(row, operation, entry, variant, dsp)                                                  \
    expect(#operation, pinned || (!rows.empty() && ((row) == kProbe || (row) == kRegisterBuf)), entry##R_, \
           ROUTINE_##dsp(operation));
#include "visora/operations/all.def"
}

TEST(Modes, ListRowsThatTheDspIsCapableOf)
{
    const std::set<uint32_t>& capable = kGiven[3].rows;
    const size_t counts[] = {163, 34, 205};
    for (size_t i = 0; i < std::size(counts); ++i)
    {
        const std::set<uint32_t>& listed = kGiven[i].rows;
        EXPECT_EQ(counts[i], listed.size());
        EXPECT_TRUE(std::includes(capable.begin(), capable.end(), listed.begin(), listed.end()));
    }
}

// Sets the mode.
void expectKinds(const Kinds& expected, vsrOperationMode mode)
{
    EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(mode)) << std::hex << mode;
    EXPECT_EQ(expected, kinds()) << std::hex << mode;
}

void expectChecks(int32_t enabled, vsrOperationMode mode)
{
    EXPECT_EQ(enabled, HW_constraint_checks_enable) << std::hex << mode;
    EXPECT_EQ(enabled, K6_constraint_checks_enable) << std::hex << mode;
}

TEST(Modes, GiveTheirRowsToTheDsp)
{
    for (const Given& given : kGiven)
    {
        for (int domain = 0; domain < (given.rows.empty() ? 0 : 3); ++domain)
        {
            inChild(
                [&]
                {
                    ScriptedDsp dsp;
                    vsrSetDefaultDspEXT(domain);
                    const VSR_IMPL kind = VSR_IMPL_ADSP + static_cast<VSR_IMPL>(domain);
                    expectKinds(kindsBut(given.rows, kind), given.mode);
                    EXPECT_EQ(kind, vsrInternalImplTable[kProbe]);
                    EXPECT_EQ(kind, vsrInternalImplTable[kRegisterBuf]);
                    expectChecks(given.checks, given.mode);
                    expectRemotePointers(given.rows, given.checks == 0, given.mode);
                    EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE));
                    expectRemotePointers({}, false, VISORA_OP_CPU_PERFORMANCE);
                    expectChecks(1, VISORA_OP_CPU_PERFORMANCE);
                });
        }
    }
}

CHILD_TEST(Modes, UseTheVectorUnitAloneWithoutADsp)
{
    Kinds internal(VSR_INTERNAL_ROW_COUNT);
    for (uint32_t row = 0; row < VSR_INTERNAL_ROW_COUNT; ++row)
    {
        internal[row] = ivsrInternalOperationName(row) && row != kRegisterBuf ? VSR_IMPL_VECTA : VSR_IMPL_CPU;
    }
    for (int round = 0; round < 2; ++round)
    {
        for (const vsrOperationMode mode : kAllModes)
        {
            const bool reference = mode == VISORA_OP_EXT_CDSP;
            expectKinds(reference ? kReferenceKinds : kVectorKinds, mode);
            EXPECT_EQ(reference ? Kinds(VSR_INTERNAL_ROW_COUNT) : internal,
                      Kinds(std::begin(vsrInternalImplTable), std::end(vsrInternalImplTable)));
            EXPECT_EQ(mode, mode_globalVar);
            EXPECT_EQ(reference ? vsrFilterMedian3x3u8C : vsrFilterMedian3x3u8V, *ppvsrFilterMedian3x3u8);
        }
    }
    EXPECT_EQ(0, KDSP_initflag);
    EXPECT_EQ(vsrAvailableProcessors(), nVsrAvailableProc);
}

TEST(Modes, UseTheReferenceWhereTheyMeanNothing)
{
    const std::string plain = "Features : vfp\nCPU implementer : 0x41\nCPU architecture : 6\n";
    const std::pair<std::string, std::vector<vsrOperationMode>> machines[] = {
        {kPhone, {4, 1024, 0x7fffffff}},
        {kServer, {0, 1, 2, 3}},                // not a mobile platform
        {plain, {VISORA_OP_CPU_PERFORMANCE}}};  // no vector unit
    inChildren(machines,
               [&](const auto& machine)
               {
                   describeProcessor(machine.first.c_str());
                   expectKinds(machine.first == plain ? kReferenceKinds : kVectorKinds, VISORA_OP_EXT_GPU);
                   EXPECT_EQ(reinterpret_cast<VSR_FUNC>(machine.first == plain ? vsrFilterMedian3x3u8C
                                                                               : vsrFilterMedian3x3u8V),
                             slot(kMedianRow, VSR_IMPL_VECTA));
                   for (const vsrOperationMode mode : machine.second)
                   {
                       expectKinds(kReferenceKinds, mode);
                       EXPECT_EQ(vsrFilterMedian3x3u8C, *ppvsrFilterMedian3x3u8);
                   }
               });
}

CHILD_TEST(Modes, GpuWinsOverTheDspInPerformanceMode)
{
    ScriptedDsp dsp;
    ivsrFurtherHardware = 0x20;
    LogCapture log;
    Kinds expected = kindsBut(rowsOf(kPerformanceRows), VSR_IMPL_CDSP);
    for (const uint32_t row : rowsOf(kGpuRows))
    {
        expected[row] = VSR_IMPL_GPU;
    }
    expectKinds(expected, VISORA_OP_PERFORMANCE);
    EXPECT_EQ((Lines{debugLine("CDSP is available"), debugLine("GPU is available")}), log.takeWith("is available"));
    expectKinds(kVectorKinds, VISORA_OP_EXT_GPU);
}

CHILD_TEST(Modes, SpareThreeKindNumbers)
{
    vsrImplTable[362] = 5;
    vsrImplTable[363] = 6;
    vsrInternalImplTable[kRegisterBuf] = 4;
    vsrImplTable[364] = 6;
    vsrInternalImplTable[kProbe] = 6;
    for (const vsrOperationMode mode : kAllModes)
    {
        EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(mode));
        EXPECT_EQ(5u, vsrImplTable[362]);
        EXPECT_EQ(6u, vsrImplTable[363]);
        EXPECT_EQ(4u, vsrInternalImplTable[kRegisterBuf]);
        EXPECT_LE(vsrImplTable[364], 1u);
        EXPECT_LE(vsrInternalImplTable[kProbe], 1u);
    }
}

CHILD_TEST(Modes, FillColumnsOnceAndTheDspColumnAfresh)
{
    const auto vector = reinterpret_cast<VSR_FUNC>(vsrFilterMedian3x3u8V);
    const auto own = reinterpret_cast<VSR_FUNC>(&uRNull);
    vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE);
    EXPECT_EQ(reinterpret_cast<VSR_FUNC>(vsrFilterMedian3x3u8C), slot(kMedianRow, VSR_IMPL_CPU));
    for (const VSR_IMPL kind : {VSR_IMPL_VECTA, VSR_IMPL_KDSP, VSR_IMPL_GPU})
    {
        EXPECT_EQ(vector, slot(kMedianRow, kind));
        EXPECT_EQ(nullptr, slot(362, kind));
    }
    // A program's own implementation outlives mode changes, except in the column of the DSP.
    slot(kMedianRow, VSR_IMPL_VECTA) = slot(kMedianRow, VSR_IMPL_KDSP) = own;
    vsrSetOperationMode(VISORA_OP_LOW_POWER);
    EXPECT_EQ(own, slot(kMedianRow, VSR_IMPL_VECTA));
    EXPECT_EQ(vector, slot(kMedianRow, VSR_IMPL_KDSP));
}

CHILD_TEST(Modes, RepeatedChangesEndWhereOneDoes)
{
    ScriptedDsp dsp;
    vsrMemInit();
    std::vector<Kinds> once;
    for (const vsrOperationMode mode : kAllModes)
    {
        vsrSetOperationMode(mode);
        once.push_back(kinds());
    }
    const Functions table = functions();
    for (size_t change = 0; change < 500; ++change)
    {
        const size_t at = (change * 7 + change / 10) % std::size(kAllModes);
        vsrSetOperationMode(kAllModes[at]);
        ASSERT_EQ(once[at], kinds()) << at;
        if (change % 100 == 9)
        {
            vsrCleanUp();
        }
    }
    EXPECT_EQ(table, functions());
    vsrMemDeInit();
}

TEST(Modes, StopTheProcessOnUnknownExtendedValues)
{
    std::set<vsrOperationMode> unknown = {0, 3, 33, 48, 64, 128, 512, 1023, 1025, 2048, 0x7fffffff};
    for (vsrOperationMode value = 5; value < 32; ++value)
    {
        unknown.insert(value);
    }
    unknown.erase(8);
    for (const vsrOperationMode value : unknown)
    {
        EXPECT_EXIT(
            {
                describeProcessor(kPhone);
                vsrSetOperationMode(0x80000000u | value);
            },
            testing::KilledBySignal(SIGABRT),
            "src/common/visora:7196: int vsrSetOperationMode_internal\\(vsrOperationMode\\): Assertion '0' failed")
            << value;
    }
}

TEST(Modes, AreRefusedOnAMachineWithoutVectorOrFloatingPointUnit)
{
    for (const char* description : {static_cast<const char*>(nullptr), "CPU implementer : 0x41\nFeatures : half\n"})
    {
        inChild(
            [&]
            {
                describeProcessor(description);
                std::fill(std::begin(vsrImplTable), std::end(vsrImplTable), 6);
                const Functions table = functions();
                for (const vsrOperationMode mode : {VISORA_OP_CPU_PERFORMANCE, VISORA_OP_EXT_KDSP, 0x80000003u})
                {
                    EXPECT_EQ(VISORA_MODE_REFUSED, vsrSetOperationMode(mode));
                    EXPECT_EQ(VISORA_MODE_REFUSED, vsrSetOperationModeRemoteLib(mode));
                }
                EXPECT_EQ(1, vsrSetOperationModeExt(0));
                EXPECT_EQ(1, vsrSetOperationModeExt(1));
                EXPECT_EQ(Kinds(VSR_ROW_COUNT, 6), kinds());
                EXPECT_EQ(table, functions());
            });
    }
}

CHILD_TEST(Modes, AreAllTheCpuOnesOnAnOnlyCpuMachine)
{
    describeProcessor("Features : fp asimd\nCPU implementer : 0x51\nHardware : Board PLTA02\n");
    ScriptedDsp dsp;
    LogCapture log;
    for (const vsrOperationMode mode : {VISORA_OP_LOW_POWER, VISORA_OP_EXT_KDSP, 0x80000003u})
    {
        EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(mode));
        EXPECT_EQ(VISORA_OP_CPU_PERFORMANCE, mode_globalVar);
        EXPECT_LOG(log, errorLine("DSP and GPU not present. Setting VISORA mode to VISORA_OP_CPU_PERFORMANCE.\n"));
        EXPECT_EQ(kVectorKinds, kinds());
    }
    EXPECT_CALLS(dsp);
    EXPECT_EQ(0, vsrSetOperationModeExt(0));
}

CHILD_TEST(Modes, ReadTheTraceSwitchAfresh)
{
    const std::pair<const char*, int> values[] = {{"2", 1}, {"0", 0}, {"-1", 1}, {"", 0}, {"on", 0}, {"1", 1}};
    for (const auto& [text, expected] : values)
    {
        const PropertyOverride property("runtime.visora.log", text);
        vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE);
        EXPECT_EQ(expected, libLogPrint) << text;
    }
    const uint8_t pixel = 3;
    uint8_t result = 0;
    LogCapture log;
    EXPECT_EQ(VISORA_SUCCESS, vsrBitwiseNotu8(&pixel, 1, 1, 1, &result, 1));
    EXPECT_LOG(log, trace("vsrBitwiseNotu8", "VECTA"));
    vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE);
    EXPECT_EQ(0, libLogPrint) << "unset";
}

CHILD_TEST(ModesExt, AreTwoAndTheOthersFail)
{
    EXPECT_EQ(0, vsrSetOperationModeExt(0));
    EXPECT_EQ(VISORA_OP_EXT_KDSP, mode_globalVar);
    EXPECT_EQ(0, vsrSetOperationModeExt(1));
    EXPECT_EQ(VISORA_OP_EXT_GPU, mode_globalVar);
    LogCapture log;
    for (const int32_t choice : {2, -1, 1024})
    {
        EXPECT_EQ(1, vsrSetOperationModeExt(choice));
        EXPECT_LOG(log,
                   debugLine("Failed in vsrSetOperationModeExt. Please select appropriate option for mode to "
                             "vsrSetOperationModeExt based on the target of interest"),
                   debugLine("For mobile targets, vsrSetOperationModeExt supports only VISORA_OP_EXT_KDSP and "
                             "VISORA_OP_EXT_GPU options"),
                   debugLine("For non mobile targets(IOT or KRX), vsrSetOperationModeExt supports VISORA_OP_EXT_KDSP, "
                             "VISORA_OP_EXT_GPU, VISORA_OP_EXT_ADSP, VISORA_OP_EXT_CDSP and VISORA_OP_EXT_MDSP  "
                             "options"));
        EXPECT_EQ(VISORA_OP_EXT_GPU, mode_globalVar);
    }
}

TEST(ModesRemote, SetKindsAndLeaveTheOtherColumnsAlone)
{
    inChildren(kGiven,
               [&](const Given& given)
               {
                   ScriptedDsp dsp;
                   vsrSetDefaultDspEXT(0);
                   KCVAK6_init(0, "1.7.1");
                   vsrFilterMedian3x3u8_v2R_ = vsrFilterMedian3x3u8C;
                   const Functions table = functions();
                   LogCapture log;
                   EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationModeRemoteLib(given.mode)) << std::hex << given.mode;
                   EXPECT_EQ(Lines{debugLine("ADSP is available")}, log.takeWith("is available"));
                   EXPECT_EQ(given.mode, mode_globalVar);
                   EXPECT_EQ(kindsBut(given.rows, VSR_IMPL_ADSP, VSR_IMPL_CPU), kinds()) << std::hex << given.mode;
                   EXPECT_EQ(given.checks, HW_constraint_checks_enable);
                   EXPECT_EQ(given.checks, k6AbstractionConstraintFlag);
                   expectRemotePointers(given.rows, given.checks == 0, given.mode);
                   for (size_t at = 0; at < table.size(); ++at)
                   {
                       ASSERT_TRUE(at % VSR_KIND_COUNT >= VSR_IMPL_ADSP || table[at] == vsrFuncTable[at]) << at;
                   }
               });
}

CHILD_TEST(ModesRemote, WithoutADspSetNoKind)
{
    for (const vsrOperationMode mode : kAllModes)
    {
        EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationModeRemoteLib(mode));
        EXPECT_EQ(kReferenceKinds, kinds());
        EXPECT_EQ(1, HW_constraint_checks_enable);
    }
}

CHILD_TEST(Modes, TellThatTheDomainIsUnknown)
{
    const auto unset = [](const std::string& rest) { return errorLine("defaultDSP flag " + rest); };
    // A platform on which the modes leave the running session as it is.
    describeProcessor(kServer);
    ScriptedDsp dsp;
    KCVAK6_init(0, "1.7.1");
    setDefaultDSPValue(9);
    LogCapture log;
    EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_EXT_KDSP));
    EXPECT_LOG(log, unset("is not set. Hence unable to set memory pointers for VISORA function"),
               unset("is not set. Hence failed to set index for K Tables"));
    EXPECT_EQ(kVectorKinds, kinds());
    EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationModeRemoteLib(VISORA_OP_EXT_KDSP));
    EXPECT_LOG(log, unset("is not set. Hence unable to set memory pointers for Visora functions"),
               unset("not set for the following function vsrUpdateK6ConstraintCheckFlagK."),
               unset("is not set. Hence unable to set index for Visora functions"));
    EXPECT_EQ(kVectorKinds, kinds());
}

}  // namespace
}  // namespace visora::test
