// Operation modes, the version and the end of the library's work.
#include <glib.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>

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

// Whether entry points and the offload routines test the DSP's constraints.
void setConstraintChecks(bool enable)
{
    VSR_STORE(HW_constraint_checks_enable, int32_t{enable});
    vsrUpdateK6ConstraintCheckFlag(enable);
}

void prepareTables(uint32_t hardware)
{
    const bool vectorUnit = hardware & visora::kHardwareVector;
    if (!VSR_LOAD(tablesBuilt))
    {
        for (const VSR_IMPL kind : {VSR_IMPL_CPU, VSR_IMPL_VECTA, VSR_IMPL_KDSP, VSR_IMPL_GPU})
        {
            uCTable(kind);
            if (vectorUnit && kind != VSR_IMPL_CPU)
            {
                uVTable(kind);
            }
        }
        if (vsrInitializeMasterFuncManager(&visora::wholeTables) != VISORA_SUCCESS)
        {
            logLibrary(kLogError, "%s", "vsrInitializeMasterFuncManager is failed");
        }
    }
    else if (vectorUnit)
    {
        uVTable(VSR_IMPL_KDSP);
    }
    else
    {
        uCTable(VSR_IMPL_KDSP);
    }
    vsrTableHWInit(&vsrFuncTable, &vsrInternalFuncTable, hardware & visora::kHardwareDsp,
                   hardware & visora::kHardwareGpu);
    VSR_STORE(tablesBuilt, true);
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

void resetKinds()
{
    for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
    {
        if (!keepsKind(row))
        {
            VSR_STORE(vsrImplTable[row], VSR_IMPL{VSR_IMPL_CPU});
        }
    }
    for (uint32_t row = 0; row < VSR_INTERNAL_ROW_COUNT; ++row)
    {
        if (!keepsInternalKind(row))
        {
            VSR_STORE(vsrInternalImplTable[row], VSR_IMPL{VSR_IMPL_CPU});
        }
    }
}

void useVectorUnit(uint32_t hardware)
{
    if (!(hardware & visora::kHardwareVector))
    {
        return;
    }
    uVHelper();
    for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
    {
        if (visoraRows[row].reference && !keepsKind(row))
        {
            VSR_STORE(vsrImplTable[row], VSR_IMPL{VSR_IMPL_VECTA});
        }
    }
    for (uint32_t row = 0; row < VSR_INTERNAL_ROW_COUNT; ++row)
    {
        if (visoraInternalRows[row].reference && !keepsInternalKind(row))
        {
            VSR_STORE(vsrInternalImplTable[row], VSR_IMPL{VSR_IMPL_VECTA});
        }
    }
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
    if (mode != VISORA_OP_EXT_CDSP)
    {
        useVectorUnit(hardware);
    }
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
    const bool dsp = hardware & visora::kHardwareDsp;
    switch (mode)
    {
        case VISORA_OP_LOW_POWER:
            visoraSetRemotePointers(dsp ? VSR_MODE_LOW : VSR_MODE_NONE);
            uHWLowPowerModeTable(&visora::wholeTables);
            break;
        case VISORA_OP_PERFORMANCE:
            visoraSetRemotePointers(dsp ? VSR_MODE_PERF : VSR_MODE_NONE);
            uHWPerformanceModeTable(&visora::wholeTables);
            break;
        case VISORA_OP_CPU_OFFLOAD:
            if (hardware & visora::kHardwareGpu)
            {
                uGIndex(&visora::wholeTables);
            }
            if (dsp)
            {
                visoraSetRemotePointers(VSR_MODE_OFFLOAD);
                uKCpuOffloadModeTable(&visora::wholeTables);
            }
            break;
        default:
            break;
    }
}

void storeDomain(int32_t domain)
{
    defaultDSP = domain;
    logLibrary(kLogDebug, "defaultDSP is reset to=%d", defaultDSP);
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
    return vsrSetOperationMode_internal(mode);
}

vsrStatus vsrSetOperationMode_internal(vsrOperationMode mode)
{
    setConstraintChecks(true);
    VSR_STORE(nVsrAvailableProc, vsrAvailableProcessors());
    visora::readTraceSwitch();
    const uint32_t hardware = vsrAvailableHardware(mode);
    if (isTooPlain(hardware))
    {
        return VISORA_MODE_REFUSED;
    }
    prepareTables(hardware);
    uCHelper();
    resetKinds();
    if (mode & visora::kExtendedMode)
    {
        applyExtendedMode(mode, hardware);
    }
    else if (mode <= VISORA_OP_CPU_PERFORMANCE && (hardware & visora::kHardwareMobile))
    {
        useVectorUnit(hardware);
        applyOffloadMode(mode, hardware);
    }
    return VISORA_SUCCESS;
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
    visora::readTraceSwitch();
    const uint32_t hardware = vsrAvailableHardware(mode);
    if (isTooPlain(hardware))
    {
        return VISORA_MODE_REFUSED;
    }
    uRNull();
    if (!tablesBuilt)
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
    const bool pins = mode == VISORA_OP_EXT_DSP_PINNED || mode == VISORA_OP_EXT_KDSP;
    if (pins && dsp)
    {
        HW_constraint_checks_enable = 0;
        vsrUpdateK6ConstraintCheckFlagK(0);
        pinToDefaultDomain("defaultDSP flag is not set. Hence unable to set index for Visora functions");
    }
    else if (!(mode & visora::kExtendedMode) && (hardware & visora::kHardwareMobile))
    {
        applyOffloadMode(mode, hardware & ~visora::kHardwareGpu);
    }
    return VISORA_SUCCESS;
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
    setVSR_IMPL_defaultDSP(defaultDSP);
    return 0;
}

void setDefaultDSPValue(int32_t domain)
{
    defaultDSP = domain;
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
    visora::forgetDspSession();
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
