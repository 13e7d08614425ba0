// Stable regions: judged by all components of all levels, compared as sets.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <set>

#include "operations/shape.h"

namespace visora::test
{
namespace
{

using Pixels = std::vector<int>;  // in row-major order

struct Parameters
{
    uint32_t delta, minArea, maxArea;
    float maxVariation, minDiversity;
};

struct Region
{
    Pixels pixels;
    int first, last;  // levels
    int parent = -1;  // among the regions
    std::pair<size_t, size_t> firstGrowth, lastGrowth;

    size_t area() const { return pixels.size(); }
};

bool isLess(std::pair<size_t, size_t> a, std::pair<size_t, size_t> b)
{
    return a.first * b.second < b.first * a.second;
}

float variationOf(const Region& r)
{
    return static_cast<float>(r.firstGrowth.first) / static_cast<float>(r.firstGrowth.second);
}

// All distinct components; joined(p, q) is the level from which two neighbours are joined, present(p) that from which a
// pixel is there.
template <class Joined, class Present>
std::vector<Region> allRegions(int width, int height, uint32_t delta, Joined joined, Present present)
{
    std::map<Pixels, Region> found;
    std::vector<std::vector<const Pixels*>> holder(256,
                                                   std::vector<const Pixels*>(static_cast<size_t>(width * height)));
    for (int level = 0; level < 256; ++level)
    {
        std::vector<bool> seen(static_cast<size_t>(width * height));
        for (int start = 0; start < width * height; ++start)
        {
            if (seen[static_cast<size_t>(start)] || present(start) > level)
            {
                continue;
            }
            Pixels open = {start};
            Pixels all;
            seen[static_cast<size_t>(start)] = true;
            while (!open.empty())
            {
                const int p = open.back();
                open.pop_back();
                all.push_back(p);
                for (const int d : {0, 1, 2, 3})
                {
                    const int x = p % width + (d == 0) - (d == 1);
                    const int y = p / width + (d == 2) - (d == 3);
                    const int q = y * width + x;
                    if (x >= 0 && y >= 0 && x < width && y < height && !seen[static_cast<size_t>(q)] &&
                        joined(p, q) <= level)
                    {
                        seen[static_cast<size_t>(q)] = true;
                        open.push_back(q);
                    }
                }
            }
            std::sort(all.begin(), all.end());
            Region& region = found.emplace(all, Region{all, level, level, -1, {}, {}}).first->second;
            region.last = level;
            for (const int p : all)
            {
                holder[static_cast<size_t>(level)][static_cast<size_t>(p)] = &found.find(all)->first;
            }
        }
    }
    std::vector<Region> regions;
    std::map<const Pixels*, int> index;
    for (auto& [pixels, region] : found)
    {
        index[&pixels] = static_cast<int>(regions.size());
        regions.push_back(region);
    }
    for (Region& r : regions)
    {
        const auto at = [&](int level)
        { return holder[static_cast<size_t>(std::min(level, 255))][static_cast<size_t>(r.pixels[0])]; };
        const auto growth = [&](int level)
        { return std::pair(at(level + static_cast<int>(delta))->size() - r.area(), r.area()); };
        r.firstGrowth = growth(r.first);
        r.lastGrowth = growth(r.last);
        r.parent = r.last == 255 ? -1 : index[at(r.last + 1)];
    }
    return regions;
}

// The regions that are listed, in order.
std::vector<Region> stableRegions(const std::vector<Region>& all, const Parameters& parameters)
{
    std::vector<size_t> standing;
    for (size_t i = 0; i < all.size(); ++i)
    {
        const Region& r = all[i];
        if (r.parent < 0 || r.area() < parameters.minArea || r.area() > parameters.maxArea ||
            !(variationOf(r) <= parameters.maxVariation))
        {
            continue;
        }
        bool isStable = isLess(r.firstGrowth, r.lastGrowth) ||
                        !isLess(all[static_cast<size_t>(r.parent)].firstGrowth, r.firstGrowth);
        for (const Region& child : all)
        {
            isStable = isStable && (child.parent != static_cast<int>(i) || isLess(r.firstGrowth, child.lastGrowth));
        }
        if (isStable)
        {
            standing.push_back(i);
        }
    }
    std::sort(standing.begin(), standing.end(),
              [&](size_t a, size_t b)
              { return std::pair(all[a].area(), all[a].pixels[0]) < std::pair(all[b].area(), all[b].pixels[0]); });
    std::set<size_t> fallen;
    const auto stands = [&](size_t i)
    { return std::find(standing.begin(), standing.end(), i) != standing.end() && fallen.count(i) == 0; };
    for (const size_t i : standing)
    {
        for (int up = all[i].parent; up >= 0 && stands(i); up = all[static_cast<size_t>(up)].parent)
        {
            const auto a = static_cast<size_t>(up);
            if (!stands(a))
            {
                continue;
            }
            const auto around = static_cast<float>(all[a].area());
            if (!(static_cast<float>(all[a].area() - all[i].area()) / around < parameters.minDiversity))
            {
                break;
            }
            fallen.insert(isLess(all[a].firstGrowth, all[i].firstGrowth) ? i : a);
        }
    }
    std::vector<Region> listed;
    for (const size_t i : standing)
    {
        if (stands(i))
        {
            listed.push_back(all[i]);
            int up = all[i].parent;
            while (up >= 0 && !stands(static_cast<size_t>(up)))
            {
                up = all[static_cast<size_t>(up)].parent;
            }
            listed.back().parent = up;
        }
    }
    for (Region& r : listed)
    {
        r.parent = r.parent < 0
                       ? -1
                       : all[static_cast<size_t>(r.parent)].pixels[0] + 1000 * all[static_cast<size_t>(r.parent)].first;
    }
    std::sort(listed.begin(), listed.end(),
              [](const Region& a, const Region& b)
              { return std::pair(a.first, a.pixels[0]) < std::pair(b.first, b.pixels[0]); });
    for (Region& r : listed)
    {
        const auto around = std::find_if(listed.begin(), listed.end(),
                                         [&](const Region& o) { return o.pixels[0] + 1000 * o.first == r.parent; });
        r.parent = r.parent < 0 ? -1 : static_cast<int>(around - listed.begin());
    }
    return listed;
}

struct Lists
{
    explicit Lists(uint32_t capacity = 1000, uint32_t maxPixels = 60000)
        : regions(capacity), traits(capacity), bright(capacity), pixels(2 * size_t{maxPixels} + 1), room(maxPixels)
    {
    }

    Pixels pixelsOf(size_t i, int width) const
    {
        Pixels list;
        for (size_t p = regions[i].firstPixel; p < size_t{regions[i].firstPixel} + regions[i].numPixels; ++p)
        {
            list.push_back(static_cast<int>(pixels[2 * p + 1]) * width + static_cast<int>(pixels[2 * p]));
        }
        return list;
    }

    std::vector<vsrMserRegion> regions;
    std::vector<vsrMserTrait> traits;
    std::vector<uint8_t> bright;
    std::vector<uint32_t> pixels;
    uint32_t room;
    uint32_t count = 0;
    uint32_t used = 0;
};

using Handle = std::unique_ptr<vsrMser, vsrStatus (*)(vsrMser*)>;

Handle handleOf(const Parameters& p, uint32_t width, uint32_t height)
{
    vsrMser* mser = nullptr;
    EXPECT_EQ(0u, vsrMserCreate(width, height, p.delta, p.minArea, p.maxArea, p.maxVariation, p.minDiversity, &mser));
    return {mser, vsrMserRelease};
}

Parameters someParameters(Random& random)
{
    const uint32_t minArea = random.between(1, 4);
    return {random.between(1, random.oneIn(4) ? 255 : 30), minArea, minArea + random.between(0, 60),
            0.25f * static_cast<float>(random.between(0, 12)), 0.1f * static_cast<float>(random.between(0, 10))};
}

void expectRegions(const std::vector<Region>& expected, const Lists& lists, size_t begin, size_t count, int width)
{
    ASSERT_EQ(expected.size(), count);
    for (size_t i = 0; i < count; ++i)
    {
        const vsrMserRegion& region = lists.regions[begin + i];
        ASSERT_EQ(expected[i].pixels, lists.pixelsOf(begin + i, width));
        std::set<uint32_t> columns;
        for (const int p : expected[i].pixels)
        {
            columns.insert(static_cast<uint32_t>(p % width));
        }
        const auto top = static_cast<uint32_t>(expected[i].pixels.front() / width);
        const auto bottom = static_cast<uint32_t>(expected[i].pixels.back() / width);
        ASSERT_EQ(std::tuple(*columns.begin(), top, *columns.rbegin() - *columns.begin() + 1, bottom - top + 1),
                  std::tuple(region.x, region.y, region.width, region.height));
    }
}

TEST(StableRegions, AreThoseAmongAllComponents)
{
    Random random(1);
    size_t listed = 0;
    for (int round = 0; round < 150; ++round)
    {
        const int width = static_cast<int>(random.between(1, 11));
        const int height = static_cast<int>(random.between(1, 11));
        std::vector<uint8_t> image(static_cast<size_t>(width * height));
        const uint32_t step = random.between(1, 60);
        for (uint8_t& pixel : image)
        {
            pixel = static_cast<uint8_t>(random.between(0, 255 / step) * step);
        }
        const Parameters parameters = someParameters(random);
        const auto columns = static_cast<uint32_t>(width);
        const auto rows = static_cast<uint32_t>(height);
        const Handle mser = handleOf(parameters, columns + random.between(0, 2), rows + random.between(0, 2));
        std::vector<Region> expected[2];
        for (const int bright : {0, 1})
        {
            const auto level = [&](int p) { return image[static_cast<size_t>(p)] ^ (bright != 0 ? 255 : 0); };
            expected[bright] = stableRegions(
                allRegions(
                    width, height, parameters.delta, [&](int p, int q) { return std::max(level(p), level(q)); }, level),
                parameters);
            listed += expected[bright].size();
        }
        Lists dark;
        Lists bright;
        ASSERT_EQ(0u, vsrMserSplitExtu8(mser.get(), image.data(), columns, rows, 0, dark.regions.data(),
                                        dark.traits.data(), 1000, &dark.count, dark.pixels.data(), dark.room,
                                        &dark.used, bright.regions.data(), bright.traits.data(), 1000, &bright.count,
                                        bright.pixels.data(), bright.room, &bright.used));
        expectRegions(expected[0], dark, 0, dark.count, width);
        expectRegions(expected[1], bright, 0, bright.count, width);
        for (const int b : {0, 1})
        {
            const Lists& lists = b != 0 ? bright : dark;
            for (size_t i = 0; i < lists.count; ++i)
            {
                const Region& r = expected[b][i];
                const vsrMserTrait& trait = lists.traits[i];
                ASSERT_EQ(variationOf(r), trait.variation);
                ASSERT_EQ(r.area(), trait.area);
                ASSERT_EQ(b != 0 ? 255 - r.first : r.first, static_cast<int>(trait.level));
                ASSERT_EQ(r.parent, trait.parent);
            }
        }
        // As one list, and cut where it is full.
        Lists whole;
        ASSERT_EQ(0u,
                  vsrMserDetectu8(mser.get(), image.data(), columns, rows, 0, whole.regions.data(), whole.bright.data(),
                                  1000, &whole.count, whole.pixels.data(), whole.room, &whole.used));
        ASSERT_EQ(dark.count + bright.count, whole.count);
        expectRegions(expected[1], whole, dark.count, bright.count, width);
        ASSERT_EQ(bright.count, std::count(whole.bright.begin(), whole.bright.begin() + whole.count, 1));
        Lists cut(1000, random.between(0, whole.used));
        ASSERT_EQ(0u, vsrMserDetectu8(mser.get(), image.data(), columns, rows, 0, cut.regions.data(), cut.bright.data(),
                                      1000, &cut.count, cut.pixels.data(), cut.room, &cut.used));
        ASSERT_TRUE(cut.count == whole.count || cut.used + whole.regions[cut.count].numPixels > cut.room);
    }
    EXPECT_GT(listed, 300u);
}

TEST(StableRegions, OfColourAreJoinedByDifferences)
{
    Random random(2);
    size_t listed = 0;
    for (int round = 0; round < 100; ++round)
    {
        const int width = static_cast<int>(random.between(1, 10));
        const int height = static_cast<int>(random.between(1, 10));
        std::vector<uint8_t> image(static_cast<size_t>(3 * width * height));
        const uint32_t step = random.between(1, 60);
        for (uint8_t& pixel : image)
        {
            pixel = static_cast<uint8_t>(random.between(0, 255 / step) * step);
        }
        const Parameters parameters = someParameters(random);
        const std::vector<Region> expected =
            stableRegions(allRegions(
                              width, height, parameters.delta,
                              [&](int p, int q)
                              {
                                  int most = 0;
                                  for (int c = 0; c < 3; ++c)
                                  {
                                      most = std::max(most, std::abs(image[static_cast<size_t>(3 * p + c)] -
                                                                     image[static_cast<size_t>(3 * q + c)]));
                                  }
                                  return most;
                              },
                              [](int) { return 0; }),
                          parameters);
        listed += expected.size();
        const Handle mser = handleOf(parameters, 10, 10);
        Lists lists;
        ASSERT_EQ(0u, vsrMserDetectRGB888u8(mser.get(), image.data(), static_cast<uint32_t>(width),
                                            static_cast<uint32_t>(height), 0, lists.regions.data(), 1000, &lists.count,
                                            lists.pixels.data(), lists.room, &lists.used));
        expectRegions(expected, lists, 0, lists.count, width);
    }
    EXPECT_GT(listed, 100u);
}

TEST(StableRegions, HaveTheEllipsesOfTheirMoments)
{
    // A filled turned ellipse has itself back; a row of pixels no width, one pixel nothing.
    const vsrEllipse truth = {500.25f, 400.5f, 220, 90, 35};
    std::vector<uint32_t> xy;
    for (uint32_t y = 0; y < 900; ++y)
    {
        for (uint32_t x = 0; x < 900; ++x)
        {
            const double turn = truth.angle * M_PI / 180;
            const double dx = x - double{truth.cx};
            const double dy = y - double{truth.cy};
            const double u = (dx * std::cos(turn) + dy * std::sin(turn)) / truth.radiusA;
            const double v = (dy * std::cos(turn) - dx * std::sin(turn)) / truth.radiusB;
            if (u * u + v * v <= 1)
            {
                xy.insert(xy.end(), {x, y});
            }
        }
    }
    const auto filled = static_cast<uint32_t>(xy.size() / 2);
    for (uint32_t i = 0; i < 5; ++i)
    {
        xy.insert(xy.end(), {7, 20 - i});
    }
    xy.insert(xy.end(), {0, 0, UINT32_MAX, UINT32_MAX});
    const auto region = [](uint32_t first, uint32_t count) { return vsrMserRegion{first, count, 0, 0, 0, 0}; };
    const std::vector<vsrMserRegion> regions = {region(0, filled), region(filled, 5), region(3, 1), region(3, 0),
                                                region(filled + 5, 2)};
    std::vector<vsrEllipse> ellipses(5);
    ASSERT_EQ(0u,
              vsrMserEllipsesf32(regions.data(), 5, xy.data(), static_cast<uint32_t>(xy.size() / 2), ellipses.data()));
    EXPECT_NEAR(truth.cx, ellipses[0].cx, 0.02);
    EXPECT_NEAR(truth.cy, ellipses[0].cy, 0.02);
    EXPECT_NEAR(truth.radiusA, ellipses[0].radiusA, 0.1);
    EXPECT_NEAR(truth.radiusB, ellipses[0].radiusB, 0.1);
    EXPECT_NEAR(truth.angle, ellipses[0].angle, 0.05);
    EXPECT_EQ(std::tuple(7.0f, 18.0f, 2 * std::sqrt(2.0f), 0.0f, 90.0f),
              std::tuple(ellipses[1].cx, ellipses[1].cy, ellipses[1].radiusA, ellipses[1].radiusB, ellipses[1].angle));
    EXPECT_EQ(0, ellipses[2].radiusA + ellipses[2].radiusB + ellipses[2].angle);
    EXPECT_EQ(0, ellipses[3].cx + ellipses[3].cy);
    EXPECT_EQ(45, ellipses[4].angle);
    EXPECT_EQ(static_cast<float>(UINT32_MAX * std::sqrt(2.0)), ellipses[4].radiusA);
    std::vector<uint8_t> mask(30 * 30);
    ASSERT_EQ(0u, vsrMserMasku8(regions.data() + 1, 2, xy.data(), filled + 5, mask.data(), 30, 30, 0));
    EXPECT_EQ(5, std::count(mask.begin(), mask.end(), 1));
    EXPECT_EQ(0, std::count(mask.begin(), mask.end(), 2));
    EXPECT_EQ(1, mask[18 * 30 + 7]);
}

TEST(StableRegions, RefuseWhatIsOutsideItsRange)
{
    vsrMser* mser = nullptr;
    const auto create = [&](uint32_t width, uint32_t height, uint32_t delta, uint32_t least, uint32_t most,
                            float variation, float diversity)
    {
        const vsrStatus status = vsrMserCreate(width, height, delta, least, most, variation, diversity, &mser);
        EXPECT_TRUE(status != 0 || (mser != nullptr && vsrMserRelease(mser) == 0));
        return status;
    };
    EXPECT_EQ(0u, create(9, 9, 255, 7, 7, 0, 1));
    EXPECT_EQ(3u, create(0, 9, 1, 1, 1, 0, 0));
    EXPECT_EQ(3u, create(65536, 9, 1, 1, 1, 0, 0));
    EXPECT_EQ(3u, create(16385, 16384, 1, 1, 1, 0, 0));
    EXPECT_EQ(3u, create(9, 9, 0, 1, 1, 0, 0));
    EXPECT_EQ(3u, create(9, 9, 256, 1, 1, 0, 0));
    EXPECT_EQ(3u, create(9, 9, 1, 0, 1, 0, 0));
    EXPECT_EQ(3u, create(9, 9, 1, 2, 1, 0, 0));
    EXPECT_EQ(3u, create(9, 9, 1, 1, 1, -1, 0));
    EXPECT_EQ(3u, create(9, 9, 1, 1, 1, NAN, 0));
    EXPECT_EQ(3u, create(9, 9, 1, 1, 1, 0, 1.5f));
    EXPECT_EQ(3u, create(9, 9, 1, 1, 1, 0, NAN));
    EXPECT_EQ(3u, vsrMserCreate(9, 9, 1, 1, 1, 0, 0, nullptr));
    EXPECT_EQ(3u, vsrMserRelease(nullptr));
    const Handle handle = handleOf({1, 1, 9, 1, 0}, 9, 9);
    const std::vector<uint32_t> head(handle->parameters, handle->parameters + 8);
    EXPECT_EQ(std::vector<uint32_t>({9, 9, 1, 1, 9, 0x3f800000, 0, 0}), head);
    std::vector<uint8_t> image(100);
    Lists lists;
    const auto detect = [&](uint32_t width, uint32_t height)
    {
        return vsrMserDetectDarku8(handle.get(), image.data(), width, height, 0, lists.regions.data(), 9, &lists.count,
                                   lists.pixels.data(), 9, &lists.used);
    };
    EXPECT_EQ(0u, detect(9, 9));
    EXPECT_EQ(3u, detect(10, 9));
    EXPECT_EQ(3u, detect(9, 10));
    const vsrMserRegion beyond = {3, 5, 0, 0, 0, 0};
    vsrEllipse ellipse{};
    EXPECT_EQ(0u, vsrMserEllipsesf32(&beyond, 1, lists.pixels.data(), 8, &ellipse));
    EXPECT_EQ(3u, vsrMserEllipsesf32(&beyond, 1, lists.pixels.data(), 7, &ellipse));
    EXPECT_EQ(3u, vsrMserMasku8(&beyond, 1, lists.pixels.data(), 7, image.data(), 9, 9, 0));
}

}  // namespace
}  // namespace visora::test
