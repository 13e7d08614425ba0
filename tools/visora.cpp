// visora: the library's operations on PNG and JPEG files.
#include <cstdio>
#include <deque>
#include <thread>

#include "batch.h"
#include "info.h"
#include "names.h"
#include "track.h"
#include "visora/dispatch.h"

namespace tool
{
namespace
{

struct Command
{
    BatchOptions batch;
    JobOptions job;
    TrackOptions track;
    std::string mode = "cpu-performance";
    std::string kind;
};

void addCommonOptions(CLI::App& app, Command& command)
{
    app.add_option("-o,--output", command.batch.output,
                   "File, .png or .jpg, or folder to write to; of a folder of pictures always a folder");
    app.add_option("-j,--jobs", command.batch.jobs, "Pictures of a folder that are worked on at a time")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    addModeOption(app, command.mode, "Operation mode")->capture_default_str();
}

void addKindOption(CLI::App& app, std::string& kind)
{
    std::vector<std::string> names(vsrImplChar, vsrImplChar + VSR_KIND_COUNT);
    app.add_option("-k,--kind", kind, "What is to serve the operation, whatever the mode says")
        ->check(CLI::IsMember(names, CLI::ignore_case))
        ->option_text("NAME: " + CLI::detail::join(names, ", "));
}

// One of the options that an operation's parameters become, by its name.
void addArgument(CLI::App& app, const Parameter& parameter, std::string& value)
{
    const bool image =
        parameter.role == Role::Source || parameter.role == Role::Mask || parameter.role == Role::Destination;
    std::string text = parameter.text;
    if (text.empty() && *parameter.of != '\0' && !image)
    {
        const char* what = parameter.role == Role::Width ? "Width" : parameter.role == Role::Height ? "Height" : "Of";
        text = std::string(what) + (what == std::string_view("Of") ? " " : " of ") + parameter.of;
    }
    std::string kind = image ? "FILE" : parameter.role == Role::List ? "NUMBERS" : "NUMBER";
    if (*parameter.enumeration != '\0')
    {
        kind.clear();
        for (const Constant& constant : constants())
        {
            if (std::string_view(constant.enumeration) == parameter.enumeration)
            {
                kind += std::string(kind.empty() ? "" : " | ") + constant.name;
            }
        }
    }
    if (*parameter.usual != '\0')
    {
        kind += std::string(" = ") + parameter.usual;
    }
    // Some parameters have the names of options that every operation has.
    const bool taken = app.get_option_no_throw(std::string("--") + parameter.name) != nullptr;
    app.add_option((taken ? "--its-" : "--") + std::string(parameter.name), value, text)->option_text(kind);
}

// The arguments that were given, where the parser put them: addresses stay.
using Arguments = std::deque<std::pair<std::string, std::string>>;

void addOperation(CLI::App& app, const Operation& operation, Command& command, Arguments& arguments)
{
    const std::vector<size_t> wanted = picturesWanted(operation);
    std::string names;
    for (const size_t i : wanted)
    {
        names += std::string(names.empty() ? "" : ", ") + operation.parameters[i].name;
    }
    if (!wanted.empty())
    {
        app.add_option("pictures", command.batch.inputs,
                       "PNG or JPEG files (" + names + "), the first one may be a folder")
            ->required()
            ->check(CLI::ExistingPath);
    }
    addCommonOptions(app, command);
    addKindOption(app, command.kind);
    app.add_flag("--time", command.job.time, "Tell how long the call takes");
    app.add_flag("--overlay", command.job.overlay, "Draw the places that are found on the picture");
    for (size_t i = 0; i < operation.parameters.size(); ++i)
    {
        const Parameter& parameter = operation.parameters[i];
        const bool image = parameter.role == Role::Source || parameter.role == Role::Mask;
        const bool positional = std::find(wanted.begin(), wanted.end(), i) != wanted.end();
        const bool number = parameter.role == Role::Scalar || parameter.role == Role::Enum ||
                            parameter.role == Role::Width || parameter.role == Role::Height ||
                            parameter.role == Role::Count || parameter.role == Role::Channels;
        // The pictures have their sizes.
        const bool ofPicture = std::any_of(wanted.begin(), wanted.end(),
                                           [&](size_t k)
                                           {
                                               const auto index = static_cast<int>(i);
                                               const Parameter& picture = operation.parameters[k];
                                               return picture.width == index || picture.height == index;
                                           });
        if ((image && !positional) || (number && !ofPicture) || (parameter.role == Role::List && parameter.in))
        {
            arguments.emplace_back(parameter.name, "");
            addArgument(app, parameter, arguments.back().second);
        }
    }
}

std::string article(const Operation& operation)
{
    std::string text = std::string(operation.name) + ": " + operation.function + " of <" + operation.header + ">\n\n" +
                       operation.comment + "\n";
    for (const char* part : {operation.notes, operation.common})
    {
        text += *part == '\0' ? "" : "\n" + std::string(part) + "\n";
    }
    return text;
}

int list(const std::string& pattern)
{
    size_t shown = 0;
    for (const Operation& operation : operations())
    {
        const std::string line = std::string(operation.name) + " " + operation.family + " " + operation.comment;
        if (CLI::detail::to_lower(line).find(CLI::detail::to_lower(pattern)) != std::string::npos)
        {
            std::printf("%-42s %s\n", operation.name, operation.brief);
            ++shown;
        }
    }
    if (shown == 0)
    {
        throw Refused("no operation has " + pattern + " in its name or text");
    }
    return 0;
}

void apply(const Command& command, const Operation* operation)
{
    const vsrStatus status = vsrSetOperationMode(modeOf(command.mode));
    if (status != VISORA_SUCCESS)
    {
        throw Refused("mode " + command.mode + ": " + vsrStatusText(status));
    }
    for (VSR_IMPL kind = 0; operation && kind < VSR_KIND_COUNT; ++kind)
    {
        if (CLI::detail::to_lower(vsrImplChar[kind]) == CLI::detail::to_lower(command.kind))
        {
            if (!vsrFuncTable[operation->row * VSR_KIND_COUNT + kind])
            {
                throw Refused(std::string(vsrImplChar[kind]) + " does not have this operation");
            }
            vsrImplTable[operation->row] = kind;
        }
    }
}

int runOperation(Command& command, const Operation& operation, const Arguments& arguments)
{
    for (const auto& [name, value] : arguments)
    {
        if (!value.empty())
        {
            command.job.arguments[name] = value;
        }
    }
    apply(command, &operation);
    command.batch.suffix = operation.name;
    return runBatch(command.batch, [&](const std::vector<Picture>& pictures)
                    { return tool::apply(operation, pictures, command.job); });
}

int runTrack(Command& command)
{
    apply(command, nullptr);
    command.batch.suffix = "track";
    // Without a place for it the picture with the arrows is not wanted.
    return runBatch(command.batch,
                    [&](const std::vector<Picture>& pictures)
                    {
                        Result result = track(pictures[0], pictures[1], command.track);
                        if (command.batch.output.empty())
                        {
                            result.pictures.clear();
                        }
                        return result;
                    });
}

CLI::App* subcommand(CLI::App& app, const std::string& name)
{
    for (CLI::App* known : app.get_subcommands({}))
    {
        if (known->get_name() == name)
        {
            return known;
        }
    }
    return nullptr;
}

int run(int argc, char** argv)
{
    CLI::App app("Operations of Visora on PNG and JPEG files.", "visora");
    app.set_version_flag("--version", version());
    app.footer(
        "Any operation of `visora list` is a command: visora median3x3 in.png -o out.png; visora help median3x3 tells "
        "what\n"
        "it does and takes. Folders of pictures become folders of pictures.");
    app.require_subcommand(1);
    Command command;
    Arguments arguments;
    const Operation* operation = nullptr;
    std::string pattern;
    std::string topic;
    InfoOptions infoOptions;

    CLI::App& listCommand = *app.add_subcommand("list", "List the operations");
    listCommand.add_option("words", pattern, "Only those that have this in their name, family or text");
    CLI::App& helpCommand = *app.add_subcommand("help", "Tell what an operation does and takes");
    helpCommand.add_option("operation", topic, "Its name");
    CLI::App& infoCommand = *app.add_subcommand("info", "Tell what this machine offers");
    addInfoOptions(infoCommand, infoOptions);
    CLI::App& trackCommand = *app.add_subcommand("track", "Follow corners of one picture into another");
    trackCommand.add_option("pictures", command.batch.inputs, "The two pictures")
        ->required()
        ->expected(2)
        ->check(CLI::ExistingFile);
    addCommonOptions(trackCommand, command);
    trackCommand.add_option("--threshold", command.track.threshold, "Least contrast of a corner")
        ->capture_default_str();
    trackCommand.add_option("--window", command.track.window, "Side of the window around a point, in pixels")
        ->check(CLI::Range(3, 255))
        ->capture_default_str();
    trackCommand.add_option("--longer", command.track.exaggeration, "Draw arrows this many times as long")
        ->capture_default_str();

    const std::string first = argc > 1 ? argv[1] : "";
    CLI::App* operationCommand = nullptr;
    if (!first.empty() && first[0] != '-' && !subcommand(app, first))
    {
        operation = &findOperation(first);
        operationCommand = app.add_subcommand(first, article(*operation))->group("");
        addOperation(*operationCommand, *operation, command, arguments);
    }
    CLI11_PARSE(app, argc, argv);
    if (operationCommand)
    {
        return runOperation(command, *operation, arguments);
    }
    if (listCommand.parsed())
    {
        return list(pattern);
    }
    if (infoCommand.parsed())
    {
        return showInfo(infoOptions);
    }
    if (trackCommand.parsed())
    {
        return runTrack(command);
    }
    if (topic.empty())
    {
        std::printf("%s", app.help().c_str());
        return 0;
    }
    if (CLI::App* known = subcommand(app, topic))
    {
        std::printf("%s", known->help().c_str());
        return 0;
    }
    const Operation& about = findOperation(topic);
    CLI::App shown(article(about), "visora " + topic);
    addOperation(shown, about, command, arguments);
    std::printf("%s", shown.help().c_str());
    return 0;
}

}  // namespace
}  // namespace tool

int main(int argc, char** argv)
{
    return tool::runProgram("visora", [&] { return tool::run(argc, argv); });
}
