// Operations on single elements, reference variants: the formula of each.
#include <cmath>
#include <cstdlib>

#include "cpu/element/visoraElementNormalize.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/arithmetic.h"

namespace visora
{
namespace
{

constexpr auto minus = [](auto a, auto value) { return saturate<decltype(a)>(a - value); };
constexpr auto clamp = [](auto a, auto low, auto high)
{
    const auto r = a > low ? a : low;
    return r < high ? r : high;
};

}  // namespace
}  // namespace visora

VSR_REFERENCE(vsrBitwiseNotu8, unary, [](uint8_t a) { return static_cast<uint8_t>(~a); });
VSR_REFERENCE(vsrTableLookupu8, unary, [](uint8_t a, const uint8_t* table) { return table[a]; });

VSR_REFERENCE(vsrAbsDiffScalaru8, perChannel,
              [](uint8_t a, uint8_t value) { return static_cast<uint8_t>(std::abs(a - value)); });
VSR_REFERENCE(vsrAbsDiffScalarf32, perChannel,
              [](float a, float value) { return visora::oneNan(std::fabs(a - value)); });
VSR_REFERENCE(vsrSubtractu8, perChannel, visora::minus);
VSR_REFERENCE(vsrSubtracts16, perChannel, visora::minus);

VSR_REFERENCE(vsrAbss16, unary, [](int16_t a) { return visora::saturate<int16_t>(std::abs(int{a})); });
VSR_REFERENCE(vsrAbsf32, unary, [](float a) { return std::fabs(a); });
VSR_REFERENCE(vsrClamps16, unary, visora::clamp);
VSR_REFERENCE(vsrClampf32, unary, visora::clamp);
VSR_REFERENCE(vsrBitShifts16, unary,
              [](int16_t a, int32_t shift)
              {
                  return visora::saturate<int16_t>(
                      shift >= 0 ? a * (1 << shift) : visora::roundingShift(int{a}, static_cast<uint32_t>(-shift)));
              });

VSR_REFERENCE(vsrConvertu8f32, unary,
              [](uint8_t a, float scale, float offset)
              { return visora::oneNan((scale * static_cast<float>(a)) + offset); });
VSR_REFERENCE(vsrConvertf32u8, unary,
              [](float a, float scale, float offset) { return visora::byteOf((scale * a) + offset); });
VSR_REFERENCE(vsrConverts16u8, unary,
              [](int16_t a, uint32_t shift, vsrOverflowPolicy policy)
              {
                  const int v = visora::roundingShift(int{a}, shift);
                  return policy == VISORA_OVERFLOW_SATURATE ? visora::saturate<uint8_t>(v) : static_cast<uint8_t>(v);
              });

vsrStatus vsrAccumulateWeightedu8f32C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      const uint8_t* mask, uint32_t maskStride, float alpha, float* dst,
                                      uint32_t dstStride)
{
    const float beta = 1 - alpha;
    visora::forEach(src, srcWidth, srcHeight, srcStride, mask, maskStride,
                    [&](uint8_t value, uint32_t x, uint32_t y)
                    {
                        float& old = visora::imageRow(dst, dstStride, y)[x];
                        old = visora::oneNan((beta * old) + (alpha * static_cast<float>(value)));
                    });
    return VISORA_SUCCESS;
}

vsrStatus vsrNormalizeRangeu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t lowPermille, uint32_t highPermille, uint8_t low, uint8_t high, uint8_t* dst,
                               uint32_t dstStride)
{
    uint64_t counts[256] = {};
    visora::forEach(src, srcWidth, srcHeight, srcStride, nullptr, 0,
                    [&](uint8_t value, uint32_t /*x*/, uint32_t /*y*/) { ++counts[value]; });
    uint8_t table[256];
    visora::normalizingTable(counts, lowPermille, highPermille, low, high, table);
    return vsrTableLookupu8C(src, srcWidth, srcHeight, srcStride, table, dst, dstStride);
}

vsrStatus vsrBitMaskPacku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride)
{
    for (size_t y = 0; y < srcHeight; ++y)
    {
        for (size_t begin = 0; begin < srcWidth; begin += 8)
        {
            uint32_t bits = 0;
            for (size_t x = begin; x < begin + 8 && x < srcWidth; ++x)
            {
                bits |= src[y * srcStride + x] != 0 ? 128U >> (x - begin) : 0;
            }
            dst[y * dstStride + begin / 8] = static_cast<uint8_t>(bits);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrBitMaskUnpacku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint8_t* dst, uint32_t dstStride)
{
    for (size_t y = 0; y < srcHeight; ++y)
    {
        for (size_t x = 0; x < srcWidth; ++x)
        {
            dst[y * dstStride + x] = (src[y * srcStride + x / 8] & (128U >> (x % 8))) != 0 ? 255 : 0;
        }
    }
    return VISORA_SUCCESS;
}
