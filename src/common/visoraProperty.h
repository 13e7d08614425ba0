// System properties.
#ifndef VISORA_COMMON_PROPERTY_H
#define VISORA_COMMON_PROPERTY_H

extern "C"
{
    // The platform's own function; on plain Linux libvisorahost has it. `value` holds kPropertyBytes bytes.
    int property_get(const char* key, char* value, const char* default_value);
}

namespace visora
{

constexpr int kPropertyBytes = 92;

/** Sets libLogPrint from the property "runtime.visora.log": 1 when its text is a number that is not zero. */
void readTraceSwitch();

}  // namespace visora

#endif
