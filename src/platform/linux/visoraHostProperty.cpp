// System properties: from the environment, a file, the built-in values, or the caller's default, in this order.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>

#include "platform/linux/visoraHostPlatform.h"

namespace
{

constexpr size_t kValueBytes = 92;

std::optional<std::string> fromEnvironment(const std::string& key)
{
    std::string name = "VISORA_PROP_" + key;
    std::replace(name.begin(), name.end(), '.', '_');
    const char* value = std::getenv(name.c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

std::optional<std::string> fromFile(const std::string& key)
{
    const char* path = std::getenv("VISORA_PROPERTIES");
    std::ifstream file(path ? path : "/etc/visora.prop");
    const std::string start = key + "=";
    for (std::string line; std::getline(file, line);)
    {
        if (line.rfind(start, 0) == 0)
        {
            return line.substr(start.size());
        }
    }
    return std::nullopt;
}

std::optional<std::string> builtIn(const std::string& key)
{
    return key == "ro.board.platform" ? std::optional<std::string>("hst") : std::nullopt;
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value)
{
    std::optional<std::string> text = fromEnvironment(key);
    if (!text)
    {
        text = fromFile(key);
    }
    if (!text)
    {
        text = builtIn(key);
    }
    if (!text)
    {
        text = default_value ? default_value : "";
    }
    const size_t length = std::min(text->size(), kValueBytes - 1);
    std::memcpy(value, text->data(), length);
    value[length] = '\0';
    return static_cast<int>(length);
}
