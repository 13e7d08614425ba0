// The corner detectors against a slow one that says in so many words what a corner is.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/corner_members.h"
#include "support/random.h"
#include "visora/dispatch.h"
#include "visora/memory.h"

namespace visora::test
{
namespace
{

constexpr int kCircleX[16] = {0, 1, 2, 3, 3, 3, 2, 1, 0, -1, -2, -3, -3, -3, -2, -1};
constexpr int kCircleY[16] = {3, 3, 2, 1, 0, -1, -2, -3, -3, -3, -2, -1, 0, 1, 2, 3};
constexpr uint32_t kUntouched = 0xabababab;

struct Picture
{
    uint32_t width, height, stride;
    std::vector<uint8_t> pixels;

    Picture(uint32_t w, uint32_t h, uint32_t padding = 0, uint8_t value = 0)
        : width(w), height(h), stride(w + padding), pixels(size_t{stride} * h, value)
    {
    }

    uint8_t& at(int64_t x, int64_t y) { return pixels[static_cast<size_t>(y * stride + x)]; }
    uint8_t at(int64_t x, int64_t y) const { return pixels[static_cast<size_t>(y * stride + x)]; }
};

struct Mask
{
    uint32_t width, height;
    std::vector<uint8_t> bits;

    Mask(uint32_t w, uint32_t h, uint8_t value) : width(w), height(h), bits(size_t{(w + 7) / 8} * h, value) {}
};

// ---- The slow detector ----

struct Corner
{
    uint32_t x, y, score;

    bool operator==(const Corner&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Corner& corner)
{
    return out << '(' << corner.x << ", " << corner.y << "): " << corner.score;
}

bool isCorner(const Picture& picture, int64_t x, int64_t y, int64_t threshold, uint32_t arc)
{
    for (const int64_t sign : {1, -1})
    {
        // The circle twice, so that arcs across its end are whole.
        uint32_t unbroken = 0;
        for (size_t i = 0; i < 32 && unbroken < arc; ++i)
        {
            const int64_t difference = picture.at(x + kCircleX[i % 16], y + kCircleY[i % 16]) - picture.at(x, y);
            unbroken = difference * sign > threshold ? unbroken + 1 : 0;
        }
        if (unbroken >= arc)
        {
            return true;
        }
    }
    return false;
}

uint32_t scoreByBisection(const Picture& picture, int64_t x, int64_t y, uint32_t threshold, uint32_t arc)
{
    uint32_t bmin = threshold;
    uint32_t bmax = 255;
    do
    {
        const uint32_t b = (bmin + bmax) / 2;
        (isCorner(picture, x, y, b, arc) ? bmin : bmax) = b;
    } while (bmin != bmax && bmin + 1 != bmax);
    return bmin;
}

// Which mask sizes an image of this size allows, and where its pixels are in them.
bool maskFits(const Picture& picture, const Mask& mask)
{
    for (const uint32_t factor : {1u, 2u, 4u, 8u})
    {
        if ((mask.width * factor == picture.width && mask.height * factor == picture.height) ||
            (picture.width * factor == mask.width && picture.height * factor == mask.height))
        {
            return true;
        }
    }
    return false;
}

bool maskExcludes(const Picture& picture, const Mask& mask, uint32_t x, uint32_t y)
{
    const uint32_t column = x * mask.width / picture.width;
    const uint32_t row = y * mask.height / picture.height;
    return (mask.bits[size_t{row} * ((mask.width + 7) / 8) + column / 8] & (0x80u >> column % 8)) != 0;
}

struct Search
{
    uint32_t threshold = 20;
    uint32_t border = 3;
    uint32_t capacity = 1000000;
    bool suppress = false;
};

// What no neighbour equals or outdoes.
std::vector<Corner> suppressed(const std::vector<Corner>& found)
{
    std::vector<Corner> left;
    for (const Corner& corner : found)
    {
        const auto outdoes = [&](const Corner& other)
        {
            const int64_t dx = int64_t{other.x} - corner.x, dy = int64_t{other.y} - corner.y;
            return (dx != 0 || dy != 0) && std::abs(dx) <= 1 && std::abs(dy) <= 1 && other.score >= corner.score;
        };
        if (std::none_of(found.begin(), found.end(), outdoes))
        {
            left.push_back(corner);
        }
    }
    return left;
}

std::vector<Corner> slowly(const CornerMember& member, const Picture& picture, const Mask& mask, const Search& search)
{
    std::vector<Corner> found;
    for (uint32_t y = search.border; y + search.border < picture.height; ++y)
    {
        for (uint32_t x = search.border; x + search.border < picture.width; ++x)
        {
            const bool excluded = member.masks && (!maskFits(picture, mask) || maskExcludes(picture, mask, x, y));
            if (found.size() < search.capacity && !excluded && isCorner(picture, x, y, search.threshold, member.arc))
            {
                found.push_back({x, y, kUntouched});
                if (member.scores)
                {
                    found.back().score = scoreByBisection(picture, x, y, search.threshold, member.arc);
                }
            }
        }
    }
    return member.suppresses && search.suppress ? suppressed(found) : found;
}

// ---- The detectors under test ----

// Runs a detector with lists of just the capacity, and sees to it that nothing behind the corners is written.
std::vector<Corner> detect(CornerFunction function, const CornerMember& member, const Picture& picture,
                           const Mask& mask, const Search& search)
{
    const size_t room = std::min<size_t>(search.capacity, picture.pixels.size());
    std::vector<uint32_t> xy(room * 2 + 2, kUntouched);
    std::vector<uint32_t> scores(room + 1, kUntouched);
    const size_t workWords = room * 3 + picture.height;
    std::vector<uint32_t> work(workWords + 1, kUntouched);
    uint32_t count = kUntouched;
    EXPECT_EQ(0u, function({picture.pixels.data(), picture.width, picture.height, picture.stride, search.threshold,
                            search.border, xy.data(), scores.data(), static_cast<uint32_t>(room), &count,
                            mask.bits.data(), mask.width, mask.height, search.suppress ? 1u : 0u, work.data()}));
    EXPECT_LE(count, room);
    count = std::min(count, static_cast<uint32_t>(room));
    std::vector<Corner> corners;
    for (size_t i = 0; i < count; ++i)
    {
        corners.push_back({xy[2 * i], xy[2 * i + 1], scores[i]});
    }
    const auto untouchedFrom = [](const std::vector<uint32_t>& words, size_t first)
    {
        return std::all_of(words.begin() + static_cast<std::ptrdiff_t>(first), words.end(),
                           [](uint32_t word) { return word == kUntouched; });
    };
    EXPECT_TRUE(untouchedFrom(xy, size_t{count} * 2));
    EXPECT_TRUE(untouchedFrom(scores, member.scores ? count : 0));
    EXPECT_TRUE(untouchedFrom(work, member.suppresses && search.suppress ? workWords : 0));
    return corners;
}

size_t expectTheSlowDetectorsCorners(const CornerMember& member, const Picture& picture, const Mask& mask,
                                     const Search& search, const std::string& where)
{
    const std::vector<Corner> expected = slowly(member, picture, mask, search);
    for (const auto variant : {member.reference, member.vector})
    {
        EXPECT_EQ(expected, detect(variant, member, picture, mask, search))
            << member << (variant == member.vector ? ", vector, " : ", reference, ") << where << ", " << picture.width
            << "x" << picture.height << ", threshold " << search.threshold;
    }
    return expected.size();
}

// ---- Pictures ----

Picture noise(Random& random, uint32_t width, uint32_t height, uint32_t levels)
{
    Picture picture(width, height, random.between(0, 5));
    const uint32_t base = random.between(0, 256 - levels);
    for (uint8_t& pixel : picture.pixels)
    {
        pixel = static_cast<uint8_t>(base + random.between(0, levels - 1));
    }
    return picture;
}

// Boxes of any gray on one another, with corners, edges and flat parts.
Picture boxes(Random& random, uint32_t width, uint32_t height)
{
    Picture picture(width, height, random.between(0, 5), 128);
    for (uint32_t i = 0; i < width * height / 40; ++i)
    {
        const uint32_t left = random.between(0, width - 1), top = random.between(0, height - 1);
        const uint32_t right = std::min(width, left + random.between(1, 12));
        const uint32_t bottom = std::min(height, top + random.between(1, 12));
        const auto gray = static_cast<uint8_t>(random.oneIn(3) ? random.between(0, 1) * 255u : random.between(0, 255));
        for (uint32_t y = top; y < bottom; ++y)
        {
            std::fill_n(&picture.at(left, y), right - left, gray);
        }
    }
    return picture;
}

// Circles of which an arc of 7 to 12 pixels differs from the centre by about the threshold, the rest by nothing or by
// much in the other direction.
Picture circles(Random& random, uint32_t width, uint32_t height, uint32_t threshold)
{
    Picture picture(width, height, random.between(0, 5), 100);
    for (uint32_t y = 3; y + 3 < height; y += 7)
    {
        for (uint32_t x = 3; x + 3 < width; x += 7)
        {
            const auto centre = static_cast<int>(random.between(0, 255));
            const int sign = random.oneIn(2) ? 1 : -1;
            const int difference = static_cast<int>(std::min(threshold, 256u)) + static_cast<int>(random.between(0, 2));
            const uint32_t start = random.between(0, 15);
            const uint32_t length = random.between(7, 12);
            const int rest = random.oneIn(2) ? 0 : -200 * sign;
            picture.at(x, y) = static_cast<uint8_t>(centre);
            for (uint32_t i = 0; i < 16; ++i)
            {
                const bool inArc = (i + 16 - start) % 16 < length;
                picture.at(int64_t{x} + kCircleX[i], int64_t{y} + kCircleY[i]) =
                    static_cast<uint8_t>(std::clamp(centre + (inArc ? sign * difference : rest), 0, 255));
            }
        }
    }
    return picture;
}

Picture anyPicture(Random& random, uint32_t threshold)
{
    // Masks of half the size fit even sides only.
    const uint32_t multiple = random.oneIn(2) ? 8 : 1;
    const uint32_t width = std::max(7u, random.between(7, random.oneIn(3) ? 210 : 90) / multiple * multiple);
    const uint32_t height = std::max(7u, random.between(7, 30) / multiple * multiple);
    switch (random.between(0, 4))
    {
        case 0:
            return noise(random, width, height, 256);
        case 1:
            return noise(random, width, height, random.between(1, 4));
        case 2:
            return boxes(random, width, height);
        default:
            return circles(random, width, height, threshold);
    }
}

Mask anyMask(Random& random, const Picture& picture)
{
    const uint32_t factor = 1u << random.between(0, 3);
    Mask mask = random.oneIn(2) ? Mask(picture.width * factor, picture.height * factor, 0)
                                : Mask(picture.width / factor, picture.height / factor, 0);
    for (uint8_t& byte : mask.bits)
    {
        byte = static_cast<uint8_t>(random.next() & random.next());
    }
    return mask;
}

TEST(Corners, AreTheSlowDetectors)
{
    constexpr uint32_t kThresholds[] = {0, 1, 20, 254, 255, 256, 0xffffffff, 0, 3, 20, 60, 130};
    size_t found = 0;
    for (uint64_t seed = 0; seed < 240; ++seed)
    {
        Random random(seed);
        Search search;
        search.threshold = kThresholds[seed % std::size(kThresholds)];
        const Picture picture = anyPicture(random, search.threshold);
        const Mask mask = anyMask(random, picture);
        search.border = random.oneIn(4) ? random.between(4, 100) : 3;
        search.capacity = random.oneIn(3) ? random.between(0, 12) : 1000000;
        search.suppress = random.oneIn(2);
        for (const CornerMember& member : cornerMembers())
        {
            found += expectTheSlowDetectorsCorners(member, picture, mask, search, "seed " + std::to_string(seed));
            if (HasFailure())
            {
                return;
            }
        }
    }
    EXPECT_GT(found, 20000u);
}

TEST(Corners, NeedAnUnbrokenArcThatIsStrictlyBeyondTheThreshold)
{
    for (const CornerMember& member : cornerMembers())
    {
        for (uint32_t round = 0; round < 16 * 4; ++round)
        {
            constexpr uint32_t kLengths[] = {8, 9, 10, 16};
            const uint32_t start = round % 16, length = kLengths[round / 16];
            for (const int difference : {20, 21, -20, -21})
            {
                // Wide enough for vectors; the one circle is in the last column that is looked at.
                Picture picture(70, 7, 0, 100);
                for (uint32_t i = start; i < start + length; ++i)
                {
                    picture.at(66 + kCircleX[i % 16], 3 + kCircleY[i % 16]) = static_cast<uint8_t>(100 + difference);
                }
                for (const auto variant : {member.reference, member.vector})
                {
                    const auto corners = detect(variant, member, picture, Mask(70, 7, 0), Search());
                    const bool found = !corners.empty() && corners.back().x == 66;
                    EXPECT_EQ(length >= member.arc && std::abs(difference) > 20, found)
                        << member << ": " << length << " from " << start << " differ by " << difference;
                }
            }
        }
    }
}

TEST(Corners, MasksMayBeSmallerOrLargerByPowersOfTwo)
{
    struct Case
    {
        uint32_t width, height;
        bool fits;
    };
    const Case cases[] = {{64, 32, true},   {32, 16, true},   {16, 8, true},      {8, 4, true},    {128, 64, true},
                          {256, 128, true}, {512, 256, true}, {4, 2, false},      {64, 16, false}, {32, 32, false},
                          {128, 32, false}, {33, 16, false},  {1024, 512, false}, {0, 0, false},   {63, 32, false}};
    Random random(3);
    const Picture picture = noise(random, 64, 32, 256);
    for (const Case& c : cases)
    {
        Mask mixed(c.width, c.height, 0);
        std::generate(mixed.bits.begin(), mixed.bits.end(), [&] { return static_cast<uint8_t>(random.next()); });
        for (const CornerMember& member : cornerMembers())
        {
            if (!member.masks)
            {
                continue;
            }
            const auto found = [&](const Mask& mask)
            {
                const std::string where = "mask of " + std::to_string(c.width) + "x" + std::to_string(c.height);
                return expectTheSlowDetectorsCorners(member, picture, mask, Search(), where) > 0;
            };
            EXPECT_EQ(c.fits, found(Mask(c.width, c.height, 0)));
            EXPECT_EQ(c.fits, found(mixed));
            EXPECT_FALSE(found(Mask(c.width, c.height, 0xff)));
        }
    }
}

TEST(Corners, AreFoundWithoutScratchMemory)
{
    Random random(9);
    const Picture picture = noise(random, 120, 30, 256);
    const Mask mask(120, 30, 0x55);
    Search search;
    search.suppress = true;
    vsrGetScratchBufferAligned_ = [](size_t, uint32_t) -> void* { return nullptr; };
    for (const CornerMember& member : cornerMembers())
    {
        EXPECT_GT(expectTheSlowDetectorsCorners(member, picture, mask, search, "no scratch"), 0u);
    }
    uCHelper();
}

// ---- Scores ----

TEST(CornerScore, IsTheBisectionsForAnyPixelAndThreshold)
{
    using Scorer = uint32_t (*)(const uint8_t*, const int32_t*, uint32_t);
    const std::pair<uint32_t, Scorer> scorers[] = {
        {9, fast9_corner_scoreC}, {9, fast9_corner_scoreV}, {10, fast10_corner_scoreC}, {10, fast10_corner_scoreV}};
    Random random(11);
    for (int round = 0; round < 60; ++round)
    {
        const uint32_t difference = random.between(0, 255);
        const Picture picture = round % 3 == 0 ? noise(random, 7, 7, 256) : circles(random, 7, 7, difference);
        int32_t offsets[16];
        make_offsets(offsets, picture.stride);
        for (const uint32_t threshold : {0u, 1u, 20u, 253u, 254u, 255u, difference, difference / 2, 256u, 0xffffffffu})
        {
            for (const auto& [arc, score] : scorers)
            {
                const uint32_t expected = threshold > 255 ? threshold : scoreByBisection(picture, 3, 3, threshold, arc);
                EXPECT_EQ(expected, score(&picture.pixels[3 * picture.stride + 3], offsets, threshold))
                    << "FAST-" << arc << ", threshold " << threshold << ", round " << round;
            }
        }
    }
}

TEST(CornerScore, OffsetsGoRoundTheCircle)
{
    int32_t offsets[16];
    make_offsets(offsets, 1000);
    const std::vector<int32_t> expected = {3000,  3001,  2002,  1003,  3,  -997, -1998, -2999,
                                           -3000, -3001, -2002, -1003, -3, 997,  1998,  2999};
    EXPECT_EQ(expected, std::vector<int32_t>(offsets, offsets + 16));
}

TEST(CornerScore, TheFunctionInUseServesTheReferenceMembers)
{
    Random random(1);
    const Picture picture = noise(random, 40, 20, 256);
    uVHelper();
    EXPECT_EQ(fast9_corner_scoreV, fast9_corner_score_);
    EXPECT_EQ(fast10_corner_scoreV, fast10_corner_score_);
    uCHelper();
    EXPECT_EQ(fast9_corner_scoreC, fast9_corner_score_);
    EXPECT_EQ(fast10_corner_scoreC, fast10_corner_score_);
    fast9_corner_score_ = [](const uint8_t*, const int32_t*, uint32_t threshold) { return threshold + 1000; };
    fast10_corner_score_ = fast9_corner_score_;
    for (const CornerMember& member : cornerMembers())
    {
        if (member.scores)
        {
            const auto corners = detect(member.reference, member, picture, Mask(40, 20, 0), Search());
            ASSERT_FALSE(corners.empty()) << member;
            EXPECT_EQ(1020u, corners.back().score) << member;
        }
    }
    uCHelper();
}

// ---- Suppression ----

TEST(CornerSuppression, KeepsWhatNoNeighbourEqualsOrOutdoes)
{
    Random random(2);
    for (uint32_t round = 0; round < 500; ++round)
    {
        // From plateaus to corners that are alone, in rows that have none too.
        const uint32_t sparseness = random.between(1, 12), best = random.between(0, 6);
        const uint32_t width = random.between(1, 12), height = random.between(1, 9);
        std::vector<Corner> raw;
        for (uint32_t i = 0; i < width * height; ++i)
        {
            if (random.oneIn(sparseness))
            {
                raw.push_back({i % width, i / width, random.between(0, best)});
            }
        }
        std::vector<uint32_t> rawXy, rawScores;
        // The first corner of each row.
        std::vector<uint32_t> expectedStarts(raw.empty() ? 0 : raw.back().y + 1, 0xffffffff);
        for (const Corner& corner : raw)
        {
            expectedStarts[corner.y] = std::min(expectedStarts[corner.y], static_cast<uint32_t>(rawScores.size()));
            rawXy.insert(rawXy.end(), {corner.x, corner.y});
            rawScores.push_back(corner.score);
        }
        expectedStarts.push_back(kUntouched);
        std::vector<uint32_t> rowStarts(expectedStarts.size(), kUntouched), xy(rawXy.size()), scores(rawScores.size());
        uint32_t count = kUntouched;
        nms_processing(rawXy.data(), rawScores.data(), rowStarts.data(), static_cast<uint32_t>(rawScores.size()),
                       xy.data(), scores.data(), &count);
        ASSERT_LE(count, raw.size());
        std::vector<Corner> left;
        for (size_t i = 0; i < count; ++i)
        {
            left.push_back({xy[2 * i], xy[2 * i + 1], scores[i]});
        }
        EXPECT_EQ(suppressed(raw), left);
        EXPECT_EQ(expectedStarts, rowStarts);
    }
}

}  // namespace
}  // namespace visora::test
