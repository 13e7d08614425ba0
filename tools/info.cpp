// What this machine offers to the library and what a mode makes of it.
#include "info.h"

#include <cstdio>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>
#include <vector>

#include "visora.h"
#include "visora/host.h"

#if defined(__aarch64__)
#define VISORA_ARCHITECTURE "aarch64"
#else
#define VISORA_ARCHITECTURE "x86_64"
#endif

namespace tool
{
namespace
{

using nlohmann::ordered_json;

const std::map<std::string, vsrOperationMode> kModes = {
    {"low-power", VISORA_OP_LOW_POWER},     {"performance", VISORA_OP_PERFORMANCE},
    {"cpu-offload", VISORA_OP_CPU_OFFLOAD}, {"cpu-performance", VISORA_OP_CPU_PERFORMANCE},
    {"ext-adsp", VISORA_OP_EXT_ADSP},       {"ext-cdsp", VISORA_OP_EXT_CDSP},
    {"ext-mdsp", VISORA_OP_EXT_MDSP},       {"ext-dsp-pinned", VISORA_OP_EXT_DSP_PINNED},
    {"ext-gpu", VISORA_OP_EXT_GPU},         {"ext-kdsp", VISORA_OP_EXT_KDSP},
};

using Bits = std::vector<std::pair<uint32_t, const char*>>;

const Bits kFeatures = {{0x1, "architecture 7 or later"}, {0x2, "floating-point unit"}, {0x4, "vector unit"}};

const Bits kReport = {
    {0x2, "processor description read"}, {0x4, "vector unit"},
    {0x8, "DSP session ready"},          {0x20, "GPU"},
    {0x80, "floating-point unit"},       {0x100, "processor architecture 7 or later"},
    {0x800, "mobile platform"},          {0x1000, "always set"},
};

std::string hex(int64_t value)
{
    char text[24];
    std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(value));
    return text;
}

ordered_json namedBits(uint32_t value, const Bits& bits)
{
    ordered_json list = ordered_json::array();
    for (const auto& [bit, meaning] : bits)
    {
        list.push_back({{"bit", hex(bit)}, {"meaning", meaning}, {"set", (value & bit) != 0}});
    }
    return list;
}

// The name that the system has for the processor: what a description of another machine does not change.
std::string processorName()
{
    std::ifstream description("/proc/cpuinfo");
    const std::string_view field = "model name";
    for (std::string line; std::getline(description, line);)
    {
        const size_t colon = line.find(": ");
        if (line.starts_with(field) && colon != std::string::npos)
        {
            return line.substr(colon + 2);
        }
    }
    return {};
}

// Where the processor's features come from: modes decide by them, whatever the machine is.
const char* descriptionSource()
{
#if defined(__aarch64__)
    return ivsrProcessorDescriptionPath ? ivsrProcessorDescriptionPath : "/proc/cpuinfo";
#else
    return ivsrProcessorDescriptionPath ? ivsrProcessorDescriptionPath : "stand-in";
#endif
}

// As makers and README call it.
std::string instructionSet()
{
    const std::string name = ivsrVectorInstructionSet();
    return name.starts_with("AVX3") ? "AVX-512" + name.substr(4) : name;
}

ordered_json machine(uint32_t report)
{
    char version[16];
    vsrGetVersion(version, sizeof(version));
    return {
        {"version", version},
        {"machine",
         {{"name", processorName()},
          {"architecture", VISORA_ARCHITECTURE},
          {"online", vsrAvailableProcessors()},
          {"vectorInstructionSet", instructionSet()}}},
        {"processor",
         {{"describedBy", descriptionSource()},
          {"implementer", hex(ivsrProcessorImplementer())},
          {"online", vsrAvailableProcessors()},
          {"onlyCpu", vsr_check_only_cpu() != 0},
          {"features", namedBits(ivsrProcessorFeatures(), kFeatures)}}},
        {"hardwareReport", {{"value", hex(report)}, {"bits", namedBits(report, kReport)}}},
        {"vectorInstructionSet", instructionSet()},
        {"dsp", {{"ready", KCVAK6_is_ready()}, {"mode", KCVAK6_get_current_mode()}, {"domain", defaultDSP}}},
    };
}

void addKinds(ordered_json& list, uint32_t rows, const char* (*name)(uint32_t), const VSR_IMPL* kinds)
{
    for (uint32_t row = 0; row < rows; ++row)
    {
        if (const char* operation = name(row))
        {
            list.push_back({{"row", row}, {"operation", operation}, {"kind", vsrImplChar[kinds[row]]}});
        }
    }
}

// Applies the mode. Its report is asked for afterwards, when the session that the mode brings up stands.
ordered_json describeMode(const std::string& name)
{
    const vsrOperationMode mode = kModes.at(name);
    const vsrStatus status = vsrSetOperationMode(mode);
    ordered_json info = machine(vsrAvailableHardware(mode));
    ordered_json operations = ordered_json::array();
    ordered_json internal = ordered_json::array();
    addKinds(operations, VSR_ROW_COUNT, ivsrOperationName, vsrImplTable);
    addKinds(internal, VSR_INTERNAL_ROW_COUNT, ivsrInternalOperationName, vsrInternalImplTable);
    info["mode"] = {{"name", name},
                    {"value", hex(mode)},
                    {"status", status},
                    {"operations", std::move(operations)},
                    {"internalOperations", std::move(internal)}};
    return info;
}

void printBits(const ordered_json& bits)
{
    for (const ordered_json& bit : bits)
    {
        std::printf("  %-7s %-34s %s\n", bit["bit"].get<std::string>().c_str(),
                    bit["meaning"].get<std::string>().c_str(), bit["set"].get<bool>() ? "yes" : "no");
    }
}

void printKinds(const ordered_json& operations)
{
    for (const ordered_json& operation : operations)
    {
        std::printf("  %3u  %-45s %s\n", operation["row"].get<uint32_t>(),
                    operation["operation"].get<std::string>().c_str(), operation["kind"].get<std::string>().c_str());
    }
}

void printText(const ordered_json& info)
{
    const ordered_json& processor = info["processor"];
    std::printf("Visora %s\n", info["version"].get<std::string>().c_str());
    const ordered_json& real = info["machine"];
    const std::string name = real["name"].get<std::string>();
    std::printf("\nThis machine: %s%s%s, %d online, vector instruction set %s\n", name.c_str(),
                name.empty() ? "" : ", ", real["architecture"].get<std::string>().c_str(), real["online"].get<int>(),
                real["vectorInstructionSet"].get<std::string>().c_str());
    const std::string source = processor["describedBy"].get<std::string>();
    std::printf("\nProcessor that modes are chosen for, described by %s: implementer %s%s\n",
                source == "stand-in" ? "the library's stand-in, a phone's" : source.c_str(),
                processor["implementer"].get<std::string>().c_str(),
                processor["onlyCpu"].get<bool>() ? ", no DSP and no GPU" : "");
    printBits(processor["features"]);
    std::printf("\nHardware report: %s\n", info["hardwareReport"]["value"].get<std::string>().c_str());
    printBits(info["hardwareReport"]["bits"]);
    const ordered_json& dsp = info["dsp"];
    std::printf("\nDSP: %s, domain %d\n", dsp["ready"].get<bool>() ? "session ready" : "no session",
                dsp["domain"].get<int>());
    if (info.contains("mode"))
    {
        const ordered_json& mode = info["mode"];
        std::printf("\nMode %s (%s): status %u\n", mode["name"].get<std::string>().c_str(),
                    mode["value"].get<std::string>().c_str(), mode["status"].get<uint32_t>());
        printKinds(mode["operations"]);
        if (!mode["internalOperations"].empty())
        {
            std::printf("Internal operations\n");
            printKinds(mode["internalOperations"]);
        }
    }
}

}  // namespace

CLI::Option* addModeOption(CLI::App& app, std::string& mode, const std::string& what)
{
    std::string names = "Modes:";
    for (const auto& [name, value] : kModes)
    {
        names += " " + name;
    }
    app.footer(names);
    return app.add_option("-m,--mode", mode, what)
        ->transform(CLI::IsMember(kModes, CLI::ignore_case, CLI::ignore_underscore))
        ->option_text("NAME");
}

vsrOperationMode modeOf(const std::string& name)
{
    return kModes.at(name);
}

std::string version()
{
    char text[16];
    vsrGetVersion(text, sizeof(text));
    return text;
}

void addInfoOptions(CLI::App& app, InfoOptions& options)
{
    addModeOption(app, options.mode, "Apply this mode and list the kind of every operation");
    app.add_option("--processor-description", options.description, "Read this file instead of the system's description")
        ->check(CLI::ExistingFile)
        ->option_text("FILE");
    app.add_flag("--json", options.json, "Write JSON");
}

int showInfo(const InfoOptions& options)
{
    if (!options.description.empty())
    {
        ivsrProcessorDescriptionPath = options.description.c_str();
    }
    // The mode that wants neither DSP nor GPU leaves the machine as it is.
    const ordered_json info =
        options.mode.empty() ? machine(vsrAvailableHardware(VISORA_OP_CPU_PERFORMANCE)) : describeMode(options.mode);
    if (options.json)
    {
        std::printf("%s\n", info.dump(2).c_str());
    }
    else
    {
        printText(info);
    }
    vsrCleanUp();
    return options.mode.empty() || info["mode"]["status"] == VISORA_SUCCESS ? 0 : 1;
}

std::string& lastLogLine()
{
    thread_local std::string line;
    return line;
}

int runProgram(const char* name, const std::function<int()>& run)
{
    // Users are told what goes wrong by the programs themselves.
    const auto keep = [](void* /*context*/, int /*priority*/, const char* /*tag*/, const char* text)
    {
        lastLogLine() = text;
        return 1;
    };
    vsrHostSetLogSink(keep, nullptr);
    try
    {
        const int result = run();
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        {
            throw std::runtime_error("cannot write the output");
        }
        return result;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "%s: %s\n", name, error.what());
        return 1;
    }
}

}  // namespace tool
