// Operations that move pixels, reference variants.
#include <cstring>

#include "visora/variants/warp.h"

namespace
{

// An image of a size; pixel (x, y) goes to where `place` says.
template <size_t pixelBytes, class Place>
void movePixels(const void* src, size_t width, size_t height, size_t srcStride, void* dst, size_t dstStride,
                Place place)
{
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            const auto [toX, toY] = place(x, y);
            std::memcpy(static_cast<uint8_t*>(dst) + toY * dstStride + toX * pixelBytes,
                        static_cast<const uint8_t*>(src) + y * srcStride + x * pixelBytes, pixelBytes);
        }
    }
}

struct Place
{
    size_t x, y;
};

// Clockwise by 90, 180 or 270 degrees.
template <size_t pixelBytes>
vsrStatus rotate(const uint8_t* src, size_t width, size_t height, size_t srcStride, uint8_t* dst, size_t dstStride,
                 uint32_t rotation)
{
    movePixels<pixelBytes>(src, width, height, srcStride, dst, dstStride,
                           [=](size_t x, size_t y)
                           {
                               return rotation == 1   ? Place{height - 1 - y, x}
                                      : rotation == 2 ? Place{width - 1 - x, height - 1 - y}
                                                      : Place{y, width - 1 - x};
                           });
    return VISORA_SUCCESS;
}

// In place two pixels change places, so each pair is met once, at the one that comes first.
template <size_t pixelBytes>
vsrStatus flip(const void* src, size_t width, size_t height, size_t srcStride, vsrFlipDirection direction, void* dst,
               size_t dstStride)
{
    const auto opposite = [=](size_t x, size_t y)
    {
        return Place{direction & VISORA_FLIP_HORIZONTAL ? width - 1 - x : x,
                     direction & VISORA_FLIP_VERTICAL ? height - 1 - y : y};
    };
    if (src != dst)
    {
        movePixels<pixelBytes>(src, width, height, srcStride, dst, dstStride, opposite);
        return VISORA_SUCCESS;
    }
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            const Place other = opposite(x, y);
            if (other.y > y || (other.y == y && other.x > x))
            {
                uint8_t* a = static_cast<uint8_t*>(dst) + y * dstStride + x * pixelBytes;
                uint8_t* b = static_cast<uint8_t*>(dst) + other.y * dstStride + other.x * pixelBytes;
                uint8_t kept[pixelBytes];
                std::memcpy(kept, a, pixelBytes);
                std::memcpy(a, b, pixelBytes);
                std::memcpy(b, kept, pixelBytes);
            }
        }
    }
    return VISORA_SUCCESS;
}

template <class T>
vsrStatus transpose(const T* src, size_t width, size_t height, size_t srcStride, T* dst, size_t dstStride)
{
    constexpr size_t kBytes = sizeof(T);
    movePixels<kBytes>(src, width, height, srcStride / kBytes * kBytes, dst, dstStride / kBytes * kBytes,
                       [](size_t x, size_t y) {
                           return Place{y, x};
                       });
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrRotateImageInterleavedu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint8_t* dst, uint32_t dstStride, uint32_t rotation)
{
    return rotate<2>(src, srcWidth, srcHeight, srcStride, dst, dstStride, rotation);
}

vsrStatus vsrRotatePlaneu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride, uint32_t rotation)
{
    return rotate<1>(src, srcWidth, srcHeight, srcStride, dst, dstStride, rotation);
}

vsrStatus vsrFlipu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t channels,
                     vsrFlipDirection direction, uint8_t* dst, uint32_t dstStride)
{
    constexpr decltype(&flip<1>) kFlips[] = {flip<1>, flip<2>, flip<3>, flip<4>};
    return kFlips[channels - 1](src, srcWidth, srcHeight, srcStride, direction, dst, dstStride);
}

vsrStatus vsrFlipu16C(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      vsrFlipDirection direction, uint16_t* dst, uint32_t dstStride)
{
    return flip<2>(src, srcWidth, srcHeight, srcStride / 2 * 2, direction, dst, dstStride / 2 * 2);
}

vsrStatus vsrTransposeu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                          uint32_t dstStride)
{
    return transpose(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrTransposef32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                           uint32_t dstStride)
{
    return transpose(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}
