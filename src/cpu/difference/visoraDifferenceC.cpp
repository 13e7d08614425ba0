// Blends and differences of images, reference variants.
#include <algorithm>
#include <cstdlib>

#include "cpu/visoraDrivers.h"
#include "cpu/visoraFloat.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/background.h"
#include "visora/variants/statistics.h"

using visora::planeRow;

VSR_REFERENCE(vsrImageDiffu8, binary, [](uint8_t a, uint8_t b) { return static_cast<uint8_t>(a - std::min(a, b)); });
VSR_REFERENCE(vsrImageDiffs16, binary,
              [](int16_t a, int16_t b) { return static_cast<int16_t>(std::clamp(a - b, INT16_MIN, INT16_MAX)); });
VSR_REFERENCE(vsrImageDifff32, binary, [](float a, float b) { return visora::standardNaN(a - b); });
VSR_REFERENCE(vsrImageDiffu8s16, binary, [](uint8_t a, uint8_t b) { return static_cast<int16_t>(a - b); });

vsrStatus vsrImageBlendu8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                           const uint8_t* src2, uint32_t src2Stride, uint32_t alpha, const uint8_t* alphas,
                           uint32_t alphasStride, uint8_t* dst, uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const uint8_t* in1 = planeRow(src1, src1Stride, y);
        const uint8_t* in2 = planeRow(src2, src2Stride, y);
        const uint8_t* weights = alphas != nullptr ? planeRow(alphas, alphasStride, y) : nullptr;
        uint8_t* out = planeRow(dst, dstStride, y);
        for (uint32_t x = 0; x < width; ++x)
        {
            const uint32_t w = weights != nullptr ? weights[x] + (weights[x] >> 7) : alpha;
            out[x] = static_cast<uint8_t>((in1[x] * w + in2[x] * (256 - w) + 128) >> 8);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrFrameDifferenceu8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3, uint32_t src3Stride,
                                uint8_t threshold, uint8_t* dst, uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const uint8_t* in1 = planeRow(src1, src1Stride, y);
        const uint8_t* in2 = planeRow(src2, src2Stride, y);
        const uint8_t* in3 = planeRow(src3, src3Stride, y);
        uint8_t* out = planeRow(dst, dstStride, y);
        for (uint32_t x = 0; x < width; ++x)
        {
            const bool moved = std::abs(in2[x] - in1[x]) > threshold && std::abs(in3[x] - in2[x]) > threshold;
            out[x] = moved ? 255 : 0;
        }
    }
    return VISORA_SUCCESS;
}
