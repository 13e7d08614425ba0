// Steps of the refinement of corners between pixels.
#ifndef VISORA_CPU_CORNER_REFINE_H
#define VISORA_CPU_CORNER_REFINE_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace visora
{

/** The weight of column or row i of 2 * radius + 1, counted from the middle. */
inline float refineWeight(int32_t i, int32_t radius)
{
    const float z = static_cast<float>(i * i) / static_cast<float>(radius * radius);
    return 1 / ((1 + z) + (0.5f * z) * z);
}

/** The weighted sums over a window: of the gradients' products a, b, c, and of what they say of the corner's place. */
struct RefineSums
{
    float a, b, c, u, v;
};

/** Moves starts by sums(x, y) of the windows about them. */
template <class SumsAt>
void refineCorners(uint32_t width, uint32_t height, const float* xy, uint32_t count, uint32_t windowWidth,
                   uint32_t windowHeight, uint32_t maxIterations, float epsilon, float* refinedXY, SumsAt sumsAt)
{
    const uint32_t halfWidth = (windowWidth - 1) / 2;
    const uint32_t halfHeight = (windowHeight - 1) / 2;
    const auto reachX = static_cast<float>(halfWidth);
    const auto reachY = static_cast<float>(halfHeight);
    const auto right = static_cast<float>(width - 1);
    const auto bottom = static_cast<float>(height - 1);
    const auto isInside = [&](float x, float y) { return 0 <= x && x <= right && 0 <= y && y <= bottom; };
    for (size_t i = 0; i < count; ++i)
    {
        const float x0 = xy[2 * i];
        const float y0 = xy[2 * i + 1];
        float x = x0;
        float y = y0;
        for (uint32_t step = 0; isInside(x0, y0) && step < std::min(maxIterations, 100u); ++step)
        {
            const RefineSums s = sumsAt(x, y);
            const float det = s.a * s.c - s.b * s.b;
            if (!(det > 0x1p-20f * (s.a * s.c)))
            {
                break;
            }
            const float dx = (s.c * s.u - s.b * s.v) / det;
            const float dy = (s.a * s.v - s.b * s.u) / det;
            x = x + dx;
            y = y + dy;
            if (!(isInside(x, y) && std::fabs(x - x0) <= reachX && std::fabs(y - y0) <= reachY))
            {
                x = x0;
                y = y0;
                break;
            }
            if (dx * dx + dy * dy <= epsilon * epsilon)
            {
                break;
            }
        }
        refinedXY[2 * i] = x;
        refinedXY[2 * i + 1] = y;
    }
}

}  // namespace visora

#endif
