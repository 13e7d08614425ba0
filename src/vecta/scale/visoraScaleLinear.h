// Bilinear resizing of u8 images.
#ifndef VISORA_VECTA_SCALE_LINEAR_H
#define VISORA_VECTA_SCALE_LINEAR_H

#include <cstdint>

namespace visora
{

struct LinearResize
{
    const uint8_t* src;
    uint32_t srcWidth;
    uint32_t srcHeight;
    uint32_t srcStride;
    uint32_t channels;
    uint8_t* dst;
    uint32_t dstWidth;
    uint32_t dstHeight;
    uint32_t dstStride;
    const uint8_t* border;  // the value of taps outside, null where the edge continues outwards
};

/** With vectors, where the image is wide enough and there is scratch memory. @return false when nothing was done */
bool resizeLinear(const LinearResize& resize);

}  // namespace visora

#endif
