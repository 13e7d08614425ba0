// The hardware report.
#ifndef VISORA_COMMON_HARDWARE_H
#define VISORA_COMMON_HARDWARE_H

#include "visora/runtime.h"

namespace visora
{

// Bits of the report.
constexpr uint32_t kHardwareDsp = 0x8;
constexpr uint32_t kHardwareGpu = 0x20;

}  // namespace visora

#endif
