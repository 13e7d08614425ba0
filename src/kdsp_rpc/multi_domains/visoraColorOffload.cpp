// DSP routines of the colour conversions.
#include "cpu/color/visoraColorFormats.h"
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

/**
 * Chroma has one sample for `across` by `down` pixels. Lengths are those of the image: a row that the kernels convert
 * beyond an odd height is none of the DSP's.
 */
template <uint32_t across, uint32_t down, uint32_t pixelBytes>
constexpr auto planar = [](const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint32_t width, uint32_t height,
                           uint32_t yStride, uint32_t cbStride, uint32_t crStride, uint8_t* dst, uint32_t dstStride)
{
    const uint32_t chromaWidth = (width + across - 1) / across;
    const uint32_t chromaRows = (height + down - 1) / down;
    return std::array{imageLength(y, yStride, width, height), imageLength(cb, cbStride, chromaWidth, chromaRows),
                      imageLength(cr, crStride, chromaWidth, chromaRows),
                      imageLength(dst, dstStride, width * pixelBytes, height)};
};

template <uint32_t across, uint32_t down, uint32_t pixelBytes>
constexpr auto pseudoPlanar = [](const uint8_t* y, const uint8_t* c, uint32_t width, uint32_t height, uint32_t yStride,
                                 uint32_t cStride, uint8_t* dst, uint32_t dstStride)
{
    const uint32_t chromaRows = (height + down - 1) / down;
    // The last row of an odd width ends with a whole pair, a byte behind its stride.
    const uint32_t spill = across == 2 && width % 2 == 1 && (cStride == 0 || cStride == width) ? 1 : 0;
    return std::array{imageLength(y, yStride, width, height),
                      imageLength(c, cStride, width * 2 / across, chromaRows) + spill,
                      imageLength(dst, dstStride, width * pixelBytes, height)};
};

/** Luma and behind it chroma pairs, in one buffer; a last row of an odd width ends with a whole pair. */
constexpr uint32_t videoLength(uint32_t width, uint32_t height, uint32_t yStride, uint32_t cStride)
{
    const uint32_t pairRow = (width + 1) / 2 * 2;
    return yStride * height + (height + 1) / 2 * cStride + (cStride < pairRow ? pairRow - cStride : 0);
}

constexpr auto videoToRgb565 = [](const uint8_t* /*src*/, uint32_t width, uint32_t height, uint32_t* /*dst*/)
{
    // Pixels of two bytes in a buffer of words.
    return std::array{videoLength(width, height, width, width), (width * height + 1) / 2};
};

constexpr auto videoToRgba = [](const uint8_t* /*src*/, uint32_t width, uint32_t height, uint32_t yStride,
                                uint32_t cStride, uint32_t* dst, uint32_t dstStride) {
    return std::array{videoLength(width, height, yStride, cStride), imageLength(dst, dstStride, width, height)};
};

/** One image to another of the same size, with these bytes for a pixel. */
template <uint32_t srcBytes, uint32_t dstBytes>
constexpr auto pixels =
    [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst, uint32_t dstStride)
{
    return std::array{imageLength(src, srcStride, width * srcBytes, height),
                      imageLength(dst, dstStride, width * dstBytes, height)};
};

/** To planes, or to luma and pairs. */
template <uint32_t srcBytes, Sampling sampling>
struct ToYCbCrLengths
{
    std::array<uint32_t, 4> operator()(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                       uint8_t* y, uint8_t* cb, uint8_t* cr, uint32_t yStride, uint32_t cbStride,
                                       uint32_t crStride) const
    {
        const uint32_t columns = sampling.columns(width), rows = sampling.rows(height);
        return {imageLength(src, srcStride, width * srcBytes, height), imageLength(y, yStride, width, height),
                imageLength(cb, cbStride, columns, rows), imageLength(cr, crStride, columns, rows)};
    }
    std::array<uint32_t, 3> operator()(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                       uint8_t* y, uint8_t* c, uint32_t yStride, uint32_t cStride) const
    {
        const uint32_t columns = sampling.columns(width), rows = sampling.rows(height);
        return {imageLength(src, srcStride, width * srcBytes, height), imageLength(y, yStride, width, height),
                imageLength(c, cStride, 2 * columns, rows)};
    }
};
template <uint32_t srcBytes, Sampling sampling>
constexpr ToYCbCrLengths<srcBytes, sampling> toYCbCr;

}  // namespace
}  // namespace visora

using visora::k420;
using visora::k422;
using visora::k444;

#include "kdsp_rpc/multi_domains/operations/color.def"
