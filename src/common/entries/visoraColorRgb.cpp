// Entry points of the conversions from RGB to other formats, to grey and to YCbCr.
#include "common/visoraColorConversions.h"
#include "common/visoraEntry.h"
#include "cpu/color/visoraColorFormats.h"
#include "visora/variants/color.h"

using visora::In;
using visora::InPlace;
using visora::Out;
using visora::Sampling;

namespace
{

// One image to another of the same size, with these bytes for a pixel.
template <uint32_t srcBytes, uint32_t dstBytes, InPlace inPlace>
constexpr auto imageToImage = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                 uint8_t* dst, uint32_t dstStride)
{
    const In in(src, width, height, srcStride, srcBytes);
    const Out out(dst, width, height, dstStride, inPlace, dstBytes);
    return open(in, out).run(src, width, height, in.stride(), dst, out.stride());
};

template <Sampling sampling, uint32_t srcBytes>
struct ToYCbCr
{
    template <class Open>
    vsrStatus operator()(Open open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                         uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride,
                         uint32_t dstCrStride) const
    {
        const In in(src, width, height, srcStride, srcBytes);
        const Out y(dstY, width, height, dstYStride);
        const Out cb(dstCb, sampling.columns(width), sampling.rows(height), dstCbStride);
        const Out cr(dstCr, sampling.columns(width), sampling.rows(height), dstCrStride);
        return open(in, y, cb, cr)
            .run(src, width, height, in.stride(), dstY, dstCb, dstCr, y.stride(), cb.stride(), cr.stride());
    }

    template <class Open>
    vsrStatus operator()(Open open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                         uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride) const
    {
        const In in(src, width, height, srcStride, srcBytes);
        const Out y(dstY, width, height, dstYStride);
        const Out c(dstC, sampling.columns(width), sampling.rows(height), dstCStride, InPlace::No, 2);
        return open(in, y, c).run(src, width, height, in.stride(), dstY, dstC, y.stride(), c.stride());
    }
};

}  // namespace

#define EXCHANGE_ENTRY(source, destination)                                                 \
    VSR_ENTRY(vsrColor##source##To##destination##u8, vsrColor##source##To##destination##u8, \
              (imageToImage<visora::source::kBytes, visora::source::kBytes, InPlace::Yes>));
VSR_COLOR_EXCHANGES(EXCHANGE_ENTRY)

#define REPACK_ENTRY(source, destination)                                                   \
    VSR_ENTRY(vsrColor##source##To##destination##u8, vsrColor##source##To##destination##u8, \
              (imageToImage<visora::source::kBytes, visora::destination::kBytes, InPlace::No>));
VSR_COLOR_REPACKS(REPACK_ENTRY)

#define GRAY_ENTRY(source)                                            \
    VSR_ENTRY(vsrColor##source##ToGrayu8, vsrColor##source##ToGrayu8, \
              (imageToImage<visora::source::kBytes, 1, InPlace::No>));
VSR_COLOR_GRAYS(GRAY_ENTRY)

#define YCBCR_ENTRY(source, sampling, layout)                                                                   \
    VSR_ENTRY(vsrColor##source##ToYCbCr##sampling##layout##u8, vsrColor##source##ToYCbCr##sampling##layout##u8, \
              (ToYCbCr<visora::k##sampling, visora::source::kBytes>()));
VSR_COLOR_TO_YCBCR(YCBCR_ENTRY)
