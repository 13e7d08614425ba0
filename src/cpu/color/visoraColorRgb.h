// Conversions from RGB, pixel by pixel: what the references do, and vector variants with what vectors do not cover.
#ifndef VISORA_CPU_COLOR_RGB_H
#define VISORA_CPU_COLOR_RGB_H

#include <algorithm>

#include "cpu/color/visoraColorFormats.h"
#include "visora/types.h"

namespace visora
{

template <class Source, class Destination>
void repackRow(const uint8_t* src, uint32_t width, uint8_t* dst)
{
    for (uint32_t x = 0; x < width; ++x)
    {
        Destination::store(Source::load(src + size_t{x} * Source::kBytes), dst + size_t{x} * Destination::kBytes);
    }
}

template <class Source, class Destination>
vsrStatus repack(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                 uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        repackRow<Source, Destination>(src + size_t{y} * srcStride, width, dst + size_t{y} * dstStride);
    }
    return VISORA_SUCCESS;
}

template <class Source>
void lumaRow(const uint8_t* src, uint32_t width, uint8_t* dst)
{
    for (uint32_t x = 0; x < width; ++x)
    {
        dst[x] = lumaOf(Source::load(src + size_t{x} * Source::kBytes));
    }
}

template <class Source>
vsrStatus toGray(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                 uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        lumaRow<Source>(src + size_t{y} * srcStride, width, dst + size_t{y} * dstStride);
    }
    return VISORA_SUCCESS;
}

/** 128 + (half the channel's value less the others' shares), of which only a pure channel reaches 256. */
constexpr uint8_t chromaOf(int32_t channel, int32_t others)
{
    return static_cast<uint8_t>(std::min(255, 128 + ((128 * channel - others + 128) >> 8)));
}
constexpr uint8_t cbOf(Pixel pixel)
{
    return chromaOf(pixel.b, 43 * pixel.r + 85 * pixel.g);
}
constexpr uint8_t crOf(Pixel pixel)
{
    return chromaOf(pixel.r, 107 * pixel.g + 21 * pixel.b);
}

/** The rounded mean of four pixels. Pixels that are there twice, because a block is cut off or smaller, change nothing:
 * (2 a + 2 b + 2) >> 2 = (a + b + 1) >> 1. */
inline Pixel meanOf(Pixel p, Pixel q, Pixel r, Pixel s)
{
    const auto mean = [](uint32_t a, uint32_t b, uint32_t c, uint32_t d)
    { return static_cast<uint8_t>((a + b + c + d + 2) >> 2); };
    return {mean(p.r, q.r, r.r, s.r), mean(p.g, q.g, r.g, s.g), mean(p.b, q.b, r.b, s.b)};
}

template <class Source, Sampling sampling>
vsrStatus toYCbCr(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                  const YCbCrImage<uint8_t>& dst)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        lumaRow<Source>(src + size_t{y} * srcStride, width, dst.lumaRow(y));
    }
    for (uint32_t j = 0; j < sampling.rows(height); ++j)
    {
        const size_t top = size_t{j} << sampling.y;
        const size_t bottom = std::min<size_t>(top + sampling.y, height - 1);
        const ChromaSamples<uint8_t> chroma = dst.chroma.row(j);
        for (uint32_t i = 0; i < sampling.columns(width); ++i)
        {
            const size_t left = size_t{i} << sampling.x;
            const size_t right = std::min<size_t>(left + sampling.x, width - 1);
            const auto pixel = [&](size_t x, size_t y)
            { return Source::load(src + y * srcStride + x * Source::kBytes); };
            const Pixel mean = meanOf(pixel(left, top), pixel(right, top), pixel(left, bottom), pixel(right, bottom));
            chroma.cb[i * chroma.step] = cbOf(mean);
            chroma.cr[i * chroma.step] = crOf(mean);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
