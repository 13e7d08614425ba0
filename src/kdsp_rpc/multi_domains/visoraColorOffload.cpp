// DSP routines of the colour conversions.
#include <algorithm>
#include <tuple>

#include "cpu/color/visoraColorChannels.h"
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

/** Planes of a YCbCr image, or luma and pairs. */
template <class Byte>
std::array<uint32_t, 3> planeLengths(Sampling sampling, ImageSize size, Byte* y, Byte* cb, Byte* cr, uint32_t yStride,
                                     uint32_t cbStride, uint32_t crStride)
{
    const uint32_t columns = sampling.columns(size.width), rows = sampling.rows(size.height);
    return {imageLength(y, yStride, size.width, size.height), imageLength(cb, cbStride, columns, rows),
            imageLength(cr, crStride, columns, rows)};
}
template <class Byte>
std::array<uint32_t, 2> planeLengths(Sampling sampling, ImageSize size, Byte* y, Byte* pairs, uint32_t yStride,
                                     uint32_t pairStride)
{
    return {imageLength(y, yStride, size.width, size.height),
            imageLength(pairs, pairStride, 2 * sampling.columns(size.width), sampling.rows(size.height))};
}

template <size_t m, size_t n>
std::array<uint32_t, m + n> joined(const std::array<uint32_t, m>& first, const std::array<uint32_t, n>& second)
{
    std::array<uint32_t, m + n> all = {};
    std::copy(second.begin(), second.end(), std::copy(first.begin(), first.end(), all.begin()));
    return all;
}

template <uint32_t srcBytes, Sampling sampling>
constexpr auto toYCbCr =
    [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, auto... destination)
{
    return joined(std::array{imageLength(src, srcStride, width * srcBytes, height)},
                  planeLengths(sampling, {width, height}, destination...));
};

template <Sampling from, Sampling to>
struct Layouts
{
    template <class... Destination>
    auto operator()(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint32_t width, uint32_t height,
                    uint32_t yStride, uint32_t cbStride, uint32_t crStride, Destination... destination) const
    {
        const ImageSize size = {width, height};
        return joined(planeLengths(from, size, y, cb, cr, yStride, cbStride, crStride),
                      planeLengths(to, size, destination...));
    }
    template <class... Destination>
    auto operator()(const uint8_t* y, const uint8_t* pairs, uint32_t width, uint32_t height, uint32_t yStride,
                    uint32_t pairStride, Destination... destination) const
    {
        const ImageSize size = {width, height};
        return joined(planeLengths(from, size, y, pairs, yStride, pairStride), planeLengths(to, size, destination...));
    }
};
template <Sampling from, Sampling to>
constexpr Layouts<from, to> layouts;

/** Planes to one image with as many channels; after the first plane's stride follow a pointer and a stride for each. */
template <size_t channels>
constexpr auto combine = [](const uint8_t* first, uint32_t width, uint32_t height, uint32_t firstStride, auto... rest)
{
    const std::tuple all(first, firstStride, rest...);
    return [&]<size_t... i>(std::index_sequence<i...>)
    {
        return std::array{imageLength(std::get<2 * i>(all), std::get<2 * i + 1>(all),
                                      i == channels ? width * uint32_t{channels} : width, height)...};
    }
    (std::make_index_sequence<channels + 1>());
};

/** Of the sources only the one that holds the channel counts. */
constexpr auto extract = [](const uint8_t* src1, const uint8_t* src2, const uint8_t* src3, uint32_t width,
                            uint32_t height, uint32_t stride1, uint32_t stride2, uint32_t stride3,
                            vsrPixelFormat format, vsrChannelType channel, uint8_t* dst, uint32_t dstStride)
{
    std::array<uint32_t, 4> lengths = {};
    if (ChannelPlace place; findChannel(format, channel, place))
    {
        const uint8_t* const sources[] = {src1, src2, src3};
        const uint32_t strides[] = {stride1, stride2, stride3};
        const uint32_t columns = place.columns(width), rows = place.rows(height);
        lengths[place.plane] = imageLength(sources[place.plane], strides[place.plane], columns * place.step, rows);
        lengths[3] = imageLength(dst, dstStride, columns, rows);
    }
    return lengths;
};

constexpr auto key = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t /*keyCb*/,
                        uint8_t /*keyCr*/, uint32_t /*inner*/, uint32_t /*outer*/, uint8_t* dst, uint32_t dstStride)
{ return pixels<2, 1>(src, width, height, srcStride, dst, dstStride); };

template <uint32_t dstBytes>
constexpr auto bayer = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                          vsrBayerPattern /*pattern*/, uint8_t* dst, uint32_t dstStride)
{ return pixels<1, dstBytes>(src, width, height, srcStride, dst, dstStride); };

constexpr auto gamma = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, float /*gamma*/,
                          uint8_t* dst, uint32_t dstStride)
{ return pixels<1, 1>(src, width, height, srcStride, dst, dstStride); };

}  // namespace
}  // namespace visora

using visora::k420;
using visora::k422;
using visora::k444;

#include "kdsp_rpc/multi_domains/operations/color.def"
