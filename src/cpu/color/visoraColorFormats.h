// Pixel formats, and the planes of YCbCr images, as the conversions' arguments describe them.
#ifndef VISORA_CPU_COLOR_FORMATS_H
#define VISORA_CPU_COLOR_FORMATS_H

#include <cstddef>
#include <cstdint>

namespace visora
{

// ---- RGB formats: one pixel to 8-bit channels and back ----

struct Pixel
{
    uint8_t r;
    uint8_t g;
    uint8_t b;
    uint8_t a = 255;
};

/** A byte for each channel, at these places; alpha, if any, at place 3. */
template <size_t bytes, size_t red, size_t green, size_t blue>
struct ByteFormat
{
    static constexpr uint32_t kBytes = bytes;

    static Pixel load(const uint8_t* src)
    {
        Pixel pixel = {src[red], src[green], src[blue]};
        if constexpr (bytes == 4)
        {
            pixel.a = src[3];
        }
        return pixel;
    }

    static void store(Pixel pixel, uint8_t* dst)
    {
        dst[red] = pixel.r;
        dst[green] = pixel.g;
        dst[blue] = pixel.b;
        if constexpr (bytes == 4)
        {
            dst[3] = pixel.a;
        }
    }
};

/** Five, six and five bits in a little-endian word, green in the middle. Widening repeats a field's top bits. */
template <bool redIsLow>
struct WordFormat
{
    static constexpr uint32_t kBytes = 2;

    static constexpr uint8_t widenFive(uint32_t field) { return static_cast<uint8_t>(field << 3 | field >> 2); }
    static constexpr uint8_t widenSix(uint32_t field) { return static_cast<uint8_t>(field << 2 | field >> 4); }

    static Pixel load(const uint8_t* src)
    {
        const uint32_t word = src[0] | uint32_t{src[1]} << 8;
        const uint8_t low = widenFive(word & 31);
        const uint8_t high = widenFive(word >> 11);
        return {redIsLow ? low : high, widenSix(word >> 5 & 63), redIsLow ? high : low};
    }

    static void store(Pixel pixel, uint8_t* dst)
    {
        const uint32_t low = redIsLow ? pixel.r : pixel.b;
        const uint32_t high = redIsLow ? pixel.b : pixel.r;
        dst[0] = static_cast<uint8_t>((pixel.g & 0x1Cu) << 3 | low >> 3);
        dst[1] = static_cast<uint8_t>((high & 0xF8) | uint32_t{pixel.g} >> 5);
    }
};

using RGB888 = ByteFormat<3, 0, 1, 2>;
using BGR888 = ByteFormat<3, 2, 1, 0>;
using RGBA8888 = ByteFormat<4, 0, 1, 2>;
using BGRA8888 = ByteFormat<4, 2, 1, 0>;
using RGB565 = WordFormat<true>;
using BGR565 = WordFormat<false>;

/** Y of an RGB pixel: the weights of BT.601 in 1/256. */
constexpr uint8_t lumaOf(Pixel pixel)
{
    return static_cast<uint8_t>((77 * pixel.r + 150 * pixel.g + 29 * pixel.b + 128) >> 8);
}

// ---- YCbCr images ----

/** Binary logarithms of how many pixels in x and in y share a chroma sample. */
struct Sampling
{
    uint32_t x;
    uint32_t y;

    /** Chroma columns or rows of an image; the last one may stand for one image column or row only. */
    constexpr uint32_t columns(uint32_t width) const { return x == 0 ? width : width / 2 + width % 2; }
    constexpr uint32_t rows(uint32_t height) const { return y == 0 ? height : height / 2 + height % 2; }
};
constexpr Sampling k444 = {0, 0};
constexpr Sampling k422 = {1, 0};
constexpr Sampling k420 = {1, 1};

/** Where the chroma samples are: one sample every `step` bytes, whether in planes of their own or in pairs. */
template <class Byte>
struct ChromaSamples
{
    Byte* cb;
    Byte* cr;
    size_t step;
    size_t cbStride;
    size_t crStride;

    static ChromaSamples planes(Byte* cb, Byte* cr, size_t cbStride, size_t crStride)
    {
        return {cb, cr, 1, cbStride, crStride};
    }
    static ChromaSamples cbCrPairs(Byte* pairs, size_t stride) { return {pairs, pairs + 1, 2, stride, stride}; }
    static ChromaSamples crCbPairs(Byte* pairs, size_t stride) { return {pairs + 1, pairs, 2, stride, stride}; }

    ChromaSamples row(size_t y) const { return {cb + y * cbStride, cr + y * crStride, step, cbStride, crStride}; }
    ChromaSamples column(size_t x) const { return {cb + x * step, cr + x * step, step, cbStride, crStride}; }
};

template <class Byte>
struct YCbCrImage
{
    Byte* luma;
    size_t lumaStride;
    ChromaSamples<Byte> chroma;

    Byte* lumaRow(size_t y) const { return luma + y * lumaStride; }
};

struct ImageSize
{
    uint32_t width;
    uint32_t height;
};

/** The planes that a conversion writes, from the arguments that name them. */
inline YCbCrImage<uint8_t> destination(uint8_t* y, uint8_t* cb, uint8_t* cr, uint32_t yStride, uint32_t cbStride,
                                       uint32_t crStride)
{
    return {y, yStride, ChromaSamples<uint8_t>::planes(cb, cr, cbStride, crStride)};
}
inline YCbCrImage<uint8_t> destination(uint8_t* y, uint8_t* pairs, uint32_t yStride, uint32_t pairStride)
{
    return {y, yStride, ChromaSamples<uint8_t>::cbCrPairs(pairs, pairStride)};
}

/** Calls convert(source, size, destination) for the arguments of a conversion between YCbCr layouts. */
template <class Convert, class... Destination>
auto withLayouts(Convert convert, const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint32_t width,
                 uint32_t height, uint32_t yStride, uint32_t cbStride, uint32_t crStride, Destination... to)
{
    return convert(
        YCbCrImage<const uint8_t>{y, yStride, ChromaSamples<const uint8_t>::planes(cb, cr, cbStride, crStride)},
        ImageSize{width, height}, destination(to...));
}
template <class Convert, class... Destination>
auto withLayouts(Convert convert, const uint8_t* y, const uint8_t* pairs, uint32_t width, uint32_t height,
                 uint32_t yStride, uint32_t pairStride, Destination... to)
{
    return convert(YCbCrImage<const uint8_t>{y, yStride, ChromaSamples<const uint8_t>::cbCrPairs(pairs, pairStride)},
                   ImageSize{width, height}, destination(to...));
}

}  // namespace visora

#endif
