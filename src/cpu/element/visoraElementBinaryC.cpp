// Operations on the elements of two images, reference variants: the formula of each.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "cpu/element/visoraElementPolar.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/arithmetic.h"

namespace visora
{
namespace
{

constexpr auto absDiff = [](auto a, auto b) { return saturate<decltype(a)>(std::abs(int64_t{a} - b)); };
constexpr auto smaller = [](auto a, auto b) { return std::min(a, b); };
constexpr auto larger = [](auto a, auto b) { return std::max(a, b); };

}  // namespace
}  // namespace visora

VSR_REFERENCE(vsrAbsDiffu8, binary, visora::absDiff);
VSR_REFERENCE(vsrAbsDiffs16, binary, visora::absDiff);
VSR_REFERENCE(vsrAbsDiffu16, binary, visora::absDiff);
VSR_REFERENCE(vsrAbsDiffs32, binary, visora::absDiff);
VSR_REFERENCE(vsrAbsDifff32, binary, [](float a, float b) { return visora::oneNan(std::fabs(a - b)); });

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

vsrStatus vsrBitwiseSelectu8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                              const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                              uint8_t* dst, uint32_t dstStride)
{
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            const uint8_t m = mask[y * maskStride + x];
            dst[y * dstStride + x] =
                static_cast<uint8_t>((src1[y * src1Stride + x] & m) | (src2[y * src2Stride + x] & ~m));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrCartToPolarf32C(const float* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const float* src2,
                             uint32_t src2Stride, float* magnitude, uint32_t magnitudeStride, float* angle,
                             uint32_t angleStride)
{
    using namespace visora;
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            const float dx = imageRow(src1, src1Stride, y)[x];
            const float dy = imageRow(src2, src2Stride, y)[x];
            float turn = std::fabs(dy) > std::fabs(dx) ? polar::kQuarter - octantAngle(dx, dy) : octantAngle(dx, dy);
            turn = dx < 0 ? polar::kHalf - turn : turn;
            turn = dy < 0 ? polar::kWhole - turn : turn;
            turn = turn >= polar::kWhole ? 0 : turn;
            imageRow(magnitude, magnitudeStride, y)[x] = oneNan(std::sqrt((dx * dx) + (dy * dy)));
            imageRow(angle, angleStride, y)[x] = std::isnan(dx) || std::isnan(dy) ? kNan : turn;
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrCartToPolars16C(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                             const int16_t* src2, uint32_t src2Stride, uint16_t* magnitude, uint32_t magnitudeStride,
                             uint8_t* angle, uint32_t angleStride)
{
    using namespace visora;
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
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
        }
    }
    return VISORA_SUCCESS;
}
