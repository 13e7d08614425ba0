// Operations on single elements, reference variants.
#include "cpu/visoraDrivers.h"
#include "visora/variants/arithmetic.h"

VSR_REFERENCE(vsrAbsDiffu8, binary, [](uint8_t a, uint8_t b) { return static_cast<uint8_t>(a > b ? a - b : b - a); });
VSR_REFERENCE(vsrBitwiseNotu8, unary, [](uint8_t a) { return static_cast<uint8_t>(~a); });

vsrStatus vsrTableLookupu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            const uint8_t* table, uint8_t* dst, uint32_t dstStride)
{
    return visora::unary([table](uint8_t a) { return table[a]; }, src, srcWidth, srcHeight, srcStride, dst, dstStride);
}
