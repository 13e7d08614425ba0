// Warps of f32 images, coordinate maps and points, vector variants.
#include <algorithm>
#include <cstring>

#include "cpu/warp/visoraWarpLens.h"
#include "visora/variants/warp.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/warp/visoraWarpFloatV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/warp/visoraWarpStrip-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Images ----

// Four bytes a pixel: blocks of more rows take more of each line that a turned row lies across.
constexpr size_t kFloatBlockRows = 2 * kBlockRows;

// Whole positions of a strip, in 1/256 like those of bytes, of which only that they lie between pixels is kept; the
// fractions themselves are floats.
struct FloatStrip
{
    Strip places;
    alignas(64) float a[kStrip];
    alignas(64) float b[kStrip];
};

HWY_INLINE void splitPosition(Floats position, uint32_t size, int32_t* places, float* fractions)
{
    const FloatTag d;
    const IntTag di;
    const auto inside = limitedLanes(position, static_cast<float>(size));
    const auto whole = hn::Floor(inside);
    const auto fraction = hn::Sub(inside, whole);
    const auto isBetween = hn::IfThenElseZero(hn::Gt(fraction, hn::Zero(d)), hn::BitCast(d, hn::Set(di, 1)));
    hn::Store(hn::Or(hn::ShiftLeft<kPlaceBits>(hn::ConvertTo(di, whole)), hn::BitCast(di, isBetween)), di, places);
    hn::Store(fraction, d, fractions);
}

struct FloatTaps
{
    alignas(64) float upper[2 * kStrip];
    alignas(64) float lower[2 * kStrip];
};

HWY_INLINE void takeFloatTaps(const WarpPlane& plane, const Strip& places, const Plan& plan, float border,
                              FloatTaps& taps)
{
    const auto at = [&](int32_t column, int32_t row)
    {
        const bool isInside = column >= 0 && column < static_cast<int32_t>(plane.width) && row >= 0 &&
                              row < static_cast<int32_t>(plane.height);
        return isInside ? loadAs<float>(plane.pixels + static_cast<size_t>(row) * plane.stride +
                                        static_cast<size_t>(column) * sizeof(float))
                        : border;
    };
    for (size_t g = 0; g < kGroups; ++g)
    {
        const size_t begin = g * kGroup, end = begin + kGroup;
        if (plan.groups[g] == Where::Inside)
        {
            const uint8_t* upper = plane.pixels;
            const uint8_t* lower = upper + plane.stride;
            for (size_t i = begin; i < end; ++i)
            {
                std::memcpy(taps.upper + 2 * i, upper + plan.offsets[i], 2 * sizeof(float));
                std::memcpy(taps.lower + 2 * i, lower + plan.offsets[i], 2 * sizeof(float));
            }
        }
        else if (plan.groups[g] == Where::Outside)
        {
            std::fill(taps.upper + 2 * begin, taps.upper + 2 * end, border);
            std::fill(taps.lower + 2 * begin, taps.lower + 2 * end, border);
        }
        else
        {
            for (size_t i = begin; i < end; ++i)
            {
                const int32_t column = places.u[i] >> kPlaceBits;
                const int32_t row = places.v[i] >> kPlaceBits;
                for (int32_t side = 0; side < 2; ++side)
                {
                    taps.upper[2 * i + static_cast<size_t>(side)] = at(column + side, row);
                    taps.lower[2 * i + static_cast<size_t>(side)] = at(column + side, row + 1);
                }
            }
        }
    }
}

HWY_INLINE void warpFloatStrip(const WarpPlane& plane, const MatrixRow& row, size_t x, size_t y, float border,
                               float* out)
{
    const FloatTag d;
    FloatStrip strip;
    Plan plan;
    FloatTaps taps;
    for (size_t i = 0; i < kStrip; i += hn::Lanes(d))
    {
        Floats u, v;
        row.at(columnsFrom(x + i), u, v);
        splitPosition(u, plane.width, strip.places.u + i, strip.a + i);
        splitPosition(v, plane.height, strip.places.v + i, strip.b + i);
    }
    makePlan(plane, strip.places, kBilinearReach, plan);
    fetchAhead(plane, plan, y);
    takeFloatTaps(plane, strip.places, plan, border, taps);
    for (size_t i = 0; i < kStrip; i += hn::Lanes(d))
    {
        Floats p, q, r, s;
        hn::LoadInterleaved2(d, taps.upper + 2 * i, p, q);
        hn::LoadInterleaved2(d, taps.lower + 2 * i, r, s);
        const auto a = hn::Load(d, strip.a + i);
        const auto mixed = lerpLanes(d, lerpLanes(d, p, q, a), lerpLanes(d, r, s, a), hn::Load(d, strip.b + i));
        hn::StoreU(withOneNan(d, mixed), d, out + i);
    }
}

bool warpFloats(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const float* affine,
                float* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, float borderValue)
{
    const size_t stride = srcStride / sizeof(float) * sizeof(float);
    const WarpPlane plane = {
        reinterpret_cast<const uint8_t*>(src), srcWidth, srcHeight, stride, sizeof(float), false, nullptr};
    if (!hasShortOffsets(plane))
    {
        return false;
    }
    for (size_t blockY = 0; blockY < dstHeight; blockY += kFloatBlockRows)
    {
        const size_t endY = HWY_MIN(blockY + kFloatBlockRows, dstHeight);
        for (size_t x = 0; x < dstWidth; x += kStrip)
        {
            const size_t count = HWY_MIN(kStrip, dstWidth - x);
            for (size_t y = blockY; y < endY; ++y)
            {
                const MatrixRow row(warps::byAffine(affine), static_cast<float>(y));
                float* out = dst + y * (dstStride / sizeof(float)) + x;
                float part[kStrip];
                warpFloatStrip(plane, row, x, y, borderValue, count == kStrip ? out : part);
                if (count < kStrip)
                {
                    std::memcpy(out, part, count * sizeof(float));
                }
            }
        }
    }
    return true;
}

// ---- Coordinate maps ----

bool buildMap(const float* cameraMatrix, const float* distortion, const float* rotation, const float* newCameraMatrix,
              float* mapX, float* mapY, uint32_t mapWidth, uint32_t mapHeight, uint32_t mapStride)
{
    const Lens lens(cameraMatrix, distortion, rotation, newCameraMatrix);
    const size_t stride = mapStride / sizeof(float);
    const auto buildRows = [&](auto d) HWY_ATTR
    {
        const hn::Rebind<float, decltype(d)> dFloat;
        const auto of = [d](double value) HWY_ATTR { return hn::Set(d, value); };
        const auto two = of(2);
        for (uint32_t y = 0; y < mapHeight; ++y)
        {
            const LensRow row(lens, y);
            const auto mapPixels = [&](size_t x) HWY_ATTR
            {
                const auto a = hn::Div(hn::Sub(hn::Iota(d, static_cast<double>(x)), of(lens.newCx)), of(lens.newFx));
                const auto depth = hn::Add(hn::Mul(of(lens.rotation[2]), a), of(row.z));
                const auto p = hn::Div(hn::Add(hn::Mul(of(lens.rotation[0]), a), of(row.x)), depth);
                const auto q = hn::Div(hn::Add(hn::Mul(of(lens.rotation[1]), a), of(row.y)), depth);
                const auto pp = hn::Mul(p, p);
                const auto qq = hn::Mul(q, q);
                const auto rr = hn::Add(pp, qq);
                const auto pq = hn::Mul(two, hn::Mul(p, q));
                const auto higher = hn::Add(of(lens.k2), hn::Mul(rr, of(lens.k3)));
                const auto bend = hn::Add(of(1), hn::Mul(rr, hn::Add(of(lens.k1), hn::Mul(rr, higher))));
                const auto s = hn::Add(hn::Add(hn::Mul(p, bend), hn::Mul(of(lens.p1), pq)),
                                       hn::Mul(of(lens.p2), hn::Add(rr, hn::Mul(two, pp))));
                const auto t = hn::Add(hn::Add(hn::Mul(q, bend), hn::Mul(of(lens.p1), hn::Add(rr, hn::Mul(two, qq)))),
                                       hn::Mul(of(lens.p2), pq));
                const auto outX = hn::Add(hn::Mul(of(lens.fx), s), of(lens.cx));
                const auto outY = hn::Add(hn::Mul(of(lens.fy), t), of(lens.cy));
                hn::StoreU(resultWithOneNan(dFloat, hn::DemoteTo(dFloat, outX)), dFloat, mapX + y * stride + x);
                hn::StoreU(resultWithOneNan(dFloat, hn::DemoteTo(dFloat, outY)), dFloat, mapY + y * stride + x);
            };
            coverRange(0, mapWidth, hn::Lanes(d), mapPixels);
        }
    };
    return withFittingVector<double>(mapWidth, buildRows);
}

bool buildMapUnturned(const float* cameraMatrix, const float* distortion, float* mapX, float* mapY, uint32_t mapWidth,
                      uint32_t mapHeight, uint32_t mapStride)
{
    return buildMap(cameraMatrix, distortion, kNoRotation, cameraMatrix, mapX, mapY, mapWidth, mapHeight, mapStride);
}

// ---- Points ----

// transform(from, to) does Lanes(FloatTag) points of `dimensions` floats. The last ones go through a buffer, as the
// destination may be the source.
template <size_t dimensions, class Transform>
HWY_INLINE void transformPoints(const float* src, size_t count, float* dst, Transform transform)
{
    const size_t lanes = hn::Lanes(FloatTag());
    const size_t whole = count - count % lanes;
    for (size_t i = 0; i < whole; i += lanes)
    {
        transform(src + i * dimensions, dst + i * dimensions);
    }
    float rest[dimensions * kGroup] = {};
    std::memcpy(rest, src + whole * dimensions, (count - whole) * dimensions * sizeof(float));
    transform(rest, rest);
    std::memcpy(dst + whole * dimensions, rest, (count - whole) * dimensions * sizeof(float));
}

vsrStatus transformPlanePoints(const float* src, uint32_t numPoints, const float* matrix, float* dst)
{
    const FloatTag d;
    const auto line = [&](size_t row, Floats x, Floats y) HWY_ATTR
    {
        const float* m = matrix + 3 * row;
        return hn::Add(hn::Mul(hn::Set(d, m[0]), x), hn::Add(hn::Mul(hn::Set(d, m[1]), y), hn::Set(d, m[2])));
    };
    transformPoints<2>(src, numPoints, dst,
                       [&](const float* from, float* to) HWY_ATTR
                       {
                           Floats x, y;
                           hn::LoadInterleaved2(d, from, x, y);
                           const auto w = line(2, x, y);
                           hn::StoreInterleaved2(resultWithOneNan(d, hn::Div(line(0, x, y), w)),
                                                 resultWithOneNan(d, hn::Div(line(1, x, y), w)), d, to);
                       });
    return VISORA_SUCCESS;
}

#if HWY_ARCH_ARM

vsrStatus transformSpacePoints(const float* src, uint32_t numPoints, const float* matrix, float* dst)
{
    const FloatTag d;
    transformPoints<3>(src, numPoints, dst,
                       [&](const float* from, float* to) HWY_ATTR
                       {
                           Floats x, y, z;
                           hn::LoadInterleaved3(d, from, x, y, z);
                           const auto line = [&](size_t row) HWY_ATTR
                           {
                               const float* m = matrix + 4 * row;
                               const auto flat = hn::Add(hn::Mul(hn::Set(d, m[0]), x), hn::Mul(hn::Set(d, m[1]), y));
                               return resultWithOneNan(
                                   d, hn::Add(flat, hn::Add(hn::Mul(hn::Set(d, m[2]), z), hn::Set(d, m[3]))));
                           };
                           hn::StoreInterleaved3(line(0), line(1), line(2), d, to);
                       });
    return VISORA_SUCCESS;
}

#else

// Where no load takes every third element, the coordinates of as many points as a vector holds are spread: each to the
// three places of its point.
vsrStatus transformSpacePoints(const float* src, uint32_t numPoints, const float* matrix, float* dst)
{
    const FloatTag d;
    constexpr size_t kLanes = hn::MaxLanes(FloatTag());
    constexpr size_t kElements = kLanes / 3 * 3;
    alignas(64) int32_t places[3][kLanes];
    alignas(64) float weights[4][kLanes];
    alignas(64) int32_t ofPoint[kLanes];
    for (size_t i = 0; i < kLanes; ++i)
    {
        for (size_t c = 0; c < 3; ++c)
        {
            places[c][i] = static_cast<int32_t>(std::min(i / 3 * 3 + c, kLanes - 1));
        }
        for (size_t c = 0; c < 4; ++c)
        {
            weights[c][i] = matrix[4 * (i % 3) + c];
        }
        ofPoint[i] = i < kElements ? -1 : 0;
    }
    const auto isOfPoint = hn::MaskFromVec(hn::BitCast(d, hn::Load(IntTag(), ofPoint)));
    const auto transform = [&](const float* from, float* to) HWY_ATTR
    {
        const Floats points = hn::LoadU(d, from);
        const auto term = [&](size_t c) HWY_ATTR
        { return hn::Mul(hn::Load(d, weights[c]), hn::TableLookupLanes(points, hn::SetTableIndices(d, places[c]))); };
        const auto sum = hn::Add(hn::Add(term(0), term(1)), hn::Add(term(2), hn::Load(d, weights[3])));
        // What lies behind the last whole point stays: the destination may be the source.
        hn::StoreU(hn::IfThenElse(isOfPoint, resultWithOneNan(d, sum), points), d, to);
    };
    size_t left = size_t{3} * numPoints;
    for (; left >= kLanes; left -= kElements, src += kElements, dst += kElements)
    {
        transform(src, dst);
    }
    float rest[kLanes] = {};
    std::memcpy(rest, src, left * sizeof(float));
    transform(rest, rest);
    std::memcpy(dst, rest, left * sizeof(float));
    return VISORA_SUCCESS;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrTransformAffinef32, warpFloats);
VSR_VECTOR(vsrBuildRectifyMapf32, buildMap);
VSR_VECTOR(vsrBuildUndistortMapf32, buildMapUnturned);
VSR_VECTOR(vsrTransformPoint2xNf32, transformPlanePoints);
VSR_VECTOR(vsrTransformPoint3xNf32, transformSpacePoints);

#endif
