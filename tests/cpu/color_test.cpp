// What the conversions from luma and chroma to RGB compute.
#include "visora/color.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <vector>

#include "support/instruction_sets.h"
#include "support/random.h"

namespace visora::test
{
namespace
{

using Bytes = std::vector<uint8_t>;

Bytes randomBytes(size_t count, uint64_t seed)
{
    Random random(seed);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random.next()); });
    return bytes;
}

struct KnownPixel
{
    uint8_t y, cb, cr;
    uint8_t r, g, b;
};

uint16_t rgb565(const KnownPixel& p)
{
    return static_cast<uint16_t>(p.r / 8 + p.g / 4 * 32 + p.b / 8 * 2048);
}

TEST(Color, FullRangePixels)
{
    const KnownPixel known[] = {
        {255, 128, 128, 255, 255, 255},
        {0, 128, 128, 0, 0, 0},
        {127, 128, 128, 127, 127, 127},
        // 128 - 359 * 128 is negative: red is 0; green gets 183 * 128 / 256.
        {0, 128, 0, 0, 92, 0},
        {255, 0, 0, 76, 255, 28},
        {0, 255, 255, 178, 0, 225},
        // Red and blue of full strength.
        {76, 85, 255, 254, 0, 0},
        {29, 255, 107, 0, 0, 254},
        // (25600 + 359 + 128) >> 8 and (25600 - 359 + 128) >> 8: rounding, also of what is negative.
        {100, 128, 129, 101, 99, 100},
        {100, 128, 127, 99, 101, 100},
        {100, 129, 128, 100, 100, 102},
        {100, 127, 128, 100, 100, 98},
    };
    for (const KnownPixel& p : known)
    {
        const std::string where = std::to_string(p.y) + " " + std::to_string(p.cb) + " " + std::to_string(p.cr);
        const std::array<uint8_t, 2> pair = {p.cb, p.cr};
        std::array<uint8_t, 4> rgba = {};
        vsrColorYCbCr444PlanarToRGBA8888u8C(&p.y, &p.cb, &p.cr, 1, 1, 1, 1, 1, rgba.data(), 4);
        EXPECT_EQ((std::array<uint8_t, 4>{p.r, p.g, p.b, 255}), rgba) << where;
        std::array<uint8_t, 3> rgb = {};
        vsrColorYCbCr444PseudoPlanarToRGB888u8C(&p.y, pair.data(), 1, 1, 1, 2, rgb.data(), 3);
        EXPECT_EQ((std::array<uint8_t, 3>{p.r, p.g, p.b}), rgb) << where;
        std::array<uint8_t, 2> word = {};
        vsrColorYCbCr444PlanarToRGB565u8C(&p.y, &p.cb, &p.cr, 1, 1, 1, 1, 1, word.data(), 2);
        EXPECT_EQ(rgb565(p), word[0] + 256 * word[1]) << where;
    }
}

TEST(Color, RedIsInTheLowBitsOfRgb565)
{
    const uint8_t red[3] = {76, 85, 255};
    const uint8_t blue[3] = {29, 255, 107};
    for (const auto& [from, word] : {std::pair(red, 0x001F), std::pair(blue, 0xF800)})
    {
        uint8_t dst[2] = {};
        vsrColorYCbCr444PlanarToRGB565u8C(from, from + 1, from + 2, 1, 1, 1, 1, 1, dst, 2);
        EXPECT_EQ(word, dst[0] + 256 * dst[1]);
    }
}

TEST(Color, VideoRangePixels)
{
    // 8 bits: 298 (Y - 16) >> 8 and so on, without rounding.
    const KnownPixel eightBits[] = {
        {16, 128, 128, 0, 0, 0},  {235, 128, 128, 254, 254, 254}, {255, 128, 128, 255, 255, 255},
        {0, 128, 128, 0, 0, 0},   {126, 128, 128, 128, 128, 128}, {126, 255, 0, 0, 182, 255},
        {81, 90, 240, 254, 0, 0}, {41, 240, 110, 0, 0, 255},      {126, 127, 129, 129, 127, 126},
    };
    for (const KnownPixel& p : eightBits)
    {
        // A picture of 2 x 1 pixels.
        const uint8_t src[4] = {p.y, p.y, p.cb, p.cr};
        uint32_t word = 0;
        vsrColorYUV420toRGB565u8C(src, 2, 1, &word);
        EXPECT_EQ(rgb565(p) * 0x10001u, word) << int{p.y} << " " << int{p.cb} << " " << int{p.cr};
    }
    // 10 bits; chroma pairs have Cr first. Luma is clamped from below only.
    const KnownPixel tenBits[] = {
        {16, 128, 128, 0, 0, 0},        {0, 128, 128, 0, 0, 0},         {235, 128, 128, 254, 254, 254},
        {255, 128, 128, 255, 255, 255}, {240, 128, 128, 255, 255, 255}, {126, 128, 128, 128, 128, 128},
        {0, 128, 200, 114, 0, 0},       {16, 128, 200, 114, 0, 0},      {126, 129, 127, 126, 128, 130},
    };
    for (const KnownPixel& p : tenBits)
    {
        const uint8_t src[4] = {p.y, p.y, p.cr, p.cb};
        uint32_t words[2] = {};
        vsrColorYCrCb420PseudoPlanarToRGB8888u8C(src, 2, 1, 2, 2, words, 8);
        const uint32_t expected = p.r | uint32_t{p.g} << 8 | uint32_t{p.b} << 16 | 0xFF000000u;
        EXPECT_EQ(expected, words[0]) << int{p.y} << " " << int{p.cb} << " " << int{p.cr};
        EXPECT_EQ(expected, words[1]);
    }
}

// Colour of a pixel found by converting it alone in 4:4:4.
std::array<uint8_t, 3> alone(uint8_t y, uint8_t cb, uint8_t cr)
{
    std::array<uint8_t, 3> rgb = {};
    vsrColorYCbCr444PlanarToRGB888u8C(&y, &cb, &cr, 1, 1, 1, 1, 1, rgb.data(), 3);
    return rgb;
}

TEST(Color, HalvedChromaIsReplicated)
{
    constexpr uint32_t kWidth = 7;
    constexpr uint32_t kHeight = 5;
    // One row more for the pair that an odd height begins.
    const Bytes y = randomBytes(kWidth * (kHeight + 1), 1);
    const Bytes cb = randomBytes(4 * kHeight, 2);
    const Bytes cr = randomBytes(4 * kHeight, 3);
    Bytes pairs;
    for (size_t i = 0; i < cb.size(); ++i)
    {
        pairs.insert(pairs.end(), {cb[i], cr[i]});
    }
    const size_t rows = kHeight + 1;
    Bytes halfX(kWidth * 3 * rows, 9);
    Bytes halfXPairs = halfX;
    Bytes halfBoth = halfX;
    Bytes halfBothPairs = halfX;
    vsrColorYCbCr422PlanarToRGB888u8C(y.data(), cb.data(), cr.data(), kWidth, kHeight, kWidth, 4, 4, halfX.data(), 21);
    vsrColorYCbCr422PseudoPlanarToRGB888u8C(y.data(), pairs.data(), kWidth, kHeight, kWidth, 8, halfXPairs.data(), 21);
    vsrColorYCbCr420PlanarToRGB888u8C(y.data(), cb.data(), cr.data(), kWidth, kHeight, kWidth, 4, 4, halfBoth.data(),
                                      21);
    vsrColorYCbCr420PseudoPlanarToRGB888u8C(y.data(), pairs.data(), kWidth, kHeight, kWidth, 8, halfBothPairs.data(),
                                            21);
    for (size_t row = 0; row < rows; ++row)
    {
        for (size_t x = 0; x < kWidth; ++x)
        {
            const auto pixel = [&](const Bytes& image)
            {
                const uint8_t* at = &image[(row * kWidth + x) * 3];
                return std::array<uint8_t, 3>{at[0], at[1], at[2]};
            };
            const uint8_t luma = y[row * kWidth + x];
            const size_t sample422 = row * 4 + x / 2;
            const size_t sample420 = row / 2 * 4 + x / 2;
            const auto expected422 =
                row < kHeight ? alone(luma, cb[sample422], cr[sample422]) : std::array<uint8_t, 3>{9, 9, 9};
            EXPECT_EQ(expected422, pixel(halfX)) << x << "," << row;
            EXPECT_EQ(expected422, pixel(halfXPairs)) << x << "," << row;
            const auto expected420 = alone(luma, cb[sample420], cr[sample420]);
            EXPECT_EQ(expected420, pixel(halfBoth)) << x << "," << row;
            EXPECT_EQ(expected420, pixel(halfBothPairs)) << x << "," << row;
        }
    }
}

TEST(Color, Rotate180IsTheConversionReversed)
{
    for (const auto& [width, height] : {std::pair(6u, 4u), std::pair(5u, 3u), std::pair(1u, 1u), std::pair(40u, 7u)})
    {
        const Bytes src = randomBytes(width * height + (height + 1) / 2 * width + 1, width);
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

struct TileMember
{
    size_t unitWidth;
    size_t unitHeight;
    vsrStatus (*reference)(const uint8_t*, uint32_t, uint32_t, uint8_t*);
    vsrStatus (*vector)(const uint8_t*, uint32_t, uint32_t, uint8_t*);

    size_t unitBytes() const { return unitWidth * unitHeight + 128; }
    // Where in a unit the luma and the Cb of its pixel (u, v) are.
    size_t luma(size_t u, size_t v) const
    {
        const size_t block = v / 8 * (unitWidth / 8) + u / 8;
        return block * 64 + v % 8 * 8 + u % 8;
    }
    size_t cb(size_t u, size_t v) const
    {
        return unitWidth * unitHeight + (unitHeight == 16 ? v / 2 : v) * 8 + (unitWidth == 16 ? u / 2 : u);
    }
};

const TileMember kTileMembers[] = {
    {8, 8, vsrColorYCrCbH1V1toRGB888u8C, vsrColorYCrCbH1V1toRGB888u8V},
    {16, 8, vsrColorYCrCbH2V1toRGB888u8C, vsrColorYCrCbH2V1toRGB888u8V},
    {8, 16, vsrColorYCrCbH1V2toRGB888u8C, vsrColorYCrCbH1V2toRGB888u8V},
    {16, 16, vsrColorYCrCbH2V2toRGB888u8C, vsrColorYCrCbH2V2toRGB888u8V},
};

TEST(Color, CodingUnitPixels)
{
    // Chroma has no neutral code: 127 and 128 are half a step to either side.
    const KnownPixel known[] = {
        {100, 128, 128, 101, 99, 101}, {100, 127, 127, 99, 101, 99}, {255, 128, 128, 255, 254, 255},
        {0, 0, 0, 0, 135, 0},          {100, 255, 0, 0, 147, 255},   {100, 0, 255, 255, 53, 0},
    };
    for (const TileMember& member : kTileMembers)
    {
        for (const KnownPixel& p : known)
        {
            Bytes unit(member.unitBytes(), p.y);
            std::fill(unit.end() - 128, unit.end() - 64, p.cb);
            std::fill(unit.end() - 64, unit.end(), p.cr);
            uint8_t rgb[3] = {};
            member.reference(unit.data(), 1, 1, rgb);
            EXPECT_EQ(std::tuple(p.r, p.g, p.b), std::tuple(rgb[0], rgb[1], rgb[2]))
                << int{p.y} << " " << int{p.cb} << " " << int{p.cr};
        }
    }
}

// Two rows and three columns of units and, where the size is no whole number of units, what the contract says of them.
TEST(Color, CodingUnitsLieInRasterOrder)
{
    for (const TileMember& member : kTileMembers)
    {
        for (const size_t missing : {0u, 3u, 8u})
        {
            const size_t width = member.unitWidth * 3 - missing;
            const size_t height = member.unitHeight * 2 - missing / 2;
            const size_t advance = width / member.unitWidth * member.unitBytes();
            const Bytes src = randomBytes(6 * member.unitBytes(), missing);
            Bytes dst(width * height * 3);
            member.reference(src.data(), static_cast<uint32_t>(width), static_cast<uint32_t>(height), dst.data());
            for (size_t y = 0; y < height; ++y)
            {
                for (size_t x = 0; x < width; ++x)
                {
                    const uint8_t* unit =
                        &src[y / member.unitHeight * advance + x / member.unitWidth * member.unitBytes()];
                    const size_t u = x % member.unitWidth;
                    const size_t v = y % member.unitHeight;
                    const uint8_t* cb = unit + member.cb(u, v);
                    // The same pixel alone in a unit.
                    Bytes single(member.unitBytes());
                    single[0] = unit[member.luma(u, v)];
                    single[member.cb(0, 0)] = cb[0];
                    single[member.cb(0, 0) + 64] = cb[64];
                    uint8_t rgb[3] = {};
                    member.reference(single.data(), 1, 1, rgb);
                    ASSERT_EQ(0, std::memcmp(rgb, &dst[(y * width + x) * 3], 3))
                        << member.unitWidth << "x" << member.unitHeight << ": " << x << "," << y << " of " << width
                        << "x" << height;
                }
            }
        }
    }
}

// ---- Every luma with every pair of chroma samples, vector variants against the reference ----

// Runs reference and vector variant for all Cb and compares what they write. call(vector?, cb, dst) converts all Y and
// Cr with one Cb.
template <class Call>
void compareForAllCb(size_t dstBytes, Call call)
{
    Bytes expected(dstBytes);
    Bytes actual(dstBytes);
    for (unsigned cb = 0; cb < 256; ++cb)
    {
        call(false, static_cast<uint8_t>(cb), expected.data());
        for (const int64_t set : instructionSets())
        {
            const UseInstructionSet use(set);
            call(true, static_cast<uint8_t>(cb), actual.data());
            ASSERT_TRUE(expected == actual) << "Cb " << cb << " " << hwy::TargetName(set);
        }
    }
}

TEST(ColorExhaustive, FullRangeWithChromaOfItsOwn)
{
    // Y runs along a row, Cr along a column.
    Bytes y(256 * 256);
    Bytes cr(256 * 256);
    for (size_t i = 0; i < y.size(); ++i)
    {
        y[i] = static_cast<uint8_t>(i % 256);
        cr[i] = static_cast<uint8_t>(i / 256);
    }
    compareForAllCb(y.size() * 3,
                    [&](bool vector, uint8_t cb, uint8_t* dst)
                    {
                        auto* const convert =
                            vector ? vsrColorYCbCr444PlanarToRGB888u8V : vsrColorYCbCr444PlanarToRGB888u8C;
                        const Bytes cbRow(256, cb);
                        convert(y.data(), cbRow.data(), cr.data(), 256, 256, 256, 0, 256, dst, 768);
                    });
}

// A picture in which pairs of pixels share chroma: Cr grows with x / 2, Y with the row and the parity of x.
constexpr uint32_t kSharedWidth = 512;
constexpr uint32_t kSharedHeight = 128;

Bytes sharedPicture(uint8_t cb, bool cbFirst)
{
    Bytes picture(kSharedWidth * kSharedHeight * 3 / 2);
    for (size_t i = 0; i < kSharedWidth * kSharedHeight; ++i)
    {
        picture[i] = static_cast<uint8_t>(i / kSharedWidth * 2 + i % 2);
    }
    for (size_t i = kSharedWidth * kSharedHeight; i < picture.size(); ++i)
    {
        const auto cr = static_cast<uint8_t>(i % kSharedWidth / 2);
        picture[i] = (i % 2 == 0) == cbFirst ? cb : cr;
    }
    return picture;
}

TEST(ColorExhaustive, FullRangeWithSharedChroma)
{
    compareForAllCb(kSharedWidth * kSharedHeight * 3,
                    [](bool vector, uint8_t cb, uint8_t* dst)
                    {
                        auto* const convert =
                            vector ? vsrColorYCbCr420PseudoPlanarToRGB888u8V : vsrColorYCbCr420PseudoPlanarToRGB888u8C;
                        const Bytes src = sharedPicture(cb, true);
                        convert(src.data(), src.data() + kSharedWidth * kSharedHeight, kSharedWidth, kSharedHeight,
                                kSharedWidth, kSharedWidth, dst, kSharedWidth * 3);
                    });
}

TEST(ColorExhaustive, Video8Bit)
{
    compareForAllCb(kSharedWidth * kSharedHeight * 2,
                    [](bool vector, uint8_t cb, uint8_t* dst)
                    {
                        auto* const convert = vector ? vsrColorYUV420toRGB565u8V : vsrColorYUV420toRGB565u8C;
                        convert(sharedPicture(cb, true).data(), kSharedWidth, kSharedHeight,
                                reinterpret_cast<uint32_t*>(dst));
                    });
}

TEST(ColorExhaustive, Video10Bit)
{
    compareForAllCb(kSharedWidth * kSharedHeight * 4,
                    [](bool vector, uint8_t cb, uint8_t* dst)
                    {
                        auto* const convert = vector ? vsrColorYCrCb420PseudoPlanarToRGB8888u8V
                                                     : vsrColorYCrCb420PseudoPlanarToRGB8888u8C;
                        convert(sharedPicture(cb, false).data(), kSharedWidth, kSharedHeight, kSharedWidth,
                                kSharedWidth, reinterpret_cast<uint32_t*>(dst), kSharedWidth * 4);
                    });
}

TEST(ColorExhaustive, CodingUnits)
{
    // Units of one Cr each; their luma goes through all values, in H1V1 in four units.
    for (const TileMember& member : {kTileMembers[0], kTileMembers[3]})
    {
        const size_t lumaBytes = member.unitWidth * member.unitHeight;
        const size_t units = 65536 / lumaBytes;
        Bytes src(units * member.unitBytes());
        for (size_t unit = 0; unit < units; ++unit)
        {
            uint8_t* at = &src[unit * member.unitBytes()];
            for (size_t i = 0; i < lumaBytes; ++i)
            {
                at[i] = static_cast<uint8_t>(unit * lumaBytes + i);
            }
            std::fill(at + lumaBytes + 64, at + lumaBytes + 128, static_cast<uint8_t>(unit * lumaBytes / 256));
        }
        compareForAllCb(size_t{65536} * 3,
                        [&](bool vector, uint8_t cb, uint8_t* dst)
                        {
                            for (size_t unit = 0; unit < units; ++unit)
                            {
                                uint8_t* at = &src[unit * member.unitBytes() + lumaBytes];
                                std::fill(at, at + 64, cb);
                            }
                            auto* const convert = vector ? member.vector : member.reference;
                            convert(src.data(), static_cast<uint32_t>(units * member.unitWidth),
                                    static_cast<uint32_t>(member.unitHeight), dst);
                        });
    }
}

}  // namespace
}  // namespace visora::test
