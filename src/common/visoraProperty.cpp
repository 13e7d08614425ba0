#include "common/visoraProperty.h"

#include <cstdlib>

#include "visora/runtime.h"

void visora::readTraceSwitch()
{
    char text[kPropertyBytes] = "";
    property_get("runtime.visora.log", text, "");
    libLogPrint = std::strtol(text, nullptr, 10) != 0 ? 1 : 0;
}
