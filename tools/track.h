// Points followed from one picture to another.
#ifndef VISORA_TOOLS_TRACK_H
#define VISORA_TOOLS_TRACK_H

#include "job.h"

namespace tool
{

struct TrackOptions
{
    uint32_t threshold = 20;
    int32_t window = 15;
    float exaggeration = 1;
};

/** Corners of the first picture and where they are in the second, a line each; the picture has arrows. */
Result track(const Picture& first, const Picture& second, const TrackOptions& options);

}  // namespace tool

#endif
