// Least-squares models and their inliers, vector variants.
#include <algorithm>
#include <cstring>

#include "vecta/geom/visoraGeomPoints.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/geom/visoraGeomV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/geom/visoraGeom-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Normal equations ----

template <class T>
using Pair = hn::FixedTag<T, 2>;

// The sums that the matrices are made of. Lanes are matrix columns, always two, and the points come in order, so every
// sum is the reference's. q is a point (x, y), a = -u q, c = -v q.
template <class T>
struct Sums
{
    T qx[2], qy[2], q[2];  // of q x, q y, q
    T ax[2], ay[2], a[2];
    T cx[2], cy[2], c[2];
    T uv[2];
    T aa[2], bb[2], au[2];  // of a a0 and c c0, of a a1 and c c1, of a u and c v
    T one;
};

template <class T, bool kProjective>
HWY_INLINE Sums<T> sumUp(const vsrCorrespondences& corrs)
{
    const Pair<T> d;
    const auto zero = hn::Zero(d);
    auto qx = zero, qy = zero, q = zero;
    auto ax = zero, ay = zero, a = zero;
    auto cx = zero, cy = zero, c = zero;
    auto uv = zero, aa = zero, bb = zero, au = zero;
    for (uint32_t i = 0; i < corrs.numIndices; ++i)
    {
        const size_t point = corrs.indices[i];
        const float* from = corrs.from + point * corrs.fromStride;
        const float* to = corrs.to + point * corrs.toStride;
        const auto qi = loadAs(d, from);
        const auto x = hn::Set(d, T{from[0]});
        const auto y = hn::Set(d, T{from[1]});
        const auto u = hn::Set(d, T{to[0]});
        const auto v = hn::Set(d, T{to[1]});
        const auto ai = hn::Mul(hn::Neg(u), qi);
        const auto ci = hn::Mul(hn::Neg(v), qi);
        qx = hn::Add(qx, hn::Mul(qi, x));
        qy = hn::Add(qy, hn::Mul(qi, y));
        q = hn::Add(q, qi);
        a = hn::Add(a, ai);
        c = hn::Add(c, ci);
        uv = hn::Add(uv, loadAs(d, to));
        if constexpr (kProjective)
        {
            ax = hn::Add(ax, hn::Mul(ai, x));
            ay = hn::Add(ay, hn::Mul(ai, y));
            cx = hn::Add(cx, hn::Mul(ci, x));
            cy = hn::Add(cy, hn::Mul(ci, y));
            // An equation for u, then one for v.
            aa = hn::Add(hn::Add(aa, hn::Mul(ai, hn::DupEven(ai))), hn::Mul(ci, hn::DupEven(ci)));
            bb = hn::Add(hn::Add(bb, hn::Mul(ai, hn::DupOdd(ai))), hn::Mul(ci, hn::DupOdd(ci)));
            au = hn::Add(hn::Add(au, hn::Mul(ai, u)), hn::Mul(ci, v));
        }
    }
    Sums<T> sums;
    hn::StoreU(qx, d, sums.qx), hn::StoreU(qy, d, sums.qy), hn::StoreU(q, d, sums.q);
    hn::StoreU(ax, d, sums.ax), hn::StoreU(ay, d, sums.ay), hn::StoreU(a, d, sums.a);
    hn::StoreU(cx, d, sums.cx), hn::StoreU(cy, d, sums.cy), hn::StoreU(c, d, sums.c);
    hn::StoreU(uv, d, sums.uv);
    hn::StoreU(aa, d, sums.aa), hn::StoreU(bb, d, sums.bb), hn::StoreU(au, d, sums.au);
    // Ones added up in floats stay at the first number whose successor is no float.
    constexpr uint32_t kLastFloat = 1u << 24;
    sums.one = static_cast<T>(sizeof(T) == 4 ? std::min(corrs.numIndices, kLastFloat) : corrs.numIndices);
    return sums;
}

template <class T, int kUnknowns>
HWY_INLINE NormalEquations<T, kUnknowns> equationsOf(const Sums<T>& s)
{
    NormalEquations<T, kUnknowns> equations;
    auto& A = equations.A;
    auto& b = equations.b;
    for (int i = 0; i < 6; i += 3)
    {
        A[i][i] = s.qx[0];
        A[i + 1][i] = s.qx[1], A[i + 1][i + 1] = s.qy[1];
        A[i + 2][i] = s.q[0], A[i + 2][i + 1] = s.q[1], A[i + 2][i + 2] = s.one;
        const T(&negative)[2] = i == 0 ? s.a : s.c;
        b[i] = 0 - negative[0], b[i + 1] = 0 - negative[1];
        b[i + 2] = s.uv[i / 3];
    }
    if constexpr (kUnknowns == 8)
    {
        for (int i = 0; i < 2; ++i)
        {
            T* row = A[6 + i];
            row[0] = s.ax[i], row[1] = s.ay[i], row[2] = s.a[i];
            row[3] = s.cx[i], row[4] = s.cy[i], row[5] = s.c[i];
            b[6 + i] = s.au[i];
        }
        A[6][6] = s.aa[0], A[7][6] = s.aa[1], A[7][7] = s.bb[1];
    }
    return equations;
}

vsrStatus fitInDouble(const vsrCorrespondences* corrs, float* homography)
{
    std::fill_n(homography, 9, 0.0f);
    if (corrs->numIndices >= kHomographyPoints)
    {
        solveInDouble(equationsOf<double, 8>(sumUp<double, true>(*corrs)), homography);
    }
    return VISORA_SUCCESS;
}

vsrStatus fitHomography(const vsrCorrespondences* corrs, float* homography)
{
    std::fill_n(homography, 9, 0.0f);
    if (corrs->numIndices < kHomographyPoints)
    {
        return VISORA_SUCCESS;
    }
    auto equations = equationsOf<float, 8>(sumUp<float, true>(*corrs));
    float diag[8];
    if (vsrSolveCholeskyf32C(equations.A[0], equations.b, diag, 8, homography) != 0)
    {
        return fitInDouble(corrs, homography);
    }
    homography[8] = 1;
    return VISORA_SUCCESS;
}

vsrStatus fitAffine(const vsrCorrespondences* corrs, float* affine)
{
    std::fill_n(affine, 9, 0.0f);
    if (corrs->numIndices < kAffinePoints)
    {
        return VISORA_SUCCESS;
    }
    auto equations = equationsOf<float, 6>(sumUp<float, false>(*corrs));
    float diag[6];
    const int result = vsrSolveCholeskyf32C(equations.A[0], equations.b, diag, 6, affine);
    affine[8] = result == 0 ? 1.0f : 0.0f;
    return static_cast<vsrStatus>(result);
}

// ---- Evaluation ----

// What a block's inliers are written to, without a branch: behind the last one is rubbish.
template <class D>
struct Listed
{
    uint16_t numbers[PointBlock::kSize + hn::MaxLanes(D())];
    float errors[PointBlock::kSize + hn::MaxLanes(D())];
    size_t count = 0;
};

// Adds the inliers among `size` points to the list; lanes are points. Reads whole vectors.
template <class Error, class D>
HWY_INLINE void listInliers(D d, const Error& error, const float* from, const float* to, const uint16_t* numbers,
                            size_t size, bool withErrors, Listed<D>& listed)
{
    const hn::RebindToSigned<D> di;
    const hn::Rebind<uint16_t, D> d16;
    for (size_t i = 0; i < size; i += hn::Lanes(d))
    {
        Points<hn::Vec<D>> points;
        hn::LoadInterleaved2(d, from + 2 * i, points.x, points.y);
        hn::LoadInterleaved2(d, to + 2 * i, points.u, points.v);
        const auto errors = error(points);
        const auto isInlier = hn::And(hn::Lt(errors.squared, errors.limit), hn::FirstN(d, size - i));
        const auto places = hn::PromoteTo(di, hn::LoadU(d16, numbers + i));
        const auto kept = hn::Compress(places, hn::RebindMask(di, isInlier));
        hn::StoreU(hn::DemoteTo(d16, kept), d16, listed.numbers + listed.count);
        if (withErrors)
        {
            hn::StoreU(hn::Compress(errors.squared, isInlier), d, listed.errors + listed.count);
        }
        listed.count += hn::CountTrue(d, isInlier);
    }
}

template <class Error, class D>
HWY_INLINE int evaluate(D d, const Error& error, const vsrCorrespondences& corrs, uint16_t* inliers,
                        uint32_t* numInliers, float* errinliers)
{
    static_assert(hn::MaxLanes(D()) <= PointBlock::kPadding);
    PointBlock block;
    Listed<D> listed;
    uint32_t count = 0;
    for (size_t start = 0; start < corrs.numIndices; start += PointBlock::kSize)
    {
        const uint16_t* indices = corrs.indices + start;
        const size_t size = std::min<size_t>(corrs.numIndices - start, PointBlock::kSize);
        // Whole vectors of points in a row are read where they are; others are brought together first.
        const size_t direct = areInARow(corrs, indices, size) ? size - size % hn::Lanes(d) : 0;
        listed.count = 0;
        listInliers(d, error, corrs.from + size_t{indices[0]} * 2, corrs.to + size_t{indices[0]} * 2, indices, direct,
                    errinliers != nullptr, listed);
        if (direct != size)
        {
            block.gather(corrs, indices + direct, size - direct);
            listInliers(d, error, block.from, block.to, block.numbers, size - direct, errinliers != nullptr, listed);
        }
        std::memcpy(inliers + count, listed.numbers, listed.count * sizeof(uint16_t));
        if (errinliers)
        {
            std::memcpy(errinliers + count, listed.errors, listed.count * sizeof(float));
        }
        count += static_cast<uint32_t>(listed.count);
    }
    *numInliers = count;
    return count == corrs.numIndices ? 0 : -1;
}

int evaluateHomography(const vsrCorrespondences* corrs, const float* homography, float maxsqerr, uint16_t* inliers,
                       uint32_t* numInliers, float* errinliers)
{
    const hn::ScalableTag<float> d;
    return evaluate(d, HomographyError<decltype(d)>(d, homography, maxsqerr), *corrs, inliers, numInliers, errinliers);
}

int evaluateAffine(const vsrCorrespondences* corrs, const float* affine, float maxsqerr, uint16_t* inliers,
                   uint32_t* numInliers, float* errinliers)
{
    const hn::ScalableTag<float> d;
    return evaluate(d, AffineError<decltype(d)>(d, affine, maxsqerr), *corrs, inliers, numInliers, errinliers);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(fitHomography);
HWY_EXPORT(fitInDouble);
HWY_EXPORT(fitAffine);
HWY_EXPORT(evaluateHomography);
HWY_EXPORT(evaluateAffine);
}  // namespace visora

using namespace visora;

vsrStatus vsrGeomHomographyFitf32V(const vsrCorrespondences* corrs, float* homography)
{
    return HWY_DYNAMIC_DISPATCH(fitHomography)(corrs, homography);
}

vsrStatus vsrGeomHomographyFitDPf32V(const vsrCorrespondences* corrs, float* homography)
{
    return HWY_DYNAMIC_DISPATCH(fitInDouble)(corrs, homography);
}

vsrStatus vsrGeomAffineFitf32V(const vsrCorrespondences* corrs, float* affine)
{
    return HWY_DYNAMIC_DISPATCH(fitAffine)(corrs, affine);
}

int vsrGeomHomographyEvaluatef32V(const vsrCorrespondences* corrs, const float* homography, float maxsqerr,
                                  uint16_t* inliers, uint32_t* numInliers)
{
    return HWY_DYNAMIC_DISPATCH(evaluateHomography)(corrs, homography, maxsqerr, inliers, numInliers, nullptr);
}

int vsrGeomHomographyEvaluatef32_v2V(const vsrCorrespondences* corrs, const float* homography, float maxsqerr,
                                     uint16_t* inliers, uint32_t* numInliers, float* errinliers)
{
    return HWY_DYNAMIC_DISPATCH(evaluateHomography)(corrs, homography, maxsqerr, inliers, numInliers, errinliers);
}

int vsrGeomAffineEvaluatef32V(const vsrCorrespondences* corrs, const float* affine, float maxsqerr, uint16_t* inliers,
                              uint32_t* numInliers)
{
    return HWY_DYNAMIC_DISPATCH(evaluateAffine)(corrs, affine, maxsqerr, inliers, numInliers, nullptr);
}

int vsrGeomAffineEvaluatef32_v2V(const vsrCorrespondences* corrs, const float* affine, float maxsqerr,
                                 uint16_t* inliers, uint32_t* numInliers, float* errinliers)
{
    return HWY_DYNAMIC_DISPATCH(evaluateAffine)(corrs, affine, maxsqerr, inliers, numInliers, errinliers);
}

#endif
