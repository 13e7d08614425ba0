#include "common/visoraLog.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "visora/runtime.h"

uint8_t libLogPrint = 0;
int32_t HW_constraint_checks_enable = 1;

int32_t vsrLogAssert(const char* file, int32_t line, int32_t priority, const char* format, ...)
{
    const char* slash = std::strrchr(file, '/');
    char tag[128];
    std::snprintf(tag, sizeof(tag), "%s", slash ? slash + 1 : file);

    char message[512];
    const int prefix = line != 0 ? std::snprintf(message, sizeof(message), "%4d| ", line) : 0;

    va_list arguments;
    va_start(arguments, format);
    const int length =
        std::vsnprintf(message + prefix, sizeof(message) - static_cast<size_t>(prefix), format, arguments);
    va_end(arguments);

    __android_log_print(priority, tag, "%s", message);
    return length;
}

void visora::stopProcess(const char* path, int line, const char* condition)
{
    vsrLogAssert(kLibraryTag, 0, kLogError, "%s@%d: %s Assertion failed\n", path, line, condition);
    std::exit(EXIT_FAILURE);
}

void visora::failAssertion(const char* path, int line, const char* function, const char* condition)
{
    logLibrary(kLogError, "%s:%d: %s: Assertion '%s' failed", path, line, function, condition);
    std::fprintf(stderr, "%s:%d: %s: Assertion '%s' failed\n", path, line, function, condition);
    std::abort();
}
