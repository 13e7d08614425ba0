// Filling and growing, reference variants.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "cpu/shape/visoraShape.h"
#include "cpu/shape/visoraShapeForeground.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/shape.h"

using visora::imageRow;
using visora::PackedPoint;

vsrStatus vsrFloodFillu8C(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t seedX,
                          uint32_t seedY, uint8_t value, uint32_t lower, uint32_t upper, uint32_t connectivity,
                          uint32_t floating, uint32_t* area, uint32_t* box)
{
    const size_t pixels = size_t{dstWidth} * dstHeight;
    const visora::Scratch scratch(visora::partBytes<uint8_t>(pixels) + visora::partBytes<PackedPoint>(pixels));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    visora::Parts parts(scratch);
    auto* const reached = parts.take<uint8_t>(pixels);
    auto* const list = parts.take<PackedPoint>(pixels);
    std::memset(reached, 0, pixels);
    uint32_t count = 0;
    const auto reach = [&](uint32_t x, uint32_t y)
    {
        reached[y * size_t{dstWidth} + x] = 1;
        list[count++] = visora::packPoint(x, y);
    };
    const auto level = [=](PackedPoint p) { return int64_t{imageRow(dst, dstStride, visora::yOf(p))[visora::xOf(p)]}; };
    reach(seedX, seedY);
    uint32_t left = seedX, right = seedX, top = seedY, bottom = seedY;
    for (uint32_t i = 0; i < count; ++i)
    {
        const int64_t base = level(list[floating != 0 ? i : 0]);
        for (uint32_t d = 0; d < 8; d += visora::directionStep(connectivity))
        {
            const uint32_t x = visora::xOf(list[i]) + static_cast<uint32_t>(visora::kStepX[d]);
            const uint32_t y = visora::yOf(list[i]) + static_cast<uint32_t>(visora::kStepY[d]);
            if (x < dstWidth && y < dstHeight && reached[y * size_t{dstWidth} + x] == 0 &&
                level(visora::packPoint(x, y)) >= base - lower && level(visora::packPoint(x, y)) <= base + upper)
            {
                reach(x, y);
            }
        }
        left = std::min(left, visora::xOf(list[i]));
        right = std::max(right, visora::xOf(list[i]));
        top = std::min(top, visora::yOf(list[i]));
        bottom = std::max(bottom, visora::yOf(list[i]));
    }
    for (uint32_t i = 0; i < count; ++i)
    {
        imageRow(dst, dstStride, visora::yOf(list[i]))[visora::xOf(list[i])] = value;
    }
    *area = count;
    const uint32_t sides[4] = {left, top, right - left + 1, bottom - top + 1};
    std::copy_n(sides, 4, box);
    return VISORA_SUCCESS;
}

vsrStatus vsrRegionGrowu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const uint32_t* seeds, uint32_t numSeeds, uint32_t tolerance, uint32_t connectivity,
                           uint8_t label, uint8_t* mask, uint32_t maskStride, uint32_t* count)
{
    const visora::Scratch scratch(visora::partBytes<PackedPoint>(size_t{srcWidth} * srcHeight));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    // Each pixel enters once, so that the queue's end is the region's size.
    auto* const queue = scratch.as<PackedPoint>();
    int64_t pixels = 0;
    int64_t sum = 0;
    const auto enter = [&](uint32_t x, uint32_t y)
    {
        imageRow(mask, maskStride, y)[x] = label;
        queue[pixels++] = visora::packPoint(x, y);
        sum += imageRow(src, srcStride, y)[x];
    };
    for (uint32_t i = 0; i < numSeeds; ++i)
    {
        const uint32_t x = seeds[2 * size_t{i}];
        const uint32_t y = seeds[2 * size_t{i} + 1];
        if (imageRow(mask, maskStride, y)[x] == 0)
        {
            enter(x, y);
        }
    }
    for (int64_t next = 0; next < pixels; ++next)
    {
        for (uint32_t d = 0; d < 8; d += visora::directionStep(connectivity))
        {
            const uint32_t x = visora::xOf(queue[next]) + static_cast<uint32_t>(visora::kStepX[d]);
            const uint32_t y = visora::yOf(queue[next]) + static_cast<uint32_t>(visora::kStepY[d]);
            if (x < srcWidth && y < srcHeight && imageRow(mask, maskStride, y)[x] == 0 &&
                std::abs(pixels * imageRow(src, srcStride, y)[x] - sum) <= int64_t{tolerance} * pixels)
            {
                enter(x, y);
            }
        }
    }
    *count = static_cast<uint32_t>(pixels);
    return VISORA_SUCCESS;
}

namespace
{

constexpr std::array<uint32_t, 4> kWestEastNorthSouth = {visora::kWest, visora::kEast, visora::kNorth, visora::kSouth};

// Unknown pixels of a watershed: those nobody came to, and those in a queue.
constexpr int32_t kUnknown = 0;
constexpr int32_t kRidge = -1;
constexpr int32_t kQueued = -2;

// Pixels by level and then by their coming; each enters once.
class LevelQueues
{
  public:
    LevelQueues(PackedPoint* next, uint32_t width) : next_(next), width_(width) { first_.fill(kNone); }

    void push(uint32_t level, PackedPoint p)
    {
        *(first_[level] == kNone ? &first_[level] : &following(last_[level])) = p;
        following(p) = kNone;
        last_[level] = p;
    }

    // The first pixel of the lowest level that has any, and that level; false when all are empty. Levels never fall.
    bool pop(uint32_t& level, PackedPoint& p)
    {
        while (level < 256 && first_[level] == kNone)
        {
            ++level;
        }
        if (level == 256)
        {
            return false;
        }
        p = first_[level];
        first_[level] = following(p);
        return true;
    }

  private:
    // No pixel of an image whose sides are at most 65535.
    static constexpr PackedPoint kNone = 0xffffffff;

    PackedPoint& following(PackedPoint p) { return next_[size_t{visora::yOf(p)} * width_ + visora::xOf(p)]; }

    PackedPoint* next_;
    uint32_t width_;
    std::array<PackedPoint, 256> first_;
    std::array<PackedPoint, 256> last_;
};

}  // namespace

vsrStatus vsrWatershedu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          int32_t* labels, uint32_t labelStride)
{
    const visora::Scratch scratch(visora::partBytes<PackedPoint>(size_t{srcWidth} * srcHeight));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    LevelQueues queues(scratch.as<PackedPoint>(), srcWidth);
    const auto forNeighbours = [&](PackedPoint p, auto body)
    {
        for (const uint32_t d : kWestEastNorthSouth)
        {
            const uint32_t x = visora::xOf(p) + static_cast<uint32_t>(visora::kStepX[d]);
            const uint32_t y = visora::yOf(p) + static_cast<uint32_t>(visora::kStepY[d]);
            if (x < srcWidth && y < srcHeight)
            {
                body(x, y, imageRow(labels, labelStride, y)[x]);
            }
        }
    };
    const auto forPixels = [&](auto body)
    {
        for (uint32_t y = 0; y < srcHeight; ++y)
        {
            int32_t* row = imageRow(labels, labelStride, y);
            for (uint32_t x = 0; x < srcWidth; ++x)
            {
                body(x, y, row[x]);
            }
        }
    };
    forPixels([](uint32_t /*x*/, uint32_t /*y*/, int32_t& label) { label = std::max(label, kUnknown); });
    forPixels(
        [&](uint32_t x, uint32_t y, int32_t& label)
        {
            if (label != kUnknown)
            {
                return;
            }
            bool isTouched = false;
            forNeighbours(visora::packPoint(x, y),
                          [&](uint32_t, uint32_t, int32_t& other) { isTouched = isTouched || other > 0; });
            if (isTouched)
            {
                label = kQueued;
                queues.push(imageRow(src, srcStride, y)[x], visora::packPoint(x, y));
            }
        });
    uint32_t level = 0;
    for (PackedPoint p = 0; queues.pop(level, p);)
    {
        int32_t label = kUnknown;
        forNeighbours(p,
                      [&](uint32_t, uint32_t, int32_t& other)
                      {
                          if (other > 0)
                          {
                              label = label == kUnknown || label == other ? other : kRidge;
                          }
                      });
        imageRow(labels, labelStride, visora::yOf(p))[visora::xOf(p)] = label;
        if (label == kRidge)
        {
            continue;
        }
        forNeighbours(p,
                      [&](uint32_t x, uint32_t y, int32_t& other)
                      {
                          if (other == kUnknown)
                          {
                              other = kQueued;
                              queues.push(std::max<uint32_t>(level, imageRow(src, srcStride, y)[x]),
                                          visora::packPoint(x, y));
                          }
                      });
    }
    forPixels([](uint32_t /*x*/, uint32_t /*y*/, int32_t& label) { label = label == kUnknown ? kRidge : label; });
    return VISORA_SUCCESS;
}

vsrStatus vsrFindForegroundu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t factor, uint32_t rateShift, uint32_t minDeviation, uint16_t* mean,
                               uint32_t meanStride, uint16_t* deviation, uint32_t deviationStride, uint8_t* dst,
                               uint32_t dstStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* from = imageRow(src, srcStride, y);
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            imageRow(dst, dstStride, y)[x] =
                visora::learnForeground(from[x], factor, rateShift, minDeviation, imageRow(mean, meanStride, y)[x],
                                        imageRow(deviation, deviationStride, y)[x]);
        }
    }
    return VISORA_SUCCESS;
}
