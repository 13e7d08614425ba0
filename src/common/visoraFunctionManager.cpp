// Slot fillers, index setters and mode tables.
#include "common/visoraFunctionManager.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "common/visoraHardware.h"
#include "common/visoraLog.h"
#include "common/visoraRelaxed.h"
#include "common/visoraRows.h"
#include "visora/dispatch.h"
#include "visora/offload.h"

int32_t defaultDSP = 1;
uint32_t defaultDspImplKind = VSR_IMPL_CDSP;

VSR_FUNC_MANAGER visora::wholeTables = {vsrImplTable,         VSR_ROW_COUNT,          &vsrFuncTable,
                                        vsrInternalImplTable, VSR_INTERNAL_ROW_COUNT, &vsrInternalFuncTable,
                                        VSR_KIND_COUNT};

namespace
{

using visora::InternalRow;
using visora::logLibrary;

VSR_FUNC_MANAGER* master = nullptr;

constexpr uint32_t kMainRows = VSR_ROW_COUNT;
constexpr uint32_t kInternalRows = VSR_INTERNAL_ROW_COUNT;

// Rows that exist and that the manager describes.
uint32_t mainRows(const VSR_FUNC_MANAGER& manager)
{
    return std::min(manager.rowCount, kMainRows);
}

uint32_t internalRows(const VSR_FUNC_MANAGER& manager)
{
    return std::min(manager.internalRowCount, kInternalRows);
}

size_t slotIndex(uint32_t row, VSR_IMPL kind)
{
    return static_cast<size_t>(row) * VSR_KIND_COUNT + kind;
}

// Writes a row's slot; what a program put into a row that has nothing to write stays.
void fill(VSR_FUNC* table, uint32_t row, VSR_IMPL kind, VSR_FUNC variant)
{
    if (variant)
    {
        VSR_STORE(table[slotIndex(row, kind)], variant);
    }
}

// Fills a column of the master manager's tables, before there is one that of the library's own.
void fillColumn(VSR_IMPL kind, VSR_FUNC VisoraRow::*variant)
{
    const VSR_FUNC_MANAGER& manager = master ? *master : visora::wholeTables;
    if (kind >= std::min<uint32_t>(manager.kindCount, VSR_KIND_COUNT))
    {
        return;
    }
    for (uint32_t row = 0; row < mainRows(manager); ++row)
    {
        fill(*manager.funcTable, row, kind, visoraRows[row].*variant);
    }
    for (uint32_t row = 0; row < internalRows(manager); ++row)
    {
        fill(*manager.internalFuncTable, row, kind, visoraInternalRows[row].*variant);
    }
}

vsrStatus checkFiller(const VSR_FUNC_MANAGER* manager, VSR_IMPL kind)
{
    if (!manager)
    {
        return 1;
    }
    if (!manager->funcTable)
    {
        return 2;
    }
    if (!manager->internalFuncTable)
    {
        return 3;
    }
    return kind < manager->kindCount ? 0 : 4;
}

vsrStatus fillOffloadColumn(VSR_FUNC_MANAGER* manager, VSR_IMPL kind, size_t routine)
{
    const vsrStatus status = checkFiller(manager, kind);
    if (status != 0 || kind >= VSR_KIND_COUNT)
    {
        return status;
    }
    for (uint32_t row = 0; row < mainRows(*manager); ++row)
    {
        fill(*manager->funcTable, row, kind, visoraRows[row].routines[routine]);
    }
    for (uint32_t row = 0; row < internalRows(*manager); ++row)
    {
        fill(*manager->internalFuncTable, row, kind, visoraInternalRows[row].routines[routine]);
    }
    return status;
}

vsrStatus setDspCapableRows(VSR_FUNC_MANAGER* manager, VSR_IMPL kind)
{
    const vsrStatus status = checkFiller(manager, kind);
    if (status != 0)
    {
        return status;
    }
    if (!manager->implTable)
    {
        return 2;
    }
    if (!manager->internalImplTable)
    {
        return 3;
    }
    for (uint32_t row = 0; row < mainRows(*manager); ++row)
    {
        if (visoraRows[row].dspCapable)
        {
            VSR_STORE(manager->implTable[row], kind);
        }
    }
    for (uint32_t row = 0; row < internalRows(*manager); ++row)
    {
        if (visoraInternalRows[row].dspCapable)
        {
            VSR_STORE(manager->internalImplTable[row], kind);
        }
    }
    return 0;
}

void setListedRows(VSR_FUNC_MANAGER& manager, uint8_t list, VSR_IMPL kind)
{
    for (uint32_t row = 0; row < mainRows(manager); ++row)
    {
        if (visoraRows[row].modes & list)
        {
            VSR_STORE(manager.implTable[row], kind);
        }
    }
}

vsrStatus applyModeTable(VSR_FUNC_MANAGER* manager, uint32_t mode, uint8_t list, vsrStatus missing)
{
    if (!manager || !manager->implTable || !manager->internalImplTable)
    {
        return missing;
    }
    const uint32_t hardware = vsrAvailableHardware(mode);
    if ((hardware & visora::kHardwareDsp) && defaultDspImplKind < manager->kindCount)
    {
        setListedRows(*manager, list, defaultDspImplKind);
        for (const InternalRow row : {InternalRow::probeK6Time, InternalRow::vsrRegisterBuf})
        {
            const auto index = static_cast<uint32_t>(row);
            if (index < internalRows(*manager))
            {
                VSR_STORE(manager->internalImplTable[index], defaultDspImplKind);
            }
        }
    }
    // The GPU is written last and so wins over the DSP.
    if (list == VSR_MODE_PERF && (hardware & visora::kHardwareGpu) && manager->rowCount >= 2 &&
        manager->kindCount > VSR_IMPL_GPU)
    {
        setListedRows(*manager, VSR_MODE_GPU, VSR_IMPL_GPU);
    }
    return 0;
}

}  // namespace

VSR_IMPL visora::kindOfDefaultDomain()
{
    switch (VSR_LOAD(defaultDSP))
    {
        case 0:
            return VSR_IMPL_ADSP;
        case 1:
            return VSR_IMPL_CDSP;
        case 2:
            return VSR_IMPL_MDSP;
        default:
            return kNoKind;
    }
}

vsrStatus vsrInitializeMasterFuncManager(VSR_FUNC_MANAGER* manager)
{
    if (!manager || !manager->implTable || !manager->funcTable || !manager->internalImplTable ||
        !manager->internalFuncTable)
    {
        return VISORA_EFAIL;
    }
    master = manager;
    return VISORA_SUCCESS;
}

void uCTable(VSR_IMPL kind)
{
    fillColumn(kind, &VisoraRow::reference);
}

void uVTable(VSR_IMPL kind)
{
    fillColumn(kind, &VisoraRow::vector);
}

vsrStatus uKTable(VSR_FUNC_MANAGER* manager, VSR_IMPL kind)
{
    return fillOffloadColumn(manager, kind, VSR_ON_DEFAULT_DOMAIN);
}

vsrStatus uKaTable(VSR_FUNC_MANAGER* manager, VSR_IMPL kind)
{
    return fillOffloadColumn(manager, kind, VSR_ON_ADSP);
}

vsrStatus uKcTable(VSR_FUNC_MANAGER* manager, VSR_IMPL kind)
{
    return fillOffloadColumn(manager, kind, VSR_ON_CDSP);
}

vsrStatus uKmTable(VSR_FUNC_MANAGER* manager, VSR_IMPL kind)
{
    return fillOffloadColumn(manager, kind, VSR_ON_MDSP);
}

vsrStatus uGTable(VSR_FUNC_MANAGER* manager, VSR_IMPL kind)
{
    if (!manager)
    {
        return 1;
    }
    if (!manager->funcTable)
    {
        return 2;
    }
    return kind < manager->kindCount ? 0 : 4;
}

vsrStatus uKIndex(VSR_FUNC_MANAGER* manager)
{
    return setDspCapableRows(manager, VSR_IMPL_KDSP);
}

vsrStatus uKacmIndex(VSR_FUNC_MANAGER* manager, VSR_IMPL kind)
{
    return setDspCapableRows(manager, kind);
}

vsrStatus uGIndex(VSR_FUNC_MANAGER* manager)
{
    return manager ? 0 : 1;
}

vsrStatus vsrTableHWInit(VSR_FUNC_TABLE* funcTable, VSR_INTERNAL_FUNC_TABLE* internalFuncTable, bool dspPresent,
                         bool gpuPresent)
{
    if (!funcTable || !internalFuncTable)
    {
        return 1;
    }
    vsrStatus status = 0;
    if (dspPresent)
    {
        switch (VSR_LOAD(defaultDSP))
        {
            case 0:
                logLibrary(visora::kLogDebug, "%s", "ADSP is available");
                status += uKaTable(master, VSR_IMPL_ADSP);
                break;
            case 1:
                logLibrary(visora::kLogDebug, "%s", "CDSP is available");
                status += uKcTable(master, VSR_IMPL_CDSP);
                break;
            case 2:
                logLibrary(visora::kLogDebug, "%s", "MDSP is available");
                status += uKmTable(master, VSR_IMPL_MDSP);
                break;
            default:
                logLibrary(visora::kLogError,
                           "defaultDSP flag is not set. Hence unable to set memory pointers for VISORA function");
        }
    }
    if (gpuPresent)
    {
        logLibrary(visora::kLogDebug, "%s", "GPU is available");
        status += uGTable(master, VSR_IMPL_GPU);
    }
    return status;
}

void setVSR_IMPL_defaultDSP(int32_t domain)
{
    constexpr VSR_IMPL kKindOfDomain[] = {VSR_IMPL_ADSP, VSR_IMPL_CDSP, VSR_IMPL_MDSP, VSR_IMPL_CDSP};
    if (static_cast<uint32_t>(domain) < std::size(kKindOfDomain))
    {
        VSR_STORE(defaultDspImplKind, kKindOfDomain[domain]);
    }
}

vsrStatus uHWLowPowerModeTable(VSR_FUNC_MANAGER* manager)
{
    return applyModeTable(manager, 0, VSR_MODE_LOW, 0);
}

vsrStatus uHWPerformanceModeTable(VSR_FUNC_MANAGER* manager)
{
    return applyModeTable(manager, 1, VSR_MODE_PERF, 1);
}

vsrStatus uKCpuOffloadModeTable(VSR_FUNC_MANAGER* manager)
{
    return applyModeTable(manager, 2, VSR_MODE_OFFLOAD, 0);
}
