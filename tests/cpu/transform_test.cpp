// Transforms against their sums in double precision.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <limits>

#include "support/images.h"
#include "support/instruction_sets.h"
#include "visora/variants/statistics.h"

namespace visora::test
{
namespace
{

// ---- Block cosine transform ----

double basis(size_t k, size_t j)
{
    return (k == 0 ? std::sqrt(0.125) : 0.5) * std::cos(M_PI / 16 * static_cast<double>((2 * j + 1) * k));
}

TEST(BlockDct, IsTheOrthonormalTransformAndComesBack)
{
    for (uint64_t seed = 0; seed < 200; ++seed)
    {
        Image block = randomPixels(64, seed);
        if (seed % 2 != 0)
        {
            std::transform(block.begin(), block.end(), block.begin(),
                           [](uint8_t v) { return static_cast<uint8_t>(v < 128 ? 0 : 255); });
        }
        int16_t coefficients[64];
        ASSERT_EQ(0u, vsrDCTu8(block.data(), 8, 8, coefficients));
        for (size_t i = 0; i < 64; ++i)
        {
            double sum = 0;
            for (size_t p = 0; p < 64; ++p)
            {
                sum += basis(i / 8, p / 8) * basis(i % 8, p % 8) * block[p];
            }
            ASSERT_NEAR(sum, coefficients[i], 0.56) << seed << " " << i;
        }
        uint8_t back[64];
        ASSERT_EQ(0u, vsrIDCTs16u8(coefficients, 8, 8, back));
        for (size_t p = 0; p < 64; ++p)
        {
            ASSERT_NEAR(block[p], back[p], 1) << seed << " " << p;
        }
    }
}

// ---- Fourier transforms ----

using Value = std::complex<double>;

TEST(Fft, UsesTheNearestCosines)
{
    // Of an impulse at 1 the last stage alone makes values other than 0 and 1: its twiddle factors.
    constexpr uint32_t kLength = 65536;
    std::vector<float> impulse(kLength);
    impulse[1] = 1;
    std::vector<float> waves(2 * kLength);
    ASSERT_EQ(0u, vsrFFTf32(impulse.data(), kLength, 1, 0, VISORA_FFT_ROWS, waves.data(), 0));
    const long double turn = 2 * 3.14159265358979323846264338327950288L;
    for (uint32_t i = 0; i <= kLength / 4; ++i)
    {
        // The cosine of a right angle is not quite 0 here.
        const float nearest = i == kLength / 4 ? 0.0f : static_cast<float>(std::cos(turn * i / kLength));
        ASSERT_EQ(nearest, waves[2 * i]) << i;
        ASSERT_EQ(-nearest + 0.0f, waves[2 * (kLength / 4 - i) + 1]) << i;
    }
}

// The sum of the definition along one line of values.
std::vector<Value> lineSum(const std::vector<Value>& line, double sign)
{
    const size_t n = line.size();
    std::vector<Value> result(n);
    for (size_t k = 0; k < n; ++k)
    {
        for (size_t j = 0; j < n; ++j)
        {
            result[k] +=
                line[j] * std::polar(1.0, sign * 2 * M_PI * static_cast<double>(j * k % n) / static_cast<double>(n));
        }
    }
    return result;
}

std::vector<Value> judge(std::vector<Value> image, size_t width, bool columns, double sign)
{
    const size_t height = image.size() / width;
    for (size_t y = 0; y < height; ++y)
    {
        const std::vector<Value> row(image.begin() + static_cast<ptrdiff_t>(y * width),
                                     image.begin() + static_cast<ptrdiff_t>((y + 1) * width));
        const std::vector<Value> sums = lineSum(row, sign);
        std::copy(sums.begin(), sums.end(), image.begin() + static_cast<ptrdiff_t>(y * width));
    }
    for (size_t x = 0; columns && x < width; ++x)
    {
        std::vector<Value> column(height);
        for (size_t y = 0; y < height; ++y)
        {
            column[y] = image[y * width + x];
        }
        const std::vector<Value> sums = lineSum(column, sign);
        for (size_t y = 0; y < height; ++y)
        {
            image[y * width + x] = sums[y];
        }
    }
    return image;
}

// Root mean square of the differences over that of the values.
double relativeError(const std::vector<Value>& expected, const std::vector<float>& got, size_t step)
{
    double error = 0;
    double size = 0;
    for (size_t i = 0; i < expected.size(); ++i)
    {
        const Value value(got[step * i], step == 2 ? got[2 * i + 1] : 0);
        error += std::norm(value - (step == 2 ? expected[i] : Value(expected[i].real())));
        size += std::norm(expected[i]);
    }
    return std::sqrt(error / size);
}

struct FftShape
{
    uint32_t width, height, flags;
};

class FftAccuracy : public testing::TestWithParam<FftShape>
{
};

TEST_P(FftAccuracy, IsThatOfSinglePrecision)
{
    const auto [width, height, flags] = GetParam();
    const bool isComplex = (flags & VISORA_FFT_COMPLEX) != 0;
    std::vector<float> src(size_t{width} * height * (isComplex ? 2 : 1));
    Random random(width + height);
    std::generate(src.begin(), src.end(), [&] { return static_cast<float>(random.between(0, 2000)) / 1000 - 1; });
    std::vector<Value> values(size_t{width} * height);
    for (size_t i = 0; i < values.size(); ++i)
    {
        values[i] = isComplex ? Value(src[2 * i], src[2 * i + 1]) : Value(src[i]);
    }
    std::vector<float> dst(2 * values.size());
    ASSERT_EQ(0u, vsrFFTf32(src.data(), width, height, 0, flags, dst.data(), 0));
    EXPECT_LT(relativeError(judge(values, width, (flags & VISORA_FFT_ROWS) == 0, -1), dst, 2), 3e-7);
    if (isComplex && (flags & VISORA_FFT_ROWS) == 0)
    {
        std::vector<float> real(values.size());
        ASSERT_EQ(0u, vsrIFFTf32(src.data(), width, height, real.data()));
        std::vector<Value> expected = judge(values, width, true, 1);
        std::transform(expected.begin(), expected.end(), expected.begin(),
                       [&](Value v) { return v / static_cast<double>(values.size()); });
        EXPECT_LT(relativeError(expected, real, 1), 3e-7);
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, FftAccuracy,
                         testing::Values(FftShape{1, 1, 0}, FftShape{2, 8, VISORA_FFT_COMPLEX}, FftShape{64, 32, 0},
                                         FftShape{32, 64, VISORA_FFT_COMPLEX}, FftShape{512, 3, VISORA_FFT_ROWS},
                                         FftShape{1024, 2, VISORA_FFT_ROWS | VISORA_FFT_COMPLEX}));

// Lines that do not fit the nearest cache are transformed in parts, which the small images of other tests never are.
TEST(Fft, OfLongLinesIsTheSameByVectors)
{
    for (const auto& [width, height, flags] :
         {FftShape{4096, 2, VISORA_FFT_ROWS}, FftShape{1024, 17, VISORA_FFT_ROWS | VISORA_FFT_COMPLEX},
          FftShape{256, 3, VISORA_FFT_ROWS | VISORA_FFT_COMPLEX}, FftShape{512, 4, VISORA_FFT_COMPLEX},
          FftShape{16384, 2, VISORA_FFT_ROWS | VISORA_FFT_COMPLEX}, FftShape{64, 2048, 0},
          FftShape{4, 4096, VISORA_FFT_COMPLEX}})
    {
        std::vector<float> src(size_t{2} * width * height);
        Random random(width);
        std::generate(src.begin(), src.end(), [&] { return static_cast<float>(random.between(0, 2000)) / 512 - 2; });
        if ((flags & VISORA_FFT_ROWS) != 0)
        {
            // In one row; a factor of 0 would make a NaN of it.
            src[random.between(0, 2 * width - 1)] = std::numeric_limits<float>::infinity();
        }
        const uint32_t stride = (flags & VISORA_FFT_COMPLEX) != 0 ? 8 * width : 4 * width;
        std::vector<float> expected(src.size());
        ASSERT_EQ(0u, vsrFFTf32C(src.data(), width, height, stride, flags, expected.data(), 8 * width));
        for (const int64_t set : instructionSets())
        {
            const UseInstructionSet use(set);
            std::vector<float> found(src.size());
            ASSERT_EQ(0u, vsrFFTf32V(src.data(), width, height, stride, flags, found.data(), 8 * width));
            ASSERT_EQ(0, std::memcmp(expected.data(), found.data(), found.size() * sizeof(float)))
                << width << "x" << height << " " << hwy::TargetName(set);
        }
    }
}

TEST(Fft, TakesOnlyPowersOfTwoAndKnownFlags)
{
    std::vector<float> buffer(1024, 7.0f);
    std::vector<float> dst(1024, 5.0f);
    for (const FftShape& bad : {FftShape{12, 8, 0}, FftShape{8, 12, 0}, FftShape{8, 8, 4}, FftShape{12, 8, 2}})
    {
        EXPECT_EQ(VISORA_EBADPARAM, vsrFFTf32(buffer.data(), bad.width, bad.height, 0, bad.flags, dst.data(), 0));
    }
    EXPECT_EQ(5.0f, dst[0]);
    EXPECT_EQ(0u, vsrFFTf32(buffer.data(), 8, 12, 0, VISORA_FFT_ROWS, dst.data(), 0));
    // In place is for complex values only.
    EXPECT_EQ(VISORA_EBADPARAM, vsrFFTf32(buffer.data(), 8, 8, 64, 0, buffer.data(), 64));
    EXPECT_EQ(0u, vsrFFTf32(buffer.data(), 8, 8, 64, VISORA_FFT_COMPLEX, buffer.data(), 64));
}

}  // namespace
}  // namespace visora::test
