// Cameras, triangulation and poses, vector variants. Lanes are points.
#include <cstring>

#include "cpu/geom/visoraGeomPose.h"
#include "visora/variants/geom.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/geom/visoraGeomCameraV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/geom/visoraGeomCamera-inl.h"
#include "vecta/geom/visoraGeomLists-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Lens ----

template <class V>
struct Directions
{
    V p, q;
};

template <class D>
class VectorLens
{
  public:
    using V = hn::Vec<D>;

    HWY_INLINE VectorLens(D d, const float* k)
        : k1_(at(d, k, 0)), k2_(at(d, k, 1)), p1_(at(d, k, 2)), p2_(at(d, k, 3)), k3_(at(d, k, 4))
    {
    }

    HWY_INLINE Directions<V> distorted(Directions<V> a) const
    {
        const Terms t(*this, a);
        return {hn::Add(hn::Add(hn::Mul(a.p, t.d), hn::Mul(p1_, t.pq)), hn::Mul(p2_, t.alongP)),
                hn::Add(hn::Add(hn::Mul(a.q, t.d), hn::Mul(p1_, t.alongQ)), hn::Mul(p2_, t.pq))};
    }

    HWY_INLINE Directions<V> step(Directions<V> seen, Directions<V> a) const
    {
        const Terms t(*this, a);
        return {hn::Div(hn::Sub(seen.p, hn::Add(hn::Mul(p1_, t.pq), hn::Mul(p2_, t.alongP))), t.d),
                hn::Div(hn::Sub(seen.q, hn::Add(hn::Mul(p1_, t.alongQ), hn::Mul(p2_, t.pq))), t.d)};
    }

  private:
    struct Terms
    {
        HWY_INLINE Terms(const VectorLens& lens, Directions<V> a)
        {
            const D d_;
            const auto two = hn::Set(d_, 2.0F);
            const auto pp = hn::Mul(a.p, a.p);
            const auto qq = hn::Mul(a.q, a.q);
            const auto rr = hn::Add(pp, qq);
            pq = hn::Mul(two, hn::Mul(a.p, a.q));
            alongP = hn::Add(rr, hn::Mul(two, pp));
            alongQ = hn::Add(rr, hn::Mul(two, qq));
            const auto inner = hn::Add(lens.k2_, hn::Mul(rr, lens.k3_));
            d = hn::Add(hn::Set(d_, 1.0F), hn::Mul(rr, hn::Add(lens.k1_, hn::Mul(rr, inner))));
        }
        V pq, alongP, alongQ, d;
    };

    static HWY_INLINE V at(D d, const float* k, int i) { return hn::Set(d, k ? k[i] : 0.0F); }

    V k1_, k2_, p1_, p2_, k3_;
};

template <class D, class V>
HWY_INLINE Directions<V> directionsOf(const VectorCamera<D>& camera, V x, V y)
{
    return {hn::Div(hn::Sub(x, camera.cx), camera.fx), hn::Div(hn::Sub(y, camera.cy), camera.fy)};
}

template <class D, class V>
HWY_INLINE void storePixels(D d, const VectorCamera<D>& camera, Directions<V> a, float* dst)
{
    hn::StoreInterleaved2(withOneNan(d, hn::Add(hn::Mul(camera.fx, a.p), camera.cx)),
                          withOneNan(d, hn::Add(hn::Mul(camera.fy, a.q), camera.cy)), d, dst);
}

// Runs step(src, dst) on vectors of points; the last ones are done apart, so that dst may be src.
template <size_t kFrom, size_t kTo, class D, class Step>
HWY_INLINE void forPoints(D d, const float* src, size_t count, float* dst, Step step)
{
    const size_t lanes = hn::Lanes(d);
    size_t i = 0;
    for (; i + lanes <= count; i += lanes)
    {
        step(src + kFrom * i, dst + kTo * i);
    }
    if (i < count)
    {
        float from[kFrom * hn::MaxLanes(D())] = {};
        float to[kTo * hn::MaxLanes(D())];
        std::memcpy(from, src + kFrom * i, (count - i) * kFrom * sizeof(float));
        step(from, to);
        std::memcpy(dst + kTo * i, to, (count - i) * kTo * sizeof(float));
    }
}

vsrStatus distort(const float* src, uint32_t numPoints, const float* cameraMatrix, const float* distortion, float* dst)
{
    const hn::CappedTag<float, 16> d;
    const VectorCamera camera(d, cameraMatrix);
    const VectorLens lens(d, distortion);
    forPoints<2, 2>(d, src, numPoints, dst,
                    [&](const float* from, float* to) HWY_ATTR
                    {
                        hn::Vec<decltype(d)> x, y;
                        hn::LoadInterleaved2(d, from, x, y);
                        storePixels(d, camera, lens.distorted(directionsOf(camera, x, y)), to);
                    });
    return VISORA_SUCCESS;
}

vsrStatus undistort(const float* src, uint32_t numPoints, const float* cameraMatrix, const float* distortion,
                    uint32_t iterations, float* dst)
{
    const hn::CappedTag<float, 16> d;
    const VectorCamera camera(d, cameraMatrix);
    const VectorLens lens(d, distortion);
    forPoints<2, 2>(d, src, numPoints, dst,
                    [&](const float* from, float* to) HWY_ATTR
                    {
                        hn::Vec<decltype(d)> x, y;
                        hn::LoadInterleaved2(d, from, x, y);
                        const auto seen = directionsOf(camera, x, y);
                        auto a = seen;
                        for (uint32_t k = 0; k < iterations; ++k)
                        {
                            a = lens.step(seen, a);
                        }
                        storePixels(d, camera, a, to);
                    });
    return VISORA_SUCCESS;
}

vsrStatus projectPoints(const float* src, uint32_t numPoints, const float* rotation, const float* translation,
                        const float* cameraMatrix, const float* distortion, float* dst)
{
    const hn::CappedTag<float, 16> d;
    const VectorPose pose(d, rotation, translation);
    const VectorCamera camera(d, cameraMatrix);
    const VectorLens lens(d, distortion);
    forPoints<3, 2>(d, src, numPoints, dst,
                    [&](const float* from, float* to) HWY_ATTR
                    {
                        Vector3<hn::Vec<decltype(d)>> point;
                        hn::LoadInterleaved3(d, from, point.x, point.y, point.z);
                        const auto p = pose.of(point);
                        const Directions<hn::Vec<decltype(d)>> a = {hn::Div(p.x, p.z), hn::Div(p.y, p.z)};
                        storePixels(d, camera, lens.distorted(a), to);
                    });
    return VISORA_SUCCESS;
}

// ---- Triangulation ----

using Points8 = hn::CappedTag<double, 8>;
using Point8 = hn::Vec<Points8>;
constexpr int kOrder = 4;

// S[...] of four products: partial sums 0 and 2, then 1 and 3.
HWY_INLINE Point8 dotOfColumns(const Point8 (&a)[kOrder], const Point8 (&b)[kOrder])
{
    return hn::Add(hn::Add(hn::Mul(a[0], b[0]), hn::Mul(a[2], b[2])),
                   hn::Add(hn::Mul(a[1], b[1]), hn::Mul(a[3], b[3])));
}

HWY_INLINE void turnColumns(hn::Mask<Points8> turns, Point8 c, Point8 s, Point8 (&a)[kOrder], Point8 (&b)[kOrder])
{
    for (int i = 0; i < kOrder; ++i)
    {
        const Point8 x = a[i];
        const Point8 y = b[i];
        a[i] = hn::IfThenElse(turns, hn::Sub(hn::Mul(c, x), hn::Mul(s, y)), x);
        b[i] = hn::IfThenElse(turns, hn::Add(hn::Mul(s, x), hn::Mul(c, y)), y);
    }
}

// As `jacobi` for one matrix in each lane; X becomes the last column of V.
HWY_INLINE void nullVectors(Point8 (&a)[kOrder][kOrder], Point8 (&X)[kOrder])
{
    constexpr int kMaxSweeps = 30;
    const Points8 d;
    const auto one = hn::Set(d, 1.0);
    const auto zero = hn::Zero(d);
    Point8 v[kOrder][kOrder], w[kOrder];
    for (int k = 0; k < kOrder; ++k)
    {
        for (int i = 0; i < kOrder; ++i)
        {
            v[k][i] = i == k ? one : zero;
        }
        w[k] = dotOfColumns(a[k], a[k]);
    }
    bool hasTurned = true;
    for (int sweep = 0; sweep < kMaxSweeps && hasTurned; ++sweep)
    {
        hasTurned = false;
        for (int p = 0; p + 1 < kOrder; ++p)
        {
            for (int q = p + 1; q < kOrder; ++q)
            {
                const auto G = dotOfColumns(a[p], a[q]);
                const auto limit = hn::Mul(hn::Set(d, 0x1p-48), hn::Sqrt(hn::Mul(w[p], w[q])));
                const auto turns = hn::Gt(hn::Abs(G), limit);
                if (hn::AllFalse(d, turns))
                {
                    continue;
                }
                const auto Z = hn::Div(hn::Sub(w[q], w[p]), hn::Add(G, G));
                auto t = hn::Div(one, hn::Add(hn::Abs(Z), hn::Sqrt(hn::Add(one, hn::Mul(Z, Z)))));
                t = hn::IfThenElse(hn::Lt(Z, zero), hn::Neg(t), t);
                const auto c = hn::Div(one, hn::Sqrt(hn::Add(one, hn::Mul(t, t))));
                const auto s = hn::Mul(c, t);
                turnColumns(turns, c, s, a[p], a[q]);
                turnColumns(turns, c, s, v[p], v[q]);
                w[p] = dotOfColumns(a[p], a[p]);
                w[q] = dotOfColumns(a[q], a[q]);
                hasTurned = true;
            }
        }
    }
    // The last of the least values.
    auto least = hn::Sqrt(w[0]);
    for (int i = 0; i < kOrder; ++i)
    {
        X[i] = v[0][i];
    }
    for (int k = 1; k < kOrder; ++k)
    {
        const auto value = hn::Sqrt(w[k]);
        const auto isLess = hn::Le(value, least);
        least = hn::IfThenElse(isLess, value, least);
        for (int i = 0; i < kOrder; ++i)
        {
            X[i] = hn::IfThenElse(isLess, v[k][i], X[i]);
        }
    }
}

vsrStatus triangulate(const float* src1, const float* src2, uint32_t numPoints, const float* projection1,
                      const float* projection2, float* dst)
{
    const Points8 d;
    const size_t lanes = hn::Lanes(d);
    for (size_t first = 0; first < numPoints; first += lanes)
    {
        const size_t count = std::min<size_t>(lanes, numPoints - first);
        HWY_ALIGN double coordinates[4][hn::MaxLanes(Points8())];
        for (size_t lane = 0; lane < lanes; ++lane)
        {
            const size_t point = 2 * (first + std::min(lane, count - 1));
            coordinates[0][lane] = src1[point];
            coordinates[1][lane] = src1[point + 1];
            coordinates[2][lane] = src2[point];
            coordinates[3][lane] = src2[point + 1];
        }
        Point8 a[kOrder][kOrder], X[kOrder];
        for (int i = 0; i < kOrder; ++i)
        {
            const float* const projection = i < 2 ? projection1 : projection2;
            const auto coordinate = hn::Load(d, coordinates[i]);
            for (int j = 0; j < kOrder; ++j)
            {
                const auto product = hn::Mul(coordinate, hn::Set(d, double{projection[8 + j]}));
                a[j][i] = hn::Sub(product, hn::Set(d, double{projection[4 * (i % 2) + j]}));
            }
        }
        nullVectors(a, X);
        const auto isFar = hn::Eq(X[3], hn::Zero(d));
        HWY_ALIGN double points[3][hn::MaxLanes(Points8())];
        for (int k = 0; k < 3; ++k)
        {
            hn::Store(hn::IfThenZeroElse(isFar, hn::Div(X[k], X[3])), d, points[k]);
        }
        for (size_t lane = 0; lane < count; ++lane)
        {
            for (size_t k = 0; k < 3; ++k)
            {
                dst[3 * (first + lane) + k] = static_cast<float>(points[k][lane]);
            }
        }
    }
    return VISORA_SUCCESS;
}

// ---- Poses ----

vsrStatus refine(const float* objectPoints, const float* imagePoints, uint32_t numPoints, const float* cameraMatrix,
                 uint32_t maxIterations, vsrLossType loss, float scale, float* rotation, float* translation,
                 float* meanSquaredError)
{
    return refinePose(VectorSums(), objectPoints, imagePoints, numPoints, cameraMatrix, maxIterations, loss, scale,
                      rotation, translation, meanSquaredError);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrGeomDistortPoint2xNf32, distort);
VSR_VECTOR(vsrGeomUndistortPoint2xNf32, undistort);
VSR_VECTOR(vsrGeomProjectPoint3xNf32, projectPoints);
VSR_VECTOR(vsrGeomTriangulatePoint2xNf32, triangulate);
VSR_VECTOR(vsrGeomPoseRefinef32, refine);

#endif
