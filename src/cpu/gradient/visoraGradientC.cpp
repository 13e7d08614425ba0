// Gradients, reference variants.
#include "cpu/gradient/visoraGradientSobel.h"
#include "visora/variants/statistics.h"

namespace
{

template <class T>
vsrStatus sobel(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, T* dx, T* dy,
                uint32_t gradStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const visora::SobelRows rows(src, width, height, srcStride, y);
        const size_t start = y * (gradStride / sizeof(T));
        for (uint32_t x = 0; x < width; ++x)
        {
            dx[start + x] = visora::sobelElement<T>(rows.dx(x));
            dy[start + x] = visora::sobelElement<T>(rows.dy(x));
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrImageGradientSobelPlanars16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          int16_t* dx, int16_t* dy, uint32_t gradStride)
{
    return sobel(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}

vsrStatus vsrImageGradientSobelPlanars8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         int8_t* dx, int8_t* dy, uint32_t gradStride)
{
    return sobel(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}

vsrStatus vsrImageGradientSobelPlanarf32C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          float* dx, float* dy, uint32_t gradStride)
{
    return sobel(src, srcWidth, srcHeight, srcStride, dx, dy, gradStride);
}
