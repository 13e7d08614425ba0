// Adaptive equalisation, reference variants.
#include "cpu/histogram/visoraHistogramClahe.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/statistics.h"

namespace
{

template <class T>
vsrStatus clahe(const visora::Clahe<T>& clahe, T* dst, uint32_t dstStride)
{
    const visora::ClaheMaps<T> scratch(clahe);
    if (!scratch)
    {
        return VISORA_ENOMEM;
    }
    for (uint32_t y = 0; y < clahe.y.size; ++y)
    {
        const visora::ClaheAxis::Blend down = clahe.y.at(y);
        const T* pixels = visora::planeRow(clahe.src, clahe.stride, y);
        T* out = visora::planeRow(dst, dstStride, y);
        for (uint32_t x = 0; x < clahe.x.size; ++x)
        {
            out[x] = visora::blendedLevel(clahe, scratch.maps(), pixels[x], clahe.x.at(x), down);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrClaheu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t tilesX,
                      uint32_t tilesY, float clipLimit, uint8_t* dst, uint32_t dstStride)
{
    return clahe({src, srcWidth, srcHeight, srcStride, tilesX, tilesY, clipLimit, 256}, dst, dstStride);
}

vsrStatus vsrClaheu16C(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t tilesX,
                       uint32_t tilesY, float clipLimit, uint32_t bins, uint16_t* dst, uint32_t dstStride)
{
    return clahe({src, srcWidth, srcHeight, srcStride, tilesX, tilesY, clipLimit, bins}, dst, dstStride);
}
