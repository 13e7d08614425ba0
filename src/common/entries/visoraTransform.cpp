// Entry points of the transforms.
#include <bit>

#include "common/visoraEntry.h"
#include "visora/variants/statistics.h"

using visora::In;
using visora::InPlace;
using visora::Out;

namespace
{

constexpr auto blocks = [](auto open, const auto* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           auto* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return open(in, out)
        .require(srcWidth % 8 == 0 && srcHeight % 8 == 0)
        .run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
};

constexpr auto blocksPacked = [](auto open, const auto* src, uint32_t width, uint32_t height, auto* dst)
{ return blocks(open, src, width, height, 0, dst, 0); };

constexpr bool isFftLength(uint32_t size)
{
    return std::has_single_bit(size) && size <= 65536;
}

constexpr auto inverse = [](auto open, const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            float* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride, 2);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return open(in, out)
        .require(isFftLength(srcWidth) && isFftLength(srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
};

constexpr auto inversePacked = [](auto open, const float* src, uint32_t width, uint32_t height, float* dst)
{ return inverse(open, src, width, height, 0, dst, 0); };

}  // namespace

VSR_ENTRY(vsrDCTu8, vsrDCTu8, blocksPacked);
VSR_ENTRY(vsrDCTu8_v2, vsrDCTu8, blocks);
VSR_ENTRY(vsrIDCTs16u8, vsrIDCTs16u8, blocksPacked);
VSR_ENTRY(vsrIDCTs16u8_v2, vsrIDCTs16u8, blocks);
VSR_ENTRY(vsrIFFTf32, vsrIFFTf32, inversePacked);
VSR_ENTRY(vsrIFFTf32_v2, vsrIFFTf32, inverse);

vsrStatus vsrFFTu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                   uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride, InPlace::No, 2);
    return VSR_CALL(vsrFFTu8, in, out)
        .require(isFftLength(srcWidth) && isFftLength(srcHeight))
        .run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
}

vsrStatus vsrFFTf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t flags,
                    float* dst, uint32_t dstStride)
{
    const bool isComplex = (flags & VISORA_FFT_COMPLEX) != 0;
    const In in(src, srcWidth, srcHeight, srcStride, isComplex ? 2 : 1);
    const Out out(dst, srcWidth, srcHeight, dstStride, isComplex ? InPlace::Yes : InPlace::No, 2);
    return VSR_CALL(vsrFFTf32, in, out)
        .require(flags <= (VISORA_FFT_COMPLEX | VISORA_FFT_ROWS) && isFftLength(srcWidth) &&
                 ((flags & VISORA_FFT_ROWS) != 0 || isFftLength(srcHeight)))
        .run(src, srcWidth, srcHeight, in.stride(), flags, dst, out.stride());
}
