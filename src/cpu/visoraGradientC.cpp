// Gradients, reference variants.
#include <algorithm>
#include <cstddef>

#include "visora/gradient.h"

namespace
{

template <class T, class Convert>
vsrStatus sobel(const uint8_t* src, uint32_t width, uint32_t height, size_t srcStride, T* dx, T* dy,
                uint32_t gradStride, Convert convert)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const uint8_t* above = src + (y - std::min(y, 1u)) * srcStride;
        const uint8_t* centre = src + y * srcStride;
        const uint8_t* below = src + std::min(y + 1, height - 1) * srcStride;
        T* outX = dx + y * (gradStride / sizeof(T));
        T* outY = dy + y * (gradStride / sizeof(T));
        for (uint32_t x = 0; x < width; ++x)
        {
            const uint32_t left = x - std::min(x, 1u);
            const uint32_t right = std::min(x + 1, width - 1);
            outX[x] =
                convert(above[right] - above[left] + 2 * (centre[right] - centre[left]) + below[right] - below[left]);
            outY[x] = convert(below[left] - above[left] + 2 * (below[x] - above[x]) + below[right] - above[right]);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrImageGradientSobelPlanars16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          int16_t* dx, int16_t* dy, uint32_t gradStride)
{
    return sobel(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride,
                 [](int32_t sum) { return static_cast<int16_t>(sum); });
}

vsrStatus vsrImageGradientSobelPlanars8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         int8_t* dx, int8_t* dy, uint32_t gradStride)
{
    // Sums lie within -1020 .. 1020.
    return sobel(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride,
                 [](int32_t sum) { return static_cast<int8_t>(sum >> 3); });
}

vsrStatus vsrImageGradientSobelPlanarf32C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          float* dx, float* dy, uint32_t gradStride)
{
    return sobel(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride,
                 [](int32_t sum) { return static_cast<float>(sum); });
}
