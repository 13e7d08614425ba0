// Block matching and the motion history, one block and one pixel at a time.
#ifndef VISORA_CPU_TRACK_MOTION_H
#define VISORA_CPU_TRACK_MOTION_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "cpu/visoraAngle.h"
#include "cpu/visoraPlane.h"

namespace visora
{

// ---- Block matching ----

struct BlockImages
{
    const uint8_t* src1;
    uint32_t width;
    uint32_t height;
    uint32_t src1Stride;
    const uint8_t* src2;
    uint32_t src2Stride;
    uint32_t blockSize;
};

struct BlockMatch
{
    int32_t dx;
    int32_t dy;
    uint32_t sad;
};

/**
 * The best offset of the block at (x, y).
 * @param sumOfDifferences  sumOfDifferences(a, aStride, b, bStride, limit) gives the sum over a block, or `limit` or
 * more when the sum is not below it
 */
template <class SumOfDifferences>
BlockMatch bestMatch(const BlockImages& images, uint32_t x, uint32_t y, uint32_t rangeX, uint32_t rangeY,
                     SumOfDifferences sumOfDifferences)
{
    const uint8_t* block = images.src1 + size_t{y} * images.src1Stride + x;
    const auto sumAt = [&](int64_t dx, int64_t dy, uint32_t limit)
    {
        const uint8_t* other =
            images.src2 + static_cast<size_t>(y + dy) * images.src2Stride + static_cast<size_t>(x + dx);
        return sumOfDifferences(block, size_t{images.src1Stride}, other, size_t{images.src2Stride}, limit);
    };
    // No offset comes before (0, 0) among equal ones; after it the first one by rows does.
    BlockMatch best{0, 0, sumAt(0, 0, UINT32_MAX)};
    const int64_t left = -int64_t{std::min(rangeX, x)};
    const int64_t right = std::min(rangeX, images.width - images.blockSize - x);
    const int64_t top = -int64_t{std::min(rangeY, y)};
    const int64_t bottom = std::min(rangeY, images.height - images.blockSize - y);
    for (int64_t dy = top; dy <= bottom; ++dy)
    {
        for (int64_t dx = left; dx <= right; ++dx)
        {
            const uint32_t sad = sumAt(dx, dy, best.sad);
            if (sad < best.sad)
            {
                best = {static_cast<int32_t>(dx), static_cast<int32_t>(dy), sad};
            }
        }
    }
    return best;
}

template <class SumOfDifferences>
void matchBlocks(const BlockImages& images, uint32_t step, uint32_t rangeX, uint32_t rangeY, int16_t* flow,
                 uint32_t flowStride, uint32_t* sads, uint32_t sadsStride, SumOfDifferences sumOfDifferences)
{
    const uint32_t nx = (images.width - images.blockSize) / step + 1;
    const uint32_t ny = (images.height - images.blockSize) / step + 1;
    for (uint32_t j = 0; j < ny; ++j)
    {
        int16_t* offsets = planeRow(flow, flowStride, j);
        for (uint32_t i = 0; i < nx; ++i)
        {
            const BlockMatch best = bestMatch(images, i * step, j * step, rangeX, rangeY, sumOfDifferences);
            offsets[2 * size_t{i}] = static_cast<int16_t>(best.dx);
            offsets[2 * size_t{i} + 1] = static_cast<int16_t>(best.dy);
            if (sads != nullptr)
            {
                planeRow(sads, sadsStride, j)[i] = best.sad;
            }
        }
    }
}

// ---- Motion history ----

/** Gradients below this in both directions have no direction. */
constexpr float kLeastGradient = 0x1.d7dbf4p-11f;

struct MotionDirection
{
    float orientation;
    uint8_t mask;
};

/** The direction at column x of the middle one of three rows, `left` and `right` being the columns beside it. */
inline MotionDirection motionDirection(const float* above, const float* row, const float* below, size_t left, size_t x,
                                       size_t right, float minDelta, float maxDelta)
{
    const auto across = [=](const float* p) { return p[right] - p[left]; };
    const auto down = [=](size_t column) { return below[column] - above[column]; };
    const float dx = (across(above) + across(below)) + (across(row) + across(row));
    const float dy = (down(left) + down(right)) + (down(x) + down(x));
    float least = row[x];
    float most = row[x];
    bool isFinite = std::isfinite(dx) && std::isfinite(dy);
    for (const float* p : {above, row, below})
    {
        for (const size_t column : {left, x, right})
        {
            isFinite = isFinite && std::isfinite(p[column]);
            least = p[column] < least ? p[column] : least;
            most = p[column] > most ? p[column] : most;
        }
    }
    const float d = most - least;
    const bool isValid = isFinite && std::isfinite(d) &&
                         (std::fabs(dx) >= kLeastGradient || std::fabs(dy) >= kLeastGradient) && minDelta <= d &&
                         d <= maxDelta;
    return isValid ? MotionDirection{angleInDegrees(dy, dx), 255} : MotionDirection{0, 0};
}

}  // namespace visora

#endif
