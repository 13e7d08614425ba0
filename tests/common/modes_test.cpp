// Operation modes: what serves each row, what is logged, what is refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>

#include "common/hardware_double.h"
#include "common/rows.h"
#include "support/log_capture.h"
#include "visora.h"

namespace visora::test
{
namespace
{

constexpr char kLibTag[] = "visora_lib_log";
constexpr uint32_t kRegisterBuf = 11;

using Kinds = std::vector<VSR_IMPL>;

Kinds kinds()
{
    return {std::begin(vsrImplTable), std::end(vsrImplTable)};
}

Kinds internalKinds()
{
    return {std::begin(vsrInternalImplTable), std::end(vsrInternalImplTable)};
}

// Kind 1 for what the vector unit serves, with other kinds for some rows.
Kinds vectorKindsBut(const std::set<uint32_t>& rows = {}, VSR_IMPL kind = 0)
{
    Kinds expected(VSR_ROW_COUNT, VSR_IMPL_CPU);
    for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
    {
        if (rows.contains(row))
        {
            expected[row] = kind;
        }
        else if (ivsrOperationName(row))
        {
            expected[row] = VSR_IMPL_VECTA;
        }
    }
    return expected;
}

Kinds vectorInternalKinds()
{
    Kinds expected(VSR_INTERNAL_ROW_COUNT, VSR_IMPL_CPU);
    for (uint32_t row = 0; row < VSR_INTERNAL_ROW_COUNT; ++row)
    {
        if (ivsrInternalOperationName(row) && row != kRegisterBuf)
        {
            expected[row] = VSR_IMPL_VECTA;
        }
    }
    return expected;
}

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
#define VSR_OPERATION(row, operation, variant, dsp, modes) \
    if ((dsp) == DSP)                                      \
    {                                                      \
        rows.insert(row);                                  \
    }
#define VSR_RESERVED(row, operation, dsp, modes) VSR_OPERATION(row, operation, , dsp, modes)
#include "common/operations/all.def"
    return rows;
}

TEST(Modes, GiveListedRowsToTheDsp)
{
    struct Case
    {
        vsrOperationMode mode;
        const char* rows;
        size_t count;
    };
    const Case cases[] = {{VISORA_OP_LOW_POWER, kLowPowerRows, 163},
                          {VISORA_OP_PERFORMANCE, kPerformanceRows, 34},
                          {VISORA_OP_CPU_OFFLOAD, kCpuOffloadRows, 205}};
    for (const Case& c : cases)
    {
        ASSERT_EQ(c.count, rowsOf(c.rows).size());
        for (int domain = 0; domain < 3; ++domain)
        {
            inChild(
                [&]
                {
                    describeProcessor(kPhone);
                    DspDouble dsp;
                    vsrSetDefaultDspEXT(domain);
                    const VSR_IMPL kind = VSR_IMPL_ADSP + static_cast<VSR_IMPL>(domain);
                    EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(c.mode));
                    EXPECT_EQ(vectorKindsBut(rowsOf(c.rows), kind), kinds());
                    EXPECT_EQ(kind, vsrInternalImplTable[10]);
                    EXPECT_EQ(kind, vsrInternalImplTable[kRegisterBuf]);
                    EXPECT_EQ(1, HW_constraint_checks_enable);
                });
        }
    }
}

TEST(Modes, PinEveryDspCapableRowInTheExtendedDspModes)
{
    const std::set<uint32_t> capable = dspCapableRows();
    for (const char* list : {kLowPowerRows, kPerformanceRows, kCpuOffloadRows})
    {
        const std::set<uint32_t> listed = rowsOf(list);
        EXPECT_TRUE(std::includes(capable.begin(), capable.end(), listed.begin(), listed.end()));
    }
    for (const vsrOperationMode mode : {VISORA_OP_EXT_DSP_PINNED, VISORA_OP_EXT_KDSP})
    {
        inChild(
            [&]
            {
                describeProcessor(kPhone);
                DspDouble dsp;
                EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(mode));
                EXPECT_EQ(vectorKindsBut(capable, VSR_IMPL_CDSP), kinds());
                EXPECT_EQ(0, HW_constraint_checks_enable);
                EXPECT_EQ(0, K6_constraint_checks_enable);
                EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE));
                EXPECT_EQ(1, HW_constraint_checks_enable) << "the next mode tests constraints again";
                EXPECT_EQ(1, K6_constraint_checks_enable);
            });
    }
}

TEST(Modes, UseTheVectorUnitAloneWithoutADsp)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            for (int round = 0; round < 2; ++round)
            {
                for (const vsrOperationMode mode : kAllModes)
                {
                    EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(mode));
                    EXPECT_EQ(mode == VISORA_OP_EXT_CDSP ? Kinds(VSR_ROW_COUNT) : vectorKindsBut(), kinds())
                        << std::hex << mode;
                    EXPECT_EQ(mode == VISORA_OP_EXT_CDSP ? Kinds(VSR_INTERNAL_ROW_COUNT) : vectorInternalKinds(),
                              internalKinds());
                    EXPECT_EQ(mode, mode_globalVar);
                    EXPECT_EQ(mode == VISORA_OP_EXT_CDSP ? vsrFilterMedian3x3u8C : vsrFilterMedian3x3u8V,
                              *ppvsrFilterMedian3x3u8);
                }
            }
            EXPECT_EQ(0, KDSP_initflag);
            EXPECT_EQ(vsrAvailableProcessors(), nVsrAvailableProc);
        });
}

TEST(Modes, UseTheReferenceWhereTheyMeanNothing)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            ASSERT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE));
            for (const vsrOperationMode mode : {4u, 1024u, 0x7fffffffu})
            {
                EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(mode));
                EXPECT_EQ(Kinds(VSR_ROW_COUNT), kinds());
                EXPECT_EQ(vsrFilterMedian3x3u8C, *ppvsrFilterMedian3x3u8);
            }
        });
    inChild(
        []
        {
            describeProcessor(kServer);
            for (const vsrOperationMode mode : {0u, 1u, 2u, 3u})
            {
                EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(mode)) << "not a mobile platform";
                EXPECT_EQ(Kinds(VSR_ROW_COUNT), kinds());
            }
            EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_EXT_GPU)) << "extended modes do not ask for one";
            EXPECT_EQ(vectorKindsBut(), kinds());
        });
    inChild(
        []
        {
            describeProcessor("Features : vfp\nCPU implementer : 0x41\nCPU architecture : 6\n");
            EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE)) << "no vector unit";
            EXPECT_EQ(Kinds(VSR_ROW_COUNT), kinds());
            EXPECT_EQ(reinterpret_cast<VSR_FUNC>(vsrFilterMedian3x3u8C),
                      vsrFuncTable[216 * VSR_KIND_COUNT + VSR_IMPL_VECTA]);
        });
}

TEST(Modes, GpuWinsOverTheDspInPerformanceMode)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            DspDouble dsp;
            const ReportAlso gpu(0x20);
            LogCapture log;
            EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_PERFORMANCE));
            EXPECT_EQ((std::vector<LogLine>{{3, kLibTag, "CDSP is available"}, {3, kLibTag, "GPU is available"}}),
                      log.take());
            Kinds expected = vectorKindsBut(rowsOf(kPerformanceRows), VSR_IMPL_CDSP);
            for (const uint32_t row : rowsOf(kGpuRows))
            {
                expected[row] = VSR_IMPL_GPU;
            }
            EXPECT_EQ(expected, kinds());
            EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_EXT_GPU));
            EXPECT_EQ(vectorKindsBut(), kinds());
        });
}

TEST(Modes, SpareThreeKindNumbers)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            vsrImplTable[362] = 5;
            vsrImplTable[363] = 6;
            vsrInternalImplTable[kRegisterBuf] = 4;
            vsrImplTable[364] = 6;
            vsrInternalImplTable[10] = 6;
            for (const vsrOperationMode mode : kAllModes)
            {
                EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(mode));
                EXPECT_EQ(5u, vsrImplTable[362]);
                EXPECT_EQ(6u, vsrImplTable[363]);
                EXPECT_EQ(4u, vsrInternalImplTable[kRegisterBuf]);
                EXPECT_LE(vsrImplTable[364], 1u);
                EXPECT_LE(vsrInternalImplTable[10], 1u);
            }
        });
}

TEST(Modes, FillColumnsOnceAndTheDspColumnAfresh)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            const auto slot = [](uint32_t row, VSR_IMPL kind) -> VSR_FUNC&
            { return vsrFuncTable[row * VSR_KIND_COUNT + kind]; };
            const auto reference = reinterpret_cast<VSR_FUNC>(vsrFilterMedian3x3u8C);
            const auto vector = reinterpret_cast<VSR_FUNC>(vsrFilterMedian3x3u8V);
            const auto own = reinterpret_cast<VSR_FUNC>(&uRNull);
            vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE);
            EXPECT_EQ(reference, slot(216, VSR_IMPL_CPU));
            for (const VSR_IMPL kind : {VSR_IMPL_VECTA, VSR_IMPL_KDSP, VSR_IMPL_GPU})
            {
                EXPECT_EQ(vector, slot(216, kind));
                EXPECT_EQ(nullptr, slot(362, kind));
            }
            // A program's own implementation outlives mode changes, except in the column of the DSP.
            slot(216, VSR_IMPL_VECTA) = own;
            slot(216, VSR_IMPL_KDSP) = own;
            vsrSetOperationMode(VISORA_OP_LOW_POWER);
            EXPECT_EQ(own, slot(216, VSR_IMPL_VECTA));
            EXPECT_EQ(vector, slot(216, VSR_IMPL_KDSP));
        });
}

TEST(Modes, RepeatedChangesEndWhereOneDoes)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            DspDouble dsp;
            vsrMemInit();
            std::vector<Kinds> once;
            for (const vsrOperationMode mode : kAllModes)
            {
                vsrSetOperationMode(mode);
                once.push_back(kinds());
            }
            const std::vector<VSR_FUNC> table(std::begin(vsrFuncTable), std::end(vsrFuncTable));
            for (int round = 0; round < 50; ++round)
            {
                for (size_t i = 0; i < std::size(kAllModes); ++i)
                {
                    const size_t at = (i * 7 + static_cast<size_t>(round)) % std::size(kAllModes);
                    vsrSetOperationMode(kAllModes[at]);
                    ASSERT_EQ(once[at], kinds()) << at;
                }
                if (round % 10 == 0)
                {
                    vsrCleanUp();
                }
            }
            EXPECT_TRUE(std::equal(table.begin(), table.end(), std::begin(vsrFuncTable)));
            vsrMemDeInit();
        });
}

TEST(Modes, StopTheProcessOnUnknownExtendedValues)
{
    std::vector<vsrOperationMode> unknown = {0, 3, 33, 48, 64, 128, 512, 1023, 1025, 2048, 0x7fffffff};
    for (vsrOperationMode value = 5; value < 32; ++value)
    {
        if (value != 8)
        {
            unknown.push_back(value);
        }
    }
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
                const std::vector<VSR_FUNC> table(std::begin(vsrFuncTable), std::end(vsrFuncTable));
                for (const vsrOperationMode mode : {VISORA_OP_CPU_PERFORMANCE, VISORA_OP_EXT_KDSP, 0x80000003u})
                {
                    EXPECT_EQ(VISORA_MODE_REFUSED, vsrSetOperationMode(mode));
                    EXPECT_EQ(VISORA_MODE_REFUSED, vsrSetOperationModeRemoteLib(mode));
                }
                EXPECT_EQ(1, vsrSetOperationModeExt(0));
                EXPECT_EQ(1, vsrSetOperationModeExt(1));
                EXPECT_EQ(Kinds(VSR_ROW_COUNT, 6), kinds());
                EXPECT_TRUE(std::equal(table.begin(), table.end(), std::begin(vsrFuncTable)));
            });
    }
}

TEST(Modes, AreAllTheCpuOnesOnAnOnlyCpuMachine)
{
    inChild(
        []
        {
            describeProcessor((std::string(kPhone) + "\nHardware : no").c_str());
            EXPECT_FALSE(vsr_check_only_cpu());
        });
    inChild(
        []
        {
            describeProcessor("Features : fp asimd\nCPU implementer : 0x51\nHardware : Board PLTA02\n");
            DspDouble dsp;
            LogCapture log;
            for (const vsrOperationMode mode : {VISORA_OP_LOW_POWER, VISORA_OP_EXT_KDSP, 0x80000003u})
            {
                EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(mode));
                EXPECT_EQ(VISORA_OP_CPU_PERFORMANCE, mode_globalVar);
                EXPECT_EQ((std::vector<LogLine>{{6, kLibTag,
                                                 "DSP and GPU not present. Setting VISORA mode to "
                                                 "VISORA_OP_CPU_PERFORMANCE.\n"}}),
                          log.take());
                EXPECT_EQ(vectorKindsBut(), kinds());
            }
            EXPECT_EQ(std::vector<std::string>{}, dsp.takeCalls());
            EXPECT_EQ(0, vsrSetOperationModeExt(0));
            log.take();
        });
}

TEST(Modes, ReadTheTraceSwitchAfresh)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
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
            EXPECT_EQ(std::vector<LogLine>{trace("vsrBitwiseNotu8", "VECTA")}, log.take());
            vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE);
            EXPECT_EQ(0, libLogPrint) << "unset";
        });
}

TEST(ModesExt, AreTwoAndTheOthersFail)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            EXPECT_EQ(0, vsrSetOperationModeExt(0));
            EXPECT_EQ(VISORA_OP_EXT_KDSP, mode_globalVar);
            EXPECT_EQ(0, vsrSetOperationModeExt(1));
            EXPECT_EQ(VISORA_OP_EXT_GPU, mode_globalVar);
            for (const int32_t choice : {2, -1, 1024})
            {
                LogCapture log;
                EXPECT_EQ(1, vsrSetOperationModeExt(choice));
                EXPECT_EQ((std::vector<LogLine>{
                              {3, kLibTag,
                               "Failed in vsrSetOperationModeExt. Please select appropriate option for mode to "
                               "vsrSetOperationModeExt based on the target of interest"},
                              {3, kLibTag,
                               "For mobile targets, vsrSetOperationModeExt supports only VISORA_OP_EXT_KDSP and "
                               "VISORA_OP_EXT_GPU options"},
                              {3, kLibTag,
                               "For non mobile targets(IOT or KRX), vsrSetOperationModeExt supports "
                               "VISORA_OP_EXT_KDSP, VISORA_OP_EXT_GPU, VISORA_OP_EXT_ADSP, VISORA_OP_EXT_CDSP and "
                               "VISORA_OP_EXT_MDSP  options"}}),
                          log.take());
                EXPECT_EQ(VISORA_OP_EXT_GPU, mode_globalVar);
            }
        });
}

TEST(ModesRemote, SetKindsAndLeaveTheOtherColumnsAlone)
{
    struct Case
    {
        vsrOperationMode mode;
        std::set<uint32_t> rows;
    };
    const Case cases[] = {{VISORA_OP_LOW_POWER, rowsOf(kLowPowerRows)},
                          {VISORA_OP_PERFORMANCE, rowsOf(kPerformanceRows)},
                          {VISORA_OP_CPU_OFFLOAD, rowsOf(kCpuOffloadRows)},
                          {VISORA_OP_CPU_PERFORMANCE, {}},
                          {VISORA_OP_EXT_DSP_PINNED, dspCapableRows()},
                          {VISORA_OP_EXT_KDSP, dspCapableRows()},
                          {VISORA_OP_EXT_GPU, {}},
                          {0x80000003u, {}}};
    for (const Case& c : cases)
    {
        inChild(
            [&]
            {
                describeProcessor(kPhone);
                DspDouble dsp;
                vsrSetDefaultDspEXT(0);
                dsp.mode = 0;
                vsrFilterMedian3x3u8R_ = vsrFilterMedian3x3u8C;
                const std::vector<VSR_FUNC> table(std::begin(vsrFuncTable), std::end(vsrFuncTable));
                LogCapture log;
                EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationModeRemoteLib(c.mode)) << std::hex << c.mode;
                EXPECT_EQ((std::vector<LogLine>{{3, kLibTag, "ADSP is available"}}), log.take());
                Kinds expected(VSR_ROW_COUNT);
                for (const uint32_t row : c.rows)
                {
                    expected[row] = VSR_IMPL_ADSP;
                }
                EXPECT_EQ(expected, kinds()) << std::hex << c.mode;
                const bool pins = c.mode == VISORA_OP_EXT_DSP_PINNED || c.mode == VISORA_OP_EXT_KDSP;
                EXPECT_EQ(pins ? 0 : 1, HW_constraint_checks_enable);
                EXPECT_EQ(pins ? 0 : 1, k6AbstractionConstraintFlag);
                EXPECT_NE(vsrFilterMedian3x3u8C, vsrFilterMedian3x3u8R_);
                for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
                {
                    for (VSR_IMPL kind = 0; kind < VSR_IMPL_ADSP; ++kind)
                    {
                        ASSERT_EQ(table[row * VSR_KIND_COUNT + kind], vsrFuncTable[row * VSR_KIND_COUNT + kind]);
                    }
                }
            });
    }
}

TEST(ModesRemote, WithoutADspSetNoKind)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            for (const vsrOperationMode mode : kAllModes)
            {
                EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationModeRemoteLib(mode));
                EXPECT_EQ(Kinds(VSR_ROW_COUNT), kinds());
                EXPECT_EQ(1, HW_constraint_checks_enable);
            }
        });
}

TEST(Modes, TellThatTheDomainIsUnknown)
{
    const LogLine noColumn = {6, kLibTag,
                              "defaultDSP flag is not set. Hence unable to set memory pointers for VISORA function"};
    const LogLine noRemoteColumn = {
        6, kLibTag, "defaultDSP flag is not set. Hence unable to set memory pointers for Visora functions"};
    inChild(
        [&]
        {
            describeProcessor(kPhone);
            DspDouble dsp;
            setDefaultDSPValue(9);
            LogCapture log;
            EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_EXT_KDSP));
            EXPECT_EQ(
                (std::vector<LogLine>{
                    noColumn, {6, kLibTag, "defaultDSP flag is not set. Hence failed to set index for K Tables"}}),
                log.take());
            EXPECT_EQ(vectorKindsBut(), kinds());

            EXPECT_EQ(VISORA_SUCCESS, vsrSetOperationModeRemoteLib(VISORA_OP_EXT_KDSP));
            EXPECT_EQ(
                (std::vector<LogLine>{
                    noRemoteColumn,
                    {6, kLibTag, "defaultDSP flag not set for the following function vsrUpdateK6ConstraintCheckFlagK."},
                    {6, kLibTag, "defaultDSP flag is not set. Hence unable to set index for Visora functions"}}),
                log.take());
            EXPECT_EQ(vectorKindsBut(), kinds());
        });
}

}  // namespace
}  // namespace visora::test
