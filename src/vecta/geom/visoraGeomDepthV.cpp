// Point clouds and depth images, vector variants. Lanes are pixels of a row.
#include <cstring>

#include "cpu/geom/visoraGeomDepth.h"
#include "cpu/visoraFloat.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/geom.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/geom/visoraGeomDepthV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/geom/visoraGeomCamera-inl.h"
#include "vecta/geom/visoraGeomSums-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Clouds ----

template <class D>
HWY_INLINE void storeCloud(D d, Vector3<hn::Vec<D>> p, float* dst)
{
    hn::StoreInterleaved3(withOneNan(d, p.x), withOneNan(d, p.y), withOneNan(d, p.z), d, dst);
}

template <class D>
HWY_INLINE hn::Vec<D> loadDepth(D d, const uint16_t* src)
{
    const hn::RebindToSigned<D> di;
    const hn::Rebind<uint16_t, D> d16;
    return hn::ConvertTo(d, hn::PromoteTo(di, hn::LoadU(d16, src)));
}

// (x - centre) / focal length for each column.
class Slopes
{
  public:
    HWY_INLINE Slopes(uint32_t width, const Camera& camera) : scratch_(width * sizeof(float))
    {
        for (uint32_t x = 0; scratch_.data() && x < width; ++x)
        {
            scratch_.as<float>()[x] = slope(x, camera.cx, camera.fx);
        }
    }

    HWY_INLINE explicit operator bool() const { return scratch_.data(); }
    HWY_INLINE const float* from(size_t x) const { return scratch_.as<float>() + x; }

  private:
    Scratch scratch_;
};

bool cloudFromDepth(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                    const float* cameraMatrix, float scale, float* dst, uint32_t dstStride)
{
    const Camera camera(cameraMatrix);
    const Slopes slopes(srcWidth, camera);
    if (!slopes)
    {
        return false;
    }
    return withFittingVector<float>(
        srcWidth,
        [&](auto d) HWY_ATTR
        {
            for (uint32_t y = 0; y < srcHeight; ++y)
            {
                const uint16_t* from = imageRow(src, srcStride, y);
                float* to = imageRow(dst, dstStride, y);
                const auto rowSlope = hn::Set(d, slope(y, camera.cy, camera.fy));
                const auto step = [&](size_t x) HWY_ATTR
                {
                    const auto depth = loadDepth(d, from + x);
                    const auto isKnown = hn::Gt(depth, hn::Zero(d));
                    const auto z = hn::Mul(hn::Set(d, scale), depth);
                    storeCloud(d,
                               {hn::IfThenElseZero(isKnown, hn::Mul(hn::LoadU(d, slopes.from(x)), z)),
                                hn::IfThenElseZero(isKnown, hn::Mul(rowSlope, z)), hn::IfThenElseZero(isKnown, z)},
                               to + 3 * x);
                };
                coverByTwo(0, srcWidth, hn::Lanes(d), step);
            }
        });
}

// A row of a cloud as three lists, the first and the last point repeated beside them.
struct PlanarRow
{
    float* x;  // of point 0
    size_t size;

    template <class D>
    HWY_INLINE Vector3<hn::Vec<D>> load(D d, size_t at) const
    {
        const auto column = static_cast<ptrdiff_t>(at);  // that before the first is -1
        return {hn::LoadU(d, x + column), hn::LoadU(d, x + size + column), hn::LoadU(d, x + 2 * size + column)};
    }

    template <class D>
    HWY_INLINE void fill(D d, const float* row, size_t width) const
    {
        coverRange(0, width, hn::Lanes(d),
                   [&](size_t at) HWY_ATTR
                   {
                       Vector3<hn::Vec<D>> p;
                       hn::LoadInterleaved3(d, row + 3 * at, p.x, p.y, p.z);
                       hn::StoreU(p.x, d, x + at);
                       hn::StoreU(p.y, d, x + size + at);
                       hn::StoreU(p.z, d, x + 2 * size + at);
                   });
        for (size_t i = 0; i < 3; ++i)
        {
            float* plane = x + i * size;
            plane[-1] = row[i];
            plane[width] = row[3 * (width - 1) + i];
        }
    }
};

bool normalsOfCloud(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                    uint32_t dstStride)
{
    const size_t size = size_t{srcWidth} + 2;
    const Scratch scratch(9 * size * sizeof(float));
    if (!scratch.data())
    {
        return false;
    }
    return withFittingVector<float>(
        srcWidth,
        [&](auto d) HWY_ATTR
        {
            const auto rowOf = [&](uint32_t y) { return PlanarRow{scratch.as<float>() + y % 3 * 3 * size + 1, size}; };
            const auto zero = hn::Zero(d);
            const auto fill = [&](uint32_t y) HWY_ATTR { rowOf(y).fill(d, imageRow(src, srcStride, y), srcWidth); };
            fill(0);
            for (uint32_t y = 0; y < srcHeight; ++y)
            {
                if (y + 1 < srcHeight)
                {
                    fill(y + 1);
                }
                const PlanarRow row = rowOf(y);
                const PlanarRow upper = rowOf(y == 0 ? 0 : y - 1);
                const PlanarRow lower = rowOf(y + 1 < srcHeight ? y + 1 : y);
                float* to = imageRow(dst, dstStride, y);
                coverRange(
                    0, srcWidth, hn::Lanes(d),
                    [&](size_t x) HWY_ATTR
                    {
                        const auto p = row.load(d, x);
                        const auto west = row.load(d, x - 1);
                        const auto east = row.load(d, x + 1);
                        const auto north = upper.load(d, x);
                        const auto south = lower.load(d, x);
                        const auto n = cross(minus(east, west), minus(south, north));
                        const auto square = dot(n, n);
                        const auto hasHole = hn::Or(hn::Or(hn::Or(hn::Eq(p.z, zero), hn::Eq(west.z, zero)),
                                                           hn::Or(hn::Eq(east.z, zero), hn::Eq(north.z, zero))),
                                                    hn::Eq(south.z, zero));
                        const auto has = hn::AndNot(hasHole, hn::Gt(square, zero));
                        const auto f = hn::Div(hn::Set(d, 1.0F), hn::Sqrt(square));
                        const Vector3<hn::Vec<decltype(d)>> unit = {hn::Mul(n.x, f), hn::Mul(n.y, f), hn::Mul(n.z, f)};
                        const auto isAway = hn::Gt(dot(unit, p), zero);
                        const auto turned = [&](auto v) HWY_ATTR
                        { return hn::IfThenElseZero(has, hn::IfThenElse(isAway, hn::Neg(v), v)); };
                        storeCloud(d, {turned(unit.x), turned(unit.y), turned(unit.z)}, to + 3 * x);
                    });
            }
        });
}

// ---- Holes ----

bool fillHoles(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t radius,
               uint16_t* dst, uint32_t dstStride)
{
    return withFittingVector<uint16_t>(srcWidth,
                                       [&](auto d) HWY_ATTR
                                       {
                                           const size_t lanes = hn::Lanes(d);
                                           for (uint32_t y = 0; y < srcHeight; ++y)
                                           {
                                               const uint16_t* from = imageRow(src, srcStride, y);
                                               uint16_t* to = imageRow(dst, dstStride, y);
                                               coverRange(0, srcWidth, lanes,
                                                          [&](size_t x) HWY_ATTR
                                                          {
                                                              const auto depths = hn::LoadU(d, from + x);
                                                              hn::StoreU(depths, d, to + x);
                                                              if (hn::AllFalse(d, hn::Eq(depths, hn::Zero(d))))
                                                              {
                                                                  return;
                                                              }
                                                              for (size_t i = x; i < x + lanes; ++i)
                                                              {
                                                                  if (from[i] == 0)
                                                                  {
                                                                      to[i] =
                                                                          fillOf(src, srcWidth, srcHeight, srcStride,
                                                                                 radius, static_cast<uint32_t>(i), y);
                                                                  }
                                                              }
                                                          });
                                           }
                                       });
}

// ---- Registration ----

bool registerDepth(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                   const float* srcCameraMatrix, const float* dstCameraMatrix, const float* rotation,
                   const float* translation, uint16_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    const Camera from(srcCameraMatrix);
    const Slopes slopes(srcWidth, from);
    if (!slopes)
    {
        return false;
    }
    return withFittingVector<float>(
        srcWidth,
        [&](auto d) HWY_ATTR
        {
            const hn::RebindToSigned<decltype(d)> di;
            const VectorPose pose(d, rotation, translation);
            const VectorCamera to(d, dstCameraMatrix);
            const auto zero = hn::Zero(d);
            for (uint32_t y = 0; y < dstHeight; ++y)
            {
                std::memset(imageRow(dst, dstStride, y), 0, dstWidth * sizeof(uint16_t));
            }
            for (uint32_t y = 0; y < srcHeight; ++y)
            {
                const uint16_t* row = imageRow(src, srcStride, y);
                const auto rowSlope = hn::Set(d, slope(y, from.cy, from.fy));
                coverRange(
                    0, srcWidth, hn::Lanes(d),
                    [&](size_t x) HWY_ATTR
                    {
                        const auto depth = loadDepth(d, row + x);
                        const auto p =
                            pose.of({hn::Mul(hn::LoadU(d, slopes.from(x)), depth), hn::Mul(rowSlope, depth), depth});
                        const auto [u, v] = to.nearestPixel(p);
                        const auto z = hn::Floor(hn::Add(p.z, hn::Set(d, 0.5F)));
                        auto lands = hn::And(hn::Gt(depth, zero), hn::Gt(p.z, zero));
                        lands = hn::And(lands, isWithin(d, u, dstWidth));
                        lands = hn::And(lands, isWithin(d, v, dstHeight));
                        lands = hn::And(lands, hn::And(hn::Ge(z, hn::Set(d, 1.0F)), hn::Le(z, hn::Set(d, 65535.0F))));
                        if (hn::AllFalse(d, lands))
                        {
                            return;
                        }
                        const auto placeOf = [&](auto value, int32_t* at) HWY_ATTR
                        { hn::StoreU(hn::ConvertTo(di, hn::IfThenElseZero(lands, value)), di, at); };
                        HWY_ALIGN int32_t columns[hn::MaxLanes(d)], rows[hn::MaxLanes(d)], depths[hn::MaxLanes(d)];
                        placeOf(u, columns);
                        placeOf(v, rows);
                        placeOf(z, depths);
                        for (size_t i = 0; i < hn::Lanes(d); ++i)
                        {
                            if (depths[i] != 0)
                            {
                                land(static_cast<uint32_t>(columns[i]), static_cast<uint32_t>(rows[i]),
                                     static_cast<uint16_t>(depths[i]), dst, dstStride);
                            }
                        }
                    });
            }
        });
}

// ---- Iterative closest points ----

constexpr size_t kValues = 7;  // J and e

// Sixteen successive points, and the values of their pairs: zeros for those that have none.
struct alignas(64) PairBlock
{
    float moved[3][kPartials];
    int32_t column[kPartials];
    int32_t row[kPartials];
    int32_t isPaired[kPartials];
    float partner[3][kPartials];
    float normal[3][kPartials];
    float values[kValues][kPartials];
};

// Where the points lie in the reference's image. False when all are outside.
template <class Lanes>
HWY_INLINE bool project(const float* points, const VectorPose<Lanes>& pose, const VectorCamera<Lanes>& camera,
                        uint32_t width, uint32_t height, PairBlock& block)
{
    const Lanes d;
    const hn::RebindToSigned<Lanes> di;
    const auto zero = hn::Zero(d);
    bool isAnyInside = false;
    for (size_t i = 0; i < kPartials; i += hn::Lanes(d))
    {
        Vector3<hn::Vec<Lanes>> from;
        hn::LoadInterleaved3(d, points + 3 * i, from.x, from.y, from.z);
        const auto p = pose.of(from);
        const auto [u, v] = camera.nearestPixel(p);
        auto isInside = hn::AndNot(hn::Eq(from.z, zero), hn::Gt(p.z, zero));
        isInside = hn::And(isInside, hn::And(isWithin(d, u, width), isWithin(d, v, height)));
        isAnyInside = isAnyInside || !hn::AllFalse(d, isInside);
        hn::StoreU(p.x, d, block.moved[0] + i);
        hn::StoreU(p.y, d, block.moved[1] + i);
        hn::StoreU(p.z, d, block.moved[2] + i);
        hn::StoreU(hn::ConvertTo(di, hn::IfThenElseZero(isInside, u)), di, block.column + i);
        hn::StoreU(hn::ConvertTo(di, hn::IfThenElseZero(isInside, v)), di, block.row + i);
        hn::StoreU(hn::VecFromMask(di, hn::RebindMask(di, isInside)), di, block.isPaired + i);
    }
    return isAnyInside;
}

// J and e of the pairs that are near enough; how many there are.
template <class Lanes>
HWY_INLINE size_t evaluate(Lanes d, float maxSquare, PairBlock& block)
{
    using V = hn::Vec<Lanes>;
    const hn::RebindToSigned<Lanes> di;
    const auto zero = hn::Zero(d);
    size_t pairs = 0;
    for (size_t i = 0; i < kPartials; i += hn::Lanes(d))
    {
        const auto load = [&](const float(&list)[3][kPartials]) HWY_ATTR {
            return Vector3<V>{hn::LoadU(d, list[0] + i), hn::LoadU(d, list[1] + i), hn::LoadU(d, list[2] + i)};
        };
        const auto p = load(block.moved);
        const auto v = load(block.partner);
        const auto n = load(block.normal);
        const auto difference = minus(p, v);
        auto isPair = hn::RebindMask(d, hn::MaskFromVec(hn::LoadU(di, block.isPaired + i)));
        isPair = hn::AndNot(hn::Eq(v.z, zero), isPair);
        const auto isNone = hn::And(hn::And(hn::Eq(n.x, zero), hn::Eq(n.y, zero)), hn::Eq(n.z, zero));
        isPair = hn::AndNot(isNone, isPair);
        isPair = hn::And(isPair, hn::Le(dot(difference, difference), hn::Set(d, maxSquare)));
        const auto turn = cross(p, n);
        const V values[kValues] = {turn.x, turn.y, turn.z, n.x, n.y, n.z, dot(n, difference)};
        for (size_t k = 0; k < kValues; ++k)
        {
            hn::StoreU(hn::IfThenElseZero(isPair, values[k]), d, block.values[k] + i);
        }
        pairs += hn::CountTrue(d, isPair);
    }
    return pairs;
}

vsrStatus sumPairs(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const float* reference,
                   uint32_t refWidth, uint32_t refHeight, uint32_t refStride, const float* normals,
                   uint32_t normalsStride, const float* cameraMatrix, const float* rotation, const float* translation,
                   float maxDistance, float* JTJ, float* JTe, float* squaredError, uint32_t* numPairs)
{
    const PartialLanes<float> d;
    const VectorPose pose(d, rotation, translation);
    const VectorCamera camera(d, cameraMatrix);
    HWY_ALIGN float sums[kValues * (kValues + 1) / 2][kPartials] = {};
    size_t pairs = 0;
    uint32_t y = 0;
    uint32_t x = 0;
    PairBlock block;
    while (y < srcHeight)
    {
        // Sixteen points may go on in the next row.
        float gathered[3 * kPartials];
        const float* points = imageRow(src, srcStride, y) + size_t{3} * x;
        if (srcWidth - x >= kPartials)
        {
            x += kPartials;
        }
        else
        {
            std::memset(gathered, 0, sizeof(gathered));
            for (size_t filled = 0; filled < kPartials && y < srcHeight;)
            {
                const auto count = static_cast<uint32_t>(std::min<size_t>(kPartials - filled, srcWidth - x));
                std::memcpy(gathered + 3 * filled, imageRow(src, srcStride, y) + size_t{3} * x,
                            count * 3 * sizeof(float));
                filled += count;
                x += count;
                if (x == srcWidth)
                {
                    x = 0;
                    ++y;
                }
            }
            points = gathered;
        }
        if (x == srcWidth)
        {
            x = 0;
            ++y;
        }
        if (!project(points, pose, camera, refWidth, refHeight, block))
        {
            continue;
        }
        for (size_t i = 0; i < kPartials; ++i)
        {
            const size_t at = size_t{3} * static_cast<uint32_t>(block.column[i]);
            const float* v = imageRow(reference, refStride, static_cast<uint32_t>(block.row[i])) + at;
            const float* n = imageRow(normals, normalsStride, static_cast<uint32_t>(block.row[i])) + at;
            for (size_t k = 0; k < 3; ++k)
            {
                block.partner[k][i] = v[k];
                block.normal[k][i] = n[k];
            }
        }
        const size_t found = evaluate(d, maxDistance * maxDistance, block);
        if (found == 0)
        {
            continue;
        }
        pairs += found;
        for (size_t lane = 0; lane < kPartials; lane += hn::Lanes(d))
        {
            size_t sum = 0;
            for (size_t i = 0; i < kValues; ++i)
            {
                const auto value = hn::LoadU(d, block.values[i] + lane);
                for (size_t j = 0; j <= i; ++j, ++sum)
                {
                    addTo(d, sums[sum] + lane, hn::Mul(hn::LoadU(d, block.values[j] + lane), value));
                }
            }
        }
    }
    size_t sum = 0;
    for (size_t i = 0; i < 6; ++i)
    {
        for (size_t j = 0; j <= i; ++j, ++sum)
        {
            JTJ[6 * i + j] = JTJ[6 * j + i] = standardNaN(sumOfPartials(sums[sum]));
        }
    }
    for (size_t i = 0; i < 6; ++i, ++sum)
    {
        JTe[i] = standardNaN(sumOfPartials(sums[sum]));
    }
    *squaredError = standardNaN(sumOfPartials(sums[sum]));
    *numPairs = static_cast<uint32_t>(pairs);
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrCloudFromDepthu16f32, cloudFromDepth);
VSR_VECTOR(vsrCloudNormalsf32, normalsOfCloud);
VSR_VECTOR(vsrDepthFillHolesu16, fillHoles);
VSR_VECTOR(vsrDepthRegisteru16, registerDepth);
VSR_VECTOR(vsrICPJacobianErrorSE3f32, sumPairs);

#endif
