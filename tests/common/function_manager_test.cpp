// Slot fillers, index setters and mode tables on managers of all kinds.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>

#include "common/hardware_double.h"
#include "common/rows.h"
#include "support/log_capture.h"
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
    Tables(uint32_t rows, uint32_t internalRows, uint32_t kindCount)
        : manager{kinds, rows, &functions, internalKinds, internalRows, &internalFunctions, kindCount}
    {
        std::fill(std::begin(kinds), std::end(kinds), kPoison);
        std::fill(std::begin(internalKinds), std::end(internalKinds), kPoison);
        std::fill(std::begin(functions), std::end(functions), poison);
        std::fill(std::begin(internalFunctions), std::end(internalFunctions), poison);
    }

    /** Nothing at or above the counts was written. */
    void expectLimitsKept(const std::string& who) const
    {
        const auto isPoison = [](VSR_IMPL kind) { return kind == kPoison; };
        EXPECT_TRUE(std::all_of(kinds + manager.rowCount, std::end(kinds), isPoison)) << who;
        EXPECT_TRUE(std::all_of(internalKinds + manager.internalRowCount, std::end(internalKinds), isPoison)) << who;
        const auto isPoisonSlot = [](VSR_FUNC function) { return function == poison; };
        EXPECT_TRUE(std::all_of(functions + size_t{manager.rowCount} * 7, std::end(functions), isPoisonSlot)) << who;
        EXPECT_TRUE(std::all_of(internalFunctions + size_t{manager.internalRowCount} * 7, std::end(internalFunctions),
                                isPoisonSlot))
            << who;
    }

    bool wasKindWritten() const
    {
        return std::any_of(std::begin(kinds), std::end(kinds), [](VSR_IMPL kind) { return kind != kPoison; });
    }

    bool wasSlotWritten() const
    {
        return std::any_of(std::begin(functions), std::end(functions),
                           [](VSR_FUNC function) { return function != poison; });
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
        Tables tables(506, 16, 7);
        EXPECT_EQ(1u, fill(nullptr, 4));
        EXPECT_EQ(4u, fill(&tables.manager, 7));
        EXPECT_EQ(4u, fill(&tables.manager, 0xffffffff));
        tables.manager.internalFuncTable = nullptr;
        EXPECT_EQ(3u, fill(&tables.manager, 4));
        tables.manager.funcTable = nullptr;
        EXPECT_EQ(2u, fill(&tables.manager, 9)) << "tables are looked at before the kind";
        EXPECT_FALSE(tables.wasKindWritten());
        EXPECT_FALSE(tables.wasSlotWritten());
    }
    Tables tables(506, 16, 2);
    EXPECT_EQ(4u, uKIndex(&tables.manager)) << "no such kind";
    EXPECT_FALSE(tables.wasKindWritten());
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

TEST(FunctionManager, CountsAreLimits)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            DspDouble dsp;
            for (const auto& [rows, internalRows] :
                 {std::pair<uint32_t, uint32_t>{200, 11}, {0, 0}, {1, 12}, {363, 3}, {505, 16}, {506, 10}})
            {
                Tables tables(rows, internalRows, 7);
                EXPECT_EQ(0u, uKacmIndex(&tables.manager, 6));
                tables.expectLimitsKept("uKacmIndex");
                EXPECT_EQ(0u, uKIndex(&tables.manager));
                tables.expectLimitsKept("uKIndex");
                for (const Filler fill : {uKTable, uKaTable, uKcTable, uKmTable, uGTable})
                {
                    EXPECT_EQ(0u, fill(&tables.manager, 6));
                    tables.expectLimitsKept("filler");
                }
                for (const auto table : {uHWLowPowerModeTable, uHWPerformanceModeTable, uKCpuOffloadModeTable})
                {
                    EXPECT_EQ(0u, table(&tables.manager));
                    tables.expectLimitsKept("mode table");
                    EXPECT_EQ(internalRows > 10 ? 5u : kPoison, tables.internalKinds[10]);
                    EXPECT_EQ(internalRows > 11 ? 5u : kPoison, tables.internalKinds[11]);
                }
                ASSERT_EQ(0u, vsrInitializeMasterFuncManager(&tables.manager));
                uCTable(4);
                uVTable(5);
                tables.expectLimitsKept("uCTable and uVTable");
                uCTable(7);
                uVTable(0xffffffff);
                tables.expectLimitsKept("no such kind");
            }
        });
}

TEST(FunctionManager, FillersWriteOneColumnOfRowsThatHaveAnOperation)
{
    inChild(
        []
        {
            const auto tables = std::make_unique<Tables>(506, 16, 7);
            ASSERT_EQ(0u, vsrInitializeMasterFuncManager(&tables->manager));
            uCTable(6);
            uVTable(2);
            for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
            {
                EXPECT_EQ(vsrFuncTable[row * 7], tables->functions[row * 7 + 6]) << row;
                EXPECT_EQ(ivsrOperationName(row) != nullptr, tables->functions[row * 7 + 2] != nullptr) << row;
                EXPECT_EQ(poison, tables->functions[row * 7 + 4]) << row;
            }
            EXPECT_EQ(reinterpret_cast<VSR_FUNC>(vsrFilterMedian3x3u8V), tables->functions[216 * 7 + 2]);
            EXPECT_EQ(nullptr, tables->functions[362 * 7 + 6]);
        });
}

TEST(FunctionManager, MasterIsReplacedOnlyByAWholeOne)
{
    inChild(
        []
        {
            Tables good(506, 16, 7);
            EXPECT_EQ(0u, vsrInitializeMasterFuncManager(&good.manager));
            EXPECT_EQ(1u, vsrInitializeMasterFuncManager(nullptr));
            Tables tables(506, 16, 7);
            const std::function<void(VSR_FUNC_MANAGER&)> holes[] = {
                [](VSR_FUNC_MANAGER& bad) { bad.implTable = nullptr; },
                [](VSR_FUNC_MANAGER& bad) { bad.funcTable = nullptr; },
                [](VSR_FUNC_MANAGER& bad) { bad.internalImplTable = nullptr; },
                [](VSR_FUNC_MANAGER& bad) { bad.internalFuncTable = nullptr; }};
            for (const auto& makeHole : holes)
            {
                VSR_FUNC_MANAGER bad = tables.manager;
                makeHole(bad);
                EXPECT_EQ(1u, vsrInitializeMasterFuncManager(&bad));
            }
            uCTable(1);
            EXPECT_TRUE(good.wasSlotWritten());
            EXPECT_FALSE(tables.wasSlotWritten());
        });
}

TEST(FunctionManager, ModeTablesNeedAManagerADspAndItsKind)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            Tables tables(506, 16, 7);
            EXPECT_EQ(0u, uHWLowPowerModeTable(nullptr));
            EXPECT_EQ(1u, uHWPerformanceModeTable(nullptr));
            EXPECT_EQ(0u, uKCpuOffloadModeTable(nullptr));
            VSR_FUNC_MANAGER bad = tables.manager;
            bad.internalImplTable = nullptr;
            EXPECT_EQ(1u, uHWPerformanceModeTable(&bad));

            EXPECT_EQ(0u, uHWPerformanceModeTable(&tables.manager));
            EXPECT_FALSE(tables.wasKindWritten()) << "no DSP";

            const DspDouble dsp;
            const ReportAlso gpu(0x20);
            tables.manager.kindCount = 5;
            EXPECT_EQ(0u, uHWLowPowerModeTable(&tables.manager));
            EXPECT_FALSE(tables.wasKindWritten()) << "kind 5 is none of five";
            EXPECT_EQ(0u, uHWPerformanceModeTable(&tables.manager));
            for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
            {
                EXPECT_EQ(rowsOf(kGpuRows).contains(row) ? VSR_IMPL{VSR_IMPL_GPU} : kPoison, tables.kinds[row]) << row;
            }

            setVSR_IMPL_defaultDSP(0);
            EXPECT_EQ(0u, uHWPerformanceModeTable(&tables.manager));
            EXPECT_EQ(VSR_IMPL_GPU, tables.kinds[43]) << "on both lists";
            EXPECT_EQ(VSR_IMPL_ADSP, tables.kinds[18]);
        });
}

TEST(FunctionManager, DomainChoosesTheKindOfModeTables)
{
    inChild(
        []
        {
            describeProcessor(kPhone);
            const DspDouble dsp;
            const std::pair<int32_t, VSR_IMPL> choices[] = {{0, 4}, {2, 6}, {1, 5},  {0, 4},
                                                            {3, 5}, {9, 5}, {-1, 5}, {4, 5}};
            for (const auto& [domain, kind] : choices)
            {
                Tables tables(506, 16, 7);
                setVSR_IMPL_defaultDSP(domain);
                uHWLowPowerModeTable(&tables.manager);
                EXPECT_EQ(kind, tables.kinds[1]) << domain;
            }
        });
}

TEST(FunctionManager, HardwareInitTellsWhatIsThere)
{
    inChild(
        []
        {
            EXPECT_EQ(1u, vsrTableHWInit(nullptr, &vsrInternalFuncTable, true, true));
            EXPECT_EQ(1u, vsrTableHWInit(&vsrFuncTable, nullptr, true, true));
            Tables tables(506, 16, 7);
            ASSERT_EQ(0u, vsrInitializeMasterFuncManager(&tables.manager));
            const std::pair<int32_t, LogLine> domains[] = {
                {0, {3, "visora_lib_log", "ADSP is available"}},
                {1, {3, "visora_lib_log", "CDSP is available"}},
                {2, {3, "visora_lib_log", "MDSP is available"}},
                {3,
                 {6, "visora_lib_log",
                  "defaultDSP flag is not set. Hence unable to set memory pointers for VISORA function"}}};
            for (const auto& [domain, line] : domains)
            {
                setDefaultDSPValue(domain);
                LogCapture log;
                EXPECT_EQ(0u, vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, true, false));
                EXPECT_EQ(std::vector<LogLine>{line}, log.take());
                EXPECT_EQ(0u, vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, false, true));
                EXPECT_EQ((std::vector<LogLine>{{3, "visora_lib_log", "GPU is available"}}), log.take());
                EXPECT_EQ(0u, vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, false, false));
                EXPECT_EQ(std::vector<LogLine>{}, log.take());
            }
            setDefaultDSPValue(2);
            tables.manager.kindCount = 3;
            LogCapture log;
            EXPECT_EQ(8u, vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, true, true)) << "the sum of two fours";
        });
}

}  // namespace
}  // namespace visora::test
