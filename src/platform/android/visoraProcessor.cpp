#include "platform/android/visoraProcessor.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "visora/runtime.h"

const char* ivsrProcessorDescriptionPath = nullptr;

namespace
{

// What is read of a description, and an end of the text.
using Description = std::array<char, 4096 + 1>;

#if defined(__aarch64__) || defined(__arm__)
constexpr const char* kSystemPath = "/proc/cpuinfo";
#else
// The vector kernels run on other processors too, whose own descriptions have other words.
constexpr const char* kSystemPath = nullptr;
#endif
constexpr char kStandIn[] =
    "CPU implementer : 0x00\n"
    "CPU architecture: 8\n"
    "Features : fp asimd\n";

template <class Call>
auto retryInterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
    {
        result = call();
    }
    return result;
}

// Up to the limit and in one read, so a description that changes is never seen in two states. Nothing is allocated: a
// machine is found without memory too.
std::optional<std::string_view> readFile(const char* path, Description& description)
{
    const int fd = retryInterrupted([&] { return open(path, O_RDONLY | O_CLOEXEC); });
    if (fd < 0)
    {
        return std::nullopt;
    }
    const ssize_t length = retryInterrupted([&] { return read(fd, description.data(), description.size() - 1); });
    close(fd);
    if (length < 0)
    {
        return std::nullopt;
    }
    return std::string_view(description.data(), static_cast<size_t>(length));
}

std::optional<std::string_view> describe(Description& description)
{
    const char* path = ivsrProcessorDescriptionPath ? ivsrProcessorDescriptionPath : kSystemPath;
    return path ? readFile(path, description) : kStandIn;
}

// The rest of the line behind the name and ": "; empty when there is no such field.
std::string_view field(std::string_view text, std::string_view name)
{
    size_t at = text.find(name);
    while (at != std::string_view::npos && at != 0 && text[at - 1] != '\n')
    {
        at = text.find(name, at + name.size());
    }
    if (at == std::string_view::npos)
    {
        return {};
    }
    const size_t colon = text.find(':', at + name.size());
    if (colon == std::string_view::npos || text.substr(colon + 1, 1) != " ")
    {
        return {};
    }
    const std::string_view rest = text.substr(colon + 2);
    return rest.substr(0, rest.find('\n'));
}

// The number that a field begins with, 0 when there is none. Behind a field there is a line feed or the end of the
// text.
int64_t numberIn(std::string_view field, int base)
{
    return field.empty() ? 0 : std::strtol(field.data(), nullptr, base);
}

bool hasWord(std::string_view words, std::string_view wanted)
{
    constexpr std::string_view kBlanks = " \t";
    for (size_t start = words.find_first_not_of(kBlanks); start != std::string_view::npos;)
    {
        const size_t end = std::min(words.find_first_of(kBlanks, start), words.size());
        if (words.substr(start, end - start) == wanted)
        {
            return true;
        }
        start = words.find_first_not_of(kBlanks, end);
    }
    return false;
}

visora::Processor discover()
{
    visora::Processor found;
    Description description{};
    const std::optional<std::string_view> text = describe(description);
    if (!text)
    {
        return found;
    }
    if (numberIn(field(*text, "CPU architecture"), 10) >= 7)
    {
        found.features |= visora::kFeatureArchitecture7;
    }
    found.implementer = numberIn(field(*text, "CPU implementer"), 0);
    const std::string_view features = field(*text, "Features");
    if (hasWord(features, "vfp") || hasWord(features, "fp"))
    {
        found.features |= visora::kFeatureFloat;
    }
    if (hasWord(features, "neon") || hasWord(features, "asimd"))
    {
        found.features |= visora::kFeatureVector;
    }
    const std::string_view hardware = field(*text, "Hardware");
    found.onlyCpu =
        hardware.find("PLTA01") != std::string_view::npos || hardware.find("PLTA02") != std::string_view::npos;
    return found;
}

}  // namespace

visora::Processor& visora::processor()
{
    static Processor found = discover();
    return found;
}

uint32_t ivsrProcessorFeatures(void)
{
    return visora::processor().features;
}

int64_t ivsrProcessorImplementer(void)
{
    return visora::processor().implementer;
}
