// Adaptive equalisation: the tiles' maps of levels, and which tiles a pixel blends.
#ifndef VISORA_CPU_HISTOGRAM_CLAHE_H
#define VISORA_CPU_HISTOGRAM_CLAHE_H

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>

#include "cpu/histogram/visoraHistogram.h"
#include "cpu/visoraPlane.h"
#include "cpu/visoraScratch.h"

namespace visora
{

/** The tiles along one direction. */
struct ClaheAxis
{
    /** The two tiles that a place blends, and how much of the second one. */
    struct Blend
    {
        uint32_t first;
        uint32_t second;
        float weight;
    };

    Blend at(uint32_t place) const
    {
        const float a = static_cast<float>(place) * (1.0f / static_cast<float>(tile)) - 0.5f;
        const float before = std::floor(a);
        const auto first = static_cast<int64_t>(before);
        // Beyond 2^24 a place rounds to one that may lie in a tile too many.
        const int64_t last = tiles - 1;
        return {static_cast<uint32_t>(std::clamp<int64_t>(first, 0, last)),
                static_cast<uint32_t>(std::clamp<int64_t>(first + 1, 0, last)), a - before};
    }

    /** The pixel that stands for a place, mirrored about the last pixel. */
    uint32_t pixel(uint32_t place) const
    {
        if (place < size)
        {
            return place;
        }
        const uint32_t period = 2 * (size - 1);
        const uint32_t rest = period == 0 ? 0 : place % period;
        return rest < size ? rest : period - rest;
    }

    uint32_t size;   // of the image
    uint32_t tiles;  // how many
    uint32_t tile;   // size of one
};

/** An image, its tiles and how their histograms are clipped. */
template <class T>
struct Clahe
{
    static constexpr uint32_t kTop = std::is_same_v<T, uint8_t> ? 255 : 65535;

    Clahe(const T* image, uint32_t width, uint32_t height, uint32_t strideBytes, uint32_t tilesX, uint32_t tilesY,
          float limit, uint32_t binCount)
        : src(image), stride(strideBytes), clipLimit(limit), bins(binCount)
    {
        const uint32_t extra = width % tilesX == 0 && height % tilesY == 0 ? 0 : 1;
        x = {width, tilesX, width / tilesX + extra};
        y = {height, tilesY, height / tilesY + extra};
        while (bins << shift <= kTop)
        {
            ++shift;
        }
    }

    size_t tileCount() const { return size_t{x.tiles} * y.tiles; }
    /** A map begins with the 0 that is before its first bin. */
    size_t mapElements() const { return size_t{bins} + 1; }
    size_t scratchBytes() const { return tileCount() * mapElements() * sizeof(T) + bins * sizeof(uint32_t) + 64; }

    const T* mapOf(const T* maps, uint32_t i, uint32_t j) const
    {
        return maps + (size_t{j} * x.tiles + i) * mapElements();
    }

    /** A level by the map of a tile. Within a bin the map rises evenly. */
    uint32_t level(const T* map, uint32_t v) const
    {
        const uint32_t b = v >> shift;
        const uint32_t k = (v & ((1u << shift) - 1)) + 1;
        const uint32_t half = (1u << shift) >> 1;
        return map[b] + (((uint32_t{map[b + 1]} - map[b]) * k + half) >> shift);
    }

    /** Counts the levels of a tile. */
    void count(uint32_t i, uint32_t j, uint32_t* histogram) const
    {
        const uint32_t left = i * x.tile;
        const uint32_t inside = std::min(x.size - std::min(left, x.size), x.tile);
        std::fill_n(histogram, bins, 0u);
        PixelCounter counter;
        for (uint32_t row = 0; row < y.tile; ++row)
        {
            const T* pixels = planeRow(src, stride, y.pixel(j * y.tile + row));
            if constexpr (sizeof(T) == 1)
            {
                counter.add(pixels + left, inside);
            }
            else
            {
                for (uint32_t k = 0; k < inside; ++k)
                {
                    ++histogram[pixels[left + k] >> shift];
                }
            }
            for (uint32_t k = inside; k < x.tile; ++k)
            {
                ++histogram[pixels[x.pixel(left + k)] >> shift];
            }
        }
        if constexpr (sizeof(T) == 1)
        {
            const Histogram counts = counter.counts();
            std::transform(counts.begin(), counts.end(), histogram, histogram, std::plus<>());
        }
    }

    /** Cuts bins at the limit and gives what was cut to all of them alike. */
    void clip(uint32_t* histogram) const
    {
        const uint64_t pixels = uint64_t{x.tile} * y.tile;
        const double share = double{clipLimit} * static_cast<double>(pixels) / bins;
        if (clipLimit == 0 || share >= static_cast<double>(pixels))
        {
            return;
        }
        const auto limit = std::max(static_cast<uint32_t>(share), 1u);
        uint64_t cut = 0;
        for (uint32_t b = 0; b < bins; ++b)
        {
            cut += histogram[b] - std::min(histogram[b], limit);
            histogram[b] = std::min(histogram[b], limit);
        }
        for (uint32_t b = 0; b < bins; ++b)
        {
            histogram[b] += static_cast<uint32_t>(cut / bins);
        }
        const auto rest = static_cast<uint32_t>(cut % bins);
        const uint32_t step = std::max(bins / std::max(rest, 1u), 1u);
        for (uint32_t k = 0; k < rest; ++k)
        {
            ++histogram[k * step];
        }
    }

    /** Makes the maps of all tiles. */
    void makeMaps(T* maps, uint32_t* histogram) const
    {
        const float scale = static_cast<float>(kTop) / static_cast<float>(uint64_t{x.tile} * y.tile);
        for (uint32_t j = 0; j < y.tiles; ++j)
        {
            for (uint32_t i = 0; i < x.tiles; ++i, maps += mapElements())
            {
                count(i, j, histogram);
                clip(histogram);
                uint32_t below = 0;
                maps[0] = 0;
                for (uint32_t b = 0; b < bins; ++b)
                {
                    below += histogram[b];
                    maps[b + 1] = static_cast<T>(roundedLevel(static_cast<float>(below) * scale, kTop));
                }
            }
        }
    }

    const T* src;
    size_t stride;
    float clipLimit;
    uint32_t bins;
    uint32_t shift = 0;
    ClaheAxis x;
    ClaheAxis y;
};

/** Scratch memory with the maps of all tiles. */
template <class T>
class ClaheMaps
{
  public:
    /** @param extraBytes  what the caller wants beside them, aligned to 64 */
    explicit ClaheMaps(const Clahe<T>& clahe, size_t extraBytes = 0)
        : scratch_(clahe.scratchBytes() + extraBytes),
          extraBytes_(extraBytes),
          histogramBytes_(clahe.bins * sizeof(uint32_t))
    {
        if (*this)
        {
            clahe.makeMaps(maps(), reinterpret_cast<uint32_t*>(scratch_.data() + extraBytes_));
        }
    }

    explicit operator bool() const { return scratch_.data() != nullptr; }
    uint8_t* extra() const { return scratch_.data(); }
    T* maps() const { return reinterpret_cast<T*>(scratch_.data() + extraBytes_ + histogramBytes_); }

  private:
    Scratch scratch_;
    size_t extraBytes_;
    size_t histogramBytes_;
};

/** The blend of a pixel's levels by four maps. */
template <class T>
T blendedLevel(const Clahe<T>& clahe, const T* maps, uint32_t v, const ClaheAxis::Blend& across,
               const ClaheAxis::Blend& down)
{
    const auto level = [&](uint32_t i, uint32_t j)
    { return static_cast<float>(clahe.level(clahe.mapOf(maps, i, j), v)); };
    const float ux = 1.0f - across.weight;
    const float uy = 1.0f - down.weight;
    const float upper = (level(across.first, down.first) * ux + level(across.second, down.first) * across.weight) * uy;
    const float lower =
        (level(across.first, down.second) * ux + level(across.second, down.second) * across.weight) * down.weight;
    return static_cast<T>(roundedLevel(upper + lower, Clahe<T>::kTop));
}

}  // namespace visora

#endif
