#include "support/log_capture.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>

namespace visora::test
{
namespace
{

struct State
{
    std::mutex mutex;
    bool capturing = false;
    int result = 1;
    std::vector<LogLine> lines;
    std::map<std::string, std::string> properties;
};

State& state()
{
    static State instance;
    return instance;
}

int takeLine(LogLine line)
{
    State& s = state();
    const std::lock_guard lock(s.mutex);
    if (!s.capturing)
    {
        std::fprintf(stderr, "%s: %s\n", line.tag.c_str(), line.text.c_str());
        return 1;
    }
    s.lines.push_back(std::move(line));
    return s.result;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line)
{
    return out << line.priority << " " << line.tag << ": " << line.text;
}

LogLine debugLine(const std::string& text)
{
    return {3, kLibTag, text};
}

LogLine errorLine(const std::string& text)
{
    return {6, kLibTag, text};
}

LogCapture::LogCapture(int result)
{
    const std::lock_guard lock(state().mutex);
    state().capturing = true;
    state().result = result;
    state().lines.clear();
}

LogCapture::~LogCapture()
{
    const std::lock_guard lock(state().mutex);
    state().capturing = false;
}

Lines LogCapture::take()
{
    const std::lock_guard lock(state().mutex);
    return std::exchange(state().lines, {});
}

Lines LogCapture::takeWith(const std::string& text)
{
    Lines lines = take();
    std::erase_if(lines, [&](const LogLine& line) { return line.text.find(text) == std::string::npos; });
    return lines;
}

LogLine refusal(const std::string& entry, const std::string& condition)
{
    return errorLine("Assertion failed @" + entry + ": " + condition + "\n");
}

LogLine rangeRefusal(const std::string& entry)
{
    return errorLine("Error at " + entry + "\n");
}

LogLine trace(const std::string& entry, const std::string& kind)
{
    return {6, "visora_runtime_log", entry + "_" + kind};
}

PropertyOverride::PropertyOverride(const std::string& key, const std::string& value) : key_(key)
{
    const std::lock_guard lock(state().mutex);
    state().properties[key] = value;
}

PropertyOverride::~PropertyOverride()
{
    const std::lock_guard lock(state().mutex);
    state().properties.erase(key_);
}

}  // namespace visora::test

// These two are bound by the dynamic linker before those of libvisorahost.
extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int __android_log_print(int prio,
                                                                                                const char* tag,
                                                                                                const char* fmt, ...)
{
    char text[4096];
    va_list arguments;
    va_start(arguments, fmt);
    std::vsnprintf(text, sizeof(text), fmt, arguments);
    va_end(arguments);
    return visora::test::takeLine({prio, tag, text});
}

extern "C" __attribute__((visibility("default"))) int property_get(const char* key, char* value,
                                                                   const char* default_value)
{
    auto& s = visora::test::state();
    const std::lock_guard lock(s.mutex);
    const auto found = s.properties.find(key);
    const std::string text = found != s.properties.end() ? found->second : default_value ? default_value : "";
    const size_t length = std::min<size_t>(text.size(), 91);
    std::memcpy(value, text.data(), length);
    value[length] = '\0';
    return static_cast<int>(length);
}
