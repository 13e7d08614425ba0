// What entry points of colour conversions have in common.
#ifndef VISORA_COMMON_ENTRIES_COLOR_SHAPES_H
#define VISORA_COMMON_ENTRIES_COLOR_SHAPES_H

#include "common/visoraEntry.h"
#include "cpu/color/visoraColorFormats.h"

namespace visora
{

/** One image to another of the same size, with these bytes for a pixel. */
template <uint32_t srcBytes, uint32_t dstBytes, InPlace inPlace = InPlace::No>
constexpr auto imageToImage = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                 uint8_t* dst, uint32_t dstStride)
{
    const In in(src, width, height, srcStride, srcBytes);
    const Out out(dst, width, height, dstStride, inPlace, dstBytes);
    return open(in, out).run(src, width, height, in.stride(), dst, out.stride());
};

/** Describes the destination's planes to `begin` and calls what that returns with their arguments. */
template <Sampling sampling, InPlace luma, class Begin>
vsrStatus intoYCbCr(Begin begin, ImageSize size, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t dstYStride,
                    uint32_t dstCbStride, uint32_t dstCrStride)
{
    const Out y(dstY, size.width, size.height, dstYStride, luma);
    const Out cb(dstCb, sampling.columns(size.width), sampling.rows(size.height), dstCbStride);
    const Out cr(dstCr, sampling.columns(size.width), sampling.rows(size.height), dstCrStride);
    return begin(y, cb, cr)(dstY, dstCb, dstCr, y.stride(), cb.stride(), cr.stride());
}
template <Sampling sampling, InPlace luma, class Begin>
vsrStatus intoYCbCr(Begin begin, ImageSize size, uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride)
{
    const Out y(dstY, size.width, size.height, dstYStride, luma);
    const Out c(dstC, sampling.columns(size.width), sampling.rows(size.height), dstCStride, InPlace::No, 2);
    return begin(y, c)(dstY, dstC, y.stride(), c.stride());
}

}  // namespace visora

#endif
