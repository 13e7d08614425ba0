// The processor as its description tells it.
#ifndef VISORA_PLATFORM_ANDROID_PROCESSOR_H
#define VISORA_PLATFORM_ANDROID_PROCESSOR_H

#include <cstdint>

namespace visora
{

constexpr uint32_t kFeatureArchitecture7 = 0x1;
constexpr uint32_t kFeatureFloat = 0x2;
constexpr uint32_t kFeatureVector = 0x4;

struct Processor
{
    uint32_t features = 0;
    int64_t implementer = 0;
    bool onlyCpu = false;  // machines that have neither a DSP nor a GPU
};

/** What the description says; it is read once, by the first call on any thread. */
Processor& processor();

}  // namespace visora

#endif
