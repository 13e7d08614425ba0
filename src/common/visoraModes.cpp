// Operation modes, the version and the end of the library's work.
#include "common/visoraModes.h"

#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>

#include "common/visoraFunctionManager.h"
#include "common/visoraHardware.h"
#include "common/visoraLog.h"
#include "common/visoraProperty.h"
#include "common/visoraRelaxed.h"
#include "common/visoraRows.h"
#include "common/visoraVersion.h"
#include "visora/memory.h"
#include "visora/offload.h"
#include "visora/shared_memory.h"

vsrOperationMode mode_globalVar = VISORA_OP_LOW_POWER;
int32_t nVsrAvailableProc = 1;
uint8_t KDSP_initflag = 0;
uint8_t GPU_initflag = 0;

namespace
{

using visora::kLogDebug;
using visora::kLogError;
using visora::logLibrary;

constexpr char kDomainProperty[] = "vendor.runtime.visora.defaultDSP";

bool tablesBuilt = false;

// The machine was looked at and has neither a vector nor a floating-point unit.
bool isTooPlain(uint32_t hardware)
{
    return !(hardware & visora::kHardwareFloat) &&
           (hardware & (visora::kHardwareRead | visora::kHardwareVector)) == visora::kHardwareRead;
}

bool isPinned(vsrOperationMode mode)
{
    return mode == VISORA_OP_EXT_DSP_PINNED || mode == VISORA_OP_EXT_KDSP;
}

// Whether entry points and the offload routines test the DSP's constraints.
void setConstraintChecks(bool enable)
{
    VSR_STORE(HW_constraint_checks_enable, int32_t{enable});
    vsrUpdateK6ConstraintCheckFlag(enable);
}

// Columns 0 to 3 with the first mode, with every later one that of the DSP whose domain is chosen per call.
void fillColumns(uint32_t hardware)
{
    const bool vectorUnit = hardware & visora::kHardwareVector;
    if (!VSR_LOAD(tablesBuilt))
    {
        // First of all, so that the fillers work on the library's own tables even if a program registered others.
        if (vsrInitializeMasterFuncManager(&visora::wholeTables) != VISORA_SUCCESS)
        {
            logLibrary(kLogError, "%s", "vsrInitializeMasterFuncManager is failed");
        }
        for (const VSR_IMPL kind : {VSR_IMPL_CPU, VSR_IMPL_VECTA, VSR_IMPL_KDSP, VSR_IMPL_GPU})
        {
            uCTable(kind);
            if (vectorUnit && kind != VSR_IMPL_CPU)
            {
                uVTable(kind);
            }
        }
        VSR_STORE(tablesBuilt, true);
    }
    else if (vectorUnit)
    {
        uVTable(VSR_IMPL_KDSP);
    }
    else
    {
        uCTable(VSR_IMPL_KDSP);
    }
}

// Rows whose kind numbers outlive every mode change: the two placeholders and the registration of buffers.
bool keepsKind(uint32_t row)
{
    return row == 362 || row == 363;
}

bool keepsInternalKind(uint32_t row)
{
    return row == static_cast<uint32_t>(visora::InternalRow::vsrRegisterBuf);
}

// Every row's kind to `kind`, or with `builtOnly` that of the rows that have an operation.
void setKinds(VSR_IMPL kind, bool builtOnly)
{
    for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
    {
        if (!keepsKind(row) && (!builtOnly || visoraRows[row].reference))
        {
            VSR_STORE(vsrImplTable[row], kind);
        }
    }
    for (uint32_t row = 0; row < VSR_INTERNAL_ROW_COUNT; ++row)
    {
        if (!keepsInternalKind(row) && (!builtOnly || visoraInternalRows[row].reference))
        {
            VSR_STORE(vsrInternalImplTable[row], kind);
        }
    }
}

bool usesVectorUnit(vsrOperationMode mode, uint32_t hardware)
{
    const bool wanted = mode & visora::kExtendedMode
                            ? mode != VISORA_OP_EXT_CDSP
                            : mode <= VISORA_OP_CPU_PERFORMANCE && (hardware & visora::kHardwareMobile);
    return wanted && (hardware & visora::kHardwareVector);
}

// Gives every DSP-capable row to the domain in use; `otherwise` is logged when there is no such domain.
void pinToDefaultDomain(const char* otherwise)
{
    const VSR_IMPL kind = visora::kindOfDefaultDomain();
    if (kind == visora::kNoKind)
    {
        logLibrary(kLogError, "%s", otherwise);
        return;
    }
    uKacmIndex(&visora::wholeTables, kind);
}

void applyExtendedMode(vsrOperationMode mode, uint32_t hardware)
{
    switch (mode)
    {
        case VISORA_OP_EXT_ADSP:
        case VISORA_OP_EXT_CDSP:
        case VISORA_OP_EXT_MDSP:
            break;
        case VISORA_OP_EXT_GPU:
            if (hardware & visora::kHardwareGpu)
            {
                uGIndex(&visora::wholeTables);
            }
            break;
        case VISORA_OP_EXT_DSP_PINNED:
        case VISORA_OP_EXT_KDSP:
            setConstraintChecks(false);
            if (hardware & visora::kHardwareDsp)
            {
                pinToDefaultDomain("defaultDSP flag is not set. Hence failed to set index for K Tables");
            }
            break;
        default:
            visora::failAssertion("src/common/visora", 7196, "int vsrSetOperationMode_internal(vsrOperationMode)", "0");
    }
}

// The DSP's and the GPU's part of modes 0 to 2.
void applyOffloadMode(vsrOperationMode mode, uint32_t hardware)
{
    switch (mode)
    {
        case VISORA_OP_LOW_POWER:
            uHWLowPowerModeTable(&visora::wholeTables);
            break;
        case VISORA_OP_PERFORMANCE:
            uHWPerformanceModeTable(&visora::wholeTables);
            break;
        case VISORA_OP_CPU_OFFLOAD:
            if (hardware & visora::kHardwareGpu)
            {
                uGIndex(&visora::wholeTables);
            }
            if (hardware & visora::kHardwareDsp)
            {
                uKCpuOffloadModeTable(&visora::wholeTables);
            }
            break;
        default:
            break;
    }
}

// The remote pointers are set for the rows that the mode gives to the DSP.
void setRemotePointers(vsrOperationMode mode, uint32_t hardware)
{
    constexpr uint8_t kLists[] = {VSR_MODE_LOW, VSR_MODE_PERF, VSR_MODE_OFFLOAD};
    uint8_t list = VSR_MODE_NONE;
    if ((hardware & visora::kHardwareDsp) && isPinned(mode))
    {
        list = VSR_MODE_PINNED;
    }
    else if ((hardware & visora::kHardwareDsp) && (hardware & visora::kHardwareMobile) && mode < std::size(kLists))
    {
        list = kLists[mode];
    }
    visoraSetRemotePointers(list);
}

// After a restart of the DSP a mode is applied for the sake of the kinds and of the DSP's column alone: columns,
// implementation pointers and scratch services stay what the program made of them meanwhile.
enum class Applied
{
    ByProgram,
    AfterRestart
};

vsrStatus applyMode(vsrOperationMode mode, Applied applied)
{
    const uint32_t hardware = vsrAvailableHardware(mode);
    if (isTooPlain(hardware))
    {
        return VISORA_MODE_REFUSED;
    }
    const bool vectorUnit = usesVectorUnit(mode, hardware);
    if (applied == Applied::ByProgram)
    {
        fillColumns(hardware);
        uCHelper();
        if (vectorUnit)
        {
            uVHelper();
        }
    }
    vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, hardware & visora::kHardwareDsp,
                   hardware & visora::kHardwareGpu);
    setKinds(VSR_IMPL_CPU, false);
    if (vectorUnit)
    {
        setKinds(VSR_IMPL_VECTA, true);
    }
    setRemotePointers(mode, hardware);
    if (mode & visora::kExtendedMode)
    {
        applyExtendedMode(mode, hardware);
    }
    else if (hardware & visora::kHardwareMobile)
    {
        applyOffloadMode(mode, hardware);
    }
    return VISORA_SUCCESS;
}

vsrStatus applyRemoteMode(vsrOperationMode mode)
{
    visora::readTraceSwitch();
    const uint32_t hardware = vsrAvailableHardware(mode);
    if (isTooPlain(hardware))
    {
        return VISORA_MODE_REFUSED;
    }
    if (!VSR_LOAD(tablesBuilt))
    {
        // The column fillers work on the master manager; nothing else of the tables is this setter's affair.
        vsrInitializeMasterFuncManager(&visora::wholeTables);
    }
    const bool dsp = hardware & visora::kHardwareDsp;
    if (dsp && visora::kindOfDefaultDomain() == visora::kNoKind)
    {
        logLibrary(kLogError, "defaultDSP flag is not set. Hence unable to set memory pointers for Visora functions");
    }
    else
    {
        vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, dsp, false);
    }
    setRemotePointers(mode, hardware);
    if (isPinned(mode) && dsp)
    {
        VSR_STORE(HW_constraint_checks_enable, 0);
        vsrUpdateK6ConstraintCheckFlagK(0);
        pinToDefaultDomain("defaultDSP flag is not set. Hence unable to set index for Visora functions");
    }
    else if (!(mode & visora::kExtendedMode) && (hardware & visora::kHardwareMobile))
    {
        applyOffloadMode(mode, hardware & ~visora::kHardwareGpu);
    }
    return VISORA_SUCCESS;
}

// The setter that was asked last.
bool remoteSetter = false;

// The kinds before the library withdrew to the CPU.
VSR_IMPL kindsBefore[VSR_ROW_COUNT];
VSR_IMPL internalKindsBefore[VSR_INTERNAL_ROW_COUNT];

// Keeps the program's switches as they are while it lives: applying a mode sets them.
class KeptSwitches
{
  public:
    KeptSwitches() = default;
    ~KeptSwitches()
    {
        VSR_STORE(libLogPrint, trace_);
        VSR_STORE(HW_constraint_checks_enable, checks_);
        VSR_STORE(K6_constraint_checks_enable, dspChecks_);
        VSR_STORE(k6AbstractionConstraintFlag, offloadChecks_);
    }
    KeptSwitches(const KeptSwitches&) = delete;
    KeptSwitches& operator=(const KeptSwitches&) = delete;

  private:
    uint8_t trace_ = VSR_LOAD(libLogPrint);
    int32_t checks_ = VSR_LOAD(HW_constraint_checks_enable);
    int32_t dspChecks_ = VSR_LOAD(K6_constraint_checks_enable);
    int32_t offloadChecks_ = VSR_LOAD(k6AbstractionConstraintFlag);
};

void storeDomain(int32_t domain)
{
    VSR_STORE(defaultDSP, domain);
    logLibrary(kLogDebug, "defaultDSP is reset to=%d", domain);
}

void readDomainProperty()
{
    char text[visora::kPropertyBytes] = "-1";
    property_get(kDomainProperty, text, "");
    logLibrary(kLogDebug, "vendor.runtime.visora.defaultDSP: %s", text);
    for (int i = 0; text[i] != '\0'; ++i)
    {
        logLibrary(kLogDebug, "vsr_defaultDSP_StrArr[%d]=%c", i, text[i]);
    }
    if (text[0] >= '0' && text[0] <= '2')
    {
        storeDomain(static_cast<int32_t>(std::strtol(text, nullptr, 10)));
        return;
    }
    logLibrary(kLogDebug, "Invalid value set to vendor.runtime.visora.defaultDSP=%s", text);
    logLibrary(kLogDebug, "%s",
               "Valid values for vendor.runtime.visora.defaultDSP are 0 for KDSP_ADSP , 1 for KDSP_CDSP , 2 for "
               "KDSP_MDSP");
    logLibrary(kLogDebug, "%s",
               "Command to set the property: adb shell setprop vendor.runtime.visora.defaultDSP [0/1/2]");
    logLibrary(kLogDebug, "Current defaultDSP=%d", defaultDSP);
}

}  // namespace

vsrStatus vsrSetOperationMode(vsrOperationMode mode)
{
    if (vsr_check_only_cpu())
    {
        logLibrary(kLogError, "%s\n", "DSP and GPU not present. Setting VISORA mode to VISORA_OP_CPU_PERFORMANCE.");
        mode = VISORA_OP_CPU_PERFORMANCE;
    }
    mode_globalVar = mode;
    remoteSetter = false;
    return vsrSetOperationMode_internal(mode);
}

vsrStatus vsrSetOperationMode_internal(vsrOperationMode mode)
{
    setConstraintChecks(true);
    VSR_STORE(nVsrAvailableProc, vsrAvailableProcessors());
    visora::readTraceSwitch();
    return applyMode(mode, Applied::ByProgram);
}

int32_t vsrSetOperationModeExt(int32_t choice)
{
    constexpr const char* kName = "vsrSetOperationModeExt";
    switch (choice)
    {
        case 0:
            return vsrSetOperationMode(VISORA_OP_EXT_KDSP) != VISORA_SUCCESS;
        case 1:
            return vsrSetOperationMode(VISORA_OP_EXT_GPU) != VISORA_SUCCESS;
        default:
            logLibrary(kLogDebug,
                       "Failed in %s. Please select appropriate option for mode to %s based on the target of interest",
                       kName, kName);
            logLibrary(kLogDebug,
                       "For mobile targets, %s supports only VISORA_OP_EXT_KDSP and VISORA_OP_EXT_GPU options", kName);
            logLibrary(kLogDebug,
                       "For non mobile targets(IOT or KRX), %s supports VISORA_OP_EXT_KDSP, VISORA_OP_EXT_GPU, "
                       "VISORA_OP_EXT_ADSP, VISORA_OP_EXT_CDSP and VISORA_OP_EXT_MDSP  options",
                       kName);
            return 1;
    }
}

vsrStatus vsrSetOperationModeRemoteLib(vsrOperationMode mode)
{
    mode_globalVar = mode;
    remoteSetter = true;
    return applyRemoteMode(mode);
}

void visora::withdrawToCpu()
{
    const KeptSwitches kept;
    std::copy(std::begin(vsrImplTable), std::end(vsrImplTable), kindsBefore);
    std::copy(std::begin(vsrInternalImplTable), std::end(vsrInternalImplTable), internalKindsBefore);
    applyMode(VISORA_OP_CPU_PERFORMANCE, Applied::AfterRestart);
}

vsrStatus visora::returnToMode()
{
    const KeptSwitches kept;
    if (!remoteSetter)
    {
        return applyMode(mode_globalVar, Applied::AfterRestart);
    }
    // That setter leaves alone what it does not give to the DSP.
    for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
    {
        VSR_STORE(vsrImplTable[row], kindsBefore[row]);
    }
    for (uint32_t row = 0; row < VSR_INTERNAL_ROW_COUNT; ++row)
    {
        VSR_STORE(vsrInternalImplTable[row], internalKindsBefore[row]);
    }
    return applyRemoteMode(mode_globalVar);
}

int32_t vsrSetDefaultDspEXT(int32_t domain)
{
    constexpr int32_t kFromProperty = 3;
    if (domain == kFromProperty)
    {
        readDomainProperty();
    }
    else
    {
        logLibrary(kLogDebug, "%s", "Calling vsrSetDefaultDSP with default_dsp!=DEFAULT_DSP~~~~~~~~~~~~~~~~~~~~~>>");
        storeDomain(domain);
    }
    setVSR_IMPL_defaultDSP(VSR_LOAD(defaultDSP));
    return 0;
}

void setDefaultDSPValue(int32_t domain)
{
    VSR_STORE(defaultDSP, domain);
}

int32_t vsrCleanUp(void)
{
    const int32_t result = vsrCleanUpHW();
    KDSP_initflag = 0;
    GPU_initflag = 0;
    return result;
}

int32_t vsrCleanUpHW(void)
{
    int32_t result = KCVAK6_deinit();
    if (vsrSharedMemAllocR_ == vsrSharedMemAllocK)
    {
        result = vsrDeInitSharedMem_Kdsp();
    }
    vsrSharedMemAlloc_ = nullptr;
    vsrSharedMemAllocR_ = nullptr;
    vsrSharedMemFree_ = nullptr;
    vsrSharedMemFreeR_ = nullptr;
    return result;
}

void vsrGetVersion(char* dest, uint32_t size)
{
    logLibrary(kLogDebug, "%s\n", "Visora usr library");
    if (!dest)
    {
        return;
    }
    if (size >= sizeof(visora::kVersion))
    {
        g_strlcpy(dest, visora::kVersion, size);
    }
    else
    {
        std::memset(dest, 0, size);
    }
}
