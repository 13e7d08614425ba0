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

/** Sum of the products of two lists, whose length is a multiple of 16. */
template <class T>
HWY_INLINE T dotOfWhole(const T* a, const T* b, size_t count)
{
    const PartialLanes<T> d;
    const size_t lanes = hn::Lanes(d);
    HWY_ALIGN T partials[kPartials];
    const auto product = [&](size_t i) HWY_ATTR { return hn::Mul(hn::LoadU(d, a + i), hn::LoadU(d, b + i)); };
    // As many sums at a time as hide each other's time.
    for (size_t first = 0; first < kPartials; first += 4 * lanes)
    {
        if (kPartials - first >= 4 * lanes)
        {
            auto s0 = hn::Zero(d), s1 = s0, s2 = s0, s3 = s0;
            for (size_t i = first; i < count; i += kPartials)
            {
                s0 = hn::Add(s0, product(i));
                s1 = hn::Add(s1, product(i + lanes));
                s2 = hn::Add(s2, product(i + 2 * lanes));
                s3 = hn::Add(s3, product(i + 3 * lanes));
            }
            hn::StoreU(s0, d, partials + first);
            hn::StoreU(s1, d, partials + first + lanes);
            hn::StoreU(s2, d, partials + first + 2 * lanes);
            hn::StoreU(s3, d, partials + first + 3 * lanes);
        }
        else
        {
            for (size_t at = first; at < kPartials; at += lanes)
            {
                auto sum = hn::Zero(d);
                for (size_t i = at; i < count; i += kPartials)
                {
                    sum = hn::Add(sum, product(i));
                }
                hn::StoreU(sum, d, partials + at);
            }
        }
    }
    return sumOfPartials(partials);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
