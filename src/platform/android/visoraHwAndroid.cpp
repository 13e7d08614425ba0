// What the machine offers: the processor, found once, and the DSP, brought up for a mode.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <string_view>

#include "common/visoraHardware.h"
#include "common/visoraLog.h"
#include "common/visoraProperty.h"
#include "common/visoraRelaxed.h"
#include "common/visoraVersion.h"
#include "platform/android/visoraProcessor.h"
#include "visora/dispatch.h"
#include "visora/offload.h"
#include "visora/shared_memory.h"

namespace
{

// Families of mobile chips, by the first letters of "ro.board.platform". Packagers: add yours here.
constexpr std::string_view kMobileFamilies[] = {"hst", "exy", "kir", "mt6"};

constexpr int64_t kImplementerA = 0x41;
constexpr int64_t kImplementerQ = 0x51;

bool isMobile()
{
    visora::Processor& processor = visora::processor();
    if (processor.implementer == kImplementerA || processor.implementer == kImplementerQ)
    {
        return true;
    }
    char platform[visora::kPropertyBytes] = "";
    property_get("ro.board.platform", platform, "");
    const bool known =
        std::any_of(std::begin(kMobileFamilies), std::end(kMobileFamilies),
                    [&](std::string_view family) { return std::string_view(platform).starts_with(family); });
    if (known)
    {
        processor.implementer = kImplementerQ;
    }
    return known;
}

uint32_t reportOf(uint32_t features)
{
    return (features & visora::kFeatureArchitecture7 ? visora::kHardwareArchitecture7 : 0) |
           (features & visora::kFeatureFloat ? visora::kHardwareFloat : 0) |
           (features & visora::kFeatureVector ? visora::kHardwareVector : 0);
}

// Modes that leave the DSP alone.
bool needsNoDsp(vsrOperationMode mode)
{
    return mode == VISORA_OP_CPU_PERFORMANCE || mode == VISORA_OP_EXT_ADSP || mode == VISORA_OP_EXT_CDSP ||
           mode == VISORA_OP_EXT_MDSP;
}

int32_t sessionModeOf(vsrOperationMode mode)
{
    switch (mode)
    {
        case VISORA_OP_LOW_POWER:
            return 0;
        case VISORA_OP_PERFORMANCE:
            return 2;
        default:
            return mode & visora::kExtendedMode ? 2 : 1;
    }
}

void logFailedDomain()
{
    constexpr const char* kPath = "src/platform/android/visoraHwAndroid";
    const auto log = [](const char* format, int line) { visora::logLibrary(visora::kLogError, format, line, kPath); };
    switch (VSR_LOAD(defaultDSP))
    {
        case 0:
            log("Failed to open channel on ADSP!! ADSP does not support Domains on this target %d %s", __LINE__);
            break;
        case 1:
            log("Failed to open channel on CDSP!! CDSP does not support Domains on this target %d %s", __LINE__);
            break;
        case 2:
            log("Failed to open channel on MDSP!! MDSP does not support Domains on this target %d %s", __LINE__);
            break;
        default:
            log("Unknown DSP type selected.%d %s", __LINE__);
    }
}

bool bringDspUp(int32_t sessionMode)
{
    if (!KCVAK6_is_ready() || KCVAK6_get_current_mode() != sessionMode)
    {
        // Also one that failed on its way: the DSP may be up by now.
        if (kcvak6State != 0)
        {
            KCVAK6_deinit();
        }
        return vsrSelectKDSP6Mode(sessionMode) == 0;
    }
    const int32_t wanted = VSR_LOAD(defaultDSP);
    if (visora::sessionDomain().value_or(wanted) == wanted)
    {
        return true;
    }
    KCVAK6_deinit();
    const bool opened = vsrSelectKDSP6Mode(sessionMode) == 0;
    if (!opened)
    {
        logFailedDomain();
    }
    return opened;
}

}  // namespace

uint32_t ivsrFurtherHardware = 0;

uint32_t vsrAvailableHardware(vsrOperationMode mode)
{
    const uint32_t features = visora::processor().features;
    visora::readTraceSwitch();
    uint32_t report = visora::kHardwareRead | visora::kHardwareAlways | reportOf(features) | ivsrFurtherHardware;
    const bool mobile = isMobile();
    if (mobile)
    {
        report |= visora::kHardwareMobile;
    }
    if (KCVAK6_is_ready())
    {
        report |= visora::kHardwareDsp;
        VSR_STORE(KDSP_initflag, uint8_t{1});
    }
    if (mobile && !needsNoDsp(mode))
    {
        const uint32_t component = vsrAvailableHWComponent(mode);
        report |= component;
        if (component == visora::kHardwareDsp)
        {
            VSR_STORE(KDSP_initflag, uint8_t{1});
        }
        if (component == visora::kHardwareGpu)
        {
            VSR_STORE(GPU_initflag, uint8_t{1});
        }
    }
    return report;
}

uint32_t vsrAvailableHWComponent(vsrOperationMode mode)
{
    const auto start = std::chrono::steady_clock::now();
    const uint32_t result = bringDspUp(sessionModeOf(mode)) ? visora::kHardwareDsp : 0;
    if (VSR_LOAD(libLogPrint))
    {
        const auto elapsed = std::chrono::steady_clock::now() - start;
        const long long microseconds = std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
        __android_log_print(visora::kLogError, visora::kTraceTag, "%s %lld", " K6 Initialization Time :", microseconds);
    }
    vsrInitSharedMem(result);
    return result;
}

int32_t vsrSelectKDSP6Mode(int32_t mode)
{
    const int32_t result = KCVAK6_init(mode, visora::kVersion);
    if (result == 0)
    {
        VSR_STORE(KDSP_initflag, uint8_t{1});
    }
    return result;
}

int32_t vsrAvailableProcessors(void)
{
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    if (online < 1)
    {
        visora::logLibrary(visora::kLogError, "Error in getting the number of available processor");
        return 1;
    }
    return static_cast<int32_t>(online);
}

int32_t vsr_check_only_cpu(void)
{
    return visora::processor().onlyCpu;
}
