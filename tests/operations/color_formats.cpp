#include <algorithm>
#include <array>
#include <tuple>

#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorChannels.h"
#include "support/operations.h"
#include "visora/variants/color.h"

namespace visora::test
{

namespace
{

// One image to another; what extras(arguments) returns as a tuple goes between them.
template <auto kernel, uint32_t srcBytes, uint32_t dstBytes, class Extras>
std::function<void(Arguments&)> image(Extras extras)
{
    return [=](Arguments& a)
    {
        const uint32_t width = a.shape().width, height = a.shape().height;
        const uint32_t srcStride = a.srcStride(width * srcBytes), dstStride = a.dstStride(width * dstBytes);
        const auto* src = a.input<uint8_t>(size_t{width} * srcBytes, height, srcStride);
        auto* dst = a.output<uint8_t>(size_t{width} * dstBytes, height, dstStride);
        std::apply([&](auto... extra) { a.call(kernel, src, width, height, srcStride, extra..., dst, dstStride); },
                   extras(a));
    };
}

template <auto kernel, uint32_t srcBytes, uint32_t dstBytes>
std::function<void(Arguments&)> image()
{
    return image<kernel, srcBytes, dstBytes>([](Arguments&) { return std::tuple(); });
}

// ---- YCbCr ----

// The planes of an image as an operation takes them: pointers first, strides last. Inputs are read, outputs written.
struct Planar
{
    template <class Byte>
    static auto planes(Arguments& a, Sampling sampling, uint32_t padding)
    {
        const uint32_t width = a.shape().width, height = a.shape().height;
        const uint32_t columns = sampling.columns(width), rows = sampling.rows(height);
        const uint32_t strides[] = {width + padding, columns + padding, columns + padding};
        return std::pair(
            std::tuple(buffer<Byte>(a, width, height, strides[0]), buffer<Byte>(a, columns, rows, strides[1]),
                       buffer<Byte>(a, columns, rows, strides[2])),
            std::tuple(strides[0], strides[1], strides[2]));
    }

    template <class Byte>
    static Byte* buffer(Arguments& a, uint32_t rowBytes, uint32_t rows, uint32_t stride)
    {
        if constexpr (std::is_const_v<Byte>)
        {
            return a.input<uint8_t>(rowBytes, rows, stride);
        }
        else
        {
            return a.output<uint8_t>(rowBytes, rows, stride);
        }
    }
};

struct PseudoPlanar
{
    template <class Byte>
    static auto planes(Arguments& a, Sampling sampling, uint32_t padding)
    {
        const uint32_t width = a.shape().width, height = a.shape().height;
        const uint32_t pairBytes = 2 * sampling.columns(width), rows = sampling.rows(height);
        const uint32_t strides[] = {width + padding, pairBytes + padding};
        return std::pair(std::tuple(Planar::buffer<Byte>(a, width, height, strides[0]),
                                    Planar::buffer<Byte>(a, pairBytes, rows, strides[1])),
                         std::tuple(strides[0], strides[1]));
    }
};

template <auto kernel, uint32_t srcBytes, Sampling sampling, class To>
void prepareToYCbCr(Arguments& a)
{
    const uint32_t width = a.shape().width, height = a.shape().height;
    const uint32_t srcStride = a.srcStride(width * srcBytes);
    const auto* src = a.input<uint8_t>(size_t{width} * srcBytes, height, srcStride);
    const auto to = To::template planes<uint8_t>(a, sampling, a.shape().dstPadding);
    std::apply([&](auto... argument) { a.call(kernel, src, width, height, srcStride, argument...); },
               std::tuple_cat(to.first, to.second));
}

template <auto kernel, Sampling fromSampling, class From, Sampling toSampling, class To>
void prepareLayouts(Arguments& a)
{
    const auto from = From::template planes<const uint8_t>(a, fromSampling, a.shape().srcPadding);
    const auto to = To::template planes<uint8_t>(a, toSampling, a.shape().dstPadding);
    std::apply(
        [&](auto... argument) { a.call(kernel, argument...); },
        std::tuple_cat(from.first, std::tuple(a.shape().width, a.shape().height), from.second, to.first, to.second));
}

// ---- Channels ----

template <auto kernel, size_t channels>
void prepareCombine(Arguments& a)
{
    const uint32_t width = a.shape().width, height = a.shape().height;
    const uint32_t srcStride = a.srcStride(width), dstStride = a.dstStride(width * uint32_t{channels});
    const auto* first = a.input<uint8_t>(width, height, srcStride);
    std::array<const uint8_t*, channels - 1> others;
    std::generate(others.begin(), others.end(), [&] { return a.input<uint8_t>(width, height, srcStride); });
    auto* dst = a.output<uint8_t>(size_t{width} * channels, height, dstStride);
    [&, width = width, height = height ]<size_t... i>(std::index_sequence<i...>)
    {
        std::apply([&](auto... argument) { a.call(kernel, argument...); },
                   std::tuple_cat(std::tuple(first, width, height, srcStride), std::tuple(others[i], srcStride)...,
                                  std::tuple(dst, dstStride)));
    }
    (std::make_index_sequence<channels - 1>());
}

// Any channel that there is, or one of a format for the benchmarks. The planes that do not hold it are missing.
std::function<void(Arguments&)> extract(vsrPixelFormat typicalFormat, vsrChannelType typicalChannel)
{
    return [=](Arguments& a)
    {
        ChannelPlace place;
        uint32_t format = 0, channel = 0;
        do
        {
            format = a.choose(VISORA_FORMAT_C2, VISORA_FORMAT_YCRCB420_PSEUDO_PLANAR, typicalFormat);
            channel = a.choose(VISORA_CHANNEL_0, VISORA_CHANNEL_V, typicalChannel);
        } while (!findChannel(format, channel, place));
        const uint32_t columns = place.columns(a.shape().width), rows = place.rows(a.shape().height);
        const uint32_t srcStride = a.srcStride(columns * place.step), dstStride = a.dstStride(columns);
        const uint8_t* sources[3] = {};
        uint32_t strides[3] = {};
        sources[place.plane] = a.input<uint8_t>(size_t{columns} * place.step, rows, srcStride);
        strides[place.plane] = srcStride;
        a.entry().units = EntryRule::Units::Own;
        for (uint32_t plane = 0; plane < 3; ++plane)
        {
            if (plane != place.plane)
            {
                a.entry().unchecked.push_back(plane);
            }
        }
        auto* dst = a.output<uint8_t>(columns, rows, dstStride);
        a.call(vsrChannelExtractu8C, sources[0], sources[1], sources[2], a.shape().width, a.shape().height, strides[0],
               strides[1], strides[2], format, channel, dst, dstStride);
    };
}

// Key distances near each other and at both ends.
auto keyExtras(Arguments& a)
{
    const uint32_t inner = a.choose(0, a.random().oneIn(8) ? 65535 : 200, 30);
    const uint32_t outer = std::min(inner + a.choose(0, a.random().oneIn(4) ? 0 : 150, 40), 65535u);
    return std::tuple(static_cast<uint8_t>(a.choose(0, 255, 90)), static_cast<uint8_t>(a.choose(0, 255, 60)), inner,
                      outer);
}

template <auto kernel, uint32_t dstBytes>
void prepareBayer(Arguments& a)
{
    if (a.shape().width >= 2 && a.shape().height >= 2)
    {
        image<kernel, 1, dstBytes>([](Arguments& b) { return std::tuple(b.choose(0, 3, VISORA_BAYER_GRBG)); })(a);
    }
}

auto gammaExtras(Arguments& a)
{
    return std::tuple(static_cast<float>(a.choose(1, 400, 45)) / 100.0f);
}

#define EXCHANGE(source, destination)                         \
    {VISORA_OPERATION(vsrColor##source##To##destination##u8), \
     inPlace(image<vsrColor##source##To##destination##u8C, source::kBytes, source::kBytes>())},
#define REPACK(source, destination)                           \
    {VISORA_OPERATION(vsrColor##source##To##destination##u8), \
     image<vsrColor##source##To##destination##u8C, source::kBytes, destination::kBytes>()},
#define GRAY(source) \
    {VISORA_OPERATION(vsrColor##source##ToGrayu8), image<vsrColor##source##ToGrayu8C, source::kBytes, 1>()},
#define YCBCR(source, sampling, layout)                                 \
    {VISORA_OPERATION(vsrColor##source##ToYCbCr##sampling##layout##u8), \
     prepareToYCbCr<vsrColor##source##ToYCbCr##sampling##layout##u8C, source::kBytes, k##sampling, layout>},
// Luma may be in place, chroma may not: that has a test of its own.
#define LAYOUT(from, source, to, destination)                                                                 \
    {VISORA_OPERATION(vsrColorYCbCr##from##source##ToYCbCr##to##destination##u8),                             \
     ruled({.inPlace = EntryRule::InPlace::NotLookedAt},                                                      \
           prepareLayouts<vsrColorYCbCr##from##source##ToYCbCr##to##destination##u8C, k##from, source, k##to, \
                          destination>)},

const Register conversions({
    VSR_COLOR_EXCHANGES(EXCHANGE) VSR_COLOR_REPACKS(REPACK) VSR_COLOR_GRAYS(GRAY) VSR_COLOR_TO_YCBCR(YCBCR)
        VSR_COLOR_LAYOUTS(LAYOUT){VISORA_OPERATION(vsrColorRGB888ToRGB565Rotate180u8),
                                  image<vsrColorRGB888ToRGB565Rotate180u8C, 3, 2>()},
    {VISORA_OPERATION(vsrColorRGB888ToHSV888u8), inPlace(image<vsrColorRGB888ToHSV888u8C, 3, 3>())},
    {VISORA_OPERATION(vsrColorHSV888ToRGB888u8), inPlace(image<vsrColorHSV888ToRGB888u8C, 3, 3>())},
    {VISORA_OPERATION(vsrColorRGB888ToLab888u8), inPlace(image<vsrColorRGB888ToLab888u8C, 3, 3>())},
    {VISORA_OPERATION(vsrColorLab888ToRGB888u8), inPlace(image<vsrColorLab888ToRGB888u8C, 3, 3>())},
    {VISORA_OPERATION(vsrChannelCombine2u8), prepareCombine<vsrChannelCombine2u8C, 2>},
    {VISORA_OPERATION(vsrChannelCombine3u8), prepareCombine<vsrChannelCombine3u8C, 3>},
    {VISORA_OPERATION(vsrChannelCombine4u8), prepareCombine<vsrChannelCombine4u8C, 4>},
    {VISORA_OPERATION(vsrChannelExtractu8), extract(VISORA_FORMAT_C2, VISORA_CHANNEL_1), "C2"},
    {VISORA_OPERATION(vsrChannelExtractu8), extract(VISORA_FORMAT_RGB888, VISORA_CHANNEL_G), "RGB888"},
    {VISORA_OPERATION(vsrChannelExtractu8), extract(VISORA_FORMAT_RGBA8888, VISORA_CHANNEL_B), "RGBA8888"},
    {VISORA_OPERATION(vsrChannelExtractu8), extract(VISORA_FORMAT_RGB565, VISORA_CHANNEL_G), "RGB565"},
    {VISORA_OPERATION(vsrChromaSwapu8), inPlace(image<vsrChromaSwapu8C, 2, 2>())},
    {VISORA_OPERATION(vsrChromaKeyu8), ruled({.unchecked = {6, 7}}, image<vsrChromaKeyu8C, 2, 1>(keyExtras))},
    {VISORA_OPERATION(vsrBayerToRGB888u8), prepareBayer<vsrBayerToRGB888u8C, 3>},
    {VISORA_OPERATION(vsrBayerToGrayu8), prepareBayer<vsrBayerToGrayu8C, 1>},
    {VISORA_OPERATION(vsrGammau8), inPlace(image<vsrGammau8C, 1, 1>(gammaExtras))},
});

}  // namespace

}  // namespace visora::test
