// Conversions from luma and chroma to RGB, reference variants.
#include <algorithm>

#include "common/visoraLog.h"
#include "visora/variants/color.h"

namespace
{

struct Rgb
{
    int32_t r;
    int32_t g;
    int32_t b;
};

uint8_t clampToByte(int32_t value)
{
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

// ---- Pixel rules: from unsigned samples to R, G and B that are not clamped yet ----

Rgb fullRange(int32_t luma, int32_t cb, int32_t cr)
{
    const int32_t y = (luma << 8) + 128;
    cb -= 128;
    cr -= 128;
    return {(y + 359 * cr) >> 8, (y - 88 * cb - 183 * cr) >> 8, (y + 454 * cb) >> 8};
}

Rgb video8Bit(int32_t luma, int32_t cb, int32_t cr)
{
    const int32_t y = 298 * (luma - 16);
    cb -= 128;
    cr -= 128;
    return {(y + 409 * cr) >> 8, (y - 100 * cb - 208 * cr) >> 8, (y + 517 * cb) >> 8};
}

// Luma is clamped from below only: values above 235 are brighter than white and stay so until the final clamp.
Rgb video10Bit(int32_t luma, int32_t cb, int32_t cr)
{
    const int32_t y = 1192 * (std::max(luma, 16) - 16);
    cb -= 128;
    cr -= 128;
    return {(y + 1634 * cr) >> 10, (y - 400 * cb - 833 * cr) >> 10, (y + 2066 * cb) >> 10};
}

// Chroma is doubled so that its zero lies between two codes.
Rgb codingUnit(int32_t luma, int32_t cb, int32_t cr)
{
    const int32_t cb2 = 2 * cb - 255;
    const int32_t cr2 = 2 * cr - 255;
    return {luma + ((22970 * cr2 + 16384) >> 15), luma + ((-5638 * cb2 - 11700 * cr2 + 16384) >> 15),
            luma + ((29032 * cb2 + 16384) >> 15)};
}

// ---- Packers ----

struct RGB565
{
    static constexpr uint32_t kBytes = 2;
    static void store(Rgb pixel, uint8_t* dst)
    {
        const uint8_t r = clampToByte(pixel.r);
        const uint8_t g = clampToByte(pixel.g);
        const uint8_t b = clampToByte(pixel.b);
        dst[0] = static_cast<uint8_t>(((g & 0x1C) << 3) | (r >> 3));
        dst[1] = static_cast<uint8_t>((b & 0xF8) | (g >> 5));
    }
};

struct RGB888
{
    static constexpr uint32_t kBytes = 3;
    static void store(Rgb pixel, uint8_t* dst)
    {
        dst[0] = clampToByte(pixel.r);
        dst[1] = clampToByte(pixel.g);
        dst[2] = clampToByte(pixel.b);
    }
};

struct RGBA8888
{
    static constexpr uint32_t kBytes = 4;
    static void store(Rgb pixel, uint8_t* dst)
    {
        RGB888::store(pixel, dst);
        dst[3] = 255;
    }
};

// ---- Layouts and samplings ----

struct Luma
{
    const uint8_t* first;
    size_t stride;

    const uint8_t* row(size_t y) const { return first + y * stride; }
};

// Where the chroma samples are: one sample every `step` bytes, whether in planes of their own or in pairs.
struct Chroma
{
    const uint8_t* cb;
    const uint8_t* cr;
    size_t step;
    size_t cbStride;
    size_t crStride;

    static Chroma planes(const uint8_t* cb, const uint8_t* cr, size_t cbStride, size_t crStride)
    {
        return {cb, cr, 1, cbStride, crStride};
    }
    static Chroma cbCrPairs(const uint8_t* pairs, size_t stride) { return {pairs, pairs + 1, 2, stride, stride}; }
    static Chroma crCbPairs(const uint8_t* pairs, size_t stride) { return {pairs + 1, pairs, 2, stride, stride}; }

    Chroma row(size_t y) const { return {cb + y * cbStride, cr + y * crStride, step, cbStride, crStride}; }
};

// Binary logarithms of how many pixels in x and in y share a chroma sample.
struct Sampling
{
    uint32_t x;
    uint32_t y;
};
constexpr Sampling k444 = {0, 0};
constexpr Sampling k422 = {1, 0};
constexpr Sampling k420 = {1, 1};

// One row; a negative pixel step writes it backwards.
template <auto rule, class Format>
void convertRow(const uint8_t* luma, const Chroma& chroma, uint32_t samplingX, size_t length, uint8_t* dst,
                ptrdiff_t pixelStep = Format::kBytes)
{
    for (size_t x = 0; x < length; ++x, dst += pixelStep)
    {
        const size_t sample = (x >> samplingX) * chroma.step;
        Format::store(rule(luma[x], chroma.cb[sample], chroma.cr[sample]), dst);
    }
}

// The planar and pseudo-planar family. Rows that share a chroma row are converted together, also where the image ends
// before the last of them: an odd height in 4:2:0 converts one row more than it has.
template <Sampling sampling, class Format>
vsrStatus convertFullRange(const Luma& luma, const Chroma& chroma, uint32_t width, uint32_t height, uint8_t* dst,
                           size_t dstStride)
{
    const size_t chromaRows = (size_t{height} + sampling.y) >> sampling.y;
    for (size_t y = 0; y < chromaRows << sampling.y; ++y)
    {
        if (sampling.x != 0 && width < 2)
        {
            visora::stopProcess("src/cpu/visoraColorC", 155, "length > 1");
        }
        convertRow<fullRange, Format>(luma.row(y), chroma.row(y >> sampling.y), sampling.x, width, dst + y * dstStride);
    }
    return VISORA_SUCCESS;
}

// ---- Coding units ----

template <size_t unitWidth, size_t unitHeight>
vsrStatus convertTiles(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
{
    constexpr size_t kBlock = 8;
    constexpr size_t kBlockBytes = kBlock * kBlock;
    constexpr size_t kBlocksAcross = unitWidth / kBlock;
    constexpr size_t kLumaBytes = unitWidth * unitHeight;
    constexpr size_t kUnitBytes = kLumaBytes + 2 * kBlockBytes;

    for (size_t y = 0; y < height; ++y)
    {
        const uint8_t* unitRow = src + y / unitHeight * (width / unitWidth) * kUnitBytes;
        const size_t v = y % unitHeight;
        for (size_t x = 0; x < width; ++x, dst += RGB888::kBytes)
        {
            const uint8_t* unit = unitRow + x / unitWidth * kUnitBytes;
            const size_t u = x % unitWidth;
            const size_t block = v / kBlock * kBlocksAcross + u / kBlock;
            const uint8_t luma = unit[block * kBlockBytes + v % kBlock * kBlock + u % kBlock];
            const uint8_t* cb = unit + kLumaBytes + v * kBlock / unitHeight * kBlock + u * kBlock / unitWidth;
            RGB888::store(codingUnit(luma, cb[0], cb[kBlockBytes]), dst);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

#define FULL_RANGE_MEMBERS(sampling, format)                                                                           \
    vsrStatus vsrColorYCbCr##sampling##PlanarTo##format##u8C(                                                          \
        const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth, uint32_t srcHeight,        \
        uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst, uint32_t dstStride)             \
    {                                                                                                                  \
        return convertFullRange<k##sampling, format>({srcY, srcYStride},                                               \
                                                     Chroma::planes(srcCb, srcCr, srcCbStride, srcCrStride), srcWidth, \
                                                     srcHeight, dst, dstStride);                                       \
    }                                                                                                                  \
    vsrStatus vsrColorYCbCr##sampling##PseudoPlanarTo##format##u8C(                                                    \
        const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,          \
        uint32_t srcCStride, uint8_t* dst, uint32_t dstStride)                                                         \
    {                                                                                                                  \
        return convertFullRange<k##sampling, format>({srcY, srcYStride}, Chroma::cbCrPairs(srcC, srcCStride),          \
                                                     srcWidth, srcHeight, dst, dstStride);                             \
    }
FULL_RANGE_MEMBERS(444, RGB565)
FULL_RANGE_MEMBERS(444, RGB888)
FULL_RANGE_MEMBERS(444, RGBA8888)
FULL_RANGE_MEMBERS(422, RGB565)
FULL_RANGE_MEMBERS(422, RGB888)
FULL_RANGE_MEMBERS(422, RGBA8888)
FULL_RANGE_MEMBERS(420, RGB565)
FULL_RANGE_MEMBERS(420, RGB888)
FULL_RANGE_MEMBERS(420, RGBA8888)

vsrStatus vsrColorYUV420toRGB565u8C(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst)
{
    const Luma luma = {src, width};
    const Chroma chroma = Chroma::cbCrPairs(luma.row(height), width);
    auto* out = reinterpret_cast<uint8_t*>(dst);
    for (size_t y = 0; y < height; ++y)
    {
        convertRow<video8Bit, RGB565>(luma.row(y), chroma.row(y >> k420.y), k420.x, width,
                                      out + y * width * RGB565::kBytes);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrColorYUV420toRGB565u8Rotate180C(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst)
{
    const Luma luma = {src, width};
    const Chroma chroma = Chroma::cbCrPairs(luma.row(height), width);
    auto* out = reinterpret_cast<uint8_t*>(dst);
    for (size_t y = 0; y < height; ++y)
    {
        const size_t lastPixel = (height - y) * width - 1;
        convertRow<video8Bit, RGB565>(luma.row(y), chroma.row(y >> k420.y), k420.x, width,
                                      out + lastPixel * RGB565::kBytes, -ptrdiff_t{RGB565::kBytes});
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrColorYCrCb420PseudoPlanarToRGB8888u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                   uint32_t srcYStride, uint32_t srcCStride, uint32_t* dst,
                                                   uint32_t dstStride)
{
    const Luma luma = {src, srcYStride};
    const Chroma chroma = Chroma::crCbPairs(luma.row(srcHeight), srcCStride);
    for (size_t y = 0; y < srcHeight; ++y)
    {
        convertRow<video10Bit, RGBA8888>(luma.row(y), chroma.row(y >> k420.y), k420.x, srcWidth,
                                         reinterpret_cast<uint8_t*>(dst + y * (dstStride / sizeof(uint32_t))));
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrColorYCrCbH1V1toRGB888u8C(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst)
{
    return convertTiles<8, 8>(src, width, height, dst);
}

vsrStatus vsrColorYCrCbH2V1toRGB888u8C(const uint8_t* ysrc, uint32_t width, uint32_t height, uint8_t* dst)
{
    return convertTiles<16, 8>(ysrc, width, height, dst);
}

vsrStatus vsrColorYCrCbH1V2toRGB888u8C(const uint8_t* ysrc, uint32_t width, uint32_t height, uint8_t* dst)
{
    return convertTiles<8, 16>(ysrc, width, height, dst);
}

vsrStatus vsrColorYCrCbH2V2toRGB888u8C(const uint8_t* y_src, uint32_t width, uint32_t height, uint8_t* dst)
{
    return convertTiles<16, 16>(y_src, width, height, dst);
}
