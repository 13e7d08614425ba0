// Operations on single elements: known answers by independent judges.
#include "visora/element.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

#include "support/floats.h"
#include "support/instruction_sets.h"
#include "visora/variants/arithmetic.h"

namespace visora::test
{
namespace
{

double limited(double value, double low, double high)
{
    return std::min(std::max(value, low), high);
}

// Half up, as a real number.
double roundedHalfUp(double value)
{
    return std::floor(value + 0.5);
}

// An operation with something between its sources and its destination, as one without.
template <auto operation, auto... between>
vsrStatus given(const uint8_t* a, uint32_t w, uint32_t h, uint32_t aStride, const uint8_t* b, uint32_t bStride,
                uint8_t* dst, uint32_t dstStride)
{
    return operation(a, w, h, aStride, b, bStride, between..., dst, dstStride);
}

const struct
{
    const char* name;
    decltype(vsrAddu8)* run;
    double (*judge)(int, int);
} kByteJudges[] = {
    {"absDiff", vsrAbsDiffu8_v2, [](int a, int b) { return std::fabs(a - b); }},
    {"add", vsrAddu8, [](int a, int b) { return limited(a + b, 0, 255); }},
    {"min", vsrMinu8, [](int a, int b) { return a < b ? double(a) : double(b); }},
    {"max", vsrMaxu8, [](int a, int b) { return a < b ? double(b) : double(a); }},
    {"quotient", given<vsrElementDivu8, 100>,
     [](int a, int b) { return b == 0 ? 0 : limited(std::nearbyint(100.0 * a / b), 0, 255); }},
    // De Morgan, with a mask that lets all pass.
    {"and", given<vsrBitwiseAndu8, nullptr, 0U>, [](int a, int b) { return double(255 - ((255 - a) | (255 - b))); }},
    {"or", given<vsrBitwiseOru8, nullptr, 0U>, [](int a, int b) { return double(a + b - (a & b)); }},
    {"xor", given<vsrBitwiseXoru8, nullptr, 0U>, [](int a, int b) { return double((a | b) - (a & b)); }},
};

TEST(Element, BytesAreRightForEveryPair)
{
    // Columns count one operand, rows the other.
    std::vector<uint8_t> columns(65536);
    std::vector<uint8_t> rows(65536);
    std::iota(columns.begin(), columns.end(), uint8_t{0});
    std::generate(rows.begin(), rows.end(), [i = 0]() mutable { return static_cast<uint8_t>(i++ / 256); });
    for (const auto& operation : kByteJudges)
    {
        std::vector<uint8_t> dst(65536);
        ASSERT_EQ(0U, operation.run(columns.data(), 256, 256, 0, rows.data(), 0, dst.data(), 0));
        for (int i = 0; i < 65536; ++i)
        {
            ASSERT_EQ(operation.judge(i % 256, i / 256), dst[static_cast<size_t>(i)])
                << operation.name << " " << i % 256 << " " << i / 256;
        }
    }
}

TEST(Element, EveryNumberOf16BitsIsShiftedLimitedAndNarrowed)
{
    std::vector<int16_t> src(65536);
    std::iota(src.begin(), src.end(), INT16_MIN);
    std::vector<int16_t> dst(src.size());
    for (int shift = -15; shift <= 15; ++shift)
    {
        ASSERT_EQ(0U, vsrBitShifts16(src.data(), 256, 256, 0, shift, dst.data(), 0));
        std::vector<uint8_t> saturated(src.size());
        std::vector<uint8_t> wrapped(src.size());
        if (shift <= 0)
        {
            const auto right = static_cast<uint32_t>(-shift);
            vsrConverts16u8(src.data(), 256, 256, 0, right, VISORA_OVERFLOW_SATURATE, saturated.data(), 0);
            vsrConverts16u8(src.data(), 256, 256, 0, right, VISORA_OVERFLOW_WRAP, wrapped.data(), 0);
        }
        for (size_t i = 0; i < src.size(); ++i)
        {
            const double exact = roundedHalfUp(std::ldexp(src[i], shift));
            ASSERT_EQ(limited(exact, INT16_MIN, INT16_MAX), dst[i]) << src[i] << " " << shift;
            if (shift <= 0)
            {
                ASSERT_EQ(limited(exact, 0, 255), saturated[i]) << src[i] << " " << shift;
                ASSERT_EQ(exact - 256 * std::floor(exact / 256), wrapped[i]) << src[i] << " " << shift;
            }
        }
    }
}

TEST(Element, ProductsAndSumsOf16BitsAreRoundedAndLimited)
{
    Random random(1);
    std::vector<int16_t> a(4096);
    std::vector<int16_t> b(4096);
    for (size_t i = 0; i < a.size(); ++i)
    {
        a[i] = random.oneIn(4) ? int16_t{INT16_MIN} : static_cast<int16_t>(random.next());
        b[i] = random.oneIn(4) ? int16_t{INT16_MIN} : static_cast<int16_t>(random.next());
    }
    std::vector<int16_t> dst(a.size());
    for (uint32_t shift = 0; shift <= 30; ++shift)
    {
        ASSERT_EQ(0U, vsrElementMuls16(a.data(), 64, 64, 0, b.data(), 0, shift, dst.data(), 0));
        for (size_t i = 0; i < a.size(); ++i)
        {
            const double exact = std::ldexp(double{a[i] * 1.0} * b[i], -static_cast<int>(shift));
            ASSERT_EQ(limited(roundedHalfUp(exact), INT16_MIN, INT16_MAX), dst[i]) << a[i] << " " << b[i];
        }
    }
    vsrAdds16(a.data(), 64, 64, 0, b.data(), 0, VISORA_OVERFLOW_WRAP, dst.data(), 0);
    for (size_t i = 0; i < a.size(); ++i)
    {
        ASSERT_EQ(0, (a[i] + b[i] - dst[i]) % 65536);
    }
}

TEST(Element, SpecialFloatsBehaveAsTold)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const float nan = std::bit_cast<float>(0xFFC00123U);
    const float a[] = {nan, kInfinity, -0.0F, 5, 1};
    const float b[] = {1, kInfinity, 0.0F, 0, -0.0F};
    const auto bits = [](const float(&values)[5])
    {
        std::array<uint32_t, 5> result;
        std::transform(values, values + 5, result.begin(), [](float v) { return std::bit_cast<uint32_t>(v); });
        return result;
    };
    float dst[5];
    vsrAbsDifff32(a, 5, 1, b, dst);
    EXPECT_EQ((std::array<uint32_t, 5>{0x7FC00000, 0x7FC00000, 0, 0x40A00000, 0x3F800000}), bits(dst));
    vsrElementDivf32(a, 5, 1, 0, b, 0, 2, dst, 0);
    EXPECT_EQ((std::array<uint32_t, 5>{0x7FC00000, 0x7FC00000, 0, 0, 0}), bits(dst));
    vsrAbsf32(a, 5, 1, 0, dst, 0);
    EXPECT_EQ((std::array<uint32_t, 5>{0x7FC00123, 0x7F800000, 0, 0x40A00000, 0x3F800000}), bits(dst));
    vsrClampf32(a, 5, 1, 0, 0.0F, 4, dst, 0);
    EXPECT_EQ((std::array<uint32_t, 5>{0, 0x40800000, 0, 0x40800000, 0x3F800000}), bits(dst));
    uint8_t bytes[5];
    vsrConvertf32u8(a, 5, 1, 0, 0.5F, 0, bytes, 0);
    EXPECT_EQ((std::vector<uint8_t>{0, 255, 0, 2, 0}), std::vector<uint8_t>(bytes, bytes + 5));
}

// ---- Polar coordinates ----

TEST(Element, IntegerPolarCoordinatesAreTheNearest)
{
    std::vector<int16_t> xs;
    std::vector<int16_t> ys;
    const auto add = [&](int x, int y)
    {
        xs.push_back(static_cast<int16_t>(x));
        ys.push_back(static_cast<int16_t>(y));
    };
    for (int y = -150; y <= 150; ++y)
    {
        for (int x = -150; x <= 150; ++x)
        {
            add(x, y);
            add(x * 218, y * 218 + x % 3);
        }
    }
    add(INT16_MIN, INT16_MIN);
    add(INT16_MIN, INT16_MAX);
    add(0, INT16_MIN);
    const auto count = static_cast<uint32_t>(xs.size());
    std::vector<uint16_t> magnitude(count);
    std::vector<uint8_t> angle(count);
    ASSERT_EQ(0U, vsrCartToPolars16(xs.data(), count, 1, 0, ys.data(), 0, magnitude.data(), 0, angle.data(), 0));
    for (size_t i = 0; i < count; ++i)
    {
        ASSERT_EQ(std::lround(std::hypot(double{xs[i] * 1.0}, ys[i])), magnitude[i]) << xs[i] << " " << ys[i];
        double exact = std::atan2(double{ys[i] * 1.0}, xs[i]) * 128 / std::numbers::pi;
        exact = exact < 0 ? exact + 256 : exact;
        const double off = std::fabs(exact - angle[i]);
        ASSERT_LT(std::min(off, 256 - off), 0.5 + 2e-5 * 128 / std::numbers::pi) << xs[i] << " " << ys[i];
    }
}

TEST(Element, FloatPolarCoordinatesAreNearTheTrueOnes)
{
    Random random(3);
    std::vector<float> xs(20000);
    std::vector<float> ys(xs.size());
    for (size_t i = 0; i < xs.size(); ++i)
    {
        xs[i] = someFloat(random, false);
        ys[i] = someFloat(random, false) * (random.oneIn(2) ? 1.0F : 0.001F);
    }
    std::vector<float> magnitude(xs.size());
    std::vector<float> angle(xs.size());
    vsrCartToPolarf32(xs.data(), 20000, 1, 0, ys.data(), 0, magnitude.data(), 0, angle.data(), 0);
    for (size_t i = 0; i < xs.size(); ++i)
    {
        const double length = std::hypot(double{xs[i]}, double{ys[i]});
        ASSERT_NEAR(length, magnitude[i], length * 2e-7);
        ASSERT_GE(angle[i], 0);
        ASSERT_LT(angle[i], static_cast<float>(2 * std::numbers::pi));
        const double off =
            std::fabs(std::remainder(angle[i] - std::atan2(double{ys[i]}, double{xs[i]}), 2 * std::numbers::pi));
        ASSERT_LT(off, 9e-7) << xs[i] << " " << ys[i];
    }
    const float axis[] = {0, -1, 0, -0.0F, NAN, std::numeric_limits<float>::infinity()};
    const float other[] = {0, -0.0F, -2, 1, 1, NAN};
    vsrCartToPolarf32(axis, 6, 1, 0, other, 0, magnitude.data(), 0, angle.data(), 0);
    EXPECT_EQ(0, angle[0]);
    EXPECT_EQ(0x1.921fb6p+1F, angle[1]);
    EXPECT_FLOAT_EQ(static_cast<float>(1.5 * std::numbers::pi), angle[2]);
    EXPECT_EQ(0x1.921fb6p+0F, angle[3]);
    for (const size_t i : {size_t{4}, size_t{5}})
    {
        EXPECT_EQ(0x7FC00000U, std::bit_cast<uint32_t>(magnitude[i]));
        EXPECT_EQ(0x7FC00000U, std::bit_cast<uint32_t>(angle[i]));
    }
}

// ---- Whole images ----

TEST(Element, RangesAreStretchedBetweenSortedPixels)
{
    Random random(5);
    for (int round = 0; round < 50; ++round)
    {
        std::vector<uint8_t> src(1 + random.between(0, 300));
        const uint32_t spread = random.between(0, 255);
        std::generate(src.begin(), src.end(), [&] { return static_cast<uint8_t>(random.between(0, spread)); });
        std::vector<uint8_t> sorted = src;
        std::sort(sorted.begin(), sorted.end());
        const uint32_t lowPermille = random.between(0, 500);
        const uint32_t highPermille = random.between(500, 1000);
        const int lo = sorted[(sorted.size() - 1) * lowPermille / 1000];
        const int hi = sorted[(sorted.size() - 1) * highPermille / 1000];
        std::vector<uint8_t> dst(src.size());
        ASSERT_EQ(0U, vsrNormalizeRangeu8(src.data(), static_cast<uint32_t>(src.size()), 1, 0, lowPermille,
                                          highPermille, 10, 250, dst.data(), 0));
        for (size_t i = 0; i < src.size(); ++i)
        {
            const double exact = src[i] <= lo   ? 10
                                 : src[i] >= hi ? 250
                                                : 10 + roundedHalfUp(240.0 * (src[i] - lo) / (hi - lo));
            ASSERT_EQ(exact, dst[i]);
        }
    }
}

// The place among 0 .. size - 1 that stands for place i: the nearest, or where it arrives by turns about the ends.
int placeFor(vsrBorderType type, int i, int size)
{
    while (type == VISORA_BORDER_MIRROR && size > 1 && (i < 0 || i >= size))
    {
        i = i < 0 ? -i : 2 * (size - 1) - i;
    }
    return std::clamp(i, 0, size - 1);
}

TEST(Element, FramesContinueThePicture)
{
    for (const int border : {1, 3, 7})
    {
        for (const auto& [w, h] : {std::pair(1, 1), std::pair(2, 3), std::pair(5, 1), std::pair(12, 9)})
        {
            for (vsrBorderType type = 0; type <= VISORA_BORDER_MIRROR; ++type)
            {
                const int width = w + 2 * border;
                std::vector<uint8_t> dst(static_cast<size_t>(width) * static_cast<size_t>(h + 2 * border));
                std::iota(dst.begin(), dst.end(), uint8_t{1});
                const std::vector<uint8_t> before = dst;
                ASSERT_EQ(
                    0U, vsrSetBorderu8(dst.data(), static_cast<uint32_t>(width), static_cast<uint32_t>(h + 2 * border),
                                       0, static_cast<uint32_t>(border), type, 99));
                for (int i = 0; i < static_cast<int>(dst.size()); ++i)
                {
                    const int x = i % width - border;
                    const int y = i / width - border;
                    const bool isInside = x >= 0 && x < w && y >= 0 && y < h;
                    const int from = (placeFor(type, y, h) + border) * width + placeFor(type, x, w) + border;
                    ASSERT_EQ(type == VISORA_BORDER_CONSTANT && !isInside ? 99 : before[static_cast<size_t>(from)],
                              dst[static_cast<size_t>(i)])
                        << type << " " << x << " " << y;
                }
            }
        }
    }
}

TEST(Element, BitMasksBeginWithTheHighestBit)
{
    const uint8_t bytes[] = {1, 0, 0, 0, 0, 0, 0, 255, 0, 7, 0};
    uint8_t bits[2] = {};
    ASSERT_EQ(0U, vsrBitMaskPacku8(bytes, 11, 1, 0, bits, 0));
    EXPECT_EQ(0x81, bits[0]);
    EXPECT_EQ(0x40, bits[1]);
    uint8_t back[11];
    bits[1] |= 0x1F;  // behind the last pixel
    ASSERT_EQ(0U, vsrBitMaskUnpacku8(bits, 11, 1, 0, back, 0));
    for (size_t i = 0; i < 11; ++i)
    {
        EXPECT_EQ(bytes[i] != 0 ? 255 : 0, back[i]);
    }
}

TEST(Element, ChannelsMayBeSubtractedInPlace)
{
    constexpr uint8_t kValues[] = {5, 70, 255};
    for (const int64_t set : instructionSets())
    {
        const UseInstructionSet use(set);
        for (uint32_t width = 1; width < 300; width += 1 + width / 8)
        {
            std::vector<uint8_t> image(size_t{width} * 6);
            std::iota(image.begin(), image.end(), uint8_t{0});
            vsrSubtractu8V(image.data(), width, 2, width * 3, 3, kValues, image.data(), width * 3);
            for (size_t i = 0; i < image.size(); ++i)
            {
                ASSERT_EQ(std::max(0, static_cast<int>(i % 256) - kValues[i % 3]), image[i]) << width << " " << i;
            }
        }
    }
}

}  // namespace
}  // namespace visora::test
