// Sums in sixteen partial sums, a vector at a time. Included once per instruction set.
#if defined(VISORA_VECTA_GEOM_SUMS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_GEOM_SUMS_INL_H
#undef VISORA_VECTA_GEOM_SUMS_INL_H
#else
#define VISORA_VECTA_GEOM_SUMS_INL_H
#endif

#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

constexpr size_t kPartials = 16;

/** Lanes of sixteen partial sums; a vector has at most as many. */
template <class T>
using PartialLanes = hn::CappedTag<T, kPartials>;

/** What PartialSums::total makes of sixteen sums. */
template <class T>
HWY_INLINE T sumOfPartials(T* partials)
{
    const hn::FixedTag<T, 16 / sizeof(T)> d;
    const size_t lanes = hn::Lanes(d);
    for (size_t s = kPartials / 2; s >= lanes; s /= 2)
    {
        for (size_t i = 0; i < s; i += lanes)
        {
            hn::StoreU(hn::Add(hn::LoadU(d, partials + i), hn::LoadU(d, partials + i + s)), d, partials + i);
        }
    }
    if constexpr (sizeof(T) == 4)
    {
        return (partials[0] + partials[2]) + (partials[1] + partials[3]);
    }
    else
    {
        return partials[0] + partials[1];
    }
}

/** Adds a vector to the partial sums that begin with that of its first element. */
template <class D, class V>
HWY_INLINE void addTo(D d, hn::TFromD<D>* partials, V v)
{
    hn::StoreU(hn::Add(hn::LoadU(d, partials), v), d, partials);
}

/** Sum of the lanes of the vectors that hold sixteen partial sums, in the same order. */
template <class D, class V>
HWY_INLINE hn::TFromD<D> sumOfLanes([[maybe_unused]] D d, V v)
{
    if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) > 16)
    {
        const hn::Half<D> half;
        return sumOfLanes(half, hn::Add(hn::LowerHalf(half, v), hn::UpperHalf(half, v)));
    }
    else if constexpr (sizeof(hn::TFromD<D>) == 4)
    {
        const auto pairs = hn::Add(v, hn::Shuffle1032(v));
        return hn::GetLane(hn::Add(pairs, hn::Shuffle2301(pairs)));
    }
    else
    {
        return hn::GetLane(hn::Add(v, hn::Shuffle01(v)));
    }
}

/** Sum of the sixteen partial sums that an array of vectors holds. */
template <class V, size_t vectors>
HWY_INLINE auto sumOfPartialVectors(V (&sums)[vectors])
{
    for (size_t s = vectors / 2; s > 0; s /= 2)
    {
        for (size_t k = 0; k < s; ++k)
        {
            sums[k] = hn::Add(sums[k], sums[k + s]);
        }
    }
    return sumOfLanes(hn::DFromV<V>(), sums[0]);
}

/** Sum of the products of two lists, whose length is a multiple of 16. */
template <class T>
HWY_INLINE T dotOfWhole(const T* a, const T* b, size_t count)
{
    const PartialLanes<T> d;
    constexpr size_t kLanes = hn::MaxLanes(PartialLanes<T>());
    constexpr size_t kVectors = kPartials / kLanes;
    hn::Vec<PartialLanes<T>> sums[kVectors];
    for (auto& sum : sums)
    {
        sum = hn::Zero(d);
    }
    for (size_t i = 0; i < count; i += kPartials)
    {
        for (size_t k = 0; k < kVectors; ++k)
        {
            const size_t at = i + k * kLanes;
            sums[k] = hn::Add(sums[k], hn::Mul(hn::LoadU(d, a + at), hn::LoadU(d, b + at)));
        }
    }
    return sumOfPartialVectors(sums);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
