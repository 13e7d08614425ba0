// The codebook of one pixel.
#ifndef VISORA_CPU_BACKGROUND_H
#define VISORA_CPU_BACKGROUND_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace visora
{

constexpr size_t kChannels = 3;
using Levels = std::array<uint8_t, kChannels>;

/** What a bound of a channel is. */
enum Bound : size_t
{
    kLower = 0,  // for learning
    kUpper = 1,
    kLowest = 2,  // seen
    kHighest = 3
};

/** Luma and chroma of a pixel. */
inline Levels levelsOf(const uint8_t* rgb)
{
    const int32_t r = rgb[0];
    const int32_t g = rgb[1];
    const int32_t b = rgb[2];
    const auto chroma = [](int32_t weighted)
    { return static_cast<uint8_t>(std::min(255, ((weighted + 128) >> 8) + 128)); };
    return {static_cast<uint8_t>((77 * r + 150 * g + 29 * b + 128) >> 8), chroma(-43 * r - 85 * g + 128 * b),
            chroma(128 * r - 107 * g - 21 * b)};
}

constexpr uint8_t lowered(uint8_t level, uint8_t by)
{
    return static_cast<uint8_t>(level - std::min(level, by));
}

constexpr uint8_t raised(uint8_t level, uint8_t by)
{
    return static_cast<uint8_t>(std::min(255, level + by));
}

/** A model's buffers; pixels are numbered row by row. */
template <class Byte, class Time>
struct Codebook
{
    Byte& bound(size_t word, size_t channel, Bound kind, size_t pixel) const
    {
        return plane(word, channel, kind)[pixel];
    }

    Byte* plane(size_t word, size_t channel, Bound kind) const
    {
        return bounds + (12 * word + 4 * channel + kind) * pixels;
    }

    Time& seen(size_t word, size_t pixel) const { return lastSeen[word * pixels + pixel]; }

    uint32_t wordsOf(size_t pixel) const { return std::min<uint32_t>(counts[pixel], maxWords); }

    size_t pixels;
    uint32_t maxWords;
    Byte* counts;
    Byte* bounds;
    Time* lastSeen;
};

using Model = Codebook<uint8_t, uint32_t>;
using ConstModel = Codebook<const uint8_t, const uint32_t>;

/** Whether a codeword's bounds, moved apart, hold the levels. */
template <class Byte, class Time>
bool holds(const Codebook<Byte, Time>& model, size_t word, size_t pixel, const Levels& q, Bound low, Bound high,
           const Levels& below, const Levels& above)
{
    for (size_t c = 0; c < kChannels; ++c)
    {
        if (q[c] < lowered(model.bound(word, c, low, pixel), below[c]) ||
            q[c] > raised(model.bound(word, c, high, pixel), above[c]))
        {
            return false;
        }
    }
    return true;
}

/** Learns a pixel that no codeword holds. */
inline void addWord(const Model& model, size_t pixel, const Levels& q, const Levels& reach, uint32_t time)
{
    const uint32_t words = model.wordsOf(pixel);
    uint32_t word = words;
    if (words < model.maxWords)
    {
        model.counts[pixel] = static_cast<uint8_t>(words + 1);
    }
    else
    {
        word = 0;
        for (uint32_t j = 1; j < words; ++j)
        {
            word = model.seen(j, pixel) < model.seen(word, pixel) ? j : word;
        }
    }
    model.seen(word, pixel) = time;
    for (size_t c = 0; c < kChannels; ++c)
    {
        model.bound(word, c, kLower, pixel) = lowered(q[c], reach[c]);
        model.bound(word, c, kUpper, pixel) = raised(q[c], reach[c]);
        model.bound(word, c, kLowest, pixel) = q[c];
        model.bound(word, c, kHighest, pixel) = q[c];
    }
}

/** Learns a pixel. */
inline void learnPixel(const Model& model, size_t pixel, const Levels& q, const Levels& reach, uint32_t time)
{
    for (uint32_t j = 0; j < model.wordsOf(pixel); ++j)
    {
        if (!holds(model, j, pixel, q, kLower, kUpper, {}, {}))
        {
            continue;
        }
        model.seen(j, pixel) = time;
        for (size_t c = 0; c < kChannels; ++c)
        {
            uint8_t& lower = model.bound(j, c, kLower, pixel);
            uint8_t& upper = model.bound(j, c, kUpper, pixel);
            uint8_t& lowest = model.bound(j, c, kLowest, pixel);
            uint8_t& highest = model.bound(j, c, kHighest, pixel);
            lowest = std::min(lowest, q[c]);
            highest = std::max(highest, q[c]);
            upper = static_cast<uint8_t>(upper + (upper < raised(q[c], reach[c]) ? 1 : 0));
            lower = static_cast<uint8_t>(lower - (lower > lowered(q[c], reach[c]) ? 1 : 0));
        }
        return;
    }
    addWord(model, pixel, q, reach, time);
}

inline uint8_t classifyPixel(const ConstModel& model, size_t pixel, const Levels& q, const Levels& below,
                             const Levels& above)
{
    for (uint32_t j = 0; j < model.wordsOf(pixel); ++j)
    {
        if (holds(model, j, pixel, q, kLowest, kHighest, below, above))
        {
            return 0;
        }
    }
    return 255;
}

/** Drops a pixel's codewords that are too old. */
inline void prunePixel(const Model& model, size_t pixel, uint32_t time, uint32_t maxAge)
{
    const uint32_t words = model.wordsOf(pixel);
    uint32_t kept = 0;
    for (uint32_t j = 0; j < words; ++j)
    {
        if (time - model.seen(j, pixel) > maxAge)
        {
            continue;
        }
        if (kept != j)
        {
            model.seen(kept, pixel) = model.seen(j, pixel);
            for (size_t plane = 0; plane < 12; ++plane)
            {
                model.bounds[(12 * kept + plane) * model.pixels + pixel] =
                    model.bounds[(12 * size_t{j} + plane) * model.pixels + pixel];
            }
        }
        ++kept;
    }
    model.counts[pixel] = static_cast<uint8_t>(kept);
}

}  // namespace visora

#endif
