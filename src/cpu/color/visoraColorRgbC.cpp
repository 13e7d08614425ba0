// Conversions from RGB to other formats, to grey and to YCbCr, reference variants.
#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorRgb.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/color.h"

namespace visora
{
namespace
{

template <class Source, class Destination, class... Arguments>
vsrStatus repackImage(Source, Destination, Arguments... arguments)
{
    return repack<Source, Destination>(arguments...);
}

template <class Source, class... Arguments>
vsrStatus grayImage(Source, Arguments... arguments)
{
    return toGray<Source>(arguments...);
}

template <Sampling sampling, class Source, class... Destination>
vsrStatus convertImage(Source, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                       Destination... to)
{
    return toYCbCr<Source, sampling>(src, width, height, srcStride, destination(to...));
}

}  // namespace
}  // namespace visora

#define REPACK(source, destination) \
    VSR_REFERENCE(vsrColor##source##To##destination##u8, repackImage, visora::source(), visora::destination());
VSR_COLOR_EXCHANGES(REPACK)
VSR_COLOR_REPACKS(REPACK)

#define TO_GRAY(source) VSR_REFERENCE(vsrColor##source##ToGrayu8, grayImage, visora::source());
VSR_COLOR_GRAYS(TO_GRAY)

#define TO_YCBCR(source, sampling, layout) \
    VSR_REFERENCE(vsrColor##source##ToYCbCr##sampling##layout##u8, convertImage<visora::k##sampling>, visora::source());
VSR_COLOR_TO_YCBCR(TO_YCBCR)

vsrStatus vsrColorRGB888ToRGB565Rotate180u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t* dst, uint32_t dstStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* from = src + size_t{y} * srcStride;
        uint8_t* to = dst + size_t{srcHeight - 1 - y} * dstStride;
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            visora::RGB565::store(visora::RGB888::load(from + size_t{x} * 3), to + size_t{srcWidth - 1 - x} * 2);
        }
    }
    return VISORA_SUCCESS;
}

// ---- Row helpers ----

#define ROW_HELPERS(source, name)                                                                                  \
    void name##2yuvpC(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr)                   \
    {                                                                                                              \
        visora::toYCbCr<visora::source, visora::k444>(src, length, 1, 0, visora::destination(y, cb, cr, 0, 0, 0)); \
    }                                                                                                              \
    void name##2yC(const uint8_t* src, uint32_t length, uint8_t* y)                                                \
    {                                                                                                              \
        visora::lumaRow<visora::source>(src, length, y);                                                           \
    }
ROW_HELPERS(RGB565, rgb565)
ROW_HELPERS(RGB888, rgb888)
ROW_HELPERS(RGBA8888, rgba8888)

void rgb565_to_rgb888C(const uint8_t* src, uint32_t length, uint8_t* dst)
{
    visora::repackRow<visora::RGB565, visora::RGB888>(src, length, dst);
}
