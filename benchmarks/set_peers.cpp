// Peers of the search of a tree, and how near sums over sets come to the limit of their loads.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <vector>

#include "peers.h"
#include "visora/variants/arithmetic.h"
#include "visora/variants/corner.h"

#ifdef VISORA_HAVE_OPENCV
#include <memory>
#include <opencv2/flann.hpp>
#endif

namespace visora::bench
{
namespace
{

using Work = std::function<void()>;

#ifdef VISORA_HAVE_OPENCV
// ---- Two nearest of 10,000 vectors of 16 elements ----

// Leaves of the library's tree hold eight vectors at most; the peer counts vectors.
auto treeSearch(int checks)
{
    return [=](int width, int /*height*/) -> Work
    {
        cv::Mat vectors(10000, 16, CV_32F);
        cv::Mat queries(width, 16, CV_32F);
        cv::randu(vectors, 0, 1000);
        cv::randu(queries, 0, 1000);
        const auto tree = std::make_shared<cv::flann::Index>(vectors, cv::flann::KDTreeIndexParams(1));
        // The tree does not keep the vectors.
        return [=, indices = cv::Mat(), distances = cv::Mat()]() mutable
        {
            static_cast<void>(vectors);
            tree->knnSearch(queries, indices, distances, 2, cv::flann::SearchParams(checks));
        };
    };
}

const RegisterPeers trees({
    {"vsrKDTreeSearchf32", "exact", "FLANN", treeSearch(cvflann::FLANN_CHECKS_UNLIMITED)},
    {"vsrKDTreeSearchf32", "8_leaves", "FLANN", treeSearch(8 * 8)},
});
#endif

// ---- Loads ----

constexpr uint32_t kQueries = 100;

// The best of some runs, in nanoseconds.
double timeOf(const Work& work)
{
    using Clock = std::chrono::steady_clock;
    double best = std::numeric_limits<double>::infinity();
    work();
    for (const auto end = Clock::now() + std::chrono::milliseconds(60); Clock::now() < end;)
    {
        const auto begin = Clock::now();
        work();
        best = std::min(best, std::chrono::duration<double, std::nano>(Clock::now() - begin).count());
    }
    return best;
}

// Bytes of the set that the vectors of queries meet each other with, for each nanosecond, beside a plain sum of the
// same bytes: where one query passes over a large set both wait for memory, where many do a vector that is loaded
// serves several of them.
template <class T>
void printLoads(const char* name, uint32_t length, uint32_t queries, uint32_t vectors,
                const std::function<void(const T* queries, const T* set)>& run)
{
    const std::vector<T> some(size_t{queries} * length, T(1));
    const std::vector<T> set(size_t{vectors} * length, T(2));
    const auto bytes = static_cast<uint32_t>(set.size() * sizeof(T));
    uint64_t sum = 0;
    const double plain =
        timeOf([&] { vsrSumu8V(reinterpret_cast<const uint8_t*>(set.data()), bytes, 1, bytes, nullptr, 0, &sum); });
    const double ours = timeOf([&] { run(some.data(), set.data()); });
    const double met = static_cast<double>(bytes) * queries / ours;
    std::printf("  %-24s %6u x %6u %9.1f GB/s  a sum of the set %7.1f GB/s  ratio %5.2f\n", name, queries, vectors, met,
                bytes / plain, met * plain / bytes);
}

void printHammingLoads()
{
    constexpr uint32_t kLength = 32;
    std::printf("loads of sets of descriptors of 32 bytes, queries x vectors\n");
    for (const uint32_t count : {1000u, 100000u})
    {
        std::vector<uint32_t> found(size_t{kQueries} * count);
        printLoads<uint8_t>("vsrHammingOneToManyu8", kLength, 1, count,
                            [&](const uint8_t* query, const uint8_t* set)
                            { vsrHammingOneToManyu8V(query, kLength, set, count, kLength, nullptr, 0, found.data()); });
        printLoads<uint8_t>("vsrHammingMatrixu8", kLength, kQueries, count,
                            [&](const uint8_t* queries, const uint8_t* set) {
                                vsrHammingMatrixu8V(queries, kLength, kQueries, kLength, set, count, kLength,
                                                    found.data(), 4 * count);
                            });
        std::vector<uint32_t> distances(2 * kQueries);
        printLoads<uint8_t>("vsrHammingNearest2u8", kLength, kQueries, count,
                            [&](const uint8_t* queries, const uint8_t* set) {
                                vsrHammingNearest2u8V(queries, kLength, kQueries, kLength, set, count, kLength,
                                                      found.data(), distances.data());
                            });
    }
}

void printDotLoads()
{
    constexpr uint32_t kLength = 128;
    std::printf("loads of sets of vectors of 128 elements, queries x vectors\n");
    for (const uint32_t count : {1000u, 100000u})
    {
        std::vector<uint32_t> sums(size_t{kQueries} * count);
        std::vector<float> products(size_t{kQueries} * count);
        printLoads<uint8_t>("vsrDotOneToManyu8", kLength, 1, count,
                            [&](const uint8_t* query, const uint8_t* set)
                            { vsrDotOneToManyu8V(query, kLength, set, count, kLength, sums.data()); });
        printLoads<uint8_t>(
            "vsrDotMatrixu8", kLength, kQueries, count,
            [&](const uint8_t* queries, const uint8_t* set)
            { vsrDotMatrixu8V(queries, kLength, kQueries, kLength, set, count, kLength, sums.data(), 4 * count); });
        printLoads<float>("vsrDotOneToManyf32", kLength, 1, count,
                          [&](const float* query, const float* set)
                          { vsrDotOneToManyf32V(query, kLength, set, count, 4 * kLength, products.data()); });
        printLoads<float>("vsrDotMatrixf32", kLength, kQueries, count,
                          [&](const float* queries, const float* set) {
                              vsrDotMatrixf32V(queries, kLength, kQueries, 4 * kLength, set, count, 4 * kLength,
                                               products.data(), 4 * count);
                          });
    }
}

const RegisterReports loads({{"vsrHammingOneToMany", printHammingLoads}, {"vsrDotOneToMany", printDotLoads}});

}  // namespace
}  // namespace visora::bench
