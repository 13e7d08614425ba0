// Point clouds and depth images, reference variants.
#include "cpu/geom/visoraGeomDepth.h"
#include "cpu/visoraFloat.h"
#include "cpu/visoraPartialSums.h"
#include "visora/variants/geom.h"

using visora::Camera;
using visora::imageRow;
using visora::Point3;
using visora::pointAt;
using visora::Pose;
using visora::slope;
using visora::standardNaN;

namespace
{

void store(Point3 p, float* dst)
{
    dst[0] = standardNaN(p.x);
    dst[1] = standardNaN(p.y);
    dst[2] = standardNaN(p.z);
}

float dot(Point3 a, Point3 b)
{
    return (a.x * b.x + a.y * b.y) + a.z * b.z;
}

Point3 minus(Point3 a, Point3 b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Point3 cross(Point3 a, Point3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Point3 normalOf(Point3 p, Point3 left, Point3 right, Point3 upper, Point3 lower)
{
    const Point3 n = cross(minus(right, left), minus(lower, upper));
    const float square = dot(n, n);
    if (p.z == 0 || left.z == 0 || right.z == 0 || upper.z == 0 || lower.z == 0 || !(square > 0))
    {
        return {0, 0, 0};
    }
    const float f = 1 / std::sqrt(square);
    const Point3 unit = {n.x * f, n.y * f, n.z * f};
    return dot(unit, p) > 0 ? Point3{-unit.x, -unit.y, -unit.z} : unit;
}

}  // namespace

vsrStatus vsrCloudFromDepthu16f32C(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   const float* cameraMatrix, float scale, float* dst, uint32_t dstStride)
{
    const Camera camera(cameraMatrix);
    visora::forEach(src, srcWidth, srcHeight, srcStride, nullptr, 0,
                    [&](uint16_t depth, uint32_t x, uint32_t y)
                    {
                        const float z = scale * static_cast<float>(depth);
                        const Point3 p = {slope(x, camera.cx, camera.fx) * z, slope(y, camera.cy, camera.fy) * z, z};
                        store(depth == 0 ? Point3{0, 0, 0} : p, imageRow(dst, dstStride, y) + size_t{3} * x);
                    });
    return VISORA_SUCCESS;
}

vsrStatus vsrCloudNormalsf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                              uint32_t dstStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const float* row = imageRow(src, srcStride, y);
        const float* upper = imageRow(src, srcStride, y - std::min(y, 1U));
        const float* lower = imageRow(src, srcStride, std::min(y + 1, srcHeight - 1));
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            const size_t at = size_t{3} * x;
            const Point3 left = pointAt(row + (x == 0 ? at : at - 3));
            const Point3 right = pointAt(row + (x + 1 == srcWidth ? at : at + 3));
            store(normalOf(pointAt(row + at), left, right, pointAt(upper + at), pointAt(lower + at)),
                  imageRow(dst, dstStride, y) + at);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrDepthFillHolesu16C(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t radius, uint16_t* dst, uint32_t dstStride)
{
    visora::forEach(src, srcWidth, srcHeight, srcStride, nullptr, 0,
                    [&](uint16_t depth, uint32_t x, uint32_t y)
                    {
                        imageRow(dst, dstStride, y)[x] =
                            depth != 0 ? depth : visora::fillOf(src, srcWidth, srcHeight, srcStride, radius, x, y);
                    });
    return VISORA_SUCCESS;
}

vsrStatus vsrDepthRegisteru16C(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               const float* srcCameraMatrix, const float* dstCameraMatrix, const float* rotation,
                               const float* translation, uint16_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                               uint32_t dstStride)
{
    const Camera from(srcCameraMatrix);
    const Camera to(dstCameraMatrix);
    const Pose pose = {rotation, translation};
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        std::fill_n(imageRow(dst, dstStride, y), dstWidth, uint16_t{0});
    }
    visora::forEach(src, srcWidth, srcHeight, srcStride, nullptr, 0,
                    [&](uint16_t depth, uint32_t x, uint32_t y)
                    {
                        const auto d = static_cast<float>(depth);
                        const Point3 p = pose.of({slope(x, from.cx, from.fx) * d, slope(y, from.cy, from.fy) * d, d});
                        if (depth == 0 || !(p.z > 0))
                        {
                            return;
                        }
                        const float u = std::floor((to.fx * (p.x / p.z) + to.cx) + 0.5F);
                        const float v = std::floor((to.fy * (p.y / p.z) + to.cy) + 0.5F);
                        const float z = std::floor(p.z + 0.5F);
                        if (u >= 0 && u < static_cast<float>(dstWidth) && v >= 0 && v < static_cast<float>(dstHeight) &&
                            z >= 1 && z <= 65535)
                        {
                            visora::land(static_cast<uint32_t>(u), static_cast<uint32_t>(v), static_cast<uint16_t>(z),
                                         dst, dstStride);
                        }
                    });
    return VISORA_SUCCESS;
}

vsrStatus vsrICPJacobianErrorSE3f32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const float* reference, uint32_t refWidth, uint32_t refHeight, uint32_t refStride,
                                     const float* normals, uint32_t normalsStride, const float* cameraMatrix,
                                     const float* rotation, const float* translation, float maxDistance, float* JTJ,
                                     float* JTe, float* squaredError, uint32_t* numPairs)
{
    const Camera camera(cameraMatrix);
    const Pose pose = {rotation, translation};
    visora::PartialSums<float> sums[7][7];  // of J J', J e and e e; only j <= i
    uint32_t pairs = 0;
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            const Point3 from = pointAt(imageRow(src, srcStride, y) + size_t{3} * x);
            const Point3 p = pose.of(from);
            if (from.z == 0 || !(p.z > 0))
            {
                continue;
            }
            const float u = std::floor((camera.fx * (p.x / p.z) + camera.cx) + 0.5F);
            const float v = std::floor((camera.fy * (p.y / p.z) + camera.cy) + 0.5F);
            if (!(u >= 0 && u < static_cast<float>(refWidth) && v >= 0 && v < static_cast<float>(refHeight)))
            {
                continue;
            }
            const auto row = static_cast<uint32_t>(v);
            const size_t at = size_t{3} * static_cast<uint32_t>(u);
            const Point3 n = pointAt(imageRow(normals, normalsStride, row) + at);
            const Point3 partner = pointAt(imageRow(reference, refStride, row) + at);
            const Point3 difference = minus(p, partner);
            if (partner.z == 0 || (n.x == 0 && n.y == 0 && n.z == 0) ||
                !(dot(difference, difference) <= maxDistance * maxDistance))
            {
                continue;
            }
            const Point3 turn = cross(p, n);
            const float values[7] = {turn.x, turn.y, turn.z, n.x, n.y, n.z, dot(n, difference)};
            for (int i = 0; i < 7; ++i)
            {
                for (int j = 0; j <= i; ++j)
                {
                    sums[i][j].add(size_t{y} * srcWidth + x, values[j] * values[i]);
                }
            }
            ++pairs;
        }
    }
    for (int i = 0; i < 6; ++i)
    {
        for (int j = 0; j <= i; ++j)
        {
            JTJ[6 * i + j] = JTJ[6 * j + i] = standardNaN(sums[i][j].total());
        }
        JTe[i] = standardNaN(sums[6][i].total());
    }
    *squaredError = standardNaN(sums[6][6].total());
    *numPairs = pairs;
    return VISORA_SUCCESS;
}
