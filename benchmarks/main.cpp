// Times every operation, both kinds, at three image sizes beside its peers and a memcpy of the same bytes: one process,
// one thread, repetitions of all benchmarks interleaved, medians of processor time. Takes Google Benchmark's options;
// --benchmark_filter chooses by "<operation>/<label>/<contestant>/<width>x<height>". With --instruction_sets the vector
// variants are timed on every further instruction set that this machine has, as contestants of those names.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include "contests.h"
#include "peers.h"
#include "support/instruction_sets.h"
#include "visora/memory.h"
#include "visora/variants/filter.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace visora::bench
{

namespace
{

std::map<std::string, Contest> contestsByName;

template <class Body>
void add(const Contest& contest, Body body)
{
    contestsByName[contest.name()] = contest;
    benchmark::RegisterBenchmark(contest.name().c_str(), body)->Unit(benchmark::kMicrosecond);
}

void timeWork(benchmark::State& state, const std::function<void()>& work)
{
    work();  // so that no contestant's pages are touched for the first time while the clock runs
    while (state.KeepRunning())
    {
        work();
        benchmark::ClobberMemory();
    }
}

void addContest(const Contest& contest, int64_t instructionSet = 0)
{
    add(contest,
        [prepare = contest.prepare, items = contest.items, instructionSet](benchmark::State& state)
        {
            std::optional<test::UseInstructionSet> use;
            if (instructionSet != 0)
            {
                use.emplace(instructionSet);
            }
            state.counters["items"] = items;
            const std::function<void()> work = prepare();
            if (!work)
            {
                state.SkipWithError("no work at this size");
                return;
            }
            timeWork(state, work);
        });
}

// The vector variants once more, on the instruction sets that are not this machine's best.
void addFurtherInstructionSets()
{
    const std::vector<int64_t>& sets = test::instructionSets();
    for (Contest contest : contests())
    {
        for (size_t i = 1; contest.contestant == "vector" && i < sets.size(); ++i)
        {
            Contest further = contest;
            further.contestant = hwy::TargetName(sets[i]);
            addContest(further, sets[i]);
        }
    }
}

// An entry point and its kernel on an image too small for any work; the difference is what dispatch costs.
constexpr char kDispatch[] = "dispatch";

void addDispatch()
{
    static uint8_t pixels[4] = {};
    add({kDispatch, "entry", {2, 2}, false, 1, {}},
        [](benchmark::State& state) { timeWork(state, [] { vsrFilterMedian3x3u8(pixels, 2, 2, pixels); }); });
    add({kDispatch, "kernel", {2, 2}, false, 1, {}},
        [](benchmark::State& state)
        {
            const auto kernel = vsrFilterMedian3x3u8_;
            timeWork(state, [=] { kernel(pixels, 2, 2, 2, pixels, 2); });
        });
}

// Collects the runs and prints one line per operation and size.
class Table : public benchmark::BenchmarkReporter
{
  public:
    bool ReportContext(const Context& /*context*/) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
        {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred && run.iterations > 0)
            {
                const double seconds = run.cpu_accumulated_time / static_cast<double>(run.iterations);
                times_[run.run_name.function_name].push_back(seconds * 1e9);
            }
        }
    }

    void Finalize() override
    {
        std::map<std::pair<std::string, int>, std::map<std::string, double>> lines;
        for (auto& [name, times] : times_)
        {
            const Contest& contest = contestsByName.at(name);
            std::sort(times.begin(), times.end());
            if (contest.operation == kDispatch)
            {
                dispatch_[contest.contestant] = times[times.size() / 2];
                continue;
            }
            lines[{contest.operation, contest.size.width}][contest.contestant] =
                times[times.size() / 2] / contest.items;
        }
        std::printf(
            "ns per pixel (tracking, models: per point); peer/vector above 1: ours is faster; copy/vector: share of "
            "memcpy's "
            "speed\n");
        std::printf("%-52s %5s %9s %9s %9s %-8s %12s %12s\n", "operation", "width", "reference", "vector", "best peer",
                    "", "peer/vector", "copy/vector");
        double logRatios = 0;
        int ratios = 0;
        for (const auto& [key, line] : lines)
        {
            printLine(key.first, key.second, line, logRatios, ratios);
        }
        for (const Report& report : reports())
        {
            const auto isOf = [&](const auto& entry) { return entry.first.first.starts_with(report.operation); };
            if (std::any_of(lines.begin(), lines.end(), isOf))
            {
                report.print();
            }
        }
        if (dispatch_.size() == 2)
        {
            std::printf("dispatch of a call beyond its kernel: %.1f ns\n", dispatch_["entry"] - dispatch_["kernel"]);
        }
        if (ratios > 0)
        {
            std::printf("geometric mean of peer/vector over %d lines: %.2f\n", ratios, std::exp(logRatios / ratios));
        }
    }

  private:
    void printLine(const std::string& operation, int width, const std::map<std::string, double>& line,
                   double& logRatios, int& ratios) const
    {
        const auto time = [&](const char* contestant)
        {
            const auto found = line.find(contestant);
            return found == line.end() ? std::nan("") : found->second;
        };
        std::string best;
        for (const auto& [contestant, value] : line)
        {
            const bool ours = contestant == "reference" || contestant == "vector" || contestant == "memcpy" ||
                              furtherSets_.contains(contestant);
            if (!ours && (best.empty() || value < line.at(best)))
            {
                best = contestant;
            }
        }
        const double vector = time("vector");
        if (std::isnan(vector))
        {
            // The operation has no call at this size.
            return;
        }
        const double peer = best.empty() ? std::nan("") : line.at(best);
        if (!std::isnan(peer))
        {
            logRatios += std::log(peer / vector);
            ++ratios;
        }
        std::printf("%-52s %5d %9.3f %9.4f %9.4f %-8s %12.2f %12.2f\n", operation.c_str(), width, time("reference"),
                    vector, peer, best.c_str(), peer / vector, time("memcpy") / vector);
    }

    std::set<std::string> furtherSets_ = []
    {
        std::set<std::string> names;
        for (const int64_t set : test::instructionSets())
        {
            names.insert(hwy::TargetName(set));
        }
        return names;
    }();
    std::map<std::string, std::vector<double>> times_;
    std::map<std::string, double> dispatch_;
};

}  // namespace

}  // namespace visora::bench

int main(int argc, char** argv)
{
    using namespace visora::bench;
#ifdef VISORA_HAVE_OPENCV
    cv::setNumThreads(1);
#endif
    std::vector<char*> options(argv, argv + argc);
    // Interleaved repetitions, unless the command line says otherwise.
    static char interleave[] = "--benchmark_enable_random_interleaving=true";
    static char repetitions[] = "--benchmark_repetitions=7";
    static char minTime[] = "--benchmark_min_time=0.02";
    options.insert(options.begin() + 1, {interleave, repetitions, minTime});
    const auto further =
        std::remove_if(options.begin() + 1, options.end(),
                       [](const char* option) { return std::string_view(option) == "--instruction_sets"; });
    const bool instructionSets = further != options.end();
    options.erase(further, options.end());
    int count = static_cast<int>(options.size());
    benchmark::Initialize(&count, options.data());
    if (benchmark::ReportUnrecognizedArguments(count, options.data()))
    {
        return 1;
    }
    for (const Contest& contest : contests())
    {
        addContest(contest);
    }
    if (instructionSets)
    {
        addFurtherInstructionSets();
    }
    addDispatch();
    benchmark::AddCustomContext("instruction_set", ivsrVectorInstructionSet());
    // Scratch memory is kept from call to call, as a program has it that calls more than once.
    vsrMemInit();
    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    return 0;
}
