// What the depth operations of both variants share.
#ifndef VISORA_CPU_GEOM_DEPTH_H
#define VISORA_CPU_GEOM_DEPTH_H

#include <algorithm>
#include <cmath>

#include "cpu/visoraDrivers.h"

namespace visora
{

/** What counts of a camera matrix. */
struct Camera
{
    explicit Camera(const float* matrix) : fx(matrix[0]), fy(matrix[4]), cx(matrix[2]), cy(matrix[5]) {}

    float fx, fy, cx, cy;
};

struct Point3
{
    float x, y, z;
};

inline Point3 pointAt(const float* p)
{
    return {p[0], p[1], p[2]};
}

/** Rotation R and shift t: R p + t. */
struct Pose
{
    Point3 of(Point3 p) const
    {
        const auto row = [&](int i)
        { return (rotation[3 * i] * p.x + rotation[3 * i + 1] * p.y) + (rotation[3 * i + 2] * p.z + translation[i]); };
        return {row(0), row(1), row(2)};
    }

    const float* rotation;
    const float* translation;
};

/** The (x - centre) / focal length of column or row x. */
inline float slope(uint32_t x, float centre, float focalLength)
{
    return (static_cast<float>(x) - centre) / focalLength;
}

constexpr uint32_t kMaxHoleRadius = 15;

/** What a pixel of 0 is filled with. */
inline uint16_t fillOf(const uint16_t* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t radius,
                       uint32_t x, uint32_t y)
{
    for (uint32_t r = 1; r <= radius; ++r)
    {
        // Smaller windows had nothing, so what there is lies on the window's edge.
        uint16_t found[8 * kMaxHoleRadius];
        uint16_t* end = found;
        const uint32_t left = x - std::min(x, r);
        const uint32_t right = std::min(x + r, width - 1);
        const uint32_t bottom = std::min(y + r, height - 1);
        for (uint32_t v = y - std::min(y, r); v <= bottom; ++v)
        {
            const uint16_t* row = imageRow(src, stride, v);
            const bool isEdge = v + r == y || v == y + r;
            for (uint32_t u = left; u <= right; u += isEdge || u + 1 > right ? 1 : right - u)
            {
                if (row[u] != 0)
                {
                    *end++ = row[u];
                }
            }
        }
        if (end != found)
        {
            uint16_t* const middle = found + (end - found - 1) / 2;
            std::nth_element(found, middle, end);
            return *middle;
        }
    }
    return 0;
}

/** Keeps the nearest depth at a pixel. */
inline void land(uint32_t x, uint32_t y, uint16_t depth, uint16_t* dst, uint32_t dstStride)
{
    uint16_t& pixel = imageRow(dst, dstStride, y)[x];
    if (pixel == 0 || pixel > depth)
    {
        pixel = depth;
    }
}

}  // namespace visora

#endif
