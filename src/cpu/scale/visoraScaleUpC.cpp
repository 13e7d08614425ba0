// Doubled images, reference variants.
#include <algorithm>

#include "cpu/scale/visoraScaleUp.h"
#include "visora/variants/scale.h"

vsrStatus vsrScaleUpBy2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                           uint32_t dstStride)
{
    // The nearest pixel beside the one that an output lies in, the edge pixel itself at the edge.
    const auto neighbour = [](size_t index, size_t size)
    { return index % 2 == 0 ? index / 2 - std::min<size_t>(index / 2, 1) : std::min(index / 2 + 1, size - 1); };
    for (size_t y = 0; y < size_t{srcHeight} * 2; ++y)
    {
        const uint8_t* near = src + y / 2 * srcStride;
        const uint8_t* far = src + neighbour(y, srcHeight) * srcStride;
        for (size_t x = 0; x < size_t{srcWidth} * 2; ++x)
        {
            const size_t beside = neighbour(x, srcWidth);
            const int sum = 9 * near[x / 2] + 3 * near[beside] + 3 * far[x / 2] + far[beside];
            dst[y * dstStride + x] = static_cast<uint8_t>((sum + 8) >> 4);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrScaleUpBy2Gaussian5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint8_t* dst, uint32_t dstStride)
{
    for (size_t y = 0; y < size_t{srcHeight} * 2; ++y)
    {
        for (size_t x = 0; x < size_t{srcWidth} * 2; ++x)
        {
            dst[y * dstStride + x] = visora::binomialPixel(src, srcWidth, srcHeight, srcStride, x, y);
        }
    }
    return VISORA_SUCCESS;
}
