// Disparity of two views, reference variants.
#include <bit>

#include "cpu/geom/visoraGeomDisparity.h"
#include "cpu/visoraDrivers.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/geom.h"

using visora::Disparities;
using visora::imageRow;

namespace
{

uint32_t clampTo(int32_t at, uint32_t size)
{
    return static_cast<uint32_t>(std::clamp<int32_t>(at, 0, static_cast<int32_t>(size) - 1));
}

// The first of the least costs.
uint32_t bestOf(const uint16_t* costs, Disparities::Range range)
{
    return static_cast<uint32_t>(std::min_element(costs + range.first, costs + range.end) - costs);
}

// 16 times the disparity, and the best k.
int16_t choose(const Disparities& disparities, const uint16_t* costs, Disparities::Range range, uint32_t uniqueness,
               uint32_t& best)
{
    if (range.isEmpty())
    {
        return VISORA_DISPARITY_NONE;
    }
    best = bestOf(costs, range);
    for (uint32_t k = range.first; k < range.end; ++k)
    {
        if (costs[k] * (100 - uniqueness) < costs[best] * 100U && (k > best + 1 || k + 1 < best))
        {
            return VISORA_DISPARITY_NONE;
        }
    }
    return visora::refined(disparities, costs, best, range);
}

// Sums over windows of 2 radius + 1 elements of a row, whose elements are sums over as many rows.
template <class Element, class Take>
void windowSums(uint32_t width, int32_t radius, Element element, Take take)
{
    const auto columnSum = [&](int32_t x)
    {
        uint32_t sum = 0;
        for (int32_t j = -radius; j <= radius; ++j)
        {
            sum += element(x, j);
        }
        return sum;
    };
    uint32_t sum = 0;
    for (int32_t x = -radius; x < radius; ++x)
    {
        sum += columnSum(x);
    }
    for (int32_t x = 0; x < static_cast<int32_t>(width); ++x)
    {
        sum += columnSum(x + radius);
        take(static_cast<uint32_t>(x), sum);
        sum -= columnSum(x - radius);
    }
}

}  // namespace

vsrStatus vsrDisparityBlockMatchu8s16C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                       const uint8_t* src2, uint32_t src2Stride, int32_t minDisparity,
                                       uint32_t numDisparities, uint32_t blockSize, uint32_t textureThreshold,
                                       uint32_t uniqueness, int16_t* dst, uint32_t dstStride)
{
    const Disparities disparities = {minDisparity, numDisparities};
    const size_t D = numDisparities;
    const visora::Scratch scratch(width * D * sizeof(uint16_t));
    auto* const costs = scratch.as<uint16_t>();  // of a row's pixels
    if (!costs)
    {
        return VISORA_ENOMEM;
    }
    const auto radius = static_cast<int32_t>(blockSize / 2);
    for (uint32_t y = 0; y < height; ++y)
    {
        const auto left = [&](int32_t x, int32_t j) -> int32_t
        { return imageRow(src1, src1Stride, clampTo(static_cast<int32_t>(y) + j, height))[clampTo(x, width)]; };
        const auto right = [&](int32_t x, int32_t j) -> int32_t
        { return imageRow(src2, src2Stride, clampTo(static_cast<int32_t>(y) + j, height))[clampTo(x, width)]; };
        for (uint32_t k = 0; k < numDisparities; ++k)
        {
            const int32_t d = minDisparity + static_cast<int32_t>(k);
            windowSums(
                width, radius,
                [&](int32_t x, int32_t j) { return static_cast<uint32_t>(std::abs(left(x, j) - right(x - d, j))); },
                [&](uint32_t x, uint32_t sum) { costs[x * D + k] = static_cast<uint16_t>(sum); });
        }
        windowSums(
            width, radius,
            [&](int32_t x, int32_t j) { return static_cast<uint32_t>(std::abs(left(x + 1, j) - left(x - 1, j))); },
            [&](uint32_t x, uint32_t texture)
            {
                uint32_t best = 0;
                const int16_t disparity =
                    choose(disparities, costs + x * D, disparities.possibleAt(x, width), uniqueness, best);
                imageRow(dst, dstStride, y)[x] =
                    texture < textureThreshold ? int16_t{VISORA_DISPARITY_NONE} : disparity;
            });
    }
    return VISORA_SUCCESS;
}

namespace
{

constexpr uint32_t kFarCost = 24;

// A bit for each of the other pixels of the 5x5 window, set where it is darker than the centre.
uint32_t censusAt(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t x, uint32_t y)
{
    const uint8_t centre = imageRow(src, stride, y)[x];
    uint32_t bits = 0;
    for (int32_t j = -2; j <= 2; ++j)
    {
        const uint8_t* row = imageRow(src, stride, clampTo(static_cast<int32_t>(y) + j, height));
        for (int32_t i = -2; i <= 2; ++i)
        {
            // The centre is not darker than itself.
            bits = bits * 2 + (row[clampTo(static_cast<int32_t>(x) + i, width)] < centre ? 1 : 0);
        }
    }
    return bits;
}

// One path's costs of a pixel from those of its neighbour, which is null outside the image.
void stepAlong(const uint8_t* pixelCosts, const uint16_t* before, uint32_t D, uint32_t penalty1, uint32_t penalty2,
               uint16_t* costs)
{
    if (!before)
    {
        std::copy_n(pixelCosts, D, costs);
        return;
    }
    const uint32_t least = *std::min_element(before, before + D);
    for (uint32_t k = 0; k < D; ++k)
    {
        uint32_t cheapest = std::min<uint32_t>(before[k], least + penalty2);
        if (k > 0)
        {
            cheapest = std::min(cheapest, before[k - 1] + penalty1);
        }
        if (k + 1 < D)
        {
            cheapest = std::min(cheapest, before[k + 1] + penalty1);
        }
        costs[k] = static_cast<uint16_t>(pixelCosts[k] + cheapest - least);
    }
}

// The steps to a pixel from the one before it on each path.
constexpr int kSteps[8][2] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}, {1, 1}, {-1, -1}, {1, -1}, {-1, 1}};

}  // namespace

vsrStatus vsrDisparitySemiGlobalu8s16C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                       const uint8_t* src2, uint32_t src2Stride, int32_t minDisparity,
                                       uint32_t numDisparities, uint32_t penalty1, uint32_t penalty2, uint32_t paths,
                                       uint32_t uniqueness, uint32_t leftRightLimit, int16_t* dst, uint32_t dstStride)
{
    const Disparities disparities = {minDisparity, numDisparities};
    const size_t D = numDisparities;
    const size_t size = size_t{width} * height;
    const visora::Scratch costScratch(size * D);
    const visora::Scratch sumScratch(size * D * sizeof(uint16_t));
    const visora::Scratch rowScratch(2 * width * D * sizeof(uint16_t));
    const visora::Scratch bestScratch(width * sizeof(uint32_t));
    auto* const costs = costScratch.as<uint8_t>();
    auto* const sums = sumScratch.as<uint16_t>();
    auto* const bests = bestScratch.as<uint32_t>();
    if (!costs || !sums || !rowScratch.data() || !bests)
    {
        return VISORA_ENOMEM;
    }
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            bests[x] = censusAt(src2, width, height, src2Stride, x, y);
        }
        for (uint32_t x = 0; x < width; ++x)
        {
            uint8_t* pixel = costs + (size_t{y} * width + x) * D;
            const uint32_t census = censusAt(src1, width, height, src1Stride, x, y);
            const auto range = disparities.possibleAt(x, width);
            for (uint32_t k = 0; k < D; ++k)
            {
                const bool isInside = k >= range.first && k < range.end;
                const auto column = static_cast<size_t>(static_cast<int64_t>(x) - minDisparity - k);
                pixel[k] = static_cast<uint8_t>(isInside ? static_cast<uint32_t>(std::popcount(census ^ bests[column]))
                                                         : kFarCost);
            }
        }
    }

    std::fill_n(sums, size * D, uint16_t{0});
    for (uint32_t path = 0; path < paths; ++path)
    {
        const auto [i, j] = kSteps[path];
        auto* current = rowScratch.as<uint16_t>();
        auto* before = current + width * D;
        for (uint32_t row = 0; row < height; ++row)
        {
            const uint32_t y = j < 0 ? height - 1 - row : row;
            for (uint32_t column = 0; column < width; ++column)
            {
                const uint32_t x = i < 0 ? width - 1 - column : column;
                const bool isFirst = (i != 0 && column == 0) || (j != 0 && row == 0);
                const uint16_t* source = (j == 0 ? current : before) + (int64_t{x} - i) * static_cast<int64_t>(D);
                stepAlong(costs + (size_t{y} * width + x) * D, isFirst ? nullptr : source, numDisparities, penalty1,
                          penalty2, current + x * D);
                uint16_t* sum = sums + (size_t{y} * width + x) * D;
                std::transform(sum, sum + D, current + x * D, sum,
                               [](uint16_t a, uint16_t b) { return static_cast<uint16_t>(a + b); });
            }
            std::swap(current, before);
        }
    }

    for (uint32_t y = 0; y < height; ++y)
    {
        const uint16_t* row = sums + size_t{y} * width * D;
        int16_t* to = imageRow(dst, dstStride, y);
        for (uint32_t x = 0; x < width; ++x)
        {
            to[x] = choose(disparities, row + x * D, disparities.possibleAt(x, width), uniqueness, bests[x]);
        }
        for (uint32_t x = 0; x < width; ++x)
        {
            if (to[x] == VISORA_DISPARITY_NONE)
            {
                continue;
            }
            // The best one of the right view's pixel.
            const auto rightX = static_cast<int32_t>(x) - (minDisparity + static_cast<int32_t>(bests[x]));
            uint32_t best = UINT32_MAX;
            uint32_t least = UINT32_MAX;
            for (uint32_t k = 0; k < D; ++k)
            {
                const int64_t leftX = int64_t{rightX} + minDisparity + k;
                if (leftX >= 0 && leftX < width && row[static_cast<size_t>(leftX) * D + k] < least)
                {
                    best = k;
                    least = row[static_cast<size_t>(leftX) * D + k];
                }
            }
            if ((best > bests[x] ? best - bests[x] : bests[x] - best) > leftRightLimit)
            {
                to[x] = VISORA_DISPARITY_NONE;
            }
        }
    }
    return VISORA_SUCCESS;
}
