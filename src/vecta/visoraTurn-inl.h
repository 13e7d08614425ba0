// Rows of floats to lanes and back. Included once per instruction set.
#if defined(VISORA_VECTA_TURN_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_TURN_INL_H
#undef VISORA_VECTA_TURN_INL_H
#else
#define VISORA_VECTA_TURN_INL_H
#endif

#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Quad = hn::FixedTag<float, 4>;

/**
 * Four columns of as many rows as a vector has lanes: either vector i holds four columns of rows i, i + 4, ... side by
 * side, or vector i holds column i of all rows.
 */
template <class D>
struct Block
{
    hn::Vec<D> v0, v1, v2, v3;
};

/** From the one form to the other, which turns each 4 x 4 block. */
template <class D>
HWY_INLINE Block<D> turned(D d, const Block<D>& b)
{
    const hn::Repartition<double, D> d64;
    const auto a0 = hn::BitCast(d64, hn::InterleaveLower(d, b.v0, b.v1));
    const auto a1 = hn::BitCast(d64, hn::InterleaveUpper(d, b.v0, b.v1));
    const auto a2 = hn::BitCast(d64, hn::InterleaveLower(d, b.v2, b.v3));
    const auto a3 = hn::BitCast(d64, hn::InterleaveUpper(d, b.v2, b.v3));
    return {hn::BitCast(d, hn::InterleaveLower(d64, a0, a2)), hn::BitCast(d, hn::InterleaveUpper(d64, a0, a2)),
            hn::BitCast(d, hn::InterleaveLower(d64, a1, a3)), hn::BitCast(d, hn::InterleaveUpper(d64, a1, a3))};
}

/** Vector i of the result holds the four floats at place i of all of them. For vectors of sixteen floats. */
template <class D>
HWY_INLINE Block<D> turnedQuads(D d, const Block<D>& b)
{
    static_assert(hn::MaxLanes(D()) == 16);
#if HWY_TARGET <= HWY_AVX3
    using V = hn::Vec<D>;
    const V lower01 = hn::ConcatLowerLower(d, b.v1, b.v0);
    const V lower23 = hn::ConcatLowerLower(d, b.v3, b.v2);
    const V upper01 = hn::ConcatUpperUpper(d, b.v1, b.v0);
    const V upper23 = hn::ConcatUpperUpper(d, b.v3, b.v2);
    const auto even = [](V v, V w) HWY_ATTR { return V{_mm512_shuffle_f32x4(v.raw, w.raw, _MM_SHUFFLE(2, 0, 2, 0))}; };
    const auto odd = [](V v, V w) HWY_ATTR { return V{_mm512_shuffle_f32x4(v.raw, w.raw, _MM_SHUFFLE(3, 1, 3, 1))}; };
    return {even(lower01, lower23), odd(lower01, lower23), even(upper01, upper23), odd(upper01, upper23)};
#else
    static_cast<void>(d);
    return b;  // no other machine has such vectors
#endif
}

/** Rows row, row + 4, ... side by side, load(row) giving four columns of one; so with others than floats, of which a
 * block of 128 bits has more. */
template <class D, class Load>
HWY_INLINE hn::Vec<D> sideBySide(D d, size_t row, Load load)
{
    if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 16)
    {
        return load(row);
    }
    else
    {
        const hn::Half<D> half;
        return hn::Combine(d, sideBySide(half, row + hn::MaxLanes(half), load), sideBySide(half, row, load));
    }
}

/** As many rows as a vector has lanes, turned into columns. */
template <class D, class Load>
HWY_INLINE Block<D> loadColumns(D d, Load load)
{
    return turned(
        d, Block<D>{sideBySide(d, 0, load), sideBySide(d, 1, load), sideBySide(d, 2, load), sideBySide(d, 3, load)});
}

/** Calls put(row, four columns) for the rows that lie side by side in a vector. */
template <class D, class V, class Put>
HWY_INLINE void apart(D /*d*/, size_t row, V v, Put put)
{
    if constexpr (hn::MaxLanes(D()) == 4)
    {
        put(row, v);
    }
    else
    {
        const hn::Half<D> half;
        apart(half, row, hn::LowerHalf(half, v), put);
        apart(half, row + hn::MaxLanes(half), hn::UpperHalf(half, v), put);
    }
}

/** Calls put(row, four columns) for all rows, not in order, of columns. */
template <class D, class Put>
HWY_INLINE void storeColumns(D d, const Block<D>& columns, Put put)
{
    const Block<D> rows = turned(d, columns);
    apart(d, 0, rows.v0, put);
    apart(d, 1, rows.v1, put);
    apart(d, 2, rows.v2, put);
    apart(d, 3, rows.v3, put);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
