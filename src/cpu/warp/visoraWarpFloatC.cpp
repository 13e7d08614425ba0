// Warps of f32 images, coordinate maps and points, reference variants.
#include "cpu/visoraDrivers.h"
#include "cpu/visoraInterpolation.h"
#include "cpu/warp/visoraWarpCall.h"
#include "cpu/warp/visoraWarpLens.h"
#include "visora/variants/warp.h"

using visora::lerp;
using visora::oneNan;

vsrStatus vsrTransformAffinef32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const float* affine, float* dst, uint32_t dstWidth, uint32_t dstHeight,
                                 uint32_t dstStride, float borderValue)
{
    const auto at = [&](int64_t i, int64_t j)
    {
        const bool isInside = i >= 0 && i < srcWidth && j >= 0 && j < srcHeight;
        return isInside ? visora::imageRow(src, srcStride, static_cast<uint32_t>(j))[i] : borderValue;
    };
    const visora::Positions positions = visora::warps::byAffine(affine);
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        float* out = visora::imageRow(dst, dstStride, y);
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            const visora::Position position = positions.at(x, y);
            const float u = visora::limited(position.u, srcWidth);
            const float v = visora::limited(position.v, srcHeight);
            const auto i = static_cast<int64_t>(std::floor(u));
            const auto j = static_cast<int64_t>(std::floor(v));
            const float a = u - static_cast<float>(i);
            const float b = v - static_cast<float>(j);
            out[x] = oneNan(lerp(lerp(at(i, j), at(i + 1, j), a), lerp(at(i, j + 1), at(i + 1, j + 1), a), b));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrBuildRectifyMapf32C(const float* cameraMatrix, const float* distortion, const float* rotation,
                                 const float* newCameraMatrix, float* mapX, float* mapY, uint32_t mapWidth,
                                 uint32_t mapHeight, uint32_t mapStride)
{
    const visora::Lens lens(cameraMatrix, distortion, rotation, newCameraMatrix);
    for (uint32_t y = 0; y < mapHeight; ++y)
    {
        float* outX = visora::imageRow(mapX, mapStride, y);
        float* outY = visora::imageRow(mapY, mapStride, y);
        const visora::LensRow row(lens, y);
        for (uint32_t x = 0; x < mapWidth; ++x)
        {
            const double a = (x - lens.newCx) / lens.newFx;
            const double p = (lens.rotation[0] * a + row.x) / (lens.rotation[2] * a + row.z);
            const double q = (lens.rotation[1] * a + row.y) / (lens.rotation[2] * a + row.z);
            const double pp = p * p;
            const double qq = q * q;
            const double rr = pp + qq;
            const double pq = 2 * (p * q);
            const double d = 1 + rr * (lens.k1 + rr * (lens.k2 + rr * lens.k3));
            const double s = (p * d + lens.p1 * pq) + lens.p2 * (rr + 2 * pp);
            const double t = (q * d + lens.p1 * (rr + 2 * qq)) + lens.p2 * pq;
            outX[x] = oneNan(static_cast<float>(lens.fx * s + lens.cx));
            outY[x] = oneNan(static_cast<float>(lens.fy * t + lens.cy));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrBuildUndistortMapf32C(const float* cameraMatrix, const float* distortion, float* mapX, float* mapY,
                                   uint32_t mapWidth, uint32_t mapHeight, uint32_t mapStride)
{
    return vsrBuildRectifyMapf32C(cameraMatrix, distortion, visora::kNoRotation, cameraMatrix, mapX, mapY, mapWidth,
                                  mapHeight, mapStride);
}

vsrStatus vsrTransformPoint2xNf32C(const float* src, uint32_t numPoints, const float* matrix, float* dst)
{
    const visora::Positions positions = visora::warps::byMatrix(matrix);
    for (size_t i = 0; i < numPoints; ++i)
    {
        const visora::Position to = positions.byMatrix(src[2 * i], src[2 * i + 1]);
        dst[2 * i] = oneNan(to.u);
        dst[2 * i + 1] = oneNan(to.v);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrTransformPoint3xNf32C(const float* src, uint32_t numPoints, const float* matrix, float* dst)
{
    for (size_t i = 0; i < numPoints; ++i)
    {
        const float x = src[3 * i];
        const float y = src[3 * i + 1];
        const float z = src[3 * i + 2];
        for (size_t row = 0; row < 3; ++row)
        {
            const float* m = matrix + 4 * row;
            dst[3 * i + row] = oneNan((m[0] * x + m[1] * y) + (m[2] * z + m[3]));
        }
    }
    return VISORA_SUCCESS;
}
