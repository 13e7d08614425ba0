// Chroma resampling, reference variants.
#include <algorithm>
#include <cstring>

#include "visora/variants/scale.h"

namespace
{

// Each pixel becomes `columns` by `rows` of them.
template <size_t pixelBytes, size_t columns, size_t rows>
vsrStatus repeat(const uint8_t* src, size_t width, size_t height, size_t srcStride, uint8_t* dst, size_t dstStride)
{
    for (size_t y = 0; y < height * rows; ++y)
    {
        for (size_t x = 0; x < width * columns; ++x)
        {
            std::memcpy(dst + y * dstStride + x * pixelBytes, src + y / rows * srcStride + x / columns * pixelBytes,
                        pixelBytes);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrDownsampleBy2Interleaved2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          uint8_t* dst, uint32_t dstStride)
{
    for (size_t y = 0; y < srcHeight; y += 2)
    {
        const uint8_t* upper = src + y * srcStride;
        const uint8_t* lower = src + std::min<size_t>(y + 1, srcHeight - 1) * srcStride;
        uint8_t* out = dst + y / 2 * dstStride;
        for (size_t x = 0; x < srcWidth; x += 2)
        {
            const size_t next = std::min<size_t>(x + 1, srcWidth - 1);
            for (size_t c = 0; c < 2; ++c)
            {
                const int sum = upper[2 * x + c] + upper[2 * next + c] + lower[2 * x + c] + lower[2 * next + c];
                out[x + c] = static_cast<uint8_t>((sum + 2) >> 2);
            }
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrDownsampleXBy2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride)
{
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* row = src + y * srcStride;
        for (size_t x = 0; x < srcWidth; x += 2)
        {
            const int sum = row[x] + row[std::min<size_t>(x + 1, srcWidth - 1)];
            dst[y * dstStride + x / 2] = static_cast<uint8_t>((sum + 1) >> 1);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrUpsampleBy2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride)
{
    return repeat<1, 2, 2>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrUpsampleBy2Interleaved2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint8_t* dst, uint32_t dstStride)
{
    return repeat<2, 2, 2>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrUpsampleXBy2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    return repeat<1, 2, 1>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrUpsampleXBy2Interleaved2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint8_t* dst, uint32_t dstStride)
{
    return repeat<2, 2, 1>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrUpsampleYBy2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    return repeat<1, 1, 2>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrUpsampleYBy2Interleaved2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint8_t* dst, uint32_t dstStride)
{
    return repeat<2, 1, 2>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}
