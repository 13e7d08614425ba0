// What the vector conversions from luma and chroma to RGB take; the same for every instruction set.
#ifndef VISORA_VECTA_COLOR_H
#define VISORA_VECTA_COLOR_H

#include <cstddef>
#include <cstdint>

namespace visora
{

enum class ChromaSampling
{
    k444,
    k422,
    k420
};

enum class PixelFormat
{
    RGB565,
    RGB888,
    RGBA8888
};

/** Luma rows and the destination of a conversion. Destination rows may run upwards. */
struct ColorImage
{
    const uint8_t* luma;
    size_t lumaStride;
    size_t width;
    size_t height;
    uint8_t* dst;
    ptrdiff_t dstStride;
};

}  // namespace visora

#endif
