// What the conversions from RGB compute.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <tuple>

#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorFormats.h"
#include "support/images.h"
#include "visora/dispatch.h"
#include "visora/variants/color.h"

namespace visora::test
{
namespace
{

// One pixel in every format, written down by hand: R = 0x95, G = 0x4C, B = 0x2F, no alpha, which is 0x61 where a format
// has one; and what the channels are where 5, 6 and 5 bits hold them: 10010, 010011, 00101.
const std::pair<std::string, Image> kPixels[] = {
    {"RGB888", {0x95, 0x4C, 0x2F}},         {"BGR888", {0x2F, 0x4C, 0x95}}, {"RGBA8888", {0x95, 0x4C, 0x2F, 0x61}},
    {"BGRA8888", {0x2F, 0x4C, 0x95, 0x61}}, {"RGB565", {0x72, 0x2A}},       {"BGR565", {0x65, 0x92}},
};
constexpr uint8_t kWidened[3] = {0x94, 0x4D, 0x29};

Image expectedPixel(const std::string& from, const std::string& to)
{
    Image pixel = std::find_if(std::begin(kPixels), std::end(kPixels), [&](auto& p) { return p.first == to; })->second;
    if (from == "RGB565" && to != "BGR565")
    {
        const bool isBlueFirst = to[0] == 'B';
        for (size_t c = 0; c < 3; ++c)
        {
            pixel[c] = kWidened[isBlueFirst ? 2 - c : c];
        }
    }
    if (pixel.size() == 4 && from != "RGBA8888")
    {
        pixel[3] = 255;
    }
    return pixel;
}

TEST(ColorRgb, OnePixelInEveryFormat){
#define CHECK_PIXEL(source, destination)                                                                              \
    {                                                                                                                 \
        const Image src =                                                                                             \
            std::find_if(std::begin(kPixels), std::end(kPixels), [](auto& p) { return p.first == #source; })->second; \
        Image dst(destination::kBytes);                                                                               \
        vsrColor##source##To##destination##u8C(src.data(), 1, 1, source::kBytes, dst.data(), destination::kBytes);    \
        EXPECT_EQ(expectedPixel(#source, #destination), dst) << #source " to " #destination;                          \
    }
    VSR_COLOR_EXCHANGES(CHECK_PIXEL) VSR_COLOR_REPACKS(CHECK_PIXEL)}

// Widened fields keep their order, run from 0 to 255, and give the fields back.
TEST(ColorRgb, EveryWordSurvivesWidening)
{
    std::vector<uint16_t> words(65536);
    for (size_t i = 0; i < words.size(); ++i)
    {
        words[i] = static_cast<uint16_t>(i);
    }
    Image wide(words.size() * 3);
    std::vector<uint16_t> back(words.size());
    vsrColorRGB565ToRGB888u8C(reinterpret_cast<const uint8_t*>(words.data()), 65536, 1, 131072, wide.data(), 196608);
    vsrColorRGB888ToRGB565u8C(wide.data(), 65536, 1, 196608, reinterpret_cast<uint8_t*>(back.data()), 131072);
    EXPECT_EQ(words, back);
    for (size_t i = 0; i < words.size(); ++i)
    {
        const size_t fields[] = {i & 31, i >> 5 & 63, i >> 11}, full[] = {31, 63, 31};
        for (size_t c = 0; c < 3; ++c)
        {
            EXPECT_NEAR(255.0 * static_cast<double>(fields[c]) / static_cast<double>(full[c]), wide[3 * i + c], 1.0);
        }
    }
}

TEST(ColorRgb, Rotate180IsTheConversionReversed)
{
    constexpr uint32_t kWidth = 21, kHeight = 5;
    const Image src = randomPixels(kWidth * kHeight * 3, 1);
    std::vector<uint16_t> upright(kWidth * kHeight), turned = upright;
    vsrColorRGB888ToRGB565u8C(src.data(), kWidth, kHeight, kWidth * 3, reinterpret_cast<uint8_t*>(upright.data()),
                              kWidth * 2);
    vsrColorRGB888ToRGB565Rotate180u8C(src.data(), kWidth, kHeight, kWidth * 3,
                                       reinterpret_cast<uint8_t*>(turned.data()), kWidth * 2);
    EXPECT_TRUE(std::equal(upright.begin(), upright.end(), turned.rbegin()));
}

// ---- YCbCr ----

struct Planes
{
    Image y, cb, cr;
    bool operator==(const Planes&) const = default;
};

Planes to444(const Image& rgb)
{
    const auto pixels = static_cast<uint32_t>(rgb.size() / 3);
    Planes planes = {Image(pixels), Image(pixels), Image(pixels)};
    vsrColorRGB888ToYCbCr444Planaru8C(rgb.data(), pixels, 1, pixels * 3, planes.y.data(), planes.cb.data(),
                                      planes.cr.data(), pixels, pixels, pixels);
    return planes;
}

// The weights in 1/256 are those of the standard within rounding.
TEST(ColorRgb, YCbCrIsThatOfJfif)
{
    Image rgb;
    for (int i = 0; i < 18 * 18 * 18; ++i)
    {
        for (const int channel : {i % 18, i / 18 % 18, i / 324})
        {
            rgb.push_back(static_cast<uint8_t>(channel * 15));
        }
    }
    const Planes planes = to444(rgb);
    for (size_t i = 0; i < planes.y.size(); ++i)
    {
        const double r = rgb[3 * i], g = rgb[3 * i + 1], b = rgb[3 * i + 2];
        const double luma = 0.299 * r + 0.587 * g + 0.114 * b;
        EXPECT_NEAR(luma, planes.y[i], 1.0);
        EXPECT_NEAR(128 + (b - luma) / 1.772, planes.cb[i], 1.0);
        EXPECT_NEAR(128 + (r - luma) / 1.402, planes.cr[i], 1.0);
    }
    // Grey is exact, and the clamp is reached by pure blue and pure red only.
    const Planes known = to444({77, 77, 77, 255, 255, 255, 0, 0, 255, 255, 0, 0, 0, 255, 255, 255, 255, 0, 0, 1, 255});
    EXPECT_EQ(
        (Planes{{77, 255, 29, 77, 178, 226, 29}, {128, 128, 255, 85, 171, 1, 255}, {128, 128, 107, 255, 1, 149, 107}}),
        known);
}

// Subsampled chroma is that of the rounded mean colour of the pixels inside, odd sides too; luma is every pixel's own.
TEST(ColorRgb, ChromaIsThatOfTheMeanColour)
{
    for (const auto& [width, height] : {std::pair(6u, 4u), std::pair(7u, 5u), std::pair(1u, 3u), std::pair(5u, 1u)})
    {
        const Image rgb = randomPixels(size_t{width} * height * 3, width);
        for (const uint32_t down : {1u, 2u})
        {
            Image means;
            for (uint32_t y = 0; y < height; y += down)
            {
                for (uint32_t i = 0; i < (width + 1) / 2 * 3; ++i)
                {
                    uint32_t sum = 0, count = 0;
                    for (uint32_t v = y; v < std::min(y + down, height); ++v)
                    {
                        for (uint32_t u = i / 3 * 2; u < std::min(i / 3 * 2 + 2, width); ++u)
                        {
                            sum += rgb[(v * width + u) * 3 + i % 3];
                            ++count;
                        }
                    }
                    means.push_back(static_cast<uint8_t>((2 * sum + count) / (2 * count)));
                }
            }
            Planes expected = to444(means), planes = expected;
            expected.y = planes.y = to444(rgb).y;
            const uint32_t columns = (width + 1) / 2;
            Image pairs(planes.cb.size() * 2), luma = planes.y;
            const auto planar = down == 2 ? vsrColorRGB888ToYCbCr420Planaru8C : vsrColorRGB888ToYCbCr422Planaru8C;
            const auto pseudoPlanar =
                down == 2 ? vsrColorRGB888ToYCbCr420PseudoPlanaru8C : vsrColorRGB888ToYCbCr422PseudoPlanaru8C;
            planar(rgb.data(), width, height, width * 3, planes.y.data(), planes.cb.data(), planes.cr.data(), width,
                   columns, columns);
            pseudoPlanar(rgb.data(), width, height, width * 3, luma.data(), pairs.data(), width, columns * 2);
            EXPECT_EQ(expected, planes) << width << "x" << height << " by " << down;
            EXPECT_EQ(expected.y, luma);
            for (size_t i = 0; i < pairs.size(); ++i)
            {
                EXPECT_EQ(i % 2 == 0 ? expected.cb[i / 2] : expected.cr[i / 2], pairs[i]);
            }
        }
    }
}

// ---- Rows ----

TEST(ColorRgb, RowHelpersAreTheConversions)
{
    constexpr uint32_t kLength = 37;
    const Image src = randomPixels(kLength * 4, 3);
    const auto check = [&](auto toPlanes, auto toLuma, auto conversion, uint32_t bytes)
    {
        Planes expected = {Image(kLength), Image(kLength), Image(kLength)}, planes = expected;
        conversion(src.data(), kLength, 1, kLength * bytes, expected.y.data(), expected.cb.data(), expected.cr.data(),
                   kLength, kLength, kLength);
        toPlanes(src.data(), kLength, planes.y.data(), planes.cb.data(), planes.cr.data());
        EXPECT_EQ(expected, planes);
        Image luma(kLength + 1, 9);
        toLuma(src.data(), kLength, luma.data());
        toLuma(src.data(), 0, luma.data() + kLength);
        expected.y.push_back(9);
        EXPECT_EQ(expected.y, luma);
    };
    for (const auto& set : {uCHelper, uVHelper})
    {
        set();
        const bool isVector = set == uVHelper;
        EXPECT_EQ(isVector ? rgb5652yuvpV : rgb5652yuvpC, rgb5652yuvp_);
        EXPECT_EQ(isVector ? rgb565_to_rgb888V : rgb565_to_rgb888C, rgb565_to_rgb888_);
        check(rgb5652yuvp_, rgb5652y_, vsrColorRGB565ToYCbCr444Planaru8C, 2);
        check(rgb8882yuvp_, rgb8882y_, vsrColorRGB888ToYCbCr444Planaru8C, 3);
        check(rgba88882yuvp_, rgba88882y_, vsrColorRGBA8888ToYCbCr444Planaru8C, 4);
        Image expected(kLength * 3), wide = expected;
        vsrColorRGB565ToRGB888u8C(src.data(), kLength, 1, kLength * 2, expected.data(), kLength * 3);
        rgb565_to_rgb888_(src.data(), kLength, wide.data());
        EXPECT_EQ(expected, wide);
    }
    uCHelper();
}

}  // namespace
}  // namespace visora::test
