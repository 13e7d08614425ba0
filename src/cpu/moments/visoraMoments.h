// Moments of an image from those of its tiles.
#ifndef VISORA_CPU_MOMENTS_H
#define VISORA_CPU_MOMENTS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "cpu/visoraPlane.h"
#include "visora/moments.h"

namespace visora
{

constexpr uint32_t kTile = 32;

/** What a pixel counts. */
template <class T>
T momentValue(T pixel, bool binary)
{
    return binary ? static_cast<T>(pixel != 0) : pixel;
}

/** Sums of y^j * value down the columns of a tile. */
struct ColumnMoments
{
    alignas(64) double k[4][kTile];
};

/** The ten moments of a tile of floats from its column sums, columns beyond the tile being +0. */
void foldColumns(const ColumnMoments& columns, double moments[10]);
/** The same of a tile of integers, whose column sums are exact. */
void foldExactColumns(const ColumnMoments& columns, double moments[10]);

/** Adds the moments of a tile whose top-left pixel is at (x, y). */
void addTile(vsrMoments& sum, double x, double y, const double t[10]);
/** Works the central moments out of the raw ones. */
void centralize(vsrMoments& moments);

template <class T, class Tile>
void momentsByTiles(const T* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                    vsrMoments* moments, Tile tile)
{
    vsrMoments sum{};
    for (uint32_t y = 0; y < height; y += std::min(kTile, height - y))
    {
        for (uint32_t x = 0; x < width; x += std::min(kTile, width - x))
        {
            double t[10];
            tile(planeRow(src, stride, y) + x, std::min(kTile, width - x), std::min(kTile, height - y), stride, binary,
                 t);
            addTile(sum, x, y, t);
        }
    }
    centralize(sum);
    *moments = sum;
}

}  // namespace visora

#endif
