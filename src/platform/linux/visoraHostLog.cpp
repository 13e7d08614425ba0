// The log: lines go to standard error or to the program's own sink.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "platform/linux/visoraHostPlatform.h"
#include "visora/host.h"

namespace
{

int writeToStandardError(void* /*context*/, int priority, const char* tag, const char* text)
{
    constexpr char kLetters[] = "??VDIWEFS";
    const char letter = priority >= 0 && priority < 9 ? kLetters[priority] : '?';
    const size_t length = std::strlen(text);
    const char* end = length > 0 && text[length - 1] == '\n' ? "" : "\n";
    return std::fprintf(stderr, "%c/%s: %s%s", letter, tag, text, end) < 0 ? -errno : 1;
}

vsrHostLogSink currentSink = writeToStandardError;
void* currentContext = nullptr;

}  // namespace

void vsrHostSetLogSink(vsrHostLogSink sink, void* context)
{
    currentSink = sink ? sink : writeToStandardError;
    currentContext = context;
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, fmt);
    const int length = std::vsnprintf(text, sizeof(text), fmt, arguments);
    va_end(arguments);
    return length < 0 ? -EINVAL : currentSink(currentContext, prio, tag, text);
}
