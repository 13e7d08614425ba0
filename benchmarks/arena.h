// Memory that contestants work on in turn, so that none of them has its images in better places than another.
#ifndef VISORA_BENCHMARKS_ARENA_H
#define VISORA_BENCHMARKS_ARENA_H

#include <cstddef>
#include <cstdint>

namespace visora::bench
{

/** What is read and what is written begins here for whoever is measured, on the same pages. */
struct Arena
{
    uint8_t* read;
    uint8_t* written;
};

/** For the contestant that is made ready last: large enough for `readBytes` and `writtenBytes`. */
Arena arena(size_t readBytes, size_t writtenBytes);

}  // namespace visora::bench

#endif
