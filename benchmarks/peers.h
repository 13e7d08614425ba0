// The same work done by other libraries, measured in the same run.
#ifndef VISORA_BENCHMARKS_PEERS_H
#define VISORA_BENCHMARKS_PEERS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace visora::bench
{

struct Peer
{
    std::string operation;  // the operation, and its label if it has one, that this competes with
    std::string label;
    std::string library;
    /** Makes buffers for an image size and returns the work to be timed, empty when the library cannot do it. */
    std::function<std::function<void()>(int width, int height)> prepare;
};

std::vector<Peer>& peers();

/** Adds peers to the list; meant for static objects. */
struct RegisterPeers
{
    RegisterPeers(std::initializer_list<Peer> list);
};

/** What to print after the times of an operation that says more than they do. */
struct Report
{
    std::string operation;
    std::function<void()> print;
};

std::vector<Report>& reports();

/** Adds reports to the list; meant for static objects. */
struct RegisterReports
{
    RegisterReports(std::initializer_list<Report> list);
};

}  // namespace visora::bench

#endif
