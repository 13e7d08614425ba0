// The integer Haar wavelet, reference.
#include "cpu/wavelet/visoraHaar.h"
#include "visora/variants/corner.h"

vsrStatus vsrHaarForwards16C(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int16_t* ll,
                             int16_t* hl, int16_t* lh, int16_t* hh, uint32_t bandStride)
{
    const visora::HaarBands<int16_t> bands = {ll, hl, lh, hh, bandStride};
    for (size_t y = 0; 2 * y < srcHeight; ++y)
    {
        const bool hasNext = 2 * y + 1 < srcHeight;
        const int16_t* next = hasNext ? visora::planeRow(src, srcStride, 2 * y + 1) : nullptr;
        for (size_t x = 0; 2 * x < srcWidth; ++x)
        {
            visora::haarForward(visora::planeRow(src, srcStride, 2 * y), next, srcWidth, x, bands.rows(y, hasNext));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrHaarInverses16C(const int16_t* ll, const int16_t* hl, const int16_t* lh, const int16_t* hh,
                             uint32_t dstWidth, uint32_t dstHeight, uint32_t bandStride, int16_t* dst,
                             uint32_t dstStride)
{
    const visora::HaarBands<const int16_t> bands = {ll, hl, lh, hh, bandStride};
    for (size_t y = 0; 2 * y < dstHeight; ++y)
    {
        const bool hasNext = 2 * y + 1 < dstHeight;
        int16_t* next = hasNext ? visora::planeRow(dst, dstStride, 2 * y + 1) : nullptr;
        for (size_t x = 0; 2 * x < dstWidth; ++x)
        {
            visora::haarInverse(bands.rows(y, hasNext), dstWidth, x, visora::planeRow(dst, dstStride, 2 * y), next);
        }
    }
    return VISORA_SUCCESS;
}
