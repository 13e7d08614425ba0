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

// Every pair of bytes, once: a is the column, b the row.
struct BytePairs
{
    std::vector<uint8_t> a = std::vector<uint8_t>(65536);
    std::vector<uint8_t> b = std::vector<uint8_t>(65536);

    BytePairs()
    {
        for (size_t i = 0; i < a.size(); ++i)
        {
            a[i] = static_cast<uint8_t>(i % 256);
            b[i] = static_cast<uint8_t>(i / 256);
        }
    }
};

struct ByteJudge
{
    const char* name;
    vsrStatus (*run)(const uint8_t*, uint32_t, uint32_t, uint32_t, const uint8_t*, uint32_t, uint8_t*, uint32_t);
    double (*judge)(int, int);
};

const ByteJudge kByteJudges[] = {
    {"absDiff", vsrAbsDiffu8_v2, [](int a, int b) { return std::fabs(a - b); }},
    {"add", vsrAddu8, [](int a, int b) { return limited(a + b, 0, 255); }},
    {"min", vsrMinu8, [](int a, int b) { return a < b ? double(a) : double(b); }},
    {"max", vsrMaxu8, [](int a, int b) { return a < b ? double(b) : double(a); }},
    {"quotient",
     [](const uint8_t* a, uint32_t w, uint32_t h, uint32_t as, const uint8_t* b, uint32_t bs, uint8_t* dst, uint32_t ds)
     { return vsrElementDivu8(a, w, h, as, b, bs, 100, dst, ds); },
     [](int a, int b) { return b == 0 ? 0 : limited(std::nearbyint(100.0 * a / b), 0, 255); }},
    // De Morgan, with a mask that lets all pass.
    {"and",
     [](const uint8_t* a, uint32_t w, uint32_t h, uint32_t as, const uint8_t* b, uint32_t bs, uint8_t* dst, uint32_t ds)
     { return vsrBitwiseAndu8(a, w, h, as, b, bs, nullptr, 0, dst, ds); },
     [](int a, int b) { return double(255 - ((255 - a) | (255 - b))); }},
    {"or",
     [](const uint8_t* a, uint32_t w, uint32_t h, uint32_t as, const uint8_t* b, uint32_t bs, uint8_t* dst, uint32_t ds)
     { return vsrBitwiseOru8(a, w, h, as, b, bs, nullptr, 0, dst, ds); },
     [](int a, int b) { return double(a + b - (a & b)); }},
    {"xor",
     [](const uint8_t* a, uint32_t w, uint32_t h, uint32_t as, const uint8_t* b, uint32_t bs, uint8_t* dst, uint32_t ds)
     { return vsrBitwiseXoru8(a, w, h, as, b, bs, nullptr, 0, dst, ds); },
     [](int a, int b) { return double((a | b) - (a & b)); }},
};

TEST(Element, BytesAreRightForEveryPair)
{
    const BytePairs pairs;
    for (const ByteJudge& operation : kByteJudges)
    {
        std::vector<uint8_t> dst(65536);
        ASSERT_EQ(0U, operation.run(pairs.a.data(), 256, 256, 0, pairs.b.data(), 0, dst.data(), 0));
        for (size_t i = 0; i < dst.size(); ++i)
        {
            ASSERT_EQ(operation.judge(pairs.a[i], pairs.b[i]), dst[i])
                << operation.name << " " << int{pairs.a[i]} << " " << int{pairs.b[i]};
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

TEST(Element, FramesContinueThePicture)
{
    for (const uint32_t border : {1U, 3U, 7U})
    {
        for (const auto& [w, h] : {std::pair(1U, 1U), std::pair(2U, 3U), std::pair(5U, 1U), std::pair(12U, 9U)})
        {
            for (vsrBorderType type = 0; type <= VISORA_BORDER_MIRROR; ++type)
            {
                const uint32_t width = w + 2 * border;
                const uint32_t height = h + 2 * border;
                std::vector<uint8_t> dst(size_t{width} * height);
                std::iota(dst.begin(), dst.end(), uint8_t{1});
                const std::vector<uint8_t> before = dst;
                ASSERT_EQ(0U, vsrSetBorderu8(dst.data(), width, height, 0, border, type, 99));
                // Walks from the picture's first pixel, turning at its ends.
                const auto walked = [&](uint32_t place, uint32_t size)
                {
                    const int steps = std::abs(static_cast<int>(place) - static_cast<int>(border));
                    int at = 0;
                    int direction = 1;
                    for (int i = 0; i < steps && size > 1; ++i)
                    {
                        at += direction;
                        direction = at == 0 ? 1 : at == static_cast<int>(size) - 1 ? -1 : direction;
                    }
                    return static_cast<uint32_t>(at) + border;
                };
                const auto nearest = [&](uint32_t place, uint32_t size)
                { return std::min(std::max(place, border), border + size - 1); };
                for (uint32_t y = 0; y < height; ++y)
                {
                    for (uint32_t x = 0; x < width; ++x)
                    {
                        const bool isMirror = type == VISORA_BORDER_MIRROR;
                        const size_t from = size_t{isMirror ? walked(y, h) : nearest(y, h)} * width +
                                            (isMirror ? walked(x, w) : nearest(x, w));
                        const bool isInside = nearest(y, h) == y && nearest(x, w) == x;
                        const uint8_t expected = type == VISORA_BORDER_CONSTANT && !isInside ? 99 : before[from];
                        ASSERT_EQ(expected, dst[y * width + x]) << type << " " << x << " " << y;
                    }
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

// ---- In place ----

// A call with all buffers given, and how many bytes an element of each has.
struct InPlaceCase
{
    const char* name;
    size_t elementBytes;
    std::function<void(const void* src1, const void* src2, void* dst, uint32_t width, uint32_t height)> run;
};

#define BINARY(operation, T, ...)                                                                 \
    InPlaceCase                                                                                   \
    {                                                                                             \
#operation, sizeof(T), [](const void* a, const void* b, void* dst, uint32_t w, uint32_t h) {    \
            const auto stride = static_cast<uint32_t>((w + 3) * sizeof(T));                             \
            operation##V(static_cast<const T*>(a), w, h, stride, static_cast<const T*>(b), stride,      \
                         __VA_ARGS__ __VA_OPT__(, ) static_cast<T*>(dst), stride);                      \
        } \
    }
#define UNARY(operation, T, ...)                                                                   \
    InPlaceCase                                                                                    \
    {                                                                                              \
#operation, sizeof(T), [](const void* a, const void* /*b*/, void* dst, uint32_t w, uint32_t h) { \
            const auto stride = static_cast<uint32_t>((w + 3) * sizeof(T));                             \
            operation##V(static_cast<const T*>(a), w, h, stride, __VA_ARGS__ __VA_OPT__(, )             \
                                                                     static_cast<T*>(dst), stride);     \
        } \
    }

TEST(Element, DestinationsMayBeSources)
{
    static const int16_t values[] = {5, -700, 32000};
    static const InPlaceCase cases[] = {
        BINARY(vsrAbsDiffs16, int16_t),
        BINARY(vsrAddu8, uint8_t),
        BINARY(vsrElementMuls16, int16_t, 9U),
        BINARY(vsrElementDivu8, uint8_t, 3.0F),
        BINARY(vsrElementDivf32, float, 3.0F),
        BINARY(vsrBitwiseXoru8, uint8_t, nullptr, 0),
        UNARY(vsrBitwiseNotu8, uint8_t),
        UNARY(vsrBitShifts16, int16_t, -3),
        UNARY(vsrNormalizeRangeu8, uint8_t, 10, 990, uint8_t{0}, uint8_t{255}),
        InPlaceCase{"vsrSubtracts16", 2,
                    [](const void* a, const void* /*b*/, void* dst, uint32_t w, uint32_t h)
                    {
                        vsrSubtracts16V(static_cast<const int16_t*>(a), w / 3, h, (w + 3) * 2, 3, values,
                                        static_cast<int16_t*>(dst), (w + 3) * 2);
                    }},
        InPlaceCase{"vsrCartToPolars16", 2,
                    [](const void* a, const void* b, void* dst, uint32_t w, uint32_t h)
                    {
                        std::vector<uint8_t> angle(size_t{w} * h);
                        vsrCartToPolars16V(static_cast<const int16_t*>(a), w, h, (w + 3) * 2,
                                           static_cast<const int16_t*>(b), (w + 3) * 2, static_cast<uint16_t*>(dst),
                                           (w + 3) * 2, angle.data(), w);
                    }},
    };
    for (const int64_t set : instructionSets())
    {
        const UseInstructionSet use(set);
        for (const InPlaceCase& operation : cases)
        {
            for (uint32_t width = 3; width < 300; width += 1 + width / 8)
            {
                Random random(width);
                std::vector<uint8_t> a((size_t{width} + 3) * 3 * operation.elementBytes);
                std::vector<uint8_t> b(a.size());
                std::generate(a.begin(), a.end(), [&] { return static_cast<uint8_t>(random.next()); });
                std::generate(b.begin(), b.end(), [&] { return static_cast<uint8_t>(random.next()); });
                std::vector<uint8_t> expected = a;
                operation.run(a.data(), b.data(), expected.data(), width, 3);
                std::vector<uint8_t> first = a;
                operation.run(first.data(), b.data(), first.data(), width, 3);
                ASSERT_TRUE(expected == first) << operation.name << " " << width;
                // What lies between the rows of the second source stays.
                expected = b;
                operation.run(a.data(), b.data(), expected.data(), width, 3);
                std::vector<uint8_t> second = b;
                operation.run(a.data(), second.data(), second.data(), width, 3);
                ASSERT_TRUE(expected == second) << operation.name << " " << width;
            }
        }
    }
}

}  // namespace
}  // namespace visora::test
