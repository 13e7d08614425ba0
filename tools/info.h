// What visora-info shows, and what both programs do alike.
#ifndef VISORA_TOOLS_INFO_H
#define VISORA_TOOLS_INFO_H

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "visora/runtime.h"

namespace tool
{

struct InfoOptions
{
    std::string mode;
    std::string description;
    bool json = false;
};

void addInfoOptions(CLI::App& app, InfoOptions& options);
int showInfo(const InfoOptions& options);

/** An option that takes the name of an operation mode, in small letters and with dashes. */
CLI::Option* addModeOption(CLI::App& app, std::string& mode, const std::string& what);
vsrOperationMode modeOf(const std::string& name);

/** The library's. */
std::string version();

/** The line of the library's log that came last on this thread. */
std::string& lastLogLine();

/** What `run` returns; 1, with a message that begins with the program's name, when it throws or cannot write. */
int runProgram(const char* name, const std::function<int()>& run);

}  // namespace tool

#endif
