// Operations that move pixels, reference variants.
#include <cstring>

#include "visora/variants/warp.h"

vsrStatus vsrRotateImageInterleavedu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint8_t* dst, uint32_t dstStride, uint32_t rotation)
{
    constexpr size_t kPixelBytes = 2;
    for (size_t y = 0; y < srcHeight; ++y)
    {
        for (size_t x = 0; x < srcWidth; ++x)
        {
            // Where pixel (x, y) goes when the image is turned clockwise by 90, 180 or 270 degrees.
            const size_t toX = rotation == 1 ? srcHeight - 1 - y : rotation == 2 ? srcWidth - 1 - x : y;
            const size_t toY = rotation == 1 ? x : rotation == 2 ? srcHeight - 1 - y : srcWidth - 1 - x;
            std::memcpy(dst + toY * dstStride + toX * kPixelBytes, src + y * srcStride + x * kPixelBytes, kPixelBytes);
        }
    }
    return VISORA_SUCCESS;
}
