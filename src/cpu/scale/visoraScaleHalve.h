// The 5x5 Gaussian half of an image, to as many pixels as a caller wants.
#ifndef VISORA_CPU_HALVE_H
#define VISORA_CPU_HALVE_H

#include "cpu/filter/visoraFilterGaussian.h"

namespace visora
{

/**
 * Destination pixel (x, y) becomes the mean about source pixel (2x, 2y). The destination has at most half the source's
 * size, rounded up; `image` tells the source's.
 */
void halveReference(const GaussianImage<uint8_t>& image, uint32_t dstWidth, uint32_t dstHeight);
void halveReference(const GaussianImage<float>& image, uint32_t dstWidth, uint32_t dstHeight);

/** The same bits by the vector unit. */
void halveVector(const GaussianImage<uint8_t>& image, uint32_t dstWidth, uint32_t dstHeight);
void halveVector(const GaussianImage<float>& image, uint32_t dstWidth, uint32_t dstHeight);

/**
 * Outputs from 1 up to this have all their columns inside the image, and one more to the right of them.
 */
constexpr size_t innerEnd(uint32_t width)
{
    return width < 4 ? 1 : width / 2 - 1;
}

/** One pixel of it. */
uint8_t halvedPixel(const GaussianImage<uint8_t>& image, uint32_t x, uint32_t y);
float halvedPixel(const GaussianImage<float>& image, uint32_t x, uint32_t y);

}  // namespace visora

#endif
