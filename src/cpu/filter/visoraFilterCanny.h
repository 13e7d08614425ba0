// The map of edge candidates, and which of them are edges.
#ifndef VISORA_CPU_FILTER_CANNY_H
#define VISORA_CPU_FILTER_CANNY_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cpu/visoraScratch.h"

namespace visora
{

/** What a pixel of the map is. */
enum CannyState : uint8_t
{
    kNoEdge,
    kCandidate,
    kStrong,  // above the high threshold
    kJoined   // a candidate that is joined to a strong one
};

/** A row of `width` states for each row of the image, with one state of no edge around all of them. */
class CannyMap
{
  public:
    CannyMap(size_t width, size_t height)
        : step_(width + 2),
          width_(width),
          height_(height),
          states_(step_ * (height + 2)),
          waiting_(width * height * sizeof(size_t))
    {
        if (isReady())
        {
            std::memset(states_.data(), kNoEdge, step_ * (height + 2));
        }
    }

    /** False when there was no scratch memory. */
    bool isReady() const { return states_.data() && waiting_.data(); }

    uint8_t* row(size_t y) { return states_.data() + (y + 1) * step_ + 1; }

    /** Makes joined ones of all candidates that have a way to a strong one through candidates. */
    void join()
    {
        // Every candidate waits at most once, and every strong one alone.
        auto* const stack = reinterpret_cast<size_t*>(waiting_.data());
        uint8_t* const states = states_.data();
        const size_t around[8] = {0 - step_ - 1, 0 - step_, 0 - step_ + 1, size_t{0} - 1, 1,
                                  step_ - 1,     step_,     step_ + 1};
        for (size_t y = 0; y < height_; ++y)
        {
            const uint8_t* begin = row(y);
            const uint8_t* const end = begin + width_;
            while (begin = static_cast<const uint8_t*>(std::memchr(begin, kStrong, static_cast<size_t>(end - begin))),
                   begin)
            {
                size_t count = 0;
                stack[count++] = static_cast<size_t>(begin - states);
                while (count != 0)
                {
                    const size_t at = stack[--count];
                    for (const size_t step : around)
                    {
                        if (states[at + step] == kCandidate)
                        {
                            states[at + step] = kJoined;
                            stack[count++] = at + step;
                        }
                    }
                }
                ++begin;
            }
        }
    }

  private:
    size_t step_;
    size_t width_;
    size_t height_;
    Scratch states_;
    Scratch waiting_;
};

}  // namespace visora

#endif
