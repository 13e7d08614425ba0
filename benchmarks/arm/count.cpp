// Runs every contest once between two marks at which the plugin of the emulator notes what was executed.
//
//     qemu-aarch64 -plugin libvisora_count_plugin.so,out=DIRECTORY/blocks visora_count DIRECTORY [FILTER]
//
// Leaves in the directory: `contests`, a line of operation, contestant, unit and items for each pair of marks; `maps`,
// where the libraries lay. FILTER is a regular expression that is searched for in "<operation>/<label>/<contestant>".
#include <fstream>
#include <iostream>
#include <map>
#include <regex>

#include "contests.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace
{

using visora::bench::Contest;

// Hints that no processor knows do nothing. In functions of their own, so that the blocks of instructions that the
// emulator translates at once end near them.
__attribute__((noinline)) void markBegin()
{
    __asm__ volatile("hint #126" ::: "memory");
}

__attribute__((noinline)) void markEnd()
{
    __asm__ volatile("hint #127" ::: "memory");
}

// Counts per pixel or point hardly depend on the size: the smallest image that the operation has a call for is enough,
// and enough points to outweigh what a call costs beside them.
constexpr int kPoints = 200;

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2 && argc != 3)
    {
        std::cerr << "usage: visora_count DIRECTORY [FILTER]\n";
        return 2;
    }
#ifdef VISORA_HAVE_OPENCV
    cv::setNumThreads(1);
#endif
    const std::string directory = argv[1];
    const std::regex filter(argc == 3 ? argv[2] : "");
    std::ofstream list(directory + "/contests");
    std::map<std::string, int> widths;
    for (const Contest& contest : visora::bench::contests())
    {
        const bool tooFew = contest.ofPoints && contest.size.height == 1 && contest.size.width < kPoints;
        const auto width = widths.find(contest.operation);
        if (tooFew || contest.contestant == "memcpy" ||
            (width != widths.end() && width->second != contest.size.width) ||
            !std::regex_search(contest.operation + "/" + contest.contestant, filter))
        {
            continue;
        }
        const std::function<void()> work = contest.prepare();
        if (!work)
        {
            continue;
        }
        widths[contest.operation] = contest.size.width;
        work();  // fills tables and buffers that are kept
        markBegin();
        work();
        markEnd();
        list << contest.operation << '\t' << contest.contestant << '\t' << (contest.ofPoints ? "point" : "pixel")
             << '\t' << contest.items << '\n';
    }
    std::ofstream(directory + "/maps") << std::ifstream("/proc/self/maps").rdbuf();
    return list.flush() ? 0 : 1;
}
