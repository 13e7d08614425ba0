#include "job.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <sstream>
#include <string_view>

#include "elements.h"
#include "info.h"
#include "inputs.h"
#include "visora/dispatch.h"
#include "visora/runtime.h"

namespace tool
{
namespace
{

constexpr int64_t kMostBytes = int64_t{1} << 32;

bool isImage(const Parameter& parameter)
{
    return parameter.role == Role::Source || parameter.role == Role::Mask || parameter.role == Role::Destination;
}

bool isBuffer(const Parameter& parameter)
{
    return isImage(parameter) || parameter.role == Role::List || parameter.role == Role::Result ||
           parameter.role == Role::Scratch;
}

std::string name(const Parameter& parameter)
{
    return parameter.name;
}

// One call: its values and the buffers that they point at.
class Call
{
  public:
    Call(const Operation& operation, const std::vector<Picture>& pictures, const JobOptions& options)
        : operation_(operation),
          parameters_(operation.parameters),
          options_(options),
          pictures_(pictures),
          values_(parameters_.size()),
          known_(parameters_.size()),
          buffers_(parameters_.size())
    {
        takeNumbers();
        takeSizes();
        takeLists();
        takeUsual();
        if (const char* refusal = operation.refusal(values_))
        {
            throw Refused(refusal);
        }
        makeBuffers();
    }

    double run() const { return operation_.call(values_); }

    Result result(double returned) const
    {
        Result result;
        std::ostringstream text;
        size_t destinations = 0;
        for (const Parameter& parameter : parameters_)
        {
            destinations += parameter.role == Role::Destination ? 1 : 0;
        }
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            const Parameter& parameter = parameters_[i];
            if (!parameter.out || !values_[i].pointer || parameter.role == Role::Scratch)
            {
                continue;
            }
            if (parameter.role == Role::Destination)
            {
                std::string note;
                result.pictures.emplace_back(
                    destinations > 1 ? name(parameter) : "",
                    toPicture(operation_, parameter, buffers_[i].data(), operation_.shape(values_, i), note));
                text << note;
            }
            else
            {
                printList(text, i);
            }
        }
        if (!operation_.hasStatus)
        {
            text << "result " << returned << "\n";
        }
        result.text = text.str();
        if (options_.overlay)
        {
            result.pictures.emplace_back(result.pictures.empty() ? "" : "overlay", overlay());
        }
        return result;
    }

    double pixels() const { return pictures_.empty() ? 1 : double{1} * pictures_[0].width * pictures_[0].height; }

  private:
    const std::string* given(size_t i) const
    {
        const auto found = options_.arguments.find(parameters_[i].name);
        return found == options_.arguments.end() ? nullptr : &found->second;
    }

    void know(int i, double number)
    {
        values_[static_cast<size_t>(i)].number = number;
        known_[static_cast<size_t>(i)] = true;
    }

    void takeNumbers()
    {
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            if (!isBuffer(parameters_[i]) && given(i))
            {
                know(static_cast<int>(i), parseNumber(parameters_[i], *given(i)));
            }
        }
    }

    // The pictures that are given decide on sizes that are parameters.
    void takeSizes()
    {
        const std::vector<size_t> wanted = picturesWanted(operation_);
        if (pictures_.size() != wanted.size())
        {
            std::string names;
            for (const size_t i : wanted)
            {
                names += std::string(names.empty() ? "" : ", ") + parameters_[i].name;
            }
            throw Refused("needs " + std::to_string(wanted.size()) + (wanted.size() == 1 ? " picture" : " pictures") +
                          (names.empty() ? "" : " (" + names + ")") + ", " + std::to_string(pictures_.size()) +
                          " given");
        }
        for (size_t k = 0; k < wanted.size(); ++k)
        {
            const Parameter& image = parameters_[wanted[k]];
            pictureOf_[wanted[k]] = &pictures_[k];
            takeSize(image, image.width, pictures_[k].width);
            takeSize(image, image.height, pictures_[k].height);
        }
    }

    void takeSize(const Parameter& image, int parameter, double size)
    {
        if (parameter < 0)
        {
            return;
        }
        const auto i = static_cast<size_t>(parameter);
        if (known_[i] && values_[i].number != size)
        {
            std::ostringstream text;
            text << image.name << " has to have a " << (parameter == image.width ? "width" : "height") << " of "
                 << values_[i].number << ", as " << parameters_[i].name << " says; the picture's is " << size;
            throw Refused(text.str());
        }
        know(parameter, size);
    }

    void takeLists()
    {
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            const Parameter& parameter = parameters_[i];
            if (parameter.role == Role::List && parameter.in)
            {
                const std::string text = given(i) ? *given(i) : parameter.usual;
                if (text.empty() && !parameter.out)
                {
                    throw Refused("--" + name(parameter) + " is needed: numbers with commas between them");
                }
                std::istringstream stream(text);
                for (std::string part; std::getline(stream, part, ',');)
                {
                    lists_[i].push_back(parseNumber(parameter, part));
                }
                if (parameter.count >= 0 && !known_[static_cast<size_t>(parameter.count)])
                {
                    // Entries may be pairs.
                    const int64_t each = operation_.shape(values_, i).channels;
                    const int64_t entries = static_cast<int64_t>(lists_[i].size()) / each;
                    know(parameter.count, static_cast<double>(entries));
                }
            }
        }
    }

    void takeUsual()
    {
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            const Parameter& parameter = parameters_[i];
            if (isBuffer(parameter) || parameter.role == Role::Stride || known_[i])
            {
                continue;
            }
            const bool ofPicture = !pictures_.empty() && *parameter.usual == '\0';
            if (ofPicture && parameter.role == Role::Width)
            {
                know(static_cast<int>(i), pictures_[0].width);
            }
            else if (ofPicture && parameter.role == Role::Height)
            {
                know(static_cast<int>(i), pictures_[0].height);
            }
            else if (*parameter.usual == '\0')
            {
                throw Refused("--" + name(parameter) + " is needed");
            }
            else
            {
                know(static_cast<int>(i), operation_.value(values_, i));
            }
        }
    }

    void makeBuffers()
    {
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            const Parameter& parameter = parameters_[i];
            const bool leftOut = parameter.optional && parameter.in && !given(i) && !pictureOf_.contains(i);
            if (!isBuffer(parameter) || leftOut)
            {
                continue;
            }
            const Shape shape = operation_.shape(values_, i);
            const auto element = static_cast<int64_t>(sizeOf(parameter.element));
            if (shape.width <= 0 || shape.height <= 0 || shape.channels <= 0 ||
                shape.width * shape.channels > kMostBytes / element / shape.height)
            {
                throw Refused(name(parameter) + " would have " + std::to_string(shape.width) + " x " +
                              std::to_string(shape.height) + " elements: too few or too many");
            }
            buffers_[i].resize(static_cast<size_t>(shape.width * shape.height * shape.channels * element));
            values_[i].pointer = buffers_[i].data();
            if (parameter.stride >= 0)
            {
                values_[static_cast<size_t>(parameter.stride)].number =
                    static_cast<double>(shape.width * shape.channels * element);
            }
            fill(i, shape);
        }
    }

    void fill(size_t i, const Shape& shape)
    {
        const Parameter& parameter = parameters_[i];
        if (isImage(parameter) && parameter.in)
        {
            const auto found = pictureOf_.find(i);
            Picture own;
            const Picture* picture = found == pictureOf_.end() ? nullptr : found->second;
            if (!picture && given(i))
            {
                own = pictures::readPicture(*given(i));
                picture = &own;
            }
            fillImage(operation_, parameter, buffers_[i].data(), picture, shape,
                      pictures_.empty() ? nullptr : &pictures_[0]);
        }
        else if (parameter.role == Role::List && parameter.in)
        {
            const auto wanted = static_cast<size_t>(shape.width * shape.height * shape.channels);
            if (lists_[i].size() != wanted && !lists_[i].empty())
            {
                throw Refused("--" + name(parameter) + " has " + std::to_string(lists_[i].size()) + " numbers, " +
                              std::to_string(wanted) + " are needed");
            }
            for (size_t k = 0; k < lists_[i].size(); ++k)
            {
                set(parameter.element, buffers_[i].data(), k, lists_[i][k]);
            }
        }
    }

    // How many entries of a list were written.
    size_t entries(size_t i) const
    {
        const Shape shape = operation_.shape(values_, i);
        const int used = parameters_[i].used;
        if (used < 0)
        {
            return static_cast<size_t>(shape.width * shape.height);
        }
        const auto at = static_cast<size_t>(used);
        return std::min(static_cast<size_t>(get(parameters_[at].element, buffers_[at].data(), 0)),
                        static_cast<size_t>(shape.width));
    }

    void printList(std::ostream& out, size_t i) const
    {
        const Parameter& parameter = parameters_[i];
        const Shape shape = operation_.shape(values_, i);
        const size_t count = entries(i);
        const auto perLine = static_cast<size_t>(shape.height > 1 ? shape.width * shape.channels : shape.channels);
        const size_t numbers = count * static_cast<size_t>(shape.channels);
        out << parameter.name << (numbers > perLine ? ":\n" : " ");
        for (size_t k = 0; k < numbers; ++k)
        {
            out << get(parameter.element, buffers_[i].data(), k) << ((k + 1) % perLine == 0 ? "\n" : " ");
        }
    }

    Picture overlay() const
    {
        for (size_t i = 0; i < parameters_.size() && !pictures_.empty(); ++i)
        {
            const Parameter& parameter = parameters_[i];
            if (parameter.role == Role::List && parameter.out && operation_.shape(values_, i).channels == 2)
            {
                Picture picture = pictures::toRgb(pictures::toGray(pictures_[0]));
                for (size_t k = 0; k < entries(i); ++k)
                {
                    pictures::drawCross(
                        picture, static_cast<uint32_t>(get(parameter.element, buffers_[i].data(), 2 * k)),
                        static_cast<uint32_t>(get(parameter.element, buffers_[i].data(), 2 * k + 1)), {255, 32, 32});
                }
                return picture;
            }
        }
        throw Refused("finds no places that --overlay could draw");
    }

    const Operation& operation_;
    std::span<const Parameter> parameters_;
    const JobOptions& options_;
    const std::vector<Picture>& pictures_;
    Values values_;
    std::vector<bool> known_;
    std::vector<std::vector<uint8_t>> buffers_;
    std::map<size_t, const Picture*> pictureOf_;
    std::map<size_t, std::vector<double>> lists_;
};

std::string timeOf(const Operation& operation, const std::vector<Picture>& pictures, const JobOptions& options)
{
    const Call call(operation, pictures, options);
    double best = HUGE_VAL;
    for (int round = 0; round < 7; ++round)
    {
        const auto start = std::chrono::steady_clock::now();
        call.run();
        const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
        best = std::min(best, elapsed.count());
    }
    char line[160];
    std::snprintf(line, sizeof(line), "%s %s %.3f ms, %.3f ns/pixel\n", operation.function,
                  vsrImplChar[vsrImplTable[operation.row]], best / 1e6, best / call.pixels());
    return line;
}

}  // namespace

std::vector<size_t> picturesWanted(const Operation& operation)
{
    std::vector<size_t> wanted;
    for (size_t i = 0; i < operation.parameters.size(); ++i)
    {
        const Parameter& parameter = operation.parameters[i];
        if (parameter.role == Role::Source && !parameter.optional && !isDerived(operation, parameter))
        {
            wanted.push_back(i);
        }
    }
    // What only changes an image takes that image; one of several optional ones is needed.
    for (size_t i = 0; wanted.empty() && i < operation.parameters.size(); ++i)
    {
        const Parameter& parameter = operation.parameters[i];
        if (parameter.role == Role::Source || (parameter.role == Role::Destination && parameter.in))
        {
            wanted.push_back(i);
        }
    }
    return wanted;
}

double parseNumber(const Parameter& parameter, const std::string& text)
{
    for (const Constant& constant : constants())
    {
        if (std::string_view(constant.enumeration) == parameter.enumeration)
        {
            const std::string_view full = constant.name;
            const bool isName =
                std::equal(text.rbegin(), text.rend(), full.rbegin(),
                           full.rbegin() + static_cast<std::ptrdiff_t>(std::min(text.size(), full.size())),
                           [](char a, char b) { return std::toupper(a == '-' ? '_' : a) == b; });
            if (isName && (text.size() == full.size() || full[full.size() - text.size() - 1] == '_'))
            {
                return static_cast<double>(constant.value);
            }
        }
    }
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
    {
        throw Refused("--" + name(parameter) + ": " + text + " is no number");
    }
    double kept = 0;
    uint64_t memory = 0;
    set(parameter.element, &memory, 0, number);
    kept = get(parameter.element, &memory, 0);
    const bool whole = parameter.element != Element::F32 && parameter.element != Element::F64;
    if (whole && kept != number)
    {
        throw Refused("--" + name(parameter) + ": " + text + " is outside its range of whole numbers");
    }
    return number;
}

Result apply(const Operation& operation, const std::vector<Picture>& pictures, const JobOptions& options)
{
    lastLogLine().clear();
    const Call call(operation, pictures, options);
    const double returned = call.run();
    if (operation.hasStatus && returned != 0)
    {
        const std::string status = vsrStatusText(static_cast<vsrStatus>(static_cast<int64_t>(returned)));
        throw Refused(std::string(operation.function) +
                      " refuses: " + (lastLogLine().empty() ? status : lastLogLine()));
    }
    Result result = call.result(returned);
    if (options.time)
    {
        result.text += timeOf(operation, pictures, options);
    }
    return result;
}

}  // namespace tool
