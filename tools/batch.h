// Pictures in, pictures out: single ones, or folders of them by several threads.
#ifndef VISORA_TOOLS_BATCH_H
#define VISORA_TOOLS_BATCH_H

#include <functional>

#include "job.h"

namespace tool
{

struct BatchOptions
{
    /** Files or, the first one only, a folder. */
    std::vector<Path> inputs;
    /** A file or, of several pictures, a folder; empty for files named after the input. */
    Path output;
    std::string suffix;
    unsigned jobs = 1;
};

using Work = std::function<Result(const std::vector<Picture>&)>;

/** Does the work on every picture and tells on standard error what cannot be done. @return the exit status */
int runBatch(const BatchOptions& options, const Work& work);

}  // namespace tool

#endif
