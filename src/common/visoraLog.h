// The platform's log and the lines that the library writes to it.
#ifndef VISORA_COMMON_LOG_H
#define VISORA_COMMON_LOG_H

#include "visora/types.h"

extern "C"
{
    // The platform's own function; on plain Linux libvisorahost has it.
    int __android_log_print(int prio, const char* tag, const char* fmt, ...) __attribute__((format(printf, 3, 4)));
}

namespace visora
{

constexpr int kLogDebug = 3;
constexpr int kLogInfo = 4;
constexpr int kLogError = 6;

constexpr const char* kLibraryTag = "visora_lib_log";
constexpr const char* kTraceTag = "visora_runtime_log";

/** Writes a line on the library's tag and returns the log call's result. */
template <class... Args>
int logLibrary(int priority, const char* format, Args... args)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    return __android_log_print(priority, kLibraryTag, format, args...);
#pragma GCC diagnostic pop
}

/** Ends the process with exit status 1 after logging which condition of which kernel failed. */
[[noreturn]] void stopProcess(const char* path, int line, const char* condition);

/** Aborts the process with the platform's assertion message on the log and on standard error. */
[[noreturn]] void failAssertion(const char* path, int line, const char* function, const char* condition);

}  // namespace visora

#endif
