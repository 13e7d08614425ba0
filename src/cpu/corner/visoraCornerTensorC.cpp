// Corners by the matrix of gradients, reference.
#include "cpu/corner/visoraCornerFast.h"
#include "cpu/corner/visoraCornerTensor.h"
#include "cpu/visoraScratch.h"

namespace visora
{
namespace
{

// Lists the pixels looked at for which choose(column, row, response), counted from the first of them, is true.
template <class Choose>
void listHarris(const uint8_t* src, uint32_t stride, const LookedAt& pixels, int32_t threshold, uint32_t* xy,
                int32_t* scores, uint32_t capacity, uint32_t* count, Choose choose)
{
    uint32_t found = 0;
    for (size_t y = 0; y < pixels.rows && found < capacity; ++y)
    {
        for (size_t x = 0; x < pixels.columns && found < capacity; ++x)
        {
            const int32_t response = harrisResponse(tensorAt<3>(src, stride, x + pixels.border, y + pixels.border));
            if (response > threshold && choose(x, y))
            {
                xy[2 * size_t{found}] = static_cast<uint32_t>(x + pixels.border);
                xy[2 * size_t{found} + 1] = static_cast<uint32_t>(y + pixels.border);
                if (scores)
                {
                    scores[found] = response;
                }
                ++found;
            }
        }
    }
    *count = found;
}

constexpr auto always = [](size_t, size_t) { return true; };

}  // namespace
}  // namespace visora

using visora::LookedAt;

vsrStatus vsrCornerHarrisu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             int32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners)
{
    const LookedAt pixels(srcWidth, srcHeight, border, visora::kHarrisReach);
    visora::listHarris(src, srcStride, pixels, threshold, xy, nullptr, nCornersMax, nCorners, visora::always);
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerHarrisScoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  int32_t threshold, uint32_t border, uint32_t* xy, int32_t* scores,
                                  uint32_t nCornersMax, uint32_t* nCorners, uint32_t nmsEnabled)
{
    const LookedAt pixels(srcWidth, srcHeight, border, visora::kHarrisReach);
    if (!nmsEnabled || pixels.isEmpty())
    {
        visora::listHarris(src, srcStride, pixels, threshold, xy, scores, nCornersMax, nCorners, visora::always);
        return VISORA_SUCCESS;
    }
    const visora::Scratch scratch(pixels.rows * pixels.columns * sizeof(int32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* responses = scratch.as<int32_t>();
    for (size_t y = 0; y < pixels.rows; ++y)
    {
        for (size_t x = 0; x < pixels.columns; ++x)
        {
            responses[y * pixels.columns + x] =
                visora::harrisResponse(visora::tensorAt<3>(src, srcStride, x + pixels.border, y + pixels.border));
        }
    }
    visora::listHarris(src, srcStride, pixels, threshold, xy, scores, nCornersMax, nCorners,
                       [&](size_t x, size_t y)
                       {
                           const int32_t* row = responses + y * pixels.columns;
                           return visora::isPeak(y > 0 ? row - pixels.columns : nullptr, row,
                                                 y + 1 < pixels.rows ? row + pixels.columns : nullptr, x,
                                                 pixels.columns);
                       });
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerHarrisInMasku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   int32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                   uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight)
{
    const LookedAt pixels(srcWidth, srcHeight, border, visora::kHarrisReach);
    const visora::ExclusionMask exclusion(mask, maskWidth, maskHeight,
                                          {src, srcWidth, srcHeight, srcStride, 0, border});
    visora::listHarris(src, srcStride, pixels, threshold, xy, nullptr, exclusion.fits() ? nCornersMax : 0, nCorners,
                       [&](size_t x, size_t y) { return !exclusion.excludes(x + pixels.border, y + pixels.border); });
    return VISORA_SUCCESS;
}

vsrStatus vsrCornerMinEigenu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               float quality, uint32_t minDistance, uint32_t border, uint32_t* xy, float* scores,
                               uint32_t nCornersMax, uint32_t* nCorners)
{
    const LookedAt pixels(srcWidth, srcHeight, border, visora::kEigenReach);
    if (pixels.isEmpty())
    {
        *nCorners = 0;
        return VISORA_SUCCESS;
    }
    const size_t count = pixels.rows * pixels.columns;
    const visora::Scratch scratch(count * (sizeof(float) + sizeof(visora::Candidate)));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* candidates = scratch.as<visora::Candidate>();
    auto* values = reinterpret_cast<float*>(candidates + count);
    float greatest = 0;
    for (size_t y = 0; y < pixels.rows; ++y)
    {
        for (size_t x = 0; x < pixels.columns; ++x)
        {
            const float e =
                visora::smallerEigenvalue(visora::tensorAt<1>(src, srcStride, x + pixels.border, y + pixels.border));
            values[y * pixels.columns + x] = e;
            greatest = std::max(greatest, e);
        }
    }
    visora::Candidate* end = candidates;
    for (size_t y = 0; y < pixels.rows; ++y)
    {
        const float* row = values + y * pixels.columns;
        for (size_t x = 0; x < pixels.columns; ++x)
        {
            if (row[x] > quality * greatest &&
                visora::isPeak(y > 0 ? row - pixels.columns : nullptr, row,
                               y + 1 < pixels.rows ? row + pixels.columns : nullptr, x, pixels.columns))
            {
                *end++ = {row[x], static_cast<uint32_t>(x + pixels.border), static_cast<uint32_t>(y + pixels.border)};
            }
        }
    }
    std::sort(candidates, end, visora::comesBefore);
    uint32_t taken = 0;
    for (const visora::Candidate* c = candidates; c != end && taken < nCornersMax; ++c)
    {
        bool isFree = true;
        for (size_t i = 0; i < taken && isFree; ++i)
        {
            isFree = !visora::areNear(c->x, c->y, xy[2 * i], xy[2 * i + 1], minDistance);
        }
        if (isFree)
        {
            xy[2 * size_t{taken}] = c->x;
            xy[2 * size_t{taken} + 1] = c->y;
            scores[taken++] = c->score;
        }
    }
    *nCorners = taken;
    return VISORA_SUCCESS;
}
