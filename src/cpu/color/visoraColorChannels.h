// Which samples of an image a channel selector names.
#ifndef VISORA_CPU_COLOR_CHANNELS_H
#define VISORA_CPU_COLOR_CHANNELS_H

#include <cstddef>
#include <cstdint>

#include "cpu/color/visoraColorFormats.h"
#include "visora/color.h"

namespace visora
{

/** Where a channel is in an image of a format. */
struct ChannelPlace
{
    /** Of the three source pointers. */
    uint32_t plane;
    /** Bytes from one sample to the next. */
    uint32_t step;
    /** The sample's byte, or which field of a word of 5, 6 and 5 bits, counted from the lowest bits. */
    uint32_t position;
    bool isField;
    /** Binary logarithms of how many pixels share a sample. */
    uint32_t shiftX;
    uint32_t shiftY;

    constexpr uint32_t columns(uint32_t width) const { return shiftX == 0 ? width : width / 2 + width % 2; }
    constexpr uint32_t rows(uint32_t height) const { return shiftY == 0 ? height : height / 2 + height % 2; }
    /** Of a source row. */
    constexpr uint64_t rowBytes(uint32_t width) const { return uint64_t{columns(width)} * step; }
};

/** Where the samples of a channel are picked from and go. */
struct SamplePlane
{
    const uint8_t* src;
    size_t srcStride;
    size_t width;
    size_t height;
    uint8_t* dst;
    size_t dstStride;
};

/** The sample of a pixel, or of a pair, that begins here. */
inline uint8_t sampleAt(const ChannelPlace& place, const uint8_t* src)
{
    if (!place.isField)
    {
        return src[place.position];
    }
    // Red is the lowest field here.
    const Pixel pixel = RGB565::load(src);
    return place.position == 0 ? pixel.r : place.position == 1 ? pixel.g : pixel.b;
}

/** The number of a channel of RGBA pixels: by position or by meaning, which differ where blue comes first. Fails with a
 * number that no format has. */
constexpr uint32_t kNoChannel = 4;
constexpr uint32_t positionOf(vsrChannelType channel, bool blueFirst)
{
    if (channel <= VISORA_CHANNEL_3)
    {
        return channel;
    }
    switch (channel)
    {
        case VISORA_CHANNEL_R:
            return blueFirst ? 2 : 0;
        case VISORA_CHANNEL_G:
            return 1;
        case VISORA_CHANNEL_B:
            return blueFirst ? 0 : 2;
        case VISORA_CHANNEL_A:
            return 3;
        default:
            return kNoChannel;
    }
}

/** 0, 1, 2 for luma and the first and the second chroma channel in memory. */
constexpr uint32_t lumaOrChroma(vsrChannelType channel, bool crFirst)
{
    switch (channel)
    {
        case VISORA_CHANNEL_0:
        case VISORA_CHANNEL_Y:
            return 0;
        case VISORA_CHANNEL_1:
            return 1;
        case VISORA_CHANNEL_2:
            return 2;
        case VISORA_CHANNEL_U:
            return crFirst ? 2 : 1;
        case VISORA_CHANNEL_V:
            return crFirst ? 1 : 2;
        default:
            return kNoChannel;
    }
}

/** The place of a channel. @return false when the format has no such channel or is none */
constexpr bool findChannel(vsrPixelFormat format, vsrChannelType channel, ChannelPlace& place)
{
    if (format <= VISORA_FORMAT_C4)
    {
        const uint32_t channels = format - VISORA_FORMAT_C2 + 2;
        place = {0, channels, channel, false, 0, 0};
        return channel < channels;
    }
    if (format <= VISORA_FORMAT_BGR565)
    {
        const bool blueFirst =
            format == VISORA_FORMAT_BGR888 || format == VISORA_FORMAT_BGRA8888 || format == VISORA_FORMAT_BGR565;
        const bool hasAlpha = format == VISORA_FORMAT_RGBA8888 || format == VISORA_FORMAT_BGRA8888;
        const bool isField = format >= VISORA_FORMAT_RGB565;
        const uint32_t position = positionOf(channel, blueFirst);
        place = {0, isField ? 2u : hasAlpha ? 4u : 3u, position, isField, 0, 0};
        return position < (hasAlpha ? 4u : 3u);
    }
    if (format <= VISORA_FORMAT_YCRCB420_PSEUDO_PLANAR)
    {
        constexpr Sampling kSamplings[] = {k444, k422, k420};
        const Sampling sampling = kSamplings[(format - VISORA_FORMAT_YCBCR444_PLANAR) % 3];
        const bool isPlanar = format <= VISORA_FORMAT_YCBCR420_PLANAR;
        const uint32_t number = lumaOrChroma(channel, format >= VISORA_FORMAT_YCRCB444_PSEUDO_PLANAR);
        if (number == 0)
        {
            place = {0, 1, 0, false, 0, 0};
        }
        else if (isPlanar)
        {
            place = {number, 1, 0, false, sampling.x, sampling.y};
        }
        else
        {
            place = {1, 2, number - 1, false, sampling.x, sampling.y};
        }
        return number < 3;
    }
    return false;
}

}  // namespace visora

#endif
