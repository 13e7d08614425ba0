// Fills, frames and masked copies, reference variants.
#include <algorithm>
#include <cstring>

#include "cpu/element/visoraElement.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/arithmetic.h"

namespace visora
{
namespace
{

// Channel c of every pixel that takes part becomes values[c].
template <class T>
vsrStatus setPixels(size_t channels, T* dst, uint32_t width, uint32_t height, uint32_t stride, const T* values,
                    const uint8_t* mask, uint32_t maskStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            if (!mask || imageRow(mask, maskStride, y)[x] != 0)
            {
                // The bits of a float stay as they are.
                std::memcpy(imageRow(dst, stride, y) + x * channels, values, channels * sizeof(T));
            }
        }
    }
    return VISORA_SUCCESS;
}

constexpr auto setElements = [](auto* dst, uint32_t width, uint32_t height, uint32_t stride, auto value,
                                const uint8_t* mask, uint32_t maskStride)
{ return setPixels(1, dst, width, height, stride, &value, mask, maskStride); };

}  // namespace
}  // namespace visora

VSR_REFERENCE(vsrSetElementsu8, setElements);
VSR_REFERENCE(vsrSetElementss16, setElements);
VSR_REFERENCE(vsrSetElementsu16, setElements);
VSR_REFERENCE(vsrSetElementss32, setElements);
VSR_REFERENCE(vsrSetElementsf32, setElements);
VSR_REFERENCE(vsrSetElementsc2u8, setPixels<uint8_t>, 2);
VSR_REFERENCE(vsrSetElementsc3u8, setPixels<uint8_t>, 3);
VSR_REFERENCE(vsrSetElementsc4u8, setPixels<uint8_t>, 4);

vsrStatus vsrCopyC(const uint8_t* src, uint32_t length, uint8_t* dst)
{
    if (length != 0)
    {
        std::memcpy(dst, src, length);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrCopyMaskedu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint32_t channels, const uint8_t* mask, uint32_t maskStride, uint8_t* dst,
                           uint32_t dstStride)
{
    for (size_t y = 0; y < srcHeight; ++y)
    {
        for (size_t x = 0; x < size_t{srcWidth} * channels; ++x)
        {
            if (mask[y * maskStride + x / channels] != 0)
            {
                dst[y * dstStride + x] = src[y * srcStride + x];
            }
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrSetBorderu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t border,
                          vsrBorderType borderType, uint8_t borderValue)
{
    using visora::insideOf;
    const size_t width = dstWidth - 2 * size_t{border};
    const size_t height = dstHeight - 2 * size_t{border};
    for (size_t y = 0; y < dstHeight; ++y)
    {
        for (size_t x = 0; x < dstWidth; ++x)
        {
            const int64_t i = static_cast<int64_t>(x) - border;
            const int64_t j = static_cast<int64_t>(y) - border;
            const size_t fromX = border + insideOf(borderType, i, width);
            const size_t fromY = border + insideOf(borderType, j, height);
            if (x != fromX || y != fromY)
            {
                dst[y * dstStride + x] =
                    borderType == VISORA_BORDER_CONSTANT ? borderValue : dst[fromY * dstStride + fromX];
            }
        }
    }
    return VISORA_SUCCESS;
}
