#include "stages.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "visora/host.h"
#include "visora/runtime.h"

namespace demo
{

std::vector<Stage>& stages()
{
    static std::vector<Stage> list;
    return list;
}

RegisterStages::RegisterStages(std::initializer_list<Stage> list)
{
    stages().insert(stages().end(), list);
}

std::vector<PairStage>& pairStages()
{
    static std::vector<PairStage> list;
    return list;
}

RegisterPairStages::RegisterPairStages(std::initializer_list<PairStage> list)
{
    pairStages().insert(pairStages().end(), list);
}

Runner::Runner()
{
    vsrHostSetLogSink(&Runner::onLogLine, this);
}

Runner::~Runner()
{
    vsrHostSetLogSink(nullptr, nullptr);
}

// Why a call is refused is told by its status; the conditions of the library would tell a viewer little.
int Runner::onLogLine(void* self, int /*priority*/, const char* tag, const char* text)
{
    if (std::strcmp(tag, "visora_runtime_log") == 0)
    {
        static_cast<Runner*>(self)->trace_ = text;
    }
    return 1;
}

void Runner::run(const std::string& what, size_t amount, const std::function<vsrStatus()>& call,
                 const std::string& unit)
{
    // One call with tracing tells the entry point and the kind; the timed ones do without.
    trace_.clear();
    libLogPrint = 1;
    const vsrStatus status = call();
    libLogPrint = 0;
    if (status != VISORA_SUCCESS)
    {
        throw std::runtime_error(what + " is not possible for a picture of this size");
    }
    double best = std::numeric_limits<double>::infinity();
    for (int round = 0; round < 7; ++round)
    {
        const auto start = std::chrono::steady_clock::now();
        call();
        const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
        best = std::min(best, elapsed.count());
    }
    const size_t split = trace_.rfind('_');
    std::printf("  %-46s %-6s %8.3f ms  %7.3f ns/%s\n", trace_.substr(0, split).c_str(),
                split == std::string::npos ? "?" : trace_.substr(split + 1).c_str(), best / 1e6,
                best / static_cast<double>(amount), unit.c_str());
}

}  // namespace demo
