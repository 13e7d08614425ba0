// Line segments by growing regions of like gradients, reference variant.
#include <algorithm>
#include <array>
#include <cmath>

#include "cpu/shape/visoraShape.h"
#include "cpu/visoraDegrees.h"
#include "cpu/visoraDrivers.h"
#include "cpu/visoraPartialSums.h"
#include "visora/variants/shape.h"

using visora::imageRow;
using visora::PackedPoint;
using visora::packPoint;
using visora::PartialSums;
using visora::xOf;
using visora::yOf;

namespace
{

// 510 levels at most in x and in y.
constexpr uint32_t kMostSquared = 2 * 510 * 510;

struct BlockGradient
{
    uint32_t squared() const { return static_cast<uint32_t>(x * x + y * y); }
    float length() const { return std::sqrt(static_cast<float>(squared())); }

    int16_t x;
    int16_t y;
};

// Gradients of blocks of 2x2 pixels, and which of them no region has yet.
struct Blocks
{
    size_t at(PackedPoint p) const { return size_t{yOf(p)} * width + xOf(p); }

    uint32_t width;
    uint32_t height;
    BlockGradient* gradients;
    uint8_t* free;
};

struct Region
{
    const PackedPoint* members;
    size_t size;
    // Sum of the unit vectors.
    double x;
    double y;
};

// Takes the free blocks around a seed that point the way the region does.
Region grow(const Blocks& blocks, PackedPoint seed, double cosine, PackedPoint* members)
{
    static constexpr std::array<std::array<int, 2>, 8> kAround = {
        {{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}}};
    Region region{members, 0, 0, 0};
    const auto join = [&](PackedPoint p, double ux, double uy)
    {
        blocks.free[blocks.at(p)] = 0;
        members[region.size++] = p;
        region.x += ux;
        region.y += uy;
    };
    const auto unit = [&](PackedPoint p)
    {
        const BlockGradient& g = blocks.gradients[blocks.at(p)];
        const float m = g.length();
        return visora::UnitVector{static_cast<float>(g.x) / m, static_cast<float>(g.y) / m};
    };
    const visora::UnitVector first = unit(seed);
    join(seed, first.x, first.y);
    for (size_t i = 0; i < region.size; ++i)
    {
        for (const auto& [dx, dy] : kAround)
        {
            const uint32_t x = xOf(members[i]) + static_cast<uint32_t>(dx);
            const uint32_t y = yOf(members[i]) + static_cast<uint32_t>(dy);
            if (x >= blocks.width || y >= blocks.height || blocks.free[size_t{y} * blocks.width + x] == 0)
            {
                continue;
            }
            const PackedPoint p = packPoint(x, y);
            const visora::UnitVector u = unit(p);
            if (u.x * region.x + u.y * region.y >= cosine * std::sqrt(region.x * region.x + region.y * region.y))
            {
                join(p, u.x, u.y);
            }
        }
    }
    return region;
}

struct Segment
{
    double x0, y0, x1, y1;
    double length;
    double width;
};

Segment fit(const Blocks& blocks, const Region& region)
{
    // element(weight, x, y) summed over the members.
    const auto sum = [&](auto element)
    {
        PartialSums<double> sums;
        for (size_t i = 0; i < region.size; ++i)
        {
            const PackedPoint p = region.members[i];
            sums.add(i, element(double{blocks.gradients[blocks.at(p)].length()}, double(xOf(p)), double(yOf(p))));
        }
        return sums.total();
    };
    const double weight = sum([](double m, double /*x*/, double /*y*/) { return m; });
    const double cx = sum([](double m, double x, double /*y*/) { return m * x; }) / weight;
    const double cy = sum([](double m, double /*x*/, double y) { return m * y; }) / weight;
    const double xx = sum([=](double m, double x, double /*y*/) { return m * ((x - cx) * (x - cx)); });
    const double xy = sum([=](double m, double x, double y) { return m * ((x - cx) * (y - cy)); });
    const double yy = sum([=](double m, double /*x*/, double y) { return m * ((y - cy) * (y - cy)); });
    visora::UnitVector d = visora::mainDirection(xx, xy, yy);
    if (d.x * region.y - d.y * region.x < 0)
    {
        d = {-d.x, -d.y};
    }
    double least = 0;
    double most = 0;
    double left = 0;
    double right = 0;
    for (size_t i = 0; i < region.size; ++i)
    {
        const double x = double(xOf(region.members[i])) - cx;
        const double y = double(yOf(region.members[i])) - cy;
        const double l = x * d.x + y * d.y;
        const double q = y * d.x - x * d.y;
        least = i == 0 ? l : std::min(least, l);
        most = i == 0 ? l : std::max(most, l);
        left = i == 0 ? q : std::min(left, q);
        right = i == 0 ? q : std::max(right, q);
    }
    return {cx + least * d.x + 0.5, cy + least * d.y + 0.5, cx + most * d.x + 0.5,
            cy + most * d.y + 0.5,  most - least,           right - left};
}

}  // namespace

vsrStatus vsrFindLineSegmentsu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t gradientThreshold, float tolerance, float minLength, float minDensity,
                                 float* segments, uint32_t capacity, uint32_t* count)
{
    const size_t all = size_t{srcWidth - 1} * (srcHeight - 1);
    const visora::Scratch scratch(visora::partBytes<BlockGradient>(all) + visora::partBytes<uint8_t>(all) +
                                  2 * visora::partBytes<PackedPoint>(all) +
                                  visora::partBytes<uint32_t>(kMostSquared + 1));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    visora::Parts parts(scratch);
    const Blocks blocks{srcWidth - 1, srcHeight - 1, parts.take<BlockGradient>(all), parts.take<uint8_t>(all)};
    auto* const order = parts.take<PackedPoint>(all);
    auto* const members = parts.take<PackedPoint>(all);
    auto* const ends = parts.take<uint32_t>(kMostSquared + 1);
    std::fill_n(ends, kMostSquared + 1, 0u);
    // The strongest first: numbered by what is missing to the strongest that there can be.
    const uint64_t threshold = uint64_t{gradientThreshold} * gradientThreshold;
    for (uint32_t y = 0; y < blocks.height; ++y)
    {
        const uint8_t* above = imageRow(src, srcStride, y);
        const uint8_t* below = imageRow(src, srcStride, y + 1);
        for (uint32_t x = 0; x < blocks.width; ++x)
        {
            const int falling = below[x + 1] - above[x];
            const int rising = above[x + 1] - below[x];
            const size_t i = size_t{y} * blocks.width + x;
            blocks.gradients[i] = {static_cast<int16_t>(falling + rising), static_cast<int16_t>(falling - rising)};
            const uint32_t squared = blocks.gradients[i].squared();
            blocks.free[i] = squared > threshold ? 1 : 0;
            ends[kMostSquared - squared] += blocks.free[i];
        }
    }
    uint32_t begin = 0;
    for (uint32_t i = 0; i <= kMostSquared; ++i)
    {
        const uint32_t length = ends[i];
        ends[i] = begin;
        begin += length;
    }
    for (uint32_t y = 0; y < blocks.height; ++y)
    {
        for (uint32_t x = 0; x < blocks.width; ++x)
        {
            const size_t i = size_t{y} * blocks.width + x;
            if (blocks.free[i] != 0)
            {
                order[ends[kMostSquared - blocks.gradients[i].squared()]++] = packPoint(x, y);
            }
        }
    }

    const double cosine = visora::sineAndCosine(tolerance).cosine;
    uint32_t listed = 0;
    for (uint32_t i = 0; i < begin && listed < capacity; ++i)
    {
        if (blocks.free[blocks.at(order[i])] == 0)
        {
            continue;
        }
        const Region region = grow(blocks, order[i], cosine, members);
        const Segment s = fit(blocks, region);
        if (s.length >= minLength &&
            static_cast<double>(region.size) >= minDensity * ((s.length + 1.0) * (s.width + 1.0)))
        {
            const double numbers[] = {s.x0, s.y0, s.x1, s.y1, s.width + 1.0};
            std::transform(std::begin(numbers), std::end(numbers), segments + 5 * size_t{listed},
                           [](double v) { return static_cast<float>(v); });
            ++listed;
        }
    }
    *count = listed;
    return VISORA_SUCCESS;
}
