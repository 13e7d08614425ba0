// What the conversions between YCbCr layouts, HSV, L*a*b*, channels, chroma planes, mosaics and the tone curve compute.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <tuple>

#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorFormats.h"
#include "support/images.h"
#include "support/instruction_sets.h"
#include "visora/variants/color.h"

namespace visora::test
{
namespace
{

// ---- YCbCr layouts ----

struct Size
{
    uint32_t width, height;
};

// An image in its two layouts; an operation's arguments come from one of them.
struct YCbCr
{
    YCbCr(Size size, Sampling sampling, uint64_t seed)
        : columns(sampling.columns(size.width)),
          rows(sampling.rows(size.height)),
          y(randomPixels(size.width * size.height, seed)),
          cb(randomPixels(columns * rows, seed + 1)),
          cr(randomPixels(columns * rows, seed + 2)),
          width(size.width)
    {
        pair();
    }

    void pair()
    {
        pairs.clear();
        for (size_t i = 0; i < cb.size(); ++i)
        {
            pairs.insert(pairs.end(), {cb[i], cr[i]});
        }
    }
    void split()
    {
        for (size_t i = 0; i < pairs.size(); ++i)
        {
            (i % 2 == 0 ? cb : cr)[i / 2] = pairs[i];
        }
    }

    struct Planar
    {
        static auto planes(YCbCr& i) { return std::tuple(i.y.data(), i.cb.data(), i.cr.data()); }
        static auto strides(YCbCr& i) { return std::tuple(i.width, i.columns, i.columns); }
        static void take(YCbCr& i) { i.pair(); }
    };
    struct PseudoPlanar
    {
        static auto planes(YCbCr& i) { return std::tuple(i.y.data(), i.pairs.data()); }
        static auto strides(YCbCr& i) { return std::tuple(i.width, 2 * i.columns); }
        static void take(YCbCr& i) { i.split(); }
    };

    uint32_t columns, rows;
    Image y, cb, cr, pairs;
    uint32_t width;
};

// The rounded mean of the different source samples that the pixels of a destination sample belong to.
Image resampled(const Image& samples, Size size, Sampling from, Sampling to)
{
    Image result;
    for (uint32_t j = 0; j < to.rows(size.height); ++j)
    {
        for (uint32_t i = 0; i < to.columns(size.width); ++i)
        {
            std::set<size_t> places;
            for (uint32_t y = j << to.y; y < std::min((j + 1) << to.y, size.height); ++y)
            {
                for (uint32_t x = i << to.x; x < std::min((i + 1) << to.x, size.width); ++x)
                {
                    places.insert(size_t{y >> from.y} * from.columns(size.width) + (x >> from.x));
                }
            }
            size_t sum = 0;
            std::for_each(places.begin(), places.end(), [&](size_t place) { sum += samples[place]; });
            result.push_back(static_cast<uint8_t>((2 * sum + places.size()) / (2 * places.size())));
        }
    }
    return result;
}

template <class From, class To, class Kernel>
void checkLayouts(const char* name, Kernel kernel, Sampling from, Sampling to)
{
    for (const Size size : {Size{6, 4}, Size{7, 5}, Size{1, 1}, Size{2, 3}, Size{5, 2}})
    {
        YCbCr src(size, from, size.width), dst(size, to, 99);
        std::apply(kernel, std::tuple_cat(From::planes(src), std::tuple(size.width, size.height), From::strides(src),
                                          To::planes(dst), To::strides(dst)));
        To::take(dst);
        EXPECT_EQ(src.y, dst.y) << name;
        EXPECT_EQ(resampled(src.cb, size, from, to), dst.cb) << name << " " << size.width << "x" << size.height;
        EXPECT_EQ(resampled(src.cr, size, from, to), dst.cr) << name << " " << size.width << "x" << size.height;
    }
}

TEST(ColorLayouts, ChromaIsTheMeanOfWhatItCovers)
{
#define CHECK_LAYOUT(from, source, to, destination)                                                             \
    checkLayouts<YCbCr::source, YCbCr::destination>(#from #source " to " #to #destination,                      \
                                                    vsrColorYCbCr##from##source##ToYCbCr##to##destination##u8C, \
                                                    k##from, k##to);
    VSR_COLOR_LAYOUTS(CHECK_LAYOUT)
}

TEST(ColorLayouts, LumaMayStayWhereItIs)
{
    const Size size = {6, 4};
    YCbCr image(size, k444, 1), dst(size, k444, 50);
    const Image luma = image.y;
    const auto convert = [&](uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride)
    {
        return vsrColorYCbCr444PlanarToYCbCr444PseudoPlanaru8(image.y.data(), image.cb.data(), image.cr.data(),
                                                              size.width, size.height, 0, 0, 0, dstY, dstC, dstYStride,
                                                              0);
    };
    EXPECT_EQ(0u, convert(image.y.data(), dst.pairs.data(), 0));
    EXPECT_EQ(luma, image.y);
    EXPECT_EQ(image.pairs, dst.pairs);
    // Neither with another stride, nor where chroma is.
    EXPECT_EQ(vsrStatus{VISORA_EBADPARAM}, convert(image.y.data(), dst.pairs.data(), size.width + 1));
    EXPECT_EQ(vsrStatus{VISORA_EBADPARAM}, convert(image.cb.data(), dst.pairs.data(), 0));
    EXPECT_EQ(vsrStatus{VISORA_EBADPARAM}, convert(dst.y.data(), image.cr.data(), 0));
    EXPECT_EQ(vsrStatus{VISORA_EBADPARAM}, convert(dst.y.data(), dst.y.data(), 0));
}

// ---- HSV and L*a*b* ----

using ImageFunction = decltype(vsrColorRGB888ToHSV888u8C);
using Triple = std::array<uint8_t, 3>;

Triple converted(ImageFunction* convert, Triple pixel)
{
    Triple result;
    convert(pixel.data(), 1, 1, 3, result.data(), 3);
    return result;
}

// All pixels whose first channel is this one.
Image allWith(uint32_t first)
{
    Image pixels;
    for (uint32_t i = 0; i < 65536; ++i)
    {
        pixels.insert(pixels.end(),
                      {static_cast<uint8_t>(first), static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i)});
    }
    return pixels;
}

TEST(ColorHsv, IsThatOfTheDefinitionRounded)
{
    for (uint32_t r = 0; r < 256; r += 15)
    {
        const Image rgb = allWith(r);
        Image hsv(rgb.size()), back(rgb.size());
        vsrColorRGB888ToHSV888u8C(rgb.data(), 65536, 1, 196608, hsv.data(), 196608);
        vsrColorHSV888ToRGB888u8C(hsv.data(), 65536, 1, 196608, back.data(), 196608);
        for (size_t i = 0; i < rgb.size(); i += 3)
        {
            const double red = rgb[i], green = rgb[i + 1], blue = rgb[i + 2];
            const double v = std::max({red, green, blue}), d = v - std::min({red, green, blue});
            ASSERT_EQ(v, hsv[i + 2]);
            ASSERT_NEAR(v == 0 ? 0 : 255 * d / v, hsv[i + 1], 0.54);
            const double sixths = d == 0       ? 0
                                  : v == red   ? (green - blue) / d
                                  : v == green ? 2 + (blue - red) / d
                                               : 4 + (red - green) / d;
            const double turn = std::abs(sixths * 256 / 6 - hsv[i]);
            ASSERT_LT(std::min(turn, 256 - turn), 0.65) << red << " " << green << " " << blue;
            // A step of hue is 6/256 of the range between the channels.
            for (size_t c = 0; c < 3; ++c)
            {
                ASSERT_NEAR(rgb[i + c], back[i + c], 5);
            }
        }
    }
    // Sectors begin with pure colours and the mixtures of two.
    const Triple known[] = {{0, 255, 200}, {43, 255, 200}, {128, 255, 200}, {213, 128, 255}, {99, 0, 77}};
    const Triple rgb[] = {{200, 0, 0}, {198, 200, 0}, {0, 200, 200}, {254, 127, 255}, {77, 77, 77}};
    for (size_t i = 0; i < std::size(known); ++i)
    {
        EXPECT_EQ(rgb[i], converted(vsrColorHSV888ToRGB888u8C, known[i])) << i;
    }
}

// L*, a*, b* of the standard, from real numbers.
std::array<double, 3> labOf(const uint8_t* rgb)
{
    std::array<double, 3> linear;
    std::transform(rgb, rgb + 3, linear.begin(),
                   [](uint8_t v) { return v <= 10 ? v / 255.0 / 12.92 : std::pow((v / 255.0 + 0.055) / 1.055, 2.4); });
    const auto root = [&](double r, double g, double b, double white)
    {
        const double t = (r * linear[0] + g * linear[1] + b * linear[2]) / white;
        return t < 216.0 / 24389 ? 841 * t / 108 + 4.0 / 29 : std::cbrt(t);
    };
    const double x = root(0.412453, 0.357580, 0.180423, 0.950456);
    const double y = root(0.212671, 0.715160, 0.072169, 1);
    const double z = root(0.019334, 0.119193, 0.950227, 1.088754);
    return {(116 * y - 16) * 2.55, 500 * (x - y) + 128, 200 * (y - z) + 128};
}

TEST(ColorLab, IsThatOfTheStandard)
{
    for (uint32_t r = 0; r < 256; r += 17)
    {
        const Image rgb = allWith(r);
        Image lab(rgb.size()), back(rgb.size());
        vsrColorRGB888ToLab888u8C(rgb.data(), 65536, 1, 196608, lab.data(), 196608);
        vsrColorLab888ToRGB888u8C(lab.data(), 65536, 1, 196608, back.data(), 196608);
        for (size_t i = 0; i < rgb.size(); i += 3 * 11)
        {
            const std::array<double, 3> expected = labOf(&rgb[i]);
            for (size_t c = 0; c < 3; ++c)
            {
                ASSERT_NEAR(expected[c], lab[i + c], 2.7) << i;
                ASSERT_NEAR(rgb[i + c], back[i + c], 28) << i;
            }
        }
    }
    const Triple rgb[] = {{0, 0, 0}, {255, 255, 255}, {128, 128, 128}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
    const Triple lab[] = {{0, 128, 128},   {255, 128, 128}, {137, 128, 128},
                          {136, 208, 195}, {224, 42, 211},  {82, 207, 20}};
    for (size_t i = 0; i < std::size(rgb); ++i)
    {
        EXPECT_EQ(lab[i], converted(vsrColorRGB888ToLab888u8C, rgb[i])) << i;
    }
    // Far outside sRGB, with more blue than there is and less green: its surface.
    const Triple clamped = converted(vsrColorLab888ToRGB888u8C, {150, 255, 0});
    EXPECT_EQ(0, clamped[1]);
    EXPECT_EQ(255, clamped[2]);
}

TEST(ColorExhaustive, HsvAndLab)
{
    const std::pair<ImageFunction*, ImageFunction*> conversions[] = {
        {vsrColorRGB888ToHSV888u8C, vsrColorRGB888ToHSV888u8V},
        {vsrColorHSV888ToRGB888u8C, vsrColorHSV888ToRGB888u8V},
        {vsrColorRGB888ToLab888u8C, vsrColorRGB888ToLab888u8V},
        {vsrColorLab888ToRGB888u8C, vsrColorLab888ToRGB888u8V},
    };
    for (uint32_t first = 0; first < 256; ++first)
    {
        const Image src = allWith(first);
        Image expected(src.size()), actual(src.size());
        for (const auto& [reference, vector] : conversions)
        {
            reference(src.data(), 65536, 1, 196608, expected.data(), 196608);
            for (const int64_t set : instructionSets())
            {
                const UseInstructionSet use(set);
                vector(src.data(), 65536, 1, 196608, actual.data(), 196608);
                ASSERT_TRUE(expected == actual) << first << " " << hwy::TargetName(set);
            }
        }
    }
}

// ---- Channels and chroma planes ----

TEST(ColorChannels, WhatIsCombinedComesApart)
{
    constexpr uint32_t kWidth = 19, kHeight = 3;
    std::vector<Image> planes;
    for (uint64_t k = 0; k < 4; ++k)
    {
        planes.push_back(randomPixels(kWidth * kHeight, k));
    }
    const uint8_t *p0 = planes[0].data(), *p1 = planes[1].data(), *p2 = planes[2].data(), *p3 = planes[3].data();
    std::vector<Image> combined = {Image(kWidth * kHeight * 2), Image(kWidth * kHeight * 3),
                                   Image(kWidth * kHeight * 4)};
    vsrChannelCombine2u8C(p0, kWidth, kHeight, kWidth, p1, kWidth, combined[0].data(), kWidth * 2);
    vsrChannelCombine3u8C(p0, kWidth, kHeight, kWidth, p1, kWidth, p2, kWidth, combined[1].data(), kWidth * 3);
    vsrChannelCombine4u8C(p0, kWidth, kHeight, kWidth, p1, kWidth, p2, kWidth, p3, kWidth, combined[2].data(),
                          kWidth * 4);
    for (uint32_t format = VISORA_FORMAT_C2; format <= VISORA_FORMAT_C4; ++format)
    {
        for (uint32_t channel = 0; channel < format + 2; ++channel)
        {
            Image plane(kWidth * kHeight);
            EXPECT_EQ(0u, vsrChannelExtractu8(combined[format].data(), nullptr, nullptr, kWidth, kHeight, 0, 0, 0,
                                              format, channel, plane.data(), 0));
            EXPECT_EQ(planes[channel], plane) << format << " " << channel;
        }
    }
}

// One pixel of each format: what each selector gives, -1 where the format does not know it.
TEST(ColorChannels, SelectorsByPositionAndByMeaning)
{
    // Bytes of the first plane, and of the second and third ones.
    const uint8_t first[] = {0x72, 0x2A, 0x33, 0x44}, second[] = {0x55, 0x66}, third[] = {0x77};
    constexpr int none = -1;
    const std::array<int, 11> expected[] = {
        // 0, 1, 2, 3, R, G, B, A, Y, U, V
        {0x72, 0x2A, none, none, none, none, none, none, none, none, none},
        {0x72, 0x2A, 0x33, none, none, none, none, none, none, none, none},
        {0x72, 0x2A, 0x33, 0x44, none, none, none, none, none, none, none},
        {0x72, 0x2A, 0x33, none, 0x72, 0x2A, 0x33, none, none, none, none},
        {0x72, 0x2A, 0x33, none, 0x33, 0x2A, 0x72, none, none, none, none},
        {0x72, 0x2A, 0x33, 0x44, 0x72, 0x2A, 0x33, 0x44, none, none, none},
        {0x72, 0x2A, 0x33, 0x44, 0x33, 0x2A, 0x72, 0x44, none, none, none},
        {0x94, 0x4D, 0x29, none, 0x94, 0x4D, 0x29, none, none, none, none},
        {0x94, 0x4D, 0x29, none, 0x29, 0x4D, 0x94, none, none, none, none},
        {0x72, 0x55, 0x77, none, none, none, none, none, 0x72, 0x55, 0x77},  // planar
        {0x72, 0x55, 0x66, none, none, none, none, none, 0x72, 0x55, 0x66},  // pairs
        {0x72, 0x55, 0x66, none, none, none, none, none, 0x72, 0x66, 0x55},  // Cr first
        {none, none, none, none, none, none, none, none, none, none, none},
    };
    for (uint32_t format = 0; format <= VISORA_FORMAT_YCRCB420_PSEUDO_PLANAR + 1; ++format)
    {
        for (uint32_t channel = 0; channel <= 11; ++channel)
        {
            const size_t row = format < VISORA_FORMAT_YCBCR444_PLANAR ? format : 9 + (format - 9) / 3;
            const int sample = channel < 11 ? expected[row][channel] : none;
            uint8_t dst = 0xEE;
            EXPECT_EQ(
                sample == none ? VISORA_EBADPARAM : VISORA_SUCCESS,
                static_cast<int>(vsrChannelExtractu8(first, second, third, 1, 1, 0, 0, 0, format, channel, &dst, 0)))
                << format << " " << channel;
            EXPECT_EQ(sample == none ? 0xEE : sample, dst) << format << " " << channel;
        }
    }
}

TEST(ColorChannels, SubsampledChromaKeepsItsSize)
{
    const Image pairs = {1, 2, 3, 4, 5, 6, 7, 8};
    Image cr(5, 9);
    EXPECT_EQ(0u, vsrChannelExtractu8(nullptr, pairs.data(), cr.data(), 3, 4, 0, 0, 0,
                                      VISORA_FORMAT_YCBCR420_PSEUDO_PLANAR, VISORA_CHANNEL_V, cr.data(), 0));
    EXPECT_EQ((Image{2, 4, 6, 8, 9}), cr);
}

TEST(ColorChannels, SwappedPairs)
{
    Image pairs = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(0u, vsrChromaSwapu8(pairs.data(), 3, 1, 0, pairs.data(), 0));
    EXPECT_EQ((Image{2, 1, 4, 3, 6, 5}), pairs);
}

TEST(ColorChannels, KeyFallsFromTheInnerToTheOuterCircle)
{
    for (const auto& [inner, outer] : {std::pair(20u, 60u), std::pair(40u, 40u), std::pair(0u, 65535u)})
    {
        for (int i = 0; i < 65536; ++i)
        {
            const uint8_t pair[] = {static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i)};
            uint8_t mask = 0;
            vsrChromaKeyu8C(pair, 1, 1, 2, 100, 120, inner, outer, &mask, 1);
            const double distance = std::hypot(pair[0] - 100, pair[1] - 120);
            const double expected = distance <= inner   ? 255
                                    : distance >= outer ? 0
                                                        : 255 * (outer - distance) / (outer - inner);
            ASSERT_NEAR(expected, mask, distance <= inner || distance >= outer ? 0 : 0.501) << i;
        }
    }
}

// ---- Mosaics ----

// A colour is the mean of the window's pixels that have it, or the pixel's own. The frame shows its inner neighbours;
// on an axis of two pixels the one missing is the other one.
TEST(ColorBayer, ColoursAreMeansOfTheNeighboursThatHaveThem)
{
    for (const Size size : {Size{2, 2}, Size{3, 3}, Size{2, 5}, Size{7, 2}, Size{8, 6}, Size{9, 5}})
    {
        const Image src = randomPixels(size.width * size.height, size.width * 7);
        for (uint32_t pattern = 0; pattern < 4; ++pattern)
        {
            const char* const colours = std::array{"RGGB", "GRBG", "GBRG", "BGGR"}[pattern];
            Image rgb(src.size() * 3), gray(src.size()), expected;
            const auto place = [](int at, uint32_t length)
            { return length == 2 ? at : std::clamp(at, 1, static_cast<int>(length) - 2); };
            for (int i = 0; i < static_cast<int>(src.size()); ++i)
            {
                const int width = static_cast<int>(size.width), height = static_cast<int>(size.height);
                const int x = place(i % width, size.width), y = place(i / width, size.height);
                for (const char colour : {'R', 'G', 'B'})
                {
                    const auto has = [&](int u, int v) { return colours[(v & 1) * 2 + (u & 1)] == colour; };
                    int sum = 0, count = 0;
                    for (int v = y - 1; v <= y + 1; ++v)
                    {
                        for (int u = x - 1; u <= x + 1; ++u)
                        {
                            const bool counts = has(x, y) ? u == x && v == y : has(u, v);
                            const int inX = u < 0 ? 1 : u >= width ? width - 2 : u;
                            const int inY = v < 0 ? 1 : v >= height ? height - 2 : v;
                            sum += counts ? src[static_cast<size_t>(inY * width + inX)] : 0;
                            count += counts ? 1 : 0;
                        }
                    }
                    expected.push_back(static_cast<uint8_t>((2 * sum + count) / (2 * count)));
                }
            }
            vsrBayerToRGB888u8C(src.data(), size.width, size.height, size.width, pattern, rgb.data(), size.width * 3);
            vsrBayerToGrayu8C(src.data(), size.width, size.height, size.width, pattern, gray.data(), size.width);
            EXPECT_EQ(expected, rgb) << colours << " " << size.width << "x" << size.height;
            Image grayOfRgb(gray.size());
            vsrColorRGB888ToGrayu8C(rgb.data(), size.width, size.height, size.width * 3, grayOfRgb.data(), size.width);
            EXPECT_EQ(grayOfRgb, gray);
        }
    }
    uint8_t pixel = 5, out[6] = {};
    EXPECT_EQ(vsrStatus{VISORA_EBADPARAM}, vsrBayerToGrayu8(&pixel, 1, 2, 0, VISORA_BAYER_RGGB, out, 0));
    EXPECT_EQ(vsrStatus{VISORA_EBADPARAM}, vsrBayerToGrayu8(out, 2, 2, 0, 4, out + 4, 0));
}

// ---- Tone curve ----

TEST(ColorGamma, IsThePowerRounded)
{
    Image bytes(256), curve(256);
    std::generate(bytes.begin(), bytes.end(), [value = 0]() mutable { return static_cast<uint8_t>(value++); });
    for (const float gamma : {0.01f, 1 / 2.2f, 0.5f, 1.0f, 1.8f, 2.2f, 7.0f, 1000.0f, 1e30f, 1e-30f})
    {
        EXPECT_EQ(0u, vsrGammau8(bytes.data(), 256, 1, 0, gamma, curve.data(), 0));
        for (size_t x = 0; x < 256; ++x)
        {
            EXPECT_EQ(static_cast<uint8_t>(255 * std::pow(static_cast<double>(x) / 255, double{gamma}) + 0.5), curve[x])
                << x << " to the power of " << gamma;
        }
    }
    for (const float gamma : {0.0f, -1.0f, INFINITY, NAN})
    {
        EXPECT_EQ(vsrStatus{VISORA_EBADPARAM}, vsrGammau8(bytes.data(), 256, 1, 0, gamma, curve.data(), 0));
    }
}

}  // namespace
}  // namespace visora::test
