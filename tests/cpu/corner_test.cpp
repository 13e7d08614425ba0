// The corner detectors against a slow one that says in so many words what a corner is.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <tuple>
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
    uint32_t width;
    uint32_t height;
    uint32_t stride;
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
    uint32_t width;
    uint32_t height;
    std::vector<uint8_t> bits;

    Mask(uint32_t w, uint32_t h, uint8_t value) : width(w), height(h), bits(size_t{(w + 7) / 8} * h, value) {}
};

// ---- The slow detector ----

struct Corner
{
    uint32_t x;
    uint32_t y;
    uint32_t score;

    bool operator==(const Corner&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Corner& corner)
{
    return out << '(' << corner.x << ", " << corner.y << "): " << corner.score;
}

bool isCorner(const Picture& picture, int64_t x, int64_t y, int64_t threshold, uint32_t arc)
{
    const int64_t centre = picture.at(x, y);
    for (uint32_t start = 0; start < 16; ++start)
    {
        uint32_t brighter = 0;
        uint32_t darker = 0;
        for (uint32_t i = start; i < start + arc; ++i)
        {
            const int64_t value = picture.at(x + kCircleX[i % 16], y + kCircleY[i % 16]);
            brighter += value > centre + threshold ? 1 : 0;
            darker += value < centre - threshold ? 1 : 0;
        }
        if (brighter == arc || darker == arc)
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

std::vector<Corner> slowly(const CornerMember& member, const Picture& picture, const Mask& mask, const Search& search)
{
    std::vector<Corner> found;
    if (member.masks && !maskFits(picture, mask))
    {
        return found;
    }
    for (uint32_t y = search.border; y + search.border < picture.height; ++y)
    {
        for (uint32_t x = search.border; x + search.border < picture.width; ++x)
        {
            if (found.size() < search.capacity && !(member.masks && maskExcludes(picture, mask, x, y)) &&
                isCorner(picture, x, y, search.threshold, member.arc))
            {
                found.push_back({x, y, scoreByBisection(picture, x, y, search.threshold, member.arc)});
            }
        }
    }
    if (!member.suppresses || !search.suppress)
    {
        return found;
    }
    std::vector<Corner> left;
    for (const Corner& corner : found)
    {
        const auto outdoes = [&](const Corner& other)
        {
            const int64_t dx = int64_t{other.x} - corner.x;
            const int64_t dy = int64_t{other.y} - corner.y;
            return (dx != 0 || dy != 0) && std::abs(dx) <= 1 && std::abs(dy) <= 1 && other.score >= corner.score;
        };
        if (std::none_of(found.begin(), found.end(), outdoes))
        {
            left.push_back(corner);
        }
    }
    return left;
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
    std::vector<Corner> corners;
    if (count > room)
    {
        ADD_FAILURE() << "count " << count << " of " << room;
        return corners;
    }
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
    std::vector<Corner> expected = slowly(member, picture, mask, search);
    if (!member.scores)
    {
        for (Corner& corner : expected)
        {
            corner.score = kUntouched;
        }
    }
    const std::string context = member.name + ", " + where + ", " + std::to_string(picture.width) + "x" +
                                std::to_string(picture.height) + ", threshold " + std::to_string(search.threshold);
    EXPECT_EQ(expected, detect(member.reference, member, picture, mask, search)) << "reference, " << context;
    EXPECT_EQ(expected, detect(member.vector, member, picture, mask, search)) << "vector, " << context;
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
        const uint32_t left = random.between(0, width - 1);
        const uint32_t top = random.between(0, height - 1);
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
    const uint32_t width = random.between(7, random.oneIn(3) ? 210 : 90);
    const uint32_t height = random.between(7, 30);
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
        Picture picture = anyPicture(random, search.threshold);
        // Masks of half the size fit even sides only.
        if (random.oneIn(2) && picture.width >= 16 && picture.height >= 16)
        {
            Picture cut(picture.width & ~7u, picture.height & ~7u, picture.stride - (picture.width & ~7u));
            std::copy_n(picture.pixels.begin(), cut.pixels.size(), cut.pixels.begin());
            picture = cut;
        }
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
    struct Case
    {
        uint32_t length;
        int difference;
        bool fast9;
        bool fast10;
    };
    const Case cases[] = {{8, 21, false, false}, {9, 21, true, false}, {9, 20, false, false},
                          {9, -21, true, false}, {10, 21, true, true}, {10, -20, false, false},
                          {10, -21, true, true}, {16, 21, true, true}, {16, 20, false, false}};
    for (const Case& c : cases)
    {
        for (uint32_t start = 0; start < 16; ++start)
        {
            // Wide enough for vectors; the one circle is in the last column that is looked at.
            Picture picture(70, 7, 0, 100);
            for (uint32_t i = start; i < start + c.length; ++i)
            {
                picture.at(66 + kCircleX[i % 16], 3 + kCircleY[i % 16]) = static_cast<uint8_t>(100 + c.difference);
            }
            const auto has = [&](uint32_t arc, CornerFunction CornerMember::*variant)
            {
                const auto member = std::find_if(cornerMembers().begin(), cornerMembers().end(),
                                                 [&](const CornerMember& m) { return m.arc == arc; });
                const auto corners = detect((*member).*variant, *member, picture, Mask(0, 0, 0), Search());
                return std::any_of(corners.begin(), corners.end(),
                                   [](const Corner& corner) { return corner.x == 66 && corner.y == 3; });
            };
            for (const auto variant : {&CornerMember::reference, &CornerMember::vector})
            {
                EXPECT_EQ(c.fast9, has(9, variant)) << c.length << " from " << start << " differ by " << c.difference;
                EXPECT_EQ(c.fast10, has(10, variant)) << c.length << " from " << start << " differ by " << c.difference;
            }
        }
    }
}

TEST(Corners, MasksMayBeSmallerOrLargerByPowersOfTwo)
{
    struct Case
    {
        uint32_t width;
        uint32_t height;
        bool fits;
    };
    const Case cases[] = {{64, 32, true},   {32, 16, true},   {16, 8, true},      {8, 4, true},    {128, 64, true},
                          {256, 128, true}, {512, 256, true}, {4, 2, false},      {64, 16, false}, {32, 32, false},
                          {128, 32, false}, {33, 16, false},  {1024, 512, false}, {0, 0, false},   {63, 32, false}};
    Random random(3);
    const Picture picture = noise(random, 64, 32, 256);
    for (const Case& c : cases)
    {
        const Mask clear(c.width, c.height, 0);
        const Mask full(c.width, c.height, 0xff);
        Mask mixed(c.width, c.height, 0);
        std::generate(mixed.bits.begin(), mixed.bits.end(), [&] { return static_cast<uint8_t>(random.next()); });
        for (const CornerMember& member : cornerMembers())
        {
            if (!member.masks)
            {
                continue;
            }
            const std::string where = "mask of " + std::to_string(c.width) + "x" + std::to_string(c.height);
            EXPECT_EQ(c.fits, expectTheSlowDetectorsCorners(member, picture, clear, Search(), where) > 0) << where;
            EXPECT_EQ(c.fits, expectTheSlowDetectorsCorners(member, picture, mixed, Search(), where) > 0) << where;
            EXPECT_EQ(0u, expectTheSlowDetectorsCorners(member, picture, full, Search(), where));
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
    struct Scorer
    {
        uint32_t arc;
        uint32_t (*score)(const uint8_t*, const int32_t*, uint32_t);
    };
    const Scorer scorers[] = {
        {9, fast9_corner_scoreC}, {9, fast9_corner_scoreV}, {10, fast10_corner_scoreC}, {10, fast10_corner_scoreV}};
    Random random(11);
    for (int round = 0; round < 60; ++round)
    {
        const uint32_t difference = random.between(0, 255);
        Picture picture = round % 3 == 0 ? noise(random, 7, 7, 256) : circles(random, 7, 7, difference);
        int32_t offsets[16];
        make_offsets(offsets, picture.stride);
        const uint32_t thresholds[] = {0, 1, 20, 253, 254, 255, difference, difference / 2};
        for (const uint32_t threshold : thresholds)
        {
            for (const Scorer& scorer : scorers)
            {
                EXPECT_EQ(scoreByBisection(picture, 3, 3, threshold, scorer.arc),
                          scorer.score(&picture.at(3, 3), offsets, threshold))
                    << "FAST-" << scorer.arc << ", threshold " << threshold << ", round " << round;
            }
        }
        for (const Scorer& scorer : scorers)
        {
            EXPECT_EQ(256u, scorer.score(&picture.at(3, 3), offsets, 256));
            EXPECT_EQ(0xffffffffu, scorer.score(&picture.at(3, 3), offsets, 0xffffffff));
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
    struct Case
    {
        const char* what;
        std::vector<Corner> raw;
        std::vector<Corner> left;
    };
    const Case cases[] = {
        {"none", {}, {}},
        {"alone", {{0, 0, 0}}, {{0, 0, 0}}},
        {"equal beside each other", {{4, 3, 7}, {5, 3, 7}}, {}},
        {"equal below each other", {{4, 3, 7}, {4, 4, 7}}, {}},
        {"equal on a diagonal", {{4, 3, 7}, {3, 4, 7}}, {}},
        {"better on the right", {{4, 3, 7}, {5, 3, 8}}, {{5, 3, 8}}},
        {"better on the left", {{4, 3, 8}, {5, 3, 7}}, {{4, 3, 8}}},
        {"two columns apart", {{4, 3, 7}, {6, 3, 7}}, {{4, 3, 7}, {6, 3, 7}}},
        {"two rows apart", {{4, 3, 7}, {4, 5, 7}}, {{4, 3, 7}, {4, 5, 7}}},
        {"row end and next row's start", {{40, 3, 7}, {0, 4, 7}}, {{40, 3, 7}, {0, 4, 7}}},
        {"dropped ones drop others", {{4, 3, 7}, {5, 3, 8}, {6, 3, 9}}, {{6, 3, 9}}},
        {"plateau", {{4, 3, 7}, {5, 3, 7}, {4, 4, 7}, {5, 4, 7}, {9, 9, 1}}, {{9, 9, 1}}},
        {"last of three above", {{3, 1, 1}, {4, 1, 1}, {5, 1, 9}, {4, 2, 8}}, {{5, 1, 9}}},
        {"first of three below", {{5, 1, 8}, {4, 2, 9}, {8, 2, 1}}, {{4, 2, 9}, {8, 2, 1}}},
        {"far ones first", {{1, 1, 5}, {9, 1, 5}, {9, 2, 6}, {20, 2, 5}}, {{1, 1, 5}, {9, 2, 6}, {20, 2, 5}}},
    };
    for (const Case& c : cases)
    {
        std::vector<uint32_t> rawXy;
        std::vector<uint32_t> rawScores;
        for (const Corner& corner : c.raw)
        {
            rawXy.insert(rawXy.end(), {corner.x, corner.y});
            rawScores.push_back(corner.score);
        }
        const size_t rows = c.raw.empty() ? 0 : c.raw.back().y + 1;
        std::vector<uint32_t> rowStarts(rows + 1, kUntouched);
        std::vector<uint32_t> xy(rawXy.size());
        std::vector<uint32_t> scores(rawScores.size());
        uint32_t count = kUntouched;
        nms_processing(rawXy.data(), rawScores.data(), rowStarts.data(), static_cast<uint32_t>(rawScores.size()),
                       xy.data(), scores.data(), &count);
        std::vector<Corner> left;
        for (size_t i = 0; i < count; ++i)
        {
            left.push_back({xy[2 * i], xy[2 * i + 1], scores[i]});
        }
        EXPECT_EQ(c.left, left) << c.what;

        std::vector<uint32_t> expectedStarts(rows, 0xffffffff);
        for (size_t i = c.raw.size(); i-- > 0;)
        {
            expectedStarts[c.raw[i].y] = static_cast<uint32_t>(i);
        }
        expectedStarts.push_back(kUntouched);
        EXPECT_EQ(expectedStarts, rowStarts) << c.what;
    }
}

}  // namespace
}  // namespace visora::test
