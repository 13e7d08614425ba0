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

/**
 * Differences of the outer columns (dx) and rows (dy), weighted corner, side, corner along them, of the s16 vector at
 * column x of three rows.
 */
template <int corner, int side, class D>
HWY_INLINE void gradientAt(D d, const uint8_t* above, const uint8_t* centre, const uint8_t* below, size_t x,
                           hn::Vec<D>& dx, hn::Vec<D>& dy)
{
    const hn::Rebind<uint8_t, D> d8;
    const auto pixels = [&](const uint8_t* at) HWY_ATTR { return hn::PromoteTo(d, hn::LoadU(d8, at)); };
    // The diagonals serve both directions.
    const auto falling = hn::Sub(pixels(below + x + 1), pixels(above + x - 1));
    const auto rising = hn::Sub(pixels(above + x + 1), pixels(below + x - 1));
    const auto across = hn::Sub(pixels(centre + x + 1), pixels(centre + x - 1));
    const auto down = hn::Sub(pixels(below + x), pixels(above + x));
    dx = hn::Add(times<corner>(d, hn::Add(falling, rising)), times<side>(d, across));
    dy = hn::Add(times<corner>(d, hn::Sub(falling, rising)), times<side>(d, down));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
