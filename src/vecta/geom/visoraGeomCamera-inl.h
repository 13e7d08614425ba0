// Points in space, a vector of them at a time. Included once per instruction set.
#if defined(VISORA_VECTA_GEOM_CAMERA_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_GEOM_CAMERA_INL_H
#undef VISORA_VECTA_GEOM_CAMERA_INL_H
#else
#define VISORA_VECTA_GEOM_CAMERA_INL_H
#endif

#include <utility>

#include "cpu/geom/visoraGeomDepth.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class V>
struct Vector3
{
    V x, y, z;
};

template <class V>
HWY_INLINE V dot(Vector3<V> a, Vector3<V> b)
{
    return hn::Add(hn::Add(hn::Mul(a.x, b.x), hn::Mul(a.y, b.y)), hn::Mul(a.z, b.z));
}

template <class V>
HWY_INLINE Vector3<V> minus(Vector3<V> a, Vector3<V> b)
{
    return {hn::Sub(a.x, b.x), hn::Sub(a.y, b.y), hn::Sub(a.z, b.z)};
}

template <class V>
HWY_INLINE V productDifference(V a, V b, V c, V d)
{
    return hn::Sub(hn::Mul(a, b), hn::Mul(c, d));
}

template <class V>
HWY_INLINE Vector3<V> cross(Vector3<V> a, Vector3<V> b)
{
    return {productDifference(a.y, b.z, a.z, b.y), productDifference(a.z, b.x, a.x, b.z),
            productDifference(a.x, b.y, a.y, b.x)};
}

/** As Pose. */
template <class D>
class VectorPose
{
  public:
    using V = hn::Vec<D>;

    HWY_INLINE VectorPose(D d, const float* rotation, const float* translation)
        : r_{hn::Set(d, rotation[0]), hn::Set(d, rotation[1]), hn::Set(d, rotation[2]),
             hn::Set(d, rotation[3]), hn::Set(d, rotation[4]), hn::Set(d, rotation[5]),
             hn::Set(d, rotation[6]), hn::Set(d, rotation[7]), hn::Set(d, rotation[8])},
          t_{hn::Set(d, translation[0]), hn::Set(d, translation[1]), hn::Set(d, translation[2])}
    {
    }

    HWY_INLINE Vector3<V> of(Vector3<V> p) const { return {row(p, 0), row(p, 1), row(p, 2)}; }

  private:
    HWY_INLINE V row(Vector3<V> p, int i) const
    {
        return hn::Add(hn::Add(hn::Mul(r_[3 * i], p.x), hn::Mul(r_[3 * i + 1], p.y)),
                       hn::Add(hn::Mul(r_[3 * i + 2], p.z), t_[i]));
    }

    V r_[9];
    V t_[3];
};

/** What counts of a camera matrix. */
template <class D>
struct VectorCamera
{
    using V = hn::Vec<D>;

    HWY_INLINE VectorCamera(D d, const float* matrix)
        : fx(hn::Set(d, matrix[0])), fy(hn::Set(d, matrix[4])), cx(hn::Set(d, matrix[2])), cy(hn::Set(d, matrix[5]))
    {
    }

    /** Column and row of the pixel, as floats. */
    HWY_INLINE std::pair<V, V> nearestPixel(Vector3<V> p) const
    {
        const auto half = hn::Set(D(), 0.5F);
        return {hn::Floor(hn::Add(hn::Add(hn::Mul(fx, hn::Div(p.x, p.z)), cx), half)),
                hn::Floor(hn::Add(hn::Add(hn::Mul(fy, hn::Div(p.y, p.z)), cy), half))};
    }

    V fx, fy, cx, cy;
};

/** Whether whole floats are indices of a side. */
template <class D>
HWY_INLINE hn::Mask<D> isWithin(D d, hn::Vec<D> v, uint32_t side)
{
    return hn::And(hn::Ge(v, hn::Zero(d)), hn::Lt(v, hn::Set(d, static_cast<float>(side))));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
