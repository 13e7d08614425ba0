// Slot fillers, index setters and mode tables on managers of all kinds.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <span>

#include "common/hardware_double.h"
#include "common/rows.h"
#include "support/log_capture.h"
#include "support/scripted_dsp.h"
#include "visora.h"

namespace visora::test
{
namespace
{

void poison() {}

constexpr VSR_IMPL kPoison = 77;

// Tables of its own, filled with what nobody writes.
struct Tables
{
    explicit Tables(uint32_t rows = VSR_ROW_COUNT, uint32_t internalRows = VSR_INTERNAL_ROW_COUNT)
        : manager{kinds, rows, &functions, internalKinds, internalRows, &internalFunctions, VSR_KIND_COUNT}
    {
        std::fill(std::begin(kinds), std::end(kinds), kPoison);
        std::fill(std::begin(internalKinds), std::end(internalKinds), kPoison);
        std::fill(std::begin(functions), std::end(functions), poison);
        std::fill(std::begin(internalFunctions), std::end(internalFunctions), poison);
    }

    static bool isUntouched(std::span<const VSR_IMPL> part)
    {
        return std::all_of(part.begin(), part.end(), [](VSR_IMPL kind) { return kind == kPoison; });
    }

    static bool isUntouched(std::span<const VSR_FUNC> part)
    {
        return std::all_of(part.begin(), part.end(), [](VSR_FUNC function) { return function == poison; });
    }

    /** Nothing at or above the counts was written. */
    void expectLimitsKept(const char* who) const
    {
        EXPECT_TRUE(isUntouched(std::span<const VSR_IMPL>(kinds).subspan(manager.rowCount))) << who;
        EXPECT_TRUE(isUntouched(std::span<const VSR_IMPL>(internalKinds).subspan(manager.internalRowCount))) << who;
        EXPECT_TRUE(isUntouched(std::span<const VSR_FUNC>(functions).subspan(size_t{manager.rowCount} * 7))) << who;
        const std::span<const VSR_FUNC> internal(internalFunctions);
        EXPECT_TRUE(isUntouched(internal.subspan(size_t{manager.internalRowCount} * 7))) << who;
    }

    VSR_IMPL kinds[VSR_ROW_COUNT];
    VSR_IMPL internalKinds[VSR_INTERNAL_ROW_COUNT];
    VSR_FUNC_TABLE functions;
    VSR_INTERNAL_FUNC_TABLE internalFunctions;
    VSR_FUNC_MANAGER manager;
};

using Filler = vsrStatus (*)(VSR_FUNC_MANAGER*, VSR_IMPL);

TEST(FunctionManager, ResultsTellWhatIsMissing)
{
    const Filler fillers[] = {uKTable, uKaTable, uKcTable, uKmTable, uKacmIndex};
    for (const Filler fill : fillers)
    {
        Tables tables;
        EXPECT_EQ(1u, fill(nullptr, 4));
        EXPECT_EQ(4u, fill(&tables.manager, 7));
        EXPECT_EQ(4u, fill(&tables.manager, 0xffffffff));
        tables.manager.internalFuncTable = nullptr;
        EXPECT_EQ(3u, fill(&tables.manager, 4));
        tables.manager.funcTable = nullptr;
        EXPECT_EQ(2u, fill(&tables.manager, 9)) << "tables are looked at before the kind";
        EXPECT_TRUE(Tables::isUntouched(tables.kinds));
        EXPECT_TRUE(Tables::isUntouched(tables.functions));
    }
    Tables tables;
    tables.manager.kindCount = 2;
    EXPECT_EQ(4u, uKIndex(&tables.manager)) << "no such kind";
    EXPECT_TRUE(Tables::isUntouched(tables.kinds));
    tables.manager.kindCount = 3;
    EXPECT_EQ(0u, uKIndex(&tables.manager));
    EXPECT_EQ(1u, uKIndex(nullptr));

    EXPECT_EQ(1u, uGTable(nullptr, 3));
    EXPECT_EQ(4u, uGTable(&tables.manager, 3));
    tables.manager.internalFuncTable = nullptr;
    EXPECT_EQ(0u, uGTable(&tables.manager, 2)) << "the internal table is not its affair";
    tables.manager.funcTable = nullptr;
    EXPECT_EQ(2u, uGTable(&tables.manager, 2));
    EXPECT_EQ(1u, uGIndex(nullptr));
    EXPECT_EQ(0u, uGIndex(&tables.manager));
}

CHILD_TEST(FunctionManager, CountsAreLimits)
{
    ScriptedDsp dsp;
    for (const auto& [rows, internalRows] :
         {std::pair<uint32_t, uint32_t>{200, 11}, {0, 0}, {1, 12}, {363, 3}, {505, 16}, {506, 10}})
    {
        Tables tables(rows, internalRows);
        const auto expectKept = [&](const char* who, vsrStatus result)
        {
            EXPECT_EQ(0u, result) << who;
            tables.expectLimitsKept(who);
        };
        for (const Filler fill : {uKacmIndex, uKTable, uKaTable, uKcTable, uKmTable, uGTable})
        {
            expectKept("filler", fill(&tables.manager, 6));
        }
        expectKept("uKIndex", uKIndex(&tables.manager));
        for (const auto table : {uHWLowPowerModeTable, uHWPerformanceModeTable, uKCpuOffloadModeTable})
        {
            expectKept("mode table", table(&tables.manager));
            EXPECT_EQ(internalRows > 10 ? 5u : kPoison, tables.internalKinds[10]);
            EXPECT_EQ(internalRows > 11 ? 5u : kPoison, tables.internalKinds[11]);
        }
        expectKept("master", vsrInitializeMasterFuncManager(&tables.manager));
        for (const auto fill : {uCTable, uVTable})
        {
            expectKept("column", (fill(4), 0));
            expectKept("no such kind", (fill(7), fill(0xffffffff), 0));
        }
    }
}

CHILD_TEST(FunctionManager, FillersWriteOneColumnOfRowsThatHaveAnOperation)
{
    const auto tables = std::make_unique<Tables>();
    ASSERT_EQ(0u, vsrInitializeMasterFuncManager(&tables->manager));
    uCTable(6);
    uVTable(2);
    for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
    {
        const bool built = ivsrOperationName(row) != nullptr;
        EXPECT_EQ(built ? vsrFuncTable[row * 7] : poison, tables->functions[row * 7 + 6]) << row;
        EXPECT_NE(built, tables->functions[row * 7 + 2] == poison) << "what a program put there stays in row " << row;
        EXPECT_EQ(poison, tables->functions[row * 7 + 4]) << row;
    }
    EXPECT_EQ(reinterpret_cast<VSR_FUNC>(vsrFilterMedian3x3u8V), tables->functions[216 * 7 + 2]);
}

CHILD_TEST(FunctionManager, FirstModeFillsTheLibrarysOwnTablesAndTakesThemOver)
{
    Tables own;
    ASSERT_EQ(0u, vsrInitializeMasterFuncManager(&own.manager));
    vsrFuncTable[7 * 362 + 1] = poison;  // a row without an operation is the program's
    ASSERT_EQ(VISORA_SUCCESS, vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE));
    EXPECT_EQ(reinterpret_cast<VSR_FUNC>(vsrFilterMedian3x3u8V), vsrFuncTable[216 * 7 + vsrImplTable[216]]);
    EXPECT_EQ(poison, vsrFuncTable[7 * 362 + 1]);
    uCTable(5);
    EXPECT_EQ(reinterpret_cast<VSR_FUNC>(vsrFilterMedian3x3u8C), vsrFuncTable[216 * 7 + 5]);
    EXPECT_TRUE(Tables::isUntouched(own.functions));
    EXPECT_TRUE(Tables::isUntouched(own.kinds));
}

CHILD_TEST(FunctionManager, MasterIsReplacedOnlyByAWholeOne)
{
    Tables good;
    EXPECT_EQ(0u, vsrInitializeMasterFuncManager(&good.manager));
    EXPECT_EQ(1u, vsrInitializeMasterFuncManager(nullptr));
    Tables tables;
    for (int hole = 0; hole < 4; ++hole)
    {
        VSR_FUNC_MANAGER bad = tables.manager;
        bad.implTable = hole == 0 ? nullptr : bad.implTable;
        bad.funcTable = hole == 1 ? nullptr : bad.funcTable;
        bad.internalImplTable = hole == 2 ? nullptr : bad.internalImplTable;
        bad.internalFuncTable = hole == 3 ? nullptr : bad.internalFuncTable;
        EXPECT_EQ(1u, vsrInitializeMasterFuncManager(&bad)) << hole;
    }
    uCTable(1);
    EXPECT_FALSE(Tables::isUntouched(good.functions));
    EXPECT_TRUE(Tables::isUntouched(tables.functions));
}

CHILD_TEST(FunctionManager, ModeTablesNeedAManagerADspAndItsKind)
{
    Tables tables;
    EXPECT_EQ(0u, uHWLowPowerModeTable(nullptr));
    EXPECT_EQ(1u, uHWPerformanceModeTable(nullptr));
    EXPECT_EQ(0u, uKCpuOffloadModeTable(nullptr));
    VSR_FUNC_MANAGER bad = tables.manager;
    bad.internalImplTable = nullptr;
    EXPECT_EQ(1u, uHWPerformanceModeTable(&bad));

    EXPECT_EQ(0u, uHWPerformanceModeTable(&tables.manager));
    EXPECT_TRUE(Tables::isUntouched(tables.kinds)) << "no DSP";

    ScriptedDsp dsp;
    ivsrFurtherHardware = 0x20;
    tables.manager.kindCount = 5;
    EXPECT_EQ(0u, uHWLowPowerModeTable(&tables.manager));
    EXPECT_TRUE(Tables::isUntouched(tables.kinds)) << "kind 5 is none of five";
    EXPECT_EQ(0u, uHWPerformanceModeTable(&tables.manager));
    for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
    {
        EXPECT_EQ(rowsOf(kGpuRows).contains(row) ? VSR_IMPL{VSR_IMPL_GPU} : kPoison, tables.kinds[row]) << row;
    }

    setVSR_IMPL_defaultDSP(0);
    EXPECT_EQ(0u, uHWPerformanceModeTable(&tables.manager));
    EXPECT_EQ(VSR_IMPL_GPU, tables.kinds[43]) << "on both lists";
    EXPECT_EQ(VSR_IMPL_ADSP, tables.kinds[18]);
}

CHILD_TEST(FunctionManager, DomainChoosesTheKindOfModeTables)
{
    ScriptedDsp dsp;
    vsrAvailableHWComponent(VISORA_OP_LOW_POWER);  // starting a session chooses too
    const std::pair<int32_t, VSR_IMPL> choices[] = {{0, 4}, {2, 6}, {1, 5}, {0, 4}, {3, 5}, {9, 5}, {-1, 5}, {4, 5}};
    for (const auto& [domain, kind] : choices)
    {
        Tables tables;
        setVSR_IMPL_defaultDSP(domain);
        uHWLowPowerModeTable(&tables.manager);
        EXPECT_EQ(kind, tables.kinds[1]) << domain;
    }
}

CHILD_TEST(FunctionManager, HardwareInitTellsWhatIsThere)
{
    EXPECT_EQ(1u, vsrTableHWInit(nullptr, &vsrInternalFuncTable, true, true));
    EXPECT_EQ(1u, vsrTableHWInit(&vsrFuncTable, nullptr, true, true));
    Tables tables;
    ASSERT_EQ(0u, vsrInitializeMasterFuncManager(&tables.manager));
    const LogLine dspLines[] = {
        debugLine("ADSP is available"), debugLine("CDSP is available"), debugLine("MDSP is available"),
        errorLine("defaultDSP flag is not set. Hence unable to set memory pointers for VISORA function")};
    LogCapture log;
    for (int32_t domain = 0; domain < 4; ++domain)
    {
        setDefaultDSPValue(domain);
        EXPECT_EQ(0u, vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, true, false));
        EXPECT_LOG(log, dspLines[domain]);
        EXPECT_EQ(0u, vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, false, true));
        EXPECT_LOG(log, debugLine("GPU is available"));
        EXPECT_EQ(0u, vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, false, false));
        EXPECT_LOG(log);
    }
    setDefaultDSPValue(2);
    tables.manager.kindCount = 3;
    EXPECT_EQ(8u, vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, true, true)) << "the sum of two fours";
}

}  // namespace
}  // namespace visora::test
