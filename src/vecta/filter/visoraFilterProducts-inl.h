// Weighted sums of s16 lanes in 32 bits, for as many columns as a vector of s16 has lanes. Where an instruction
// multiplies pairs of neighbours and adds their products, two taps cost one of them for each half of the columns;
// elsewhere each tap is multiplied to wide products. So the columns lie in the two vectors in an order of their own.
#if defined(VISORA_VECTA_FILTER_PRODUCTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_FILTER_PRODUCTS_INL_H
#undef VISORA_VECTA_FILTER_PRODUCTS_INL_H
#else
#define VISORA_VECTA_FILTER_PRODUCTS_INL_H
#endif

#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** The sums of a vector's columns. */
template <class V32>
struct WideSums
{
    V32 first;
    V32 second;
};

/** Two taps as they are multiplied at once, the first one in the low half. */
HWY_INLINE int32_t tapPair(int16_t first, int16_t second)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(first)) |
                                static_cast<uint32_t>(static_cast<uint16_t>(second)) << 16);
}

#if !HWY_ARCH_X86
/** Adds one tap of a vector's columns. */
template <class D32, class V16>
HWY_INLINE void addProduct([[maybe_unused]] D32 d, V16 v, int16_t tap, WideSums<hn::Vec<D32>>& sums)
{
#if HWY_ARCH_ARM_A64
    sums.first.raw = vmlal_n_s16(sums.first.raw, vget_low_s16(v.raw), tap);
    sums.second.raw = vmlal_high_n_s16(sums.second.raw, v.raw, tap);
#else
    const hn::Half<hn::Repartition<int16_t, D32>> half;
    const auto wide = [&](auto part) HWY_ATTR { return hn::Mul(hn::PromoteTo(d, part), hn::Set(d, tap)); };
    sums.first = hn::Add(sums.first, wide(hn::LowerHalf(half, v)));
    sums.second = hn::Add(sums.second, wide(hn::UpperHalf(half, v)));
#endif
}
#endif

/** Adds taps of neighbours in a row: at[i] * first + at[i + 1] * second for each column i. */
template <class D32>
HWY_INLINE void addAlong(D32 d, const int16_t* at, int32_t taps, WideSums<hn::Vec<D32>>& sums)
{
    const hn::Repartition<int16_t, D32> d16;
#if HWY_ARCH_X86
    // Sums of even columns, and of odd ones.
    const auto pair = hn::BitCast(d16, hn::Set(d, taps));
    sums.first = hn::Add(sums.first, sumsOfPairProducts(d, hn::LoadU(d16, at), pair));
    sums.second = hn::Add(sums.second, sumsOfPairProducts(d, hn::LoadU(d16, at + 1), pair));
#else
    // Sums of the lower half of the columns, and of the upper one.
    addProduct(d, hn::LoadU(d16, at), static_cast<int16_t>(taps & 0xFFFF), sums);
    addProduct(d, hn::LoadU(d16, at + 1), static_cast<int16_t>(taps >> 16), sums);
#endif
}

/** Sums of addAlong as s16 in the columns' order, limited to their range. */
template <class D16, class D32>
HWY_INLINE hn::Vec<D16> limitedAlong(D16 d16, [[maybe_unused]] D32 d, const WideSums<hn::Vec<D32>>& sums)
{
#if HWY_ARCH_X86
    return hn::ReorderDemote2To(d16, hn::InterleaveLower(d, sums.first, sums.second),
                                hn::InterleaveUpper(d, sums.first, sums.second));
#else
    const hn::Half<D16> half;
    return hn::Combine(d16, hn::DemoteTo(half, sums.second), hn::DemoteTo(half, sums.first));
#endif
}

/** The upper halves of sums of addAlong, in the columns' order. */
template <class D16, class D32>
HWY_INLINE hn::Vec<D16> upperAlong(D16 d16, [[maybe_unused]] D32 d, const WideSums<hn::Vec<D32>>& sums)
{
#if HWY_ARCH_X86
    const hn::Repartition<uint32_t, D32> du;
    const auto even = hn::ShiftRight<16>(hn::BitCast(du, sums.first));
    const auto odd = hn::And(hn::BitCast(du, sums.second), hn::Set(du, 0xFFFF0000u));
    return hn::BitCast(d16, hn::Or(even, odd));
#else
    return hn::ConcatOdd(d16, hn::BitCast(d16, sums.second), hn::BitCast(d16, sums.first));
#endif
}

/** Adds taps of two rows: a * first + b * second in each column. */
template <class D32, class V16>
HWY_INLINE void addDown(D32 d, V16 a, V16 b, int32_t taps, WideSums<hn::Vec<D32>>& sums)
{
#if HWY_ARCH_X86
    const hn::Repartition<int16_t, D32> d16;
    const auto pair = hn::BitCast(d16, hn::Set(d, taps));
    sums.first = hn::Add(sums.first, sumsOfPairProducts(d, hn::InterleaveLower(d16, a, b), pair));
    sums.second = hn::Add(sums.second, sumsOfPairProducts(d, hn::InterleaveUpper(d16, a, b), pair));
#else
    addProduct(d, a, static_cast<int16_t>(taps & 0xFFFF), sums);
    addProduct(d, b, static_cast<int16_t>(taps >> 16), sums);
#endif
}

/** Adds one tap, for columns as addDown has them. */
template <class D32, class V16>
HWY_INLINE void addOne(D32 d, V16 v, int16_t tap, WideSums<hn::Vec<D32>>& sums)
{
#if HWY_ARCH_X86
    addDown(d, v, hn::Zero(hn::Repartition<int16_t, D32>()), tapPair(tap, 0), sums);
#else
    addProduct(d, v, tap, sums);
#endif
}

/** Sums of addDown as s16 in the columns' order, limited to their range. */
template <class D16, class D32>
HWY_INLINE hn::Vec<D16> limitedDown(D16 d16, [[maybe_unused]] D32 d, const WideSums<hn::Vec<D32>>& sums)
{
#if HWY_ARCH_X86
    // Within each block of 128 bits both steps change the order in ways that undo one another.
    return hn::ReorderDemote2To(d16, sums.first, sums.second);
#else
    return limitedAlong(d16, d, sums);
#endif
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
