// The hardware report.
#ifndef VISORA_COMMON_HARDWARE_H
#define VISORA_COMMON_HARDWARE_H

#include <optional>

#include "visora/runtime.h"

namespace visora
{

// Bits of the report.
constexpr uint32_t kHardwareRead = 0x2;
constexpr uint32_t kHardwareVector = 0x4;
constexpr uint32_t kHardwareDsp = 0x8;
constexpr uint32_t kHardwareGpu = 0x20;
constexpr uint32_t kHardwareFloat = 0x80;
constexpr uint32_t kHardwareArchitecture7 = 0x100;
constexpr uint32_t kHardwareMobile = 0x800;
constexpr uint32_t kHardwareAlways = 0x1000;

/** Extended modes have this bit; the others say which. */
constexpr vsrOperationMode kExtendedMode = 0x80000000;

/** Domain whose channel the DSP session holds; none while there is no session. */
std::optional<int32_t> sessionDomain();

}  // namespace visora

#endif
