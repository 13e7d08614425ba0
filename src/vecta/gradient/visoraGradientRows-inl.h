// Both derivatives of 3x3 windows along a row. Included once per instruction set.
#if defined(VISORA_VECTA_GRADIENT_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_GRADIENT_ROWS_INL_H
#undef VISORA_VECTA_GRADIENT_ROWS_INL_H
#else
#define VISORA_VECTA_GRADIENT_ROWS_INL_H
#endif

#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** A small constant times a vector. */
template <int factor, class D, class V>
HWY_INLINE V times([[maybe_unused]] D d, V v)
{
    if constexpr (factor == 1)
    {
        return v;
    }
    else if constexpr (factor == 2)
    {
        return hn::Add(v, v);
    }
    else if constexpr (factor == 3)
    {
        return hn::Add(hn::Add(v, v), v);
    }
    else
    {
        return hn::Mul(v, hn::Set(d, static_cast<hn::TFromD<D>>(factor)));
    }
}

/** Differences of bytes. */
template <class D>
HWY_INLINE hn::Vec<D> minus(D d, const uint8_t* a, const uint8_t* b)
{
    const hn::Rebind<uint8_t, D> d8;
#if HWY_ARCH_ARM
    return hn::BitCast(d, hn::Vec<hn::RebindToUnsigned<D>>(vsubl_u8(hn::LoadU(d8, a).raw, hn::LoadU(d8, b).raw)));
#else
    return hn::Sub(hn::PromoteTo(d, hn::LoadU(d8, a)), hn::PromoteTo(d, hn::LoadU(d8, b)));
#endif
}

/**
 * Differences of the outer columns (dx) and rows (dy), weighted corner, side, corner along them, of the s16 vector at
 * column x of three rows.
 */
template <int corner, int side, class D>
HWY_INLINE void gradientAt(D d, const uint8_t* above, const uint8_t* centre, const uint8_t* below, size_t x,
                           hn::Vec<D>& dx, hn::Vec<D>& dy)
{
    // The diagonals serve both directions.
    const auto falling = minus(d, below + x + 1, above + x - 1);
    const auto rising = minus(d, above + x + 1, below + x - 1);
    const auto across = minus(d, centre + x + 1, centre + x - 1);
    const auto down = minus(d, below + x, above + x);
    dx = hn::Add(times<corner>(d, hn::Add(falling, rising)), times<side>(d, across));
    dy = hn::Add(times<corner>(d, hn::Sub(falling, rising)), times<side>(d, down));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
