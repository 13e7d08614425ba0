#include "names.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <regex>
#include <string_view>

#include "job.h"

namespace tool
{
namespace
{

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// Without dashes and blanks, the prefix and the version.
std::string plain(const std::string& name)
{
    static const std::regex extras("^vsr|_v[0-9]+$|[-_ ]");
    return std::regex_replace(lower(name), extras, "");
}

// Without the types of its elements.
std::string untyped(const std::string& name)
{
    static const std::regex types("([usf](8|16|32|64))+$");
    return std::regex_replace(name, types, "");
}

// Whether a word of a name begins there.
bool startsWord(std::string_view name, size_t at)
{
    return at == 0 || std::isupper(static_cast<unsigned char>(name[at])) ||
           (std::isdigit(static_cast<unsigned char>(name[at])) &&
            !std::isdigit(static_cast<unsigned char>(name[at - 1])));
}

// The least number of letters to insert, delete or exchange.
size_t distance(const std::string& a, const std::string& b)
{
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
    {
        row[j] = j;
    }
    for (size_t i = 1; i <= a.size(); ++i)
    {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j)
        {
            const size_t change = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[b.size()];
}

// How far the name is from the operation's or from the end of it that begins with one of its words.
size_t farness(const std::string& name, const Operation& operation)
{
    const std::string whole = untyped(lower(operation.name));
    size_t least = distance(name, lower(operation.name));
    for (size_t at = 0; at < whole.size(); ++at)
    {
        if (startsWord(operation.name, at))
        {
            least = std::min(least, distance(name, whole.substr(at)));
        }
    }
    return least;
}

std::string listed(const std::vector<const Operation*>& some)
{
    constexpr size_t kMost = 8;
    std::string text;
    for (size_t i = 0; i < std::min(some.size(), kMost); ++i)
    {
        text += std::string(i == 0 ? "" : ", ") + some[i]->name;
    }
    return text + (some.size() > kMost ? ", ..." : "");
}

const Operation& only(const std::string& name, const std::vector<const Operation*>& found)
{
    // Bytes are what pictures have.
    std::vector<const Operation*> ofBytes = found;
    std::erase_if(ofBytes,
                  [](const Operation* operation) { return !std::string_view(operation->name).ends_with("u8"); });
    const auto& few = ofBytes.empty() ? found : ofBytes;
    if (few.size() > 1)
    {
        throw Refused(name + " may be " + listed(few));
    }
    return *few[0];
}

}  // namespace

const Operation& findOperation(const std::string& name)
{
    // What people look for by other names than the functions have.
    const std::string wanted = plain(name) == "corners" ? "cornerfast9score" : plain(name);
    std::vector<const Operation*> ends;
    std::vector<const Operation*> parts;
    for (const Operation& operation : operations())
    {
        const std::string whole = lower(operation.name);
        if (whole == wanted)
        {
            return operation;
        }
        for (const std::string& text : {whole, untyped(whole)})
        {
            if (wanted.size() > 1 && text.ends_with(wanted) && startsWord(operation.name, text.size() - wanted.size()))
            {
                ends.push_back(&operation);
                break;
            }
        }
        if (wanted.size() > 2 && whole.find(wanted) != std::string::npos)
        {
            parts.push_back(&operation);
        }
    }
    // A whole name comes before the end of a longer one.
    std::vector<const Operation*> wholes = ends;
    std::erase_if(wholes, [&](const Operation* operation) { return untyped(lower(operation->name)) != wanted; });
    // The fewer words before it, the likelier it is meant.
    const auto words = [](const Operation* operation)
    {
        const std::string_view text = operation->name;
        return std::count_if(text.begin(), text.end(), [](unsigned char c) { return std::isupper(c) != 0; });
    };
    std::ptrdiff_t fewest = std::numeric_limits<std::ptrdiff_t>::max();
    for (const Operation* operation : ends)
    {
        fewest = std::min(fewest, words(operation));
    }
    std::erase_if(ends, [&](const Operation* operation) { return words(operation) > fewest; });
    for (const auto& found : {wholes, ends, parts})
    {
        if (!found.empty())
        {
            return only(name, found);
        }
    }

    std::vector<const Operation*> nearest;
    for (const Operation& operation : operations())
    {
        nearest.push_back(&operation);
    }
    std::stable_sort(nearest.begin(), nearest.end(),
                     [&](const Operation* a, const Operation* b) { return farness(wanted, *a) < farness(wanted, *b); });
    nearest.resize(std::min<size_t>(nearest.size(), 3));
    throw Refused("there is no operation " + name + "; nearest are " + listed(nearest) + ". `visora list` has all");
}

}  // namespace tool
