// Entry points of the wavelet.
#include "common/visoraEntry.h"
#include "visora/variants/corner.h"

using visora::In;
using visora::Out;

// Bands have the stride of the low ones; those of high frequency may be empty, but then they are not looked at.
vsrStatus vsrHaarForwards16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int16_t* ll,
                            int16_t* hl, int16_t* lh, int16_t* hh, uint32_t bandStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const auto band = [&](int16_t* data)
    { return Out(data, srcWidth / 2 + srcWidth % 2, srcHeight / 2 + srcHeight % 2, bandStride); };
    const Out low = band(ll);
    return VSR_CALL(vsrHaarForwards16, in, low, band(hl), band(lh), band(hh))
        .run(src, srcWidth, srcHeight, in.stride(), ll, hl, lh, hh, low.stride());
}

vsrStatus vsrHaarInverses16(const int16_t* ll, const int16_t* hl, const int16_t* lh, const int16_t* hh,
                            uint32_t dstWidth, uint32_t dstHeight, uint32_t bandStride, int16_t* dst,
                            uint32_t dstStride)
{
    const auto band = [&](const int16_t* data)
    { return In(data, dstWidth / 2 + dstWidth % 2, dstHeight / 2 + dstHeight % 2, bandStride); };
    const Out out(dst, dstWidth, dstHeight, dstStride);
    const In low = band(ll);
    const bool areApart = ll != hl && ll != lh && ll != hh && hl != lh && hl != hh && lh != hh;
    return VSR_CALL(vsrHaarInverses16, low, band(hl), band(lh), band(hh), out)
        .require(areApart)
        .run(ll, hl, lh, hh, dstWidth, dstHeight, low.stride(), dst, out.stride());
}
