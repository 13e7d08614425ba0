// Conversions between YCbCr layouts, reference variants.
#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorLayouts.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/color.h"

namespace visora
{
namespace
{

template <Sampling from, Sampling to>
constexpr auto changeLayout =
    [](const YCbCrImage<const uint8_t>& src, ImageSize size, const YCbCrImage<uint8_t>& dst) -> vsrStatus {
    copyPlane(src.luma, src.lumaStride, size.width, size.height, dst.luma, dst.lumaStride);
    resampleChroma<from, to>(src.chroma, size, dst.chroma);
    return VISORA_SUCCESS;
};

}  // namespace
}  // namespace visora

#define LAYOUT(from, source, to, destination)                                             \
    VSR_REFERENCE(vsrColorYCbCr##from##source##ToYCbCr##to##destination##u8, withLayouts, \
                  visora::changeLayout<visora::k##from, visora::k##to>);
VSR_COLOR_LAYOUTS(LAYOUT)
