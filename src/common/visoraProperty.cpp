#include "common/visoraProperty.h"

#include <cstdlib>

#include "common/visoraRelaxed.h"
#include "visora/runtime.h"

void visora::readTraceSwitch()
{
    char text[kPropertyBytes] = "";
    property_get("runtime.visora.log", text, "");
    VSR_STORE(libLogPrint, uint8_t{std::strtol(text, nullptr, 10) != 0});
}
