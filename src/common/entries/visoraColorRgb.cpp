// Entry points of the conversions from RGB to other formats, to grey and to YCbCr, and between YCbCr layouts.
#include "common/entries/visoraColorShapes.h"
#include "common/visoraColorConversions.h"
#include "visora/variants/color.h"

using visora::imageToImage;
using visora::In;
using visora::InPlace;
using visora::intoYCbCr;
using visora::Sampling;

namespace
{

template <Sampling sampling, uint32_t srcBytes>
constexpr auto toYCbCr =
    [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, auto... to)
{
    const In in(src, width, height, srcStride, srcBytes);
    const auto begin = [&](const auto&... planes)
    {
        return [&, call = open(in, planes...)](auto... destination)
        { return call.run(src, width, height, in.stride(), destination...); };
    };
    return intoYCbCr<sampling, InPlace::No>(begin, {width, height}, to...);
};

// From planes and from pairs. Luma may be in place, but nowhere else than there.
template <Sampling from, Sampling to>
struct ChangeLayout
{
    template <class Open, class... To>
    vsrStatus operator()(Open open, const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t width,
                         uint32_t height, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
                         To... destination) const
    {
        const uint32_t columns = from.columns(width), rows = from.rows(height);
        const In y(srcY, width, height, srcYStride);
        const In cb(srcCb, columns, rows, srcCbStride), cr(srcCr, columns, rows, srcCrStride);
        const auto begin = [&](const auto&... planes)
        {
            return [&, call = open(y, cb, cr, planes...)](uint8_t* dstY, auto... more) mutable
            {
                return call.require(dstY != srcCb && dstY != srcCr)
                    .run(srcY, srcCb, srcCr, width, height, y.stride(), cb.stride(), cr.stride(), dstY, more...);
            };
        };
        return intoYCbCr<to, InPlace::Yes>(begin, {width, height}, destination...);
    }

    template <class Open, class... To>
    vsrStatus operator()(Open open, const uint8_t* srcY, const uint8_t* srcC, uint32_t width, uint32_t height,
                         uint32_t srcYStride, uint32_t srcCStride, To... destination) const
    {
        const In y(srcY, width, height, srcYStride);
        const In c(srcC, from.columns(width), from.rows(height), srcCStride, 2);
        const auto begin = [&](const auto&... planes)
        {
            return [&, call = open(y, c, planes...)](uint8_t* dstY, auto... more) mutable {
                return call.require(dstY != srcC).run(srcY, srcC, width, height, y.stride(), c.stride(), dstY, more...);
            };
        };
        return intoYCbCr<to, InPlace::Yes>(begin, {width, height}, destination...);
    }
};

}  // namespace

#define EXCHANGE_ENTRY(source, destination)                                                 \
    VSR_ENTRY(vsrColor##source##To##destination##u8, vsrColor##source##To##destination##u8, \
              (imageToImage<visora::source::kBytes, visora::source::kBytes, InPlace::Yes>));
VSR_COLOR_EXCHANGES(EXCHANGE_ENTRY)

#define REPACK_ENTRY(source, destination)                                                   \
    VSR_ENTRY(vsrColor##source##To##destination##u8, vsrColor##source##To##destination##u8, \
              (imageToImage<visora::source::kBytes, visora::destination::kBytes>));
VSR_COLOR_REPACKS(REPACK_ENTRY)

#define GRAY_ENTRY(source) \
    VSR_ENTRY(vsrColor##source##ToGrayu8, vsrColor##source##ToGrayu8, (imageToImage<visora::source::kBytes, 1>));
VSR_COLOR_GRAYS(GRAY_ENTRY)

#define YCBCR_ENTRY(source, sampling, layout)                                                                   \
    VSR_ENTRY(vsrColor##source##ToYCbCr##sampling##layout##u8, vsrColor##source##ToYCbCr##sampling##layout##u8, \
              (toYCbCr<visora::k##sampling, visora::source::kBytes>));
VSR_COLOR_TO_YCBCR(YCBCR_ENTRY)

#define LAYOUT_ENTRY(from, source, to, destination)                      \
    VSR_ENTRY(vsrColorYCbCr##from##source##ToYCbCr##to##destination##u8, \
              vsrColorYCbCr##from##source##ToYCbCr##to##destination##u8, \
              (ChangeLayout<visora::k##from, visora::k##to>()));
VSR_COLOR_LAYOUTS(LAYOUT_ENTRY)
