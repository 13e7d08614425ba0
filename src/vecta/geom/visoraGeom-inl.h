// How far mapped points are from their partners, a vector of correspondences at a time. Included once per instruction
// set.
#if defined(VISORA_VECTA_GEOM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_GEOM_INL_H
#undef VISORA_VECTA_GEOM_INL_H
#else
#define VISORA_VECTA_GEOM_INL_H
#endif

#include "hwy/highway.h"
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

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
