// Who competes in which operation: what the benchmark times and what the counting program counts.
#ifndef VISORA_BENCHMARKS_CONTESTS_H
#define VISORA_BENCHMARKS_CONTESTS_H

#include <functional>
#include <string>
#include <vector>

namespace visora::bench
{

struct Size
{
    int width;
    int height;
};

struct Contest
{
    std::string operation;   // with the label, if any
    std::string contestant;  // "reference", "vector", "memcpy" or a library
    Size size;
    bool ofPoints;  // takes as many points as the size is wide instead of an image
    double items;   // that times and counts are divided by: pixels, unless the operation works on something else
    /** Makes buffers and returns the work to be measured, empty when there is none at this size. */
    std::function<std::function<void()>()> prepare;

    /** "<operation>/<label>/<contestant>/<width>x<height>", by which contests are chosen. */
    std::string name() const
    {
        return operation + "/" + contestant + "/" + std::to_string(size.width) + "x" + std::to_string(size.height);
    }
};

/** All contests at all sizes, those of one operation and size together, sizes from small to large. */
std::vector<Contest> contests();

}  // namespace visora::bench

#endif
