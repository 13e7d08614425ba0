// Binary descriptors, Hamming distances and dot products: known answers and what they are for.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "cpu/descriptor/visoraBrief.h"
#include "support/entry_point.h"
#include "support/random.h"
#include "visora/variants/corner.h"

namespace visora::test
{
namespace
{

// ---- Binary descriptors ----

// As in PNG.
uint32_t crc32(const std::vector<uint8_t>& bytes)
{
    uint32_t crc = 0xffffffff;
    for (const uint8_t byte : bytes)
    {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
        {
            crc = crc >> 1 ^ (crc & 1 ? 0xedb88320 : 0);
        }
    }
    return ~crc;
}

TEST(Brief, PatternIsTheOneThatWasDrawn)
{
    std::vector<uint8_t> bytes;
    for (const BriefPair& pair : kBriefPattern)
    {
        for (const int8_t place : {pair.px, pair.py, pair.qx, pair.qy})
        {
            bytes.push_back(static_cast<uint8_t>(place));
        }
    }
    EXPECT_EQ(0x7f0521d9u, crc32(bytes));
}

std::vector<uint8_t> noise(uint32_t side, uint64_t seed)
{
    Random random(seed);
    std::vector<uint8_t> pixels(size_t{side} * side);
    std::generate(pixels.begin(), pixels.end(), [&] { return static_cast<uint8_t>(random.next()); });
    return pixels;
}

// A quarter turn of the picture and of the angle leaves a turned descriptor as it is; so does any turn of the picture
// without an angle.
TEST(Brief, TurnsWithThePicture)
{
    constexpr uint32_t kSide = 31;
    const std::vector<uint8_t> picture = noise(kSide, 1);
    const uint32_t middle[2] = {15, 15};
    std::vector<uint8_t> turned = picture;
    uint8_t upright[32];
    uint8_t centroid[32];
    vsrBriefDescribeu8(picture.data(), kSide, kSide, 0, middle, 1, upright, 0);
    vsrBriefDescribeRotatedu8(picture.data(), kSide, kSide, 0, middle, 1, nullptr, centroid, 0);
    for (int quarter = 0; quarter < 8; ++quarter)
    {
        const float angle = static_cast<float>(quarter * 90);
        uint8_t descriptor[32];
        vsrBriefDescribeRotatedu8(turned.data(), kSide, kSide, 0, middle, 1, &angle, descriptor, 0);
        EXPECT_EQ(0, std::memcmp(upright, descriptor, 32)) << quarter;
        vsrBriefDescribeRotatedu8(turned.data(), kSide, kSide, 0, middle, 1, nullptr, descriptor, 0);
        uint32_t distance = 0;
        vsrHammingBits256u8(centroid, descriptor, &distance);
        EXPECT_LE(distance, 4u) << quarter;  // of places that lie between pixels
        std::vector<uint8_t> next(turned.size());
        for (uint32_t y = 0; y < kSide; ++y)
        {
            for (uint32_t x = 0; x < kSide; ++x)
            {
                // What is along x comes to lie along y.
                next[x * kSide + (kSide - 1 - y)] = turned[y * kSide + x];
            }
        }
        turned = next;
    }
}

TEST(Brief, IsOfDarkAndLightWindows)
{
    // Brighter to the right: a window is darker the further left it lies.
    constexpr uint32_t kSide = 40;
    std::vector<uint8_t> ramp(kSide * kSide);
    for (size_t i = 0; i < ramp.size(); ++i)
    {
        ramp[i] = static_cast<uint8_t>(i % kSide);
    }
    const uint32_t xy[] = {20, 20, 14, 20, 20, 14, 25, 20, 20, 25, 24, 24, 15, 15, UINT32_MAX, 20};
    std::vector<uint8_t> descriptors(8 * 32, 0xaa);
    ASSERT_EQ(0u, vsrBriefDescribeu8(ramp.data(), kSide, kSide, 0, xy, 8, descriptors.data(), 0));
    for (size_t point = 0; point < 8; ++point)
    {
        const bool isInside = point == 0 || point == 5 || point == 6;
        for (size_t k = 0; k < kBriefPairs; ++k)
        {
            const bool bit = (descriptors[32 * point + k / 8] >> (k % 8) & 1) != 0;
            EXPECT_EQ(isInside && kBriefPattern[k].px < kBriefPattern[k].qx, bit) << point << " " << k;
        }
    }
}

// ---- Hamming distances ----

struct Found
{
    std::vector<uint32_t> indices, distances;

    bool operator==(const Found&) const = default;
};

// Strings of four bytes, of which many are equally near.
TEST(Hamming, NearestAreTheFirstOfTheSortedDistances)
{
    Random random(3);
    for (int round = 0; round < 50; ++round)
    {
        const uint32_t queries = random.between(0, 20);
        const uint32_t count = random.between(0, 30);
        std::vector<uint32_t> q(queries + 1);
        std::vector<uint32_t> v(count + 1);
        std::generate(q.begin(), q.end(), [&] { return random.between(0, 255); });
        std::generate(v.begin(), v.end(), [&] { return random.between(0, 255); });
        const auto* qBytes = reinterpret_cast<const uint8_t*>(q.data());
        const auto* vBytes = reinterpret_cast<const uint8_t*>(v.data());
        const auto distanceOf = [&](uint32_t a, uint32_t b) { return static_cast<uint32_t>(std::popcount(a ^ b)); };
        // The key of the nearest of a list, as distance and index.
        const auto keys = [&](uint32_t one, const std::vector<uint32_t>& others, uint32_t otherCount)
        {
            std::vector<uint64_t> all;
            for (uint32_t i = 0; i < otherCount; ++i)
            {
                all.push_back(uint64_t{distanceOf(one, others[i])} << 32 | i);
            }
            std::sort(all.begin(), all.end());
            all.resize(otherCount + 2, UINT64_MAX);
            return all;
        };
        Found one = {std::vector<uint32_t>(queries), std::vector<uint32_t>(queries)};
        Found mutual = one;
        Found two = {std::vector<uint32_t>(2 * queries + 1), std::vector<uint32_t>(2 * queries + 1)};
        std::vector<uint32_t> within(queries * 3 + 1, 77);
        std::vector<uint32_t> counts(queries + 1);
        one.indices.reserve(1);
        one.distances.reserve(1);
        mutual.indices.reserve(1);
        mutual.distances.reserve(1);
        EXPECT_EQ(0u, vsrHammingNearestu8(qBytes, 4, queries, 0, vBytes, count, 0, 0, one.indices.data(),
                                          one.distances.data()));
        EXPECT_EQ(0u, vsrHammingNearestu8(qBytes, 4, queries, 0, vBytes, count, 0, 1, mutual.indices.data(),
                                          mutual.distances.data()));
        EXPECT_EQ(0u, vsrHammingNearest2u8(qBytes, 4, queries, 0, vBytes, count, 0, two.indices.data(),
                                           two.distances.data()));
        EXPECT_EQ(0u, vsrHammingWithinu8(qBytes, 4, queries, 0, vBytes, count, 0, 2, within.data(), 3, counts.data()));
        for (uint32_t i = 0; i < queries; ++i)
        {
            const std::vector<uint64_t> sorted = keys(q[i], v, count);
            const auto key = [](const Found& found, uint32_t k)
            { return uint64_t{found.distances[k]} << 32 | found.indices[k]; };
            EXPECT_EQ(sorted[0], key(one, i));
            EXPECT_EQ(sorted[0], key(two, 2 * i));
            EXPECT_EQ(sorted[1], key(two, 2 * i + 1));
            const bool isMutual = count != 0 && static_cast<uint32_t>(keys(v[one.indices[i]], q, queries)[0]) == i;
            EXPECT_EQ(isMutual ? sorted[0] : UINT64_MAX, key(mutual, i));
            std::vector<uint32_t> near;
            for (uint32_t k = 0; k < count; ++k)
            {
                if (distanceOf(q[i], v[k]) <= 2)
                {
                    near.push_back(k);
                }
            }
            near.resize(std::min<size_t>(near.size(), 3));
            EXPECT_EQ(near.size(), counts[i]);
            near.resize(3, 77);
            EXPECT_EQ(near, std::vector<uint32_t>(within.begin() + 3 * i, within.begin() + 3 * i + 3));
        }
    }
}

// ---- Dot products ----

// Every product at its limits, where sums of two or four exceed what a narrower sum holds.
TEST(Dot, ExtremesAreExact)
{
    for (const uint32_t length : {1u, 2u, 15u, 16u, 64u, 131u, 4096u})
    {
        const std::vector<int16_t> lowest(length, INT16_MIN);
        const std::vector<uint16_t> highest(length, UINT16_MAX);
        const std::vector<int8_t> least(length, INT8_MIN);
        const std::vector<uint8_t> most(length, UINT8_MAX);
        int64_t s16 = 0;
        uint64_t u16 = 0;
        int32_t s8 = 0;
        uint32_t u8 = 0;
        const std::pair<vsrStatus, vsrStatus> wide = {vsrDotProducts16V(lowest.data(), lowest.data(), length, &s16),
                                                      vsrDotProductu16V(highest.data(), highest.data(), length, &u16)};
        const std::pair<vsrStatus, vsrStatus> narrow = {vsrDotProducts8V(least.data(), least.data(), length, &s8),
                                                        vsrDotProductu8V(most.data(), most.data(), length, &u8)};
        EXPECT_EQ(std::pair(0u, 0u), wide);
        EXPECT_EQ(std::pair(0u, 0u), narrow);
        EXPECT_EQ(int64_t{length} << 30, s16);
        EXPECT_EQ(uint64_t{length} * 65535 * 65535, u16);
        EXPECT_EQ(static_cast<int32_t>(length << 14), s8);
        EXPECT_EQ(length * 65025, u8);
    }
}

// Whole numbers small enough are summed exactly in any order.
TEST(Dot, FloatsAndBytesAgreeOnWholeNumbers)
{
    constexpr uint32_t kLength = 37;
    constexpr uint32_t kCount = 21;
    Random random(5);
    std::vector<int8_t> bytes(size_t{kLength} * kCount);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<int8_t>(random.next()); });
    const std::vector<float> floats(bytes.begin(), bytes.end());
    const std::vector<int16_t> shorts(bytes.begin(), bytes.end());
    std::vector<int32_t> exact(kCount * kCount);
    std::vector<float> sums(kCount * kCount);
    std::vector<int64_t> wide(kCount);
    ASSERT_EQ(0u, vsrDotMatrixs8(bytes.data(), kLength, kCount, 0, bytes.data(), kCount, 0, exact.data(), 0));
    ASSERT_EQ(0u, vsrDotMatrixf32(floats.data(), kLength, kCount, 0, floats.data(), kCount, 0, sums.data(), 0));
    ASSERT_EQ(0u, vsrDotOneToManys16(shorts.data(), kLength, shorts.data(), kCount, 0, wide.data()));
    std::vector<uint32_t> best(kCount);
    std::vector<float> products(kCount);
    ASSERT_EQ(0u, vsrDotNearestf32(floats.data(), kLength, kCount, 0, floats.data(), kCount, 0, best.data(),
                                   products.data()));
    std::vector<float> cosines(kCount);
    ASSERT_EQ(0u, vsrDotNormedf32(floats.data(), kLength, floats.data(), kCount, 0, cosines.data()));
    for (size_t i = 0; i < kCount; ++i)
    {
        EXPECT_EQ(exact[i], wide[i]);
        const auto row = exact.begin() + static_cast<ptrdiff_t>(i * kCount);
        EXPECT_EQ(std::max_element(row, row + kCount) - row, static_cast<ptrdiff_t>(best[i]));
        EXPECT_NEAR(exact[i] / std::sqrt(double(exact[0]) * exact[i * kCount + i]), cosines[i], 1e-6);
        for (size_t j = 0; j < kCount; ++j)
        {
            int32_t sum = 0;
            for (size_t k = 0; k < kLength; ++k)
            {
                sum += bytes[i * kLength + k] * bytes[j * kLength + k];
            }
            EXPECT_EQ(sum, exact[i * kCount + j]);
            EXPECT_EQ(static_cast<float>(sum), sums[i * kCount + j]);
        }
    }
    EXPECT_EQ(1.0f, cosines[0]);
}

TEST(Dot, NansNeverCount)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float set[] = {nan, -3, nan, -2, -2};
    const float query = 1;
    uint32_t index = 0;
    float value = 0;
    ASSERT_EQ(0u, vsrDotNearestf32(&query, 1, 1, 0, set, 5, 0, &index, &value));
    EXPECT_EQ(3u, index);
    EXPECT_EQ(-2.0f, value);
    ASSERT_EQ(0u, vsrDotNearestf32(&query, 1, 1, 0, set, 1, 0, &index, &value));
    EXPECT_EQ(VISORA_NO_MATCH, index);
    EXPECT_EQ(0.0f, value);
}

// ---- Refusals ----

TEST(Sets, RefuseIndicesBeyondThemAndLongStrings)
{
    const EntryPoint hamming(VISORA_ENTRY(vsrHammingOneToManyu8),
                             "query length=4 set numVectors=3 setStride=0 indices=0 numIndices=0 distances");
    hamming.expectRefused(VISORA_EBADPARAM, "numIndices=1, length=0x20000000, length=0");
    const EntryPoint within(VISORA_ENTRY(vsrHammingWithinu8),
                            "queries length=4 numQueries=1 queryStride=0 set numVectors=3 setStride=0 maxDistance=32 "
                            "indices capacity=5 counts+64");
    within.expectRefused(VISORA_EBADPARAM, "capacity=0, length=0x20000000");
    const uint32_t indices[] = {0, 2, 3};
    uint32_t out[3] = {7, 7, 7};
    const uint8_t bytes[8] = {};
    EXPECT_EQ(uint32_t{VISORA_EBADPARAM}, vsrHammingOneToManyu8(bytes, 2, bytes, 3, 0, indices, 3, out));
    EXPECT_EQ(uint32_t{VISORA_EBADPARAM}, vsrDotIndexedu8(bytes, 2, bytes, 3, 0, indices, 3, out));
    EXPECT_EQ(7u, out[0]);
    EXPECT_EQ(0u, vsrDotIndexedu8(bytes, 2, bytes, 4, 0, indices, 3, out));
}

}  // namespace
}  // namespace visora::test
