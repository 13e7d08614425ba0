// What the conversions from luma and chroma to RGB compute.
#include "visora/variants/color.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "support/images.h"
#include "support/instruction_sets.h"

namespace visora::test
{
namespace
{

using Rgb = std::array<uint8_t, 3>;

struct KnownPixel
{
    uint8_t y, cb, cr;
    Rgb rgb;

    std::string where() const { return std::to_string(y) + " " + std::to_string(cb) + " " + std::to_string(cr); }
    // Red is in the low bits.
    uint32_t rgb565() const { return rgb[0] / 8u + rgb[1] / 4u * 32 + rgb[2] / 8u * 2048; }
    uint32_t rgba8888() const { return rgb[0] | uint32_t{rgb[1]} << 8 | uint32_t{rgb[2]} << 16 | 0xFF000000u; }
};

// The pixel alone in 4:4:4.
Rgb fullRange(uint8_t y, uint8_t cb, uint8_t cr)
{
    Rgb rgb = {};
    vsrColorYCbCr444PlanarToRGB888u8C(&y, &cb, &cr, 1, 1, 1, 1, 1, rgb.data(), 3);
    return rgb;
}

TEST(Color, FullRangePixels)
{
    const KnownPixel known[] = {
        {255, 128, 128, {255, 255, 255}},
        {0, 128, 128, {0, 0, 0}},
        {127, 128, 128, {127, 127, 127}},
        // 128 - 359 * 128 is negative: red is 0; green gets 183 * 128 / 256.
        {0, 128, 0, {0, 92, 0}},
        {255, 0, 0, {76, 255, 28}},
        {0, 255, 255, {178, 0, 225}},
        // Red and blue of full strength.
        {76, 85, 255, {254, 0, 0}},
        {29, 255, 107, {0, 0, 254}},
        // (25600 + 359 + 128) >> 8 and (25600 - 359 + 128) >> 8: rounding, also of what is negative.
        {100, 128, 129, {101, 99, 100}},
        {100, 128, 127, {99, 101, 100}},
        {100, 129, 128, {100, 100, 102}},
        {100, 127, 128, {100, 100, 98}},
    };
    for (const KnownPixel& p : known)
    {
        EXPECT_EQ(p.rgb, fullRange(p.y, p.cb, p.cr)) << p.where();
        const uint8_t pair[2] = {p.cb, p.cr};
        uint32_t rgba = 0;
        vsrColorYCbCr444PseudoPlanarToRGBA8888u8C(&p.y, pair, 1, 1, 1, 2, reinterpret_cast<uint8_t*>(&rgba), 4);
        EXPECT_EQ(p.rgba8888(), rgba) << p.where();
        uint16_t word = 0;
        vsrColorYCbCr444PlanarToRGB565u8C(&p.y, &p.cb, &p.cr, 1, 1, 1, 1, 1, reinterpret_cast<uint8_t*>(&word), 2);
        EXPECT_EQ(p.rgb565(), word) << p.where();
    }
}

TEST(Color, VideoRangePixels)
{
    // 8 bits: 298 (Y - 16) >> 8 and so on, without rounding.
    const KnownPixel eightBits[] = {
        {16, 128, 128, {0, 0, 0}},  {235, 128, 128, {254, 254, 254}}, {255, 128, 128, {255, 255, 255}},
        {0, 128, 128, {0, 0, 0}},   {126, 128, 128, {128, 128, 128}}, {126, 255, 0, {0, 182, 255}},
        {81, 90, 240, {254, 0, 0}}, {41, 240, 110, {0, 0, 255}},      {126, 127, 129, {129, 127, 126}},
    };
    // 10 bits; chroma pairs have Cr first. Luma is clamped from below only.
    const KnownPixel tenBits[] = {
        {16, 128, 128, {0, 0, 0}},        {0, 128, 128, {0, 0, 0}},         {235, 128, 128, {254, 254, 254}},
        {255, 128, 128, {255, 255, 255}}, {240, 128, 128, {255, 255, 255}}, {126, 128, 128, {128, 128, 128}},
        {0, 128, 200, {114, 0, 0}},       {16, 128, 200, {114, 0, 0}},      {126, 129, 127, {126, 128, 130}},
    };
    // Pictures of 2 x 1 pixels.
    for (const KnownPixel& p : eightBits)
    {
        const uint8_t src[4] = {p.y, p.y, p.cb, p.cr};
        uint32_t words = 0;
        vsrColorYUV420toRGB565u8C(src, 2, 1, &words);
        EXPECT_EQ(p.rgb565() * 0x10001u, words) << p.where();
    }
    for (const KnownPixel& p : tenBits)
    {
        const uint8_t src[4] = {p.y, p.y, p.cr, p.cb};
        std::array<uint32_t, 2> words = {};
        vsrColorYCrCb420PseudoPlanarToRGB8888u8C(src, 2, 1, 2, 2, words.data(), 8);
        EXPECT_EQ((std::array{p.rgba8888(), p.rgba8888()}), words) << p.where();
    }
}

TEST(Color, HalvedChromaIsReplicated)
{
    constexpr uint32_t kWidth = 7, kHeight = 5, kRowBytes = kWidth * 3;
    // One row more for the pair that an odd height begins.
    const Image y = randomPixels(kWidth * (kHeight + 1), 1), pairs = randomPixels(8 * kHeight, 2);
    Image cb, cr;
    for (size_t i = 0; i < pairs.size(); i += 2)
    {
        cb.push_back(pairs[i]);
        cr.push_back(pairs[i + 1]);
    }
    Image planar422(kRowBytes * (kHeight + 1), 9);
    Image pairs422 = planar422, planar420 = planar422, pairs420 = planar422, expected422 = planar422,
          expected420 = planar422;
    vsrColorYCbCr422PlanarToRGB888u8C(y.data(), cb.data(), cr.data(), kWidth, kHeight, kWidth, 4, 4, planar422.data(),
                                      kRowBytes);
    vsrColorYCbCr420PlanarToRGB888u8C(y.data(), cb.data(), cr.data(), kWidth, kHeight, kWidth, 4, 4, planar420.data(),
                                      kRowBytes);
    vsrColorYCbCr422PseudoPlanarToRGB888u8C(y.data(), pairs.data(), kWidth, kHeight, kWidth, 8, pairs422.data(),
                                            kRowBytes);
    vsrColorYCbCr420PseudoPlanarToRGB888u8C(y.data(), pairs.data(), kWidth, kHeight, kWidth, 8, pairs420.data(),
                                            kRowBytes);
    for (size_t i = 0; i < y.size(); ++i)
    {
        const size_t row = i / kWidth, column = i % kWidth / 2;
        const auto store = [&](Image& image, size_t sample)
        { std::memcpy(&image[i * 3], fullRange(y[i], cb[sample], cr[sample]).data(), 3); };
        store(expected420, row / 2 * 4 + column);
        if (row < kHeight)
        {
            store(expected422, row * 4 + column);
        }
    }
    EXPECT_EQ(expected422, planar422);
    EXPECT_EQ(expected422, pairs422);
    EXPECT_EQ(expected420, planar420);
    EXPECT_EQ(expected420, pairs420);
}

// Large images are written in another way. They are what their pairs of rows are, wherever these begin, and nothing
// beside them.
TEST(Color, LargeImagesAreTheirRows)
{
    constexpr uint32_t kHeight = 2056;
    for (const uint32_t width : {2048u, 2061u})
    {
        const uint32_t stride = (width * 4 + 63) / 64 * 64;
        const Image luma = randomPixels(size_t{width} * kHeight, 1);
        const Image chroma = randomPixels(size_t{width + 1} * kHeight / 2, 2);
        for (const size_t offset : {0u, 8u, 24u, 4u})
        {
            Image whole(size_t{stride} * kHeight + offset, 7), rows(whole);
            uint8_t* const dst = whole.data() + offset;
            ASSERT_EQ(0u, vsrColorYCbCr420PseudoPlanarToRGBA8888u8V(luma.data(), chroma.data(), width, kHeight, width,
                                                                    width + 1, dst, stride));
            for (uint32_t y = 0; y < kHeight; y += 2)
            {
                ASSERT_EQ(0u, vsrColorYCbCr420PseudoPlanarToRGBA8888u8V(
                                  &luma[size_t{y} * width], &chroma[size_t{y / 2} * (width + 1)], width, 2, width,
                                  width + 1, rows.data() + offset + size_t{y} * stride, stride));
            }
            ASSERT_TRUE(whole == rows) << width << " " << offset;
        }
    }
}

TEST(Color, Rotate180IsTheConversionReversed)
{
    for (const auto& [width, height] : {std::pair(6u, 4u), std::pair(5u, 3u), std::pair(1u, 1u), std::pair(40u, 7u)})
    {
        const Image src = randomPixels(width * height + (height + 1) / 2 * width + 1, width);
        // Whole words, as the interface has them.
        std::vector<uint32_t> upright((width * height + 1) / 2);
        std::vector<uint32_t> rotated = upright;
        vsrColorYUV420toRGB565u8C(src.data(), width, height, upright.data());
        vsrColorYUV420toRGB565u8Rotate180C(src.data(), width, height, rotated.data());
        const auto* first = reinterpret_cast<const uint16_t*>(upright.data());
        const auto* turned = reinterpret_cast<const uint16_t*>(rotated.data());
        EXPECT_TRUE(std::equal(first, first + width * height, std::reverse_iterator(turned + width * height)))
            << width << "x" << height;
    }
}

// ---- Coding units ----

struct UnitMember
{
    size_t width, height;  // of a unit
    vsrStatus (*reference)(const uint8_t*, uint32_t, uint32_t, uint8_t*);

    size_t bytes() const { return width * height + 128; }
    // Where the unit of a pixel begins, and the luma and the Cb of the pixel. Whole units make up a row: of a last
    // column that is none, the units are those that the next row begins with.
    size_t unit(size_t x, size_t y, size_t imageWidth) const
    {
        return (y / height * (imageWidth / width) + x / width) * bytes();
    }
    size_t luma(size_t x, size_t y, size_t imageWidth) const
    {
        const size_t block = y % height / 8 * (width / 8) + x % width / 8;
        return unit(x, y, imageWidth) + block * 64 + y % 8 * 8 + x % 8;
    }
    size_t cb(size_t x, size_t y, size_t imageWidth) const
    {
        return unit(x, y, imageWidth) + width * height + y % height * 8 / height * 8 + x % width * 8 / width;
    }
};

const UnitMember kH1V1 = {8, 8, vsrColorYCrCbH1V1toRGB888u8C};
const UnitMember kH2V1 = {16, 8, vsrColorYCrCbH2V1toRGB888u8C};
const UnitMember kH1V2 = {8, 16, vsrColorYCrCbH1V2toRGB888u8C};
const UnitMember kH2V2 = {16, 16, vsrColorYCrCbH2V2toRGB888u8C};

// The pixel alone in a unit.
Rgb codingUnit(uint8_t y, uint8_t cb, uint8_t cr)
{
    Image unit(kH1V1.bytes());
    unit[0] = y;
    unit[64] = cb;
    unit[128] = cr;
    Rgb rgb = {};
    kH1V1.reference(unit.data(), 1, 1, rgb.data());
    return rgb;
}

TEST(Color, CodingUnitPixels)
{
    // Chroma has no neutral code: 127 and 128 are half a step to either side.
    const KnownPixel known[] = {
        {100, 128, 128, {101, 99, 101}}, {100, 127, 127, {99, 101, 99}}, {255, 128, 128, {255, 254, 255}},
        {0, 0, 0, {0, 135, 0}},          {100, 255, 0, {0, 147, 255}},   {100, 0, 255, {255, 53, 0}},
    };
    for (const KnownPixel& p : known)
    {
        EXPECT_EQ(p.rgb, codingUnit(p.y, p.cb, p.cr)) << p.where();
    }
}

// Two rows and three columns of units, also where the size is no whole number of units.
TEST(Color, CodingUnitsLieInRasterOrder)
{
    for (const UnitMember& member : {kH1V1, kH2V1, kH1V2, kH2V2})
    {
        for (const size_t missing : {0u, 3u, 8u})
        {
            const size_t width = member.width * 3 - missing, height = member.height * 2 - missing / 2;
            const Image src = randomPixels(6 * member.bytes(), missing);
            Image dst(width * height * 3), expected;
            member.reference(src.data(), static_cast<uint32_t>(width), static_cast<uint32_t>(height), dst.data());
            for (size_t i = 0; i < width * height; ++i)
            {
                const size_t x = i % width, y = i / width, cb = member.cb(x, y, width);
                const Rgb rgb = codingUnit(src[member.luma(x, y, width)], src[cb], src[cb + 64]);
                expected.insert(expected.end(), rgb.begin(), rgb.end());
            }
            EXPECT_EQ(expected, dst) << member.width << "x" << member.height << ": " << width << "x" << height;
        }
    }
}

// ---- Every luma with every pair of chroma samples, vector variants against the reference ----

// A picture in which every pair of chroma samples rules 2 x 2 pixels, Cr growing along the rows and Cb down the
// columns.
constexpr uint32_t kSide = 512;
constexpr size_t kPixels = size_t{kSide} * kSide;

// One way to store the picture and convert it.
struct Layout
{
    Image src;
    // The luma bytes at the start of each unit of the source.
    size_t unitBytes, lumaBytes;
    void (*reference)(const uint8_t* src, uint8_t* dst);
    void (*vector)(const uint8_t* src, uint8_t* dst);
};

#define CALLS(operation, ...)                                                   \
    [](const uint8_t* src, uint8_t* dst) { operation##u8C(src, __VA_ARGS__); }, \
        [](const uint8_t* src, uint8_t* dst) { operation##u8V(src, __VA_ARGS__); }

// Luma is 0 to 3 within the pixels of each pair. The functions say where a pixel's samples are.
template <class LumaAt, class CbAt, class CrAt>
Image stored(size_t bytes, LumaAt lumaAt, CbAt cbAt, CrAt crAt)
{
    Image src(bytes);
    for (size_t i = 0; i < kPixels; ++i)
    {
        const size_t x = i % kSide, y = i / kSide;
        src[lumaAt(x, y)] = static_cast<uint8_t>(y % 2 * 2 + x % 2);
        src[cbAt(x, y)] = static_cast<uint8_t>(y / 2);
        src[crAt(x, y)] = static_cast<uint8_t>(x / 2);
    }
    return src;
}

size_t raster(size_t x, size_t y)
{
    return y * kSide + x;
}

Image storedInPairs(size_t cb, size_t cr)
{
    const auto at = [](size_t x, size_t y) { return kPixels + y / 2 * kSide + x / 2 * 2; };
    return stored(
        kPixels * 3 / 2, raster, [=](size_t x, size_t y) { return at(x, y) + cb; },
        [=](size_t x, size_t y) { return at(x, y) + cr; });
}

Image storedInUnits(const UnitMember& member)
{
    return stored(
        kPixels / member.width / member.height * member.bytes(),
        [&](size_t x, size_t y) { return member.luma(x, y, kSide); },
        [&](size_t x, size_t y) { return member.cb(x, y, kSide); },
        [&](size_t x, size_t y) { return member.cb(x, y, kSide) + 64; });
}

// The first layout's reference says what all layouts' vector variants must write, for four lumas at a time.
void compareForAllLumas(size_t pixelBytes, std::vector<Layout> layouts)
{
    Image expected(kPixels * pixelBytes);
    Image actual(expected.size());
    for (int luma = 0; luma < 256; luma += 4)
    {
        layouts[0].reference(layouts[0].src.data(), expected.data());
        for (Layout& layout : layouts)
        {
            for (const int64_t set : instructionSets())
            {
                const UseInstructionSet use(set);
                layout.vector(layout.src.data(), actual.data());
                ASSERT_TRUE(expected == actual) << luma << " " << &layout - layouts.data() << hwy::TargetName(set);
            }
            for (size_t unit = 0; unit < layout.src.size(); unit += layout.unitBytes)
            {
                std::for_each_n(&layout.src[unit], layout.lumaBytes,
                                [](uint8_t& y) { y = static_cast<uint8_t>(y + 4); });
            }
        }
    }
}

// Chroma shared by pixels, and each pixel's own.
TEST(ColorExhaustive, FullRange)
{
    const Image pairs = storedInPairs(0, 1);
    const Image planes = stored(
        kPixels * 3, raster, [](size_t x, size_t y) { return kPixels + raster(x, y); },
        [](size_t x, size_t y) { return 2 * kPixels + raster(x, y); });
    compareForAllLumas(
        3, {{pairs, pairs.size(), kPixels,
             CALLS(vsrColorYCbCr420PseudoPlanarToRGB888, src + kPixels, kSide, kSide, kSide, kSide, dst, kSide * 3)},
            {planes, planes.size(), kPixels,
             CALLS(vsrColorYCbCr444PlanarToRGB888, src + kPixels, src + 2 * kPixels, kSide, kSide, kSide, kSide, kSide,
                   dst, kSide * 3)}});
}

TEST(ColorExhaustive, Video8Bit)
{
    const Image pairs = storedInPairs(0, 1);
    compareForAllLumas(2, {{pairs, pairs.size(), kPixels,
                            CALLS(vsrColorYUV420toRGB565, kSide, kSide, reinterpret_cast<uint32_t*>(dst))}});
}

TEST(ColorExhaustive, Video10Bit)
{
    const Image pairs = storedInPairs(1, 0);
    compareForAllLumas(4, {{pairs, pairs.size(), kPixels,
                            CALLS(vsrColorYCrCb420PseudoPlanarToRGB8888, kSide, kSide, kSide, kSide,
                                  reinterpret_cast<uint32_t*>(dst), kSide * 4)}});
}

TEST(ColorExhaustive, CodingUnits)
{
    compareForAllLumas(
        3, {{storedInUnits(kH1V1), kH1V1.bytes(), 64, CALLS(vsrColorYCrCbH1V1toRGB888, kSide, kSide, dst)},
            {storedInUnits(kH2V2), kH2V2.bytes(), 256, CALLS(vsrColorYCrCbH2V2toRGB888, kSide, kSide, dst)}});
}

}  // namespace
}  // namespace visora::test
