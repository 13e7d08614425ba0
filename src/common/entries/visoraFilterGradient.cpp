// Entry points of the gradients with a border type, the Laplacian and the edge strength.
#include "common/entries/visoraFilterEntries.h"
#include "visora/gradient.h"
#include "visora/variants/filter.h"

namespace
{

using namespace visora;

template <uint32_t leastDspHeight>
constexpr auto gradientPlanes = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                   int16_t* dx, int16_t* dy, uint32_t gradStride, vsrBorderType borderType,
                                   uint8_t borderValue)
{
    const In in(src, width, height, srcStride);
    const Out outX(dx, width, height, gradStride);
    const Out outY(dy, width, height, gradStride);
    const uint32_t least = leastDspHeight;  // gcc warns of a comparison with a constant of 0
    return open(in, outX, outY)
        .keepDspIf(height >= least)
        .require(isKnownBorder(borderType))
        .run(src, width, height, in.stride(), dx, dy, outX.stride(), borderType, borderValue);
};

constexpr auto laplacian =
    filterEntry<1, 4>([](uint32_t neighbours, auto*, uint32_t, vsrBorderType borderType, uint8_t)
                      { return (neighbours == 4 || neighbours == 8) && isKnownBorder(borderType); });

constexpr auto edgeStrength = filterEntry<0, 4>(anyArguments);

}  // namespace

VSR_ENTRY(vsrFilterSobel3x3u8s16, vsrFilterSobel3x3u8s16, gradientPlanes<4>);
VSR_ENTRY(vsrFilterSobel5x5u8s16, vsrFilterSobel5x5u8s16, gradientPlanes<5>);
VSR_ENTRY(vsrFilterSobel7x7u8s16, vsrFilterSobel7x7u8s16, gradientPlanes<0>);
VSR_ENTRY(vsrFilterScharr3x3u8s16, vsrFilterScharr3x3u8s16, gradientPlanes<4>);
VSR_ENTRY(vsrFilterLaplacian3x3u8s16, vsrFilterLaplacian3x3u8s16, laplacian);
VSR_ENTRY(vsrFilterSobel3x3u8_v2, vsrFilterSobel3x3u8, edgeStrength);
VSR_ENTRY(vsrFilterSobel3x3u8, vsrFilterSobel3x3u8, packedEntry(edgeStrength));
