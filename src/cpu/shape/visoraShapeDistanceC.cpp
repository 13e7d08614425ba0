// Distances from sets of pixels, reference variants.
#include <limits>

#include "cpu/shape/visoraShapeChamfer.h"
#include "cpu/shape/visoraShapeDistance.h"
#include "visora/variants/shape.h"

using visora::imageRow;

vsrStatus vsrDistanceTransformL1u8u16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint16_t* dst, uint32_t dstStride)
{
    // One step further than the pixel before.
    const auto further = [](uint16_t distance)
    { return static_cast<uint16_t>(distance == 65535 ? 65535 : distance + 1); };
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* from = imageRow(src, srcStride, y);
        uint16_t* to = imageRow(dst, dstStride, y);
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            const uint16_t up = y == 0 ? uint16_t{65535} : further(imageRow(dst, dstStride, y - 1)[x]);
            const uint16_t left = x == 0 ? uint16_t{65535} : further(to[x - 1]);
            to[x] = from[x] == 0 ? uint16_t{0} : std::min(up, left);
        }
    }
    for (uint32_t y = srcHeight; y-- > 0;)
    {
        uint16_t* to = imageRow(dst, dstStride, y);
        for (uint32_t x = srcWidth; x-- > 0;)
        {
            const uint16_t down = y + 1 == srcHeight ? uint16_t{65535} : further(imageRow(dst, dstStride, y + 1)[x]);
            const uint16_t right = x + 1 == srcWidth ? uint16_t{65535} : further(to[x + 1]);
            to[x] = std::min(to[x], std::min(down, right));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrDistanceTransformL2u8f32C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       float* dst, uint32_t dstStride)
{
    const size_t pixels = size_t{srcWidth} * srcHeight;
    const visora::Scratch scratch(visora::partBytes<uint16_t>(pixels) + visora::partBytes<uint16_t>(srcWidth) +
                                  visora::Envelope::bytes(srcWidth));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    visora::Parts parts(scratch);
    auto* const all = parts.take<uint16_t>(pixels);
    auto* const none = parts.take<uint16_t>(srcWidth);
    visora::Envelope envelope(parts, srcWidth);
    visora::columnDistances(src, srcWidth, srcHeight, srcStride, all, none, visora::distancesDown, visora::distancesUp,
                            [&](uint32_t y, const uint16_t* distances)
                            {
                                float* to = imageRow(dst, dstStride, y);
                                envelope.row(distances, srcWidth,
                                             [to](uint32_t x, int64_t squared)
                                             {
                                                 to[x] = squared == visora::kNoneAtAll
                                                             ? std::numeric_limits<float>::infinity()
                                                             : std::sqrt(static_cast<float>(squared));
                                             });
                            });
    return VISORA_SUCCESS;
}

vsrStatus vsrChamferMatchu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             const int32_t* points, uint32_t numPoints, const int32_t* offsets, uint32_t numOffsets,
                             float* scores, uint32_t* best)
{
    const visora::ChamferPicture picture{src, srcWidth, srcHeight, srcStride};
    visora::ChamferScores result(numPoints, scores);
    for (uint32_t i = 0; i < numOffsets; ++i)
    {
        uint32_t sum = 0;
        for (uint32_t p = 0; p < numPoints; ++p)
        {
            sum += picture.at(int64_t{points[2 * size_t{p}]} + offsets[2 * size_t{i}],
                              int64_t{points[2 * size_t{p} + 1]} + offsets[2 * size_t{i} + 1]);
        }
        result.put(i, sum);
    }
    *best = result.best();
    return VISORA_SUCCESS;
}
