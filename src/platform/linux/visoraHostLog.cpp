// The log: lines go to standard error or to the program's own sink.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/linux/visoraHostPlatform.h"
#include "visora/host.h"

namespace
{

constexpr size_t kLineBytes = 1024;

int writeToStandardError(void* /*context*/, int priority, const char* tag, const char* text)
{
    constexpr char kLetters[] = "??VDIWEFS";
    const char letter = priority >= 0 && priority < 9 ? kLetters[priority] : '?';
    // One call writes the line, so that lines of several threads do not mix.
    return std::fprintf(stderr, "%c/%s: %s\n", letter, tag, text) < 0 ? -1 : 1;
}

vsrHostLogSink currentSink = writeToStandardError;
void* currentContext = nullptr;

// The least priority that is written: a number, or a letter of those that lines begin with. Everything, unless set.
int leastPriority()
{
    char value[92];
    property_get("runtime.visora.log.level", value, "");
    const char* const letters = "VDIWEFS";
    const char* const letter = value[0] != '\0' ? std::strchr(letters, value[0]) : nullptr;
    return letter ? static_cast<int>(letter - letters) + 2 : static_cast<int>(std::strtol(value, nullptr, 10));
}

}  // namespace

void vsrHostSetLogSink(vsrHostLogSink sink, void* context)
{
    currentSink = sink ? sink : writeToStandardError;
    currentContext = context;
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...)
{
    static const int least = leastPriority();
    if (prio < least)
    {
        return 1;
    }
    char text[kLineBytes];
    va_list arguments;
    va_start(arguments, fmt);
    const int length = std::vsnprintf(text, sizeof(text), fmt, arguments);
    va_end(arguments);
    if (length >= 0)
    {
        // A line ends once, whether or not its text says so.
        size_t end = std::strlen(text);
        while (end > 0 && text[end - 1] == '\n')
        {
            --end;
        }
        text[end] = '\0';
        currentSink(currentContext, prio, tag, text);
    }
    // Whatever became of the line: callers pass this on as the result of a call that they refuse.
    return 1;
}
