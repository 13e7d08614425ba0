// The binomial Gaussians against their definition, worked out window by window, and known answers.
#include <gtest/gtest.h>

#include <limits>

#include "support/images.h"
#include "visora/variants/filter.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kWindow3x3[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};

TEST(GaussianTables, AreOuterProductsOfBinomialCoefficients)
{
    const uint32_t five[] = {1, 4, 6, 4, 1};
    const uint32_t eleven[] = {1, 10, 45, 120, 210, 252, 210, 120, 45, 10, 1};
    for (uint32_t i = 0; i < 121; ++i)
    {
        EXPECT_EQ(eleven[i / 11] * eleven[i % 11], knl11x11[i]) << i;
        if (i < 25)
        {
            EXPECT_EQ(five[i / 5] * five[i % 5], knl5x5[i]) << i;
        }
    }
}

template <class T>
struct Gaussian
{
    using Kernel = vsrStatus (*)(const T*, uint32_t, uint32_t, uint32_t, T*, uint32_t, int32_t);
    const char* name;
    Kernel reference;
    Kernel vector;
    const uint32_t* weights;
    uint32_t size;
    int shift;

    std::vector<T> filter(Kernel kernel, const std::vector<T>& src, uint32_t width, int32_t flag) const
    {
        std::vector<T> dst(src.size(), 77);
        const auto stride = static_cast<uint32_t>(width * sizeof(T));
        EXPECT_EQ(
            0u, kernel(src.data(), width, static_cast<uint32_t>(src.size() / width), stride, dst.data(), stride, flag));
        return dst;
    }
};

#define GAUSSIAN(operation) #operation, operation##C, operation##V

template <class Visit>
void forEachGaussian(Visit visit)
{
    visit(Gaussian<uint8_t>{GAUSSIAN(vsrFilterGaussian3x3u8), kWindow3x3, 3, 4});
    visit(Gaussian<uint8_t>{GAUSSIAN(vsrFilterGaussian5x5u8), knl5x5, 5, 8});
    visit(Gaussian<int16_t>{GAUSSIAN(vsrFilterGaussian5x5s16), knl5x5, 5, 8});
    visit(Gaussian<int32_t>{GAUSSIAN(vsrFilterGaussian5x5s32), knl5x5, 5, 8});
    visit(Gaussian<uint8_t>{GAUSSIAN(vsrFilterGaussian11x11u8), knl11x11, 11, 20});
}

// Sums are modulo 2^32. Pixels that are not there do not weigh; only with all of them is the mean a shift.
template <class T>
T weightedMean(const Window<T>& window, const uint32_t* weights, int shift)
{
    uint32_t sum = 0;
    uint32_t weight = 0;
    for (size_t i = 0; i < window.size(); ++i)
    {
        sum += window[i] ? weights[i] * static_cast<uint32_t>(*window[i]) : 0;
        weight += window[i] ? weights[i] : 0;
    }
    const int64_t wide = static_cast<int32_t>(sum);
    return static_cast<T>(weight == 1u << shift ? wide >> shift : wide / weight);
}

// Every flag on sizes from the smallest that the kernel takes, many of them without any interior; every third image
// has the smallest or the largest pixels only.
TEST(Gaussian, IsTheWeightedMeanOfTheWindow)
{
    const auto check = []<class T>(const Gaussian<T>& gaussian)
    {
        Random random(gaussian.size);
        for (uint32_t round = 0; round < 150; ++round)
        {
            const uint32_t width = random.between(gaussian.size == 3 ? 2 : 1, 48);
            std::vector<T> src = randomPixels<T>(width * random.between(1, 20), round);
            if (round % 3 == 0)
            {
                using Limits = std::numeric_limits<T>;
                src.assign(src.size(), round % 2 ? Limits::min() : Limits::max());
            }
            const int32_t flag = static_cast<int32_t>(random.between(0, 3)) - 1;
            const auto mean = [&](const Window<T>& window)
            {
                const bool whole = std::find(window.begin(), window.end(), std::nullopt) == window.end();
                return whole || flag == 1 ? weightedMean(window, gaussian.weights, gaussian.shift) : T{77};
            };
            const auto expected =
                filterWindows(src, width, gaussian.size, gaussian.size, VISORA_BORDER_UNDEFINED, 0, mean);
            for (const auto kernel : {gaussian.reference, gaussian.vector})
            {
                ASSERT_EQ(expected, gaussian.filter(kernel, src, width, flag))
                    << gaussian.name << " width " << width << " round " << round << " flag " << flag;
            }
        }
    };
    forEachGaussian(check);
}

TEST(Gaussian, BorderTypesOf3x3FillTheWindow)
{
    Random random(9);
    for (uint32_t round = 0; round < 100; ++round)
    {
        const uint32_t width = random.between(2, 20), height = random.between(1, 10);
        const Image src = randomPixels(size_t{width} * height, round);
        const auto value = static_cast<uint8_t>(random.next());
        for (vsrBorderType type = 0; type <= VISORA_BORDER_REPLICATE; ++type)
        {
            const auto mean = [](const Window<uint8_t>& window) { return weightedMean(window, kWindow3x3, 4); };
            Image dst(src.size());
            ASSERT_EQ(0u, vsrFilterGaussian3x3u8_v3(src.data(), width, height, 0, dst.data(), 0, type, value));
            ASSERT_EQ(filterWindows(src, width, 3, 3, type, value, mean), dst)
                << width << "x" << height << " type " << type;
        }
    }
}

TEST(Gaussian, TruncatesAndNormalisesByHand)
{
    // 3x3 of 7 columns. Interior: 4 * 15 >> 4 = 3 (rounding would give 4); beside it 2 * 15 >> 4 and 15 >> 4.
    Image src(21, 0);
    src[7 + 2] = 15;
    Image dst(21, 99);
    EXPECT_EQ(0u, vsrFilterGaussian3x3u8(src.data(), 7, 3, dst.data(), 1));
    EXPECT_EQ((Image{0, 1, 2, 1, 0, 0, 0,  // / 12: 15, 30, 15
                     0, 1, 3, 1, 0, 0, 0,  //
                     0, 1, 2, 1, 0, 0, 0}),
              dst);
    // White beside a border of black.
    const Image white(21, 255);
    EXPECT_EQ(0u, vsrFilterGaussian3x3u8_v3(white.data(), 7, 3, 0, dst.data(), 0, VISORA_BORDER_CONSTANT, 0));
    EXPECT_EQ((std::vector{143, 191, 255}), (std::vector<int>{dst[0], dst[1], dst[8]}));
    // -1 >> 8 inside, -36 / 121 in the corner.
    std::vector<int16_t> one(25), words(25);
    one[0] = -1;
    EXPECT_EQ(0u, vsrFilterGaussian5x5s16(one.data(), 5, 5, words.data(), 1));
    EXPECT_EQ(std::pair(0, -1), std::pair(int{words[0]}, int{words[12]}));
}

TEST(Gaussian, SumsOfS32Wrap)
{
    struct Case
    {
        int32_t pixels, corner, centre;
    };
    constexpr int32_t k23 = 1 << 23, k24 = 1 << 24, k25 = 1 << 25;
    // 121 * 2^25 is beyond 31 bits: 121 * 2^25 - 2^32 = -7 * 2^25.
    for (const auto& [pixels, corner, centre] :
         {Case{k23 - 1, k23 - 1, k23 - 1}, {k23, k23, -k23}, {k24, k24, 0}, {k25, -7 * k25 / 121, 0}})
    {
        const std::vector<int32_t> src(25, pixels);
        std::vector<int32_t> dst(25, 50);
        EXPECT_EQ(0u, vsrFilterGaussian5x5s32(src.data(), 5, 5, dst.data(), 1));
        EXPECT_EQ(std::pair(corner, centre), std::pair(dst[0], dst[12])) << pixels;
    }
}

TEST(Gaussian, AByteStrideIsCutToWholeElements)
{
    const auto src = randomPixels<int16_t>(48, 4);
    std::vector<int16_t> expected(48, 3);
    std::vector<int16_t> dst = expected;
    vsrFilterGaussian5x5s16_v2(src.data(), 6, 6, 16, expected.data(), 14, 1);
    vsrFilterGaussian5x5s16_v2(src.data(), 6, 6, 17, dst.data(), 15, 1);
    EXPECT_EQ(expected, dst);
}

// Images of several tiles, which the sizes that the variants are compared at do not reach.
TEST(GaussianTiles, MeetWithoutASeam)
{
    const auto check = []<class T>(const Gaussian<T>& gaussian)
    {
        for (const uint32_t width :
             {1022u, 1023u, 1024u, 1025u, 1026u, 1029u, 1035u, 1087u, 1089u, 1098u, 2051u, 2100u})
        {
            const auto src = randomPixels<T>(size_t{width} * (30 + width % 7), width);
            for (const int32_t border : {0, 1})
            {
                EXPECT_TRUE(gaussian.filter(gaussian.reference, src, width, border) ==
                            gaussian.filter(gaussian.vector, src, width, border))
                    << gaussian.name << " width " << width << " border " << border;
            }
        }
    };
    forEachGaussian(check);
}

}  // namespace
}  // namespace visora::test
