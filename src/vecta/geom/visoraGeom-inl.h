// How far mapped points are from their partners, a vector of correspondences at a time. Included once per instruction
// set.
#if defined(VISORA_VECTA_GEOM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_GEOM_INL_H
#undef VISORA_VECTA_GEOM_INL_H
#else
#define VISORA_VECTA_GEOM_INL_H
#endif

#include "hwy/highway.h"
#include "vecta/geom/visoraGeomPoints.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** Floats as floats or doubles. */
template <class D>
HWY_INLINE hn::Vec<D> loadAs(D d, const float* values)
{
    if constexpr (sizeof(hn::TFromD<D>) == sizeof(double))
    {
        return hn::PromoteTo(d, hn::LoadU(hn::Rebind<float, D>(), values));
    }
    else
    {
        return hn::LoadU(d, values);
    }
}

template <class V>
struct Points
{
    V x, y;  // from
    V u, v;  // to
};

/** A squared error, and what it must be below. */
template <class V>
struct Errors
{
    V squared, limit;
};

// c + (a x + b y)
template <class V>
HWY_INLINE V linear(V a, V b, V c, const Points<V>& p)
{
    return hn::Add(c, hn::Add(hn::Mul(a, p.x), hn::Mul(b, p.y)));
}

template <class V>
HWY_INLINE V squaredLength(V x, V y)
{
    return hn::Add(hn::Mul(x, x), hn::Mul(y, y));
}

template <class D>
class HomographyError
{
  public:
    using V = hn::Vec<D>;

    HWY_INLINE HomographyError(D d, const float* h, float maxsqerr)
        : h0_(hn::Set(d, h[0])),
          h1_(hn::Set(d, h[1])),
          h2_(hn::Set(d, h[2])),
          h3_(hn::Set(d, h[3])),
          h4_(hn::Set(d, h[4])),
          h5_(hn::Set(d, h[5])),
          h6_(hn::Set(d, h[6])),
          h7_(hn::Set(d, h[7])),
          h8_(hn::Set(d, h[8])),
          maxsqerr_(hn::Set(d, maxsqerr))
    {
    }

    HWY_INLINE Errors<V> operator()(const Points<V>& p) const
    {
        const V w = linear(h6_, h7_, h8_, p);
        const V ex = hn::Sub(linear(h0_, h1_, h2_, p), hn::Mul(p.u, w));
        const V ey = hn::Sub(linear(h3_, h4_, h5_, p), hn::Mul(p.v, w));
        return {squaredLength(ex, ey), hn::Mul(w, hn::Mul(w, maxsqerr_))};
    }

  private:
    V h0_, h1_, h2_, h3_, h4_, h5_, h6_, h7_, h8_;
    V maxsqerr_;
};

template <class D>
class AffineError
{
  public:
    using V = hn::Vec<D>;

    HWY_INLINE AffineError(D d, const float* a, float maxsqerr)
        : a0_(hn::Set(d, a[0])),
          a1_(hn::Set(d, a[1])),
          a2_(hn::Set(d, a[2])),
          a3_(hn::Set(d, a[3])),
          a4_(hn::Set(d, a[4])),
          a5_(hn::Set(d, a[5])),
          maxsqerr_(hn::Set(d, maxsqerr))
    {
    }

    HWY_INLINE Errors<V> operator()(const Points<V>& p) const
    {
        const V ex = hn::Sub(hn::Add(hn::Add(a2_, hn::Mul(a0_, p.x)), hn::Mul(a1_, p.y)), p.u);
        const V ey = hn::Sub(hn::Add(hn::Add(a5_, hn::Mul(a3_, p.x)), hn::Mul(a4_, p.y)), p.v);
        return {squaredLength(ex, ey), maxsqerr_};
    }

  private:
    V a0_, a1_, a2_, a3_, a4_, a5_;
    V maxsqerr_;
};

/** The squared Sampson distance, see SampsonResidual. */
template <class D>
class SampsonError
{
  public:
    using V = hn::Vec<D>;

    HWY_INLINE SampsonError(D d, const float* F, float maxsqerr)
        : F_{hn::Set(d, F[0]), hn::Set(d, F[1]), hn::Set(d, F[2]), hn::Set(d, F[3]), hn::Set(d, F[4]),
             hn::Set(d, F[5]), hn::Set(d, F[6]), hn::Set(d, F[7]), hn::Set(d, F[8])},
          maxsqerr_(hn::Set(d, maxsqerr))
    {
    }

    HWY_INLINE Errors<V> operator()(const Points<V>& point) const
    {
        const V a = row(F_[0], point.x, F_[1], point.y, F_[2]);
        const V b = row(F_[3], point.x, F_[4], point.y, F_[5]);
        const V c = row(F_[6], point.x, F_[7], point.y, F_[8]);
        const V p = row(F_[0], point.u, F_[3], point.v, F_[6]);
        const V q = row(F_[1], point.u, F_[4], point.v, F_[7]);
        const V e = row(point.u, a, point.v, b, c);
        return {hn::Mul(e, e), hn::Mul(maxsqerr_, hn::Add(squaredLength(a, b), squaredLength(p, q)))};
    }

  private:
    static HWY_INLINE V row(V a, V x, V b, V y, V c) { return hn::Add(hn::Add(hn::Mul(a, x), hn::Mul(b, y)), c); }

    V F_[9];
    V maxsqerr_;
};

template <template <class> class Error>
HWY_INLINE uint32_t countInliers(const GatheredPoints& points, const float* model, float maxsqerr)
{
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> di;
    const Error<decltype(d)> error(d, model, maxsqerr);
    auto count = hn::Zero(di);
    for (size_t i = 0; i < points.length(); i += hn::Lanes(d))
    {
        const auto errors =
            error(Points<hn::Vec<decltype(d)>>{hn::Load(d, points.x() + i), hn::Load(d, points.y() + i),
                                               hn::Load(d, points.u() + i), hn::Load(d, points.v() + i)});
        // A mask's lanes are 0 or -1.
        const auto isInlier = hn::RebindMask(di, hn::Lt(errors.squared, errors.limit));
        count = hn::Sub(count, hn::VecFromMask(di, isInlier));
    }
    return static_cast<uint32_t>(hn::GetLane(hn::SumOfLanes(di, count)));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
