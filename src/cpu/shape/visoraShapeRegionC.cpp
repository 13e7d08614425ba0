// Lists of pixels, components and contours, reference variants.
#include <cmath>

#include "cpu/shape/visoraShapeComponent.h"
#include "cpu/shape/visoraShapeContour.h"
#include "cpu/shape/visoraShapeMeasure.h"
#include "visora/variants/shape.h"

using visora::imageRow;

vsrStatus vsrFindNonZerou8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* xy,
                            uint32_t capacity, uint32_t* count)
{
    uint32_t found = 0;
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* row = imageRow(src, srcStride, y);
        for (uint32_t x = 0; x < srcWidth && found < capacity; ++x)
        {
            if (row[x] != 0)
            {
                xy[2 * size_t{found}] = x;
                xy[2 * size_t{found} + 1] = y;
                ++found;
            }
        }
    }
    *count = found;
    return VISORA_SUCCESS;
}

namespace
{

size_t findRuns(const uint8_t* row, uint32_t width, visora::Run* runs)
{
    size_t count = 0;
    for (uint32_t x = 0; x < width; ++x)
    {
        if (row[x] != 0 && (x == 0 || row[x - 1] == 0))
        {
            runs[count++].begin = static_cast<uint16_t>(x);
        }
        if (row[x] != 0)
        {
            runs[count - 1].end = static_cast<uint16_t>(x + 1);
        }
    }
    return count;
}

void setRow(const uint8_t* mask, uint8_t* row, uint32_t width)
{
    for (uint32_t x = 0; x < width; ++x)
    {
        row[x] = mask[x] != 0 ? visora::kUnmarked : visora::kOutside;
    }
}

uint64_t runStarts(const uint8_t* pixels)
{
    uint64_t starts = 0;
    for (uint32_t i = 0; i < 64; ++i)
    {
        starts |= uint64_t{pixels[i] != 0 && *(pixels + i - 1) == 0} << i;
    }
    return starts;
}

template <auto isBeginning>
size_t nextBeginning(const uint8_t* pixels, size_t end)
{
    size_t x = 0;
    while (x < end && !isBeginning(pixels + x))
    {
        ++x;
    }
    return x;
}

}  // namespace

vsrStatus vsrFindConnectedComponentsu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t connectivity, uint32_t* labels, uint32_t labelStride,
                                        vsrComponent* regions, uint32_t capacity, uint32_t* numRegions)
{
    return visora::labelComponents(src, srcWidth, srcHeight, srcStride, connectivity, labels, labelStride, regions,
                                   capacity, numRegions, findRuns);
}

vsrStatus vsrFindContoursu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             vsrChainType chain, uint32_t* lengths, vsrContourLinks* links, uint32_t maxContours,
                             uint32_t* numContours, int32_t* xy, uint32_t maxPoints, uint32_t* numPoints)
{
    return visora::listContours(src, srcWidth, srcHeight, srcStride,
                                {chain, lengths, links, maxContours, xy, maxPoints}, numContours, numPoints, setRow,
                                runStarts, nextBeginning<visora::mayBegin>);
}

vsrStatus vsrFindOuterContoursu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  vsrChainType chain, uint32_t* lengths, uint32_t maxContours, uint32_t* numContours,
                                  int32_t* xy, uint32_t maxPoints, uint32_t* numPoints)
{
    return visora::listContours(src, srcWidth, srcHeight, srcStride,
                                {chain, lengths, nullptr, maxContours, xy, maxPoints}, numContours, numPoints, setRow,
                                runStarts, nextBeginning<visora::mayBeginOutside>);
}

vsrStatus vsrContourMeasures32C(const int32_t* xy, uint32_t numPoints, vsrContourMeasure* measure)
{
    visora::ContourSums sums;
    visora::ContourBox box(xy);
    for (uint32_t i = 0; i < numPoints; ++i)
    {
        sums.add(xy, i, i + 1 == numPoints ? 0 : i + 1);
        box.add(xy[2 * size_t{i}], xy[2 * size_t{i} + 1]);
    }
    *measure = visora::contourMeasure(sums, box, xy, numPoints);
    return VISORA_SUCCESS;
}

namespace
{

// Directions by how little they turn from one, clockwise before counter-clockwise.
constexpr std::array<uint32_t, 8> kOnward = {0, 1, 7, 2, 6, 3, 5, 4};

// Free pixels of an edge mask, with a frame of zeros.
struct FreePixels
{
    // Takes the first free neighbour in the first `count` of these turns from a direction; false without one.
    template <class Turns>
    bool step(size_t& at, visora::PackedPoint& point, uint32_t& direction, const Turns& turns, uint32_t count) const
    {
        for (uint32_t i = 0; i < count; ++i)
        {
            const uint32_t d = (direction + turns[i]) & 7;
            const auto to = static_cast<size_t>(static_cast<ptrdiff_t>(at) + visora::kStepX[d] +
                                                visora::kStepY[d] * static_cast<ptrdiff_t>(stride));
            if (pixels[to] != 0)
            {
                pixels[to] = 0;
                at = to;
                point += static_cast<uint32_t>(visora::kStepX[d] + visora::kStepY[d] * 65536);
                direction = d;
                return true;
            }
        }
        return false;
    }

    uint8_t* pixels;
    size_t stride;
};

}  // namespace

vsrStatus vsrEdgeLinku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         uint32_t minLength, uint32_t* lengths, uint32_t maxChains, uint32_t* numChains, int32_t* xy,
                         uint32_t maxPoints, uint32_t* numPoints)
{
    static constexpr std::array<uint32_t, 8> kAll = {0, 1, 2, 3, 4, 5, 6, 7};
    static constexpr std::array<uint32_t, 7> kBackward = {4, 5, 3, 6, 2, 7, 1};
    size_t set = 0;
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* row = imageRow(src, srcStride, y);
        set += srcWidth - static_cast<size_t>(std::count(row, row + srcWidth, 0));
    }
    const size_t stride = size_t{srcWidth} + 2;
    const size_t pixels = stride * (size_t{srcHeight} + 2);
    const visora::Scratch scratch(visora::partBytes<uint8_t>(pixels) + visora::partBytes<visora::PackedPoint>(set));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    visora::Parts parts(scratch);
    const FreePixels free{parts.take<uint8_t>(pixels), stride};
    auto* const chain = parts.take<visora::PackedPoint>(set);
    std::memset(free.pixels, 0, pixels);
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        std::memcpy(free.pixels + (y + 1) * stride + 1, imageRow(src, srcStride, y), srcWidth);
    }

    uint32_t chains = 0;
    uint32_t points = 0;
    const uint8_t* const begin = free.pixels + stride;
    const uint8_t* const end = begin + stride * srcHeight;
    for (const uint8_t* next = begin;; ++next)
    {
        next = std::find_if(next, end, [](uint8_t pixel) { return pixel != 0; });
        if (next == end)
        {
            break;
        }
        const auto start = static_cast<size_t>(next - free.pixels);
        free.pixels[start] = 0;
        const auto startPoint =
            visora::packPoint(static_cast<uint32_t>(start % stride) - 1, static_cast<uint32_t>(start / stride) - 1);
        size_t length = 0;
        chain[length++] = startPoint;
        size_t at = start;
        visora::PackedPoint point = startPoint;
        uint32_t direction = 0;
        size_t forward = length;
        if (free.step(at, point, direction, kAll, 8))
        {
            const uint32_t first = direction;
            do
            {
                chain[length++] = point;
            } while (free.step(at, point, direction, kOnward, 7));
            forward = length;
            at = start;
            point = startPoint;
            direction = first;
            if (free.step(at, point, direction, kBackward, 7))
            {
                do
                {
                    chain[length++] = point;
                } while (free.step(at, point, direction, kOnward, 7));
            }
        }
        if (length < minLength)
        {
            continue;
        }
        if (chains == maxChains || length > maxPoints - points)
        {
            break;
        }
        int32_t* to = xy + 2 * size_t{points};
        const auto put = [&](visora::PackedPoint p)
        {
            *to++ = static_cast<int32_t>(visora::xOf(p));
            *to++ = static_cast<int32_t>(visora::yOf(p));
        };
        std::for_each(std::make_reverse_iterator(chain + length), std::make_reverse_iterator(chain + forward), put);
        std::for_each(chain, chain + forward, put);
        lengths[chains++] = static_cast<uint32_t>(length);
        points += static_cast<uint32_t>(length);
    }
    *numChains = chains;
    *numPoints = points;
    return VISORA_SUCCESS;
}
