// Sums of lists, a vector at a time. Included once per instruction set.
#if defined(VISORA_VECTA_GEOM_LISTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_GEOM_LISTS_INL_H
#undef VISORA_VECTA_GEOM_LISTS_INL_H
#else
#define VISORA_VECTA_GEOM_LISTS_INL_H
#endif

#include "vecta/geom/visoraGeomSums-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** As PlainSums. */
struct VectorSums
{
    using D = PartialLanes<double>;

    double sum(const double* a, size_t n) const
    {
        return over(n, [=](D d, size_t i) HWY_ATTR { return hn::LoadU(d, a + i); });
    }
    double dot(const double* a, const double* b, size_t n) const
    {
        return over(n, [=](D d, size_t i) HWY_ATTR { return hn::Mul(hn::LoadU(d, a + i), hn::LoadU(d, b + i)); });
    }
    double pairs(const double* w, const double* a, const double* b, const double* c, const double* e, size_t n) const
    {
        return over(n,
                    [=](D d, size_t i) HWY_ATTR
                    {
                        const auto first = hn::Mul(hn::LoadU(d, a + i), hn::LoadU(d, b + i));
                        const auto second = hn::Mul(hn::LoadU(d, c + i), hn::LoadU(d, e + i));
                        return hn::Mul(hn::LoadU(d, w + i), hn::Add(first, second));
                    });
    }

  private:
    // Sum of term(d, i) over the elements from i on.
    template <class Term>
    HWY_INLINE double over(size_t n, Term term) const
    {
        const D d;
        const size_t lanes = hn::Lanes(d);
        HWY_ALIGN double partials[kPartials];
        for (size_t first = 0; first < kPartials; first += 2 * lanes)
        {
            auto even = hn::Zero(d);
            auto odd = even;
            for (size_t i = first; i < n; i += kPartials)
            {
                even = hn::Add(even, term(d, i));
                odd = hn::Add(odd, term(d, i + lanes));
            }
            hn::StoreU(even, d, partials + first);
            hn::StoreU(odd, d, partials + first + lanes);
        }
        return sumOfPartials(partials);
    }
};

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
