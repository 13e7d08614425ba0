// Refinement of corners between pixels, reference.
#include "cpu/corner/visoraCornerRefine.h"
#include "cpu/visoraPartialSums.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/corner.h"

vsrStatus vsrCornerRefineSubPixu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   const float* xy, uint32_t nCorners, uint32_t windowWidth, uint32_t windowHeight,
                                   uint32_t maxIterations, float epsilon, float* refinedXY)
{
    const auto reachX = static_cast<int32_t>((windowWidth - 1) / 2);
    const auto reachY = static_cast<int32_t>((windowHeight - 1) / 2);
    const auto sumsAt = [&](float centreX, float centreY) -> visora::RefineSums
    {
        const float wholeX = std::floor(centreX);
        const float wholeY = std::floor(centreY);
        const float fx = centreX - wholeX;
        const float fy = centreY - wholeY;
        const auto pixel = [&](int32_t x, int32_t y)
        {
            const int32_t column = std::clamp(static_cast<int32_t>(wholeX) + x, 0, static_cast<int32_t>(srcWidth) - 1);
            const int32_t row = std::clamp(static_cast<int32_t>(wholeY) + y, 0, static_cast<int32_t>(srcHeight) - 1);
            return static_cast<float>(visora::planeRow(src, srcStride, static_cast<size_t>(row))[column]);
        };
        const auto sample = [&](int32_t i, int32_t j)
        {
            const float top = pixel(i, j) + fx * (pixel(i + 1, j) - pixel(i, j));
            const float bottom = pixel(i, j + 1) + fx * (pixel(i + 1, j + 1) - pixel(i, j + 1));
            return top + fy * (bottom - top);
        };
        visora::PartialSums<float> a, b, c, u, v;
        for (int32_t j = -reachY; j <= reachY; ++j)
        {
            for (int32_t i = -reachX; i <= reachX; ++i)
            {
                const float w = visora::refineWeight(i, reachX) * visora::refineWeight(j, reachY);
                const float gx = sample(i + 1, j) - sample(i - 1, j);
                const float gy = sample(i, j + 1) - sample(i, j - 1);
                const float xx = (gx * gx) * w;
                const float xy = (gx * gy) * w;
                const float yy = (gy * gy) * w;
                const auto place = static_cast<uint32_t>(i + reachX);
                a.add(place, xx);
                b.add(place, xy);
                c.add(place, yy);
                u.add(place, xx * static_cast<float>(i) + xy * static_cast<float>(j));
                v.add(place, xy * static_cast<float>(i) + yy * static_cast<float>(j));
            }
        }
        return {a.total(), b.total(), c.total(), u.total(), v.total()};
    };
    visora::refineCorners(srcWidth, srcHeight, xy, nCorners, windowWidth, windowHeight, maxIterations, epsilon,
                          refinedXY, sumsAt);
    return VISORA_SUCCESS;
}
