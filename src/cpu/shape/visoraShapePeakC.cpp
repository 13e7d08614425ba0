// Edges, peaks and boxes, reference variants.
#include "cpu/shape/visoraShapeEdge.h"
#include "cpu/shape/visoraShapePeak.h"
#include "visora/variants/shape.h"

using visora::Box;
using visora::imageRow;

vsrStatus vsrEdgeThins16C(const int16_t* dx, uint32_t width, uint32_t height, uint32_t dxStride, const int16_t* dy,
                          uint32_t dyStride, uint16_t* dst, uint32_t dstStride)
{
    const auto magnitude = [&](uint32_t x, uint32_t y)
    {
        return x < width && y < height
                   ? visora::edgeMagnitude(imageRow(dx, dxStride, y)[x], imageRow(dy, dyStride, y)[x])
                   : uint16_t{0};
    };
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            const int gx = imageRow(dx, dxStride, y)[x];
            const int gy = imageRow(dy, dyStride, y)[x];
            const auto a = static_cast<uint32_t>(std::abs(gx));
            const uint32_t b = static_cast<uint32_t>(std::abs(gy)) << 15;
            const uint32_t t = visora::kTangent * a;
            const uint16_t m = magnitude(x, y);
            bool isKept;
            if (b < t)
            {
                isKept = m > magnitude(x - 1, y) && m >= magnitude(x + 1, y);
            }
            else if (b > t + (a << 16))
            {
                isKept = m > magnitude(x, y - 1) && m >= magnitude(x, y + 1);
            }
            else
            {
                const uint32_t aside = (gx < 0) == (gy < 0) ? 1 : static_cast<uint32_t>(-1);
                isKept = m > magnitude(x - aside, y - 1) && m > magnitude(x + aside, y + 1);
            }
            imageRow(dst, dstStride, y)[x] = isKept ? m : uint16_t{0};
        }
    }
    return VISORA_SUCCESS;
}

namespace
{

template <class T, class Coordinate>
uint32_t findPeaks(const visora::PeakPicture<T>& picture, uint32_t radius, T threshold,
                   visora::PeakList<T, Coordinate> peaks)
{
    for (uint32_t y = 0; y < picture.height; ++y)
    {
        for (uint32_t x = 0; x < picture.width && !peaks.isFull(); ++x)
        {
            if (picture.at(x, y) > threshold && picture.isPeak(x, y, 1, radius))
            {
                peaks.add(picture, x, y);
            }
        }
    }
    return peaks.size;
}

}  // namespace

vsrStatus vsrFindPeaksu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          uint32_t radius, uint8_t threshold, uint32_t* xy, uint8_t* values, uint32_t capacity,
                          uint32_t* count)
{
    *count =
        findPeaks<uint8_t, uint32_t>({src, srcWidth, srcHeight, srcStride}, radius, threshold, {xy, values, capacity});
    return VISORA_SUCCESS;
}

vsrStatus vsrFindPeaksf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t radius,
                           float threshold, uint32_t refine, float* xy, float* values, uint32_t capacity,
                           uint32_t* count)
{
    *count = findPeaks<float, float>({src, srcWidth, srcHeight, srcStride}, radius, threshold,
                                     {xy, values, capacity, refine != 0});
    return VISORA_SUCCESS;
}

vsrStatus vsrNonMaxSuppressf32C(const float* boxes, const float* scores, uint32_t numBoxes, float scoreThreshold,
                                float maxOverlap, uint32_t* indices, uint32_t capacity, uint32_t* count)
{
    const visora::Scratch scratch(visora::partBytes<uint32_t>(size_t{numBoxes} + 1));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* const order = scratch.as<uint32_t>();
    const uint32_t ordered = visora::orderBoxes(scores, numBoxes, scoreThreshold, order);
    const auto boxOf = [boxes](uint32_t i)
    {
        const float* b = boxes + 4 * size_t{i};
        return Box{b[0], b[1], b[2], b[3]};
    };
    uint32_t kept = 0;
    for (uint32_t i = 0; i < ordered && kept < capacity; ++i)
    {
        const Box box = boxOf(order[i]);
        const float area = box.area();
        const bool isCovered = std::any_of(indices, indices + kept,
                                           [&](uint32_t k)
                                           {
                                               const Box other = boxOf(k);
                                               const float common = box.commonArea(other);
                                               return common > maxOverlap * ((area + other.area()) - common);
                                           });
        if (!isCovered)
        {
            indices[kept++] = order[i];
        }
    }
    *count = kept;
    return VISORA_SUCCESS;
}
