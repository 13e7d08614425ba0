// Bayer mosaics to RGB and grey, reference variants.
#include "cpu/color/visoraColorBayer.h"
#include "visora/variants/color.h"

namespace
{

template <class Store>
vsrStatus forEachPixel(const visora::Mosaic& mosaic, Store store)
{
    for (uint32_t y = 0; y < mosaic.height; ++y)
    {
        for (uint32_t x = 0; x < mosaic.width; ++x)
        {
            store(x, y, visora::demosaic(mosaic, x, y));
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrBayerToRGB888u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              vsrBayerPattern pattern, uint8_t* dst, uint32_t dstStride)
{
    return forEachPixel({src, srcStride, srcWidth, srcHeight, pattern}, [=](size_t x, size_t y, visora::Pixel pixel)
                        { visora::RGB888::store(pixel, dst + y * dstStride + x * 3); });
}

vsrStatus vsrBayerToGrayu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            vsrBayerPattern pattern, uint8_t* dst, uint32_t dstStride)
{
    return forEachPixel({src, srcStride, srcWidth, srcHeight, pattern}, [=](size_t x, size_t y, visora::Pixel pixel)
                        { dst[y * dstStride + x] = visora::lumaOf(pixel); });
}
