// Sums over the lanes of four vectors at once. Included once per instruction set.
#if defined(VISORA_VECTA_TOTALS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_TOTALS_INL_H
#undef VISORA_VECTA_TOTALS_INL_H
#else
#define VISORA_VECTA_TOTALS_INL_H
#endif

#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class T>
using Four = hn::FixedTag<T, 4>;

/** The halves of a vector added up until four lanes are left. */
template <class D, class V>
HWY_INLINE hn::Vec<Four<hn::TFromD<D>>> sumOfBlocks(D /*d*/, V v)
{
    if constexpr (hn::MaxLanes(D()) == 4)
    {
        return v;
    }
    else
    {
        const hn::Half<D> half;
        return sumOfBlocks(half, hn::Add(hn::LowerHalf(half, v), hn::UpperHalf(half, v)));
    }
}

/** The totals of the blocks of four lanes of four vectors, each (v0 + v2) + (v1 + v3). */
template <class D, class V>
HWY_INLINE V fourTotals(D d, V a, V b, V c, V e)
{
#if HWY_ARCH_ARM
    if constexpr (!hwy::IsFloat<hn::TFromD<D>>())
    {
        return V(vpaddq_u32(vpaddq_u32(a.raw, b.raw), vpaddq_u32(c.raw, e.raw)));
    }
#endif
    const hn::Repartition<uint64_t, D> d64;
    const auto first = hn::BitCast(d64, hn::Add(hn::InterleaveLower(d, a, b), hn::InterleaveUpper(d, a, b)));
    const auto second = hn::BitCast(d64, hn::Add(hn::InterleaveLower(d, c, e), hn::InterleaveUpper(d, c, e)));
    return hn::Add(hn::BitCast(d, hn::InterleaveLower(d64, first, second)),
                   hn::BitCast(d, hn::InterleaveUpper(d64, first, second)));
}

#if HWY_TARGET <= HWY_AVX3
/** The halves of a, added up, then those of b. */
template <class D, class V>
HWY_INLINE V sumsOfHalves(D d, V a, V b)
{
    return hn::Add(hn::ConcatLowerLower(d, b, a), hn::ConcatUpperUpper(d, b, a));
}

/** The halves of the halves of a, added up, then those of b. */
template <class D, class V>
HWY_INLINE V sumsOfQuarters(D d, V a, V b)
{
    const hn::RebindToSigned<D> dInt;
    const __m512i x = hn::BitCast(dInt, a).raw;
    const __m512i y = hn::BitCast(dInt, b).raw;
    using Int = hn::Vec<decltype(dInt)>;
    return hn::Add(hn::BitCast(d, Int{_mm512_shuffle_i64x2(x, y, 0x88)}),
                   hn::BitCast(d, Int{_mm512_shuffle_i64x2(x, y, 0xdd)}));
}

/** The totals of sixteen vectors get(0), get(1), ... of sixteen lanes, as by sumOfBlocks and fourTotals. */
template <class D, class Get>
HWY_INLINE hn::Vec<D> sixteenTotals(D d, Get get)
{
    const auto everyFourth = [&](size_t i) HWY_ATTR
    { return sumsOfQuarters(d, sumsOfHalves(d, get(i), get(i + 4)), sumsOfHalves(d, get(i + 8), get(i + 12))); };
    return fourTotals(d, everyFourth(0), everyFourth(1), everyFourth(2), everyFourth(3));
}
#endif

/** This processor multiplies bytes and adds four products at once. */
#undef VISORA_ADDS_FOUR_PRODUCTS
#if HWY_TARGET <= HWY_AVX3_DL
#define VISORA_ADDS_FOUR_PRODUCTS 1

/** Adds to each sum four products of bytes with signed bytes, modulo 2^32. */
template <class V32, class V8, class S8>
HWY_INLINE V32 addFourProducts(V32 sum, V8 bytes, S8 signedBytes)
{
    // Highway's processors of this kind have the instruction, but its list of what compilers may use lacks it.
    asm("vpdpbusd %2, %1, %0" : "+v"(sum.raw) : "v"(bytes.raw), "v"(signedBytes.raw));
    return sum;
}
#else
#define VISORA_ADDS_FOUR_PRODUCTS 0
#endif

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
