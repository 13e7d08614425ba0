// Census transform and local binary patterns, reference variants.
#include "cpu/filter/visoraFilterPattern.h"
#include "visora/variants/filter.h"

namespace
{

// One bit per neighbour that is darker, row by row; 0 where the window leaves the image.
template <size_t columns, size_t rows, class T>
vsrStatus census(const uint8_t* src, size_t width, size_t height, size_t srcStride, T* dst, size_t dstStep)
{
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            T bits = 0;
            const bool inside = x >= columns / 2 && y >= rows / 2 && x + columns / 2 < width && y + rows / 2 < height;
            for (size_t i = 0; inside && i < columns * rows; ++i)
            {
                const uint8_t* centre = src + y * srcStride + x;
                const uint8_t* corner = centre - rows / 2 * srcStride - columns / 2;
                if (i != columns * rows / 2)
                {
                    bits = static_cast<T>(bits * 2 + (corner[i / columns * srcStride + i % columns] < *centre ? 1 : 0));
                }
            }
            dst[y * dstStep + x] = bits;
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrCensus3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                          uint32_t dstStride)
{
    return census<3, 3>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrCensus9x7u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint64_t* dst,
                          uint32_t dstStride)
{
    return census<9, 7>(src, srcWidth, srcHeight, srcStride, dst, dstStride / sizeof(uint64_t));
}

vsrStatus vsrLBPu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, vsrLbpMode mode,
                    uint8_t* dst, uint32_t dstStride)
{
    constexpr auto kLabels = visora::uniformLabels();
    const visora::BorderedImage image(src, srcWidth, srcHeight, srcStride, VISORA_BORDER_REPLICATE, 0);
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            const uint8_t code = visora::binaryPatternAt(image, x, y);
            dst[size_t{y} * dstStride + x] = mode == VISORA_LBP_UNIFORM ? kLabels[code] : code;
        }
    }
    return VISORA_SUCCESS;
}
