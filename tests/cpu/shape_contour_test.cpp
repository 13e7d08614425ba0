// Components, contours and chains of edges: judged by slow restatements and by what must hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <tuple>

#include "cpu/shape_mask.h"
#include "visora/shape.h"

namespace visora::test
{
namespace
{

// ---- Components ----

TEST(Components, AreThoseOfAFlood)
{
    Random random(1);
    for (int round = 0; round < 400; ++round)
    {
        const Mask mask = noise(random, 40);
        for (const uint32_t connectivity : {4u, 8u})
        {
            const auto both = [](uint8_t a, uint8_t b) { return (a != 0) == (b != 0); };
            const std::vector<int> expected = label(mask, connectivity == 4 ? 2 : 1, both);
            std::vector<uint32_t> labels(mask.pixels.size());
            std::vector<vsrComponent> regions(mask.pixels.size());
            uint32_t count = 0;
            ASSERT_EQ(0u, vsrFindConnectedComponentsu8(mask.pixels.data(), mask.columns(), mask.rows(), 0, connectivity,
                                                       labels.data(), 0, regions.data(),
                                                       static_cast<uint32_t>(regions.size()), &count));
            std::map<int, uint32_t> numbers;
            std::vector<std::vector<Point>> members(count);
            for (size_t i = 0; i < labels.size(); ++i)
            {
                if (mask.pixels[i] == 0)
                {
                    ASSERT_EQ(0u, labels[i]);
                    continue;
                }
                const auto number = numbers.emplace(expected[i], numbers.size() + 1).first->second;
                ASSERT_EQ(number, labels[i]);
                members[number - 1].push_back({static_cast<int>(i) % mask.width, static_cast<int>(i) / mask.width});
            }
            ASSERT_EQ(numbers.size(), count);
            for (size_t r = 0; r < count; ++r)
            {
                double x = 0;
                double y = 0;
                Point low = members[r][0];
                Point high = low;
                for (const Point& p : members[r])
                {
                    x += p.first;
                    y += p.second;
                    low = {std::min(low.first, p.first), std::min(low.second, p.second)};
                    high = {std::max(high.first, p.first), std::max(high.second, p.second)};
                }
                const auto area = static_cast<double>(members[r].size());
                EXPECT_EQ(members[r].size(), regions[r].area);
                EXPECT_EQ(low, Point(regions[r].x, regions[r].y));
                EXPECT_EQ(high, Point(regions[r].x + regions[r].width - 1, regions[r].y + regions[r].height - 1));
                EXPECT_EQ(static_cast<float>(x / area), regions[r].cx);
                EXPECT_EQ(static_cast<float>(y / area), regions[r].cy);
            }
        }
    }
}

// ---- Contours ----

struct Contours
{
    explicit Contours(const Mask& mask, vsrChainType chain = VISORA_CHAIN_FULL, bool isOuter = false,
                      uint32_t capacity = UINT32_MAX)
    {
        const auto most = static_cast<uint32_t>(mask.pixels.size());
        const uint32_t points = std::min(capacity, 4 * most);
        std::vector<uint32_t> lengths(most + 1);
        std::vector<int32_t> xy(8 * size_t{most});
        links.resize(most + 1);
        uint32_t count = 0;
        uint32_t numPoints = 0;
        EXPECT_EQ(0u, isOuter
                          ? vsrFindOuterContoursu8(mask.pixels.data(), mask.columns(), mask.rows(), 0, chain,
                                                   lengths.data(), most, &count, xy.data(), points, &numPoints)
                          : vsrFindContoursu8(mask.pixels.data(), mask.columns(), mask.rows(), 0, chain, lengths.data(),
                                              links.data(), most, &count, xy.data(), points, &numPoints));
        links.resize(count);
        size_t at = 0;
        for (uint32_t i = 0; i < count; ++i)
        {
            chains.emplace_back();
            for (uint32_t k = 0; k < lengths[i]; ++k, at += 2)
            {
                chains.back().push_back({xy[at], xy[at + 1]});
            }
        }
        EXPECT_EQ(at, 2 * size_t{numPoints});
    }

    std::vector<std::vector<Point>> chains;
    std::vector<vsrContourLinks> links;
};

// Border following as it is published, on numbers in a frame of zeros.
struct Follower
{
    explicit Follower(const Mask& mask) : width(mask.width + 2), f(static_cast<size_t>(width) * (mask.rows() + 2))
    {
        for (int y = 0; y < mask.height; ++y)
        {
            for (int x = 0; x < mask.width; ++x)
            {
                at({x, y}) = mask.at(x, y) != 0 ? 1 : 0;
            }
        }
        for (int y = 0; y < mask.height; ++y)
        {
            int latest = 1;
            for (int x = 0; x < mask.width; ++x)
            {
                const Point p = {x, y};
                if (at(p) == 0)
                {
                    continue;
                }
                const bool isOuter = at(p) == 1 && at({x - 1, y}) == 0;
                if (isOuter || (at(p) >= 1 && at({x + 1, y}) == 0))
                {
                    latest = !isOuter && at(p) > 1 ? at(p) : latest;
                    const bool latestIsHole = latest == 1 || isHole[static_cast<size_t>(latest - 2)];
                    const int ofLatest = latest == 1 ? -1 : parents[static_cast<size_t>(latest - 2)];
                    parents.push_back(latestIsHole == isOuter ? latest - 2 : ofLatest);
                    isHole.push_back(!isOuter);
                    follow(p, isOuter ? 4 : 0, static_cast<int>(parents.size()) + 1);
                }
                latest = at(p) != 1 ? std::abs(at(p)) : latest;
            }
        }
    }

    int& at(Point p) { return f[static_cast<size_t>((p.second + 1) * width + p.first + 1)]; }
    static Point step(Point p, size_t d) { return {p.first + kSteps[d].first, p.second + kSteps[d].second}; }

    void follow(Point p, size_t n, int number)
    {
        chains.emplace_back();
        size_t toward = n;
        while (at(step(p, toward)) == 0)
        {
            toward = (toward + 1) % 8;
            if (toward == n)
            {
                at(p) = -number;
                chains.back().push_back(p);
                return;
            }
        }
        const Point a = step(p, toward);
        Point c = p;
        for (;;)
        {
            bool sawEast = false;
            do
            {
                toward = (toward + 7) % 8;
                sawEast = sawEast || (toward == 0 && at(step(c, 0)) == 0);
            } while (at(step(c, toward)) == 0);
            chains.back().push_back(c);
            at(c) = sawEast ? -number : at(c) == 1 ? number : at(c);
            const Point d = step(c, toward);
            if (d == p && c == a)
            {
                return;
            }
            toward = (toward + 4) % 8;
            c = d;
        }
    }

    int width;
    std::vector<int> f;
    std::vector<int> parents;
    std::vector<bool> isHole;
    std::vector<std::vector<Point>> chains;
};

std::vector<Point> cornersOf(const std::vector<Point>& chain)
{
    std::vector<Point> corners;
    const size_t n = chain.size();
    const auto step = [&](size_t i, size_t j)
    { return Point(chain[j].first - chain[i].first, chain[j].second - chain[i].second); };
    for (size_t i = 0; i < n; ++i)
    {
        if (n == 1 || step((i + n - 1) % n, i) != step(i, (i + 1) % n))
        {
            corners.push_back(chain[i]);
        }
    }
    return corners;
}

TEST(Contours, AreThoseOfTheNumbersOfBorders)
{
    Random random(2);
    for (int round = 0; round < 600; ++round)
    {
        const Mask mask = noise(random, round < 300 ? 12 : 40);
        const Follower expected(mask);
        const Contours found(mask);
        const Contours corners(mask, VISORA_CHAIN_CORNERS);
        ASSERT_EQ(expected.chains, found.chains);
        std::vector<std::vector<Point>> outer;
        std::map<int, int> latest;
        for (size_t i = 0; i < expected.chains.size(); ++i)
        {
            const vsrContourLinks& links = found.links[i];
            ASSERT_EQ(expected.parents[i], links.parent);
            ASSERT_EQ(expected.isHole[i], links.isHole != 0);
            ASSERT_EQ(cornersOf(expected.chains[i]), corners.chains[i]);
            const auto before = latest.find(links.parent);
            ASSERT_EQ(before == latest.end() ? -1 : before->second, links.previous);
            if (before != latest.end())
            {
                ASSERT_EQ(static_cast<int>(i), found.links[static_cast<size_t>(before->second)].next);
            }
            else if (links.parent >= 0)
            {
                ASSERT_EQ(static_cast<int>(i), found.links[static_cast<size_t>(links.parent)].child);
            }
            latest[links.parent] = static_cast<int>(i);
            if (links.parent < 0)
            {
                outer.push_back(expected.chains[i]);
            }
        }
        ASSERT_EQ(outer, Contours(mask, VISORA_CHAIN_FULL, true).chains);
        // A list that is too short holds whole contours.
        size_t points = 0;
        for (size_t i = 0; i < expected.chains.size(); ++i)
        {
            points += expected.chains[i].size();
        }
        const auto room = static_cast<uint32_t>(random.between(0, static_cast<uint32_t>(points)));
        const Contours cut(mask, VISORA_CHAIN_FULL, false, room);
        size_t used = 0;
        for (size_t i = 0; i < cut.chains.size(); ++i)
        {
            ASSERT_EQ(expected.chains[i], cut.chains[i]);
            used += cut.chains[i].size();
        }
        ASSERT_LE(used, room);
        ASSERT_TRUE(cut.chains.size() == expected.chains.size() ||
                    used + expected.chains[cut.chains.size()].size() > room);
    }
}

// A comb, whose one border passes all its pixels: those of the chain of corners with what is between them are the
// chain.
TEST(Contours, LongOnesAreListedWhole)
{
    constexpr uint32_t kSide = 201;
    Mask comb(kSide, kSide);
    for (int i = 0; i < static_cast<int>(kSide * kSide); ++i)
    {
        comb.pixels[static_cast<size_t>(i)] =
            i < static_cast<int>(kSide) || i % static_cast<int>(kSide) % 2 == 0 ? 1 : 0;
    }
    std::vector<Point> chains[2];
    for (const uint32_t chain : {VISORA_CHAIN_FULL, VISORA_CHAIN_CORNERS})
    {
        uint32_t length = 0;
        vsrContourLinks links = {};
        uint32_t contours = 0;
        uint32_t points = 0;
        const auto find = [&](std::vector<int32_t>& xy, uint32_t room)
        {
            return vsrFindContoursu8(comb.pixels.data(), kSide, kSide, 0, chain, &length, &links, 1, &contours,
                                     xy.data(), room, &points);
        };
        std::vector<int32_t> xy(8 * kSide * kSide, -7);
        ASSERT_EQ(0u, find(xy, 4 * kSide * kSide));
        ASSERT_EQ(1u, contours);
        ASSERT_EQ(length, points);
        for (size_t i = 0; i < points; ++i)
        {
            chains[chain].emplace_back(xy[2 * i], xy[2 * i + 1]);
        }
        const std::vector<int32_t> found = xy;
        std::fill(xy.begin(), xy.end(), -7);
        ASSERT_EQ(0u, find(xy, length - 1));
        EXPECT_EQ(0u, contours);
        EXPECT_EQ(static_cast<ptrdiff_t>(xy.size()), std::count(xy.begin(), xy.end(), -7));
        ASSERT_EQ(0u, find(xy, length));
        EXPECT_EQ(found, xy);
    }
    const std::vector<Point>& full = chains[VISORA_CHAIN_FULL];
    EXPECT_LT(30000u, full.size());
    EXPECT_EQ(static_cast<size_t>(std::count(comb.pixels.begin(), comb.pixels.end(), 1)),
              std::set<Point>(full.begin(), full.end()).size());
    const std::vector<Point>& corners = chains[VISORA_CHAIN_CORNERS];
    std::vector<Point> between;
    for (size_t i = 0; i < corners.size(); ++i)
    {
        Point at = corners[i];
        const Point next = corners[(i + 1) % corners.size()];
        const auto towards = [](int from, int to) { return from + (to > from ? 1 : 0) - (to < from ? 1 : 0); };
        do
        {
            between.push_back(at);
            at = {towards(at.first, next.first), towards(at.second, next.second)};
        } while (at != next);
    }
    // The chain of all points may begin within a side.
    std::rotate(between.begin(), std::find(between.begin(), between.end(), full[0]), between.end());
    EXPECT_EQ(full, between);
}

TEST(Contours, HaveTheMeasuresOfTheirPolygons)
{
    // A square of 10 by 4, clockwise on the screen, with a point twice.
    const std::vector<int32_t> square = {5, 5, 15, 5, 15, 9, 15, 9, 5, 9};
    vsrContourMeasure m{};
    ASSERT_EQ(0u, vsrContourMeasures32(square.data(), 5, &m));
    EXPECT_EQ(28, m.length);
    EXPECT_EQ(40, m.area);
    EXPECT_EQ(10, m.cx);
    EXPECT_EQ(7, m.cy);
    EXPECT_EQ(std::tuple(5, 5, 11u, 5u), std::tuple(m.x, m.y, m.width, m.height));
    // Outer borders run the other way round, holes this way; a line there and back has no area.
    Mask ring(7, 5);
    for (int i = 0; i < 35; ++i)
    {
        ring.pixels[static_cast<size_t>(i)] = i == 17 ? 0 : 1;
    }
    const Contours contours(ring);
    ASSERT_EQ(2u, contours.chains.size());
    const double areas[] = {-24, 2};
    for (size_t i = 0; i < 2; ++i)
    {
        std::vector<int32_t> xy;
        for (const Point& p : contours.chains[i])
        {
            xy.insert(xy.end(), {p.first, p.second});
        }
        ASSERT_EQ(0u, vsrContourMeasures32(xy.data(), static_cast<uint32_t>(xy.size() / 2), &m));
        EXPECT_EQ(areas[i], m.area);
        EXPECT_EQ(3, m.cx);
        EXPECT_EQ(2, m.cy);
    }
    const std::vector<int32_t> line = {0, 0, 6, 8, 0, 0, 3, 4};
    ASSERT_EQ(0u, vsrContourMeasures32(line.data(), 4, &m));
    EXPECT_EQ(std::tuple(30.0, 0.0, 2.25f, 3.0f), std::tuple(m.length, m.area, m.cx, m.cy));
}

TEST(EdgeChains, TakeEveryPixelOnceAndGoOnStraight)
{
    Random random(3);
    for (int round = 0; round < 200; ++round)
    {
        const Mask mask = noise(random, 30);
        const auto most = static_cast<uint32_t>(mask.pixels.size());
        std::vector<uint32_t> lengths(most);
        std::vector<int32_t> xy(2 * size_t{most});
        uint32_t chains = 0;
        uint32_t points = 0;
        ASSERT_EQ(0u, vsrEdgeLinku8(mask.pixels.data(), mask.columns(), mask.rows(), 0, 1, lengths.data(), most,
                                    &chains, xy.data(), most, &points));
        std::set<Point> taken;
        size_t at = 0;
        for (uint32_t i = 0; i < chains; ++i)
        {
            for (uint32_t k = 0; k < lengths[i]; ++k, at += 2)
            {
                const Point p = {xy[at], xy[at + 1]};
                ASSERT_TRUE(mask.at(p.first, p.second) != 0 && taken.insert(p).second);
                ASSERT_TRUE(k == 0 || std::max(std::abs(p.first - xy[at - 2]), std::abs(p.second - xy[at - 1])) == 1);
            }
        }
        ASSERT_EQ(static_cast<size_t>(std::count(mask.pixels.begin(), mask.pixels.end(), 1)), taken.size());
    }
    // Two lines that cross: each goes straight on. The first begins at its top and needs no backward part.
    Mask cross(9, 9);
    for (int i = 0; i < 9; ++i)
    {
        cross.at(i, i) = 1;
        cross.at(8 - i, i) = 1;
    }
    std::vector<uint32_t> lengths(9);
    std::vector<int32_t> xy(200);
    uint32_t chains = 0;
    uint32_t points = 0;
    ASSERT_EQ(0u, vsrEdgeLinku8(cross.pixels.data(), 9, 9, 0, 5, lengths.data(), 9, &chains, xy.data(), 100, &points));
    EXPECT_EQ(1u, chains);
    EXPECT_EQ(9u, lengths[0]);
    // A line met in its middle: what was behind comes first.
    Mask bow(5, 3);
    for (const auto& [x, y] : {Point(0, 2), {1, 1}, {2, 0}, {3, 1}, {4, 2}})
    {
        bow.at(x, y) = 1;
    }
    ASSERT_EQ(0u, vsrEdgeLinku8(bow.pixels.data(), 5, 3, 0, 5, lengths.data(), 9, &chains, xy.data(), 100, &points));
    ASSERT_EQ(5u, points);
    EXPECT_EQ(std::vector<int32_t>({0, 2, 1, 1, 2, 0, 3, 1, 4, 2}), std::vector<int32_t>(xy.begin(), xy.begin() + 10));
}

}  // namespace
}  // namespace visora::test
