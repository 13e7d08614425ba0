#include "common/visoraCall.h"

vsrStatus visora::refuse(const char* entry, const char* condition)
{
    return static_cast<vsrStatus>(logLibrary(kLogError, "Assertion failed @%s: %s\n", entry, condition));
}

vsrStatus visora::refuseRange(const char* entry)
{
    return static_cast<vsrStatus>(logLibrary(kLogError, "Error at %s\n", entry));
}
