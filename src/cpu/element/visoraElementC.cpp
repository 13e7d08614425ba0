// Operations on single elements, reference variants.
#include "visora/variants/arithmetic.h"

vsrStatus vsrBitwiseNotu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                           uint32_t dstStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y, src += srcStride, dst += dstStride)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            dst[x] = static_cast<uint8_t>(~src[x]);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrTableLookupu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            const uint8_t* table, uint8_t* dst, uint32_t dstStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y, src += srcStride, dst += dstStride)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            dst[x] = table[src[x]];
        }
    }
    return VISORA_SUCCESS;
}
