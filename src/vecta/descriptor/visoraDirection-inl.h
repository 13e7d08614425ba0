// Directions of gradients, for vectors. Included once per instruction set.
#if defined(VISORA_VECTA_DIRECTION_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_DIRECTION_INL_H
#undef VISORA_VECTA_DIRECTION_INL_H
#else
#define VISORA_VECTA_DIRECTION_INL_H
#endif

#include "cpu/descriptor/visoraDescriptor.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Samples = hn::CappedTag<float, 16>;
constexpr size_t kSampleLanes = hn::MaxLanes(Samples());

/** Directions of gradients in eighths of a turn. */
template <class V>
HWY_INLINE V directionsOf(V dx, V dy)
{
    const Samples d;
    const auto ax = hn::Abs(dx);
    const auto ay = hn::Abs(dy);
    const auto big = hn::Max(ax, ay);
    const auto zero = hn::Zero(d);
    const auto isFlat = hn::Eq(big, zero);
    const auto t = hn::Div(hn::Min(ax, ay), hn::IfThenElse(isFlat, hn::Set(d, 1.0f), big));
    const auto z = hn::Mul(t, t);
    auto p = hn::Set(d, kDirectionTerms[5]);
    for (size_t k = 5; k-- > 0;)
    {
        p = hn::Add(hn::Set(d, kDirectionTerms[k]), hn::Mul(z, p));
    }
    p = hn::Mul(t, p);
    p = hn::IfThenElse(hn::Gt(ay, ax), hn::Sub(hn::Set(d, 2.0f), p), p);
    p = hn::IfThenElse(hn::Lt(dx, zero), hn::Sub(hn::Set(d, 4.0f), p), p);
    p = hn::IfThenElse(hn::Lt(dy, zero), hn::Sub(hn::Set(d, 8.0f), p), p);
    return hn::IfThenZeroElse(hn::Or(isFlat, hn::Eq(p, hn::Set(d, 8.0f))), p);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
