// Operations on single elements, fills and frames, reference variants.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "cpu/element/visoraElement.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/arithmetic.h"

namespace visora
{
namespace
{

constexpr auto absDiff = [](auto a, auto b) { return saturate<decltype(a)>(std::abs(int64_t{a} - b)); };
constexpr auto floatDiff = [](float a, float b) { return oneNan(std::fabs(a - b)); };
constexpr auto smaller = [](auto a, auto b) { return std::min(a, b); };
constexpr auto larger = [](auto a, auto b) { return std::max(a, b); };
constexpr auto minus = [](auto a, auto value) { return saturate<decltype(a)>(a - value); };
constexpr auto clamp = [](auto a, auto low, auto high)
{
    const auto r = a > low ? a : low;
    return r < high ? r : high;
};

// Calls body(x, y) for every pixel that takes part.
template <class Body>
vsrStatus eachPixel(uint32_t width, uint32_t height, Body body, const uint8_t* mask = nullptr, size_t maskStride = 0)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            if (!mask || mask[y * maskStride + x] != 0)
            {
                body(x, y);
            }
        }
    }
    return VISORA_SUCCESS;
}

// Channel c of every pixel that takes part becomes values[c].
template <class T>
vsrStatus setPixels(size_t channels, T* dst, uint32_t width, uint32_t height, uint32_t stride, const T* values,
                    const uint8_t* mask, uint32_t maskStride)
{
    // The bits of a float stay as they are.
    const auto set = [=](size_t x, uint32_t y)
    { std::memcpy(imageRow(dst, stride, y) + x * channels, values, channels * sizeof(T)); };
    return eachPixel(width, height, set, mask, maskStride);
}

constexpr auto setElements = [](auto* dst, uint32_t width, uint32_t height, uint32_t stride, auto value,
                                const uint8_t* mask, uint32_t maskStride)
{ return setPixels(1, dst, width, height, stride, &value, mask, maskStride); };

}  // namespace
}  // namespace visora

VSR_REFERENCE(vsrAbsDiffu8, binary, visora::absDiff);
VSR_REFERENCE(vsrAbsDiffs16, binary, visora::absDiff);
VSR_REFERENCE(vsrAbsDiffu16, binary, visora::absDiff);
VSR_REFERENCE(vsrAbsDiffs32, binary, visora::absDiff);
VSR_REFERENCE(vsrAbsDifff32, binary, visora::floatDiff);

VSR_REFERENCE(vsrAddu8, binary, [](uint8_t a, uint8_t b) { return visora::saturate<uint8_t>(a + b); });
VSR_REFERENCE(vsrAddu8u16, binary, [](uint8_t a, uint16_t b) { return visora::saturate<uint16_t>(a + b); });
VSR_REFERENCE(vsrAdds16, binary,
              [](int16_t a, int16_t b, vsrOverflowPolicy policy) {
                  return policy == VISORA_OVERFLOW_SATURATE ? visora::saturate<int16_t>(a + b)
                                                            : static_cast<int16_t>(a + b);
              });
VSR_REFERENCE(vsrAddf32, binary, [](float a, float b) { return visora::oneNan(a + b); });

VSR_REFERENCE(vsrElementMulu8u16, binary, [](uint8_t a, uint8_t b) { return static_cast<uint16_t>(a * b); });
VSR_REFERENCE(vsrElementMuls16, binary,
              [](int16_t a, int16_t b, uint32_t shift)
              { return visora::saturate<int16_t>(visora::roundingShift(a * b, shift)); });
VSR_REFERENCE(vsrElementMulf32, binary, [](float a, float b, float scale) { return visora::oneNan((scale * a) * b); });
VSR_REFERENCE(vsrElementDivu8, binary,
              [](uint8_t a, uint8_t b, float scale) {
                  return b == 0 ? uint8_t{0} : visora::byteOf((scale * static_cast<float>(a)) / static_cast<float>(b));
              });
VSR_REFERENCE(vsrElementDivf32, binary,
              [](float a, float b, float scale) { return b == 0 ? 0.0F : visora::oneNan((scale * a) / b); });

VSR_REFERENCE(vsrMinu8, binary, visora::smaller);
VSR_REFERENCE(vsrMins16, binary, visora::smaller);
VSR_REFERENCE(vsrMaxu8, binary, visora::larger);
VSR_REFERENCE(vsrMaxs16, binary, visora::larger);

VSR_REFERENCE(vsrBitwiseAndu8, binaryMasked, [](uint8_t a, uint8_t b) { return static_cast<uint8_t>(a & b); });
VSR_REFERENCE(vsrBitwiseOru8, binaryMasked, [](uint8_t a, uint8_t b) { return static_cast<uint8_t>(a | b); });
VSR_REFERENCE(vsrBitwiseXoru8, binaryMasked, [](uint8_t a, uint8_t b) { return static_cast<uint8_t>(a ^ b); });

VSR_REFERENCE(vsrBitwiseNotu8, unary, [](uint8_t a) { return static_cast<uint8_t>(~a); });
VSR_REFERENCE(vsrTableLookupu8, unary, [](uint8_t a, const uint8_t* table) { return table[a]; });

VSR_REFERENCE(vsrAbsDiffScalaru8, perChannel, visora::absDiff);
VSR_REFERENCE(vsrAbsDiffScalarf32, perChannel, visora::floatDiff);
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

VSR_REFERENCE(vsrSetElementsu8, setElements);
VSR_REFERENCE(vsrSetElementss16, setElements);
VSR_REFERENCE(vsrSetElementsu16, setElements);
VSR_REFERENCE(vsrSetElementss32, setElements);
VSR_REFERENCE(vsrSetElementsf32, setElements);
VSR_REFERENCE(vsrSetElementsc2u8, setPixels<uint8_t>, 2);
VSR_REFERENCE(vsrSetElementsc3u8, setPixels<uint8_t>, 3);
VSR_REFERENCE(vsrSetElementsc4u8, setPixels<uint8_t>, 4);

vsrStatus vsrAccumulateWeightedu8f32C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      const uint8_t* mask, uint32_t maskStride, float alpha, float* dst,
                                      uint32_t dstStride)
{
    const auto blend = [=, beta = 1 - alpha](size_t x, uint32_t y)
    {
        float& old = visora::imageRow(dst, dstStride, y)[x];
        old = visora::oneNan((beta * old) + (alpha * visora::imageRow(src, srcStride, y)[x]));
    };
    return visora::eachPixel(srcWidth, srcHeight, blend, mask, maskStride);
}

vsrStatus vsrNormalizeRangeu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t lowPermille, uint32_t highPermille, uint8_t low, uint8_t high, uint8_t* dst,
                               uint32_t dstStride)
{
    uint64_t counts[256] = {};
    visora::eachPixel(srcWidth, srcHeight, [&](size_t x, size_t y) { ++counts[src[y * srcStride + x]]; });
    uint8_t table[256];
    visora::normalizingTable(counts, lowPermille, highPermille, low, high, table);
    return vsrTableLookupu8C(src, srcWidth, srcHeight, srcStride, table, dst, dstStride);
}

vsrStatus vsrBitMaskPacku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride)
{
    return visora::eachPixel(srcWidth, srcHeight,
                             [=](size_t x, size_t y)
                             {
                                 const bool isSet = src[y * srcStride + x] != 0;
                                 uint8_t& bits = dst[y * dstStride + x / 8];
                                 bits = static_cast<uint8_t>((x % 8 == 0 ? 0 : bits) | (isSet ? 128U >> (x % 8) : 0));
                             });
}

vsrStatus vsrBitMaskUnpacku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint8_t* dst, uint32_t dstStride)
{
    return visora::eachPixel(
        srcWidth, srcHeight,
        [=](size_t x, size_t y)
        { dst[y * dstStride + x] = (src[y * srcStride + x / 8] & (128U >> (x % 8))) != 0 ? 255 : 0; });
}

vsrStatus vsrBitwiseSelectu8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                              const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                              uint8_t* dst, uint32_t dstStride)
{
    return visora::eachPixel(width, height,
                             [=](size_t x, size_t y)
                             {
                                 const uint8_t m = mask[y * maskStride + x];
                                 dst[y * dstStride + x] = static_cast<uint8_t>((src1[y * src1Stride + x] & m) |
                                                                               (src2[y * src2Stride + x] & ~m));
                             });
}

vsrStatus vsrCartToPolarf32C(const float* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const float* src2,
                             uint32_t src2Stride, float* magnitude, uint32_t magnitudeStride, float* angle,
                             uint32_t angleStride)
{
    using namespace visora;
    const auto atPixel = [=](uint32_t x, uint32_t y)
    {
        const float dx = imageRow(src1, src1Stride, y)[x];
        const float dy = imageRow(src2, src2Stride, y)[x];
        float turn = std::fabs(dy) > std::fabs(dx) ? polar::kQuarter - octantAngle(dx, dy) : octantAngle(dx, dy);
        turn = dx < 0 ? polar::kHalf - turn : turn;
        turn = dy < 0 ? polar::kWhole - turn : turn;
        turn = turn >= polar::kWhole ? 0 : turn;
        imageRow(magnitude, magnitudeStride, y)[x] = oneNan(std::sqrt((dx * dx) + (dy * dy)));
        imageRow(angle, angleStride, y)[x] = std::isnan(dx) || std::isnan(dy) ? kNan : turn;
    };
    return eachPixel(width, height, atPixel);
}

vsrStatus vsrCartToPolars16C(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                             const int16_t* src2, uint32_t src2Stride, uint16_t* magnitude, uint32_t magnitudeStride,
                             uint8_t* angle, uint32_t angleStride)
{
    using namespace visora;
    const auto atPixel = [=](uint32_t x, uint32_t y)
    {
        const int dx = imageRow(src1, src1Stride, y)[x];
        const int dy = imageRow(src2, src2Stride, y)[x];
        const auto squares = static_cast<uint32_t>(dx * dx) + static_cast<uint32_t>(dy * dy);
        // The root of f32 is off by less than 1.
        auto root = static_cast<uint32_t>(std::sqrt(static_cast<float>(squares)) + 0.5F);
        root -= root * root - root >= squares && root != 0 ? 1 : 0;
        root += root * root + root < squares ? 1 : 0;
        int steps = static_cast<int>(
            (octantAngle(static_cast<float>(dx), static_cast<float>(dy)) * polar::kStepsPerRadian) + 0.5F);
        steps = std::abs(dy) > std::abs(dx) ? 64 - steps : steps;
        steps = dx < 0 ? 128 - steps : steps;
        steps = dy < 0 ? 256 - steps : steps;
        imageRow(magnitude, magnitudeStride, y)[x] = static_cast<uint16_t>(root);
        imageRow(angle, angleStride, y)[x] = static_cast<uint8_t>(steps);
    };
    return eachPixel(width, height, atPixel);
}

vsrStatus vsrCopyMaskedu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint32_t channels, const uint8_t* mask, uint32_t maskStride, uint8_t* dst,
                           uint32_t dstStride)
{
    const auto copy = [=](size_t x, size_t y)
    { std::copy_n(src + y * srcStride + x * channels, channels, dst + y * dstStride + x * channels); };
    return visora::eachPixel(srcWidth, srcHeight, copy, mask, maskStride);
}

vsrStatus vsrSetBorderu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t border,
                          vsrBorderType borderType, uint8_t borderValue)
{
    // The place in the picture that stands for a place, both counted from the frame's begin.
    const auto from = [=](size_t at, uint32_t size)
    { return border + visora::insideOf(borderType, static_cast<int64_t>(at) - border, size - 2 * size_t{border}); };
    const auto fill = [=](size_t x, size_t y)
    {
        const size_t fromX = from(x, dstWidth);
        const size_t fromY = from(y, dstHeight);
        if (x != fromX || y != fromY)
        {
            dst[y * dstStride + x] =
                borderType == VISORA_BORDER_CONSTANT ? borderValue : dst[fromY * dstStride + fromX];
        }
    };
    return visora::eachPixel(dstWidth, dstHeight, fill);
}

vsrStatus vsrCopyC(const uint8_t* src, uint32_t length, uint8_t* dst)
{
    std::copy_n(src, length, dst);
    return VISORA_SUCCESS;
}
