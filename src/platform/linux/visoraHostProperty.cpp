// System properties: from the environment, a file, the built-in values, or the caller's default, in this order. Nothing
// is allocated but by the C library for the file, which counts as missing when that fails.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "platform/linux/visoraHostPlatform.h"

namespace
{

constexpr size_t kValueBytes = 92;
constexpr size_t kNameBytes = 256;

int copyValue(char* value, const char* text, size_t length)
{
    length = std::min(length, kValueBytes - 1);
    std::memmove(value, text, length);
    value[length] = '\0';
    return static_cast<int>(length);
}

const char* fromEnvironment(const char* key)
{
    char name[kNameBytes];
    const int length = std::snprintf(name, sizeof(name), "VISORA_PROP_%s", key);
    if (length < 0 || static_cast<size_t>(length) >= sizeof(name))
    {
        return nullptr;
    }
    std::replace(name, name + length, '.', '_');
    return std::getenv(name);
}

// The length of the value, negative when the file has no such line.
int fromFile(const char* key, char* value)
{
    const char* const path = std::getenv("VISORA_PROPERTIES");
    std::FILE* const file = std::fopen(path ? path : "/etc/visora.prop", "re");
    if (!file)
    {
        return -1;
    }
    const size_t keyLength = std::strlen(key);
    int found = -1;
    bool lineBegins = true;
    for (char line[kNameBytes + kValueBytes]; found < 0 && std::fgets(line, sizeof(line), file);)
    {
        const size_t length = std::strcspn(line, "\n");
        if (lineBegins && length > keyLength && line[keyLength] == '=' && std::strncmp(line, key, keyLength) == 0)
        {
            found = copyValue(value, line + keyLength + 1, length - keyLength - 1);
        }
        // The rest of a longer line is no line of its own.
        lineBegins = line[length] == '\n';
    }
    std::fclose(file);
    return found;
}

const char* builtIn(const char* key)
{
    return std::strcmp(key, "ro.board.platform") == 0 ? "hst" : nullptr;
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value)
{
    const char* text = fromEnvironment(key);
    if (!text)
    {
        const int length = fromFile(key, value);
        if (length >= 0)
        {
            return length;
        }
        text = builtIn(key);
    }
    if (!text)
    {
        text = default_value ? default_value : "";
    }
    return copyValue(value, text, std::strlen(text));
}
