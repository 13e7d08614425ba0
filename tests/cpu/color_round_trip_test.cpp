// Photographs, from RGB to every YCbCr layout and back: what comes back is near what was there.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>

#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorFormats.h"
#include "pictures.h"
#include "support/images.h"
#include "visora/variants/color.h"

namespace visora::test
{
namespace
{

// A portrait that Debian ships with Matplotlib, which the documentation is built with. It is cut to an odd width; of an
// odd height, conversions from 4:2:0 would write a row more.
constexpr char kPhotograph[] = "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg";
constexpr uint32_t kWidth = 401, kHeight = 298, kLeft = 60, kTop = 60;

Image photograph()
{
    const pictures::Picture whole = pictures::readPicture(kPhotograph);
    Image rgb;
    for (uint32_t y = 0; y < kHeight; ++y)
    {
        const uint8_t* row = whole.data() + (size_t{kTop + y} * whole.width + kLeft) * 3;
        rgb.insert(rgb.end(), row, row + size_t{kWidth} * 3);
    }
    return rgb;
}

// The photograph in one of the formats, and as the three bytes that its pixels stand for.
struct RGB565
{
    static constexpr uint32_t kBytes = 2;
    static constexpr auto* kPack = vsrColorRGB888ToRGB565u8C;
    static constexpr auto* kUnpack = vsrColorRGB565ToRGB888u8C;
};
struct RGBA8888
{
    static constexpr uint32_t kBytes = 4;
    static constexpr auto* kPack = vsrColorRGB888ToRGBA8888u8C;
    static constexpr auto* kUnpack = vsrColorRGBA8888ToRGB888u8C;
};
struct RGB888
{
    static constexpr uint32_t kBytes = 3;
    static void kPack(const uint8_t* src, uint32_t width, uint32_t height, uint32_t, uint8_t* dst, uint32_t)
    {
        std::copy_n(src, size_t{width} * height * 3, dst);
    }
    static constexpr auto* kUnpack = kPack;
};

// Planes of any sampling.
struct Frame
{
    Image y = Image(size_t{kWidth} * kHeight), cb = y, cr = y, pairs = Image(2 * y.size());
};

struct Planar
{
    static auto planes(Frame& f) { return std::tuple(f.y.data(), f.cb.data(), f.cr.data()); }
    static auto strides(uint32_t columns) { return std::tuple(kWidth, columns, columns); }
};
struct PseudoPlanar
{
    static auto planes(Frame& f) { return std::tuple(f.y.data(), f.pairs.data()); }
    static auto strides(uint32_t columns) { return std::tuple(kWidth, 2 * columns); }
};

// The largest difference in any channel, and the mean one.
struct Loss
{
    int largest;
    double mean;
};

Loss lossOf(const Image& before, const Image& after)
{
    Loss loss = {0, 0};
    for (size_t i = 0; i < before.size(); ++i)
    {
        const int difference = std::abs(before[i] - after[i]);
        loss.largest = std::max(loss.largest, difference);
        loss.mean += difference;
    }
    loss.mean /= static_cast<double>(before.size());
    return loss;
}

// Full samplings lose roundings only, coarser ones what changes between neighbours, and 16 bits a step of their fields.
Loss allowed(Sampling coarsest, uint32_t bytes)
{
    const size_t halved = coarsest.x + coarsest.y;
    const int largest[] = {3, 26, 30};
    const double mean[] = {0.1, 0.8, 1.05}, meanOfWords[] = {0.4, 1.5, 1.8};
    return bytes == 2 ? Loss{largest[halved] + 8, meanOfWords[halved]} : Loss{largest[halved], mean[halved]};
}

template <class Format, class Layout, class ToYCbCr, class ToRgb>
void checkRoundTrip(const Image& rgb, const char* name, Layout /*layout*/, Sampling sampling, ToYCbCr toYCbCr,
                    ToRgb toRgb)
{
    constexpr uint32_t kRow = kWidth * Format::kBytes;
    Image there(size_t{kRow} * kHeight), back(there.size()), before(rgb.size()), after(rgb.size());
    Format::kPack(rgb.data(), kWidth, kHeight, kWidth * 3, there.data(), kRow);
    Frame frame;
    const auto strides = Layout::strides(sampling.columns(kWidth));
    std::apply(toYCbCr,
               std::tuple_cat(std::tuple(there.data(), kWidth, kHeight, kRow), Layout::planes(frame), strides));
    std::apply(toRgb, std::tuple_cat(Layout::planes(frame), std::tuple(kWidth, kHeight), strides,
                                     std::tuple(back.data(), kRow)));
    Format::kUnpack(there.data(), kWidth, kHeight, kRow, before.data(), kWidth * 3);
    Format::kUnpack(back.data(), kWidth, kHeight, kRow, after.data(), kWidth * 3);
    const Loss limit = allowed(sampling, Format::kBytes), loss = lossOf(before, after);
    EXPECT_LE(loss.largest, limit.largest) << name;
    EXPECT_LT(loss.mean, limit.mean) << name;
}

// From RGB to one layout, on to another and back.
template <class From, class To, class ToFrom, class Convert, class ToRgb>
void checkDetour(const Image& rgb, const char* name, Sampling from, Sampling to, ToFrom toFrom, Convert convert,
                 ToRgb toRgb)
{
    Frame first, second;
    Image back(rgb.size());
    const std::tuple size(kWidth, kHeight);
    const auto fromStrides = From::strides(from.columns(kWidth));
    const auto toStrides = To::strides(to.columns(kWidth));
    std::apply(toFrom,
               std::tuple_cat(std::tuple(rgb.data(), kWidth, kHeight, kWidth * 3), From::planes(first), fromStrides));
    std::apply(convert, std::tuple_cat(From::planes(first), size, fromStrides, To::planes(second), toStrides));
    std::apply(toRgb, std::tuple_cat(To::planes(second), size, toStrides, std::tuple(back.data(), kWidth * 3)));
    const Loss limit = allowed({std::max(from.x, to.x), std::max(from.y, to.y)}, 3), loss = lossOf(rgb, back);
    EXPECT_LE(loss.largest, limit.largest) << name;
    EXPECT_LT(loss.mean, limit.mean) << name;
}

TEST(ColorRoundTrip, PhotographsComeBackFromEveryLayout)
{
    const Image rgb = photograph();
#define CHECK_ROUND_TRIP(format, sampling, layout)                                    \
    checkRoundTrip<format>(rgb, #format " " #sampling #layout, layout(), k##sampling, \
                           vsrColor##format##ToYCbCr##sampling##layout##u8C,          \
                           vsrColorYCbCr##sampling##layout##To##format##u8C);
    VSR_COLOR_TO_YCBCR(CHECK_ROUND_TRIP)
#define CHECK_DETOUR(from, source, to, destination)                                                           \
    checkDetour<source, destination>(                                                                         \
        rgb, #from #source " to " #to #destination, k##from, k##to, vsrColorRGB888ToYCbCr##from##source##u8C, \
        vsrColorYCbCr##from##source##ToYCbCr##to##destination##u8C, vsrColorYCbCr##to##destination##ToRGB888u8C);
    VSR_COLOR_LAYOUTS(CHECK_DETOUR)
}

}  // namespace
}  // namespace visora::test
